// A joystick through the Linux joystick interface: the 8-byte events of /dev/input/jsN (time,
// value, type, number), read without waiting whenever the position is wanted. Tests and
// benchmarks feed it events from a pipe or a file instead of a device. A stick that can't be
// opened is absent; one whose events stop for good (unplugged, the end of a fed stream) is gone,
// and stays gone. Bytes that make no event are passed over and counted.
#pragma once

#include <QByteArray>
#include <QString>
#include <array>
#include <memory>

namespace corvane {

/// The stick's place as the rating reads it: 0 (left, up) to 65534 (right, down), 32767 centred.
struct JoystickPosition {
    qint32 x = 0;
    qint32 y = 0;
};

class Joystick {
public:
    enum class Status { Absent, Present, Gone };

    /// The device of the program's settings ("JoystickDevice"), else /dev/input/js0.
    static QString DevicePath();
    /// Opens a device, or a pipe or a file that holds its events, without waiting on it.
    static std::unique_ptr<Joystick> Open(const QString& path);
    /// Reads the events of a descriptor that is open already; the joystick closes it.
    Joystick(int descriptor, const QString& name);
    ~Joystick();
    Joystick(const Joystick&) = delete;
    Joystick& operator=(const Joystick&) = delete;

    /// Takes in every event that has come so far. False when the stick is absent or gone.
    bool Poll();
    /// Takes in events from bytes as the device gives them; a part event waits for its rest.
    void Feed(const QByteArray& bytes);

    Status State() const { return m_status; }
    /// Why the stick is absent or gone, for the operator.
    QString Problem() const { return m_problem; }
    QString Name() const { return m_name; }
    /// The place of the first two axes; 0, 0 until the stick has told it.
    JoystickPosition Position() const;
    bool Button(int number) const;
    /// Events passed over: of no known kind, or for an axis or button past the last one kept.
    int IgnoredEvents() const { return m_ignored; }

    static constexpr int kEventSize = 8;
    static constexpr int kMostAxes = 16;
    static constexpr int kMostButtons = 32;

private:
    explicit Joystick(const QString& name, const QString& problem);
    void Take(const char* event);
    void MarkGone(const QString& reason);

    int m_descriptor = -1;
    QString m_name;
    Status m_status = Status::Present;
    QString m_problem;
    QByteArray m_pending;
    std::array<qint16, kMostAxes> m_axes{};
    std::array<bool, kMostAxes> m_axisKnown{};
    std::array<bool, kMostButtons> m_buttons{};
    int m_ignored = 0;
};

} // namespace corvane
