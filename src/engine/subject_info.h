// CurrentSubjectInfo.txt: the subject and condition of the run in hand, in the program folder, for
// other programs running at the same time to read.
#pragma once

#include <QString>

namespace corvane {

/// Rewrites `programFolder`/CurrentSubjectInfo.txt for a run starting; false when it can't.
bool WriteCurrentSubjectInfo(const QString& programFolder, const QString& subjectID,
                             const QString& conditionID);

} // namespace corvane
