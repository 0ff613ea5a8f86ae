// The ranking form in a run: anchors, shuffle, dragging, the tidy and store, times, faults.
#include "run_fixture.h"

#include <QFrame>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kHeader = "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,"
                        "WriteData,WriteRT,GoBack,textlabel1,textlabel2,textlabel3,skip1,skip2\n";

// A ranking item of three labels a, b, c.
QString Ranking(int number, const QString& name, const QString& parameters,
                const QString& wording = "Rank them=Least,Most", const QString& labels = "a,b,c",
                const QString& type = "Ranking") {
    return QString("%1,%2,\"%3\",%4,\"%5\",yes,yes,yes,%6,none,none\n")
        .arg(number)
        .arg(type, wording, name, parameters, labels);
}

QString Last(int number) {
    return QString("%1,instructions,The end.,last,,yes,yes,no,,,,,\n").arg(number);
}

// Numbers on [0, 1) in a set order, so that the shuffle is known.
class ListedRandom : public RandomSource {
public:
    explicit ListedRandom(std::vector<double> values) : m_values(std::move(values)) {}
    double Next() override { return m_values[m_next++ % m_values.size()]; }
    void Seed() override {}

private:
    std::vector<double> m_values;
    std::size_t m_next = 0;
};

// With three labels these draws give 2, (2 again, refused), 1, 3: the controls show b, a, c.
void ShowBAC(RunFixture& run) {
    run.state.SetRandom(std::make_unique<ListedRandom>(std::vector<double>{0.5, 0.5, 0.0, 0.9}));
}

void WriteMessages(RunFixture& run) {
    WriteBytes(run.Folder() + "/program/styles/messages.txt",
               "111,Note,\r\n118,Drag every answer across.,\r\n119,Is this your order?,\r\n\r\n");
}

QLabel* Label(RunFixture& run, int n) {
    return run.Control<QLabel>(QString("Label1(%1)").arg(n));
}

void SendMouse(QWidget* target, QEvent::Type type, const QPoint& at, Qt::MouseButtons buttons) {
    QMouseEvent event(type, QPointF(at), QPointF(target->mapToGlobal(at)), Qt::LeftButton, buttons,
                      Qt::NoModifier);
    QApplication::sendEvent(target, &event);
}

// Presses on a label, moves it by the offset with the left button held, and lets go.
void Drag(QWidget* label, const QPoint& offset) {
    const QPoint centre = label->rect().center();
    SendMouse(label, QEvent::MouseButtonPress, centre, Qt::LeftButton);
    SendMouse(label, QEvent::MouseMove, centre + offset, Qt::LeftButton);
    SendMouse(label, QEvent::MouseButtonRelease, centre + offset, Qt::NoButton);
}

// Drags a label across the bar, to the given top.
void DragAcross(RunFixture& run, int n, int top) {
    QLabel* label = Label(run, n);
    const int bar = run.Control<QFrame>("Shape2")->x();
    Drag(label, QPoint(bar - label->x() + 10, top - label->y()));
}

// Drags labels 1 to count across the bar, each level with where it stood.
void DragAllAcross(RunFixture& run, int count) {
    for (int n = 1; n <= count; ++n)
        DragAcross(run, n, Label(run, n)->y());
}

void ClickTool(RunFixture& run, const QString& key) {
    QTest::mouseClick(run.Control<QPushButton>(key), Qt::LeftButton);
}

} // namespace

