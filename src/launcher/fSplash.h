// The splash: the program's picture and version while the launcher comes up. Its second timer
// brings the launcher up below it, its first timer, a key or a click on the picture shows the
// launcher and closes the splash.
#pragma once

#include <QWidget>
#include <functional>

class QLabel;
class QTimer;

namespace corvane {

class RunState;

class fSplash : public QWidget {
    Q_OBJECT
public:
    explicit fSplash(RunState& state, QWidget* parent = nullptr);

    /// Shows the launcher (loading it the first time).
    std::function<void()> ShowLauncher;

    /// Checks the display's colours, shows the version and starts the timers.
    void Load();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Finish();

    RunState& m_state;
    QLabel* Image1;
    QLabel* lblversion;
    QTimer* Timer1;
    QTimer* Timer2;
};

} // namespace corvane
