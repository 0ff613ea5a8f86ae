// Voice items run unattended: a fed wave with a known onset on the virtual clock, and a private
// sound server on the real clock; the voice time, the coding tick and the recording are checked.
#include "definition_fixtures.h"
#include "output/wave_file.h"
#include "private_sound_server.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <cmath>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kItems =
    "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,FileName,WriteData,"
    "WriteRT,textlabel1,textlabel2,pointlabel1,pointlabel2,skip1,skip2\n"
    "1,Voice Response,Name the picture,v,(p2),Take.wav,yes,yes,right,wrong,A,B,none,none\n";

constexpr qint64 kRate = 44100;

// Silence with a hiss of level 1, then from `onset` a tone of level `level` for `toneSamples`.
QByteArray Spoken(qint64 onset, qint64 toneSamples, qint64 length, int level) {
    QByteArray samples(length, char(128));
    for (qint64 n = 0; n < length; ++n) {
        if (n >= onset && n < onset + toneSamples)
            samples[n] = char(128 + (n % 2 == 0 ? level : -level));
        else
            samples[n] = char(n % 3 == 0 ? 129 : (n % 3 == 1 ? 127 : 128));
    }
    return samples;
}

void MakeStudy(const QTemporaryDir& dir) {
    MakeDefinition(dir.path(), "q.que", kItems);
    MakeDefinition(dir.path(), "e.exp", "Condition,position,file,Parameters\na,1,q.que,\n");
}

QString WriteScript(const QTemporaryDir& dir, const QByteArray& text) {
    WriteBytes(dir.filePath("script.txt"), text);
    return dir.filePath("script.txt");
}

// Starts the program on e.exp for s1 in the given environment with the folder's own settings.
void Start(QProcess& run, const QTemporaryDir& dir, QProcessEnvironment env,
           const QStringList& arguments) {
    env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    run.setProcessEnvironment(env);
    run.start(CORVANE_BIN,
              QStringList{"--run", dir.filePath("e.exp"), "--subject", "s1"} + arguments);
}

// The values of the item's two variables and their times, from the data by questionnaire.
struct ItemData {
    QList<QByteArray> values;
    QList<QByteArray> times;
};

ItemData ReadItemData(const QTemporaryDir& dir) {
    const QList<QByteArray> lines = ReadAll(dir.filePath("data/byquestionnaire/e.txt")).split('\n');
    if (lines.size() < 4)
        return {};
    return {lines[2].trimmed().split(','), lines[3].trimmed().split(',')};
}

} // namespace

class TestVoiceRun : public QObject {
    Q_OBJECT
private slots:
    // The onset at sample 30871 is 700.02 ms after the key starts listening.
    void fedWaveFileOnTheVirtualClock() {
        QTemporaryDir dir;
        MakeStudy(dir);
        const QByteArray fed = Spoken(30871, 13230, 66150, 20);
        QVERIFY(!WriteWaveFile(dir.filePath("fed.wav"), fed));
        const QString script = WriteScript(dir, "wait 1000\n"
                                                "key Space   # the first press ends the recording\n"
                                                "wait 200\n"
                                                "key 2\n"
                                                "key Space\n");
        QProcess run;
        Start(run, dir, QProcessEnvironment::systemEnvironment(),
              {"--condition", "a", "--script", script, "--virtual-clock", "--voice-input",
               dir.filePath("fed.wav"), "--message-log", dir.filePath("messages.log")});
        QVERIFY(run.waitForFinished(60000));
        QCOMPARE(run.exitCode(), 0);
        const ItemData data = ReadItemData(dir);
        QCOMPARE(data.values, (QList<QByteArray>{"take.wav", "2"}));
        QCOMPARE(data.times.size(), 2);
        const double onsetMs = 30871.0 * 1000.0 / kRate;
        QVERIFY2(std::abs(data.times[0].toInt() - onsetMs) <= 1.0, data.times[0].constData());
        QCOMPARE(data.times[1], "1200");
        // The recording: the header as the format says, then the fed sound up to the stop.
        const QByteArray file = ReadAll(dir.filePath("data/voice/s1/take.wav"));
        QCOMPARE(file.size(), 44 + 44100);
        QCOMPARE(file.left(44).toHex(), WaveHeader(WaveFormat{}, 44100).toHex());
        QVERIFY(file.mid(44) == fed.left(44100));
    }

