// corvane: the laboratory program. `corvane FILE.exp` (or FILE.que) opens the experiment for a
// participant; `corvane --run FILE ...` runs it unattended from a script.
#include "definitions/single_questionnaire.h"
#include "engine/fCodes.h"
#include "engine/run_session.h"
#include "engine/unattended_run.h"
#include "engine/widget_boxes.h"
#include "preferences/load_preferences.h"
#include "preferences/old_preferences.h"
#include "preferences/preferences.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QTextStream>

using namespace corvane;

namespace {

void UseOffscreenWithoutDisplay() {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

struct Options {
    QCommandLineOption run{QStringLiteral("run"),
                           QStringLiteral("Run FILE (.exp or .que) unattended."),
                           QStringLiteral("FILE")};
    QCommandLineOption subject{QStringLiteral("subject"),
                               QStringLiteral("Subject ID of the unattended run."),
                               QStringLiteral("ID"), QStringLiteral("1")};
    QCommandLineOption condition{QStringLiteral("condition"),
                                 QStringLiteral("Condition of the unattended run."),
                                 QStringLiteral("NAME"), QStringLiteral("1")};
    QCommandLineOption script{QStringLiteral("script"),
                              QStringLiteral("Input for the run, one action a line."),
                              QStringLiteral("FILE")};
    QCommandLineOption seed{QStringLiteral("seed"),
                            QStringLiteral("Seed every drawing of the order with N."),
                            QStringLiteral("N")};
    QCommandLineOption virtualClock{
        QStringLiteral("virtual-clock"),
        QStringLiteral("A run clock that moves only by the script's waits.")};
    QCommandLineOption messageLog{
        QStringLiteral("message-log"),
        QStringLiteral("Write every box of the run to FILE (default: standard error)."),
        QStringLiteral("FILE")};
    QCommandLineOption timeout{QStringLiteral("timeout"),
                               QStringLiteral("End a run still going after SECONDS."),
                               QStringLiteral("SECONDS")};
};

int RunInteractive(const QString& path) {
    QTextStream err(stderr);
    QString problem;
    if (!ProgramFolder::Seed(&problem))
        err << problem << Qt::endl;
    RunState state;
    state.SetBoxes(std::make_unique<WidgetMessageBoxes>());
    const auto found = FindFile(QFileInfo(path).absoluteFilePath());
    if (!found) {
        err << path << ": no such experiment or questionnaire" << Qt::endl;
        return 1;
    }
    const QFileInfo info(*found);
    state.ExperimentFile = info.absoluteFilePath();
    state.ExperimentFileName = info.fileName();
    state.ExperimentFolder = info.absolutePath();
    QString folder = state.ExperimentFolder;
    ChangeToFolder(folder);
    try {
        WrapSingleQuestionnaire(state, ProgramFolder::FilePath(QStringLiteral("temp.exp")));
    } catch (const CorvaneError& error) {
        err << path << ": " << error.description() << Qt::endl;
        return 1;
    }
    Preferences preferences;
    ConvertOldPreferences(state);
    LoadPreferences(state, preferences, QString());
    RunSession session(state, preferences);
    int status = 0;
    bool again = true;
    QObject::connect(&session, &RunSession::NextSessionRequested, [&] { again = true; });
    QObject::connect(&session, &RunSession::LoadRefused, [&] { status = 1; });
    while (again) {
        again = false;
        fCodes* codes = session.OpenSubjectEntry();
        if (!session.RunActive() && codes->exec() != QDialog::Accepted && !session.RunActive())
            break;
        if (session.RunActive())
            QApplication::exec();
    }
    return status;
}

} // namespace

int main(int argc, char* argv[]) {
    UseOffscreenWithoutDisplay();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corvane"));
    QApplication::setApplicationVersion(QStringLiteral(CORVANE_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);

    Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Corvane, a laboratory program for research in psychology."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({options.run, options.subject, options.condition, options.script,
                       options.seed, options.virtualClock, options.messageLog, options.timeout});
    parser.addPositionalArgument(
        QStringLiteral("FILE"),
        QStringLiteral("An experiment (.exp) or questionnaire (.que) to open."));
    parser.process(app);

    QTextStream err(stderr);
    if (parser.isSet(options.run)) {
        UnattendedOptions run;
        run.experiment = parser.value(options.run);
        run.subject = parser.value(options.subject);
        run.condition = parser.value(options.condition);
        run.script = parser.value(options.script);
        run.messageLog = parser.value(options.messageLog);
        run.virtualClock = parser.isSet(options.virtualClock);
        bool ok = true;
        if (parser.isSet(options.seed))
            run.seed = parser.value(options.seed).toULongLong(&ok);
        if (ok && parser.isSet(options.timeout))
            run.timeoutSeconds = parser.value(options.timeout).toInt(&ok);
        if (!ok) {
            err << "corvane: --seed and --timeout take whole numbers" << Qt::endl;
            return 2;
        }
        return RunUnattended(run);
    }
    if (parser.positionalArguments().size() != 1) {
        err << parser.helpText();
        return 2;
    }
    return RunInteractive(parser.positionalArguments().front());
}
