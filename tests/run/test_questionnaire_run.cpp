// A questionnaire of scale items run unattended on the virtual clock: a skip, an omitted item,
// the way back, a "<specify>" answer, an onset delay, an item limit and a questionnaire limit
// with its countdown. The data and the order log hold exactly what the rules say.
#include "definition_fixtures.h"

#include <QProcess>
#include <QtTest>

using namespace corvane::test;

class TestQuestionnaireRun : public QObject {
    Q_OBJECT
private slots:
    void responsesAndTimesFollowTheRules() {
        QTemporaryDir dir;
        const QString fixtures = CORVANE_FIXTURES "/questionnaire_run";
        const QString items = QString::fromUtf8(ReadAll(fixtures + "/items.csv"));
        MakeDefinition(dir.path(), "q.que", items);
        // The entry's limit is 20 s, with the countdown (the negative sign).
        MakeDefinition(dir.path(), "e.exp",
                       "Condition,position,file,Parameters\na,1,q.que,(d-20)\n");
        QProcess run;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
        env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
        env.insert("QT_QPA_PLATFORM", "offscreen");
        run.setProcessEnvironment(env);
        run.start(CORVANE_BIN, {"--run", dir.filePath("e.exp"), "--subject", "s1", "--condition",
                                "a", "--script", fixtures + "/script.txt", "--virtual-clock",
                                "--message-log", dir.filePath("messages.log")});
        QVERIFY(run.waitForFinished(60000));
        QCOMPARE(run.exitCode(), 0);

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
};

QTEST_GUILESS_MAIN(TestQuestionnaireRun)
#include "test_questionnaire_run.moc"
