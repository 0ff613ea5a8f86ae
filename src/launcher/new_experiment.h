// A new experiment from the templates in the program's folder: the questionnaire's and the
// experiment's CSV are written where the operator chose, and the definition files are made from
// them as `corvane-def create` makes them, so that the CSV stays the file to edit.
#pragma once

#include <QString>
#include <optional>

class QWidget;

namespace corvane {

class FileDialogs;
class MessageBoxes;

/// The four files of a new experiment: for ".../mood.exp" the questionnaire "mood.que", and the
/// CSV they are made from, "mood_exp.csv" and "mood.csv", all in the same folder.
struct NewExperimentFiles {
    QString experiment;
    QString experimentCsv;
    QString questionnaire;
    QString questionnaireCsv;
};

/// The files of the experiment named by `experimentPath`; ".exp" is added when it is missing.
NewExperimentFiles FilesOfNewExperiment(const QString& experimentPath);

/// Writes the templates' CSV and makes the definition files from them. Nothing that is there is
/// overwritten. Empty when all four are made; else what went wrong, and nothing is left behind.
QString MakeNewExperiment(const NewExperimentFiles& files);

/// Asks for a name and a folder, makes the experiment and tells the operator which file to edit
/// and how to make it again. The experiment to open when the operator wants it opened now.
std::optional<QString> AskForNewExperiment(QWidget* parent, FileDialogs& dialogs,
                                           MessageBoxes& boxes);

} // namespace corvane
