#include "launcher/desktop.h"

#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <algorithm>
#include <memory>
#include <unistd.h>

namespace corvane {

namespace {

// How long after its start xdg-open's failure still means that no browser took the page: a
// browser that xdg-open waits for may end with any status much later.
constexpr qint64 kBrowserReportMs = 10000;

} // namespace

void Desktop::OpenInBrowser(const QUrl& page, const std::function<void()>& failed) {
    if (!CanStartBrowser() || !OpenUrl(page))
        failed();
}

bool SystemDesktop::OpenUrl(const QUrl& url) {
    return QDesktopServices::openUrl(url);
}

SystemDesktop::SystemDesktop(bool runsAsRoot) : m_runsAsRoot(runsAsRoot) {}

bool SystemDesktop::RunsAsRoot() {
    return ::geteuid() == 0;
}

bool SystemDesktop::CanStartBrowser() {
    // Browsers refuse to run as root, and xdg-open is how the desktop is asked for one: without
    // it there is no browser to ask.
    return !m_runsAsRoot && !QStandardPaths::findExecutable(QStringLiteral("xdg-open")).isEmpty();
}

void SystemDesktop::OpenInBrowser(const QUrl& page, const std::function<void()>& failed) {
    if (!CanStartBrowser())
        return failed();
    // xdg-open is started here rather than through the desktop services, which call it too but
    // don't pass on its exit status: that status is how a desktop without a browser says so.
    auto* opener = new QProcess;
    opener->setProcessChannelMode(QProcess::ForwardedChannels);
    auto since = std::make_shared<QElapsedTimer>();
    since->start();
    QObject::connect(opener, &QProcess::finished, opener,
                     [opener, failed, since](int code, QProcess::ExitStatus status) {
                         if ((status != QProcess::NormalExit || code != 0) &&
                             since->elapsed() < kBrowserReportMs)
                             failed();
                         opener->deleteLater();
                     });
    QObject::connect(opener, &QProcess::errorOccurred, opener,
                     [opener, failed](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart)
                             return;
                         failed();
                         opener->deleteLater();
                     });
    opener->start(QStringLiteral("xdg-open"), {page.toString()});
}

bool SystemDesktop::SlideShowRunning() {
    // The office suite keeps one process per profile and hands every later start, a slide show
    // too, to it: a visible instance counts, not only one that shows slides.
    return ProcessRunning({QStringLiteral("soffice.bin"), QStringLiteral("soffice")});
}

namespace {

// A headless instance (a conversion, the responses workbook) shows nothing, so it can't be
// showing slides over the run.
bool RunsHeadless(const QString& processFolder) {
    QFile cmdline(processFolder + QStringLiteral("/cmdline"));
    if (!cmdline.open(QIODevice::ReadOnly))
        return false;
    return cmdline.readAll().split('\0').contains(QByteArrayLiteral("--headless"));
}

} // namespace

bool ProcessRunning(const QStringList& names) {
    const QDir proc(QStringLiteral("/proc"));
    const uint me = ::getuid();
    const QStringList entries = proc.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool isPid = false;
        entry.toLongLong(&isPid);
        if (!isPid || QFileInfo(proc.filePath(entry)).ownerId() != me)
            continue;
        QFile comm(proc.filePath(entry + QStringLiteral("/comm")));
        if (!comm.open(QIODevice::ReadOnly))
            continue; // the process has gone meanwhile
        const QString name = QString::fromLocal8Bit(comm.readAll()).trimmed();
        // The kernel keeps 15 characters of a process's name.
        const bool named = std::any_of(names.begin(), names.end(), [&](const QString& wanted) {
            return name == wanted.left(15);
        });
        if (named && !RunsHeadless(proc.filePath(entry)))
            return true;
    }
    return false;
}

} // namespace corvane
