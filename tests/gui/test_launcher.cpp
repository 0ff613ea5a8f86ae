// The launcher in-process: menus, recent experiments, settings, runs started from it. Dialogs,
// desktop and boxes go through test seams.
#include "definition_fixtures.h"
#include "definitions/definition_writer.h"
#include "engine/fCodes.h"
#include "engine/run_session.h"
#include "engine/word_processor.h"
#include "launcher/desktop.h"
#include "launcher/fBlue.h"
#include "launcher/file_dialogs.h"
#include "launcher/help_window.h"
#include "launcher/new_experiment.h"
#include "launcher/recent_experiments.h"
#include "preferences/preferences.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QSettings>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>
#include <unistd.h>

using namespace corvane;
using namespace corvane::test;

namespace {

class AnsweringDialogs : public FileDialogs {
public:
    QString GetOpenFileName(QWidget*, const FileRequest& request) override {
        asked << request;
        return answers.isEmpty() ? QString() : answers.takeFirst();
    }
    QString GetSaveFileName(QWidget*, const FileRequest& request) override {
        askedToSave << request;
        return saveAnswers.isEmpty() ? QString() : saveAnswers.takeFirst();
    }
    QStringList answers;
    QList<FileRequest> asked;
    QStringList saveAnswers;
    QList<FileRequest> askedToSave;
};

class WatchedDesktop : public Desktop {
public:
    bool OpenUrl(const QUrl& url) override {
        opened << url;
        return openSucceeds;
    }
    bool CanStartBrowser() override { return browserUsable; }
    bool SlideShowRunning() override { return slideShow; }
    void SetQuickestKeyRepeat() override { ++repeatSet; }

    QList<QUrl> opened;
    bool slideShow = false;
    int repeatSet = 0;
    bool openSucceeds = true;
    bool browserUsable = true;
};

QStringList Captions(const QMenu* menu) {
    QStringList captions;
    for (const QAction* action : menu->actions())
        captions << (action->isSeparator() ? QStringLiteral("-") : action->text());
    return captions;
}

QStringList FileLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromLocal8Bit(file.readAll()).split(QStringLiteral("\r\n"));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

fCodes* VisibleSubjectForm() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() == QLatin1String("fCodes") && window->isVisible())
            return qobject_cast<fCodes*>(window);
    }
    return nullptr;
}

// Clicks the first link to `href` in the browser, as the participant's mouse would.
bool ClickLink(QTextBrowser* browser, const QString& href) {
    QTextDocument* document = browser->document();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (fragment.charFormat().anchorHref() != href)
                continue;
            QTextCursor cursor(document);
            cursor.setPosition(fragment.position() + fragment.length() / 2);
            browser->setTextCursor(cursor);
            browser->ensureCursorVisible();
            const QPoint at = browser->cursorRect(cursor).center();
            QTest::mouseClick(browser->viewport(), Qt::LeftButton, {}, at);
            return true;
        }
    }
    return false;
}

// A one-item questionnaire that runs.
QString FineQuestionnaire(const QString& folder, const QString& name) {
    return MakeDefinition(folder, name,
                          QuestionnaireHeader() + "1,scale response,Fine?,fine,(p2),0,0,yes,yes,"
                                                  "no,,no,Yes,1,none,none\n");
}

void CloseSubjectForm() {
    if (fCodes* codes = VisibleSubjectForm())
        codes->close();
}

} // namespace

