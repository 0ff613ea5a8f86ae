// The journal of a run: read back, cut or damaged lines, its lock, its end, when it is written.
#include "definition_fixtures.h"
#include "definitions/experiment_loader.h"
#include "engine/run_driver.h"
#include "failing_sync.h"
#include "output/recovery.h"
#include "output/run_journal.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QProcess>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kItemsHeader =
    "questionnumber,QuestionType,VariableName,Parameters,WriteData,WriteRT,WriteText\n";

void AppendBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    file.write(bytes);
}

DataOutputSettings Settings() {
    return DataOutputSettings{"A1", "default.cvp", "03/02/2024", "09:15:07"};
}

// Presents scale items and, at each, looks at the journal as it is on the disk at that moment.
class LookingHost : public RunHost {
public:
    std::function<void()> onPresent;
    void LoadPreferences(const QString&) override {}
    void SetSystemKeysLocked(bool) override {}
    void ShowRunScreen() override {}
    void UnloadTimerForm() override {}
    void ShowTimerForm() override {}
    void PlayBackgroundSound(const QString&) override {}
    bool PresentFile(FileKindClass, const FileEntry&) override { return false; }
    bool PresentItem(const Question& item) override {
        if (item.QuestionType != "scale response")
            return false;
        if (onPresent)
            onPresent();
        return true;
    }
    void UnloadCurrentForm() override {}
    void WriteDataByQuestionnaire() override {}
    void WriteDataByVariable() override {}
    void ShowPasswordForm() override {}
    void ReturnToLauncher() override {}
    void BeginNextSession() override {}
};

} // namespace

