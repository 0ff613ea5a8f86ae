// The run's backdrop: a plain full-size window that stays behind the item forms for the whole run
// and passes the operator's Right Arrow keys on.
#pragma once

#include <QWidget>
#include <functional>

class QLabel;
class QPushButton;

namespace corvane {

class fMain : public QWidget {
    Q_OBJECT
public:
    explicit fMain(QWidget* parent = nullptr);

    /// Right Arrow with Control and/or Alt pressed on the backdrop.
    std::function<void(bool control, bool alt)> OperatorKeys;
    /// The continue button, for a list entry that waits on the backdrop.
    std::function<void()> ContinueClicked;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QPushButton* m_continue;
    QLabel* m_continueLabel;
};

} // namespace corvane
