#include "engine/widget_boxes.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>

namespace corvane {

namespace {

// Texts of the boxes end lines with a lone carriage return; the screen wants line feeds.
QString ScreenText(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text;
}

QMessageBox::Icon ToIcon(BoxIcon icon) {
    switch (icon) {
    case BoxIcon::Information:
        return QMessageBox::Information;
    case BoxIcon::Warning:
        return QMessageBox::Warning;
    case BoxIcon::Critical:
        return QMessageBox::Critical;
    case BoxIcon::Question:
        return QMessageBox::Question;
    default:
        return QMessageBox::NoIcon;
    }
}

QMessageBox::StandardButton ToButton(BoxAnswer answer) {
    switch (answer) {
    case BoxAnswer::Ok:
        return QMessageBox::Ok;
    case BoxAnswer::Cancel:
        return QMessageBox::Cancel;
    case BoxAnswer::Yes:
        return QMessageBox::Yes;
    case BoxAnswer::No:
        return QMessageBox::No;
    }
    return QMessageBox::Ok;
}

QMessageBox::StandardButtons ToButtons(BoxButtons buttons) {
    switch (buttons) {
    case BoxButtons::OkCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case BoxButtons::YesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case BoxButtons::YesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    default:
        return QMessageBox::Ok;
    }
}

} // namespace

BoxAnswer WidgetMessageBoxes::Show(const MessageBox& box) {
    QMessageBox dialog(ToIcon(box.icon), box.title, ScreenText(box.text), ToButtons(box.buttons),
                       QApplication::activeWindow());
    dialog.setDefaultButton(ToButton(box.defaultAnswer));
    dialog.setWindowFlag(Qt::WindowStaysOnTopHint);
    switch (dialog.exec()) {
    case QMessageBox::Cancel:
        return BoxAnswer::Cancel;
    case QMessageBox::Yes:
        return BoxAnswer::Yes;
    case QMessageBox::No:
        return BoxAnswer::No;
    default:
        return BoxAnswer::Ok;
    }
}

std::optional<QString> WidgetMessageBoxes::Input(const QString& title, const QString& prompt,
                                                 const QString& defaultText) {
    bool ok = false;
    const QString text =
        QInputDialog::getText(QApplication::activeWindow(), title, ScreenText(prompt),
                              QLineEdit::Normal, defaultText, &ok);
    if (!ok)
        return std::nullopt;
    return text;
}

} // namespace corvane
