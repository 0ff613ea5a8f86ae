#include "definitions/definition_columns.h"

namespace corvane {

namespace {

std::vector<ColumnSpec> MakeExperimentColumns() {
    auto text = [](const char* name) {
        return ColumnSpec{QLatin1String(name), ColumnType::Text, true};
    };
    return {
        text("Condition"),
        {QStringLiteral("position"), ColumnType::Number, true},
        text("file"),
        text("Backimage"),
        text("Backvideo"),
        text("backsound"),
        {QStringLiteral("WGR"), ColumnType::NumberAsText, true},
        {QStringLiteral("BGR"), ColumnType::NumberAsText, true},
        text("Parameters"),
    };
}

std::vector<ColumnSpec> MakeQuestionnaireColumns() {
    auto text = [](const QString& name) { return ColumnSpec{name, ColumnType::Text, true}; };
    auto yesNo = [](const char* name, bool required) {
        return ColumnSpec{QLatin1String(name), ColumnType::YesNo, required};
    };
    std::vector<ColumnSpec> columns{
        {QStringLiteral("questionnumber"), ColumnType::Number, true},
        text(QStringLiteral("QuestionType")),
        text(QStringLiteral("QuestionWording")),
        text(QStringLiteral("VariableName")),
        text(QStringLiteral("FileName")),
        text(QStringLiteral("Parameters")),
        text(QStringLiteral("Backimage")),
        text(QStringLiteral("backsound")),
        text(QStringLiteral("Backvideo")),
        {QStringLiteral("WGR"), ColumnType::NumberAsText, true},
        {QStringLiteral("BGR"), ColumnType::NumberAsText, true},
        yesNo("WriteData", true),
        yesNo("WriteRT", true),
        yesNo("WriteText", true),
        text(QStringLiteral("omitconditions")),
        // Older files have no GoBack; it is read only from version 4 on.
        yesNo("GoBack", false),
    };
    for (const char* stem : {"textlabel", "pointlabel", "skip"}) {
        for (int n = 1; n <= 12; ++n)
            columns.push_back(text(QLatin1String(stem) + QString::number(n)));
    }
    return columns;
}

} // namespace

const std::vector<ColumnSpec>& Table1Columns(DefinitionKind kind) {
    static const std::vector<ColumnSpec> experiment = MakeExperimentColumns();
    static const std::vector<ColumnSpec> questionnaire = MakeQuestionnaireColumns();
    return kind == DefinitionKind::Experiment ? experiment : questionnaire;
}

DefinitionKind KindOfFile(const QString& path) {
    return path.endsWith(QLatin1String(".que"), Qt::CaseInsensitive) ? DefinitionKind::Questionnaire
                                                                     : DefinitionKind::Experiment;
}

QString KindName(DefinitionKind kind) {
    return kind == DefinitionKind::Experiment ? QStringLiteral("experiment")
                                              : QStringLiteral("questionnaire");
}

QString KindNameWithArticle(DefinitionKind kind) {
    return (kind == DefinitionKind::Experiment ? QStringLiteral("an ") : QStringLiteral("a ")) +
           KindName(kind);
}

} // namespace corvane
