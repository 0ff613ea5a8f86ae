// Finding files that definitions name, making folders, removing text, looking up programs, and
// the single-questionnaire wrapping.
#include "definition_fixtures.h"
#include "definitions/definition_store.h"
#include "definitions/single_questionnaire.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QtTest>

using namespace corvane;

class TestHelpers : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

    QString Touch(const QString& relative) {
        const QString path = QDir(m_dir.path()).filePath(relative);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        return path;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CONFIG_HOME", QDir(m_dir.path()).filePath("config").toUtf8());
        QStandardPaths::setTestModeEnabled(true);
    }
    void init() { QDir::setCurrent(m_dir.path()); }

    void filesAreFoundWithoutRegardToCase() {
        const QString picture = Touch("Media/Pictures/Face01.BMP");
        QCOMPARE(FindFile("media/pictures/face01.bmp").value(), picture);
        QCOMPARE(FindFile("MEDIA\\PICTURES\\FACE01.bmp").value(), picture);
        QCOMPARE(FindFile(picture.toLower().replace(m_dir.path().toLower(), m_dir.path())).value(),
                 picture);
        QVERIFY(!FindFile("media/pictures/face02.bmp"));
        QVERIFY(!FindFile("C:\\media\\face01.bmp")); // a drive that doesn't exist here
        QVERIFY(FileExists("media/pictures/face01.bmp") > 0);
        QCOMPARE(FileExists("media/pictures/face01.bmp"), int(picture.size()));
        QCOMPARE(FileExists("media/pictures"), 0); // a folder is no file
        Touch("alone.txt");
        QVERIFY(FileExists("alone.txt") > 0); // by name alone, in the working folder
    }

    void exactNameWinsOverAnotherCase() {
        const QString lower = Touch("twin/data.txt");
        Touch("twin/DATA.txt");
        QCOMPARE(FindFile("twin/data.txt").value(), lower);
    }

    void changeToFolderMakesAndEntersFolders() {
        QString path = QDir(m_dir.path()).filePath("data/voice/S01");
        QVERIFY(ChangeToFolder(path));
        QVERIFY(path.endsWith('/'));
        QCOMPARE(QDir::currentPath(), QDir(m_dir.path()).filePath("data/voice/S01"));

        QString relative = "relative/folder";
        QVERIFY(!ChangeToFolder(relative)); // no absolute path: false, and no move
        QCOMPARE(QDir::currentPath(), QDir(m_dir.path()).filePath("data/voice/S01"));

        QString root = "/";
        QVERIFY(ChangeToFolder(root));
        QCOMPARE(QDir::currentPath(), QString("/"));

        QString deep = "/" + QStringList(21, "d").join('/');
        QVERIFY_THROWS_EXCEPTION(CorvaneError, ChangeToFolder(deep));
    }

    void changeToFolderGoesBackWhenItCanNot() {
        Touch("blocker"); // a file where a folder should be made
        QString path = QDir(m_dir.path()).filePath("blocker/inside");
        QVERIFY(!ChangeToFolder(path));
        QCOMPARE(QDir::currentPath(), m_dir.path());
    }

    void removeText_data() {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("result");
        QTest::newRow("whole") << "ab"
                               << "ab"
                               << "";
        QTest::newRow("both ends") << "a"
                                   << "aXa"
                                   << "X";
        QTest::newRow("middle") << "--"
                                << "x--y--z"
                                << "xyz";
        QTest::newRow("case matters") << "A"
                                      << "aAa"
                                      << "aa";
        QTest::newRow("absent") << "q"
                                << "abc"
                                << "abc";
    }
    void removeText() {
        QFETCH(QString, what);
        QFETCH(QString, text);
        QFETCH(QString, result);
        QCOMPARE(RemoveText(what, text), result);
    }

    void removeTextStopsAfterAHundred() {
        QCOMPARE(RemoveText("x", QString(150, 'x') + "y"), QString(50, 'x') + "y");
    }

    void programsAreFoundBySettingsThenPath() {
        const QString key = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\";
        QCOMPARE(ReadRegistryValue("HKLM", key + "nosuchprogram.exe", "Path", "none"), "none");
        SettingsStore::SetAppPath("tachyra.exe", "/opt/tachyra");
        QCOMPARE(ReadRegistryValue("HKLM", key + "Tachyra.exe", "Path", ""), "/opt/tachyra");
        // PATH: "sh.exe" is the Linux program "sh".
        QCOMPARE(ReadRegistryValue("HKLM", key + "sh.exe", "Path", ""),
                 QFileInfo(QStandardPaths::findExecutable("sh")).absolutePath());
    }

    void errorBoxText() {
        QCOMPARE(ReportErrorTitle(), "Corvane Error Trapper");
        QVERIFY(ReportErrorText(13, "Type mismatch")
                    .startsWith(
                        "An error has occurred.  Error 13. Type mismatch. Please report it to"));
    }

    void singleQuestionnaireBecomesAOneRowExperiment() {
        const QString templateCopy = QDir(m_dir.path()).filePath("temp.exp");
        QFile::remove(templateCopy);
        QVERIFY(QFile::copy(CORVANE_TEMPLATE, templateCopy));
        QFile::setPermissions(templateCopy, QFile::permissions(templateCopy) | QFile::WriteOwner);
        QDir().mkpath(QDir(m_dir.path()).filePath("study"));

        RunState state;
        state.ExperimentFolder = QDir(m_dir.path()).filePath("study");
        state.ExperimentFileName = "Mood.QUE";
        state.ExperimentFile = QDir(state.ExperimentFolder).filePath("Mood.QUE");
        WrapSingleQuestionnaire(state, templateCopy);
        QCOMPARE(state.ExperimentFileName, "Mood_que.exp");
        QCOMPARE(state.ExperimentFile, QDir(state.ExperimentFolder).filePath("Mood_que.exp"));

        RecordSet rows = ReadConditionRows(state.ExperimentFile, " 1 ");
        QCOMPARE(rows.RecordCount(), 1);
        rows.MoveFirst();
        QCOMPARE(rows.Field("file").ToText(), QDir(state.ExperimentFolder).filePath("Mood.QUE"));
        // The template keeps the last path.
        RecordSet kept = ReadExperimentRows(templateCopy);
        kept.MoveFirst();
        QCOMPARE(kept.Field("FILE").ToText(), QDir(state.ExperimentFolder).filePath("Mood.QUE"));

        RunState experiment; // an .exp is left as it is
        experiment.ExperimentFile = "x.exp";
        WrapSingleQuestionnaire(experiment, templateCopy);
        QCOMPARE(experiment.ExperimentFile, "x.exp");
    }
};

QTEST_GUILESS_MAIN(TestHelpers)
#include "test_helpers.moc"
