#include "state/run_clock.h"

#include <QTimer>
#include <time.h>

namespace corvane {

qint32 SteadyRunClock::Now() const {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    const quint64 ms = quint64(ts.tv_sec) * 1000u + quint64(ts.tv_nsec) / 1000000u;
    return static_cast<qint32>(static_cast<quint32>(ms));
}

qint64 SteadyRunClock::NowMicroseconds() const {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return qint64(ts.tv_sec) * 1000000 + qint64(ts.tv_nsec) / 1000;
}

namespace {

class QtRunTimer : public RunTimer {
public:
    QtRunTimer(int ms, bool repeat, std::function<void()> call) : m_timer(new QTimer) {
        m_timer->setTimerType(Qt::PreciseTimer);
        m_timer->setSingleShot(!repeat);
        QObject::connect(m_timer, &QTimer::timeout, [call = std::move(call)] { call(); });
        m_timer->start(ms);
    }
    // A timer may be let go from its own tick: the Qt timer goes when the tick is over.
    ~QtRunTimer() override {
        m_timer->stop();
        m_timer->deleteLater();
    }
    void Stop() override { m_timer->stop(); }

private:
    QTimer* m_timer;
};

} // namespace

std::unique_ptr<RunTimer> SteadyRunClock::Every(int intervalMs, std::function<void()> tick) {
    return std::make_unique<QtRunTimer>(intervalMs, true, std::move(tick));
}

std::unique_ptr<RunTimer> SteadyRunClock::After(int ms, std::function<void()> done) {
    return std::make_unique<QtRunTimer>(ms, false, std::move(done));
}

class VirtualRunClock::Handle : public RunTimer {
public:
    Handle(std::weak_ptr<Timers> timers, quint64 id) : m_timers(std::move(timers)), m_id(id) {}
    ~Handle() override { Stop(); }
    void Stop() override {
        if (auto timers = m_timers.lock())
            timers->erase(m_id);
    }

private:
    std::weak_ptr<Timers> m_timers;
    quint64 m_id;
};

std::unique_ptr<RunTimer> VirtualRunClock::Add(Entry entry) {
    const quint64 id = m_nextId++;
    (*m_timers)[id] = std::move(entry);
    return std::make_unique<Handle>(m_timers, id);
}

std::unique_ptr<RunTimer> VirtualRunClock::Every(int intervalMs, std::function<void()> tick) {
    return Add(Entry{m_elapsed + qMax(1, intervalMs), qMax(1, intervalMs), std::move(tick)});
}

std::unique_ptr<RunTimer> VirtualRunClock::After(int ms, std::function<void()> done) {
    return Add(Entry{m_elapsed + qMax(0, ms), 0, std::move(done)});
}

void VirtualRunClock::Advance(qint32 ms) {
    const qint64 target = m_elapsed + ms;
    Timers& timers = *m_timers;
    while (true) {
        // The earliest timer due by the target; ties go in the order the timers were made.
        auto next = timers.end();
        for (auto it = timers.begin(); it != timers.end(); ++it) {
            if (it->second.due <= target &&
                (next == timers.end() || it->second.due < next->second.due))
                next = it;
        }
        if (next == timers.end())
            break;
        const qint64 due = next->second.due;
        m_now = static_cast<qint32>(static_cast<quint32>(m_now) +
                                    static_cast<quint32>(due - m_elapsed));
        m_elapsed = due;
        std::function<void()> call = next->second.call;
        if (next->second.interval > 0)
            next->second.due += next->second.interval;
        else
            timers.erase(next);
        call(); // may start or stop timers, this one included
    }
    m_now =
        static_cast<qint32>(static_cast<quint32>(m_now) + static_cast<quint32>(target - m_elapsed));
    m_elapsed = target;
}

void VirtualRunClock::Stall(qint32 ms) {
    const qint64 target = m_elapsed + ms;
    m_now = static_cast<qint32>(static_cast<quint32>(m_now) + static_cast<quint32>(ms));
    m_elapsed = target;
    Timers& timers = *m_timers;
    while (true) {
        // The earliest timer that fell due; each goes past the target before it fires.
        auto next = timers.end();
        for (auto it = timers.begin(); it != timers.end(); ++it) {
            if (it->second.due <= target &&
                (next == timers.end() || it->second.due < next->second.due))
                next = it;
        }
        if (next == timers.end())
            break;
        std::function<void()> call = next->second.call;
        if (next->second.interval > 0)
            next->second.due = target + next->second.interval;
        else
            timers.erase(next);
        call(); // may start or stop timers, this one included
    }
}

} // namespace corvane
