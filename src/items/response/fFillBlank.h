// The fill-in-the-blank item: a short typed answer, either in a free text box with a length
// limit or in a row of one-character boxes built from a mask, in which fixed characters stand
// between the blanks. A numeric range, when the item has one, is checked at Continue.
#pragma once

#include "items/response/typing_form.h"

#include <array>
#include <memory>

class QLineEdit;

namespace corvane {

class LimitedTextBox;
class RunTimer;

class fFillBlank : public TypingForm {
    Q_OBJECT
public:
    explicit fFillBlank(RunContext& run);
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    bool KeysNavigate() const override { return false; }

private:
    static constexpr int kBoxes = 24;

    void PlaceControls();
    void StyleControls();
    void BuildBoxes();
    bool Box_KeyDown(int index, QKeyEvent* event);
    bool txFillBlank_KeyDown(QKeyEvent* event);
    /// Gives the focus to the nearest enabled box from `index` on, going by `step`.
    void FocusNextBox(int index, int step);
    void Continue(qint32 itemEnd, bool timeUp);
    void Refuse(const QString& text, bool timeUp);
    void Timer1_Timer();
    void TellUnreadableRange();
    bool MaskFitsNumbers() const;
    void TellMaskDefeatsRange();
    void PassOverMaskWithoutBlank();

    LimitedTextBox* txFillBlank = nullptr;
    QLabel* lFillBlank = nullptr;
    std::array<QLineEdit*, kBoxes + 1> Box{};
    int m_boxCount = 0;
    bool m_rangeTest = false;
    std::unique_ptr<RunTimer> m_timer1;
};

} // namespace corvane
