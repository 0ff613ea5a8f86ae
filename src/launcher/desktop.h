// What the launcher asks of the desktop around it: opening a file or folder with the program
// the desktop chooses, probing for a running slide-show program and setting
// the keyboard's repeat. One seam, so that tests see what would have been opened.
#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>

namespace corvane {

class Desktop {
public:
    virtual ~Desktop() = default;
    /// Opens a file, folder or web address with the desktop's default program.
    virtual bool OpenUrl(const QUrl& url) = 0;
    /// False when the desktop's web browser can't be started for this user, so that the help
    /// is shown in Corvane's own window instead of nowhere.
    virtual bool CanStartBrowser() { return true; }
    /// Opens a page in the desktop's web browser. `failed` is called, at once or when the
    /// desktop reports it moments later, when no browser takes the page.
    virtual void OpenInBrowser(const QUrl& page, const std::function<void()>& failed);
    /// True while a program that would take slide shows away from a run is running.
    virtual bool SlideShowRunning() = 0;
    /// The quickest keyboard repeat that the window system offers, so that a participant
    /// holding a key gets the quickest repeat.
    virtual void SetQuickestKeyRepeat() = 0;
};

/// The desktop of this computer.
class SystemDesktop : public Desktop {
public:
    /// `runsAsRoot`: whether Corvane runs as root, where browsers refuse to start.
    explicit SystemDesktop(bool runsAsRoot = RunsAsRoot());
    static bool RunsAsRoot();

    bool OpenUrl(const QUrl& url) override;
    bool CanStartBrowser() override;
    void OpenInBrowser(const QUrl& page, const std::function<void()>& failed) override;
    bool SlideShowRunning() override;
    void SetQuickestKeyRepeat() override;

private:
    bool m_runsAsRoot;
};

/// True when a process of this user whose name is one of `names` runs, other than a headless
/// one (read from /proc).
bool ProcessRunning(const QStringList& names);

} // namespace corvane
