#include "output/run_journal.h"

#include "output/data_file.h"
#include "output/output_common.h"
#include "state/error.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <sys/file.h>
#include <unistd.h>

namespace corvane {

namespace {

const QString kMagic = QStringLiteral("CORVANE-JOURNAL");
const QString kVersion = QStringLiteral("1");
const QString kExtension = QStringLiteral(".journal");

QString SystemReason(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

QByteArray NativePath(const QString& path) {
    return QFile::encodeName(path);
}

QString Escape(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '\\':
            out += QStringLiteral("\\\\");
            break;
        case '\t':
            out += QStringLiteral("\\t");
            break;
        case '\n':
            out += QStringLiteral("\\n");
            break;
        case '\r':
            out += QStringLiteral("\\r");
            break;
        default:
            out += c;
        }
    }
    return out;
}

QString Unescape(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (qsizetype n = 0; n < text.size(); ++n) {
        const QChar c = text.at(n);
        if (c != QLatin1Char('\\') || n + 1 == text.size()) {
            out += c;
            continue;
        }
        const QChar next = text.at(++n);
        if (next == QLatin1Char('t'))
            out += QLatin1Char('\t');
        else if (next == QLatin1Char('n'))
            out += QLatin1Char('\n');
        else if (next == QLatin1Char('r'))
            out += QLatin1Char('\r');
        else
            out += next;
    }
    return out;
}

QString CheckField(QByteArrayView bytes) {
    return QStringLiteral("%1").arg(qChecksum(bytes), 4, 16, QLatin1Char('0'));
}

// A name that is safe in a file name on any system the data folder may be shared with.
QString SafeName(const QString& text) {
    QString out;
    for (const QChar c : text)
        out += c.isLetterOrNumber() || c == QLatin1Char('_') || c == QLatin1Char('.') ? c
                                                                                      : QChar(u'_');
    return out.isEmpty() ? QStringLiteral("_") : out.left(60);
}

QString WithoutExtension(const QString& name) {
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? name.left(dot) : name;
}

// Puts a folder's entries on the disk: a new or removed file is only safe once its folder is.
void SyncFolder(const QString& folder) {
    const int fd = ::open(NativePath(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    FolderSync()(fd);
    ::close(fd);
}

// The bytes written and put on the disk; 0 or the error of the write. A failed flush leaves the
// bytes in the file: its error goes to `syncError`.
int WriteAndSync(int fd, const QByteArray& bytes, int* syncError) {
    if (const int error = WriteAll(fd, bytes.constData(), bytes.size()))
        return error;
    *syncError = DiskSync()(fd) != 0 && errno != EINVAL && errno != EROFS ? errno : 0;
    return 0;
}

std::optional<int> ReadInt(const QString& text) {
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok ? std::optional<int>(value) : std::nullopt;
}

std::optional<RecordKind> KindOf(const QString& word) {
    if (word == RecordKindWord(RecordKind::ByQuestionnaire))
        return RecordKind::ByQuestionnaire;
    if (word == RecordKindWord(RecordKind::ByVariable))
        return RecordKind::ByVariable;
    if (word == RecordKindWord(RecordKind::Order))
        return RecordKind::Order;
    return std::nullopt;
}

// One line after the header into the contents; false when it can't be read.
bool ReadLine(const QStringList& fields, JournalContents& contents) {
    const QString& kind = fields.at(0);
    if (kind == QLatin1String("R") || kind == QLatin1String("T")) {
        if (fields.size() != 7 - (kind == QLatin1String("T") ? 1 : 0))
            return false;
        const auto q = ReadInt(fields.at(1));
        const auto i = ReadInt(fields.at(2));
        const auto k = ReadInt(fields.at(3));
        if (!q || !i || !k)
            return false;
        JournalEntry entry;
        entry.q = *q;
        entry.i = *i;
        entry.k = *k;
        entry.name = fields.at(4);
        if (kind == QLatin1String("R")) {
            const auto type = ReadInt(fields.at(5));
            if (!type)
                return false;
            entry.type = qint16(*type);
            entry.value = fields.at(6);
        } else {
            const auto ms = ReadInt(fields.at(5));
            if (!ms)
                return false;
            entry.time = true;
            entry.ms = *ms;
        }
        contents.entries.push_back(std::move(entry));
        return true;
    }
    if (kind == QLatin1String("Q")) {
        const auto q = ReadInt(fields.value(1));
        if (fields.size() != 3 || !q || *q < 1 || *q > 32767)
            return false;
        if (contents.questionnaires.size() <= *q)
            contents.questionnaires.resize(*q + 1);
        contents.questionnaires[*q] = fields.at(2);
        return true;
    }
    if (kind == QLatin1String("P")) {
        const auto which = KindOf(fields.value(1));
        bool txtOk = false;
        bool csvOk = false;
        const qint64 txt = fields.value(2).toLongLong(&txtOk);
        const qint64 csv = fields.value(3).toLongLong(&csvOk);
        if (fields.size() != 4 || !which || !txtOk || !csvOk)
            return false;
        JournalWriting& writing = contents.writing[std::size_t(*which)];
        // The first attempt's sizes: whatever any attempt appended lies beyond them.
        if (!writing.noted) {
            writing.noted = true;
            writing.txtSize = txt;
            writing.csvSize = csv;
        }
        return true;
    }
    if (kind == QLatin1String("W")) {
        const auto which = KindOf(fields.value(1));
        const QString outcome = fields.value(2);
        if (fields.size() != 3 || !which ||
            (outcome != QLatin1String("1") && outcome != QLatin1String("0")))
            return false;
        JournalWriting& writing = contents.writing[std::size_t(*which)];
        // Once in its files, a record stays there whatever a later attempt says.
        if (outcome == QLatin1String("1"))
            writing.written = true;
        else if (!writing.written)
            writing.failed = true;
        return true;
    }
    if (kind == QLatin1String("O")) {
        const QString part = fields.value(1);
        if (fields.size() != 3 || (part != QLatin1String("h") && part != QLatin1String("l")))
            return false;
        (part == QLatin1String("h") ? contents.orderHeader : contents.orderLines) += fields.at(2);
        return true;
    }
    if (kind == QLatin1String("E") && fields.size() == 1) {
        contents.ended = true;
        return true;
    }
    return false;
}

bool ReadHeader(const QStringList& fields, JournalContents& contents) {
    if (fields.size() < 2 || fields.at(0) != kMagic || fields.at(1) != kVersion)
        return false;
    QHash<QString, QString> values;
    for (qsizetype n = 2; n < fields.size(); ++n) {
        const qsizetype equals = fields.at(n).indexOf(QLatin1Char('='));
        if (equals < 1)
            return false;
        values.insert(fields.at(n).left(equals), fields.at(n).mid(equals + 1));
    }
    const QStringList required{
        QStringLiteral("experiment"),  QStringLiteral("file"),    QStringLiteral("folder"),
        QStringLiteral("dataroot"),    QStringLiteral("subject"), QStringLiteral("condition"),
        QStringLiteral("started"),     QStringLiteral("date"),    QStringLiteral("time"),
        QStringLiteral("machinecode"), QStringLiteral("inifile"), QStringLiteral("questionnaires")};
    for (const QString& key : required) {
        if (!values.contains(key))
            return false;
    }
    contents.experimentFile = values.value(QStringLiteral("experiment"));
    contents.experimentFileName = values.value(QStringLiteral("file"));
    contents.experimentFolder = values.value(QStringLiteral("folder"));
    contents.dataRoot = values.value(QStringLiteral("dataroot"));
    contents.subject = values.value(QStringLiteral("subject"));
    contents.condition = values.value(QStringLiteral("condition"));
    contents.started = values.value(QStringLiteral("started"));
    contents.settings.date = values.value(QStringLiteral("date"));
    contents.settings.time = values.value(QStringLiteral("time"));
    contents.settings.machineCode = values.value(QStringLiteral("machinecode"));
    contents.settings.inifile = values.value(QStringLiteral("inifile"));
    const auto count = ReadInt(values.value(QStringLiteral("questionnaires")));
    if (!count || *count < 0 || *count > 32767)
        return false;
    contents.questionnaires = QStringList(*count + 1);
    return true;
}

// The fields of a complete line whose check field agrees, else none.
std::optional<QStringList> CheckedFields(QByteArrayView line) {
    const qsizetype tab = line.lastIndexOf('\t');
    if (tab < 1 || line.size() - tab - 1 != 4)
        return std::nullopt;
    const QByteArrayView text = line.first(tab);
    if (QString::fromLatin1(line.sliced(tab + 1)) != CheckField(text))
        return std::nullopt;
    QStringList fields = QString::fromUtf8(text).split(QLatin1Char('\t'));
    for (QString& field : fields)
        field = Unescape(field);
    return fields;
}

} // namespace

QString RecordKindWord(RecordKind kind) {
    switch (kind) {
    case RecordKind::ByQuestionnaire:
        return QStringLiteral("byquestionnaire");
    case RecordKind::ByVariable:
        return QStringLiteral("byvariablename");
    case RecordKind::Order:
        break;
    }
    return QStringLiteral("order");
}

int JournalContents::ResponseCount() const {
    return int(std::count_if(entries.begin(), entries.end(),
                             [](const JournalEntry& entry) { return !entry.time; }));
}

int JournalContents::TimeCount() const {
    return int(entries.size()) - ResponseCount();
}

bool JournalContents::AllWritten() const {
    return writing[0].written && writing[1].written &&
           (orderHeader.isEmpty() || writing[2].written);
}

QString JournalContents::OrderText() const {
    return orderHeader + orderLines + QStringLiteral("\r\n");
}

int JournalContents::ItemCount() const {
    std::set<std::pair<int, int>> items;
    for (const JournalEntry& entry : entries)
        items.emplace(entry.q, entry.i);
    return int(items.size());
}

QString JournalFolder(const QString& dataRoot) {
    return QDir::cleanPath(QDir::current().absoluteFilePath(ToLinuxSeparators(dataRoot) +
                                                            QStringLiteral("/data/.journal")));
}

QString RecoveredFolder(const QString& dataRoot) {
    return QDir::cleanPath(QDir::current().absoluteFilePath(ToLinuxSeparators(dataRoot) +
                                                            QStringLiteral("/data/recovered")));
}

QByteArray JournalLine(const QStringList& fields) {
    QStringList escaped;
    escaped.reserve(fields.size());
    for (const QString& field : fields)
        escaped << Escape(field);
    QByteArray line = escaped.join(QLatin1Char('\t')).toUtf8();
    const QString check = CheckField(line);
    line += '\t';
    line += check.toLatin1();
    line += '\n';
    return line;
}

std::optional<JournalContents> ReadJournal(const QString& path, QString* problem) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (problem)
            *problem = file.errorString();
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    JournalContents contents;
    qsizetype start = 0;
    bool header = true;
    while (start < bytes.size()) {
        const qsizetype end = bytes.indexOf('\n', start);
        if (end < 0) {
            // Cut off while it was being written: the store it held never finished.
            ++contents.ignoredLines;
            break;
        }
        const auto fields = CheckedFields(QByteArrayView(bytes).sliced(start, end - start));
        start = end + 1;
        if (header) {
            if (!fields || !ReadHeader(*fields, contents)) {
                if (problem)
                    *problem = QStringLiteral("it is not a journal of a run that Corvane can read");
                return std::nullopt;
            }
            header = false;
            continue;
        }
        if (!fields || fields->isEmpty() || !ReadLine(*fields, contents))
            ++contents.ignoredLines;
    }
    if (header) {
        if (problem)
            *problem = QStringLiteral("it is empty");
        return std::nullopt;
    }
    return contents;
}

RecordFiles RecordFilesOf(const RunState& state, RecordKind kind, const QString& machineCode) {
    if (kind == RecordKind::Order)
        return {QDir(DataFolder(state, QStringLiteral("byquestionnaire")))
                    .filePath(QStringLiteral("question_order.csv")),
                QString()};
    const QDir folder(DataFolder(state, kind == RecordKind::ByQuestionnaire
                                            ? QStringLiteral("byquestionnaire")
                                            : QStringLiteral("byvariablename")));
    const QString base = state.ExperimentFileName + FileNameCode(machineCode);
    return {folder.filePath(base + QStringLiteral(".txt")),
            folder.filePath(base + QStringLiteral(".csv"))};
}

RunJournal::RunJournal(RunState& state, QString path, int fd)
    : m_state(state), m_path(std::move(path)), m_fd(fd) {}

RunJournal::~RunJournal() {
    Close();
}

void RunJournal::Close() {
    if (m_connected) {
        m_state.ResponseStored = m_previousHook;
        m_connected = false;
    }
    if (m_fd >= 0) {
        ::close(m_fd); // the lock goes with it
        m_fd = -1;
    }
}

QString FallbackJournalFolder() {
    return ProgramFolder::FilePath(QStringLiteral("journal"));
}

// A new journal file in `folder` holding `bytes`, put on the disk and locked; -1 with the
// reason when it can't be made there. A file whose bytes are written but could not be put on
// the disk is kept only when `unconfirmed` takes it (set true, with the reason).
int CreateJournalFile(const QString& folder, const QString& base, const QByteArray& bytes,
                      QString* path, QString* reason, bool* unconfirmed) {
    if (!QDir().mkpath(folder)) {
        *reason = QStringLiteral("the folder can not be made");
        return -1;
    }
    int fd = -1;
    for (int n = 1; n <= 100 && fd < 0; ++n) {
        *path = QDir(folder).filePath(
            base + (n == 1 ? QString() : QLatin1Char('-') + QString::number(n)) + kExtension);
        fd = ::open(NativePath(*path).constData(),
                    O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0644);
        if (fd < 0 && errno != EEXIST) {
            *reason = SystemReason(errno);
            return -1;
        }
    }
    if (fd < 0) {
        *reason = SystemReason(EEXIST);
        return -1;
    }
    // Held while the run lives, so that no other start takes it for a run that did not end.
    ::flock(fd, LOCK_EX | LOCK_NB);
    int syncError = 0;
    const int error = WriteAndSync(fd, bytes, &syncError);
    if (error != 0 || (syncError != 0 && !unconfirmed)) {
        *reason = SystemReason(error != 0 ? error : syncError);
        ::close(fd);
        ::unlink(NativePath(*path).constData());
        return -1;
    }
    if (syncError != 0) {
        *reason = SystemReason(syncError);
        *unconfirmed = true;
    }
    SyncFolder(folder);
    SyncFolder(QFileInfo(folder).path());
    return fd;
}

std::unique_ptr<RunJournal> RunJournal::Begin(RunState& state, const DataOutputSettings& settings) {
    const QDateTime now = QDateTime::currentDateTime();
    auto journal = std::unique_ptr<RunJournal>(new RunJournal(state, QString(), -1));
    journal->m_base = SafeName(WithoutExtension(state.ExperimentFileName)) + QLatin1Char('-') +
                      SafeName(state.SubjectID) + QLatin1Char('-') +
                      now.toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"));
    const QStringList header{kMagic,
                             kVersion,
                             QStringLiteral("experiment=") + state.ExperimentFile,
                             QStringLiteral("file=") + state.ExperimentFileName,
                             QStringLiteral("folder=") + state.ExperimentFolder,
                             QStringLiteral("dataroot=") + state.DataRoot,
                             QStringLiteral("subject=") + state.SubjectID,
                             QStringLiteral("condition=") + state.ConditionID,
                             QStringLiteral("started=") + now.toString(Qt::ISODateWithMs),
                             QStringLiteral("date=") + settings.date,
                             QStringLiteral("time=") + settings.time,
                             QStringLiteral("machinecode=") + settings.machineCode,
                             QStringLiteral("inifile=") + settings.inifile,
                             QStringLiteral("questionnaires=") +
                                 QString::number(state.NumQuestionnaires)};
    journal->m_lines = JournalLine(header);
    for (int q = 1; q <= state.NumQuestionnaires; ++q)
        journal->m_lines += JournalLine(
            {QStringLiteral("Q"), QString::number(q), state.QuestionnaireNames.value(q)});
    // A data folder that can't be written must not cost the run its data: the journal then goes
    // to the program's own folder, where the next start looks too.
    QString reason;
    if (journal->KeepSomewhere(&reason, true) && journal->m_unconfirmed) {
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("Corvane could not confirm on the disk the journal of this run in '") +
                journal->m_path + QStringLiteral("' (") + reason +
                QStringLiteral("). The run goes on and its responses are written there and kept "
                               "in memory until they are written to the data files at its end."),
            BoxIcon::Warning});
    } else if (journal->m_fd < 0) {
        // Said before the participant starts, so that the operator can make room first.
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("Corvane can not keep a journal of this run in '") +
                JournalFolder(state.DataRoot) + QStringLiteral("' or in '") +
                FallbackJournalFolder() + QStringLiteral("' (") + reason +
                QStringLiteral("). The run goes on and its responses are kept in memory until "
                               "they are written to the data files at its end, but if it is cut "
                               "short they are lost."),
            BoxIcon::Warning});
        journal->m_told = true;
    }
    RunJournal* self = journal.get();
    self->m_previousHook = state.ResponseStored;
    state.ResponseStored = [self](const StoredResponse& stored) { self->Store(stored); };
    self->m_connected = true;
    return journal;
}

