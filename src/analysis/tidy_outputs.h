// The files of a tidy export besides the long table: the codebook, as CSV and as Markdown, and
// the R script that reads the long table.
#pragma once

#include "analysis/codebook.h"

#include <QString>
#include <vector>

namespace corvane {

/// The long table's columns, in order.
const QStringList& LongColumns();

QString CodebookCsv(const std::vector<CodebookEntry>& entries);
QString CodebookMarkdown(const QString& experiment, const std::vector<CodebookEntry>& entries);
/// A script that reads `longFile` (beside the script) into a data frame with the labels of the
/// entries as a factor and the reaction times as numbers, and writes nothing.
QString ReadingScript(const QString& base, const QString& longFile,
                      const std::vector<CodebookEntry>& entries);

} // namespace corvane
