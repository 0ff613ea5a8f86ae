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
    /// Seeds the generator afresh from the time of day. A generator given a fixed seed has taken
    /// it once, when it was made, and goes on with its one sequence.
    virtual void Seed() = 0;
};

/// A 64-bit Mersenne twister, seeded from the clock unless a fixed seed is given. A fixed seed
/// is taken once: reseeding it at each shuffle would draw the same numbers for the items'
/// groups and for their blocks, so that the two levels of an order would move together.
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
