#include "definitions/csv.h"

namespace corvane {

namespace {

class CsvParser {
public:
    explicit CsvParser(const QString& text) : m_text(text) {
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
            ++m_at; // the comma
        }
    }

    void ParsePlain(CsvCell& cell) {
        while (m_at < m_text.size() && m_text.at(m_at) != QLatin1Char(',') && !AtLineEnd()) {
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
        if (m_at < m_text.size() && m_text.at(m_at) != QLatin1Char(',') && !AtLineEnd())
            throw CsvError{m_line, cell.column,
                           QStringLiteral("text after the closing quote of a cell")};
    }

    const QString& m_text;
    qsizetype m_at = 0;
    int m_line = 1;
};

} // namespace

std::vector<CsvRow> ParseCsv(const QString& text) {
    return CsvParser(text).Parse();
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
