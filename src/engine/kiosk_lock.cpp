#include "engine/kiosk_lock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QThread>
#include <QTimer>
#include <QWidget>
#include <QtGui/qguiapplication_platform.h>
#include <cstdlib>
#include <vector>
#include <xcb/xcb.h>

namespace corvane {

namespace {

constexpr quint32 kRight = 0xff53;
constexpr quint32 kControlL = 0xffe3;
constexpr quint32 kControlR = 0xffe4;
constexpr quint32 kAltL = 0xffe9;
constexpr quint32 kAltR = 0xffea;
constexpr quint16 kControl = XCB_MOD_MASK_CONTROL;
constexpr quint16 kAlt = XCB_MOD_MASK_1;
// A grab names its modifiers exactly: Caps Lock and Num Lock must not make a key escape it.
constexpr quint16 kLocks[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                              XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};
constexpr int kGrabWaitMs = 3000;

xcb_connection_t* Connection() {
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

std::vector<xcb_keycode_t> KeycodesOf(xcb_connection_t* c, quint32 keysym) {
    const xcb_setup_t* setup = xcb_get_setup(c);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    std::vector<xcb_keycode_t> codes;
    auto* reply = xcb_get_keyboard_mapping_reply(
        c, xcb_get_keyboard_mapping(c, setup->min_keycode, quint8(count)), nullptr);
    if (!reply)
        return codes;
    const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(reply);
    for (int k = 0; k < count; ++k) {
        for (int s = 0; s < reply->keysyms_per_keycode; ++s) {
            if (syms[k * reply->keysyms_per_keycode + s] == keysym) {
                codes.push_back(xcb_keycode_t(setup->min_keycode + k));
                break;
            }
        }
    }
    std::free(reply);
    return codes;
}

xcb_window_t RootOf(xcb_connection_t* c, xcb_window_t window) {
    auto* reply = xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr);
    const xcb_window_t root =
        reply ? reply->root : xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    std::free(reply);
    return root;
}

// A passive grab of the key on the root window, with every lock state; false when another
// client (a window manager's shortcut) holds the combination.
bool GrabKey(xcb_connection_t* c, xcb_window_t root, xcb_keycode_t key, quint16 modifiers) {
    bool all = true;
    for (const quint16 lock : kLocks) {
        xcb_generic_error_t* error =
            xcb_request_check(c, xcb_grab_key_checked(c, 1, root, quint16(modifiers | lock), key,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        if (error) {
            all = false;
            std::free(error);
        }
    }
    return all;
}

QString Combination(quint16 modifiers) {
    QStringList keys;
    if (modifiers & kControl)
        keys << QStringLiteral("Control");
    if (modifiers & kAlt)
        keys << QStringLiteral("Alt");
    keys << QStringLiteral("Right Arrow");
    return keys.join(QLatin1Char('+'));
}

QString GrabProblem(quint8 status) {
    switch (status) {
    case XCB_GRAB_STATUS_ALREADY_GRABBED:
        return QStringLiteral("another program holds it");
    case XCB_GRAB_STATUS_NOT_VIEWABLE:
        return QStringLiteral("the run's window did not reach the screen in time");
    case XCB_GRAB_STATUS_FROZEN:
        return QStringLiteral("another program has frozen it");
    default:
        return QStringLiteral("the X server refused");
    }
}

} // namespace

struct KioskLock::Grabs {
    xcb_connection_t* c = nullptr;
    xcb_window_t root = 0;
    std::vector<xcb_keycode_t> right;
    std::vector<std::pair<xcb_keycode_t, quint16>> held; // passive grabs on the root
    bool filtering = false;
};

bool OnX11() {
    return Connection() != nullptr;
}

KioskLock::KioskLock() = default;

KioskLock::~KioskLock() {
    ReleaseAll();
    delete m_x;
}

QStringList KioskLock::HoldOperatorKeys(QWidget* runWindow) {
    xcb_connection_t* c = Connection();
    if (!c || !runWindow)
        return {};
    if (!m_x)
        m_x = new Grabs;
    m_x->c = c;
    m_x->root = RootOf(c, xcb_window_t(runWindow->winId()));
    m_x->right = KeycodesOf(c, kRight);
    QStringList problems;
    for (const quint16 modifiers : {kControl, kAlt, quint16(kControl | kAlt)}) {
        bool held = !m_x->right.empty();
        for (const xcb_keycode_t key : m_x->right) {
            const bool got = GrabKey(c, m_x->root, key, modifiers);
            if (got)
                m_x->held.emplace_back(key, modifiers);
            held = held && got;
        }
        if (held)
            continue;
        if (modifiers != (kControl | kAlt)) {
            problems << Combination(modifiers) +
                            QStringLiteral(" is taken by the window manager and may not reach "
                                           "Corvane while another window has the focus.");
            continue;
        }
        // The window manager binds the combination (often to a change of workspace). Pressing
        // the second of Control and Alt while the other is held then gives Corvane the keyboard
        // until it is let go, so that the arrow comes here: a grab that starts at a press is
        // taken by the server itself, with no race against the arrow.
        bool trigger = true;
        for (const quint32 sym : {kAltL, kAltR})
            for (const xcb_keycode_t key : KeycodesOf(c, sym))
                if (GrabKey(c, m_x->root, key, kControl))
                    m_x->held.emplace_back(key, kControl);
                else
                    trigger = false;
        for (const quint32 sym : {kControlL, kControlR})
            for (const xcb_keycode_t key : KeycodesOf(c, sym))
                if (GrabKey(c, m_x->root, key, kAlt))
                    m_x->held.emplace_back(key, kAlt);
                else
                    trigger = false;
        if (!trigger)
            problems << Combination(modifiers) +
                            QStringLiteral(" is taken by the window manager; Corvane could not "
                                           "hold it, and the window manager may act on it.");
    }
    xcb_flush(c);
    if (!m_x->filtering) {
        QCoreApplication::instance()->installNativeEventFilter(this);
        m_x->filtering = true;
    }
    return problems;
}

QStringList KioskLock::Lock(QWidget* runWindow) {
    if (!runWindow || QGuiApplication::platformName() == QLatin1String("offscreen"))
        return {};
    xcb_connection_t* c = Connection();
    if (!c)
        return {QStringLiteral("The task keys can't be locked: on this desktop (%1) Corvane "
                               "can't hold the keyboard, so Alt+Tab and the desktop's shortcuts "
                               "still work during the run. Use an X11 session to lock them.")
                    .arg(QGuiApplication::platformName())};
    const auto window = xcb_window_t(runWindow->winId());
    QElapsedTimer waited;
    waited.start();
    quint8 keyboard = XCB_GRAB_STATUS_NOT_VIEWABLE;
    quint8 pointer = XCB_GRAB_STATUS_NOT_VIEWABLE;
    // The window manager maps the window in its own time; until then no grab can be had.
    while (true) {
        if (keyboard != XCB_GRAB_STATUS_SUCCESS) {
            auto* reply =
                xcb_grab_keyboard_reply(c,
                                        xcb_grab_keyboard(c, 1, window, XCB_CURRENT_TIME,
                                                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                        nullptr);
            keyboard = reply ? reply->status : quint8(0xff);
            std::free(reply);
        }
        if (pointer != XCB_GRAB_STATUS_SUCCESS) {
            auto* reply = xcb_grab_pointer_reply(
                c,
                xcb_grab_pointer(c, 1, window, 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, window,
                                 XCB_NONE, XCB_CURRENT_TIME),
                nullptr);
            pointer = reply ? reply->status : quint8(0xff);
            std::free(reply);
        }
        if ((keyboard == XCB_GRAB_STATUS_SUCCESS && pointer == XCB_GRAB_STATUS_SUCCESS) ||
            waited.elapsed() > kGrabWaitMs)
            break;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(20);
    }
    m_locked = keyboard == XCB_GRAB_STATUS_SUCCESS;
    QStringList problems;
    if (keyboard != XCB_GRAB_STATUS_SUCCESS)
        problems << QStringLiteral("The task keys could not be locked: Corvane can't hold the "
                                   "keyboard (%1). Alt+Tab, Alt+F4 and the desktop's shortcuts "
                                   "still work during this run.")
                        .arg(GrabProblem(keyboard));
    if (pointer != XCB_GRAB_STATUS_SUCCESS)
        problems << QStringLiteral("The mouse could not be kept on the run's screen (%1).")
                        .arg(GrabProblem(pointer));
    return problems;
}

void KioskLock::Unlock() {
    xcb_connection_t* c = Connection();
    if (!m_locked || !c)
        return;
    xcb_ungrab_keyboard(c, XCB_CURRENT_TIME);
    xcb_ungrab_pointer(c, XCB_CURRENT_TIME);
    xcb_flush(c);
    m_locked = false;
}

void KioskLock::ReleaseAll() {
    Unlock();
    if (!m_x)
        return;
    if (Connection() == m_x->c) {
        for (const auto& [key, modifiers] : m_x->held)
            for (const quint16 lock : kLocks)
                xcb_ungrab_key(m_x->c, key, m_x->root, quint16(modifiers | lock));
        xcb_flush(m_x->c);
    }
    m_x->held.clear();
    if (m_x->filtering && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
    m_x->filtering = false;
}

bool KioskLock::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (!m_x || eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
        return false;
    const auto* press = static_cast<const xcb_key_press_event_t*>(message);
    // Keys for Corvane's own windows arrive there as usual; a held key pressed while another
    // client's window had the focus comes on the root window, and only that one is taken here.
    if (press->event != m_x->root)
        return false;
    const bool right =
        std::find(m_x->right.begin(), m_x->right.end(), press->detail) != m_x->right.end();
    const bool control = press->state & kControl;
    const bool alt = press->state & kAlt;
    if (right && (control || alt) && OperatorKeys) {
        // Not from inside the event filter: the keys may end the run.
        QTimer::singleShot(0, qApp, [this, control, alt] {
            if (OperatorKeys)
                OperatorKeys(control, alt);
        });
    }
    return true;
}

} // namespace corvane
