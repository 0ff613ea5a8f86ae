#include "items/media/document_cache.h"

#include "engine/item_frame.h"
#include "engine/word_processor.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>
#include <csignal>
#include <unistd.h>

namespace corvane {

namespace {

const QStringList kDocumentEndings{QStringLiteral("doc"), QStringLiteral("docx"),
                                   QStringLiteral("odt"), QStringLiteral("rtf"),
                                   QStringLiteral("wpd")};

// The office program hands work to a child process: the whole group goes when time is up.
void StartInGroupOfItsOwn(QProcess& process) {
    process.setChildProcessModifier([] { ::setpgid(0, 0); });
}

void StopGroup(QProcess& process) {
    if (process.processId() > 0)
        ::kill(-pid_t(process.processId()), SIGKILL);
    process.waitForFinished(5000);
}

QString ConversionFailure(const QString& document, const QString& why) {
    return QStringLiteral("The document '") + document +
           QStringLiteral("' could not be made ready for showing: ") + why +
           QStringLiteral(".  It will be skipped in the run.");
}

} // namespace

bool IsDocumentFile(const QString& name) {
    return kDocumentEndings.contains(QFileInfo(name).suffix().toLower());
}

bool IsDocumentItem(const QString& type) {
    const QString lower = type.trimmed().toLower();
    return lower == QLatin1String("word document") || lower == QLatin1String("wordperfect doc");
}

QString FindOfficeProgram(const QString& folder) {
    auto runnable = [](const QString& path) {
        const QFileInfo info(path);
        return !path.isEmpty() && info.isFile() && info.isExecutable();
    };
    if (!folder.isEmpty()) {
        const QString inFolder =
            QDir(ToLinuxSeparators(folder)).filePath(QStringLiteral("soffice"));
        if (runnable(inFolder))
            return inFolder;
    }
    const QString documentClass = ReadRegistryValue(QStringLiteral("HKEY_CLASSES_ROOT"),
                                                    QStringLiteral(".doc"), QString(), QString());
    const QString command =
        documentClass.isEmpty()
            ? QString()
            : ReadRegistryValue(QStringLiteral("HKEY_CLASSES_ROOT"),
                                documentClass + QStringLiteral("\\shell\\open\\command"), QString(),
                                QString());
    return runnable(command) ? command : QString();
}

DocumentCache::DocumentCache(const QString& folder) : m_folder(folder) {}

DocumentCache DocumentCache::Program() {
    return DocumentCache(ProgramFolder::FilePath(QStringLiteral("cache/documents")));
}

QString DocumentCache::Key(const QString& document) {
    QFile file(document);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(&file);
    // The ending picks the office program's reader, so it is part of what is converted.
    hash.addData(QFileInfo(document).suffix().toLower().toUtf8());
    return QString::fromLatin1(hash.result().toHex());
}

QString DocumentCache::PdfFor(const QString& document) const {
    const QString key = Key(document);
    if (key.isEmpty())
        return QString();
    const QString pdf = QDir(m_folder).filePath(key + QStringLiteral(".pdf"));
    return QFileInfo::exists(pdf) ? pdf : QString();
}

Conversion DocumentCache::Convert(const QString& document, const QString& office,
                                  int timeLimitMs) const {
    Conversion result;
    const QString key = Key(document);
    if (key.isEmpty()) {
        result.error = ConversionFailure(document, QStringLiteral("the file can not be read"));
        return result;
    }
    result.pdf = QDir(m_folder).filePath(key + QStringLiteral(".pdf"));
    if (QFileInfo::exists(result.pdf)) {
        result.ok = true;
        return result;
    }
    if (office.isEmpty()) {
        result.error = ConversionFailure(document, QStringLiteral("the office program (soffice) "
                                                                  "was not found"));
        return result;
    }
    QDir().mkpath(m_folder);
    QTemporaryDir out(QDir(m_folder).filePath(QStringLiteral("convert-XXXXXX")));
    // A profile of its own: an office program the user has open can't take the work over, and
    // the conversion never waits for it.
    const QString profile = QDir(m_folder).filePath(QStringLiteral("office-profile"));
    QProcess process;
    StartInGroupOfItsOwn(process);
    process.setWorkingDirectory(out.path());
    process.setProgram(office);
    process.setArguments(
        {QStringLiteral("-env:UserInstallation=") + QUrl::fromLocalFile(profile).toString(),
         QStringLiteral("--headless"), QStringLiteral("--norestore"), QStringLiteral("--nologo"),
         QStringLiteral("--convert-to"), QStringLiteral("pdf"), QStringLiteral("--outdir"),
         out.path(), QFileInfo(document).absoluteFilePath()});
    QElapsedTimer timer;
    timer.start();
    process.start();
    if (!process.waitForStarted(10000)) {
        result.error = ConversionFailure(document, QStringLiteral("the office program '") + office +
                                                       QStringLiteral("' did not start"));
        return result;
    }
    if (!process.waitForFinished(timeLimitMs)) {
        StopGroup(process);
        result.error = ConversionFailure(
            document, QStringLiteral("the office program took longer than %1 s and was stopped")
                          .arg(timeLimitMs / 1000));
        return result;
    }
    result.ms = timer.elapsed();
    const QStringList made = QDir(out.path()).entryList({QStringLiteral("*.pdf")}, QDir::Files);
    if (made.isEmpty()) {
        const QString said = QString::fromLocal8Bit(process.readAllStandardError()).trimmed();
        result.error = ConversionFailure(
            document, said.isEmpty()
                          ? QStringLiteral("the office program could not read it")
                          : QStringLiteral("the office program said '") + said + QLatin1Char('\''));
        return result;
    }
    // Renamed into place, so that a PDF in the cache is always a whole one.
    if (!QFile::rename(QDir(out.path()).filePath(made.first()), result.pdf)) {
        result.error = ConversionFailure(document, QStringLiteral("the cache folder '") + m_folder +
                                                       QStringLiteral("' can not be written"));
        return result;
    }
    result.ok = true;
    return result;
}

void PrepareDocuments(RunContext& run, const ExperimentNeeds& needs, const StatusPanel& panel) {
    RunState& state = run.state;
    const DocumentCache cache = DocumentCache::Program();
    const QString office = FindOfficeProgram(run.officeFolder);
    const QString oldText = panel.text ? panel.text() : QString();
    QStringList done;
    for (const ExperimentNeeds::NamedFile& named : needs.files) {
        const bool document =
            named.itemType.isEmpty() ? IsDocumentFile(named.file) : IsDocumentItem(named.itemType);
        const auto found = document ? FindFile(named.file) : std::nullopt;
        // A missing file is told when the run reaches it.
        if (!found || done.contains(*found))
            continue;
        done << *found;
        if (!cache.PdfFor(*found).isEmpty())
            continue;
        if (office.isEmpty())
            return; // the run tells that documents can't be shown
        if (panel.show)
            panel.show(QStringLiteral("Preparing ") + named.file +
                       QStringLiteral(" for showing ... one moment"));
        const Conversion conversion = cache.Convert(*found, office, kConversionTimeLimitMs);
        if (!conversion.ok)
            state.Boxes().Show(
                MessageBox{state.MessageTitle(), conversion.error, BoxIcon::Warning});
    }
    if (panel.show && !done.isEmpty())
        panel.show(oldText);
}

} // namespace corvane
