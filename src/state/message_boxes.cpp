#include "state/message_boxes.h"

#include <QTextStream>

namespace corvane {

QString DefaultBoxTitle() {
    return QStringLiteral("Corvane");
}

QString OneLine(const QString& text) {
    QString line = text;
    line.replace(QStringLiteral("\r\n"), QStringLiteral("\\n"));
    line.replace(QLatin1Char('\r'), QStringLiteral("\\n"));
    line.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return line;
}

BoxAnswer ConsoleMessageBoxes::Show(const MessageBox& box) {
    QTextStream err(stderr);
    err << box.title << '\t' << OneLine(box.text) << Qt::endl;
    return box.defaultAnswer;
}

std::optional<QString> ConsoleMessageBoxes::Input(const QString& title, const QString& prompt,
                                                  const QString&) {
    QTextStream err(stderr);
    err << title << '\t' << OneLine(prompt) << '\t' << Qt::endl;
    return std::nullopt;
}

} // namespace corvane