class TestLauncher : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        ProgramFolder::SetPath(m_dir->filePath("program"));
        QString problem;
        QVERIFY2(ProgramFolder::Seed(&problem), qPrintable(problem));
        QSettings(QSettings::IniFormat, QSettings::UserScope, "Corvane", "Corvane").clear();
        QDir::setCurrent(m_dir->path());
        m_boxes.clear();
        m_state = std::make_unique<RunState>();
        m_state->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
        m_preferences = std::make_unique<Preferences>();
        m_dialogs = AnsweringDialogs();
        m_desktop = WatchedDesktop();
    }

    void cleanup() {
        CloseSubjectForm();
        m_launcher.reset();
        m_state.reset();
        QDir::setCurrent(QDir::tempPath());
        m_dir.reset();
    }

    void theMenusHaveTheirCaptionsInOrder() {
        fBlue& launcher = Start();
        QStringList top;
        for (const QAction* action : launcher.menuBar()->actions())
            top << action->text();
        QCOMPARE(top, QStringList({"&Run", "&Data", "&Preferences", "&Help"}));

        QStringList run{"Run an experiment",
                        "&Select and run an experiment",
                        "Select and run a single &questionnaire",
                        "&Run last selection again",
                        "-",
                        "Run a recent selection again:"};
        for (int n = 1; n <= 10; ++n)
            run << "mRunAgain";
        run << "-"
            << "E&xit Corvane";
        QCOMPARE(Captions(Menu("mRun")), run);
        QCOMPARE(Captions(Menu("mEdit")),
                 QStringList({"Editing", "View Data", "View SPSS input file", "Merge Data Files",
                              "Launch &Explorer"}));
        QStringList options{
            "&QuickStyles",        "Edit Preferences", "Load Other Preferences File",
            "Mute Corvane Sounds", "Character Set",    "Load:",
            "default.cvp"};
        for (int n = 1; n <= 10; ++n)
            options << QString();
        options << "&Experiment Editor";
        QCOMPARE(Captions(Menu("mOptions")), options);
        QCOMPARE(Captions(Menu("mCharacterSet")),
                 QStringList({"Default", "Chinese", "Greek", "Turkish", "Vietnamese", "Hebrew",
                              "Arabic", "Baltic", "Russian", "Thai", "Eastern European"}));
        QCOMPARE(Captions(Menu("mHelp")),
                 QStringList({"&Help Topics", "On-Line &Tutorial", "&About Corvane",
                              "Show &Location Points", "&Sizing Movies and Images", "-",
                              "The &Parameter Language"}));

        // The manual's control names; the other tests reach the rest by name.
        for (const char* name :
             {"mExitBar", "mExit", "mnuQuickStyle", "mSetOptions", "mnuPrefLoad", "mAboutCorvane"})
            QVERIFY2(Action(name), name);
        QVERIFY(launcher.findChild<QStatusBar*>("StatusBar1"));
        for (const char* name : {"Panel(1)", "Panel(2)", "Panel(3)", "Panel(4)"})
            QVERIFY2(launcher.findChild<QLabel*>(name), name);
        QCOMPARE(Panel(3), QString("default.cvp"));
        QCOMPARE(Panel(4), QString("Edit Off"));
        QCOMPARE(m_desktop.repeatSet, 1);
    }

    void anEmptyListAndACancelledDialogRunNothing() {
        Start();
        QVERIFY(!Action("mblank")->isVisible());
        QVERIFY(!Action("mFileBar")->isVisible());
        for (int n = 1; n <= 10; ++n)
            QVERIFY(!Action(QString("mRunAgain(%1)").arg(n))->isVisible());
        Action("mRepeat")->trigger();
        Action("mRunExperiment")->trigger(); // no answer: the operator cancelled
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(!VisibleSubjectForm());
        QVERIFY(!QFile::exists(RecentExperimentsFile()));
    }

    void choosingExperimentsFillsTheListNewestFirstWithoutDuplicates() {
        const QString a = Experiment("a.exp");
        const QString b = Experiment("b.exp");
        Start();
        for (const QString& path : {a, b, a}) {
            m_dialogs.answers << path;
            Action("mRunExperiment")->trigger();
            QVERIFY(VisibleSubjectForm());
            QCOMPARE(m_state->ExperimentFile, path);
            CloseSubjectForm();
        }
        QCOMPARE(FileLines(RecentExperimentsFile()), QStringList({a, b}));
        QVERIFY(Action("mblank")->isVisible());
        QCOMPARE(Action("mRunAgain(1)")->data().toString(), a);
        QCOMPARE(Action("mRunAgain(2)")->data().toString(), b);
        QVERIFY(!Action("mRunAgain(3)")->isVisible());

        const FileRequest& asked = m_dialogs.asked.front();
        QCOMPARE(asked.title, QString("Select Experimental Database to Run"));
        QCOMPARE(DialogFilter(asked.filter), QString("Experiment (*.exp);;All files (*)"));
        QVERIFY(m_boxes.isEmpty());
    }

    void tenOldEntriesAndANewOneMakeElevenLinesOfWhichTenAreRead() {
        QStringList old;
        for (int n = 1; n <= 10; ++n)
            old << m_dir->filePath(QString("old%1.exp").arg(n));
        WriteBytes(RecentExperimentsFile(), (old.join("\r\n") + "\r\n").toLocal8Bit());
        const QString fresh = Experiment("fresh.exp");
        Start();
        QCOMPARE(Action("mRunAgain(10)")->data().toString(), old[9]);

        m_dialogs.answers << fresh;
        Action("mRunExperiment")->trigger();
        QCOMPARE(FileLines(RecentExperimentsFile()), QStringList{fresh} + old);
        QCOMPARE(Action("mRunAgain(1)")->data().toString(), fresh);
        QCOMPARE(Action("mRunAgain(10)")->data().toString(), old[8]);
        CloseSubjectForm();

        // The eleventh line is never read, so the next choice drops it.
        const QString next = Experiment("next.exp");
        m_dialogs.answers << next;
        Action("mRunExperiment")->trigger();
        QCOMPARE(FileLines(RecentExperimentsFile()), QStringList({next, fresh}) + old.mid(0, 9));
    }

    void runningARecentExperimentMovesItToTheTop() {
        const QString x = Experiment("x.exp");
        const QString y = Experiment("y.exp");
        WriteBytes(RecentExperimentsFile(), (x + "\r\n" + y + "\r\n").toLocal8Bit());
        Start();
        Action("mRunAgain(2)")->trigger();
        QVERIFY(VisibleSubjectForm());
        QCOMPARE(FileLines(RecentExperimentsFile()), QStringList({y, x}));
        QCOMPARE(QDir::currentPath(), m_dir->path());
        CloseSubjectForm();

        Action("mRepeat")->trigger(); // the last selection, now y
        QVERIFY(VisibleSubjectForm());
        QCOMPARE(m_state->ExperimentFile, y);
        QCOMPARE(m_state->ExperimentFileName, QString("y.exp"));
    }

    void aRunIsRefusedInABox_data() {
        QTest::addColumn<bool>("slideShow");
        QTest::addColumn<QString>("message");
        QTest::newRow("a vanished recent experiment")
            << false
            << "The requested experiment does not appear to exist any longer in the given "
               "location. Use the 'Select and run experiment' command to find and run the "
               "experiment.";
        QTest::newRow("a slide show program running")
            << true
            << "PowerPoint appears to be running.  Please close it before starting the "
               "experiment.";
    }
    void aRunIsRefusedInABox() {
        QFETCH(bool, slideShow);
        m_desktop.slideShow = slideShow;
        const QString path = slideShow ? Experiment("e.exp") : m_dir->filePath("gone.exp");
        if (!slideShow)
            WriteBytes(RecentExperimentsFile(), (path + "\r\n").toLocal8Bit());
        Start();
        m_dialogs.answers << path;
        Action(slideShow ? "mRunExperiment" : "mRunAgain(1)")->trigger();
        QCOMPARE(m_boxes.size(), 1);
        QTEST(m_boxes.front().text, "message");
        QVERIFY(!VisibleSubjectForm());
        // Kept in the list; a slide show is looked for after the list is written.
        QCOMPARE(FileLines(RecentExperimentsFile()), QStringList{path});
    }

    void muteAndCharacterSetAreSaved() {
        Start();
        const QString ini =
            QSettings(QSettings::IniFormat, QSettings::UserScope, "Corvane", "Corvane").fileName();
        QVERIFY2(ini.startsWith(qEnvironmentVariable("XDG_CONFIG_HOME")), qPrintable(ini));
        QVERIFY(Action("mCharsets(0)")->isChecked());
        QVERIFY(!Action("mMuteSounds")->isChecked());

        Action("mMuteSounds")->trigger();
        QVERIFY(Action("mMuteSounds")->isChecked());
        QCOMPARE(SettingsStore::Get("Corvane", "MuteSounds").toBool(), true);
        QVERIFY(m_launcher->MuteSounds());
        Action("mCharsets(8)")->trigger();
        QCOMPARE(SettingsStore::Get("Corvane", "CharacterSet").toInt(), 8);
        QCOMPARE(m_launcher->CharsetOverride(), 8);
        for (int n = 0; n <= 10; ++n)
            QCOMPARE(Action(QString("mCharsets(%1)").arg(n))->isChecked(), n == 8);
        QVERIFY(QFile::exists(ini));

        // The next start takes them back.
        Start();
        QVERIFY(Action("mMuteSounds")->isChecked());
        QVERIFY(Action("mCharsets(8)")->isChecked());
        QVERIFY(!Action("mCharsets(0)")->isChecked());
        Action("mMuteSounds")->trigger();
        QCOMPARE(SettingsStore::Get("Corvane", "MuteSounds").toBool(), false);
    }

    void theUnloadKeepsTheFolderAndEndsByQOrDoubleClick() {
        const QString folder = m_dir->filePath("lab");
        QDir().mkpath(folder);
        WriteBytes(folder + "/notes.txt", "x");
        fBlue& launcher = Start();
        launcher.show();
        QVERIFY(QDir::setCurrent(folder));
        QSignalSpy unloaded(&launcher, &fBlue::Unloaded);
        QTest::keyClick(&launcher, Qt::Key_Q);
        QCOMPARE(unloaded.size(), 1);
        QCOMPARE(SettingsStore::Get("Corvane", "LastPath").toString(), folder);

        // The next start works in that folder again; a folder without files is passed over.
        QDir::setCurrent(m_dir->path());
        fBlue& again = Start();
        QCOMPARE(QDir::currentPath(), folder);
        again.show();
        QSignalSpy unloadedAgain(&again, &fBlue::Unloaded);
        QTest::mouseDClick(again.findChild<QWidget*>("imgMain"), Qt::LeftButton);
        QCOMPARE(unloadedAgain.size(), 1);

        SettingsStore::Save("Corvane", "LastPath", m_dir->filePath("program/ini"));
        QDir::setCurrent(m_dir->path());
        Start();
        QCOMPARE(QDir::currentPath(), m_dir->path());
    }

    void theDataAndHelpMenusUseTheDesktop() {
        fBlue& launcher = Start();
        const QString csv = m_dir->filePath("data.csv");
        m_dialogs.answers << csv;
        Action("mEditDataOpen")->trigger();
        QCOMPARE(m_dialogs.asked.back().title, QString("Select data file to open"));
        QCOMPARE(m_desktop.opened, QList<QUrl>{QUrl::fromLocalFile(csv)});

        m_dialogs.answers << m_dir->filePath("old.mdb");
        Action("mEditDataOpen")->trigger();
        QCOMPARE(m_desktop.opened.size(), 1);
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY(m_boxes.back().text.startsWith("Access databases can not be opened"));

        const QString sps = m_dir->filePath("study.sps");
        m_dialogs.answers << sps;
        Action("mEditDataSPSS")->trigger();
        QCOMPARE(m_dialogs.asked.back().title, QString("Select SPSS input file to open"));
        QCOMPARE(m_desktop.opened.back(), QUrl::fromLocalFile(sps));

        Action("mExplorer")->trigger();
        QCOMPARE(m_desktop.opened.back(), QUrl::fromLocalFile(m_dir->path()));
        Action("mHelpTopics")->trigger();
        QCOMPARE(m_desktop.opened.back(),
                 QUrl::fromLocalFile(ProgramFolder::FilePath("help/corvane.html")));
        Action("mTutorial")->trigger();
        QCOMPARE(m_desktop.opened.back(),
                 QUrl::fromLocalFile(ProgramFolder::FilePath("help/tutorial.html")));
        Action("mParameters")->trigger();
        QCOMPARE(m_desktop.opened.back(),
                 QUrl::fromLocalFile(ProgramFolder::FilePath("help/parameters.html")));
        launcher.findChild<QPushButton*>("cmdHelp")->click(); // the start area's
        QCOMPARE(m_desktop.opened.back(),
                 QUrl::fromLocalFile(ProgramFolder::FilePath("help/corvane.html")));
        for (const char* page : {"corvane", "tutorial", "parameters"})
            QVERIFY(QFile::exists(ProgramFolder::FilePath(QString("help/%1.html").arg(page))));
        QVERIFY(!launcher.findChild<HelpWindow*>());
        QCOMPARE(m_boxes.size(), 1);
    }

    // Without a usable browser the help shows in Corvane's own window, links followed inside.
    void helpOpensInItsOwnWindowWithoutABrowser_data() {
        QTest::addColumn<bool>("browserUsable");
        QTest::addColumn<bool>("openSucceeds");
        QTest::addColumn<int>("desktopAsked");
        QTest::newRow("as root or without xdg-open") << false << true << 0;
        QTest::newRow("the desktop fails to open it") << true << false << 1;
    }
    void helpOpensInItsOwnWindowWithoutABrowser() {
        QFETCH(bool, browserUsable);
        QFETCH(bool, openSucceeds);
        m_desktop.browserUsable = browserUsable;
        m_desktop.openSucceeds = openSucceeds;
        fBlue& launcher = Start();
        QVERIFY(!launcher.findChild<HelpWindow*>());

        Action("mHelpTopics")->trigger();
        QTEST(int(m_desktop.opened.size()), "desktopAsked");
        auto* window = launcher.findChild<HelpWindow*>();
        QVERIFY(window);
        QVERIFY(window->isVisible());
        QCOMPARE(window->windowTitle(), QString("Corvane help"));
        QTextBrowser* browser = window->Browser();
        QCOMPARE(browser->source(),
                 QUrl::fromLocalFile(ProgramFolder::FilePath("help/corvane.html")));
        QVERIFY(browser->toPlainText().contains("The launcher's menus"));

        QVERIFY(ClickLink(browser, "parameters.html"));
        QCOMPARE(browser->documentTitle(), QString("Corvane help: the parameter language"));
        QCOMPARE(window->windowTitle(), QString("Corvane help: the parameter language"));
        QVERIFY(browser->toPlainText().contains("corvane-def show"));

        // Another page from the menu goes to the same window.
        Action("mTutorial")->trigger();
        QCOMPARE(launcher.findChildren<HelpWindow*>().size(), 1);
        QCOMPARE(browser->documentTitle(), QString("Corvane tutorial: the demo experiment"));
        QVERIFY(m_boxes.empty());

        // It goes out of sight with the launcher, as a run minimises it, and comes back with it.
        launcher.showMinimized();
        QVERIFY(!window->isVisible());
        launcher.showNormal();
        QVERIFY(window->isVisible());
    }

    // xdg-open's exit status tells whether a browser took the page; root never gets one.
    void theSystemDesktopTellsWhenNoBrowserTakesThePage_data() {
        QTest::addColumn<bool>("asRoot");
        QTest::addColumn<QString>("opener");
        QTest::addColumn<bool>("asked");
        QTest::addColumn<bool>("fails");
        QTest::newRow("as root") << true << "exit 0" << false << true;
        QTest::newRow("no xdg-open") << false << "" << false << true;
        QTest::newRow("xdg-open finds no browser") << false << "exit 3" << true << true;
        QTest::newRow("xdg-open hands it on") << false << "exit 0" << true << false;
    }
    void theSystemDesktopTellsWhenNoBrowserTakesThePage() {
        QFETCH(bool, asRoot);
        QFETCH(QString, opener);
        QFETCH(bool, asked);
        QFETCH(bool, fails);
        const QString bin = m_dir->filePath("bin");
        const QString note = m_dir->filePath("asked.txt");
        QVERIFY(QDir().mkpath(bin));
        if (!opener.isEmpty()) {
            QFile script(bin + "/xdg-open");
            QVERIFY(script.open(QIODevice::WriteOnly));
            script.write(("#!/bin/sh\necho \"$1\" > '" + note + "'\n" + opener + "\n").toUtf8());
            script.close();
            QVERIFY(script.setPermissions(script.permissions() | QFile::ExeOwner));
        }
        const QUrl page = QUrl::fromLocalFile(m_dir->filePath("page.html"));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(bin));
        bool failed = false;
        SystemDesktop desktop(asRoot);
        desktop.OpenInBrowser(page, [&failed] { failed = true; });
        qputenv("PATH", path);
        if (asked) {
            QTRY_VERIFY(QFile::exists(note));
            QTRY_COMPARE(FileLines(note).value(0).trimmed(), page.toString());
        }
        if (fails) {
            QTRY_VERIFY(failed);
        } else {
            QTest::qWait(1000); // its end is seen by now
            QVERIFY(!failed);
        }
        QVERIFY(asked || !QFile::exists(note));
    }

    // Full screen, marks every 100 px in the preferences' look, the sample at l200 t100.
    void theLocationAndSizingScreensOpen_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QSize>("sample");
        QTest::newRow("location") << "mShowLoc"
                                  << "fPixels"
                                  << "Setting Location Points" << QSize(240, 160);
        QTest::newRow("sizing") << "mSizing"
                                << "fPixels2"
                                << " Sizing Movies and Images" << QSize(400, 300);
    }
    void theLocationAndSizingScreensOpen() {
        QFETCH(QString, action);
        QFETCH(QString, form);
        Start();
        // The look in force when the screen opens, as a preference file of large type gives it.
        m_preferences->Fonts[1] = PreferenceFont{"DejaVu Serif", 24, true, true};
        m_preferences->ForeColors[1] = 255; // red
        Action(action)->trigger();
        QWidget* screen = nullptr;
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (top->objectName() == form && top->isVisible())
                screen = top;
        }
        QVERIFY(screen);
        QTEST(screen->windowTitle(), "title");
        QCOMPARE(screen->size(), QGuiApplication::primaryScreen()->geometry().size());
        for (int n = 1; n <= 15; ++n) {
            auto* top = screen->findChild<QLabel*>(QString("lTop(%1)").arg(n));
            auto* left = screen->findChild<QLabel*>(QString("lLeft(%1)").arg(n));
            QVERIFY(top && left);
            QCOMPARE(top->text(), QString::number(n * 100));
            QCOMPARE(top->pos(), QPoint(n * 100, 0));
            QCOMPARE(left->pos(), QPoint(0, n * 100));
            QCOMPARE(top->font().family(), QString("DejaVu Serif"));
            QCOMPARE(top->font().pointSizeF(), 24.0);
            QVERIFY(top->font().bold() && top->font().italic());
            QCOMPARE(left->palette().color(QPalette::WindowText), QColor(255, 0, 0));
        }
        auto* image = screen->findChild<QLabel*>("Image1");
        QVERIFY(image);
        QFETCH(QSize, sample);
        QCOMPARE(image->geometry(), QRect(QPoint(200, 100), sample));
        auto* ok = screen->findChild<QPushButton*>("Command1");
        QVERIFY(ok);
        QCOMPARE(ok->text(), QString("Ok"));
        QPointer<QWidget> watched(screen);
        ok->click();
        QTRY_VERIFY(watched.isNull());
        QVERIFY(m_boxes.isEmpty());
    }

    void preferenceFilesAreListedAndLoaded() {
        QVERIFY(QFile::copy(ProgramFolder::FilePath("styles/default.cvp"),
                            ProgramFolder::FilePath("styles/lab.cvp")));
        QVERIFY(QFile::copy(ProgramFolder::FilePath("styles/default.cvp"),
                            ProgramFolder::FilePath("styles/temp.cvp")));
        Start();
        QVERIFY(Action("mnuPref(0)")->isChecked());
        QAction* lab = nullptr;
        for (int n = 1; n <= 10; ++n) {
            QAction* entry = Action(QString("mnuPref(%1)").arg(n));
            QVERIFY(entry->text() != "temp.cvp" || !entry->isVisible());
            if (entry->isVisible() && entry->text() == "lab.cvp")
                lab = entry;
        }
        QVERIFY(lab);
        lab->trigger();
        QVERIFY(lab->isChecked());
        QVERIFY(!Action("mnuPref(0)")->isChecked());
        QCOMPARE(m_preferences->PreferenceFileName, QString("lab.cvp"));
        QCOMPARE(Panel(3), QString("lab.cvp"));

        m_dialogs.answers << ProgramFolder::FilePath("styles/temp.cvp");
        Action("mGetOptions")->trigger();
        QCOMPARE(m_dialogs.asked.back().folder, ProgramFolder::FilePath("styles"));
        QCOMPARE(m_boxes.back().text,
                 QString("This is a temporary file and it can not be loaded."));
        QCOMPARE(m_preferences->PreferenceFileName, QString("lab.cvp"));

        m_dialogs.answers << ProgramFolder::FilePath("styles/default.cvp");
        Action("mGetOptions")->trigger();
        QCOMPARE(m_preferences->PreferenceFileName, QString("default.cvp"));
        QVERIFY(Action("mnuPref(0)")->isChecked());
    }

    void aQuestionnaireRunsThroughTheTemplateAndTheLauncherComesBack() {
        const QString que = MakeDefinition(
            m_dir->path(), "mood.que",
            QuestionnaireHeader() + "1,scale response,How calm are "
                                    "you?,calm,(p3),0,0,yes,yes,no,,no,Not,1,none,none\n");
        fBlue& launcher = Start();
        launcher.show();
        m_dialogs.answers << que;
        Action("mRunQuestionnaire")->trigger();
        QCOMPARE(m_dialogs.asked.back().title, QString("Select Questionnaire to Run"));
        const QString wrapped = m_dir->filePath("mood_que.exp");
        QVERIFY(QFile::exists(wrapped));
        QCOMPARE(FileLines(RecentExperimentsFile()), QStringList{wrapped});

        fCodes* codes = VisibleSubjectForm();
        QVERIFY(codes);
        QSignalSpy finished(&launcher.Session(), &RunSession::RunFinished);
        codes->TextSubject()->setText("s1");
        codes->TextCondition()->setText("1");
        codes->bOK_Click();
        QVERIFY(launcher.Session().RunActive());
        QCOMPARE(Panel(1), wrapped);
        QCOMPARE(Panel(2), QString("Sub s1, Cond 1"));
        QVERIFY(!launcher.statusBar()->isVisible());
        QVERIFY(!launcher.menuBar()->isEnabled());
        QSignalSpy unloaded(&launcher, &fBlue::Unloaded);
        QVERIFY(!launcher.close()); // the run's data are still in memory
        QCOMPARE(unloaded.size(), 0);

        // The operator's way out ends the run; the launcher comes back as it was.
        launcher.Session().Driver().OperatorKeys(true, true);
        QTRY_COMPARE(finished.size(), 1);
        QVERIFY(!launcher.Session().RunActive());
        QVERIFY(launcher.statusBar()->isVisible());
        QVERIFY(launcher.menuBar()->isEnabled());
        QVERIFY(std::any_of(m_boxes.begin(), m_boxes.end(),
                            [](const MessageBox& box) { return box.title == "Participant s1"; }));
        QVERIFY(QFileInfo::exists(m_dir->filePath("data/byquestionnaire")));
    }

    // One Enter on the Clear Data box must not wipe the data; the box says what would go.
    void clearDataNamesTheFolderAndDefaultsToCancel() {
        const QString exp = Experiment("study.exp");
        QVERIFY(QDir().mkpath(m_dir->filePath("data")));
        WriteBytes(m_dir->filePath("data/old.txt"), "x");
        fBlue& launcher = Start();
        launcher.OpenFile(exp);
        fCodes* codes = VisibleSubjectForm();
        QVERIFY(codes);
        auto* clear = codes->findChild<QPushButton*>("cbData");
        QVERIFY(clear);
        m_boxes.clear();
        clear->click();
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].defaultAnswer, BoxAnswer::Cancel);
        QVERIFY2(m_boxes[0].text.endsWith("\n\n1 file(s) in '" + m_dir->filePath("data") +
                                          "' will be deleted."),
                 qPrintable(m_boxes[0].text));
        QVERIFY(QFile::exists(m_dir->filePath("data/old.txt")));
    }

    void nextSessionsOfTheAutostartListKeepTheExperimentsFileNames() {
        const QString exp = Experiment("study.exp");
        WriteBytes(m_dir->filePath("autostart.txt"), "21,1\r\n22,1\r\n");
        fBlue& launcher = Start();
        QSignalSpy finished(&launcher.Session(), &RunSession::RunFinished);
        launcher.OpenFile(exp);
        for (const QString subject : {"21", "22"}) {
            QTRY_VERIFY(launcher.Session().RunActive());
            QCOMPARE(m_state->SubjectID, subject);
            launcher.Session().Driver().OperatorKeys(true, true); // the data are written
            QVERIFY(!launcher.Session().RunActive());
        }
        // The list is used up: the third session falls back to the form.
        QTRY_VERIFY(VisibleSubjectForm());
        QCOMPARE(finished.size(), 2);
        QCOMPARE(
            std::count_if(m_boxes.begin(), m_boxes.end(),
                          [](const MessageBox& box) { return box.text == "Begin next session?"; }),
            2);
        const QDir data(m_dir->filePath("data/byquestionnaire"));
        QCOMPARE(data.entryList(QDir::Files),
                 QStringList({"question_order.csv", "study.csv", "study.sps", "study.txt",
                              "study_pspp.sps"}));
        QCOMPARE(
            FileLines(data.filePath("study.txt")).filter(QRegularExpression("^'2[12]','1'")).size(),
            2);
    }

    void documentsAreAnnouncedWhileTheirWordProcessorIsLookedFor() {
        FineQuestionnaire(m_dir->path(), "q.que");
        WriteBytes(m_dir->filePath("letter.doc"), "a letter");
        const QString exp = MakeDefinition(m_dir->path(), "docs.exp",
                                           "Condition,position,file\n1,1,letter.doc\n1,2,q.que\n");
        QDir().mkpath(m_dir->filePath("office"));
        const QString office = m_dir->filePath("office/soffice");
        WriteBytes(office, "#!/bin/sh\nexit 0\n");
        QFile::setPermissions(office, QFile::permissions(office) | QFileDevice::ExeOwner);
        fBlue& launcher = Start();
        launcher.show();
        m_preferences->WordFolder = m_dir->filePath("office");
        // What the panel shows each time the loading sets it.
        QStringList shown;
        StatusPanel& panel = launcher.Session().FirstPanel;
        panel.show = [this, show = panel.show, &shown](const QString& text) {
            show(text);
            shown << Panel(1);
        };
        launcher.OpenFile(exp);
        fCodes* codes = VisibleSubjectForm();
        QVERIFY(codes);
        codes->bOK_Click();
        QVERIFY(launcher.Session().RunActive());
        // Then the document is converted for showing, which the panel announces as well.
        QCOMPARE(shown, QStringList({"Accessing Microsoft Word ... one moment", exp,
                                     "Preparing letter.doc for showing ... one moment", exp}));
        QCOMPARE(m_state->WordFound, True);
        launcher.Session().Driver().OperatorKeys(true, true);
    }

    void aFileFromTheDesktopOpensAsTheRunMenusWould() {
        const QString que = FineQuestionnaire(m_dir->path(), "items.que");
        const QString exp = Experiment("study.exp");
        fBlue& launcher = Start();
        launcher.OpenFile(que);
        QVERIFY(VisibleSubjectForm());
        QCOMPARE(m_state->ExperimentFile, m_dir->filePath("items_que.exp"));
        CloseSubjectForm();
        launcher.OpenFile(exp);
        QVERIFY(VisibleSubjectForm());
        QCOMPARE(FileLines(RecentExperimentsFile()),
                 QStringList({exp, m_dir->filePath("items_que.exp")}));
    }

    void theProgramAnswersHelpVersionAndALackOfDisplay() {
        QProcess program;
        program.start(CORVANE_BIN, {"--version"});
        QVERIFY(program.waitForFinished(20000));
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(program.readAllStandardOutput().contains(CORVANE_VERSION));

        program.start(CORVANE_BIN, {"--help"});
        QVERIFY(program.waitForFinished(20000));
        const QByteArray help = program.readAllStandardOutput();
        QVERIFY(help.contains("--run"));
        QVERIFY(help.contains("[FILE]"));

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            env.remove(name);
        program.setProcessEnvironment(env);
        program.start(CORVANE_BIN, QStringList{});
        QVERIFY(program.waitForFinished(20000));
        QCOMPARE(program.exitCode(), 2);
        QVERIFY(program.readAllStandardError().contains("--run"));
    }

    // Recent experiments run from the start area as from the menu; a double click never unloads.
    void theStartAreaListsTheRecentExperimentsAndRunsThemAgain() {
        const QString a = Experiment("a.exp");
        const QString b = Experiment("b.exp");
        fBlue& launcher = Start();
        auto* list = launcher.findChild<QListWidget*>("lstRecent");
        QVERIFY(list);
        QCOMPARE(list->count(), 0);
        QVERIFY(!list->isVisibleTo(&launcher));
        QVERIFY(launcher.findChild<QLabel*>("lblNoRecent")->isVisibleTo(&launcher));

        QVERIFY(WriteRecentExperiment(RecentExperimentsFile(), a));
        QVERIFY(WriteRecentExperiment(RecentExperimentsFile(), b));
        Start();
        list = m_launcher->findChild<QListWidget*>("lstRecent");
        QCOMPARE(list->count(), 2);
        QVERIFY(list->isVisibleTo(m_launcher.get()));
        QVERIFY(!m_launcher->findChild<QLabel*>("lblNoRecent")->isVisibleTo(m_launcher.get()));
        QVERIFY(list->item(0)->text().startsWith("b.exp"));
        QVERIFY(list->item(1)->text().startsWith("a.exp"));
        QCOMPARE(list->item(1)->toolTip(), a);

        // Enter on the second runs it, and it moves to the top of both lists.
        m_launcher->show();
        list->setCurrentRow(1);
        QTest::keyClick(list, Qt::Key_Return);
        QTRY_VERIFY(VisibleSubjectForm());
        QCOMPARE(m_state->ExperimentFile, a);
        QCOMPARE(FileLines(RecentExperimentsFile()), QStringList({a, b}));
        QVERIFY(list->item(0)->text().startsWith("a.exp"));
        QCOMPARE(Action("mRunAgain(1)")->data().toString(), a);
        CloseSubjectForm();

        QSignalSpy unloaded(m_launcher.get(), &fBlue::Unloaded);
        const QPoint second = list->visualItemRect(list->item(1)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, second);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, second);
        QTRY_VERIFY(VisibleSubjectForm());
        QCOMPARE(m_state->ExperimentFile, b);
        CloseSubjectForm();
        auto* area = m_launcher->findChild<QWidget*>("StartArea");
        QTest::mouseDClick(area, Qt::LeftButton, {}, QPoint(4, 4));
        QCOMPARE(unloaded.size(), 0);
        QVERIFY(m_launcher->isVisible());
    }

    void theDemoOpensAtTheSubjectForm() {
        fBlue& launcher = Start();
        auto* demo = launcher.findChild<QPushButton*>("cmdDemo");
        QVERIFY(demo);
        demo->click();
        QVERIFY(VisibleSubjectForm());
        const QString exp = ProgramFolder::FilePath("demo/demo.exp");
        QCOMPARE(m_state->ExperimentFile, exp);
        QCOMPARE(FileLines(RecentExperimentsFile()), QStringList{exp});
        CloseSubjectForm();

        // A program folder without the demo says so and where it looked.
        QVERIFY(QFile::remove(exp));
        demo->click();
        QVERIFY(!VisibleSubjectForm());
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY(m_boxes.back().text.contains(exp));
    }

    void aNewExperimentIsMadeFromTheTemplate() {
        const QString lab = m_dir->filePath("lab");
        QVERIFY(QDir().mkpath(lab));
        fBlue& launcher = Start();
        launcher.show();
        auto* create = launcher.findChild<QPushButton*>("cmdNewExperiment");
        QVERIFY(create);
        create->click(); // cancelled
        QCOMPARE(m_dialogs.askedToSave.size(), 1);
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(QDir(lab).isEmpty());

        m_dialogs.saveAnswers << lab + "/mood";
        create->click();
        for (const char* name : {"mood.exp", "mood.que", "mood.csv", "mood_exp.csv"})
            QVERIFY2(QFile::exists(lab + "/" + name), name);
        QCOMPARE(ReadAll(lab + "/mood.csv"),
                 ReadAll(ProgramFolder::FilePath("templates/questionnaire.csv")));
        // The single-questionnaire template's row, with the new questionnaire in it.
        const QStringList made = ExportDefinitionFile(lab + "/mood.exp").split('\n');
        const QStringList single =
            ExportDefinitionFile(ProgramFolder::FilePath("temp.exp")).split('\n');
        QCOMPARE(made.size(), single.size());
        QCOMPARE(made[0], single[0]);
        QVERIFY2(made[1].contains(",mood.que,"), qPrintable(made[1]));
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].buttons, BoxButtons::YesNo);
        QVERIFY(m_boxes[0].text.contains(QString("edit \"%1/mood.csv\"").arg(lab)));
        QVERIFY(m_boxes[0].text.contains(
            QString("corvane-def create \"%1/mood.que\" \"%1/mood.csv\"").arg(lab)));

        // Yes opens it, and it runs the template's four items.
        fCodes* codes = VisibleSubjectForm();
        QVERIFY(codes);
        QCOMPARE(m_state->ExperimentFile, lab + "/mood.exp");
        QSignalSpy finished(&launcher.Session(), &RunSession::RunFinished);
        codes->TextSubject()->setText("s1");
        codes->TextCondition()->setText("1");
        codes->bOK_Click();
        QVERIFY(launcher.Session().RunActive());
        QCOMPARE(m_state->NumQuestions, 4);
        launcher.Session().Driver().OperatorKeys(true, true);
        QTRY_COMPARE(finished.size(), 1);

        // The same name again overwrites nothing.
        const QByteArray questionnaire = ReadAll(lab + "/mood.que");
        WriteBytes(lab + "/mood.csv", "edited");
        m_boxes.clear();
        m_dialogs.saveAnswers << lab + "/mood.exp";
        create->click();
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY(m_boxes[0].text.contains("is there already"));
        QCOMPARE(ReadAll(lab + "/mood.csv"), QByteArray("edited"));
        QCOMPARE(ReadAll(lab + "/mood.que"), questionnaire);
        QVERIFY(!VisibleSubjectForm());
    }

    // Last folder chosen from (also after a restart), else Documents, else home.
    void theOpenDialogStartsInTheLastFolderElseTheDocuments() {
        const QByteArray oldHome = qgetenv("HOME");
        const QString home = m_dir->filePath("home");
        QVERIFY(QDir().mkpath(home));
        qputenv("HOME", home.toLocal8Bit());
        auto restore = qScopeGuard([&] { qputenv("HOME", oldHome); });

        Start();
        Action("mRunExperiment")->trigger();
        QCOMPARE(m_dialogs.asked.back().folder, home);
        QVERIFY(QDir().mkpath(home + "/Documents"));
        Action("mRunQuestionnaire")->trigger();
        QCOMPARE(m_dialogs.asked.back().folder, home + "/Documents");

        const QString lab = m_dir->filePath("lab");
        QVERIFY(QDir().mkpath(lab));
        FineQuestionnaire(lab, "q.que");
        const QString exp = MakeDefinition(lab, "a.exp", "Condition,position,file\n1,1,q.que\n");
        m_dialogs.answers << exp;
        Action("mRunExperiment")->trigger();
        QVERIFY(VisibleSubjectForm());
        CloseSubjectForm();
        QVERIFY(QDir::setCurrent(m_dir->path()));
        Action("mEditDataOpen")->trigger();
        QCOMPARE(m_dialogs.asked.back().folder, lab);
        Start();
        Action("mRunExperiment")->trigger();
        QCOMPARE(m_dialogs.asked.back().folder, lab);

        QVERIFY(QDir(lab).removeRecursively());
        Action("mRunExperiment")->trigger();
        QCOMPARE(m_dialogs.asked.back().folder, home + "/Documents");
    }

    void filtersAreWrittenForTheDialog() {
        QCOMPARE(DialogFilter("Data (*.dat; *.txt; *.csv)|*.dat;*.txt;*.csv|All files (*.*)|*.*|"),
                 QString("Data (*.dat *.txt *.csv);;All files (*)"));
        QCOMPARE(DialogFilter("SPSS (*.sps)|*.sps|"), QString("SPSS (*.sps)"));
    }

