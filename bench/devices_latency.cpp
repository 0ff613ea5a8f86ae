// The delays of the devices, over 200 scale items run unattended on the real clock: each item
// sends a pulse to a trigger box on a pseudo-terminal pair and is answered by a digit written on
// the serial line of comport.txt, another pair. Printed: from the reading of ItemStart to the
// pulse byte's write, and from a digit written on the line to its key's arrival in the form.
//   build/bench/bench_devices_latency [ITEMS]      (needs socat; QT_QPA_PLATFORM=xcb for X)
#include "definitions/definition_columns.h"
#include "definitions/definition_writer.h"
#include "devices/program_devices.h"
#include "engine/unattended_run.h"
#include "pty_pair.h"
#include "state/run_clock.h"

#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QTemporaryDir>
#include <QTextStream>
#include <QWidget>
#include <algorithm>
#include <atomic>
#include <mutex>
#include <numeric>
#include <thread>

using namespace corvane;
using corvane::test::PtyPair;

namespace {

constexpr int kAnswerAfterMs = 150; // the scale form ignores keys in its first 100 ms

struct Figures {
    double mean = 0, p99 = 0, max = 0;
    std::size_t count = 0;
};

Figures Summary(std::vector<double> ms) {
    Figures f;
    f.count = ms.size();
    if (ms.empty())
        return f;
    std::sort(ms.begin(), ms.end());
    f.mean = std::accumulate(ms.begin(), ms.end(), 0.0) / double(ms.size());
    f.p99 = ms[std::min(ms.size() - 1, std::size_t(std::ceil(0.99 * double(ms.size()))) - 1)];
    f.max = ms.back();
    return f;
}

void Print(QTextStream& out, const char* what, const Figures& f, bool target) {
    out << QString::asprintf(
        "%-58s n=%3zu  mean %7.3f ms  p99 %7.3f ms  max %7.3f ms%s\n", what, f.count, f.mean, f.p99,
        f.max,
        target ? (f.p99 <= 1.0 ? "  (target p99 <= 1 ms: met)" : "  (target p99 <= 1 ms: NOT met)")
               : "");
}

// Milliseconds from a run-clock reading to a monotonic time in ns: the run clock is the
// monotonic clock's milliseconds, cut to 32 bits.
double MsSince(qint32 clockMs, qint64 ns) {
    const auto nowMs = static_cast<qint32>(static_cast<quint32>(ns / 1000000));
    return double(Elapsed(clockMs, nowMs)) + double(ns % 1000000) / 1e6;
}

// Keeps the moment each function key reaches a widget of an item form.
class KeyArrivals : public QObject {
public:
    std::vector<qint64> ns;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            auto* widget = qobject_cast<QWidget*>(watched);
            if (key >= Qt::Key_F1 && key <= Qt::Key_F12 && widget &&
                widget->window()->objectName() == QLatin1String("fScale"))
                ns.push_back(PtyPair::MonotonicNs());
        }
        return false;
    }
};

} // namespace

