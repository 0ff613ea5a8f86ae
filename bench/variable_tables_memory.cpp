// Memory of the variable and response tables for a large experiment: 50 questionnaires of 500
// items, one of them a list of 100 entries. Dense tables would need questionnaires x largest
// item count x longest list cells per table; these grow with the columns that exist.
//
//   build/bench/bench_variable_tables
#include "big_experiment.h"
#include "definitions/experiment_loader.h"
#include "state/run_state.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>
#include <malloc.h>

using namespace corvane;
using namespace corvane::bench;

namespace {

size_t HeapInUse() {
    return mallinfo2().uordblks;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir dir;
    MakeBigExperiment(dir.path());
    QDir::setCurrent(dir.path());

    RunState state;
    state.ExperimentFolder = dir.path();
    state.ExperimentFile = QDir(dir.path()).filePath(QStringLiteral("big.exp"));
    state.ConditionID = QStringLiteral("a");
    state.SubjectID = QStringLiteral("1");

    const size_t before = HeapInUse();
    QElapsedTimer timer;
    timer.start();
    ExperimentNeeds needs;
    if (!ReadExperimentInfo(state, {}, needs)) {
        out << "the experiment did not load\n";
        return 1;
    }
    const qint64 ms = timer.elapsed();
    const size_t after = HeapInUse();

    const double denseCells = double(kQuestionnaires) * kItems * kListEntries;
    out << "experiment: " << kQuestionnaires << " questionnaires x " << kItems
        << " items, one list of " << kListEntries << " entries\n";
    out << "load and scan: " << ms << " ms\n";
    out << "column cells held: " << state.Variables.CellCount()
        << " (dense tables: " << qint64(denseCells) << " cells per table)\n";
    out << "heap after loading, tables and file list included: "
        << QString::number(double(after - before) / (1024.0 * 1024.0), 'f', 1) << " MiB\n";
    out << "dense column table alone would be at least "
        << QString::number(denseCells * double(sizeof(VariableColumn)) / (1024.0 * 1024.0), 'f', 1)
        << " MiB\n";
    return 0;
}
