#include "engine/fPassword.h"

#include "state/text.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>
#include <QVBoxLayout>

namespace corvane {

fPassword::fPassword(const QString& caption, const QString& password)
    : Label1(new QLabel(caption, this)), Text1(new QLineEdit(this)), Timer1(new QTimer(this)),
      m_password(password) {
    setObjectName(QStringLiteral("fPassword"));
    setWindowTitle(QStringLiteral("Corvane"));
    Label1->setObjectName(QStringLiteral("Label1"));
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setEchoMode(QLineEdit::Password);
    Text1->installEventFilter(this);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Label1);
    layout->addWidget(Text1);
    // The focus goes back to the box four times a second.
    connect(Timer1, &QTimer::timeout, this, [this] { Text1->setFocus(); });
    Timer1->start(250);
}

bool fPassword::Matches(const QString& typed, const QString& password) {
    return Normalised(typed) == Normalised(password);
}

bool fPassword::eventFilter(QObject* watched, QEvent* event) {
    if (watched == Text1 && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            if (Matches(Text1->text(), m_password))
                accept(); // a wrong word does nothing at all
            return true;
        }
        if (key->key() == Qt::Key_Right && key->modifiers() != Qt::NoModifier) {
            accept(); // the experimenter's way out
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void fPassword::closeEvent(QCloseEvent* event) {
    // Alt+F4 must not open the lock: only the password or the operator's key do.
    if (event->spontaneous()) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

void fPassword::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        return; // the participant can't close the lock
    if (event->key() == Qt::Key_Right && event->modifiers() != Qt::NoModifier) {
        accept();
        return;
    }
    QDialog::keyPressEvent(event);
}

} // namespace corvane
