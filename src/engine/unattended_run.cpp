#include "engine/unattended_run.h"

#include "definitions/single_questionnaire.h"
#include "engine/fCodes.h"
#include "engine/fMain.h"
#include "engine/run_script.h"
#include "engine/run_session.h"
#include "engine/scripted_boxes.h"
#include "output/recovery.h"
#include "preferences/load_preferences.h"
#include "preferences/old_preferences.h"
#include "preferences/preferences.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTimer>
#include <QWidget>

namespace corvane {

namespace {

// The widget that input goes to: within the item form on the screen, its focused control or the
// form; else the focused widget, the active window, or the newest visible window.
QWidget* InputTarget(const RunSession& session) {
    if (QWidget* form = session.CurrentForm(); form && form->isVisible()) {
        QWidget* focus = form->focusWidget();
        return focus && focus->isVisible() ? focus : form;
    }
    if (QWidget* focus = QApplication::focusWidget(); focus && focus->isVisible())
        return focus;
    if (QWidget* active = QApplication::activeWindow())
        return active;
    const auto windows = QApplication::topLevelWidgets();
    for (auto it = windows.rbegin(); it != windows.rend(); ++it) {
        if ((*it)->isVisible())
            return *it;
    }
    return nullptr;
}

// A visible control by name: the item form on the screen first, then every visible window.
QWidget* FindControl(const RunSession& session, const QString& name) {
    QList<QWidget*> windows;
    if (QWidget* form = session.CurrentForm(); form && form->isVisible())
        windows << form;
    const auto topLevels = QApplication::topLevelWidgets();
    for (auto it = topLevels.rbegin(); it != topLevels.rend(); ++it)
        windows << *it;
    for (QWidget* window : windows) {
        if (!window->isVisible())
            continue;
        if (window->objectName() == name)
            return window;
        const auto found = window->findChildren<QWidget*>(name);
        for (QWidget* control : found) {
            if (control->isVisible())
                return control;
        }
    }
    return nullptr;
}

void SendKey(QWidget* target, Qt::Key key, Qt::KeyboardModifiers modifiers, const QString& text) {
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    QApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    QApplication::sendEvent(target, &release);
}

void SendMouse(QWidget* target, QEvent::Type type, const QPoint& at, Qt::MouseButtons buttons) {
    QMouseEvent event(type, QPointF(at), QPointF(target->mapToGlobal(at)), Qt::LeftButton, buttons,
                      Qt::NoModifier);
    QApplication::sendEvent(target, &event);
}

class UnattendedRunner : public QObject {
public:
    UnattendedRunner(const UnattendedOptions& options, RunState& state, RunSession& session,
                     ScriptedMessageBoxes& boxes, ScriptAnswers& answers,
                     std::vector<ScriptAction> actions)
        : m_options(options), m_state(state), m_session(session), m_boxes(boxes),
          m_answers(answers), m_actions(std::move(actions)) {
        connect(&m_session, &RunSession::LoadRefused, this,
                [this] { Finish(UnattendedExit::NotStarted); });
        connect(&m_session, &RunSession::NextSessionRequested, this,
                [this] { m_nextSession = true; });
        connect(&m_session, &RunSession::RunStarted, this, [this] { m_started = true; });
        connect(&m_session, &RunSession::RunFinished, this, [this] {
            // Let the driver finish its end of run before the next session or the exit.
            QTimer::singleShot(0, this, [this] {
                if (m_nextSession) {
                    m_nextSession = false;
                    OpenSubjectEntry();
                } else if (m_session.RecordMissing()) {
                    Finish(UnattendedExit::RecordMissing);
                } else {
                    Finish(m_endedByKey ? UnattendedExit::ScriptUsedUp : UnattendedExit::Finished);
                }
            });
        });
    }

    int Run() {
        if (m_options.timeoutSeconds > 0)
            QTimer::singleShot(m_options.timeoutSeconds * 1000, this, [this] {
                m_boxes.Note(QStringLiteral("the run did not end within %1 s; it is stopped")
                                 .arg(m_options.timeoutSeconds));
                Finish(UnattendedExit::TimedOut);
            });
        // The answers at the top of the script answer the boxes that come before the first item.
        while (m_next < m_actions.size() && m_actions[m_next].kind == ScriptActionKind::Answer)
            m_answers.Push(m_actions[m_next++].text);
        QTimer::singleShot(0, this, [this] {
            if (BeforeFirstSession)
                BeforeFirstSession();
            OpenSubjectEntry();
        });
        return m_loop.exec();
    }

