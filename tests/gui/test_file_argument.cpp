// A file handed over by the file manager or command line that can't be opened is told in a box
// and on standard error, and the launcher gets nothing.
#include "definition_fixtures.h"
#include "launcher/file_argument.h"
#include "recording_boxes.h"
#include "state/message_boxes.h"

#include <QFile>
#include <QTest>
#include <QTextStream>
#include <unistd.h>

using namespace corvane;
using namespace corvane::test;

class TestFileArgument : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    QString Path(const QString& name) const { return m_dir.filePath(name); }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        MakeDefinition(m_dir.path(), "study.exp", "Condition,position,file\n1,1,items.que\n");
        MakeDefinition(m_dir.path(), "items.que",
                       "questionnumber,QuestionType,VariableName\n1,scale response,a\n");
        WriteBytes(Path("notes.txt"), "not an experiment\n");
        WriteBytes(Path("junk.exp"), "not a database\n");
        QFile::copy(Path("study.exp"), Path("really-an-experiment.que"));
        QDir().mkpath(Path("folder.exp"));
        QFile::copy(Path("study.exp"), Path("locked.exp"));
        QFile::setPermissions(Path("locked.exp"), QFileDevice::Permissions());
    }

    void filesThatCanNotBeOpenedAreToldInABox_data() {
        QTest::addColumn<QString>("argument"); // relative to the test's folder
        QTest::addColumn<QString>("reason");   // empty: the file is opened
        const auto add = [](const char* tag, const char* argument, const char* reason) {
            QTest::newRow(tag) << QString(argument) << QString(reason);
        };
        add("an experiment", "study.exp", "");
        add("a questionnaire, other letter case", "ITEMS.QUE", "");
        add("missing", "gone.exp", "there is no such experiment or questionnaire");
        add("a folder", "folder.exp", "it is a folder, not an experiment or questionnaire");
        add("unreadable", "locked.exp", "it can not be read (Permission denied)");
        add("another kind of file", "notes.txt",
            "only experiments (.exp) and questionnaires (.que) are opened");
        add("no database", "junk.exp", "it is not an experiment file that can be read: ");
        add("an experiment named as a questionnaire", "really-an-experiment.que",
            "it is not a questionnaire file that can be read: ");
    }
    void filesThatCanNotBeOpenedAreToldInABox() {
        QFETCH(QString, argument);
        QFETCH(QString, reason);
        if (argument == QLatin1String("locked.exp") && geteuid() == 0)
            QSKIP("the tests run as root, who can read a file without read permission");
        QList<MessageBox> shown;
        RecordingBoxes boxes(&shown);
        QString errors;
        QTextStream err(&errors);
        const auto file = FileToOpen(Path(argument), boxes, err);
        if (reason.isEmpty()) {
            QVERIFY(file.has_value());
            QCOMPARE(QFileInfo(*file).canonicalFilePath(),
                     QFileInfo(Path(argument.toLower())).canonicalFilePath());
            QVERIFY(shown.isEmpty());
            QVERIFY(errors.isEmpty());
            return;
        }
        QVERIFY(!file.has_value());
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown[0].title, DefaultBoxTitle());
        QCOMPARE(shown[0].icon, BoxIcon::Critical);
        const QString sentence = reason.at(0).toUpper() + reason.mid(1);
        QVERIFY2(
            shown[0].text.startsWith("Corvane can not open\n" + Path(argument) + "\n\n" + sentence),
            qPrintable(shown[0].text));
        QVERIFY(shown[0].text.endsWith('.'));
        // The line on standard error stays, for a terminal and for scripts.
        QVERIFY2(errors.startsWith(Path(argument) + ": " + reason), qPrintable(errors));
        QCOMPARE(errors.count('\n'), 1);
    }
};

QTEST_MAIN(TestFileArgument)
#include "test_file_argument.moc"
