// The voice key's onset error: sounds with a known onset are heard by the key, and its voice time
// is compared with the onset's true time (recorded minus true, in ms). (a) The samples fed
// through the voice input's seam at the real clock's pace; (b) the same kind of sounds played
// with paplay into a private PulseAudio and recorded through Qt Multimedia, as on a lab machine.
//
// Usage: bench_voice_onset SOUNDS_FOLDER [--trials N] [--seam-only | --server-only]
// SOUNDS_FOLDER holds tone.wav, noise.wav and word.wav (bench/voice/make_voice_sounds.sh).
#include "../../tests/run/private_sound_server.h"
#include "devices/clAudioRT.h"
#include "devices/fed_sample_source.h"
#include "devices/voice_input.h"
#include "devices/voice_onset.h"
#include "output/wave_file.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <random>

using namespace corvane;

namespace {

QTextStream out(stdout);

struct Sound {
    QString name;
    QByteArray samples; // full scale
};

const int kLevels[] = {5, 20, 60};
constexpr int kTrigger = 2; // the default trigger level

// The shape scaled to peak at `level`, over a hiss of level 0 or 1 (below the trigger).
QByteArray Trial(const Sound& sound, int level, qint64 onset, qint64 length, std::mt19937& random) {
    std::uniform_int_distribution<int> hiss(-1, 1);
    QByteArray samples(length, char(128));
    for (qint64 n = 0; n < length; ++n)
        samples[n] = char(128 + hiss(random));
    int peak = 1;
    for (char c : sound.samples)
        peak = std::max(peak, SampleLevel(quint8(c)));
    for (qint64 n = 0; n < sound.samples.size() && onset + n < length; ++n) {
        const double v = (double(quint8(sound.samples[n])) - 128.0) * level / peak;
        samples[onset + n] = char(std::clamp(128 + int(std::lround(v)), 0, 255));
    }
    return samples;
}

struct Figures {
    QList<double> errors; // ms
};

void Print(const QString& what, QList<double> errors, bool centred) {
    if (errors.isEmpty()) {
        out << what << ": no trials\n";
        return;
    }
    double mean = 0;
    for (double e : errors)
        mean += e;
    mean /= double(errors.size());
    double var = 0;
    for (double e : errors)
        var += (e - mean) * (e - mean);
    const double sd = errors.size() > 1 ? std::sqrt(var / double(errors.size() - 1)) : 0;
    QList<double> spread;
    for (double e : errors)
        spread << std::abs(centred ? e - mean : e);
    std::sort(spread.begin(), spread.end());
    const double p99 = spread[std::min<qsizetype>(
        spread.size() - 1, qsizetype(std::ceil(0.99 * double(spread.size()))) - 1)];
    double worst = spread.back();
    out << QString("%1: n=%2  mean %3 ms  SD %4 ms  p99 |%5| %6 ms  max %7 ms\n")
               .arg(what, -42)
               .arg(errors.size())
               .arg(mean, 0, 'f', 3)
               .arg(sd, 0, 'f', 3)
               .arg(centred ? "error - mean" : "error")
               .arg(p99, 0, 'f', 3)
               .arg(worst, 0, 'f', 3);
    out.flush();
}

// Runs the event loop until the run clock reaches `untilUs`.
void RunUntil(RunClock& clock, qint64 untilUs) {
    QEventLoop loop;
    while (clock.NowMicroseconds() < untilUs) {
        const qint64 left = (untilUs - clock.NowMicroseconds()) / 1000;
        QTimer::singleShot(int(std::clamp<qint64>(left, 0, 5)), &loop, &QEventLoop::quit);
        loop.exec();
    }
}

struct KeyResult {
    qint64 startUs = 0;
    qint32 voiceTime = 0;
    std::optional<double> onsetUs;
};

// One voice key, from now until `stopUs`.
KeyResult ListenUntil(RunState& state, qint64 stopUs) {
    clAudioRT key(state, QStringLiteral("bench"));
    key.audioRTinitialize();
    key.getAudioRT(0, 0, QString());
    RunUntil(state.Clock(), stopUs);
    KeyResult result;
    result.voiceTime = key.Stop();
    result.startUs = key.StartUs();
    result.onsetUs = key.OnsetUs();
    return result;
}

// (a) Each trial fed through the seam on the real clock, in 5 ms blocks served by the event loop.
void SeamFed(const QList<Sound>& sounds, int trials, std::mt19937& random) {
    RunState state;
    QList<double> stored, exact;
    std::uniform_int_distribution<qint64> onsets(13230, 52920); // 0.3 to 1.2 s
    for (int t = 0; t < trials; ++t) {
        const Sound& sound = sounds[t % sounds.size()];
        const int level = kLevels[(t / sounds.size()) % 3];
        const qint64 place = onsets(random);
        const QByteArray samples = Trial(sound, level, place, place + 22050, random);
        const qint64 trueIndex = FirstSampleAtLevel(samples, 4410, kTrigger);
        FedSampleSource* fed = nullptr;
        SetVoiceInput([&](RunClock& clock) {
            auto source = std::make_unique<FedSampleSource>(clock, samples);
            fed = source.get();
            return source;
        });
        const qint64 now = state.Clock().NowMicroseconds();
        const KeyResult key = ListenUntil(state, now + (place + 22050) * 1000000 / kVoiceRate);
        const double trueUs = double(fed->StartUs()) + double(trueIndex) * 1e6 / kVoiceRate;
        stored << key.voiceTime - (trueUs - double(key.startUs)) / 1000.0;
        if (key.onsetUs)
            exact << (*key.onsetUs - trueUs) / 1000.0;
    }
    SetVoiceInput({});
    Print("(a) seam-fed, stored voice time", stored, false);
    Print("(a) seam-fed, onset before rounding", exact, false);
}

// (b) One long play of all trials into a private PulseAudio, each trial a key of its own.
bool ThroughSoundServer(const QList<Sound>& sounds, int trials, std::mt19937& random) {
    QTemporaryDir dir;
    corvane::test::PrivateSoundServer server(dir.filePath("sound"));
    if (!server.Ready()) {
        out << "(b) skipped: no private sound server: " << server.Why() << "\n";
        return false;
    }
    const QProcessEnvironment env = server.Environment();
    for (const char* name : {"PULSE_SERVER", "PULSE_RUNTIME_PATH"})
        qputenv(name, env.value(name).toUtf8());
    constexpr qint64 kSegment = 2 * 44100;
    std::uniform_int_distribution<qint64> onsets(17640, 52920); // 0.4 to 1.2 s into a segment
    QByteArray all;
    QList<qint64> trueIndex;
    for (int t = 0; t < trials; ++t) {
        const Sound& sound = sounds[t % sounds.size()];
        const int level = kLevels[(t / sounds.size()) % 3];
        const QByteArray segment = Trial(sound, level, onsets(random), kSegment, random);
        trueIndex << kSegment * t + FirstSampleAtLevel(segment, 0, kTrigger);
        all += segment;
    }
    all += QByteArray(kSegment, char(128));
    const QString wave = dir.filePath("trials.wav");
    if (const auto why = WriteWaveFile(wave, all)) {
        out << "(b) skipped: " << *why << "\n";
        return false;
    }
    RunState state;
    RunClock& clock = state.Clock();
    // The input's reported latency is left out here, so the offset below is all of it.
    SettingsStore::Save(QStringLiteral("Corvane"), QStringLiteral("VoiceInputLatency"), 0);
    QProcess player;
    const qint64 launchUs = clock.NowMicroseconds();
    server.Play(player, wave);
    QList<double> errors;
    int missed = 0;
    for (int t = 0; t < trials; ++t) {
        const qint64 segmentUs = launchUs + qint64(t) * 2000000;
        RunUntil(clock, segmentUs + 150000);
        const KeyResult key = ListenUntil(state, segmentUs + 2100000);
        const double trueUs = double(launchUs) + double(trueIndex[t]) * 1e6 / kVoiceRate;
        const double recordedUs = double(key.startUs) + key.voiceTime * 1000.0;
        if (!key.onsetUs) {
            ++missed;
            continue;
        }
        errors << (recordedUs - trueUs) / 1000.0;
    }
    player.waitForFinished(10000);
    Print("(b) private PulseAudio, recorded - true", errors, false);
    Print("(b) the same, about its constant offset", errors, true);
    out << "    the constant offset (the mean above) counts from paplay's launch: it holds "
           "paplay's "
           "start, the server's buffers and the input's latency\n";
    if (missed > 0)
        out << "    " << missed << " trial(s) heard no onset\n";
    return true;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    int trials = 90;
    bool seam = true, serverPath = true;
    QString folder;
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == "--trials" && i + 1 < args.size())
            trials = args[++i].toInt();
        else if (args[i] == "--seam-only")
            serverPath = false;
        else if (args[i] == "--server-only")
            seam = false;
        else
            folder = args[i];
    }
    if (folder.isEmpty() || trials < 1) {
        out << "usage: bench_voice_onset SOUNDS_FOLDER [--trials N] [--seam-only | "
               "--server-only]\n";
        return 2;
    }
    QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toUtf8()); // the trigger level's default, 2
    QList<Sound> sounds;
    for (const QString name : {"tone", "noise", "word"}) {
        QString why;
        const auto samples = FedSampleSource::ReadSamples(folder + "/" + name + ".wav", &why);
        if (!samples) {
            out << folder << "/" << name << ".wav: " << why << "\n";
            return 1;
        }
        sounds << Sound{name, *samples};
    }
    std::mt19937 random(12);
    out << "Onset error of the voice key, recorded minus true, ms; sounds tone, noise, word at "
           "levels 5, 20, 60 over a hiss of level 1 (trigger 2).\n"
           "Targets: (a) |mean| <= 0.1, p99 <= 0.5; (b) SD <= 2 with the constant offset "
           "reported. A key polling the last sample every 10 ms errs by up to the poll interval "
           "plus the buffer period.\n";
    if (seam)
        SeamFed(sounds, trials, random);
    if (serverPath)
        ThroughSoundServer(sounds, trials, random);
    out.flush();
    return 0;
}
