// The one seam through which the preferences dialog asks for a font, a colour, a folder or a
// file, so that tests can answer in place of the desktop's own dialogs.
#pragma once

#include "launcher/file_dialogs.h"

#include <QColor>
#include <QFont>
#include <optional>

namespace corvane {

class OptionsDialogs {
public:
    virtual ~OptionsDialogs() = default;
    /// The font chosen, starting from `initial`; no value on Cancel.
    virtual std::optional<QFont> ChooseFont(QWidget* parent, const QFont& initial) = 0;
    /// The colour chosen, starting from `initial`; no value on Cancel.
    virtual std::optional<QColor> ChooseColour(QWidget* parent, const QColor& initial) = 0;
    /// The folder chosen; empty on Cancel.
    virtual QString ChooseFolder(QWidget* parent, const QString& title, const QString& start) = 0;
    /// A file to open, as a full path; empty on Cancel.
    virtual QString OpenFile(QWidget* parent, const FileRequest& request) = 0;
    /// A file to save to, as a full path; empty on Cancel.
    virtual QString SaveFile(QWidget* parent, const FileRequest& request) = 0;
};

/// The desktop's font, colour and file dialogs.
class WidgetOptionsDialogs : public OptionsDialogs {
public:
    std::optional<QFont> ChooseFont(QWidget* parent, const QFont& initial) override;
    std::optional<QColor> ChooseColour(QWidget* parent, const QColor& initial) override;
    QString ChooseFolder(QWidget* parent, const QString& title, const QString& start) override;
    QString OpenFile(QWidget* parent, const FileRequest& request) override;
    QString SaveFile(QWidget* parent, const FileRequest& request) override;
};

} // namespace corvane
