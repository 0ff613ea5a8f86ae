// Waiting until what a window has drawn is on the screen, so that the moment read after it is
// the moment the participant could see it; and what the window system tells of input events.
#pragma once

#include <QtGlobal>
#include <optional>

class QKeyEvent;

namespace corvane {

/// Returns when the window system has taken everything drawn so far (a round trip to the X
/// server on X11; nothing more is possible elsewhere). On X11 it also gives the moment, on the
/// run clock, at which the server had put the drawing on the screen: the server's own time of
/// a request sent after the drawing, so that a program kept from running after the round trip
/// doesn't make the moment late.
std::optional<qint32> WaitForScreen();

/// The moment a drawing reached the screen: the window system's moment when it lies between the
/// readings of the clock before the drawing and after the wait, else the reading after the wait.
qint32 ScreenMoment(std::optional<qint32> shown, qint32 before, qint32 after);

/// True when input events carry their time on the run clock (X11: the server's millisecond
/// clock is the machine's monotonic clock).
bool EventTimesOnRunClock();

/// The place of a key on the keyboard as XKB numbers it (evdev + 8), where the window system
/// tells it (X11, Wayland); 0 elsewhere and for keys sent from inside the program.
quint32 KeyPlaceOf(const QKeyEvent& event);

} // namespace corvane
