#include "engine/fTimer.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTime>
#include <QTimer>

namespace corvane {

fTimer::fTimer(qint32 durationMs)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      lTimeLeft(new QLabel(this)), m_timer(new QTimer(this)) {
    setObjectName(QStringLiteral("fTimer"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    lTimeLeft->setObjectName(QStringLiteral("lTimeLeft"));
    lTimeLeft->setAlignment(Qt::AlignCenter);
    QFont font = lTimeLeft->font();
    font.setPointSize(16);
    font.setBold(true);
    lTimeLeft->setFont(font);
    const qint64 seconds = qAbs(qint64(durationMs) / 1000);
    m_end = QDateTime::currentDateTime().addSecs(seconds);
    resize(160, 40);
    lTimeLeft->setGeometry(0, 0, width(), height());
    // At the bottom of the screen, centred across it.
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->geometry();
        move(area.x() + (area.width() - width()) / 2, area.bottom() - height());
    }
    lTimeLeft->setText(TimeLeftText(seconds * 1000));
    connect(m_timer, &QTimer::timeout, this, &fTimer::Timer1_Timer);
    m_timer->start(100);
}

QString fTimer::TimeLeftText(qint64 msLeft) {
    const QTime left = QTime(0, 0).addMSecs(int(qMax<qint64>(0, msLeft) % (24 * 3600 * 1000)));
    return left.toString(QStringLiteral("hh:mm:ss")).right(5);
}

void fTimer::Timer1_Timer() {
    const QString text = TimeLeftText(QDateTime::currentDateTime().msecsTo(m_end));
    if (text == QLatin1String("00:00"))
        lTimeLeft->hide();
    lTimeLeft->setText(text);
}

} // namespace corvane
