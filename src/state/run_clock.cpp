#include "state/run_clock.h"

#include <time.h>

namespace corvane {

qint32 SteadyRunClock::Now() const {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    const quint64 ms = quint64(ts.tv_sec) * 1000u + quint64(ts.tv_nsec) / 1000000u;
    return static_cast<qint32>(static_cast<quint32>(ms));
}

} // namespace corvane
