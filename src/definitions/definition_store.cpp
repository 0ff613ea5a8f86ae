#include "definitions/definition_store.h"

#include "definitions/sqlite_file.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/text.h"

#include <QSet>
#include <algorithm>

namespace corvane {

namespace {

// Lines of the database's own check shown when a file is damaged.
constexpr std::size_t kCheckLinesShown = 5;

QString Quoted(const QString& path) {
    return QLatin1Char('\'') + path + QLatin1Char('\'');
}

// The path of a file that a definition names, found without regard to letter case; a missing
// file is the store's "could not find file" error.
QString Locate(const QString& path) {
    const auto found = FindFile(path);
    if (!found)
        raise(ErrorNumber::DatabaseNotFound,
              QStringLiteral("Could not find file ") + Quoted(path) + QLatin1Char('.'));
    return *found;
}

QString TableName(SqliteFile& file, const QString& wanted) {
    const auto rows = file.Query(
        QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' AND lower(name) = ?"),
        nullptr, {FieldValue::FromText(wanted.toLower())});
    if (rows.empty())
        return QString();
    return rows.front().front().ToText();
}

QString QuotedIdentifier(const QString& name) {
    QString quoted = name;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

void Verify(SqliteFile& file, DefinitionKind kind) {
    const auto check = file.Query(QStringLiteral("PRAGMA quick_check"));
    if (check.empty() || check.front().front().ToText() != QLatin1String("ok")) {
        // The database's own words come last, for whoever repairs the file.
        QString found;
        for (std::size_t line = 0; line < check.size() && line < kCheckLinesShown; ++line)
            found += QStringLiteral("\n  ") + ForMessage(check[line].front().ToText());
        raise(ErrorNumber::DamagedDefinitionFile,
              Quoted(file.Path()) +
                  QStringLiteral(" is damaged. Use a saved copy or make it again with "
                                 "corvane-def.\nThe database check found:") +
                  found);
    }

    const auto unsafe = file.Query(QStringLiteral(
        "SELECT type, name FROM sqlite_master WHERE type IN ('trigger', 'view') LIMIT 1"));
    if (!unsafe.empty())
        raise(ErrorNumber::UnsafeDefinitionFile,
              Quoted(file.Path()) + QStringLiteral(" holds a ") + unsafe.front()[0].ToText() +
                  QStringLiteral(" ('") + unsafe.front()[1].ToText() +
                  QStringLiteral("'). Definition files hold tables only, so it is not used."));

    const QString table = TableName(file, QStringLiteral("Table1"));
    if (table.isEmpty())
        raise(ErrorNumber::MissingTable, Quoted(file.Path()) +
                                             QStringLiteral(" has no table Table1, so it is not ") +
                                             KindNameWithArticle(kind) + QStringLiteral(" file."));

    QSet<QString> present;
    for (const auto& row : file.Query(QStringLiteral("PRAGMA table_info(") +
                                      QuotedIdentifier(table) + QLatin1Char(')')))
        present.insert(row.at(1).ToText().toLower());
    for (const ColumnSpec& column : Table1Columns(kind)) {
        if (column.required && !present.contains(column.name.toLower()))
            raise(ErrorNumber::MissingColumn, Quoted(file.Path()) +
                                                  QStringLiteral(": table Table1 has no column '") +
                                                  column.name + QStringLiteral("', which every ") +
                                                  KindName(kind) + QStringLiteral(" file has."));
    }
}

RecordSet ReadTable1(const QString& path, DefinitionKind kind) {
    SqliteFile file(Locate(path), SqliteFile::Mode::ReadOnly);
    Verify(file, kind);
    QStringList columns;
    auto rows = file.Query(QStringLiteral("SELECT * FROM ") +
                               QuotedIdentifier(TableName(file, QStringLiteral("Table1"))),
                           &columns);
    return RecordSet(path, columns, std::move(rows));
}

} // namespace

void VerifyDefinitionFile(const QString& path, DefinitionKind kind) {
    SqliteFile file(Locate(path), SqliteFile::Mode::ReadOnly);
    Verify(file, kind);
}

RecordSet ReadExperimentRows(const QString& path) {
    RecordSet rows = ReadTable1(path, DefinitionKind::Experiment);
    rows.SortBy({QStringLiteral("file")});
    return rows;
}

RecordSet ReadExperimentRowsAsStored(const QString& path) {
    return ReadTable1(path, DefinitionKind::Experiment);
}

RecordSet ReadConditionRows(const QString& path, const QString& condition) {
    const QString wanted = Normalised(condition);
    if (wanted.contains(QLatin1Char('\'')))
        raise(ErrorNumber::QuerySyntax,
              QStringLiteral("Syntax error in string in query expression 'trim(lcase(Condition)) "
                             "= '") +
                  wanted + QStringLiteral("''"));
    RecordSet rows = ReadTable1(path, DefinitionKind::Experiment);
    rows.Filter([&](const RecordSet& row) {
        const FieldValue& cell = row.Field(QStringLiteral("Condition"));
        return !cell.IsNull() && Normalised(cell.ToText()) == wanted;
    });
    rows.SortBy({QStringLiteral("Condition"), QStringLiteral("position")});
    return rows;
}

std::optional<FieldValue> ReadQuestionnaireVersion(const QString& path) {
    try {
        SqliteFile file(Locate(path), SqliteFile::Mode::ReadOnly);
        const QString table = TableName(file, QStringLiteral("QuestionnaireInfo"));
        if (table.isEmpty())
            return std::nullopt;
        QStringList columns;
        const auto rows = file.Query(QStringLiteral("SELECT * FROM ") + QuotedIdentifier(table) +
                                         QStringLiteral(" LIMIT 1"),
                                     &columns);
        qsizetype found = -1;
        for (qsizetype c = 0; found < 0 && c < columns.size(); ++c) {
            if (columns.at(c).compare(QLatin1String("Version"), Qt::CaseInsensitive) == 0)
                found = c;
        }
        if (rows.empty() || found < 0)
            return std::nullopt;
        return rows.front().at(std::size_t(found));
    } catch (const CorvaneError&) {
        return std::nullopt;
    }
}

RecordSet ReadQuestionnaireRows(const QString& path) {
    return ReadTable1(path, DefinitionKind::Questionnaire);
}

RecordSet ReadQuestionnaireRowsKeeping(const QString& path, const QStringList& keep,
                                       const std::function<void(const RecordSet&)>& each) {
    SqliteFile file(Locate(path), SqliteFile::Mode::ReadOnly);
    Verify(file, DefinitionKind::Questionnaire);
    const QString select = QStringLiteral("SELECT * FROM ") +
                           QuotedIdentifier(TableName(file, QStringLiteral("Table1")));
    QStringList columns;
    file.Query(select + QStringLiteral(" LIMIT 0"), &columns);
    RecordSet current(path, columns, {});
    std::vector<int> wanted;
    QStringList keptColumns;
    for (const QString& name : keep) {
        wanted.push_back(current.ColumnOf(name));
        keptColumns << columns.at(wanted.back());
    }
    std::vector<std::vector<FieldValue>> kept;
    file.QueryEach(select, nullptr, [&](std::vector<FieldValue>&& row) {
        std::vector<FieldValue> narrow;
        narrow.reserve(wanted.size());
        for (int column : wanted)
            narrow.push_back(row[std::size_t(column)]);
        current.SetOnlyRow(std::move(row));
        each(current);
        kept.push_back(std::move(narrow));
    });
    return RecordSet(path, keptColumns, std::move(kept));
}

RecordSet ReadQuestionnaireRowsInOrder(const QString& path) {
    RecordSet rows = ReadTable1(path, DefinitionKind::Questionnaire);
    rows.SortBy({QStringLiteral("questionnumber")});
    return rows;
}

namespace {

bool NamesRowid(const QStringList& columns) {
    for (const QString& column : columns) {
        const QString lower = column.toLower();
        if (lower == QLatin1String("rowid") || lower == QLatin1String("_rowid_") ||
            lower == QLatin1String("oid"))
            return true;
    }
    return false;
}

// The rowids of the table's rows, ordered by questionnumber as the store sorts it, stably in
// the order the rows are stored. Empty when the rows can't be found by rowid.
std::optional<std::vector<FieldValue>> RowidsInOrder(SqliteFile& file, const QString& table) {
    QStringList columns;
    file.Query(QStringLiteral("SELECT * FROM ") + table + QStringLiteral(" LIMIT 0"), &columns);
    if (NamesRowid(columns))
        return std::nullopt;
    std::vector<std::vector<FieldValue>> keys;
    try {
        keys = file.Query(QStringLiteral("SELECT rowid, questionnumber FROM ") + table +
                          QStringLiteral(" ORDER BY rowid"));
    } catch (const CorvaneError&) {
        return std::nullopt; // a table without rowids
    }
    std::stable_sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) {
        return FieldValue::Compare(a[1], b[1]) < 0;
    });
    std::vector<FieldValue> rowids;
    rowids.reserve(keys.size());
    for (auto& key : keys)
        rowids.push_back(std::move(key[0]));
    return rowids;
}

} // namespace

