#include "preferences/load_preferences.h"

#include "preferences/preference_file.h"
#include "state/message_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>
#include <QFileInfo>

namespace corvane {

namespace {

const QString kDefaultFile = QStringLiteral("default.cvp");
const QString kTemporaryFile = QStringLiteral("temp.cvp");

void Tell(RunState& state, const QString& title, const QString& text) {
    state.Boxes().Show(MessageBox{title, text, BoxIcon::Warning, BoxButtons::Ok, BoxAnswer::Ok});
}

QString Unusable(const PreferenceFileContents& contents) {
    return QLatin1Char('\'') + contents.path + QStringLiteral("' ") + contents.problem +
           QLatin1Char('.');
}

// The run reads its copies of these options from the run state.
void ShareRunOptions(RunState& state, const Preferences& prefs) {
    state.EditMode = prefs.EditMode;
    state.ExitPassword = prefs.ExitPassword;
    state.LockSystemKeys = prefs.DisableKeysFlag;
}

PreferenceFileContents ReadQuickStyle(const RunState& state, const QString& name) {
    if (!state.ExperimentFolder.isEmpty()) {
        PreferenceFileContents beside =
            ReadPreferenceFile(state.ExperimentFolder + QLatin1Char('/') + name);
        if (beside.status != PreferenceFileContents::Status::Missing)
            return beside; // found there, usable or not: the styles folder isn't searched
    }
    return ReadPreferenceFile(StylesFolder() + QLatin1Char('/') + name);
}

} // namespace

QStringList PreferenceMenu::ShownNames() const {
    QStringList names;
    for (std::size_t i = 1; i < entries.size(); ++i) {
        if (entries[i].visible)
            names << entries[i].caption;
    }
    return names;
}

QString StylesFolder() {
    return ProgramFolder::FilePath(QStringLiteral("styles"));
}

PreferenceLoad LoadPreferences(RunState& state, Preferences& prefs, const QString& quickStyleName) {
    PreferenceLoad load;
    const bool full = quickStyleName.isEmpty();
    PreferenceFileContents contents;
    if (full) {
        prefs.Inifile = prefs.PreferenceFileName;
        contents = ReadPreferenceFile(StylesFolder() + QLatin1Char('/') + prefs.PreferenceFileName);
        if (contents.status == PreferenceFileContents::Status::Missing)
            Tell(state, QStringLiteral("File not found"),
                 QStringLiteral("Error loading preferences file."));
        else if (!contents.Read())
            Tell(state, QStringLiteral("Preferences not loaded"),
                 QStringLiteral("Error loading preferences file.\n\n") + Unusable(contents) +
                     QStringLiteral(" The preferences in force are kept."));
    } else {
        QString name = quickStyleName;
        if (LastChars(name, 4).toLower() != QLatin1String(".cvq"))
            name += QStringLiteral(".cvq");
        contents = ReadQuickStyle(state, name);
        if (contents.status == PreferenceFileContents::Status::Missing)
            Tell(state, QStringLiteral("File not found"),
                 QStringLiteral("QuickStyle file ") + name + QStringLiteral(" can not be found."));
        else if (!contents.Read())
            Tell(state, QStringLiteral("QuickStyle not loaded"),
                 QStringLiteral("QuickStyle file ") + name + QStringLiteral(" can not be used: ") +
                     Unusable(contents) + QStringLiteral(" The look in force is kept."));
    }

    if (contents.Read()) {
        load.read = true;
        // During a run only the look changes, and a QuickStyle never changes an option.
        if (full && state.CurrentFile == 0) {
            ReadOptions(contents, prefs);
            prefs.MachineCode = Preferences::FixedMachineCode(prefs.MachineCode);
            ShareRunOptions(state, prefs);
            load.optionsTaken = true;
        }
        ReadLook(contents, prefs);
        load.launcherShown = state.CurrentFile == 0;
    }
    load.menu = RefreshPreferenceMenu(prefs);
    return load;
}

PreferenceMenu RefreshPreferenceMenu(const Preferences& prefs) {
    PreferenceMenu menu;
    menu.entries[0] =
        PreferenceMenuEntry{kDefaultFile, true, prefs.PreferenceFileName.toLower() == kDefaultFile};
    // Listed by name, as a file manager shows them, so that the menu keeps its order.
    QDir styles(StylesFolder());
    styles.setNameFilters({QStringLiteral("*.cvp")});
    styles.setFilter(QDir::Files);
    styles.setSorting(QDir::Name | QDir::IgnoreCase);
    const QStringList names = styles.entryList();
    for (std::size_t index = 1; index < menu.entries.size(); ++index) {
        if (qsizetype(index) > names.size())
            break;
        const QString& name = names[qsizetype(index) - 1];
        PreferenceMenuEntry& entry = menu.entries[index];
        entry.checked = name == prefs.PreferenceFileName;
        // default.cvp has entry 0, and temp.cvp is the dialog's: both take a place unseen.
        const QString lower = name.toLower();
        if (lower != kDefaultFile && lower != kTemporaryFile) {
            entry.caption = name;
            entry.visible = true;
        }
    }
    return menu;
}

std::optional<PreferenceLoad> ChoosePreferenceFile(RunState& state, Preferences& prefs,
                                                   const QString& fileName) {
    const QString name = QFileInfo(fileName).fileName();
    if (name.toLower() == kTemporaryFile) {
        state.Boxes().Show(MessageBox{DefaultBoxTitle(),
                                      QStringLiteral("This is a temporary file and it can not be "
                                                     "loaded."),
                                      BoxIcon::Information, BoxButtons::Ok, BoxAnswer::Ok});
        return std::nullopt;
    }
    prefs.PreferenceFileName = name;
    return LoadPreferences(state, prefs, QString());
}

void ApplyPreferenceRecord(RunState& state, Preferences& prefs, const PreferenceRecord& record) {
    static_cast<PreferenceRecord&>(prefs) = record;
    prefs.MachineCode = Preferences::FixedMachineCode(record.MachineCode);
    ShareRunOptions(state, prefs);
}

std::optional<QString> QuickStyleForItem(const QString& fileRowText, int itemIndex,
                                         const QString& itemText) {
    // The file row has items 0 and 1 to itself: an item's own text on item 1 is never read.
    if (!fileRowText.isEmpty() && (itemIndex == 0 || itemIndex == 1))
        return fileRowText;
    if (itemIndex > 1 && !itemText.isEmpty())
        return itemText;
    return std::nullopt;
}

PreferenceLoad ApplyQuickStyle(RunState& state, Preferences& prefs, const QString& text) {
    if (Normalised(text) == QLatin1String("off"))
        return LoadPreferences(state, prefs, QString());
    return LoadPreferences(state, prefs, text);
}

} // namespace corvane
