// Preference files of the older text form: one value a line, in a file of the styles folder
// whose name has no extension. At start-up each is turned into a .cvp of the same name.
#pragma once

#include "preferences/preferences.h"

#include <QStringList>

namespace corvane {

class RunState;

/// The record that the lines of an old preference file give. Each line is checked by its own
/// rule, and a value that fails it, or a line that is missing, takes the default of a new file.
PreferenceRecord ConvertOldPreferenceLines(const QStringList& lines);

/// Converts the old preference files of the styles folder: each becomes a copy of default.cvp
/// holding its values, and the old file is deleted. An old file named "default" is first
/// renamed "olddefault", so that the real default.cvp is never overwritten. A file that can't be
/// converted is kept and reported. Returns the names of the files made.
QStringList ConvertOldPreferences(RunState& state);

} // namespace corvane
