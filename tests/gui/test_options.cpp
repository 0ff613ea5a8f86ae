// The preferences dialog edits the working copy styles/temp.cvp; other files change only when
// the copy is saved over them. Its dialogs and boxes are answered by test seams.
#include "preferences/fOptions.h"
#include "preferences/load_preferences.h"
#include "preferences/options_dialogs.h"
#include "preferences/preference_file.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDirIterator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>

using namespace corvane;
using namespace corvane::test;

namespace {

class AnsweringOptionsDialogs : public OptionsDialogs {
public:
    std::optional<QFont> ChooseFont(QWidget*, const QFont& initial) override {
        fontStarts << initial;
        return fonts.isEmpty() ? std::nullopt : fonts.takeFirst();
    }
    std::optional<QColor> ChooseColour(QWidget*, const QColor& initial) override {
        colourStarts << initial;
        return colours.isEmpty() ? std::nullopt : colours.takeFirst();
    }
    QString ChooseFolder(QWidget*, const QString& title, const QString&) override {
        folderTitles << title;
        return folders.isEmpty() ? QString() : folders.takeFirst();
    }
    QString OpenFile(QWidget*, const FileRequest& request) override {
        requests << request;
        return files.isEmpty() ? QString() : files.takeFirst();
    }
    QString SaveFile(QWidget*, const FileRequest& request) override {
        requests << request;
        return files.isEmpty() ? QString() : files.takeFirst();
    }

    QList<std::optional<QFont>> fonts;
    QList<std::optional<QColor>> colours;
    QStringList folders;
    QStringList files;
    QList<QFont> fontStarts;
    QList<QColor> colourStarts;
    QStringList folderTitles;
    QList<FileRequest> requests;
};

const QString kBothKindsFilter =
    QStringLiteral("Corvane Preference Files (*.cvp)|*.cvp|Corvane QuickStyle (*.cvq)|*.cvq|All "
                   "files (*.*)|*.*|");

// Every file of a folder with its bytes, to show that nothing changed.
QMap<QString, QByteArray> Snapshot(const QString& folder, const QStringList& except = {}) {
    QMap<QString, QByteArray> files;
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (except.contains(QFileInfo(path).fileName()))
            continue;
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        files.insert(path, file.readAll());
    }
    return files;
}

} // namespace

