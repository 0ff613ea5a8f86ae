// A fault or doubt found in a definition file, with its place: the file, the row of `Table1`
// (an item's place in question-number order, an experiment's row as stored) and the column.
#pragma once

#include <QString>
#include <functional>

namespace corvane {

enum class FindingSeverity { Warning, Error };

struct DefinitionFinding {
    QString file;
    int row = 0; // 0 when the finding is about the file as a whole
    QString column;
    FindingSeverity severity = FindingSeverity::Error;
    QString message;
};

/// Where the loader and the variable scan tell of a finding, beside the box they show.
using FindingSink = std::function<void(const DefinitionFinding&)>;

} // namespace corvane
