// The walk of a run: the file list of the condition one entry at a time, and within a
// questionnaire the items in their drawn order, with jumps, omissions and the way back. Each
// entry or item is handed to its presenter through the run host; when the list is exhausted the
// data are written and the screen goes back to the launcher.
#pragma once

#include "engine/order_log.h"
#include "state/records.h"
#include "state/run_clock.h"

#include <QString>
#include <memory>

namespace corvane {

class RunState;
class ResponsesWorkbook;

/// What a list entry is, by the last three letters of its file name.
enum class FileKindClass {
    Image,
    WebPage,
    Sound,
    Program,
    SlideShow,
    Document,
    Movie,
    TachyraSession,
    Questionnaire,
    Unknown
};

FileKindClass ClassifyFileKind(const QString& kind);
/// True for a list entry that names a program by other means than its ending: a file with the
/// run bit, a shell script or a desktop entry.
bool IsProgramFile(const QString& name);
/// True for the item type words that a questionnaire may use.
bool IsKnownItemType(const QString& type);

/// The program around the driver: screens, forms, files and devices.
class RunHost {
public:
    virtual ~RunHost() = default;
    virtual void LoadPreferences(const QString& quickStyle) = 0;
    virtual void SetSystemKeysLocked(bool locked) = 0;
    /// Shows the backdrop and takes the screen from the launcher.
    virtual void ShowRunScreen() = 0;
    virtual void UnloadTimerForm() = 0;
    /// Shows the visible countdown of a questionnaire's time limit.
    virtual void ShowTimerForm() = 0;
    virtual void PlayBackgroundSound(const QString& file) = 0;
    /// Loads the presenter of a list entry; false when there is none for that kind yet.
    virtual bool PresentFile(FileKindClass kind, const FileEntry& entry) = 0;
    /// Loads the form of an item; false when there is none for that type yet.
    virtual bool PresentItem(const Question& item) = 0;
    /// Unloads the form on the screen, if any (the operator's keys, a time limit).
    virtual void UnloadCurrentForm() = 0;
    /// Unloads the form that stays up above the items (an on-line rating), if any.
    virtual void UnloadOverlay() {}
    /// Puts the backdrop behind everything else (each tick of the questionnaire timer).
    virtual void LowerBackdrop() {}
    virtual void WriteDataByQuestionnaire() = 0;
    virtual void WriteDataByVariable() = 0;
    /// Shows the password form modally; returns when it is gone.
    virtual void ShowPasswordForm() = 0;
    /// Gives the screen back to the launcher and unloads the run's forms.
    virtual void ReturnToLauncher() = 0;
    /// Runs the same experiment again for the next participant.
    virtual void BeginNextSession() = 0;
    /// Opens the experiment's responses workbook for the run, telling the operator when it is
    /// off; nullptr then. The host keeps it until `UnloadResponsesWorkbook`.
    virtual ResponsesWorkbook* LoadResponsesWorkbook() { return nullptr; }
    virtual void UnloadResponsesWorkbook() {}
};

class RunDriver {
public:
    RunDriver(RunState& state, RunHost& host);

    /// Starts a run whose experiment has been loaded: builds the run's screen and walks on.
    void StartExperiment();
    /// Advances to the next list entry and loads its presenter, or ends the run.
    void NextFile();
    /// Advances to the next item of the questionnaire in hand, or back to the list.
    void NextQuestion();
    /// The operator's Right Arrow with Control, Alt or both: pass the item over, abandon the
    /// questionnaire, or end the run with its data written.
    void OperatorKeys(bool control, bool alt);

    /// The common ending of an item: the form is gone, its response and the time from
    /// `ItemStart` to `ItemEnd` are stored for the item on show, and the walk goes on at `skip`.
    /// Outside a questionnaire the list goes on.
    void EndItem(const QString& response, const QString& skip);
    /// The back ending: nothing is stored, and the item shown before comes again.
    void GoBack();

    /// Whether a thought rating item is to be shown: its list was made in this run and holds a
    /// thought. A list never made is told; an empty one passes the item over in silence.
    bool CheckRating();

    bool RunEnded() const { return m_ended; }
    const OrderLog& Order() const { return m_order; }
    OrderLog& Order() { return m_order; }
    qint32 QuestionnaireStart = 0;
    QString LastSkipTarget;

private:
    bool StepFile();
    void PresentQuestionnaire(const FileEntry& entry, const QString& name);
    bool StepQuestion();
    void EndOfRun();
    void Inform(const QString& title, const QString& text, int icon);
    void TellUnknownFileType(const QString& name);
    void TellUnknownItemType(const QString& type);
    void ReportFault(const class CorvaneError& error);
    void QuestionnaireTimerTick();

    RunState& m_state;
    RunHost& m_host;
    OrderLog m_order;
    bool m_ended = false;
    std::unique_ptr<RunTimer> m_questionnaireTimer;
    bool m_limitShowing = false;
    ResponsesWorkbook* m_workbook = nullptr;
};

} // namespace corvane
