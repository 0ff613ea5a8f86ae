// One experiment opened for participants: subject entry, loading, the run driver and the forms
// of the run, and the program's side of every hand-over that the driver makes.
#pragma once

#include "engine/item_frame.h"
#include "engine/program_consent.h"
#include "engine/run_driver.h"
#include "engine/word_processor.h"
#include "output/workbook_bridge.h"

#include <QObject>
#include <QPointer>
#include <memory>
#include <optional>

namespace corvane {

class RunState;
struct Preferences;
class fCodes;
class fMain;
class fTimer;
struct DataOutputSettings;
class RunJournal;
class PresenterRegistry;
class RunDevices;
class KioskLock;

class RunSession : public QObject, public RunHost {
    Q_OBJECT
public:
    /// A session on the run state and the settings in force, which the launcher keeps.
    RunSession(RunState& state, Preferences& preferences, QObject* parent = nullptr);
    ~RunSession() override;

    /// Loads the subject entry form for the experiment in `ExperimentFile` (the working folder
    /// is its folder). Returns the form, not yet shown: the autostart list may already have
    /// started the run.
    fCodes* OpenSubjectEntry();
    RunDriver& Driver() { return m_driver; }
    fMain* Backdrop() const;
    /// True from the start of a run until its closing message.
    bool RunActive() const { return m_active; }
    /// True when the last run's record did not reach every data file.
    bool RecordMissing() const { return m_recordMissing; }
    /// Switches the click of the item forms off or on (the launcher's setting).
    void SetMuteSounds(bool muted) { m_context.muteSounds = muted; }
    /// Forces the launcher's character set on the fonts of the forms; -1 for none.
    void SetCharsetOverride(int charset) { m_context.charsetOverride = charset; }
    /// How outside programs are allowed: asked for (the launcher), or decided for an unattended
    /// run by its --allow-programs.
    void SetProgramPolicy(ProgramPolicy policy) { m_programs.emplace(m_state, policy); }
    /// The date and time at which the run's wall clock starts, for reproducible side logs; by
    /// default the real time at the start of each run.
    void SetWallClockStart(const QDateTime& start) { m_fixedWallStart = start; }
    /// Takes the forms from another registry than the program's.
    void SetPresenters(const PresenterRegistry& presenters) { m_presenters = &presenters; }
    /// Takes other devices than the program's.
    void SetDevices(std::unique_ptr<RunDevices> devices);
    RunDevices& Devices() const { return *m_devices; }

    // The program's side of the walk.
    void LoadPreferences(const QString& quickStyle) override;
    void SetSystemKeysLocked(bool locked) override;
    void ShowRunScreen() override;
    void UnloadTimerForm() override;
    void ShowTimerForm() override;
    void PlayBackgroundSound(const QString& file) override;
    bool PresentFile(FileKindClass kind, const FileEntry& entry) override;
    bool PresentItem(const Question& item) override;
    void UnloadCurrentForm() override;
    void UnloadOverlay() override;
    void WriteDataByQuestionnaire() override;
    void WriteDataByVariable() override;
    void ShowPasswordForm() override;
    void ReturnToLauncher() override;
    void BeginNextSession() override;
    void LowerBackdrop() override;
    ResponsesWorkbook* LoadResponsesWorkbook() override;
    void UnloadResponsesWorkbook() override;
    /// Starts the workbook's bridge with these settings rather than the installed ones.
    void SetBridgeSettings(const BridgeSettings& settings) {
        m_bridgeSettings = std::make_unique<BridgeSettings>(settings);
    }

    /// The item form on the screen, if any.
    QWidget* CurrentForm() const;

    /// The launcher's first status panel, for what the loading has to announce.
    StatusPanel FirstPanel;

signals:
    /// The subject form has taken the subject and the condition; the loading begins.
    void SubjectEntered();
    /// The loader refused the experiment; nothing was started.
    void LoadRefused();
    /// A run has started.
    void RunStarted();
    /// The run is over and its closing message has been given.
    void RunFinished();
    /// The operator asked for the next session of the same experiment.
    void NextSessionRequested();

private:
    void ReadExperimentInfo();
    void StartWallClock();
    void BackdropContinue();
    /// Loads a form from the registry as the current form; false when there is none.
    bool LoadForm(ItemForm* form);
    /// Loads a form that stays up above the items that follow; false when there is none.
    bool LoadOverlay(ItemForm* form);
    /// Takes the look of the settings in force into the forms' styles.
    void TakeLook();
    DataOutputSettings OutputSettings() const;
    /// Holds the operator keys, and with the task keys locked the keyboard, for the run window;
    /// tells the operator what could not be had.
    void HoldKeyboard();

    RunState& m_state;
    Preferences& m_preferences;
    RunDriver m_driver;
    RunContext m_context;
    class MediaOutput* m_media;
    QPointer<fCodes> m_codes;
    QPointer<fMain> m_backdrop;
    QPointer<fTimer> m_timerForm;
    QPointer<ItemForm> m_currentForm;
    QPointer<ItemForm> m_overlay;
    const PresenterRegistry* m_presenters;
    bool m_active = false;
    bool m_recordMissing = false;
    std::optional<ProgramConsent> m_programs;
    QDateTime m_fixedWallStart;
    QDateTime m_wallStart;
    qint32 m_wallClockStart = 0;
    /// The journal of the run under way, which keeps its responses on the disk as they come.
    std::unique_ptr<RunJournal> m_journal;
    std::unique_ptr<RunDevices> m_devices;
    /// The run's responses workbook, while it is open.
    std::unique_ptr<ResponsesWorkbook> m_workbook;
    std::unique_ptr<BridgeSettings> m_bridgeSettings;
    std::unique_ptr<KioskLock> m_kiosk;
};

} // namespace corvane
