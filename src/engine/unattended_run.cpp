#include "engine/unattended_run.h"

#include "definitions/single_questionnaire.h"
#include "devices/fed_sample_source.h"
#include "devices/voice_input.h"
#include "engine/fCodes.h"
#include "engine/fMain.h"
#include "engine/run_script.h"
#include "engine/run_session.h"
#include "engine/scripted_boxes.h"
#include "engine/web_pages.h"
#include "output/recovery.h"
#include "preferences/load_preferences.h"
#include "preferences/old_preferences.h"
#include "preferences/preferences.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <QWebEngineView>
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace corvane {

namespace {

// Within a form shown modally: its focused control, else the first control that takes the focus
// (the window may not have been activated yet), else the form.
QWidget* ModalInputTarget(QWidget* modal) {
    if (QWidget* focus = modal->focusWidget(); focus && focus->isVisible())
        return focus;
    const auto controls = modal->findChildren<QWidget*>();
    for (QWidget* control : controls) {
        if (control->isVisible() && control->isEnabled() && (control->focusPolicy() & Qt::TabFocus))
            return control;
    }
    return modal;
}

// The widget that input goes to: a form shown modally, within the item form on the screen its
// focused control or the form; else the focused widget, the active window, or the newest visible
// window.
QWidget* InputTarget(const RunSession& session) {
    // A form with a loop of its own (the exit password) is in front of everything.
    if (QWidget* modal = QApplication::activeModalWidget())
        return ModalInputTarget(modal);
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

constexpr int kEndKeyPollMs = 50;
constexpr int kPageWaitMs = 15000;
constexpr int kPagePollMs = 20;
constexpr int kMostNestedForms = 16;

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
            m_runLoopLevel = QThread::currentThread()->loopLevel();
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
        m_entryWaits = false;
        if (!m_firstSession)
            ReturnToExperiment();
        fCodes* codes = m_session.OpenSubjectEntry();
        m_codes = codes;
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
            // The script goes on as the operator would: type the ID again and press OK.
            m_boxes.Note(
                QStringLiteral("the subject form still waits: the second entry of the subject "
                               "ID did not match"));
            m_entryWaits = true;
            codes->activateWindow();
        }
        ScheduleStep();
    }

    // The next session opens the experiment again, as the launcher's "Run last selection
    // again" does: the end of a run has cut the extension from the name its data files take.
    void ReturnToExperiment() {
        const QFileInfo file(m_state.ExperimentFile);
        m_state.ExperimentFileName = file.fileName();
        m_state.ExperimentFolder = file.absolutePath();
        QString folder = m_state.ExperimentFolder;
        ChangeToFolder(folder);
    }

    void ScheduleStep() {
        if (!m_finished)
            QTimer::singleShot(0, this, [this] { Step(); });
    }

    void Step() {
        if (m_started)
            m_entryWaits = false;
        if (m_finished || !(m_session.RunActive() || m_entryWaits))
            return;
        if (m_next >= m_actions.size() && m_session.RunActive() && m_options.moreInput &&
            !m_endKeyPressed) {
            auto more = m_options.moreInput(m_state, m_session);
            m_actions.insert(m_actions.end(), more.begin(), more.end());
        }
        if (m_next >= m_actions.size()) {
            if (m_session.RunActive())
                return PressEndKey();
            m_boxes.Note(QStringLiteral("the script is used up while the subject form waits"));
            return Finish(UnattendedExit::NotStarted);
        }
        const ScriptAction& action = m_actions[m_next++];
        if (action.kind == ScriptActionKind::Wait)
            return Wait(action.ms);
        if (action.kind == ScriptActionKind::Stall)
            return Stall(action.ms);
        if (action.kind == ScriptActionKind::Page)
            return DrivePage(action);
        if (action.kind == ScriptActionKind::Sleep) {
            QTimer::singleShot(action.ms, this, [this] { ScheduleStep(); });
            return;
        }
        // The next step is due before this one acts: an action that brings up a form with a
        // loop of its own (the exit password) returns only when that form closes, and the rest
        // of the script, or its end key, is what closes it.
        ScheduleStep();
        switch (action.kind) {
        case ScriptActionKind::Wait:
        case ScriptActionKind::Stall:
        case ScriptActionKind::Page:
        case ScriptActionKind::Sleep:
            break;
        case ScriptActionKind::Answer:
            m_answers.Push(action.text);
            break;
        case ScriptActionKind::Key:
            if (QWidget* target = Target())
                SendKey(target, action.key, action.modifiers, action.text);
            break;
        case ScriptActionKind::Type:
            TypeText(action.text);
            break;
        case ScriptActionKind::Click:
        case ScriptActionKind::Drag:
            PointAt(action);
            break;
        }
    }

    // Item forms see every key on its own. The text box of a form shown modally (the exit
    // password, an input box) takes a run of plain characters in one key event, as a keyboard
    // with key compression delivers it: one insertion, where one per character costs time that
    // grows with the square of the text's length.
    void TypeText(const QString& text) {
        QWidget* target = Target();
        if (IsModalTextBox(target) && IsPlainText(text)) {
            SendKey(target, Qt::Key(text.at(0).toUpper().unicode()), Qt::NoModifier, text);
            return;
        }
        for (const QChar c : text) {
            if (QWidget* each = Target())
                SendKey(each, Qt::Key(c.toUpper().unicode()), Qt::NoModifier, QString(c));
        }
    }

    static bool IsModalTextBox(const QWidget* target) {
        const QWidget* modal = QApplication::activeModalWidget();
        return target && modal && target->window() == modal &&
               qobject_cast<const QLineEdit*>(target) != nullptr;
    }

    static bool IsPlainText(const QString& text) {
        return !text.isEmpty() &&
               std::all_of(text.begin(), text.end(), [](QChar c) { return c.isPrint(); });
    }

    // A waiting subject form takes the input in its focused box, whether or not the window
    // system has made it the active window yet.
    QWidget* Target() const {
        if (m_entryWaits && m_codes && m_codes->focusWidget())
            return m_codes->focusWidget();
        return InputTarget(m_session);
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

    void Stall(int ms) {
        if (auto* clock = dynamic_cast<VirtualRunClock*>(&m_state.Clock()))
            clock->Stall(ms);
        else
            QThread::msleep(ulong(ms));
        QApplication::processEvents();
        ScheduleStep();
    }

    // The page of the form on the screen: its own web view, else the first page a label shows.
    QWebEngineView* PageOnScreen() const {
        QWidget* form = m_session.CurrentForm();
        if (!form || !form->isVisible())
            return nullptr;
        if (auto* view = form->findChild<QWebEngineView*>(QStringLiteral("WebBrowser1")))
            return view;
        return form->findChild<QWebEngineView*>();
    }

    // Pages load in real time while the run clock stands still, so that the times of a page's
    // stay depend on the script alone.
    void DrivePage(const ScriptAction& action) {
        QPointer<QWebEngineView> view = PageOnScreen();
        if (!view) {
            m_boxes.Note(
                QStringLiteral("line %1: there is no web page on the screen").arg(action.line));
            return ScheduleStep();
        }
        auto done = std::make_shared<bool>(false);
        auto finish = [this, done] {
            if (*done)
                return;
            *done = true;
            ScheduleStep();
        };
        QTimer::singleShot(kPageWaitMs, this, [this, done, finish, line = action.line] {
            if (!*done)
                m_boxes.Note(QStringLiteral("line %1: the page did not load within %2 s")
                                 .arg(line)
                                 .arg(kPageWaitMs / 1000));
            finish();
        });
        if (!action.text.isEmpty()) {
            connect(view, &QWebEngineView::loadFinished, this, finish, Qt::SingleShotConnection);
            view->page()->runJavaScript(action.text);
            return;
        }
        auto poll = std::make_shared<std::function<void()>>();
        *poll = [this, view, done, finish, poll] {
            if (*done)
                return;
            if (!view || PageLoaded(view))
                return finish();
            QTimer::singleShot(kPagePollMs, this, *poll);
        };
        (*poll)();
    }

    void PressEndKey() {
        // A form with a loop of its own (the exit password) is answered by the key as well; the
        // driver's own way out is only for the run's item forms, never from inside such a loop.
        QWidget* modal = QApplication::activeModalWidget();
        if (modal && !modal->isVisible())
            modal = nullptr; // closed, its loop not yet left
        // Within such a loop the run is in its end already: only a form may take the key then.
        const bool inFormLoop = QThread::currentThread()->loopLevel() > m_runLoopLevel;
        if (!modal && (m_endKeyPressed || inFormLoop))
            return ScheduleEndKey();
        m_boxes.Note(modal ? QStringLiteral("the script is used up while the form '%1' waits: "
                                            "pressing Control+Alt+Right Arrow to close it")
                                 .arg(modal->objectName())
                           : QStringLiteral("the script is used up while the run waits: pressing "
                                            "Control+Alt+Right Arrow to end it"));
        m_endedByKey = true;
        m_endKeyPressed = true;
        // Due before the key acts, for the form that the end of the run may bring up.
        ScheduleEndKey();
        QWidget* target = modal ? ModalInputTarget(modal) : InputTarget(m_session);
        if (!target)
            target = m_session.Backdrop();
        if (target)
            SendKey(target, Qt::Key_Right, Qt::ControlModifier | Qt::AltModifier, QString());
        // A form that doesn't pass the key on can't hold the run: the operator's way out is taken.
        if (!modal && m_session.RunActive() && !QApplication::activeModalWidget())
            m_session.Driver().OperatorKeys(true, true);
    }

    // Looks again, while the run lasts, for a form that waits for the end key.
    void ScheduleEndKey() {
        QTimer::singleShot(kEndKeyPollMs, this, [this] {
            if (!m_finished && m_session.RunActive())
                PressEndKey();
        });
    }

    // A form with a loop of its own holds the run until it closes: when time is up it is closed
    // as its window's close button would, so that the run can end.
    static void CloseWaitingForms() {
        for (int closed = 0; closed < kMostNestedForms; ++closed) {
            QWidget* modal = QApplication::activeModalWidget();
            if (!modal)
                return;
            if (auto* dialog = qobject_cast<QDialog*>(modal))
                dialog->reject();
            else
                modal->close();
        }
    }

    void Finish(int status) {
        if (m_finished)
            return;
        m_finished = true;
        m_status = status;
        m_loop.exit(status);
        if (status == UnattendedExit::TimedOut)
            CloseWaitingForms();
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
    bool m_endKeyPressed = false;
    int m_runLoopLevel = 1; // the loop level of the run's own loop
    bool m_nextSession = false;
    bool m_firstSession = true;
    bool m_started = false;
    QPointer<fCodes> m_codes;
    bool m_entryWaits = false; // the subject form is on the screen, its OK not yet taken
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

// The last resort of --timeout: a run that neither returns to an event loop nor leaves the one
// it is in (a program it waits for, a blocked device) is ended from outside, some time after the
// timer that stops a run in the usual way was due.
class TimeoutGuard {
public:
    explicit TimeoutGuard(int timeoutSeconds) {
        if (timeoutSeconds <= 0)
            return;
        const auto limit = std::chrono::seconds(timeoutSeconds) + kGrace;
        m_thread = std::thread([this, limit] {
            std::unique_lock lock(m_mutex);
            if (m_ended.wait_for(lock, limit, [this] { return m_done; }))
                return;
            static const char kNote[] =
                "corvane: the run did not stop when its time was up; it is ended\n";
            [[maybe_unused]] const auto written = ::write(STDERR_FILENO, kNote, sizeof kNote - 1);
            std::_Exit(UnattendedExit::TimedOut);
        });
    }
    ~TimeoutGuard() {
        if (!m_thread.joinable())
            return;
        {
            const std::lock_guard lock(m_mutex);
            m_done = true;
        }
        m_ended.notify_one();
        m_thread.join();
    }
    TimeoutGuard(const TimeoutGuard&) = delete;
    TimeoutGuard& operator=(const TimeoutGuard&) = delete;

private:
    static constexpr std::chrono::seconds kGrace{10};
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_done = false;
    std::thread m_thread;
};

// Every voice key of the run hears the file from its own start, at the pace of the run clock.
bool FeedVoiceInput(const QString& path, QTextStream& err) {
    QString why;
    const auto samples = FedSampleSource::ReadSamples(path, &why);
    if (!samples) {
        err << path << ": the voice input can not be used (" << why << ")" << Qt::endl;
        return false;
    }
    SetVoiceInput([samples = *samples](RunClock& clock) {
        return std::make_unique<FedSampleSource>(clock, samples);
    });
    return true;
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

    if (!options.voiceInput.isEmpty() && !FeedVoiceInput(options.voiceInput, err))
        return UnattendedExit::NotStarted;

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
    session.SetProgramPolicy(options.allowPrograms ? ProgramPolicy::Allow : ProgramPolicy::Refuse);
    if (!options.wallClockStart.isEmpty())
        session.SetWallClockStart(QDateTime::fromString(options.wallClockStart, Qt::ISODate));
    session.SetCharsetOverride(
        SettingsStore::Get(QStringLiteral("Corvane"), QStringLiteral("CharacterSet"), -1).toInt());
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
    TimeoutGuard guard(options.timeoutSeconds);
    const int status = runner.Run();
    log.flush();
    return status;
}

} // namespace corvane
