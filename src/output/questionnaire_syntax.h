// The statistics syntax of the data by questionnaire, written when an experiment has been
// loaded: a program that reads the ".txt" file with this experiment's variables, and the header
// row of the ".csv" file.
#pragma once

namespace corvane {

class RunState;
struct DataOutputSettings;

/// Makes the data folders, rewrites the ".sps" file in data/byquestionnaire, gives an empty
/// ".csv" file its header and ends the row that the last run left open. Leaves the working
/// folder in the experiment's folder. False when something could not be written; never throws.
bool WriteQuestionnaireSyntax(RunState& state, const DataOutputSettings& settings);

} // namespace corvane
