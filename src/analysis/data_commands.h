// The program's commands on data folders, run without a screen: `export` and `merge`.
#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

/// True when the first argument names one of these commands.
bool IsDataCommand(const QString& word);

/// Runs the command (arguments after the program's name); 0 done, 1 refused or failed, 2 a
/// mistake in the command line.
int RunDataCommand(const QStringList& arguments);

} // namespace corvane
