// Subject entry without the form: the autostart list that can decide subject and condition
// before the entry form shows, the folder that data goes to, and the clearing of old data.
#pragma once

#include <QString>

namespace corvane {

class RunState;

/// Takes `SubjectID` and `ConditionID` from "autostart.txt" in the working folder: true when
/// the identity was taken from the file. `verifySubject` tells whether "verifysubject.txt"
/// stands there too. A faulty list is reported in a box, and the answer is then false.
bool CheckAutoStart(RunState& state, bool& verifySubject);

/// Whether the second entry of a subject ID is the first one, to the letter and its case.
bool VerifySubjectMatches(const QString& typed, const QString& again);

/// The question asked, with OK and Cancel, before the old data files are deleted.
QString ClearDataQuestion();
/// The same words, then on a line of their own the data folder of `dataRoot` and how many files
/// will go, so that the operator sees what one click deletes.
QString ClearDataQuestion(const QString& dataRoot);

/// Deletes the files (not the folders) in the data folder and its by-variable and
/// by-questionnaire folders below `dataRoot`. A file that won't go is passed over; false then.
bool ClearDataFiles(const QString& dataRoot);

/// Sets and returns `DataRoot`: the experiment's own folder below `alternateFolder` when that
/// is given and can be made and entered, else `ExperimentFolder` after a box that says so. The
/// working folder stays where it was.
QString DataRootFor(RunState& state, const QString& alternateFolder, bool& usedAlternate);

} // namespace corvane
