// The files a run leaves for others to read: question_order.csv, added to at the end of each run,
// and CurrentSubjectInfo.txt, rewritten at the start of each.
#include "engine/order_log.h"
#include "engine/subject_info.h"

#include <QtTest>

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

    // --- question_order.csv ----------------------------------------------------------------------
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
        QFile file(blocker);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();

        OrderLog log;
        RunThreeFiles(log);
        QVERIFY(!log.AppendTo(blocker));
        QVERIFY(!log.AppendTo(QDir(m_dir.path()).filePath("missing/folder")));
        QCOMPARE(log.Text().toLatin1(), kThreeFiles);

        log.Clear();
        QVERIFY(log.OrderHeader.isEmpty());
        QVERIFY(log.OrderLines.isEmpty());
    }

    // --- CurrentSubjectInfo.txt
    // -------------------------------------------------------------------
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
};

QTEST_GUILESS_MAIN(TestRunLogs)
#include "test_run_logs.moc"
