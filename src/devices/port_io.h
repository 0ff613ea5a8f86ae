// Byte output and input at the I/O addresses of the ports that send pulses to outside equipment.
// What stands behind an address is a parallel port, a serial trigger box or nothing at all; the
// pulse code writes and reads through this one interface and never knows which.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace corvane {

class PortIO {
public:
    virtual ~PortIO() = default;
    /// Writes the byte to the address; false when the device refused it.
    virtual bool Outp(quint16 address, quint8 value) = 0;
    /// The byte at the address, as the device reads it back.
    virtual quint8 Inp(quint16 address) = 0;
};

/// A port with no device behind it: it keeps what was written, so that reading gives it back,
/// and tells each write to the sink as one line.
class LoggingPort : public PortIO {
public:
    using Sink = std::function<void(const QString& line)>;
    /// `now` gives the run clock for the lines.
    LoggingPort(Sink sink, std::function<qint32()> now);
    bool Outp(quint16 address, quint8 value) override;
    quint8 Inp(quint16 address) override;

private:
    Sink m_sink;
    std::function<qint32()> m_now;
    std::vector<std::pair<quint16, quint8>> m_latched;
};

/// For tests: keeps every write with the run-clock time at which it came.
class RecordingPort : public PortIO {
public:
    struct Write {
        qint32 at;
        quint16 address;
        quint8 value;
        bool operator==(const Write&) const = default;
    };
    explicit RecordingPort(std::function<qint32()> now) : m_now(std::move(now)) {}
    bool Outp(quint16 address, quint8 value) override;
    quint8 Inp(quint16 address) override;
    const std::vector<Write>& Writes() const { return m_writes; }
    /// Makes the next writes fail, as a device that has gone.
    void Fail(bool failing) { m_failing = failing; }

private:
    std::function<qint32()> m_now;
    std::vector<Write> m_writes;
    bool m_failing = false;
};

/// The line that a logging port writes for one byte.
QString PortLogLine(qint32 at, quint16 address, quint8 value);

} // namespace corvane
