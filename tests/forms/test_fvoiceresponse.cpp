// The voice response form in a run, fed samples of a known onset through the voice input's seam:
// voice time, coding tick, the recording, the time limit, and a sound input missing or lost.
#include "devices/fed_sample_source.h"
#include "devices/voice_input.h"
#include "devices/voice_onset.h"
#include "output/wave_file.h"
#include "run_fixture.h"
#include "state/settings_store.h"

#include <QFrame>
#include <QPushButton>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kHeader = "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,"
                        "FileName,WriteData,WriteRT,textlabel1,textlabel2,pointlabel1,"
                        "pointlabel2,skip1,skip2\n";

QString Voice(int number, const QString& name, const QString& parameters, const QString& file,
              const QString& labels = "right,<specify>wrong") {
    return QString("%1,Voice Response,Say it,%2,\"%3\",%4,yes,yes,%5,A,B,none,none\n")
        .arg(number)
        .arg(name, parameters, file, labels);
}

QString Scale(int number, const QString& name) {
    return QString("%1,scale response,Next?,%2,(p2),,yes,yes,a,b,1,2,none,none\n")
        .arg(number)
        .arg(name);
}

// Silence with a quiet hiss of level 1 (below the default trigger of 2), then from `onset` a
// tone of the given level.
QByteArray Spoken(qint64 onset, qint64 length, int level) {
    QByteArray samples(length, char(128));
    for (qint64 n = 0; n < length; ++n) {
        if (n < onset)
            samples[n] = char(n % 3 == 0 ? 129 : (n % 3 == 1 ? 127 : 128));
        else
            samples[n] = char(128 + (n % 2 == 0 ? level : -level));
    }
    return samples;
}

// The voice input of the tests: the samples given, fed at the run clock's pace.
class FedInput {
public:
    explicit FedInput(QByteArray samples) : m_samples(std::move(samples)) {
        SetVoiceInput([this](RunClock& clock) {
            auto source = std::make_unique<FedSampleSource>(clock, m_samples);
            last = source.get();
            ++made;
            return source;
        });
    }
    ~FedInput() { SetVoiceInput({}); }
    FedSampleSource* last = nullptr;
    int made = 0;

private:
    QByteArray m_samples;
};

// A source that can't open, as with no sound server.
class NoInput : public SampleSource {
public:
    std::optional<QString> Start() override { return QString("there is no sound input here"); }
    void Stop() override {}
};

QPushButton* Box(RunFixture& run, int n) {
    return run.Control<QPushButton>(QString("chkResponse(%1)").arg(n));
}

// Lets a newly shown form paint and its key start.
void Settle() {
    for (int round = 0; round < 3; ++round)
        QApplication::processEvents();
}

void Continue(RunFixture& run) {
    QTest::mouseClick(run.Control<QPushButton>("Continue"), Qt::LeftButton);
}

// Starts the run, lets the form paint and its key begin, and forgets the boxes of the start.
void Begin(RunFixture& run, const QString& rows) {
    run.Start(kHeader, rows);
    Settle();
    run.boxes.clear();
}

// Samples a fed source has delivered `ms` after its start, in blocks of 5 ms.
qint64 DeliveredBy(qint64 ms) {
    return ms / 5 * 5 * kVoiceRate / 1000;
}

qint32 SamplesToMs(qint64 samples) {
    return qint32(std::llround(double(samples) * 1000.0 / kVoiceRate));
}

} // namespace

class TestFVoiceResponse : public QObject {
    Q_OBJECT
private slots:
    void init() { SettingsStore::Save("Tachyra", "MicSensitivity", 2); }