private:
    fBlue& Start() {
        m_launcher.reset();
        m_launcher = std::make_unique<fBlue>(*m_state, *m_preferences, m_dialogs, m_desktop);
        m_launcher->Load();
        return *m_launcher;
    }

    QAction* Action(const QString& name) const {
        auto* action = m_launcher->findChild<QAction*>(name);
        if (!action)
            qWarning() << "no action" << name;
        return action;
    }

    QMenu* Menu(const QString& name) const { return m_launcher->findChild<QMenu*>(name); }

    QString Panel(int n) const {
        return m_launcher->findChild<QLabel*>(QString("Panel(%1)").arg(n))->text();
    }

    QString Experiment(const QString& name) {
        FineQuestionnaire(m_dir->path(), "q.que");
        return MakeDefinition(m_dir->path(), name, "Condition,position,file\n1,1,q.que\n");
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<MessageBox> m_boxes;
    std::unique_ptr<RunState> m_state;
    std::unique_ptr<Preferences> m_preferences;
    AnsweringDialogs m_dialogs;
    WatchedDesktop m_desktop;
    std::unique_ptr<fBlue> m_launcher;
};

int main(int argc, char* argv[]) {
    // The settings and the program's folder of the tests live in a folder of their own.
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath("config").toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath("data").toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    TestLauncher test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_launcher.moc"
