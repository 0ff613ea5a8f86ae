#include "items/media/fHtml.h"

#include "engine/navigation_bar.h"
#include "engine/run_driver.h"
#include "engine/web_pages.h"
#include "output/browser_log.h"
#include "output/essay_files.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QKeyEvent>
#include <QRegularExpression>
#include <QStyle>
#include <QToolButton>
#include <QWebEngineView>

namespace corvane {

namespace {

struct ToolbarButton {
    const char* key;
    const char* word;
    QStyle::StandardPixmap icon;
};

constexpr std::array<ToolbarButton, 6> kToolbar{{
    {"Back", "back", QStyle::SP_ArrowBack},
    {"Forward", "forward", QStyle::SP_ArrowForward},
    {"Stop", "stop", QStyle::SP_BrowserStop},
    {"Refresh", "refresh", QStyle::SP_BrowserReload},
    {"Home", "home", QStyle::SP_DirHomeIcon},
    {"Search", "search", QStyle::SP_FileDialogContentsView},
}};

constexpr int kToolbarHeight = 40;

// Linux has no search page of the system's own: an operator may set one.
QUrl SearchPage() {
    return QUrl(SettingsStore::Get(QStringLiteral("Corvane"), QStringLiteral("SearchPage"),
                                   QStringLiteral("https://duckduckgo.com/"))
                    .toString());
}

} // namespace

QSet<QString> ReadToolbarSwitches(const QString& text) {
    QSet<QString> on;
    const QStringList lines = text.split(QRegularExpression(QStringLiteral("\r\n|\n|\r")));
    for (const QString& line : lines) {
        // The words are looked for as they stand: a line in capitals switches nothing on.
        if (!line.contains(QLatin1String("true")))
            continue;
        for (const ToolbarButton& button : kToolbar) {
            if (line.contains(QLatin1String(button.word)))
                on.insert(QLatin1String(button.key));
        }
    }
    return on;
}

fHtml::fHtml(RunContext& run) : ItemForm(run, QStringLiteral("fHtml")) {
    tb = new QWidget(this);
    tb->setObjectName(QStringLiteral("tb"));
    tb->setAutoFillBackground(true);
    auto* layout = new QHBoxLayout(tb);
    layout->setContentsMargins(4, 2, 4, 2);
    for (const ToolbarButton& each : kToolbar) {
        const QString key = QLatin1String(each.key);
        auto* button = new QToolButton(tb);
        button->setObjectName(key);
        button->setText(key);
        button->setIcon(style()->standardIcon(each.icon));
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setFocusPolicy(Qt::NoFocus);
        button->hide();
        connect(button, &QToolButton::clicked, this, [this, key] { ToolbarClick(key); });
        layout->addWidget(button);
        m_buttons.insert(key, button);
    }
    layout->addStretch();
    tb->hide();
    WebBrowser1 = TakeRunWebView(this);
    WebBrowser1->setObjectName(QStringLiteral("WebBrowser1"));
    static_cast<RunWebPage*>(WebBrowser1->page())->BeforeNavigate = [this](const QUrl& url) {
        BeforeNavigate(url);
    };
}

void fHtml::SetToolbar() {
    // browser.txt is optional: a file that can't be read leaves the toolbar off.
    const auto found = FindFile(State().ExperimentFolder + QStringLiteral("/browser.txt"));
    if (!found)
        return;
    QFile file(*found);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QSet<QString> on = ReadToolbarSwitches(QString::fromLocal8Bit(file.readAll()));
    for (const QString& key : on)
        m_buttons.value(key)->show();
    m_toolbarWanted = !on.isEmpty();
}

void fHtml::Load() {
    RunState& state = State();
    const bool inQuestionnaire = state.CurrentQuestion > 0;
    QString name;
    if (inQuestionnaire) {
        name = Item().FileName;
        m_duration = Item().Duration;
        m_isWebtracker = Item().QuestionType == QLatin1String("webtracker");
    } else {
        const FileEntry& entry = state.Files[std::size_t(state.CurrentFile)];
        name = entry.File;
        m_duration = entry.Duration;
    }
    SetToolbar();
    PrepareForm();
    ApplyFormGeometry();
    PrepareBackground();
    PrepareNavigationBar(m_duration == 0);
    const int top = m_toolbarWanted ? kToolbarHeight : 0;
    if (m_toolbarWanted) {
        tb->setGeometry(0, 0, width(), kToolbarHeight);
        tb->show();
        tb->raise();
    }
    WebBrowser1->setGeometry(0, top, width(), qMax(0, Bar1->y() - top));
    WebBrowser1->raise();
    Bar1->raise();
    m_htmlFile = PageAddress(name, state.ExperimentFolder);
    if (m_isWebtracker)
        StartTracking();
    // A view of an earlier item shows its page until the new one has loaded.
    WebBrowser1->hide();
    connect(WebBrowser1, &QWebEngineView::loadFinished, this, [this] {
        if (WebBrowser1)
            WebBrowser1->show();
    });
    WebBrowser1->setUrl(m_htmlFile);
    state.ItemStart = ShowAndRead();
    if (m_duration > 0)
        m_timer1 = state.Clock().Every(1000, [this] {
            if (Elapsed(State().ItemStart, State().Clock().Now()) > m_duration)
                EndRoutine();
        });
}

QDateTime fHtml::Now() const {
    return Run().wallNow ? Run().wallNow() : QDateTime::currentDateTime();
}

void fHtml::StartTracking() {
    const QString code = Run().outputSettings ? Run().outputSettings().machineCode : QString();
    m_trackFile = EssayFilePath(State(), Item().VariableName, code, QStringLiteral(".txt"));
    if (!PrepareBrowserLog(m_trackFile))
        State().Boxes().Show(
            MessageBox{State().MessageTitle(), BrowserLogLockedText(m_trackFile), BoxIcon::None});
    m_trackInMoment = Now();
}

void fHtml::BeforeNavigate(const QUrl& url) {
    if (!m_isWebtracker)
        return;
    if (!m_trackURL.isEmpty())
        BrowseWriteData();
    m_trackURL = url.toString();
    m_trackInMoment = Now();
}

void fHtml::BrowseWriteData() {
    const auto row = BrowserLogRow(State(), m_trackURL, m_trackInMoment, Now());
    if (!row)
        return;
    if (!AppendBrowserLogRow(m_trackFile, *row))
        ReportLogLocked(*row);
}

void fHtml::ReportLogLocked(const QString& row) {
    RunState& state = State();
    state.Boxes().Show(
        MessageBox{state.MessageTitle(), BrowserLogLockedText(m_trackFile), BoxIcon::None});
    // The row is not lost: it goes to the same name in the program's data folder.
    const QString kept =
        FallbackSideFolder() + QLatin1Char('/') + QFileInfo(m_trackFile).fileName();
    if (PrepareBrowserLog(kept) && AppendBrowserLogRow(kept, row))
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("The page's row has been kept in '") + kept +
                QStringLiteral("' instead; move it into the log when the log can be written."),
            BoxIcon::Information});
}