    // The onset at any sample gives the time of that sample, to the nearest millisecond.
    void voiceTimeIsTheOnsetSample_data() {
        QTest::addColumn<qint64>("onset");
        QTest::addColumn<int>("level");
        QTest::newRow("half a second") << qint64(22050) << 20;
        QTest::newRow("between milliseconds") << qint64(22071) << 5;
        QTest::newRow("just past the switch-on wait") << qint64(4410) << 60;
        QTest::newRow("two and a bit seconds") << qint64(93001) << 2;
    }
    void voiceTimeIsTheOnsetSample() {
        QFETCH(qint64, onset);
        QFETCH(int, level);
        const QByteArray samples = Spoken(onset, onset + 44100, level);
        FedInput input(samples);
        RunFixture run;
        Begin(run, Voice(1, "v", "(p2)", "Take1.wav") + Scale(2, "next"));
        QCOMPARE(run.Form()->objectName(), "fVoiceResponse");
        auto* rtOK = run.Control<QFrame>("rtOK");
        QVERIFY(rtOK);
        QVERIFY(input.last); // the key listens from the first painting
        QVERIFY(!rtOK->isVisible());
        run.Wait(SamplesToMs(onset) - 10);
        QVERIFY(!rtOK->isVisible());
        run.Wait(20);
        QVERIFY(rtOK->isVisible());
        run.Wait(700);
        Continue(run); // stops the key
        QCOMPARE(run.Form()->objectName(), "fVoiceResponse");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), SamplesToMs(onset));
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "take1.wav");
        Continue(run); // moves on
        QCOMPARE(run.Form()->objectName(), "fScale");
        // The recording is the sound heard, from the start of listening to the stop.
        QString why;
        const auto sound =
            ReadWaveFile(QDir(run.Folder()).filePath("data/voice/s1/take1.wav"), &why);
        QVERIFY2(sound, qPrintable(why));
        QCOMPARE(sound->format.rate, 44100u);
        QCOMPARE(sound->format.bits, quint16(8));
        QCOMPARE(sound->format.channels, quint16(1));
        const qint64 heard = DeliveredBy(SamplesToMs(onset) + 710);
        QCOMPARE(sound->samples.size(), heard);
        QCOMPARE(sound->samples, samples.left(heard));
    }

    void tickIsTheSecondVariable() {
        FedInput input(Spoken(8820, 44100, 30));
        RunFixture run;
        Begin(run, Voice(1, "v", "(p2)", "none") + Scale(2, "next"));
        run.Wait(150);
        QTest::mouseClick(Box(run, 1), Qt::LeftButton); // too soon: the value only
        QVERIFY(Box(run, 1)->isChecked());
        QVERIFY(Box(run, 2)->isEnabled());
        run.Wait(250);
        QTest::mouseClick(Box(run, 2), Qt::LeftButton);
        QVERIFY(!Box(run, 1)->isEnabled());
        QVERIFY(!Box(run, 2)->isEnabled());
        QTest::mouseClick(Box(run, 1), Qt::LeftButton); // out of reach now
        QVERIFY(Box(run, 1)->isChecked());
        run.Wait(100);
        Continue(run);
        Continue(run);
        QCOMPARE(run.Form()->objectName(), "fScale");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 200);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "voice");
        QCOMPARE(run.state.Responses().Time(1, 1, 2), 400);
        // Both boxes are checked and the last counts; its label asks for the answer, and the
        // prompt gets none here.
        QCOMPARE(run.state.Responses().Value(1, 1, 2), "<Cancel>");
        QCOMPARE(run.state.Variables.Column(1, 1, 2).type, 1);
        QVERIFY(!QDir(run.Folder()).exists("data/voice/s1/none"));
    }

    void keysTickAndContinue() {
        FedInput input(Spoken(8820, 44100, 30));
        RunFixture run;
        Begin(run, Voice(1, "v", "(p2)", "k.wav", "right,wrong") + Scale(2, "next"));
        QWidget* form = run.Form();
        run.Key(Qt::Key_Space); // in the first 200 ms: nothing
        QCOMPARE(run.Form(), form);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 0);
        run.Wait(300);
        run.Key(Qt::Key_1);
        QVERIFY(Box(run, 1)->isChecked());
        QCOMPARE(run.state.Responses().Time(1, 1, 2), 300);
        run.Key(Qt::Key_Space);
        QCOMPARE(run.Form(), form); // the first press ends the recording
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 200);
        run.Key(Qt::Key_Space);
        QCOMPARE(run.Form()->objectName(), "fScale");
        QCOMPARE(run.state.Responses().Value(1, 1, 2), "1");
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "k.wav");
    }

    // Without boxes the item has one variable; names that keep no recording store "voice".
    void boxesAndRecordingNames_data() {
        QTest::addColumn<QString>("parameters");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("value");
        AddTextRows<4>({{"p0", "(p0)", "a.wav", "a.wav"},
                        {"none", "none", "a.wav", "a.wav"},
                        {"no count", "", "a.wav", "a.wav"},
                        {"file none", "(p2)", "none", "voice"},
                        {"no file", "(p2)", "", "voice"},
                        {"drive letter", "(p2)", "c:/take.wav", "voice"},
                        {"absolute path", "(p2)", "/tmp/take.wav", "voice"}});
    }
    void boxesAndRecordingNames() {
        QFETCH(QString, parameters);
        QFETCH(QString, file);
        QFETCH(QString, value);
        FedInput input(Spoken(8820, 44100, 30));
        RunFixture run;
        Begin(run, Voice(1, "v", parameters, file) + Scale(2, "next"));
        const bool boxes = parameters == "(p2)";
        QCOMPARE(run.state.Variables.VariableCount(1, 1), qint16(boxes ? 2 : 1));
        QCOMPARE(Box(run, 1)->isVisible(), boxes);
        run.Wait(400);
        Continue(run);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), value);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 200);
        QCOMPARE(QDir(run.Folder() + "/data/voice/s1").entryList(QDir::Files).isEmpty(),
                 value == "voice");
        QVERIFY(run.boxes.isEmpty());
        Continue(run);
        QCOMPARE(run.Form()->objectName(), "fScale");
    }

    // A participant who never speaks: the limit stops the key, and the item stays for Continue.
    void silenceUntilTheLimit() {
        FedInput input(QByteArray(44100, char(128)));
        RunFixture run;
        Begin(run, Voice(1, "v", "(p2,d3)", "quiet.wav") + Scale(2, "next"));
        QVERIFY(input.last);
        const qint64 keyStart = input.last->StartUs();
        run.Wait(3999);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 0);
        run.Wait(1); // the limit's timer sees 4000 ms past the limit's 3000
        const qint64 stoppedAfter = (run.Clock().NowMicroseconds() - keyStart) / 1000;
        QCOMPARE(run.state.Responses().Time(1, 1, 1), qint32(stoppedAfter));
        QCOMPARE(stoppedAfter, qint64(4000));
        QCOMPARE(run.Form()->objectName(), "fVoiceResponse");
        QVERIFY(!run.Control<QFrame>("rtOK")->isVisible());
        Continue(run);
        QCOMPARE(run.Form()->objectName(), "fScale");
        // The limit's timer came before the block due at the same moment.
        QString why;
        const auto sound =
            ReadWaveFile(QDir(run.Folder()).filePath("data/voice/s1/quiet.wav"), &why);
        QVERIFY2(sound, qPrintable(why));
        QCOMPARE(sound->samples.size(), DeliveredBy(stoppedAfter - 5));
    }

    void triggerLevelFromTheSharedSetting_data() {
        QTest::addColumn<int>("sensitivity");
        QTest::addColumn<qint32>("voiceTime");
        QTest::newRow("level 0 trips after the switch-on wait") << 0 << 100;
        QTest::newRow("level 30 waits for the tone") << 30 << 500;
        QTest::newRow("level 31 never trips") << 31 << 900;
    }
    void triggerLevelFromTheSharedSetting() {
        QFETCH(int, sensitivity);
        QFETCH(qint32, voiceTime);
        SettingsStore::Save("Tachyra", "MicSensitivity", sensitivity);
        FedInput input(Spoken(22050, 44100, 30));
        RunFixture run;
        Begin(run, Voice(1, "v", "(p2)", "none") + Scale(2, "next"));
        run.Wait(900);
        Continue(run);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), voiceTime);
    }

    // Without a sound input: told once, the item is not refused, its time is the stop's.
    void withoutSoundInput() {
        SetVoiceInput([](RunClock&) { return std::make_unique<NoInput>(); });
        RunFixture run;
        run.Start(kHeader, Voice(1, "v", "(p2)", "a.wav") + Voice(2, "w", "(p2)", "b.wav"));
        Settle();
        run.Wait(750);
        Continue(run);
        Continue(run);
        run.Wait(50);
        Settle();
        Continue(run);
        SetVoiceInput({});
        // Told once, at the first item.
        QStringList told;
        for (const MessageBox& box : run.boxes) {
            if (box.text.contains("sound input"))
                told << box.text;
        }
        QCOMPARE(told.size(), 1);
        QVERIFY(told[0].contains("could not open a sound input for the voice item 'v'"));
        QVERIFY(told[0].contains("there is no sound input here"));
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 750);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "voice");
        QCOMPARE(run.state.Responses().Time(1, 2, 1), 100); // the switch-on wait counts
        QVERIFY(!QDir(run.Folder()).exists("data/voice/s1/a.wav"));
    }

    // The input goes away after the onset: told once, the time and the sound so far are kept.
    void inputGoesAwayMidItem() {
        FedInput input(Spoken(8820, 44100, 30));
        RunFixture run;
        Begin(run, Voice(1, "v", "(p2)", "cut.wav") + Scale(2, "next"));
        run.Wait(300);
        input.last->FailAtNextBlock("the microphone was pulled out");
        run.Wait(500);
        QCOMPARE(run.boxes.size(), 1);
        QVERIFY(run.boxes[0].text.contains("the microphone was pulled out"));
        Continue(run);
        Continue(run);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 200);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "cut.wav");
        QString why;
        const auto sound = ReadWaveFile(QDir(run.Folder()).filePath("data/voice/s1/cut.wav"), &why);
        QVERIFY2(sound, qPrintable(why));
        QCOMPARE(sound->samples.size(), qint64(300 * 441 / 10));
    }

    // A recording that its folder won't take is kept in the program's folder, and said so.
    void unwritableRecordingIsKeptAside() {
        FedInput input(Spoken(8820, 44100, 30));
        RunFixture run;
        Begin(run, Voice(1, "v", "(p2)", "sub/x.wav") + Scale(2, "next"));
        run.Wait(400);
        Continue(run);
        QCOMPARE(run.boxes.size(), 0); // a subfolder is made
        QVERIFY(QFile::exists(run.Folder() + "/data/voice/s1/sub/x.wav"));
        Continue(run);

        // A file stands where the recording's folder should be.
        RunFixture blocked;
        QDir().mkpath(blocked.Folder() + "/data/voice/s1");
        QFile wall(blocked.Folder() + "/data/voice/s1/wall");
        QVERIFY(wall.open(QIODevice::WriteOnly));
        wall.close();
        Begin(blocked, Voice(1, "v", "(p2)", "wall/y.wav") + Scale(2, "next"));
        blocked.Wait(400);
        Continue(blocked);
        QCOMPARE(blocked.boxes.size(), 1);
        QVERIFY(blocked.boxes[0].text.contains(blocked.Folder() + "/data/voice/s1/wall/y.wav"));
        const QString kept = ProgramFolder::FilePath("data/voice/s1/y.wav");
        QVERIFY2(blocked.boxes[0].text.contains(kept), qPrintable(blocked.boxes[0].text));
        QVERIFY(QFile::exists(kept));
        QCOMPARE(blocked.state.Responses().Value(1, 1, 1), "wall/y.wav");
        QCOMPARE(blocked.state.Responses().Time(1, 1, 1), 200);
    }

    // The run ended while the key listens: the time and the recording are kept.
    void formGoneWhileListening() {
        FedInput input(Spoken(8820, 44100, 30));
        RunFixture run;
        Begin(run, Voice(1, "v", "(p2)", "end.wav") + Scale(2, "next"));
        run.Wait(400);
        run.Key(Qt::Key_Right, Qt::ControlModifier | Qt::AltModifier);
        QApplication::processEvents();
        // The run has ended and written its data: the voice time is there, the tick and the
        // next item aren't.
        const QList<QByteArray> data =
            ReadAll(run.Folder() + "/data/byquestionnaire/e.txt").split('\n');
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[2].trimmed(), "end.wav,99,99");
        QCOMPARE(data[3].trimmed(), "200,99,99");
        QVERIFY(QFile::exists(run.Folder() + "/data/voice/s1/end.wav"));
    }
};

QTEST_MAIN(TestFVoiceResponse)
#include "test_fvoiceresponse.moc"
