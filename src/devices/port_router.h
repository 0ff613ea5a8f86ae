// The ports of a run, by address: each address goes to the device that stands behind it (a
// trigger box that a setting names, else the parallel port of a usual address where the machine
// has one), else to a port that only logs. A device that can't be opened, or that stops taking
// bytes in the middle of a run, is reported once and its address is logged from then on: the
// run goes on. Every byte is logged with its run-clock time, the device that took it named.
#pragma once

#include "devices/port_io.h"

#include <map>
#include <memory>

namespace corvane {

/// A device opened for an address: its port, its name for messages, or why it can't be used.
struct OpenedPort {
    std::unique_ptr<PortIO> port;
    QString name;
    QString error;
};

/// The device behind an address on this machine; no port and no error when there is none.
OpenedPort OpenSystemPort(quint16 address);

class PortRouter : public PortIO {
public:
    using Report = std::function<void(const QString& message)>;
    using Open = std::function<OpenedPort(quint16 address)>;
    /// `report` tells the operator of a device that fails; `log` takes the lines of the logging
    /// port, and once the note that an address has no device.
    PortRouter(Report report, LoggingPort::Sink log, std::function<qint32()> now,
               Open open = OpenSystemPort);
    ~PortRouter() override;

    bool Outp(quint16 address, quint8 value) override;
    quint8 Inp(quint16 address) override;

private:
    PortIO& PortOf(quint16 address);
    void Lost(quint16 address);

    Report m_report;
    LoggingPort m_logging;
    LoggingPort::Sink m_log;
    std::function<qint32()> m_now;
    Open m_open;
    std::map<quint16, std::unique_ptr<PortIO>> m_devices; // null: the address is logged
    std::map<quint16, QString> m_names;
    bool m_loggingAnnounced = false;
};

} // namespace corvane
