// What the forms that take typed answers share: which control a key was typed into, the moment
// of the last click or key, and the time of the first key for items timed from it.
#pragma once

#include "engine/item_frame.h"

namespace corvane {

class TypingForm : public ItemForm {
    Q_OBJECT
public:
    using ItemForm::ItemForm;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    /// The control that received the key being handled, else the focused one; then forgotten.
    QObject* TakeKeyTarget();
    /// The first key times an item timed from the first key.
    void NoteKey(qint32 eventTime);
    /// A key that counts as the participant's last input, as a click does.
    void NoteInputTime(qint32 eventTime) { m_inputTime = eventTime; }
    /// The moment of the last click or key, else now; then forgotten.
    qint32 TakeInputTime();
    /// A new item: no key yet.
    void ForgetFirstKey() { m_firstKeyPending = true; }
    /// The end of an item timed from the first key: that key, else its start (no key, no time).
    qint32 FirstKeyTimeOr(qint32 itemStart) const {
        return m_firstKeyPending ? itemStart : m_firstKeyTime;
    }

private:
    bool m_firstKeyPending = true;
    qint32 m_firstKeyTime = 0;
    qint32 m_inputTime = 0;
    QObject* m_keyTarget = nullptr;
};

} // namespace corvane
