// Small routines that many parts of the program call: finding a file that a definition names,
// making and entering a folder, removing text, looking up where a program lives, and the text of
// the last-resort error box.
#pragma once

#include <QString>
#include <optional>

namespace corvane {

/// Finds a file as a definition names it: "\" and "/" both separate folders, a relative name is
/// taken from the working folder, and each component matches exactly or else the one entry of
/// its folder that differs only in letter case. No value when nothing matches.
std::optional<QString> FindFile(const QString& path);

/// Above 0 (the length of the full path found) when the file can be found, else 0.
int FileExists(const QString& path);

/// Makes `path` the working folder, creating missing folders on the way. `path` is extended in
/// place with a closing "/". False, and the working folder unchanged, when it can't be done.
/// A path of more than 20 parts raises the subscript error.
bool ChangeToFolder(QString& path);

/// `text` without `what`, at most 100 occurrences removed.
QString RemoveText(const QString& what, const QString& text);

/// Where an application lives or what opens a document kind; `defaultValue` when unknown.
/// `key` is an application-path key ("...\App Paths\prog.exe", value "Path" for its folder or
/// empty for the program itself), or a document class key ("." + extension, then class +
/// "\shell\open\command").
QString ReadRegistryValue(const QString& root, const QString& key, const QString& value,
                          const QString& defaultValue);

/// The text of the box titled "Corvane Error Trapper".
QString ReportErrorText(int number, const QString& text);
QString ReportErrorTitle();

} // namespace corvane
