// The walk of a run without a screen: the file list, jumps, omissions, the way back, the end.
#include "definition_fixtures.h"
#include "definitions/experiment_loader.h"
#include "engine/run_driver.h"
#include "engine/time_stamps.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

// Presents what it is told it can, and records everything it is asked.
class FakeHost : public RunHost {
public:
    QStringList calls;
    QList<FileKindClass> presentable;
    QStringList itemTypes; // item types it has forms for

    void LoadPreferences(const QString&) override { calls << "preferences"; }
    void SetSystemKeysLocked(bool locked) override { calls << (locked ? "lock" : "unlock"); }
    void ShowRunScreen() override { calls << "screen"; }
    void UnloadTimerForm() override {}
    void ShowTimerForm() override { calls << "timer"; }
    void PlayBackgroundSound(const QString&) override {}
    bool PresentFile(FileKindClass kind, const FileEntry& entry) override {
        calls << "file " + entry.File;
        return presentable.contains(kind);
    }
    bool PresentItem(const Question& item) override {
        calls << "item " + item.VariableName;
        return itemTypes.contains(item.QuestionType);
    }
    void UnloadCurrentForm() override { calls << "unload"; }
    void UnloadOverlay() override { calls << "overlay gone"; }
    void WriteDataByQuestionnaire() override { calls << "data by questionnaire"; }
    void WriteDataByVariable() override { calls << "data by variable"; }
    void ShowPasswordForm() override { calls << "password"; }
    void ReturnToLauncher() override { calls << "launcher"; }
    void BeginNextSession() override { calls << "next session"; }
};

} // namespace

