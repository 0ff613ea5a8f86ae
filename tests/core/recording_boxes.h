// A message-box seam for tests: records every box and gives the next queued answer, else the
// default answer (Cancel for an input box).
#pragma once

#include "state/message_boxes.h"

#include <QList>

namespace corvane::test {

class RecordingBoxes : public MessageBoxes {
public:
    explicit RecordingBoxes(QList<MessageBox>* shown, QList<BoxAnswer>* answers = nullptr,
                            QList<std::optional<QString>>* inputs = nullptr)
        : m_shown(shown), m_answers(answers), m_inputs(inputs) {}
    BoxAnswer Show(const MessageBox& box) override {
        m_shown->append(box);
        return m_answers && !m_answers->isEmpty() ? m_answers->takeFirst() : box.defaultAnswer;
    }
    std::optional<QString> Input(const QString& title, const QString& prompt,
                                 const QString&) override {
        m_shown->append(MessageBox{title, prompt});
        return m_inputs && !m_inputs->isEmpty() ? m_inputs->takeFirst() : std::nullopt;
    }

private:
    QList<MessageBox>* m_shown;
    QList<BoxAnswer>* m_answers;
    QList<std::optional<QString>>* m_inputs;
};

} // namespace corvane::test
