#include "devices/fTimer.h"

#include "state/run_clock.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTime>

namespace corvane {

fTimer::fTimer(RunClock& clock, qint32 durationMs)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      m_clock(clock), lTimeLeft(new QLabel(this)) {
    setObjectName(QStringLiteral("fTimer"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    lTimeLeft->setObjectName(QStringLiteral("lTimeLeft"));
    lTimeLeft->setAlignment(Qt::AlignCenter);
    QFont font = lTimeLeft->font();
    font.setPointSize(16);
    font.setBold(true);
    lTimeLeft->setFont(font);
    const qint64 seconds = CountdownSeconds(durationMs);
    m_endTime = static_cast<qint32>(static_cast<quint32>(clock.Now()) +
                                    static_cast<quint32>(seconds * 1000));
    resize(160, 40);
    lTimeLeft->setGeometry(0, 0, width(), height());
    // At the bottom of the screen, centred across it.
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->geometry();
        move(area.x() + (area.width() - width()) / 2, area.bottom() + 1 - height());
    }
    lTimeLeft->setText(TimeLeftText(seconds * 1000));
    m_timer1 = clock.Every(100, [this] { Timer1_Timer(); });
}

fTimer::~fTimer() = default;

qint64 fTimer::CountdownSeconds(qint32 durationMs) {
    // The floor, not the truncation: a limit of -1.5 s counts down two seconds.
    const qint64 ms = durationMs;
    const qint64 floor = ms >= 0 ? ms / 1000 : -((-ms + 999) / 1000);
    return qAbs(floor);
}

QString fTimer::TimeLeftText(qint64 msLeft) {
    const QTime left = QTime(0, 0).addMSecs(int(qMax<qint64>(0, msLeft) % (24 * 3600 * 1000)));
    return left.toString(QStringLiteral("hh:mm:ss")).right(5);
}

void fTimer::Timer1_Timer() {
    const QString text = TimeLeftText(Elapsed(m_clock.Now(), m_endTime));
    if (text == QLatin1String("00:00"))
        lTimeLeft->hide();
    lTimeLeft->setText(text);
}

} // namespace corvane