bool RunJournal::KeepSomewhere(QString* reason, bool takeUnconfirmed) {
    QStringList folders{JournalFolder(m_state.DataRoot), FallbackJournalFolder()};
    // After a failure, the other folder first.
    if (!m_path.isEmpty() && QFileInfo(m_path).path() == folders.front())
        folders.swapItemsAt(0, 1);
    // A file that holds every line but could not be put on the disk is better than none; one
    // that could, in the other folder, is better still.
    int spareFd = -1;
    QString spare, spareReason;
    for (const QString& folder : folders) {
        QString path;
        bool unconfirmed = false;
        const int fd = CreateJournalFile(folder, m_base, m_lines, &path, reason,
                                         takeUnconfirmed ? &unconfirmed : nullptr);
        if (fd < 0)
            continue;
        if (unconfirmed && spareFd < 0) {
            spareFd = fd;
            spare = path;
            spareReason = *reason;
            continue;
        }
        if (unconfirmed) {
            ::close(fd);
            ::unlink(NativePath(path).constData());
            continue;
        }
        if (spareFd >= 0) {
            ::close(spareFd);
            ::unlink(NativePath(spare).constData());
            spareFd = -1;
        }
        TakeFile(fd, path);
        return true;
    }
    if (spareFd < 0)
        return false;
    TakeFile(spareFd, spare);
    *reason = spareReason;
    m_unconfirmed = true;
    return true;
}

