// The data-writer tests' study: two questionnaires with every kind of column, two conditions.
#pragma once

#include "definition_fixtures.h"
#include "definitions/experiment_loader.h"
#include "output/data_output.h"
#include "output/questionnaire_syntax.h"
#include "recording_boxes.h"
#include "state/run_state.h"

#include <memory>

namespace corvane::test {

inline const QString kExperimentHeader =
    "Condition,position,file,Backimage,Backvideo,backsound,WGR,BGR,Parameters\n";
inline const QString kItemsHeader =
    "questionnumber,QuestionType,VariableName,Parameters,WriteData,WriteRT,WriteText\n";

inline void MakeOutputStudy(const QString& root, const QString& experimentName = "study.exp") {
    MakeDefinition(root, "alpha.que",
                   kItemsHeader + "1,Scale Response,mood,,1,0,0\n"
                                  "2,Fill-in-the-Blank,name,,1,0,1\n"
                                  "3,Thought Listing,tlist,(n10),1,1,1\n"
                                  "4,Instructions,intro,,0,0,0\n"
                                  "5,Essay,comment,,0,1,1\n"
                                  "6,Scale Response,feelingscore1,,1,0,0\n");
    MakeDefinition(root, "beta.que",
                   kItemsHeader + "1,Scale Response,mood,,1,1,0\n"
                                  "2,Multiple Response,pick,(p3),1,1,0\n"
                                  "3,Fill-in-the-Blank,Age,,1,1,1\n"
                                  "4,Fill-in-the-Blank,favouritecolour,,1,0,1\n"
                                  "5,Scale Response,feelingscore2,,1,1,0\n");
    MakeDefinition(root, experimentName,
                   kExperimentHeader + "1,1,alpha.que,,,,0,0,\n"
                                       "2,1,beta.que,,,,0,0,\n"
                                       "2,2,alpha.que,,,,0,0,\n");
}

/// Loads an experiment of `root` for a participant as the subject form would, with the syntax
/// written from the loader's hook; the boxes are recorded. A refused load fails the test.
inline std::unique_ptr<RunState> LoadForOutput(const QString& root, QList<MessageBox>* boxes,
                                               const QString& subject, const QString& condition,
                                               const DataOutputSettings& settings,
                                               const QString& experimentName = "study.exp",
                                               const QString& dataRoot = QString()) {
    auto state = std::make_unique<RunState>();
    state->SetBoxes(std::make_unique<RecordingBoxes>(boxes));
    state->ExperimentFolder = root;
    state->ExperimentFile = QDir(root).filePath(experimentName);
    state->ExperimentFileName = experimentName;
    state->DataRoot = dataRoot.isEmpty() ? root : dataRoot;
    state->SubjectID = subject;
    state->ConditionID = condition;
    QDir::setCurrent(root);
    RunState& loaded = *state;
    ExperimentLoadHooks hooks;
    hooks.WriteQuestionnaireSyntax = [&loaded, settings] {
        WriteQuestionnaireSyntax(loaded, settings);
    };
    ExperimentNeeds needs;
    const bool started = ReadExperimentInfo(*state, hooks, needs);
    [&] { QVERIFY(started); }();
    return state;
}

/// Stores a response and its time through the run state's one place.
inline void Answer(RunState& state, int q, int i, int k, const QString& value, qint32 ms) {
    state.StoreResponse(q, i, k, value);
    state.StoreResponseTime(q, i, k, ms);
}

// The two runs whose records are the golden files of the data writers.
inline void AnswerFirstRun(RunState& state) {
    Answer(state, 1, 1, 1, "4", 1234);
    Answer(state, 1, 2, 1, "O'Brien, Pat", 0);
    Answer(state, 1, 3, 1, "dog", 500);
    Answer(state, 1, 3, 2, "it's, well", 650);
    Answer(state, 1, 3, 3, " padded ", 0);
    Answer(state, 1, 3, 10, "last", 4321);
    Answer(state, 1, 4, 1, "", 800);
    Answer(state, 1, 5, 1, "Fine, thanks", 9000);
    Answer(state, 1, 6, 1, "7", 333);
}

inline void AnswerSecondRun(RunState& state) {
    Answer(state, 2, 1, 1, "2", 2100);
    Answer(state, 2, 2, 1, "1", 300);
    Answer(state, 2, 2, 2, " 2 ", 0);
    Answer(state, 2, 2, 3, "", 450);
    Answer(state, 2, 3, 1, "twenty", 1500);
    Answer(state, 2, 4, 1, " sea green ", 0);
    Answer(state, 2, 5, 1, "", 600);
    Answer(state, 1, 1, 1, "", 800);
    Answer(state, 1, 2, 1, "Zoë", 0);
    Answer(state, 1, 3, 1, "cat", 400);
    Answer(state, 1, 6, 1, "5", 0);
}

} // namespace corvane::test
