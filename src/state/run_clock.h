// The run clock: milliseconds of a monotonic clock as a 32-bit signed value. Reaction times are
// differences of its readings, and the run's timers run on it, so every reading and every timer
// goes through this one seam. A virtual clock moves only when told, firing the timers that fall
// due on the way, so that unattended runs and tests give reproducible times.
#pragma once

#include <QtGlobal>
#include <functional>
#include <map>
#include <memory>

namespace corvane {

/// A running timer; stopping it or letting it go ends it.
class RunTimer {
public:
    virtual ~RunTimer() = default;
    virtual void Stop() = 0;
};

class RunClock {
public:
    virtual ~RunClock() = default;
    /// Milliseconds now, wrapping like a 32-bit counter.
    virtual qint32 Now() const = 0;
    /// The same clock in microseconds, without the 32-bit wrap: for times finer than a
    /// millisecond, such as the moment of a sound within a stream of samples.
    virtual qint64 NowMicroseconds() const { return qint64(Now()) * 1000; }
    /// Calls `tick` every `intervalMs` until the timer is stopped or released.
    virtual std::unique_ptr<RunTimer> Every(int intervalMs, std::function<void()> tick) = 0;
    /// Calls `done` once, `ms` from now.
    virtual std::unique_ptr<RunTimer> After(int ms, std::function<void()> done) = 0;
};

/// Milliseconds between two readings, correct across the counter's wrap.
inline qint32 Elapsed(qint32 from, qint32 to) {
    return static_cast<qint32>(static_cast<quint32>(to) - static_cast<quint32>(from));
}

/// The monotonic clock of the machine (the clock of input event times on X11), with timers of
/// the event loop.
class SteadyRunClock : public RunClock {
public:
    qint32 Now() const override;
    qint64 NowMicroseconds() const override;
    std::unique_ptr<RunTimer> Every(int intervalMs, std::function<void()> tick) override;
    std::unique_ptr<RunTimer> After(int ms, std::function<void()> done) override;
};

/// A clock that moves only by `Advance`.
class VirtualRunClock : public RunClock {
public:
    explicit VirtualRunClock(qint32 start = 1000000) : m_now(start), m_start(start) {}
    qint32 Now() const override { return m_now; }
    qint64 NowMicroseconds() const override { return (m_start + m_elapsed) * 1000; }
    std::unique_ptr<RunTimer> Every(int intervalMs, std::function<void()> tick) override;
    std::unique_ptr<RunTimer> After(int ms, std::function<void()> done) override;
    /// Moves the clock on by `ms`, firing each timer at its due time, in order.
    void Advance(qint32 ms);
    /// Moves the clock on by `ms` as a thread held that long would see it: no timer fires on
    /// the way; each that fell due fires once at the end, and a repeating one counts its next
    /// interval from there.
    void Stall(qint32 ms);

private:
    struct Entry {
        qint64 due;
        int interval; // 0 for a single call
        std::function<void()> call;
    };
    using Timers = std::map<quint64, Entry>;
    class Handle;
    std::unique_ptr<RunTimer> Add(Entry entry);

    qint32 m_now;
    qint64 m_start;
    qint64 m_elapsed = 0; // since the start, without wrapping
    quint64 m_nextId = 1;
    // Shared with the handles, so that a timer let go after its clock is harmless.
    std::shared_ptr<Timers> m_timers = std::make_shared<Timers>();
};

} // namespace corvane
