#include "launcher/desktop.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <algorithm>
#include <unistd.h>

namespace corvane {

bool SystemDesktop::OpenUrl(const QUrl& url) {
    return QDesktopServices::openUrl(url);
}

bool SystemDesktop::StartProgram(const QString& program, const QStringList& arguments,
                                 const QString& folder) {
    return QProcess::startDetached(program, arguments, folder);
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
