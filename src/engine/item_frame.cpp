#include "engine/item_frame.h"

#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "engine/insert_answers.h"
#include "engine/media_output.h"
#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "engine/screen_sync.h"
#include "engine/time_stamps.h"
#include "engine/web_pages.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QPixmapCache>
#include <QScreen>
#include <QTime>
#include <QWebEngineView>
#include <array>

namespace corvane {

namespace {

constexpr double kDesignWidth = 9600;
constexpr double kDesignHeight = 7200;

QString TimeOfDay() {
    return QTime::currentTime().toString(QStringLiteral("hh:mm:ss"));
}

// The character sets of the launcher's menu, by their place in it, as the scripts of the fonts.
QFontDatabase::WritingSystem ScriptOfCharset(int charset) {
    using W = QFontDatabase::WritingSystem;
    static const std::array<W, 11> scripts{
        W::Latin, W::SimplifiedChinese, W::Greek, W::Latin, W::Vietnamese, W::Hebrew, W::Arabic,
        W::Latin, W::Cyrillic,          W::Thai,  W::Latin};
    return charset >= 0 && charset < int(scripts.size()) ? scripts[std::size_t(charset)] : W::Any;
}

// A forced character set: the face keeps the letters it has, and those of the script that it
// lacks come from an installed face that has them.
void ForceCharset(QFont& font, int charset) {
    const QFontDatabase::WritingSystem script = ScriptOfCharset(charset);
    if (script == QFontDatabase::Any ||
        QFontDatabase::writingSystems(font.family()).contains(script))
        return;
    const QStringList faces = QFontDatabase::families(script);
    if (!faces.isEmpty())
        font.setFamilies({font.family(), faces.first()});
}

} // namespace

ItemForm::ItemForm(RunContext& run, const QString& formName) : m_run(run) {
    setObjectName(formName);
    setWindowTitle(QStringLiteral("Corvane"));
    setFocusPolicy(Qt::StrongFocus);
    setAutoFillBackground(true);
    Picture1 = new QWidget(this);
    Picture1->setObjectName(QStringLiteral("Picture1"));
    Picture1->setAutoFillBackground(true);
    Image1 = new QLabel(Picture1);
    Image1->setObjectName(QStringLiteral("Image1"));
    Image1->hide();
    lQuestion = new QLabel(Picture1);
    lQuestion->setObjectName(QStringLiteral("lQuestion"));
    lQuestion->setWordWrap(true);
    lQuestion->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    Bar1 = new NavigationBar(this);
    connect(Bar1, &NavigationBar::ToolClick, this, [this](const QString& key) { ToolClick(key); });
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        m_tpx = 1440.0 / screen->logicalDotsPerInchX();
        m_tpy = 1440.0 / screen->logicalDotsPerInchY();
    }
}

ItemForm::~ItemForm() = default;

Question& ItemForm::Item() const {
    return m_run.state.Questions[std::size_t(m_run.state.CurrentQuestion)];
}

void ItemForm::ApplyFormGeometry() {
    // Every form of a run covers the screen, as the backdrop does.
    const QScreen* screen = QGuiApplication::primaryScreen();
    setGeometry(screen ? screen->geometry() : QRect(0, 0, 1024, 768));
    m_scaleX = width() * m_tpx / kDesignWidth;
    m_scaleY = height() * m_tpy / kDesignHeight;
    Picture1->setGeometry(rect());
    Bar1->setGeometry(0, height() - Bar1->height(), width(), Bar1->height());
}

TwipRect ItemForm::ScaledDesign(const TwipRect& design) const {
    return {design.left * m_scaleX, design.top * m_scaleY, design.width * m_scaleX,
            design.height * m_scaleY};
}

void ItemForm::PlaceTwips(QWidget* control, const TwipRect& rect) const {
    control->setGeometry(qRound(rect.left / m_tpx), qRound(rect.top / m_tpy),
                         qMax(0, qRound(rect.width / m_tpx)), qMax(0, qRound(rect.height / m_tpy)));
}

void ItemForm::PlaceDesign(QWidget* control, const TwipRect& design) const {
    PlaceTwips(control, ScaledDesign(design));
}

