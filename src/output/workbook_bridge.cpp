#include "output/workbook_bridge.h"

#include "state/helpers.h"
#include "state/program_folder.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <csignal>
#include <sys/prctl.h>

namespace corvane {

namespace {

const QString kErrorField = QStringLiteral("\\e");

QString Escape(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        if (c == QLatin1Char('\\'))
            out += QStringLiteral("\\\\");
        else if (c == QLatin1Char('\t'))
            out += QStringLiteral("\\t");
        else if (c == QLatin1Char('\n'))
            out += QStringLiteral("\\n");
        else if (c == QLatin1Char('\r'))
            out += QStringLiteral("\\r");
        else
            out += c;
    }
    return out;
}

std::optional<QString> Unescape(const QString& field) {
    if (field == kErrorField)
        return std::nullopt;
    QString out;
    out.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        QChar c = field[i];
        if (c == QLatin1Char('\\') && i + 1 < field.size()) {
            const QChar next = field[++i];
            c = next == QLatin1Char('t')   ? QChar(u'\t')
                : next == QLatin1Char('n') ? QChar(u'\n')
                : next == QLatin1Char('r') ? QChar(u'\r')
                                           : next;
        }
        out += c;
    }
    return out;
}

// The sheet as the bridge process serves it.
class BridgeSheet : public WorkbookSheet {
public:
    BridgeSheet(const BridgeSettings& settings) : m_settings(settings) {}

    ~BridgeSheet() override {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.write("quit\n");
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(1000);
        }
    }

    /// Starts the bridge and opens the workbook; an empty text when it is open.
    QString Start(const QString& path) {
        if (!QFileInfo::exists(m_settings.script))
            return QStringLiteral("the bridge to the spreadsheet program is not installed ('") +
                   m_settings.script + QStringLiteral("' is missing). Reinstall Corvane.");
        const QString profile = ProfileFolder();
        if (profile.isEmpty())
            return QStringLiteral("no folder could be made for the spreadsheet program's profile");
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.setStandardErrorFile(QProcess::nullDevice());
        // The bridge must not outlive the program, whatever ends the program.
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_process.start(m_settings.python, {m_settings.script, profile});
        if (!m_process.waitForStarted(m_settings.startTimeoutMs))
            return QStringLiteral("'") + m_settings.python +
                   QStringLiteral("' could not be started (install python3 and python3-uno)");
        try {
            const QDeadlineTimer deadline(m_settings.startTimeoutMs);
            const QStringList ready = ReadLine(deadline);
            if (ready.value(0) != QLatin1String("ready"))
                return Reason(ready, QStringLiteral("the spreadsheet program could not start"));
            const QStringList opened =
                Request(QStringLiteral("open\t") + Escape(QDir::toNativeSeparators(path)),
                        m_settings.startTimeoutMs);
            if (opened.value(0) != QLatin1String("ok"))
                return Reason(opened, QStringLiteral("it could not be opened"));
        } catch (const WorkbookFault& fault) {
            return fault.reason;
        }
        return QString();
    }

    std::vector<WorkbookRow> ReadRows() override {
        const QDeadlineTimer deadline(m_settings.requestTimeoutMs);
        const QStringList head = Request(QStringLiteral("rows"), deadline);
        bool ok = false;
        const int count = head.value(1).toInt(&ok);
        if (head.value(0) != QLatin1String("ok") || !ok)
            throw WorkbookFault{Reason(head, QStringLiteral("the rows could not be read"))};
        std::vector<WorkbookRow> rows;
        rows.reserve(std::size_t(count));
        for (int n = 0; n < count; ++n) {
            const QStringList cells = ReadLine(deadline);
            rows.push_back(WorkbookRow{Unescape(cells.value(0)), Unescape(cells.value(1)),
                                       Unescape(cells.value(2))});
        }
        return rows;
    }

    std::vector<std::optional<QString>>
    WriteAndReadTargets(const std::vector<WorkbookValue>& values,
                        const std::vector<int>& targetRows) override {
        QString line = QStringLiteral("update\t") + QString::number(values.size());
        for (const WorkbookValue& value : values)
            line += QLatin1Char('\t') + QString::number(value.row) +
                    (value.number ? QStringLiteral("\tn\t") : QStringLiteral("\ts\t")) +
                    Escape(value.text);
        for (int row : targetRows)
            line += QLatin1Char('\t') + QString::number(row);
        const QStringList answer = Request(line, m_settings.requestTimeoutMs);
        if (answer.value(0) != QLatin1String("ok"))
            throw WorkbookFault{Reason(answer, QStringLiteral("the values could not be written"))};
        std::vector<std::optional<QString>> targets;
        for (qsizetype n = 1; n < answer.size(); ++n)
            targets.push_back(Unescape(answer[n]));
        targets.resize(targetRows.size(), QString());
        return targets;
    }

