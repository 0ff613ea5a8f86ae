#include "items/media/tachyra_session.h"

#include "engine/run_driver.h"
#include "items/media/program_start.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QDir>

namespace corvane {

namespace {

const QString kSettings = QStringLiteral("executeTCH");
const QString kRunning = QStringLiteral("Running");

} // namespace

QString TachyraArgument(const QString& subject, const QString& condition, const QString& folder,
                        const QString& file, const QString& tail) {
    const QString prefix = QDir::isAbsolutePath(QDir::fromNativeSeparators(file))
                               ? QString()
                               : folder + QLatin1Char('/');
    return QLatin1Char('/') + subject + QLatin1Char(',') + condition + QLatin1Char(',') + prefix +
           file + tail;
}

TachyraSession::TachyraSession(RunContext& run) : ItemForm(run, QStringLiteral("TachyraSession")) {}

QString TachyraSession::NamedIn() const {
    const RunState& state = State();
    if (state.CurrentQuestion < 1)
        return state.ExperimentFile;
    const auto found =
        FindFile(state.ExperimentFolder + QLatin1Char('/') + state.QuestionnaireFile);
    return found ? *found : state.QuestionnaireFile;
}

void TachyraSession::Load() {
    RunState& state = State();
    const QString launcher = ProgramInRegisteredFolder(QStringLiteral("tachyra.exe"),
                                                       QStringLiteral("executetachyra.exe"));
    QString file;
    QString tail = QStringLiteral(",all");
    if (state.CurrentQuestion >= 1) {
        file = Item().FileName;
        if (!Item().ConditionAppend.isEmpty())
            tail = QLatin1Char(',') + Item().ConditionAppend;
    } else {
        file = state.Files[std::size_t(state.CurrentFile)].File;
    }
    const QString argument =
        TachyraArgument(state.SubjectID, state.ConditionID, state.ExperimentFolder, file, tail);
    QString found = FindProgram(launcher, state.ExperimentFolder);
    if (found.isEmpty())
        found = AppPathsProgram(launcher);
    if (!found.isEmpty() &&
        (!Run().mayStartProgram || !Run().mayStartProgram(found, argument, NamedIn()))) {
        PassOver();
        return;
    }
    SettingsStore::Save(kSettings, kRunning, QStringLiteral("True"));
    m_tachyraTimer = state.Clock().Every(2000, [this] { TachyraTimer_Timer(); });
    if (state.CurrentQuestion >= 1)
        state.ItemStart = state.Clock().Now();
    // Without the launcher the session can't start; the backdrop's Continue goes on.
    if (found.isEmpty()) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(), ProgramNotFoundText(launcher), BoxIcon::None});
        return;
    }
    const StartResult result = StartCall(CallOf(found, {argument}), state.ExperimentFolder);
    if (result.fault != StartFault::None)
        state.Boxes().Show(
            MessageBox{state.MessageTitle(),
                       result.fault == StartFault::NotFound
                           ? ProgramNotFoundText(launcher)
                           : QStringLiteral("The program '") + found +
                                 QStringLiteral("' could not be started: ") + result.reason +
                                 QStringLiteral(". Use Continue on the screen to go on."),
                       BoxIcon::Warning});
}

void TachyraSession::TachyraTimer_Timer() {
    const QString running =
        SettingsStore::Get(kSettings, kRunning, QStringLiteral("True")).toString();
    if (running != QLatin1String("False"))
        return;
    m_tachyraTimer.reset();
    RunState& state = State();
    state.ItemEnd = state.Clock().Now();
    const QString skip = Item().skip;
    Unload();
    Driver().EndItem(QStringLiteral("ok"), skip);
}

} // namespace corvane
