// Counts and indices of a run are 16-bit: a definition too large for them reports an overflow
// instead of wrapping round to a wrong row.
#pragma once

#include "state/error.h"

#include <QtGlobal>
#include <limits>

namespace corvane {

/// The value as a 16-bit integer; outside its range raises the overflow error.
inline qint16 ToInt16(qint64 value) {
    if (value < std::numeric_limits<qint16>::min() || value > std::numeric_limits<qint16>::max())
        raise(ErrorNumber::Overflow);
    return static_cast<qint16>(value);
}

/// The value as a 32-bit integer; outside its range raises the overflow error.
inline qint32 ToInt32(qint64 value) {
    if (value < std::numeric_limits<qint32>::min() || value > std::numeric_limits<qint32>::max())
        raise(ErrorNumber::Overflow);
    return static_cast<qint32>(value);
}

/// Adds one to a 16-bit count, raising the overflow error past its largest value.
inline void Increment(qint16& count) {
    count = ToInt16(qint64(count) + 1);
}

} // namespace corvane
