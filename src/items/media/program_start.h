// Starting an outside program for the run: where a program that a definition names is found,
// and its start as a process of its own. Programs are found in the experiment's folder, on the
// search path, or in the folder that the settings' AppPaths give for their file name; a Windows
// name ("x.exe") also finds the Linux program without the ending. A script without the run bit
// is started by the shell, and a desktop entry by the command of its Exec line.
#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

/// A program and its arguments, ready to start.
struct ProgramCall {
    QString program;
    QStringList arguments;
};

/// Why a program could not be started.
enum class StartFault { None, NotFound, NotExecutable, FailedToStart };

/// The result of a start: the fault, and for a fault other than not found, why in words.
struct StartResult {
    StartFault fault = StartFault::None;
    QString reason;
};

/// The file of `name`: relative to `folder`, as it stands when absolute, else on the search path;
/// empty when none is found.
QString FindProgram(const QString& name, const QString& folder);
/// The folder that AppPaths gives for the program's file name, joined with that file name.
QString AppPathsProgram(const QString& name);
/// `programFile` in the folder that AppPaths registers for `registeredFile` (Path value), or
/// `programFile` alone when none is registered.
QString ProgramInRegisteredFolder(const QString& registeredFile, const QString& programFile);
/// How `file` is started with the arguments that the definition gives as one text.
ProgramCall CallOf(const QString& file, const QStringList& arguments);
/// Starts the call in `workingFolder`, as a process that lives on after the item; the process
/// is ended, if still running, when the program ends.
StartResult StartCall(const ProgramCall& call, const QString& workingFolder);

/// "The file 'NAME' was requested but not found.  This item will be skipped."
QString ProgramNotFoundText(const QString& name);

} // namespace corvane
