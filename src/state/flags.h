// Truth values of the run state are 16-bit integers: true is -1, false is 0.
#pragma once

#include <QtGlobal>

namespace corvane {

using Flag = qint16;
constexpr Flag True = -1;
constexpr Flag False = 0;

inline Flag ToFlag(bool value) {
    return value ? True : False;
}
inline bool IsTrue(Flag flag) {
    return flag != 0;
}

} // namespace corvane
