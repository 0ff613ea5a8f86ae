// The start and the end of a large run: 50 questionnaires of 500 items. Times the subject
// form's OK up to the first item on the screen (load, scan, first questionnaire, first form),
// then answers every item in the tables and times the end of the run, which writes all data
// files. Runs on the platform that QT_QPA_PLATFORM names (offscreen when unset); under an X
// server (QT_QPA_PLATFORM=xcb) the first item's time includes the wait for the screen.
//
//   build/bench/bench_large_run [RUNS]
#include "big_experiment.h"
#include "engine/fCodes.h"
#include "engine/run_driver.h"
#include "engine/run_script.h"
#include "engine/run_session.h"
#include "engine/scripted_boxes.h"
#include "preferences/load_preferences.h"
#include "preferences/preferences.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>

using namespace corvane;
using namespace corvane::bench;

namespace {

constexpr double kTargetFirstItemMs = 300;
constexpr double kTargetWritingMs = 200;

struct RunTimes {
    double firstItemMs = 0;
    double endMs = 0;
};

// Every item answered, without the journal's disk writes, which belong to the items' time.
void AnswerAll(RunState& state) {
    const auto hook = std::move(state.ResponseStored);
    state.ResponseStored = nullptr;
    for (int q = 1; q <= kQuestionnaires; ++q) {
        for (int i = 1; i <= kItems; ++i) {
            state.StoreResponse(q, i, 1, QString::number(1 + (q + i) % 5));
            state.StoreResponseTime(q, i, 1, 300 + (q * 7 + i * 13) % 1500);
        }
    }
    state.ResponseStored = hook;
}

std::optional<RunTimes> OneRun(const QString& folder, QTextStream& log) {
    RunState state;
    ScriptAnswers answers;
    state.SetBoxes(std::make_unique<ScriptedMessageBoxes>(answers, log));
    state.ExperimentFile = QDir(folder).filePath(QStringLiteral("big.exp"));
    state.ExperimentFileName = QStringLiteral("big.exp");
    state.ExperimentFolder = folder;
    QString current = folder;
    ChangeToFolder(current);
    Preferences preferences;
    LoadPreferences(state, preferences, QString());
    RunSession session(state, preferences);
    fCodes* codes = session.OpenSubjectEntry();
    codes->TextSubject()->setText(QStringLiteral("1"));
    codes->TextCondition()->setText(QStringLiteral("a"));
    codes->show();
    QApplication::processEvents();

    RunTimes times;
    QElapsedTimer timer;
    timer.start();
    codes->bOK_Click();
    times.firstItemMs = double(timer.nsecsElapsed()) / 1e6;
    if (state.CurrentQuestion < 1 || !session.CurrentForm() || !session.CurrentForm()->isVisible())
        return std::nullopt;

    AnswerAll(state);
    timer.restart();
    session.Driver().OperatorKeys(true, true); // the operator's end: the data are written
    times.endMs = double(timer.nsecsElapsed()) / 1e6;
    QApplication::processEvents();
    return times;
}

// The platform's notes (the offscreen one can't lower a window) would mix with the figures.
void OnlyFaults(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        QTextStream(stderr) << "qt: " << message << Qt::endl;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char* argv[]) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toLocal8Bit());
    qInstallMessageHandler(OnlyFaults);
    QApplication app(argc, argv);
    QTextStream out(stdout);
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 5;
    QString problem;
    if (!ProgramFolder::Seed(&problem)) {
        out << problem << "\n";
        return 1;
    }
    QTemporaryDir study;
    MakeBigExperiment(study.path());
    QFile logFile(home.filePath(QStringLiteral("messages.log")));
    logFile.open(QIODevice::WriteOnly);
    QTextStream log(&logFile);

    std::vector<double> first;
    std::vector<double> end;
    for (int run = 1; run <= runs; ++run) {
        const auto times = OneRun(study.path(), log);
        if (!times) {
            out << "run " << run << ": the first item did not come on the screen (see "
                << logFile.fileName() << ")\n";
            return 1;
        }
        first.push_back(times->firstItemMs);
        end.push_back(times->endMs);
        out << "run " << run << ": OK to first item " << QString::number(times->firstItemMs, 'f', 1)
            << " ms, end of run with all data files " << QString::number(times->endMs, 'f', 1)
            << " ms\n";
    }
    out << "experiment: " << kQuestionnaires << " questionnaires x " << kItems << " items, " << runs
        << " runs on " << QGuiApplication::platformName() << "\n";
    out << "OK on the subject form to the first item on screen, median: "
        << QString::number(Median(first), 'f', 1) << " ms (target <= " << kTargetFirstItemMs
        << " ms)\n";
    out << "end of the run, writing all data files, median: "
        << QString::number(Median(end), 'f', 1) << " ms (target <= " << kTargetWritingMs
        << " ms)\n";
    return 0;
}
