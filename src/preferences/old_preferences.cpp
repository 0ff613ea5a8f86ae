#include "preferences/old_preferences.h"

#include "definitions/number_reading.h"
#include "preferences/load_preferences.h"
#include "preferences/preference_file.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/message_boxes.h"
#include "state/run_state.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <cmath>
#include <optional>

namespace corvane {

namespace {

const QString kTitle = QStringLiteral("Preferences not converted");

QString Line(const QStringList& lines, int number) {
    return number <= lines.size() ? lines[number - 1] : QString();
}

std::optional<bool> TruthLine(const QString& line) {
    if (line == QLatin1String("True"))
        return true;
    if (line == QLatin1String("False"))
        return false;
    return std::nullopt;
}

std::optional<double> NonZeroNumber(const QString& line) {
    const double value = ReadNumber(line);
    if (value == 0.0 || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<quint32> ColourLine(const QString& line) {
    const auto value = NonZeroNumber(line);
    if (!value || *value < -2147483648.0 || *value > 4294967295.0)
        return std::nullopt;
    return static_cast<quint32>(static_cast<qint64>(std::llround(*value)));
}

// Lines 6 to 11 for style 1, 12 to 17 for style 2.
void ConvertStyle(const QStringList& lines, int first, int style, PreferenceRecord& record) {
    const auto at = std::size_t(style);
    if (const auto colour = ColourLine(Line(lines, first)))
        record.ForeColors[at] = *colour;
    if (const auto colour = ColourLine(Line(lines, first + 1)))
        record.BackColors[at] = *colour;
    PreferenceFont& font = record.Fonts[at];
    if (const QString name = Line(lines, first + 2); !name.isEmpty())
        font.name = name;
    if (const auto size = NonZeroNumber(Line(lines, first + 3)))
        font.size = *size;
    if (const auto bold = TruthLine(Line(lines, first + 4)))
        font.bold = *bold;
    if (const auto italic = TruthLine(Line(lines, first + 5)))
        font.italic = *italic;
}

// Files of the styles folder whose names have no extension, in the order of their names.
QStringList OldFileNames(const QString& folder) {
    QDir styles(folder);
    styles.setFilter(QDir::Files);
    styles.setSorting(QDir::Name | QDir::IgnoreCase);
    QStringList names;
    for (const QString& name : styles.entryList()) {
        if (!name.contains(QLatin1Char('.')))
            names << name;
    }
    return names;
}

std::optional<QStringList> ReadOldLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    static const QRegularExpression lineEnd(QStringLiteral("\r\n|\r|\n"));
    return QString::fromLocal8Bit(file.readAll()).split(lineEnd);
}

void Tell(RunState& state, const QString& text) {
    state.Boxes().Show(MessageBox{kTitle, text, BoxIcon::Warning, BoxButtons::Ok, BoxAnswer::Ok});
}

QString Quoted(const QString& path) {
    return QLatin1Char('\'') + path + QLatin1Char('\'');
}

} // namespace

PreferenceRecord ConvertOldPreferenceLines(const QStringList& lines) {
    PreferenceRecord record;
    // Lines 1, 2, 4 and 18 are read and dropped.
    if (const auto editable = TruthLine(Line(lines, 3)))
        record.EditMode = *editable;
    if (const QString code = Line(lines, 5); code.size() >= 1 && code.size() <= 3)
        record.MachineCode = code;
    ConvertStyle(lines, 6, 1, record);
    ConvertStyle(lines, 12, 2, record);
    if (const auto hide = TruthLine(Line(lines, 19)))
        record.HideRatsFlag = *hide;
    if (const auto disable = TruthLine(Line(lines, 20)))
        record.DisableKeysFlag = *disable;
    return record;
}

QStringList ConvertOldPreferences(RunState& state) {
    QStringList made;
    const QString folder = StylesFolder();
    QStringList names = OldFileNames(folder);
    if (names.isEmpty())
        return made;
    const QDir styles(folder);

    // An old "default" would be converted over the real default.cvp: it becomes "olddefault",
    // an ordinary old file, first.
    bool renamed = false;
    for (const QString& name : names) {
        if (name.toLower() != QLatin1String("default"))
            continue;
        const QString target = styles.filePath(QStringLiteral("old") + name);
        QFile::remove(target);
        if (QFile::copy(styles.filePath(name), target) && QFile::remove(styles.filePath(name)))
            renamed = true;
        else
            Tell(state, QStringLiteral("The old preference file ") + Quoted(styles.filePath(name)) +
                            QStringLiteral(" can not be renamed ") + Quoted(target) +
                            QStringLiteral(", so it is not converted. Check the permissions of "
                                           "the styles folder."));
    }
    if (renamed)
        names = OldFileNames(folder);

    const auto defaultFile = FindFile(styles.filePath(QStringLiteral("default.cvp")));
    for (const QString& name : names) {
        if (name.toLower() == QLatin1String("default"))
            continue; // could not be moved out of the way, and was reported
        const QString oldPath = styles.filePath(name);
        const QString newPath = styles.filePath(name + QStringLiteral(".cvp"));
        if (!defaultFile) {
            Tell(state, QStringLiteral("The old preference file ") + Quoted(oldPath) +
                            QStringLiteral(" can not be converted: ") +
                            Quoted(styles.filePath(QStringLiteral("default.cvp"))) +
                            QStringLiteral(", from which every preference file starts, is "
                                           "missing. Reinstall Corvane to bring it back."));
            continue;
        }
        const auto lines = ReadOldLines(oldPath);
        if (!lines) {
            Tell(state, QStringLiteral("The old preference file ") + Quoted(oldPath) +
                            QStringLiteral(" can not be read, so it is not converted. Check its "
                                           "permissions."));
            continue;
        }
        QFile::remove(newPath);
        if (!QFile::copy(*defaultFile, newPath)) {
            Tell(state, QStringLiteral("The old preference file ") + Quoted(oldPath) +
                            QStringLiteral(" can not be converted: ") + Quoted(newPath) +
                            QStringLiteral(" can not be made. Check the permissions of the "
                                           "styles folder and the space on the disk."));
            continue;
        }
        QFile::setPermissions(newPath, QFile::permissions(newPath) | QFileDevice::WriteOwner);
        try {
            SavePreferenceRecord(newPath, ConvertOldPreferenceLines(*lines));
        } catch (const CorvaneError&) {
            QFile::remove(newPath);
            Tell(state, QStringLiteral("The old preference file ") + Quoted(oldPath) +
                            QStringLiteral(" can not be converted: its copy of ") +
                            Quoted(*defaultFile) +
                            QStringLiteral(" can not be written. Check that default.cvp is a "
                                           "preference file and that the styles folder can be "
                                           "written."));
            continue;
        }
        QFile::remove(oldPath);
        made << name + QStringLiteral(".cvp");
    }
    return made;
}

} // namespace corvane
