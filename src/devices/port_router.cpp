#include "devices/port_router.h"

#include "devices/parallel_port.h"
#include "devices/trigger_box.h"

#include <QFileInfo>

namespace corvane {

OpenedPort OpenSystemPort(quint16 address) {
    OpenedPort opened;
    if (const auto box = TriggerBoxFor(address)) {
        auto port = std::make_unique<TriggerBox>(box->device, box->baud);
        opened.name = QStringLiteral("the trigger box at ") + box->device;
        if (port->IsOpen())
            opened.port = std::move(port);
        else
            opened.error = port->Error();
        return opened;
    }
    const auto device = ParallelDeviceOf(address);
    if (!device || !QFileInfo::exists(*device))
        return opened;
    auto port = std::make_unique<ParallelPort>(*device);
    opened.name = QStringLiteral("the parallel port ") + *device;
    if (port->IsOpen())
        opened.port = std::move(port);
    else
        opened.error = port->Error();
    return opened;
}

PortRouter::PortRouter(Report report, LoggingPort::Sink log, std::function<qint32()> now, Open open)
    : m_report(std::move(report)), m_logging(log, now), m_log(std::move(log)),
      m_now(std::move(now)), m_open(std::move(open)) {}

PortRouter::~PortRouter() = default;

PortIO& PortRouter::PortOf(quint16 address) {
    auto found = m_devices.find(address);
    if (found == m_devices.end()) {
        OpenedPort opened = m_open(address);
        if (!opened.error.isEmpty())
            m_report(QStringLiteral("The pulses for port %1 can not go to %2: %3. They are only "
                                    "logged; the run goes on.")
                         .arg(address)
                         .arg(opened.name, opened.error));
        m_names[address] = opened.name;
        found = m_devices.emplace(address, std::move(opened.port)).first;
        if (!found->second && opened.error.isEmpty() && !m_loggingAnnounced) {
            m_loggingAnnounced = true;
            m_log(QStringLiteral("No parallel port or trigger box stands behind port %1: its "
                                 "pulses, and those of any other port without a device, are "
                                 "only logged, on standard error. To send them, connect a "
                                 "parallel port (/dev/parport0 for 888, /dev/parport1 for "
                                 "632, /dev/parport2 for 956) or name a trigger box in "
                                 "Corvane's settings (TriggerBox%1=/dev/ttyACM0).")
                      .arg(address));
        }
    }
    return found->second ? *found->second : static_cast<PortIO&>(m_logging);
}

void PortRouter::Lost(quint16 address) {
    m_devices[address].reset();
    m_report(QStringLiteral("The pulses for port %1 can no longer go to %2: the device stopped "
                            "taking them. From now on they are only logged; the run goes on.")
                 .arg(address)
                 .arg(m_names[address]));
}

bool PortRouter::Outp(quint16 address, quint8 value) {
    PortIO& port = PortOf(address);
    if (&port == &m_logging)
        return m_logging.Outp(address, value);
    if (port.Outp(address, value)) {
        // Told after the byte has gone, so that the telling doesn't delay it.
        m_log(PortLogLine(m_now(), address, value) + QStringLiteral(" to ") + m_names[address]);
        return true;
    }
    // The byte is not lost from the record: the log keeps it.
    Lost(address);
    return m_logging.Outp(address, value);
}

quint8 PortRouter::Inp(quint16 address) {
    return PortOf(address).Inp(address);
}

} // namespace corvane
