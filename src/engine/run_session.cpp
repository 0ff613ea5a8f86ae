#include "engine/run_session.h"

#include "definitions/experiment_loader.h"
#include "engine/fCodes.h"
#include "engine/fMain.h"
#include "state/helpers.h"
#include "state/run_state.h"

#include <QGuiApplication>

namespace corvane {

RunSession::RunSession(RunState& state, QObject* parent)
    : QObject(parent), m_state(state), m_driver(state, *this) {}

RunSession::~RunSession() {
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
    m_codes->Load(QString());
    return m_codes;
}

void RunSession::ReadExperimentInfo() {
    ExperimentNeeds needs;
    if (!corvane::ReadExperimentInfo(m_state, {}, needs)) {
        if (m_codes)
            m_codes->close();
        emit LoadRefused();
        return;
    }
    // Documents are shown through the office suite when it is installed; nothing is started now.
    if (needs.word || needs.wordPerfect)
        m_state.WordFound = ToFlag(!ReadRegistryValue(QStringLiteral("HKEY_CLASSES_ROOT"),
                                                      QStringLiteral(".doc"), QString(), QString())
                                        .isEmpty());
    m_active = true;
    emit RunStarted();
    m_driver.StartExperiment();
}

void RunSession::LoadPreferences(const QString&) {
    // The preference files come with the launcher; until then the built-in look holds.
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
    m_backdrop->ContinueClicked = [this] { m_driver.NextFile(); };
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        m_backdrop->show();
    else
        m_backdrop->showFullScreen();
    m_backdrop->activateWindow();
    m_backdrop->setFocus();
}

void RunSession::UnloadTimerForm() {
    m_state.TimerFormUp = False;
}

void RunSession::ShowTimerForm() {}

void RunSession::PlayBackgroundSound(const QString&) {}

bool RunSession::PresentFile(FileKindClass, const FileEntry&) {
    // The presenters of list entries arrive with the media items.
    return false;
}

bool RunSession::PresentItem(const Question&) {
    // The item forms arrive with the questionnaire runs.
    return false;
}

void RunSession::UnloadCurrentForm() {}

void RunSession::WriteDataByQuestionnaire() {}

void RunSession::WriteDataByVariable() {}

void RunSession::ShowPasswordForm() {}

void RunSession::ReturnToLauncher() {
    m_active = false;
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