void RunJournal::TakeFile(int fd, const QString& path) {
    // The incomplete file goes, so that no one recovers a record from it.
    if (m_fd >= 0)
        ::close(m_fd);
    if (!m_path.isEmpty()) {
        ::unlink(NativePath(m_path).constData());
        SyncFolder(QFileInfo(m_path).path());
    }
    m_fd = fd;
    m_path = path;
}

std::unique_ptr<RunJournal> RunJournal::Reopen(RunState& state, const QString& path,
                                               QString* problem) {
    const int fd = ::open(NativePath(path).constData(), O_RDWR | O_APPEND | O_CLOEXEC);
    if (fd < 0) {
        if (problem)
            *problem = SystemReason(errno);
        return nullptr;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        ::close(fd);
        if (problem)
            *problem = QStringLiteral("another Corvane is using it");
        return nullptr;
    }
    // A line cut off by the end of the run goes, so that what is added starts a line of its own.
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        const QByteArray bytes = file.readAll();
        const qsizetype complete = bytes.lastIndexOf('\n') + 1;
        if (complete < bytes.size() && ::ftruncate(fd, complete) != 0) {
            if (problem)
                *problem = SystemReason(errno);
            ::close(fd);
            return nullptr;
        }
    }
    return std::unique_ptr<RunJournal>(new RunJournal(state, path, fd));
}

