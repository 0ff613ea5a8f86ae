// The run clock: milliseconds of a monotonic clock as a 32-bit signed value. Reaction times are
// differences of its readings, so every reading goes through this one seam.
#pragma once

#include <QtGlobal>

namespace corvane {

class RunClock {
public:
    virtual ~RunClock() = default;
    /// Milliseconds now, wrapping like a 32-bit counter.
    virtual qint32 Now() const = 0;
};

/// The monotonic clock of the machine (the clock of input event times on X11).
class SteadyRunClock : public RunClock {
public:
    qint32 Now() const override;
};

/// A clock that moves only when told: tests and unattended runs with a virtual clock.
class VirtualRunClock : public RunClock {
public:
    explicit VirtualRunClock(qint32 start = 1000000) : m_now(start) {}
    qint32 Now() const override { return m_now; }
    void Advance(qint32 ms) { m_now = static_cast<qint32>(static_cast<quint32>(m_now) + ms); }

private:
    qint32 m_now;
};

} // namespace corvane
