#include "definitions/number_reading.h"

#include "state/checked_int.h"
#include "state/error.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace corvane {

namespace {

bool IsDigit(QChar c) {
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

bool IsBlank(QChar c) {
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') ||
           c == QLatin1Char('\r');
}

double RoundHalfEven(double value) {
    if (!std::isfinite(value))
        raise(ErrorNumber::Overflow);
    const double down = std::floor(value);
    const double fraction = value - down;
    if (fraction > 0.5)
        return down + 1;
    if (fraction < 0.5)
        return down;
    return std::fmod(down, 2.0) == 0.0 ? down : down + 1;
}

} // namespace

double ReadNumber(const QString& text) {
    qsizetype at = 0;
    const qsizetype end = text.size();
    while (at < end && IsBlank(text.at(at)))
        ++at;
    std::string number;
    if (at < end && (text.at(at) == QLatin1Char('+') || text.at(at) == QLatin1Char('-')))
        number += char(text.at(at++).unicode());
    bool digits = false;
    while (at < end && IsDigit(text.at(at))) {
        number += char(text.at(at++).unicode());
        digits = true;
    }
    if (at < end && text.at(at) == QLatin1Char('.')) {
        number += '.';
        ++at;
        while (at < end && IsDigit(text.at(at))) {
            number += char(text.at(at++).unicode());
            digits = true;
        }
    }
    if (!digits)
        return 0.0;
    // An exponent counts only when digits follow it.
    if (at < end && (text.at(at) == QLatin1Char('e') || text.at(at) == QLatin1Char('E'))) {
        qsizetype probe = at + 1;
        std::string exponent = "e";
        if (probe < end &&
            (text.at(probe) == QLatin1Char('+') || text.at(probe) == QLatin1Char('-')))
            exponent += char(text.at(probe++).unicode());
        if (probe < end && IsDigit(text.at(probe))) {
            while (probe < end && IsDigit(text.at(probe)))
                exponent += char(text.at(probe++).unicode());
            number += exponent;
        }
    }
    if (number.front() == '+')
        number.erase(0, 1);
    double value = 0.0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Too small to hold reads as 0; too large is an overflow.
        if (number.find("e-") != std::string::npos)
            return 0.0;
        raise(ErrorNumber::Overflow);
    }
    return value;
}

qint16 RoundToInt16(double value) {
    const double rounded = RoundHalfEven(value);
    if (rounded < std::numeric_limits<qint16>::min() ||
        rounded > std::numeric_limits<qint16>::max())
        raise(ErrorNumber::Overflow);
    return static_cast<qint16>(rounded);
}

qint32 RoundToInt32(double value) {
    const double rounded = RoundHalfEven(value);
    if (rounded < std::numeric_limits<qint32>::min() ||
        rounded > std::numeric_limits<qint32>::max())
        raise(ErrorNumber::Overflow);
    return static_cast<qint32>(rounded);
}

float ToSingle(double value) {
    if (!std::isfinite(value) || std::fabs(value) > double(std::numeric_limits<float>::max()))
        raise(ErrorNumber::Overflow);
    return static_cast<float>(value);
}

QString NumberToText(double value) {
    if (value == std::floor(value) && std::fabs(value) < 1e15)
        return QString::number(static_cast<qint64>(value));
    return QString::number(value, 'g', 15).toUpper();
}

} // namespace corvane
