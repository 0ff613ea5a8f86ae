// The record of a finished run by questionnaire: a group of lines in the free-format ".txt" file
// and a row in the ".csv" file, with the columns of every questionnaire of the experiment,
// whether this participant received it or not.
#pragma once

namespace corvane {

class RunState;
struct DataOutputSettings;
struct RecordTargets;

/// Appends the participant's record to the two files in data/byquestionnaire and leaves the
/// working folder there. Quotes and commas of text responses are replaced in the run state
/// itself. False when some part of the record could not be written; never throws. Only the
/// files that `targets` names get the record.
bool WriteDataByQuestionnaire(RunState& state, const DataOutputSettings& settings,
                              const RecordTargets& targets);
bool WriteDataByQuestionnaire(RunState& state, const DataOutputSettings& settings);

} // namespace corvane
