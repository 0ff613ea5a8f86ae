// What a questionnaire reads into, as text for people: each item's type, wording, parameters
// after the parameter language, labels and skips.
#pragma once

#include <QString>

namespace corvane {

class RunState;

/// The items of `state.Questions` in file order, with their order of presentation.
QString ListQuestionnaire(const RunState& state);

} // namespace corvane
