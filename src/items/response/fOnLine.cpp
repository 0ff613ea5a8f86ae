#include "items/response/fOnLine.h"

#include "definitions/number_reading.h"
#include "devices/joystick.h"
#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "output/essay_files.h"
#include "state/error.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QApplication>
#include <QFile>
#include <QKeyEvent>
#include <QScreen>
#include <QSlider>

namespace corvane {

namespace {

// Design places in twips.
constexpr double kFormWidth = 9132;
constexpr double kFormHeight = 1212;
constexpr TwipRect kSlider{48, 96, 9036, 480};
constexpr double kNumberTop = 576;
constexpr double kNumberWidth = 600;
constexpr double kNumberHeight = 240;
constexpr double kTextTop = 816;
constexpr double kTextHeight = 360;
constexpr double kFirstTextLeft = 112;
constexpr int kSampleMs = 100;
constexpr int kKeyStep = 10;

} // namespace

fOnLine::fOnLine(RunContext& run) : ItemForm(run, QStringLiteral("fOnLine")) {
    // A bar over the item forms that never takes the keyboard from them.
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::WindowDoesNotAcceptFocus);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    lQuestion->hide();
    Slider1 = new QSlider(Qt::Horizontal, Picture1);
    Slider1->setObjectName(QStringLiteral("Slider1"));
    Slider1->setFocusPolicy(Qt::NoFocus);
    Slider1->setTickPosition(QSlider::TicksBelow);
    for (int n = 1; n <= kPoints; ++n) {
        lSR[std::size_t(n)] = new QLabel(Picture1);
        lSR[std::size_t(n)]->setObjectName(QStringLiteral("lSR(%1)").arg(n));
        lSR[std::size_t(n)]->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        lSR[std::size_t(n)]->hide();
        lPL[std::size_t(n)] = new QLabel(Picture1);
        lPL[std::size_t(n)]->setObjectName(QStringLiteral("lPL(%1)").arg(n));
        lPL[std::size_t(n)]->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        lPL[std::size_t(n)]->hide();
    }
}

fOnLine::~fOnLine() {
    if (m_filtering)
        qApp->removeEventFilter(this);
}

void fOnLine::Load() {
    RunState& state = State();
    const Question& item = Item();
    state.OnLineUp = True;
    state.OnLineEndStep = qint16(state.QuestionStep + 2);
    m_variable = item.VariableName;
    if (item.Parameters == QLatin1String("?"))
        return PassOverWithStaleChoice(QStringLiteral(
            "The on-ling rating item has no parameter value. Edit the current questionnaire and "
            "add a parameter value for this item.  For example, a value of (p5) would result in "
            "5 scale points."));
    const int points = qBound(0, int(ReadNumber(item.Parameters)), kPoints);
    PlaceForm();
    LayOutLabels(points);
    m_lowPoint = RoundToInt16(ReadNumber(lSR[1]->text()));
    m_highPoint = points >= 1 ? RoundToInt16(ReadNumber(lSR[std::size_t(points)]->text())) : 0;
    Slider1->setRange(0, qMax(0, points - 1) * 100);
    Slider1->setPageStep(100);
    Slider1->setTickInterval(100);
    ReadCalibration();
    state.OnLineUp = True;
    m_startTime = state.Clock().Now();
    m_timer1 = state.Clock().Every(kSampleMs, [this] { Timer1_Timer(); });
    OpenJoystick();
    if (m_noJoystick)
        Slider1->setValue((Slider1->minimum() + Slider1->maximum()) / 2);
    qApp->installEventFilter(this);
    m_filtering = true;
    show();
    raise();
    // The bar doesn't take the item's turn: the next item comes up under it at once.
    Driver().NextQuestion();
}

void fOnLine::PlaceForm() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QRect backdrop = screen ? screen->geometry() : QRect(0, 0, 1024, 768);
    resize(qRound(kFormWidth / TPX()), qRound(kFormHeight / TPY()));
    Picture1->setGeometry(rect());
    QPalette look = Picture1->palette();
    look.setColor(QPalette::Window, QColor(Run().question.back));
    Picture1->setPalette(look);
    Bar1->hide();
    const int top =
        Item().Top != 0 ? Item().Top : backdrop.height() - qRound(1.3 * height()) + backdrop.top();
    move((backdrop.width() - width()) / 2 + backdrop.left(), top);
    PlaceTwips(Slider1, kSlider);
}

void fOnLine::LayOutLabels(int points) {
    const Question& item = Item();
    const double col = points > 1 ? std::floor((kSlider.width - 355) / (points - 1)) : 0;
    const double scaleEnd = kSlider.left + kSlider.width;
    QFont small = font();
    small.setPointSizeF(8);
    for (int n = 1; n <= points; ++n) {
        QLabel* number = lSR[std::size_t(n)];
        QLabel* text = lPL[std::size_t(n)];
        number->setFont(small);
        text->setFont(small);
        number->setText(item.pointlabel[std::size_t(n)]);
        text->setText(item.textlabel[std::size_t(n)]);
        const double tick = (n - 1) * col + 225;
        // The number stays centred on its tick; its box narrows at the ends to stay on the bar.
        const double numberWidth = qMin(kNumberWidth, 2 * qMin(tick, kFormWidth - tick));
        PlaceTwips(number, {tick - numberWidth / 2, kNumberTop, numberWidth, kNumberHeight});
        const double width = qMax(col, kNumberWidth);
        TwipRect place{tick - width / 2, kTextTop, width, kTextHeight};
        if (n == 1) {
            place.left = kFirstTextLeft;
            text->setAlignment(Qt::AlignLeft | Qt::AlignTop);
        } else if (n == points) {
            place.left = scaleEnd - width;
            text->setAlignment(Qt::AlignRight | Qt::AlignTop);
        }
        PlaceTwips(text, place);
        number->show();
        text->show();
    }
}

