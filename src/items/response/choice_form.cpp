#include "items/response/choice_form.h"

#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "engine/run_driver.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPushButton>
#include <algorithm>
#include <cmath>

namespace corvane {

namespace {

// Design places, in twips of the design client area, within the picture box.
constexpr TwipRect kPicture{150, 150, 9285, 6465};
constexpr TwipRect kQuestion{300, 300, 8448, 6012};
constexpr TwipRect kWarning{4704, 144, 492, 300};

TwipRect DesignButton(int n) {
    return {510, 1830.0 + 390.0 * (n - 1), 375, 375};
}

TwipRect DesignLabel(int n, bool firstOffDesign) {
    if (n == 1 && firstOffDesign)
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

const QString ChoiceForm::kSpecify = QStringLiteral("<specify>");

ChoiceForm::ChoiceForm(RunContext& run, const QString& formName, const ChoiceDesign& design)
    : ItemForm(run, formName), m_design(design) {
    for (int n = 1; n <= kPoints; ++n) {
        auto* control = new QPushButton(QString::number(n), Picture1);
        control->setObjectName(QStringLiteral("%1(%2)").arg(design.controlName).arg(n));
        control->setFocusPolicy(Qt::NoFocus);
        control->setCheckable(design.toggles);
        control->hide();
        m_controls[std::size_t(n)] = control;
        lText[std::size_t(n)] = new QLabel(Picture1);
        lText[std::size_t(n)]->setObjectName(QStringLiteral("lText(%1)").arg(n));
        lText[std::size_t(n)]->setWordWrap(true);
        lText[std::size_t(n)]->hide();
        auto clicked = [this, n] {
            const qint32 itemEnd = m_releaseTime != 0 ? m_releaseTime : State().Clock().Now();
            m_releaseTime = 0;
            ResponseClicked(n, itemEnd);
        };
        // A toggle box answers every change of its value, also one made by the program.
        if (design.toggles)
            connect(control, &QPushButton::toggled, this, clicked);
        else
            connect(control, &QPushButton::clicked, this, clicked);
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

ChoiceForm::~ChoiceForm() = default;

void ChoiceForm::PlaceFrameControls() {
    ApplyFormGeometry();
    PlaceDesign(Picture1, kPicture);
    PlaceDesign(lQuestion, kQuestion);
    PlaceDesign(lWarning, kWarning);
    ApplyStyle(lWarning, Arial(9.6), false);
}

void ChoiceForm::LayOut(int points) {
    const Question& item = Item();
    m_points = points;
    for (int n = 1; n <= kPoints; ++n) {
        m_button[std::size_t(n)] = ScaledDesign(DesignButton(n));
        m_label[std::size_t(n)] = ScaledDesign(DesignLabel(n, m_design.firstLabelOffDesign));
    }
    const TwipRect& first = m_button[1];
    const double yoff = item.Top == 0 ? 0 : item.Top * TPY() - first.top;
    const double gap = item.ScaleStep <= 1.0f ? 0 : (double(item.ScaleStep) - 1) * first.height;
    const TextStyle captions = Arial(m_design.controlPointSize);
    for (int n = 1; n <= m_points; ++n) {
        lText[std::size_t(n)]->setText(RemoveText(kSpecify, item.textlabel[std::size_t(n)]));
        lText[std::size_t(n)]->show();
        ApplyStyle(m_controls[std::size_t(n)], captions, false);
        m_controls[std::size_t(n)]->setText(item.pointlabel[std::size_t(n)]);
        m_controls[std::size_t(n)]->show();
        if (item.Width >= 1)
            LayOutHorizontal(n, m_points);
        else
            LayOutVertical(n, yoff, gap);
    }
    if (item.Width < 1)
        FitListInPicture();
    for (int n = 1; n <= m_points; ++n)
        ApplyLabelParameters(n);
    for (int n = 1; n <= m_points; ++n) {
        PlaceTwips(m_controls[std::size_t(n)], m_button[std::size_t(n)]);
        PlaceTwips(lText[std::size_t(n)], m_label[std::size_t(n)]);
    }
    PlaceTwips(bDummy, m_button[1]);
    bDummy->show();
    bDummy->lower();
}

void ChoiceForm::LayOutHorizontal(int n, int points) {
    const Question& item = Item();
    TwipRect& button = m_button[std::size_t(n)];
    TwipRect& label = m_label[std::size_t(n)];
    button.top = item.Top < 1 ? m_button[1].top : item.Top * TPY();
    // A scale wider than the picture box, written for a larger screen, takes the box's width.
    const double box = ScaledDesign(kPicture).width;
    const double total = qMin(item.Width * TPX(), box);
    const double col = total / points;
    const double margin = (box - total) / 2;
    const double pad = 10 * TPX(); // the button stands ten pixels right of its label's centre
    button.left = (n - 1) * col + margin + col / 2 + pad - button.width / 2;
    label.top = m_button[1].top + m_button[1].height;
    label.width = 0.9 * col;
    label.left = (n - 1) * col + margin + 0.05 * col;
    label.height = 2 * label.width;
    lText[std::size_t(n)]->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
}

void ChoiceForm::LayOutVertical(int n, double yoff, double gap) {
    const Question& item = Item();
    TwipRect& button = m_button[std::size_t(n)];
    TwipRect& label = m_label[std::size_t(n)];
    label.top += yoff + (n - 1) * gap;
    label.height += gap;
    button.top += yoff + (n - 1) * gap;
    if (m_design.listFollowsLeft && item.Left >= 1) {
        label.left = item.Left * TPX() + label.left - button.left;
        button.left = item.Left * TPX();
    }
}

// A list that would run past the bottom of the picture box (twelve points on the design pitch
// do, by a little; a Top or a ScaleStep by much more) has its rows brought closer so that the
// last button ends at the box's bottom: the rows share the height that is there. Buttons keep
// their size; labels shrink only where they would run into the next row. Rows closer than a
// button's height would overlap, so then the list moves up instead. A list that fits is left
// as it is.
void ChoiceForm::FitListInPicture() {
    if (m_points < 2)
        return;
    // A pixel to spare, so that the rounding to pixels never takes the last one away.
    const double room = (std::floor(ScaledDesign(kPicture).height / TPY()) - 1) * TPY();
    const TwipRect first = m_button[1];
    const TwipRect last = m_button[std::size_t(m_points)];
    if (last.top + last.height <= room)
        return;
    const double pitch = (last.top - first.top) / (m_points - 1);
    const double fitting = (room - first.height - first.top) / (m_points - 1);
    const double rows = qMax(fitting, first.height);
    // The first label stands a little above its button and must stay in the box too.
    const double lowest = qMax(0.0, first.top - m_label[1].top);
    const double top = qMax(lowest, qMin(first.top, room - first.height - (m_points - 1) * rows));
    // Between a label's bottom and the next row's label the design leaves 90 twips.
    const double labelRoom = rows - ScaledDesign({0, 0, 0, 390 - 300}).height;
    for (int n = 1; n <= m_points; ++n) {
        TwipRect& button = m_button[std::size_t(n)];
        TwipRect& label = m_label[std::size_t(n)];
        const double shift = top + (n - 1) * rows - (first.top + (n - 1) * pitch);
        button.top += shift;
        label.top += shift;
        label.height = qMin(label.height, qMax(0.0, labelRoom));
    }
}

// A label's own place: t and l above 0 move the point and take the list off the caption; any
// other letter, and a t of 0, stay on the screen as text.
void ChoiceForm::ApplyLabelParameters(int n) {
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

void ChoiceForm::PrepareAndShow(bool showContinue) {
    PrepareForm();
    lQuestion->hide();
    lQuestion->clear(); // the wording comes with the reveal
    for (int n = 1; n <= m_points; ++n)
        ApplyStyle(lText[std::size_t(n)], Run().question, false);
    if (m_design.navigationBar)
        PrepareNavigationBar(showContinue);
    PrepareBackground();
    show();
    raise();
    activateWindow();
    bDummy->setFocus();
    Reveal();
}

void ChoiceForm::Reveal() {
    if (m_revealed)
        return;
    m_revealed = true;
    const Question& item = Item();
    if (m_design.limitBeforeDelay)
        StartLimitTimer();
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

void ChoiceForm::RevealAgain() {
    m_delay.reset();
    m_itemReady = false;
    m_revealed = false;
    lQuestion->hide();
    Reveal();
}

QString ChoiceForm::Caption() const {
    return Item().WordingShown;
}

void ChoiceForm::ShowWording() {
    if (!m_design.limitBeforeDelay)
        StartLimitTimer();
    lQuestion->show();
    lQuestion->setText(Caption());
    m_itemReady = true;
    // Reaction times count from the moment the wording is on the screen.
    State().ItemStart = DrawAndRead(lQuestion);
}

std::optional<QString> ChoiceForm::KeepAnswer(int k, const QString& value, bool asText,
                                              std::optional<qint32> time) {
    RunState& state = State();
    const int q = state.CurrentQuestionnaire;
    const int i = state.CurrentQuestion;
    try {
        state.StoreResponse(q, i, k, value);
        if (time)
            state.StoreResponseTime(q, i, k, *time);
        if (asText) {
            VariableColumn column = state.Variables.Column(q, i, k);
            column.type = 1;
            state.Variables.SetColumn(q, i, k, column);
        }
        return std::nullopt;
    } catch (const CorvaneError& error) {
        return error.description();
    }
}

void ChoiceForm::Unloading() {
    m_delay.reset();
    m_timer1.reset();
}

void ChoiceForm::StartLimitTimer() {
    if (Item().Duration > 0 && m_design.timeLimit)
        m_timer1 = State().Clock().Every(1000, [this] { Timer1_Timer(); });
}

void ChoiceForm::StopTimer() {
    m_timer1.reset();
}

void ChoiceForm::GoBackOrContinue(const QString& key) {
    if (!m_itemReady)
        return;
    if (key == QLatin1String("GoBack")) {
        StopTimer();
        Unload();
        Driver().GoBack();
    } else if (key == QLatin1String("Continue")) {
        Continue();
    }
}

QString ChoiceForm::SkipOfLatestChoice() const {
    const int latest = int(ReadNumber(Run().state.ResponseIndex));
    return latest >= 1 && latest <= kPoints ? Item().skips[std::size_t(latest)] : QString();
}

QString ChoiceForm::AskSpecified(int n) {
    RunState& state = State();
    const QString caption = lText[std::size_t(n)]->text();
    if (state.Messages[24].isEmpty())
        state.Messages[24] =
            QStringLiteral("You selected '") + caption + QStringLiteral("'. Please specify...");
    // The prompt keeps the first answer's words for the rest of the run.
    state.Messages[24].replace(QStringLiteral("<insert answer>"), caption);
    if (state.Messages[25].isEmpty())
        state.Messages[25] = QStringLiteral("Please Specify");
    const auto typed = state.Boxes().Input(state.Messages[25], state.Messages[24], QString());
    return typed.value_or(QString()).isEmpty() ? QStringLiteral("<Cancel>") : *typed;
}

void ChoiceForm::CountDown(double shownFrom) {
    lWarning->show();
    const double left = ReadNumber(lWarning->text()) - 1;
    lWarning->setText(NumberToText(left));
    if (left == shownFrom - 1)
        QApplication::beep();
}

bool ChoiceForm::eventFilter(QObject* watched, QEvent* event) {
    // Only a release on a response control makes a click; a key never carries an old release.
    const bool onControl =
        std::find(m_controls.begin(), m_controls.end(), watched) != m_controls.end();
    if (event->type() == QEvent::MouseButtonRelease && onControl)
        m_releaseTime = EventTime(static_cast<QInputEvent*>(event));
    else if (event->type() == QEvent::KeyPress)
        m_releaseTime = 0;
    return ItemForm::eventFilter(watched, event);
}

} // namespace corvane