private:
    static QString Reason(const QStringList& answer, const QString& otherwise) {
        if (answer.value(0) == QLatin1String("fail") && answer.size() > 1)
            return Unescape(answer[1]).value_or(otherwise);
        return otherwise;
    }

    // A profile kept from run to run, so that the start is quick; a fresh one when another
    // run holds it.
    QString ProfileFolder() {
        QString kept = m_settings.profileFolder;
        if (kept.isEmpty())
            kept = QDir(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation))
                       .filePath(QStringLiteral("corvane/workbook-profile"));
        if (QDir().mkpath(QFileInfo(kept).absolutePath())) {
            m_lock = std::make_unique<QLockFile>(kept + QStringLiteral(".lock"));
            if (m_lock->tryLock(0))
                return kept;
            m_lock.reset();
        }
        m_freshProfile = std::make_unique<QTemporaryDir>();
        return m_freshProfile->isValid() ? m_freshProfile->path() : QString();
    }

    QStringList Request(const QString& line, const QDeadlineTimer& deadline) {
        if (m_process.state() != QProcess::Running)
            throw WorkbookFault{QStringLiteral("the spreadsheet bridge has ended")};
        m_process.write(line.toUtf8() + '\n');
        return ReadLine(deadline);
    }

    QStringList Request(const QString& line, int timeoutMs) {
        return Request(line, QDeadlineTimer(timeoutMs));
    }

    QStringList ReadLine(const QDeadlineTimer& deadline) {
        while (!m_process.canReadLine()) {
            if (m_process.state() != QProcess::Running)
                throw WorkbookFault{QStringLiteral("the spreadsheet program has ended")};
            if (deadline.hasExpired()) {
                m_process.kill();
                m_process.waitForFinished(1000);
                throw WorkbookFault{
                    QStringLiteral("the spreadsheet program did not answer in time")};
            }
            m_process.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())));
        }
        QByteArray line = m_process.readLine();
        line.chop(1);
        return QString::fromUtf8(line).split(QLatin1Char('\t'));
    }

    BridgeSettings m_settings;
    QProcess m_process;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<QTemporaryDir> m_freshProfile;
};

} // namespace

BridgeSettings DefaultBridgeSettings() {
    BridgeSettings settings;
    settings.python = QFileInfo::exists(QStringLiteral("/usr/bin/python3"))
                          ? QStringLiteral("/usr/bin/python3")
                          : QStringLiteral("python3");
    settings.script =
        QDir(ProgramFolder::ResourcesPath()).filePath(QStringLiteral("bridge/workbook_bridge.py"));
    return settings;
}

QString FindResponsesWorkbook(const QString& experimentFolder) {
    for (const char* name : {"responses.xls", "responses.xlsx", "responses.ods"}) {
        if (const auto found = FindFile(QDir(experimentFolder).filePath(QString::fromLatin1(name))))
            return *found;
    }
    return QString();
}

WorkbookOpening OpenWorkbookThroughBridge(const QString& path, const BridgeSettings& settings) {
    WorkbookOpening opening;
    opening.path = path;
    QElapsedTimer clock;
    clock.start();
    auto sheet = std::make_unique<BridgeSheet>(settings);
    opening.problem = sheet->Start(path);
    opening.startMs = clock.elapsed();
    if (opening.problem.isEmpty())
        opening.workbook = std::make_unique<ResponsesWorkbook>(std::move(sheet));
    return opening;
}

WorkbookOpening OpenResponsesWorkbook(const QString& experimentFolder,
                                      const BridgeSettings& settings) {
    const QString path = FindResponsesWorkbook(experimentFolder);
    if (path.isEmpty()) {
        WorkbookOpening opening;
        opening.path = QDir(experimentFolder).filePath(QStringLiteral("responses.xls"));
        opening.problem = QStringLiteral("there is no responses.xls (nor .xlsx, .ods) in the "
                                         "experiment's folder");
        return opening;
    }
    return OpenWorkbookThroughBridge(path, settings);
}

QString WorkbookOffText(const WorkbookOpening& opening) {
    return QStringLiteral("The responses workbook '") + opening.path +
           QStringLiteral("' is off for this run: ") + opening.problem +
           QStringLiteral(".\n\nThe run goes on without it: no values go to the workbook, no "
                          "skip comes from it, and <names> of the workbook stay as they are "
                          "in the items. The data files are written as always. To use it, "
                          "install LibreOffice Calc and python3-uno and check that the "
                          "workbook opens in LibreOffice Calc.");
}

} // namespace corvane
