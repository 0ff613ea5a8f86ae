#include "items/media/fInstruction.h"

#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QFrame>
#include <QKeyEvent>
#include <QLineEdit>
#include <QVBoxLayout>

namespace corvane {

namespace {

constexpr TwipRect kQuestion{300, 300, 9000, 5000};
constexpr TwipRect kPanel{3000, 5500, 3600, 900};

} // namespace

fInstruction::fInstruction(RunContext& run) : ItemForm(run, QStringLiteral("fInstruction")) {
    SSPanel1 = new QFrame(Picture1);
    SSPanel1->setObjectName(QStringLiteral("SSPanel1"));
    SSPanel1->setFrameShape(QFrame::Panel);
    auto* layout = new QVBoxLayout(SSPanel1);
    Label1 = new QLabel(SSPanel1);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setWordWrap(true);
    Text1 = new QLineEdit(SSPanel1);
    Text1->setObjectName(QStringLiteral("Text1"));
    layout->addWidget(Label1);
    layout->addWidget(Text1);
    SSPanel1->hide();
}

void fInstruction::Load() {
    RunState& state = State();
    const Question& item = Item();
    // The design places are taken with the geometry before the preparation, so that a place
    // that the wording's own parameters give stays where they put it.
    ApplyFormGeometry();
    PlaceDesign(lQuestion, kQuestion);
    PlaceDesign(SSPanel1, kPanel);
    PrepareForm();
    PrepareNavigationBar(item.Duration < 1);
    PrepareBackground();
    lQuestion->setText(item.WordingShown);
    Label1->setText(state.Messages[16]);
    if (item.Top > 0)
        lQuestion->move(lQuestion->x(), item.Top);
    if (item.Left > 0)
        lQuestion->move(item.Left, lQuestion->y());
    const int delay = item.MinResponse;
    if (delay > 0)
        lQuestion->hide();
    state.ItemStart = ShowAndRead();
    if (delay > 0) {
        Text1->hide();
        m_timer2 = state.Clock().Every(10, [this, delay] {
            if (Elapsed(State().ItemStart, State().Clock().Now()) > delay) {
                lQuestion->show();
                m_timer2.reset();
            }
        });
    }
    if (item.Duration > 0)
        m_timer1 = state.Clock().Every(1000, [this] {
            if (Elapsed(State().ItemStart, State().Clock().Now()) > Item().Duration)
                Continue(State().Clock().Now());
        });
    if (!item.InstructionExtra.isEmpty()) {
        SSPanel1->show();
        Label1->show();
        Text1->show();
        Text1->setFocus();
    } else {
        setFocus();
    }
}

void fInstruction::ToolClick(const QString& key) {
    const qint32 itemEnd = m_inputTime != 0 ? m_inputTime : State().Clock().Now();
    m_inputTime = 0;
    ClickSound(QStringLiteral("CLICK"));
    if (key == QLatin1String("GoBack")) {
        Unload();
        Driver().GoBack();
    } else if (key == QLatin1String("Continue")) {
        Continue(itemEnd);
    }
}

void fInstruction::Continue(qint32 itemEnd) {
    const Question& item = Item();
    // A required word that doesn't match leaves the form as it is, without a word.
    if (!item.InstructionExtra.isEmpty() &&
        Normalised(Text1->text()) != Normalised(item.InstructionExtra))
        return;
    State().ItemEnd = itemEnd;
    m_timer1.reset();
    m_timer2.reset();
    const QString skip = item.skip;
    Unload();
    Driver().EndItem(QStringLiteral("ok"), skip);
}

bool fInstruction::eventFilter(QObject* watched, QEvent* event) {
    // A click of the bar ends the item at its own moment, not at that of a key typed before it.
    if (event->type() == QEvent::MouseButtonRelease)
        m_inputTime = EventTime(static_cast<QInputEvent*>(event));
    return ItemForm::eventFilter(watched, event);
}

bool fInstruction::ItemKey(QKeyEvent* event, qint32 eventTime) {
    m_inputTime = eventTime;
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        focusWidget() == Text1) {
        ToolClick(QStringLiteral("Continue"));
        return true;
    }
    return false;
}

} // namespace corvane
