// corvane-def: makes experiment and questionnaire files from CSV, writes them back as CSV, and
// shows what a questionnaire reads into.
#include "definitions/csv.h"
#include "definitions/definition_check.h"
#include "definitions/definition_writer.h"
#include "definitions/questionnaire_listing.h"
#include "definitions/questionnaire_reader.h"
#include "state/error.h"
#include "state/run_state.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>
#include <cmath>
#include <optional>

using namespace corvane;

namespace {

const char* const kUsage =
    "Usage:\n"
    "  corvane-def create OUT.exp|OUT.que FROM.csv [--version N|none]\n"
    "      Makes a definition file from CSV whose header row names columns of Table1.\n"
    "      A cell that is exactly \\N is stored as NULL. --version sets QuestionnaireInfo.Version\n"
    "      of a questionnaire (default 4); none leaves that table out.\n"
    "  corvane-def export FILE\n"
    "      Writes Table1 of FILE as CSV to standard output (NULL as \\N).\n"
    "  corvane-def show FILE.que [--condition NAME] [--seed N]\n"
    "      Shows what the questionnaire reads into: types, wording, parameters, labels, skips.\n";

int Fail(const QString& line) {
    QTextStream(stderr) << line << Qt::endl;
    return 1;
}

int Usage(const QString& problem) {
    QTextStream(stderr) << "corvane-def: " << problem << "\n" << kUsage;
    return 2;
}

// The value following a flag, if the flag is present.
std::optional<QString> Option(QStringList& args, const QString& flag, bool& missingValue) {
    const qsizetype at = args.indexOf(flag);
    if (at < 0)
        return std::nullopt;
    if (at + 1 >= args.size()) {
        missingValue = true;
        return std::nullopt;
    }
    const QString value = args.at(at + 1);
    args.remove(at, 2);
    return value;
}

int Create(QStringList args) {
    bool missing = false;
    const auto versionText = Option(args, QStringLiteral("--version"), missing);
    if (missing || args.size() != 2)
        return Usage(QStringLiteral("create takes OUT, FROM.csv and perhaps --version N"));
    const QString out = args.at(0);
    const QString csvPath = args.at(1);
    const QString suffix = QFileInfo(out).suffix().toLower();
    if (suffix != QLatin1String("exp") && suffix != QLatin1String("que"))
        return Fail(out + QStringLiteral(": the file to make must end in .exp or .que"));
    const DefinitionKind kind = KindOfFile(out);

    std::optional<double> version = 4.0;
    if (versionText) {
        bool ok = false;
        const double number = versionText->toDouble(&ok);
        if (*versionText == QLatin1String("none"))
            version.reset();
        else if (ok && std::isfinite(number))
            version = number;
        else
            return Usage(QStringLiteral("--version takes a number or none"));
    }

    QFile csv(csvPath);
    if (!csv.open(QIODevice::ReadOnly))
        return Fail(csvPath + QStringLiteral(": can not be read (") + csv.errorString() +
                    QLatin1Char(')'));
    QString problem;
    const std::optional<QString> text = DecodeCsv(csv.readAll(), &problem);
    if (!text)
        return Fail(csvPath + QStringLiteral(": ") + problem);
    try {
        CreateDefinitionFile(out, csvPath, *text, kind, version);
    } catch (const DefinitionInputError& error) {
        return Fail(error.Text());
    } catch (const CorvaneError& error) {
        return Fail(out + QStringLiteral(": ") + error.description());
    }
    return 0;
}

int Export(const QStringList& args) {
    if (args.size() != 1)
        return Usage(QStringLiteral("export takes one FILE"));
    try {
        QTextStream(stdout) << ExportDefinitionFile(args.at(0));
    } catch (const CorvaneError& error) {
        return Fail(args.at(0) + QStringLiteral(": ") + error.description());
    }
    return 0;
}

int Show(QStringList args) {
    bool missing = false;
    const auto condition = Option(args, QStringLiteral("--condition"), missing);
    const auto seed = Option(args, QStringLiteral("--seed"), missing);
    if (missing || args.size() != 1)
        return Usage(QStringLiteral("show takes one FILE.que and perhaps --condition, --seed"));
    bool seedOk = true;
    RunState state;
    if (seed)
        state.SetRandom(std::make_unique<StandardRandomSource>(seed->toULongLong(&seedOk)));
    if (!seedOk)
        return Usage(QStringLiteral("--seed takes a whole number"));
    state.ConditionID = condition.value_or(QString());
    state.QuestionnaireFile = args.at(0);
    try {
        ReadQuestionnaireItems(state);
    } catch (const CorvaneError& error) {
        return Fail(args.at(0) + QStringLiteral(": error ") + QString::number(error.number()) +
                    QStringLiteral(", ") + error.description());
    }
    QTextStream(stdout) << ListQuestionnaire(state);
    return 0;
}

int Check(const QStringList& args) {
    if (args.isEmpty())
        return Usage(QStringLiteral("check takes one or more experiments or questionnaires"));
    CheckOptions options;
    options.FontInstalled = InstalledFontFamilies();
    CheckReport all;
    QTextStream out(stdout);
    for (const QString& path : args) {
        const CheckReport report = CheckDefinitions(path, options);
        for (const DefinitionFinding& finding : report.findings)
            out << FindingLine(finding) << '\n';
        all.findings.insert(all.findings.end(), report.findings.begin(), report.findings.end());
        all.files += report.files;
    }
    out << "corvane-def check: " << CheckSummaryLine(all) << Qt::endl;
    return all.ExitStatus();
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty() || args.front() == QLatin1String("--help") ||
        args.front() == QLatin1String("-h")) {
        QTextStream(stdout) << kUsage;
        return args.isEmpty() ? 2 : 0;
    }
    const QString command = args.takeFirst();
    if (command == QLatin1String("create"))
        return Create(args);
    if (command == QLatin1String("export"))
        return Export(args);
    if (command == QLatin1String("show"))
        return Show(args);
    if (command == QLatin1String("check"))
        return Check(args);
    return Usage(QStringLiteral("unknown command '") + command + QLatin1Char('\''));
}