void ItemForm::ApplyStyle(QWidget* control, const TextStyle& style, bool withBack) const {
    QFont font(style.family);
    font.setPointSizeF(style.pointSize);
    font.setBold(style.bold);
    font.setItalic(style.italic);
    if (m_run.charsetOverride != -1)
        ForceCharset(font, m_run.charsetOverride);
    control->setFont(font);
    QPalette palette = control->palette();
    palette.setColor(QPalette::WindowText, QColor(style.fore));
    palette.setColor(QPalette::Text, QColor(style.fore));
    palette.setColor(QPalette::ButtonText, QColor(style.fore));
    if (withBack) {
        palette.setColor(QPalette::Base, QColor(style.back));
        palette.setColor(QPalette::Window, QColor(style.back));
    }
    control->setPalette(palette);
}

void ItemForm::PrepareForm() {
    RunState& state = m_run.state;
    const bool inQuestionnaire = state.CurrentQuestion > 0;
    // The style switch: the list entry's for the first item, the item's own from the second on.
    QString dollar;
    if (state.CurrentQuestion <= 1 && state.CurrentFile >= 1)
        dollar = state.Files[std::size_t(state.CurrentFile)].Dollar;
    else if (state.CurrentQuestion >= 2)
        dollar = Item().Dollar;
    if (!dollar.isEmpty() && m_run.loadStyle)
        m_run.loadStyle(dollar.toLower() == QLatin1String("off") ? QString() : dollar);
    if (inQuestionnaire && IsTrue(Item().At))
        AppendTimeStamp(state, TimeOfDay());

    // Each item's controls get palettes of their own, so the style's cached button pictures
    // of earlier items are never drawn again: over a long questionnaire they would only pile up.
    QPixmapCache::clear();
    QPalette black = palette();
    black.setColor(QPalette::Window, Qt::black);
    setPalette(black);
    QPalette back = Picture1->palette();
    back.setColor(QPalette::Window, QColor(m_run.question.back));
    Picture1->setPalette(back);
    if (!inQuestionnaire)
        return;

    Question& item = Item();
    item.WordingShown = InsertAnswers(state, item.QuestionWording);
    if (IsTrue(state.ResponsesWorkbookOn) && m_run.workbookText)
        item.WordingShown = m_run.workbookText(item.WordingShown);
    ApplyWordingParameters();
    ApplyStyle(lQuestion, m_run.question, false);
    // A label whose text names a page stands for that page.
    const auto labels = findChildren<QLabel*>();
    for (QLabel* label : labels) {
        if (label->text().endsWith(QLatin1String(".htm"), Qt::CaseInsensitive))
            AddHtmlBox(label->geometry(), label->text());
    }
}

void ItemForm::AddHtmlBox(const QRect& place, const QString& file) {
    const int number = ++m_htmlBoxes;
    auto* box = new QWidget(Picture1);
    box->setObjectName(QStringLiteral("HTML_PB%1").arg(number));
    box->setGeometry(place);
    // The view's border and scroll bars lie outside the box: 2 pixels up and left, 26 larger.
    QWebEngineView* view = MakeRunWebView(box);
    view->setObjectName(QStringLiteral("HTML_BW%1").arg(number));
    view->setGeometry(-2, -2, place.width() + 26, place.height() + 26);
    view->setUrl(QUrl::fromLocalFile(m_run.state.ExperimentFolder + QLatin1Char('/') + file));
    view->show();
    box->show();
    box->raise();
}

void ItemForm::ApplyWordingParameters() {
    Question& item = Item();
    if (!item.WordingShown.contains(QLatin1String("param(")))
        return;
    ParameterList list;
    try {
        item.WordingShown = ExtractParameters(item.WordingShown, list);
    } catch (const CorvaneError&) {
        return; // a wording the splitter can't read is shown as it stands
    }
    QRect place = lQuestion->geometry();
    for (int slot = 1; slot <= list.count; ++slot) {
        const QString& entry = list.entries[std::size_t(slot)];
        const double value = ReadNumber(SlotValue(entry));
        if (value <= 0)
            continue;
        const int pixels = qRound(value);
        const QString letter = SlotLetter(entry);
        if (letter == QLatin1String("l"))
            place.moveLeft(pixels);
        else if (letter == QLatin1String("w"))
            place.setWidth(pixels);
        else if (letter == QLatin1String("t"))
            place.moveTop(pixels);
        else if (letter == QLatin1String("h"))
            place.setHeight(pixels);
    }
    lQuestion->setGeometry(place);
    if (item.WordingShown.endsWith(QLatin1String("param")))
        item.WordingShown.chop(5);
}

