// Makes the study of the timing benchmark: 200 scale items whose wording is a field of block
// characters over the screen centre, white on black, each shown after an onset delay so that a
// trial starts from black.
//
// With "next", the study of the next-item benchmark instead: ITEMS pairs of a block item shown
// at once and an item whose short wording leaves the centre black, ended by its one-second time
// limit; the detector sees the key's next item as the centre going black.
//
//   make_timing_study FOLDER [ITEMS] [ONSET_MS] [next]
#include "definitions/definition_writer.h"
#include "preferences/preference_file.h"
#include "preferences/preferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

using namespace corvane;

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 2) {
        QTextStream(stderr) << "usage: make_timing_study FOLDER [ITEMS] [ONSET_MS] [next]\n";
        return 2;
    }
    const QDir folder(args.at(1));
    QDir().mkpath(folder.path());
    const int items = args.size() > 2 ? args.at(2).toInt() : 200;
    const int onset = args.size() > 3 ? args.at(3).toInt() : 400;
    const bool nextItem = args.size() > 4 && args.at(4) == QLatin1String("next");

    PreferenceRecord look;
    look.Fonts[1].name = QStringLiteral("DejaVu Sans");
    look.Fonts[1].size = 72;
    look.Fonts[1].bold = true;
    look.ForeColors[1] = RgbToColour(0xffffff);
    look.BackColors[1] = RgbToColour(0x000000);
    WritePreferenceFile(folder.filePath(QStringLiteral("bench.cvq")), look);

    // Words of blocks, so that the wording wraps into lines down past the screen centre.
    QStringList words;
    for (int w = 0; w < 40; ++w)
        words << QString(4, QChar(0x2588));
    const QString block = words.join(QLatin1Char(' '));
    QString csv =
        QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName,Parameters,"
                       "WriteData,WriteRT,pointlabel1,pointlabel2,pointlabel3,pointlabel4,"
                       "pointlabel5\n");
    const QString row = QStringLiteral("%1,scale response,%2,t%1,\"%3\",yes,yes,1,2,3,4,5\n");
    int number = 0;
    for (int i = 1; i <= items; ++i) {
        if (!nextItem) {
            csv += row.arg(++number).arg(block, QStringLiteral("(p5,o%1)").arg(onset));
            continue;
        }
        csv += row.arg(++number).arg(block, QStringLiteral("(p5)"));
        csv += row.arg(++number).arg(QStringLiteral("."), QStringLiteral("(p5,d1)"));
    }
    CreateDefinitionFile(folder.filePath(QStringLiteral("timing.que")),
                         QStringLiteral("timing.csv"), csv, DefinitionKind::Questionnaire, 4.0);
    CreateDefinitionFile(
        folder.filePath(QStringLiteral("timing.exp")), QStringLiteral("timing.exp.csv"),
        QStringLiteral("Condition,position,file,Parameters\n1,1,timing.que,($bench)\n"),
        DefinitionKind::Experiment, std::nullopt);
    return 0;
}
