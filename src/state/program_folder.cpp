#include "state/program_folder.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

namespace corvane {

namespace {

QString& OverridePath() {
    static QString path;
    return path;
}

// The folders that the program's menus and files expect, whether or not a resource fills them:
// the recent experiments go to ini, the editor is looked for in its own folder.
const QStringList kProgramFolders{QStringLiteral("styles"),    QStringLiteral("graphics"),
                                  QStringLiteral("ini"),       QStringLiteral("help"),
                                  QStringLiteral("utilities"), QStringLiteral("experiment editor")};

QString ExecutableFolder() {
    return QCoreApplication::instance() ? QCoreApplication::applicationDirPath()
                                        : QDir::currentPath();
}

} // namespace

QString ProgramFolder::Path() {
    if (!OverridePath().isEmpty())
        return OverridePath();
    // A portable install says so by a marker file beside the program.
    const QDir beside(ExecutableFolder());
    if (QFileInfo::exists(beside.filePath(QStringLiteral("corvane-portable"))))
        return beside.absolutePath();
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
        .filePath(QStringLiteral("corvane"));
}

void ProgramFolder::SetPath(const QString& path) {
    OverridePath() = path;
}

QString ProgramFolder::ResourcesPath() {
    const QDir exe(ExecutableFolder());
    for (const QString& candidate :
         {QStringLiteral("../share/corvane"), QStringLiteral("../../share/corvane")}) {
        const QString path = QDir::cleanPath(exe.filePath(candidate));
        if (QFileInfo::exists(QDir(path).filePath(QStringLiteral("temp.exp"))))
            return path;
    }
    return QString();
}

bool ProgramFolder::Seed(QString* problem) {
    const QString target = Path();
    if (!QDir().mkpath(target)) {
        if (problem)
            *problem =
                QStringLiteral("The program folder '") + target +
                QStringLiteral("' can not be made. Check the permissions of its parent folder.");
        return false;
    }
    bool allMade = true;
    for (const QString& folder : kProgramFolders)
        allMade = QDir(target).mkpath(folder) && allMade;
    const QString resources = ResourcesPath();
    if (resources.isEmpty()) {
        if (problem)
            *problem =
                QStringLiteral("The installed resources of Corvane can not be found beside '") +
                ExecutableFolder() + QStringLiteral("'. Reinstall Corvane.");
        return false;
    }
    const QDir from(resources);
    QDirIterator files(resources, QDir::Files, QDirIterator::Subdirectories);
    bool allCopied = true;
    while (files.hasNext()) {
        const QString source = files.next();
        const QString destination = QDir(target).filePath(from.relativeFilePath(source));
        if (QFileInfo::exists(destination))
            continue;
        QDir().mkpath(QFileInfo(destination).absolutePath());
        if (QFile::copy(source, destination))
            QFile::setPermissions(destination,
                                  QFile::permissions(destination) | QFileDevice::WriteOwner);
        else
            allCopied = false;
    }
    if (!allMade && problem)
        *problem = QStringLiteral("Some folders could not be made in the program folder '") +
                   target + QStringLiteral("'.");
    else if (!allCopied && problem)
        *problem = QStringLiteral("Some files could not be copied into the program folder '") +
                   target + QStringLiteral("'.");
    return allMade && allCopied;
}

QString ProgramFolder::FilePath(const QString& relative) {
    return QDir(Path()).filePath(relative);
}

} // namespace corvane
