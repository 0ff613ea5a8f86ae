// Key codes as the item forms' rules count them (F1 is 112, keypad 1 is 97, "A" is 65), and the
// decoding of a key into the choice of a scale item.
#pragma once

#include <QString>
#include <QtCore/qnamespace.h>

namespace corvane {

/// The key code of a key as the rules of the item forms number keys; 0 for a key without one.
/// `xkbKeycode` is the key's place on the keyboard as X11 and Wayland number it (0: not known,
/// as for keys that a script sends). Where it is known, the digit row and the keypad digits get
/// their codes from the place, whatever character the keyboard layout puts there: on a French
/// keyboard the unshifted "&" key is 1, as on any other.
int KeyCodeOf(int qtKey, Qt::KeyboardModifiers modifiers, quint32 xkbKeycode = 0);

/// The choice a key makes on a scale item: F1-F12 are 1-12, keypad 1-9 are 1-9, other codes
/// below 97 are their character ("1" to "9" count, others read as 0), and the keypad operators
/// leave the former choice standing.
QString DecodeScaleKey(int keyCode, const QString& formerChoice);

} // namespace corvane
