#include "definitions/csv.h"

#include <QStringDecoder>
#include <algorithm>

namespace corvane {

namespace {

class CsvParser {
public:
    CsvParser(const QString& text, QChar separator) : m_text(text), m_separator(separator) {
        if (m_text.startsWith(QChar(0xFEFF)))
            m_at = 1;
    }

    std::vector<CsvRow> Parse() {
        std::vector<CsvRow> rows;
        while (m_at < m_text.size()) {
            CsvRow row = ParseRow();
            const bool blank = row.size() == 1 && row.front().text.isEmpty() && !row.front().quoted;
            if (!blank)
                rows.push_back(std::move(row));
        }
        return rows;
    }

private:
    bool AtLineEnd() const {
        return m_at < m_text.size() &&
               (m_text.at(m_at) == QLatin1Char('\n') || m_text.at(m_at) == QLatin1Char('\r'));
    }

    void SkipLineEnd() {
        if (m_text.at(m_at) == QLatin1Char('\r') && m_at + 1 < m_text.size() &&
            m_text.at(m_at + 1) == QLatin1Char('\n'))
            ++m_at;
        ++m_at;
        ++m_line;
    }

    CsvRow ParseRow() {
        CsvRow row;
        while (true) {
            CsvCell cell;
            cell.line = m_line;
            cell.column = int(row.size()) + 1;
            if (m_at < m_text.size() && m_text.at(m_at) == QLatin1Char('"'))
                ParseQuoted(cell);
            else
                ParsePlain(cell);
            row.push_back(cell);
            if (m_at >= m_text.size())
                return row;
            if (AtLineEnd()) {
                SkipLineEnd();
                return row;
            }
            ++m_at; // the separator
        }
    }

    void ParsePlain(CsvCell& cell) {
        while (m_at < m_text.size() && m_text.at(m_at) != m_separator && !AtLineEnd()) {
            if (m_text.at(m_at) == QLatin1Char('"'))
                throw CsvError{m_line, cell.column,
                               QStringLiteral("a quote inside an unquoted cell; put the whole "
                                              "cell in quotes and double the quote")};
            cell.text += m_text.at(m_at++);
        }
    }

    void ParseQuoted(CsvCell& cell) {
        cell.quoted = true;
        ++m_at;
        while (true) {
            if (m_at >= m_text.size())
                throw CsvError{cell.line, cell.column,
                               QStringLiteral("a quoted cell is not closed")};
            const QChar c = m_text.at(m_at);
            if (c == QLatin1Char('"')) {
                if (m_at + 1 < m_text.size() && m_text.at(m_at + 1) == QLatin1Char('"')) {
                    cell.text += c;
                    m_at += 2;
                    continue;
                }
                ++m_at;
                break;
            }
            if (c == QLatin1Char('\n') ||
                (c == QLatin1Char('\r') &&
                 !(m_at + 1 < m_text.size() && m_text.at(m_at + 1) == QLatin1Char('\n'))))
                ++m_line;
            cell.text += c;
            ++m_at;
        }
        if (m_at < m_text.size() && m_text.at(m_at) != m_separator && !AtLineEnd())
            throw CsvError{m_line, cell.column,
                           QStringLiteral("text after the closing quote of a cell")};
    }

    const QString& m_text;
    const QChar m_separator;
    qsizetype m_at = 0;
    int m_line = 1;
};

} // namespace

namespace {

// Text without a byte-order mark in UTF-16 has a zero byte in every other place of its ASCII
// characters, which a header row is made of; which place tells the byte order.
std::optional<QStringConverter::Encoding> UnmarkedUtf16(const QByteArray& bytes) {
    const qsizetype pairs = std::min<qsizetype>(bytes.size() / 2, 64);
    if (pairs == 0)
        return std::nullopt;
    int zeroFirst = 0;
    int zeroSecond = 0;
    for (qsizetype i = 0; i < pairs; ++i) {
        zeroFirst += bytes.at(2 * i) == 0 && bytes.at(2 * i + 1) != 0;
        zeroSecond += bytes.at(2 * i) != 0 && bytes.at(2 * i + 1) == 0;
    }
    // Most of the first characters are ASCII, and UTF-8 text has no zero byte at all.
    if (zeroSecond * 2 > pairs && zeroFirst == 0)
        return QStringConverter::Utf16LE;
    if (zeroFirst * 2 > pairs && zeroSecond == 0)
        return QStringConverter::Utf16BE;
    return std::nullopt;
}

std::optional<QString> Decode(const QByteArray& bytes, QStringConverter::Encoding encoding,
                              qsizetype skip, const QString& name, QString* problem) {
    QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless);
    QString text = decoder.decode(bytes.mid(skip));
    if (decoder.hasError()) {
        if (problem)
            *problem = QStringLiteral("is not valid ") + name +
                       QStringLiteral(" text; save it as CSV in UTF-8");
        return std::nullopt;
    }
    return text;
}

} // namespace

std::optional<QString> DecodeCsv(const QByteArray& bytes, QString* problem) {
    if (bytes.startsWith(QByteArray("\xFF\xFE\x00\x00", 4)) ||
        bytes.startsWith(QByteArray("\x00\x00\xFE\xFF", 4))) {
        if (problem)
            *problem = QStringLiteral("is in UTF-32, which is not read; save it as CSV in UTF-8");
        return std::nullopt;
    }
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return Decode(bytes, QStringConverter::Utf8, 3, QStringLiteral("UTF-8"), problem);
    if (bytes.startsWith("\xFF\xFE"))
        return Decode(bytes, QStringConverter::Utf16LE, 2, QStringLiteral("UTF-16"), problem);
    if (bytes.startsWith("\xFE\xFF"))
        return Decode(bytes, QStringConverter::Utf16BE, 2, QStringLiteral("UTF-16"), problem);
    if (const auto utf16 = UnmarkedUtf16(bytes))
        return Decode(bytes, *utf16, 0, QStringLiteral("UTF-16"), problem);
    const auto text = Decode(bytes, QStringConverter::Utf8, 0, QStringLiteral("UTF-8"), problem);
    if (!text && problem)
        *problem = QStringLiteral("is not UTF-8 or UTF-16 text (perhaps a code page such as "
                                  "Windows-1252); save it as CSV in UTF-8");
    return text;
}

QChar DetectSeparator(const QString& text) {
    int commas = 0;
    int semicolons = 0;
    bool quoted = false;
    for (const QChar c : text) {
        if (c == QLatin1Char('"')) {
            quoted = !quoted; // a doubled quote turns it off and on again
            continue;
        }
        if (quoted)
            continue;
        if (c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            break;
        commas += c == QLatin1Char(',');
        semicolons += c == QLatin1Char(';');
    }
    return semicolons > commas ? QLatin1Char(';') : QLatin1Char(',');
}

std::vector<CsvRow> ParseCsv(const QString& text, QChar separator) {
    return CsvParser(text, separator).Parse();
}

QString CsvField(const QString& text, bool forceQuotes) {
    const bool needs = forceQuotes || text.contains(QLatin1Char(',')) ||
                       text.contains(QLatin1Char('"')) || text.contains(QLatin1Char('\n')) ||
                       text.contains(QLatin1Char('\r')) || text.startsWith(QLatin1Char(' ')) ||
                       text.endsWith(QLatin1Char(' '));
    if (!needs)
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString CsvLine(const std::vector<QString>& cells) {
    QString line;
    for (std::size_t c = 0; c < cells.size(); ++c) {
        if (c > 0)
            line += QLatin1Char(',');
        line += cells[c];
    }
    return line + QLatin1Char('\n');
}

} // namespace corvane
