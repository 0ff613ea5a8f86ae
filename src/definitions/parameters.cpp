#include "definitions/parameters.h"

#include "definitions/record_set.h"
#include "state/error.h"
#include "state/text.h"

namespace corvane {

QString ExtractParameters(const QString& cell, ParameterList& list) {
    list.Clear();
    if (!TrimBlanks(cell).endsWith(QLatin1Char(')')))
        return cell;

    // Walk back to the "(". The character is read before the position is tested, so a cell
    // without one reads position 0, which is an invalid argument.
    qsizetype position = cell.size();
    while (true) {
        if (position < 1)
            raise(ErrorNumber::InvalidArgument);
        if (cell.at(position - 1) == QLatin1Char('('))
            break;
        --position;
    }
    const QString name = TrimBlanks(cell.left(position - 1));
    const QString rest = cell.mid(position);

    qsizetype at = 0;
    for (int slot = 1;; ++slot) {
        if (slot > 10)
            raise(ErrorNumber::Subscript);
        QString value;
        QChar last;
        while (at < rest.size()) {
            last = rest.at(at++);
            if (last == QLatin1Char(','))
                break;
            if (last != QLatin1Char(')'))
                value += last;
        }
        list.entries[std::size_t(slot)] = TrimBlanks(value).toLower();
        if (last == QLatin1Char(')') || at >= rest.size()) {
            list.count = slot;
            return name;
        }
    }
}

QString SlotLetter(const QString& slot) {
    return slot.left(1).toLower();
}

QString SlotValue(const QString& slot) {
    return slot.mid(1);
}

QString GetParameter(const RecordSet& row, const QString& letter, ParameterList& list) {
    ExtractParameters(row.Field(QStringLiteral("Parameters")).ToText(), list);
    for (int slot = 1; slot <= 10; ++slot) {
        const QString& text = list.entries[std::size_t(slot)];
        if (SlotLetter(text) == letter)
            return SlotValue(text);
    }
    return QString();
}

qint16 IsOmitted(const QString& cell, const QString& conditionID) {
    if (cell.size() < 3 || !TrimBlanks(cell).endsWith(QLatin1Char(')')))
        return 0;
    // The first character is taken to be the "(", whatever it is.
    const QString rest = cell.mid(1);
    const QString condition = conditionID.toLower();
    qsizetype at = 0;
    bool closeRead = false;
    while (true) {
        QString name;
        while (at < rest.size()) {
            const QChar c = rest.at(at++);
            if (c == QLatin1Char(','))
                break;
            if (c == QLatin1Char(')'))
                closeRead = true;
            else
                name += c;
        }
        if (name.toLower() == condition)
            return 1;
        if (closeRead || at >= rest.size())
            return 0;
    }
}

} // namespace corvane
