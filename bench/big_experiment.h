// The large experiment of the benchmarks: 50 questionnaires of 500 items, the first item of the
// first questionnaire a list of 100 entries, all others scale items.
#pragma once

#include <QString>

namespace corvane::bench {

constexpr int kQuestionnaires = 50;
constexpr int kItems = 500;
constexpr int kListEntries = 100;

/// Writes big.exp (condition "a": every questionnaire once, in order) and q1.que to q50.que.
void MakeBigExperiment(const QString& folder);

} // namespace corvane::bench
