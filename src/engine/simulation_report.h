// What simulated participants did, gathered for the report: an HTML page with a small chart per
// questionnaire drawn as inline SVG, and the same in JSON for scripts.
#pragma once

#include "state/records.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <vector>

namespace corvane {

struct SkipTally {
    QString from;
    QString to;
    int taken = 0;
    bool backwards = false; // names only an item before it: the walk runs to the end
    bool unknown = false;   // names no item at all
};

struct QuestionnaireTally {
    QStringList items;                           // in question-number order
    QMap<QString, int> reached;                  // from the order log of the run data
    QMap<QString, QMap<QString, int>> presented; // condition -> variable -> participants
    std::vector<SkipTally> skips;
    QMap<QString, int> timeLimits; // variable -> times its limit ended it

    /// Takes the items and the jumps the questionnaire defines.
    void Define(const std::vector<Question>& questions, int count);
    /// Counts the jump from one item to another, if it is defined.
    void TakeSkip(const QString& from, const QString& to);
};

struct DataFileTally {
    QString file;
    QStringList header;
    int columns = 0;
    int rows = 0;
    QList<int> badRows; // lines whose cell count differs from the header's
};

struct SyntaxTally {
    QString file;
    bool checked = true; // false when PSPP isn't installed
    QStringList problems;
};

struct ParticipantTally {
    int subject = 0;
    QString condition;
    int status = 0;
    QString stopReason; // empty when the run ended on its own
};

struct SimulationTally {
    QString experiment;
    quint64 seed = 0;
    QStringList conditions;
    double seconds = 0;
    QMap<QString, QuestionnaireTally> questionnaires;
    QMap<QString, int> messages;     // text -> times shown
    QMap<QString, int> notSimulated; // item type -> participants who met it
    QMap<QString, int> stuck;        // "questionnaire: variable" -> times
    QStringList loops;
    std::vector<ParticipantTally> participants;
    std::vector<DataFileTally> dataFiles;
    std::vector<SyntaxTally> syntaxFiles;
};

/// Writes the HTML report to `htmlPath` and the JSON beside it (same name, .json).
bool WriteSimulationReport(const SimulationTally& tally, const QString& htmlPath, QString* problem);

/// A few lines for the terminal: participants, what never happened, what went wrong.
QString SimulationSummary(const SimulationTally& tally);

/// The lines of the report that call for attention (never reached, never taken, loops, ...).
QStringList SimulationFindings(const SimulationTally& tally);

} // namespace corvane
