// The run's hold on the keyboard under X11. With the task keys locked, the run window grabs the
// keyboard and confines the pointer to its screen, so that Alt+Tab, Alt+F4, the Super key and
// the window manager's other shortcuts can't take the participant out of the run; the run's
// own windows still get their keys. Without the lock the window manager keeps its keys, but the
// operator's Right Arrow with Control and/or Alt is held for Corvane while the run has the
// screen, since desktops bind Control+Alt+Right to a change of workspace.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QString>
#include <QStringList>
#include <functional>

class QWidget;

namespace corvane {

class KioskLock : public QAbstractNativeEventFilter {
public:
    KioskLock();
    ~KioskLock() override;
    KioskLock(const KioskLock&) = delete;
    KioskLock& operator=(const KioskLock&) = delete;

    /// Called with the modifiers of an operator key that arrived outside Corvane's windows.
    std::function<void(bool control, bool alt)> OperatorKeys;

    /// Holds the operator keys for the run window's display. What could not be held, in words
    /// for the operator; empty when all went well or there is no X server (offscreen).
    QStringList HoldOperatorKeys(QWidget* runWindow);
    /// Grabs the keyboard and confines the pointer to the run window, waiting a little for the
    /// window to reach the screen. What could not be had, in words for the operator.
    QStringList Lock(QWidget* runWindow);
    /// Gives the keyboard and the pointer back, for a program or dialog of another client that
    /// needs them, or at the end of the run; the operator keys stay held.
    void Unlock();
    /// Gives everything back.
    void ReleaseAll();

    bool Locked() const { return m_locked; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    struct Grabs;
    Grabs* m_x = nullptr;
    bool m_locked = false;
};

/// True when the run's windows are on an X server that Corvane can grab from.
bool OnX11();

} // namespace corvane
