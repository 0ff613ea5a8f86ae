#include "definitions/definition_writer.h"

#include "definitions/csv.h"
#include "definitions/definition_store.h"
#include "definitions/sqlite_file.h"
#include "state/error.h"
#include "state/text.h"

#include <QFile>
#include <QHash>
#include <algorithm>
#include <cmath>

namespace corvane {

DefinitionInputError::DefinitionInputError(const QString& file, int line, int column,
                                           const QString& message)
    : std::runtime_error(std::string()),
      m_text(file + QLatin1Char(':') + QString::number(line) + QLatin1Char(':') +
             QString::number(column) + QStringLiteral(": ") + message) {}

namespace {

const QString kNull = QStringLiteral("\\N");

QString SqlType(ColumnType type) {
    switch (type) {
    case ColumnType::Number:
        return QStringLiteral("NUMERIC");
    case ColumnType::YesNo:
        return QStringLiteral("INTEGER");
    default:
        return QStringLiteral("TEXT");
    }
}

std::optional<FieldValue> ParseNumber(const QString& text, bool decimalComma) {
    QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return FieldValue::FromInteger(0);
    if (decimalComma && trimmed.count(QLatin1Char(',')) == 1 && !trimmed.contains(QLatin1Char('.')))
        trimmed.replace(QLatin1Char(','), QLatin1Char('.'));
    bool ok = false;
    const qint64 integer = trimmed.toLongLong(&ok);
    if (ok)
        return FieldValue::FromInteger(integer);
    const double real = trimmed.toDouble(&ok);
    if (ok && std::isfinite(real))
        return FieldValue::FromReal(real);
    return std::nullopt;
}

std::optional<FieldValue> ParseYesNo(const QString& text) {
    const QString word = text.trimmed().toLower();
    static const QStringList yes{QStringLiteral("yes"), QStringLiteral("true"), QStringLiteral("1"),
                                 QStringLiteral("-1"), QStringLiteral("on")};
    static const QStringList no{QString(), QStringLiteral("no"), QStringLiteral("false"),
                                QStringLiteral("0"), QStringLiteral("off")};
    if (yes.contains(word))
        return FieldValue::FromInteger(-1);
    if (no.contains(word))
        return FieldValue::FromInteger(0);
    return std::nullopt;
}

// How the cells of one CSV are read.
struct CsvReading {
    QString name;
    bool decimalComma = false; // a file separated by semicolons writes 1,5 for 1.5
};

FieldValue CellValue(const CsvCell& cell, const ColumnSpec& column, const CsvReading& csv) {
    const QString& csvName = csv.name;
    if (!cell.quoted && cell.text == kNull)
        return FieldValue();
    switch (column.type) {
    case ColumnType::Number:
        if (auto value = ParseNumber(cell.text, csv.decimalComma))
            return *value;
        throw DefinitionInputError(csvName, cell.line, cell.column,
                                   QStringLiteral("'") + ForMessage(cell.text) +
                                       QStringLiteral("' in column ") + column.name +
                                       QStringLiteral(" is not a number"));
    case ColumnType::YesNo:
        if (auto value = ParseYesNo(cell.text))
            return *value;
        throw DefinitionInputError(csvName, cell.line, cell.column,
                                   QStringLiteral("'") + ForMessage(cell.text) +
                                       QStringLiteral("' in column ") + column.name +
                                       QStringLiteral(" is not yes or no"));
    default:
        return FieldValue::FromText(cell.text);
    }
}

// Letters to change, add or take away to make one word of the other, ignoring case.
int EditDistance(const QString& a, const QString& b) {
    std::vector<int> previous(std::size_t(b.size()) + 1);
    std::vector<int> current(previous.size());
    for (std::size_t j = 0; j < previous.size(); ++j)
        previous[j] = int(j);
    for (qsizetype i = 1; i <= a.size(); ++i) {
        current[0] = int(i);
        for (qsizetype j = 1; j <= b.size(); ++j) {
            const bool same = a.at(i - 1).toLower() == b.at(j - 1).toLower();
            current[std::size_t(j)] =
                std::min({previous[std::size_t(j)] + 1, current[std::size_t(j - 1)] + 1,
                          previous[std::size_t(j - 1)] + (same ? 0 : 1)});
        }
        std::swap(previous, current);
    }
    return previous.back();
}

// " (did you mean WriteData?)" for a name one or two letters away from a column, else nothing.
QString MeantColumn(const QString& name, DefinitionKind kind) {
    const ColumnSpec* nearest = nullptr;
    int best = 3;
    for (const ColumnSpec& column : Table1Columns(kind)) {
        const int distance = EditDistance(name, column.name);
        if (distance < best) {
            best = distance;
            nearest = &column;
        }
    }
    return nearest ? QStringLiteral(" (did you mean ") + nearest->name + QStringLiteral("?)")
                   : QString();
}

// Which column of the kind each header cell names; an unknown or repeated name is refused.
std::vector<const ColumnSpec*> MatchHeader(const CsvRow& header, DefinitionKind kind,
                                           const QString& csvName) {
    QHash<QString, const ColumnSpec*> byName;
    for (const ColumnSpec& column : Table1Columns(kind))
        byName.insert(column.name.toLower(), &column);
    std::vector<const ColumnSpec*> matched;
    for (const CsvCell& cell : header) {
        const ColumnSpec* column = byName.value(cell.text.trimmed().toLower(), nullptr);
        if (!column)
            throw DefinitionInputError(
                csvName, cell.line, cell.column,
                QStringLiteral("'") + ForMessage(cell.text) +
                    QStringLiteral("' is not a column of ") + KindNameWithArticle(kind) +
                    QStringLiteral(" file's Table1") + MeantColumn(cell.text.trimmed(), kind) +
                    QStringLiteral("; the columns are ") + ColumnNamesForMessage(kind));
        if (std::find(matched.begin(), matched.end(), column) != matched.end())
            throw DefinitionInputError(csvName, cell.line, cell.column,
                                       QStringLiteral("column ") + column->name +
                                           QStringLiteral(" is named twice"));
        matched.push_back(column);
    }
    return matched;
}

QString CreateTableSql(DefinitionKind kind) {
    QStringList columns;
    for (const ColumnSpec& column : Table1Columns(kind))
        columns << QLatin1Char('"') + column.name + QStringLiteral("\" ") + SqlType(column.type);
    return QStringLiteral("CREATE TABLE Table1 (") + columns.join(QStringLiteral(", ")) +
           QLatin1Char(')');
}

// The cell text a left-out column takes in the `row`-th row of the CSV (1-based).
QString MissingText(const ColumnSpec& column, MissingColumns missing, std::size_t row) {
    const QString empty = column.type == ColumnType::NumberAsText ? QStringLiteral("0") : QString();
    if (missing == MissingColumns::Empty)
        return empty;
    switch (column.whenMissing) {
    case WhenMissing::RowNumber:
        return QString::number(row);
    case WhenMissing::Yes:
        return QStringLiteral("yes");
    case WhenMissing::One:
        return QStringLiteral("1");
    case WhenMissing::Empty:
        break;
    }
    return empty;
}

// What every row holds in a left-out column, in words.
QString MissingInWords(const ColumnSpec& column, MissingColumns missing) {
    if (missing == MissingColumns::TemplateDefaults && column.whenMissing == WhenMissing::RowNumber)
        return QStringLiteral("the row's number (1, 2, 3 ...)");
    const QString text = MissingText(column, missing, 1);
    if (!text.isEmpty())
        return text;
    switch (column.type) {
    case ColumnType::YesNo:
        return QStringLiteral("no");
    case ColumnType::Text:
        return QStringLiteral("empty");
    default:
        return QStringLiteral("0");
    }
}

std::vector<FilledColumn> WriteRows(SqliteFile& db, const std::vector<CsvRow>& rows,
                                    DefinitionKind kind, const CsvReading& csv,
                                    MissingColumns missing) {
    const std::vector<const ColumnSpec*> header = MatchHeader(rows.front(), kind, csv.name);
    const auto& columns = Table1Columns(kind);
    QStringList names;
    QStringList marks;
    std::vector<const ColumnSpec*> left;
    for (const ColumnSpec& column : columns) {
        names << QLatin1Char('"') + column.name + QLatin1Char('"');
        marks << QStringLiteral("?");
        if (std::find(header.begin(), header.end(), &column) == header.end())
            left.push_back(&column);
    }
    const QString insert = QStringLiteral("INSERT INTO Table1 (") + names.join(QLatin1Char(',')) +
                           QStringLiteral(") VALUES (") + marks.join(QLatin1Char(',')) +
                           QLatin1Char(')');
    for (std::size_t r = 1; r < rows.size(); ++r) {
        const CsvRow& row = rows[r];
        if (row.size() != header.size())
            throw DefinitionInputError(
                // Point at the first cell that is missing or too many.
                csv.name, row.front().line, int(std::min(row.size(), header.size())) + 1,
                QStringLiteral("the row has ") + QString::number(row.size()) +
                    QStringLiteral(" cells, the header ") + QString::number(header.size()));
        std::vector<FieldValue> values(columns.size());
        for (const ColumnSpec* column : left) {
            const CsvCell filled{MissingText(*column, missing, r), true, row.front().line, 0};
            values[std::size_t(column - columns.data())] = CellValue(filled, *column, csv);
        }
        for (std::size_t c = 0; c < row.size(); ++c) {
            const auto index = std::size_t(header[c] - columns.data());
            values[index] = CellValue(row[c], *header[c], csv);
        }
        db.Execute(insert, values);
    }
    std::vector<FilledColumn> filled;
    for (const ColumnSpec* column : left)
        filled.push_back({column->name, MissingInWords(*column, missing)});
    return filled;
}

} // namespace

CreateReport CreateDefinitionFile(const QString& outPath, const QString& csvName,
                                  const QString& csvText, DefinitionKind kind,
                                  std::optional<double> version, MissingColumns missing) {
    CreateReport report;
    report.separator = DetectSeparator(csvText);
    const CsvReading csv{csvName, report.separator == QLatin1Char(';')};
    std::vector<CsvRow> rows;
    try {
        rows = ParseCsv(csvText, report.separator);
    } catch (const CsvError& error) {
        throw DefinitionInputError(csvName, error.line, error.column, error.message);
    }
    if (rows.empty())
        throw DefinitionInputError(csvName, 1, 1, QStringLiteral("no header row"));

    // Build beside the target and move it into place, so that a failure leaves no half file.
    const QString building = outPath + QStringLiteral(".building");
    QFile::remove(building);
    try {
        {
            SqliteFile db(building, SqliteFile::Mode::Create);
            db.Execute(QStringLiteral("BEGIN"));
            db.Execute(CreateTableSql(kind));
            report.filled = WriteRows(db, rows, kind, csv, missing);
            if (kind == DefinitionKind::Questionnaire && version) {
                db.Execute(QStringLiteral("CREATE TABLE QuestionnaireInfo (Version NUMERIC)"));
                db.Execute(QStringLiteral("INSERT INTO QuestionnaireInfo (Version) VALUES (?)"),
                           {*version == double(qint64(*version))
                                ? FieldValue::FromInteger(qint64(*version))
                                : FieldValue::FromReal(*version)});
            }
            db.Execute(QStringLiteral("COMMIT"));
        }
        QFile::remove(outPath);
        if (!QFile::rename(building, outPath))
            raise(ErrorNumber::PermissionDenied,
                  QStringLiteral("'") + outPath + QStringLiteral("' can not be written"));
    } catch (...) {
        QFile::remove(building);
        throw;
    }
    return report;
}

QString ExportDefinitionFile(const QString& path) {
    const DefinitionKind kind = KindOfFile(path);
    VerifyDefinitionFile(path, kind);
    SqliteFile db(path, SqliteFile::Mode::ReadOnly);
    QStringList present;
    db.Query(QStringLiteral("SELECT * FROM Table1 LIMIT 0"), &present);
    std::vector<const ColumnSpec*> columns;
    std::vector<QString> header;
    QStringList selected;
    for (const ColumnSpec& column : Table1Columns(kind)) {
        for (const QString& name : present) {
            if (name.compare(column.name, Qt::CaseInsensitive) == 0) {
                columns.push_back(&column);
                header.push_back(CsvField(column.name));
                selected << QLatin1Char('"') + name + QLatin1Char('"');
                break;
            }
        }
    }
    QString csv = CsvLine(header);
    const auto rows = db.Query(QStringLiteral("SELECT ") + selected.join(QLatin1Char(',')) +
                               QStringLiteral(" FROM Table1 ORDER BY rowid"));
    for (const auto& row : rows) {
        std::vector<QString> cells;
        for (std::size_t c = 0; c < row.size(); ++c) {
            const FieldValue& value = row[c];
            if (value.IsNull())
                cells.push_back(kNull);
            else if (columns[c]->type == ColumnType::YesNo && value.IsNumber())
                cells.push_back(value.ToNumber() != 0.0 ? QStringLiteral("yes")
                                                        : QStringLiteral("no"));
            else
                cells.push_back(CsvField(value.ToExportText(), value.ToExportText() == kNull));
        }
        csv += CsvLine(cells);
    }
    return csv;
}

} // namespace corvane
