// Preference (.cvp) and QuickStyle (.cvq) files: SQLite files with one table, `options`, whose
// first record is the one that counts. Reading never raises: a file that is missing or that
// can't be used says why, and the caller keeps what it had.
#pragma once

#include "definitions/field_value.h"
#include "preferences/preferences.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

/// The fields of an `options` record, in the order of a new file.
const QStringList& PreferenceFieldNames();

/// What reading a preference or QuickStyle file gave.
struct PreferenceFileContents {
    enum class Status { Read, Missing, Unusable };
    Status status = Status::Missing;
    /// The file as found (letter case resolved), or the path asked for when it is missing.
    QString path;
    /// Why the file can't be used, as the end of a sentence that begins with its name.
    QString problem;
    /// The first record of `options`, by field name in lower case.
    QHash<QString, FieldValue> fields;

    bool Read() const { return status == Status::Read; }
    /// The field's value; nullptr when the file has no such field.
    const FieldValue* Find(const QString& name) const;
};

/// Reads the first `options` record of the file, found without regard to letter case.
PreferenceFileContents ReadPreferenceFile(const QString& path);

/// Takes the run options of the record into `record` (the fields `cvs_winword` to
/// `cvs_password`). A field the file lacks reads as empty; a NULL or a value of the wrong kind
/// is passed over and the earlier value stays. The machine code is taken as stored.
void ReadOptions(const PreferenceFileContents& contents, PreferenceRecord& record);
/// Takes the look of the record into `record`: both fonts and the four colours, with the rules
/// of `ReadOptions`. A font keeps its name when the file gives none and its size when the file
/// gives none above 0.
void ReadLook(const PreferenceFileContents& contents, PreferenceRecord& record);

/// The record of a file, over the values of a new file; no value when it can't be read.
std::optional<PreferenceRecord> ReadPreferenceRecord(const QString& path);

/// Makes a new preference file holding `record`, replacing any file of that name. Raises the
/// program's error, naming the file, when it can't be written.
void WritePreferenceFile(const QString& path, const PreferenceRecord& record);
/// Stores `record` in the first `options` record of an existing file, adding the table, the
/// fields or the record when the file lacks them; other fields are kept. Raises as above.
void SavePreferenceRecord(const QString& path, const PreferenceRecord& record);

} // namespace corvane
