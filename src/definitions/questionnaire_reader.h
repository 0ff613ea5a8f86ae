// Reading a questionnaire file into `Questions`: every item's type, wording, parameters, labels,
// skips and groups, then the order of presentation.
#pragma once

#include "state/parameter_list.h"
#include "state/records.h"

#include <QStringList>

namespace corvane {

class RecordSet;
class RunState;

/// Reads `QuestionnaireFile` into `Questions`, checks for duplicate variable names and draws
/// the order of the items. Errors are raised to the caller.
void ReadQuestionnaireItems(RunState& state);

/// `ReadQuestionnaireItems` with its failure handling: an error is shown in an information
/// box as its number directly followed by its description, and the answer is false.
bool ReadQuestionnaire(RunState& state);

/// The label and skip columns of the current row.
void ReadLabels(const RecordSet& row, Question& question);

/// Applies the letters of a parameter list to an item, in the order of the letter table.
void ApplyItemParameters(const ParameterList& list, Question& question);

/// Names used by more than one item, each once, in the order they are first met.
QStringList DuplicateVariables(const std::vector<Question>& questions, int count);
/// Warns of variable names used twice; the run goes on.
void CheckDuplicateVariables(RunState& state);

} // namespace corvane
