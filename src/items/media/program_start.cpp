#include "items/media/program_start.h"

#include "state/helpers.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>

namespace corvane {

namespace {

constexpr int kStartWaitMs = 5000;

// The names under which a program may stand: as given, and a Windows name without its ending.
QStringList NamesOf(const QString& name) {
    QStringList names{name};
    if (name.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive))
        names << name.left(name.size() - 4);
    return names;
}

bool IsDesktopEntry(const QString& file) {
    return file.endsWith(QLatin1String(".desktop"), Qt::CaseInsensitive);
}

bool IsShellScript(const QString& file) {
    if (file.endsWith(QLatin1String(".sh"), Qt::CaseInsensitive))
        return true;
    QFile script(file);
    return script.open(QIODevice::ReadOnly) && script.read(2) == "#!";
}

// The command of a desktop entry's Exec line, without its field codes (%f, %u, ...).
QStringList DesktopCommand(const QString& file) {
    QSettings entry(file, QSettings::IniFormat);
    QString exec = entry.value(QStringLiteral("Desktop Entry/Exec")).toString();
    exec.remove(QRegularExpression(QStringLiteral("%[a-zA-Z]")));
    return QProcess::splitCommand(exec);
}

// The folder that AppPaths registers for a program's file name; empty when none.
QString RegisteredFolder(const QString& file) {
    return ReadRegistryValue(
        QStringLiteral("HKEY_LOCAL_MACHINE"),
        QStringLiteral("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\") + file,
        QStringLiteral("Path"), QString());
}

} // namespace

QString FindProgram(const QString& name, const QString& folder) {
    const QString native = QDir::fromNativeSeparators(name.trimmed());
    if (native.isEmpty())
        return QString();
    for (const QString& each : NamesOf(native)) {
        const QString path = QDir::isAbsolutePath(each) ? each : folder + QLatin1Char('/') + each;
        if (const auto found = FindFile(path); found && QFileInfo(*found).isFile())
            return *found;
    }
    if (native.contains(QLatin1Char('/')))
        return QString();
    for (const QString& each : NamesOf(native)) {
        const QString onPath = QStandardPaths::findExecutable(each);
        if (!onPath.isEmpty())
            return onPath;
    }
    return QString();
}

QString AppPathsProgram(const QString& name) {
    const QString file = QFileInfo(QDir::fromNativeSeparators(name)).fileName();
    const QString folder = RegisteredFolder(file);
    return folder.isEmpty() ? QString() : FindProgram(file, folder);
}

QString ProgramInRegisteredFolder(const QString& registeredFile, const QString& programFile) {
    const QString folder = RegisteredFolder(registeredFile);
    return folder.isEmpty() ? programFile : folder + QLatin1Char('/') + programFile;
}

ProgramCall CallOf(const QString& file, const QStringList& arguments) {
    if (IsDesktopEntry(file)) {
        QStringList command = DesktopCommand(file);
        if (!command.isEmpty()) {
            const QString program = command.takeFirst();
            return {program, command + arguments};
        }
    }
    if (!QFileInfo(file).isExecutable() && IsShellScript(file))
        return {QStringLiteral("/bin/sh"), QStringList{file} + arguments};
    return {file, arguments};
}

StartResult StartCall(const ProgramCall& call, const QString& workingFolder) {
    const QFileInfo info(call.program);
    if (info.isAbsolute() && !info.exists())
        return {StartFault::NotFound, {}};
    if (info.isAbsolute() && (!info.isFile() || !info.isExecutable()))
        return {StartFault::NotExecutable,
                QStringLiteral("it is not a program that can be run (it lacks the run "
                               "permission, or is a folder)")};
    // The program outlives its item: the participant comes back when it is done.
    auto* process = new QProcess(QCoreApplication::instance());
    process->setWorkingDirectory(workingFolder);
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
    process->start(call.program, call.arguments);
    if (!process->waitForStarted(kStartWaitMs)) {
        const QString reason = process->errorString();
        const bool missing = process->error() == QProcess::FailedToStart && !info.isAbsolute();
        delete process;
        return {missing ? StartFault::NotFound : StartFault::FailedToStart, reason};
    }
    return {};
}

QString ProgramNotFoundText(const QString& name) {
    return QStringLiteral("The file '") + name +
           QStringLiteral("' was requested but not found.  This item will be skipped.");
}

} // namespace corvane
