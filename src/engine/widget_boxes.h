// Message and input boxes on the screen, for runs with an operator and a participant.
#pragma once

#include "state/message_boxes.h"

namespace corvane {

class WidgetMessageBoxes : public MessageBoxes {
public:
    BoxAnswer Show(const MessageBox& box) override;
    std::optional<QString> Input(const QString& title, const QString& prompt,
                                 const QString& defaultText) override;
};

} // namespace corvane
