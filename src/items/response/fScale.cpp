#include "items/response/fScale.h"

#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "engine/key_codes.h"
#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPushButton>

namespace corvane {

namespace {

const QString kSpecify = QStringLiteral("<specify>");

// Design places, in twips of the design client area, within the picture box.
constexpr TwipRect kPicture{150, 150, 9285, 6465};
constexpr TwipRect kQuestion{300, 300, 8448, 6012};
constexpr TwipRect kWarning{4704, 144, 492, 300};

TwipRect DesignButton(int n) {
    return {510, 1830.0 + 390.0 * (n - 1), 375, 375};
}

TwipRect DesignLabel(int n) {
    if (n == 1)
        return {912, 1728, 7992, 300};
    return {900, 1710.0 + 390.0 * (n - 1), 7995, 300};
}

TextStyle Arial(double size) {
    TextStyle style;
    style.family = QStringLiteral("Arial");
    style.pointSize = size;
    return style;
}

} // namespace

fScale::fScale(RunContext& run) : ItemForm(run, QStringLiteral("fScale")) {
    for (int n = 1; n <= kPoints; ++n) {
        bResponse[std::size_t(n)] = new QPushButton(QString::number(n), Picture1);
        bResponse[std::size_t(n)]->setObjectName(QStringLiteral("bResponse(%1)").arg(n));
        bResponse[std::size_t(n)]->setFocusPolicy(Qt::NoFocus);
        bResponse[std::size_t(n)]->hide();
        lText[std::size_t(n)] = new QLabel(Picture1);
        lText[std::size_t(n)]->setObjectName(QStringLiteral("lText(%1)").arg(n));
        lText[std::size_t(n)]->setWordWrap(true);
        lText[std::size_t(n)]->hide();
        connect(bResponse[std::size_t(n)], &QPushButton::clicked, this, [this, n] {
            bResponse_Click(n, m_releaseTime != 0 ? m_releaseTime : State().Clock().Now());
            m_releaseTime = 0;
        });
    }
    bDummy = new QPushButton(Picture1);
    bDummy->setObjectName(QStringLiteral("bDummy"));
    bDummy->setFlat(true);
    bDummy->hide();
    lWarning = new QLabel(QStringLiteral("10"), Picture1);
    lWarning->setObjectName(QStringLiteral("lWarning"));
    lWarning->hide();
    lQuestion->hide();
}

void fScale::Load() {
    m_itemReady = false;
    ApplyFormGeometry();
    PlaceDesign(Picture1, kPicture);
    PlaceDesign(lQuestion, kQuestion);
    PlaceDesign(lWarning, kWarning);
    ApplyStyle(lWarning, Arial(9.6), false);
    if (!LayOut())
        return NoPointsGiven();
    PrepareForm();
    lQuestion->hide();
    lQuestion->clear(); // the wording comes with the reveal
    for (int n = 1; n <= m_points; ++n)
        ApplyStyle(lText[std::size_t(n)], Run().question, false);
    PrepareNavigationBar(false);
    PrepareBackground();
    show();
    raise();
    activateWindow();
    bDummy->setFocus();
    Reveal();
}

bool fScale::LayOut() {
    Question& item = Item();
    const QString parameters = item.Parameters;
    if (parameters == QLatin1String("?") || parameters.isEmpty() ||
        parameters.toLower() == QLatin1String("none"))
        return false;
    m_points = qBound(0, int(ReadNumber(parameters)), kPoints); // more than twelve: twelve show
    for (int n = 1; n <= kPoints; ++n) {
        m_button[std::size_t(n)] = ScaledDesign(DesignButton(n));
        m_label[std::size_t(n)] = ScaledDesign(DesignLabel(n));
    }
    const TwipRect& first = m_button[1];
    const double yoff = item.Top == 0 ? 0 : item.Top * TPY() - first.top;
    const double gap = item.ScaleStep <= 1.0f ? 0 : (double(item.ScaleStep) - 1) * first.height;
    const TextStyle buttons = Arial(9.6);
    for (int n = 1; n <= m_points; ++n) {
        lText[std::size_t(n)]->setText(RemoveText(kSpecify, item.textlabel[std::size_t(n)]));
        lText[std::size_t(n)]->show();
        ApplyStyle(bResponse[std::size_t(n)], buttons, false);
        bResponse[std::size_t(n)]->setText(item.pointlabel[std::size_t(n)]);
        bResponse[std::size_t(n)]->show();
        if (item.Width >= 1)
            LayOutHorizontal(n, m_points);
        else
            LayOutVertical(n, yoff, gap);
    }
    for (int n = 1; n <= m_points; ++n)
        ApplyLabelParameters(n);
    for (int n = 1; n <= m_points; ++n) {
        PlaceTwips(bResponse[std::size_t(n)], m_button[std::size_t(n)]);
        PlaceTwips(lText[std::size_t(n)], m_label[std::size_t(n)]);
    }
    PlaceTwips(bDummy, m_button[1]);
    bDummy->show();
    bDummy->lower();
    return true;
}

void fScale::LayOutHorizontal(int n, int points) {
    const Question& item = Item();
    TwipRect& button = m_button[std::size_t(n)];
    TwipRect& label = m_label[std::size_t(n)];
    button.top = item.Top < 1 ? m_button[1].top : item.Top * TPY();
    const double total = item.Width * TPX();
    const double col = total / points;
    const double margin = (ScaledDesign(kPicture).width - total) / 2;
    const double pad = 10 * TPX(); // the button stands ten pixels right of its label's centre
    button.left = (n - 1) * col + margin + col / 2 + pad - button.width / 2;
    label.top = m_button[1].top + m_button[1].height;
    label.width = 0.9 * col;
    label.left = (n - 1) * col + margin + 0.05 * col;
    label.height = 2 * label.width;
    lText[std::size_t(n)]->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
}

void fScale::LayOutVertical(int n, double yoff, double gap) {
    const Question& item = Item();
    TwipRect& button = m_button[std::size_t(n)];
    TwipRect& label = m_label[std::size_t(n)];
    label.top += yoff + (n - 1) * gap;
    label.height += gap;
    button.top += yoff + (n - 1) * gap;
    if (item.Left >= 1) {
        label.left = item.Left * TPX() + label.left - button.left;
        button.left = item.Left * TPX();
    }
}

// A label's own place: t and l above 0 move the point and take the list off the caption; any
// other letter, and a t of 0, stay on the screen as text.
void fScale::ApplyLabelParameters(int n) {
    QLabel* label = lText[std::size_t(n)];
    ParameterList list;
    QString text;
    try {
        text = ExtractParameters(label->text(), list);
    } catch (const CorvaneError&) {
        return;
    }
    for (int slot = 1; slot <= list.count; ++slot) {
        const QString& entry = list.entries[std::size_t(slot)];
        const double v = ReadNumber(SlotValue(entry));
        if (v <= 0)
            continue;
        if (SlotLetter(entry) == QLatin1String("t")) {
            const double d = v * TPY() - m_button[std::size_t(n)].top;
            m_button[std::size_t(n)].top += d;
            m_label[std::size_t(n)].top += d;
            label->setText(text);
        } else if (SlotLetter(entry) == QLatin1String("l")) {
            const double d = v * TPX() - m_button[std::size_t(n)].left;
            m_button[std::size_t(n)].left += d;
            m_label[std::size_t(n)].left += d;
            label->setText(text);
        }
    }
}

void fScale::NoPointsGiven() {
    State().Boxes().Show(
        MessageBox{DefaultBoxTitle(),
                   QStringLiteral("The current scale item response has no parameter value. "
                                  "Edit the current questionnaire and add a parameter value "
                                  "for this item.  For example, a value of (p5) would result "
                                  "in 5 scale points."),
                   BoxIcon::Information});
    Unload();
    // The jump of the former item's choice: the choice is a shared value that no item clears.
    const int stale = int(ReadNumber(State().ResponseIndex));
    const QString skip =
        stale >= 1 && stale <= kPoints ? Item().skips[std::size_t(stale)] : QString();
    State().SkipTarget = skip;
    Driver().NextQuestion();
}

void fScale::Reveal() {
    if (m_revealed)
        return;
    m_revealed = true;
    const Question& item = Item();
    if (item.MinResponse > 0) {
        // The form stands without its wording for the onset delay; events are served meanwhile.
        State().ItemStart = State().Clock().Now();
        m_delay = State().Clock().After(item.MinResponse, [this] {
            State().ItemStart = 0;
            ShowWording();
        });
        return;
    }
    ShowWording();
}

void fScale::ShowWording() {
    const Question& item = Item();
    if (item.Duration > 0)
        m_timer1 = State().Clock().Every(1000, [this] { Timer1_Timer(); });
    lQuestion->show();
    lQuestion->setText(item.WordingShown);
    m_itemReady = true;
    // Reaction times count from the moment the wording is on the screen.
    State().ItemStart = DrawAndRead(lQuestion);
}

bool fScale::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonRelease)
        m_releaseTime = EventTime(static_cast<QInputEvent*>(event));
    return ItemForm::eventFilter(watched, event);
}

