#include "items/response/fThoughtRate.h"

#include "definitions/number_reading.h"
#include "engine/run_driver.h"
#include "state/error.h"
#include "state/run_state.h"

#include <QPushButton>

namespace corvane {

namespace {

constexpr TwipRect kQuestion{336, 300, 8448, 6012};
// How long a point chosen by key stands out before the next thought.
constexpr int kShownChoiceMs = 100;

} // namespace

fThoughtRate::fThoughtRate(RunContext& run)
    : fScale(run, QStringLiteral("fThoughtRate"),
             ChoiceDesign{QStringLiteral("bResponse"), 9.6, true, true, false, false, false}) {}

fThoughtRate::~fThoughtRate() = default;

void fThoughtRate::Load() {
    m_itemReady = false;
    PlaceFrameControls();
    PlaceDesign(lQuestion, kQuestion);
    const std::optional<int> points = PointsOrPassOver();
    if (!points)
        return;
    LayOut(*points);
    PrepareAndShow(false);
}

QString fThoughtRate::Caption() const {
    const RunState& state = State();
    const QString thought = state.ThoughtText(state.CurrentThoughtList, state.ResponseSlot);
    const QString& wording = Item().WordingShown;
    QString caption = wording.toLower() == QLatin1String("none")
                          ? thought
                          : wording + QStringLiteral("\n\n") + thought;
    // Never empty, so that the response tests pass.
    return caption.isEmpty() ? QStringLiteral(" ") : caption;
}

void fThoughtRate::NextThought() {
    RevealAgain();
}

void fThoughtRate::Choose(int choice, const QString& value, bool byKey) {
    Store(value, false);
    if (!byKey)
        return GoOn();
    // The point chosen stands out for a moment; the keys meanwhile choose nothing.
    m_itemReady = false;
    if (QPushButton* chosen = m_controls[std::size_t(choice)])
        chosen->setFocus();
    m_shownChoice = State().Clock().After(kShownChoiceMs, [this] { GoOn(); });
}

void fThoughtRate::Unloading() {
    m_shownChoice.reset();
    fScale::Unloading();
}

void fThoughtRate::GoOn() {
    RunState& state = State();
    const Question& item = Item();
    const int index = int(ReadNumber(state.ResponseIndex));
    if (index >= 1 && index <= kPoints && item.textlabel[std::size_t(index)].contains(kSpecify)) {
        const auto typed = state.Boxes().Input(QStringLiteral("Please Specify"),
                                               QStringLiteral("You selected '") +
                                                   lText[std::size_t(index)]->text() +
                                                   QStringLiteral("'. Please specify..."),
                                               QString());
        Store(typed.value_or(QString()).isEmpty() ? QStringLiteral("<Cancel>") : *typed, true);
    }
    state.SkipTarget = SkipOfLatestChoice();
    const qint16 count = state.ShownListCounts[std::size_t(state.CurrentThoughtList)];
    if (count == state.ResponseSlot) {
        Unload();
        Driver().NextQuestion();
        return;
    }
    ++state.ResponseSlot;
    NextThought();
}

void fThoughtRate::Store(const QString& value, bool asText) {
    RunState& state = State();
    const int k = state.ResponseSlot;
    // A list that grew past its size when the participant went back to it has more thoughts
    // than the data have columns for.
    if (const std::optional<QString> problem =
            KeepAnswer(k, value, asText, Elapsed(state.ItemStart, state.ItemEnd))) {
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("The rating of thought %1 of the item '%2' can't be kept: %3. The "
                           "list it rates has more entries than its size (n) allows; give the "
                           "listing item a larger n in the questionnaire.")
                .arg(k)
                .arg(Item().VariableName, *problem),
            BoxIcon::Warning});
    }
}

} // namespace corvane
