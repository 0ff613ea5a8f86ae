#include "definitions/definition_columns.h"

#include <QStringList>

namespace corvane {

namespace {

// A numbered column's name without its number: "skip" of "skip12".
QString Stem(const QString& name) {
    qsizetype end = name.size();
    while (end > 0 && name.at(end - 1).isDigit())
        --end;
    return name.left(end);
}

std::vector<ColumnSpec> MakeExperimentColumns() {
    auto text = [](const char* name) {
        return ColumnSpec{QLatin1String(name), ColumnType::Text, true};
    };
    return {
        {QStringLiteral("Condition"), ColumnType::Text, true, WhenMissing::One},
        {QStringLiteral("position"), ColumnType::Number, true, WhenMissing::RowNumber},
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
    auto yesNo = [](const char* name, bool required, WhenMissing whenMissing) {
        return ColumnSpec{QLatin1String(name), ColumnType::YesNo, required, whenMissing};
    };
    std::vector<ColumnSpec> columns{
        {QStringLiteral("questionnumber"), ColumnType::Number, true, WhenMissing::RowNumber},
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
        yesNo("WriteData", true, WhenMissing::Yes),
        yesNo("WriteRT", true, WhenMissing::Yes),
        yesNo("WriteText", true, WhenMissing::Empty),
        text(QStringLiteral("omitconditions")),
        // Older files have no GoBack; it is read only from version 4 on.
        yesNo("GoBack", false, WhenMissing::Empty),
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

QStringList ColumnRuns(const QStringList& names) {
    QStringList runs;
    QString runStart; // the first name of a run of numbered columns
    for (qsizetype c = 0; c < names.size(); ++c) {
        const QString& name = names.at(c);
        const bool numbered = name.back().isDigit();
        const bool runGoesOn = numbered && c + 1 < names.size() &&
                               names.at(c + 1).back().isDigit() &&
                               Stem(names.at(c + 1)) == Stem(name);
        if (runGoesOn) {
            if (runStart.isEmpty())
                runStart = name;
            continue;
        }
        runs << (runStart.isEmpty() ? name : runStart + QStringLiteral(" to ") + name);
        runStart.clear();
    }
    return runs;
}

QString ColumnNamesForMessage(DefinitionKind kind) {
    QStringList names;
    for (const ColumnSpec& column : Table1Columns(kind))
        names << column.name;
    return ColumnRuns(names).join(QStringLiteral(", "));
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
