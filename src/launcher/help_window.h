// Corvane's own window for its help pages, for a desktop whose browser can't be started (as
// root, where browsers refuse to run, or with none installed). Links between the pages are
// followed inside it. It goes out of sight with the launcher, so that a run, which minimises
// the launcher, shows the participant nothing of it.
#pragma once

#include <QUrl>
#include <QWidget>

class QLabel;
class QTextBrowser;

namespace corvane {

class HelpWindow : public QWidget {
    Q_OBJECT
public:
    explicit HelpWindow(QWidget* parent = nullptr);

    /// Shows a help page, a local HTML file, with its title in the window's title.
    void ShowPage(const QUrl& page);
    QTextBrowser* Browser() const { return m_browser; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void ShowTitle();
    void FollowOwner(const QWidget& owner);

    bool m_hiddenWithOwner = false;

    QTextBrowser* m_browser = nullptr;
};

/// Shows a help page in the help window of `owner`, made on first use and kept with it.
HelpWindow* ShowHelpInOwnWindow(QWidget* owner, const QUrl& page);

} // namespace corvane
