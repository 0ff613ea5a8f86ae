// The data writers when files fight back: held files, a full disk, writes cut short, failed syncs.
#include "definitions/experiment_loader.h"
#include "failing_sync.h"
#include "output/data_by_questionnaire.h"
#include "output/data_by_variable.h"
#include "output/data_file.h"
#include "output/data_output.h"
#include "output/questionnaire_syntax.h"
#include "output_study.h"
#include "recording_boxes.h"
#include "state/run_state.h"

#include <QtTest>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace corvane;
using namespace corvane::test;

namespace {

// Holds a file as another program would: its own open description with the lock taken.
class HeldFile {
public:
    explicit HeldFile(const QString& path) {
        m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        m_locked = m_fd >= 0 && ::flock(m_fd, LOCK_EX | LOCK_NB) == 0;
    }
    ~HeldFile() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    bool Locked() const { return m_locked; }

private:
    int m_fd = -1;
    bool m_locked = false;
};

// Lets files grow to `limit` bytes only, for as long as it lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t limit) {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_saved);
        rlimit reduced = m_saved;
        reduced.rlim_cur = limit;
        m_set = ::setrlimit(RLIMIT_FSIZE, &reduced) == 0;
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &m_saved); }
    bool Set() const { return m_set; }

private:
    rlimit m_saved{};
    bool m_set = false;
};

// A child process (so its locks are another program's) that locks a file, appends a line, exits.
class LockingWriter {
public:
    enum class Kind { Flock, Fcntl };

    LockingWriter(const QString& path, Kind kind, int holdMs) {
        int ready[2];
        if (::pipe(ready) != 0)
            return;
        const QByteArray native = QFile::encodeName(path);
        m_child = ::fork();
        if (m_child == 0) {
            const int fd = ::open(native.constData(), O_RDWR | O_APPEND);
            struct flock whole {};
            whole.l_type = F_WRLCK;
            whole.l_whence = SEEK_SET;
            const bool locked =
                fd >= 0 && (kind == Kind::Flock ? ::flock(fd, LOCK_EX) == 0
                                                : ::fcntl(fd, F_SETLKW, &whole) == 0);
            const char signal = locked ? '1' : '0';
            [[maybe_unused]] auto sent = ::write(ready[1], &signal, 1);
            ::usleep(useconds_t(holdMs) * 1000);
            [[maybe_unused]] auto written = ::write(fd, "other program\r\n", 15);
            ::_exit(0);
        }
        char signal = '0';
        m_locked = m_child > 0 && ::read(ready[0], &signal, 1) == 1 && signal == '1';
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~LockingWriter() { Finish(); }
    bool Locked() const { return m_locked; }
    void Finish() {
        if (m_child > 0)
            ::waitpid(m_child, nullptr, 0);
        m_child = -1;
    }

private:
    pid_t m_child = -1;
    bool m_locked = false;
};

DataOutputSettings Settings(const QString& time) {
    return DataOutputSettings{QString(), "default.cvp", "03/02/2024", time};
}

} // namespace

class TestOutputFaults : public QObject {
    Q_OBJECT

    QList<MessageBox> m_boxes;
    std::unique_ptr<QTemporaryDir> m_dir;

    QString Root() const { return m_dir->path(); }
    QString Path(const QString& relative) const { return QDir(Root()).filePath(relative); }
    QString Bq(const QString& name) const { return Path("data/byquestionnaire/" + name); }
    QString Bv(const QString& name) const { return Path("data/byvariablename/" + name); }

    std::unique_ptr<RunState> Load(const QString& subject) {
        auto state = LoadForOutput(Root(), &m_boxes, subject, "1", Settings("00:00:00"), "lab.exp");
        state->StoreResponse(1, 1, 1, "3");
        state->StoreResponseTime(1, 1, 1, 750);
        state->StoreResponse(1, 2, 1, "why, not");
        return state;
    }

    static void EndOfRunName(RunState& state) {
        state.ExperimentFileName =
            state.ExperimentFileName.left(state.ExperimentFileName.size() - 4);
    }

    // A first participant whose records are on disk, and the second one loaded.
    std::unique_ptr<RunState> SecondParticipant() {
        auto first = Load("s1");
        EndOfRunName(*first);
        [&] {
            QVERIFY(WriteDataByQuestionnaire(*first, Settings("09:00:00")));
            QVERIFY(WriteDataByVariable(*first, Settings("09:00:00")));
        }();
        auto second = Load("s2");
        EndOfRunName(*second);
        return second;
    }