void fHtml::ToolbarClick(const QString& key) {
    if (key == QLatin1String("Back"))
        WebBrowser1->back();
    else if (key == QLatin1String("Forward"))
        WebBrowser1->forward();
    else if (key == QLatin1String("Stop"))
        WebBrowser1->stop();
    else if (key == QLatin1String("Refresh"))
        WebBrowser1->reload();
    else if (key == QLatin1String("Home"))
        WebBrowser1->setUrl(m_htmlFile);
    else if (key == QLatin1String("Search"))
        WebBrowser1->setUrl(SearchPage());
}

void fHtml::ToolClick(const QString& key) {
    ClickSound(QStringLiteral("CLICK"));
    if (key == QLatin1String("GoBack")) {
        if (m_isWebtracker)
            BrowseWriteData();
        m_timer1.reset();
        Unload();
        Driver().GoBack();
    } else if (key == QLatin1String("Continue")) {
        if (m_isWebtracker)
            BrowseWriteData();
        EndRoutine();
    }
}

void fHtml::EndRoutine() {
    State().ItemEnd = State().Clock().Now();
    m_timer1.reset();
    // No more pages are logged once the item ends.
    m_isWebtracker = false;
    const QString skip = Item().skip;
    Unload();
    Driver().EndItem(QStringLiteral("ok"), skip);
}

void fHtml::hideEvent(QHideEvent* event) {
    // The form goes: its view waits for the next web item.
    if (!event->spontaneous() && WebBrowser1) {
        QWebEngineView* view = WebBrowser1;
        WebBrowser1 = nullptr;
        ReturnRunWebView(view);
    }
    ItemForm::hideEvent(event);
}

bool fHtml::ItemKey(QKeyEvent* event, qint32) {
    // Alt with Right Arrow stays the page's own key for going forward.
    const Qt::KeyboardModifiers mods = event->modifiers() & ~Qt::KeypadModifier;
    if (event->key() == Qt::Key_Right && mods == Qt::AltModifier && WebBrowser1) {
        WebBrowser1->forward();
        return true;
    }
    return false;
}

} // namespace corvane
