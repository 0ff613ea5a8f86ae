#include "launcher/fSplash.h"

#include "launcher/artwork.h"
#include "state/run_state.h"

#include <QGuiApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

namespace corvane {

namespace {

// How long the splash stands: the launcher comes up below it after the first interval and
// the splash goes after the second.
constexpr int kLauncherBelowMs = 1200;
constexpr int kSplashGoneMs = 2500;

} // namespace

fSplash::fSplash(RunState& state, QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      m_state(state) {
    setObjectName(QStringLiteral("fSplash"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    Image1 = new QLabel(this);
    Image1->setObjectName(QStringLiteral("Image1"));
    Image1->setPixmap(QPixmap::fromImage(artwork::LauncherPicture(QSize(520, 300))));
    Image1->installEventFilter(this);
    layout->addWidget(Image1);
    lblversion = new QLabel(this);
    lblversion->setObjectName(QStringLiteral("lblversion"));
    lblversion->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    lblversion->setContentsMargins(8, 4, 8, 4);
    lblversion->setStyleSheet(
        QStringLiteral("background: #173a7a; color: white; font-weight: bold;"));
    layout->addWidget(lblversion);

    Timer1 = new QTimer(this);
    Timer1->setSingleShot(true);
    Timer1->setInterval(kSplashGoneMs);
    connect(Timer1, &QTimer::timeout, this, &fSplash::Finish);
    Timer2 = new QTimer(this);
    Timer2->setSingleShot(true);
    Timer2->setInterval(kLauncherBelowMs);
    connect(Timer2, &QTimer::timeout, this, [this] {
        if (ShowLauncher)
            ShowLauncher();
        raise();
    });
}

void fSplash::Load() {
    if (const QScreen* screen = QGuiApplication::primaryScreen(); screen && screen->depth() == 8)
        m_state.Boxes().Show(
            MessageBox{DefaultBoxTitle(),
                       QStringLiteral("Your display is currently set to 256 colors.  \n"
                                      "Corvane graphics are designed for a display \n"
                                      "with greater color depth.  You can set this \n"
                                      "by right-clicking on your desktop and selecting \n"
                                      "'properties' and then 'settings,' or by \n"
                                      "selecting 'display' from your control panel."),
                       BoxIcon::Information});
    lblversion->setText(QStringLiteral("v ") + QStringLiteral(CORVANE_VERSION));
    adjustSize();
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
    Timer1->start();
    Timer2->start();
}

void fSplash::Finish() {
    Timer1->stop();
    Timer2->stop();
    if (ShowLauncher)
        ShowLauncher();
    close();
}

void fSplash::keyPressEvent(QKeyEvent*) {
    Finish();
}

bool fSplash::eventFilter(QObject* watched, QEvent* event) {
    if (watched == Image1 && event->type() == QEvent::MouseButtonRelease) {
        Finish();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace corvane
