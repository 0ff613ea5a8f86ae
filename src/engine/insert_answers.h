// Quoting earlier answers in the text of an item: a variable's name between angle brackets is
// replaced by the answer given to it, e.g. "You chose <colour>. Why?".
#pragma once

#include <QString>

namespace corvane {

class RunState;

/// The text with the names of answered variables replaced by their answers. Unknown names stay
/// as typed. The search resumes two characters past an inserted answer, so a second name right
/// behind the first stays as it is; after 101 passes the result is empty.
QString InsertAnswers(const RunState& state, QString text);

} // namespace corvane
