// The two side files of an essay item in the data folder: the essay itself (a head line of six
// quoted values, then the text as typed) and the log of the times of one chosen key. Both are
// appended to, one record per participant; a record that can't reach the data folder is kept in
// the program's own folder instead, so that an essay is never lost.
#pragma once

#include "output/data_output.h"

#include <QString>
#include <vector>

namespace corvane {

class RunState;

/// DataRoot/data/ + the item's variable name + the file name code (a blank and the trimmed
/// machine code, or nothing) + `ending` (".txt" or "_keypress.csv").
QString EssayFilePath(const RunState& state, const QString& variableName,
                      const QString& machineCode, const QString& ending);

/// The essay's record: 'Subject', 'Cond', 'Exper', 'Inifile', 'Date', 'Time', then the text
/// with its line breaks as carriage return and line feed, each line ended so.
QString EssayRecord(const RunState& state, const DataOutputSettings& settings, const QString& text);

/// The key log's row: the six values joined by commas, then "," and each time in ms.
QString KeypressRecord(const RunState& state, const DataOutputSettings& settings,
                       const std::vector<qint32>& times);

/// Where a side record goes when the data folder won't take it: the program's own folder.
QString FallbackSideFolder();

/// Appends a record to a side file of the item `itemName`. When that fails the record goes to
/// the same name in the fallback folder, and the operator is told where it is and how to put
/// things right. `what` names the record ("the essay", "the key log"). True when the record
/// reached the data folder.
bool AppendSideRecord(RunState& state, const QString& path, const QString& record,
                      const QString& what, const QString& itemName);

} // namespace corvane
