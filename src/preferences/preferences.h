// The preferences: the fields of one record of a preference or QuickStyle file, and the
// settings in force that the item forms, the data writers and the launcher read. Fonts and
// colours are plain values here; the forms turn them into their own types.
#pragma once

#include <QString>
#include <array>

namespace corvane {

/// A font of the look: what a preference file keeps of it.
struct PreferenceFont {
    QString name = QStringLiteral("Arial");
    double size = 10;
    bool bold = false;
    bool italic = false;

    bool operator==(const PreferenceFont&) const = default;
};

/// The default text colour of both styles (navy).
constexpr quint32 kDefaultForeColour = 8388608;
/// The default background of both styles and of the run screen (a pale lavender).
constexpr quint32 kDefaultBackColour = 16772847;

/// The fields of an `options` record, with the values of a new file. Colours are the window
/// system's 32-bit colour values: red in the low byte, blue in the third.
struct PreferenceRecord {
    // The look: fonts, text colours and backgrounds of style 1 (question text) and style 2
    // (input areas); element 0 is unused.
    std::array<PreferenceFont, 3> Fonts;
    std::array<quint32, 3> ForeColors{0, kDefaultForeColour, kDefaultForeColour};
    std::array<quint32, 3> BackColors{0, kDefaultBackColour, kDefaultBackColour};
    // The run options, in the order of the fields cvs_winword to cvs_password.
    QString WordFolder;
    QString SecondAppFolder;
    bool EditMode = false;
    QString MachineCode;
    bool HideRatsFlag = false;
    bool DisableKeysFlag = false;
    bool DoubleClickFlag = false; // kept and loaded, and read by nothing else
    QString AlternateDataFolder;
    QString ExitPassword;

    bool operator==(const PreferenceRecord&) const = default;
};

/// The settings in force: the look and options last loaded, and the file they came from.
/// `MachineCode` is held as a fixed text of three characters; trim it for file names.
struct Preferences : PreferenceRecord {
    Preferences() { MachineCode = FixedMachineCode(QString()); }

    /// The preference file in force, with its extension and without a path.
    QString PreferenceFileName = QStringLiteral("default.cvp");
    /// The name taken at the last full load, which the data files report.
    QString Inifile;

    /// A machine code as it is held in force: cut to three characters or padded with blanks.
    static QString FixedMachineCode(const QString& code);
};

/// A colour of the preferences as 0xRRGGBB, for widgets.
quint32 ColourToRgb(quint32 colour);
/// A 0xRRGGBB colour as the preferences keep it.
quint32 RgbToColour(quint32 rgb);

/// What the launcher's status bar says of the editing state.
QString EditStatusText(bool editMode);

} // namespace corvane