int main(int argc, char* argv[]) {
    const int items = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 200;
    QTemporaryDir dir;
    qputenv("XDG_DATA_HOME", dir.filePath(QStringLiteral("xdg")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTextStream out(stdout);

    PtyPair box, line;
    if (!box.Ready() || !line.Ready() || !box.Open() || !line.Open()) {
        out << "no pseudo-terminals: " << box.Why() << line.Why() << "\n";
        return 1;
    }
    QDir().mkpath(dir.filePath(QStringLiteral("config/Corvane")));
    QFile ini(dir.filePath(QStringLiteral("config/Corvane/Corvane.ini")));
    if (!ini.open(QIODevice::WriteOnly))
        return 1;
    ini.write("[Settings]\nTriggerBox632=" + box.ProgramEnd().toUtf8() + "\n");
    ini.close();
    QFile comport(dir.filePath(QStringLiteral("comport.txt")));
    if (!comport.open(QIODevice::WriteOnly))
        return 1;
    comport.write("COM\n" + line.ProgramEnd().toUtf8() + ",115200,n,8,1\ncodes\n");
    comport.close();
    QString csv = QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName,"
                                 "Parameters,WriteData,WriteRT,textlabel1,textlabel2,textlabel3\n");
    for (int n = 1; n <= items; ++n)
        csv += QStringLiteral("%1,scale response,Item %1,v%1,\"(p3,<632:1:2>)\",yes,yes,a,b,c\n")
                   .arg(n);
    const QString que = dir.filePath(QStringLiteral("q.que"));
    const QString exp = dir.filePath(QStringLiteral("e.exp"));
    CreateDefinitionFile(que, QStringLiteral("q.csv"), csv, KindOfFile(que), 4.0);
    CreateDefinitionFile(exp, QStringLiteral("e.csv"),
                         QStringLiteral("Condition,position,file\na,1,q.que\n"), KindOfFile(exp),
                         std::nullopt);
    QFile script(dir.filePath(QStringLiteral("script.txt")));
    if (!script.open(QIODevice::WriteOnly))
        return 1;
    script.write("wait 600000\n");
    script.close();

    struct Pulse {
        qint32 shownAt;
        qint64 askedNs, writtenNs;
    };
    std::vector<Pulse> pulses;
    ProgramDevices::PulseWritten() = [&pulses](qint32 shownAt, qint64 askedNs) {
        pulses.push_back({shownAt, askedNs, PtyPair::MonotonicNs()});
    };
    KeyArrivals arrivals;
    app.installEventFilter(&arrivals);

    // The device side: each pulse that reaches the box is answered on the line a little later.
    std::mutex lock;
    std::vector<qint64> boxNs, digitNs;
    std::atomic<bool> stop{false};
    std::thread device([&] {
        while (!stop) {
            for (const auto& byte : box.Read(100)) {
                if (byte.value == 0)
                    continue;
                {
                    std::lock_guard guard(lock);
                    boxNs.push_back(byte.atNs);
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(kAnswerAfterMs));
                const qint64 at = PtyPair::MonotonicNs();
                line.Write("1");
                std::lock_guard guard(lock);
                digitNs.push_back(at);
            }
        }
    });

    UnattendedOptions options;
    options.experiment = exp;
    options.subject = QStringLiteral("b1");
    options.condition = QStringLiteral("a");
    options.script = script.fileName();
    options.messageLog = dir.filePath(QStringLiteral("messages.log"));
    options.timeoutSeconds = 60 + items;
    const int status = RunUnattended(options);
    stop = true;
    device.join();

    std::vector<double> asked, fromItemStart, transit, keys;
    for (std::size_t n = 0; n < pulses.size(); ++n) {
        asked.push_back(double(pulses[n].writtenNs - pulses[n].askedNs) / 1e6);
        fromItemStart.push_back(MsSince(pulses[n].shownAt, pulses[n].writtenNs));
        if (n < boxNs.size())
            transit.push_back(double(boxNs[n] - pulses[n].writtenNs) / 1e6);
    }
    for (const qint64 written : digitNs) {
        const auto first = std::lower_bound(arrivals.ns.begin(), arrivals.ns.end(), written);
        if (first != arrivals.ns.end())
            keys.push_back(double(*first - written) / 1e6);
    }
    QFile load(QStringLiteral("/proc/loadavg"));
    const QByteArray loadavg = load.open(QIODevice::ReadOnly) ? load.readAll().trimmed() : "?";
    out << items << " scale items, pulse 632:1:2 to a trigger box on " << box.ProgramEnd()
        << ", digits on " << line.ProgramEnd() << "; platform " << QGuiApplication::platformName()
        << "; run status " << status << "; load average " << loadavg << "\n";
    Print(out, "ItemStart (ms clock, whole ms) -> pulse byte written", Summary(fromItemStart),
          true);
    Print(out, "ItemStart read (ns) -> pulse byte written", Summary(asked), false);
    Print(out, "pulse byte written -> read at the box end (socat)", Summary(transit), false);
    Print(out, "digit written on the line -> key in the form", Summary(keys), true);
    out << "keys that reached a form: " << arrivals.ns.size() << " of " << digitNs.size()
        << " digits written\n";
    return status == UnattendedExit::Finished && pulses.size() == std::size_t(items) ? 0 : 1;
}
