#include "output/data_file.h"

#include <QFile>
#include <QStringEncoder>
#include <QThread>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {

namespace {

// Another Corvane appending to the same file holds its lock for a moment only: wait that long
// before calling the file busy.
constexpr int kLockTries = 20;
constexpr unsigned long kLockWaitMs = 50;

QString SystemReason(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

bool IsPermissionError(int error) {
    return error == EACCES || error == EPERM;
}

// 0 when the lock is taken, else the error.
int TakeLock(int fd) {
    for (int attempt = 0; attempt < kLockTries; ++attempt) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0)
            return 0;
        if (errno != EWOULDBLOCK && errno != EINTR)
            return errno == ENOLCK || errno == EINVAL ? 0 : errno; // no locks there: go on
        QThread::msleep(kLockWaitMs);
    }
    return EWOULDBLOCK;
}

// Flushes to the disk; files that can't be flushed (devices, pipes) count as flushed.
int Flush(int fd) {
    if (::fdatasync(fd) == 0 || errno == EINVAL || errno == EROFS)
        return 0;
    return errno;
}

QByteArray NativePath(const QString& path) {
    return QFile::encodeName(path);
}

} // namespace

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

FileFault AppendFile::Append(const QByteArray& bytes, bool startLine) {
    if (m_fd < 0)
        return Fail(EBADF);
    struct stat before {};
    if (::fstat(m_fd, &before) != 0)
        return Fail(errno);
    QByteArray record = bytes;
    if (startLine && before.st_size > 0) {
        char last = 0;
        if (::pread(m_fd, &last, 1, before.st_size - 1) == 1 && last != '\n')
            record.prepend("\r\n");
    }
    int error = WriteAll(m_fd, record.constData(), record.size());
    if (error == 0)
        error = Flush(m_fd);
    if (error == 0)
        return FileFault::None;
    // Whatever part of the record got there goes again, so the file ends where it ended.
    struct stat after {};
    if (::fstat(m_fd, &after) == 0 && after.st_size != before.st_size && S_ISREG(after.st_mode))
        m_leftPartial = ::ftruncate(m_fd, before.st_size) != 0;
    const FileFault fault = Fail(error);
    // A full disk is no permission matter, whatever the number says.
    return fault == FileFault::InUse ? FileFault::Failed : fault;
}

bool AppendFile::Close() {
    if (m_fd < 0)
        return true;
    const int fd = m_fd;
    m_fd = -1;
    return ::close(fd) == 0; // the lock goes with the descriptor
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
    if (error == 0)
        error = Flush(fd);
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
