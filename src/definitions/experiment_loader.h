// Loading an experiment for one participant: proving every questionnaire usable, measuring the
// response tables, scanning the variables and building the condition's file list in the order
// drawn. A failure is reported in the operator's words and the run doesn't start.
#pragma once

#include "definitions/definition_finding.h"

#include <QList>
#include <QString>
#include <functional>

namespace corvane {

class RunState;

/// What the program around the loader does at its points of contact.
struct ExperimentLoadHooks {
    /// Readies the sound capture used by voice items (once per program).
    std::function<void()> InitialiseVoice;
    /// Writes the statistics syntax of the questionnaires once the tables stand.
    std::function<void()> WriteQuestionnaireSyntax;
    /// Told of each missing parameter and unknown rated list with its place, beside the box.
    FindingSink Findings;
};

/// What the experiment will need from outside programs.
struct ExperimentNeeds {
    bool word = false;
    bool wordPerfect = false;
    /// A file that the experiment names: a list entry of any condition (no item type) or the
    /// file of a questionnaire's item, with the item's type as the questionnaire writes it.
    struct NamedFile {
        QString file;
        QString itemType;
    };
    /// Every file named, so that what a presenter needs can be made ready before the run.
    QList<NamedFile> files;
    bool web = false; // web pages in the list: the web engine is started before the run
};

/// Loads `ExperimentFile` for `ConditionID` from the working folder. True when the run can
/// start; false after the failure has been shown, with `NumQuestionnaires` 0 and
/// `NextSessionAccepted` false.
bool ReadExperimentInfo(RunState& state, const ExperimentLoadHooks& hooks, ExperimentNeeds& needs);

} // namespace corvane
