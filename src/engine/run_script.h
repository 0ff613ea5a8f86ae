// Scripts for unattended runs: one action per line, read and checked in full before the run
// starts so that a mistake on line 40 doesn't surface half way through a session.
//
// Actions (action words and key names in any letter case):
//   wait MS             let MS milliseconds pass (a non-negative whole number)
//   stall MS            hold the program's thread for MS milliseconds, as a program or a device
//                       that blocks it would: no timer fires meanwhile, each one that fell due
//                       fires once at the end
//   key KEY             press and release a key: one character, or F1-F12, Space, Enter, Escape,
//                       Backspace, Tab, Left, Right, Up, Down, Home, End, Delete, KP0-KP9 (the
//                       keypad digits), each with any of the prefixes Ctrl+, Alt+ and Shift+
//   type TEXT           type TEXT: everything after "type" and one blank, kept as it is
//   click NAME          click a control (bOK, bResponse(3)) or a navigation key (Continue,
//                       GoBack, Instruct)
//   drag NAME DX DY     drag a control by whole numbers of pixels, which may be negative
//   answer TEXT         the answer for the next message or input box: yes, no, ok, cancel or any
//                       other text, taken like the text of `type`
//   sleep MS            let MS milliseconds of real time pass while the run clock stands still,
//                       for an outside program to do its part
//   page [SCRIPT]       on the web page of the form on the screen: alone, wait until it has
//                       loaded; with SCRIPT (JavaScript, taken like the text of `type`), run it
//                       and wait until the page it leads to has loaded (at most 15 s of real
//                       time; the run clock stands still meanwhile)
//
// Comments: a line whose first non-blank character is `#` is a comment, as is a blank line. On
// wait, key, click and drag lines a word starting with `#` after the action's own words begins a
// comment to the end of the line (so `key #` still presses `#`). On type and answer lines `#` is
// part of the text: there is no comment on those lines.
#pragma once

#include "state/message_boxes.h"

#include <QString>
#include <QtCore/qnamespace.h>
#include <deque>
#include <optional>
#include <vector>

namespace corvane {

enum class ScriptActionKind { Wait, Key, Type, Click, Drag, Answer, Stall, Page, Sleep };

/// One action of a run script; only the fields of its kind are filled.
struct ScriptAction {
    ScriptActionKind kind = ScriptActionKind::Wait;
    int line = 0; // counted from 1

    int ms = 0;                      // wait, stall, sleep
    Qt::Key key = Qt::Key_unknown;   // key
    Qt::KeyboardModifiers modifiers; // key
    QString text;                    // key: what it types; type, answer, page: the text
    QString name;                    // click, drag
    int dx = 0;                      // drag
    int dy = 0;                      // drag

    /// The action written back as a script line, for logs.
    QString Describe() const;
};

/// A script line that can't be read; `message` is one line, starting with the line number.
struct RunScriptError {
    int line;
    QString message;
};

/// Reads a whole script; throws RunScriptError for the first line that can't be read.
std::vector<ScriptAction> ParseRunScript(const QString& text);

/// The answers a script has queued for the message and input boxes still to come.
class ScriptAnswers {
public:
    /// Queues an answer behind those already waiting.
    void Push(const QString& answer);
    /// The next answer, taken off the queue; no value when none is waiting.
    std::optional<QString> Take();
    /// True when no answer is waiting.
    bool IsEmpty() const { return m_answers.empty(); }

    /// The button an answer word stands for (yes, no, ok, cancel in any case), else no value.
    static std::optional<BoxAnswer> ToBoxAnswer(const QString& answer);

private:
    std::deque<QString> m_answers;
};

} // namespace corvane
