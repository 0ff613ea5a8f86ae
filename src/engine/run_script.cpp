// Reading run scripts: lines into actions, key names into keys, and the queue of box answers.
#include "engine/run_script.h"

#include <QRegularExpression>
#include <QStringList>
#include <array>

namespace corvane {

namespace {

struct NamedKey {
    QLatin1String name;
    Qt::Key key;
    QLatin1String text;
};

// Keys known by name besides F1-F12 and KP0-KP9. Enter is the main keyboard's key.
const std::array<NamedKey, 12> kNamedKeys{{
    {QLatin1String("Space"), Qt::Key_Space, QLatin1String(" ")},
    {QLatin1String("Enter"), Qt::Key_Return, QLatin1String()},
    {QLatin1String("Escape"), Qt::Key_Escape, QLatin1String()},
    {QLatin1String("Backspace"), Qt::Key_Backspace, QLatin1String()},
    {QLatin1String("Tab"), Qt::Key_Tab, QLatin1String()},
    {QLatin1String("Left"), Qt::Key_Left, QLatin1String()},
    {QLatin1String("Right"), Qt::Key_Right, QLatin1String()},
    {QLatin1String("Up"), Qt::Key_Up, QLatin1String()},
    {QLatin1String("Down"), Qt::Key_Down, QLatin1String()},
    {QLatin1String("Home"), Qt::Key_Home, QLatin1String()},
    {QLatin1String("End"), Qt::Key_End, QLatin1String()},
    {QLatin1String("Delete"), Qt::Key_Delete, QLatin1String()},
}};

struct Prefix {
    QLatin1String name;
    Qt::KeyboardModifier modifier;
};

// In the order Describe writes them.
const std::array<Prefix, 3> kPrefixes{{
    {QLatin1String("Ctrl+"), Qt::ControlModifier},
    {QLatin1String("Alt+"), Qt::AltModifier},
    {QLatin1String("Shift+"), Qt::ShiftModifier},
}};

bool IsBlank(QChar c) {
    return c == QLatin1Char(' ') || c == QLatin1Char('\t');
}

bool IsAsciiDigits(const QString& text, qsizetype from = 0) {
    if (text.size() <= from)
        return false;
    for (qsizetype i = from; i < text.size(); ++i) {
        if (text.at(i) < QLatin1Char('0') || text.at(i) > QLatin1Char('9'))
            return false;
    }
    return true;
}

// A whole number that fits an int; a minus sign only when `negative` is allowed.
std::optional<int> WholeNumber(const QString& text, bool negative) {
    const qsizetype from = negative && text.startsWith(QLatin1Char('-')) ? 1 : 0;
    if (!IsAsciiDigits(text, from))
        return std::nullopt;
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok)
        return std::nullopt;
    return value;
}

bool IsControlName(const QString& name) {
    static const QRegularExpression pattern(
        QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*(\\([0-9]+\\))?$"));
    return pattern.match(name).hasMatch();
}

// Reads a key as the script spells it into `action`; false when it names no key.
bool ReadKey(const QString& spelled, ScriptAction& action) {
    QString rest = spelled;
    Qt::KeyboardModifiers modifiers;
    for (bool found = true; found;) {
        found = false;
        for (const Prefix& prefix : kPrefixes) {
            // "Ctrl+" alone is no key, while "Ctrl++" is Ctrl with the plus key.
            if (rest.size() > prefix.name.size() &&
                rest.startsWith(prefix.name, Qt::CaseInsensitive)) {
                modifiers |= prefix.modifier;
                rest = rest.mid(prefix.name.size());
                found = true;
            }
        }
    }

    if (rest.size() == 1) {
        const QChar c = rest.at(0);
        if (!c.isPrint() || c.isSpace() || c.isSurrogate())
            return false;
        action.key = static_cast<Qt::Key>(c.toUpper().unicode());
        action.modifiers = modifiers;
        action.text = rest;
        return true;
    }

    const QString lower = rest.toLower();
    if (lower.size() == 3 && lower.startsWith(QLatin1String("kp")) && IsAsciiDigits(lower, 2)) {
        const int digit = lower.at(2).unicode() - '0';
        action.key = static_cast<Qt::Key>(Qt::Key_0 + digit);
        action.modifiers = modifiers | Qt::KeypadModifier;
        action.text = lower.mid(2);
        return true;
    }
    if (lower.startsWith(QLatin1Char('f')) && IsAsciiDigits(lower, 1) &&
        !lower.startsWith(QLatin1String("f0"))) {
        const int number = lower.mid(1).toInt();
        if (number < 1 || number > 12)
            return false;
        action.key = static_cast<Qt::Key>(Qt::Key_F1 + number - 1);
        action.modifiers = modifiers;
        action.text.clear();
        return true;
    }
    for (const NamedKey& named : kNamedKeys) {
        if (rest.compare(named.name, Qt::CaseInsensitive) == 0) {
            action.key = named.key;
            action.modifiers = modifiers;
            action.text = named.text;
            return true;
        }
    }
    return false;
}

// The key's own name as a script writes it, without prefixes.
QString KeyName(const ScriptAction& action) {
    if (action.modifiers.testFlag(Qt::KeypadModifier) && action.key >= Qt::Key_0 &&
        action.key <= Qt::Key_9)
        return QLatin1String("KP") + QString::number(action.key - Qt::Key_0);
    if (action.key >= Qt::Key_F1 && action.key <= Qt::Key_F12)
        return QLatin1Char('F') + QString::number(action.key - Qt::Key_F1 + 1);
    for (const NamedKey& named : kNamedKeys) {
        if (named.key == action.key)
            return named.name;
    }
    return action.text;
}

[[noreturn]] void Refuse(int line, const QString& what) {
    throw RunScriptError{line, QStringLiteral("line %1: %2").arg(line).arg(what)};
}

// The words after the action that it takes, when there are exactly `count` of them before the
// end of the line or a comment.
std::optional<QStringList> Arguments(const QStringList& words, qsizetype count) {
    if (words.size() < count)
        return std::nullopt;
    if (words.size() > count && !words.at(count).startsWith(QLatin1Char('#')))
        return std::nullopt;
    return words.first(count);
}

ScriptAction ParseLine(const QString& line, int number) {
    qsizetype start = 0;
    while (start < line.size() && IsBlank(line.at(start)))
        ++start;
    qsizetype end = start;
    while (end < line.size() && !IsBlank(line.at(end)))
        ++end;
    const QString word = line.mid(start, end - start);
    const QString verb = word.toLower();

    ScriptAction action;
    action.line = number;

    if (verb == QLatin1String("type") || verb == QLatin1String("answer")) {
        // The text starts after the one blank that ends the action word; nothing is trimmed.
        action.kind =
            verb == QLatin1String("type") ? ScriptActionKind::Type : ScriptActionKind::Answer;
        action.text = line.mid(end + 1);
        if (action.text.isEmpty())
            Refuse(number, action.kind == ScriptActionKind::Type
                               ? QStringLiteral("type takes a text")
                               : QStringLiteral("answer takes yes, no, ok, cancel or a text"));
        return action;
    }

    if (verb == QLatin1String("page")) {
        action.kind = ScriptActionKind::Page;
        action.text = line.mid(end + 1);
        return action;
    }

    const QStringList words =
        line.mid(end).split(QRegularExpression(QStringLiteral("[ \\t]+")), Qt::SkipEmptyParts);
    if (verb == QLatin1String("wait") || verb == QLatin1String("stall") ||
        verb == QLatin1String("sleep")) {
        action.kind = verb == QLatin1String("wait")    ? ScriptActionKind::Wait
                      : verb == QLatin1String("stall") ? ScriptActionKind::Stall
                                                       : ScriptActionKind::Sleep;
        const auto args = Arguments(words, 1);
        const auto ms = args ? WholeNumber(args->at(0), false) : std::nullopt;
        if (!ms)
            Refuse(number, verb + QStringLiteral(" takes milliseconds"));
        action.ms = *ms;
    } else if (verb == QLatin1String("key")) {
        action.kind = ScriptActionKind::Key;
        const auto args = Arguments(words, 1);
        if (!args)
            Refuse(number, QStringLiteral("key takes one key"));
        if (!ReadKey(args->at(0), action))
            Refuse(number, QStringLiteral("unknown key '%1'").arg(args->at(0)));
    } else if (verb == QLatin1String("click")) {
        action.kind = ScriptActionKind::Click;
        const auto args = Arguments(words, 1);
        if (!args || !IsControlName(args->at(0)))
            Refuse(number, QStringLiteral("click takes a control name"));
        action.name = args->at(0);
    } else if (verb == QLatin1String("drag")) {
        action.kind = ScriptActionKind::Drag;
        const auto args = Arguments(words, 3);
        const auto dx = args ? WholeNumber(args->at(1), true) : std::nullopt;
        const auto dy = args ? WholeNumber(args->at(2), true) : std::nullopt;
        if (!args || !IsControlName(args->at(0)) || !dx || !dy)
            Refuse(number, QStringLiteral("drag takes a control name and two whole numbers"));
        action.name = args->at(0);
        action.dx = *dx;
        action.dy = *dy;
    } else {
        Refuse(number, QStringLiteral("unknown action '%1'").arg(word));
    }
    return action;
}

bool IsNothing(const QString& line) {
    for (const QChar c : line) {
        if (!IsBlank(c))
            return c == QLatin1Char('#');
    }
    return true;
}

} // namespace

QString ScriptAction::Describe() const {
    switch (kind) {
    case ScriptActionKind::Wait:
        return QStringLiteral("wait %1").arg(ms);
    case ScriptActionKind::Stall:
        return QStringLiteral("stall %1").arg(ms);
    case ScriptActionKind::Key: {
        QString spelled;
        for (const Prefix& prefix : kPrefixes) {
            if (modifiers.testFlag(prefix.modifier))
                spelled += prefix.name;
        }
        return QStringLiteral("key ") + spelled + KeyName(*this);
    }
    case ScriptActionKind::Type:
        return QStringLiteral("type ") + text;
    case ScriptActionKind::Click:
        return QStringLiteral("click ") + name;
    case ScriptActionKind::Drag:
        return QStringLiteral("drag %1 %2 %3").arg(name).arg(dx).arg(dy);
    case ScriptActionKind::Answer:
        return QStringLiteral("answer ") + text;
    case ScriptActionKind::Sleep:
        return QStringLiteral("sleep %1").arg(ms);
    case ScriptActionKind::Page:
        return text.isEmpty() ? QStringLiteral("page") : QStringLiteral("page ") + text;
    }
    return {};
}

std::vector<ScriptAction> ParseRunScript(const QString& text) {
    std::vector<ScriptAction> actions;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QString line = lines.at(i);
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (IsNothing(line))
            continue;
        actions.push_back(ParseLine(line, static_cast<int>(i + 1)));
    }
    return actions;
}

void ScriptAnswers::Push(const QString& answer) {
    m_answers.push_back(answer);
}

std::optional<QString> ScriptAnswers::Take() {
    if (m_answers.empty())
        return std::nullopt;
    QString answer = m_answers.front();
    m_answers.pop_front();
    return answer;
}

std::optional<BoxAnswer> ScriptAnswers::ToBoxAnswer(const QString& answer) {
    const QString word = answer.trimmed().toLower();
    if (word == QLatin1String("yes"))
        return BoxAnswer::Yes;
    if (word == QLatin1String("no"))
        return BoxAnswer::No;
    if (word == QLatin1String("ok"))
        return BoxAnswer::Ok;
    if (word == QLatin1String("cancel"))
        return BoxAnswer::Cancel;
    return std::nullopt;
}

} // namespace corvane
