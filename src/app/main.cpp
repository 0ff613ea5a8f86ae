// corvane: the laboratory program. `corvane` shows the launcher; `corvane FILE.exp` (or
// FILE.que) opens the experiment for a participant over the launcher, as the desktop does;
// `corvane --run FILE ...` runs it unattended from a script; `corvane export` and `corvane merge`
// work on data folders; `corvane simulate` runs simulated participants.
#include "analysis/data_commands.h"
#include "engine/simulation.h"
#include "engine/unattended_run.h"
#include "engine/widget_boxes.h"
#include "launcher/file_argument.h"
#include "launcher/start_up.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDateTime>
#include <QTextStream>
#include <climits>

using namespace corvane;

namespace {

/// True when there is no display and the offscreen platform has been chosen for that reason.
bool UseOffscreenWithoutDisplay() {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return true;
    }
    return false;
}

QtMessageHandler g_defaultHandler = nullptr;

// On a machine without a session, Qt notes the missing runtime folder at every start; it is no
// concern of an operator's and would mix with the program's own output.
void WithoutRuntimeFolderNote(QtMsgType type, const QMessageLogContext& context,
                              const QString& text) {
    if (text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    g_defaultHandler(type, context, text);
}

struct Options {
    QCommandLineOption run{QStringLiteral("run"),
                           QStringLiteral("Run FILE (.exp or .que) unattended."),
                           QStringLiteral("FILE")};
    QCommandLineOption subject{
        QStringLiteral("subject"),
        QStringLiteral("Subject ID of the unattended run; needed with --run, since the run's "
                       "data are written under it."),
        QStringLiteral("ID")};
    QCommandLineOption condition{QStringLiteral("condition"),
                                 QStringLiteral("Condition of the unattended run."),
                                 QStringLiteral("NAME"), QStringLiteral("1")};
    QCommandLineOption script{QStringLiteral("script"),
                              QStringLiteral("Input for the run, one action a line."),
                              QStringLiteral("FILE")};
    QCommandLineOption seed{
        QStringLiteral("seed"),
        QStringLiteral("Seed the random generator once with N, for the whole run."),
        QStringLiteral("N")};
    QCommandLineOption virtualClock{
        QStringLiteral("virtual-clock"),
        QStringLiteral("A run clock that moves only by the script's waits.")};
    QCommandLineOption messageLog{
        QStringLiteral("message-log"),
        QStringLiteral("Write every box of the run to FILE (default: standard error)."),
        QStringLiteral("FILE")};
    QCommandLineOption recover{
        QStringLiteral("recover"),
        QStringLiteral("First write the records of runs of this experiment that were cut short.")};
    QCommandLineOption timeout{
        QStringLiteral("timeout"),
        QStringLiteral("End a run still going after SECONDS (a whole number; 0: no limit)."),
        QStringLiteral("SECONDS")};
    QCommandLineOption voiceInput{
        QStringLiteral("voice-input"),
        QStringLiteral("The voice key hears FILE (a wave file of 44100 Hz, 8 bits, mono) in "
                       "place of the sound server's input."),
        QStringLiteral("FILE")};
    QCommandLineOption allowPrograms{
        QStringLiteral("allow-programs"),
        QStringLiteral("Let the unattended run start the outside programs that the experiment "
                       "names; without it they are refused.")};
    QCommandLineOption wallClock{
        QStringLiteral("wall-clock"),
        QStringLiteral("Start the run's time of day at DATETIME (ISO 8601); with --virtual-clock "
                       "the times of day in the browser log are then reproducible."),
        QStringLiteral("DATETIME")};
    // For the documentation's pictures: the screen after start-up, saved, then the end.
    QCommandLineOption screenshot{QStringLiteral("screenshot"),
                                  QStringLiteral("Save a picture of the screen to FILE a few "
                                                 "seconds after start-up, then end."),
                                  QStringLiteral("FILE")};
};

// A wrong command line ends with this status, apart from a run's own statuses (0 to 4).
constexpr int kUsageStatus = 64;

int UsageError(const QString& problem) {
    QTextStream(stderr) << "corvane: " << problem << "\nTry 'corvane --help' for more." << Qt::endl;
    return kUsageStatus;
}

QString Quoted(const QString& text) {
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

// The options of an unattended run read from the command line; a usage error is put into
// `problem` and leaves the options half read.
UnattendedOptions ReadRunOptions(const QCommandLineParser& parser, const Options& options,
                                 QString& problem) {
    UnattendedOptions run;
    run.experiment = parser.value(options.run);
    run.subject = parser.value(options.subject).trimmed();
    run.condition = parser.value(options.condition);
    run.script = parser.value(options.script);
    run.messageLog = parser.value(options.messageLog);
    run.virtualClock = parser.isSet(options.virtualClock);
    run.recover = parser.isSet(options.recover);
    run.voiceInput = parser.value(options.voiceInput);
    run.allowPrograms = parser.isSet(options.allowPrograms);
    run.wallClockStart = parser.value(options.wallClock);
    if (!parser.positionalArguments().isEmpty()) {
        problem = QStringLiteral("an unattended run takes its FILE after --run; ") +
                  Quoted(parser.positionalArguments().front()) + QStringLiteral(" is one too many");
        return run;
    }
    // Without it the run would be written under a made-up participant, appended to real data.
    if (!parser.isSet(options.subject) || run.subject.isEmpty()) {
        problem = QStringLiteral("--run needs --subject ID: the run's data are written under the "
                                 "participant's ID");
        return run;
    }
    bool ok = true;
    if (parser.isSet(options.seed)) {
        run.seed = parser.value(options.seed).toULongLong(&ok);
        if (!ok) {
            problem = QStringLiteral("--seed takes a whole number from 0 up, not ") +
                      Quoted(parser.value(options.seed));
            return run;
        }
    }
    if (parser.isSet(options.timeout)) {
        constexpr int kLongest = INT_MAX / 1000; // the timer counts milliseconds
        run.timeoutSeconds = parser.value(options.timeout).toInt(&ok);
        if (!ok || run.timeoutSeconds < 0 || run.timeoutSeconds > kLongest) {
            problem = QStringLiteral("--timeout takes whole seconds from 0 (no limit) to ") +
                      QString::number(kLongest) + QStringLiteral(", not ") +
                      Quoted(parser.value(options.timeout));
            return run;
        }
    }
    if (!run.wallClockStart.isEmpty() &&
        !QDateTime::fromString(run.wallClockStart, Qt::ISODate).isValid())
        problem = QStringLiteral("--wall-clock takes a date and time such as "
                                 "2024-05-06T09:30:00, not ") +
                  Quoted(run.wallClockStart);
    return run;
}

// An option of the unattended run given without --run, which would pass unnoticed.
QString RunOptionWithoutRun(const QCommandLineParser& parser, const Options& options) {
    for (const QCommandLineOption* option :
         {&options.subject, &options.condition, &options.script, &options.seed,
          &options.virtualClock, &options.messageLog, &options.recover, &options.timeout,
          &options.voiceInput, &options.allowPrograms, &options.wallClock}) {
        if (parser.isSet(*option))
            return QStringLiteral("--") + option->names().front() +
                   QStringLiteral(" is for an unattended run: corvane --run FILE --subject ID ...");
    }
    return QString();
}

} // namespace

int main(int argc, char* argv[]) {
    // The commands on data folders need no screen.
    if (argc > 1 && IsDataCommand(QString::fromLocal8Bit(argv[1]))) {
        QCoreApplication core(argc, argv);
        return RunDataCommand(QCoreApplication::arguments().mid(1));
    }
    g_defaultHandler = qInstallMessageHandler(WithoutRuntimeFolderNote);
    // Simulated participants need no screen: `corvane simulate EXPERIMENT ...`.
    const bool simulate = argc > 1 && qstrcmp(argv[1], "simulate") == 0;
    if (simulate)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const bool noDisplay = UseOffscreenWithoutDisplay();
    // The web pages share the program's graphics context; this must be set before the application.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    if (simulate) {
        QApplication::setApplicationName(QStringLiteral("Corvane"));
        return RunSimulateCommand(QApplication::arguments().mid(2));
    }
    QApplication::setApplicationName(QStringLiteral("Corvane"));
    QApplication::setApplicationVersion(QStringLiteral(CORVANE_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);

    Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Corvane, a laboratory program for research in psychology.\n"
        "An unattended run ends with 0 finished, 1 not started, 2 script used up, 3 timed out,\n"
        "4 a record not written; a wrong command line ends with 64."));
    parser.addHelpOption();
    parser.addVersionOption();
    options.screenshot.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({options.run, options.subject, options.condition, options.script,
                       options.seed, options.virtualClock, options.messageLog, options.recover,
                       options.timeout, options.voiceInput, options.screenshot,
                       options.allowPrograms, options.wallClock});
    parser.addPositionalArgument(
        QStringLiteral("FILE"),
        QStringLiteral("An experiment (.exp) or questionnaire (.que) to open for a participant; "
                       "without one, the launcher shows."),
        QStringLiteral("[FILE]"));
    if (!parser.parse(QApplication::arguments()))
        return UsageError(parser.errorText());
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all")))
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();

    QTextStream err(stderr);
    if (parser.isSet(options.run)) {
        QString problem;
        const UnattendedOptions run = ReadRunOptions(parser, options, problem);
        if (!problem.isEmpty())
            return UsageError(problem);
        return RunUnattended(run);
    }
    if (const QString problem = RunOptionWithoutRun(parser, options); !problem.isEmpty())
        return UsageError(problem);
    const QStringList files = parser.positionalArguments();
    if (files.size() > 1)
        return UsageError(QStringLiteral("one FILE at a time; ") + Quoted(files.at(1)) +
                          QStringLiteral(" is one too many"));
    if (noDisplay) {
        err << "corvane: there is no display for the launcher; an unattended run is "
               "corvane --run FILE (see --help)"
            << Qt::endl;
        return 2;
    }
    LauncherOptions launch;
    if (!files.isEmpty()) {
        // Opened from the file manager nobody reads standard error: the box tells.
        WidgetMessageBoxes boxes;
        const auto found = FileToOpen(files.front(), boxes, err);
        if (!found)
            return 1;
        launch.file = *found;
    }
    launch.screenshot = parser.value(options.screenshot);
    return RunLauncher(launch);
}
