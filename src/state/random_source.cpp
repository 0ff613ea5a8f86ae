#include "state/random_source.h"

#include <chrono>

namespace corvane {

StandardRandomSource::StandardRandomSource(std::optional<quint64> fixedSeed)
    : m_fixedSeed(fixedSeed) {
    if (m_fixedSeed)
        m_engine.seed(*m_fixedSeed);
    else
        Seed();
}

double StandardRandomSource::Next() {
    // 53 random bits give every double of [0, 1) on the grid of 2^-53 the same chance.
    return double(m_engine() >> 11) * 0x1.0p-53;
}

void StandardRandomSource::Seed() {
    if (m_fixedSeed)
        return;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
    m_engine.seed(quint64(ns) ^ (quint64(std::random_device{}()) << 32));
}

int Draw(RandomSource& random, int m) {
    return int(random.Next() * m) + 1;
}

} // namespace corvane
