// Numbers in definition cells are read as a prefix (leading blanks, sign, digits, point,
// exponent, as far as they go); rounding goes to the nearest, a half to the even neighbour; a
// value out of the target's range is the overflow error.
#pragma once

#include <QString>

namespace corvane {

/// The number at the start of the text; 0 when there is none.
double ReadNumber(const QString& text);
/// Rounded half to even into 16 bits; overflow error outside the range.
qint16 RoundToInt16(double value);
/// Rounded half to even into 32 bits; overflow error outside the range.
qint32 RoundToInt32(double value);
/// As a 32-bit float; overflow error beyond its range.
float ToSingle(double value);
/// A number written as text the way the run state keeps numbers as text ("5", "2.5", "-1").
QString NumberToText(double value);

} // namespace corvane
