// The journal of a run: every response and reaction time is appended to a file in the data
// folder as it is stored, and put on the disk before the next item is shown, so that a run cut
// short by a crash, a kill or a power failure can still have its record written. A run that ends
// normally writes its records and removes its journal.
//
// The journal is a text file of lines, each ended by a line feed, in UTF-8. Fields are separated
// by tabs; backslash, tab, line feed and carriage return inside a field are written as \\, \t,
// \n and \r. Every line ends with a field of four hexadecimal digits, the CRC-16 of the line up
// to the tab before it, so that a line cut off or damaged on the disk is known and passed over.
//
//   CORVANE-JOURNAL 1 experiment=... file=... folder=... dataroot=... subject=... condition=...
//                     started=... date=... time=... machinecode=... inifile=... questionnaires=N
//   Q q name                          a questionnaire of the experiment, in the tables' order
//   R q i k name type value           a response stored at (q, i, k); type 0 number, 1 text
//   T q i k name ms                   a reaction time stored at (q, i, k)
//   O h|l text                        text added to the order log's header or item lines
//   P kind txtsize csvsize            a record is about to be appended to the kind's files,
//                                     which held so many bytes
//   W kind 1|0                        the record reached its files, or it failed
//   E                                 the run came to its end
//
// kind is "byquestionnaire", "byvariablename" or "order" (question_order.csv, in the place of
// the .txt; its csv size is 0). The first line is the header; the others come
// in the order of events, and a later store at the same place replaces an earlier one.
#pragma once

#include "output/data_output.h"

#include <QString>
#include <QStringList>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace corvane {

class RunState;
struct StoredResponse;

/// The two organisations of a run's record, and the order of its presentation.
enum class RecordKind { ByQuestionnaire = 0, ByVariable = 1, Order = 2 };

/// The word that journals and folders use for a kind.
QString RecordKindWord(RecordKind kind);

/// One store as the journal holds it.
struct JournalEntry {
    int q = 0;
    int i = 0;
    int k = 0;
    QString name;      // the variable's name when it was stored
    bool time = false; // a reaction time, else a response
    QString value;     // the response
    qint16 type = 0;   // the column's type when the response was stored (0 number, 1 text)
    qint32 ms = 0;     // the reaction time
};

/// What the journal says about the writing of one kind of record.
struct JournalWriting {
    bool noted = false; // a P line: the writer was about to run
    qint64 txtSize = 0; // the sizes of the files before it ran
    qint64 csvSize = 0;
    bool written = false; // a W line with 1
    bool failed = false;  // a W line with 0
};

/// A journal read back.
struct JournalContents {
    QString experimentFile;     // full path, as the records name it
    QString experimentFileName; // the file name with its extension, as the run opened it
    QString experimentFolder;
    QString dataRoot;
    QString subject;
    QString condition;
    QString started;             // date and time of the start, ISO 8601
    DataOutputSettings settings; // machine code, preference file, date and time of the start
    QStringList questionnaires;  // from 1; element 0 unused
    std::vector<JournalEntry> entries;
    QString orderHeader; // the order log as the run kept it: empty when nothing was presented
    QString orderLines;
    std::array<JournalWriting, 3> writing; // by RecordKind
    bool ended = false;
    /// Lines passed over: cut off at the end or damaged. The header is never among them.
    int ignoredLines = 0;

    int ResponseCount() const;
    int TimeCount() const;
    /// True when both kinds of record, and the order when there is one, are in their files.
    bool AllWritten() const;
    /// The block of question_order.csv as the run would have added it.
    QString OrderText() const;
    /// Items of which the journal holds a response or a time.
    int ItemCount() const;
};

/// DataRoot/data/.journal, where the journals of runs under way are kept.
QString JournalFolder(const QString& dataRoot);
/// Where a journal goes when the data folder can't be made: the program's own folder.
QString FallbackJournalFolder();
/// DataRoot/data/recovered, where journals go once their run's records have been written.
QString RecoveredFolder(const QString& dataRoot);

/// Reads a journal. No value, with the reason, when it can't be opened or its header can't be
/// read; damaged lines after the header are counted and passed over.
std::optional<JournalContents> ReadJournal(const QString& path, QString* problem = nullptr);

/// The .txt and .csv files that a writer of `kind` appends to for the run in `state`, whose
/// `ExperimentFileName` is as the run driver hands it to the writers (no extension, no blanks).
struct RecordFiles {
    QString txt;
    QString csv;
};
/// For the order, `txt` is question_order.csv and `csv` is empty.
RecordFiles RecordFilesOf(const RunState& state, RecordKind kind, const QString& machineCode);

