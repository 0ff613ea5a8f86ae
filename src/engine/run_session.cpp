#include "engine/run_session.h"

#include "definitions/experiment_loader.h"
#include "devices/fTimer.h"
#include "engine/fCodes.h"
#include "engine/fMain.h"
#include "engine/fPassword.h"
#include "engine/kiosk_lock.h"
#include "engine/media_output.h"
#include "engine/presenter_registry.h"
#include "engine/run_devices.h"
#include "engine/web_pages.h"
#include "engine/word_processor.h"
#include "output/data_by_questionnaire.h"
#include "output/data_by_variable.h"
#include "output/data_output.h"
#include "output/questionnaire_syntax.h"
#include "output/run_journal.h"
#include "output/workbook_bridge.h"
#include "preferences/load_preferences.h"
#include "preferences/preferences.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QGuiApplication>

namespace corvane {

RunSession::RunSession(RunState& state, Preferences& preferences, QObject* parent)
    : QObject(parent), m_state(state), m_preferences(preferences),
      m_driver(state, *this), m_context{.state = state, .driver = m_driver},
      m_presenters(&PresenterRegistry::Program()) {
    m_context.formGone = [this](QWidget* form) {
        if (m_currentForm == form)
            m_currentForm = nullptr;
    };
    m_context.loadStyle = [this](const QString& quickStyle) { LoadPreferences(quickStyle); };
    m_media = new MediaOutput(this);
    m_context.playBackgroundSound = [this](const QString& file) { PlayBackgroundSound(file); };
    m_context.playClick = [this] {
        m_media->PlayClick(ProgramFolder::FilePath(QStringLiteral("utilities/sounds/click.wav")));
    };
    m_context.outputSettings = [this] { return OutputSettings(); };
    m_devices = MakeProgramDevices(state, [this] { return CurrentForm(); });
    m_context.itemOnScreen = [this](const QString& code, qint32 shownAt) {
        m_devices->ItemOnScreen(code, shownAt);
    };
    m_context.workbookText = [this](const QString& text) {
        return m_workbook ? m_workbook->ReplaceTextXLS(text) : text;
    };
    m_kiosk = std::make_unique<KioskLock>();
    // An operator key pressed while another program's window had the focus.
    m_kiosk->OperatorKeys = [this](bool control, bool alt) {
        if (m_active)
            m_driver.OperatorKeys(control, alt);
    };
    m_context.wallNow = [this] {
        return m_wallStart.addMSecs(Elapsed(m_wallClockStart, m_state.Clock().Now()));
    };
    m_programs.emplace(m_state, ProgramPolicy::Ask);
    m_context.mayStartProgram = [this](const QString& program, const QString& arguments,
                                       const QString& namedIn) {
        return m_programs->MayStart(program, arguments, namedIn);
    };
    TakeLook();
}

void RunSession::SetDevices(std::unique_ptr<RunDevices> devices) {
    m_devices = std::move(devices);
}

void RunSession::TakeLook() {
    auto style = [this](int n) {
        const PreferenceFont& font = m_preferences.Fonts[std::size_t(n)];
        TextStyle text;
        text.family = font.name;
        text.pointSize = font.size;
        text.bold = font.bold;
        text.italic = font.italic;
        text.fore = QRgb(ColourToRgb(m_preferences.ForeColors[std::size_t(n)])) | 0xff000000u;
        text.back = QRgb(ColourToRgb(m_preferences.BackColors[std::size_t(n)])) | 0xff000000u;
        return text;
    };
    m_context.question = style(1);
    m_context.response = style(2);
}

QWidget* RunSession::CurrentForm() const {
    return m_currentForm;
}

RunSession::~RunSession() {
    delete m_timerForm;
    delete m_codes;
    delete m_backdrop;
}

fMain* RunSession::Backdrop() const {
    return m_backdrop;
}

fCodes* RunSession::OpenSubjectEntry() {
    delete m_codes;
    m_codes = new fCodes(m_state);
    m_codes->setAttribute(Qt::WA_DeleteOnClose, false);
    m_codes->ReadExperimentInfo = [this] { ReadExperimentInfo(); };
    m_codes->Load(m_preferences.AlternateDataFolder);
    return m_codes;
}

void RunSession::ReadExperimentInfo() {
    emit SubjectEntered();
    ExperimentNeeds needs;
    ExperimentLoadHooks hooks;
    m_journal.reset();
    bool journalBegun = false;
    hooks.WriteQuestionnaireSyntax = [this, &journalBegun] {
        // The journal comes first: the syntax step ends the last row of the data file, and a
        // run cut short after that must leave a record to follow that line end.
        m_journal = RunJournal::Begin(m_state, OutputSettings());
        journalBegun = true;
        WriteQuestionnaireSyntax(m_state, OutputSettings());
    };
    if (!corvane::ReadExperimentInfo(m_state, hooks, needs)) {
        if (m_journal)
            m_journal->Abandon();
        m_journal.reset();
        if (m_codes)
            m_codes->close();
        emit LoadRefused();
        return;
    }
    if (needs.word)
        OpenWordProcessor(m_state, QStringLiteral("doc"), m_preferences.WordFolder, FirstPanel);
    if (needs.wordPerfect)
        OpenWordProcessor(m_state, QStringLiteral("wpd"), m_preferences.WordFolder, FirstPanel);
    m_context.officeFolder = m_preferences.WordFolder;
    m_presenters->PrepareExperiment(m_context, needs, FirstPanel);
    StartWallClock();
    SetWebFolder(m_state.ExperimentFolder);
    if (needs.web)
        WarmWebEngine();
    if (!journalBegun)
        m_journal = RunJournal::Begin(m_state, OutputSettings());
    m_driver.Order().Journal = m_journal.get();
    m_recordMissing = false;
    m_active = true;
    emit RunStarted();
    m_driver.StartExperiment();
}

void RunSession::StartWallClock() {
    // A fixed start holds for the first run only; later sessions go on from where it stands.
    m_wallStart = m_fixedWallStart.isValid() ? m_fixedWallStart : QDateTime::currentDateTime();
    if (m_fixedWallStart.isValid() && m_wallClockStart != 0)
        m_wallStart = m_context.wallNow();
    m_wallClockStart = m_state.Clock().Now();
}

void RunSession::LoadPreferences(const QString& quickStyle) {
    corvane::LoadPreferences(m_state, m_preferences, quickStyle);
    TakeLook();
}

void RunSession::SetSystemKeysLocked(bool locked) {
    // The lock itself is taken when the run window is on the screen.
    if (!locked)
        m_kiosk->Unlock();
}

void RunSession::HoldKeyboard() {
    QStringList problems = m_kiosk->HoldOperatorKeys(m_backdrop);
    // With the keyboard held every key comes here, the operator's included.
    if (m_state.LockSystemKeys) {
        const QStringList locking = m_kiosk->Lock(m_backdrop);
        problems = m_kiosk->Locked() ? locking : problems + locking;
    }
    if (!problems.isEmpty())
        m_state.Boxes().Show(MessageBox{QStringLiteral("Corvane"),
                                        problems.join(QStringLiteral("\r\n\r\n")),
                                        BoxIcon::Warning});
}

void RunSession::ShowRunScreen() {
    delete m_backdrop;
    m_backdrop = new fMain;
    m_backdrop->OperatorKeys = [this](bool control, bool alt) {
        m_driver.OperatorKeys(control, alt);
    };
    m_backdrop->ContinueClicked = [this] { BackdropContinue(); };
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        m_backdrop->show();
    else
        m_backdrop->showFullScreen();
    m_backdrop->activateWindow();
    m_backdrop->setFocus();
    m_devices->RunScreenOpened(m_state.ExperimentFolder);
    HoldKeyboard();
}

// The backdrop's Continue, the way on while another program has the screen: the common ending
// of the item in hand, or the next entry of the list.
void RunSession::BackdropContinue() {
    UnloadCurrentForm();
    if (m_state.CurrentQuestion < 1) {
        m_driver.NextFile();
        return;
    }
    m_state.ItemEnd = m_state.Clock().Now();
    m_driver.EndItem(QStringLiteral("ok"),
                     m_state.Questions[std::size_t(m_state.CurrentQuestion)].skip);
}

void RunSession::UnloadTimerForm() {
    delete m_timerForm;
    m_state.TimerFormUp = False;
}

void RunSession::ShowTimerForm() {
    delete m_timerForm;
    m_state.TimerFormUp = True;
    m_timerForm =
        new fTimer(m_state.Clock(), m_state.Files[std::size_t(m_state.CurrentFile)].Duration);
    m_timerForm->show();
    m_timerForm->raise();
}

void RunSession::PlayBackgroundSound(const QString& file) {
    if (file.isEmpty() || file.toLower() == QLatin1String("none"))
        return;
    const auto found = FindFile(file);
    if (!found) {
        m_state.Boxes().Show(
            MessageBox{m_state.MessageTitle(),
                       QStringLiteral("The background file '") + file +
                           QStringLiteral("' was requested but not found.  This item will "
                                          "be ignored."),
                       BoxIcon::Information});
        return;
    }
    // It plays on past its item, until it ends or another starts.
    m_media->PlayBackgroundSound(*found);
}

bool RunSession::PresentFile(FileKindClass kind, const FileEntry&) {
    return LoadForm(m_presenters->MakeFileForm(kind, m_context));
}

bool RunSession::PresentItem(const Question& item) {
    if (m_presenters->IsOverlay(item.QuestionType))
        return LoadOverlay(m_presenters->MakeItemForm(item.QuestionType, m_context));
    return LoadForm(m_presenters->MakeItemForm(item.QuestionType, m_context));
}

bool RunSession::LoadOverlay(ItemForm* form) {
    if (!form)
        return false;
    UnloadOverlay();
    m_overlay = form;
    // Its load goes straight on to the next item, which becomes the current form.
    form->Load();
    return true;
}

void RunSession::UnloadOverlay() {
    if (m_overlay)
        m_overlay->Unload();
    m_overlay = nullptr;
}

bool RunSession::LoadForm(ItemForm* form) {
    if (!form)
        return false;
    // The form is current before it loads: its load may already end it.
    m_currentForm = form;
    form->Load();
    // The countdown stays above the item forms.
    if (m_timerForm)
        m_timerForm->raise();
    return true;
}

void RunSession::UnloadCurrentForm() {
    if (m_currentForm)
        m_currentForm->Unload();
    m_currentForm = nullptr;
}

void RunSession::LowerBackdrop() {
    if (m_backdrop)
        m_backdrop->lower();
}

DataOutputSettings RunSession::OutputSettings() const {
    return CurrentDataOutputSettings(m_preferences.MachineCode.trimmed(), m_preferences.Inifile);
}

void RunSession::WriteDataByQuestionnaire() {
    const DataOutputSettings settings = OutputSettings();
    auto write = [&] { return corvane::WriteDataByQuestionnaire(m_state, settings); };
    const bool written =
        m_journal ? m_journal->WriteRecord(RecordKind::ByQuestionnaire, settings.machineCode, write)
                  : write();
    m_recordMissing = m_recordMissing || !written;
}

void RunSession::WriteDataByVariable() {
    const DataOutputSettings settings = OutputSettings();
    auto write = [&] { return corvane::WriteDataByVariable(m_state, settings); };
    if (!m_journal) {
        m_recordMissing = !write() || m_recordMissing;
        return;
    }
    m_journal->WriteRecord(RecordKind::ByVariable, settings.machineCode, write);
    m_recordMissing = !m_journal->RecordsWritten();
    // The last record of the run: the journal goes once both are in their files.
    m_journal->Finish();
    m_driver.Order().Journal = nullptr;
    m_journal.reset();
}

void RunSession::ShowPasswordForm() {
    fPassword lock(m_state.Messages[17], m_state.ExitPassword);
    lock.exec();
}

void RunSession::ReturnToLauncher() {
    m_active = false;
    // A rating still up when the run ends early keeps what it has sampled.
    UnloadOverlay();
    UnloadTimerForm();
    m_kiosk->ReleaseAll();
    if (m_backdrop)
        m_backdrop->close();
    if (m_codes)
        m_codes->close();
    emit RunFinished();
}

void RunSession::BeginNextSession() {
    emit NextSessionRequested();
}

ResponsesWorkbook* RunSession::LoadResponsesWorkbook() {
    const BridgeSettings settings = m_bridgeSettings ? *m_bridgeSettings : DefaultBridgeSettings();
    WorkbookOpening opening = OpenResponsesWorkbook(m_state.ExperimentFolder, settings);
    if (!opening.workbook)
        m_state.Boxes().Show(
            MessageBox{m_state.MessageTitle(), WorkbookOffText(opening), BoxIcon::Warning});
    m_workbook = std::move(opening.workbook);
    return m_workbook.get();
}

void RunSession::UnloadResponsesWorkbook() {
    m_workbook.reset();
}

} // namespace corvane
