// What a simulated participant does at an item of each type: script lines that answer it with
// a random valid answer, now and then preceded by an invalid one that the form must refuse.
// One entry per item type; a type without an entry is reported as not simulated.
#pragma once

#include "state/records.h"

#include <QStringList>
#include <functional>
#include <random>

namespace corvane {

/// The lines of input for one item. `attempt` counts the times the item was still on the
/// screen after earlier input (0 the first time), so that a refused answer is followed by
/// another.
using AnswerGenerator =
    std::function<QStringList(const Question& item, std::mt19937_64& random, int attempt)>;

/// The generator for a type (compared in lower case), or nullptr when none is known.
const AnswerGenerator* FindAnswerGenerator(const QString& type);

/// The types that have a generator, for the report.
QStringList SimulatedTypes();

} // namespace corvane
