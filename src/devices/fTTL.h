// The pulses that items send to outside equipment: an item's port code ("888:1:10": address,
// value, duration in ms) writes the value to the port as the item's wording reaches the screen,
// and one one-shot timer clears the port when the duration has run out. Only the last address
// is kept, so a second pulse on another port before the first ends leaves the first one high:
// experiments pace their pulses.
#pragma once

#include <QObject>
#include <memory>
#include <optional>

namespace corvane {

class PortIO;
class RunClock;
class RunTimer;

/// An item's port code read into its three parts.
struct TTLCode {
    qint16 port = 0;
    qint16 value = 0;
    /// The duration as it stands in the code; empty when there is none.
    QString duration;
};

/// Reads the code; when it can't be sent, `problem` says why in words for the operator.
std::optional<TTLCode> ReadTTLCode(const QString& text, QString& problem);

class fTTL : public QObject {
    Q_OBJECT
public:
    fTTL(PortIO& ports, RunClock& clock);
    ~fTTL() override;

    /// Writes the value, starts the timer that ends the pulse when the duration is above 0,
    /// and returns true when the port reads back something other than the value.
    bool SendTTL(qint16& port, qint16& value, const QString& duration = {});
    /// What the port at the address reads.
    void GetTTL(qint16 port, qint16& result);
    /// The end of a pulse: every line of the last port goes low.
    void PortTimer_Timer();
    /// The address of the last port written.
    qint16 Port() const { return m_port; }

private:
    PortIO& m_ports;
    RunClock& m_clock;
    qint16 m_port = 0;
    std::unique_ptr<RunTimer> PortTimer;
};

} // namespace corvane