/// The open journal of one run. While it lives, it is told of every store of the run state
/// (through `ResponseStored`, after whatever was connected there before) and holds a lock on
/// its file, so that no one takes the run for one that did not end.
class RunJournal {
public:
    /// Starts the journal of the run loaded in `state` (identity, data root, questionnaires),
    /// with the settings that the records will take. Null, after telling the operator, when
    /// it can't be made; the run then goes on without one.
    static std::unique_ptr<RunJournal> Begin(RunState& state, const DataOutputSettings& settings);
    /// Opens the journal of a run that did not end, to note the writing of its records; it is
    /// not connected to the run state. Null, with the reason, when it can't be opened or another
    /// Corvane holds it.
    static std::unique_ptr<RunJournal> Reopen(RunState& state, const QString& path,
                                              QString* problem);
    /// Closes the file and gives the run state's hook back; the journal stays on the disk.
    ~RunJournal();
    RunJournal(const RunJournal&) = delete;
    RunJournal& operator=(const RunJournal&) = delete;

    const QString& Path() const { return m_path; }

    /// Runs a writer of `kind`, noting the sizes of its files before and its outcome after.
    bool WriteRecord(RecordKind kind, const QString& machineCode,
                     const std::function<bool()>& writer);
    void NoteWriting(RecordKind kind, const QString& machineCode);
    void NoteWritten(RecordKind kind, bool written);
    /// Text added to the order log: to its header, else to its item lines.
    void NoteOrder(bool header, const QString& text);

    /// The end of the run: when both records reached their files the journal is removed;
    /// otherwise it is kept, the operator told, and Corvane offers it at its next start.
    /// True when it was removed.
    bool Finish();
    /// A run whose load was refused after its journal began never started: its journal goes.
    void Abandon();
    /// True when both records, and the order when it was written, reached their files.
    bool RecordsWritten() const;
    /// False when a record reached its files but could not be confirmed on the disk.
    bool RecordsConfirmed() const;
    /// False when no file holds the whole journal at present: the responses are in memory only.
    bool Kept() const { return m_fd >= 0 && !m_broken; }
    /// Moves the journal into `folder`, under its own name or a free one beside it; the
    /// journal is closed. True when moved; `movedTo` names where it is now.
    bool MoveTo(const QString& folder, QString* movedTo);

private:
    RunJournal(RunState& state, QString path, int fd);
    void Store(const StoredResponse& stored);
    /// Appends one line and puts it on the disk. When that fails the whole journal is written
    /// anew in another folder, at once and at every later line until that works; the operator
    /// is told at the first failure and when it is kept again. False while it is kept nowhere.
    bool Append(const QStringList& fields);
    /// Writes the whole journal to a new file in the data folder's journal folder or the
    /// program's, the other one first after a failure, and removes the file it leaves.
    /// With `takeUnconfirmed`, a file whose flush failed is taken when no other can be had.
    bool KeepSomewhere(QString* reason, bool takeUnconfirmed);
    void TakeFile(int fd, const QString& path);
    /// A line reached the file but not the disk: the journal moves to a folder where it can be
    /// put on the disk, else stays where it is; the operator is told at once.
    void KeepUnconfirmed(int error);
    void NoteOutcome(RecordKind kind, int outcome);
    void Close();
    /// Closes and removes the file; false when it is still there.
    bool Remove();

    RunState& m_state;
    QString m_path;
    int m_fd = -1;
    bool m_connected = false;
    QString m_base;             // the file name without ending; empty for a journal reopened
    QByteArray m_lines;         // every line of the run, so that it can be written anew elsewhere
    bool m_broken = false;      // the file lacks a line
    bool m_told = false;        // the operator knows that no file holds the journal
    QString m_reason;           // why the last write failed
    bool m_unconfirmed = false; // a line of the file could not be confirmed on the disk
    QString m_recordReason;     // why a record could not be confirmed on the disk
    // By RecordKind: not run, failed, written, or written but not confirmed on the disk.
    static constexpr int kNotRun = -1;
    static constexpr int kFailed = 0;
    static constexpr int kWritten = 1;
    static constexpr int kUnconfirmed = 2;
    std::array<int, 3> m_outcome{kNotRun, kNotRun, kNotRun};
    std::function<void(const StoredResponse&)> m_previousHook;
};

/// The line of a journal for these fields, with its check field and line feed.
QByteArray JournalLine(const QStringList& fields);

} // namespace corvane
