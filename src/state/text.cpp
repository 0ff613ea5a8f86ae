#include "state/text.h"

namespace corvane {

QString TrimLeadingBlanks(const QString& text) {
    qsizetype start = 0;
    while (start < text.size() && text.at(start) == QLatin1Char(' '))
        ++start;
    return text.mid(start);
}

QString TrimBlanks(const QString& text) {
    qsizetype end = text.size();
    while (end > 0 && text.at(end - 1) == QLatin1Char(' '))
        --end;
    return TrimLeadingBlanks(text.left(end));
}

QString Normalised(const QString& text) {
    return TrimBlanks(text).toLower();
}

QString LastChars(const QString& text, qsizetype n) {
    return text.right(n);
}

QString ForMessage(const QString& value) {
    constexpr qsizetype kLongest = 80;
    if (value.size() <= kLongest)
        return value;
    return value.left(kLongest - 3) + QStringLiteral("...");
}

QString ToLinuxSeparators(const QString& path) {
    QString result = path;
    result.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return result;
}

} // namespace corvane
