// Runs that did not end: finding the journals they left in the data folder, and writing their
// records with what was collected. The experiment is read again for the journal's condition,
// without starting a run, to give the tables their layout; the journal's stores fill them; and
// the data writers append the record with the journal's participant, condition, date and time.
// What was not answered is written as 99, as for any item not answered.
#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

class RunState;
struct JournalContents;

/// The journals in `dataRoot`/data/.journal whose run did not end or whose record is not in
/// every data file, oldest first. A journal that a running Corvane holds is not among them.
/// With `experimentFile`, only the journals of that experiment (the full path, as the run
/// opened it).
QStringList FindUnfinishedRuns(const QString& dataRoot, const QString& experimentFile = QString());

/// The folders where the experiment opened in `state` (`ExperimentFile`, `ExperimentFolder`,
/// `ExperimentFileName`) may keep its data: below the alternate data folder when the
/// preferences name one, and its own folder. Nothing is made.
QStringList DataRootsOf(const RunState& state, const QString& alternateDataFolder);

/// `FindUnfinishedRuns` over `DataRootsOf` for the experiment opened in `state`.
QStringList FindUnfinishedRunsOf(const RunState& state, const QString& alternateDataFolder);

/// Fills the response tables of `state`, loaded for the journal's experiment and condition,
/// with the journal's stores in their order; a response stored as text makes its column text.
/// False, with the reason and the tables untouched, when the tables don't fit the journal (the
/// experiment has changed since the run).
bool ReplayJournal(RunState& state, const JournalContents& contents, QString* problem);

struct RecoveryResult {
    /// Both records are in their files and the journal is in data/recovered.
    bool recovered = false;
    int responses = 0; // responses and reaction times taken from the journal
    int times = 0;
    QString journal; // where the journal is now
    QString problem; // why the records are not written, in the operator's words
    QString note;    // something the operator should know even so
};

/// Writes the records of the run whose journal this is. Only the message boxes and the titles
/// of `state` are used: the experiment is read into a run state of its own, so the run in hand
/// and its drawing of orders are not touched. The working folder is kept. Never throws.
/// The journal's data root must be one of `dataRoots` or the folder whose data/.journal or
/// data/recovered holds the journal, and its file name a plain name, or nothing is written.
RecoveryResult RecoverRun(RunState& state, const QString& journal,
                          const QStringList& dataRoots = {});

/// One line for people: who, which condition and experiment, when, and how much was stored.
QString DescribeUnfinishedRun(const JournalContents& contents);

/// Tells the operator of the run and asks whether to write its record (a yes/no box, yes by
/// default); on yes writes it and says how that went. True when the record was written.
/// `dataRoots` as for `RecoverRun`.
bool OfferRecovery(RunState& state, const QString& journal, const QStringList& dataRoots = {});

/// `OfferRecovery` for each unfinished run of the experiment opened in `state`. Returns how
/// many were written.
int OfferRecoveries(RunState& state, const QString& alternateDataFolder);

} // namespace corvane
