// The fill-in-the-blank item: a short typed answer, either in a free text box with a length
// limit or in a row of one-character boxes built from a mask, in which fixed characters stand
// between the blanks. A numeric range, when the item has one, is checked at Continue.
#pragma once

#include "engine/item_frame.h"

#include <array>
#include <memory>

class QLineEdit;

namespace corvane {

class LimitedTextBox;
class RunTimer;

class fFillBlank : public ItemForm {
    Q_OBJECT
public:
    explicit fFillBlank(RunContext& run);
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    bool KeysNavigate() const override { return false; }
    bool eventFilter(QObject* watched, QEvent* event) override;

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
    bool m_firstKeyPending = true;
    qint32 m_firstKeyTime = 0;
    qint32 m_inputTime = 0;
    QObject* m_keyTarget = nullptr;
    std::unique_ptr<RunTimer> m_timer1;
};

} // namespace corvane
