// Unattended runs of the program, as an experimenter pilots an experiment: the walk of two
// conditions, the loader's refusals, the autostart list, the subject check, scripts and exits.
#include "definition_fixtures.h"

#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

using namespace corvane::test;

namespace {

struct RunResult {
    int exitCode = -1;
    QStringList log; // one line per box: title, text, answer
    QString errors;
};

// Times of day differ from run to run; everything else must not.
QByteArray WithoutTimes(QByteArray text) {
    return QString::fromUtf8(text)
        .replace(QRegularExpression("\\d\\d:\\d\\d:\\d\\d"), "hh:mm:ss")
        .toUtf8();
}

} // namespace

class TestUnattended : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString Path(const QString& name) const { return QDir(m_dir->path()).filePath(name); }

    RunResult Run(const QString& experiment, const QString& subject, const QString& condition,
                  const QString& script = {}, const QStringList& extra = {}) {
        QStringList args{
            "--run",   Path(experiment), "--subject",          subject,           "--condition",
            condition, "--message-log",  Path("messages.log"), "--virtual-clock", "--seed",
            "5"};
        if (!script.isEmpty()) {
            WriteBytes(Path("script.txt"), script.toUtf8());
            args << "--script" << Path("script.txt");
        }
        QFile::remove(Path("messages.log"));
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_HOME", Path("xdg"));
        env.insert("XDG_CONFIG_HOME", Path("xdg-config"));
        env.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(env);
        process.start(CORVANE_BIN, args + extra);
        RunResult result;
        if (!process.waitForFinished(60000))
            return result;
        result.exitCode = process.exitCode();
        result.errors = QString::fromUtf8(process.readAllStandardError());
        result.log =
            QString::fromUtf8(ReadAll(Path("messages.log"))).split('\n', Qt::SkipEmptyParts);
        return result;
    }

    void Study() {
        const QString items = "questionnumber,QuestionType,VariableName\n";
        MakeDefinition(
            m_dir->path(), "first.que",
            "questionnumber,QuestionType,VariableName,QuestionWording,Parameters,WriteData,"
            "WriteRT\n"
            "1,scale response,f1,How?,(p5),yes,yes\n2,scale response,f2,Why?,(p5),yes,yes\n");
        // An item of a kind that has no form yet, which the run passes over.
        MakeDefinition(m_dir->path(), "second.que", items + "1,voice response,s1\n");
        MakeDefinition(m_dir->path(), "empty.que", items);
        MakeDefinition(m_dir->path(), "study.exp",
                       "Condition,position,file\nA,1,first.que\nA,2,second.que\n"
                       "B,1,second.que\nB,2,first.que\n");
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        Study();
    }

    void walksTheConditionAndEndsWithTheClosingMessage() {
        const RunResult result = Run("study.exp", "12", "b", "wait 400\nkey 1\nwait 300\nkey 2\n");
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.log.size() == 2, qPrintable(result.log.join('\n')));
        QVERIFY(result.log[0].contains("'s1' is passed over")); // second.que comes first in B
        QCOMPARE(result.log.last(),
                 "Participant 12\tThank you! This part of the study is finished. Please let "
                 "the experimenter know that you are done.\tok");
        QCOMPARE(WithoutTimes(ReadAll(Path("data/byquestionnaire/question_order.csv"))),
                 QByteArray("12,b,hh:mm:ss,second.que,first.que\r\n12,b,hh:mm:ss,second.que,s1\r\n"
                            "12,b,hh:mm:ss,first.que,f1,f2\r\n"));
        QCOMPARE(
            ReadAll(Path("xdg/corvane/CurrentSubjectInfo.txt")),
            QByteArray(
                "Subject   12\r\nCondition b\r\n\r\nThis information is written at the beginning "
                "of "
                "every experimental run.\r\nThe purpose of this information is to allow other "
                "programs running at the\r\nsame time to access subject and condition IDs.\r\n\r\n"
                "The value for each variable always begins in the 11th column.\r\n"));
    }

    void aWaitingItemIsEndedWhenTheScriptIsUsedUp() {
        const RunResult result = Run("study.exp", "12", "a", "wait 400\nkey 1\n");
        QCOMPARE(result.exitCode, 2);
        QVERIFY(result.log.filter("pressing Control+Alt+Right Arrow").size() == 1);
        // f2 was on the screen when the run was ended; second.que never came.
        QCOMPARE(WithoutTimes(ReadAll(Path("data/byquestionnaire/question_order.csv"))),
                 QByteArray("12,a,hh:mm:ss,first.que\r\n12,a,hh:mm:ss,first.que,f1,f2\r\n"));
    }

    void refusedExperimentsStartNothing_data() {
        QTest::addColumn<QString>("experiment");
        QTest::addColumn<QString>("condition");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing condition")
            << "Condition,position,file\nA,1,first.que\n"
            << "z"
            << "There does not appear to be a condition 'z' in this experiment.";
        QTest::newRow("missing questionnaire")
            << "Condition,position,file\nA,1,first.que\nB,1,gone.que\n"
            << "a"
            << "Can not find the questionnaire file, 'gone.que'. Check to make sure the "
               "questionnaire is in "
               "the specified folder.  If no folder is specified, make sure the questionnaire is "
               "in the "
               "same folder as the experiment.";
        QTest::newRow("empty questionnaire")
            << "Condition,position,file\nA,1,first.que\nA,2,empty.que\n"
            << "a"
            << "This experiment contains an empty questionnaire.  'empty.que' needs to be removed "
               "or to have "
               "items added to it.";
        QTest::newRow("no questionnaires")
            << "Condition,position,file\nA,1,pic.bmp\n"
            << "a"
            << "The requested experiment contains no questionnaire files.  At "
               "least one non-empty questionnaire file is required.";
    }
    void refusedExperimentsStartNothing() {
        QFETCH(QString, experiment);
        QFETCH(QString, condition);
        QFETCH(QString, message);
        MakeDefinition(m_dir->path(), "refused.exp", experiment);
        const RunResult result = Run("refused.exp", "1", condition);
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.log, QStringList{"Corvane\t" + message + "\tok"});
        QVERIFY(!QDir(Path("data")).exists());
        QVERIFY(!QFile::exists(Path("xdg/corvane/CurrentSubjectInfo.txt")));
    }

    void autostartListRunsOneSessionPerRow() {
        WriteBytes(Path("autostart.txt"), "21,a\r\n22,B\r\n");
        MakeDefinition(m_dir->path(), "study.exp",
                       "Condition,position,file\nA,1,second.que\nA,2,empty.que\nB,1,second.que\n"
                       "B,2,second.que\n");
        MakeDefinition(m_dir->path(), "empty.que",
                       "questionnumber,QuestionType,VariableName\n1,voice response,e\n");
        const RunResult result = Run("study.exp", "1", "x");
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(ReadAll(Path("autostart.txt")), QByteArray("21,a*\r\n22,B*\r\n"));
        QCOMPARE(result.log.first(), "Corvane\tUse autostart file?\tyes");
        QCOMPARE(result.log.filter("Begin next session?").size(), 2);
        QVERIFY(result.log.filter("The autostart list has been completed.").size() == 1);
        const QByteArray order =
            WithoutTimes(ReadAll(Path("data/byquestionnaire/question_order.csv")));
        QVERIFY(order.startsWith("21,a,hh:mm:ss,second.que,empty.que\r\n"));
        QVERIFY(order.contains("\r\n22,B,hh:mm:ss,second.que,second.que\r\n"));
    }

    void verifySubjectRefusesAnotherIdentifier() {
        WriteBytes(Path("verifysubject.txt"), "");
        RunResult result = Run("study.exp", "31", "b", "answer 3l\n");
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.log.first(), "Verify\tPlease re-enter Subject ID\t3l");
        QVERIFY(!QDir(Path("data")).exists());
        result = Run("study.exp", "31", "b", "answer 31\nwait 200\nkey 1\nwait 200\nkey 1\n");
        QCOMPARE(result.exitCode, 0);
    }

    void aSingleQuestionnaireRunsThroughTheTemplate() {
        const RunResult result = Run("first.que", "4", "1", "wait 200\nkey 3\nwait 200\nkey 4\n");
        QCOMPARE(result.exitCode, 0);
        QVERIFY(QFile::exists(Path("first_que.exp")));
        QVERIFY(ReadAll(Path("data/byquestionnaire/question_order.csv")).contains(",f1,f2\r\n"));
    }

    void aStuckRunIsEndedWhenTheScriptIsUsedUp() {
        // A questionnaire that can't be read leaves the run waiting for the operator.
        MakeDefinition(
            m_dir->path(), "broken.que",
            "questionnumber,QuestionType,VariableName,QuestionWording\n1,essay,e1,\\N\n");
        MakeDefinition(m_dir->path(), "stuck.exp", "Condition,position,file\na,1,broken.que\n");
        const RunResult result = Run("stuck.exp", "1", "a", "wait 500\n");
        QCOMPARE(result.exitCode, 2);
        QCOMPARE(result.log[0], "Corvane\t94Invalid use of Null\tok");
        QVERIFY(result.log[1].contains("pressing Control+Alt+Right Arrow"));
        QVERIFY(result.log.last().startsWith("Participant 1\t"));
        QVERIFY(QFile::exists(Path("data/byquestionnaire/question_order.csv")));
    }

    void aRunThatDoesNotEndIsStopped() {
        MakeDefinition(
            m_dir->path(), "broken.que",
            "questionnumber,QuestionType,VariableName,QuestionWording\n1,essay,e1,\\N\n");
        MakeDefinition(m_dir->path(), "stuck.exp", "Condition,position,file\na,1,broken.que\n");
        QStringList args{"--run",         Path("stuck.exp"),   "--condition", "a",
                         "--script",      Path("script.txt"),  "--timeout",   "1",
                         "--message-log", Path("messages.log")};
        WriteBytes(Path("script.txt"), "wait 60000\n");
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_HOME", Path("xdg"));
        process.setProcessEnvironment(env);
        QElapsedTimer timer;
        timer.start();
        process.start(CORVANE_BIN, args);
        QVERIFY(process.waitForFinished(30000));
        QCOMPARE(process.exitCode(), 3);
        QVERIFY(timer.elapsed() < 20000);
    }

    void badScriptsAreRefusedBeforeTheRun() {
        const RunResult result = Run("study.exp", "1", "a", "wait 10\nklick bOK\n");
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.errors.contains("line 2"), qPrintable(result.errors));
        QVERIFY(!QFile::exists(Path("xdg/corvane/CurrentSubjectInfo.txt")));
    }
};

QTEST_GUILESS_MAIN(TestUnattended)
#include "test_unattended.moc"