QuestionnaireRowReader::QuestionnaireRowReader(const QString& path)
    : m_file(std::make_unique<SqliteFile>(Locate(path), SqliteFile::Mode::ReadOnly)) {
    Verify(*m_file, DefinitionKind::Questionnaire);
    const QString table = QuotedIdentifier(TableName(*m_file, QStringLiteral("Table1")));
    auto rowids = RowidsInOrder(*m_file, table);
    if (!rowids) {
        m_file.reset();
        m_held = ReadQuestionnaireRowsInOrder(path);
        m_order.resize(std::size_t(m_held.RecordCount()));
        return;
    }
    m_order = std::move(*rowids);
    QStringList columns;
    const QString select = QStringLiteral("SELECT * FROM ") + table;
    m_file->Query(select + QStringLiteral(" LIMIT 0"), &columns);
    m_row = RecordSet(path, columns, {});
    m_lookup = std::make_unique<SqliteLookup>(*m_file, select + QStringLiteral(" WHERE rowid = ?"));
}

QuestionnaireRowReader::~QuestionnaireRowReader() = default;

bool QuestionnaireRowReader::Next() {
    if (m_next >= m_order.size())
        return false;
    if (m_lookup) {
        m_row.SetOnlyRow(m_lookup->FirstRow({m_order[m_next]}));
    } else {
        m_row = RecordSet(m_held.Source(), m_held.Columns(), {m_held.Rows()[m_next]});
    }
    ++m_next;
    return true;
}

void UpdateTemplateFile(const QString& templatePath, const QString& file) {
    SqliteFile db(templatePath, SqliteFile::Mode::ReadWrite);
    Verify(db, DefinitionKind::Experiment);
    const QString table = QuotedIdentifier(TableName(db, QStringLiteral("Table1")));
    const auto first = db.Query(QStringLiteral("SELECT rowid FROM ") + table +
                                QStringLiteral(" ORDER BY rowid LIMIT 1"));
    if (first.empty())
        raise(ErrorNumber::NoCurrentRecord);
    db.Execute(QStringLiteral("UPDATE ") + table + QStringLiteral(" SET file = ? WHERE rowid = ?"),
               {FieldValue::FromText(file), first.front().front()});
}

} // namespace corvane
