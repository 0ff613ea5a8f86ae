#include "engine/fMain.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvane {

fMain::fMain(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("fMain"));
    setWindowTitle(QStringLiteral("Corvane"));
    setFocusPolicy(Qt::StrongFocus);
    auto* layout = new QVBoxLayout(this);
    layout->addStretch();
    m_continue = new QPushButton(this);
    m_continue->setObjectName(QStringLiteral("bContinue"));
    m_continue->hide();
    m_continueLabel = new QLabel(QStringLiteral("Click here to continue"), this);
    m_continueLabel->setObjectName(QStringLiteral("lContinue"));
    m_continueLabel->hide();
    layout->addWidget(m_continue, 0, Qt::AlignHCenter);
    layout->addWidget(m_continueLabel, 0, Qt::AlignHCenter);
    layout->addStretch();
    connect(m_continue, &QPushButton::clicked, this, [this] {
        if (ContinueClicked)
            ContinueClicked();
    });
}

void fMain::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Right && OperatorKeys) {
        OperatorKeys(event->modifiers().testFlag(Qt::ControlModifier),
                     event->modifiers().testFlag(Qt::AltModifier));
        return;
    }
    QWidget::keyPressEvent(event);
}

void fMain::mousePressEvent(QMouseEvent* event) {
    // A click on the backdrop must never cover an item form.
    lower();
    QWidget::mousePressEvent(event);
}

void fMain::closeEvent(QCloseEvent* event) {
    // The window manager's close would end the run's screen with the run still under way.
    if (event->spontaneous()) {
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}

} // namespace corvane
