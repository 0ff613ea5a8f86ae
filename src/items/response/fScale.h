// The scale item: a wording above a row or a column of up to twelve numbered response buttons
// with their labels; one choice by mouse or keyboard, timed from the moment the wording shows.
#pragma once

#include "engine/item_frame.h"

#include <array>
#include <memory>

class QPushButton;

namespace corvane {

class RunTimer;

class fScale : public ItemForm {
    Q_OBJECT
public:
    explicit fScale(RunContext& run);
    /// Lays the item out and shows it; the reveal follows when the focus arrives.
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static constexpr int kPoints = 12;

    bool LayOut();
    void LayOutHorizontal(int n, int points);
    void LayOutVertical(int n, double yoff, double gap);
    void ApplyLabelParameters(int n);
    void Reveal();
    void ShowWording();
    void bResponse_Click(int index, qint32 itemEnd);
    void KeyResponse(int keyCode, Qt::KeyboardModifiers modifiers, qint32 itemEnd);
    void RecordAndEnd(int choice, const QString& value);
    void Timer1_Timer();
    void NoPointsGiven();

    std::array<QPushButton*, kPoints + 1> bResponse{};
    std::array<QLabel*, kPoints + 1> lText{};
    std::array<TwipRect, kPoints + 1> m_button{};
    std::array<TwipRect, kPoints + 1> m_label{};
    QPushButton* bDummy = nullptr;
    QLabel* lWarning = nullptr;
    int m_points = 0;
    bool m_itemReady = false;
    bool m_revealed = false;
    qint32 m_releaseTime = 0;
    std::unique_ptr<RunTimer> m_delay;
    std::unique_ptr<RunTimer> m_timer1;
};

} // namespace corvane
