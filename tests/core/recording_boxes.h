// A message-box seam for tests: records every box and gives its default answer.
#pragma once

#include "state/message_boxes.h"

#include <QList>

namespace corvane::test {

class RecordingBoxes : public MessageBoxes {
public:
    explicit RecordingBoxes(QList<MessageBox>* shown) : m_shown(shown) {}
    BoxAnswer Show(const MessageBox& box) override {
        m_shown->append(box);
        return box.defaultAnswer;
    }
    std::optional<QString> Input(const QString& title, const QString& prompt,
                                 const QString&) override {
        m_shown->append(MessageBox{title, prompt});
        return std::nullopt;
    }

private:
    QList<MessageBox>* m_shown;
};

} // namespace corvane::test
