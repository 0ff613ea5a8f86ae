// The keyboard's repeat through the X keyboard extension. Other window systems (Wayland, the
// offscreen platform of tests) keep their own settings: a program can't set them there.
#include "launcher/desktop.h"

#include <QGuiApplication>

#ifdef CORVANE_HAVE_XLIB
// Xlib defines plain words as macros, so it comes after every Qt header.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#endif

namespace corvane {

void SystemDesktop::SetQuickestKeyRepeat() {
#ifdef CORVANE_HAVE_XLIB
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return;
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return;
    // The shortest delay and the quickest rate that a desktop's keyboard settings offer:
    // 250 ms before the first repeat, then about 30 a second. The old values are not restored.
    constexpr unsigned delayMs = 250;
    constexpr unsigned intervalMs = 33;
    XkbSetAutoRepeatRate(display, XkbUseCoreKbd, delayMs, intervalMs);
    XSync(display, False);
    XCloseDisplay(display);
#endif
}

} // namespace corvane