class TestOptions : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<MessageBox> m_boxes;
    std::unique_ptr<RunState> m_state;
    Preferences m_prefs;
    AnsweringOptionsDialogs m_dialogs;
    QList<BoxAnswer> m_answers;

    QString Styles(const QString& name = QString()) {
        return StylesFolder() + (name.isEmpty() ? QString() : QLatin1Char('/') + name);
    }

    std::unique_ptr<fOptions> Open(bool quickStyle = false) {
        auto dialog = std::make_unique<fOptions>(*m_state, m_prefs, m_dialogs, quickStyle);
        if (!dialog->Form_Load())
            return nullptr;
        dialog->show();
        return dialog;
    }

    template <typename T> T* Child(QWidget* dialog, const QString& name) {
        T* child = dialog->findChild<T*>(name);
        if (!child)
            qFatal("no control %s", qPrintable(name));
        return child;
    }

    void ClickSample(QWidget* dialog, const QString& area) {
        QTest::mouseClick(Child<QWidget>(dialog, area), Qt::LeftButton, {}, QPoint(5, 5));
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        ProgramFolder::SetPath(m_dir->filePath("program"));
        QDir().mkpath(Styles());
        PreferenceRecord standard;
        WritePreferenceFile(Styles("default.cvp"), standard);
        PreferenceRecord lab = standard;
        lab.MachineCode = "L1";
        lab.BackColors[1] = 0x00FF00;
        WritePreferenceFile(Styles("lab.cvp"), lab);
        m_boxes.clear();
        m_answers.clear();
        m_dialogs = AnsweringOptionsDialogs{};
        m_state = std::make_unique<RunState>();
        m_state->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes, &m_answers));
        m_prefs = Preferences{};
        m_prefs.PreferenceFileName = "lab.cvp";
        LoadPreferences(*m_state, m_prefs, QString());
    }

    void opensOnACopyOfTheFileInForce() {
        auto dialog = Open();
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Option settings for lab.cvp"));
        QCOMPARE(dialog->EditedFileName, QStringLiteral("lab.cvp"));
        QCOMPARE(ReadPreferenceRecord(fOptions::TempFile())->MachineCode, QStringLiteral("L1"));
        QCOMPARE(Child<QLineEdit>(dialog.get(), "txMachCode")->text(), QStringLiteral("L1"));
        auto* tabs = Child<QTabWidget>(dialog.get(), "SSTab1");
        QVERIFY(tabs->isTabEnabled(1) && tabs->isTabEnabled(2));
        QCOMPARE(Child<QLabel>(dialog.get(), "txQ")->text(),
                 QStringLiteral("What is the meaning of life?  "));
        QCOMPARE(Child<QWidget>(dialog.get(), "tbQ")->palette().color(QPalette::Window),
                 QColor(0, 0xFF, 0));
    }

    void newQuickStyleLeavesTheOptionTabsOffUntilSavedAsPreferences() {
        auto dialog = Open(true);
        QCOMPARE(dialog->windowTitle(), QStringLiteral("New QuickStyle File"));
        QCOMPARE(dialog->EditedFileName, QStringLiteral("New"));
        auto* tabs = Child<QTabWidget>(dialog.get(), "SSTab1");
        QVERIFY(tabs->isTabEnabled(0));
        QVERIFY(!tabs->isTabEnabled(1) && !tabs->isTabEnabled(2));

        m_dialogs.files << Styles("fromstyle.cvp");
        dialog->cbSaveAs_Click();
        QVERIFY(!dialog->QuickStyleMode);
        QVERIFY(tabs->isTabEnabled(1));
        QVERIFY(QFile::exists(Styles("fromstyle.cvp")));
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Option settings for fromstyle.cvp"));
    }

    void missingFileInForceCannotBeOpened() {
        m_prefs.PreferenceFileName = "gone.cvp";
        QVERIFY(!Open());
        QCOMPARE(m_boxes.last().text,
                 QStringLiteral("Error opening file.  Check disk space and try again"));
    }

    void clickOnTheSampleEditsTheCopyOnly() {
        const auto before = Snapshot(m_dir->path(), {"temp.cvp"});
        auto dialog = Open();
        m_dialogs.colours << QColor(0x12, 0x34, 0x56);
        ClickSample(dialog.get(), "tbQ");
        QCOMPARE(m_dialogs.colourStarts.value(0), QColor(0, 0xFF, 0)); // starts from the present
        QCOMPARE(Child<QComboBox>(dialog.get(), "Combo1")->currentText(),
                 QStringLiteral("Questionnaire Background"));
        QCOMPARE(Child<QWidget>(dialog.get(), "tbQ2")->palette().color(QPalette::Window),
                 QColor(0x12, 0x34, 0x56));
        QCOMPARE(ReadPreferenceRecord(fOptions::TempFile())->BackColors[1], 0x563412u);

        QFont font("DejaVu Serif");
        font.setPointSizeF(14);
        font.setBold(true);
        m_dialogs.fonts << font;
        ClickSample(dialog.get(), "txS");
        const PreferenceFont saved = ReadPreferenceRecord(fOptions::TempFile())->Fonts[2];
        QCOMPARE(saved.name, QStringLiteral("DejaVu Serif"));
        QCOMPARE(saved.size, 14.0);
        QVERIFY(saved.bold && !saved.italic);
        QCOMPARE(Child<QPushButton>(dialog.get(), "bResponse(2)")->font().family(),
                 QStringLiteral("DejaVu Serif"));

        // Close asks nothing and leaves every file but the copy as it was.
        QTest::mouseClick(Child<QPushButton>(dialog.get(), "cbCancel"), Qt::LeftButton);
        QVERIFY(!dialog->isVisible());
        QVERIFY(m_boxes.isEmpty());
        QCOMPARE(Snapshot(m_dir->path(), {"temp.cvp"}), before);
        QCOMPARE(m_prefs.BackColors[1], 0x00FF00u);
    }

    void cancelInTheDialogsChangesNothing() {
        auto dialog = Open();
        const QByteArray copy = Snapshot(Styles()).value(fOptions::TempFile());
        ClickSample(dialog.get(), "tbS"); // colour dialog: Cancel
        ClickSample(dialog.get(), "txQ"); // font dialog: Cancel
        QCOMPARE(m_dialogs.colourStarts.size(), 1);
        QCOMPARE(m_dialogs.fontStarts.size(), 1);
        QCOMPARE(Snapshot(Styles()).value(fOptions::TempFile()), copy);
        QCOMPARE(Child<QWidget>(dialog.get(), "tbS")->palette().color(QPalette::Window),
                 QColor(QRgb(ColourToRgb(kDefaultBackColour))));
    }

    void menuColourActsOnTheSideOfTheCombo() {
        auto dialog = Open();
        m_dialogs.colours << QColor(Qt::red) << QColor(Qt::blue);
        Child<QComboBox>(dialog.get(), "Combo1")->setCurrentText("Questionnaire Text");
        Child<QAction>(dialog.get(), "mnuPrefFontColour")->trigger();
        Child<QComboBox>(dialog.get(), "Combo1")->setCurrentText("Input Background");
        Child<QAction>(dialog.get(), "mnuPrefFontColour")->trigger();
        const PreferenceRecord copy = *ReadPreferenceRecord(fOptions::TempFile());
        QCOMPARE(copy.ForeColors[1], 0x0000FFu); // red, red in the low byte
        QCOMPARE(copy.ForeColors[2], 0xFF0000u); // blue
    }

    void saveAnsweredNoChangesNothing_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("question");
        QTest::newRow("a lab's file") << "lab.cvp"
                                      << "Save changes to lab.cvp?";
        QTest::newRow("the default") << "default.cvp"
                                     << "Save changes to the default preferences file?";
    }
    void saveAnsweredNoChangesNothing() {
        QFETCH(QString, file);
        m_prefs.PreferenceFileName = file;
        auto dialog = Open();
        const auto before = Snapshot(m_dir->path(), {"temp.cvp"});
        Child<QLineEdit>(dialog.get(), "txMachCode")->setText("ZZ");
        m_answers << BoxAnswer::No;
        QTest::mouseClick(Child<QPushButton>(dialog.get(), "cbSave"), Qt::LeftButton);
        QTEST(m_boxes.last().text, "question");
        QCOMPARE(Snapshot(m_dir->path(), {"temp.cvp"}), before);
        QCOMPARE(ReadPreferenceRecord(fOptions::TempFile())->MachineCode, QStringLiteral("ZZ"));
    }

    void saveTheFileInForceAppliesIt() {
        auto dialog = Open();
        QSignalSpy applied(dialog.get(), &fOptions::PreferencesApplied);
        Child<QLineEdit>(dialog.get(), "txMachCode")->setText("ZZ");
        Child<QCheckBox>(dialog.get(), "chkEditMode")->setChecked(true);
        m_answers << BoxAnswer::Yes;
        QTest::mouseClick(Child<QPushButton>(dialog.get(), "cbSave"), Qt::LeftButton);
        QCOMPARE(ReadPreferenceRecord(Styles("lab.cvp"))->MachineCode, QStringLiteral("ZZ"));
        QCOMPARE(m_prefs.MachineCode, QStringLiteral("ZZ "));
        QVERIFY(m_state->EditMode);
        QCOMPARE(applied.size(), 1);
    }

    void saveAsNewPreferenceFileLeavesTheOneInForce() {
        auto dialog = Open();
        QSignalSpy applied(dialog.get(), &fOptions::PreferencesApplied);
        Child<QLineEdit>(dialog.get(), "txMachCode")->setText("NEW");
        // Whatever folder the dialog showed, a preference file goes to the styles folder.
        m_dialogs.files << m_dir->filePath("elsewhere/second.cvp");
        QTest::mouseClick(Child<QPushButton>(dialog.get(), "cbSaveAs"), Qt::LeftButton);
        QCOMPARE(m_dialogs.requests.last().title, QStringLiteral("Save As"));
        QCOMPARE(m_dialogs.requests.last().filter, kBothKindsFilter);
        QCOMPARE(ReadPreferenceRecord(Styles("second.cvp"))->MachineCode, QStringLiteral("NEW"));
        QVERIFY(!QFile::exists(m_dir->filePath("elsewhere/second.cvp")));
        QCOMPARE(ReadPreferenceRecord(Styles("lab.cvp"))->MachineCode, QStringLiteral("L1"));
        QCOMPARE(m_prefs.MachineCode, QStringLiteral("L1 "));
        QCOMPARE(applied.size(), 0);
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Option settings for second.cvp"));
        QVERIFY(RefreshPreferenceMenu(m_prefs).ShownNames().contains("second.cvp"));
    }

    void quickStyleSavedBesideAnExperiment() {
        auto dialog = Open(true);
        m_dialogs.colours << QColor(Qt::yellow);
        ClickSample(dialog.get(), "tbS");
        const QString experiment = m_dir->filePath("study");
        QDir().mkpath(experiment);
        m_dialogs.files << experiment + "/calm.cvq";
        // Save in QuickStyle mode goes to Save As, with the QuickStyle filter alone.
        QTest::mouseClick(Child<QPushButton>(dialog.get(), "cbSave"), Qt::LeftButton);
        QCOMPARE(m_dialogs.requests.last().filter,
                 QStringLiteral("Corvane QuickStyle (*.cvq)|*.cvq|All files (*.*)|*.*|"));
        QVERIFY(m_boxes.isEmpty());
        QCOMPARE(ReadPreferenceRecord(experiment + "/calm.cvq")->BackColors[2], 0x00FFFFu);
        QVERIFY(!QFile::exists(Styles("calm.cvq")));
        QCOMPARE(dialog->windowTitle(), QStringLiteral("QuickStyle Settings for calm.cvq"));
        QVERIFY(!RefreshPreferenceMenu(m_prefs).ShownNames().contains("calm.cvq"));
        // The file in force is untouched.
        QCOMPARE(ReadPreferenceRecord(Styles("lab.cvp"))->BackColors[2], kDefaultBackColour);
    }

    void openRefusesTheWorkingCopyAndTurnsToAQuickStyle() {
        PreferenceRecord style;
        style.BackColors[1] = 0x0000FF;
        WritePreferenceFile(Styles("bold.cvq"), style);
        auto dialog = Open();
        m_dialogs.files << Styles("temp.cvp");
        QTest::mouseClick(Child<QPushButton>(dialog.get(), "cbOpen"), Qt::LeftButton);
        QCOMPARE(m_boxes.last().text,
                 QStringLiteral("This is a temporary file and it can not be edited"));
        QCOMPARE(dialog->EditedFileName, QStringLiteral("lab.cvp"));

        m_dialogs.files << Styles("bold.cvq");
        Child<QAction>(dialog.get(), "mnuOpenPref")->trigger();
        QCOMPARE(m_dialogs.requests.last().filter, kBothKindsFilter);
        QVERIFY(dialog->QuickStyleMode);
        QCOMPARE(dialog->windowTitle(), QStringLiteral("QuickStyle Settings for bold.cvq"));
        QCOMPARE(ReadPreferenceRecord(fOptions::TempFile())->BackColors[1], 0x0000FFu);
        QVERIFY(!Child<QTabWidget>(dialog.get(), "SSTab1")->isTabEnabled(2));
    }

    void deleteRules() {
        m_prefs.PreferenceFileName = "default.cvp";
        auto dialog = Open();
        Child<QAction>(dialog.get(), "mnuPrefDelete")->trigger();
        QCOMPARE(m_boxes.last().text, QStringLiteral("You can not delete the default preferences "
                                                     "file.  That would be bad."));
        QVERIFY(QFile::exists(Styles("default.cvp")));

        m_dialogs.files << Styles("lab.cvp");
        dialog->mnuOpenPref_Click();
        m_answers << BoxAnswer::Yes;
        m_dialogs.files << Styles("default.cvp");
        dialog->mnuPrefDelete_Click();
        QCOMPARE(m_boxes.last().text, QStringLiteral("Delete the current preferences file?"));
        QVERIFY(!QFile::exists(Styles("lab.cvp")));
        QCOMPARE(dialog->EditedFileName, QStringLiteral("default.cvp")); // went on to Open
    }

    void browseFolders() {
        auto dialog = Open();
        m_dialogs.folders << "/opt/word" << QString() << QString();
        Child<QLineEdit>(dialog.get(), "txAlternateData")->setText("/data/lab");
        dialog->cbBrowse_Click(0);
        dialog->cbBrowse_Click(1);
        dialog->cbBrowse_Click(2);
        QCOMPARE(Child<QLineEdit>(dialog.get(), "tbWordDir")->text(), QStringLiteral("/opt/word"));
        QCOMPARE(Child<QLineEdit>(dialog.get(), "tbAccessDir")->text(), QString());
        // Cancel on the data folder means the experiment's folder.
        QCOMPARE(Child<QLineEdit>(dialog.get(), "txAlternateData")->text(), QString());
        QCOMPARE(m_dialogs.folderTitles.value(1),
                 QStringLiteral("Select folder containing WordPerfect (wpwin*.exe)"));
    }

    void pointerOverAnAreaNamesIt() {
        auto dialog = Open();
        auto* target = Child<QLabel>(dialog.get(), "lTarget");
        QCOMPARE(target->text(), QStringLiteral("Click an area to modify"));
        QEvent enter(QEvent::Enter);
        QCoreApplication::sendEvent(Child<QWidget>(dialog.get(), "txS"), &enter);
        QCOMPARE(target->text(), QStringLiteral("Input Text"));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(Child<QWidget>(dialog.get(), "txS"), &leave);
        QCOMPARE(target->text(), QStringLiteral("Click an area to modify"));
    }
};

QTEST_MAIN(TestOptions)
#include "test_options.moc"
