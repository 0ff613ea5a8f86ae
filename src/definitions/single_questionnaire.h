// A single questionnaire is run as a one-row experiment made from the template that ships with
// the program.
#pragma once

#include <QString>

namespace corvane {

class RunState;

/// When `ExperimentFile` is a ".que" file: points the template at it, copies the template
/// beside the questionnaire as "<name>_que.exp", and makes that copy the experiment. The
/// template keeps the last path in it.
void WrapSingleQuestionnaire(RunState& state, const QString& templatePath);

} // namespace corvane
