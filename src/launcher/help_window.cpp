#include "launcher/help_window.h"

#include <QEvent>
#include <QLabel>
#include <QTextBrowser>
#include <QToolBar>
#include <QVBoxLayout>

namespace corvane {

namespace {

const QString kTitle = QStringLiteral("Corvane help");

} // namespace

HelpWindow::HelpWindow(QWidget* parent) : QWidget(parent, Qt::Window) {
    setObjectName(QStringLiteral("HelpWindow"));
    setWindowTitle(kTitle);
    resize(900, 700);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto* tools = new QToolBar(this);
    layout->addWidget(tools);
    auto* why = new QLabel(
        QStringLiteral("The desktop's web browser could not be started, so Corvane shows its "
                       "help here."),
        this);
    why->setObjectName(QStringLiteral("lWhy"));
    why->setContentsMargins(8, 4, 8, 4);
    why->setWordWrap(true);
    layout->addWidget(why);

    m_browser = new QTextBrowser(this);
    m_browser->setObjectName(QStringLiteral("HelpBrowser"));
    // Links to other pages open here; a web address goes to whatever the desktop offers.
    m_browser->setOpenLinks(true);
    m_browser->setOpenExternalLinks(true);
    layout->addWidget(m_browser, 1);

    QAction* back = tools->addAction(QStringLiteral("Back"), m_browser, &QTextBrowser::backward);
    back->setObjectName(QStringLiteral("HelpBack"));
    back->setEnabled(false);
    connect(m_browser, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    QAction* forward =
        tools->addAction(QStringLiteral("Forward"), m_browser, &QTextBrowser::forward);
    forward->setObjectName(QStringLiteral("HelpForward"));
    forward->setEnabled(false);
    connect(m_browser, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    QAction* home = tools->addAction(QStringLiteral("Contents"), m_browser, &QTextBrowser::home);
    home->setObjectName(QStringLiteral("HelpContents"));

    connect(m_browser, &QTextBrowser::sourceChanged, this, &HelpWindow::ShowTitle);
    if (parent)
        parent->installEventFilter(this);
}

bool HelpWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parent() && event->type() == QEvent::WindowStateChange)
        FollowOwner(*parentWidget());
    return QWidget::eventFilter(watched, event);
}

void HelpWindow::FollowOwner(const QWidget& owner) {
    if (owner.isMinimized() && isVisible()) {
        m_hiddenWithOwner = true;
        hide();
    } else if (!owner.isMinimized() && m_hiddenWithOwner) {
        m_hiddenWithOwner = false;
        show();
    }
}

void HelpWindow::ShowPage(const QUrl& page) {
    m_browser->setSource(page);
    ShowTitle();
}

void HelpWindow::ShowTitle() {
    const QString title = m_browser->documentTitle();
    setWindowTitle(title.isEmpty() ? kTitle : title);
}

HelpWindow* ShowHelpInOwnWindow(QWidget* owner, const QUrl& page) {
    auto* window = owner->findChild<HelpWindow*>(QString(), Qt::FindDirectChildrenOnly);
    if (!window)
        window = new HelpWindow(owner);
    window->ShowPage(page);
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

} // namespace corvane