class TestRunDriver : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<MessageBox> m_boxes;
    FakeHost m_host;
    std::unique_ptr<RunState> m_state;
    std::unique_ptr<RunDriver> m_driver;

    QString Path(const QString& name) const { return QDir(m_dir->path()).filePath(name); }

    void Items(const QString& name, const QString& rows) {
        MakeDefinition(m_dir->path(), name,
                       "questionnumber,QuestionType,VariableName,skip1,omitconditions,GoBack\n" +
                           rows);
    }

    // Reads study.exp with the given table into a fresh run state; Begin starts the walk.
    bool Read(const QString& experiment, const QString& condition = "a") {
        MakeDefinition(m_dir->path(), "study.exp", experiment);
        m_state = std::make_unique<RunState>();
        m_state->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
        m_state->SetRandom(std::make_unique<StandardRandomSource>(1));
        m_state->SetClock(std::make_unique<VirtualRunClock>());
        m_state->ExperimentFolder = m_state->DataRoot = m_dir->path();
        m_state->ExperimentFile = Path("study.exp");
        m_state->ExperimentFileName = "study.exp";
        m_state->SubjectID = "s7";
        m_state->ConditionID = condition;
        ExperimentNeeds needs;
        return ReadExperimentInfo(*m_state, {}, needs);
    }
    void Begin() {
        m_driver = std::make_unique<RunDriver>(*m_state, m_host);
        m_driver->StartExperiment();
    }
    bool Start(const QString& experimentRows, const QString& condition = "a") {
        if (!Read("Condition,position,file,BGR\n" + experimentRows, condition))
            return false;
        Begin();
        return true;
    }

    QStringList BoxTexts() const {
        QStringList texts;
        for (const MessageBox& box : m_boxes)
            texts << box.text;
        return texts;
    }

    // The item on the screen ends with the given jump.
    void EndItem(const QString& skip) {
        m_state->SkipTarget = skip;
        m_driver->NextQuestion();
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QDir::setCurrent(m_dir->path());
        ProgramFolder::SetPath(Path("program"));
        QDir().mkpath(Path("program/styles"));
        QFile messages(Path("program/styles/messages.txt"));
        QVERIFY(messages.open(QIODevice::WriteOnly));
        messages.write("106,\"Thank you, you are done.\",closing\r\n111,Note,title\r\n\r\n");
        m_boxes.clear();
        m_host = FakeHost();
    }

    // A program is known by its run bit, or as a script or desktop entry.
    void programsAreKnownWithoutTheirEnding_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("runBit");
        QTest::addColumn<bool>("program");
        QTest::newRow("file with the run bit") << "task" << true << true;
        QTest::newRow("file without it") << "notes" << false << false;
        QTest::newRow("script") << "go.sh" << false << true;
        QTest::newRow("desktop entry") << "Task.desktop" << false << true;
        QTest::newRow("not there") << "missing" << false << false;
    }
    void programsAreKnownWithoutTheirEnding() {
        QFETCH(QString, name);
        QFETCH(bool, runBit);
        QFETCH(bool, program);
        if (name != "missing" && !name.endsWith(".sh") && !name.endsWith(".desktop")) {
            WriteBytes(Path(name), "#!/bin/sh\n");
            if (runBit)
                QFile::setPermissions(Path(name),
                                      QFile::permissions(Path(name)) | QFileDevice::ExeOwner);
        }
        QCOMPARE(IsProgramFile(Path(name)), program);
        QCOMPARE(ClassifyFileKind("exe"), FileKindClass::Program);
    }

    void walksTheListAndEndsWithTheClosingMessage() {
        Items("q1.que", "1,instructions,intro,none,,0\n2,scale response,mood,none,,0\n");
        WriteBytes(Path("pic.bmp"), "x");
        WriteBytes(Path("notes.txt"), "x");
        QVERIFY(Start(
            "a,1,q1.que,0\na,2,missing.bmp,0\na,3,pic.bmp,0\na,4,notes.txt,0\nb,1,q1.que,0\n"));

        QVERIFY(m_driver->RunEnded());
        QCOMPARE(m_host.calls,
                 QStringList({"preferences", "screen", "item intro", "item mood", "file pic.bmp",
                              "data by questionnaire", "data by variable", "preferences", "unlock",
                              "launcher"}));
        const QStringList texts = BoxTexts();
        QCOMPARE(texts.size(), 6);
        QVERIFY(texts[0].contains("as 'instructions.'  This is not currently a valid item type"));
        QCOMPARE(texts[2],
                 "The file 'missing.bmp' was requested but not found.  This item will be skipped.");
        QCOMPARE(m_boxes[2].title, "File not found");
        QVERIFY(texts[3].contains("as 'pic.bmp.'  This file is not recognized"));
        QCOMPARE(texts[4],
                 "Current file type is defined in the experiment as 'notes.txt.'  This file is not "
                 "recognized as a valid file type.  To fix this, edit the current experiment file "
                 "and be sure that all files have valid three-letter extensions.  See help for "
                 "details.");
        QCOMPARE(texts[5], "Thank you, you are done.");
        QCOMPARE(m_boxes[5].title, "Participant s7");
        QCOMPARE(m_boxes[3].title, "Note"); // message 111 titles the notices

        // The missing entry leaves no trace in the order; the unknown kind does.
        const QByteArray order = ReadAll(Path("data/byquestionnaire/question_order.csv"));
        const QList<QByteArray> lines = order.split('\n');
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines[0].startsWith("s7,a,"));
        QVERIFY(lines[0].endsWith(",q1.que,pic.bmp,notes.txt\r"));
        QVERIFY(lines[1].endsWith(",q1.que,intro,mood\r"));
        QCOMPARE(lines[2], ""); // the block ends with its line end
        QVERIFY(ReadAll(Path("program/CurrentSubjectInfo.txt"))
                    .startsWith("Subject   s7\r\nCondition a\r\n"));
        QCOMPARE(m_state->NumFiles, qint16(0)); // the run state is reset
    }

    void jumpsOmissionsAndTheWayBack() {
        m_host.itemTypes << "scale response";
        Items("q.que", "1,scale response,a,none,,1\n2,scale response,b,none,,1\n"
                       "3,scale response,c,none,(a),1\n4,scale response,d,none,,1\n5,scale "
                       "response,e,none,,1\n");
        QVERIFY(Start("a,1,q.que,0\n"));
        QCOMPARE(m_host.calls.last(), "item a");
        EndItem("D"); // a jump matches without regard to case, past b and the omitted c
        QCOMPARE(m_host.calls.last(), "item d");
        QCOMPARE(m_state->Questions[2].Answered, False); // passed over, not shown
        m_state->GoingBack = True;
        EndItem("none");
        QCOMPARE(m_host.calls.last(), "item a"); // back to what was shown before, not to c
        EndItem("none");
        QCOMPARE(m_host.calls.last(), "item b");
        EndItem("e");
        QCOMPARE(m_host.calls.last(), "item e");
        EndItem("none");
        QVERIFY(m_driver->RunEnded());
        const QByteArray order = ReadAll(Path("data/byquestionnaire/question_order.csv"));
        QVERIFY(order.contains(",q.que,a,d,a,b,e\r\n"));
    }

    void aJumpToAnUnknownNameRunsToTheEnd() {
        m_host.itemTypes << "scale response";
        Items("q.que", "1,scale response,a,none,,0\n2,scale response,b,none,,0\n");
        QVERIFY(Start("a,1,q.que,0\n"));
        EndItem("nowhere");
        QVERIFY(m_driver->RunEnded());
        QCOMPARE(m_host.calls.count("item b"), 0);
    }

    void operatorKeys() {
        m_host.itemTypes << "scale response";
        Items(
            "q.que",
            "1,scale response,a,none,,0\n2,scale response,b,none,,0\n3,scale response,c,none,,0\n");
        QVERIFY(Start("a,1,q.que,0\na,2,q.que,0\n"));
        m_driver->OperatorKeys(true, false); // pass the item over
        QCOMPARE(m_host.calls.last(), "item b");
        m_driver->OperatorKeys(false, true); // abandon the questionnaire
        QCOMPARE(m_host.calls.last(), "item a");
        m_driver->OperatorKeys(false, false); // Right Arrow alone does nothing
        QCOMPARE(m_host.calls.last(), "item a");
        m_driver->OperatorKeys(true, true); // end the run, data written
        QVERIFY(m_driver->RunEnded());
        QVERIFY(m_host.calls.contains("data by questionnaire"));
    }

    void endingsStoreResponsesAndTimes() {
        m_host.itemTypes << "scale response";
        Items("q.que", "1,scale response,a,none,,1\n2,scale response,b,none,,1\n");
        QVERIFY(Start("a,1,q.que,0\n"));
        auto& clock = static_cast<VirtualRunClock&>(m_state->Clock());
        m_state->ItemStart = clock.Now();
        clock.Advance(640);
        m_state->ItemEnd = clock.Now();
        m_driver->EndItem("3", "none");
        QCOMPARE(m_state->Responses().Value(1, 1, 1), "3");
        QCOMPARE(m_state->Responses().Time(1, 1, 1), 640);
        m_driver->GoBack(); // nothing stored for b; a comes again
        QCOMPARE(m_host.calls.last(), "item a");
        QCOMPARE(m_state->Responses().Time(1, 2, 1), 0);
        m_state->ItemStart = clock.Now();
        m_state->ItemEnd = clock.Now() + 90;
        m_driver->EndItem("5", "none"); // answered anew: the last response stands
        QCOMPARE(m_state->Responses().Value(1, 1, 1), "5");
        QCOMPARE(m_state->Responses().Time(1, 1, 1), 90);
    }

    // A form that stays up over the next item goes as the step after that begins.
    void theOverlayGoesAfterTheItemThatFollowsIt() {
        m_host.itemTypes << "scale response";
        Items("q.que", "1,scale response,a,none,,0\n2,scale response,b,none,,0\n"
                       "3,scale response,c,none,,0\n4,scale response,d,none,,0\n");
        QVERIFY(Start("a,1,q.que,0\n"));
        m_state->OnLineUp = True;
        m_state->OnLineEndStep = qint16(m_state->QuestionStep + 2);
        EndItem("none");
        QCOMPARE(m_host.calls.last(), "item b");
        EndItem("none");
        QCOMPARE(m_host.calls.mid(m_host.calls.size() - 2),
                 (QStringList{"overlay gone", "item c"}));
        QVERIFY(!IsTrue(m_state->OnLineUp));
        EndItem("none");
        QCOMPARE(m_host.calls.count("overlay gone"), 1);
    }

    void aStalledClockFiresEachTimerOnceAtTheEnd() {
        VirtualRunClock clock(0);
        QList<qint32> ticks;
        QList<qint32> once;
        const auto every = clock.Every(100, [&] { ticks << clock.Now(); });
        const auto after = clock.After(250, [&] { once << clock.Now(); });
        clock.Advance(200);
        clock.Stall(1000); // held from 200 to 1200
        clock.Advance(250);
        QCOMPARE(ticks, (QList<qint32>{100, 200, 1200, 1300, 1400}));
        QCOMPARE(once, (QList<qint32>{1200}));
    }

    void questionnaireLimitEndsTheQuestionnaire() {
        m_host.itemTypes << "scale response";
        Items("q.que", "1,scale response,a,none,,0\n2,scale response,b,none,,0\n");
        Items("r.que", "1,scale response,r1,none,,0\n");
        QVERIFY(Read("Condition,position,file,Parameters\na,1,q.que,(d-3)\na,2,r.que,\n"));
        Begin();
        QVERIFY(m_host.calls.contains("timer")); // a negative limit shows the countdown
        auto& clock = static_cast<VirtualRunClock&>(m_state->Clock());
        clock.Advance(3000);
        QCOMPARE(m_host.calls.last(), "item a"); // not beyond the limit yet
        clock.Advance(1000);
        QCOMPARE(m_boxes.last().text, ""); // message 107 is empty in this program folder
        QCOMPARE(m_host.calls.mid(m_host.calls.size() - 2), (QStringList{"unload", "item r1"}));
    }

    void timeStampsCountFromTheRunAndTheFormerRow() {
        Items("q.que", "1,scale response,a,none,,0\n");
        QVERIFY(Start("a,1,q.que,0\n"));
        auto& clock = static_cast<VirtualRunClock&>(m_state->Clock());
        m_state->Questions = RunState::EmptyQuestions(1);
        m_state->Questions[1].VariableName = "a";
        m_state->CurrentQuestion = 1;
        const qint32 start = clock.Now();
        m_state->RunStart = start;
        m_state->LastStamp = start;
        clock.Advance(250);
        AppendTimeStamp(*m_state, "10:00:00");
        clock.Advance(100);
        AppendTimeStamp(*m_state, "10:00:01");
        QCOMPARE(ReadAll(Path("data/timestamps.csv")),
                 QByteArray("s7,a,10:00:00,250,250\r\ns7,a,10:00:01,350,100\r\n"));
    }

    void repeatedSessionsAskForTheNext() {
        Items("q.que", "1,scale response,a,none,,0\n");
        QVERIFY(Read("Condition,position,file\na,1,q.que\n"));
        m_state->RepeatSessions = True;
        m_state->ExitPassword = "secret";
        Begin();
        QCOMPARE(m_boxes.last().text, "Begin next session?");
        QCOMPARE(m_boxes.last().buttons, BoxButtons::YesNo);
        QCOMPARE(m_state->NextSessionAccepted, True);
        QCOMPARE(m_host.calls.last(), "next session");
        QVERIFY(m_host.calls.indexOf("password") < m_host.calls.indexOf("launcher"));
    }
};

QTEST_GUILESS_MAIN(TestRunDriver)
#include "test_run_driver.moc"
