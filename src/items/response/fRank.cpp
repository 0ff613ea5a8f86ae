#include "items/response/fRank.h"

#include "definitions/number_reading.h"
#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "state/error.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QFrame>
#include <QKeyEvent>
#include <QMouseEvent>
#include <algorithm>
#include <vector>

namespace corvane {

namespace {

// Design places, in twips of the design client area; all but the picture box lie within it.
constexpr TwipRect kPicture{150, 156, 9285, 6468};
constexpr TwipRect kQuestion{4920, 1080, 3972, 4656};
constexpr TwipRect kTopAnchor{4560, 120, 4692, 372};
constexpr TwipRect kBottomAnchor{4560, 6000, 4692, 372};
constexpr TwipRect kBar{4470, 0, 60, 6468};
constexpr TwipRect kLabel{0, 0, 744, 300};

const QString kMissingLabel = QStringLiteral("<missing label>");

} // namespace

fRank::fRank(RunContext& run) : ItemForm(run, QStringLiteral("fRank")) {
    Shape2 = new QFrame(Picture1);
    Shape2->setObjectName(QStringLiteral("Shape2"));
    Shape2->setFrameShape(QFrame::Box);
    Shape2->setAutoFillBackground(true);
    Label2 = new QLabel(Picture1);
    Label2->setObjectName(QStringLiteral("Label2"));
    Label3 = new QLabel(Picture1);
    Label3->setObjectName(QStringLiteral("Label3"));
    for (int n = 1; n <= kControls; ++n) {
        QLabel* label = new QLabel(Picture1);
        label->setObjectName(QStringLiteral("Label1(%1)").arg(n));
        label->setFrameShape(QFrame::Box);
        label->setAutoFillBackground(true);
        label->hide();
        Label1[std::size_t(n)] = label;
    }
}

void fRank::Load() {
    if (!ReadPointCount())
        return PassOverWithStaleChoice(
            QStringLiteral("The current ranking item has no parameter value. Edit the current "
                           "questionnaire and add a parameter value for this item.  For example, "
                           "a value of (p5) would result in 5 ranking options."));
    m_moved = false;
    m_gap = 20;
    m_firstDrag = true;
    const Question& item = Item();
    // The design places are taken with the geometry before the preparation, so that a place
    // that the wording's own parameters give stays where they put it.
    ApplyFormGeometry();
    LayOutDesign();
    PrepareForm();
    SplitWording();
    PrepareNavigationBar(true);
    if (!lQuestion->text().isEmpty())
        Bar1->AddButton(QStringLiteral("Instruct"), QStringLiteral("instruct.bmp"),
                        (width() - 200) / 2);
    PrepareBackground();
    StyleControls();
    if (item.Top > 0)
        lQuestion->move(lQuestion->x(), item.Top);
    if (item.Left > 0)
        lQuestion->move(item.Left, lQuestion->y());
    GoOnWithoutTimeLimit();
    for (int n = 1; n <= m_points; ++n) {
        const QString text =
            n < int(item.textlabel.size()) ? item.textlabel[std::size_t(n)] : QString();
        RankItems[std::size_t(n)].Text =
            text.isEmpty() || text.toLower() == QLatin1String("none") ? kMissingLabel : text;
    }
    Shuffle();
    State().ItemStart = ShowAndRead();
    setFocus();
    // The labels come once the form stands at its full size.
    m_timer2 = State().Clock().Every(100, [this] { Timer2_Timer(); });
}

bool fRank::ReadPointCount() {
    const Question& item = Item();
    if (item.Parameters == QLatin1String("?"))
        return false;
    const double count = ReadNumber(item.Parameters);
    // A count that is missing or reads as no label at all can't be ranked either.
    if (count < 1)
        return false;
    m_points = int(std::min<double>(count, kControls));
    if (count > kControls)
        State().Boxes().Show(MessageBox{
            State().MessageTitle(),
            QStringLiteral("The ranking item '%1' asks for %2 labels, but a ranking item shows "
                           "at most %3. The first %3 are shown. To fix this, give the item a p "
                           "parameter of %3 or less in the questionnaire.")
                .arg(item.VariableName, item.Parameters)
                .arg(kControls),
            BoxIcon::Information});
    return true;
}

// The wording may carry the two anchors: "question = lower anchor, upper anchor".
void fRank::SplitWording() {
    const QString& wording = Item().WordingShown;
    const qsizetype equals = wording.indexOf(QLatin1Char('='));
    const qsizetype comma = equals > 0 ? wording.indexOf(QLatin1Char(','), equals + 1) : -1;
    if (equals > 0 && comma > 0 && comma < wording.size() - 1) {
        lQuestion->setText(TrimBlanks(wording.left(equals)));
        Label3->setText(TrimBlanks(wording.mid(equals + 1, comma - equals - 1)));
        Label2->setText(TrimBlanks(wording.mid(comma + 1)));
    } else {
        lQuestion->setText(wording);
    }
}

void fRank::LayOutDesign() {
    PlaceDesign(Picture1, kPicture);
    PlaceDesign(lQuestion, kQuestion);
    PlaceDesign(Label2, kTopAnchor);
    PlaceDesign(Label3, kBottomAnchor);
    PlaceDesign(Shape2, kBar);
    for (int n = 1; n <= kControls; ++n)
        PlaceDesign(Label1[std::size_t(n)], kLabel);
    lQuestion->lower();
    Image1->lower();
}

void fRank::StyleControls() {
    const TextStyle& response = Run().response;
    QPalette bar = Shape2->palette();
    bar.setColor(QPalette::Window, QColor(response.back));
    bar.setColor(QPalette::WindowText, Qt::black);
    Shape2->setPalette(bar);
    ApplyStyle(Label2, response, false);
    ApplyStyle(Label3, response, false);
    TextStyle labels = response;
    if (Item().ScaleStep > 0)
        labels.pointSize = double(Item().ScaleStep);
    for (int n = 1; n <= m_points; ++n)
        ApplyStyle(Label1[std::size_t(n)], labels, true);
}

void fRank::GoOnWithoutTimeLimit() {
    const Question& item = Item();
    if (item.Duration <= 0)
        return;
    State().Boxes().Show(
        MessageBox{State().MessageTitle(),
                   QStringLiteral("The ranking item '") + item.VariableName +
                       QStringLiteral("' has a time limit (its d parameter), but a ranking "
                                      "item can't be timed. It is shown without a limit. To fix "
                                      "this, take the d parameter off this item in the "
                                      "questionnaire."),
                   BoxIcon::Information});
}

// Every label once, in an order drawn from the run's random source.
void fRank::Shuffle() {
    std::array<bool, kControls + 1> used{};
    for (int n = 1; n <= m_points; ++n) {
        int r = 0;
        do {
            r = Draw(State().Random(), m_points);
        } while (used[std::size_t(r)]);
        used[std::size_t(r)] = true;
        RankItems[std::size_t(n)].Shown = r;
    }
}

void fRank::Timer2_Timer() {
    if (!isVisible())
        return;
    m_timer2.reset();
    const int width = Item().Width;
    for (int n = 1; n <= m_points; ++n) {
        QLabel* label = Label1[std::size_t(n)];
        label->setText(QStringLiteral(" ") +
                       RankItems[std::size_t(RankItems[std::size_t(n)].Shown)].Text +
                       QStringLiteral(" "));
        if (width >= 1) {
            label->setWordWrap(true);
            label->resize(width, label->heightForWidth(width));
        } else {
            label->adjustSize();
        }
        label->show();
    }
    const double start = Picture1->height() * TPY() / 2 - StackHeight() / 2;
    double acc = 0;
    for (int n = 1; n <= m_points; ++n) {
        QLabel* label = Label1[std::size_t(n)];
        label->move((Picture1->width() / 2 - label->width()) / 2, qRound((acc + start) / TPY()));
        acc += label->height() * TPY() + m_gap;
    }
    if (!lQuestion->text().isEmpty())
        State().Boxes().Show(MessageBox{DefaultBoxTitle(), lQuestion->text()});
}

// The heights of the labels and a gap after each, in twips.
double fRank::StackHeight() const {
    double sum = 0;
    for (int n = 1; n <= m_points; ++n)
        sum += Label1[std::size_t(n)]->height() * TPY() + m_gap;
    return sum;
}

int fRank::ControlIndex(const QObject* object) const {
    for (int n = 1; n <= m_points; ++n) {
        if (Label1[std::size_t(n)] == object)
            return n;
    }
    return 0;
}

bool fRank::eventFilter(QObject* watched, QEvent* event) {
    if (const int n = ControlIndex(watched); n > 0) {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick: {
            auto* mouse = static_cast<QMouseEvent*>(event);
            Label1_MouseDown(n, mouse->position().toPoint(), EventTime(mouse));
            return true;
        }
        case QEvent::MouseMove: {
            auto* mouse = static_cast<QMouseEvent*>(event);
            Label1_MouseMove(n, mouse->position().toPoint(), mouse->buttons());
            return true;
        }
        default:
            break;
        }
    }
    return ItemForm::eventFilter(watched, event);
}

