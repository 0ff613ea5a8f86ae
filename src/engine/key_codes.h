// Key codes as the item forms' rules count them (F1 is 112, keypad 1 is 97, "A" is 65), and the
// decoding of a key into the choice of a scale item.
#pragma once

#include <QString>
#include <QtCore/qnamespace.h>

namespace corvane {

/// The key code of a key as the rules of the item forms number keys; 0 for a key without one.
int KeyCodeOf(int qtKey, Qt::KeyboardModifiers modifiers);

/// The choice a key makes on a scale item: F1-F12 are 1-12, keypad 1-9 are 1-9, other codes
/// below 97 are their character ("1" to "9" count, others read as 0), and the keypad operators
/// leave the former choice standing.
QString DecodeScaleKey(int keyCode, const QString& formerChoice);

} // namespace corvane
