#include "launcher/fBlue.h"

#include "analysis/station_merge.h"
#include "definitions/definition_writer.h"
#include "definitions/single_questionnaire.h"
#include "engine/fCodes.h"
#include "engine/run_session.h"
#include "launcher/artwork.h"
#include "launcher/desktop.h"
#include "launcher/fAbout2.h"
#include "launcher/file_dialogs.h"
#include "launcher/help_window.h"
#include "launcher/new_experiment.h"
#include "launcher/recent_experiments.h"
#include "launcher/start_area.h"
#include "output/recovery.h"
#include "preferences/fOptions.h"
#include "preferences/load_preferences.h"
#include "preferences/old_preferences.h"
#include "preferences/options_dialogs.h"
#include "preferences/preferences.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

namespace corvane {

namespace {

const QString kSettings = QStringLiteral("Corvane");

// The launcher's picture, drawn to the size of the window.
class MainPicture : public QWidget {
public:
    explicit MainPicture(QWidget* parent) : QWidget(parent) {
        setObjectName(QStringLiteral("imgMain"));
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (m_image.size() != size())
            m_image = artwork::LauncherPicture(size());
        QPainter(this).drawImage(0, 0, m_image);
    }

private:
    QImage m_image;
};

QString MenuText(const QString& text) {
    return QString(text).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QString Indexed(const char* name, int index) {
    return QLatin1String(name) + QLatin1Char('(') + QString::number(index) + QLatin1Char(')');
}

} // namespace

fBlue::fBlue(RunState& state, Preferences& preferences, FileDialogs& dialogs, Desktop& desktop,
             QWidget* parent)
    : QMainWindow(parent), m_state(state), m_preferences(preferences), m_dialogs(dialogs),
      m_desktop(desktop), m_session(std::make_unique<RunSession>(state, preferences)) {
    setObjectName(QStringLiteral("fBlue"));
    setWindowTitle(QStringLiteral("Corvane"));
    setFocusPolicy(Qt::StrongFocus);
    resize(800, 560);

    auto* centre = new QWidget(this);
    auto* layout = new QVBoxLayout(centre);
    layout->setContentsMargins(0, 0, 0, 16);
    m_picture = new MainPicture(centre);
    layout->addWidget(m_picture, 1);
    // The start area sits below the picture, on its colour, and stays when the preferences hide
    // the picture.
    m_start = new StartArea(centre);
    layout->addWidget(m_start, 0, Qt::AlignHCenter);
    QPalette colours = centre->palette();
    colours.setColor(QPalette::Window, artwork::LauncherPictureFoot());
    centre->setPalette(colours);
    centre->setAutoFillBackground(true);
    setCentralWidget(centre);
    // Queued: running one again rebuilds the list whose event chose it.
    connect(m_start, &StartArea::RecentChosen, this, &fBlue::mRunAgain_Click, Qt::QueuedConnection);
    connect(m_start, &StartArea::DemoChosen, this, &fBlue::OpenDemo);
    connect(m_start, &StartArea::NewExperimentChosen, this, &fBlue::NewExperiment);
    connect(m_start, &StartArea::HelpChosen, this, &fBlue::mHelpTopics_Click);

    BuildMenus();
    BuildStatusBar();

    connect(m_session.get(), &RunSession::SubjectEntered, this, &fBlue::SubjectEntered);
    connect(m_session.get(), &RunSession::RunStarted, this, &fBlue::RunStarted);
    connect(m_session.get(), &RunSession::RunFinished, this, &fBlue::RunFinished);
    // The run asks for the next session from inside its last step: that step ends first.
    connect(m_session.get(), &RunSession::NextSessionRequested, this,
            [this] { QTimer::singleShot(0, this, [this] { mRunAgain_Click(1); }); });
    m_session->FirstPanel.text = [this] { return m_panels[1]->text(); };
    m_session->FirstPanel.show = [this](const QString& text) {
        SetPanel(1, text);
        // The search that follows holds the thread: the panel is drawn before it.
        m_panels[1]->repaint();
        QApplication::processEvents();
    };
}

fBlue::~fBlue() = default;

void fBlue::BuildMenus() {
    QMenuBar* bar = menuBar();
    auto menu = [bar](const char* name, const QString& caption) {
        QMenu* m = bar->addMenu(caption);
        m->setObjectName(QLatin1String(name));
        m->menuAction()->setObjectName(QLatin1String(name));
        return m;
    };
    auto item = [this](QMenu* m, const QString& name, const QString& caption, auto slot) {
        QAction* action = m->addAction(caption);
        action->setObjectName(name);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    auto heading = [](QMenu* m, const char* name, const QString& caption) {
        QAction* action = m->addAction(caption);
        action->setObjectName(QLatin1String(name));
        action->setEnabled(false);
        return action;
    };

    QMenu* mRun = menu("mRun", QStringLiteral("&Run"));
    heading(mRun, "mRunHeading", QStringLiteral("Run an experiment"));
    item(mRun, QStringLiteral("mRunExperiment"), QStringLiteral("&Select and run an experiment"),
         &fBlue::mRunExperiment_Click);
    item(mRun, QStringLiteral("mRunQuestionnaire"),
         QStringLiteral("Select and run a single &questionnaire"), &fBlue::mRunQuestionnaire_Click);
    mRepeat = item(mRun, QStringLiteral("mRepeat"), QStringLiteral("&Run last selection again"),
                   [this] { mRunAgain_Click(1); });
    mFileBar = mRun->addSeparator();
    mFileBar->setObjectName(QStringLiteral("mFileBar"));
    mblank = heading(mRun, "mblank", QStringLiteral("Run a recent selection again:"));
    mFileBar->setVisible(false);
    mblank->setVisible(false);
    for (int n = 1; n <= kRecentSlots; ++n) {
        mRunAgain[std::size_t(n)] = item(mRun, Indexed("mRunAgain", n), QStringLiteral("mRunAgain"),
                                         [this, n] { mRunAgain_Click(n); });
        mRunAgain[std::size_t(n)]->setVisible(false);
    }
    mRun->addSeparator()->setObjectName(QStringLiteral("mExitBar"));
    item(mRun, QStringLiteral("mExit"), QStringLiteral("E&xit Corvane"), &QWidget::close);

    QMenu* mEdit = menu("mEdit", QStringLiteral("&Data"));
    heading(mEdit, "mEditHeading", QStringLiteral("Editing"));
    item(mEdit, QStringLiteral("mEditDataOpen"), QStringLiteral("View Data"),
         &fBlue::mEditDataOpen_Click);
    item(mEdit, QStringLiteral("mEditDataSPSS"), QStringLiteral("View SPSS input file"),
         &fBlue::mEditDataSPSS_Click);
    item(mEdit, QStringLiteral("mMergeData"), QStringLiteral("Merge Data Files"),
         &fBlue::mMergeData_Click);
    item(mEdit, QStringLiteral("mExplorer"), QStringLiteral("Launch &Explorer"),
         &fBlue::mExplorer_Click);

    QMenu* mOptions = menu("mOptions", QStringLiteral("&Preferences"));
    item(mOptions, QStringLiteral("mnuQuickStyle"), QStringLiteral("&QuickStyles"),
         &fBlue::mnuQuickStyle_Click);
    item(mOptions, QStringLiteral("mSetOptions"), QStringLiteral("Edit Preferences"),
         &fBlue::mSetOptions_Click);
    item(mOptions, QStringLiteral("mGetOptions"), QStringLiteral("Load Other Preferences File"),
         &fBlue::mGetOptions_Click);
    mMuteSounds = item(mOptions, QStringLiteral("mMuteSounds"),
                       QStringLiteral("Mute Corvane Sounds"), &fBlue::mMuteSounds_Click);
    mMuteSounds->setCheckable(true);
    QMenu* mCharacterSet = mOptions->addMenu(QStringLiteral("Character Set"));
    mCharacterSet->setObjectName(QStringLiteral("mCharacterSet"));
    mCharacterSet->menuAction()->setObjectName(QStringLiteral("mCharacterSet"));
    const QStringList charsets{
        QStringLiteral("Default"), QStringLiteral("Chinese"),         QStringLiteral("Greek"),
        QStringLiteral("Turkish"), QStringLiteral("Vietnamese"),      QStringLiteral("Hebrew"),
        QStringLiteral("Arabic"),  QStringLiteral("Baltic"),          QStringLiteral("Russian"),
        QStringLiteral("Thai"),    QStringLiteral("Eastern European")};
    for (int n = 0; n < int(charsets.size()); ++n) {
        QAction* action = item(mCharacterSet, Indexed("mCharsets", n), charsets[n],
                               [this, n] { mCharsets_Click(n); });
        action->setCheckable(true);
        mCharsets[std::size_t(n)] = action;
    }
    heading(mOptions, "mnuPrefLoad", QStringLiteral("Load:"));
    for (int n = 0; n <= kRecentSlots; ++n) {
        QAction* action = item(mOptions, Indexed("mnuPref", n),
                               n == 0 ? QStringLiteral("default.cvp") : QString(),
                               [this, n] { mnuPref_Click(n); });
        action->setCheckable(true);
        action->setVisible(n == 0);
        mnuPref[std::size_t(n)] = action;
    }
    item(mOptions, QStringLiteral("mnuCVXEdit"), QStringLiteral("&Experiment Editor"),
         &fBlue::mnuCVXEdit_Click);

    QMenu* mHelp = menu("mHelp", QStringLiteral("&Help"));
    item(mHelp, QStringLiteral("mHelpTopics"), QStringLiteral("&Help Topics"),
         &fBlue::mHelpTopics_Click);
    item(mHelp, QStringLiteral("mTutorial"), QStringLiteral("On-Line &Tutorial"),
         &fBlue::mTutorial_Click);
    item(mHelp, QStringLiteral("mAboutCorvane"), QStringLiteral("&About Corvane"),
         &fBlue::mAboutCorvane_Click);
    item(mHelp, QStringLiteral("mShowLoc"), QStringLiteral("Show &Location Points"),
         [this] { ShowPixels(fPixels::Topic::Location); });
    item(mHelp, QStringLiteral("mSizing"), QStringLiteral("&Sizing Movies and Images"),
         [this] { ShowPixels(fPixels::Topic::Sizing); });
    mHelp->addSeparator()->setObjectName(QStringLiteral("mParametersBar"));
    item(mHelp, QStringLiteral("mParameters"), QStringLiteral("The &Parameter Language"),
         [this] { OpenHelpPage(QStringLiteral("help/parameters.html")); });
}

void fBlue::BuildStatusBar() {
    QStatusBar* bar = statusBar();
    bar->setObjectName(QStringLiteral("StatusBar1"));
    bar->setSizeGripEnabled(false);
    for (int n = 1; n <= 4; ++n) {
        auto* panel = new QLabel(bar);
        panel->setObjectName(Indexed("Panel", n));
        panel->setMinimumWidth(n == 1 ? 200 : n == 4 ? 70 : 140);
        panel->setFrameShape(QFrame::StyledPanel);
        panel->setFrameShadow(QFrame::Sunken);
        panel->setContentsMargins(4, 0, 4, 0);
        bar->addPermanentWidget(panel, n == 1 ? 1 : 0);
        m_panels[std::size_t(n)] = panel;
    }
}

void fBlue::SetPanel(int panel, const QString& text) {
    m_panels[std::size_t(panel)]->setText(text);
}

// --- Start and end -------------------------------------------------------------------------------

void fBlue::Load() {
    // The last working folder, when it still holds a file.
    const QString lastPath =
        SettingsStore::Get(kSettings, QStringLiteral("LastPath"), QDir::currentPath()).toString();
    if (!lastPath.isEmpty() && !QDir(lastPath).entryList(QDir::Files).isEmpty()) {
        QString folder = lastPath;
        ChangeToFolder(folder);
    }

    m_windowState = SettingsStore::Get(kSettings, QStringLiteral("WindowState"), 2).toInt();
    m_muteSounds = SettingsStore::Get(kSettings, QStringLiteral("MuteSounds"), false).toBool();
    mMuteSounds->setChecked(m_muteSounds);
    m_session->SetMuteSounds(m_muteSounds);
    m_charsetOverride = SettingsStore::Get(kSettings, QStringLiteral("CharacterSet"), -1).toInt();
    m_session->SetCharsetOverride(m_charsetOverride);
    const int checkedCharset =
        m_charsetOverride < 1 || m_charsetOverride > 10 ? 0 : m_charsetOverride;
    for (std::size_t n = 0; n < mCharsets.size(); ++n)
        mCharsets[n]->setChecked(int(n) == checkedCharset);

    ConvertOldPreferences(m_state);
    m_preferences.PreferenceFileName = QStringLiteral("default.cvp");
    ShowPreferenceLoad(LoadPreferences(m_state, m_preferences, QString()));

    if (const QScreen* screen = this->screen())
        move(screen->availableGeometry().center() - rect().center());
    m_desktop.SetQuickestKeyRepeat();
    ReadLastExperiment();
    SetPanel(1, QString());
    SetPanel(2, QString());
}

void fBlue::ShowInSavedState() {
    if (m_windowState == 2)
        showMaximized();
    else if (m_windowState == 1)
        showMinimized();
    else
        showNormal();
}

void fBlue::closeEvent(QCloseEvent* event) {
    // The run's data are in memory until its end: the launcher doesn't go while one is under way.
    if (m_session->RunActive()) {
        event->ignore();
        return;
    }
    // The voice recorder and the TTL form keep nothing that outlives the program here.
    m_state.VoiceFolderReady = False;
    m_state.TTLFormLoaded = False;
    SettingsStore::Save(kSettings, QStringLiteral("LastPath"), QDir::currentPath());
    const int state = isMaximized() ? 2 : isMinimized() ? 1 : 0;
    SettingsStore::Save(kSettings, QStringLiteral("WindowState"), state);
    event->accept();
    emit Unloaded();
}

void fBlue::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        mHelpTopics_Click();
        return;
    }
    if (event->text() == QLatin1String("q")) {
        // The pointer may have been hidden by a run: the operator gets it back first.
        while (QApplication::overrideCursor())
            QApplication::restoreOverrideCursor();
        unsetCursor();
        close();
        return;
    }
    QMainWindow::keyPressEvent(event);
}

void fBlue::mouseDoubleClickEvent(QMouseEvent* event) {
    if (centralWidget()->geometry().contains(event->position().toPoint())) {
        close();
        return;
    }
    QMainWindow::mouseDoubleClickEvent(event);
}

// --- Running -------------------------------------------------------------------------------------

bool fBlue::GetDB(const FileRequest& request) {
    QString path = m_dialogs.GetOpenFileName(this, request);
    if (path.startsWith(QLatin1Char('*')) || path.startsWith(QLatin1Char(' ')))
        path.clear();
    m_state.ExperimentFile = path;
    if (path.isEmpty())
        return false;
    RememberOpenDialogFolder(path);
    const QString title = QFileInfo(path).fileName();
    m_state.ExperimentFileName = title;
    m_state.ExperimentFolder = path.left(path.size() - title.size() - 1);
    QString folder = m_state.ExperimentFolder;
    ChangeToFolder(folder);
    return true;
}

void fBlue::mRunExperiment_Click() {
    if (m_session->RunActive())
        return;
    if (GetDB({QStringLiteral("Select Experimental Database to Run"),
               QStringLiteral("Experiment (*.exp)|*.exp|All files (*.*)|*.*|"),
               QStringLiteral("*.exp"), OpenDialogFolder()}))
        RunChosen();
}

void fBlue::mRunQuestionnaire_Click() {
    if (m_session->RunActive())
        return;
    if (!GetDB({QStringLiteral("Select Questionnaire to Run"),
                QStringLiteral("Questionnaire (*.que)|*.que|All files (*.*)|*.*|"),
                QStringLiteral("*.que"), OpenDialogFolder()}))
        return;
    try {
        WrapSingleQuestionnaire(m_state, ProgramFolder::FilePath(QStringLiteral("temp.exp")));
    } catch (const CorvaneError& error) {
        m_state.Boxes().Show(MessageBox{ReportErrorTitle(),
                                        ReportErrorText(error.number(), error.description()),
                                        BoxIcon::Critical});
        return;
    }
    RunChosen();
}

void fBlue::OpenFile(const QString& path) {
    const QFileInfo info(FindFile(QFileInfo(path).absoluteFilePath()).value_or(path));
    m_state.ExperimentFile = info.absoluteFilePath();
    m_state.ExperimentFileName = info.fileName();
    m_state.ExperimentFolder = info.absolutePath();
    QString folder = m_state.ExperimentFolder;
    ChangeToFolder(folder);
    // A questionnaire is wrapped as its own menu does; "All files" in the experiment menu
    // leaves it unwrapped, but a file handed over by the desktop says what it is.
    if (info.suffix().toLower() == QLatin1String("que")) {
        try {
            WrapSingleQuestionnaire(m_state, ProgramFolder::FilePath(QStringLiteral("temp.exp")));
        } catch (const CorvaneError& error) {
            m_state.Boxes().Show(MessageBox{ReportErrorTitle(),
                                            ReportErrorText(error.number(), error.description()),
                                            BoxIcon::Critical});
            return;
        }
    }
    RunChosen();
}

void fBlue::RunChosen() {
    WriteLastExperiment();
    ReadLastExperiment();
    if (CheckPP()) {
        TellSlideShowRunning();
        return;
    }
    LoadCodes();
}

void fBlue::mRunAgain_Click(int index) {
    if (m_session->RunActive())
        return;
    const QVariant path = mRunAgain[std::size_t(index)]->data();
    // An entry that was never given a path does nothing.
    if (!path.isValid())
        return;
    m_state.ExperimentFile = path.toString();
    RunRecentExp();
}

void fBlue::RunRecentExp() {
    if (CheckPP()) {
        TellSlideShowRunning();
        return;
    }
    const QString& file = m_state.ExperimentFile;
    const qsizetype slash = file.lastIndexOf(QLatin1Char('/'));
    m_state.ExperimentFolder = file.left(std::max<qsizetype>(slash, 0));
    const QString name = file.mid(slash + 1);
    if (FileExists(file) == 0) {
        Tell(QStringLiteral("The requested experiment does not appear to exist any longer in the "
                            "given location. Use the 'Select and run experiment' command to find "
                            "and run the experiment."));
        return;
    }
    m_state.ExperimentFileName = name;
    QString folder = m_state.ExperimentFolder;
    ChangeToFolder(folder);
    WriteLastExperiment();
    ReadLastExperiment();
    LoadCodes();
}

void fBlue::LoadCodes() {
    // A run of this experiment that was cut off (killed, a crash, a power cut) is offered first.
    OfferRecoveries(m_state, m_preferences.AlternateDataFolder);
    fCodes* codes = m_session->OpenSubjectEntry();
    // The autostart list may have decided already, and then the form never shows.
    if (m_session->RunActive() || IsTrue(m_state.RepeatSessions))
        return;
    // Connected after the form's own handler, which sets the editing state first.
    if (auto* edit = codes->findChild<QCheckBox*>(QStringLiteral("CheckEdit")))
        connect(edit, &QCheckBox::clicked, this,
                [this] { SetPanel(4, EditStatusText(m_state.EditMode)); });
    codes->setWindowModality(Qt::ApplicationModal);
    codes->show();
    codes->raise();
    codes->activateWindow();
}

void fBlue::WriteLastExperiment() {
    if (!WriteRecentExperiment(RecentExperimentsFile(), m_state.ExperimentFile))
        Tell(QStringLiteral("The list of recent experiments '") + RecentExperimentsFile() +
             QStringLiteral("' can not be written. Check the permissions of the program's "
                            "folder."));
}

void fBlue::ReadLastExperiment() {
    const QStringList entries = ReadRecentSlots(RecentExperimentsFile());
    m_start->ShowRecent(entries);
    const bool any = !entries.front().isEmpty();
    mblank->setVisible(any);
    mFileBar->setVisible(any);
    for (int n = 1; n <= kRecentSlots; ++n) {
        QAction* action = mRunAgain[std::size_t(n)];
        const QString& path = entries[n - 1];
        if (path.isEmpty()) {
            action->setVisible(false);
            continue;
        }
        action->setText(MenuText(path));
        action->setData(path);
        action->setVisible(true);
    }
}

void fBlue::OpenDemo() {
    if (m_session->RunActive())
        return;
    const QString demo = ProgramFolder::FilePath(QStringLiteral("demo/demo.exp"));
    if (!QFileInfo::exists(demo))
        return Tell(QStringLiteral("The demo experiment '") + demo +
                    QStringLiteral("' can not be found. Reinstall Corvane to bring it back."));
    OpenFile(demo);
}

void fBlue::NewExperiment() {
    if (m_session->RunActive())
        return;
    if (const std::optional<QString> experiment =
            AskForNewExperiment(this, m_dialogs, m_state.Boxes()))
        OpenFile(*experiment);
}

bool fBlue::CheckPP() {
    return m_desktop.SlideShowRunning();
}

void fBlue::TellSlideShowRunning() {
    Tell(QStringLiteral("PowerPoint appears to be running.  Please close it before starting the "
                        "experiment."));
}

void fBlue::SubjectEntered() {
    SetPanel(1, m_state.ExperimentFile);
    SetPanel(2, QStringLiteral("Sub ") + m_state.SubjectID + QStringLiteral(", Cond ") +
                    m_state.ConditionID);
    SetPanel(4, EditStatusText(m_state.EditMode));
}

void fBlue::RunStarted() {
    m_savedWindowState = windowState();
    menuBar()->setEnabled(false);
    statusBar()->hide();
    m_helpAvailable = false;
    showMinimized();
}

void fBlue::RunFinished() {
    ReadLastExperiment();
    setWindowState(m_savedWindowState);
    show();
    m_helpAvailable = true;
    statusBar()->show();
    menuBar()->setEnabled(true);
    // The run has loaded the preference file in force again.
    SetPanel(3, m_preferences.PreferenceFileName);
    SetPanel(4, EditStatusText(m_state.EditMode));
    m_picture->setVisible(!m_preferences.HideRatsFlag);
    ShowPreferenceMenu(RefreshPreferenceMenu(m_preferences));
}

// --- Data ----------------------------------------------------------------------------------------

void fBlue::mEditDataOpen_Click() {
    if (!GetDB({QStringLiteral("Select data file to open"),
                QStringLiteral("Data (*.dat; *.txt; *.csv)|*.dat;*.txt;*.csv|All files "
                               "(*.*)|*.*|"),
                QStringLiteral("*.dat; *.txt; *.csv"), OpenDialogFolder()}))
        return;
    if (m_state.ExperimentFile.right(3).toLower() == QLatin1String("mdb"))
        OpenInAccess(m_state.ExperimentFile);
    else
        OpenWithDesktop(m_state.ExperimentFile);
}

void fBlue::mEditDataSPSS_Click() {
    if (GetDB({QStringLiteral("Select SPSS input file to open"),
               QStringLiteral("SPSS (*.sps)|*.sps|All files (*.*)|*.*|"), QStringLiteral("*.sps"),
               OpenDialogFolder()}))
        OpenWithDesktop(m_state.ExperimentFile);
}

void fBlue::OpenInAccess(const QString& path) {
    Tell(QStringLiteral("Access databases can not be opened on this system: '") + path +
         QStringLiteral("' is not opened."));
}

void fBlue::OpenWithDesktop(const QString& path) {
    if (!m_desktop.OpenUrl(QUrl::fromLocalFile(path)))
        Tell(QStringLiteral("The desktop has no program that opens '") + path +
             QStringLiteral("'."));
}

// The data folders of several stations, joined into an empty folder by Corvane's own merge.
void fBlue::mMergeData_Click() {
    QStringList stations;
    for (;;) {
        const QString station = m_dialogs.GetFolder(
            this, {QStringLiteral("Merge Data Files: the data of station %1 (Cancel when all are "
                                  "chosen)")
                       .arg(stations.size() + 1),
                   {},
                   {},
                   OpenDialogFolder()});
        if (station.isEmpty())
            break;
        stations << station;
    }
    if (stations.size() == 1)
        Tell(QStringLiteral("Merging needs the data folders of two stations at least."));
    if (stations.size() < 2)
        return;
    const QString into = m_dialogs.GetFolder(
        this, {QStringLiteral("Merge Data Files: a new or empty folder for the merged data"),
               {},
               {},
               OpenDialogFolder()});
    if (into.isEmpty())
        return;
    const MergeResult merged = MergeStations(stations, into);
    Tell(merged.ok ? QStringLiteral("The data are merged into '") + into + QStringLiteral("'.\n") +
                         merged.report.join(QLatin1Char('\n'))
                   : QStringLiteral("Nothing was merged: ") + merged.error);
}

void fBlue::mExplorer_Click() {
    if (!m_desktop.OpenUrl(QUrl::fromLocalFile(QDir::currentPath())))
        Tell(QStringLiteral("The desktop has no file manager that opens '") + QDir::currentPath() +
             QStringLiteral("'."));
}

// --- Preferences ---------------------------------------------------------------------------------

void fBlue::OpenOptions(bool stylePage) {
    WidgetOptionsDialogs dialogs;
    fOptions dialog(m_state, m_preferences, dialogs, stylePage, this);
    connect(&dialog, &fOptions::PreferencesApplied, this, &fBlue::ShowPreferencesInForce);
    if (dialog.Form_Load())
        dialog.exec();
}

void fBlue::mnuQuickStyle_Click() {
    OpenOptions(true);
    ShowPreferenceMenu(RefreshPreferenceMenu(m_preferences));
}

void fBlue::mSetOptions_Click() {
    const QString before = m_panels[1]->text();
    SetPanel(1, QStringLiteral("Accessing Options... one moment"));
    m_panels[1]->repaint();
    OpenOptions(false);
    ShowPreferenceMenu(RefreshPreferenceMenu(m_preferences));
    SetPanel(1, before);
}

void fBlue::mGetOptions_Click() {
    const QString path = m_dialogs.GetOpenFileName(
        this, {QStringLiteral("Load Other Preferences File"),
               QStringLiteral("Preferences (*.cvp)|*.cvp|All files (*.*)|*.*|"),
               QStringLiteral("*.cvp"), StylesFolder()});
    if (path.isEmpty())
        return;
    if (const auto load = ChoosePreferenceFile(m_state, m_preferences, path))
        ShowPreferenceLoad(*load);
}

void fBlue::mnuPref_Click(int index) {
    const QString name = mnuPref[std::size_t(index)]->data().toString();
    if (name.isEmpty())
        return;
    if (const auto load = ChoosePreferenceFile(m_state, m_preferences, name))
        ShowPreferenceLoad(*load);
    else
        ShowPreferenceMenu(RefreshPreferenceMenu(m_preferences));
}

void fBlue::ShowPreferenceLoad(const PreferenceLoad& load) {
    if (load.launcherShown) {
        SetPanel(4, EditStatusText(m_state.EditMode));
        m_picture->setVisible(!m_preferences.HideRatsFlag);
    }
    SetPanel(3, m_preferences.PreferenceFileName);
    ShowPreferenceMenu(load.menu);
}

void fBlue::ShowPreferencesInForce() {
    SetPanel(4, EditStatusText(m_state.EditMode));
    m_picture->setVisible(!m_preferences.HideRatsFlag);
    SetPanel(3, m_preferences.PreferenceFileName);
}

void fBlue::ShowPreferenceMenu(const PreferenceMenu& menu) {
    for (std::size_t n = 0; n < mnuPref.size(); ++n) {
        const PreferenceMenuEntry& entry = menu.entries[n];
        mnuPref[n]->setText(MenuText(entry.caption));
        mnuPref[n]->setData(entry.caption);
        mnuPref[n]->setVisible(entry.visible);
        mnuPref[n]->setChecked(entry.checked);
    }
}

void fBlue::mMuteSounds_Click() {
    m_muteSounds = mMuteSounds->isChecked();
    m_session->SetMuteSounds(m_muteSounds);
    SettingsStore::Save(kSettings, QStringLiteral("MuteSounds"), m_muteSounds);
}

void fBlue::mCharsets_Click(int index) {
    for (std::size_t n = 0; n < mCharsets.size(); ++n)
        mCharsets[n]->setChecked(int(n) == index);
    m_charsetOverride = index;
    m_session->SetCharsetOverride(index);
    SettingsStore::Save(kSettings, QStringLiteral("CharacterSet"), index);
}

// A definition is edited as the CSV it is made from, in the desktop's spreadsheet: the CSV
// beside it is taken as it stands, else the definition is written out to it first.
void fBlue::mnuCVXEdit_Click() {
    const QString path = m_dialogs.GetOpenFileName(
        this, {QStringLiteral("Experiment Editor"),
               QStringLiteral("Experiments and questionnaires (*.exp;*.que)|*.exp;*.que|"),
               {},
               OpenDialogFolder()});
    if (path.isEmpty())
        return;
    RememberOpenDialogFolder(path);
    const QFileInfo definition(path);
    // As the templates name them: NAME.csv makes NAME.que, NAME_exp.csv makes NAME.exp.
    const bool experiment =
        definition.suffix().compare(QLatin1String("exp"), Qt::CaseInsensitive) == 0;
    const QString csv = definition.dir().filePath(
        definition.completeBaseName() +
        (experiment ? QStringLiteral("_exp.csv") : QStringLiteral(".csv")));
    if (!QFileInfo::exists(csv)) {
        try {
            const QByteArray text = ExportDefinitionFile(path).toUtf8();
            QFile out(csv);
            if (!out.open(QIODevice::WriteOnly) || out.write(text) != text.size())
                return Tell(QStringLiteral("'") + csv + QStringLiteral("' could not be written."));
        } catch (const CorvaneError& error) {
            return Tell(error.description());
        }
    }
    OpenWithDesktop(csv);
    Tell(QStringLiteral("Edit '") + csv +
         QStringLiteral("' and save it as CSV; then make the definition again:\n"
                        "corvane-def create '") +
         path + QStringLiteral("' '") + csv + QStringLiteral("'"));
}

// --- Help ----------------------------------------------------------------------------------------

void fBlue::mHelpTopics_Click() {
    // No help is offered while a run is under way.
    if (m_helpAvailable)
        OpenHelpPage(QStringLiteral("help/corvane.html"));
}

void fBlue::mTutorial_Click() {
    OpenHelpPage(QStringLiteral("help/tutorial.html"));
}

void fBlue::OpenHelpPage(const QString& page) {
    const QString path = ProgramFolder::FilePath(page);
    if (!QFileInfo::exists(path))
        return Tell(QStringLiteral("The help page '") + path +
                    QStringLiteral("' can not be found. Reinstall Corvane to bring it back."));
    const QUrl url = QUrl::fromLocalFile(path);
    // Where no browser takes the page, the help shows in a window of Corvane's own.
    const QPointer<fBlue> launcher(this);
    m_desktop.OpenInBrowser(url, [launcher, url] {
        if (launcher)
            ShowHelpInOwnWindow(launcher, url);
    });
}

void fBlue::mAboutCorvane_Click() {
    auto* about = new fAbout2(this);
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open();
}

// --- Boxes and tools -----------------------------------------------------------------------------

void fBlue::Tell(const QString& text) {
    m_state.Boxes().Show(MessageBox{DefaultBoxTitle(), text, BoxIcon::Information});
}

void fBlue::ShowPixels(fPixels::Topic topic) {
    auto* screen = new fPixels(m_preferences, topic);
    // As the run's forms do, it covers the whole screen.
    screen->showFullScreen();
    screen->raise();
    screen->activateWindow();
}

} // namespace corvane
