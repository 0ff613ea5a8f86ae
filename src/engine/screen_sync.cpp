#include "engine/screen_sync.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <cstdlib>
#include <xcb/xcb.h>

namespace corvane {

namespace {

xcb_connection_t* X11Connection() {
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

} // namespace

void WaitForScreen() {
    xcb_connection_t* connection = X11Connection();
    if (!connection)
        return;
    // A request with a reply: when it comes back, the server has handled all that went before.
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

bool EventTimesOnRunClock() {
    return X11Connection() != nullptr;
}

quint32 KeyPlaceOf(const QKeyEvent& event) {
    // Both number keys by XKB keycode; other platforms' scan codes mean something else.
    const bool xkb = X11Connection() != nullptr ||
                     QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    return xkb ? event.nativeScanCode() : 0;
}

} // namespace corvane
