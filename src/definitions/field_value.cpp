#include "definitions/field_value.h"

#include "definitions/number_reading.h"
#include "state/error.h"

#include <charconv>
#include <cmath>

namespace corvane {

FieldValue FieldValue::FromInteger(qint64 value) {
    FieldValue v;
    v.m_value = value;
    return v;
}

FieldValue FieldValue::FromReal(double value) {
    FieldValue v;
    v.m_value = value;
    return v;
}

FieldValue FieldValue::FromText(QString value) {
    FieldValue v;
    v.m_value = std::move(value);
    return v;
}

FieldValue FieldValue::FromBlob(QByteArray value) {
    FieldValue v;
    v.m_value = std::move(value);
    return v;
}

bool FieldValue::IsNumber() const {
    return std::holds_alternative<qint64>(m_value) || std::holds_alternative<double>(m_value);
}

namespace {

QString ShortestReal(double value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QString::fromLatin1(buffer, result.ptr - buffer);
}

} // namespace

QString FieldValue::ToText() const {
    if (IsNull())
        raise(ErrorNumber::InvalidUseOfNull);
    if (const auto* text = std::get_if<QString>(&m_value))
        return *text;
    if (const auto* integer = std::get_if<qint64>(&m_value))
        return QString::number(*integer);
    if (const auto* real = std::get_if<double>(&m_value))
        return NumberToText(*real);
    return QString::fromUtf8(std::get<QByteArray>(m_value));
}

double FieldValue::ToNumber() const {
    if (IsNull())
        raise(ErrorNumber::InvalidUseOfNull);
    if (const auto* integer = std::get_if<qint64>(&m_value))
        return double(*integer);
    if (const auto* real = std::get_if<double>(&m_value))
        return *real;
    return ReadNumber(ToText());
}

bool FieldValue::ToBool() const {
    if (IsNull())
        raise(ErrorNumber::InvalidUseOfNull);
    if (IsNumber())
        return ToNumber() != 0.0;
    const QString text = ToText().trimmed();
    if (text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0)
        return true;
    if (text.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0)
        return false;
    bool ok = false;
    const double number = text.toDouble(&ok);
    if (!ok)
        raise(ErrorNumber::TypeMismatch);
    return number != 0.0;
}

namespace {
int Rank(const FieldValue& v) {
    if (v.IsNull())
        return 0;
    if (v.IsNumber())
        return 1;
    if (v.IsText())
        return 2;
    return 3;
}
} // namespace

int FieldValue::Compare(const FieldValue& a, const FieldValue& b) {
    const int ra = Rank(a);
    const int rb = Rank(b);
    if (ra != rb)
        return ra < rb ? -1 : 1;
    switch (ra) {
    case 1: {
        const double x = a.ToNumber();
        const double y = b.ToNumber();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    case 2:
        return a.ToText().compare(b.ToText(), Qt::CaseInsensitive);
    case 3:
        return std::get<QByteArray>(a.m_value).compare(std::get<QByteArray>(b.m_value));
    default:
        return 0;
    }
}

QString FieldValue::ToExportText() const {
    if (const auto* real = std::get_if<double>(&m_value))
        return ShortestReal(*real);
    return ToText();
}

} // namespace corvane
