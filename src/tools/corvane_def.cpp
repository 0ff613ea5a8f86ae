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
#include <algorithm>
#include <cmath>
#include <optional>

using namespace corvane;

namespace {

// Every wrong command line ends with this status, apart from the statuses of the work itself.
constexpr int kUsageStatus = 64;

struct CommandHelp {
    const char* name;
    const char* text;
};

const CommandHelp kCommands[] = {
    {"create",
     "  corvane-def create OUT.exp|OUT.que FROM.csv [--version N|none] [--no-check]\n"
     "      Makes a definition file from CSV whose header row names columns of Table1, separated\n"
     "      by commas or semicolons (then 1,5 is read as 1.5). A column that the CSV leaves out\n"
     "      takes the template's value, and each one is named: WriteData and WriteRT yes,\n"
     "      questionnumber and position the row's number, Condition 1, the others empty, 0 or\n"
     "      no. A cell that is exactly \\N is stored as NULL. --version sets\n"
     "      QuestionnaireInfo.Version of a questionnaire (default 4); none leaves that table\n"
     "      out. The made file is then checked as check does (--no-check: not): status 0 with\n"
     "      warnings or none, 2 when the check found errors, 1 when nothing was made.\n"},
    {"export", "  corvane-def export FILE\n"
               "      Writes Table1 of FILE as CSV to standard output (NULL as \\N).\n"},
    {"show",
     "  corvane-def show FILE.que [--condition NAME] [--seed N]\n"
     "      Shows what the questionnaire reads into: types, wording, parameters, labels, skips.\n"},
    {"check",
     "  corvane-def check FILE.exp|FILE.que ...\n"
     "      Checks experiments and questionnaires before anyone runs them: status 0 clean,\n"
     "      1 warnings only, 2 errors.\n"},
};

QString AllUsage() {
    QString text = QStringLiteral("Usage:\n");
    for (const CommandHelp& command : kCommands)
        text += QLatin1String(command.text);
    return text + QStringLiteral("  corvane-def --help | --version\n"
                                 "  corvane-def COMMAND --help\n"
                                 "A wrong command line ends with status 64.\n");
}

const CommandHelp* FindCommand(const QString& name) {
    for (const CommandHelp& command : kCommands) {
        if (name == QLatin1String(command.name))
            return &command;
    }
    return nullptr;
}

bool IsHelp(const QString& arg) {
    return arg == QLatin1String("--help") || arg == QLatin1String("-h");
}

int Fail(const QString& line) {
    QTextStream(stderr) << line << Qt::endl;
    return 1;
}

// What is wrong, the usage of the command at hand, and where to find all of it.
int Usage(const QString& problem, const QString& command = QString()) {
    QTextStream err(stderr);
    err << "corvane-def: " << problem << '\n';
    if (const CommandHelp* help = FindCommand(command))
        err << "Usage:\n" << help->text;
    err << "Try 'corvane-def --help' for more." << Qt::endl;
    return kUsageStatus;
}

// An argument that looks like an option but is none of the command's.
std::optional<QString> UnknownOption(const QStringList& args) {
    for (const QString& arg : args) {
        if (arg.startsWith(QLatin1Char('-')) && arg.size() > 1)
            return arg;
    }
    return std::nullopt;
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

// The notes of a made file: how its CSV was read and which columns were filled.
void TellHowItWasMade(const QString& csvPath, const CreateReport& report) {
    QTextStream out(stdout);
    if (report.separator == QLatin1Char(';'))
        out << csvPath
            << ": separated by semicolons, read so (a number may have a decimal comma)\n";
    // One line a column, or a run of numbered columns, with what each row holds in it.
    const auto& filled = report.filled;
    for (std::size_t from = 0; from < filled.size();) {
        QStringList names;
        std::size_t to = from;
        for (; to < filled.size() && filled[to].value == filled[from].value; ++to)
            names << filled[to].column;
        for (const QString& run : ColumnRuns(names))
            out << csvPath << (run.contains(QLatin1Char(' ')) ? ": no columns " : ": no column ")
                << run << ", filled with " << filled[from].value << '\n';
        from = to;
    }
    out.flush();
}

// Runs the checks of `check` on a file just made; 0 with warnings or none, 2 with errors.
int CheckMadeFile(const QString& path) {
    CheckOptions options;
    options.FontInstalled = InstalledFontFamilies();
    const CheckReport report = CheckDefinitions(path, options);
    QTextStream out(stdout);
    for (const DefinitionFinding& finding : report.findings)
        out << FindingLine(finding) << '\n';
    out << "corvane-def create: made " << path << "; the check found "
        << QString::number(report.Errors()) << " error(s), " << QString::number(report.Warnings())
        << " warning(s)" << Qt::endl;
    if (report.Errors() == 0)
        return 0;
    QTextStream(stderr) << path << ": made, but the check found errors; fix them and run "
                        << "corvane-def check " << path << Qt::endl;
    return 2;
}

int Create(QStringList args) {
    bool missing = false;
    const auto versionText = Option(args, QStringLiteral("--version"), missing);
    const bool check = !args.removeOne(QStringLiteral("--no-check"));
    const QString command = QStringLiteral("create");
    if (missing)
        return Usage(QStringLiteral("--version needs a value: a number or none"), command);
    if (const auto unknown = UnknownOption(args))
        return Usage(QStringLiteral("unknown option '") + *unknown + QLatin1Char('\''), command);
    if (args.size() != 2)
        return Usage(QStringLiteral("create takes OUT and FROM.csv"), command);
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
            return Usage(QStringLiteral("--version takes a number or none, not '") + *versionText +
                             QLatin1Char('\''),
                         command);
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
        TellHowItWasMade(csvPath, CreateDefinitionFile(out, csvPath, *text, kind, version));
    } catch (const DefinitionInputError& error) {
        return Fail(error.Text());
    } catch (const CorvaneError& error) {
        return Fail(out + QStringLiteral(": ") + error.description());
    }
    return check ? CheckMadeFile(out) : 0;
}

int Export(const QStringList& args) {
    if (const auto unknown = UnknownOption(args))
        return Usage(QStringLiteral("unknown option '") + *unknown + QLatin1Char('\''),
                     QStringLiteral("export"));
    if (args.size() != 1)
        return Usage(QStringLiteral("export takes one FILE"), QStringLiteral("export"));
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
    const QString command = QStringLiteral("show");
    if (missing)
        return Usage(QStringLiteral("--condition and --seed need a value"), command);
    if (const auto unknown = UnknownOption(args))
        return Usage(QStringLiteral("unknown option '") + *unknown + QLatin1Char('\''), command);
    if (args.size() != 1)
        return Usage(QStringLiteral("show takes one FILE.que"), command);
    bool seedOk = true;
    RunState state;
    if (seed)
        state.SetRandom(std::make_unique<StandardRandomSource>(seed->toULongLong(&seedOk)));
    if (!seedOk)
        return Usage(QStringLiteral("--seed takes a whole number, not '") + *seed +
                         QLatin1Char('\''),
                     command);
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
    if (const auto unknown = UnknownOption(args))
        return Usage(QStringLiteral("unknown option '") + *unknown + QLatin1Char('\''),
                     QStringLiteral("check"));
    if (args.isEmpty())
        return Usage(QStringLiteral("check takes one or more experiments or questionnaires"),
                     QStringLiteral("check"));
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
    if (args.isEmpty())
        return Usage(QStringLiteral("a command is needed"));
    if (IsHelp(args.front())) {
        QTextStream(stdout) << AllUsage();
        return 0;
    }
    if (args.front() == QLatin1String("--version") || args.front() == QLatin1String("-v")) {
        QTextStream(stdout) << "corvane-def " << CORVANE_VERSION << Qt::endl;
        return 0;
    }
    const QString command = args.takeFirst();
    const CommandHelp* help = FindCommand(command);
    if (!help)
        return Usage(QStringLiteral("unknown command '") + command + QLatin1Char('\''));
    if (std::any_of(args.begin(), args.end(), IsHelp)) {
        QTextStream(stdout) << "Usage:\n" << help->text;
        return 0;
    }
    if (command == QLatin1String("create"))
        return Create(args);
    if (command == QLatin1String("export"))
        return Export(args);
    if (command == QLatin1String("show"))
        return Show(args);
    return Check(args);
}
