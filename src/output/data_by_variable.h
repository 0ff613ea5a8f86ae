// The record of a finished run by variable name: the variables of all questionnaires merged by
// name into one column each, in alphabetical order, in data/byvariablename, with the syntax
// and header for the columns of this merge.
#pragma once

#include <QString>
#include <vector>

namespace corvane {

class RunState;
struct DataOutputSettings;
struct RecordTargets;

/// One column of the data by variable.
struct VariableEntry {
    QString name;    // the variable name cut or padded with blanks to 12 characters
    QString value;   // the response; "99" when none
    qint32 time = 0; // the reaction time; 99 when none
    QString code;    // "N" number, "T" text, "X" no response column; then "R" or "X" for the time
};

/// Every variable of the experiment, sorted by name and merged where the names agree in their
/// first 12 characters: the last of a name that holds anything gives value and time, and the
/// last of a name gives the code.
std::vector<VariableEntry> MergeVariables(const RunState& state);

/// Rewrites the ".sps" file of data/byvariablename for these columns, gives an empty ".csv" its
/// header and ends the row that the last run left open, unless `rowOpened` says that a run cut
/// short has done so. False when something could not be written; never throws.
bool WriteVariableSyntax(RunState& state, const DataOutputSettings& settings,
                         const std::vector<VariableEntry>& merged, bool rowOpened = false);

/// Writes the syntax and then appends the participant's record to the ".txt" and ".csv" files
/// in data/byvariablename, leaving the working folder there. Runs after the record by
/// questionnaire, whose text replacements it sees. False when some part could not be written;
/// never throws. Only the files that `targets` names get the record.
bool WriteDataByVariable(RunState& state, const DataOutputSettings& settings,
                         const RecordTargets& targets);
bool WriteDataByVariable(RunState& state, const DataOutputSettings& settings);

} // namespace corvane
