#include "analysis/data_text.h"

#include <QFile>
#include <QStringDecoder>

namespace corvane {

namespace {

// The code page's letters at 0x80 to 0x9F; the rest of its upper half is Latin-1.
constexpr char16_t kWesternHigh[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

QString DecodeWestern(const QByteArray& bytes) {
    QString text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text.append(
            QChar(byte >= 0x80 && byte < 0xA0 ? kWesternHigh[byte - 0x80] : char16_t(byte)));
    }
    return text;
}

} // namespace

QString DecodeDataText(const QByteArray& bytes, bool* legacy) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    const bool western = utf8.hasError();
    if (legacy)
        *legacy = western;
    return western ? DecodeWestern(bytes) : text;
}

QStringList DataLines(const QString& text) {
    QString unified = text;
    unified.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    unified.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    QStringList lines = unified.split(QLatin1Char('\n'));
    lines.removeAll(QString());
    return lines;
}

bool ReadDataTable(const QString& path, DataTable& table, QString* error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = file.errorString();
        return false;
    }
    const QStringList lines = DataLines(DecodeDataText(file.readAll(), &table.legacy));
    table = DataTable{{}, {}, 0, 0, table.legacy};
    if (lines.isEmpty())
        return true;
    table.header = lines.front().split(QLatin1Char(','));
    const qsizetype width = table.header.size();
    for (qsizetype at = 1; at < lines.size(); ++at) {
        QString row = lines.at(at);
        QStringList fields = row.split(QLatin1Char(','));
        while (fields.size() < width && at + 1 < lines.size()) {
            row += QLatin1Char('\n') + lines.at(++at);
            fields = row.split(QLatin1Char(','));
            ++table.joinedLines;
        }
        if (fields.size() > width) {
            ++table.rowsTooLong;
            continue;
        }
        while (fields.size() < width)
            fields << QString();
        table.rows.push_back(fields);
    }
    return true;
}

} // namespace corvane