    void aFeedThatIsNoWaveIsRefused() {
        QTemporaryDir dir;
        MakeStudy(dir);
        QProcess run;
        Start(run, dir, QProcessEnvironment::systemEnvironment(),
              {"--virtual-clock", "--voice-input", dir.filePath("missing.wav")});
        QVERIFY(run.waitForFinished(60000));
        QCOMPARE(run.exitCode(), 1);
        QVERIFY(
            run.readAllStandardError().contains("missing.wav: the voice input can not be used"));
    }

    // The real path: Qt Multimedia records from a private PulseAudio while paplay plays a tone
    // into it. The voice time must be where the tone stands in the recording, not a poll's time.
    void throughAPrivateSoundServer() {
        QTemporaryDir dir;
        PrivateSoundServer server(dir.filePath("sound"));
        if (!server.Ready())
            QSKIP(qPrintable("no private sound server: " + server.Why()));
        MakeStudy(dir);
        // 300 ms of hiss, a tone of level 60 for 300 ms, then hiss.
        QVERIFY(!WriteWaveFile(dir.filePath("tone.wav"), Spoken(13230, 13230, 44100, 60)));
        const QString script = WriteScript(dir, "wait 4000\nkey Space\nwait 300\nkey Space\n");
        QProcess run;
        Start(run, dir, server.Environment(),
              {"--condition", "a", "--script", script, "--message-log",
               dir.filePath("messages.log"), "--timeout", "60"});
        QVERIFY(run.waitForStarted(10000));
        QElapsedTimer waited;
        waited.start();
        while (!server.SomeoneRecords() && waited.elapsed() < 20000 &&
               run.state() == QProcess::Running)
            QThread::msleep(20);
        QVERIFY2(server.SomeoneRecords(), "the program never recorded from the sound server");
        QThread::msleep(400);
        QProcess player;
        server.Play(player, dir.filePath("tone.wav"));
        QVERIFY(player.waitForFinished(20000));
        QCOMPARE(player.exitCode(), 0);
        QVERIFY(run.waitForFinished(60000));
        QCOMPARE(run.exitCode(), 0);
        const QByteArray log = ReadAll(dir.filePath("messages.log"));
        QVERIFY2(!log.contains("sound input"), log.constData());

        const ItemData data = ReadItemData(dir);
        QCOMPARE(data.values.value(0), "take.wav");
        const int voiceTime = data.times.value(0).toInt();
        QString why;
        const auto recording = ReadWaveFile(dir.filePath("data/voice/s1/take.wav"), &why);
        QVERIFY2(recording, qPrintable(why));
        const WaveFormat format = recording->format;
        QVERIFY(format.rate == 44100u && format.bits == 8 && format.channels == 1);
        QVERIFY(recording->samples.size() > kRate / 2);
        // The tone is in the recording, whole (a busy server may have played a gap into it).
        qint64 first = -1, loud = 0;
        for (qint64 n = 0; n < recording->samples.size(); ++n) {
            if (std::abs(quint8(recording->samples[n]) - 128) >= 50) {
                if (first < 0)
                    first = n;
                ++loud;
            }
        }
        QVERIFY(first > 0);
        QVERIFY2(std::abs(loud - 13230) <= 2, qPrintable(QString::number(loud)));
        // The key's time is that sample's place in the stream, heard at or after listening began.
        const double placeMs = double(first) * 1000.0 / kRate;
        QVERIFY2(voiceTime > 100 && voiceTime >= placeMs - 5 && voiceTime <= placeMs + 5000,
                 qPrintable(QString("voice time %1 ms, onset in the recording at %2 ms")
                                .arg(voiceTime)
                                .arg(placeMs)));
    }
};

QTEST_GUILESS_MAIN(TestVoiceRun)
#include "test_voice_run.moc"
