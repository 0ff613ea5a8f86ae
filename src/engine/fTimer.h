// The visible countdown of a questionnaire's time limit: minutes and seconds left, at the bottom
// of the screen, above the item forms. The limit itself is kept by the run driver.
#pragma once

#include <QDateTime>
#include <QWidget>

class QLabel;
class QTimer;

namespace corvane {

class fTimer : public QWidget {
    Q_OBJECT
public:
    /// Counts down from the magnitude of `durationMs`.
    explicit fTimer(qint32 durationMs);
    /// The text shown for the time left: the last five characters of "hh:mm:ss".
    static QString TimeLeftText(qint64 msLeft);

private:
    void Timer1_Timer();

    QLabel* lTimeLeft;
    QTimer* m_timer;
    QDateTime m_end;
};

} // namespace corvane
