// What the data writers take from the preferences and the clock rather than from the run state,
// so that a record can be made with any date and time.
#pragma once

#include <QString>

namespace corvane {

/// The values of a data record and file name that don't come from the run state.
struct DataOutputSettings {
    QString machineCode; // as the preferences hold it, up to three characters
    QString inifile;     // the preference file in force, as the records name it
    QString date;        // the local short date, right-trimmed
    QString time;        // "hh:mm:ss", 24-hour clock
};

/// Which of an organisation's two record files a writer appends to. A run writes both; recovery
/// writes only those that lack the record.
struct RecordTargets {
    bool txt = true;
    bool csv = true;
    /// The .csv row is opened already: a run cut short left the line end that comes right before
    /// it, so the row goes after that one without another.
    bool csvRowOpened = false;
};

/// The settings of this moment: today's local short date and the time of day.
DataOutputSettings CurrentDataOutputSettings(const QString& machineCode, const QString& inifile);

} // namespace corvane
