#include "preferences/preferences.h"

namespace corvane {

QString Preferences::FixedMachineCode(const QString& code) {
    return code.leftJustified(3, QLatin1Char(' '), true);
}

quint32 ColourToRgb(quint32 colour) {
    return ((colour & 0xFFu) << 16) | (colour & 0xFF00u) | ((colour >> 16) & 0xFFu);
}

quint32 RgbToColour(quint32 rgb) {
    // The byte order is its own inverse.
    return ColourToRgb(rgb);
}

QString EditStatusText(bool editMode) {
    return editMode ? QStringLiteral("Edit On") : QStringLiteral("Edit Off");
}

} // namespace corvane
