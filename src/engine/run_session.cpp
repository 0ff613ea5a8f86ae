#include "engine/run_session.h"

#include "definitions/experiment_loader.h"
#include "devices/fTimer.h"
#include "engine/fCodes.h"
#include "engine/fMain.h"
#include "engine/fPassword.h"
#include "engine/media_output.h"
#include "engine/presenter_registry.h"
#include "engine/web_pages.h"
#include "engine/word_processor.h"
#include "output/data_by_questionnaire.h"
#include "output/data_by_variable.h"
#include "output/data_output.h"
#include "output/questionnaire_syntax.h"
#include "output/run_journal.h"
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
    hooks.WriteQuestionnaireSyntax = [this] {
        WriteQuestionnaireSyntax(m_state, OutputSettings());
    };
    if (!corvane::ReadExperimentInfo(m_state, hooks, needs)) {
        if (m_codes)
            m_codes->close();
        emit LoadRefused();
        return;
    }
    if (needs.word)
        OpenWordProcessor(m_state, QStringLiteral("doc"), m_preferences.WordFolder, FirstPanel);
    if (needs.wordPerfect)
        OpenWordProcessor(m_state, QStringLiteral("wpd"), m_preferences.WordFolder, FirstPanel);
    StartWallClock();
    SetWebFolder(m_state.ExperimentFolder);
    if (needs.web)
        WarmWebEngine();
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
    if (!m_backdrop)
        return;
    if (locked)
        m_backdrop->grabKeyboard();
    else
        m_backdrop->releaseKeyboard();
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
    return LoadForm(m_presenters->MakeItemForm(item.QuestionType, m_context));
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
    UnloadTimerForm();
    if (m_backdrop) {
        m_backdrop->releaseKeyboard();
        m_backdrop->close();
    }
    if (m_codes)
        m_codes->close();
    emit RunFinished();
}

void RunSession::BeginNextSession() {
    emit NextSessionRequested();
}

} // namespace corvane
