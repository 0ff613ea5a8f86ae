// The numbered messages that the participant reads outside the items, read at the start of each
// run from the program's message file and the two files that may reword it.
#pragma once

#include <QString>

namespace corvane {

class RunState;

/// Reads styles/messages.txt and styles/substitute.txt of the program folder, then
/// substitute.txt of the experiment folder, into `Messages`. A fault is shown in the error box
/// at the end; the run goes on.
void LoadMessages(RunState& state, const QString& programFolder);

} // namespace corvane
