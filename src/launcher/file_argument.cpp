#include "launcher/file_argument.h"

#include "definitions/definition_columns.h"
#include "definitions/definition_store.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/message_boxes.h"

#include <QFile>
#include <QFileInfo>
#include <QTextStream>

namespace corvane {

namespace {

// Why the file can't be opened, in words that end a sentence; empty when it can.
QString Fault(const QString& path) {
    const QFileInfo info(path);
    if (info.isDir())
        return QStringLiteral("it is a folder, not an experiment or questionnaire");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("it can not be read (") + file.errorString() + QLatin1Char(')');
    const QString suffix = info.suffix().toLower();
    if (suffix != QLatin1String("exp") && suffix != QLatin1String("que"))
        return QStringLiteral("only experiments (.exp) and questionnaires (.que) are opened");
    try {
        VerifyDefinitionFile(path, KindOfFile(path));
    } catch (const CorvaneError& error) {
        return QStringLiteral("it is not ") + KindNameWithArticle(KindOfFile(path)) +
               QStringLiteral(" file that can be read: ") + error.description();
    }
    return QString();
}

} // namespace

std::optional<QString> FileToOpen(const QString& argument, MessageBoxes& boxes, QTextStream& err) {
    const QString absolute = QFileInfo(argument).absoluteFilePath();
    const std::optional<QString> found = FindFile(absolute);
    const QString fault =
        found ? Fault(*found) : QStringLiteral("there is no such experiment or questionnaire");
    if (fault.isEmpty())
        return found;
    err << argument << ": " << fault << Qt::endl;
    boxes.Show(MessageBox{DefaultBoxTitle(),
                          QStringLiteral("Corvane can not open\n") + found.value_or(absolute) +
                              QStringLiteral("\n\n") + fault.at(0).toUpper() + fault.mid(1) +
                              QLatin1Char('.'),
                          BoxIcon::Critical});
    return std::nullopt;
}

} // namespace corvane
