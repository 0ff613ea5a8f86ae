#include "output/data_file.h"

#include <QFile>
#include <QStringEncoder>
#include <QThread>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {

namespace {

// Another Corvane appending to the same file holds its locks for a moment only: wait that long
// before calling the file busy.
constexpr int kLockTries = 40;
constexpr unsigned long kLockWaitMs = 50;

// Where the marks of loads whose record is still to come lie: shared locks of the data folder
// at an offset drawn from the file's name. Locks of the folder, not of the file, so that a
// program that locks the whole file never meets them.
constexpr off_t kRowMarkBase = off_t(1) << 40;
constexpr quint64 kRowMarkSpan = quint64(1) << 40;

QString SystemReason(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

bool IsPermissionError(int error) {
    return error == EACCES || error == EPERM;
}

bool IsBusy(int error) {
    return error == EWOULDBLOCK || error == EAGAIN || error == EACCES || error == EINTR;
}

bool LocksUnsupported(int error) {
    return error == ENOLCK || error == EINVAL || error == EOPNOTSUPP;
}

// The whole file, as programs that lock with fcntl lock it.
struct flock WholeFile() {
    struct flock range {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    return range;
}

// One try at both kinds of lock, as programs of either kind see them: flock() and an fcntl lock
// of the open file. 0 when both are held, EWOULDBLOCK when another holds one, else the error.
int TryBothLocks(int fd) {
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (IsBusy(errno))
            return EWOULDBLOCK;
        if (!LocksUnsupported(errno))
            return errno;
    }
    struct flock range = WholeFile();
    if (::fcntl(fd, F_OFD_SETLK, &range) == 0)
        return 0;
    const int error = errno;
    if (LocksUnsupported(error))
        return 0; // a file system without such locks: flock alone must do
    ::flock(fd, LOCK_UN);
    return IsBusy(error) ? EWOULDBLOCK : error;
}

// 0 when the locks are taken, else the error; EWOULDBLOCK when they stay held for the whole wait.
int TakeLock(int fd) {
    for (int attempt = 0;; ++attempt) {
        const int error = TryBothLocks(fd);
        if (error != EWOULDBLOCK || attempt + 1 == kLockTries)
            return error;
        QThread::msleep(kLockWaitMs);
    }
}

// The mark of one data file: its byte of the folder's lock space.
struct flock RowMarkRange(const QByteArray& path, short type) {
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    // FNV-1a: the same offset in every process, whatever its build.
    quint64 hash = 14695981039346656037ull;
    for (const char c : name)
        hash = (hash ^ quint8(c)) * 1099511628211ull;
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = kRowMarkBase + off_t(hash % kRowMarkSpan);
    range.l_len = 1;
    return range;
}

int OpenFolderOf(const QByteArray& path) {
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray folder = slash < 0    ? QByteArray(".")
                              : slash == 0 ? QByteArray("/")
                                           : path.left(slash);
    return ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

// The marks of loads made by this process whose record is still to come, by file. A mark is a
// shared lock of an open description of its own, so it lasts exactly as long as this process
// keeps it.
struct RowMark {
    int fd = -1;           // the folder's open description that holds the lock; -1 for none
    qint64 lineEndAt = -1; // where the load's own line end starts; -1 when it wrote none
    qint64 headEnd = 0;    // the size of the file after the load's part
};

std::map<QByteArray, RowMark>& RowMarks() {
    static std::map<QByteArray, RowMark> marks;
    return marks;
}

// The mark of the path, now released: where its line end lies.
RowMark ReleaseRowMark(const QByteArray& path) {
    auto& marks = RowMarks();
    const auto found = marks.find(path);
    if (found == marks.end())
        return RowMark{};
    const RowMark mark = found->second;
    if (mark.fd >= 0)
        ::close(mark.fd);
    marks.erase(found);
    return mark;
}

void SetRowMark(const QByteArray& path, qint64 lineEndAt, qint64 headEnd) {
    ReleaseRowMark(path);
    RowMark mark{-1, lineEndAt, headEnd};
    const int fd = OpenFolderOf(path);
    struct flock range = RowMarkRange(path, F_RDLCK);
    if (fd >= 0 && ::fcntl(fd, F_OFD_SETLK, &range) == 0)
        mark.fd = fd;
    else if (fd >= 0)
        ::close(fd); // a folder that takes no locks: loads are not told apart there
    RowMarks()[path] = mark;
}

// True when another load, of this process or of another station, still has its record to come.
bool RowMarkedElsewhere(const QByteArray& path) {
    const int fd = OpenFolderOf(path);
    if (fd < 0)
        return false;
    struct flock range = RowMarkRange(path, F_WRLCK);
    const bool marked = ::fcntl(fd, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
    ::close(fd);
    return marked;
}

// Flushes to the disk; files that can't be flushed (devices, pipes) count as flushed.
int Flush(int fd) {
    if (DiskSync()(fd) == 0 || errno == EINVAL || errno == EROFS)
        return 0;
    return errno;
}

QByteArray NativePath(const QString& path) {
    return QFile::encodeName(path);
}

struct Unconfirmed {
    int count = 0;
    QString reason;
};

Unconfirmed& UnconfirmedWrites() {
    static Unconfirmed unconfirmed;
    return unconfirmed;
}

void NoteUnconfirmed(const QString& reason) {
    ++UnconfirmedWrites().count;
    UnconfirmedWrites().reason = reason;
}

} // namespace

DiskSyncCall& FolderSync() {
    static DiskSyncCall call = ::fsync;
    return call;
}

DiskSyncCall& DiskSync() {
    static DiskSyncCall call = ::fdatasync;
    return call;
}

int UnconfirmedAppends() {
    return UnconfirmedWrites().count;
}

QString LastUnconfirmedReason() {
    return UnconfirmedWrites().reason;
}

int WriteAll(int fd, const char* data, qint64 size) {
    qint64 done = 0;
    while (done < size) {
        const ssize_t written = ::write(fd, data + done, std::size_t(size - done));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (written == 0)
            return ENOSPC;
        done += written;
    }
    return 0;
}

AppendFile::AppendFile(QString path) : m_path(std::move(path)) {}

AppendFile::~AppendFile() {
    Close();
}

FileFault AppendFile::Fail(int error) {
    m_reason = SystemReason(error);
    return IsPermissionError(error) || error == EWOULDBLOCK ? FileFault::InUse : FileFault::Failed;
}

FileFault AppendFile::Open() {
    Close();
    m_leftPartial = false;
    m_unconfirmed = false;
    const int fd =
        ::open(NativePath(m_path).constData(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0)
        return Fail(errno);
    if (const int error = TakeLock(fd)) {
        ::close(fd);
        return Fail(error);
    }
    m_fd = fd;
    return FileFault::None;
}

bool AppendFile::EndsOpen(qint64 size) const {
    char last = 0;
    return size > 0 && ::pread(m_fd, &last, 1, size - 1) == 1 && last != '\n';
}

FileFault AppendFile::Append(const QByteArray& bytes, bool startLine) {
    if (m_fd < 0)
        return Fail(EBADF);
    struct stat before {};
    if (::fstat(m_fd, &before) != 0)
        return Fail(errno);
    QByteArray record = bytes;
    qint64 cutBackTo = before.st_size;
    if (startLine) {
        // This record is the one this process's load made room for.
        const RowMark mark = ReleaseRowMark(NativePath(m_path));
        if (EndsOpen(before.st_size))
            record.prepend("\r\n");
        // When the record doesn't get there, the line end made for it goes too, unless someone
        // wrote after it: else it would stand as an empty line before the record written later.
        if (mark.lineEndAt >= 0 && mark.headEnd == before.st_size)
            cutBackTo = mark.lineEndAt;
    }
    return Write(record, cutBackTo);
}

FileFault AppendFile::AppendHead(const QByteArray& head, HeadLineEnd lineEnd) {
    if (m_fd < 0)
        return Fail(EBADF);
    struct stat before {};
    if (::fstat(m_fd, &before) != 0)
        return Fail(errno);
    const QByteArray native = NativePath(m_path);
    // A load of this process that no record followed is over now.
    ReleaseRowMark(native);
    // Only an empty file takes the header: another station may have written it since the caller
    // looked.
    const bool empty = before.st_size == 0;
    QByteArray text = empty ? head : QByteArray();
    // The line end ends the header or the row that the last record left open. On a file that
    // ends with one already it stands for a load that no record followed, unless another
    // station's load is still waiting for its record: then the room is made already.
    const bool endsLine = lineEnd != HeadLineEnd::None &&
                          (empty || EndsOpen(before.st_size) || !RowMarkedElsewhere(native));
    if (endsLine)
        text += "\r\n";
    const FileFault fault = Write(text, before.st_size);
    if (fault == FileFault::None)
        SetRowMark(native,
                   endsLine && !empty && lineEnd == HeadLineEnd::RowFollows ? before.st_size : -1,
                   before.st_size + text.size());
    return fault;
}

FileFault AppendFile::Write(const QByteArray& record, qint64 sizeBefore) {
    const int error = WriteAll(m_fd, record.constData(), record.size());
    if (error == 0) {
        // The bytes are in the file and may still reach the disk: cutting them off again could
        // throw away the only copy. The caller keeps what it needs to write them again.
        if (const int flushError = Flush(m_fd)) {
            m_unconfirmed = true;
            m_reason = SystemReason(flushError);
            NoteUnconfirmed(m_reason);
        }
        return FileFault::None;
    }
    // Whatever part of the record got there goes again, so the file ends where it ended.
    struct stat after {};
    if (::fstat(m_fd, &after) == 0 && after.st_size != sizeBefore && S_ISREG(after.st_mode))
        m_leftPartial = ::ftruncate(m_fd, sizeBefore) != 0;
    const FileFault fault = Fail(error);
    // A full disk is no permission matter, whatever the number says.
    return fault == FileFault::InUse ? FileFault::Failed : fault;
}

bool AppendFile::Close() {
    if (m_fd < 0)
        return true;
    const int fd = m_fd;
    m_fd = -1;
    return ::close(fd) == 0; // the locks go with the descriptor
}

int CountLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    int lines = 0;
    bool open = false; // characters after the last line end
    while (!file.atEnd()) {
        const QByteArray chunk = file.read(64 * 1024);
        if (chunk.isEmpty())
            break;
        for (const char c : chunk) {
            if (c == '\n') {
                ++lines;
                open = false;
            } else {
                open = true;
            }
        }
    }
    return lines + (open ? 1 : 0);
}

FileFault RewriteFile(const QString& path, const QByteArray& bytes, QString* reason) {
    auto fail = [&](int error) {
        if (reason)
            *reason = SystemReason(error);
        return IsPermissionError(error) || error == EWOULDBLOCK ? FileFault::InUse
                                                                : FileFault::Failed;
    };
    const QByteArray native = NativePath(path);
    // The file in place must be ours to write and not held by another writer.
    std::optional<mode_t> mode;
    int held = ::open(native.constData(), O_WRONLY | O_CLOEXEC);
    if (held < 0 && errno != ENOENT)
        return fail(errno);
    if (held >= 0) {
        struct stat existing {};
        if (::fstat(held, &existing) == 0)
            mode = existing.st_mode & 07777;
        if (const int error = TakeLock(held)) {
            ::close(held);
            return fail(error);
        }
    }
    // The new text goes beside it first; a new file gets the usual permissions from the umask.
    QByteArray temporary;
    int fd = -1;
    for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
        temporary = native + ".new-" + QByteArray::number(qint64(::getpid())) + '-' +
                    QByteArray::number(attempt);
        fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    if (fd < 0) {
        const int error = errno;
        if (held >= 0)
            ::close(held);
        return fail(error);
    }
    int error = WriteAll(fd, bytes.constData(), bytes.size());
    // As with an append, a failed flush doesn't undo the write: the new text takes the old one's
    // place, and the flush's failure is noted as one not confirmed on the disk.
    if (error == 0) {
        if (const int flushError = Flush(fd))
            NoteUnconfirmed(SystemReason(flushError));
    }
    if (error == 0 && mode && ::fchmod(fd, *mode) != 0)
        error = errno;
    if (::close(fd) != 0 && error == 0)
        error = errno;
    if (error == 0 && ::rename(temporary.constData(), native.constData()) != 0)
        error = errno;
    if (error != 0)
        ::unlink(temporary.constData());
    if (held >= 0)
        ::close(held);
    if (error == 0)
        return FileFault::None;
    const FileFault fault = fail(error);
    return fault == FileFault::InUse ? FileFault::Failed : fault;
}

QByteArray EncodeForFile(const QString& text) {
    QStringEncoder encoder(QStringConverter::System);
    return encoder.encode(text);
}

} // namespace corvane