bool RunJournal::Append(const QStringList& fields) {
    const QByteArray line = JournalLine(fields);
    m_lines += line;
    if (m_fd >= 0 && !m_broken) {
        const off_t before = ::lseek(m_fd, 0, SEEK_END);
        int syncError = 0;
        const int error = WriteAndSync(m_fd, line, &syncError);
        if (error == 0) {
            if (syncError != 0)
                KeepUnconfirmed(syncError);
            return true;
        }
        // Half a line would spoil the next one: the file goes back to where it was.
        if (before >= 0 && ::ftruncate(m_fd, before) != 0) {
            // The file is given up below in any case.
        }
        m_broken = true;
        m_reason = SystemReason(error);
    }
    // A journal with a gap would recover a record with missing answers: the whole journal is
    // written anew elsewhere, at every store until that works.
    if (m_base.isEmpty())
        return false; // a journal reopened by recovery holds its run's lines only on the disk
    const QString was = m_path;
    QString reason;
    if (KeepSomewhere(&reason, true)) {
        m_broken = false;
        if (!was.isEmpty() || m_told)
            m_state.Boxes().Show(MessageBox{
                m_state.MessageTitle(),
                (was.isEmpty() ? QStringLiteral("A journal of this run can now be kept")
                               : QStringLiteral("Corvane could not add to the journal of this "
                                                "run in '") +
                                     was + QStringLiteral("' (") + m_reason + QStringLiteral(")")) +
                    QStringLiteral(". The journal, with every response so far, is now kept in '") +
                    m_path + QStringLiteral("'."),
                BoxIcon::Warning});
        m_told = false;
        return true;
    }
    if (!m_told) {
        m_told = true;
        m_state.Boxes().Show(MessageBox{
            m_state.MessageTitle(),
            QStringLiteral("Corvane could not add to the journal of this run, '") + was +
                QStringLiteral("' (") + m_reason + QStringLiteral("), nor keep it in '") +
                JournalFolder(m_state.DataRoot) + QStringLiteral("' or '") +
                FallbackJournalFolder() + QStringLiteral("' (") + reason +
                QStringLiteral("). The responses are kept in memory and written to the data "
                               "files at the end of the run; if the run is cut short before "
                               "then, they are lost. Corvane tries again at every response."),
            BoxIcon::Warning});
    }
    return false;
}

