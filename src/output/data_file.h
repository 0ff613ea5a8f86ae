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

/// A data file opened for appending, made when missing, and locked against other writers while
/// it is open. Closed when it goes out of scope.
class AppendFile {
public:
    explicit AppendFile(QString path);
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Opens the file for appending, making it if it doesn't exist.
    FileFault Open();
    /// Appends the bytes with one write and flushes them to disk; on any failure the file is cut
    /// back to its size before the call. `startLine` puts a line end in front when the file
    /// holds something that doesn't end with one, so that a row is never glued to another.
    FileFault Append(const QByteArray& bytes, bool startLine = false);
    /// Closes the file; false when closing reported an error.
    bool Close();

    bool IsOpen() const { return m_fd >= 0; }
    const QString& Path() const { return m_path; }
    /// Why the last open or write failed, in the system's words.
    const QString& Reason() const { return m_reason; }
    /// True when a failed append could not cut the file back to its earlier size.
    bool LeftPartial() const { return m_leftPartial; }

private:
    FileFault Fail(int error);

    QString m_path;
    QString m_reason;
    int m_fd = -1;
    bool m_leftPartial = false;
};

/// Lines counted as a sequential read counts them: 0 only for an empty or missing file.
int CountLines(const QString& path);

/// Writes all the bytes to a file descriptor, however many calls it takes; 0 or the error.
int WriteAll(int fd, const char* data, qint64 size);

/// Replaces the file with the bytes: the new text is written beside it and takes its place when
/// it is complete. A file held by another writer, or one that may not be written, is InUse.
FileFault RewriteFile(const QString& path, const QByteArray& bytes, QString* reason);

/// Text in the locale's encoding, as the data and syntax files are written.
QByteArray EncodeForFile(const QString& text);

} // namespace corvane