// Two comma-separated numbers, the stick's left and right ends; without the file the stick's
// whole range counts.
void fOnLine::ReadCalibration() {
    QFile file(ProgramFolder::FilePath(QStringLiteral("utilities/calibratejoystick/settings.txt")));
    if (file.open(QIODevice::ReadOnly)) {
        const QStringList values = QString::fromLocal8Bit(file.readLine()).split(QLatin1Char(','));
        m_joyMin = qint32(ReadNumber(values.value(0)));
        m_joyMax = qint32(ReadNumber(values.value(1)));
    }
    if (m_joyMax == 0)
        m_joyMax = 65000;
}

void fOnLine::OpenJoystick() {
    RunState& state = State();
    const QString path = Joystick::DevicePath();
    m_joystick = Joystick::Open(path);
    m_joystick->Poll();
    const JoystickPosition at = m_joystick->Position();
    m_noJoystick = m_joystick->State() != Joystick::Status::Present || (at.x == 0 && at.y == 0);
    if (!m_noJoystick || state.JoystickAbsenceTold)
        return;
    state.JoystickAbsenceTold = true;
    const QString why = m_joystick->State() == Joystick::Status::Present
                            ? QStringLiteral("it has reported no position")
                            : m_joystick->Problem();
    Tell(QStringLiteral("No joystick can be read for the on-line rating '") + m_variable +
         QStringLiteral("' (") + path + QStringLiteral(": ") + why +
         QStringLiteral("). The slider moves by the Left and Right arrow keys. To use a "
                        "joystick, plug it in before the run, or name its device as "
                        "JoystickDevice in Corvane's settings."));
}

void fOnLine::Timer1_Timer() {
    RunState& state = State();
    // Stays above the item under it, whatever that item raises.
    if (QGuiApplication::platformName() != QLatin1String("offscreen"))
        raise();
    const bool hadJoystick = !m_noJoystick;
    if (hadJoystick)
        FollowJoystick();
    try {
        m_bins.Add(Elapsed(m_startTime, state.Clock().Now()), Slider1->value());
    } catch (const CorvaneError&) {
        // A rating of more hours than its bins count: the sample is passed over.
    }
    if (hadJoystick && m_noJoystick)
        Tell(QStringLiteral("The joystick (") + m_joystick->Name() +
             QStringLiteral(") was lost during the on-line rating '") + m_variable +
             QStringLiteral("' (") + m_joystick->Problem() +
             QStringLiteral("). The rating goes on: the slider moves by the Left and Right "
                            "arrow keys."));
}

void fOnLine::FollowJoystick() {
    if (!m_joystick->Poll()) {
        m_noJoystick = true;
        return;
    }
    if (m_joyMax == m_joyMin)
        return;
    const double share = double(m_joystick->Position().x - m_joyMin) / (m_joyMax - m_joyMin);
    const double value = std::floor(share * (Slider1->maximum() - Slider1->minimum()));
    if (value >= Slider1->minimum() && value <= Slider1->maximum())
        Slider1->setValue(int(value));
}

bool fOnLine::eventFilter(QObject*, QEvent* event) {
    // The arrows move the slider wherever the keyboard is, but not in a box that asks something.
    if (event->type() != QEvent::KeyPress || QApplication::activeModalWidget())
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    if ((key->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return false;
    if (key->key() != Qt::Key_Left && key->key() != Qt::Key_Right)
        return false; // other keys are the item's
    Form_KeyDown(key->key());
    return true;
}

void fOnLine::Form_KeyDown(int key) {
    const int value = Slider1->value();
    if (key == Qt::Key_Right && value <= Slider1->maximum() - kKeyStep)
        Slider1->setValue(value + kKeyStep);
    else if (key == Qt::Key_Left && value >= Slider1->minimum() + kKeyStep)
        Slider1->setValue(value - kKeyStep);
}

void fOnLine::Tell(const QString& text) {
    State().Boxes().Show(MessageBox{State().MessageTitle(), text, BoxIcon::Information});
}

void fOnLine::Unloading() {
    RunState& state = State();
    m_timer1.reset();
    if (m_filtering)
        qApp->removeEventFilter(this);
    m_filtering = false;
    const DataOutputSettings settings = Run().outputSettings
                                            ? Run().outputSettings()
                                            : CurrentDataOutputSettings(QString(), QString());
    AppendSideRecord(state, OnlineFilePath(state, m_variable),
                     OnlineRecord(state, settings, m_lowPoint, m_highPoint, m_bins),
                     QStringLiteral("the on-line rating"), m_variable);
}

} // namespace corvane
