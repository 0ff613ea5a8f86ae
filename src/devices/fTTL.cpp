#include "devices/fTTL.h"

#include "definitions/number_reading.h"
#include "devices/port_io.h"
#include "state/error.h"
#include "state/run_clock.h"

#include <QStringList>

namespace corvane {

namespace {

// A whole number as the code's parts are written; the problem named when it isn't one.
std::optional<qint16> ReadPart(const QString& part, const char* name, QString& problem) {
    bool number = false;
    const double value = part.trimmed().toDouble(&number);
    if (!number) {
        problem = QStringLiteral("its %1 '%2' is not a number").arg(QLatin1String(name), part);
        return std::nullopt;
    }
    try {
        return RoundToInt16(value);
    } catch (const CorvaneError&) {
        problem = QStringLiteral("its %1 %2 is out of range").arg(QLatin1String(name), part);
        return std::nullopt;
    }
}

} // namespace

std::optional<TTLCode> ReadTTLCode(const QString& text, QString& problem) {
    const QStringList parts = text.split(QLatin1Char(':'));
    if (parts.size() < 2) {
        problem = QStringLiteral("it has no value (write port:value:duration, e.g. 888:1:10)");
        return std::nullopt;
    }
    TTLCode code;
    const auto port = ReadPart(parts[0], "port", problem);
    if (!port)
        return std::nullopt;
    const auto value = ReadPart(parts[1], "value", problem);
    if (!value)
        return std::nullopt;
    code.port = *port;
    code.value = *value;
    code.duration = parts.value(2).trimmed();
    return code;
}

fTTL::fTTL(PortIO& ports, RunClock& clock) : m_ports(ports), m_clock(clock) {}

fTTL::~fTTL() = default;

bool fTTL::SendTTL(qint16& port, qint16& value, const QString& duration) {
    m_port = port;
    m_ports.Outp(quint16(port), quint8(value));
    bool number = false;
    const double ms = duration.toDouble(&number);
    if (number && ms > 0) {
        // One timer for all pulses: a new pulse takes it over from one still running.
        PortTimer = m_clock.After(qRound(ms), [this] { PortTimer_Timer(); });
    }
    return m_ports.Inp(quint16(port)) != value;
}

void fTTL::GetTTL(qint16 port, qint16& result) {
    result = m_ports.Inp(quint16(port));
}

void fTTL::PortTimer_Timer() {
    m_ports.Outp(quint16(m_port), 0);
    PortTimer.reset();
}

} // namespace corvane
