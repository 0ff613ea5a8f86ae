// Simulated participants: many unattended runs of an experiment in one process, on the virtual
// clock and in a throw-away copy of its folder, each answering what is on the screen with random
// answers; then a report of what was reached, jumped, shown and written.
#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

struct SimulationOptions {
    QString experiment;
    int participants = 20;
    quint64 seed = 1;
    QStringList conditions; // empty: every condition of the experiment, in turn
    QString report;         // the HTML report; the JSON goes beside it
    QString keep;           // when set, the data folder of the copy is kept here
};

/// Runs the simulation and writes the reports. Needs a running QApplication. Exit status 0
/// when every participant's run ended, 1 when some didn't end on their own (an item type not
/// simulated, an item that took no answer, a loop), 2 when the experiment couldn't be run.
int RunSimulation(const SimulationOptions& options);

/// `corvane simulate ...`: the arguments after the word simulate.
int RunSimulateCommand(const QStringList& arguments);

} // namespace corvane
