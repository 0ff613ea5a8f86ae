// The visible countdown of a questionnaire's time limit: minutes and seconds left, at the bottom
// of the screen, above the item forms. The limit itself is kept by the run driver; the countdown
// runs on the run clock, so that a virtual clock drives it as it drives the limit.
#pragma once

#include <QWidget>
#include <memory>

class QLabel;

namespace corvane {

class RunClock;
class RunTimer;

class fTimer : public QWidget {
    Q_OBJECT
public:
    /// Counts down the whole seconds of `durationMs`, by their floor, in magnitude.
    fTimer(RunClock& clock, qint32 durationMs);
    ~fTimer() override;
    /// The whole seconds counted down for a limit: the magnitude of the floor of its seconds.
    static qint64 CountdownSeconds(qint32 durationMs);
    /// The text shown for the time left: the last five characters of "hh:mm:ss".
    static QString TimeLeftText(qint64 msLeft);

private:
    void Timer1_Timer();

    RunClock& m_clock;
    QLabel* lTimeLeft;
    std::unique_ptr<RunTimer> m_timer1;
    qint32 m_endTime;
};

} // namespace corvane