    QByteArray Snapshot() const {
        QByteArray all;
        for (const QString& path : {Bq("lab.txt"), Bq("lab.csv"), Bq("lab.sps"), Bv("lab.txt"),
                                    Bv("lab.csv"), Bv("lab.sps")})
            all += path.toUtf8() + ":\n" + ReadAll(path) + "\n";
        return all;
    }

    // True when the lock was taken and the writer said that it could not write.
    template <typename Writer> bool WriteWhileHeld(const QString& path, Writer write) {
        m_boxes.clear();
        HeldFile held(path);
        return held.Locked() && !write();
    }

    static QString InUse(const QString& file) {
        return "Can't write data to " + file +
               ". File is currently open or in use by another program.";
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_boxes.clear();
        MakeDefinition(Root(), "one.que",
                       kItemsHeader + "1,Scale Response,score,,1,1,0\n"
                                      "2,Essay,why,,1,0,1\n");
        MakeDefinition(Root(), "lab.exp", kExperimentHeader + "1,1,one.que,,,,0,0,\n");
    }

    void cleanup() { QDir::setCurrent(QDir::tempPath()); }

    void aHeldFileStopsTheRecord_data() {
        QTest::addColumn<bool>("byVariable");
        QTest::addColumn<QString>("held");
        QTest::addColumn<int>("boxes");
        QTest::addColumn<QString>("named");
        QTest::addColumn<QByteArray>("csvGrows");
        QTest::newRow("bq txt") << false << "lab.txt" << 1 << "lab.txt" << QByteArray();
        QTest::newRow("bq csv is named as the txt")
            << false << "lab.csv" << 1 << "lab.txt" << QByteArray();
        // The syntax step ran before: its line end stands.
        QTest::newRow("bv txt") << true << "lab.txt" << 1 << "lab.txt" << QByteArray("\r\n");
        // Once from the syntax step, once from the record.
        QTest::newRow("bv csv") << true << "lab.csv" << 2 << "lab.csv" << QByteArray();
    }
    void aHeldFileStopsTheRecord() {
        QFETCH(bool, byVariable);
        QFETCH(QString, held);
        QFETCH(int, boxes);
        QFETCH(QString, named);
        QFETCH(QByteArray, csvGrows);
        auto state = SecondParticipant();
        const auto file = [&](const QString& name) { return byVariable ? Bv(name) : Bq(name); };
        const QByteArray txt = ReadAll(file("lab.txt"));
        const QByteArray csv = ReadAll(file("lab.csv"));
        QVERIFY(WriteWhileHeld(file(held), [&] {
            return byVariable ? WriteDataByVariable(*state, Settings("10:00:00"))
                              : WriteDataByQuestionnaire(*state, Settings("10:00:00"));
        }));
        QCOMPARE(m_boxes.size(), boxes);
        for (const MessageBox& box : m_boxes) {
            QCOMPARE(box.text, InUse(named));
            QCOMPARE(box.title, state->MessageTitle());
            QCOMPARE(box.icon, BoxIcon::Information);
        }
        QCOMPARE(ReadAll(file("lab.txt")), txt);
        QCOMPARE(ReadAll(file("lab.csv")), csv + csvGrows);
        QCOMPARE(state->Responses().Value(1, 2, 1), "why, not");
    }

    void heldFilesWhenTheSyntaxIsWritten() {
        SecondParticipant();
        const QByteArray csv = ReadAll(Bq("lab.csv"));
        const QByteArray sps = ReadAll(Bq("lab.sps"));
        const QList<std::pair<QString, QString>> cases{
            {"lab.csv", InUse("lab.csv")},
            {"lab.sps",
             "Can't write data to lab.sps. File is currently open or in use by another program"}};
        for (const auto& [file, text] : cases) {
            m_boxes.clear();
            {
                HeldFile held(Bq(file));
                QVERIFY(held.Locked());
                Load("s3");
            }
            QCOMPARE(m_boxes.size(), 1);
            QCOMPARE(m_boxes[0].text, text);
            QCOMPARE(ReadAll(Bq("lab.csv")), csv);
            QCOMPARE(ReadAll(Bq("lab.sps")), sps);
            QCOMPARE(QDir::currentPath(), Root());
        }
    }

    void aFullDiskIsReportedAndTheOtherFileStillWritten() {
        if (!QFile::exists("/dev/full"))
            QSKIP("no /dev/full here");
        auto state = Load("s1");
        EndOfRunName(*state);
        QVERIFY(QFile::link("/dev/full", Bq("lab.txt")));
        m_boxes.clear();
        QVERIFY(!WriteDataByQuestionnaire(*state, Settings("10:00:00")));
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY2(m_boxes[0].text.startsWith("Corvane could not write this participant's record "
                                            "to '" +
                                            Bq("lab.txt") + "' ("),
                 qPrintable(m_boxes[0].text));
        QCOMPARE(m_boxes[0].icon, BoxIcon::Warning);
        QVERIFY(ReadAll(Bq("lab.csv"))
                    .endsWith("s1,1," + Path("lab.exp").toUtf8() +
                              ",default.cvp,03/02/2024,10:00:00,one,3,why  not,750"));
    }

