// A trigger box on a serial line (many USB trigger interfaces): each byte written sets its output
// lines, one byte per edge of a pulse. Reading gives back the last byte written.
#pragma once

#include "devices/port_io.h"

#include <memory>

class QSerialPort;

namespace corvane {

class TriggerBox : public PortIO {
public:
    /// Opens the device at the speed given; `Error` says why when that failed.
    TriggerBox(const QString& device, qint32 baud);
    ~TriggerBox() override;

    bool IsOpen() const;
    QString Error() const { return m_error; }
    bool Outp(quint16 address, quint8 value) override;
    quint8 Inp(quint16 address) override;

private:
    std::unique_ptr<QSerialPort> m_port;
    QString m_device;
    QString m_error;
    quint8 m_last = 0;
};

/// Where a setting maps an address to a trigger box: "TriggerBox888=/dev/ttyACM0" or
/// "/dev/ttyACM0,115200" in the "Settings" group of Corvane's settings.
struct TriggerBoxSetting {
    QString device;
    qint32 baud = 115200;
};
std::optional<TriggerBoxSetting> TriggerBoxFor(quint16 address);
/// Reads the setting's text; no value for an empty one.
std::optional<TriggerBoxSetting> ReadTriggerBoxSetting(const QString& text);

} // namespace corvane
