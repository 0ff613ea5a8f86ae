// A newcomer's first steps, as the README gives them: its "Your first experiment" commands run
// as they stand (from the source folder, with a home of their own) and leave data; and an
// install into a staging folder holds the programs, resources and desktop files, and runs.
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kSourceDir = QDir::cleanPath(QStringLiteral(CORVANE_FIXTURES "/../.."));
// The build folder that holds the programs: BUILD/src/app/corvane.
const QString kBuildDir = QDir::cleanPath(QFileInfo(CORVANE_BIN).absolutePath() + "/../..");

QByteArray ReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The indented command lines of one README section.
QStringList SectionCommands(const QString& heading) {
    const QStringList lines = QString::fromUtf8(ReadAll(kSourceDir + "/README.md")).split('\n');
    QStringList commands;
    bool inSection = false;
    for (const QString& line : lines) {
        if (line.startsWith('#')) {
            inSection = line == heading;
            continue;
        }
        if (inSection && line.startsWith("    ") && !line.trimmed().isEmpty())
            commands << line.mid(4);
    }
    return commands;
}

// A clean environment: a home of its own, no display, the system's PATH.
QProcessEnvironment NewcomersEnvironment(const QString& home) {
    QProcessEnvironment env;
    env.insert("HOME", home);
    env.insert("PATH", "/usr/local/bin:/usr/bin:/bin");
    env.insert("LANG", "C.UTF-8");
    env.insert("QT_QPA_PLATFORM", "offscreen");
    return env;
}

} // namespace

class TestFirstExperiment : public QObject {
    Q_OBJECT
private slots:
    // The README's walk through a first experiment, run line by line as a newcomer types it;
    // only the line that needs a person at the screen is left out.
    void theReadmesFirstExperimentLeavesData() {
        QStringList commands = SectionCommands("## Your first experiment");
        QVERIFY2(!commands.isEmpty(), "README.md has no commands under ## Your first experiment");
        QVERIFY2(commands.size() <= 10, qPrintable(commands.join('\n')));
        const qsizetype withDisplay = commands.indexOf(QRegularExpression(".*# with a display.*"));
        QVERIFY2(withDisplay >= 0, "the interactive start is missing");
        commands.removeAt(withDisplay);
        // The README runs from the source folder with the build in build/; the tests' build
        // may be elsewhere.
        const QString script = commands.join('\n').replace("$PWD/build/", kBuildDir + "/");

        QTemporaryDir home;
        QProcess shell;
        shell.setWorkingDirectory(kSourceDir);
        shell.setProcessEnvironment(NewcomersEnvironment(home.path()));
        shell.start("bash", {"-e", "-c", script});
        QVERIFY(shell.waitForFinished(120000));
        const QByteArray out = shell.readAllStandardOutput();
        QVERIFY2(shell.exitStatus() == QProcess::NormalExit && shell.exitCode() == 0,
                 qPrintable(script + "\n" + out + shell.readAllStandardError()));

        // The pilot's answers and their times, under the experiment's own folder.
        const QString study = home.filePath("corvane-lab/mood");
        const QList<QByteArray> data =
            ReadAll(study + "/data/byquestionnaire/mood.txt").split('\n');
        QVERIFY2(data.size() >= 4, out.constData());
        QVERIFY(data[0].startsWith("'p1','1','" + study.toUtf8() + "/mood.exp'"));
        QCOMPARE(data[2].trimmed(), QByteArray("4,34"));
        QVERIFY(data[3].trimmed() != "99,99");
        QVERIFY(out.contains("4,34")); // the last step shows them
    }

    // A system-wide install, staged as a packager would (DESTDIR and a prefix): the programs,
    // the resources the program folder is seeded from, the menu entry and the file types; the
    // installed programs make a questionnaire from the installed template and run the demo.
    void anInstallHoldsEverythingAndRuns() {
        const QString cmake = QStandardPaths::findExecutable("cmake");
        if (cmake.isEmpty())
            QSKIP("cmake is not on PATH, so the install can't be tried");
        QTemporaryDir stage;
        QProcess install;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DESTDIR", stage.path());
        install.setProcessEnvironment(env);
        install.start(cmake, {"--install", kBuildDir, "--prefix", "/usr/local"});
        QVERIFY(install.waitForFinished(120000));
        QVERIFY2(install.exitCode() == 0, install.readAllStandardError().constData());

        const QString prefix = stage.filePath("usr/local");
        for (const char* file :
             {"bin/corvane", "bin/corvane-def", "share/corvane/temp.exp",
              "share/corvane/demo/demo.exp", "share/corvane/demo/demo.que",
              "share/corvane/demo/ratings.que", "share/corvane/help/corvane.html",
              "share/corvane/styles/default.cvp", "share/corvane/styles/messages.txt",
              "share/corvane/graphics/continue.bmp", "share/corvane/utilities/sounds/click.wav",
              "share/corvane/templates/questionnaire.csv", "share/corvane/templates/temp.csv",
              "share/corvane/templates/pilot.txt", "share/applications/corvane.desktop",
              "share/mime/packages/corvane.xml", "share/icons/hicolor/48x48/apps/corvane.png"})
            QVERIFY2(QFileInfo::exists(prefix + "/" + file), file);
        QVERIFY(QFileInfo(prefix + "/bin/corvane").isExecutable());
        const QByteArray entry = ReadAll(prefix + "/share/applications/corvane.desktop");
        QVERIFY(entry.contains("\nExec=corvane %f\n"));
        QVERIFY(entry.contains("\nIcon=corvane\n"));

        QTemporaryDir home;
        const QString lab = home.filePath("lab");
        QVERIFY(QDir().mkpath(lab));
        for (const char* name : {"demo.exp", "demo.que", "ratings.que"})
            QVERIFY(QFile::copy(prefix + "/share/corvane/demo/" + name, lab + "/" + name));
        QProcess program;
        program.setProcessEnvironment(NewcomersEnvironment(home.path()));
        program.setWorkingDirectory(lab);
        program.start(
            prefix + "/bin/corvane-def",
            {"create", "mood.que", prefix + "/share/corvane/templates/questionnaire.csv"});
        QVERIFY(program.waitForFinished(60000));
        QVERIFY2(program.exitCode() == 0, program.readAllStandardError().constData());
        QVERIFY(QFileInfo::exists(lab + "/mood.que"));

        program.start(prefix + "/bin/corvane",
                      {"--run", "demo.exp", "--subject", "7", "--condition", "1", "--script",
                       kSourceDir + "/resources/demo/demo_script.txt", "--virtual-clock"});
        QVERIFY(program.waitForFinished(120000));
        QVERIFY2(program.exitCode() == 0, program.readAllStandardError().constData());
        QVERIFY(ReadAll(lab + "/data/byquestionnaire/demo.txt").startsWith("'7','1','"));
        // The installed program seeded its own folder from the installed resources.
        QVERIFY(
            QFileInfo::exists(home.filePath(".local/share/corvane/templates/questionnaire.csv")));
    }
};

QTEST_GUILESS_MAIN(TestFirstExperiment)
#include "test_first_experiment.moc"
