#include "launcher/file_dialogs.h"

#include "state/settings_store.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStringList>

namespace corvane {

namespace {

const QString kSettings = QStringLiteral("Corvane");
const QString kLastFolderKey = QStringLiteral("LastDialogFolder");

} // namespace

QString DialogFilter(const QString& pairs) {
    const QStringList parts = pairs.split(QLatin1Char('|'));
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString label = parts[i].trimmed();
        if (label.isEmpty())
            continue;
        // The dialog reads the patterns from the label's brackets: they are written anew.
        label.remove(QRegularExpression(QStringLiteral("\\s*\\([^)]*\\)\\s*$")));
        QStringList patterns;
        for (const QString& pattern : parts[i + 1].split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            const QString trimmed = pattern.trimmed();
            patterns << (trimmed == QLatin1String("*.*") ? QStringLiteral("*") : trimmed);
        }
        filters << label + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) +
                       QLatin1Char(')');
    }
    return filters.join(QStringLiteral(";;"));
}

QString WidgetFileDialogs::GetOpenFileName(QWidget* parent, const FileRequest& request) {
    return QFileDialog::getOpenFileName(parent, request.title, request.folder,
                                        DialogFilter(request.filter));
}

QString WidgetFileDialogs::GetSaveFileName(QWidget* parent, const FileRequest& request) {
    const QString start = request.fileName.isEmpty()
                              ? request.folder
                              : QDir(request.folder).filePath(request.fileName);
    return QFileDialog::getSaveFileName(parent, request.title, start, DialogFilter(request.filter));
}

QString WidgetFileDialogs::GetFolder(QWidget* parent, const FileRequest& request) {
    return QFileDialog::getExistingDirectory(parent, request.title, request.folder);
}

QString OpenDialogFolder() {
    const QString last = SettingsStore::Get(kSettings, kLastFolderKey).toString();
    if (!last.isEmpty() && QFileInfo(last).isDir())
        return last;
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (!documents.isEmpty() && QFileInfo(documents).isDir())
        return documents;
    return QDir::homePath();
}

void RememberOpenDialogFolder(const QString& chosenFile) {
    if (!chosenFile.isEmpty())
        SettingsStore::Save(kSettings, kLastFolderKey, QFileInfo(chosenFile).absolutePath());
}

} // namespace corvane
