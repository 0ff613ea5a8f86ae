// Text conventions of definition cells: blanks (not all white space) are trimmed, comparisons are
// in lower case unless said otherwise.
#pragma once

#include <QString>

namespace corvane {

/// The text without leading and trailing blanks (spaces only; tabs stay).
QString TrimBlanks(const QString& text);
/// The text without leading blanks.
QString TrimLeadingBlanks(const QString& text);
/// Trimmed of blanks and in lower case: the form in which definition words are compared.
QString Normalised(const QString& text);
/// The last n characters, or the whole text when it is shorter.
QString LastChars(const QString& text, qsizetype n);
/// A value as a message quotes it: at most 80 characters, a cut one ending in "...".
QString ForMessage(const QString& value);
/// Replaces the Windows-era separator by the Linux one, for names written in definitions.
QString ToLinuxSeparators(const QString& path);

} // namespace corvane
