// Instructions: a text to read with a Continue button; the text may be held back for a while,
// and the way on may be locked behind a word the participant must type.
#pragma once

#include "engine/item_frame.h"

#include <memory>

class QFrame;
class QLineEdit;

namespace corvane {

class RunTimer;

class fInstruction : public ItemForm {
    Q_OBJECT
public:
    explicit fInstruction(RunContext& run);
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Continue(qint32 itemEnd);

    QFrame* SSPanel1 = nullptr;
    QLabel* Label1 = nullptr;
    QLineEdit* Text1 = nullptr;
    std::unique_ptr<RunTimer> m_timer1;
    std::unique_ptr<RunTimer> m_timer2;
    /// The run-clock time of the latest key or click, for the button or key it works.
    qint32 m_inputTime = 0;
};

} // namespace corvane
