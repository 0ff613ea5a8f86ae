// A message-box seam for tests: records every box and gives the next queued answer, else its
// default one.
#pragma once

#include "state/message_boxes.h"

#include <QList>

namespace corvane::test {

class RecordingBoxes : public MessageBoxes {
public:
    explicit RecordingBoxes(QList<MessageBox>* shown, QList<BoxAnswer>* answers = nullptr)
        : m_shown(shown), m_answers(answers) {}
    BoxAnswer Show(const MessageBox& box) override {
        m_shown->append(box);
        return m_answers && !m_answers->isEmpty() ? m_answers->takeFirst() : box.defaultAnswer;
    }
    std::optional<QString> Input(const QString& title, const QString& prompt,
                                 const QString&) override {
        m_shown->append(MessageBox{title, prompt});
        return std::nullopt;
    }

private:
    QList<MessageBox>* m_shown;
    QList<BoxAnswer>* m_answers;
};

} // namespace corvane::test
