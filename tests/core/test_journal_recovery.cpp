// Recovery of runs that did not end: golden records from the journal, nothing written twice.
#include "definitions/experiment_loader.h"
#include "engine/order_log.h"
#include "output/data_by_questionnaire.h"
#include "output/data_by_variable.h"
#include "output/questionnaire_syntax.h"
#include "output/recovery.h"
#include "output/run_journal.h"
#include "output_study.h"
#include "recording_boxes.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

DataOutputSettings Settings(const QString& time) {
    return DataOutputSettings{QString(), "default.cvp", "03/02/2024", time};
}

// Boxes answered No.
class NoBoxes : public MessageBoxes {
public:
    explicit NoBoxes(QList<MessageBox>* shown) : m_shown(shown) {}
    BoxAnswer Show(const MessageBox& box) override {
        m_shown->append(box);
        return box.buttons == BoxButtons::YesNo ? BoxAnswer::No : box.defaultAnswer;
    }
    std::optional<QString> Input(const QString&, const QString&, const QString&) override {
        return std::nullopt;
    }

private:
    QList<MessageBox>* m_shown;
};

} // namespace

class TestJournalRecovery : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<MessageBox> m_boxes;
    std::unique_ptr<RunState> m_launcher;

    QString Root() const { return m_dir->path(); }
    QString Path(const QString& relative) const { return QDir(Root()).filePath(relative); }

    void MakeStudy() { MakeOutputStudy(Root()); }

    std::unique_ptr<RunState> Load(const QString& subject, const QString& condition,
                                   const DataOutputSettings& settings) {
        return LoadForOutput(Root(), &m_boxes, subject, condition, settings);
    }

    // A run that is killed after its answers: its journal is all that is left of it.
    QString KilledRun(const QString& subject, const QString& condition, const QString& time,
                      const std::function<void(RunState&)>& answer) {
        auto state = Load(subject, condition, Settings(time));
        auto journal = RunJournal::Begin(*state, Settings(time));
        if (!journal)
            return QString();
        answer(*state);
        return journal->Path();
    }

    // The run state of the program that finds the journal, a fresh one each time.
    RunState& Launcher() {
        m_launcher = std::make_unique<RunState>();
        m_launcher->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
        return *m_launcher;
    }

    static int Count(const QByteArray& text, const QByteArray& what) {
        return int(text.count(what));
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_boxes.clear();
        MakeStudy();
    }

    void cleanup() { QDir::setCurrent(QDir::tempPath()); }

    void recoveredRunsLeaveTheGoldenFiles() {
        const QString first = KilledRun("s1", "1", "09:15:07", AnswerFirstRun);
        QVERIFY(!first.isEmpty());
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{first});
        QDir::setCurrent(QDir::tempPath());
        RecoveryResult result = RecoverRun(Launcher(), first);
        QVERIFY2(result.recovered, qPrintable(result.problem));
        QCOMPARE(QDir::currentPath(), QDir(QDir::tempPath()).canonicalPath());
        QCOMPARE(result.responses, 9);
        QCOMPARE(result.times, 9);
        QCOMPARE(result.journal, Path("data/recovered/" + QFileInfo(first).fileName()));
        QVERIFY(QFile::exists(result.journal));
        QVERIFY(!QFile::exists(first));

        const QString second = KilledRun("s2", "2", "10:01:59", AnswerSecondRun);
        result = RecoverRun(Launcher(), second);
        QVERIFY2(result.recovered, qPrintable(result.problem));
        for (const MessageBox& box : m_boxes)
            qWarning("box: %s", qPrintable(box.text));
        QVERIFY(m_boxes.isEmpty());

        const QString golden = QString(CORVANE_FIXTURES) + "/output/golden/";
        const QStringList files{"byquestionnaire/study.txt", "byquestionnaire/study.csv",
                                "byquestionnaire/study.sps", "byvariablename/study.txt",
                                "byvariablename/study.csv",  "byvariablename/study.sps"};
        for (const QString& file : files) {
            QByteArray expected = ReadAll(golden + file);
            QVERIFY2(!expected.isEmpty(), qPrintable(golden + file));
            expected.replace("{root}", Root().toUtf8());
            QVERIFY2(ReadAll(Path("data/" + file)) == expected, qPrintable(file));
        }
        QVERIFY(FindUnfinishedRuns(Root()).isEmpty());
        QCOMPARE(QDir(RecoveredFolder(Root())).entryList({"*.journal"}, QDir::Files).size(), 2);
    }

    void theReplayFillsTheTablesAsStored() {
        auto original = Load("s3", "2", Settings("11:00:00"));
        auto journal = RunJournal::Begin(*original, Settings("11:00:00"));
        QVERIFY(journal);
        AnswerSecondRun(*original);
        Answer(*original, 2, 1, 1, "3", 2500); // answered again after going back
        // An answer specified in words makes its column text, as the scale item does.
        VariableColumn column = original->Variables.Column(2, 5, 1);
        QCOMPARE(column.type, qint16(0));
        column.type = 1;
        original->Variables.SetColumn(2, 5, 1, column);
        Answer(*original, 2, 5, 1, "something else", 640);
        const QString path = journal->Path();
        journal.reset();

        auto reloaded = Load("s3", "2", Settings("11:00:00"));
        const auto contents = ReadJournal(path);
        QVERIFY(contents);
        QString problem;
        QVERIFY2(ReplayJournal(*reloaded, *contents, &problem), qPrintable(problem));
        int cells = 0;
        for (int q = 1; q <= original->NumQuestionnaires; ++q) {
            for (int i = 1; i <= original->Variables.ItemCount(q); ++i) {
                for (int k = 1; k <= original->Variables.VariableCount(q, i).value_or(0); ++k) {
                    QCOMPARE(reloaded->Responses().Value(q, i, k),
                             original->Responses().Value(q, i, k));
                    QCOMPARE(reloaded->Responses().Time(q, i, k),
                             original->Responses().Time(q, i, k));
                    QCOMPARE(reloaded->Variables.Column(q, i, k).type,
                             original->Variables.Column(q, i, k).type);
                    ++cells;
                }
            }
        }
        QVERIFY(cells > 20);
        QCOMPARE(reloaded->Responses().Value(2, 1, 1), "3");
        QCOMPARE(reloaded->Responses().Time(2, 1, 1), 2500);
        QCOMPARE(reloaded->Variables.Column(2, 5, 1).type, qint16(1));
    }

    void aChangedExperimentIsNotRecovered() {
        const QString path = KilledRun("s4", "1", "12:00:00", AnswerFirstRun);
        const QByteArray before = ReadAll(Path("data/byquestionnaire/study.txt"));
        MakeDefinition(Root(), "alpha.que",
                       kItemsHeader + "1,Scale Response,mood,,1,0,0\n"
                                      "2,Fill-in-the-Blank,surname,,1,0,1\n");
        const RecoveryResult result = RecoverRun(Launcher(), path);
        QVERIFY(!result.recovered);
        QVERIFY2(result.problem.startsWith("the experiment has changed since the run"),
                 qPrintable(result.problem));
        QVERIFY(QFile::exists(path));
        QCOMPARE(ReadAll(Path("data/byquestionnaire/study.txt")), before);
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{path});

        QFile::remove(Path("study.exp"));
        const RecoveryResult gone = RecoverRun(Launcher(), path);
        QVERIFY(!gone.recovered);
        QVERIFY2(gone.problem.contains("is no longer there"), qPrintable(gone.problem));
    }

    // Killed in or after a record: only a file that lacks the record gets it, once.
    void aRecordCutShortOfItsSecondFileIsCompleted_data() {
        QTest::addColumn<bool>("txtWritten");
        QTest::addColumn<bool>("csvWritten");
        QTest::addColumn<bool>("failedBefore");
        QTest::newRow("in the .txt only") << true << false << false;
        QTest::newRow("in the .csv only") << false << true << false;
        QTest::newRow("after a failed attempt") << true << false << true;
        QTest::newRow("in both, before the journal heard") << true << true << false;
    }

    void aRecordCutShortOfItsSecondFileIsCompleted() {
        QFETCH(bool, txtWritten);
        QFETCH(bool, csvWritten);
        QFETCH(bool, failedBefore);
        QString path;
        {
            auto state = Load("s6", "1", Settings("13:30:00"));
            auto journal = RunJournal::Begin(*state, Settings("13:30:00"));
            QVERIFY(journal);
            path = journal->Path();
            AnswerFirstRun(*state);
            state->ExperimentFileName = "study";
            RecordTargets half;
            half.txt = txtWritten;
            half.csv = csvWritten;
            if (failedBefore) {
                journal->WriteRecord(RecordKind::ByQuestionnaire, QString(), [&] {
                    WriteDataByQuestionnaire(*state, Settings("13:30:01"), half);
                    return false;
                });
            }
            // A later attempt notes the files as they are now, and is cut short.
            journal->NoteWriting(RecordKind::ByQuestionnaire, QString());
            if (!failedBefore)
                QVERIFY(WriteDataByQuestionnaire(*state, Settings("13:30:01"), half));
        }
        const RecoveryResult result = RecoverRun(Launcher(), path);
        QVERIFY2(result.recovered, qPrintable(result.problem));
        QVERIFY2(result.note.isEmpty(), qPrintable(result.note));
        const QByteArray txt = ReadAll(Path("data/byquestionnaire/study.txt"));
        const QByteArray csv = ReadAll(Path("data/byquestionnaire/study.csv"));
        QCOMPARE(Count(txt, "'s6','1','"), 1);
        QCOMPARE(Count(csv, "\r\ns6,1,"), 1);
        // The file that had it keeps the run's own time; the other gets the journal's.
        QCOMPARE(txt.contains("','13:30:01'\r\n"), txtWritten);
        QCOMPARE(csv.contains(",13:30:01,"), csvWritten);
        QCOMPARE(Count(ReadAll(Path("data/byvariablename/study.txt")), "'s6','1','"), 1);
        QCOMPARE(Count(ReadAll(Path("data/byvariablename/study.csv")), "\r\ns6,1,"), 1);
        QVERIFY(FindUnfinishedRuns(Root()).isEmpty());
    }

    // Cut short between the line end before a row by variable and the row: no empty line later.
    void aRowByVariableCutShortAfterItsLineEndGetsNoEmptyLine_data() {
        QTest::addColumn<bool>("earlierRecord");
        QTest::newRow("after an earlier record") << true;
        QTest::newRow("in a new file") << false;
    }

    void aRowByVariableCutShortAfterItsLineEndGetsNoEmptyLine() {
        QFETCH(bool, earlierRecord);
        const QString csvPath = Path("data/byvariablename/study.csv");
        if (earlierRecord) {
            auto state = Load("s5", "1", Settings("13:00:00"));
            AnswerFirstRun(*state);
            state->ExperimentFileName = "study";
            QVERIFY(WriteDataByQuestionnaire(*state, Settings("13:00:01")));
            QVERIFY(WriteDataByVariable(*state, Settings("13:00:01")));
        }
        QString path;
        {
            auto state = Load("s6", "1", Settings("13:30:00"));
            auto journal = RunJournal::Begin(*state, Settings("13:30:00"));
            QVERIFY(journal);
            path = journal->Path();
            AnswerFirstRun(*state);
            state->ExperimentFileName = "study";
            QVERIFY(journal->WriteRecord(RecordKind::ByQuestionnaire, QString(), [&] {
                return WriteDataByQuestionnaire(*state, Settings("13:30:01"));
            }));
            journal->NoteWriting(RecordKind::ByVariable, QString());
            QVERIFY(WriteVariableSyntax(*state, Settings("13:30:01"), MergeVariables(*state)));
        }
        const QByteArray before = ReadAll(csvPath);
        QVERIFY(before.endsWith("\r\n"));
        const RecoveryResult result = RecoverRun(Launcher(), path);
        QVERIFY2(result.recovered, qPrintable(result.problem));
        const QByteArray csv = ReadAll(csvPath);
        QVERIFY(!csv.contains("\r\n\r\n"));
        QVERIFY(csv.startsWith(before));
        QCOMPARE(Count(csv, "\r\ns6,1,"), 1);
        QCOMPARE(Count(csv, "\n"), Count(before, "\n"));
    }

    // A journal whose header points out of the experiment's data folders writes nothing.
    void aJournalCanNotSteerWritesElsewhere_data() {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("value");
        QTest::newRow("another data root") << "dataroot"
                                           << "elsewhere";
        QTest::newRow("a file name with a path") << "file"
                                                 << "../elsewhere/data/study.exp";
        QTest::newRow("a file name going up") << "file"
                                              << "..";
    }

    void aJournalCanNotSteerWritesElsewhere() {
        QFETCH(QString, field);
        QFETCH(QString, value);
        const QString path = KilledRun("s11", "1", "18:00:00", AnswerFirstRun);
        QVERIFY(QDir().mkpath(Path("elsewhere/data")));
        QByteArray bytes = ReadAll(path);
        const qsizetype end = bytes.indexOf('\n');
        QStringList fields = QString::fromUtf8(bytes.left(end)).split('\t');
        fields.removeLast(); // the check field
        for (QString& header : fields) {
            if (header.startsWith(field + "="))
                header = field + "=" + (field == "dataroot" ? Path(value) : value);
        }
        WriteBytes(path, JournalLine(fields) + bytes.mid(end + 1));
        QVERIFY(ReadJournal(path));

        const RecoveryResult result = RecoverRun(Launcher(), path, {Root()});
        QVERIFY(!result.recovered);
        QVERIFY2(result.problem.contains("nothing is written"), qPrintable(result.problem));
        QVERIFY(!QFile::exists(Path("data/byquestionnaire/study.txt")));
        QCOMPARE(QDir(Path("elsewhere/data")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
                 QStringList());
        QVERIFY(!QDir(Path("data/recovered")).exists());
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{path});
    }

    // A recovered run gets its order line once, and is listed with its start and items kept.
    void aRecoveredRunGetsItsOrderAndIsListed_data() {
        QTest::addColumn<bool>("orderWrittenBeforeKill");
        QTest::newRow("order not written") << false;
        QTest::newRow("order written before the kill") << true;
    }

    void aRecoveredRunGetsItsOrderAndIsListed() {
        QFETCH(bool, orderWrittenBeforeKill);
        QString path;
        QString started;
        QVERIFY(QDir().mkpath(Path("data/byquestionnaire")));
        WriteBytes(Path("data/byquestionnaire/question_order.csv"), "0,1,08:00:00,alpha.que\r\n");
        {
            auto state = Load("s12", "1", Settings("19:00:00"));
            auto journal = RunJournal::Begin(*state, Settings("19:00:00"));
            QVERIFY(journal);
            path = journal->Path();
            started = ReadJournal(path)->started;
            OrderLog order;
            order.Journal = journal.get();
            order.StartFile("s12", "1", "19:00:01", "alpha.que", true);
            order.AddItem("mood");
            Answer(*state, 1, 1, 1, "4", 900);
            order.AddItem("name");
            Answer(*state, 1, 2, 1, "Ann", 1200);
            if (orderWrittenBeforeKill) {
                state->ExperimentFileName = "study";
                journal->NoteWriting(RecordKind::Order, QString());
                QFile file(Path("data/byquestionnaire/question_order.csv"));
                QVERIFY(file.open(QIODevice::Append));
                file.write(order.Text().toUtf8());
            }
        }
        const RecoveryResult result = RecoverRun(Launcher(), path);
        QVERIFY2(result.recovered, qPrintable(result.problem + result.note));
        QCOMPARE(ReadAll(Path("data/byquestionnaire/question_order.csv")),
                 "0,1,08:00:00,alpha.que\r\n"
                 "s12,1,19:00:01,alpha.que\r\ns12,1,19:00:01,alpha.que,mood,name\r\n");
        const QList<QByteArray> listed = ReadAll(Path("data/recovered/recovered.csv")).split('\n');
        QCOMPARE(listed.size(), 3);
        QCOMPARE(listed[0], "subject,condition,started,recovered,items\r");
        const QList<QByteArray> row = listed[1].chopped(1).split(',');
        QCOMPARE(row.size(), 5);
        QCOMPARE(row[0], "s12");
        QCOMPARE(row[1], "1");
        QCOMPARE(QString(row[2]), started);
        QVERIFY(QDateTime::fromString(QString(row[3]), Qt::ISODate).isValid());
        QCOMPARE(row[4], "2");
        QVERIFY(FindUnfinishedRuns(Root()).isEmpty());
    }

    void onlyTheRecordThatFailedIsWrittenLater() {
        QString path;
        {
            auto state = Load("s7", "1", Settings("14:00:00"));
            auto journal = RunJournal::Begin(*state, Settings("14:00:00"));
            QVERIFY(journal);
            path = journal->Path();
            AnswerFirstRun(*state);
            state->ExperimentFileName = "study";
            journal->WriteRecord(RecordKind::ByQuestionnaire, QString(), [&] {
                return WriteDataByQuestionnaire(*state, Settings("14:00:09"));
            });
            journal->WriteRecord(RecordKind::ByVariable, QString(), [] { return false; });
            QVERIFY(!journal->Finish());
        }
        m_boxes.clear();
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{path});
        QVERIFY(OfferRecovery(Launcher(), path));
        QCOMPARE(m_boxes.size(), 2);
        QVERIFY(m_boxes[0].text.startsWith("Corvane found the responses of a run whose record "
                                           "could not be written to every data file: "));
        QCOMPARE(Count(ReadAll(Path("data/byquestionnaire/study.txt")), "'s7','1','"), 1);
        QCOMPARE(Count(ReadAll(Path("data/byvariablename/study.txt")), "'s7','1','"), 1);
        QVERIFY(FindUnfinishedRuns(Root()).isEmpty());
    }

    void theOperatorIsAskedYesOrNoWithYesByDefault() {
        const QString path = KilledRun("s8", "2", "15:00:00", AnswerSecondRun);
        RunState launcher;
        launcher.SetBoxes(std::make_unique<NoBoxes>(&m_boxes));
        QVERIFY(!OfferRecovery(launcher, path));
        QCOMPARE(m_boxes.size(), 1);
        const MessageBox& question = m_boxes[0];
        QCOMPARE(question.title, "Corvane");
        QCOMPARE(question.buttons, BoxButtons::YesNo);
        QCOMPARE(question.defaultAnswer, BoxAnswer::Yes);
        QCOMPARE(question.icon, BoxIcon::Question);
        QCOMPARE(question.text,
                 "Corvane found the responses of a run that did not end: participant s8, "
                 "condition 2, experiment 'study.exp', started 03/02/2024 at 15:00:00, 11 "
                 "responses stored. Write this participant's record to the data files with what "
                 "was collected? Anything not answered is written as 99. (No keeps the "
                 "responses, and Corvane asks again next time.)");
        // No: nothing written, the journal stays where it was.
        QVERIFY(!QFile::exists(Path("data/byquestionnaire/study.txt")));
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{path});

        m_boxes.clear();
        RunState& yes = Launcher();
        // The experiment as the program opened it.
        yes.ExperimentFile = Path("study.exp");
        yes.ExperimentFileName = "study.exp";
        yes.ExperimentFolder = Root();
        QCOMPARE(OfferRecoveries(yes, QString()), 1);
        QCOMPARE(m_boxes.size(), 2);
        QCOMPARE(m_boxes[1].icon, BoxIcon::Information);
        QVERIFY2(m_boxes[1].text.startsWith("The record of participant s8 has been written to "
                                            "the data files. The journal of the run is kept in '" +
                                            RecoveredFolder(Root())),
                 qPrintable(m_boxes[1].text));
        QVERIFY(ReadAll(Path("data/byquestionnaire/study.txt")).startsWith("'s8','2','"));
    }

    void aRunKilledBeforeItsFirstAnswerGivesMissingValues() {
        const QString path = KilledRun("s9", "1", "16:00:00", [](RunState&) {});
        const RecoveryResult result = RecoverRun(Launcher(), path);
        QVERIFY2(result.recovered, qPrintable(result.problem));
        QCOMPARE(result.responses, 0);
        const QList<QByteArray> lines = ReadAll(Path("data/byquestionnaire/study.txt")).split('\n');
        QCOMPARE(lines.value(0), "'s9','1','" + Path("study.exp").toUtf8() +
                                     "','default.cvp','03/02/2024','16:00:00'\r");
        QCOMPARE(lines.value(1), "'alpha'\r");
        // Every response of alpha is missing.
        const QList<QByteArray> fields = lines.value(2).chopped(1).split(',');
        QCOMPARE(fields.size(), 13); // mood, name, tlist_01 to tlist_10, feelingscore1
        for (const QByteArray& field : fields)
            QVERIFY2(field == "99" || field == "'99'", lines.value(2).constData());
    }

    void aFailureToReadTheExperimentIsSaid() {
        const QString path = KilledRun("s10", "2", "17:00:00", AnswerSecondRun);
        MakeDefinition(Root(), "study.exp", kExperimentHeader + "1,1,alpha.que,,,,0,0,\n");
        m_boxes.clear();
        QVERIFY(!OfferRecovery(Launcher(), path));
        QCOMPARE(m_boxes.size(), 2);
        QCOMPARE(m_boxes[1].icon, BoxIcon::Warning);
        QVERIFY2(m_boxes[1].text.startsWith(
                     "The record of participant s10 could not be written: the experiment can "
                     "not be read again: There does not appear to be a condition '2' in this "
                     "experiment. The journal stays in '" +
                     path + "'"),
                 qPrintable(m_boxes[1].text));
        QCOMPARE(FindUnfinishedRuns(Root()), QStringList{path});
    }
};

QTEST_GUILESS_MAIN(TestJournalRecovery)
#include "test_journal_recovery.moc"
