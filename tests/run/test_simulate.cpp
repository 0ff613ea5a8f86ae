// Simulated participants run by the real program: the demo's report, a branch never taken, and a
// jump back that ends with a clear line, not a hang.
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Simulated {
    int exitCode = -1; // -1 when it didn't end within two minutes
    QString out;
    QJsonObject report;
};

// The experiment folder's own experiment, simulated with the report written in `folder`.
Simulated Simulate(const QString& folder, const QString& experiment, const QStringList& more) {
    const QDir dir(folder);
    QProcess run;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.remove("QT_QPA_PLATFORM"); // the program chooses the offscreen platform itself
    run.setProcessEnvironment(env);
    run.setWorkingDirectory(folder);
    run.start(CORVANE_BIN,
              QStringList{"simulate", experiment, "--report", dir.filePath("report.html")} + more);
    Simulated result;
    if (run.waitForFinished(120000))
        result.exitCode = run.exitCode();
    else
        run.kill();
    result.out = QString::fromUtf8(run.readAllStandardOutput()) +
                 QString::fromUtf8(run.readAllStandardError());
    QFile json(dir.filePath("report.json"));
    if (json.open(QIODevice::ReadOnly))
        result.report = QJsonDocument::fromJson(json.readAll()).object();
    return result;
}

bool Make(const QString& folder, const QString& name, const QString& csv) {
    const QString source = QDir(folder).filePath(name + ".csv");
    QFile file(source);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(csv.toUtf8());
    file.close();
    // Not checked: they hold the faults the simulation is to find.
    return QProcess::execute(CORVANE_DEF,
                             {"create", QDir(folder).filePath(name), source, "--no-check"}) == 0;
}

const char* const kHeader =
    "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,WriteData,WriteRT,"
    "WriteText,textlabel1,textlabel2,pointlabel1,pointlabel2,skip1,skip2\n";

QStringList Findings(const Simulated& run) {
    QStringList lines;
    for (const auto& line : run.report.value("findings").toArray())
        lines << line.toString();
    return lines;
}

} // namespace

class TestSimulate : public QObject {
    Q_OBJECT

private slots:
    void commandLineMistakesEndWith64_data() {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("no experiment") << QStringList{"simulate"};
        QTest::newRow("no participants") << QStringList{"simulate", "x.exp", "--participants", "0"};
        QTest::newRow("seed not a number") << QStringList{"simulate", "x.exp", "--seed", "abc"};
        QTest::newRow("value missing") << QStringList{"simulate", "x.exp", "--report"};
    }
    void commandLineMistakesEndWith64() {
        QFETCH(QStringList, args);
        QProcess run;
        run.start(CORVANE_BIN, args);
        QVERIFY(run.waitForFinished(30000));
        QCOMPARE(run.exitCode(), 64);
        QVERIFY(run.readAllStandardError().contains("Usage: corvane simulate EXPERIMENT"));
    }

    void theDemoIsWalkedByEveryParticipant() {
        QTemporaryDir dir;
        const QString demo = QStringLiteral(CORVANE_TEMPLATE).section('/', 0, -2) + "/demo";
        for (const char* file : {"demo.exp", "demo.que", "ratings.que"})
            QVERIFY(QFile::copy(demo + "/" + file, dir.filePath(file)));
        const Simulated run =
            Simulate(dir.path(), "demo.exp", {"--participants", "6", "--seed", "7"});
        QVERIFY2(run.exitCode == 0, qPrintable(run.out));
        QCOMPARE(run.report.value("participants").toInt(), 6);
        QCOMPARE(run.report.value("participantsEnded").toInt(), 6);
        const QJsonObject q =
            run.report.value("questionnaires").toObject().value("demo.que").toObject();
        // 'hours' is left out in condition 2; in 1 only a "no" to 'slept' jumps past it.
        const QJsonObject reached = q.value("reached").toObject();
        QCOMPARE(reached.value("intro").toInt(), 6);
        QCOMPARE(reached.value("thanks").toInt(), 6);
        const QJsonObject by = q.value("presentedByCondition").toObject();
        QCOMPARE(by.value("1").toObject().value("slept").toInt(), 3);
        QCOMPARE(by.value("2").toObject().value("hours").toInt(), 0);
        QCOMPARE(by.value("2").toObject().value("rested").toInt(), 3);
        // Every row has the header's cells; one row per participant.
        const QJsonArray files = run.report.value("dataFiles").toArray();
        QVERIFY(files.size() >= 2);
        for (const auto& file : files) {
            QVERIFY2(file.toObject().value("rowsNotMatchingHeader").toArray().isEmpty(),
                     qPrintable(file.toObject().value("file").toString()));
            QCOMPARE(file.toObject().value("rows").toInt(), 6);
        }
        // The chart is drawn in the page itself.
        QFile html(dir.filePath("report.html"));
        QVERIFY(html.open(QIODevice::ReadOnly));
        const QByteArray page = html.readAll();
        QVERIFY(page.contains("<svg") && !page.contains("<script"));
    }

    void aBranchNoAnswerReachesIsNeverTaken() {
        QTemporaryDir dir;
        // Both answers of 'first' jump to 'third': 'second' and its own jump are never reached.
        QVERIFY(Make(dir.path(), "branch.que",
                     QString(kHeader) +
                         "1,scale response,First?,first,(p2),yes,yes,no,a,b,1,2,third,third\n"
                         "2,instructions,Second.,second,,no,no,no,none,none,none,none,fourth,none\n"
                         "3,scale response,Third?,third,(p2),yes,yes,no,a,b,1,2,none,none\n"
                         "4,scale response,Fourth?,fourth,(p2),yes,yes,no,a,b,1,2,none,none\n"));
        const Simulated run = Simulate(dir.path(), "branch.que", {"--participants", "4"});
        QVERIFY2(run.exitCode == 0, qPrintable(run.out));
        const QString findings = Findings(run).join('\n');
        QVERIFY2(
            findings.contains("branch.que: item 'second' was never reached") &&
                findings.contains("branch.que: the skip from 'second' to 'fourth' was never taken"),
            qPrintable(findings));
        QVERIFY(!findings.contains("from 'first'")); // jumps taken are not reported
    }

    void aJumpBackEndsWithAClearLine() {
        QTemporaryDir dir;
        QVERIFY(Make(dir.path(), "loop.que",
                     QString(kHeader) +
                         "1,instructions,One.,one,,no,no,no,none,none,none,none,two,none\n"
                         "2,instructions,Two.,two,,no,no,no,none,none,none,none,one,none\n"
                         "3,instructions,Three.,three,,no,no,no,none,none,none,none,none,none\n"));
        const Simulated run = Simulate(dir.path(), "loop.que", {"--participants", "3"});
        QVERIFY2(run.exitCode >= 0, "the simulation did not end");
        const QStringList findings = Findings(run);
        QVERIFY2(findings.join('\n').contains(
                     "loop.que: skip loop: 'two' jumps back to 'one', which comes before it"),
                 qPrintable(run.out));
        QVERIFY(findings.contains("loop.que: item 'three' was never reached"));
        QVERIFY(run.out.contains("skip loop"));
    }
};

QTEST_GUILESS_MAIN(TestSimulate)
#include "test_simulate.moc"
