#include "engine/web_pages.h"

#include "state/helpers.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QWebEngineCookieStore>
#include <QWebEngineHistory>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineView>

namespace corvane {

namespace {

QString g_webFolder;
// Views given back by web items, for the next one; a page process takes long to start.
QList<QPointer<QWebEngineView>> g_spareViews;
constexpr int kMostSpareViews = 2;
const char* const kLoaded = "corvanePageLoaded";

// Requests of the pages themselves (pictures, frames, scripts) meet the same rule as navigation.
class LocalFileGuard : public QWebEngineUrlRequestInterceptor {
public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;
    void interceptRequest(QWebEngineUrlRequestInfo& info) override {
        if (!WebAddressAllowed(info.requestUrl()))
            info.block(true);
    }
};

// Made on first use only: a run without web pages never starts the web engine.
QWebEngineProfile* g_profile = nullptr;

QWebEngineProfile* RunProfile() {
    // Off the record: nothing of one participant's browsing is left for the next.
    static QWebEngineProfile* profile = [] {
        auto* made = new QWebEngineProfile();
        made->setUrlRequestInterceptor(new LocalFileGuard(made));
        made->settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, true);
        made->settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, true);
        g_profile = made;
        return made;
    }();
    return profile;
}

} // namespace

void SetWebFolder(const QString& experimentFolder) {
    if (g_profile) {
        g_profile->cookieStore()->deleteAllCookies();
        g_profile->clearHttpCache();
    }
    const QFileInfo folder(experimentFolder);
    g_webFolder = folder.exists() ? folder.canonicalFilePath() : folder.absoluteFilePath();
}

bool WebAddressAllowed(const QUrl& url) {
    if (!url.isLocalFile())
        return url.scheme() != QLatin1String("file");
    if (g_webFolder.isEmpty())
        return false;
    const QFileInfo file(url.toLocalFile());
    // Links are followed before the comparison, so that one can't lead out of the folder.
    const QString path = file.exists() ? file.canonicalFilePath() : file.absoluteFilePath();
    const QString cleaned = QDir::cleanPath(path);
    return cleaned == g_webFolder || cleaned.startsWith(g_webFolder + QLatin1Char('/'));
}

RunWebPage::RunWebPage(QObject* parent) : QWebEnginePage(RunProfile(), parent) {}

bool RunWebPage::acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) {
    if (!WebAddressAllowed(url))
        return false;
    if (BeforeNavigate)
        BeforeNavigate(url);
    return QWebEnginePage::acceptNavigationRequest(url, type, isMainFrame);
}

QWebEngineView* MakeRunWebView(QWidget* parent) {
    auto* view = new QWebEngineView(parent);
    view->setPage(new RunWebPage(view));
    view->setProperty(kLoaded, false);
    QObject::connect(view, &QWebEngineView::loadStarted, view,
                     [view] { view->setProperty(kLoaded, false); });
    QObject::connect(view, &QWebEngineView::loadFinished, view,
                     [view] { view->setProperty(kLoaded, true); });
    return view;
}

QUrl PageAddress(const QString& name, const QString& experimentFolder) {
    const QString trimmed = name.trimmed();
    if (trimmed.startsWith(QLatin1String("http"), Qt::CaseInsensitive))
        return QUrl(trimmed);
    if (trimmed.startsWith(QLatin1String("file:"), Qt::CaseInsensitive))
        return QUrl(trimmed);
    if (trimmed.startsWith(QLatin1String("www."), Qt::CaseInsensitive))
        return QUrl(QStringLiteral("http://") + trimmed);
    QString path = QDir::fromNativeSeparators(trimmed);
    if (!QDir::isAbsolutePath(path))
        path = experimentFolder + QLatin1Char('/') + path;
    const auto found = FindFile(path);
    return QUrl::fromLocalFile(found ? *found : path);
}

bool PageLoaded(const QWebEngineView* view) {
    return view->property(kLoaded).toBool() && !view->page()->isLoading();
}

QWebEngineView* TakeRunWebView(QWidget* parent) {
    while (!g_spareViews.isEmpty()) {
        QPointer<QWebEngineView> view = g_spareViews.takeLast();
        if (!view)
            continue;
        view->setParent(parent);
        return view;
    }
    return MakeRunWebView(parent);
}

void ReturnRunWebView(QWebEngineView* view) {
    if (!view)
        return;
    if (g_spareViews.size() >= kMostSpareViews) {
        view->deleteLater();
        return;
    }
    if (auto* page = qobject_cast<RunWebPage*>(view->page()))
        page->BeforeNavigate = nullptr;
    view->stop();
    view->hide();
    view->setParent(nullptr);
    view->history()->clear();
    view->setProperty(kLoaded, false);
    g_spareViews.append(view);
}

void WarmWebEngine() {
    if (!g_spareViews.isEmpty())
        return;
    auto* warm = MakeRunWebView(nullptr);
    // A page of the experiment's folder, so that its process is the one later pages use.
    warm->setUrl(QUrl::fromLocalFile(g_webFolder + QStringLiteral("/")));
    g_spareViews.append(warm);
}

} // namespace corvane