    /// Runs once, after the script's first answers are queued and before the subject form.
    std::function<void()> BeforeFirstSession;

private:
    void OpenSubjectEntry() {
        m_started = false;
        fCodes* codes = m_session.OpenSubjectEntry();
        if (m_finished || m_started) {
            m_firstSession = false;
            return ScheduleStep();
        }
        // A next session that the autostart list doesn't decide would need an operator.
        const bool first = m_firstSession;
        m_firstSession = false;
        if (!first) {
            m_boxes.Note(QStringLiteral("no further session is decided by the autostart list"));
            return Finish(m_endedByKey ? UnattendedExit::ScriptUsedUp : UnattendedExit::Finished);
        }
        codes->TextSubject()->setText(m_options.subject);
        codes->TextCondition()->setText(m_options.condition);
        codes->show();
        codes->bOK_Click();
        if (!m_started && !m_finished) {
            m_boxes.Note(
                QStringLiteral("the subject form still waits: the second entry of the subject "
                               "ID did not match"));
            return Finish(UnattendedExit::NotStarted);
        }
        ScheduleStep();
    }

    void ScheduleStep() {
        if (!m_finished)
            QTimer::singleShot(0, this, [this] { Step(); });
    }

    void Step() {
        if (m_finished || !m_session.RunActive())
            return;
        if (m_next >= m_actions.size())
            return PressEndKey();
        const ScriptAction& action = m_actions[m_next++];
        switch (action.kind) {
        case ScriptActionKind::Wait:
            return Wait(action.ms);
        case ScriptActionKind::Answer:
            m_answers.Push(action.text);
            break;
        case ScriptActionKind::Key:
            if (QWidget* target = InputTarget(m_session))
                SendKey(target, action.key, action.modifiers, action.text);
            break;
        case ScriptActionKind::Type:
            for (const QChar c : action.text) {
                if (QWidget* target = InputTarget(m_session))
                    SendKey(target, Qt::Key(c.toUpper().unicode()), Qt::NoModifier, QString(c));
            }
            break;
        case ScriptActionKind::Click:
        case ScriptActionKind::Drag:
            PointAt(action);
            break;
        }
        ScheduleStep();
    }

    void PointAt(const ScriptAction& action) {
        QWidget* control = FindControl(m_session, action.name);
        if (!control) {
            m_boxes.Note(QStringLiteral("line %1: there is no control '%2' on the screen")
                             .arg(action.line)
                             .arg(action.name));
            return;
        }
        const QPoint centre = control->rect().center();
        SendMouse(control, QEvent::MouseButtonPress, centre, Qt::LeftButton);
        if (action.kind == ScriptActionKind::Drag)
            SendMouse(control, QEvent::MouseMove, centre + QPoint(action.dx, action.dy),
                      Qt::LeftButton);
        SendMouse(control, QEvent::MouseButtonRelease,
                  action.kind == ScriptActionKind::Drag ? centre + QPoint(action.dx, action.dy)
                                                        : centre,
                  Qt::NoButton);
    }

    void Wait(int ms) {
        if (auto* clock = dynamic_cast<VirtualRunClock*>(&m_state.Clock())) {
            clock->Advance(ms);
            QApplication::processEvents();
            return ScheduleStep();
        }
        QTimer::singleShot(ms, this, [this] { ScheduleStep(); });
    }

    void PressEndKey() {
        m_boxes.Note(QStringLiteral("the script is used up while the run waits: pressing "
                                    "Control+Alt+Right Arrow to end it"));
        m_endedByKey = true;
        QWidget* target = InputTarget(m_session);
        if (!target)
            target = m_session.Backdrop();
        if (target)
            SendKey(target, Qt::Key_Right, Qt::ControlModifier | Qt::AltModifier, QString());
        // A form that doesn't pass the key on can't hold the run: the operator's way out is taken.
        if (m_session.RunActive())
            m_session.Driver().OperatorKeys(true, true);
    }

    void Finish(int status) {
        if (m_finished)
            return;
        m_finished = true;
        m_status = status;
        m_loop.exit(status);
    }

