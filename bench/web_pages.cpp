// Web items one after the other: the time from the Continue of one web item (the previous
// response) to the next item's local page painted on the screen, over 30 items, and the memory
// of the program and of the web engine's processes after the first and after the last item. The
// web engine is started at the run's start, as for any experiment whose list names web pages.
//
//   build/bench/bench_web_pages            (offscreen, or QT_QPA_PLATFORM=xcb under an X server)
#include "engine/web_pages.h"

#include "definitions/definition_writer.h"
#include "engine/fCodes.h"
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
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextStream>
#include <QWebEngineHistory>
#include <QWebEngineView>
#include <algorithm>
#include <cmath>

using namespace corvane;

namespace {

constexpr int kItems = 30;
constexpr double kTargetP95Ms = 150;

// The resident memory of a process, in kB, from /proc.
long ResidentKb(const QString& pid) {
    QFile status(QStringLiteral("/proc/") + pid + QStringLiteral("/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return 0;
}

// The memory of this process and of all processes below it (the web engine's helpers).
std::pair<long, long> Memory() {
    const QString self = QString::number(QCoreApplication::applicationPid());
    QMap<QString, QString> parents;
    for (const QString& pid : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile stat(QStringLiteral("/proc/") + pid + QStringLiteral("/stat"));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray text = stat.readAll();
        parents.insert(
            pid, QString::fromLatin1(text.mid(text.lastIndexOf(')') + 2).split(' ').value(1)));
    }
    QStringList tree{self};
    for (int i = 0; i < tree.size(); ++i)
        for (auto it = parents.cbegin(); it != parents.cend(); ++it)
            if (it.value() == tree[i])
                tree << it.key();
    long total = 0;
    for (const QString& pid : tree)
        total += ResidentKb(pid);
    return {ResidentKb(self), total};
}

// Waits until the form's page has loaded and its view has painted after that; the time then.
std::optional<double> WaitForPaint(RunSession& session, const QElapsedTimer& timer) {
    QWidget* form = session.CurrentForm();
    auto* view = form ? form->findChild<QWebEngineView*>(QStringLiteral("WebBrowser1")) : nullptr;
    if (!view)
        return std::nullopt;
    bool painted = false;
    double at = 0;
    // A page may have loaded already while the form came on the screen.
    bool loaded = PageLoaded(view);
    QObject::connect(view, &QWebEngineView::loadFinished, view, [&](bool ok) { loaded = ok; });
    class PaintWatch : public QObject {
    public:
        std::function<void()> painted;
        bool eventFilter(QObject*, QEvent* event) override {
            if (event->type() == QEvent::Paint && painted)
                painted();
            return false;
        }
    } watch;
    watch.painted = [&] {
        if (loaded && !painted) {
            painted = true;
            at = double(timer.nsecsElapsed()) / 1e6;
        }
    };
    QWidget* surface = view->focusProxy() ? view->focusProxy() : view;
    surface->installEventFilter(&watch);
    QElapsedTimer limit;
    limit.start();
    while (!painted && limit.elapsed() < 10000) {
        QApplication::processEvents(QEventLoop::AllEvents, 1);
        // The forms that went are deleted, as the program's event loop would.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (loaded && !painted)
            surface->update();
    }
    surface->removeEventFilter(&watch);
    if (!painted)
        QTextStream(stderr) << "loaded " << loaded << " surface "
                            << surface->metaObject()->className() << Qt::endl;
    return painted ? std::optional<double>(at) : std::nullopt;
}

double Percentile(std::vector<double> values, double p) {
    std::sort(values.begin(), values.end());
    const auto rank = std::size_t(std::ceil(p * double(values.size()))) - 1;
    return values[std::min(rank, values.size() - 1)];
}

QString ReadLog(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void OnlyFaults(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        QTextStream(stderr) << "qt: " << message << Qt::endl;
}

} // namespace

int main(int argc, char* argv[]) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The benchmark's own pages: the engine's sandbox and GPU are not needed for them.
    qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu --disable-dev-shm-usage");
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toLocal8Bit());
    qInstallMessageHandler(OnlyFaults);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    QTextStream out(stdout);
    QString problem;
    if (!ProgramFolder::Seed(&problem)) {
        out << problem << "\n";
        return 1;
    }
    QTemporaryDir study;
    QString list = QStringLiteral("Condition,position,file,Parameters\n");
    for (int n = 0; n <= kItems; ++n) {
        const QString page = QStringLiteral("p%1.htm").arg(n);
        QFile file(study.filePath(page));
        file.open(QIODevice::WriteOnly);
        file.write(
            QStringLiteral("<html><head><title>%1</title></head><body><h1>Page %1</h1>"
                           "<p>A page of text, as an instruction would be.</p></body></html>")
                .arg(n)
                .toUtf8());
        list += QStringLiteral("a,%1,%2,\n").arg(n + 1).arg(page);
    }
    // An experiment needs a questionnaire: one closing item after the pages.
    list += QStringLiteral("a,%1,end.que,\n").arg(kItems + 2);
    CreateDefinitionFile(
        study.filePath(QStringLiteral("end.que")), QStringLiteral("end.csv"),
        QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName,"
                       "WriteData,WriteRT\n1,instructions,Thank you,end,yes,yes\n"),
        KindOfFile(QStringLiteral("end.que")), 4.0);
    CreateDefinitionFile(study.filePath(QStringLiteral("web.exp")), QStringLiteral("web.csv"), list,
                         KindOfFile(QStringLiteral("web.exp")), 4.0);

