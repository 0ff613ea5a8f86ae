// The start of the program with an operator: the program's folder seeded, the splash, then the
// launcher; or, for a file handed over by the desktop or the command line, the launcher with
// that file opened for a participant.
#pragma once

#include <QString>

namespace corvane {

struct LauncherOptions {
    /// An experiment or questionnaire to open at once; empty for the launcher alone.
    QString file;
    /// A picture of the whole screen is saved here after `screenshotDelayMs`, and the program
    /// ends (for the documentation's pictures).
    QString screenshot;
    int screenshotDelayMs = 4000;
};

/// Runs the launcher until it is unloaded; the application object must exist.
int RunLauncher(const LauncherOptions& options);

} // namespace corvane
