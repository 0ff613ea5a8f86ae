// The navigation bar of the item forms: picture buttons identified by key, placed by x in pixels,
// reporting clicks by key and telling a button's state (0: the key may act).
#pragma once

#include <QMap>
#include <QWidget>

class QPushButton;

namespace corvane {

class NavigationBar : public QWidget {
    Q_OBJECT
public:
    explicit NavigationBar(QWidget* parent = nullptr);

    /// The folder of the button pictures.
    void SetBitmapPath(const QString& folder) { m_bitmapPath = folder; }
    /// Adds a button: its key, its picture's file name in the bitmap folder, its x in pixels.
    void AddButton(const QString& key, const QString& picture, int x);
    /// 0 when the button of that key exists and may act; a missing key never acts.
    int State(const QString& key) const;
    QPushButton* Button(const QString& key) const { return m_buttons.value(key, nullptr); }

signals:
    void ToolClick(const QString& key);

private:
    QString m_bitmapPath;
    QMap<QString, QPushButton*> m_buttons;
};

} // namespace corvane
