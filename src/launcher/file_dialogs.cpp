#include "launcher/file_dialogs.h"

#include <QFileDialog>
#include <QRegularExpression>
#include <QStringList>

namespace corvane {

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

} // namespace corvane
