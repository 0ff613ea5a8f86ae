// Experiment and questionnaire files as SQLite databases, opened read-only. Each operation opens
// the file, checks that it is a definition file the program can trust, reads what it asks for
// into memory and closes the file again.
#pragma once

#include "definitions/definition_columns.h"
#include "definitions/record_set.h"

#include <optional>

namespace corvane {

/// "Select * from table1 order by file".
RecordSet ReadExperimentRows(const QString& path);
/// The rows of one condition, compared trimmed and in lower case, ordered by condition and
/// position. A quote in the condition is a syntax error, as the condition is part of the query.
RecordSet ReadConditionRows(const QString& path, const QString& condition);
/// `Version` of the first row of `QuestionnaireInfo`; no value when it can't be read.
std::optional<FieldValue> ReadQuestionnaireVersion(const QString& path);
/// "Select * from Table1": the items as stored.
RecordSet ReadQuestionnaireRows(const QString& path);
/// "Select * from Table1 order by questionnumber".
RecordSet ReadQuestionnaireRowsInOrder(const QString& path);

/// Sets `File` of the first row of the template's `Table1`.
void UpdateTemplateFile(const QString& templatePath, const QString& file);

/// Checks that a file is a definition file of the kind and raises a clear error if not.
void VerifyDefinitionFile(const QString& path, DefinitionKind kind);

} // namespace corvane
