#include "items/response/fMultResp.h"

#include "definitions/number_reading.h"
#include "engine/key_codes.h"
#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QKeyEvent>
#include <QPushButton>

namespace corvane {

fMultResp::fMultResp(RunContext& run)
    : ChoiceForm(run, QStringLiteral("fMultResp"),
                 ChoiceDesign{QStringLiteral("chkResponse"), 10.8, false, false, true}) {}

void fMultResp::Load() {
    m_itemReady = false;
    PlaceFrameControls();
    const Question& item = Item();
    // Only the question mark is caught: an empty count or "none" shows a list without options.
    if (item.Parameters == QLatin1String("?"))
        return NoPointsGiven();
    RunState& state = State();
    m_variableCount = SingleMode() ? 1 : RoundToInt16(ReadNumber(item.Parameters));
    try {
        state.Variables.SetVariableCount(state.CurrentQuestionnaire, state.CurrentQuestion,
                                         m_variableCount);
    } catch (const CorvaneError& error) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(), error.description(), BoxIcon::Critical});
    }
    LayOut(qBound(0, int(ReadNumber(item.Parameters)), kPoints)); // more than twelve: twelve show
    WarnOfUnreachableLimit();
    PrepareAndShow(true);
}

bool fMultResp::SingleMode() const {
    return Item().RangeLow == 1 && Item().RangeHigh == 1;
}

void fMultResp::NoPointsGiven() {
    PassOverWithStaleChoice(
        QStringLiteral("The current multiple response item has no parameter value. "
                       "Edit the current questionnaire and add a parameter value for "
                       "this item.  For example, a value of (p5) would result in 5 "
                       "choice options."));
}

// A lower limit above the options shown could never be met, and the participant would be held
// for good: the operator is told, and the item goes on without that limit.
void fMultResp::WarnOfUnreachableLimit() {
    Question& item = Item();
    if (item.RangeLow <= m_points)
        return;
    State().Boxes().Show(MessageBox{
        State().MessageTitle(),
        QStringLiteral("The multiple response item '%1' asks for at least %2 choices but offers "
                       "%3 options, so it could never be answered. It is shown without its lower "
                       "limit. Edit the current questionnaire: give the item a p parameter of at "
                       "least %2, or lower the first number of its r parameter.")
            .arg(item.VariableName)
            .arg(item.RangeLow)
            .arg(m_points),
        BoxIcon::Warning});
    item.RangeLow = 0;
}

bool fMultResp::IsChecked(int n) const {
    return m_controls[std::size_t(n)]->isChecked();
}

int fMultResp::CheckedCount() const {
    int total = 0;
    for (int n = 1; n <= m_points; ++n)
        total += IsChecked(n) ? 1 : 0;
    return total;
}

// The search is for the last seven letters of the mark, so "<Specify>" counts too.
bool fMultResp::IsSpecified(int n) const {
    return Item().textlabel[std::size_t(n)].contains(QLatin1String("pecify>"));
}

void fMultResp::ShowLimitMessage(int messageCode) {
    State().Boxes().Show(MessageBox{
        State().MessageTitle(), State().Messages[std::size_t(messageCode)], BoxIcon::Information});
}

void fMultResp::ResponseClicked(int index, qint32 itemEnd) {
    if (!m_itemReady)
        return;
    RunState& state = State();
    state.ItemEnd = itemEnd;
    const Question& item = Item();
    if (item.RangeHigh >= 1 && CheckedCount() > item.RangeHigh && IsChecked(index)) {
        // One too many: the box takes its value back, which comes through here once more.
        m_controls[std::size_t(index)]->setChecked(false);
        ShowLimitMessage(21);
    }
    // In the first 200 ms the value changes but the look stays, and no time is taken.
    if (Elapsed(state.ItemStart, state.ItemEnd) > 200 && !lQuestion->text().isEmpty()) {
        if (IsChecked(index))
            StoreTime(index, state.ItemEnd);
        ShowLook(index);
    }
}

void fMultResp::ShowLook(int n) {
    QPushButton* box = m_controls[std::size_t(n)];
    if (IsChecked(n)) {
        box->setText(QString());
        const QPixmap check(ProgramFolder::FilePath(QStringLiteral("graphics/check.ico")));
        box->setIcon(QIcon(check));
        box->setIconSize(box->size() * 0.8);
    } else {
        box->setIcon(QIcon());
        box->setText(Item().pointlabel[std::size_t(n)]);
    }
}

bool fMultResp::ItemKey(QKeyEvent* event, qint32 eventTime) {
    KeyDown(KeyCodeOf(event->key(), event->modifiers()), event->modifiers(), eventTime);
    return true; // the form has the whole keyboard
}

