// Run scripts: what each good line reads into, the line and words of each refusal, comments and
// blank lines, and the queue of box answers.
#include "engine/run_script.h"

#include <QtTest>

using namespace corvane;

namespace {

using K = ScriptActionKind;
ScriptAction Act(K kind, const QString& text = {}, const QString& name = {}) {
    ScriptAction a;
    a.kind = kind;
    a.text = text;
    a.name = name;
    return a;
}
ScriptAction Wait(int ms, K kind = K::Wait) {
    ScriptAction a = Act(kind);
    a.ms = ms;
    return a;
}
ScriptAction Key(Qt::Key key, Qt::KeyboardModifiers modifiers, const QString& text) {
    ScriptAction a = Act(K::Key, text);
    a.key = key;
    a.modifiers = modifiers;
    return a;
}
ScriptAction Text(K kind, const QString& text) {
    return Act(kind, text);
}
ScriptAction Click(const QString& name) {
    return Act(K::Click, {}, name);
}
ScriptAction Drag(const QString& name, int dx, int dy) {
    ScriptAction a = Act(K::Drag, {}, name);
    a.dx = dx;
    a.dy = dy;
    return a;
}

void CompareActions(const ScriptAction& got, const ScriptAction& expected) {
    QCOMPARE(int(got.kind), int(expected.kind));
    QCOMPARE(got.ms, expected.ms);
    QCOMPARE(got.key, expected.key);
    QCOMPARE(got.modifiers.toInt(), expected.modifiers.toInt());
    QCOMPARE(got.text, expected.text);
    QCOMPARE(got.name, expected.name);
    QCOMPARE(got.dx, expected.dx);
    QCOMPARE(got.dy, expected.dy);
}

} // namespace

class TestRunScript : public QObject {
    Q_OBJECT
private slots:
    void goodLines_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<ScriptAction>("expected");
        QTest::addColumn<QString>("described");

