#include "engine/navigation_bar.h"

#include "state/helpers.h"

#include <QDir>
#include <QPushButton>

namespace corvane {

namespace {

QString Caption(const QString& key) {
    if (key == QLatin1String("GoBack"))
        return QStringLiteral("Go Back");
    if (key == QLatin1String("Instruct"))
        return QStringLiteral("Instructions");
    return key;
}

} // namespace

NavigationBar::NavigationBar(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("Bar1"));
    setFixedHeight(44);
}

void NavigationBar::AddButton(const QString& key, const QString& picture, int x) {
    auto* button = new QPushButton(this);
    button->setObjectName(key);
    button->setFocusPolicy(Qt::NoFocus);
    const auto file = FindFile(QDir(m_bitmapPath).filePath(picture));
    const QPixmap pixmap = file ? QPixmap(*file) : QPixmap();
    if (pixmap.isNull()) {
        button->setText(Caption(key)); // a picture that isn't there leaves the word
    } else {
        button->setIcon(QIcon(pixmap));
        button->setIconSize(pixmap.size());
        button->setToolTip(Caption(key));
    }
    button->adjustSize();
    button->move(x, (height() - button->height()) / 2);
    button->show();
    connect(button, &QPushButton::clicked, this, [this, key] { emit ToolClick(key); });
    m_buttons.insert(key, button);
}

int NavigationBar::State(const QString& key) const {
    const QPushButton* button = m_buttons.value(key, nullptr);
    return button && button->isEnabled() ? 0 : 1;
}

} // namespace corvane
