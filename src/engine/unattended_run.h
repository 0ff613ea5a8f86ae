// Unattended runs: an experiment run from the command line with a script of input in place of
// the participant, for tests, for piloting an experiment, and for checking the program.
#pragma once

#include "engine/run_script.h"

#include <QString>
#include <functional>
#include <optional>
#include <vector>

namespace corvane {

class RunSession;
class RunState;

struct UnattendedOptions {
    QString experiment;
    QString subject;
    QString condition;
    QString script;
    QString messageLog;
    std::optional<quint64> seed;
    bool virtualClock = false;
    bool recover = false; // write the records of runs of this experiment that were cut short
    int timeoutSeconds = 0;
    /// Asked for more input whenever the script is used up while the run lasts (a simulated
    /// participant answers what is on the screen); nothing more ends the run as a used-up
    /// script does.
    std::function<std::vector<ScriptAction>(const RunState&, const RunSession&)> moreInput;
    /// A wave file that the voice key hears in place of the sound server's input.
    QString voiceInput;
    bool allowPrograms = false; // outside programs that the experiment names may start
    QString wallClockStart;     // ISO date and time at which the run's wall clock starts
};

/// Exit statuses of an unattended run.
namespace UnattendedExit {
constexpr int Finished = 0;
constexpr int NotStarted = 1;
constexpr int ScriptUsedUp = 2;
constexpr int TimedOut = 3;
constexpr int RecordMissing = 4;
} // namespace UnattendedExit

/// Runs the experiment as the subject form's OK would, feeding the script's input to the forms,
/// and returns the exit status. Needs a running QApplication.
int RunUnattended(const UnattendedOptions& options);

} // namespace corvane