void fMultResp::KeyDown(int keyCode, Qt::KeyboardModifiers modifiers, qint32 itemEnd) {
    RunState& state = State();
    if (Elapsed(state.ItemStart, state.Clock().Now()) >= 200) {
        if (keyCode == 32 && Bar1->State(QStringLiteral("Continue")) == 0)
            return ToolClick(QStringLiteral("Continue"));
        if (keyCode == 8 && Bar1->State(QStringLiteral("GoBack")) == 0)
            return ToolClick(QStringLiteral("GoBack"));
    }
    if (!m_itemReady)
        return;
    state.ItemEnd = itemEnd;
    if (!lQuestion->text().isEmpty() && Elapsed(state.ItemStart, itemEnd) > 200) {
        state.ResponseIndex = DecodeScaleKey(keyCode, state.ResponseIndex);
        const double v = ReadNumber(state.ResponseIndex);
        if (v > 0 && v <= m_points) {
            const int n = int(v);
            const int rangeHigh = Item().RangeHigh;
            const bool over = rangeHigh > 0 && CheckedCount() > rangeHigh;
            // Each change of a box runs its click handler, which holds the upper limit.
            if (over && IsChecked(n)) {
                m_controls[std::size_t(n)]->setChecked(false);
                ShowLimitMessage(21);
            } else if (IsChecked(n)) {
                m_controls[std::size_t(n)]->setChecked(false);
            } else {
                m_controls[std::size_t(n)]->setChecked(true);
                StoreTime(n, itemEnd);
            }
        }
    }
    if (keyCode == 39)
        Driver().OperatorKeys(modifiers.testFlag(Qt::ControlModifier),
                              modifiers.testFlag(Qt::AltModifier));
}

void fMultResp::ToolClick(const QString& key) {
    ClickSound(QStringLiteral("CLICK"));
    GoBackOrContinue(key);
}

void fMultResp::Continue() {
    if (CheckedCount() < Item().RangeLow) {
        ShowLimitMessage(20); // the item stays
        return;
    }
    // The coding follows the item's count of variables: a list of one option is coded as a
    // single choice too.
    if (m_variableCount == 1)
        StoreTheChoice();
    else
        StoreEachOption();
    StopTimer();
    Unload();
    // The latest choice is set by keys only: after the mouse it is an earlier item's, and the
    // jump follows it all the same.
    RunState& state = State();
    state.SkipTarget =
        ReadNumber(state.ResponseIndex) > 0 ? SkipOfLatestChoice() : QStringLiteral("none");
    Driver().NextQuestion();
}

// Multiple coding: 0 or 1 for every option, or the typed text of a chosen "specify" option.
void fMultResp::StoreEachOption() {
    for (int n = 1; n <= m_points; ++n) {
        if (IsChecked(n) && IsSpecified(n))
            StoreValue(n, AskSpecified(n), true);
        else
            StoreValue(n, IsChecked(n) ? QStringLiteral("1") : QStringLiteral("0"), false);
    }
}

// Single coding: the number of the chosen option, which later wordings may quote by its label.
void fMultResp::StoreTheChoice() {
    RunState& state = State();
    QString quoted;
    for (int n = 1; n <= m_points; ++n) {
        if (!IsChecked(n))
            continue;
        quoted = lText[std::size_t(n)]->text();
        if (IsSpecified(n)) {
            quoted = AskSpecified(n);
            StoreValue(state.ResponseSlot, quoted, true);
        } else {
            StoreValue(state.ResponseSlot, QString::number(n), false);
        }
    }
    state.AddInsert(Item().VariableName, quoted);
}

void fMultResp::StoreValue(int k, const QString& value, bool asText) {
    if (const std::optional<QString> problem = KeepAnswer(k, value, asText)) {
        RunState& state = State();
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("The answer to option %1 of item '%2' can't be kept: %3. Write the "
                           "item's type as 'Multiple Response' in the questionnaire, so that "
                           "its options get data columns.")
                .arg(k)
                .arg(Item().VariableName, *problem),
            BoxIcon::Warning});
    }
}

// The time of an option is that of its latest check; in single coding it lands at the
// option's own place, beside the item's one variable.
void fMultResp::StoreTime(int n, qint32 itemEnd) {
    RunState& state = State();
    try {
        state.StoreResponseTime(state.CurrentQuestionnaire, state.CurrentQuestion, n,
                                Elapsed(state.ItemStart, itemEnd));
    } catch (const CorvaneError&) {
        // Beyond the tables' last variable there is no cell for it; the time isn't kept.
    }
}

void fMultResp::Timer1_Timer() {
    RunState& state = State();
    const Question& item = Item();
    const qint32 sinceStart = Elapsed(state.ItemStart, state.Clock().Now());
    if (sinceStart > item.Duration) {
        lWarning->hide();
        state.Boxes().Show(MessageBox{state.Messages[15], state.Messages[1], BoxIcon::Information});
        // With too few options chosen the item stays, and the next tick asks again.
        ToolClick(QStringLiteral("Continue"));
    } else if (item.Duration >= 29001 && sinceStart > item.Duration - 10000) {
        CountDown(10);
    }
}

} // namespace corvane