class TestFRank : public QObject {
    Q_OBJECT
private slots:
    void wordingGivesQuestionAndAnchors_data() {
        QTest::addColumn<QString>("wording");
        QTest::addColumn<QString>("question");
        QTest::addColumn<QString>("bottom");
        QTest::addColumn<QString>("top");
        AddTextRows<5>(
            {{"anchors", "Rank them = Least , Most", "Rank them", "Least", "Most"},
             {"comma first", "First, rank=low,high, very", "First, rank", "low", "high, very"},
             {"no anchors", "Rank them", "Rank them", "", ""},
             {"equals first", "=low,high", "=low,high", "", ""},
             {"empty after comma", "Rank=low,", "Rank=low,", "", ""},
             {"no comma", "Rank=low", "Rank=low", "", ""}});
    }
    void wordingGivesQuestionAndAnchors() {
        QFETCH(QString, wording);
        QFETCH(QString, question);
        QFETCH(QString, bottom);
        QFETCH(QString, top);
        RunFixture run;
        run.Start(kHeader, Ranking(1, "r1", "(p3)", wording) + Last(2));
        QCOMPARE(run.Form()->objectName(), "fRank");
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), question);
        QCOMPARE(run.Control<QLabel>("Label3")->text(), bottom);
        QCOMPARE(run.Control<QLabel>("Label2")->text(), top);
        // The question is also shown in a box of its own once the labels stand.
        const qsizetype before = run.boxes.size();
        run.Wait(100);
        QCOMPARE(run.boxes.last().text, question);
        QCOMPARE(run.boxes.last().title, "Corvane");
        ClickTool(run, "Instruct");
        QCOMPARE(run.boxes.last().text, question);
        QCOMPARE(run.boxes.size(), before + 2);
    }

    void anEmptyQuestionHasNoBoxAndNoInstructions() {
        RunFixture run;
        run.Start(kHeader, "1,Ranking,,r1,(p2),yes,yes,no,a,b,,,\n" + Last(2));
        const qsizetype before = run.boxes.size();
        run.Wait(100);
        QVERIFY(Label(run, 1)->isVisible());
        QCOMPARE(run.boxes.size(), before);
        QVERIFY(!run.Control<QPushButton>("Instruct"));
        QVERIFY(run.Control<QPushButton>("Continue"));
    }

    void labelsComeShuffledFromTheRunsRandomSource() {
        RunFixture run;
        ShowBAC(run);
        run.Start(kHeader, Ranking(1, "r1", "(p3)") + Last(2));
        QVERIFY(!Label(run, 1)->isVisible()); // the labels come with the first tick
        run.Wait(100);
        QCOMPARE(Label(run, 1)->text(), " b ");
        QCOMPARE(Label(run, 2)->text(), " a ");
        QCOMPARE(Label(run, 3)->text(), " c ");
        QVERIFY(!Label(run, 4)->isVisible());
        // A column in the left half, the first label on top.
        const int bar = run.Control<QFrame>("Shape2")->x();
        for (int n = 1; n <= 3; ++n)
            QVERIFY(Label(run, n)->geometry().right() < bar);
        QVERIFY(Label(run, 1)->y() < Label(run, 2)->y());
        QVERIFY(Label(run, 2)->y() < Label(run, 3)->y());
        // A label can't be dragged to the very top; the side move of such a drag stands.
        QLabel* label = Label(run, 1);
        const int top = label->y();
        Drag(label, QPoint(5, -top));
        QCOMPARE(label->y(), top);
        Drag(label, QPoint(0, 1 - top));
        QCOMPARE(label->y(), 1);
    }

    void ranksAreStoredOnTheSecondContinue() {
        RunFixture run;
        ShowBAC(run);
        WriteMessages(run);
        run.Start(kHeader, Ranking(1, "r1", "(p3)") + Last(2));
        QWidget* form = run.Form();
        run.Wait(100);
        ClickTool(run, "Continue"); // nothing dragged yet
        QCOMPARE(run.boxes.last().text, "Drag every answer across.");
        QCOMPARE(run.boxes.last().title, "Note");
        QCOMPARE(run.Form(), form);

        run.Wait(500);
        DragAcross(run, 2, Label(run, 2)->y()); // "a", first touched at 600
        run.Wait(100);
        DragAcross(run, 3, 10); // "c" to the top, at 700
        run.Wait(100);
        DragAcross(run, 1, Label(run, 2)->y()); // "b" level with "a", at 800
        run.Wait(100);
        Drag(Label(run, 2), QPoint(0, 0)); // a second touch keeps the first time
        QCOMPARE(Label(run, 1)->y(), Label(run, 2)->y());

        ClickTool(run, "Continue");
        QCOMPARE(run.boxes.last().text, "Is this your order?");
        QCOMPARE(run.boxes.last().icon, BoxIcon::Question);
        QCOMPARE(run.Form(), form);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), QString()); // not yet stored
        // Tidied into the right half: "c", then of the two level ones the lower control first.
        QVERIFY(Label(run, 3)->y() < Label(run, 1)->y());
        QVERIFY(Label(run, 1)->y() < Label(run, 2)->y());
        const int bar = run.Control<QFrame>("Shape2")->x();
        const int right = run.Control<QWidget>("Picture1")->width() - bar;
        for (int n = 1; n <= 3; ++n)
            QCOMPARE(Label(run, n)->x(), bar + (right - Label(run, n)->width()) / 2);

        ClickTool(run, "Continue");
        QVERIFY(run.Form() != form);
        // Each label's variable holds the rank of its own text; times stay with the controls.
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "3"); // a
        QCOMPARE(run.state.Responses().Value(1, 1, 2), "2"); // b
        QCOMPARE(run.state.Responses().Value(1, 1, 3), "1"); // c
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 800);
        QCOMPARE(run.state.Responses().Time(1, 1, 2), 600);
        QCOMPARE(run.state.Responses().Time(1, 1, 3), 700);
    }

    void aDragAfterTheTidyAsksAgain() {
        RunFixture run;
        ShowBAC(run);
        WriteMessages(run);
        run.Start(kHeader, Ranking(1, "r1", "(p3)") + Last(2));
        run.Wait(100);
        DragAllAcross(run, 3); // b, a, c in their order
        ClickTool(run, "Continue");
        QCOMPARE(run.boxes.last().text, "Is this your order?");
        // Back across the bar: not all are ranked.
        Drag(Label(run, 1), QPoint(-Label(run, 1)->x(), 0));
        const qsizetype shown = run.boxes.size();
        ClickTool(run, "Continue");
        QCOMPARE(run.boxes.last().text, "Drag every answer across.");
        // Across again, now at the bottom: a new tidy, then the store.
        DragAcross(run, 1, Label(run, 3)->y() + 50);
        ClickTool(run, "Continue");
        QCOMPARE(run.boxes.size(), shown + 2);
        QCOMPARE(run.boxes.last().text, "Is this your order?");
        ClickTool(run, "Continue");
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "1"); // a
        QCOMPARE(run.state.Responses().Value(1, 1, 2), "3"); // b
        QCOMPARE(run.state.Responses().Value(1, 1, 3), "2"); // c
    }

    // After the first press the gap between labels is 20 twips for every 600 pixels of height.
    void gapScalesWithTheScreen_data() {
        QTest::addColumn<int>("formHeight");
        QTest::addColumn<int>("gap");
        QTest::newRow("600 pixels") << 600 << 20;
        QTest::newRow("3000 pixels") << 3000 << 100;
    }
    void gapScalesWithTheScreen() {
        QFETCH(int, formHeight);
        QFETCH(int, gap);
        RunFixture run;
        run.Start(kHeader, Ranking(1, "r1", "(p3)") + Last(2));
        run.Wait(100);
        run.Form()->resize(run.Form()->width(), formHeight);
        DragAllAcross(run, 3);
        ClickTool(run, "Continue");
        const int spread = Label(run, 3)->y() - Label(run, 1)->y();
        const int heights = Label(run, 1)->height() + Label(run, 2)->height();
        const double expected = 2 * gap / 15.0;
        QVERIFY2(qAbs(spread - heights - expected) <= 1.0,
                 qPrintable(QString("spread %1, heights %2").arg(spread).arg(heights)));
    }

    void spaceAndBackspaceAfterTwoHundredMilliseconds() {
        RunFixture run;
        WriteMessages(run);
        run.Start(kHeader, Ranking(1, "q1", "(p2)") + Ranking(2, "r2", "(p3)") + Last(3));
        run.Wait(100);
        DragAllAcross(run, 2);
        ClickTool(run, "Continue");
        ClickTool(run, "Continue");
        QWidget* second = run.Form();
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
        run.Wait(150);
        const qsizetype shown = run.boxes.size();
        QTest::keyClick(second, Qt::Key_Space);
        QTest::keyClick(second, Qt::Key_Backspace);
        QCOMPARE(run.boxes.size(), shown); // too soon for either
        QCOMPARE(run.Form(), second);
        run.Wait(60);
        QTest::keyClick(second, Qt::Key_Space);
        QCOMPARE(run.boxes.last().text, "Drag every answer across.");
        QTest::keyClick(second, Qt::Key_Backspace);
        QVERIFY(run.Form() != second);
        QCOMPARE(run.state.CurrentQuestion, qint16(1));
    }

    // No count: the item is told and passed over with the jump of the former item's choice.
    void noCountPassesTheItemOver_data() {
        QTest::addColumn<QString>("parameters");
        QTest::newRow("question mark") << "?";
        QTest::newRow("missing") << "";
        QTest::newRow("none") << "none";
    }
    void noCountPassesTheItemOver() {
        QFETCH(QString, parameters);
        RunFixture run;
        const QString header = "questionnumber,QuestionType,QuestionWording,VariableName,"
                               "Parameters,textlabel1,textlabel2,pointlabel1,pointlabel2,skip1,"
                               "skip2\n";
        run.Start(header, "1,scale response,How?,q1,(p2),x,y,1,2,none,none\n"
                          "2,ranking,Rank,r1," +
                              parameters +
                              ",a,b,,,none,last\n"
                              "3,scale response,Skipped?,q3,(p2),x,y,1,2,none,none\n"
                              "4,instructions,The end.,last,,,,,,,\n");
        run.Wait(200);
        QTest::keyClick(run.Form()->focusWidget(), Qt::Key_2);
        QCOMPARE(run.boxes.last().text,
                 "The current ranking item has no parameter value. Edit the current "
                 "questionnaire and add a parameter value for this item.  For example, a value "
                 "of (p5) would result in 5 ranking options.");
        QCOMPARE(run.state.CurrentQuestion, qint16(4));
        QCOMPARE(run.Form()->objectName(), "fInstruction");
    }

    void aTimeLimitIsToldAndLeftOut() {
        RunFixture run;
        run.Start(kHeader, Ranking(1, "r1", "(p2,d5)") + Last(2));
        QWidget* form = run.Form();
        QVERIFY(form);
        QCOMPARE(form->objectName(), "fRank");
        QVERIFY(run.boxes.last().text.contains("'r1' has a time limit (its d parameter)"));
        run.Wait(20000);
        QCOMPARE(run.Form(), form); // no limit: the item waits for its answer
        DragAllAcross(run, 2);
        ClickTool(run, "Continue");
        ClickTool(run, "Continue");
        QVERIFY(run.Form() != form);
        QVERIFY(!run.state.Responses().Value(1, 1, 1).isEmpty());
    }

    void missingLabelsWidthAndFontSize() {
        RunFixture run;
        run.Start(kHeader, Ranking(1, "r1", "(p3,w150,s12)", "Rank", "a,none,") + Last(2));
        run.Wait(100);
        QStringList shown;
        for (int n = 1; n <= 3; ++n)
            shown << Label(run, n)->text();
        shown.sort();
        QCOMPARE(shown, QStringList({" <missing label> ", " <missing label> ", " a "}));
        QCOMPARE(Label(run, 1)->width(), 150);
        QCOMPARE(Label(run, 1)->font().pointSizeF(), 12.0);
    }

    // Labels beyond the twelfth have no text; beyond the thirtieth there are no controls.
    void manyLabels_data() {
        QTest::addColumn<QString>("parameters");
        QTest::addColumn<int>("shown");
        QTest::addColumn<bool>("told");
        QTest::newRow("fourteen") << "(p14)" << 14 << false;
        QTest::newRow("thirty-one") << "(p31)" << 30 << true;
    }
    void manyLabels() {
        QFETCH(QString, parameters);
        QFETCH(int, shown);
        QFETCH(bool, told);
        RunFixture run;
        run.Start(kHeader, Ranking(1, "r1", parameters) + Last(2));
        const bool tellsTheLimit =
            !run.boxes.isEmpty() && run.boxes.last().text.contains("'r1' asks for 31 labels, but a "
                                                                   "ranking item shows at most 30");
        QCOMPARE(tellsTheLimit, told);
        run.Wait(100);
        int missing = 0;
        for (int n = 1; n <= 30; ++n) {
            QCOMPARE(Label(run, n)->isVisible(), n <= shown);
            missing += Label(run, n)->isVisible() && Label(run, n)->text() == " <missing label> ";
        }
        QCOMPARE(missing, shown - 3); // labels 1 to 3 have texts
    }

    // Lower-case "ranking" has one variable: what fits is kept, the rest told once.
    void moreLabelsThanTheDataHold() {
        RunFixture run;
        ShowBAC(run);
        run.Start(kHeader, Ranking(1, "r1", "(p3)", "Rank", "a,b,c", "ranking") + Last(2));
        run.Wait(100);
        const qsizetype before = run.boxes.size();
        run.Wait(100);
        DragAllAcross(run, 3);
        QCOMPARE(run.boxes.size(), before + 1);
        QVERIFY(run.boxes.last().text.contains("'r1' has more labels than the data have room"));
        ClickTool(run, "Continue");
        ClickTool(run, "Continue");
        QCOMPARE(run.boxes.size(), before + 2); // the tidy's question; the fault isn't told again
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "2"); // a, shown second
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 200);
    }
};

QTEST_MAIN(TestFRank)
#include "test_frank.moc"
