#include "state/helpers.h"

#include "state/error.h"
#include "state/settings_store.h"
#include "state/text.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace corvane {

namespace {

bool IsDrivePath(const QString& path) {
    return path.size() >= 2 && path.at(1) == QLatin1Char(':');
}

// The one entry of `folder` named `name`, ignoring case, when the exact name is absent.
std::optional<QString> MatchInFolder(const QString& folder, const QString& name) {
    const QDir dir(folder);
    if (QFileInfo::exists(dir.filePath(name)))
        return dir.filePath(name);
    const QStringList entries =
        dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        if (entry.compare(name, Qt::CaseInsensitive) == 0)
            return dir.filePath(entry);
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> FindFile(const QString& path) {
    const QString linuxPath = ToLinuxSeparators(path);
    if (linuxPath.isEmpty() || IsDrivePath(linuxPath))
        return std::nullopt;
    if (QFileInfo::exists(linuxPath))
        return QDir::cleanPath(QFileInfo(linuxPath).absoluteFilePath());

    QString current =
        linuxPath.startsWith(QLatin1Char('/')) ? QStringLiteral("/") : QDir::currentPath();
    const QStringList parts = linuxPath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& part : parts) {
        if (part == QLatin1String(".") || part == QLatin1String("..")) {
            current = QDir::cleanPath(current + QLatin1Char('/') + part);
            continue;
        }
        const auto match = MatchInFolder(current, part);
        if (!match)
            return std::nullopt;
        current = *match;
    }
    return QDir::cleanPath(current);
}

int FileExists(const QString& path) {
    const auto found = FindFile(path);
    if (!found || !QFileInfo(*found).isFile())
        return 0;
    return int(found->size());
}

bool ChangeToFolder(QString& path) {
    const QString noted = QDir::currentPath();
    path = ToLinuxSeparators(path);
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    if (!path.startsWith(QLatin1Char('/')))
        return false;
    if (path == QLatin1String("/"))
        return QDir::setCurrent(path);

    const QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (parts.size() > 20)
        raise(ErrorNumber::Subscript);
    QDir::setCurrent(QStringLiteral("/"));
    for (const QString& part : parts) {
        const QString next = QDir::current().filePath(part);
        if (QDir::setCurrent(next))
            continue;
        if (!QDir::current().mkdir(part) || !QDir::setCurrent(next)) {
            QDir::setCurrent(noted);
            return false;
        }
    }
    return true;
}

QString RemoveText(const QString& what, const QString& text) {
    QString result = text;
    for (int round = 0; round < 100; ++round) {
        const qsizetype at = result.indexOf(what, 0, Qt::CaseSensitive);
        if (at < 0 || what.isEmpty())
            break;
        if (what.size() == result.size())
            return QString();
        if (at == 0)
            result = result.mid(what.size());
        else if (at + what.size() == result.size())
            result = result.left(at);
        else
            result = result.left(at) + result.mid(at + what.size());
    }
    return result;
}

namespace {

const QString kAppPaths = QStringLiteral("App Paths\\");

// A program's folder: the settings' AppPaths entry first, then a search of PATH. Windows-era
// names ("tachyra.exe") also match a Linux program without the ending.
QString ProgramFolder(const QString& program) {
    const QString configured = SettingsStore::AppPath(program);
    if (!configured.isEmpty())
        return configured;
    QStringList candidates{program};
    if (program.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive)) {
        const QString bare = program.left(program.size() - 4);
        candidates << bare << bare.toLower();
    }
    for (const QString& candidate : candidates) {
        const QString found = QStandardPaths::findExecutable(candidate);
        if (!found.isEmpty())
            return QFileInfo(found).absolutePath();
    }
    return QString();
}

QString ProgramFile(const QString& program) {
    const QString folder = ProgramFolder(program);
    if (folder.isEmpty())
        return QString();
    const QDir dir(folder);
    if (QFileInfo::exists(dir.filePath(program)))
        return dir.filePath(program);
    const QString bare = program.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive)
                             ? program.left(program.size() - 4)
                             : program;
    return dir.filePath(bare);
}

// Document kinds are opened by the office suite when it is there.
const QString kOfficeClass = QStringLiteral("Corvane.OfficeDocument");
const QStringList kOfficeExtensions{
    QStringLiteral(".doc"), QStringLiteral(".docx"), QStringLiteral(".wpd"),
    QStringLiteral(".rtf"), QStringLiteral(".odt"),  QStringLiteral(".ppt"),
    QStringLiteral(".pps"), QStringLiteral(".pptx"), QStringLiteral(".odp")};

QString OfficeProgram() {
    const QString configured = SettingsStore::AppPath(QStringLiteral("soffice"));
    if (!configured.isEmpty())
        return QDir(configured).filePath(QStringLiteral("soffice"));
    return QStandardPaths::findExecutable(QStringLiteral("soffice"));
}

} // namespace

QString ReadRegistryValue(const QString& root, const QString& key, const QString& value,
                          const QString& defaultValue) {
    Q_UNUSED(root);
    const qsizetype at = key.indexOf(kAppPaths, 0, Qt::CaseInsensitive);
    if (at >= 0) {
        const QString program = key.mid(at + kAppPaths.size());
        const QString answer = value.compare(QLatin1String("Path"), Qt::CaseInsensitive) == 0
                                   ? ProgramFolder(program)
                                   : ProgramFile(program);
        return answer.isEmpty() ? defaultValue : answer;
    }
    if (key.startsWith(QLatin1Char('.'))) {
        if (!kOfficeExtensions.contains(key.toLower()) || OfficeProgram().isEmpty())
            return defaultValue;
        return kOfficeClass;
    }
    if (key.compare(kOfficeClass + QStringLiteral("\\shell\\open\\command"), Qt::CaseInsensitive) ==
        0) {
        const QString office = OfficeProgram();
        return office.isEmpty() ? defaultValue : office;
    }
    return defaultValue;
}

QString ReportErrorTitle() {
    return QStringLiteral("Corvane Error Trapper");
}

QString ReportErrorText(int number, const QString& text) {
    return QStringLiteral("An error has occurred.  Error ") + QString::number(number) +
           QStringLiteral(". ") + text + QStringLiteral(". Please report it to") +
           QStringLiteral(" the Corvane support desk of your laboratory.");
}

} // namespace corvane
