// A file handed to the program on its command line, as the file manager does when an experiment
// is opened from it: checked before the launcher takes it, so that a file that can't be run is
// told on the screen and not only in a terminal nobody sees.
#pragma once

#include <QString>
#include <optional>

class QTextStream;

namespace corvane {

class MessageBoxes;

/// The full path of the experiment or questionnaire named by `argument` (found as every file
/// is found, ignoring letter case), or no value when it can't be opened: missing, a folder,
/// unreadable, of another kind, or no definition file. Then a box says why, and so does one
/// line on `err`.
std::optional<QString> FileToOpen(const QString& argument, MessageBoxes& boxes, QTextStream& err);

} // namespace corvane
