#include "devices/port_io.h"

#include <algorithm>

namespace corvane {

QString PortLogLine(qint32 at, quint16 address, quint8 value) {
    return QStringLiteral("port %1 <- %2 at %3 ms").arg(address).arg(value).arg(at);
}

LoggingPort::LoggingPort(Sink sink, std::function<qint32()> now)
    : m_sink(std::move(sink)), m_now(std::move(now)) {}

bool LoggingPort::Outp(quint16 address, quint8 value) {
    if (m_sink)
        m_sink(PortLogLine(m_now(), address, value));
    auto found = std::find_if(m_latched.begin(), m_latched.end(),
                              [address](const auto& entry) { return entry.first == address; });
    if (found == m_latched.end())
        m_latched.emplace_back(address, value);
    else
        found->second = value;
    return true;
}

quint8 LoggingPort::Inp(quint16 address) {
    for (const auto& [at, value] : m_latched) {
        if (at == address)
            return value;
    }
    return 0;
}

bool RecordingPort::Outp(quint16 address, quint8 value) {
    if (m_failing)
        return false;
    m_writes.push_back({m_now(), address, value});
    return true;
}

quint8 RecordingPort::Inp(quint16 address) {
    for (auto write = m_writes.rbegin(); write != m_writes.rend(); ++write) {
        if (write->address == address)
            return write->value;
    }
    return 0;
}

} // namespace corvane
