// Word-processor documents made ready for showing: the office program converts each document
// of an experiment to PDF once, when the experiment is loaded, into a cache that the content of
// the file names. A run then shows the PDF and never waits for a conversion.
#pragma once

#include "definitions/experiment_loader.h"

#include <QString>

namespace corvane {

struct RunContext;
struct StatusPanel;

/// True for a file name with a document's ending (.doc, .docx, .odt, .rtf, .wpd).
bool IsDocumentFile(const QString& name);
/// True for the item types that show a document.
bool IsDocumentItem(const QString& type);

/// The office program: `soffice` in `folder` when that is set and holds it, else the one the
/// system has for documents; empty when there is none.
QString FindOfficeProgram(const QString& folder);

struct Conversion {
    bool ok = false;
    /// The PDF in the cache.
    QString pdf;
    /// What went wrong, in words for the operator.
    QString error;
    /// How long the office program took, in ms (0 when the cache had it).
    qint64 ms = 0;
};

class DocumentCache {
public:
    /// A cache in `folder`; the office program's private profile lives beside the PDFs.
    explicit DocumentCache(const QString& folder);
    /// The cache in Corvane's own folder.
    static DocumentCache Program();

    /// The cached PDF of a document, or an empty string when it has not been converted.
    QString PdfFor(const QString& document) const;
    /// Converts the document unless the cache holds it already. The office program is stopped
    /// after `timeLimitMs`.
    Conversion Convert(const QString& document, const QString& office, int timeLimitMs) const;

    /// The name of a document's PDF: a hash of its content and ending.
    static QString Key(const QString& document);
    QString Folder() const { return m_folder; }

private:
    QString m_folder;
};

/// The time an office program may take for one document.
constexpr int kConversionTimeLimitMs = 120000;

/// Converts every document that the experiment names and the cache lacks, saying so on the
/// panel; a document that can't be converted is reported by name.
void PrepareDocuments(RunContext& run, const ExperimentNeeds& needs, const StatusPanel& panel);

} // namespace corvane
