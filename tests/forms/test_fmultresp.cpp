// The multiple response form in a run: layout, range limits, the 200 ms rule, codings, times,
// keys, "<specify>", the time limit, and the faults of its definition.
#include "engine/run_driver.h"
#include "run_fixture.h"

#include <QLabel>
#include <QPushButton>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kHeader =
    "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,WriteData,WriteRT,"
    "textlabel1,textlabel2,textlabel3,textlabel4,pointlabel1,pointlabel2,pointlabel3,"
    "pointlabel4,skip1,skip2,skip3,skip4\n";

// A multiple response item of four options a to d, with boxes A to D.
QString Multiple(int number, const QString& name, const QString& parameters,
                 const QString& wording = "Which?", const QString& skips = "none,none,none,none",
                 const QString& labels = "a,b,c,d") {
    return QString("%1,Multiple Response,%2,%3,\"%4\",yes,yes,%5,A,B,C,D,%6\n")
        .arg(number)
        .arg(wording, name, parameters, labels, skips);
}

QString Scale(int number, const QString& name, const QString& wording = "Next?") {
    return QString("%1,scale response,%2,%3,(p4),yes,yes,a,b,c,d,1,2,3,4,none,none,none,none\n")
        .arg(number)
        .arg(wording, name);
}

// Sets the limits' messages and forgets the boxes of the start (the fixture has no preferences).
void SetLimitMessages(RunFixture& run) {
    run.boxes.clear();
    run.state.Messages[1] = "Time is over.";
    run.state.Messages[20] = "Too few.";
    run.state.Messages[21] = "Too many.";
}

QPushButton* Box(RunFixture& run, int n) {
    return run.Control<QPushButton>(QString("chkResponse(%1)").arg(n));
}

void Click(RunFixture& run, int n) {
    QTest::mouseClick(Box(run, n), Qt::LeftButton);
}

void Continue(RunFixture& run) {
    QTest::mouseClick(run.Control<QPushButton>("Continue"), Qt::LeftButton);
}

} // namespace

