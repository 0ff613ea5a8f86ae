// A word-processor document shown inside the run's window, read-only: the PDF that the office
// program made of it when the experiment was loaded, page under page. It ends by Continue or
// its time limit, never within its first second, and stores "ok" and the time taken.
#pragma once

#include "items/media/media_form.h"

class QPdfDocument;
class QScrollArea;
class QVBoxLayout;

namespace corvane {

class fDocument : public MediaForm {
    Q_OBJECT
public:
    explicit fDocument(RunContext& run);
    void Load() override;

    /// Pages of the document shown, and pages drawn so far.
    int PageCount() const;
    int PagesDrawn() const { return m_pagesDrawn; }

protected:
    void Continue(qint32 itemEnd) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;

private:
    /// Draws the next page into the column; false when all are drawn.
    bool DrawNextPage();

    QScrollArea* OLE1 = nullptr;
    QWidget* m_pages = nullptr;
    QVBoxLayout* m_column = nullptr;
    QPdfDocument* m_document = nullptr;
    int m_pagesDrawn = 0;
    int m_pageWidth = 0;
};

} // namespace corvane
