// Pieces that the data and syntax writers share: the code in the file names, the head of every
// record, the data folders and the words of the messages about files.
#pragma once

#include "output/data_file.h"
#include "output/data_output.h"
#include "state/variable_tables.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

class RunState;

/// Every line of the data and syntax files ends so.
inline const QString kLineEnd = QStringLiteral("\r\n");

/// The machine code as file names carry it: trimmed, empty when only blanks.
QString FileNameCode(const QString& machineCode);

/// The first line of a record in a free-format file, with its line end.
QString RecordHeadLine(const RunState& state, const DataOutputSettings& settings);
/// The start of a record in a spreadsheet file, without a line end.
QString RecordHeadRow(const RunState& state, const DataOutputSettings& settings);

// Reads of the tables that pass over a cell out of their bounds, as the writers do with any
// fault of that kind: the cell is then absent, and the record goes on without it.

/// `ItemCount(q)`, 0 when unknown.
int ItemsOf(const RunState& state, int q);
/// `VariableCount(q, i)`, 0 when unknown or never set.
int VariablesOf(const RunState& state, int q, int i);
/// The column at (q, i, k), none when out of bounds.
std::optional<VariableColumn> ColumnOf(const RunState& state, int q, int i, int k);
/// `ResponseValue(q, i, k)`, empty when out of bounds.
QString ValueOf(const RunState& state, int q, int i, int k);
/// `ResponseTime(q, i, k)`, 0 when out of bounds.
qint32 TimeOf(const RunState& state, int q, int i, int k);
/// The name of questionnaire q without its last four characters (the extension and its point).
QString ShortName(const RunState& state, int q);

/// `DataRoot` + "/data/" + `leaf`, cleaned and absolute.
QString DataFolder(const RunState& state, const QString& leaf);

/// Makes the folder and the ones above it, and enters it. False, with the working folder
/// unchanged, when it can't be done.
bool EnterFolder(const QString& folder);

/// "Can't write data to NAME. File is currently open or in use by another program", with or
/// without its closing point, shown with the information icon.
void ReportInUse(RunState& state, const QString& fileName, bool finalPoint);

/// A file that could not be opened for other reasons than being in use; `what` is what it
/// lacks now ("this participant's record").
/// Whether the column-header file is new, found by opening it once as the writers do; no value
/// after a fault has been reported.
std::optional<bool> HeaderNeeded(RunState& state, const QString& csvPath, const QString& fileName);

void ReportOpenFault(RunState& state, const QString& path, const QString& reason,
                     const QString& what);

/// A write that failed; `partial` when the file could not be cut back to where it ended.
void ReportWriteFault(RunState& state, const QString& path, const QString& reason,
                      const QString& what, bool partial);

/// What a data file lacks when its record can't be written.
inline const QString kParticipantRecord = QStringLiteral("this participant's record");

/// Opens a data file for a record. A file in use shows the "Can't write data" message naming
/// `shownName` and gives InUse, on which the writer stops; another fault is reported naming
/// the file, and the writer goes on without it.
FileFault OpenForRecord(RunState& state, AppendFile& file, const QString& shownName,
                        const QString& what);

/// Appends the text to an open file and closes it; a failure is reported naming the file.
/// True when the whole text is there.
bool AppendAndClose(RunState& state, AppendFile& file, const QString& text, bool startLine,
                    const QString& what);

/// A data folder that can't be made or entered, and the files that therefore got nothing.
void ReportFolderFault(RunState& state, const QString& folder, const QStringList& files);

/// Where one organisation's participant records go: its folder and the files' name without
/// ending.
struct RecordPlace {
    QString folder;
    QString base;
    QString File(const QString& ending) const;
};
/// Enters the data folder of an organisation ("byquestionnaire", "byvariablename"); no value
/// after its fault has been reported, naming both record files.
std::optional<RecordPlace> EnterRecordFolder(RunState& state, const QString& organisation,
                                             const DataOutputSettings& settings);

} // namespace corvane
