// The fill-in-the-blank and essay forms in a run: masks, limits, range tests, times, key logs.
#include "run_fixture.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kHeader = "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,"
                        "WriteData,WriteRT,WriteText,GoBack,skip1\n";

QString Item(int number, const QString& type, const QString& name, const QString& parameters) {
    return QString("%1,%2,Say it.,%3,\"%4\",yes,yes,1,yes,none\n")
        .arg(number)
        .arg(type, name, parameters);
}

QString FillBlank(int number, const QString& name, const QString& parameters) {
    return Item(number, "fill-in-the-blank", name, parameters);
}

void UseMessages(RunFixture& run) {
    WriteBytes(QDir(run.Folder()).filePath("program/styles/messages.txt"),
               "103,Empty.,\r\n104,Not a number.,\r\n105,\"From \",\r\n110,No essay.,\r\n"
               "111,Note,\r\n113,Short answers.,\r\n122,Full.,\r\n\r\n");
}

// Types each character into whatever has the focus at that moment, as a participant does.
void Type(QWidget* form, const QString& text) {
    for (const QChar c : text) {
        QWidget* target = form->focusWidget() ? form->focusWidget() : form;
        QTest::keyClick(target, c.toLatin1());
    }
}

QStringList BoxTexts(const RunFixture& run) {
    QStringList texts;
    for (int j = 1; j <= 24; ++j) {
        auto* box = run.Control<QLineEdit>(QString("Box(%1)").arg(j));
        if (box->isVisible())
            texts << (box->isEnabled() ? box->text() : "[" + box->text() + "]");
    }
    return texts;
}

// The boxes the items showed, without the start's note of the missing preference file.
QList<MessageBox> Shown(const RunFixture& run) {
    QList<MessageBox> shown;
    for (const MessageBox& box : run.boxes) {
        if (box.title != "File not found")
            shown << box;
    }
    return shown;
}

QString FocusName(const RunFixture& run) {
    return run.Form()->focusWidget() ? run.Form()->focusWidget()->objectName() : QString();
}

} // namespace

