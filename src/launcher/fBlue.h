// The launcher: the program's main window, with its picture, status bar and menus. From here
// the operator runs an experiment, a single questionnaire or a recent one again, looks at data,
// chooses preferences and reaches the help and the tools around the program.
#pragma once

#include "devices/fPixels.h"

#include <QMainWindow>
#include <array>
#include <functional>
#include <memory>

class QLabel;
class QMenu;

namespace corvane {

class Desktop;
class FileDialogs;
class RunSession;
class RunState;
class StartArea;
struct FileRequest;
struct PreferenceLoad;
struct PreferenceMenu;
struct Preferences;

class fBlue : public QMainWindow {
    Q_OBJECT
public:
    /// The launcher on the program's run state and settings in force; files are asked for and
    /// the desktop is reached through the seams given.
    fBlue(RunState& state, Preferences& preferences, FileDialogs& dialogs, Desktop& desktop,
          QWidget* parent = nullptr);
    ~fBlue() override;

    /// The form's start: saved settings, the preference file, the recent experiments.
    void Load();
    /// Shows the form in the window state saved at the last unload.
    void ShowInSavedState();
    /// Opens an experiment or a single questionnaire as the run menus do: given on the command
    /// line or by the desktop.
    void OpenFile(const QString& path);

    RunSession& Session() { return *m_session; }
    bool MuteSounds() const { return m_muteSounds; }
    int CharsetOverride() const { return m_charsetOverride; }

    /// Shows what the settings in force say: the file, the editing state and the picture.
    void ShowPreferencesInForce();

signals:
    /// The form has been unloaded: the program ends.
    void Unloaded();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void BuildMenus();
    void BuildStatusBar();

    // The run menu.
    void mRunExperiment_Click();
    void mRunQuestionnaire_Click();
    void mRunAgain_Click(int index);
    void RunRecentExp();
    bool GetDB(const FileRequest& request);
    void RunChosen();
    void LoadCodes();
    void WriteLastExperiment();
    void ReadLastExperiment();
    bool CheckPP();
    void TellSlideShowRunning();

    // The start area's first steps; its help and recent experiments go as the menus do.
    void OpenDemo();
    void NewExperiment();

    // The data menu.
    void mEditDataOpen_Click();
    void mEditDataSPSS_Click();
    void mMergeData_Click();
    void mExplorer_Click();
    void OpenInAccess(const QString& path);
    void OpenWithDesktop(const QString& path);

    // The preferences menu.
    void mnuQuickStyle_Click();
    void mSetOptions_Click();
    void mGetOptions_Click();
    void mMuteSounds_Click();
    void mCharsets_Click(int index);
    void mnuPref_Click(int index);
    void mnuCVXEdit_Click();
    void ShowPreferenceLoad(const PreferenceLoad& load);
    void ShowPreferenceMenu(const PreferenceMenu& menu);

    // The help menu.
    void mHelpTopics_Click();
    void mTutorial_Click();
    void mAboutCorvane_Click();
    void OpenHelpPage(const QString& page);

    // The run's hand-overs.
    void SubjectEntered();
    void RunStarted();
    void RunFinished();

    void Tell(const QString& text);
    /// The preferences dialog on its style page or its first page.
    void OpenOptions(bool stylePage);
    /// Opens the help screen of the picture parameters on that topic.
    void ShowPixels(fPixels::Topic topic);
    void SetPanel(int panel, const QString& text);

    RunState& m_state;
    Preferences& m_preferences;
    FileDialogs& m_dialogs;
    Desktop& m_desktop;
    std::unique_ptr<RunSession> m_session;

    QWidget* m_picture = nullptr;
    StartArea* m_start = nullptr;
    std::array<QLabel*, 5> m_panels{}; // 1 to 4
    QAction* mRepeat = nullptr;
    QAction* mFileBar = nullptr;
    QAction* mblank = nullptr;
    std::array<QAction*, 11> mRunAgain{}; // 1 to 10
    QAction* mMuteSounds = nullptr;
    std::array<QAction*, 11> mCharsets{};
    std::array<QAction*, 11> mnuPref{};

    bool m_muteSounds = false;
    int m_charsetOverride = -1;
    int m_windowState = 2;
    Qt::WindowStates m_savedWindowState;
    bool m_helpAvailable = true;
};

} // namespace corvane