void fScale::bResponse_Click(int index, qint32 itemEnd) {
    if (!m_itemReady)
        return;
    State().ItemEnd = itemEnd;
    if (Elapsed(State().ItemStart, itemEnd) <= 100 || lQuestion->text().isEmpty())
        return;
    ClickSound(QStringLiteral("CLICK"));
    State().ResponseIndex = QString::number(index);
    if (Item().skips[std::size_t(index)] == Item().VariableName) {
        // A choice that would jump to this same item is refused, by mouse only.
        State().Boxes().Show(
            MessageBox{State().MessageTitle(), State().Messages[23], BoxIcon::Information});
        return;
    }
    RecordAndEnd(index, QString::number(index));
}

bool fScale::ItemKey(QKeyEvent* event, qint32 eventTime) {
    KeyResponse(KeyCodeOf(event->key(), event->modifiers()), event->modifiers(), eventTime);
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
            RecordAndEnd(int(v), NumberToText(v));
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
        const QString caption = lText[std::size_t(choice)]->text();
        if (state.Messages[24].isEmpty())
            state.Messages[24] =
                QStringLiteral("You selected '") + caption + QStringLiteral("'. Please specify...");
        // The prompt keeps the first answer's words for the rest of the run.
        state.Messages[24].replace(QStringLiteral("<insert answer>"), caption);
        if (state.Messages[25].isEmpty())
            state.Messages[25] = QStringLiteral("Please Specify");
        const auto typed = state.Boxes().Input(state.Messages[25], state.Messages[24], QString());
        response = typed.value_or(QString()).isEmpty() ? QStringLiteral("<Cancel>") : *typed;
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
    m_timer1.reset();
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
        m_timer1.reset();
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
    auto countDown = [&](double shownFrom) {
        lWarning->show();
        const double left = ReadNumber(lWarning->text()) - 1;
        lWarning->setText(NumberToText(left));
        if (left == shownFrom - 1)
            QApplication::beep();
    };
    if (w * 1000 > 1000) {
        if (sinceStart > item.Duration - w * 1000)
            countDown(w);
    } else if (item.Duration >= 29001) {
        if (sinceStart > item.Duration - 10000)
            countDown(10);
    }
}

void fScale::ToolClick(const QString& key) {
    ClickSound(QStringLiteral("CLICK"));
    if (m_itemReady && key == QLatin1String("GoBack")) {
        m_timer1.reset();
        Unload();
        Driver().GoBack();
    }
}

} // namespace corvane