void RunJournal::KeepUnconfirmed(int error) {
    if (m_unconfirmed)
        return; // the operator knows already
    m_unconfirmed = true;
    const QString was = m_path;
    // The file holds every line, so it stays unless another folder takes the journal and puts
    // it on the disk.
    QString reason;
    const bool moved = !m_base.isEmpty() && KeepSomewhere(&reason, false);
    if (moved)
        m_unconfirmed = false;
    m_state.Boxes().Show(MessageBox{
        m_state.MessageTitle(),
        QStringLiteral("Corvane could not confirm on the disk the journal of this run in '") + was +
            QStringLiteral("' (") + SystemReason(error) + QStringLiteral("). ") +
            (moved ? QStringLiteral("The journal, with every response so far, is now kept in '") +
                         m_path + QStringLiteral("'.")
                   : QStringLiteral("Every response so far is written there and kept in memory "
                                    "until it is written to the data files at the end of the "
                                    "run.")),
        BoxIcon::Warning});
}

void RunJournal::Store(const StoredResponse& stored) {
    QString name;
    qint16 type = 0;
    try {
        const VariableColumn column = m_state.Variables.Column(stored.q, stored.i, stored.k);
        name = column.name;
        type = column.type;
    } catch (const CorvaneError&) {
        // A place outside the tables: the store itself has failed already.
    }
    const QString q = QString::number(stored.q);
    const QString i = QString::number(stored.i);
    const QString k = QString::number(stored.k);
    if (stored.value)
        Append({QStringLiteral("R"), q, i, k, name, QString::number(type), *stored.value});
    if (stored.time)
        Append({QStringLiteral("T"), q, i, k, name, QString::number(*stored.time)});
    if (m_previousHook)
        m_previousHook(stored);
}

