#include "items/media/fExecutable.h"

#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "items/media/program_start.h"
#include "state/helpers.h"
#include "state/run_state.h"

#include <QKeyEvent>
#include <QProcess>
#include <QPushButton>

namespace corvane {

namespace {

constexpr TwipRect kLabel{600, 3000, 8400, 900};
// A click in the moment of a program's start or end doesn't count.
constexpr qint32 kLeastRunMs = 5000;

bool IsQuote(QChar c) {
    return c == QLatin1Char('"') || c == QLatin1Char('\'');
}

} // namespace

fExecutable::fExecutable(RunContext& run) : ItemForm(run, QStringLiteral("fExecutable")) {
    Label1 = new QLabel(Picture1);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setWordWrap(true);
    Label1->setAlignment(Qt::AlignCenter);
    Label1->hide();
}

void fExecutable::TakeHandOver() {
    const RunState& state = State();
    if (state.CurrentQuestion < 1) {
        const FileEntry& entry = state.Files[std::size_t(state.CurrentFile)];
        m_execFile = entry.File;
        m_execCommand = entry.ConditionAppend;
        m_execDuration = entry.Duration;
        return;
    }
    const Question& item = Item();
    m_execDuration = item.Duration;
    if (item.QuestionType == QLatin1String("inquisit session")) {
        m_execFile = ProgramInRegisteredFolder(QStringLiteral("Inquisit.exe"),
                                               QStringLiteral("inquisit.exe"));
        m_execCommand = item.FileName;
    } else {
        m_execFile = item.FileName;
        m_execCommand = item.ConditionAppend;
    }
}

void fExecutable::Load() {
    RunState& state = State();
    TakeHandOver();
    m_isInquisit = m_execFile.right(12).toLower() == QLatin1String("inquisit.exe");
    PrepareForm();
    ApplyFormGeometry();
    PrepareBackground();
    if (!m_isInquisit)
        PrepareNavigationBar(m_execDuration == 0);
    PlaceDesign(Label1, kLabel);
    ApplyStyle(Label1, Run().question, false);
    Label1->setText(state.Messages[14]);
    state.ItemStart = ShowAndRead();
    if (m_execDuration > 0)
        m_timer1 = state.Clock().Every(1000, [this] {
            if (Elapsed(State().ItemStart, State().Clock().Now()) > m_execDuration)
                EndRoutine();
        });
    if (m_isInquisit) {
        m_inquisitTimer = state.Clock().Every(3000, [this] { InquisitTimer_Timer(); });
        Label1->setText(QStringLiteral("Please wait..."));
        Label1->show();
        return;
    }
    StartProgram();
}

QString fExecutable::NamedIn() const {
    const RunState& state = State();
    if (state.CurrentQuestion < 1)
        return state.ExperimentFile;
    const auto found =
        FindFile(state.ExperimentFolder + QLatin1Char('/') + state.QuestionnaireFile);
    return found ? *found : state.QuestionnaireFile;
}

bool fExecutable::Start(const QString& file, const QString& command) {
    RunState& state = State();
    QString found = FindProgram(file, state.ExperimentFolder);
    if (found.isEmpty())
        found = AppPathsProgram(file); // the retry by the settings' program folders
    if (found.isEmpty()) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(), ProgramNotFoundText(file), BoxIcon::None});
        return false;
    }
    const ProgramCall call = CallOf(found, QProcess::splitCommand(command));
    if (!Run().mayStartProgram ||
        !Run().mayStartProgram(found, call.arguments.join(QLatin1Char(' ')), NamedIn())) {
        PassOverRefused();
        return false;
    }
    const StartResult result = StartCall(call, state.ExperimentFolder);
    if (result.fault == StartFault::NotFound) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(), ProgramNotFoundText(file), BoxIcon::None});
        return false;
    }
    if (result.fault != StartFault::None) {
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("The program '") + found + QStringLiteral("' could not be started: ") +
                result.reason +
                QStringLiteral(". Use Continue to go on; to fix this, correct the program in the "
                               "experiment or give it the run permission (chmod +x)."),
            BoxIcon::Warning});
        return false;
    }
    return true;
}

void fExecutable::StartProgram() {
    RunState& state = State();
    // The window's style can't be chosen for another program on Linux; " max" is only cut.
    QString command = m_execCommand;
    if (command == QLatin1String("max"))
        command = QStringLiteral(" max");
    if (command.endsWith(QLatin1String(" max")))
        command.chop(4);
    if (m_execFile.toLower().endsWith(QLatin1String("executetachyra.exe")))
        command = QLatin1Char('/') + state.SubjectID + QLatin1Char(',') + state.ConditionID +
                  QLatin1Char(',') + command + QStringLiteral(",all");
    state.ItemStart = state.Clock().Now();
    if (!Start(m_execFile, command)) {
        if (!m_passedOver)
            EndRoutine(); // within the first seconds it leaves the form for Continue
        return;
    }
    Label1->show();
}

void fExecutable::InquisitTimer_Timer() {
    if (m_inquisitStarted) {
        Label1->setText(State().Messages[14]);
        m_inquisitTimer.reset();
        return;
    }
    m_inquisitStarted = true;
    QString command = m_execCommand;
    if (command.isEmpty() || !IsQuote(command.front()))
        command.prepend(QLatin1Char('"'));
    if (!IsQuote(command.back()) || command.size() == 1)
        command.append(QLatin1Char('"'));
    command = State().SubjectID + QLatin1Char(' ') + command;
    PrepareNavigationBar(true);
    if (QWidget* button = Bar1->Button(QStringLiteral("Continue")))
        button->show();
    Start(m_execFile, command);
}

void fExecutable::PassOverRefused() {
    m_passedOver = true;
    m_timer1.reset();
    m_inquisitTimer.reset();
    PassOver();
}

void fExecutable::EndRoutine() {
    RunState& state = State();
    state.ItemEnd = state.Clock().Now();
    if (Elapsed(state.ItemStart, state.ItemEnd) < kLeastRunMs)
        return;
    m_timer1.reset();
    m_inquisitTimer.reset();
    const QString skip = Item().skip;
    Unload();
    Driver().EndItem(QStringLiteral("ok"), skip);
}

void fExecutable::ToolClick(const QString& key) {
    ClickSound(QStringLiteral("CLICK"));
    if (key == QLatin1String("GoBack")) {
        m_timer1.reset();
        m_inquisitTimer.reset();
        Unload();
        Driver().GoBack();
    } else if (key == QLatin1String("Continue")) {
        EndRoutine();
    }
}

bool fExecutable::ItemKey(QKeyEvent* event, qint32) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (Bar1->State(QStringLiteral("Continue")) == 0)
            EndRoutine();
        return true;
    }
    return false;
}

} // namespace corvane
