// The files a run leaves for others to read: question order, current subject, browser log.
#include "engine/order_log.h"
#include "engine/subject_info.h"
#include "output/browser_log.h"
#include "state/run_state.h"

#include <QtTest>
#include <unistd.h>

using namespace corvane;

namespace {

QByteArray Contents(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return "<cannot be read>";
    return file.readAll();
}

// Byte for byte, with both texts shown when they differ.
bool SameBytes(const QByteArray& got, const QByteArray& expected) {
    if (got == expected)
        return true;
    qWarning().noquote() << "got:     " << got.toPercentEncoding(" ,:.()");
    qWarning().noquote() << "expected:" << expected.toPercentEncoding(" ,:.()");
    return false;
}

bool Touch(const QString& path, const QByteArray& bytes = {}) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Three files, the first and last questionnaires, as in one run.
void RunThreeFiles(OrderLog& log) {
    log.StartFile("S1", "C1", "10:00:00", "a.que", true);
    log.AddItem("x");
    log.AddItem("y");
    log.StartFile("S1", "C1", "10:00:03", "pic.bmp", false);
    log.StartFile("S1", "C1", "10:00:05", "b.que", true);
    log.AddItem("z");
}

const QByteArray kThreeFiles = "S1,C1,10:00:00,a.que,pic.bmp,b.que\r\n"
                               "S1,C1,10:00:00,a.que,x,y\r\n"
                               "S1,C1,10:00:05,b.que,z\r\n";

} // namespace

