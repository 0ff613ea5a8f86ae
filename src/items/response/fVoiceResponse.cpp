#include "items/response/fVoiceResponse.h"

#include "definitions/number_reading.h"
#include "devices/clAudioRT.h"
#include "engine/key_codes.h"
#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "state/error.h"
#include "state/run_state.h"

#include <QDir>
#include <QFrame>
#include <QKeyEvent>
#include <QPushButton>

namespace corvane {

namespace {

constexpr TwipRect kWarning{5280, 144, 492, 300};
constexpr TwipRect kTripShape{4800, 120, 372, 252};

bool IsNumber(const QString& text) {
    bool ok = false;
    text.trimmed().toDouble(&ok);
    return ok;
}

} // namespace

fVoiceResponse::fVoiceResponse(RunContext& run)
    : ChoiceForm(run, QStringLiteral("fVoiceResponse"),
                 ChoiceDesign{QStringLiteral("chkResponse"), 10.8, false, false, true, true}) {
    rtOK = new QFrame(Picture1);
    rtOK->setObjectName(QStringLiteral("rtOK"));
    rtOK->setAutoFillBackground(true);
    QPalette look = rtOK->palette();
    look.setColor(QPalette::Window, Qt::green);
    rtOK->setPalette(look);
    rtOK->setFrameShape(QFrame::Box);
    rtOK->hide();
}

fVoiceResponse::~fVoiceResponse() = default;

void fVoiceResponse::Load() {
    Question& item = Item();
    // Any count that is not a number, "none" and an empty one too, means no boxes.
    if (!IsNumber(item.Parameters))
        item.Parameters = QStringLiteral("0");
    m_voiceStop = false;
    m_voiceDone = false;
    m_boxTicked = 0;
    m_itemReady = false;
    PlaceFrameControls();
    PlaceDesign(lWarning, kWarning);
    PlaceDesign(rtOK, kTripShape);
    RunState& state = State();
    const double points = ReadNumber(item.Parameters);
    m_variableCount = points > 0 ? 2 : 1;
    try {
        state.Variables.SetVariableCount(state.CurrentQuestionnaire, state.CurrentQuestion,
                                         m_variableCount);
    } catch (const CorvaneError& error) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(), error.description(), BoxIcon::Critical});
    }
    LayOut(qBound(0, int(points), kPoints));
    PrepareAndShow(true);
    // The form has been drawn by now (the reveal waits for the screen): the key starts, as at
    // the form's first painting.
    RunVoiceKey();
}

// A form that goes before its key has stopped (the run ended by the operator) keeps the voice
// time and the recording all the same.
void fVoiceResponse::hideEvent(QHideEvent* event) {
    if (m_key && !m_voiceDone)
        FinishVoiceKey();
    ChoiceForm::hideEvent(event);
}

// data/voice/<subject>/<file> under the experiment's folder, also with an alternate data
// folder; none for "none", an empty name, a name with a colon, or an absolute path.
QString fVoiceResponse::RecordingPath() const {
    const QString name = Item().FileName.trimmed();
    if (name.isEmpty() || name.toLower() == QLatin1String("none") ||
        name.contains(QLatin1Char(':')) || QDir::isAbsolutePath(name))
        return {};
    const RunState& state = State();
    return state.ExperimentFolder + QStringLiteral("/data/voice/") + state.SubjectID +
           QStringLiteral("/") + name;
}

void fVoiceResponse::RunVoiceKey() {
    if (m_key)
        return;
    const Question& item = Item();
    m_key = std::make_unique<clAudioRT>(State(), item.VariableName);
    m_key->Tripped = [this] { rtOK->show(); };
    m_key->audioRTinitialize();
    m_key->getAudioRT(item.Duration, item.RangeHigh, RecordingPath());
    if (m_voiceStop)
        FinishVoiceKey();
}

void fVoiceResponse::SetVoiceStop() {
    m_voiceStop = true;
    if (m_key)
        FinishVoiceKey();
}

void fVoiceResponse::FinishVoiceKey() {
    if (m_voiceDone || !m_key)
        return;
    m_voiceDone = true;
    const qint32 voiceTime = m_key->Stop();
    StoreTime(1, voiceTime);
    StoreValue(1, m_key->RecordingKept() ? Item().FileName : QStringLiteral("voice"), false);
    m_key->audioRTCleanUp();
    StopTimer();
}

