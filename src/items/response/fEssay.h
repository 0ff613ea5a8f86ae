// The essay item: a long typed text, ended by Escape, Continue or the time limit. The variable
// table gets only "ok" and a time; the text goes to a file of its own in the data folder, and
// the times of one chosen key, when the item asks for them, to a key log beside it.
#pragma once

#include "items/response/typing_form.h"

#include <memory>
#include <vector>

namespace corvane {

class LimitedTextBox;
class RunTimer;

class fEssay : public TypingForm {
    Q_OBJECT
public:
    explicit fEssay(RunContext& run);
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    bool KeysNavigate() const override { return false; }

private:
    void PlaceText1();
    bool Text1_KeyDown(int keyCode, qint32 eventTime);
    void Finish(qint32 itemEnd);
    void WriteSideFiles();
    void Timer1_Timer();

    LimitedTextBox* Text1 = nullptr;
    /// The times of the counted key, in ms from the item's start.
    std::vector<qint32> m_keyTimes;
    std::unique_ptr<RunTimer> m_timer1;
};

} // namespace corvane