class TestRunLogs : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

    QString Folder(const QString& name) {
        const QString path = QDir(m_dir.path()).filePath(name);
        QDir().mkpath(path);
        return path;
    }

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void orderIsAppendedRunAfterRun() {
        const QString folder = Folder("order");
        OrderLog log;
        RunThreeFiles(log);
        QCOMPARE(log.Text().toLatin1(), kThreeFiles);
        QVERIFY(log.AppendTo(folder));
        QVERIFY(log.OrderHeader.isEmpty());
        QVERIFY(log.OrderLines.isEmpty());
        const QString csv = QDir(folder).filePath("question_order.csv");
        QVERIFY(SameBytes(Contents(csv), kThreeFiles));

        RunThreeFiles(log);
        QVERIFY(log.AppendTo(folder));
        QVERIFY(SameBytes(Contents(csv), kThreeFiles + kThreeFiles));
    }

    void goingBackRepeatsTheName() {
        const QString folder = Folder("back");
        OrderLog log;
        log.StartFile("S2", "C3", "09:15:00", "a.que", true);
        log.AddItem("q1");
        log.StartFile("S2", "C3", "09:15:20", "b.que", true);
        log.AddItem("q2");
        log.StartFile("S2", "C3", "09:15:30", "a.que", true); // back to the first
        log.AddItem("q1");
        log.StartFile("S2", "C3", "09:15:40", "b.que", true);
        log.AddItem("q2");
        QVERIFY(log.AppendTo(folder));
        QVERIFY(SameBytes(Contents(QDir(folder).filePath("question_order.csv")),
                          "S2,C3,09:15:00,a.que,b.que,a.que,b.que\r\n"
                          "S2,C3,09:15:00,a.que,q1\r\n"
                          "S2,C3,09:15:20,b.que,q2\r\n"
                          "S2,C3,09:15:30,a.que,q1\r\n"
                          "S2,C3,09:15:40,b.que,q2\r\n"));
    }

    void unwritableOrderFileKeepsTheLog() {
        // A file where the folder should be: nothing can be made inside it, even as root.
        const QString blocker = QDir(m_dir.path()).filePath("blocker");
        QVERIFY(Touch(blocker));

        OrderLog log;
        RunThreeFiles(log);
        QVERIFY(!log.AppendTo(blocker));
        QVERIFY(!log.AppendTo(QDir(m_dir.path()).filePath("missing/folder")));
        QCOMPARE(log.Text().toLatin1(), kThreeFiles);
    }

    void subjectInfoIsRewrittenWhole() {
        const QString folder = Folder("program");
        const QString path = QDir(folder).filePath("CurrentSubjectInfo.txt");
        auto expected = [](const QByteArray& subject, const QByteArray& condition) {
            return "Subject   " + subject + "\r\n" + "Condition " + condition + "\r\n" +
                   "\r\n"
                   "This information is written at the beginning of every experimental run.\r\n"
                   "The purpose of this information is to allow other programs running at the\r\n"
                   "same time to access subject and condition IDs.\r\n"
                   "\r\n"
                   "The value for each variable always begins in the 11th column.\r\n";
        };

        QVERIFY(WriteCurrentSubjectInfo(folder, "S017", "high load"));
        QVERIFY(SameBytes(Contents(path), expected("S017", "high load")));

        // The next run replaces it, even with shorter IDs.
        QVERIFY(WriteCurrentSubjectInfo(folder, "2", "b"));
        QVERIFY(SameBytes(Contents(path), expected("2", "b")));
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList{"CurrentSubjectInfo.txt"});

        QVERIFY(!WriteCurrentSubjectInfo(QDir(m_dir.path()).filePath("no/such"), "S1", "C1"));
    }

    void browserRowFollowsTheStay_data() {
        QTest::addColumn<QString>("in");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QByteArray>("times"); // TimeIn, TimeOut, ViewTime; empty: no row
        QTest::newRow("seconds crossed, no leading zeros")
            << "2026-03-04T09:05:07.900"
            << "2026-03-04T09:05:09.100" << QByteArray("9:5:7\t9:5:9\t2");
        QTest::newRow("within one second") << "2026-03-04T09:05:07.100"
                                           << "2026-03-04T09:05:07.999" << QByteArray();
        QTest::newRow("a tenth across a second")
            << "2026-03-04T09:05:07.950"
            << "2026-03-04T09:05:08.050" << QByteArray("9:5:7\t9:5:8\t1");
        QTest::newRow("afternoon, an hour")
            << "2026-03-04T13:00:00.000"
            << "2026-03-04T14:00:00.000" << QByteArray("13:0:0\t14:0:0\t3600");
    }
    void browserRowFollowsTheStay() {
        QFETCH(QString, in);
        QFETCH(QString, out);
        QFETCH(QByteArray, times);
        RunState state;
        state.SubjectID = "S1";
        state.ConditionID = "c 2";
        const QDateTime from = QDateTime::fromString(in, Qt::ISODateWithMs);
        const auto row = BrowserLogRow(state, "http://127.0.0.1/a.htm", from,
                                       QDateTime::fromString(out, Qt::ISODateWithMs));
        if (times.isEmpty()) {
            QVERIFY(!row);
            return;
        }
        QVERIFY(row);
        QString date = QLocale::system().toString(from.date(), QLocale::ShortFormat).trimmed();
        const QByteArray expected =
            "S1\tc 2\thttp://127.0.0.1/a.htm\t" + date.toUtf8() + "\t" + times + "\t\r\n";
        QVERIFY(SameBytes(row->toUtf8(), expected));
    }

    void browserHeaderIsWrittenOnce() {
        const QString path = Folder("browser") + "/track.txt";
        const QByteArray header = "Subject\tCond\tURL\tDate\tTimeIn\tTimeOut\tViewTime\r\n";
        QVERIFY(PrepareBrowserLog(path));
        QVERIFY(AppendBrowserLogRow(path, "r1\t\r\n"));
        // A second item, or a second run, finds the first line full and leaves it.
        QVERIFY(PrepareBrowserLog(path));
        QVERIFY(AppendBrowserLogRow(path, "r2\t\r\n"));
        QVERIFY(SameBytes(Contents(path), header + "r1\t\r\nr2\t\r\n"));
        // A blank file is given its header.
        const QString blank = Folder("browser") + "/blank.txt";
        QVERIFY(Touch(blank, "\r\n"));
        QVERIFY(PrepareBrowserLog(blank));
        QVERIFY(SameBytes(Contents(blank), header));
    }

    void browserLogThatCantBeWrittenIsTold() {
        if (::geteuid() == 0)
            QSKIP("root writes to read-only files; the fault can't be made");
        const QString path = Folder("locked") + "/track.txt";
        QVERIFY(PrepareBrowserLog(path));
        QFile::setPermissions(path, QFileDevice::ReadOwner);
        QVERIFY(!AppendBrowserLogRow(path, "r\t\r\n"));
        QVERIFY(
            BrowserLogLockedText(path).startsWith("The file " + path + " is open for editing."));
    }

    void browserLogInAFolderThatCantBeMadeIsTold() {
        // A file where the folder should be: the log can neither be made nor appended to.
        const QString blocker = Folder("blocked") + "/data";
        QVERIFY(Touch(blocker));
        QVERIFY(!PrepareBrowserLog(blocker + "/track.txt"));
        QVERIFY(!AppendBrowserLogRow(blocker + "/track.txt", "r\t\r\n"));
        QCOMPARE(BrowserLogLockedText("/x/t.txt"),
                 "The file /x/t.txt is open for editing.  Data can not be written to this file "
                 "unless it is closed.");
    }
};

QTEST_GUILESS_MAIN(TestRunLogs)
#include "test_run_logs.moc"
