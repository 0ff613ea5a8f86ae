#include "items/media/fDocument.h"

#include "engine/navigation_bar.h"
#include "items/media/document_cache.h"
#include "state/run_state.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPdfDocument>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

namespace corvane {

namespace {

// The first second of a document can't end it.
constexpr qint32 kLeastShownMs = 1000;
constexpr int kPageGap = 8;

} // namespace

fDocument::fDocument(RunContext& run) : MediaForm(run, QStringLiteral("fDocument")) {
    OLE1 = new QScrollArea(Picture1);
    OLE1->setObjectName(QStringLiteral("OLE1"));
    OLE1->setFrameShape(QFrame::NoFrame);
    OLE1->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    OLE1->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_pages = new QWidget;
    m_pages->setObjectName(QStringLiteral("Pages"));
    m_column = new QVBoxLayout(m_pages);
    m_column->setSpacing(kPageGap);
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSizeConstraint(QLayout::SetFixedSize);
    OLE1->setWidget(m_pages);
    m_document = new QPdfDocument(this);
}

int fDocument::PageCount() const {
    return m_document->pageCount();
}

void fDocument::Load() {
    RunState& state = State();
    QString name;
    qint32 duration = 0;
    int top = 0;
    int left = 0;
    if (InQuestionnaire()) {
        const Question& item = Item();
        name = item.FileName;
        duration = item.Duration;
        top = item.Top;
        left = item.Left;
    } else {
        const FileEntry& entry = Entry();
        name = entry.File;
        duration = entry.Duration;
        top = entry.Top;
        left = entry.Left;
    }
    PrepareForm();
    ApplyFormGeometry();
    PrepareBackground();
    PrepareNavigationBar(duration == 0);

    const QString path = FoundPath(name);
    const QString pdf = DocumentCache::Program().PdfFor(path);
    if (pdf.isEmpty()) {
        PassOver(QStringLiteral("The document '") + name +
                     QStringLiteral("' was not made ready for showing when the experiment was "
                                    "loaded.  This item will be skipped."),
                 BoxIcon::Warning);
        return;
    }
    if (m_document->load(pdf) != QPdfDocument::Error::None || m_document->pageCount() < 1) {
        PassOver(QStringLiteral("The document '") + name + QStringLiteral("' (shown from '") + pdf +
                     QStringLiteral("') can not be read.  This item will be skipped."),
                 BoxIcon::Warning);
        return;
    }
    // One twip from the left, unless the item gives a place in pixels.
    const int x = left > 0 ? left : 0;
    const int y = top > 0 ? top : 0;
    OLE1->setGeometry(x, y, width() - x, Bar1->y() - y);
    m_pageWidth = qMin(OLE1->width() - OLE1->verticalScrollBar()->sizeHint().width(),
                       qRound(OLE1->height() * 0.85));
    // Only in editing mode may the document be scrolled; a participant reads what is shown. The
    // view takes no input rather than being disabled, which would grey the pages.
    if (!state.EditMode) {
        OLE1->setFocusPolicy(Qt::NoFocus);
        for (QWidget* part : {static_cast<QWidget*>(OLE1), OLE1->viewport(),
                              static_cast<QWidget*>(OLE1->verticalScrollBar())})
            part->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    DrawNextPage();

    state.ItemStart = ShowAndRead();
    setFocus();
    // The later pages come after the first is on the screen.
    auto* more = new QTimer(this);
    connect(more, &QTimer::timeout, this, [this, more] {
        if (!DrawNextPage())
            more->stop();
    });
    more->start(0);
    if (duration > 0)
        StartLimit(duration, [this] { Continue(State().Clock().Now()); });
}

bool fDocument::DrawNextPage() {
    if (m_pagesDrawn >= m_document->pageCount())
        return false;
    const QSizeF points = m_document->pagePointSize(m_pagesDrawn);
    const int height = qRound(points.height() * m_pageWidth / qMax(1.0, points.width()));
    auto* page = new QLabel;
    page->setObjectName(QStringLiteral("Page(%1)").arg(m_pagesDrawn + 1));
    // The page on white paper: the PDF's own background is transparent.
    QImage paper(m_pageWidth, height, QImage::Format_RGB32);
    paper.fill(Qt::white);
    QPainter(&paper).drawImage(0, 0, m_document->render(m_pagesDrawn, QSize(m_pageWidth, height)));
    page->setPixmap(QPixmap::fromImage(paper));
    m_column->addWidget(page);
    ++m_pagesDrawn;
    return true;
}

void fDocument::Continue(qint32 itemEnd) {
    if (Elapsed(State().ItemStart, itemEnd) < kLeastShownMs)
        return;
    EndWithOk(itemEnd);
}

bool fDocument::ItemKey(QKeyEvent* event, qint32 eventTime) {
    // Space in the document ends it, as the bar's button does.
    if (event->key() == Qt::Key_Space && OLE1->isAncestorOf(focusWidget())) {
        Continue(eventTime);
        return true;
    }
    return false;
}

} // namespace corvane
