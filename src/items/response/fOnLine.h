// The on-line rating item: a small bar with a slider that stays up above the item that follows,
// so that the participant rates continuously, by joystick or by the arrow keys, while that item
// runs. The slider is sampled ten times a second on the run clock, and the means of each second
// are appended to the item's "_online.csv" file when the run takes the bar down.
#pragma once

#include "engine/item_frame.h"
#include "output/online_rating.h"

#include <array>
#include <memory>

class QSlider;

namespace corvane {

class Joystick;
class RunTimer;

class fOnLine : public ItemForm {
    Q_OBJECT
public:
    explicit fOnLine(RunContext& run);
    ~fOnLine() override;
    void Load() override;

protected:
    void ToolClick(const QString&) override {}
    bool ItemKey(QKeyEvent*, qint32) override { return false; }
    void Unloading() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static constexpr int kPoints = 12;

    void PlaceForm();
    void LayOutLabels(int points);
    void ReadCalibration();
    void OpenJoystick();
    void Timer1_Timer();
    /// The slider at the stick's place; a place off the slider's range leaves it where it is.
    void FollowJoystick();
    void Form_KeyDown(int key);
    void Tell(const QString& text);

    QSlider* Slider1 = nullptr;
    std::array<QLabel*, kPoints + 1> lSR{};
    std::array<QLabel*, kPoints + 1> lPL{};
    std::unique_ptr<RunTimer> m_timer1;
    std::unique_ptr<Joystick> m_joystick;
    bool m_noJoystick = false;
    qint32 m_joyMin = 0;
    qint32 m_joyMax = 0;
    qint32 m_startTime = 0;
    OnlineBins m_bins;
    int m_lowPoint = 0;
    int m_highPoint = 0;
    QString m_variable;
    bool m_filtering = false;
};

} // namespace corvane
