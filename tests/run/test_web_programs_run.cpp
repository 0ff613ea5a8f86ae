// Web pages and stand-in outside programs in unattended runs; the browser log byte for byte, its
// times of day fixed by the virtual clock and the given wall-clock start.
#include "definition_fixtures.h"
#include "web_test_support.h"

#include <QDate>
#include <QLocale>
#include <QProcess>
#include <QSignalSpy>
#include <QtTest>

using namespace corvane::test;

namespace {

const QString kFixtures = QStringLiteral(CORVANE_FIXTURES "/web_run");

void WriteProgram(const QString& path, const QByteArray& body) {
    WriteBytes(path, "#!/bin/sh\n" + body);
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
}

// The experiment, its pages and the stand-in programs in `dir`; the list's first page is served.
void MakeExperiment(const QTemporaryDir& dir, const FolderServer& server) {
    const QString folder = dir.path();
    for (const char* name :
         {"page1.htm", "page2.htm", "page3.htm", "label.htm", "intro.htm", "browser.txt"})
        QFile::copy(kFixtures + "/" + name, folder + "/" + name);
    MakeDefinition(folder, "q.que", QString::fromUtf8(ReadAll(kFixtures + "/items.csv")));
    MakeDefinition(folder, "e.exp",
                   "Condition,position,file,Parameters\na,1," + server.Address("intro.htm") +
                       ",\na,2,q.que,\n");
    const QByteArray log = QFile::encodeName(dir.filePath("programs.log"));
    WriteProgram(dir.filePath("quick.sh"), "echo \"quick $*\" >> '" + log + "'\n");
    WriteProgram(dir.filePath("sleeper.sh"), "sleep 30\n");
    QDir().mkpath(dir.filePath("bin"));
    QDir().mkpath(dir.filePath("config/Corvane"));
    WriteProgram(dir.filePath("bin/executetachyra.exe"),
                 "echo \"tachyra $*\" >> '" + log +
                     "'\nprintf '[Settings]\\nRunning=False\\n' > "
                     "\"$XDG_CONFIG_HOME/Corvane/executeTCH.ini\"\n");
    WriteProgram(dir.filePath("bin/inquisit.exe"), "echo \"inquisit $*\" >> '" + log + "'\n");
    const QByteArray bin = QFile::encodeName(dir.filePath("bin"));
    WriteBytes(dir.filePath("config/Corvane/Corvane.ini"),
               "[AppPaths]\ntachyra.exe=" + bin + "\ninquisit.exe=" + bin + "\n");
}

QList<QByteArray> Lines(const QTemporaryDir& dir, const QString& file) {
    return ReadAll(dir.filePath(file)).split('\n');
}

// Runs the experiment unattended while the test's own loop serves the pages.
int Run(const QTemporaryDir& dir, const QStringList& extra) {
    QProcess run;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    AddWebEngineEnvironment(env);
    run.setProcessEnvironment(env);
    run.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    run.start(CORVANE_BIN, QStringList{"--run", dir.filePath("e.exp"), "--subject", "s1",
                                       "--condition", "a", "--script", kFixtures + "/script.txt",
                                       "--virtual-clock", "--wall-clock", "2026-01-05T09:00:00.250",
                                       "--message-log", dir.filePath("messages.log")} +
                               extra);
    QSignalSpy finished(&run, &QProcess::finished);
    if (!finished.wait(90000)) {
        run.kill();
        run.waitForFinished();
        return -1;
    }
    return run.exitCode();
}

} // namespace

class TestWebProgramsRun : public QObject {
    Q_OBJECT
private slots:
    void pagesAndProgramsLeaveTheirRecords() {
        QTemporaryDir dir;
        FolderServer server(dir.path());
        QVERIFY(server.Start());
        MakeExperiment(dir, server);
        QCOMPARE(Run(dir, {"--allow-programs"}), 0);

        const QByteArray messages = ReadAll(dir.filePath("messages.log"));
        QVERIFY2(messages.startsWith("Participant s1\t"), messages.constData());

        QByteArray expected = ReadAll(kFixtures + "/browser_log.golden");
        expected.replace("{folder}", QFile::encodeName(QDir(dir.path()).canonicalPath()));
        expected.replace(
            "{date}",
            QLocale::system().toString(QDate(2026, 1, 5), QLocale::ShortFormat).trimmed().toUtf8());
        const QByteArray log = ReadAll(dir.filePath("data/track.txt"));
        QVERIFY2(log == expected,
                 ("browser log:\n" + log + "\nexpected:\n" + expected).constData());

        const QList<QByteArray> data = Lines(dir, "data/byquestionnaire/e.txt");
        QVERIFY(data.size() >= 4);
        // Tracker to its Continue; the program's early Continue ignored; the session at the first
        // reading after its launcher cleared it; Inquisit from its form's start; the sleeper's
        // limit.
        QCOMPARE(data[2], "ok,1,ok,ok,ok,ok\r");
        QCOMPARE(data[3], "9700,700,6000,2000,11100,6000\r");

        const QList<QByteArray> order = Lines(dir, "data/byquestionnaire/question_order.csv");
        QVERIFY(order.size() >= 2);
        QVERIFY2(order[0].endsWith("," + server.Address("intro.htm").toUtf8() + ",q.que\r"),
                 order[0].constData());
        QVERIFY2(order[1].endsWith(",q.que,track,rate,prog,tach,inq,slow\r"), order[1].constData());

        const QString folder = QDir(dir.path()).canonicalPath();
        QCOMPARE(ReadAll(dir.filePath("programs.log")),
                 "quick hello\ntachyra /s1,a," + QFile::encodeName(folder) +
                     "/session.csv,all\ninquisit s1 task.iqx\n");
    }

    void unattendedRunsRefuseProgramsWithoutLeave() {
        QTemporaryDir dir;
        FolderServer server(dir.path());
        QVERIFY(server.Start());
        MakeExperiment(dir, server);
        QCOMPARE(Run(dir, {}), 0);
        QVERIFY(!QFile::exists(dir.filePath("programs.log")));
        const QList<QByteArray> messages = Lines(dir, "messages.log");
        QVERIFY(messages.size() >= 5);
        for (int n = 0; n < 4; ++n) {
            QVERIFY2(messages[n].startsWith("Program not started\tThe experiment file '"),
                     messages[n].constData());
            QVERIFY(messages[n].contains("An unattended run starts programs only when it is "
                                         "given --allow-programs."));
        }
        QVERIFY(messages[0].contains("quick.sh hello"));
        // Nothing is stored for the items whose programs did not start.
        const QList<QByteArray> data = Lines(dir, "data/byquestionnaire/e.txt");
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[2], "ok,1,99,99,99,99\r");
    }
};

QTEST_GUILESS_MAIN(TestWebProgramsRun)
#include "test_web_programs_run.moc"
