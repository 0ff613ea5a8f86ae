// Comma-separated text as spreadsheets write it: quoted cells may hold commas, quotes (doubled)
// and line ends. Every cell remembers where it stood, so that errors can name line and column.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <vector>

namespace corvane {

struct CsvCell {
    QString text;
    bool quoted = false;
    int line = 0;   // 1-based line of the file where the cell starts
    int column = 0; // 1-based position of the cell in its row
};

using CsvRow = std::vector<CsvCell>;

/// A fault in comma-separated text, with where it stood.
struct CsvError {
    int line = 0;
    int column = 0;
    QString message;
};

/// The bytes of a CSV file as text: UTF-8 (a byte-order mark is passed over) or UTF-16 of
/// either byte order, with or without its mark. No value for text in any other encoding, and
/// `problem` then names the encoding found ("UTF-32", "not UTF-8 or UTF-16").
std::optional<QString> DecodeCsv(const QByteArray& bytes, QString* problem);

/// The separator of the text: a semicolon when its first line holds more semicolons than commas
/// outside quotes (as spreadsheets save CSV where the comma is the decimal mark), else a comma.
QChar DetectSeparator(const QString& text);

/// Parses the text into rows; blank lines are passed over. Raises `CsvError`.
std::vector<CsvRow> ParseCsv(const QString& text, QChar separator = QLatin1Char(','));

/// One row written back, cells quoted where they need it, ended by "\n".
QString CsvLine(const std::vector<QString>& cells);
/// A cell written for CSV: quoted when it holds a comma, a quote, a line end or outer blanks,
/// or when `forceQuotes` is set.
QString CsvField(const QString& text, bool forceQuotes = false);

} // namespace corvane
