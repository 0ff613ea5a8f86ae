#include "items/response/fEssay.h"

#include "definitions/number_reading.h"
#include "engine/key_codes.h"
#include "engine/run_driver.h"
#include "items/response/limited_text_box.h"
#include "output/essay_files.h"
#include "state/run_state.h"

#include <QKeyEvent>

namespace corvane {

namespace {

constexpr TwipRect kQuestion{300, 285, 8445, 6045};
constexpr TwipRect kText{240, 1440, 8835, 4845};
constexpr int kEscape = 27;

} // namespace

fEssay::fEssay(RunContext& run) : TypingForm(run, QStringLiteral("fEssay")) {
    Text1 = new LimitedTextBox(Picture1);
    Text1->setObjectName(QStringLiteral("Text1"));
}

void fEssay::Load() {
    const Question& item = Item();
    ForgetFirstKey();
    ApplyFormGeometry();
    PlaceDesign(lQuestion, kQuestion);
    PlaceDesign(Text1, kText);
    PrepareForm();
    ApplyStyle(Text1, Run().response, true);
    PrepareNavigationBar(item.Duration == 0);
    PrepareBackground();
    PlaceText1();
    const double most = ReadNumber(item.Parameters);
    if (most > 0)
        Text1->SetMaxLength(int(qMin(most, double(INT_MAX))));
    lQuestion->setText(item.WordingShown);
    State().ItemStart = ShowAndRead();
    Text1->setFocus();
    if (item.Duration > 0)
        m_timer1 = State().Clock().Every(1000, [this] { Timer1_Timer(); });
}

// The item's own place of the box: each value above 0, in pixels, taken with the vertical
// twips per pixel for all four.
void fEssay::PlaceText1() {
    const Question& item = Item();
    TwipRect place{Text1->x() * TPX(), Text1->y() * TPY(), Text1->width() * TPX(),
                   Text1->height() * TPY()};
    if (item.Height > 0)
        place.height = item.Height * TPY();
    if (item.Top > 0)
        place.top = item.Top * TPY();
    if (item.Left > 0)
        place.left = item.Left * TPY();
    if (item.Width > 0)
        place.width = item.Width * TPY();
    PlaceTwips(Text1, place);
}

bool fEssay::ItemKey(QKeyEvent* event, qint32 eventTime) {
    QObject* target = TakeKeyTarget();
    NoteKey(eventTime);
    if (target != Text1)
        return false;
    return Text1_KeyDown(KeyCodeOf(event->key(), event->modifiers()), eventTime);
}

bool fEssay::Text1_KeyDown(int keyCode, qint32 eventTime) {
    RunState& state = State();
    const qint16 counted = Item().KeepFocus;
    if (counted > 1 && keyCode == counted)
        m_keyTimes.push_back(Elapsed(state.ItemStart, eventTime));
    if (keyCode != kEscape && keyCode != 8 && Text1->Full()) {
        TellMostCharactersTyped(state);
        return false; // the box refuses the character itself
    }
    if (keyCode != kEscape)
        return false; // Enter is an ordinary line break
    Finish(eventTime);
    return true;
}

void fEssay::Finish(qint32 itemEnd) {
    RunState& state = State();
    const Question& item = Item();
    state.ItemEnd = itemEnd;
    if (Text1->toPlainText().isEmpty()) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(), state.Messages[10], BoxIcon::Information});
        Text1->setFocus();
        return;
    }
    if (item.KeepFocus == 1)
        state.ItemEnd = FirstKeyTimeOr(state.ItemStart);
    m_timer1.reset();
    WriteSideFiles();
    const QString skip = item.skip;
    Unload();
    Driver().EndItem(QStringLiteral("ok"), skip);
}

void fEssay::WriteSideFiles() {
    RunState& state = State();
    const Question& item = Item();
    // The date and time are taken for each file on its own.
    auto settings = [this] {
        return Run().outputSettings ? Run().outputSettings()
                                    : CurrentDataOutputSettings(QString(), QString());
    };
    const DataOutputSettings forText = settings();
    AppendSideRecord(
        state, EssayFilePath(state, item.VariableName, forText.machineCode, QStringLiteral(".txt")),
        EssayRecord(state, forText, Text1->toPlainText()), QStringLiteral("the essay"),
        item.VariableName);
    if (item.KeepFocus <= 1)
        return;
    const DataOutputSettings forKeys = settings();
    AppendSideRecord(state,
                     EssayFilePath(state, item.VariableName, forKeys.machineCode,
                                   QStringLiteral("_keypress.csv")),
                     KeypressRecord(state, forKeys, m_keyTimes), QStringLiteral("the key log"),
                     item.VariableName);
}

void fEssay::ToolClick(const QString& key) {
    const qint32 now = TakeInputTime();
    ClickSound(QStringLiteral("CLICK"));
    if (key == QLatin1String("GoBack")) {
        m_timer1.reset();
        Unload();
        Driver().GoBack();
    } else if (key == QLatin1String("Continue")) {
        Text1_KeyDown(kEscape, now);
    }
}

void fEssay::Timer1_Timer() {
    const qint32 now = State().Clock().Now();
    if (Elapsed(State().ItemStart, now) <= Item().Duration)
        return;
    // So that the empty test passes: an essay under a limit always ends at the limit.
    if (Text1->toPlainText().isEmpty())
        Text1->setPlainText(QStringLiteral(" "));
    Text1_KeyDown(kEscape, now);
}

} // namespace corvane
