// The launcher's two tools: Merge Data Files joins the data folders of stations with Corvane's
// own merge, and the Experiment Editor opens a definition's CSV in the desktop's spreadsheet.
#include "definitions/definition_writer.h"
#include "launcher/desktop.h"
#include "launcher/fBlue.h"
#include "launcher/file_dialogs.h"
#include "preferences/preferences.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QSettings>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

class GivenAnswers : public FileDialogs {
public:
    QString GetOpenFileName(QWidget*, const FileRequest&) override { return Next(); }
    QString GetSaveFileName(QWidget*, const FileRequest&) override { return Next(); }
    QString GetFolder(QWidget*, const FileRequest&) override { return Next(); }
    QString Next() { return answers.isEmpty() ? QString() : answers.takeFirst(); }
    QStringList answers;
};

class OpeningDesktop : public Desktop {
public:
    bool OpenUrl(const QUrl& url) override {
        opened << url.toLocalFile();
        return true;
    }
    bool SlideShowRunning() override { return false; }
    void SetQuickestKeyRepeat() override {}
    QStringList opened;
};

void Write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

} // namespace

class TestLauncherTools : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(m_dir.isValid());
        ProgramFolder::SetPath(m_dir.filePath("program"));
        QVERIFY(ProgramFolder::Seed(nullptr));
        QSettings(QSettings::IniFormat, QSettings::UserScope, "Corvane", "Corvane").clear();
        m_boxes.clear();
        m_desktop.opened.clear();
        m_state.SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
    }

    void mergeDataFilesJoinsTheStations() {
        for (const QString station : {"a", "b"})
            Write(m_dir.filePath(station + "/data/byquestionnaire/mood.txt"),
                  "subject\tcond\tcalm\r\n" + station.toUtf8() + "1\t1\t4\r\n");
        m_dialogs.answers = {m_dir.filePath("a"), m_dir.filePath("b"), {}, m_dir.filePath("all")};
        Trigger("mMergeData");
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY2(m_boxes[0].text.startsWith("The data are merged into"),
                 qPrintable(m_boxes[0].text));
        QFile merged(m_dir.filePath("all/byquestionnaire/mood.txt"));
        QVERIFY(merged.open(QIODevice::ReadOnly));
        const QByteArray rows = merged.readAll();
        QVERIFY(rows.contains("a1\t1\t4\r\n") && rows.contains("b1\t1\t4\r\n"));
    }

    void mergeDataFilesWantsTwoStations() {
        m_dialogs.answers = {m_dir.filePath("a")};
        Trigger("mMergeData");
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].text, "Merging needs the data folders of two stations at least.");
    }

    // The CSV beside the definition is its source and is opened as it stands; without one, the
    // definition is written out to it first. An experiment's CSV is NAME_exp.csv, so that the
    // questionnaire's NAME.csv beside it is not taken for it.
    void theEditorOpensTheDefinitionsCsv_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("csvName");
        QTest::addColumn<bool>("csvThere");
        QTest::addColumn<QByteArray>("written");
        QTest::newRow("questionnaire, written out")
            << "mood.que"
            << "mood.csv" << false << QByteArray("scale response");
        QTest::newRow("questionnaire, as it stands")
            << "mood.que"
            << "mood.csv" << true << QByteArray("kept as the lab wrote it\n");
        QTest::newRow("experiment") << "mood.exp"
                                    << "mood_exp.csv" << false << QByteArray("mood.que");
    }
    void theEditorOpensTheDefinitionsCsv() {
        QFETCH(QString, file);
        QFETCH(QString, csvName);
        QFETCH(bool, csvThere);
        QFETCH(QByteArray, written);
        const QByteArray items = "questionnumber,QuestionType,QuestionWording,VariableName\n"
                                 "1,scale response,Calm?,calm\n";
        const QByteArray steps = "Condition,position,file\n1,1,mood.que\n";
        QTemporaryDir study;
        CreateDefinitionFile(study.filePath("mood.que"), "mood.csv", QString::fromUtf8(items),
                             DefinitionKind::Questionnaire, std::nullopt);
        CreateDefinitionFile(study.filePath("mood.exp"), "mood_exp.csv", QString::fromUtf8(steps),
                             DefinitionKind::Experiment, std::nullopt);
        const QString csv = study.filePath(csvName);
        if (csvThere)
            Write(csv, written);
        if (file.endsWith(".exp"))
            Write(study.filePath("mood.csv"), items);
        m_dialogs.answers = {study.filePath(file)};
        Trigger("mnuCVXEdit");
        QCOMPARE(m_desktop.opened, QStringList{csv});
        QFile opened(csv);
        QVERIFY(opened.open(QIODevice::ReadOnly));
        const QByteArray text = opened.readAll();
        QVERIFY2(csvThere ? text == written : text.contains(written), text.constData());
        QVERIFY(m_boxes.last().text.endsWith("corvane-def create '" + study.filePath(file) + "' '" +
                                             csv + "'"));
    }

private:
    void Trigger(const char* menuEntry) {
        m_launcher = std::make_unique<fBlue>(m_state, m_preferences, m_dialogs, m_desktop);
        m_launcher->Load();
        m_launcher->findChild<QAction*>(menuEntry)->trigger();
    }

    QTemporaryDir m_dir;
    QList<MessageBox> m_boxes;
    RunState m_state;
    Preferences m_preferences;
    GivenAnswers m_dialogs;
    OpeningDesktop m_desktop;
    std::unique_ptr<fBlue> m_launcher;
};

QTEST_MAIN(TestLauncherTools)
#include "test_launcher_tools.moc"