    void aFileThatCantBeOpenedIsReportedAndTheOtherWritten() {
        auto state = Load("s1");
        EndOfRunName(*state);
        QVERIFY(QDir().mkpath(Bv("lab.txt"))); // a folder where the file belongs
        m_boxes.clear();
        QVERIFY(!WriteDataByVariable(*state, Settings("10:00:00")));
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY2(
            m_boxes[0].text.startsWith("Corvane could not open the file '" + Bv("lab.txt") + "' ("),
            qPrintable(m_boxes[0].text));
        QVERIFY(m_boxes[0].text.endsWith("), so this participant's record is not in it."));
        QVERIFY(ReadAll(Bv("lab.csv"))
                    .endsWith("\r\ns1,1," + Path("lab.exp").toUtf8() +
                              ",default.cvp,03/02/2024,10:00:00,3,why  not,750"));
    }

    void aWriteCutShortIsTakenBack() {
        auto state = SecondParticipant();
        const QByteArray before = Snapshot();
        const qint64 txtSize = QFileInfo(Bq("lab.txt")).size();
        QVERIFY(QFileInfo(Bq("lab.csv")).size() > txtSize + 10);
        m_boxes.clear();
        bool written = true;
        {
            // Room for ten more bytes of the .txt record, none for the .csv row.
            FileSizeLimit limit(rlim_t(txtSize + 10));
            QVERIFY(limit.Set());
            written = WriteDataByQuestionnaire(*state, Settings("10:00:00"));
        }
        QVERIFY(!written);
        QCOMPARE(Snapshot(), before);
        QCOMPARE(m_boxes.size(), 2);
        QVERIFY2(m_boxes[0].text.contains("'" + Bq("lab.txt") + "'"), qPrintable(m_boxes[0].text));
        QVERIFY(m_boxes[0].text.endsWith("The file is as it was before."));
        QVERIFY2(m_boxes[1].text.contains("'" + Bq("lab.csv") + "'"), qPrintable(m_boxes[1].text));

        // The same record goes in whole once there is room.
        m_boxes.clear();
        QVERIFY(WriteDataByQuestionnaire(*state, Settings("10:00:00")));
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(ReadAll(Bq("lab.txt"))
                    .endsWith("'s2','1','" + Path("lab.exp").toUtf8() +
                              "','default.cvp','03/02/2024','10:00:00'\r\n'one'\r\n3,'why  not'\r\n"
                              "750\r\n"));
    }

    void appendFileTakesBackAPartialWrite() {
        const QString path = Path("plain.txt");
        WriteBytes(path, "earlier record\r\n");
        AppendFile file(path);
        QCOMPARE(file.Open(), FileFault::None);
        FileFault fault = FileFault::None;
        {
            FileSizeLimit limit(20);
            QVERIFY(limit.Set());
            fault = file.Append(QByteArray(100, 'x'));
        }
        QCOMPARE(fault, FileFault::Failed);
        QVERIFY(!file.LeftPartial());
        QVERIFY(!file.Reason().isEmpty());
        QCOMPARE(file.Append("next\r\n"), FileFault::None);
        QVERIFY(file.Close());
        QCOMPARE(ReadAll(path), "earlier record\r\nnext\r\n");
    }

    // A flush that fails after the write leaves bytes that may still reach the disk: they stay,
    // and the file says that it could not confirm them.
    void aFailedSyncKeepsWhatWasWritten() {
        const QString path = Path("plain.txt");
        WriteBytes(path, "earlier record\r\n");
        AppendFile file(path);
        QCOMPARE(file.Open(), FileFault::None);
        const int before = UnconfirmedAppends();
        FileFault fault = FileFault::Failed;
        {
            FailingDiskSync failing;
            fault = file.Append("next\r\n");
        }
        QCOMPARE(fault, FileFault::None);
        QVERIFY(file.Unconfirmed());
        QCOMPARE(UnconfirmedAppends(), before + 1);
        QVERIFY(!LastUnconfirmedReason().isEmpty());
        QVERIFY(file.Close());
        QCOMPARE(ReadAll(path), "earlier record\r\nnext\r\n");
    }