void ItemForm::PrepareBackground() {
    const RunState& state = m_run.state;
    auto playSound = [this](const QString& file) {
        if (m_run.playBackgroundSound)
            m_run.playBackgroundSound(file);
    };
    if (state.CurrentQuestion < 1) {
        const FileEntry& entry = state.Files[std::size_t(state.CurrentFile)];
        PlaceBackgroundImage(entry.Backimage, entry.BackimageLeft, entry.BackimageTop,
                             entry.BackimageWidth, entry.BackimageHeight);
        playSound(entry.backsound);
        // A list entry's video takes the fields that its loader never fills.
        PlayBackgroundVideo(entry.Backvideo, entry.BackvideoLeft, entry.BackvideoTop,
                            entry.BackvideoWidth);
        return;
    }
    const Question& item = Item();
    PlaceBackgroundImage(item.Backimage, item.BackimageLeft, item.BackimageTop, item.BackimageWidth,
                         item.BackimageHeight);
    playSound(item.backsound);
    PlayBackgroundVideo(item.Backvideo, item.BackvideoLeft, item.BackvideoTop, item.BackvideoWidth);
}

void ItemForm::PlaceBackgroundImage(const QString& file, int left, int top, int width, int height) {
    if (file.isEmpty() || file.toLower() == QLatin1String("none"))
        return;
    const QString lower = file.toLower();
    if (lower.endsWith(QLatin1String(".htm")) || lower.endsWith(QLatin1String(".html"))) {
        AddHtmlBox(QRect(left, top, width > 0 ? width : this->width(),
                         height > 0 ? height : this->height()),
                   file);
        return;
    }
    const auto found = FindFile(file);
    const QPixmap picture = found ? QPixmap(*found) : QPixmap();
    if (picture.isNull())
        return; // a picture that can't be loaded leaves the form without it
    QSize size = picture.size();
    const bool stretched = width > 0 || height > 0;
    if (height > 0)
        size.setHeight(height);
    if (width > 0)
        size.setWidth(width);
    Image1->setScaledContents(stretched);
    Image1->setPixmap(picture);
    Image1->resize(size);
    if (top < 1 || left < 1) {
        if (stretched) {
            Image1->move(0, 0);
        } else {
            // Centred as the designers did it: P - P * I / S, halved, in the picture box.
            const double p = Picture1->height();
            const double s = this->height();
            const double pw = Picture1->width();
            const double sw = this->width();
            Image1->move(qRound((pw - pw * size.width() / sw) / 2),
                         qRound((p - p * size.height() / s) / 2));
        }
    } else {
        Image1->move(left, top);
    }
    Image1->lower();
    Image1->show();
}

void ItemForm::PlayBackgroundVideo(const QString& file, int left, int top, int full) {
    if (file.isEmpty() || file.toLower() == QLatin1String("none"))
        return;
    if (full == -1)
        m_run.state.Boxes().Show(
            MessageBox{m_run.state.MessageTitle(),
                       QStringLiteral("Full screen is not an option for background "
                                      "videos."),
                       BoxIcon::Information});
    if (const auto found = FindFile(file))
        MediaOutput::PlayVideo(Picture1, *found, left, top);
}

void ItemForm::PrepareNavigationBar(bool showContinue) {
    const RunState& state = m_run.state;
    Bar1->SetBitmapPath(ProgramFolder::FilePath(QStringLiteral("graphics")));
    if (state.CurrentQuestion > 1 && IsTrue(Item().GoBack))
        Bar1->AddButton(QStringLiteral("GoBack"), QStringLiteral("goback.bmp"), 40);
    if (showContinue)
        Bar1->AddButton(QStringLiteral("Continue"), QStringLiteral("continue.bmp"), width() - 200);
    Bar1->raise();
}

qint32 ItemForm::ShowAndRead() {
    show();
    raise();
    activateWindow();
    return DrawAndRead(this);
}

qint32 ItemForm::DrawAndRead(QWidget* control) {
    const qint32 before = m_run.state.Clock().Now();
    control->repaint();
    const std::optional<qint32> shown = WaitForScreen();
    const qint32 moment = ScreenMoment(shown, before, m_run.state.Clock().Now());
    // The item's pulse goes out now that its wording is on the screen, not when it was made.
    if (!m_onScreenTold && m_run.state.CurrentQuestion > 0 && m_run.itemOnScreen) {
        m_onScreenTold = true;
        if (!Item().TTLCode.isEmpty())
            m_run.itemOnScreen(Item().TTLCode, moment);
    }
    return moment;
}