class TestJournal : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<MessageBox> m_boxes;

    QString Root() const { return m_dir->path(); }
    QString Path(const QString& relative) const { return QDir(Root()).filePath(relative); }

    void MakeStudy() {
        MakeDefinition(Root(), "alpha.que",
                       kItemsHeader + "1,Scale Response,mood,(p5),1,1,0\n"
                                      "2,Fill-in-the-Blank,name,,1,1,1\n"
                                      "3,Scale Response,calm,(p5),1,1,0\n");
        MakeDefinition(Root(), "beta.que", kItemsHeader + "1,Scale Response,sure,(p5),1,1,0\n");
        MakeDefinition(Root(), "study.exp",
                       "Condition,position,file\na,1,alpha.que\na,2,beta.que\nb,1,beta.que\n");
    }

    std::unique_ptr<RunState> Load(const QString& subject, const QString& condition = "a") {
        auto state = std::make_unique<RunState>();
        state->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
        state->SetRandom(std::make_unique<StandardRandomSource>(1));
        state->SetClock(std::make_unique<VirtualRunClock>());
        state->ExperimentFolder = Root();
        state->ExperimentFile = Path("study.exp");
        state->ExperimentFileName = "study.exp";
        state->DataRoot = Root();
        state->SubjectID = subject;
        state->ConditionID = condition;
        QDir::setCurrent(Root());
        ExperimentNeeds needs;
        const bool loaded = ReadExperimentInfo(*state, {}, needs);
        [&] { QVERIFY(loaded); }();
        return state;
    }

    QStringList Journals() const {
        return QDir(JournalFolder(Root())).entryList({"*.journal"}, QDir::Files);
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_boxes.clear();
        MakeStudy();
    }

    void cleanup() { QDir::setCurrent(QDir::tempPath()); }

    void storesAreWrittenAndReadBack() {
        auto state = Load("s/7 x");
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal);
        QCOMPARE(QFileInfo(journal->Path()).path(), Path("data/.journal"));
        // Characters that a name must not carry are replaced in the file name.
        QVERIFY2(QFileInfo(journal->Path()).fileName().startsWith("study-s_7_x-"),
                 qPrintable(journal->Path()));
        const QString awkward = "tab\there, line\r\nend \\ back\\t Zoë ✓";
        state->StoreResponse(1, 1, 1, "4");
        state->StoreResponseTime(1, 1, 1, 1234);
        state->StoreResponse(1, 2, 1, awkward);
        state->StoreResponseTime(1, 2, 1, -5);
        state->StoreResponse(1, 1, 1, "5"); // answered again after going back
        state->StoreResponse(2, 1, 1, "");

        QString problem;
        const auto contents = ReadJournal(journal->Path(), &problem);
        QVERIFY2(contents, qPrintable(problem));
        QCOMPARE(contents->experimentFile, Path("study.exp"));
        QCOMPARE(contents->experimentFileName, "study.exp");
        QCOMPARE(contents->experimentFolder, Root());
        QCOMPARE(contents->dataRoot, Root());
        QCOMPARE(contents->subject, "s/7 x");
        QCOMPARE(contents->condition, "a");
        QVERIFY(QDateTime::fromString(contents->started, Qt::ISODateWithMs).isValid());
        QCOMPARE(contents->settings.machineCode, "A1");
        QCOMPARE(contents->settings.inifile, "default.cvp");
        QCOMPARE(contents->settings.date, "03/02/2024");
        QCOMPARE(contents->settings.time, "09:15:07");
        QCOMPARE(contents->questionnaires, (QStringList{"", "alpha.que", "beta.que"}));
        QCOMPARE(contents->ignoredLines, 0);
        QCOMPARE(contents->ended, false);
        QCOMPARE(int(contents->entries.size()), 6);
        QCOMPARE(contents->ResponseCount(), 4);
        QCOMPARE(contents->TimeCount(), 2);

        const JournalEntry& first = contents->entries[0];
        QCOMPARE(first.q, 1);
        QCOMPARE(first.i, 1);
        QCOMPARE(first.k, 1);
        QCOMPARE(first.name, "mood");
        QCOMPARE(first.time, false);
        QCOMPARE(first.value, "4");
        QCOMPARE(first.type, qint16(0));
        QCOMPARE(contents->entries[1].time, true);
        QCOMPARE(contents->entries[1].ms, 1234);
        QCOMPARE(contents->entries[2].name, "name");
        QCOMPARE(contents->entries[2].value, awkward);
        QCOMPARE(contents->entries[2].type, qint16(1));
        QCOMPARE(contents->entries[3].ms, -5);
        QCOMPARE(contents->entries[4].value, "5");
        QCOMPARE(contents->entries[5].name, "sure");
        QCOMPARE(contents->entries[5].value, "");

        // One store, one line; the text has no raw line ends of its own.
        const QByteArray bytes = ReadAll(journal->Path());
        QCOMPARE(bytes.count('\n'), 1 + 2 + 6);
        QVERIFY(bytes.startsWith("CORVANE-JOURNAL\t1\texperiment="));
        QVERIFY(bytes.endsWith('\n'));
    }

    void aLineCutOffByAKillIsPassedOver() {
        auto state = Load("9");
        QString path;
        {
            auto journal = RunJournal::Begin(*state, Settings());
            QVERIFY(journal);
            path = journal->Path();
            state->StoreResponse(1, 1, 1, "2");
            state->StoreResponseTime(1, 1, 1, 700);
        }
        // The next store was being written when the run was killed.
        const QByteArray whole = JournalLine({"R", "1", "2", "1", "name", "1", "Pat"});
        AppendBytes(path, whole.left(whole.size() - 3));
        auto contents = ReadJournal(path);
        QVERIFY(contents);
        QCOMPARE(int(contents->entries.size()), 2);
        QCOMPARE(contents->ignoredLines, 1);
        QCOMPARE(contents->entries[1].ms, 700);

        // Even a cut that happens to leave a well-formed line without its end is not read.
        const QByteArray shorter = JournalLine({"T", "1", "2", "1", "name", "35"});
        QFile::resize(path, ReadAll(path).lastIndexOf('\n') + 1);
        AppendBytes(path, shorter.left(shorter.size() - 1));
        contents = ReadJournal(path);
        QCOMPARE(int(contents->entries.size()), 2);
        QCOMPARE(contents->ignoredLines, 1);

        // Reopened to note the writing of the record, the journal loses the cut line first.
        QString problem;
        auto reopened = RunJournal::Reopen(*state, path, &problem);
        QVERIFY2(reopened, qPrintable(problem));
        reopened->NoteWritten(RecordKind::ByQuestionnaire, true);
        reopened.reset();
        contents = ReadJournal(path);
        QCOMPARE(contents->ignoredLines, 0);
        QCOMPARE(int(contents->entries.size()), 2);
        QVERIFY(contents->writing[0].written);
    }

    void aDamagedLineIsPassedOverAndTheRestRead() {
        auto state = Load("9");
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal);
        state->StoreResponse(1, 1, 1, "2");
        state->StoreResponse(1, 3, 1, "4");
        state->StoreResponse(2, 1, 1, "5");
        QByteArray bytes = ReadAll(journal->Path());
        // A value changed on the disk: "4" becomes "1", and the check field no longer agrees.
        const qsizetype at = bytes.indexOf("calm\t0\t4\t");
        QVERIFY(at > 0);
        bytes[at + 7] = '1';
        WriteBytes(journal->Path(), bytes);
        const auto contents = ReadJournal(journal->Path());
        QVERIFY(contents);
        QCOMPARE(contents->ignoredLines, 1);
        QCOMPARE(int(contents->entries.size()), 2);
        QCOMPARE(contents->entries[1].value, "5");
    }

    void aFileThatIsNoJournalIsRefused() {
        QDir().mkpath(JournalFolder(Root()));
        const QString path = QDir(JournalFolder(Root())).filePath("x.journal");
        WriteBytes(path, "CORVANE-JOURNAL\t1\tsubject=1\n");
        QString problem;
        QVERIFY(!ReadJournal(path, &problem));
        QVERIFY(!problem.isEmpty());
        QVERIFY(FindUnfinishedRuns(Root()).isEmpty());
        WriteBytes(path, "");
        QVERIFY(!ReadJournal(path, &problem));
    }

    void aRunUnderWayIsNotTakenForOneThatDidNotEnd() {
        auto state = Load("3");
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal);
        const QString path = journal->Path();
        state->StoreResponse(1, 1, 1, "1");
        QVERIFY(FindUnfinishedRuns(Root()).isEmpty());
        QString problem;
        QVERIFY(!RunJournal::Reopen(*state, path, &problem));
        QCOMPARE(problem, "another Corvane is using it");

        journal.reset(); // the run is killed: its lock goes with it
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{path});
        QCOMPARE(FindUnfinishedRuns(Root(), Path("study.exp")), QStringList{path});
        QCOMPARE(FindUnfinishedRuns(Root(), Path("./study.exp")), QStringList{path});
        QVERIFY(FindUnfinishedRuns(Root(), Path("other.exp")).isEmpty());
        QCOMPARE(FindUnfinishedRunsOf(*state, QString()), QStringList{path});
        QCOMPARE(DataRootsOf(*state, "/elsewhere"), (QStringList{"/elsewhere/study", Root()}));
    }

    void unfinishedRunsComeOldestFirst() {
        QStringList paths;
        for (const QString subject : {"b", "a", "c"}) {
            auto state = Load(subject);
            auto journal = RunJournal::Begin(*state, Settings());
            QVERIFY(journal);
            paths << journal->Path();
            QTest::qWait(5); // start times a few milliseconds apart
        }
        QCOMPARE(FindUnfinishedRuns(Root()), paths);
    }

    void aRunThatEndsWithBothRecordsRemovesItsJournal() {
        auto state = Load("5");
        bool earlierHookCalled = false;
        state->ResponseStored = [&](const StoredResponse&) { earlierHookCalled = true; };
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal);
        const QString path = journal->Path();
        state->StoreResponse(1, 1, 1, "1");
        QVERIFY(earlierHookCalled); // what was connected before still hears of every store
        QVERIFY(journal->WriteRecord(RecordKind::ByQuestionnaire, "A1", [] { return true; }));
        QVERIFY(journal->WriteRecord(RecordKind::ByVariable, "A1", [] { return true; }));
        QVERIFY(journal->Finish());
        QVERIFY(!QFile::exists(path));
        QVERIFY(!QDir(JournalFolder(Root())).exists());
        QVERIFY(m_boxes.isEmpty());
        // The hook is given back.
        earlierHookCalled = false;
        journal.reset();
        state->StoreResponse(1, 1, 1, "2");
        QVERIFY(earlierHookCalled);
    }

    void aWriterThatFailsKeepsTheJournalAndSaysSo() {
        auto state = Load("6");
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal);
        const QString path = journal->Path();
        state->StoreResponse(1, 1, 1, "1");
        QVERIFY(journal->WriteRecord(RecordKind::ByQuestionnaire, "A1", [] { return true; }));
        QVERIFY(!journal->WriteRecord(RecordKind::ByVariable, "A1", [] { return false; }));
        QVERIFY(!journal->Finish());
        QVERIFY(QFile::exists(path));
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY(m_boxes[0].text.contains("could not be written to every data file (by "
                                         "questionnaire: written; by variable name: not written)"));
        QVERIFY(m_boxes[0].text.contains(path));
        const auto contents = ReadJournal(path);
        QVERIFY(contents);
        QVERIFY(contents->ended);
        QVERIFY(contents->writing[0].noted && contents->writing[0].written);
        QVERIFY(contents->writing[1].noted && contents->writing[1].failed);
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{path});
    }

    void theSizesOfTheDataFilesAreNotedBeforeARecord() {
        auto state = Load("6");
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal);
        state->ExperimentFileName = "study"; // as the run driver hands it to the writers
        QDir().mkpath(Path("data/byquestionnaire"));
        WriteBytes(Path("data/byquestionnaire/studyA1.txt"), "12345");
        const RecordFiles files = RecordFilesOf(*state, RecordKind::ByQuestionnaire, "A1 ");
        QCOMPARE(files.txt, Path("data/byquestionnaire/studyA1.txt"));
        QCOMPARE(files.csv, Path("data/byquestionnaire/studyA1.csv"));
        QCOMPARE(RecordFilesOf(*state, RecordKind::ByVariable, "").txt,
                 Path("data/byvariablename/study.txt"));
        journal->NoteWriting(RecordKind::ByQuestionnaire, "A1");
        const auto contents = ReadJournal(journal->Path());
        QVERIFY(contents->writing[0].noted);
        QCOMPARE(contents->writing[0].txtSize, 5);
        QCOMPARE(contents->writing[0].csvSize, 0);
        QVERIFY(!contents->writing[0].written && !contents->writing[0].failed);
    }

    void aDataFolderThatCanNotBeMadeSendsTheJournalToTheProgramFolder() {
        auto state = Load("6");
        WriteBytes(Path("data"), "a file where the data folder should be");
        ProgramFolder::SetPath(Path("program"));
        QVERIFY(RunJournal::Begin(*state, Settings())->Path().startsWith(Path("program/journal/")));
        QVERIFY(m_boxes.isEmpty());
        // With the program's folder blocked too, the run goes on with the journal in memory.
        WriteBytes(Path("blocked"), "a file where the program folder should be");
        ProgramFolder::SetPath(Path("blocked/program"));
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal && !journal->Kept() && journal->Path().isEmpty());
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY(m_boxes[0].text.startsWith("Corvane can not keep a journal of this run in '"));
        // Kept in memory, and written out as soon as a folder can take it.
        state->StoreResponse(1, 1, 1, "4");
        QCOMPARE(m_boxes.size(), 1);
        QFile::remove(Path("blocked"));
        state->StoreResponse(1, 3, 1, "2");
        QVERIFY(journal->Kept());
        QVERIFY(journal->Path().startsWith(Path("blocked/program/journal/")));
        QCOMPARE(m_boxes.size(), 2);
        QVERIFY2(m_boxes[1].text.endsWith("The journal, with every response so far, is now kept "
                                          "in '" +
                                          journal->Path() + "'."),
                 qPrintable(m_boxes[1].text));
        QCOMPARE(ReadJournal(journal->Path())->ResponseCount(), 2);
    }

    // A full disk mid-run: the whole journal moves to the program's folder at once, operator told.
    void aJournalThatFailsMidRunIsWrittenWholeElsewhere() {
        QVERIFY(QDir().mkpath(Path("data")));
        QProcess mount;
        mount.start("mount", {"-t", "tmpfs", "-o", "size=64k", "tmpfs", Path("data")});
        if (!mount.waitForFinished(10000) || mount.exitCode() != 0)
            QSKIP("a small file system can't be mounted here (needs root): no full disk to test");
        const auto unmount = qScopeGuard([&] { QProcess::execute("umount", {Path("data")}); });
        ProgramFolder::SetPath(Path("program"));
        auto state = Load("9");
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal && journal->Kept());
        const QString first = journal->Path();
        QVERIFY(first.startsWith(Path("data/.journal/")));
        state->StoreResponse(1, 1, 1, "4");
        state->StoreResponseTime(1, 1, 1, 800);
        QFile filler(Path("data/filler"));
        QVERIFY(filler.open(QIODevice::WriteOnly));
        const QByteArray block(4096, 'x');
        while (filler.write(block) == block.size() && filler.flush()) {
        }
        filler.close();
        QVERIFY(m_boxes.isEmpty());
        // The journal's last page of the disk fills with a few answers more.
        int stores = 0;
        while (m_boxes.isEmpty() && stores < 1000) {
            state->StoreResponse(1, 3, 1, QString(40, QChar('a' + stores % 26)));
            ++stores;
        }
        QCOMPARE(m_boxes.size(), 1); // at once, not at the end
        QVERIFY2(m_boxes[0].text.startsWith(
                     "Corvane could not add to the journal of this run in '" + first + "'"),
                 qPrintable(m_boxes[0].text));
        QVERIFY(journal->Kept());
        QVERIFY(journal->Path().startsWith(Path("program/journal/")));
        QVERIFY(!QFile::exists(first));
        state->StoreResponseTime(1, 3, 1, 650);
        const auto contents = ReadJournal(journal->Path());
        QVERIFY(contents);
        QCOMPARE(contents->ResponseCount(), 1 + stores);
        QCOMPARE(contents->entries[contents->entries.size() - 2].value,
                 QString(40, QChar('a' + (stores - 1) % 26)));
        QCOMPARE(contents->TimeCount(), 2);
        QCOMPARE(contents->subject, "9");
        QCOMPARE(contents->ignoredLines, 0);
        QCOMPARE(m_boxes.size(), 1);
        journal.reset();
    }

    // Failing flushes: the journal stays, the operator is told at once, the records still written.
    void aJournalWhoseSyncsFailKeepsItsLines() {
        ProgramFolder::SetPath(Path("program"));
        auto state = Load("8");
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal && journal->Kept());
        const QString first = journal->Path();
        state->StoreResponse(1, 1, 1, "4");
        QVERIFY(m_boxes.isEmpty());
        FailingDiskSync failing;
        state->StoreResponse(1, 3, 1, "2");
        QCOMPARE(m_boxes.size(), 1); // at once, not at the end
        QVERIFY2(
            m_boxes[0].text.startsWith(
                "Corvane could not confirm on the disk the journal of this run in '" + first + "'"),
            qPrintable(m_boxes[0].text));
        QVERIFY(!m_boxes[0].text.contains("kept in '"));
        QVERIFY(journal->Kept());
        QCOMPARE(journal->Path(), first);
        state->StoreResponseTime(1, 3, 1, 650);
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(ReadJournal(first)->ResponseCount(), 2);
        QCOMPARE(ReadJournal(first)->TimeCount(), 1);

        const QString data = Path("record.txt");
        auto writer = [&] {
            AppendFile file(data);
            return file.Open() == FileFault::None && file.Append("record\r\n") == FileFault::None;
        };
        QVERIFY(journal->WriteRecord(RecordKind::ByQuestionnaire, "A1", writer));
        QVERIFY(journal->WriteRecord(RecordKind::ByVariable, "A1", writer));
        QVERIFY(journal->RecordsWritten());
        QVERIFY(!journal->RecordsConfirmed());
        QCOMPARE(ReadAll(data), "record\r\nrecord\r\n");
        QVERIFY(!journal->Finish());
        QVERIFY(QFile::exists(first));
        QCOMPARE(m_boxes.size(), 2);
        QVERIFY2(m_boxes[1].text.startsWith("The record of participant 8 was written to the data "
                                            "files, but it could not be confirmed on the disk ("),
                 qPrintable(m_boxes[1].text));
        QVERIFY(m_boxes[1].text.contains(first));
        const auto contents = ReadJournal(first);
        QVERIFY(contents && contents->ended);
        QVERIFY(contents->writing[0].noted && !contents->writing[0].written);
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{first});
    }

    // Written when an item ends and before the next is presented; never while one is shown.
    void theJournalIsWrittenBetweenItemsOnly() {
        ProgramFolder::SetPath(Path("program"));
        QDir().mkpath(Path("program/styles"));
        WriteBytes(Path("program/styles/messages.txt"), "106,Done,closing\r\n");
        auto state = Load("8");
        auto journal = RunJournal::Begin(*state, Settings());
        QVERIFY(journal);
        const QString path = journal->Path();
        auto* clock = dynamic_cast<VirtualRunClock*>(&state->Clock());
        QVERIFY(clock);

        LookingHost host;
        QList<QByteArray> atPresent;
        QList<qint32> startOfItem;
        host.onPresent = [&] {
            atPresent << ReadAll(path);
            // What the form does on showing itself.
            state->ItemStart = state->Clock().Now();
            startOfItem << state->ItemStart;
        };
        RunDriver driver(*state, host);
        driver.StartExperiment();
        QCOMPARE(atPresent.size(), 1); // mood is on the screen

        const QList<int> answers{3, 1, 5};
        for (int n = 0; n < answers.size(); ++n) {
            const QByteArray shown = ReadAll(path);
            clock->Advance(250 + 100 * n);
            QCoreApplication::processEvents();
            // While the item is on the screen the journal doesn't change.
            QCOMPARE(ReadAll(path), shown);
            state->ItemEnd = state->Clock().Now();
            driver.EndItem(QString::number(answers[n]), "none");
            const auto contents = ReadJournal(path);
            QVERIFY(contents);
            QCOMPARE(int(contents->entries.size()), 2 * (n + 1));
            const JournalEntry& time = contents->entries.back();
            QCOMPARE(time.ms, state->ItemEnd - startOfItem[n]);
            QCOMPARE(contents->entries[std::size_t(2 * n)].value, QString::number(answers[n]));
            if (n + 1 == answers.size())
                break; // the last item ended the run
            // At the next item's presentation the store of this one is on the disk already.
            QCOMPARE(atPresent.size(), n + 2);
            const QByteArray line =
                JournalLine({"T", QString::number(time.q), QString::number(time.i), "1", time.name,
                             QString::number(250 + 100 * n)});
            QVERIFY2(atPresent[n + 1].endsWith(line), atPresent[n + 1].constData());
        }
        QVERIFY(driver.RunEnded());
        QCOMPARE(atPresent.size(), 3);
    }
};

QTEST_GUILESS_MAIN(TestJournal)
#include "test_journal.moc"