    const UnattendedOptions& m_options;
    RunState& m_state;
    RunSession& m_session;
    ScriptedMessageBoxes& m_boxes;
    ScriptAnswers& m_answers;
    std::vector<ScriptAction> m_actions;
    std::size_t m_next = 0;
    QEventLoop m_loop;
    bool m_finished = false;
    bool m_endedByKey = false;
    bool m_nextSession = false;
    bool m_firstSession = true;
    bool m_started = false;
    int m_status = 0;
};

std::optional<QString> ReadScript(const QString& path, QTextStream& err) {
    if (path.isEmpty())
        return QString();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        err << path << ": the script can not be read (" << file.errorString() << ")" << Qt::endl;
        return std::nullopt;
    }
    return QString::fromUtf8(file.readAll());
}

// The experiment as the run menus open it: a questionnaire is wrapped in the one-row template.
bool OpenExperiment(RunState& state, const QString& path, QTextStream& err) {
    const auto found = FindFile(QFileInfo(path).absoluteFilePath());
    if (!found) {
        err << path << ": no such experiment or questionnaire" << Qt::endl;
        return false;
    }
    const QFileInfo info(*found);
    state.ExperimentFile = info.absoluteFilePath();
    state.ExperimentFileName = info.fileName();
    state.ExperimentFolder = info.absolutePath();
    QString folder = state.ExperimentFolder;
    ChangeToFolder(folder);
    try {
        WrapSingleQuestionnaire(state, ProgramFolder::FilePath(QStringLiteral("temp.exp")));
    } catch (const CorvaneError& error) {
        err << path << ": " << error.description() << Qt::endl;
        return false;
    }
    return true;
}

} // namespace

namespace {

// Qt's own notes about the platform would mix with the message log; only its faults are kept.
void QuietQtMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        QTextStream(stderr) << "qt: " << message << Qt::endl;
}

} // namespace

int RunUnattended(const UnattendedOptions& options) {
    qInstallMessageHandler(QuietQtMessages);
    QTextStream err(stderr);
    const auto scriptText = ReadScript(options.script, err);
    if (!scriptText)
        return UnattendedExit::NotStarted;
    std::vector<ScriptAction> actions;
    try {
        actions = ParseRunScript(*scriptText);
    } catch (const RunScriptError& error) {
        err << options.script << ": " << error.message << Qt::endl;
        return UnattendedExit::NotStarted;
    }

    QFile logFile;
    QTextStream log(stderr);
    if (!options.messageLog.isEmpty()) {
        logFile.setFileName(options.messageLog);
        if (!logFile.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
            err << options.messageLog << ": the message log can not be written ("
                << logFile.errorString() << ")" << Qt::endl;
            return UnattendedExit::NotStarted;
        }
        log.setDevice(&logFile);
    }

    QString problem;
    if (!ProgramFolder::Seed(&problem))
        err << problem << Qt::endl;

    RunState state;
    ScriptAnswers answers;
    auto boxes = std::make_unique<ScriptedMessageBoxes>(answers, log);
    ScriptedMessageBoxes& boxesRef = *boxes;
    state.SetBoxes(std::move(boxes));
    if (options.seed)
        state.SetRandom(std::make_unique<StandardRandomSource>(*options.seed));
    if (options.virtualClock)
        state.SetClock(std::make_unique<VirtualRunClock>());
    if (!OpenExperiment(state, options.experiment, err))
        return UnattendedExit::NotStarted;

    // A normal start: old preference files converted, the default preferences loaded.
    Preferences preferences;
    ConvertOldPreferences(state);
    LoadPreferences(state, preferences, QString());
    RunSession session(state, preferences);
    UnattendedRunner runner(options, state, session, boxesRef, answers, std::move(actions));
    // Runs of this experiment that were cut short are offered first when asked for; with no one
    // to look at them, they are otherwise left in their journals.
    runner.BeforeFirstSession = [&] {
        if (options.recover) {
            OfferRecoveries(state, preferences.AlternateDataFolder);
            return;
        }
        for (const QString& journal : FindUnfinishedRunsOf(state, preferences.AlternateDataFolder))
            boxesRef.Note(QStringLiteral("a run that did not end is left in its journal '") +
                          journal +
                          QStringLiteral("'; --recover writes its record to the data files"));
    };
    const int status = runner.Run();
    log.flush();
    return status;
}

} // namespace corvane