qint32 ItemForm::EventTime(const QInputEvent* event) const {
    const qint32 now = m_run.state.Clock().Now();
    if (!EventTimesOnRunClock() || event->timestamp() == 0)
        return now;
    const auto stamped = static_cast<qint32>(static_cast<quint32>(event->timestamp()));
    // An event time from another clock, or from the future, is not used.
    const qint32 age = Elapsed(stamped, now);
    return age >= 0 && age < 10000 ? stamped : now;
}

void ItemForm::ClickSound(const QString& kind) const {
    if (m_run.muteSounds || kind != QLatin1String("CLICK"))
        return;
    if (m_run.playClick)
        m_run.playClick();
}

void ItemForm::PassOverWithStaleChoice(const QString& message) {
    RunState& state = m_run.state;
    state.Boxes().Show(MessageBox{DefaultBoxTitle(), message, BoxIcon::Information});
    Unload();
    const int stale = int(ReadNumber(state.ResponseIndex));
    const auto& skips = Item().skips;
    state.SkipTarget =
        stale >= 1 && stale < int(skips.size()) ? skips[std::size_t(stale)] : QString();
    m_run.driver.NextQuestion();
}

void ItemForm::PassOver() {
    RunState& state = m_run.state;
    const bool inQuestionnaire = state.CurrentQuestion >= 1;
    const QString skip = Item().skip;
    Unload();
    if (!inQuestionnaire) {
        m_run.driver.NextFile();
        return;
    }
    state.SkipTarget = skip;
    m_run.driver.NextQuestion();
}

void ItemForm::WriteAnswerFile(const QString& line) const {
    const QString& name = Item().FileName;
    if (!name.toLower().endsWith(QLatin1String(".txt")))
        return;
    QFile file(name);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write((line + QStringLiteral("\r\n")).toLocal8Bit());
    else
        m_run.state.Boxes().Show(MessageBox{
            m_run.state.MessageTitle(),
            QStringLiteral("Path ") + name + QStringLiteral(" not found."), BoxIcon::Information});
}

void ItemForm::closeEvent(QCloseEvent* event) {
    // Closed from outside, the form would leave the run on its bare backdrop.
    if (event->spontaneous() && !m_unloaded) {
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}

void ItemForm::Unload() {
    if (m_unloaded)
        return;
    m_unloaded = true;
    Unloading();
    hide();
    if (m_run.formGone)
        m_run.formGone(this);
    deleteLater();
}

bool ItemForm::FrameKey(QKeyEvent* event) {
    const Qt::KeyboardModifiers mods = event->modifiers() & ~Qt::KeypadModifier;
    if (event->key() == Qt::Key_Right) {
        m_run.driver.OperatorKeys(mods.testFlag(Qt::ControlModifier),
                                  mods.testFlag(Qt::AltModifier));
        // Alone, the key still moves the caret of a text box.
        return m_unloaded;
    }
    if (!KeysNavigate())
        return false;
    const qint32 now = m_run.state.Clock().Now();
    if (Elapsed(m_run.state.ItemStart, now) < 200 || !m_run.keyNavigation || mods != Qt::NoModifier)
        return false;
    // The key acts as the button and then goes on to the control, as a typed blank would.
    if (event->key() == Qt::Key_Space && Bar1->State(QStringLiteral("Continue")) == 0)
        ToolClick(QStringLiteral("Continue"));
    else if (event->key() == Qt::Key_Backspace && Bar1->State(QStringLiteral("GoBack")) == 0)
        ToolClick(QStringLiteral("GoBack"));
    return m_unloaded;
}

bool ItemForm::eventFilter(QObject* watched, QEvent* event) {
    // The form sees keys before its controls do.
    if (event->type() == QEvent::KeyPress && !m_unloaded) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (ItemKey(key, EventTime(key)) || FrameKey(key))
            return true;
    }
    return QWidget::eventFilter(watched, event);
}

void ItemForm::keyPressEvent(QKeyEvent* event) {
    // A key that a control passed on has been seen by the filter already.
    QWidget* focus = focusWidget();
    if (m_unloaded || (focus && focus != this))
        return;
    if (!ItemKey(event, EventTime(event)) && !FrameKey(event))
        QWidget::keyPressEvent(event);
}

void ItemForm::showEvent(QShowEvent* event) {
    const auto controls = findChildren<QWidget*>();
    for (QWidget* control : controls) {
        control->removeEventFilter(this);
        control->installEventFilter(this);
    }
    QWidget::showEvent(event);
}

} // namespace corvane