    QFile logFile(home.filePath(QStringLiteral("messages.log")));
    logFile.open(QIODevice::WriteOnly);
    QTextStream log(&logFile);
    RunState state;
    ScriptAnswers answers;
    state.SetBoxes(std::make_unique<ScriptedMessageBoxes>(answers, log));
    state.ExperimentFile = study.filePath(QStringLiteral("web.exp"));
    state.ExperimentFileName = QStringLiteral("web.exp");
    state.ExperimentFolder = study.path();
    QString current = study.path();
    ChangeToFolder(current);
    Preferences preferences;
    LoadPreferences(state, preferences, QString());
    RunSession session(state, preferences);
    fCodes* codes = session.OpenSubjectEntry();
    codes->TextSubject()->setText(QStringLiteral("1"));
    codes->TextCondition()->setText(QStringLiteral("a"));
    codes->show();
    QApplication::processEvents();
    codes->bOK_Click();

    QElapsedTimer timer;
    timer.start();
    if (!WaitForPaint(session, timer)) {
        log.flush();
        out << "the first page was not painted: " << ReadLog(logFile.fileName()) << "\n";
        return 1;
    }
    const auto first = Memory();
    std::vector<double> times;
    for (int n = 1; n <= kItems; ++n) {
        auto* button = session.CurrentForm()->findChild<QPushButton*>(QStringLiteral("Continue"));
        timer.restart();
        button->click(); // the previous response
        const auto painted = WaitForPaint(session, timer);
        if (!painted) {
            out << "page " << n << " was not painted within 10 s\n";
            return 1;
        }
        times.push_back(*painted);
    }
    const auto last = Memory();
    out << kItems << " web items on " << QGuiApplication::platformName()
        << ", previous response to the page painted: median "
        << QString::number(Percentile(times, 0.5), 'f', 1) << " ms, p95 "
        << QString::number(Percentile(times, 0.95), 'f', 1) << " ms (target <= " << kTargetP95Ms
        << ")\n";
    out << "resident memory after the first item: program " << first.first / 1024
        << " MB, with the web engine's processes " << first.second / 1024 << " MB\n";
    out << "after " << kItems << " items: program " << last.first / 1024 << " MB ("
        << QString::number(100.0 * double(last.first - first.first) / double(first.first), 'f', 1)
        << "%), with the web engine's processes " << last.second / 1024 << " MB ("
        << QString::number(100.0 * double(last.second - first.second) / double(first.second), 'f',
                           1)
        << "%; target <= 10%)\n";
    return 0;
}
