// The shared state of a run: the records, tables and scalars that the loaders fill, the engine
// walks, the item forms answer into and the data writers read. There is one per program; tests
// make their own.
#pragma once

#include "state/flags.h"
#include "state/message_boxes.h"
#include "state/parameter_list.h"
#include "state/random_source.h"
#include "state/records.h"
#include "state/run_clock.h"
#include "state/variable_tables.h"

#include <QHash>
#include <QStringList>
#include <array>
#include <functional>
#include <memory>
#include <vector>

namespace corvane {

/// A response or reaction time as it was stored, for whoever keeps a record of the run.
struct StoredResponse {
    int q = 0;
    int i = 0;
    int k = 0;
    std::optional<QString> value;
    std::optional<qint32> time;
};

class RunState {
public:
    RunState();
    ~RunState();
    RunState(const RunState&) = delete;
    RunState& operator=(const RunState&) = delete;

    // --- Seams -------------------------------------------------------------------------------
    RunClock& Clock() { return *m_clock; }
    RandomSource& Random() { return *m_random; }
    MessageBoxes& Boxes() { return *m_boxes; }
    void SetClock(std::unique_ptr<RunClock> clock);
    void SetRandom(std::unique_ptr<RandomSource> random);
    void SetBoxes(std::unique_ptr<MessageBoxes> boxes);

    // --- The one place where responses and reaction times are written ------------------------
    /// Stores a response at (q, i, k); an empty text means none.
    void StoreResponse(int q, int i, int k, const QString& value);
    /// Stores a reaction time at (q, i, k); 0 means none.
    void StoreResponseTime(int q, int i, int k, qint32 ms);
    const ResponseTables& Responses() const { return m_responses; }
    /// Called after each store, for a record of the run kept outside memory.
    std::function<void(const StoredResponse&)> ResponseStored;

    /// Allocates the response tables (bounds 0 to the counts given).
    void AllocateResponses(const TableBounds& bounds);
    /// Brings the run state back to empty at the end of a run.
    void ResetRun();

    // --- The experiment ------------------------------------------------------------------------
    QString ExperimentFile;
    QString ExperimentFileName;
    QString ExperimentFolder;
    QString DataRoot;
    QString SubjectID;
    QString ConditionID;
    bool EditMode = false;

    // --- Questionnaires and their variables ----------------------------------------------------
    qint16 NumQuestionnaires = 0;
    QStringList QuestionnaireNames; // element 0 unused, as the names are counted from 1
    qint16 CurrentQuestionnaire = 0;
    QString QuestionnaireFile = QStringLiteral("0");
    qint16 MaxItems = 0;
    qint16 MaxResponses = 0;
    VariableTables Variables;

    qint16 ThoughtListCount = 0;
    QStringList ThoughtListNames;         // 0 to ThoughtListCount
    std::vector<qint16> ThoughtListSizes; // 0 to ThoughtListCount
    QHash<quint32, QString> ThoughtTexts; // (L, k), sparse: see ThoughtKey

    // --- Thought lists made in this run, for the ratings that follow them ----------------------
    /// Lists opened so far; `ShownList...` run from 0 to it, element 0 unused.
    qint16 ThoughtListsShown = 0;
    QStringList ShownListNames;
    std::vector<qint16> ShownListSizes;
    std::vector<qint16> ShownListCounts;
    /// The list that the rating on show walks.
    qint16 CurrentThoughtList = 0;
    /// The clock at the start of the list on show, and `ResponseSlot` on entering it.
    qint32 ThoughtListStart = 0;
    qint16 FirstVariable = 0;
    /// Opens a list for a listing item shown for the first time; returns its number `L`.
    qint16 OpenThoughtList(const QString& name, qint16 size);
    /// Adds the `k`-th entry to list `L`.
    void AddThought(int list, int k, const QString& text);
    QString ThoughtText(int list, int k) const;
    static quint32 ThoughtKey(int list, int k) {
        return (quint32(quint16(list)) << 16) | quint16(k);
    }

    // --- The on-line rating that stays up over the next item -----------------------------------
    Flag OnLineUp = False;
    qint16 OnLineEndStep = 0;
    /// The run has been told once that no joystick is there.
    bool JoystickAbsenceTold = false;

    // --- The questionnaire in hand ---------------------------------------------------------------
    std::vector<Question> Questions; // 0 to NumQuestions; element 0 is a sentinel
    qint16 NumQuestions = 0;
    qint16 CurrentQuestion = 0;
    qint16 QuestionStep = 0;
    qint16 ResponseSlot = 0;
    QString SkipTarget;
    Flag GoingBack = False;
    qint16 BackDepth = 0;
    std::vector<qint16> BackStack;

    // --- The file list ---------------------------------------------------------------------------
    std::vector<FileEntry> Files; // 0 to NumFiles; element 0 is a sentinel
    qint16 NumFiles = 0;
    qint16 FileStep = 0;
    qint16 CurrentFile = 0;
    QString FileKind;

    // --- Messages and the run's switches ---------------------------------------------------------
    /// Codes 101 to 125: `Messages[n]` is code 100 + n; element 0 unused. Empty until loaded.
    std::array<QString, 26> Messages;
    /// The title most boxes of a run carry: message 111, or the program's name while it is empty.
    QString MessageTitle() const;
    Flag RepeatSessions = False;
    Flag TimerFormUp = False;
    /// Preferences read by the run: the password that closes it, and whether the task keys
    /// are taken away while it runs.
    QString ExitPassword;
    bool LockSystemKeys = false;
    Flag NextSessionAccepted = False;
    Flag WordFound = False;

    // --- Timing ----------------------------------------------------------------------------------
    /// When the item on show was shown, and when it was answered (run clock).
    qint32 ItemStart = 0;
    qint32 ItemEnd = 0;
    /// Bases of the time stamps: the start of the run and the last stamp written.
    qint32 RunStart = 0;
    qint32 LastStamp = 0;

    // --- Answers that later wording may quote ----------------------------------------------------
    /// The latest choice of a choice item; it keeps its value from item to item.
    QString ResponseIndex;
    QStringList InsertNames;  // 1 to InsertCount, lower case; element 0 unused
    QStringList InsertValues; // 1 to InsertCount
    int InsertCount() const { return int(InsertNames.size()) - 1; }
    void ClearInserts();
    void AddInsert(const QString& name, const QString& value);

    // --- Shared scratch and switches -------------------------------------------------------------
    ParameterList Parameters;
    Flag ResponsesWorkbookOn = False;
    Flag VoiceFolderReady = False;
    /// The faults of the sound input told so far, each told once.
    QStringList VoiceInputFaultsTold;
    Flag TTLFormLoaded = False;

    /// `Questions` with its sentinel only.
    static std::vector<Question> EmptyQuestions(qsizetype count);
    /// `Files` with its sentinel only.
    static std::vector<FileEntry> EmptyFiles(qsizetype count);

private:
    ResponseTables m_responses;
    std::unique_ptr<RunClock> m_clock;
    std::unique_ptr<RandomSource> m_random;
    std::unique_ptr<MessageBoxes> m_boxes;
};

} // namespace corvane
