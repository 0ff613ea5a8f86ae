// Reading back the text files that runs leave in a data folder: the locale's UTF-8 of today's
// stations and the 8-bit text of older ones, with their rows split as the writers joined them.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <vector>

namespace corvane {

/// Text of a data file: UTF-8 when the bytes are valid UTF-8, else the Western 8-bit code page
/// that older stations wrote. `legacy` tells which.
QString DecodeDataText(const QByteArray& bytes, bool* legacy = nullptr);

/// The lines of a data file without their line ends (carriage return and line feed, or either
/// alone); the empty lines that loads without a finished run leave are dropped.
QStringList DataLines(const QString& text);

/// One spreadsheet data file: its header's column names and its rows' fields. The writers put
/// no quotes around fields (commas in text answers become blanks), but a line break inside an
/// answer stands as it was typed: a row that comes short of the header is joined with the lines
/// after it until it is complete.
struct DataTable {
    QStringList header;
    std::vector<QStringList> rows;
    int joinedLines = 0; // line breaks inside answers that were put back into their rows
    int rowsTooLong = 0; // rows with more fields than the header, left out
    bool legacy = false; // read as 8-bit text
};

/// Reads the file; false with `error` set when it can't be read.
bool ReadDataTable(const QString& path, DataTable& table, QString* error);

} // namespace corvane
