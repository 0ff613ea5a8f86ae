// The column layout of the data files for the whole experiment: every item of every
// questionnaire, whatever the condition, with the names, flags and types of its columns.
#pragma once

#include "definitions/definition_finding.h"

#include <QString>
#include <vector>

namespace corvane {

class RecordSet;
class RunState;

/// Fills `ItemCount`, `VariableCount` and the column tables from all questionnaires. A rating
/// item whose list is unknown is reported and ends the scan there; other faults are raised.
/// `measured`, when given, holds each questionnaire's rows as read moments ago, in the order of
/// the questionnaires, so that no file is read twice in one load. `findings`, when set, is told
/// of an unknown rated list with its place.
void ScanVariables(RunState& state, std::vector<RecordSet>* measured = nullptr,
                   const FindingSink& findings = {});

/// Warns when the condition presents one questionnaire more than once; the run goes on.
void CheckRepeatedQuestionnaires(RunState& state);

/// The name of column k of a fanned-out item: "_0k" below 10, "_k" from 10 on.
QString SuffixedName(const QString& name, int k);

} // namespace corvane
