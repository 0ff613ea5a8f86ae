// Experiment and questionnaire files as SQLite databases, opened read-only. Each operation opens
// the file, checks that it is a definition file the program can trust, reads what it asks for
// into memory and closes the file again.
#pragma once

#include "definitions/definition_columns.h"
#include "definitions/record_set.h"

#include <functional>
#include <memory>
#include <optional>

namespace corvane {

/// "Select * from table1 order by file".
RecordSet ReadExperimentRows(const QString& path);
/// "Select * from table1": the experiment's rows as stored.
RecordSet ReadExperimentRowsAsStored(const QString& path);
/// The rows of one condition, compared trimmed and in lower case, ordered by condition and
/// position. A quote in the condition is a syntax error, as the condition is part of the query.
RecordSet ReadConditionRows(const QString& path, const QString& condition);
/// `Version` of the first row of `QuestionnaireInfo`; no value when it can't be read.
std::optional<FieldValue> ReadQuestionnaireVersion(const QString& path);
/// "Select * from Table1": the items as stored.
RecordSet ReadQuestionnaireRows(const QString& path);
/// "Select * from Table1" row by row: `each` sees every row as the only row of a set, and the
/// rows are returned with only the columns in `keep`.
RecordSet ReadQuestionnaireRowsKeeping(const QString& path, const QStringList& keep,
                                       const std::function<void(const RecordSet&)>& each);
/// "Select * from Table1 order by questionnumber".
RecordSet ReadQuestionnaireRowsInOrder(const QString& path);

class SqliteFile;
class SqliteLookup;

/// The rows of "Select * from Table1 order by questionnumber" one at a time, each read when it
/// is reached, so that a long questionnaire is never held in full beside its items.
class QuestionnaireRowReader {
public:
    explicit QuestionnaireRowReader(const QString& path);
    ~QuestionnaireRowReader();
    QuestionnaireRowReader(const QuestionnaireRowReader&) = delete;
    QuestionnaireRowReader& operator=(const QuestionnaireRowReader&) = delete;

    int RecordCount() const { return int(m_order.size()); }
    /// Makes the next row the current one; false past the last.
    bool Next();
    /// The current row.
    const RecordSet& Row() const { return m_row; }

private:
    std::unique_ptr<SqliteFile> m_file;
    std::unique_ptr<SqliteLookup> m_lookup;
    std::vector<FieldValue> m_order; // the rowids in the order of the rows
    std::size_t m_next = 0;
    RecordSet m_held; // all rows, for a table whose rows can't be found by rowid
    RecordSet m_row;
};

/// Sets `File` of the first row of the template's `Table1`.
void UpdateTemplateFile(const QString& templatePath, const QString& file);

/// Checks that a file is a definition file of the kind and raises a clear error if not.
void VerifyDefinitionFile(const QString& path, DefinitionKind kind);

} // namespace corvane
