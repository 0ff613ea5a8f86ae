// Loading the preferences: a full load of the preference file in force, or the look alone of a
// QuickStyle; the list of preference files that the launcher's menu shows; and the QuickStyle
// that an item of a run asks for.
#pragma once

#include "preferences/preferences.h"

#include <QString>
#include <QStringList>
#include <array>
#include <optional>

namespace corvane {

class RunState;

/// One place of the launcher's list of preference files.
struct PreferenceMenuEntry {
    QString caption;
    bool visible = false;
    bool checked = false;
};

/// The launcher's list of preference files: entry 0 is always "default.cvp", entries 1 to 10
/// are the files of the styles folder.
struct PreferenceMenu {
    std::array<PreferenceMenuEntry, 11> entries;
    /// The captions of the entries 1 to 10 that show, in order.
    QStringList ShownNames() const;
};

/// What a load did, for the launcher to show.
struct PreferenceLoad {
    /// The file was found and read.
    bool read = false;
    /// The run options were taken as well as the look.
    bool optionsTaken = false;
    /// No run is under way: the launcher shows `EditStatusText(EditMode)` and hides its picture
    /// when `HideRatsFlag` is set.
    bool launcherShown = false;
    PreferenceMenu menu;
};

/// The folder of the preference files: "styles" in the program's folder.
QString StylesFolder();

/// Loads preferences. With an empty name: the file `PreferenceFileName` of the styles folder,
/// its look always and its run options only when no run is under way. With a name: the look of
/// that QuickStyle, from the experiment's folder or else the styles folder. A file that can't
/// be found or read is reported in a box and everything in force stays.
PreferenceLoad LoadPreferences(RunState& state, Preferences& prefs, const QString& quickStyleName);

/// The launcher's list of preference files as it stands in the styles folder.
PreferenceMenu RefreshPreferenceMenu(const Preferences& prefs);

/// Makes the chosen file the one in force and loads it in full; "temp.cvp" is refused with a
/// box, and no value is returned then.
std::optional<PreferenceLoad> ChoosePreferenceFile(RunState& state, Preferences& prefs,
                                                   const QString& fileName);

/// Carries a record just saved for the file in force into the settings in force, look and
/// options alike, whether or not a run is under way.
void ApplyPreferenceRecord(RunState& state, Preferences& prefs, const PreferenceRecord& record);

/// The QuickStyle text that applies when an item form is prepared: the file row's text on items
/// 0 and 1, the item's own text from item 2 on. No value when nothing is to be loaded.
std::optional<QString> QuickStyleForItem(const QString& fileRowText, int itemIndex,
                                         const QString& itemText);
/// Loads a QuickStyle text: "off" brings back the look of the preference file, any other text
/// names a QuickStyle.
PreferenceLoad ApplyQuickStyle(RunState& state, Preferences& prefs, const QString& text);

} // namespace corvane
