#include "preferences/options_dialogs.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QFontDialog>

namespace corvane {

std::optional<QFont> WidgetOptionsDialogs::ChooseFont(QWidget* parent, const QFont& initial) {
    bool ok = false;
    const QFont font = QFontDialog::getFont(&ok, initial, parent);
    return ok ? std::optional<QFont>(font) : std::nullopt;
}

std::optional<QColor> WidgetOptionsDialogs::ChooseColour(QWidget* parent, const QColor& initial) {
    const QColor colour = QColorDialog::getColor(initial, parent);
    return colour.isValid() ? std::optional<QColor>(colour) : std::nullopt;
}

QString WidgetOptionsDialogs::ChooseFolder(QWidget* parent, const QString& title,
                                           const QString& start) {
    return QFileDialog::getExistingDirectory(parent, title, start);
}

QString WidgetOptionsDialogs::OpenFile(QWidget* parent, const FileRequest& request) {
    return QFileDialog::getOpenFileName(parent, request.title, request.folder,
                                        DialogFilter(request.filter));
}

QString WidgetOptionsDialogs::SaveFile(QWidget* parent, const FileRequest& request) {
    return QFileDialog::getSaveFileName(parent, request.title, request.folder,
                                        DialogFilter(request.filter));
}

} // namespace corvane