void fRank::Label1_MouseDown(int index, const QPoint& at, qint32 when) {
    RunState& state = State();
    const int q = state.CurrentQuestionnaire;
    const int i = state.CurrentQuestion;
    // The first touch of each control is timed; the time stays with the control, whichever
    // label the shuffle put there.
    StoreSafely([&] {
        if (state.Responses().Time(q, i, index) == 0)
            state.StoreResponseTime(q, i, index, Elapsed(state.ItemStart, when));
    });
    if (m_firstDrag) {
        // From the first drag on, the gap scales with the screen.
        m_gap = RoundToInt16(height() * TPY() / (600 * TPY()) * 20);
        m_firstDrag = false;
    }
    m_grab = at;
    Label1[std::size_t(index)]->raise();
}

void fRank::Label1_MouseMove(int index, const QPoint& at, Qt::MouseButtons buttons) {
    if (buttons != Qt::LeftButton)
        return;
    QLabel* label = Label1[std::size_t(index)];
    const int left = label->x() + at.x() - m_grab.x();
    const int top = label->y() + at.y() - m_grab.y();
    // A label can't leave the top of the screen.
    label->move(left, top > 0 ? top : label->y());
    m_moved = true;
}

void fRank::ToolClick(const QString& key) {
    ClickSound(QStringLiteral("CLICK"));
    if (key == QLatin1String("GoBack")) {
        m_timer2.reset();
        Unload();
        Driver().GoBack();
    } else if (key == QLatin1String("Instruct")) {
        State().Boxes().Show(MessageBox{DefaultBoxTitle(), lQuestion->text()});
    } else if (key == QLatin1String("Continue")) {
        Continue();
    }
}

