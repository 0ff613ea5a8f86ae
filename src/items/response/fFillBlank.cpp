#include "items/response/fFillBlank.h"

#include "definitions/number_reading.h"
#include "engine/key_codes.h"
#include "engine/run_driver.h"
#include "items/response/limited_text_box.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QLineEdit>
#include <QRegularExpression>
#include <QStyle>
#include <algorithm>

namespace corvane {

namespace {

constexpr TwipRect kQuestion{516, 600, 8184, 5820};
constexpr TwipRect kAnswer{540, 1980, 8175, 495};
constexpr TwipRect kHint{540, 2640, 8055, 495};
constexpr TwipRect kFirstBox{720, 2160, 341, 495};

// The key code as the mask boxes count it: a key that types a character the code table doesn't
// know counts among the typing keys.
int TypingKeyCode(const QKeyEvent* event) {
    const int code = KeyCodeOf(event->key(), event->modifiers());
    if (code == 0 && !event->text().isEmpty() && event->text().at(0).isPrint())
        return 255;
    return code;
}

bool IsNumberCharacter(QChar c) {
    return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('-');
}

bool MovesOrDeletes(int code) {
    return code == 37 || code == 39 || code == 46 || code == 8 || code == 36 || code == 35;
}

// A range written, but without effect: no dash between two numbers, or the high end below the
// low one. A written 0-0 means no range test and is no fault.
bool RangeUnreadable(const Question& item) {
    if (item.RangeText.isEmpty() || item.RangeLow != 0 || item.RangeHigh != 0)
        return false;
    static const QRegularExpression zeroToZero(
        QStringLiteral("^\\s*[-+]?0+(\\.0*)?\\s*-\\s*[-+]?0+(\\.0*)?\\s*$"));
    return !zeroToZero.match(item.RangeText).hasMatch();
}

} // namespace

fFillBlank::fFillBlank(RunContext& run) : TypingForm(run, QStringLiteral("fFillBlank")) {
    txFillBlank = new LimitedTextBox(Picture1);
    txFillBlank->setObjectName(QStringLiteral("txFillBlank"));
    txFillBlank->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    txFillBlank->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    txFillBlank->hide();
    lFillBlank = new QLabel(Picture1);
    lFillBlank->setObjectName(QStringLiteral("lFillBlank"));
    lFillBlank->setWordWrap(true);
    for (int j = 1; j <= kBoxes; ++j) {
        QLineEdit* box = new QLineEdit(Picture1);
        box->setObjectName(QStringLiteral("Box(%1)").arg(j));
        box->setMaxLength(1);
        box->setAlignment(Qt::AlignCenter);
        box->setTextMargins(0, 0, 0, 0);
        box->hide();
        Box[std::size_t(j)] = box;
    }
}

void fFillBlank::Load() {
    const Question& item = Item();
    ForgetFirstKey();
    if (!item.Mask.isEmpty() && !item.Mask.left(kBoxes).contains(QLatin1Char('*')))
        return PassOverMaskWithoutBlank();
    m_rangeTest = item.RangeLow != 0 || item.RangeHigh != 0;
    if (RangeUnreadable(item))
        TellUnreadableRange();
    if (m_rangeTest && !MaskFitsNumbers()) {
        m_rangeTest = false;
        TellMaskDefeatsRange();
    }
    ApplyFormGeometry();
    PlaceControls();
    PrepareForm();
    StyleControls();
    PrepareNavigationBar(item.Duration <= 0);
    PrepareBackground();
    const double most = ReadNumber(item.Parameters);
    if (most > 0) {
        txFillBlank->SetMaxLength(int(qMin(most, double(INT_MAX))));
        lFillBlank->setText(State().Messages[13]);
        lFillBlank->move(lFillBlank->x(),
                         txFillBlank->y() + txFillBlank->height() + qRound(165 / TPY()));
    }
    lQuestion->setText(item.WordingShown);
    lQuestion->show();
    if (!item.Mask.isEmpty())
        BuildBoxes();
    else
        txFillBlank->show();
    State().ItemStart = ShowAndRead();
    if (m_boxCount > 0)
        FocusNextBox(1, 1);
    else
        txFillBlank->setFocus();
    if (item.Duration > 0)
        m_timer1 = State().Clock().Every(1000, [this] { Timer1_Timer(); });
}

void fFillBlank::PlaceControls() {
    PlaceDesign(lQuestion, kQuestion);
    PlaceDesign(txFillBlank, kAnswer);
    PlaceDesign(lFillBlank, kHint);
    for (int j = 1; j <= kBoxes; ++j)
        PlaceDesign(Box[std::size_t(j)], kFirstBox);
}

// The look and the item's own place of the answer controls, in pixels from the item.
void fFillBlank::StyleControls() {
    const Question& item = Item();
    TextStyle hint = Run().question;
    hint.bold = false;
    hint.italic = false;
    ApplyStyle(lFillBlank, hint, false);
    ApplyStyle(txFillBlank, Run().response, true);
    if (item.Top > 0) {
        txFillBlank->move(txFillBlank->x(), item.Top);
        lFillBlank->move(lFillBlank->x(), item.Top + qRound(660 / TPY()));
    }
    if (item.Width > 0)
        txFillBlank->resize(item.Width, txFillBlank->height());
    if (item.Left > 0)
        txFillBlank->move(item.Left, txFillBlank->y());
    for (int j = 1; j <= kBoxes; ++j) {
        ApplyStyle(Box[std::size_t(j)], Run().response, true);
        if (item.Top > 0)
            Box[std::size_t(j)]->move(Box[std::size_t(j)]->x(), item.Top);
    }
}

void fFillBlank::BuildBoxes() {
    const Question& item = Item();
    m_boxCount = int(qMin(item.Mask.size(), qsizetype(kBoxes))); // the rest has no boxes
    const QFontMetrics metrics(Box[1]->font());
    // One character wide and a half; the frame is added so that the character isn't cut.
    const int frame = 2 * Box[1]->style()->pixelMetric(QStyle::PM_DefaultFrameWidth);
    const double width = 1.5 * metrics.horizontalAdvance(QLatin1Char('W')) + frame;
    const int height = metrics.height() + frame;
    double left = Box[1]->x() * TPX(); // in twips, as the boxes are laid side by side
    for (int j = 1; j <= m_boxCount; ++j) {
        QLineEdit* box = Box[std::size_t(j)];
        if (j != 1)
            left += width * TPX() + 1;
        box->setGeometry(qRound((left + item.Left * TPX()) / TPX()), box->y(), qRound(width),
                         height);
        const QChar c = item.Mask.at(j - 1);
        if (c != QLatin1Char('*')) {
            box->setText(QString(c));
            box->setEnabled(false);
        }
        box->show();
    }
}

bool fFillBlank::ItemKey(QKeyEvent* event, qint32 eventTime) {
    QObject* target = TakeKeyTarget();
    NoteInputTime(eventTime);
    NoteKey(eventTime);
    if (target == txFillBlank)
        return txFillBlank_KeyDown(event);
    for (int j = 1; j <= m_boxCount; ++j) {
        if (target == Box[std::size_t(j)])
            return Box_KeyDown(j, event);
    }
    return false;
}

bool fFillBlank::txFillBlank_KeyDown(QKeyEvent* event) {
    const int code = KeyCodeOf(event->key(), event->modifiers());
    if (code != 13 && code != 8 && txFillBlank->Full())
        TellMostCharactersTyped(State());
    if (Item().ScaleStep <= 1.0f && code == 13) {
        ToolClick(QStringLiteral("Continue"));
        return true;
    }
    return false;
}

bool fFillBlank::Box_KeyDown(int index, QKeyEvent* event) {
    QLineEdit* box = Box[std::size_t(index)];
    const int code = TypingKeyCode(event);
    if (code == 13) {
        ToolClick(QStringLiteral("Continue"));
        return true;
    }
    if (!MovesOrDeletes(code)) {
        if (code < 47 && code != 32)
            return false; // Shift, Tab and the like: the box does with them as it does
        box->clear();     // the new character replaces the old one
    }
    if (code == 37) {
        FocusNextBox(index - 1, -1);
        return true;
    }
    if (code == 46 || code == 8) {
        // A box that holds a character keeps the focus: the key deletes first, moves next time.
        if ((box->text().isEmpty() || !box->isEnabled()) && index != 1) {
            FocusNextBox(index - 1, -1);
            return true;
        }
        return false;
    }
    if (code == 39) {
        FocusNextBox(index + 1, 1);
        return false; // the operator's keys see it too
    }
    // The typed character stays in the box where it was pressed; the focus goes on.
    if (!event->text().isEmpty() && event->text().at(0).isPrint())
        box->setText(event->text().left(1));
    FocusNextBox(index + 1, 1);
    return true;
}

void fFillBlank::FocusNextBox(int index, int step) {
    // A fixed box refuses the focus; the search takes the next one along.
    for (int j = index; j >= 1 && j <= m_boxCount; j += step) {
        if (Box[std::size_t(j)]->isEnabled()) {
            Box[std::size_t(j)]->setFocus();
            return;
        }
    }
}

void fFillBlank::ToolClick(const QString& key) {
    const qint32 itemEnd = TakeInputTime();
    ClickSound(QStringLiteral("CLICK"));
    if (key == QLatin1String("GoBack")) {
        m_timer1.reset();
        Unload();
        Driver().GoBack();
    } else if (key == QLatin1String("Continue")) {
        Continue(itemEnd, false);
    }
}

void fFillBlank::Continue(qint32 itemEnd, bool timeUp) {
    RunState& state = State();
    const Question& item = Item();
    state.ItemEnd = itemEnd;
    if (m_boxCount > 0) {
        QString joined;
        for (int j = 1; j <= m_boxCount; ++j)
            joined += Box[std::size_t(j)]->text();
        txFillBlank->setPlainText(joined);
    }
    const QString answer = TrimBlanks(txFillBlank->toPlainText());
    if (answer != txFillBlank->toPlainText()) {
        txFillBlank->setPlainText(answer);
        txFillBlank->moveCursor(QTextCursor::End); // a refused answer is typed on at its end
    }
    if (answer.isEmpty())
        return Refuse(state.Messages[3], timeUp);
    if (m_rangeTest) {
        for (const QChar c : answer) {
            if (!IsNumberCharacter(c))
                return Refuse(state.Messages[4], timeUp);
        }
        const double value = ReadNumber(answer);
        if (value < item.RangeLow || value > item.RangeHigh)
            return Refuse(state.Messages[5] + QString::number(item.RangeLow) +
                              QStringLiteral(" to ") + QString::number(item.RangeHigh),
                          timeUp);
    }
    // A comma would break the columns of the data files.
    QString cleaned = answer;
    cleaned.replace(QLatin1Char('\n'), QLatin1Char(' '));
    cleaned.remove(QLatin1Char('\r'));
    cleaned.remove(QLatin1Char(','));
    if (item.KeepFocus == 1)
        state.ItemEnd = FirstKeyTimeOr(state.ItemStart);
    state.AddInsert(item.VariableName, cleaned);
    WriteAnswerFile(cleaned + QLatin1Char('~'));
    m_timer1.reset();
    const QString skip = item.skip;
    Unload();
    Driver().EndItem(cleaned, skip);
}

void fFillBlank::Refuse(const QString& text, bool timeUp) {
    if (timeUp) {
        // The time is up and the answer can't be taken: the item ends without one, rather
        // than wiping what was typed and asking again at every tick.
        m_timer1.reset();
        const QString skip = Item().skip;
        Unload();
        State().SkipTarget = skip;
        Driver().NextQuestion();
        return;
    }
    State().Boxes().Show(MessageBox{State().MessageTitle(), text, BoxIcon::Information});
    if (m_boxCount > 0) {
        txFillBlank->clear();
        if (Box[1]->isEnabled())
            Box[1]->setFocus();
    } else {
        txFillBlank->setFocus();
    }
}

void fFillBlank::Timer1_Timer() {
    const qint32 now = State().Clock().Now();
    if (Elapsed(State().ItemStart, now) > Item().Duration)
        Continue(now, true);
}

void fFillBlank::TellUnreadableRange() {
    const Question& item = Item();
    State().Boxes().Show(MessageBox{
        State().MessageTitle(),
        QStringLiteral("The fill-in-the-blank item '") + item.VariableName +
            QStringLiteral("' has the range (r") + item.RangeText +
            QStringLiteral("), which can't be read as a low and a high whole number with the "
                           "low one first, so its answers are taken without a range test. To "
                           "fix this, edit the questionnaire and write the range as, for "
                           "example, (r1-7)."),
        BoxIcon::Warning});
}

// The fixed characters of the boxes all pass the range's character test.
bool fFillBlank::MaskFitsNumbers() const {
    const QString boxes = Item().Mask.left(kBoxes);
    return std::all_of(boxes.begin(), boxes.end(),
                       [](QChar c) { return c == QLatin1Char('*') || IsNumberCharacter(c); });
}

void fFillBlank::TellMaskDefeatsRange() {
    const Question& item = Item();
    State().Boxes().Show(MessageBox{
        State().MessageTitle(),
        QStringLiteral("The fill-in-the-blank item '") + item.VariableName +
            QStringLiteral("' has a range and the mask (m") + item.Mask +
            QStringLiteral("), whose fixed characters no number can hold, so no answer could "
                           "pass the range test; its answers are taken without one. To fix "
                           "this, edit the questionnaire and use only digits and - as fixed "
                           "characters of the mask, for example (m**-**), or leave the range "
                           "out."),
        BoxIcon::Warning});
}

void fFillBlank::PassOverMaskWithoutBlank() {
    const Question& item = Item();
    State().Boxes().Show(MessageBox{
        State().MessageTitle(),
        QStringLiteral("The fill-in-the-blank item '") + item.VariableName +
            QStringLiteral("' has the mask (m") + item.Mask +
            QStringLiteral("), in which no character is left blank with * for the participant "
                           "to type (only the first 24 characters get a box), so the item is "
                           "passed over. To fix this, edit the questionnaire and mark each "
                           "character to be typed with * in the mask, for example "
                           "(m***-****)."),
        BoxIcon::Warning});
    const QString skip = item.skip;
    Unload();
    State().SkipTarget = skip;
    Driver().NextQuestion();
}

} // namespace corvane
