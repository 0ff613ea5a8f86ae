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

FieldValue EmptyValue(ColumnType type) {
    switch (type) {
    case ColumnType::Number:
    case ColumnType::YesNo:
        return FieldValue::FromInteger(0);
    case ColumnType::NumberAsText:
        return FieldValue::FromText(QStringLiteral("0"));
    default:
        return FieldValue::FromText(QString());
    }
}

std::optional<FieldValue> ParseNumber(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return FieldValue::FromInteger(0);
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

FieldValue CellValue(const CsvCell& cell, const ColumnSpec& column, const QString& csvName) {
    if (!cell.quoted && cell.text == kNull)
        return FieldValue();
    switch (column.type) {
    case ColumnType::Number:
        if (auto value = ParseNumber(cell.text))
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
            throw DefinitionInputError(csvName, cell.line, cell.column,
                                       QStringLiteral("'") + ForMessage(cell.text) +
                                           QStringLiteral("' is not a column of ") +
                                           KindNameWithArticle(kind) +
                                           QStringLiteral(" file's Table1"));
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

void WriteRows(SqliteFile& db, const std::vector<CsvRow>& rows, DefinitionKind kind,
               const QString& csvName) {
    const std::vector<const ColumnSpec*> header = MatchHeader(rows.front(), kind, csvName);
    const auto& columns = Table1Columns(kind);
    QStringList names;
    QStringList marks;
    for (const ColumnSpec& column : columns) {
        names << QLatin1Char('"') + column.name + QLatin1Char('"');
        marks << QStringLiteral("?");
    }
    const QString insert = QStringLiteral("INSERT INTO Table1 (") + names.join(QLatin1Char(',')) +
                           QStringLiteral(") VALUES (") + marks.join(QLatin1Char(',')) +
                           QLatin1Char(')');
    for (std::size_t r = 1; r < rows.size(); ++r) {
        const CsvRow& row = rows[r];
        if (row.size() != header.size())
            throw DefinitionInputError(
                // Point at the first cell that is missing or too many.
                csvName, row.front().line, int(std::min(row.size(), header.size())) + 1,
                QStringLiteral("the row has ") + QString::number(row.size()) +
                    QStringLiteral(" cells, the header ") + QString::number(header.size()));
        std::vector<FieldValue> values;
        for (const ColumnSpec& column : columns)
            values.push_back(EmptyValue(column.type));
        for (std::size_t c = 0; c < row.size(); ++c) {
            const auto index = std::size_t(header[c] - columns.data());
            values[index] = CellValue(row[c], *header[c], csvName);
        }
        db.Execute(insert, values);
    }
}

} // namespace

void CreateDefinitionFile(const QString& outPath, const QString& csvName, const QString& csvText,
                          DefinitionKind kind, std::optional<double> version) {
    std::vector<CsvRow> rows;
    try {
        rows = ParseCsv(csvText);
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
            WriteRows(db, rows, kind, csvName);
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
