// Checking an experiment or questionnaire before anyone runs it: everything the loader, the
// variable scan and the reader find, through their own code, and what would only show during a
// run (jumps to nowhere, items no answer reaches, missing files and styles, quoted answers that
// can't have been given yet). Every finding names its file, row and column and says what to
// change.
#pragma once

#include "definitions/definition_finding.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace corvane {

struct CheckOptions {
    /// True when a font family is installed; when unset, fonts aren't checked.
    std::function<bool(const QString&)> FontInstalled;
};

struct CheckReport {
    std::vector<DefinitionFinding> findings;
    int files = 0; // definition files looked at

    int Errors() const;
    int Warnings() const;
    /// 0 clean, 1 warnings only, 2 errors.
    int ExitStatus() const;
};

/// Checks an experiment (.exp) or a single questionnaire (.que). Paths in the findings are
/// given relative to the working folder when they lie below it. The working folder is the same
/// afterwards.
CheckReport CheckDefinitions(const QString& path, const CheckOptions& options = {});

/// "FILE:ROW:COLUMN: error|warning: MESSAGE", the message on one line.
QString FindingLine(const DefinitionFinding& finding);

/// One line: how many errors and warnings were found in how many files.
QString CheckSummaryLine(const CheckReport& report);

/// The font families the system's font configuration knows (from fc-list); no function when it
/// can't be asked.
std::function<bool(const QString&)> InstalledFontFamilies();

} // namespace corvane
