// The browser log of a web item that tracks the pages a participant visits: a header line once,
// then a row per page left, with the page's address, the date and times of the stay and its
// length in whole seconds. Each row is appended on its own, so a crash loses at most the page on
// the screen.
#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

namespace corvane {

class RunState;

/// The seven names of the header, joined by tabs, with nothing behind the last, and a line end.
QString BrowserLogHeader();

/// The row of a stay on `url` from `in` to `out`: subject, condition, address, the date entered
/// (short date), the times in and out ("h:m:s", no leading zeros) and the whole seconds between
/// them, each followed by a tab. No row when the stay began and ended within one second.
std::optional<QString> BrowserLogRow(const RunState& state, const QString& url, const QDateTime& in,
                                     const QDateTime& out);

/// Whole seconds from `in` to `out`, counted as second boundaries crossed.
qint64 WholeSecondsBetween(const QDateTime& in, const QDateTime& out);

/// Gives the log its header when its first line is empty (a new or blank file). False when the
/// file can't be read or written.
bool PrepareBrowserLog(const QString& path);

/// Appends a row; false when the file can't be written.
bool AppendBrowserLogRow(const QString& path, const QString& row);

/// "The file PATH is open for editing. ...": what the log's faults tell the operator.
QString BrowserLogLockedText(const QString& path);

} // namespace corvane