        const Qt::KeyboardModifiers none;
        QTest::newRow("wait") << "wait 250" << Wait(250) << "wait 250";
        QTest::newRow("wait zero, comment") << "wait 0   # settle" << Wait(0) << "wait 0";
        QTest::newRow("wait any case") << "  WAIT\t1500" << Wait(1500) << "wait 1500";
        QTest::newRow("stall") << "stall 1200 # a blocked" << Wait(1200, K::Stall) << "stall 1200";
        QTest::newRow("letter") << "key a" << Key(Qt::Key_A, none, "a") << "key a";
        QTest::newRow("capital") << "key A" << Key(Qt::Key_A, none, "A") << "key A";
        QTest::newRow("digit") << "key 5" << Key(Qt::Key_5, none, "5") << "key 5";
        QTest::newRow("slash") << "key /" << Key(Qt::Key_Slash, none, "/") << "key /";
        QTest::newRow("asterisk") << "key *" << Key(Qt::Key_Asterisk, none, "*") << "key *";
        QTest::newRow("hash is a key") << "key #" << Key(Qt::Key_NumberSign, none, "#") << "key #";
        QTest::newRow("plus with ctrl")
            << "key ctrl++" << Key(Qt::Key_Plus, Qt::ControlModifier, "+") << "key Ctrl++";
        QTest::newRow("F1") << "key F1" << Key(Qt::Key_F1, none, "") << "key F1";
        QTest::newRow("f12 lower") << "key f12" << Key(Qt::Key_F12, none, "") << "key F12";
        QTest::newRow("space") << "key space" << Key(Qt::Key_Space, none, " ") << "key Space";
        QTest::newRow("enter") << "key ENTER" << Key(Qt::Key_Return, none, "") << "key Enter";
        QTest::newRow("escape") << "key Escape" << Key(Qt::Key_Escape, none, "") << "key Escape";
        QTest::newRow("backspace")
            << "key Backspace" << Key(Qt::Key_Backspace, none, "") << "key Backspace";
        QTest::newRow("tab") << "key Tab" << Key(Qt::Key_Tab, none, "") << "key Tab";
        QTest::newRow("delete") << "key delete" << Key(Qt::Key_Delete, none, "") << "key Delete";
        QTest::newRow("home") << "key Home" << Key(Qt::Key_Home, none, "") << "key Home";
        QTest::newRow("ctrl alt right")
            << "key Ctrl+Alt+Right" << Key(Qt::Key_Right, Qt::ControlModifier | Qt::AltModifier, "")
            << "key Ctrl+Alt+Right";
        QTest::newRow("prefixes in any order and case")
            << "key shift+CTRL+up" << Key(Qt::Key_Up, Qt::ShiftModifier | Qt::ControlModifier, "")
            << "key Ctrl+Shift+Up";
        QTest::newRow("shift letter")
            << "key Shift+x" << Key(Qt::Key_X, Qt::ShiftModifier, "x") << "key Shift+x";
        QTest::newRow("keypad 0") << "key KP0" << Key(Qt::Key_0, Qt::KeypadModifier, "0")
                                  << "key KP0";
        QTest::newRow("keypad 7 with alt")
            << "key alt+kp7" << Key(Qt::Key_7, Qt::KeypadModifier | Qt::AltModifier, "7")
            << "key Alt+KP7";
        QTest::newRow("type") << "type hello" << Text(K::Type, "hello") << "type hello";
        QTest::newRow("type keeps blanks and #") << "type  two  blanks # not a comment "
                                                 << Text(K::Type, " two  blanks # not a comment ")
                                                 << "type  two  blanks # not a comment ";
        QTest::newRow("click") << "click bOK" << Click("bOK") << "click bOK";
        QTest::newRow("click indexed")
            << "click bResponse(3) # third" << Click("bResponse(3)") << "click bResponse(3)";
        QTest::newRow("click navigation") << "Click GoBack" << Click("GoBack") << "click GoBack";
        QTest::newRow("drag") << "drag sSlider 40 0" << Drag("sSlider", 40, 0)
                              << "drag sSlider 40 0";
        QTest::newRow("drag negative")
            << "drag picture(2) -15 -200" << Drag("picture(2)", -15, -200)
            << "drag picture(2) -15 -200";
        QTest::newRow("answer yes") << "answer yes" << Text(K::Answer, "yes") << "answer yes";
        QTest::newRow("answer text")
            << "answer Jane Doe #2" << Text(K::Answer, "Jane Doe #2") << "answer Jane Doe #2";
    }
    void goodLines() {
        QFETCH(QString, line);
        QFETCH(ScriptAction, expected);
        QFETCH(QString, described);

        const auto actions = ParseRunScript(line);
        QCOMPARE(actions.size(), size_t(1));
        QCOMPARE(actions[0].line, 1);
        CompareActions(actions[0], expected);
        QCOMPARE(actions[0].Describe(), described);

        const auto again = ParseRunScript(actions[0].Describe());
        QCOMPARE(again.size(), size_t(1));
        CompareActions(again[0], expected);
    }

    void badLines_data() {
        QTest::addColumn<QString>("script");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("message");

        const QString start = "# a script\nwait 10\nkey a\n";
        QTest::newRow("unknown action")
            << start + "klick bOK" << 4 << "line 4: unknown action 'klick'";
        QTest::newRow("wait words") << "wait\n" << 1 << "line 1: wait takes milliseconds";
        QTest::newRow("wait negative") << "\nwait -5" << 2 << "line 2: wait takes milliseconds";
        QTest::newRow("wait fraction") << "\nwait 1.5" << 2 << "line 2: wait takes milliseconds";
        QTest::newRow("wait too long")
            << "\nwait 99999999999" << 2 << "line 2: wait takes milliseconds";
        QTest::newRow("wait two numbers") << "\nwait 5 6" << 2 << "line 2: wait takes milliseconds";
        QTest::newRow("stall negative") << "stall -1" << 1 << "line 1: stall takes milliseconds";
        QTest::newRow("F13") << start + "\n\n\nkey F13" << 7 << "line 7: unknown key 'F13'";
        QTest::newRow("F0") << "key F0" << 1 << "line 1: unknown key 'F0'";
        QTest::newRow("prefix alone") << "key Ctrl+" << 1 << "line 1: unknown key 'Ctrl+'";
        QTest::newRow("bad prefix") << "key Meta+a" << 1 << "line 1: unknown key 'Meta+a'";
        QTest::newRow("KP10") << "key KP10" << 1 << "line 1: unknown key 'KP10'";
        QTest::newRow("no key") << "key" << 1 << "line 1: key takes one key";
        QTest::newRow("two keys") << "key a b" << 1 << "line 1: key takes one key";
        QTest::newRow("type nothing") << "type" << 1 << "line 1: type takes a text";
        QTest::newRow("type blank only") << "type " << 1 << "line 1: type takes a text";
        QTest::newRow("click nothing") << "click" << 1 << "line 1: click takes a control name";
        QTest::newRow("click odd name")
            << "click b(OK)" << 1 << "line 1: click takes a control name";
        QTest::newRow("drag one number")
            << "drag bOK 5" << 1 << "line 1: drag takes a control name and two whole numbers";
        QTest::newRow("drag word")
            << "drag bOK 5 up" << 1 << "line 1: drag takes a control name and two whole numbers";
        QTest::newRow("answer nothing")
            << "answer" << 1 << "line 1: answer takes yes, no, ok, cancel or a text";
        QTest::newRow("first bad line wins")
            << "wait x\nklick" << 1 << "line 1: wait takes milliseconds";
    }
    void badLines() {
        QFETCH(QString, script);
        QFETCH(int, line);
        QFETCH(QString, message);
        try {
            ParseRunScript(script);
            QFAIL("the script must be refused");
        } catch (const RunScriptError& error) {
            QCOMPARE(error.line, line);
            QCOMPARE(error.message, message);
        }
    }

    void commentsAndBlankLinesAreNothing() {
        const QString script = "# warm-up\r\n"
                               "\r\n"
                               "   # indented comment\r\n"
                               "wait 100 # then\r\n"
                               "\t\r\n"
                               "type a # b\r\n"
                               "click Continue\r\n";
        const auto actions = ParseRunScript(script);
        QCOMPARE(actions.size(), size_t(3));
        QCOMPARE(actions[0].line, 4);
        QCOMPARE(actions[0].ms, 100);
        QCOMPARE(actions[1].line, 6);
        QCOMPARE(actions[1].text, QString("a # b")); // the line end is not part of the text
        QCOMPARE(actions[2].line, 7);
        QCOMPARE(actions[2].name, QString("Continue"));
        QVERIFY(ParseRunScript("").empty());
        QVERIFY(ParseRunScript("# only\n\n").empty());
    }

    void answersQueueInOrderAndNameButtons() {
        ScriptAnswers answers;
        QVERIFY(answers.IsEmpty() && !answers.Take());
        answers.Push("Yes");
        answers.Push("S017");
        QVERIFY(!answers.IsEmpty());
        QCOMPARE(answers.Take().value(), QString("Yes"));
        QCOMPARE(answers.Take().value(), QString("S017"));
        QVERIFY(!answers.Take() && answers.IsEmpty());
        const QStringList words{"yes", "NO", "Ok", "cancel", "okay", "S017"};
        const QList<std::optional<BoxAnswer>> buttons{BoxAnswer::Yes, BoxAnswer::No,
                                                      BoxAnswer::Ok,  BoxAnswer::Cancel,
                                                      std::nullopt,   std::nullopt};
        for (int i = 0; i < words.size(); ++i)
            QCOMPARE(ScriptAnswers::ToBoxAnswer(words[i]), buttons[i]);
    }
};

QTEST_GUILESS_MAIN(TestRunScript)
#include "test_run_script.moc"
