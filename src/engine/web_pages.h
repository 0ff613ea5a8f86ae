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

/// The folder whose files the run's pages may read; set at the start of each run.
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
/// The address of a page that a definition names: a web address as it stands ("www." gets
/// "http://"), else a file, relative to the experiment's folder unless it is absolute.
QUrl PageAddress(const QString& name, const QString& experimentFolder);
/// Starts the web engine with a hidden page, so that the first web item of a run doesn't wait
/// for it. Does nothing the second time.
void WarmWebEngine();

} // namespace corvane
