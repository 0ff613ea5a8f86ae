// The on-line rating's sampling on the real run clock: a 60 s rating over an instruction, with a
// joystick fed through a named pipe with a sine-wave trace (a 7 s period, 5 ms between events).
// The slider is read at every tick of the rating's own timer; the bins are made again here from
// those samples and compared with the "_online.csv" row the rating wrote. Prints the samples per
// bin and the largest difference between a bin in the file and the mean of its samples.
//
//   build/bench/bench_online_rating
#include "definitions/definition_columns.h"
#include "definitions/definition_writer.h"
#include "engine/fCodes.h"
#include "engine/run_session.h"
#include "preferences/preferences.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QSlider>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <atomic>
#include <cfenv>
#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace corvane;

namespace {

constexpr int kRatingMs = 60000;
constexpr double kPeriodMs = 7000;
constexpr int kEventGapMs = 5;

struct Sample {
    qint32 at;
    int value;
};

// The program's clock, noting the reading that started the rating's 100 ms timer and, at each
// of its ticks, the reading the tick took last (the one its sample is filed under) and the slider.
class RecordingClock : public SteadyRunClock {
public:
    qint32 Now() const override {
        m_last = SteadyRunClock::Now();
        return m_last;
    }
    std::unique_ptr<RunTimer> Every(int intervalMs, std::function<void()> tick) override {
        if (intervalMs != 100)
            return SteadyRunClock::Every(intervalMs, std::move(tick));
        start = m_last;
        return SteadyRunClock::Every(intervalMs, [this, tick = std::move(tick)] {
            tick();
            if (const QSlider* slider = Slider())
                samples.push_back({m_last, slider->value()});
        });
    }
    static const QSlider* Slider() {
        const auto windows = QApplication::topLevelWidgets();
        for (const QWidget* window : windows) {
            if (window->objectName() == QLatin1String("fOnLine"))
                return window->findChild<QSlider*>(QStringLiteral("Slider1"));
        }
        return nullptr;
    }
    qint32 start = 0;
    std::vector<Sample> samples;

private:
    mutable qint32 m_last = 0;
};

QByteArray AxisEvent(qint16 value) {
    QByteArray bytes(8, '\0');
    memcpy(bytes.data() + 4, &value, 2);
    bytes[6] = char(0x02);
    return bytes;
}

void Write(int descriptor, const QByteArray& bytes) {
    if (::write(descriptor, bytes.constData(), size_t(bytes.size())) != bytes.size())
        qFatal("the joystick pipe took no event");
}

} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir dir;
    const QDir folder(dir.path());
    qputenv("XDG_CONFIG_HOME", folder.filePath(QStringLiteral("config")).toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTextStream out(stdout);

    // The joystick: a named pipe, its writer held open so that the reader never sees its end.
    const QString device = folder.filePath(QStringLiteral("js0"));
    if (::mkfifo(QFile::encodeName(device).constData(), 0600) != 0)
        qFatal("no named pipe");
    const int writer = ::open(QFile::encodeName(device).constData(), O_RDWR);
    SettingsStore::Save(QStringLiteral("Corvane"), QStringLiteral("JoystickDevice"), device);
    Write(writer, AxisEvent(0) + AxisEvent(0).replace(7, 1, "\x01"));

    ProgramFolder::SetPath(folder.filePath(QStringLiteral("program")));
    QDir().mkpath(folder.filePath(QStringLiteral("program/styles")));
    const QString que = folder.filePath(QStringLiteral("q.que"));
    CreateDefinitionFile(
        que, QStringLiteral("q.csv"),
        QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName,Parameters,"
                       "textlabel1,textlabel7,pointlabel1,pointlabel2,pointlabel3,pointlabel4,"
                       "pointlabel5,pointlabel6,pointlabel7\n"
                       "1,On-Line Rating,Rate,sine,(p7),low,high,1,2,3,4,5,6,7\n"
                       "2,instructions,Watch.,watch,,,,,,,,,,\n"),
        KindOfFile(que), 4.0);
    const QString exp = folder.filePath(QStringLiteral("e.exp"));
    CreateDefinitionFile(exp, QStringLiteral("e.csv"),
                         QStringLiteral("Condition,position,file\na,1,q.que\n"), KindOfFile(exp),
                         4.0);
    QDir::setCurrent(dir.path());

    RunState state;
    auto clock = std::make_unique<RecordingClock>();
    RecordingClock& recording = *clock;
    state.SetClock(std::move(clock));
    state.ExperimentFolder = dir.path();
    state.ExperimentFile = exp;
    state.ExperimentFileName = QStringLiteral("e.exp");
    Preferences preferences;
    RunSession session(state, preferences);

    // The trace: the stick swings across its range and back, sent as a device sends its moves.
    std::atomic<bool> feeding{true};
    std::thread feeder([&] {
        const auto begin = std::chrono::steady_clock::now();
        while (feeding) {
            const double ms =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
                    .count();
            Write(writer,
                  AxisEvent(qint16(std::lround(30000 * std::sin(2 * M_PI * ms / kPeriodMs)))));
            std::this_thread::sleep_for(std::chrono::milliseconds(kEventGapMs));
        }
    });

    fCodes* codes = session.OpenSubjectEntry();
    codes->TextSubject()->setText(QStringLiteral("1"));
    codes->TextCondition()->setText(QStringLiteral("a"));
    codes->bOK_Click();
    // The rating ends with the instruction under it, passed over as the operator would.
    QTimer::singleShot(kRatingMs, &app, [&] { session.Driver().OperatorKeys(true, false); });
    QObject::connect(&session, &RunSession::RunFinished, &app, &QApplication::quit);
    app.exec();
    feeding = false;
    feeder.join();
    ::close(writer);

    QFile file(folder.filePath(QStringLiteral("data/sine_online.csv")));
    if (!file.open(QIODevice::ReadOnly)) {
        out << "the rating wrote no file\n";
        return 1;
    }
    const QStringList row = QString::fromLatin1(file.readAll()).trimmed().split(QLatin1Char(','));
    const int low = row.value(4).toInt();
    const int bins = row.value(6).toInt();

    // The bins again, from the samples: the nearest second, a half to the even one.
    std::fesetround(FE_TONEAREST);
    std::vector<double> sums(std::size_t(bins) + 2, 0);
    std::vector<int> counts(std::size_t(bins) + 2, 0);
    for (const Sample& sample : recording.samples) {
        const auto second =
            std::size_t(std::nearbyint(Elapsed(recording.start, sample.at) / 1000.0));
        if (second < sums.size()) {
            sums[second] += sample.value;
            ++counts[second];
        }
    }
    double largestError = 0;
    int offCount = 0;
    int fewest = INT_MAX;
    int most = 0;
    QStringList perBin;
    for (int b = 1; b <= bins; ++b) {
        const QString written = row.value(6 + b);
        const int n = counts[std::size_t(b)];
        perBin << QString::number(n);
        fewest = qMin(fewest, n);
        most = qMax(most, n);
        // The last second is cut off by the end of the rating.
        if (b < bins && qAbs(n - 10) > 1)
            ++offCount;
        const double mean = n == 0 ? -1 : low + sums[std::size_t(b)] / n / 100.0;
        largestError = qMax(largestError, qAbs(written.toDouble() - mean));
    }
    out << "on-line rating of " << kRatingMs / 1000 << " s, sine-wave joystick trace ("
        << kPeriodMs / 1000 << " s period, an event every " << kEventGapMs << " ms)\n";
    out << "bins written: " << bins << ", samples taken: " << recording.samples.size() << "\n";
    out << "samples per bin (1 to " << bins << "): " << perBin.join(QLatin1Char(' ')) << "\n";
    out << "fewest " << fewest << ", most " << most << " (the last bin ends with the rating)"
        << ", bins 1 to " << bins - 1 << " outside 10 +- 1: " << offCount << "  (target: none)\n";
    out << "largest bin error (file value - mean of its samples, scale units): "
        << QString::number(largestError, 'f', 4) << "  (target: <= 0.005, the rounding to 0.01)\n";
    return offCount == 0 && largestError <= 0.005 + 1e-9 ? 0 : 1;
}
