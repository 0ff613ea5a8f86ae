#include "items/response/fScale.h"

#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "engine/key_codes.h"
#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "engine/screen_sync.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPushButton>

namespace corvane {

fScale::fScale(RunContext& run)
    : fScale(run, QStringLiteral("fScale"),
             ChoiceDesign{QStringLiteral("bResponse"), 9.6, true, true, false}) {}

fScale::fScale(RunContext& run, const QString& formName, const ChoiceDesign& design)
    : ChoiceForm(run, formName, design) {}

void fScale::Load() {
    m_itemReady = false;
    PlaceFrameControls();
    const std::optional<int> points = PointsOrPassOver();
    if (!points)
        return;
    LayOut(*points);
    PrepareAndShow(false);
}

std::optional<int> fScale::PointsOrPassOver() {
    const QString parameters = Item().Parameters;
    if (parameters == QLatin1String("?") || parameters.isEmpty() ||
        parameters.toLower() == QLatin1String("none")) {
        NoPointsGiven();
        return std::nullopt;
    }
    return qBound(0, int(ReadNumber(parameters)), kPoints); // more than twelve: twelve show
}

void fScale::NoPointsGiven() {
    PassOverWithStaleChoice(
        QStringLiteral("The current scale item response has no parameter value. "
                       "Edit the current questionnaire and add a parameter value "
                       "for this item.  For example, a value of (p5) would result "
                       "in 5 scale points."));
}

void fScale::ResponseClicked(int index, qint32 itemEnd) {
    if (!m_itemReady)
        return;
    State().ItemEnd = itemEnd;
    if (Elapsed(State().ItemStart, itemEnd) <= 100 || lQuestion->text().isEmpty())
        return;
    ClickSound(QStringLiteral("CLICK"));
    State().ResponseIndex = QString::number(index);
    Choose(index, QString::number(index), false);
}

void fScale::Choose(int choice, const QString& value, bool byKey) {
    if (!byKey && Item().skips[std::size_t(choice)] == Item().VariableName) {
        // A choice that would jump to this same item is refused, by mouse only.
        State().Boxes().Show(
            MessageBox{State().MessageTitle(), State().Messages[23], BoxIcon::Information});
        return;
    }
    RecordAndEnd(choice, value);
}

bool fScale::ItemKey(QKeyEvent* event, qint32 eventTime) {
    KeyResponse(KeyCodeOf(event->key(), event->modifiers(), KeyPlaceOf(*event)), event->modifiers(),
                eventTime);
    return true; // the form has the whole keyboard
}

void fScale::KeyResponse(int keyCode, Qt::KeyboardModifiers modifiers, qint32 itemEnd) {
    RunState& state = State();
    const qint32 now = state.Clock().Now();
    if (Elapsed(state.ItemStart, now) >= 200 && Run().keyNavigation && keyCode == 8 &&
        Bar1->State(QStringLiteral("GoBack")) == 0) {
        ToolClick(QStringLiteral("GoBack"));
        return;
    }
    if (!m_itemReady)
        return;
    state.ItemEnd = itemEnd;
    if (Elapsed(state.ItemStart, itemEnd) > 100 && !lQuestion->text().isEmpty()) {
        state.ResponseIndex = DecodeScaleKey(keyCode, state.ResponseIndex);
        const double v = ReadNumber(state.ResponseIndex);
        if (v > 0 && v <= m_points) {
            ClickSound(QStringLiteral("CLICK"));
            Choose(int(v), NumberToText(v), true);
            return;
        }
    }
    if (keyCode == 39)
        Driver().OperatorKeys(modifiers.testFlag(Qt::ControlModifier),
                              modifiers.testFlag(Qt::AltModifier));
}

void fScale::RecordAndEnd(int choice, const QString& value) {
    RunState& state = State();
    Question& item = Item();
    const QString& label = item.textlabel[std::size_t(choice)];
    QString response = value;
    QString quoted = label;
    if (label.contains(kSpecify)) {
        response = AskSpecified(choice);
        quoted = response;
        VariableColumn column = state.Variables.Column(state.CurrentQuestionnaire,
                                                       state.CurrentQuestion, state.ResponseSlot);
        column.type = 1;
        state.Variables.SetColumn(state.CurrentQuestionnaire, state.CurrentQuestion,
                                  state.ResponseSlot, column);
    }
    state.AddInsert(item.VariableName, quoted);
    WriteAnswerFile(label + QLatin1Char('~'));
    const QString skip = item.skips[std::size_t(int(ReadNumber(state.ResponseIndex)))];
    StopTimer();
    Unload();
    Driver().EndItem(response, skip);
}

void fScale::Timer1_Timer() {
    RunState& state = State();
    const Question& item = Item();
    const qint32 now = state.Clock().Now();
    const qint32 sinceStart = Elapsed(state.ItemStart, now);
    if (sinceStart > item.Duration) {
        lWarning->hide();
        StopTimer();
        if (!state.Messages[2].isEmpty())
            state.Boxes().Show(
                MessageBox{state.Messages[15], state.Messages[2], BoxIcon::Information});
        // As Control and Right Arrow: the sequencer moves on and nothing is recorded.
        KeyResponse(39, Qt::ControlModifier, state.Clock().Now());
        return;
    }
    const double w = ReadNumber(item.Bang);
    if (w > 0 && !lWarning->isVisible())
        lWarning->setText(item.Bang);
    if (w * 1000 > 1000) {
        if (sinceStart > item.Duration - w * 1000)
            CountDown(w);
    } else if (item.Duration >= 29001) {
        if (sinceStart > item.Duration - 10000)
            CountDown(10);
    }
}

void fScale::ToolClick(const QString& key) {
    ClickSound(QStringLiteral("CLICK"));
    // A scale has no Continue: a choice moves on.
    if (key == QLatin1String("GoBack"))
        GoBackOrContinue(key);
}

} // namespace corvane
