// The tables and columns that the program reads from experiment and questionnaire files.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace corvane {

enum class DefinitionKind { Experiment, Questionnaire };
enum class ColumnType { Text, Number, NumberAsText, YesNo };

/// What a column that a CSV leaves out holds in the file made from it.
enum class WhenMissing {
    Empty,     // empty text, 0 or no, which the program reads as "nothing"
    RowNumber, // the row's place in the CSV (1, 2, 3 ...), so that the order stays as written
    Yes,       // yes: answers and times are written unless the author says otherwise
    One,       // "1", the condition the subject form offers first
};

struct ColumnSpec {
    QString name;
    ColumnType type;
    bool required; // a file without it is refused when opened
    WhenMissing whenMissing = WhenMissing::Empty;
};

/// `Table1` of the kind's file, in the order the authoring tool writes them.
const std::vector<ColumnSpec>& Table1Columns(DefinitionKind kind);
/// Column names with each run of numbered ones of one stem written as one: "skip1 to skip12".
QStringList ColumnRuns(const QStringList& names);
/// The names of the kind's columns for a message, numbered runs written as "skip1 to skip12".
QString ColumnNamesForMessage(DefinitionKind kind);
/// The kind a file is by its ending (".que" questionnaire, else experiment).
DefinitionKind KindOfFile(const QString& path);
QString KindName(DefinitionKind kind);
/// The kind's name with its article: "an experiment", "a questionnaire".
QString KindNameWithArticle(DefinitionKind kind);

} // namespace corvane
