#include "engine/screen_sync.h"

#include "state/run_clock.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <cstdlib>
#include <poll.h>
#include <xcb/xcb.h>

namespace corvane {

namespace {

xcb_connection_t* X11Connection() {
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

// A hidden window of a connection of our own. The program's connection changes a property of
// it after each drawing; the server stamps the change with its clock and tells this connection,
// whose events nothing else reads.
class ScreenStamper {
public:
    static ScreenStamper* Instance(xcb_connection_t* program) {
        static ScreenStamper stamper(program);
        return stamper.m_window ? &stamper : nullptr;
    }

    void Request(xcb_connection_t* program) {
        Drain();
        xcb_change_property(program, XCB_PROP_MODE_APPEND, m_window, m_atom, XCB_ATOM_STRING, 8, 0,
                            nullptr);
    }

    // The server's time of the change. Its event left the server before the reply of the round
    // trip that followed the change, so it is here or on its way.
    // A change that doesn't come back (another server, a lost connection) turns the stamps off
    // for good, so that no later item waits for one.
    std::optional<qint32> Take() {
        std::optional<qint32> time = Drain();
        for (int tries = 0; !time && tries < 2; ++tries) {
            pollfd ready{xcb_get_file_descriptor(m_own), POLLIN, 0};
            if (::poll(&ready, 1, 10) < 0)
                break;
            time = Drain();
        }
        if (!time)
            m_window = 0;
        return time;
    }

private:
    explicit ScreenStamper(xcb_connection_t* program) {
        m_own = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(m_own))
            return;
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_own)).data;
        const char name[] = "CORVANE_SCREEN_STAMP";
        xcb_intern_atom_reply_t* atom =
            xcb_intern_atom_reply(m_own, xcb_intern_atom(m_own, 0, sizeof name - 1, name), nullptr);
        if (!screen || !atom) {
            std::free(atom);
            return;
        }
        m_atom = atom->atom;
        std::free(atom);
        const xcb_window_t window = xcb_generate_id(m_own);
        const uint32_t values[] = {1, XCB_EVENT_MASK_PROPERTY_CHANGE};
        xcb_void_cookie_t made = xcb_create_window_checked(
            m_own, 0, window, screen->root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
            XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        if (xcb_generic_error_t* error = xcb_request_check(m_own, made)) {
            std::free(error);
            return;
        }
        // The program's connection must see the window: both talk to the same server.
        xcb_generic_error_t* unseen = nullptr;
        std::free(xcb_get_window_attributes_reply(
            program, xcb_get_window_attributes(program, window), &unseen));
        if (unseen) {
            std::free(unseen);
            return;
        }
        m_window = window;
    }

    // Reads what has come; the time of the last change of our window among it.
    std::optional<qint32> Drain() {
        std::optional<qint32> time;
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_own)) {
            if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
                const auto* change = reinterpret_cast<xcb_property_notify_event_t*>(event);
                if (change->window == m_window && change->atom == m_atom)
                    time = static_cast<qint32>(change->time);
            }
            std::free(event);
        }
        return time;
    }

    xcb_connection_t* m_own = nullptr;
    xcb_window_t m_window = 0;
    xcb_atom_t m_atom = 0;
};

} // namespace

std::optional<qint32> WaitForScreen() {
    xcb_connection_t* connection = X11Connection();
    if (!connection)
        return std::nullopt;
    ScreenStamper* stamper = ScreenStamper::Instance(connection);
    if (stamper)
        stamper->Request(connection);
    // A request with a reply: when it comes back, the server has handled all that went before.
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    return stamper ? stamper->Take() : std::nullopt;
}

qint32 ScreenMoment(std::optional<qint32> shown, qint32 before, qint32 after) {
    if (!shown || Elapsed(before, *shown) < 0 || Elapsed(*shown, after) < 0)
        return after;
    return *shown;
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
