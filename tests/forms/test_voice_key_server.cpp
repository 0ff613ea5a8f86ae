// The voice key through a private sound server: the onset on the run clock follows the moment
// the tone was sent, never precedes it, whatever the blocks' delays.
#include "../run/private_sound_server.h"
#include "devices/clAudioRT.h"
#include "output/wave_file.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

class TestVoiceKeyServer : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<PrivateSoundServer> m_server;

private slots:
    // The server must be there before Qt Multimedia first looks for one.
    void initTestCase() {
        qputenv("XDG_CONFIG_HOME", m_dir.filePath("config").toUtf8());
        m_server = std::make_unique<PrivateSoundServer>(m_dir.filePath("sound"));
        if (!m_server->Ready())
            return;
        const QProcessEnvironment env = m_server->Environment();
        for (const char* name : {"PULSE_SERVER", "PULSE_RUNTIME_PATH", "XDG_RUNTIME_DIR"})
            qputenv(name, env.value(name).toUtf8());
    }

    void onsetFollowsTheSound_data() {
        QTest::addColumn<int>("level");
        QTest::newRow("level 5") << 5;
        QTest::newRow("level 60") << 60;
    }
    void onsetFollowsTheSound() {
        QFETCH(int, level);
        if (!m_server->Ready())
            QSKIP(qPrintable("no private sound server: " + m_server->Why()));
        // 200 ms of silence, then a tone.
        QByteArray tone(44100, char(128));
        for (int n = 8820; n < tone.size(); ++n)
            tone[n] = char(128 + (n % 2 == 0 ? level : -level));
        const QString wave = m_dir.filePath("tone.wav");
        QVERIFY(!WriteWaveFile(wave, tone));

        RunState state;
        clAudioRT key(state, "v");
        key.audioRTinitialize();
        key.getAudioRT(0, 0, m_dir.filePath("heard.wav"));
        QVERIFY2(key.HaveSoundDevice, "Qt Multimedia found no input on the private server");
        QTest::qWait(300);
        QProcess player;
        const qint64 sentUs = state.Clock().NowMicroseconds();
        m_server->Play(player, wave);
        (void)QTest::qWaitFor([&] { return key.OnsetUs().has_value(); }, 5000);
        QTest::qWait(200);
        QVERIFY(player.waitForFinished(10000));
        const qint32 voiceTime = key.Stop();
        const auto onsetUs = key.OnsetUs();
        QVERIFY2(onsetUs, "the key never heard the tone");
        const double toneSentUs = double(sentUs) + 200000.0;
        const double lateMs = (*onsetUs - toneSentUs) / 1000.0;
        // Never before paplay has the tone (a map from the start of listening would be early);
        // how much later depends on the machine's load.
        QVERIFY2(lateMs >= 0 && lateMs < 5000,
                 qPrintable(QString("onset %1 ms after the tone was sent").arg(lateMs)));
        QCOMPARE(voiceTime, qint32(std::llround((*onsetUs - double(key.StartUs())) / 1000.0)));
        QVERIFY(key.RecordingKept());
    }
};

QTEST_MAIN(TestVoiceKeyServer)
#include "test_voice_key_server.moc"
