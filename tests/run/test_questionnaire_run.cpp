// Questionnaires run unattended on the virtual clock. Scale items: a skip, an omitted item, the
// way back, a "<specify>" answer, an onset delay, an item limit and a questionnaire limit with
// its countdown. Multiple response items: the limits on the number of choices, the two codings.
// The data and the order log hold exactly what the rules say.
#include "definition_fixtures.h"

#include <QProcess>
#include <QtTest>

using namespace corvane::test;

namespace {

// Runs the items and script of a fixture folder unattended on the virtual clock, in `dir`.
bool RunFixture(const QTemporaryDir& dir, const QString& fixtures, const QString& entryParameters) {
    MakeDefinition(dir.path(), "q.que", QString::fromUtf8(ReadAll(fixtures + "/items.csv")));
    MakeDefinition(dir.path(), "e.exp",
                   "Condition,position,file,Parameters\na,1,q.que," + entryParameters + "\n");
    QProcess run;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    run.setProcessEnvironment(env);
    run.start(CORVANE_BIN, {"--run", dir.filePath("e.exp"), "--subject", "s1", "--condition", "a",
                            "--script", fixtures + "/script.txt", "--virtual-clock",
                            "--message-log", dir.filePath("messages.log")});
    return run.waitForFinished(60000) && run.exitCode() == 0;
}

} // namespace

class TestQuestionnaireRun : public QObject {
    Q_OBJECT
private slots:
    void responsesAndTimesFollowTheRules() {
        QTemporaryDir dir;
        // The entry's limit is 20 s, with the countdown (the negative sign).
        QVERIFY(RunFixture(dir, CORVANE_FIXTURES "/questionnaire_run", "(d-20)"));

        const QList<QByteArray> log = ReadAll(dir.filePath("messages.log")).split('\n');
        QCOMPARE(log[0], "Please Specify\tYou chose Other . Please say more:\tRed");
        QCOMPARE(log[1], "Time is up\tYour time for this question is up.\tok"); // the item's limit
        QCOMPARE(log[2],
                 "Corvane\tThe time for this part is up. We will now go on to the next part.\tok");
        QVERIFY(log[3].startsWith("Participant s1\t"));

        const QList<QByteArray> data =
            ReadAll(dir.filePath("data/byquestionnaire/e.txt")).split('\n');
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[1], "'q'\r");
        // q1 answered again after going back, by its "<specify>" point; q2 reached by that answer;
        // q3 omitted in this condition; q4 timed from its onset; q5 and q6 ended by the limits.
        QCOMPARE(data[2], "'Red',1,99,1,99,99\r");
        QCOMPARE(data[3], "400,250,99,700,99,99\r");
        const QByteArray order = ReadAll(dir.filePath("data/byquestionnaire/question_order.csv"));
        QVERIFY2(order.endsWith(",q.que,q1,q4,q1,q2,q4,q5,q6\r\n"), order.constData());
    }

    // Multiple response items: a fourth choice refused, a "<specify>" option typed, a click in
    // the first 200 ms, a single choice stored as its number, a time limit with too few chosen,
    // options chosen by mouse and by key.
    void multipleResponsesFollowTheRules() {
        QTemporaryDir dir;
        QVERIFY(RunFixture(dir, CORVANE_FIXTURES "/multresp_run", ""));
        const QList<QByteArray> log = ReadAll(dir.filePath("messages.log")).split('\n');
        const QByteArray tooMany = "Please note\tYou have chosen as many answers as you may. "
                                   "Remove one to choose another.\tok";
        const QByteArray timeUp = "Time is up\tYour time for this question is up. The answers "
                                  "you have chosen will be kept.\tok";
        QCOMPARE(log[0], tooMany);
        QCOMPARE(log[1], "Please Specify\tYou chose Other . Please say more:\tBlue");
        QCOMPARE(log[2], timeUp);
        QCOMPARE(log[3], "Please note\tPlease choose more answers before you go on.\tok");
        QCOMPARE(log[4], timeUp);
        QVERIFY(log[5].startsWith("Participant s1\t"));
        const QList<QByteArray> data =
            ReadAll(dir.filePath("data/byquestionnaire/e.txt")).split('\n');
        QVERIFY(data.size() >= 4);
        // m1 by option, with the typed text; m2 as the number of its option; m3 after the limit.
        QCOMPARE(data[2], "1,1,0,'Blue',3,1,1,0\r");
        // The first click came within 200 ms and the fourth was refused: neither has a time. The
        // single choice keeps its time at its option's place, beyond the item's one variable.
        QCOMPARE(data[3], "99,300,99,500,99,3000,3000,99\r");
        const QList<QByteArray> byVariable =
            ReadAll(dir.filePath("data/byvariablename/e.csv")).split('\n');
        QVERIFY(byVariable.size() >= 2);
        QVERIFY2(byVariable[0].endsWith(",m1_01,m1_02,m1_03,m1_04,m2,m3_01,m3_02,m3_03,m1_01t,"
                                        "m1_02t,m1_03t,m1_04t,m2t,m3_01t,m3_02t,m3_03t\r"),
                 byVariable[0].constData());
        QVERIFY2(byVariable[1].endsWith(",1,1,0,Blue,3,1,1,0,99,300,99,500,99,3000,3000,99"),
                 byVariable[1].constData());
    }
};

QTEST_GUILESS_MAIN(TestQuestionnaireRun)
#include "test_questionnaire_run.moc"
