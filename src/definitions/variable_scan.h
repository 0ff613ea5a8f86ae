// The column layout of the data files for the whole experiment: every item of every
// questionnaire, whatever the condition, with the names, flags and types of its columns.
#pragma once

#include <QString>

namespace corvane {

class RunState;

/// Fills `ItemCount`, `VariableCount` and the column tables from all questionnaires. A rating
/// item whose list is unknown is reported and ends the scan there; other faults are raised.
void ScanVariables(RunState& state);

/// Warns when the condition presents one questionnaire more than once; the run goes on.
void CheckRepeatedQuestionnaires(RunState& state);

/// The name of column k of a fanned-out item: "_0k" below 10, "_k" from 10 on.
QString SuffixedName(const QString& name, int k);

} // namespace corvane
