// Unattended runs of the real program with a responses workbook beside the experiment: the skip
// computed by the workbook's formula is taken, and a damaged workbook is announced once at the
// start while the run goes on and writes its data.
#include "definition_fixtures.h"
#include "unattended_process.h"
#include "workbook_fixture.h"

#include <QtTest>

using namespace corvane::test;

namespace {

const QString kItems =
    "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,WriteData,WriteRT,"
    "textlabel1,textlabel2,textlabel3,pointlabel1,pointlabel2,pointlabel3,skip1,skip2,skip3\n"
    "1,scale response,Energy?,energy,(p3),yes,yes,a,b,c,1,2,3,excel,none,none\n"
    "2,scale response,Mood?,mood,(p3),yes,yes,a,b,c,1,2,3,none,none,none\n"
    "3,scale response,Third?,q3,(p3),yes,yes,a,b,c,1,2,3,none,none,none\n"
    "4,scale response,Total <total>.,q4,(p3),yes,yes,a,b,c,1,2,3,none,none,none\n";

QString Prepare(const QTemporaryDir& dir, const QString& script) {
    MakeDefinition(dir.path(), "q.que", kItems);
    MakeDefinition(dir.path(), "e.exp", "Condition,position,file,Parameters\na,1,q.que,\n");
    WriteBytes(dir.filePath("script.txt"), script.toUtf8());
    return dir.filePath("script.txt");
}

QByteArray OrderLog(const QTemporaryDir& dir) {
    return ReadAll(dir.filePath("data/byquestionnaire/question_order.csv"));
}

} // namespace

class TestWorkbookUnattended : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() {
        const QString missing = CalcMissing();
        if (!missing.isEmpty())
            QSKIP(qPrintable(QStringLiteral("the spreadsheet program can't start: ") + missing));
        qputenv("XDG_CACHE_HOME", QFile::encodeName(CalcTestFolder() + "/cache-run"));
    }

    void skipComputedByTheWorkbook() {
        QTemporaryDir dir;
        const QString problem = MakeWorkbook(dir.filePath("responses.xls"),
                                             {{"energy", "", ""},
                                              {"MOOD_01", "", "=IF([.B1]+[.B2]>4;\"Q4\";\"none\")"},
                                              {"total", "=[.B1]+[.B2]", ""}});
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        const QString script = Prepare(dir, "wait 150\nkey 2\nwait 150\nkey 3\nwait 150\nkey 1\n");
        const UnattendedProcess run =
            RunCorvane(dir.path(), {dir.filePath("e.exp"), "--subject", "s1", "--condition", "a",
                                    "--script", script});
        QCOMPARE(run.exitCode, 0);
        const QList<QByteArray> log = ReadAll(dir.filePath("messages.log")).split('\n');
        QVERIFY2(log[0].startsWith("Participant s1\t"), log[0].constData());
        // 2 + 3 > 4: the formula sends the walk from mood to q4, past q3.
        QVERIFY2(OrderLog(dir).endsWith(",q.que,energy,mood,q4\r\n"), OrderLog(dir).constData());
        QVERIFY(QFile::exists(dir.filePath("data/byquestionnaire/e.txt")));
    }

    void damagedWorkbookIsAnnouncedAndTheRunGoesOn() {
        QTemporaryDir dir;
        WriteBytes(dir.filePath("responses.xls"), "\xd0\xcf\x11\xe0 damaged");
        const QString script =
            Prepare(dir, "wait 150\nkey 2\nwait 150\nkey 3\nwait 150\nkey 1\nwait 150\nkey 1\n");
        const UnattendedProcess run =
            RunCorvane(dir.path(), {dir.filePath("e.exp"), "--subject", "s1", "--condition", "a",
                                    "--script", script});
        QCOMPARE(run.exitCode, 0);
        const QList<QByteArray> log = ReadAll(dir.filePath("messages.log")).split('\n');
        QVERIFY2(log[0].contains("\tThe responses workbook '" +
                                 dir.filePath("responses.xls").toUtf8() +
                                 "' is off for this run: it is damaged"),
                 log[0].constData());
        QVERIFY2(log[1].startsWith("Participant s1\t"), log[1].constData());
        QVERIFY2(OrderLog(dir).endsWith(",q.que,energy,mood,q3,q4\r\n"), OrderLog(dir).constData());
        QVERIFY(QFile::exists(dir.filePath("data/byquestionnaire/e.txt")));
    }
};

QTEST_GUILESS_MAIN(TestWorkbookUnattended)
#include "test_workbook_unattended.moc"
