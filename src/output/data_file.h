// The two ways the writers put text on disk: a record appended to a data file in one piece, and
// a syntax file replaced whole. Either the new text is all there or the file is as it was, so a
// full disk or a held file never leaves half a row behind or damages an earlier record.
#pragma once

#include <QByteArray>
#include <QString>

namespace corvane {

/// How an open or a write ended.
enum class FileFault {
    None,
    InUse,  // held by another program or not ours to write: permission denied (error 70)
    Failed, // anything else: the reason says what
};

/// What the line end of a spreadsheet file's head is to the row that comes after it.
enum class HeadLineEnd {
    Standing,   // a load's: it stays, whether a record follows or not
    RowFollows, // the row comes next from the same writer: when it fails, the line end goes too
    None,       // the row's line end is there already: only an empty file's header goes in
};

/// A data file opened for appending, made when missing, and locked against other writers while
/// it is open, with both flock() and an fcntl lock, so that a test of the file's last line and
/// the append that follows are one step for every program that locks either way. Closed when it
/// goes out of scope.
class AppendFile {
public:
    explicit AppendFile(QString path);
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Opens the file for appending, making it if it doesn't exist.
    FileFault Open();
    /// Appends the bytes with one write and flushes them to disk; when the write fails the file
    /// is cut back to its size before the call. When only the flush fails the bytes stay and the
    /// append counts as done, but `Unconfirmed()` says so. `startLine` puts a line end in front
    /// when the file holds something that doesn't end with one, so that a row is never glued to
    /// another.
    FileFault Append(const QByteArray& bytes, bool startLine = false);
    /// Appends a load's part of a spreadsheet file: the column header when the file is empty,
    /// then the line end that ends the row the last record left open. A file that ends with a line
    /// end gets another (the empty line of a load that no record followed) only when no other
    /// load waits for its record. Until this process appends its record (`startLine`) or loads
    /// again, other loads see this one waiting.
    FileFault AppendHead(const QByteArray& head, HeadLineEnd lineEnd = HeadLineEnd::Standing);
    /// Closes the file; false when closing reported an error.
    bool Close();

    bool IsOpen() const { return m_fd >= 0; }
    const QString& Path() const { return m_path; }
    /// Why the last open or write failed, in the system's words.
    const QString& Reason() const { return m_reason; }
    /// True when a failed append could not cut the file back to its earlier size.
    bool LeftPartial() const { return m_leftPartial; }
    /// True when an append since the file was opened could not be confirmed on the disk.
    bool Unconfirmed() const { return m_unconfirmed; }

private:
    FileFault Fail(int error);
    bool EndsOpen(qint64 size) const;
    FileFault Write(const QByteArray& record, qint64 sizeBefore);

    QString m_path;
    QString m_reason;
    int m_fd = -1;
    bool m_leftPartial = false;
    bool m_unconfirmed = false;
};

/// The call that puts a file's written bytes on the disk, fdatasync() unless a test puts a
/// failing one in its place: 0, or -1 with errno set.
using DiskSyncCall = int (*)(int fd);
DiskSyncCall& DiskSync();
/// The call that puts a folder's entries on the disk, fsync() unless a throw-away run puts
/// another in its place.
DiskSyncCall& FolderSync();

/// Appends of this process whose bytes reached their file but whose flush to the disk failed.
int UnconfirmedAppends();
/// Why the last of them could not be confirmed, in the system's words.
QString LastUnconfirmedReason();

/// Lines counted as a sequential read counts them: 0 only for an empty or missing file.
int CountLines(const QString& path);

/// Writes all the bytes to a file descriptor, however many calls it takes; 0 or the error.
int WriteAll(int fd, const char* data, qint64 size);

/// Replaces the file with the bytes: the new text is written beside it and takes its place when
/// it is complete. A file held by another writer, or one that may not be written, is InUse. A
/// flush that fails after the write is counted by `UnconfirmedAppends()` and doesn't stop it.
FileFault RewriteFile(const QString& path, const QByteArray& bytes, QString* reason);

/// Text in the locale's encoding, as the data and syntax files are written.
QByteArray EncodeForFile(const QString& text);

} // namespace corvane
