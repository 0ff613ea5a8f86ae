#include "devices/joystick.h"

#include "state/settings_store.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace corvane {

namespace {

// The event kinds of the joystick interface; the "init" bit marks the state that the driver
// reports on opening, which counts like any other event here.
constexpr quint8 kButtonEvent = 0x01;
constexpr quint8 kAxisEvent = 0x02;
constexpr quint8 kInitBit = 0x80;

QString ErrorText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace

QString Joystick::DevicePath() {
    const QString configured =
        SettingsStore::Get(QStringLiteral("Corvane"), QStringLiteral("JoystickDevice")).toString();
    return configured.trimmed().isEmpty() ? QStringLiteral("/dev/input/js0") : configured.trimmed();
}

std::unique_ptr<Joystick> Joystick::Open(const QString& path) {
    const QByteArray local = path.toLocal8Bit();
    const int descriptor = ::open(local.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return std::unique_ptr<Joystick>(new Joystick(path, ErrorText(errno)));
    return std::make_unique<Joystick>(descriptor, path);
}

Joystick::Joystick(int descriptor, const QString& name) : m_descriptor(descriptor), m_name(name) {
    // A descriptor handed over may wait on reads; the rating must never wait for the stick.
    const int flags = ::fcntl(descriptor, F_GETFL);
    if (flags >= 0)
        ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
}

Joystick::Joystick(const QString& name, const QString& problem)
    : m_name(name), m_status(Status::Absent), m_problem(problem) {}

Joystick::~Joystick() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

bool Joystick::Poll() {
    if (m_status != Status::Present)
        return false;
    char buffer[64 * kEventSize];
    while (true) {
        const ssize_t got = ::read(m_descriptor, buffer, sizeof buffer);
        if (got > 0) {
            Feed(QByteArray(buffer, int(got)));
            continue;
        }
        if (got == 0) {
            MarkGone(QStringLiteral("the device sends nothing more"));
            return false;
        }
        if (errno == EINTR)
            continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            return true;
        MarkGone(ErrorText(errno));
        return false;
    }
}

void Joystick::Feed(const QByteArray& bytes) {
    m_pending += bytes;
    qsizetype at = 0;
    for (; at + kEventSize <= m_pending.size(); at += kEventSize)
        Take(m_pending.constData() + at);
    m_pending.remove(0, at);
}

void Joystick::Take(const char* event) {
    // The kernel's struct: time (4 bytes), value (2), type (1), number (1), in the host's order.
    qint16 value = 0;
    std::memcpy(&value, event + 4, sizeof value);
    const quint8 kind = quint8(event[6]) & quint8(~kInitBit);
    const int number = quint8(event[7]);
    if (kind == kAxisEvent && number < kMostAxes) {
        m_axes[std::size_t(number)] = value;
        m_axisKnown[std::size_t(number)] = true;
    } else if (kind == kButtonEvent && number < kMostButtons) {
        m_buttons[std::size_t(number)] = value != 0;
    } else {
        ++m_ignored;
    }
}

void Joystick::MarkGone(const QString& reason) {
    m_status = Status::Gone;
    m_problem = reason;
    ::close(m_descriptor);
    m_descriptor = -1;
}

JoystickPosition Joystick::Position() const {
    // The interface reports -32767 to 32767; the rating's scale starts at 0.
    auto place = [this](int axis) {
        return m_axisKnown[std::size_t(axis)] ? qMax(0, qint32(m_axes[std::size_t(axis)]) + 32767)
                                              : 0;
    };
    return {place(0), place(1)};
}

bool Joystick::Button(int number) const {
    return number >= 0 && number < kMostButtons && m_buttons[std::size_t(number)];
}

} // namespace corvane
