#include "items/response/typing_form.h"

#include "state/run_state.h"

#include <QEvent>
#include <QInputEvent>

namespace corvane {

bool TypingForm::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress)
        m_keyTarget = watched;
    else if (event->type() == QEvent::MouseButtonRelease)
        m_inputTime = EventTime(static_cast<QInputEvent*>(event));
    return ItemForm::eventFilter(watched, event);
}

QObject* TypingForm::TakeKeyTarget() {
    QObject* target = m_keyTarget ? m_keyTarget : focusWidget();
    m_keyTarget = nullptr;
    return target;
}

void TypingForm::NoteKey(qint32 eventTime) {
    if (Item().KeepFocus == 1 && m_firstKeyPending) {
        m_firstKeyTime = eventTime;
        m_firstKeyPending = false;
    }
}

qint32 TypingForm::TakeInputTime() {
    const qint32 time = m_inputTime != 0 ? m_inputTime : State().Clock().Now();
    m_inputTime = 0;
    return time;
}

} // namespace corvane
