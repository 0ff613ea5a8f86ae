// The essay item: a long typed text, ended by Escape, Continue or the time limit. The variable
// table gets only "ok" and a time; the text goes to a file of its own in the data folder, and
// the times of one chosen key, when the item asks for them, to a key log beside it.
#pragma once

#include "engine/item_frame.h"

#include <memory>
#include <vector>

namespace corvane {

class LimitedTextBox;
class RunTimer;

class fEssay : public ItemForm {
    Q_OBJECT
public:
    explicit fEssay(RunContext& run);
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    bool KeysNavigate() const override { return false; }
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void PlaceText1();
    bool Text1_KeyDown(int keyCode, qint32 eventTime);
    void Finish(qint32 itemEnd);
    void WriteSideFiles();
    void Timer1_Timer();

    LimitedTextBox* Text1 = nullptr;
    bool m_firstKeyPending = true;
    qint32 m_firstKeyTime = 0;
    /// The times of the counted key, in ms from the item's start.
    std::vector<qint32> m_keyTimes;
    qint32 m_inputTime = 0;
    QObject* m_keyTarget = nullptr;
    std::unique_ptr<RunTimer> m_timer1;
};

} // namespace corvane
