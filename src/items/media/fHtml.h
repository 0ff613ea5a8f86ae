// A web page: a list entry ending in "htm" or "tml", or an item of type "html" or "webtracker".
// The page shows until Continue or the time limit; a toolbar of up to six buttons, switched on by
// the experiment's browser.txt, lets the participant browse. A "webtracker" item logs each page
// left, with the times of the stay.
#pragma once

#include "engine/item_frame.h"

#include <QDateTime>
#include <QSet>
#include <QUrl>
#include <memory>

class QToolButton;
class QWebEngineView;

namespace corvane {

class RunTimer;

/// The toolbar buttons that the lines of browser.txt switch on, by key ("Back", "Forward",
/// "Stop", "Refresh", "Home", "Search"): a line switches on each button whose word it holds, if
/// it also holds "true", both as lower-case parts of the line.
QSet<QString> ReadToolbarSwitches(const QString& text);

class fHtml : public ItemForm {
    Q_OBJECT
public:
    explicit fHtml(RunContext& run);
    void Load() override;

    QWebEngineView* WebBrowser1 = nullptr;
    QWidget* tb = nullptr;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    bool KeysNavigate() const override { return !m_isWebtracker; }
    void hideEvent(QHideEvent* event) override;

private:
    void SetToolbar();
    void ToolbarClick(const QString& key);
    void StartTracking();
    void BeforeNavigate(const QUrl& url);
    void BrowseWriteData();
    void EndRoutine();
    QDateTime Now() const;
    void ReportLogLocked(const QString& row);

    bool m_isWebtracker = false;
    bool m_toolbarWanted = false;
    QUrl m_htmlFile;
    qint32 m_duration = 0;
    QString m_trackFile;
    QString m_trackURL;
    QDateTime m_trackInMoment;
    QMap<QString, QToolButton*> m_buttons;
    std::unique_ptr<RunTimer> m_timer1;
};

} // namespace corvane
