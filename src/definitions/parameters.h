// The parameter language of definition cells: a name, then a bracketed list of up to ten
// parameters, each a letter and a value, as in "picture.bmp(l10,t20)".
#pragma once

#include "state/parameter_list.h"

#include <QString>

namespace corvane {

class RecordSet;

/// Splits a cell into its name, which it returns, and its parameters, which it leaves in
/// `list`. A cell that doesn't end in ")" is returned as it stands. A cell ending in ")" with no
/// "(" raises the invalid-argument error; an eleventh parameter the subscript error.
QString ExtractParameters(const QString& cell, ParameterList& list);

/// The letter of a slot: its first character in lower case.
QString SlotLetter(const QString& slot);
/// The value of a slot: what follows its letter.
QString SlotValue(const QString& slot);

/// The value of the first parameter with that letter in the `Parameters` column of the current
/// row, or an empty text when there is none.
QString GetParameter(const RecordSet& row, const QString& letter, ParameterList& list);

/// 1 when the condition is in the bracketed list of the cell, else 0. Names are compared in
/// lower case without trimming, and the first character of the cell is taken for the bracket.
qint16 IsOmitted(const QString& cell, const QString& conditionID);

} // namespace corvane
