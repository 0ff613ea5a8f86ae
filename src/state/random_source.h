// The random generator of the run: a sequence on [0, 1) that is seeded from the clock, or from a
// fixed number so that a run can be reproduced.
#pragma once

#include <QtGlobal>
#include <optional>
#include <random>

namespace corvane {

class RandomSource {
public:
    virtual ~RandomSource() = default;
    /// The next number, uniform on [0, 1).
    virtual double Next() = 0;
    /// Seeds the generator afresh: from the time of day, or from the fixed seed when one is set.
    virtual void Seed() = 0;
};

/// A 64-bit Mersenne twister, seeded from the clock unless a fixed seed is given.
class StandardRandomSource : public RandomSource {
public:
    explicit StandardRandomSource(std::optional<quint64> fixedSeed = std::nullopt);
    double Next() override;
    void Seed() override;

private:
    std::optional<quint64> m_fixedSeed;
    std::mt19937_64 m_engine;
};

/// `Draw(m)`: a whole number from 1 to m, equally likely.
int Draw(RandomSource& random, int m);

} // namespace corvane
