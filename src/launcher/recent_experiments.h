// The list of recent experiments, "ini/lastexp.ini" in the program's folder: one full path a
// line, newest first. Ten are read; writing puts the newest on top of the ten read, so that the
// file may hold eleven lines until it is next written.
#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

/// How many recent experiments the launcher holds.
constexpr int kRecentSlots = 10;

/// The file of the list in the program's folder.
QString RecentExperimentsFile();

/// The ten slots, from the top of the file; an empty slot is an empty text. A file that can't
/// be read gives ten empty slots.
QStringList ReadRecentSlots(const QString& file);

/// Writes the file anew: `newest` first, then each non-empty slot read from it that differs
/// from `newest` (compared exactly). False when the file can't be written.
bool WriteRecentExperiment(const QString& file, const QString& newest);

} // namespace corvane
