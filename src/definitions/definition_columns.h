// The tables and columns that the program reads from experiment and questionnaire files.
#pragma once

#include <QString>
#include <vector>

namespace corvane {

enum class DefinitionKind { Experiment, Questionnaire };
enum class ColumnType { Text, Number, NumberAsText, YesNo };

struct ColumnSpec {
    QString name;
    ColumnType type;
    bool required; // a file without it is refused when opened
};

/// `Table1` of the kind's file, in the order the authoring tool writes them.
const std::vector<ColumnSpec>& Table1Columns(DefinitionKind kind);
/// The kind a file is by its ending (".que" questionnaire, else experiment).
DefinitionKind KindOfFile(const QString& path);
QString KindName(DefinitionKind kind);
/// The kind's name with its article: "an experiment", "a questionnaire".
QString KindNameWithArticle(DefinitionKind kind);

} // namespace corvane
