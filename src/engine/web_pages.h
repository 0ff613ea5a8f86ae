// The web pages of a run: one profile kept in memory only (no cookies or history on the disk),
// in which the pages of an experiment may read local files only inside the experiment's folder,
// since an experiment copied from elsewhere could otherwise show any file of the machine.
#pragma once

#include <QString>
#include <QUrl>
#include <QWebEnginePage>
#include <functional>

class QWebEngineProfile;
class QWebEngineView;
class QWidget;

namespace corvane {

/// The folder whose files the run's pages may read; set at the start of each run, which also
/// clears what the pages of an earlier run left (cookies, cache).
void SetWebFolder(const QString& experimentFolder);
/// True when the run's pages may go to `url`: any address that is not a local file, or a file
/// inside the experiment's folder.
bool WebAddressAllowed(const QUrl& url);

/// A page of the run's profile. Each navigation that is let through is reported first, for the
/// forms that record where a participant goes.
class RunWebPage : public QWebEnginePage {
    Q_OBJECT
public:
    explicit RunWebPage(QObject* parent = nullptr);
    std::function<void(const QUrl&)> BeforeNavigate;

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
};

/// A web view on a new page of the run's profile.
QWebEngineView* MakeRunWebView(QWidget* parent);
/// True when the view has loaded the page it was last sent to (whether or not that worked),
/// and has not been given back since.
bool PageLoaded(const QWebEngineView* view);
/// A view for a web item: one that an earlier item gave back, whose page process is running
/// already, else a new one. It may still show the earlier page until it loads the next.
QWebEngineView* TakeRunWebView(QWidget* parent);
/// Gives a view back for the next web item: it leaves its form and forgets where it has been.
void ReturnRunWebView(QWebEngineView* view);
/// The address of a page that a definition names: a web address as it stands ("www." gets
/// "http://"), else a file, relative to the experiment's folder unless it is absolute.
QUrl PageAddress(const QString& name, const QString& experimentFolder);
/// Starts the web engine with a hidden page, kept for the first web item of the run, so that
/// it doesn't wait for the engine.
void WarmWebEngine();

} // namespace corvane