void fRank::Continue() {
    RunState& state = State();
    for (int n = 1; n <= m_points; ++n) {
        if (Label1[std::size_t(n)]->x() < Shape2->x()) {
            state.Boxes().Show(
                MessageBox{state.MessageTitle(), state.Messages[18], BoxIcon::Information});
            return;
        }
    }
    if (m_moved) {
        Tidy();
        state.Boxes().Show(MessageBox{state.MessageTitle(), state.Messages[19], BoxIcon::Question});
        m_moved = false;
        return;
    }
    StoreRanksAndEnd();
}

// The labels snap into an even column in the right half, in the order of their heights; two at
// the same height keep the order of their controls.
void fRank::Tidy() {
    std::vector<std::pair<int, int>> order; // (top, control)
    for (int n = 1; n <= m_points; ++n)
        order.emplace_back(Label1[std::size_t(n)]->y(), n);
    std::sort(order.begin(), order.end());
    const double start = Picture1->height() * TPY() / 2 - StackHeight() / 2;
    const int rightHalf = Picture1->width() - Shape2->x();
    double acc = 0;
    for (std::size_t place = 0; place < order.size(); ++place) {
        const int n = order[place].second;
        // The rank goes to the label that the control shows, so that each label's variable
        // holds the rank of its own text.
        RankItems[std::size_t(RankItems[std::size_t(n)].Shown)].Rank = int(place) + 1;
        QLabel* label = Label1[std::size_t(n)];
        label->move(Shape2->x() + (rightHalf - label->width()) / 2, qRound((acc + start) / TPY()));
        acc += label->height() * TPY() + m_gap;
    }
}

void fRank::StoreRanksAndEnd() {
    RunState& state = State();
    const int q = state.CurrentQuestionnaire;
    const int i = state.CurrentQuestion;
    for (int n = 1; n <= m_points; ++n)
        StoreSafely(
            [&] { state.StoreResponse(q, i, n, QString::number(RankItems[std::size_t(n)].Rank)); });
    m_timer2.reset();
    const QString skip = Item().skip;
    Unload();
    state.SkipTarget = skip;
    Driver().NextQuestion();
}

// A label beyond the room that the data have for the item is told once and left out; the rest
// are kept.
void fRank::StoreSafely(const std::function<void()>& store) {
    try {
        store();
    } catch (const CorvaneError&) {
        if (m_storeFaultTold)
            return;
        m_storeFaultTold = true;
        State().Boxes().Show(MessageBox{
            State().MessageTitle(),
            QStringLiteral("The ranking item '") + Item().VariableName +
                QStringLiteral("' has more labels than the data have room for, so the ranks and "
                               "times of some labels can't be kept. To fix this, write the "
                               "item's type as 'Ranking' in the questionnaire, with a p "
                               "parameter that gives the number of labels."),
            BoxIcon::Information});
    }
}

bool fRank::ItemKey(QKeyEvent* event, qint32 eventTime) {
    const bool space = event->key() == Qt::Key_Space;
    if (!space && event->key() != Qt::Key_Backspace)
        return false;
    if (Elapsed(State().ItemStart, eventTime) < 200)
        return false;
    const QString tool = space ? QStringLiteral("Continue") : QStringLiteral("GoBack");
    if (Bar1->State(tool) != 0)
        return false;
    ToolClick(tool);
    return true;
}

} // namespace corvane