    void aRecordWhoseSyncFailsIsStillWritten() {
        auto state = SecondParticipant();
        m_boxes.clear();
        bool written = false;
        bool writtenByVariable = false;
        const QByteArray syntax = ReadAll(Bv("lab.sps"));
        {
            FailingDiskSync failing;
            written = WriteDataByQuestionnaire(*state, Settings("10:00:00"));
            writtenByVariable = WriteDataByVariable(*state, Settings("10:00:00"));
        }
        QVERIFY(written);
        // The syntax written beside the file takes its place all the same.
        QVERIFY(writtenByVariable);
        QVERIFY(!syntax.isEmpty());
        QCOMPARE(ReadAll(Bv("lab.sps")), syntax);
        QCOMPARE(QDir(Bv("")).entryList({"*.new-*"}, QDir::Files), QStringList());
        QVERIFY(ReadAll(Bv("lab.txt")).contains("'s2','1','"));
        QVERIFY(ReadAll(Bq("lab.txt"))
                    .endsWith("'s2','1','" + Path("lab.exp").toUtf8() +
                              "','default.cvp','03/02/2024','10:00:00'\r\n'one'\r\n3,'why  not'\r\n"
                              "750\r\n"));
        QVERIFY(ReadAll(Bq("lab.csv")).contains("\ns2,1,"));
    }

    // A row by variable that can't be written takes the line end made for it along, so that the
    // record written later has no empty line before it.
    void aRowByVariableThatFailsTakesItsLineEndAlong() {
        auto state = SecondParticipant();
        const QByteArray before = ReadAll(Bv("lab.csv"));
        QVERIFY(!before.endsWith("\n"));
        {
            // Room for the line end, none for the row.
            FileSizeLimit limit(rlim_t(before.size() + 2));
            QVERIFY(limit.Set());
            QVERIFY(!WriteDataByVariable(*state, Settings("10:00:00")));
        }
        QCOMPARE(ReadAll(Bv("lab.csv")), before);
        QVERIFY(WriteDataByVariable(*state, Settings("10:00:00")));
        const QByteArray after = ReadAll(Bv("lab.csv"));
        QVERIFY(after.startsWith(before + "\r\ns2,1,"));
        QVERIFY(!after.contains("\r\n\r\n"));
    }

    void aRowLeftOpenIsNotGluedToTheNext() {
        // Two runs without a load between: the second row still starts a line of its own.
        auto state = Load("s1");
        EndOfRunName(*state);
        QVERIFY(WriteDataByQuestionnaire(*state, Settings("09:00:00")));
        state->SubjectID = "s2";
        QVERIFY(WriteDataByQuestionnaire(*state, Settings("09:30:00")));
        const QList<QByteArray> rows = ReadAll(Bq("lab.csv")).split('\n');
        QCOMPARE(rows.size(), 3);
        QVERIFY(rows[1].startsWith("s1,1,"));
        QVERIFY(rows[1].endsWith("750\r"));
        QVERIFY(rows[2].startsWith("s2,1,"));
        QVERIFY(rows[2].endsWith("750"));
    }

    void aRecordWaitsWhileAnotherProgramLocksTheFile_data() {
        QTest::addColumn<int>("kind");
        QTest::newRow("flock") << int(LockingWriter::Kind::Flock);
        QTest::newRow("fcntl") << int(LockingWriter::Kind::Fcntl);
    }
    void aRecordWaitsWhileAnotherProgramLocksTheFile() {
        QFETCH(int, kind);
        auto state = SecondParticipant();
        m_boxes.clear();
        bool written = false;
        {
            LockingWriter other(Bq("lab.csv"), LockingWriter::Kind(kind), 300);
            QVERIFY(other.Locked());
            written = WriteDataByQuestionnaire(*state, Settings("10:00:00"));
        }
        QVERIFY(written);
        QVERIFY(m_boxes.isEmpty());
        // The other program's line went in first, whole; the record follows on a line of its own.
        const QByteArray csv = ReadAll(Bq("lab.csv"));
        QVERIFY2(csv.contains(",750\r\nother program\r\ns2,1,"), csv.constData());
    }

    void countLinesAsASequentialRead() {
        WriteBytes(Path("empty"), "");
        WriteBytes(Path("one"), "\r\n");
        WriteBytes(Path("open"), "a\r\nb");
        QCOMPARE(CountLines(Path("missing")), 0);
        QCOMPARE(CountLines(Path("empty")), 0);
        QCOMPARE(CountLines(Path("one")), 1);
        QCOMPARE(CountLines(Path("open")), 2);
    }
};

QTEST_GUILESS_MAIN(TestOutputFaults)
#include "test_output_faults.moc"
