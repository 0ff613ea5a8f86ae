// The bundled demo, piloted by its own script as a new lab would first run it: every kind of
// item it holds is answered and lands in the data.
#include "unattended_process.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <algorithm>

using namespace corvane::test;

class TestDemoRun : public QObject {
    Q_OBJECT
private slots:
    void pilotScriptAnswersEveryItemOfConditionOne();
    void psppReadsTheDataLeavingOutTheMissingCode();
};

static QByteArray ReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Participant 5 in condition 1, piloted by the demo's script in `folder`.
static int RunDemo(const QTemporaryDir& folder) {
    const QDir demo(QFileInfo(CORVANE_TEMPLATE).dir().filePath("demo"));
    const QDir dir(folder.path());
    for (const char* name : {"demo.exp", "demo.que", "ratings.que"}) {
        if (!QFile::copy(demo.filePath(name), dir.filePath(name)))
            return -1;
    }
    const QString script = QStringLiteral(CORVANE_FIXTURES "/../../resources/demo/demo_script.txt");
    return RunCorvane(folder.path(), {dir.filePath("demo.exp"), "--subject", "5", "--condition",
                                      "1", "--script", script})
        .exitCode;
}

void TestDemoRun::pilotScriptAnswersEveryItemOfConditionOne() {
    QTemporaryDir folder;
    const QDir dir(folder.path());
    QCOMPARE(RunDemo(folder), 0);

    // The responses of the demo questionnaire in item order: the three scales drawn in random
    // order get the keys 4, 3, 5 in the order shown; then slept, hours, rested; the multiple
    // response with its typed option; the five ranks (a shuffle decides which label is where);
    // the age. The essay records no value.
    const QList<QByteArray> lines =
        ReadAll(dir.filePath("data/byquestionnaire/demo.txt")).split('\n');
    QVERIFY2(lines.size() >= 7, qPrintable(lines.join('|')));
    const QList<QByteArray> values = lines[2].trimmed().split(',');
    QCOMPARE(values.size(), 17);
    QList<QByteArray> scales = values.mid(0, 3);
    std::sort(scales.begin(), scales.end());
    QCOMPARE(scales, (QList<QByteArray>{"3", "4", "5"}));
    QCOMPARE(values.mid(3, 8).join(','), QByteArray("1,3,4,0,1,0,0,'Cooked dinner'"));
    QList<QByteArray> ranks = values.mid(11, 5);
    std::sort(ranks.begin(), ranks.end());
    QCOMPARE(ranks, (QList<QByteArray>{"1", "2", "3", "4", "5"}));
    QCOMPARE(values[16], QByteArray("34"));
    QCOMPARE(lines[5].trimmed(), QByteArray("4,2"));
    // The essay keeps its two lines in its own file.
    QVERIFY(ReadAll(dir.filePath("data/morning.txt"))
                .endsWith("\r\nCoffee, then the bus.\r\nA quiet start.\r\n"));
    const QByteArray order = ReadAll(dir.filePath("data/byquestionnaire/question_order.csv"));
    QVERIFY2(order.contains(",did,matters,age,morning,thanks\r\n"), order.constData());
}

// The second syntax file of each organisation runs in the real PSPP without an error, and its
// statistics leave the missing code 99 out: did_01 was not ticked, so its time is 99.
void TestDemoRun::psppReadsTheDataLeavingOutTheMissingCode() {
    const QString pspp = QStandardPaths::findExecutable("pspp");
    if (pspp.isEmpty())
        QSKIP("pspp (Debian package pspp) is not installed, so its reading can't be tried");
    QTemporaryDir folder;
    const QDir dir(folder.path());
    QCOMPARE(RunDemo(folder), 0);
    for (const QString organisation : {"byquestionnaire", "byvariablename"}) {
        const QString output = dir.filePath(organisation + "-pspp.csv");
        QProcess process;
        process.start(pspp, {dir.filePath("data/" + organisation + "/demo_pspp.sps"), "-o", output,
                             "-O", "format=csv"});
        QVERIFY(process.waitForFinished(60000));
        const QByteArray said = process.readAllStandardOutput() + process.readAllStandardError();
        QVERIFY2(process.exitCode() == 0 && !said.contains("error:"), said.constData());
        const QByteArray table = ReadAll(output);
        QVERIFY2(table.contains("\ndid_01t,0,"), table.constData());
        QVERIFY2(table.contains("\ndid_02t,1,900.00,"), table.constData());
        QVERIFY2(table.contains("\nage,1,34.00,"), table.constData());
    }
}

QTEST_GUILESS_MAIN(TestDemoRun)
#include "test_demo_run.moc"