void RunJournal::NoteWriting(RecordKind kind, const QString& machineCode) {
    const RecordFiles files = RecordFilesOf(m_state, kind, machineCode);
    Append({QStringLiteral("P"), RecordKindWord(kind), QString::number(QFileInfo(files.txt).size()),
            QString::number(QFileInfo(files.csv).size())});
}

void RunJournal::NoteOrder(bool header, const QString& text) {
    Append({QStringLiteral("O"), QLatin1String(header ? "h" : "l"), text});
}

void RunJournal::NoteWritten(RecordKind kind, bool written) {
    NoteOutcome(kind, written ? kWritten : kFailed);
}

void RunJournal::NoteOutcome(RecordKind kind, int outcome) {
    m_outcome[std::size_t(kind)] = outcome;
    // A record not known to be on the disk is one that the next start looks for in its files.
    Append({QStringLiteral("W"), RecordKindWord(kind),
            QLatin1String(outcome == kWritten ? "1" : "0")});
}

bool RunJournal::WriteRecord(RecordKind kind, const QString& machineCode,
                             const std::function<bool()>& writer) {
    NoteWriting(kind, machineCode);
    const int unconfirmedBefore = UnconfirmedAppends();
    const bool written = writer();
    const bool confirmed = UnconfirmedAppends() == unconfirmedBefore;
    if (!confirmed)
        m_recordReason = LastUnconfirmedReason();
    NoteOutcome(kind, !written ? kFailed : confirmed ? kWritten : kUnconfirmed);
    return written;
}

bool RunJournal::RecordsWritten() const {
    // The order counts only when the run got as far as writing it.
    return m_outcome[0] >= kWritten && m_outcome[1] >= kWritten && m_outcome[2] != kFailed;
}

bool RunJournal::RecordsConfirmed() const {
    return std::find(m_outcome.begin(), m_outcome.end(), kUnconfirmed) == m_outcome.end();
}

