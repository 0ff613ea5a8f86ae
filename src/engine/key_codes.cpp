#include "engine/key_codes.h"

namespace corvane {

namespace {

// XKB keycodes (evdev + 8) of the digit row "1" to "9", "0" and of the keypad digits 0 to 9.
constexpr quint32 kDigitRowOne = 10;
constexpr quint32 kDigitRowZero = 19;
constexpr quint32 kKeypadDigits[10] = {90, 87, 88, 89, 83, 84, 85, 79, 80, 81};

int DigitRowCode(quint32 xkbKeycode) {
    if (xkbKeycode < kDigitRowOne || xkbKeycode > kDigitRowZero)
        return 0;
    return xkbKeycode == kDigitRowZero ? 48 : 49 + int(xkbKeycode - kDigitRowOne);
}

int KeypadDigitCode(quint32 xkbKeycode) {
    for (int digit = 0; digit < 10; ++digit) {
        if (kKeypadDigits[digit] == xkbKeycode)
            return 96 + digit;
    }
    return 0;
}

// With Num Lock off the keypad digits are the cursor keys, and keep those codes.
bool IsCursorKey(int qtKey) {
    switch (qtKey) {
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Insert:
    case Qt::Key_Delete:
    case Qt::Key_Clear:
        return true;
    default:
        return false;
    }
}

} // namespace

int KeyCodeOf(int qtKey, Qt::KeyboardModifiers modifiers, quint32 xkbKeycode) {
    if (const int code = DigitRowCode(xkbKeycode))
        return code;
    if (const int code = KeypadDigitCode(xkbKeycode); code && !IsCursorKey(qtKey))
        return code;
    if (modifiers.testFlag(Qt::KeypadModifier)) {
        if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)
            return 96 + (qtKey - Qt::Key_0);
        switch (qtKey) {
        case Qt::Key_Asterisk:
            return 106;
        case Qt::Key_Plus:
            return 107;
        case Qt::Key_Comma:
            return 108;
        case Qt::Key_Minus:
            return 109;
        case Qt::Key_Period:
            return 110;
        case Qt::Key_Slash:
            return 111;
        case Qt::Key_Enter:
            return 13;
        default:
            break;
        }
    }
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F24)
        return 112 + (qtKey - Qt::Key_F1);
    if ((qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9) || (qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z))
        return qtKey; // the same numbers as the characters
    switch (qtKey) {
    case Qt::Key_Backspace:
        return 8;
    case Qt::Key_Tab:
        return 9;
    case Qt::Key_Clear:
        return 12;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return 13;
    case Qt::Key_Shift:
        return 16;
    case Qt::Key_Control:
        return 17;
    case Qt::Key_Alt:
        return 18;
    case Qt::Key_Escape:
        return 27;
    case Qt::Key_Space:
        return 32;
    case Qt::Key_PageUp:
        return 33;
    case Qt::Key_PageDown:
        return 34;
    case Qt::Key_End:
        return 35;
    case Qt::Key_Home:
        return 36;
    case Qt::Key_Left:
        return 37;
    case Qt::Key_Up:
        return 38;
    case Qt::Key_Right:
        return 39;
    case Qt::Key_Down:
        return 40;
    case Qt::Key_Insert:
        return 45;
    case Qt::Key_Delete:
        return 46;
    case Qt::Key_Semicolon:
        return 186;
    case Qt::Key_Equal:
        return 187;
    case Qt::Key_Comma:
        return 188;
    case Qt::Key_Minus:
        return 189;
    case Qt::Key_Period:
        return 190;
    case Qt::Key_Slash:
        return 191;
    default:
        return 0;
    }
}

QString DecodeScaleKey(int keyCode, const QString& formerChoice) {
    if (keyCode > 111)
        return QString::number(keyCode - 111);
    if (keyCode >= 97 && keyCode <= 105)
        return QString::number(keyCode - 96);
    if (keyCode < 97)
        return QString(QChar(keyCode));
    return formerChoice; // keypad operators: no rule applies
}

} // namespace corvane