class TestTypedAnswers : public QObject {
    Q_OBJECT
private slots:
    void maskBoxesAndTheFocus() {
        RunFixture run;
        run.Start(kHeader, FillBlank(1, "phone", "(m***-****)") + FillBlank(2, "next", ""));
        QCOMPARE(BoxTexts(run), QStringList({"", "", "", "[-]", "", "", "", ""}));
        QCOMPARE(FocusName(run), "Box(1)");
        Type(run.Form(), "555");
        QCOMPARE(FocusName(run), "Box(5)"); // the fixed dash is passed over
        run.Key(Qt::Key_Backspace);
        QCOMPARE(FocusName(run), "Box(3)"); // from an empty box to the left, over the dash
        run.Key(Qt::Key_Backspace);
        QCOMPARE(FocusName(run), "Box(3)"); // a box with a character deletes it first
        QCOMPARE(BoxTexts(run)[2], "");
        run.Key(Qt::Key_Left);
        QCOMPARE(FocusName(run), "Box(2)");
        Type(run.Form(), "91");
        QCOMPARE(BoxTexts(run)[1], "9"); // the character replaced the old one
        Type(run.Form(), "23456");
        QCOMPARE(FocusName(run), "Box(8)"); // the last box keeps the focus
        QCOMPARE(BoxTexts(run), QStringList({"5", "9", "1", "[-]", "2", "3", "4", "6"}));
        run.Wait(800);
        run.Key(Qt::Key_Return);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "591-2346");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 800);
    }

    void aLongMaskHasTwentyFourBoxes() {
        RunFixture run;
        run.Start(kHeader,
                  FillBlank(1, "long", "(m" + QString(24, '*') + "ab)") + FillBlank(2, "next", ""));
        QCOMPARE(BoxTexts(run).size(), 24);
        Type(run.Form(), "x");
        run.Key(Qt::Key_Return);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "x"); // the characters past 24 are lost
    }

    void rangeTest_data() {
        QTest::addColumn<QString>("parameters");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("message");
        AddTextRows<4>({{"decimal", "(r1-7)", "2.5", "Not a number."},
                        {"above", "(r1-7)", "8", "From 1 to 7"},
                        {"lone minus", "(r1-7)", "-", "From 1 to 7"},
                        {"blanks only", "(r1-7)", "   ", "Empty."},
                        {"inside", "(r1-7)", "7", ""},
                        {"negative", "(r-5-5)", "-3", ""},
                        {"0 to 0 tests nothing", "(r0-0)", "abc", ""},
                        {"mask date", "(m**-**,r1-31)", "3112", ""},
                        {"mask date, day", "(m**-**,r1-31)", "3201", "From 1 to 31"}});
    }
    void rangeTest() {
        QFETCH(QString, parameters);
        QFETCH(QString, typed);
        QFETCH(QString, message);
        RunFixture run;
        UseMessages(run);
        run.Start(kHeader, FillBlank(1, "n", parameters) + FillBlank(2, "next", ""));
        QWidget* form = run.Form();
        Type(form, typed);
        run.Key(Qt::Key_Return);
        if (message.isEmpty()) {
            QVERIFY(run.Form() != form);
            QVERIFY(Shown(run).isEmpty());
            QVERIFY(!run.state.Responses().Value(1, 1, 1).isEmpty());
            return;
        }
        QCOMPARE(run.Form(), form); // the item stays, with nothing stored
        QCOMPARE(Shown(run).size(), 1);
        QCOMPARE(Shown(run).last().text, message);
        QCOMPARE(Shown(run).last().title, "Note");
        QCOMPARE(run.state.Responses().Value(1, 1, 1), QString());
    }

    void faultyRangesAndMasksAreToldOf_data() {
        QTest::addColumn<QString>("parameters");
        QTest::addColumn<QString>("told");
        QTest::addColumn<bool>("passedOver");
        const QString unread = "has the range %1, which can't be read";
        QTest::newRow("reversed") << "(r9-2)" << unread.arg("(r9-2)") << false;
        QTest::newRow("no dash") << "(r5)" << unread.arg("(r5)") << false;
        QTest::newRow("slash date") << "(m**/**,r1-31)"
                                    << "has a range and the mask (m**/**), whose fixed" << false;
        QTest::newRow("no blank") << "(mab-c)"
                                  << "has the mask (mab-c), in which no character" << true;
    }
    void faultyRangesAndMasksAreToldOf() {
        QFETCH(QString, parameters);
        QFETCH(QString, told);
        QFETCH(bool, passedOver);
        RunFixture run;
        UseMessages(run);
        run.Start(kHeader, FillBlank(1, "first", parameters) + FillBlank(2, "next", ""));
        QCOMPARE(Shown(run).size(), 1);
        QVERIFY2(Shown(run)[0].text.startsWith("The fill-in-the-blank item 'first' " + told),
                 qPrintable(Shown(run)[0].text));
        QVERIFY(Shown(run)[0].text.contains("To fix this, edit the questionnaire"));
        if (passedOver) {
            QCOMPARE(run.state.CurrentQuestion, qint16(2));
            QCOMPARE(run.state.Responses().Value(1, 1, 1), QString());
            return;
        }
        // The answer is taken without a range test.
        Type(run.Form(), "12/40");
        run.Key(Qt::Key_Return);
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
        QVERIFY(!run.state.Responses().Value(1, 1, 1).isEmpty());
    }

    void lengthLimitAndItsNotice() {
        RunFixture run;
        UseMessages(run);
        run.Start(kHeader, FillBlank(1, "short", "(p5)"));
        QCOMPARE(run.Control<QLabel>("lFillBlank")->text(), "Short answers.");
        Type(run.Form(), "abcdef");
        auto* box = run.Control<QPlainTextEdit>("txFillBlank");
        QCOMPARE(box->toPlainText(), "abcde");
        QCOMPARE(Shown(run).size(), 1); // at the sixth key
        QCOMPARE(Shown(run)[0].text, "Full.");
        run.Key(Qt::Key_Backspace); // no notice for a deletion
        QCOMPARE(Shown(run).size(), 1);
        QCOMPARE(box->toPlainText(), "abcd");
    }

    void commasAndLineBreaksLeaveTheAnswer() {
        RunFixture run;
        // With a spacing factor above 1 Enter makes a line break; Continue ends the item.
        run.Start(kHeader, FillBlank(1, "text", "(s2)") + FillBlank(2, "next", "<text>!"));
        Type(run.Form(), " a,b");
        run.Key(Qt::Key_Return);
        Type(run.Form(), "c ");
        QCOMPARE(run.state.CurrentQuestion, qint16(1));
        QTest::mouseClick(run.Control<QWidget>("Continue"), Qt::LeftButton);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ab c");
        QCOMPARE(run.state.InsertValues.last(), "ab c");
    }

    void theAnswerGoesToTheItemsTextFile() {
        RunFixture run;
        run.Start("questionnumber,QuestionType,QuestionWording,VariableName,FileName,skip1\n",
                  "1,fill-in-the-blank,Say it.,said,answer.txt,none\n"
                  "2,fill-in-the-blank,Next.,next,,none\n");
        Type(run.Form(), "red, green");
        run.Key(Qt::Key_Return);
        QCOMPARE(ReadAll(QDir(run.Folder()).filePath("answer.txt")), "red green~\r\n");
    }

    void spaceAndBackspaceTypeRatherThanNavigate() {
        RunFixture run;
        run.Start(kHeader, FillBlank(1, "one", "") + FillBlank(2, "two", ""));
        Type(run.Form(), "x");
        run.Key(Qt::Key_Return);
        QWidget* second = run.Form();
        run.Wait(500);
        Type(second, "a b");
        run.Key(Qt::Key_Backspace);
        QCOMPARE(run.Form(), second);
        QCOMPARE(run.Control<QPlainTextEdit>("txFillBlank")->toPlainText(), "a ");
    }

    void firstKeyTime() {
        RunFixture run;
        run.Start(kHeader, FillBlank(1, "k", "(k1)") + FillBlank(2, "nokey", "(k1,m*-*)") +
                               FillBlank(3, "last", ""));
        run.Wait(300);
        run.Key(Qt::Key_Shift); // the first key counts, whatever it is
        run.Wait(200);
        Type(run.Form(), "x");
        run.Wait(500);
        run.Key(Qt::Key_Return);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 300);
        // Continued without a key: there is no first key, so no time.
        run.Wait(400);
        QTest::mouseClick(run.Control<QWidget>("Continue"), Qt::LeftButton);
        QCOMPARE(run.state.Responses().Value(1, 2, 1), "-");
        QCOMPARE(run.state.Responses().Time(1, 2, 1), 0);
    }

    void timeLimitKeepsWhatWasTyped() {
        RunFixture run;
        run.Start(kHeader, FillBlank(1, "typed", "(d2)") + FillBlank(2, "empty", "(d2)") +
                               FillBlank(3, "last", ""));
        QVERIFY(!run.Control<QWidget>("Continue")); // a timed item has no Continue
        Type(run.Form(), "half an answ");
        run.Wait(3000);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "half an answ");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 3000);
        run.Wait(3000); // nothing typed: the item ends without an answer, and without a word
        QCOMPARE(run.state.CurrentQuestion, qint16(3));
        QCOMPARE(run.state.Responses().Value(1, 2, 1), QString());
        QVERIFY(Shown(run).isEmpty());
    }

    void essayKeyLogAndLineBreak() {
        RunFixture run;
        run.Start(kHeader, Item(1, "essay", "story", "(k32)") + FillBlank(2, "next", ""));
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "Say it.");
        run.Wait(400);
        Type(run.Form(), "Hi there");
        run.Key(Qt::Key_Return); // an ordinary line break
        run.Wait(600);
        Type(run.Form(), "bye ");
        run.Key(Qt::Key_Right); // alone, it moves the caret and ends nothing
        QCOMPARE(run.state.CurrentQuestion, qint16(1));
        run.Wait(100);
        run.Key(Qt::Key_Escape);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 1100);
        const QByteArray text = ReadAll(QDir(run.Folder()).filePath("data/story.txt"));
        QVERIFY2(text.startsWith("'s1', 'a', '"), text.constData());
        QVERIFY(text.endsWith("'\r\nHi there\r\nbye \r\n"));
        const QByteArray keys = ReadAll(QDir(run.Folder()).filePath("data/story_keypress.csv"));
        QVERIFY2(keys.startsWith("s1,a,"), keys.constData());
        QVERIFY(keys.endsWith(",400,1000\r\n"));
    }

    void essayEndings() {
        RunFixture run;
        UseMessages(run);
        run.Start(kHeader, Item(1, "essay", "e1", "(k1,p3)") + Item(2, "essay", "e2", "(d3)") +
                               FillBlank(3, "next", ""));
        QWidget* form = run.Form();
        run.Wait(250);
        run.Key(Qt::Key_Escape); // nothing written yet
        QCOMPARE(run.Form(), form);
        QCOMPARE(Shown(run).last().text, "No essay.");
        run.Wait(250);
        Type(form, "abcd");
        QCOMPARE(Shown(run).last().text, "Full.");
        QCOMPARE(Shown(run).size(), 2);
        run.Key(Qt::Key_Backspace);
        QCOMPARE(Shown(run).size(), 2);
        run.Wait(500);
        QTest::mouseClick(run.Control<QWidget>("Continue"), Qt::LeftButton);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 250); // the first key, Escape
        QVERIFY(!QFile::exists(QDir(run.Folder()).filePath("data/e1_keypress.csv")));
        // Under a limit the essay ends at the limit, with a record even when it is empty.
        QVERIFY(!run.Control<QWidget>("Continue"));
        run.Wait(4000);
        QCOMPARE(run.state.CurrentQuestion, qint16(3));
        QCOMPARE(run.state.Responses().Value(1, 2, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 2, 1), 4000);
        QVERIFY(ReadAll(QDir(run.Folder()).filePath("data/e2.txt")).endsWith("'\r\n \r\n"));
    }
};

QTEST_MAIN(TestTypedAnswers)
#include "test_typed_answers.moc"
