#include "big_experiment.h"

#include "definitions/definition_writer.h"

#include <QDir>

namespace corvane::bench {

void MakeBigExperiment(const QString& folder) {
    QString experiment = QStringLiteral("Condition,position,file\n");
    for (int q = 1; q <= kQuestionnaires; ++q) {
        QString items = QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName,"
                                       "Parameters,WriteData,WriteRT,pointlabel1,pointlabel2,"
                                       "pointlabel3,pointlabel4,pointlabel5\n");
        for (int i = 1; i <= kItems; ++i) {
            const bool list = q == 1 && i == 1;
            items +=
                QStringLiteral("%1,%2,Item %1 of questionnaire %3,q%3_i%1,%4,yes,yes,"
                               "1,2,3,4,5\n")
                    .arg(i)
                    .arg(list ? QStringLiteral("Thought Listing")
                              : QStringLiteral("scale response"))
                    .arg(q)
                    .arg(list ? QStringLiteral("(n%1)").arg(kListEntries) : QStringLiteral("(p5)"));
        }
        const QString name = QStringLiteral("q%1.que").arg(q);
        CreateDefinitionFile(QDir(folder).filePath(name), name, items,
                             DefinitionKind::Questionnaire, 4.0);
        experiment += QStringLiteral("a,%1,%2\n").arg(q).arg(name);
    }
    CreateDefinitionFile(QDir(folder).filePath(QStringLiteral("big.exp")),
                         QStringLiteral("big.exp"), experiment, DefinitionKind::Experiment,
                         std::nullopt);
}

} // namespace corvane::bench