class TestFMultResp : public QObject {
    Q_OBJECT
private slots:
    void listOfToggleBoxes() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p3,l300,t50)") + Scale(2, "next"));
        QWidget* form = run.Form();
        QVERIFY(form);
        QCOMPARE(form->objectName(), "fMultResp");
        QVERIFY(run.Control<QPushButton>("Continue"));
        QCOMPARE(Box(run, 1)->text(), "A");
        QVERIFY(Box(run, 1)->isCheckable());
        QCOMPARE(Box(run, 1)->font().pointSizeF(), 10.8);
        QVERIFY(!Box(run, 4)->isVisible());
        QCOMPARE(Box(run, 1)->y(), 50);
        // The list keeps its design column: Left doesn't move it, unlike the scale's.
        const double sx = form->width() * 15.0 / 9600.0;
        QVERIFY(qAbs(Box(run, 1)->x() - 510 * sx / 15.0) <= 1.0);
        // The first label stands in line with its siblings.
        QCOMPARE(run.Control<QLabel>("lText(1)")->x(), run.Control<QLabel>("lText(2)")->x());
        QCOMPARE(run.Control<QLabel>("lText(1)")->width(),
                 run.Control<QLabel>("lText(2)")->width());
    }

    void upperLimitRefusesTheFourthChoice() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p4,r2-3)") + Scale(2, "next"));
        SetLimitMessages(run);
        QWidget* form = run.Form();
        run.Wait(300);
        Click(run, 1);
        QVERIFY(run.boxes.isEmpty());
        Continue(run); // one is too few
        QCOMPARE(run.Form(), form);
        QCOMPARE(run.boxes.last().text, "Too few.");
        QCOMPARE(run.boxes.last().title, "Note");
        run.Wait(100);
        Click(run, 2);
        run.Wait(100);
        Click(run, 3);
        run.Wait(100);
        Click(run, 4); // a fourth: it takes itself back
        QCOMPARE(run.boxes.last().text, "Too many.");
        QCOMPARE(run.boxes.size(), 2);
        QVERIFY(!Box(run, 4)->isChecked());
        QCOMPARE(Box(run, 4)->text(), "D");
        QVERIFY(Box(run, 3)->isChecked());
        QCOMPARE(Box(run, 3)->text(), QString()); // the check mark in place of the caption
        run.Wait(100);
        Click(run, 1); // unchecking keeps the option's time
        Continue(run);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Variables.VariableCount(1, 1), qint16(4));
        const QStringList values{"0", "1", "1", "0"};
        const QList<qint32> times{300, 400, 500, 0};
        for (int n = 1; n <= 4; ++n) {
            QCOMPARE(run.state.Responses().Value(1, 1, n), values[n - 1]);
            QCOMPARE(run.state.Responses().Time(1, 1, n), times[n - 1]);
        }
    }

    void earlyClickChangesTheValueOnly() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p4)") + Scale(2, "next"));
        run.Wait(200);
        Click(run, 2); // at 200 ms: the value only
        QVERIFY(Box(run, 2)->isChecked());
        QCOMPARE(Box(run, 2)->text(), "B");
        run.Wait(1);
        Click(run, 3);
        QCOMPARE(Box(run, 3)->text(), QString());
        Continue(run);
        QCOMPARE(run.state.Responses().Value(1, 1, 2), "1");
        QCOMPARE(run.state.Responses().Time(1, 1, 2), 0);
        QCOMPARE(run.state.Responses().Time(1, 1, 3), 201);
    }

    void singleCodingStoresTheNumber() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p4,r1-1)") + Scale(2, "next"));
        QWidget* form = run.Form();
        run.Wait(400);
        Click(run, 3);
        run.Wait(100);
        Continue(run);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Variables.VariableCount(1, 1), qint16(1));
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "3");
        // The time stays with the option: beside the item's one variable.
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 0);
        QCOMPARE(run.state.Responses().Time(1, 1, 3), 400);
        QCOMPARE(run.state.Responses().Value(1, 1, 3), QString());
    }

    void singleCodingWithASpecifiedOption() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p4,r1-1)", "Which?", "none,none,none,none",
                                    "a,b,c,Other <Specify>") +
                               Scale(2, "next", "You said <m>."));
        QCOMPARE(run.Control<QLabel>("lText(4)")->text(), "Other <Specify>");
        run.Wait(300);
        Click(run, 4);
        Continue(run);
        // The mark is found by its last letters, whatever the case of the first.
        QCOMPARE(run.boxes.last().title, "Please Specify");
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "<Cancel>"); // the recording boxes cancel
        QCOMPARE(run.state.Variables.Column(1, 1, 1).type, qint16(1));
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "You said <Cancel>.");
    }

    void multipleCodingWithASpecifiedOption() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p4)", "Which?", "none,none,none,none",
                                    "a,b,c,Other <specify>") +
                               Scale(2, "next", "You said <m>."));
        QCOMPARE(run.Control<QLabel>("lText(4)")->text(), "Other ");
        run.Wait(300);
        Click(run, 1);
        Click(run, 4);
        Continue(run);
        QCOMPARE(run.boxes.last().text, "You selected 'Other '. Please specify...");
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "1");
        QCOMPARE(run.state.Responses().Value(1, 1, 4), "<Cancel>");
        QCOMPARE(run.state.Variables.Column(1, 1, 4).type, qint16(1));
        QCOMPARE(run.state.Variables.Column(1, 1, 1).type, qint16(0));
        // Nothing is quoted from multiple coding.
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "You said <m>.");
    }

    void keysToggleAndContinue() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p4,r0-2)", "Which?", "none,next,none,none") +
                               Scale(2, "skipped") + Scale(3, "next"));
        SetLimitMessages(run);
        QWidget* form = run.Form();
        run.Wait(150);
        run.Key(Qt::Key_2); // within 200 ms: nothing
        run.Key(Qt::Key_Space);
        QVERIFY(!Box(run, 2)->isChecked());
        QCOMPARE(run.Form(), form);
        run.Wait(100);
        run.Key(Qt::Key_2);
        QVERIFY(Box(run, 2)->isChecked());
        run.Key(Qt::Key_F1);
        run.Wait(50);
        run.Key(Qt::Key_3); // a third: refused
        QVERIFY(!Box(run, 3)->isChecked());
        QCOMPARE(run.boxes.last().text, "Too many.");
        run.Key(Qt::Key_1); // the second press takes the first back
        QVERIFY(!Box(run, 1)->isChecked());
        run.Key(Qt::Key_9); // no such option
        run.Key(Qt::Key_2, Qt::KeypadModifier);
        QVERIFY(!Box(run, 2)->isChecked());
        run.Key(Qt::Key_2);
        run.Wait(50);
        run.Key(Qt::Key_Space); // Continue: the jump of the latest key
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "0");
        QCOMPARE(run.state.Responses().Value(1, 1, 2), "1");
        QCOMPARE(run.state.Responses().Time(1, 1, 2), 300);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 250);
        // The refused third option keeps the time of its key.
        QCOMPARE(run.state.Responses().Time(1, 1, 3), 300);
        QCOMPARE(run.state.Responses().Value(1, 1, 3), "0");
        QCOMPARE(run.state.CurrentQuestion, qint16(3));
    }

    void backspaceGoesBackAfterTwoHundredMilliseconds() {
        RunFixture run;
        const QString header = kHeader.trimmed() + ",GoBack\n";
        run.Start(header, Scale(1, "first").trimmed() + ",yes\n" +
                              Multiple(2, "m", "(p4)").trimmed() + ",yes\n");
        run.Wait(200);
        run.Key(Qt::Key_1);
        QWidget* form = run.Form();
        QVERIFY(run.Control<QPushButton>("GoBack"));
        run.Wait(250);
        Click(run, 2);
        run.Key(Qt::Key_Backspace); // 250 ms after the wording
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.CurrentQuestion, qint16(1));
        // The back ending stores no values; the time of the click stays where it was put.
        QCOMPARE(run.state.Responses().Value(1, 2, 2), QString());
        QCOMPARE(run.state.Responses().Time(1, 2, 2), 250);
        run.Wait(300);
        run.Key(Qt::Key_1);
        form = run.Form();
        run.Wait(150);
        run.Key(Qt::Key_Backspace); // within 200 ms: the item stays
        QCOMPARE(run.Form(), form);
    }

    void mouseUseFollowsTheFormerChoice() {
        RunFixture run;
        run.Start(kHeader, Scale(1, "first") +
                               Multiple(2, "m", "(p4)", "Which?", "none,none,last,none") +
                               Scale(3, "skipped") + Scale(4, "last"));
        run.Wait(200);
        run.Key(Qt::Key_3);
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
        run.Wait(300);
        Click(run, 1);
        Continue(run);
        // The mouse doesn't set the latest choice: the scale's 3 jumps from here.
        QCOMPARE(run.state.CurrentQuestion, qint16(4));
    }

    // What Continue stores, by coding: the options chosen, the count of variables, the values.
    void codingsAtContinue_data() {
        QTest::addColumn<QString>("parameters");
        QTest::addColumn<QList<int>>("chosen");
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("values");
        QTest::addColumn<QString>("quoted"); // in the next item's wording
        QTest::newRow("none chosen, no lower limit")
            << "(p3)" << QList<int>{} << 3 << QStringList{"0", "0", "0"} << "<m>";
        // A reversed range arrives as no limits at all, and multiple coding.
        QTest::newRow("reversed range") << "(p4,r3-2)" << QList<int>{1, 2, 3, 4} << 4
                                        << QStringList{"1", "1", "1", "1"} << "<m>";
        QTest::newRow("single choice")
            << "(p4,r1-1)" << QList<int>{2} << 1 << QStringList{"2", "", "", ""} << "b";
        // One option gives one variable, and one variable means single coding.
        QTest::newRow("one option chosen")
            << "(p1)" << QList<int>{1} << 1 << QStringList{"1"} << "a";
        QTest::newRow("one option left") << "(p1)" << QList<int>{} << 1 << QStringList{""} << "";
    }

    void codingsAtContinue() {
        QFETCH(QString, parameters);
        QFETCH(QList<int>, chosen);
        QFETCH(int, count);
        QFETCH(QStringList, values);
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", parameters) + Scale(2, "next", "You said <m>."));
        SetLimitMessages(run);
        QWidget* form = run.Form();
        run.Wait(300);
        for (int n : chosen)
            Click(run, n);
        Continue(run);
        QVERIFY(run.boxes.isEmpty());
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Variables.VariableCount(1, 1), qint16(count));
        for (int k = 1; k <= values.size(); ++k)
            QCOMPARE(run.state.Responses().Value(1, 1, k), values[k - 1]);
        QFETCH(QString, quoted);
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "You said " + quoted + ".");
    }

    void timeLimitContinuesOrWaits() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p4,r1-4,d2)") + Scale(2, "next"));
        SetLimitMessages(run);
        QWidget* form = run.Form();
        run.Wait(3000);
        // Too few chosen: the limit's message, then that of the lower limit, and the item stays.
        QCOMPARE(run.Form(), form);
        QCOMPARE(run.boxes.size(), 2);
        QCOMPARE(run.boxes[0].text, "Time is over.");
        QCOMPARE(run.boxes[0].title, "Limit");
        QCOMPARE(run.boxes[1].text, "Too few.");
        Click(run, 2);
        run.Wait(1000);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.boxes.size(), 3);
        QCOMPARE(run.state.Responses().Value(1, 1, 2), "1");
        QCOMPARE(run.state.Responses().Time(1, 1, 2), 3000);
    }

    void longLimitCountsDown() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p4,d30)") + Scale(2, "next"));
        QLabel* warning = run.Control<QLabel>("lWarning");
        run.Wait(20000);
        QVERIFY(!warning->isVisible());
        run.Wait(1000);
        QVERIFY(warning->isVisible());
        QCOMPARE(warning->text(), "9");
    }

    void missingCountShowsNoOptions() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(r1-2)") + Scale(2, "next"));
        QVERIFY(run.boxes.first().text.contains("is missing the required parameter, p."));
        QVERIFY(run.boxes.last().text.contains("'m' asks for at least 1 choices but offers 0"));
        QWidget* form = run.Form();
        QVERIFY(!Box(run, 1)->isVisible());
        run.Wait(300);
        Continue(run);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
    }

    void questionMarkCountPassesTheItemOver() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "?") + Scale(2, "next"));
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
        const auto told = std::find_if(run.boxes.begin(), run.boxes.end(), [](const auto& box) {
            return box.text.startsWith("The current multiple response item has no parameter");
        });
        QVERIFY(told != run.boxes.end());
        QCOMPARE(told->title, "Corvane"); // a box without a title of its own
    }

    void unreachableLowerLimitIsDropped() {
        RunFixture run;
        run.Start(kHeader, Multiple(1, "m", "(p2,r3-4)") + Scale(2, "next"));
        QVERIFY(run.boxes.last().text.contains("'m' asks for at least 3 choices but offers 2"));
        QWidget* form = run.Form();
        run.Wait(300);
        Click(run, 1);
        Continue(run);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "1");
    }
};

QTEST_MAIN(TestFMultResp)
#include "test_fmultresp.moc"
