// The one seam through which every message box and input box of the program passes, so that
// tests and unattended runs can answer them and log them.
#pragma once

#include <QString>
#include <optional>

namespace corvane {

enum class BoxIcon { None, Information, Warning, Critical, Question };
enum class BoxButtons { Ok, OkCancel, YesNo, YesNoCancel };
enum class BoxAnswer { Ok, Cancel, Yes, No };

/// One message box: what it shows and which answer is its default.
struct MessageBox {
    QString title;
    QString text;
    BoxIcon icon = BoxIcon::None;
    BoxButtons buttons = BoxButtons::Ok;
    BoxAnswer defaultAnswer = BoxAnswer::Ok;
};

/// Title used for boxes that are shown without one of their own.
QString DefaultBoxTitle();

/// Shows boxes to the operator or, in tests and unattended runs, answers them.
class MessageBoxes {
public:
    virtual ~MessageBoxes() = default;
    /// Shows the box and returns the answer given.
    virtual BoxAnswer Show(const MessageBox& box) = 0;
    /// Asks for a text; no value means Cancel.
    virtual std::optional<QString> Input(const QString& title, const QString& prompt,
                                         const QString& defaultText) = 0;
};

/// Boxes for a program without a screen: each is written to standard error and takes its
/// default answer.
class ConsoleMessageBoxes : public MessageBoxes {
public:
    BoxAnswer Show(const MessageBox& box) override;
    std::optional<QString> Input(const QString& title, const QString& prompt,
                                 const QString& defaultText) override;
};

/// A box's text as one line: line ends written as \n.
QString OneLine(const QString& text);

} // namespace corvane
