#include "engine/web_pages.h"

#include "state/helpers.h"

#include <QDir>
#include <QFileInfo>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineView>

namespace corvane {

namespace {

QString g_webFolder;

// Requests of the pages themselves (pictures, frames, scripts) meet the same rule as navigation.
class LocalFileGuard : public QWebEngineUrlRequestInterceptor {
public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;
    void interceptRequest(QWebEngineUrlRequestInfo& info) override {
        if (!WebAddressAllowed(info.requestUrl()))
            info.block(true);
    }
};

QWebEngineProfile* RunProfile() {
    // Off the record: nothing of one participant's browsing is left for the next.
    static QWebEngineProfile* profile = [] {
        auto* made = new QWebEngineProfile();
        made->setUrlRequestInterceptor(new LocalFileGuard(made));
        made->settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, true);
        made->settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, true);
        return made;
    }();
    return profile;
}

} // namespace

void SetWebFolder(const QString& experimentFolder) {
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

void WarmWebEngine() {
    static QWebEngineView* warm = nullptr;
    if (warm)
        return;
    warm = MakeRunWebView(nullptr);
    warm->setAttribute(Qt::WA_DontShowOnScreen);
    warm->resize(64, 64);
    warm->show();
    warm->setHtml(QStringLiteral("<html><body></body></html>"));
}

} // namespace corvane
