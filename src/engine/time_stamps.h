// timestamps.csv: a row for every item with the @ parameter, written when its form is prepared,
// with the milliseconds since the start of the run and since the former row.
#pragma once

#include <QString>

namespace corvane {

class RunState;

/// Appends the row of the item on show to DataRoot/data/timestamps.csv; `timeOfDay` is
/// "hh:mm:ss". A file that can't be opened is reported and the row dropped.
void AppendTimeStamp(RunState& state, const QString& timeOfDay);

} // namespace corvane