bool RunJournal::Remove() {
    Close();
    if (m_path.isEmpty())
        return true;
    const QString folder = QFileInfo(m_path).path();
    if (!QFile::remove(m_path))
        return false;
    SyncFolder(folder);
    QDir().rmdir(folder); // only when no other journal is there
    return true;
}

void RunJournal::Abandon() {
    Remove();
}

bool RunJournal::Finish() {
    // A journal that stays after this says that both records are written: no one offers it again.
    if (RecordsWritten() && RecordsConfirmed())
        return Remove();
    m_told = true; // one message at the end says it all
    Append({QStringLiteral("E")});
    const bool kept = m_fd >= 0 && !m_broken;
    if (RecordsWritten()) {
        m_state.Boxes().Show(MessageBox{
            m_state.MessageTitle(),
            QStringLiteral("The record of participant ") + m_state.SubjectID +
                QStringLiteral(" was written to the data files, but it could not be confirmed "
                               "on the disk (") +
                m_recordReason + QStringLiteral(").") +
                (kept ? QStringLiteral(" Its responses are also in '") + m_path +
                            QStringLiteral("'; when this experiment is next opened, Corvane "
                                           "checks the data files and writes what is missing.")
                      : QString()),
            BoxIcon::Warning});
        Close();
        return false;
    }
    auto outcome = [this](RecordKind kind) {
        switch (m_outcome[std::size_t(kind)]) {
        case kWritten:
            return QStringLiteral("written");
        case kUnconfirmed:
            return QStringLiteral("written, not confirmed on the disk");
        default:
            return QStringLiteral("not written");
        }
    };
    const QString what =
        QStringLiteral("The record of participant ") + m_state.SubjectID +
        QStringLiteral(" could not be written to every data file (by questionnaire: ") +
        outcome(RecordKind::ByQuestionnaire) + QStringLiteral("; by variable name: ") +
        outcome(RecordKind::ByVariable) +
        (m_outcome[2] == 0 ? QStringLiteral("; question_order.csv: not written") : QString()) +
        QStringLiteral(").");
    QString reason = m_reason;
    // Nowhere to keep the responses: the operator may make room and try again.
    while ((m_fd < 0 || m_broken) && !m_base.isEmpty()) {
        const BoxAnswer again = m_state.Boxes().Show(MessageBox{
            m_state.MessageTitle(),
            what + QStringLiteral(" Nor can its responses be kept in a journal in '") +
                JournalFolder(m_state.DataRoot) + QStringLiteral("' or '") +
                FallbackJournalFolder() + QStringLiteral("' (") + reason +
                QStringLiteral("). Make room on the disk or make a folder writable and press OK "
                               "to try again; Cancel gives the responses up."),
            BoxIcon::Critical, BoxButtons::OkCancel, BoxAnswer::Cancel});
        if (again != BoxAnswer::Ok)
            break;
        if (KeepSomewhere(&reason, true))
            m_broken = false;
    }
    if (m_fd >= 0 && !m_broken)
        m_state.Boxes().Show(MessageBox{
            m_state.MessageTitle(),
            what +
                (m_unconfirmed
                     ? QStringLiteral(" Its responses are written to '") + m_path +
                           QStringLiteral("', though that file could not be confirmed on the "
                                          "disk either")
                     : QStringLiteral(" Its responses are kept in '") + m_path +
                           QStringLiteral("'")) +
                QStringLiteral(", and Corvane offers to write what is missing when this "
                               "experiment is next opened."),
            BoxIcon::Warning});
    Close();
    return false;
}

bool RunJournal::MoveTo(const QString& folder, QString* movedTo) {
    Close();
    if (!QDir().mkpath(folder))
        return false;
    const QFileInfo info(m_path);
    const QString base = info.completeBaseName();
    QString target = QDir(folder).filePath(info.fileName());
    for (int n = 2; QFileInfo::exists(target) && n < 1000; ++n)
        target = QDir(folder).filePath(base + QLatin1Char('-') + QString::number(n) + kExtension);
    if (::rename(NativePath(m_path).constData(), NativePath(target).constData()) != 0)
        return false;
    SyncFolder(folder);
    SyncFolder(info.path());
    QDir().rmdir(info.path()); // only when no other journal is there
    m_path = target;
    if (movedTo)
        *movedTo = target;
    return true;
}

} // namespace corvane
