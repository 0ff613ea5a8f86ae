#include "items/response/fThoughtListing.h"

#include "definitions/number_reading.h"
#include "engine/run_driver.h"
#include "items/response/limited_text_box.h"
#include "state/checked_int.h"
#include "state/error.h"
#include "state/run_state.h"

#include <QKeyEvent>

namespace corvane {

namespace {

constexpr TwipRect kQuestion{300, 300, 8445, 2895};
constexpr TwipRect kNumber{120, 3840, 492, 432};
constexpr TwipRect kBox{720, 3816, 7812, 852};
constexpr TwipRect kHint{1560, 4800, 6948, 468};
// An entry is one cell of the data files: a generous bound keeps it one that spreadsheets and
// statistics packages still read whole.
constexpr int kMostCharacters = 32767;

TextStyle EntryLook(TextStyle style) {
    style.family = QStringLiteral("MS Sans Serif");
    style.pointSize = 9.6;
    style.bold = true;
    return style;
}

} // namespace

fThoughtListing::fThoughtListing(RunContext& run)
    : ItemForm(run, QStringLiteral("fThoughtListing")) {
    Label1 = new QLabel(Picture1);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label2 = new QLabel(Picture1);
    Label2->setObjectName(QStringLiteral("Label2"));
    Label2->setWordWrap(true);
    TextThoughtBox = new LimitedTextBox(Picture1);
    TextThoughtBox->setObjectName(QStringLiteral("TextThoughtBox"));
    TextThoughtBox->SetMaxLength(kMostCharacters);
    TextThoughtBox->setTabChangesFocus(true);
}

fThoughtListing::~fThoughtListing() = default;

void fThoughtListing::Load() {
    RunState& state = State();
    Question& item = Item();
    m_firstKeyPending = true;
    m_size = RoundToInt16(ReadNumber(item.Parameters));
    if (!IsTrue(item.Answered)) {
        // The item is new to this run: its list is opened.
        state.OpenThoughtList(item.VariableName, m_size);
        state.Variables.SetVariableCount(state.CurrentQuestionnaire, state.CurrentQuestion, m_size);
    }
    ApplyFormGeometry();
    PlaceDesign(lQuestion, kQuestion);
    PlaceDesign(Label1, kNumber);
    PlaceDesign(TextThoughtBox, kBox);
    PlaceDesign(Label2, kHint);
    PrepareForm();
    TextStyle labels = Run().question;
    labels.bold = false;
    labels.italic = false;
    ApplyStyle(Label1, labels, false);
    ApplyStyle(Label2, labels, false);
    ApplyStyle(TextThoughtBox, EntryLook(Run().response), true);
    PrepareNavigationBar(false);
    PrepareBackground();
    lQuestion->show();
    lQuestion->setText(item.WordingShown);
    state.FirstVariable = state.ResponseSlot;
    Label1->setText(QStringLiteral("1."));
    Label2->setText(state.Messages[12]);
    state.ThoughtListStart = ShowAndRead();
    state.ItemStart = state.ThoughtListStart;
    TextThoughtBox->setFocus();
    if (item.Duration > 0)
        m_timer1 = state.Clock().Every(1000, [this] { Timer1_Timer(); });
}

bool fThoughtListing::ItemKey(QKeyEvent* event, qint32 eventTime) {
    if (Item().KeepFocus == 1 && m_firstKeyPending) {
        m_firstKeyTime = eventTime;
        m_firstKeyPending = false;
    }
    const int key = event->key();
    // Escape ends the entry as Enter does; the list goes on.
    if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape) {
        EndEntry(eventTime);
        return true;
    }
    const QString text = event->text();
    if (!text.isEmpty() && text.at(0).isPrint() && TextThoughtBox->Full())
        TellMostCharactersTyped(State()); // the box refuses the character itself
    return false;
}

void fThoughtListing::EndEntry(qint32 itemEnd) {
    RunState& state = State();
    const Question& item = Item();
    state.ItemEnd = itemEnd;
    const QString text = TextThoughtBox->toPlainText();
    if (text.isEmpty()) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(), state.Messages[8], BoxIcon::Information});
        return;
    }
    // The next number shows at once, also after the last entry.
    Label1->setText(QString::number(state.ResponseSlot + 1) + QLatin1Char('.'));
    StoreEntry(text);
    state.AddThought(state.ThoughtListsShown, state.ResponseSlot, text);
    if (m_size == state.ResponseSlot) {
        m_timer1.reset();
        const QString skip = item.skip;
        Unload();
        state.SkipTarget = skip;
        Driver().NextQuestion();
        return;
    }
    Increment(state.ResponseSlot);
    TextThoughtBox->clear();
    TextThoughtBox->setFocus();
    state.ItemStart = state.Clock().Now();
    m_firstKeyPending = true;
}

void fThoughtListing::StoreEntry(const QString& text) {
    RunState& state = State();
    const int q = state.CurrentQuestionnaire;
    const int i = state.CurrentQuestion;
    const int k = state.ResponseSlot;
    const qint32 end = Item().KeepFocus == 1 ? m_firstKeyTime : state.ItemEnd;
    try {
        state.StoreResponse(q, i, k, text);
        state.StoreResponseTime(q, i, k, Elapsed(state.ItemStart, end));
    } catch (const CorvaneError& error) {
        // Entries made on a second visit may go past the columns of the list's size.
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("Entry %1 of the item '%2' can't be kept in the data: %3. It is kept "
                           "for the rating that follows; give the item a larger n in the "
                           "questionnaire to keep every entry.")
                .arg(k)
                .arg(Item().VariableName, error.description()),
            BoxIcon::Warning});
    }
}

void fThoughtListing::Timer1_Timer() {
    RunState& state = State();
    const Question& item = Item();
    if (Elapsed(state.ThoughtListStart, state.Clock().Now()) <= item.Duration)
        return;
    // The limit is on the whole list; the text in the box now is not kept.
    m_timer1.reset();
    state.Boxes().Show(MessageBox{DefaultBoxTitle(), state.Messages[9], BoxIcon::Information});
    const QString skip = item.skip;
    Unload();
    state.SkipTarget = skip;
    Driver().NextQuestion();
}

void fThoughtListing::Unloading() {
    m_timer1.reset();
    // The sequencer finds the item's last variable, whatever number of entries was made.
    RunState& state = State();
    state.ResponseSlot = qint16(m_size + state.FirstVariable - 1);
}

void fThoughtListing::ToolClick(const QString& key) {
    ClickSound(QStringLiteral("CLICK"));
    if (key == QLatin1String("GoBack")) {
        m_timer1.reset();
        Unload();
        Driver().GoBack();
    }
}

} // namespace corvane
