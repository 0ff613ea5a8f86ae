// Unattended runs of the program as an experimenter pilots an experiment: walks, refusals,
// autostart, the subject check, scripts, exits, the program's and data folders, documents.
#include "definition_fixtures.h"
#include "preferences/preference_file.h"
#include "unattended_process.h"

#include <QtTest>

using namespace corvane::test;

namespace {

struct RunResult {
    int exitCode = -1;
    QStringList log; // one line per box: title, text, answer
    QString errors;
};

} // namespace

class TestUnattended : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QHash<QString, QString> m_env; // set for the runs of one test

    QString Path(const QString& name) const { return QDir(m_dir->path()).filePath(name); }

    // Starts the program with the test's private folders and environment.
    void Launch(QProcess& process, const QStringList& args) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_HOME", Path("xdg"));
        env.insert("XDG_CONFIG_HOME", Path("xdg-config"));
        env.insert("QT_QPA_PLATFORM", "offscreen");
        for (auto it = m_env.cbegin(); it != m_env.cend(); ++it)
            env.insert(it.key(), it.value());
        process.setProcessEnvironment(env);
        process.start(CORVANE_BIN, args);
    }

    RunResult Run(const QString& experiment, const QString& subject, const QString& condition,
                  const QString& script = {}, const QStringList& extra = {},
                  bool virtualClock = true) {
        QStringList args{"--run",   Path(experiment), "--subject",          subject,  "--condition",
                         condition, "--message-log",  Path("messages.log"), "--seed", "5"};
        if (virtualClock)
            args << "--virtual-clock";
        if (!script.isEmpty()) {
            WriteBytes(Path("script.txt"), script.toUtf8());
            args << "--script" << Path("script.txt");
        }
        QFile::remove(Path("messages.log"));
        QProcess process;
        Launch(process, args + extra);
        RunResult result;
        if (!process.waitForFinished(60000))
            return result;
        result.exitCode = process.exitCode();
        result.errors = QString::fromUtf8(process.readAllStandardError());
        result.log =
            QString::fromUtf8(ReadAll(Path("messages.log"))).split('\n', Qt::SkipEmptyParts);
        return result;
    }

    // The default preferences of the program's folder, as the laboratory set them.
    void SetPreferences(const corvane::PreferenceRecord& record) {
        QDir().mkpath(Path("xdg/corvane/styles"));
        corvane::WritePreferenceFile(Path("xdg/corvane/styles/default.cvp"), record);
    }

    void Study() {
        const QString items = "questionnumber,QuestionType,VariableName\n";
        MakeDefinition(
            m_dir->path(), "first.que",
            "questionnumber,QuestionType,VariableName,QuestionWording,Parameters,WriteData,"
            "WriteRT\n"
            "1,scale response,f1,How?,(p5),yes,yes\n2,scale response,f2,Why?,(p5),yes,yes\n");
        // An item of a kind that no form presents, which the run passes over.
        MakeDefinition(m_dir->path(), "second.que", items + "1,card sort,s1\n");
        MakeDefinition(m_dir->path(), "empty.que", items);
        MakeDefinition(m_dir->path(), "study.exp",
                       "Condition,position,file\nA,1,first.que\nA,2,second.que\n"
                       "B,1,second.que\nB,2,first.que\n");
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        m_env.clear();
        Study();
    }

    void walksTheConditionAndEndsWithTheClosingMessage() {
        const RunResult result = Run("study.exp", "12", "b", "wait 400\nkey 1\nwait 300\nkey 2\n");
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.log.size() == 2, qPrintable(result.log.join('\n')));
        // second.que comes first in B
        QVERIFY(result.log[0].contains("'card sort.'  This is not currently a valid item type"));
        QCOMPARE(result.log.last(),
                 "Participant 12\tThank you! This part of the study is finished. Please let "
                 "the experimenter know that you are done.\tok");
        QCOMPARE(WithTimesOfDayMasked(ReadAll(Path("data/byquestionnaire/question_order.csv"))),
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
        // The program's folder was made on this first start, with all its folders.
        for (const QString folder :
             {"styles", "graphics", "ini", "help", "utilities", "experiment editor"})
            QVERIFY2(QFileInfo(Path("xdg/corvane/" + folder)).isDir(), qPrintable(folder));
    }

    void aWaitingItemIsEndedWhenTheScriptIsUsedUp() {
        const RunResult result = Run("study.exp", "12", "a", "wait 400\nkey 1\n");
        QCOMPARE(result.exitCode, 2);
        QVERIFY(result.log.filter("pressing Control+Alt+Right Arrow").size() == 1);
        // f2 was on the screen when the run was ended; second.que never came.
        QCOMPARE(WithTimesOfDayMasked(ReadAll(Path("data/byquestionnaire/question_order.csv"))),
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
        WriteBytes(Path("autostart.txt"), "21,a\r\n22,B\r\n23,a\r\n");
        MakeDefinition(m_dir->path(), "study.exp",
                       "Condition,position,file\nA,1,second.que\nA,2,empty.que\nB,1,second.que\n"
                       "B,2,second.que\n");
        MakeDefinition(m_dir->path(), "empty.que",
                       "questionnumber,QuestionType,VariableName\n1,card sort,e\n");
        const RunResult result = Run("study.exp", "1", "x");
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(ReadAll(Path("autostart.txt")), QByteArray("21,a*\r\n22,B*\r\n23,a*\r\n"));
        QCOMPARE(result.log.first(), "Corvane\tUse autostart file?\tyes");
        QCOMPARE(result.log.filter("Begin next session?").size(), 3);
        QVERIFY(result.log.filter("The autostart list has been completed.").size() == 1);
        const QByteArray order =
            WithTimesOfDayMasked(ReadAll(Path("data/byquestionnaire/question_order.csv")));
        QVERIFY(order.startsWith("21,a,hh:mm:ss,second.que,empty.que\r\n"));
        QVERIFY(order.contains("\r\n22,B,hh:mm:ss,second.que,second.que\r\n"));
        QVERIFY(order.contains("\r\n23,a,hh:mm:ss,second.que,empty.que\r\n"));
        // Every session writes to the experiment's own files, one record each.
        QCOMPARE(QDir(Path("data/byquestionnaire")).entryList(QDir::Files),
                 QStringList({"question_order.csv", "study.csv", "study.sps", "study.txt",
                              "study_pspp.sps"}));
        // The text file quotes the subject, the table doesn't.
        const QByteArray text = ReadAll(Path("data/byquestionnaire/study.txt"));
        const QByteArray table = ReadAll(Path("data/byquestionnaire/study.csv"));
        for (const QByteArray row : {"21,a", "22,B", "23,a"}) {
            const QList<QByteArray> ids = row.split(',');
            QVERIFY2(text.contains("\n'" + ids[0] + "','" + ids[1] + "'") ||
                         text.startsWith("'" + ids[0] + "','" + ids[1] + "'"),
                     row.constData());
            QVERIFY2(table.contains("\n" + row + ","), row.constData());
        }
    }

    void verifySubjectWaitsForTheSameIdentifier() {
        WriteBytes(Path("verifysubject.txt"), "");
        RunResult result = Run("study.exp", "31", "b", "answer 3l\n");
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.log.first(), "Verify\tPlease re-enter Subject ID\t3l");
        QVERIFY(result.log.last().contains("the script is used up while the subject form waits"));
        QVERIFY(!QDir(Path("data")).exists());
        result = Run("study.exp", "31", "b", "answer 31\nwait 200\nkey 1\nwait 200\nkey 1\n");
        QCOMPARE(result.exitCode, 0);
        // A mismatch leaves the form waiting; the ID typed again and OK start the run.
        QDir(Path("data")).removeRecursively();
        result =
            Run("study.exp", "31", "b",
                "answer 3l\ntype 32\nanswer 32\nclick bOK\nwait 200\nkey 1\nwait 200\nkey 1\n");
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.log.filter("Verify\t").size(), 2);
        QCOMPARE(result.log.filter("Verify\t").last(), "Verify\tPlease re-enter Subject ID\t32");
        QVERIFY(ReadAll(Path("data/byquestionnaire/question_order.csv")).startsWith("32,b,"));
    }

    void anAlternateDataFolderTakesOnlyTheData() {
        // The experiment names its questionnaires relative to its own folder.
        corvane::PreferenceRecord preferences;
        preferences.AlternateDataFolder = Path("lab data");
        SetPreferences(preferences);
        const RunResult result = Run("study.exp", "12", "a", "wait 400\nkey 1\nwait 300\nkey 2\n");
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(!result.log.isEmpty() && result.log.last().startsWith("Participant 12\t"),
                 qPrintable(result.log.join('\n')));
        QVERIFY(
            ReadAll(Path("lab data/study/data/byquestionnaire/study.txt")).startsWith("'12','a'"));
        QVERIFY(!QDir(Path("data")).exists());
    }

    void documentsLookForTheirWordProcessor_data() {
        QTest::addColumn<QString>("document");
        QTest::addColumn<QString>("folder"); // the preferences' word processor folder
        QTest::addColumn<bool>("program");   // the folder holds the office program
        QTest::addColumn<QString>("warning");
        QTest::addColumn<bool>("found");
        const QString skipped = " can not be found. This item will be skipped.";
        QTest::newRow("no folder") << "letter.doc"
                                   << "" << false << "" << false;
        QTest::newRow("a folder without it")
            << "letter.doc"
            << "office" << false << "Microsoft Word" + skipped << false;
        QTest::newRow("a folder with it") << "letter.doc"
                                          << "office" << true << "" << true;
        QTest::newRow("wordperfect") << "letter.wpd"
                                     << "office" << false << "WordPerfect" + skipped << false;
    }
    void documentsLookForTheirWordProcessor() {
        QFETCH(QString, document);
        QFETCH(QString, folder);
        QFETCH(bool, program);
        QFETCH(QString, warning);
        QFETCH(bool, found);
        WriteBytes(Path(document), "a letter");
        MakeDefinition(m_dir->path(), "docs.exp",
                       "Condition,position,file\na,1," + document + "\na,2,first.que\n");
        corvane::PreferenceRecord preferences;
        if (!folder.isEmpty()) {
            preferences.WordFolder = Path(folder);
            QDir().mkpath(Path(folder));
        }
        if (program) {
            WriteBytes(Path(folder + "/soffice"), "#!/bin/sh\nexit 0\n");
            QFile::setPermissions(Path(folder + "/soffice"),
                                  QFile::permissions(Path(folder + "/soffice")) |
                                      QFileDevice::ExeOwner);
        }
        SetPreferences(preferences);
        QDir().mkpath(Path("bin")); // a search path without an office program
        m_env.insert("PATH", Path("bin"));
        const RunResult result = Run("docs.exp", "1", "a", "wait 400\nkey 1\nwait 300\nkey 2\n");
        QCOMPARE(result.exitCode, 0);
        const QStringList warnings = result.log.filter(" can not be found. This item");
        QCOMPARE(warnings,
                 warning.isEmpty() ? QStringList() : QStringList{"Corvane\t" + warning + "\tok"});
        QCOMPARE(result.log.filter("A Word document has been requested").size(), found ? 0 : 1);
    }

    void aSingleQuestionnaireRunsThroughTheTemplate() {
        const RunResult result = Run("first.que", "4", "1", "wait 200\nkey 3\nwait 200\nkey 4\n");
        QCOMPARE(result.exitCode, 0);
        QVERIFY(QFile::exists(Path("first_que.exp")));
        QVERIFY(ReadAll(Path("data/byquestionnaire/question_order.csv")).contains(",f1,f2\r\n"));
    }

    void aStuckRunIsEndedWhenTheScriptIsUsedUpOrStoppedByTheTimeout() {
        // A questionnaire that can't be read leaves the run waiting for the operator.
        MakeDefinition(
            m_dir->path(), "broken.que",
            "questionnumber,QuestionType,VariableName,QuestionWording\n1,essay,e1,\\N\n");
        MakeDefinition(m_dir->path(), "stuck.exp", "Condition,position,file\na,1,broken.que\n");
        RunResult result = Run("stuck.exp", "1", "a", "wait 500\n");
        QCOMPARE(result.exitCode, 2);
        QCOMPARE(result.log[0], "Corvane\t94Invalid use of Null in 'broken.que', the row with "
                                "questionnumber 1, column QuestionWording\tok");
        QVERIFY(result.log[1].contains("pressing Control+Alt+Right Arrow"));
        QVERIFY(result.log.last().startsWith("Participant 1\t"));
        QVERIFY(QFile::exists(Path("data/byquestionnaire/question_order.csv")));
        QElapsedTimer timer;
        timer.start();
        result = Run("stuck.exp", "1", "a", "wait 60000\n", {"--timeout", "1"}, false);
        QCOMPARE(result.exitCode, 3);
        QVERIFY(timer.elapsed() < 20000);
    }

    void twoStationsSharingTheDataFolderLeaveNoEmptyLines() {
        // The second station runs and writes its record while the first waits.
        auto start = [&](QProcess& station, const QString& subject, const QByteArray& script,
                         const QStringList& extra) {
            WriteBytes(Path("script" + subject + ".txt"), script);
            Launch(station,
                   QStringList{"--run", Path("study.exp"), "--subject", subject, "--condition", "b",
                               "--script", Path("script" + subject + ".txt")} +
                       extra);
        };
        const QString csv = Path("data/byquestionnaire/study.csv");
        QProcess first;
        start(first, "1", "wait 8000\nkey 1\nwait 100\nkey 2\n", {});
        QTRY_VERIFY_WITH_TIMEOUT(ReadAll(csv).endsWith("\r\n"), 30000);
        QProcess second;
        start(second, "2", "wait 400\nkey 3\nwait 300\nkey 4\n", {"--virtual-clock"});
        QVERIFY(second.waitForFinished(60000));
        QCOMPARE(second.exitCode(), 0);
        QVERIFY2(first.state() == QProcess::Running, "the first station ended too early");
        QVERIFY(first.waitForFinished(60000));
        QCOMPARE(first.exitCode(), 0);
        const QByteArray rows = ReadAll(csv);
        QVERIFY2(!rows.contains("\r\n\r\n"), rows.constData());
        const QList<QByteArray> lines = rows.split('\n');
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines[1].startsWith("2,b,"));
        QVERIFY(lines[2].startsWith("1,b,"));
    }

    void anExitPasswordDoesNotHoldAnUnattendedRun() {
        corvane::PreferenceRecord preferences;
        preferences.ExitPassword = "secret";
        SetPreferences(preferences);
        // The script used up, the end key ends the run and then closes the password form.
        RunResult result = Run("study.exp", "12", "a", "wait 400\nkey 1\n", {"--timeout", "30"});
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.log.filter("form 'fPassword' waits").size() == 1,
                 qPrintable(result.log.join('\n')));
        QVERIFY(result.log.last().startsWith("Participant 12\t"));
        QVERIFY(ReadAll(Path("data/byquestionnaire/study.csv")).contains("\r\n12,a,"));

        // The run's own input reaches the password form.
        result =
            Run("study.exp", "13", "b",
                "wait 400\nkey 1\nwait 300\nkey 2\ntype Secret\nkey Enter\n", {"--timeout", "30"});
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.log.filter("fPassword").isEmpty(), qPrintable(result.log.join('\n')));

        // A run held at the password form by a long wait is stopped by --timeout.
        QElapsedTimer timer;
        timer.start();
        result = Run("study.exp", "14", "b", "wait 400\nkey 1\nwait 300\nkey 2\nwait 600000\n",
                     {"--timeout", "2"}, false);
        QCOMPARE(result.exitCode, 3);
        QVERIFY(timer.elapsed() < 30000);
        QVERIFY(ReadAll(Path("data/byquestionnaire/study.csv")).contains("\r\n14,b,"));
    }

    void aQuestionnaireMadeWithoutFlagsRecordsItsAnswers_data() {
        QTest::addColumn<QByteArray>("items"); // the questionnaire's CSV, as a lab might write it
        QTest::addColumn<QByteArray>("experiment");
        QTest::newRow("no WriteData, no WriteRT")
            << QByteArray("questionnumber,QuestionType,QuestionWording,VariableName,Parameters\n"
                          "1,scale response,Calm?,calm,(p5)\n2,scale response,Alert?,alert,(p5)\n")
            << QByteArray("Condition,position,file\n1,1,mood.que\n");
        QTest::newRow("semicolons, no numbers, no flags, no condition")
            << QByteArray("QuestionType;QuestionWording;VariableName;Parameters\r\n"
                          "scale response;Calm, or not?;calm;(p5)\r\n"
                          "scale response;Alert?;alert;(p5)\r\n")
            << QByteArray("file\nmood.que\n");
    }
    void aQuestionnaireMadeWithoutFlagsRecordsItsAnswers() {
        QFETCH(QByteArray, items);
        QFETCH(QByteArray, experiment);
        WriteBytes(Path("mood.csv"), items);
        WriteBytes(Path("mood_exp.csv"), experiment);
        // Made as a laboratory makes them: with the program's own tool.
        for (const auto& [made, from] :
             {std::pair{"mood.que", "mood.csv"}, std::pair{"mood.exp", "mood_exp.csv"}}) {
            QProcess tool;
            tool.start(CORVANE_DEF, {"create", Path(made), Path(from)});
            QVERIFY(tool.waitForFinished(30000));
            QVERIFY2(tool.exitCode() == 0, tool.readAllStandardError().constData());
        }
        const RunResult result = Run("mood.exp", "7", "1", "wait 400\nkey 4\nwait 300\nkey 2\n");
        QCOMPARE(result.exitCode, 0);
        const QList<QByteArray> rows = ReadAll(Path("data/byquestionnaire/mood.csv")).split('\n');
        QCOMPARE(rows.size(), 2);
        QVERIFY2(rows[0].endsWith(",que1,calm,alert,calmt,alertt\r"), rows[0].constData());
        // The answers and their times, as the script gave them on the virtual clock.
        QVERIFY2(rows[1].startsWith("7,1,") && rows[1].endsWith(",mood,4,2,400,300"),
                 rows[1].constData());
    }

    void usageErrorsEndWith64AndRunNothing_data() {
        QTest::addColumn<QStringList>("args"); // STUDY stands for the experiment's path
        QTest::addColumn<QString>("problem");
        const QStringList run{"--run", "STUDY", "--subject", "12", "--condition", "b"};
        QTest::newRow("unknown option") << run + QStringList{"--frob"} << "Unknown option 'frob'.";
        QTest::newRow("seed not a number") << run + QStringList{"--seed", "abc"}
                                           << "--seed takes a whole number from 0 up, not 'abc'";
        QTest::newRow("timeout not a number")
            << run + QStringList{"--timeout", "x"}
            << "--timeout takes whole seconds from 0 (no limit) to 2147483, not 'x'";
        QTest::newRow("negative timeout")
            << run + QStringList{"--timeout", "-5"}
            << "--timeout takes whole seconds from 0 (no limit) to 2147483, not '-5'";
        QTest::newRow("timeout too long")
            << run + QStringList{"--timeout", "9999999"}
            << "--timeout takes whole seconds from 0 (no limit) to 2147483, not '9999999'";
        QTest::newRow("wall clock not a time")
            << run + QStringList{"--wall-clock", "noon"}
            << "--wall-clock takes a date and time such as 2024-05-06T09:30:00, not 'noon'";
        QTest::newRow("run without a subject")
            << QStringList{"--run", "STUDY", "--condition", "b"}
            << "--run needs --subject ID: the run's data are written under the participant's ID";
        QTest::newRow("an empty subject")
            << QStringList{"--run", "STUDY", "--subject", " ", "--condition", "b"}
            << "--run needs --subject ID: the run's data are written under the participant's ID";
        QTest::newRow("a second file")
            << run + QStringList{"STUDY"}
            << "an unattended run takes its FILE after --run; 'STUDY' is one too many";
        QTest::newRow("a run's option without --run")
            << QStringList{"--subject", "12", "STUDY"}
            << "--subject is for an unattended run: corvane --run FILE --subject ID ...";
    }
    void usageErrorsEndWith64AndRunNothing() {
        QFETCH(QStringList, args);
        QFETCH(QString, problem);
        args.replaceInStrings("STUDY", Path("study.exp"));
        problem.replace("STUDY", Path("study.exp"));
        // The script would walk condition b to its end, had the run started.
        WriteBytes(Path("script.txt"), "wait 400\nkey 1\nwait 300\nkey 2\n");
        QProcess process;
        Launch(process, args + QStringList{"--script", Path("script.txt"), "--virtual-clock"});
        if (!process.waitForFinished(30000)) {
            process.kill();
            process.waitForFinished();
            QFAIL("the program did not end");
        }
        QCOMPARE(process.exitCode(), 64);
        const QStringList lines =
            QString::fromUtf8(process.readAllStandardError()).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines, (QStringList{"corvane: " + problem, "Try 'corvane --help' for more."}));
        QVERIFY(!QDir(Path("data")).exists());
        QVERIFY(!QFile::exists(Path("xdg/corvane/CurrentSubjectInfo.txt")));
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