void fVoiceResponse::ResponseClicked(int index, qint32 itemEnd) {
    Q_UNUSED(index);
    if (m_boxTicked >= 1)
        return;
    RunState& state = State();
    state.ItemEnd = itemEnd;
    if (lQuestion->text().isEmpty() || Elapsed(state.ItemStart, itemEnd) <= 200)
        return;
    // A tick can't be undone: the boxes go out of reach.
    m_boxTicked = 1;
    for (int n = 1; n <= m_points; ++n)
        m_controls[std::size_t(n)]->setEnabled(false);
    StoreTime(2, Elapsed(state.ItemStart, itemEnd));
}

bool fVoiceResponse::ItemKey(QKeyEvent* event, qint32 eventTime) {
    KeyDown(KeyCodeOf(event->key(), event->modifiers()), event->modifiers(), eventTime);
    return true; // the form has the whole keyboard
}

void fVoiceResponse::KeyDown(int keyCode, Qt::KeyboardModifiers modifiers, qint32 itemEnd) {
    RunState& state = State();
    if (Elapsed(state.ItemStart, state.Clock().Now()) >= 200) {
        if (keyCode == 32 && Bar1->State(QStringLiteral("Continue")) == 0)
            return ToolClick(QStringLiteral("Continue"));
        if (keyCode == 8 && Bar1->State(QStringLiteral("GoBack")) == 0)
            return ToolClick(QStringLiteral("GoBack"));
    }
    if (keyCode == 39)
        return Driver().OperatorKeys(modifiers.testFlag(Qt::ControlModifier),
                                     modifiers.testFlag(Qt::AltModifier));
    if (!m_itemReady || lQuestion->text().isEmpty() || Elapsed(state.ItemStart, itemEnd) <= 200)
        return;
    state.ResponseIndex = DecodeScaleKey(keyCode, state.ResponseIndex);
    const double v = ReadNumber(state.ResponseIndex);
    if (v > 0 && v <= m_points)
        m_controls[std::size_t(v)]->setChecked(true); // its click handler takes the tick
}

void fVoiceResponse::ToolClick(const QString& key) {
    // Any tool stops the key first; only once the voice step is over does a tool act.
    const bool voiceWasDone = m_voiceDone;
    SetVoiceStop();
    if (!voiceWasDone)
        return;
    ClickSound(QStringLiteral("CLICK"));
    GoBackOrContinue(key);
}

void fVoiceResponse::Continue() {
    if (m_variableCount > 1)
        StoreTick();
    StopTimer();
    Unload();
    RunState& state = State();
    state.SkipTarget = Item().skips[1];
    if (ReadNumber(state.ResponseIndex) > 0)
        state.SkipTarget = SkipOfLatestChoice();
    Driver().NextQuestion();
}

// The number of the box ticked, or the answer typed for a "<specify>" box, which later
// wordings may quote.
void fVoiceResponse::StoreTick() {
    QString quoted;
    for (int n = 1; n <= m_points; ++n) {
        if (!m_controls[std::size_t(n)]->isChecked())
            continue;
        quoted = lText[std::size_t(n)]->text();
        StoreValue(2, QString::number(n), false);
        if (Item().textlabel[std::size_t(n)].contains(kSpecify)) {
            quoted = AskSpecified(n);
            StoreValue(2, quoted, true);
        }
    }
    State().AddInsert(Item().VariableName, quoted);
}

void fVoiceResponse::StoreValue(int k, const QString& value, bool asText) {
    if (const std::optional<QString> problem = KeepAnswer(k, value, asText)) {
        RunState& state = State();
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("The answer to variable %1 of the voice item '%2' can't be kept: %3.")
                .arg(k)
                .arg(Item().VariableName, *problem),
            BoxIcon::Warning});
    }
}

void fVoiceResponse::StoreTime(int k, qint32 ms) {
    RunState& state = State();
    try {
        state.StoreResponseTime(state.CurrentQuestionnaire, state.CurrentQuestion, k, ms);
    } catch (const CorvaneError&) {
        // Beyond the tables' last variable there is no cell for it; the time isn't kept.
    }
}

void fVoiceResponse::Timer1_Timer() {
    RunState& state = State();
    if (Elapsed(state.ItemStart, state.Clock().Now()) <= Item().Duration)
        return;
    StopTimer();
    ToolClick(QStringLiteral("Continue"));
}

} // namespace corvane
