// The scale and instruction forms in a run: layout, timing rules, mouse and keys, limits, fonts.
#include "engine/run_driver.h"
#include "run_fixture.h"

#include <QFontDatabase>
#include <QLabel>
#include <QPushButton>
#include <QWebEngineView>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kInstructionHeader =
    "questionnumber,QuestionType,QuestionWording,VariableName,Parameters\n";

const QString kHeader =
    "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,WriteData,WriteRT,"
    "textlabel1,textlabel2,textlabel3,pointlabel1,pointlabel2,pointlabel3,skip1,skip2,skip3\n";

// A scale item of three points labelled a, b, c with buttons 1 to 3.
QString Scale(int number, const QString& name, const QString& parameters,
              const QString& wording = "How?", const QString& skips = "none,none,none") {
    return QString("%1,scale response,%2,%3,\"%4\",yes,yes,a,b,c,1,2,3,%5\n")
        .arg(number)
        .arg(wording, name, parameters, skips);
}

} // namespace

class TestFScale : public QObject {
    Q_OBJECT
private slots:
    void horizontalScaleSharesTheWidth() {
        RunFixture run;
        run.Start(kHeader, "1,scale response,How?,h,\"(p5,w500)\",yes,yes,,,,1,2,3,,,\n");
        QWidget* form = run.Form();
        QVERIFY(form);
        QCOMPARE(form->objectName(), "fScale");
        // 15 twips to the pixel here: columns of 1500 twips, labels 1350 wide and 2700 high.
        for (int n = 1; n <= 5; ++n) {
            QLabel* label = run.Control<QLabel>(QString("lText(%1)").arg(n));
            QCOMPARE(label->width(), 90);
            QCOMPARE(label->height(), 180);
        }
        auto* first = run.Control<QPushButton>("bResponse(1)");
        auto* second = run.Control<QPushButton>("bResponse(2)");
        QCOMPARE(second->x() - first->x(), 100);
        // A button stands ten pixels right of its label's centre.
        QLabel* label = run.Control<QLabel>("lText(1)");
        QVERIFY(qAbs(first->geometry().center().x() - (label->geometry().center().x() + 10)) <= 1);
        QVERIFY(!run.Control<QPushButton>("bResponse(6)")->isVisible());
    }

    // A scale written for a wider screen is fitted into the picture box.
    void horizontalScaleWiderThanTheScreen() {
        RunFixture run;
        run.Start(kHeader, Scale(1, "h", "(p12,w3000)"));
        QWidget* picture = run.Control<QWidget>("Picture1");
        for (int n = 1; n <= 12; ++n) {
            auto* button = run.Control<QPushButton>(QString("bResponse(%1)").arg(n));
            QLabel* label = run.Control<QLabel>(QString("lText(%1)").arg(n));
            QVERIFY2(picture->rect().contains(button->geometry()), qPrintable(QString::number(n)));
            QVERIFY(picture->rect().contains(label->geometry()));
        }
        auto* first = run.Control<QPushButton>("bResponse(1)");
        auto* second = run.Control<QPushButton>("bResponse(2)");
        QVERIFY(qAbs(second->x() - first->x() - picture->width() / 12.0) <= 1.0);
    }

    void verticalListMovesAndSpreads() {
        RunFixture run;
        run.Start(kHeader, Scale(1, "v", "(p3,t50,s2)"));
        QWidget* form = run.Form();
        const double sy = form->height() * 15.0 / 7200.0; // the design area scaled to the form
        auto* first = run.Control<QPushButton>("bResponse(1)");
        auto* second = run.Control<QPushButton>("bResponse(2)");
        QCOMPARE(first->y(), 50);
        // Rows 390 twips apart, plus one button height (375) for a spacing factor of 2.
        QVERIFY(qAbs(second->y() - first->y() - (390 + 375) * sy / 15.0) <= 1.0);
        QLabel* label = run.Control<QLabel>("lText(2)");
        QVERIFY(qAbs(label->height() - (300 + 375) * sy / 15.0) <= 1.0);
    }

    // A long list is packed into the picture box without overlaps; one that fits keeps its pitch.
    void verticalListSharesTheHeightThereIs_data() {
        QTest::addColumn<QString>("parameters");
        QTest::addColumn<bool>("designPitch");
        QTest::newRow("7 points fit") << "(p7)" << true;
        QTest::newRow("12 points") << "(p12)" << false;
        QTest::newRow("12 points, spacing 2") << "(p12,s2)" << false;
        QTest::newRow("12 points, low on the screen") << "(p12,t400)" << false;
    }
    void verticalListSharesTheHeightThereIs() {
        QFETCH(QString, parameters);
        QFETCH(bool, designPitch);
        RunFixture run;
        run.Start(kHeader, Scale(1, "v", parameters));
        const double sy = run.Form()->height() * 15.0 / 7200.0;
        QWidget* picture = run.Control<QWidget>("Picture1");
        const int points = designPitch ? 7 : 12;
        for (int n = 1; n <= points; ++n) {
            auto* button = run.Control<QPushButton>(QString("bResponse(%1)").arg(n));
            QLabel* label = run.Control<QLabel>(QString("lText(%1)").arg(n));
            QVERIFY2(picture->rect().contains(button->geometry()), qPrintable(QString::number(n)));
            QVERIFY(picture->rect().contains(label->geometry()));
            if (n == 1)
                continue;
            auto* above = run.Control<QPushButton>(QString("bResponse(%1)").arg(n - 1));
            QLabel* labelAbove = run.Control<QLabel>(QString("lText(%1)").arg(n - 1));
            QVERIFY(button->y() >= above->geometry().bottom());
            QVERIFY(label->y() > labelAbove->geometry().bottom());
            if (designPitch)
                QVERIFY(qAbs(button->y() - above->y() - 390 * sy / 15.0) <= 1.0);
        }
    }

    void keysAndTheirTimeRules() {
        RunFixture run;
        run.Start(kHeader, Scale(1, "q1", "(p3)") + Scale(2, "q2", "(p3)", "You chose <q1>.") +
                               Scale(3, "q3", "(p3)") + Scale(4, "last", "(p3)"));
        QWidget* form = run.Form();
        run.Wait(80);
        run.Key(Qt::Key_2); // within 100 ms: no response
        QCOMPARE(run.Form(), form);
        run.Wait(40);
        run.Key(Qt::Key_7); // no such point on three
        QCOMPARE(run.Form(), form);
        run.Key(Qt::Key_2);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "2");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 120);
        // The answer is quoted in the next wording, by its label.
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "You chose b.");
        run.Wait(300);
        run.Key(Qt::Key_F3);
        QCOMPARE(run.state.Responses().Value(1, 2, 1), "3");
        // A keypad operator repeats the former choice.
        run.Wait(150);
        run.Key(Qt::Key_Asterisk, Qt::KeypadModifier);
        QCOMPARE(run.state.Responses().Value(1, 3, 1), "3");
        QCOMPARE(run.state.Responses().Time(1, 3, 1), 150);
    }

    void backspaceWaitsTwoHundredMilliseconds() {
        RunFixture run;
        const QString header = kHeader.trimmed() + ",GoBack\n";
        run.Start(header, Scale(1, "q1", "(p3)").trimmed() + ",yes\n" +
                              Scale(2, "q2", "(p3)").trimmed() + ",yes\n");
        run.Wait(150);
        run.Key(Qt::Key_1);
        QWidget* second = run.Form();
        QVERIFY(run.Control<QWidget>("GoBack"));
        run.Wait(150);
        run.Key(Qt::Key_Backspace);
        QCOMPARE(run.Form(), second); // too soon
        run.Wait(60);
        run.Key(Qt::Key_Backspace);
        QVERIFY(run.Form() != second);
        QCOMPARE(run.state.CurrentQuestion, qint16(1));
    }

    void mouseRulesAndTheSelfSkip() {
        RunFixture run;
        run.Start(kHeader, Scale(1, "q1", "(p3)", "How?", "none,q1,none") + Scale(2, "q2", "(p3)"));
        QWidget* form = run.Form();
        run.Wait(50);
        QTest::mouseClick(run.Control<QPushButton>("bResponse(1)"), Qt::LeftButton);
        QCOMPARE(run.Form(), form); // within 100 ms
        run.Wait(100);
        QTest::mouseClick(run.Control<QPushButton>("bResponse(2)"), Qt::LeftButton);
        QCOMPARE(run.Form(), form); // a choice that would jump to this item
        QCOMPARE(run.boxes.last().text, "Not to itself.");
        QCOMPARE(run.boxes.last().title, "Note");
        QTest::mouseClick(run.Control<QPushButton>("bResponse(3)"), Qt::LeftButton);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "3");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 150);
    }

    void onsetDelayHoldsTheWording() {
        RunFixture run;
        run.Start(kHeader, Scale(1, "q1", "(p3,o500)") + Scale(2, "q2", "(p3)"));
        QWidget* form = run.Form();
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), QString());
        run.Wait(300);
        run.Key(Qt::Key_1); // not ready: nothing
        QCOMPARE(run.Form(), form);
        run.Wait(250);
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "How?");
        run.Wait(400);
        run.Key(Qt::Key_1);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 450); // from the wording's onset
    }

    // An item passed over by the operator leaves no time limit running.
    void anItemPassedOverLeavesItsLimitBehind() {
        RunFixture run;
        run.Start(kHeader,
                  Scale(1, "q1", "(p3,d2)") + Scale(2, "q2", "(p3)") + Scale(3, "q3", "(p3)"));
        QWidget* form = run.Form();
        run.Wait(200);
        run.Key(Qt::Key_Right, Qt::ControlModifier);
        QWidget* next = run.Form();
        QVERIFY(next && next != form);
        const qsizetype boxes = run.boxes.size();
        run.Wait(3000); // past the first item's limit
        QCOMPARE(run.Form(), next);
        QCOMPARE(run.boxes.size(), boxes);
        run.Key(Qt::Key_2);
        QCOMPARE(run.state.Responses().Value(1, 2, 1), "2");
        QCOMPARE(run.state.Responses().Time(1, 2, 1), 3000);
    }

    void specifiedAnswersAreAskedFor() {
        RunFixture run;
        run.Start(
            kHeader,
            "1,scale response,How?,q1,(p3),yes,yes,a,Other <specify>,c,1,2,3,none,none,none\n" +
                Scale(2, "q2", "(p3)"));
        QCOMPARE(run.Control<QLabel>("lText(2)")->text(), "Other ");
        run.Wait(200);
        run.Key(Qt::Key_2);
        QCOMPARE(run.boxes.last().title, "Please Specify");
        QCOMPARE(run.boxes.last().text, "You selected 'Other '. Please specify...");
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "<Cancel>"); // the recording boxes cancel
        QCOMPARE(run.state.Variables.Column(1, 1, 1).type, qint16(1));
    }

    void preferencesWordingPlaceAndPageLabels() {
        RunFixture run;
        run.preferences.Fonts[1].name = "DejaVu Serif";
        run.preferences.Fonts[1].size = 20;
        run.preferences.ForeColors[1] = RgbToColour(0x00a000);
        run.Start(
            kHeader,
            "1,scale response,\"Where?param(l200,t100)\",q1,(p2),yes,yes,info.htm,b,,1,2,,,,\n" +
                Scale(2, "q2", "(p3)"));
        QLabel* question = run.Control<QLabel>("lQuestion");
        QCOMPARE(question->font().family(), "DejaVu Serif");
        QCOMPARE(question->font().pointSizeF(), 20.0);
        QCOMPARE(question->palette().color(QPalette::WindowText), QColor(0x00a000));
        QCOMPARE(question->text(), "Where?");
        QCOMPARE(question->pos(), QPoint(200, 100));
        // The label names a page, which is shown in a web view of its own.
        auto* page = run.Form()->findChild<QWebEngineView*>("HTML_BW1");
        QVERIFY(page);
        QVERIFY(page->url().toLocalFile().endsWith("/info.htm"));
    }

    void warningCountsDownTheLastSeconds() {
        RunFixture run;
        run.Start(kHeader, Scale(1, "q1", "(p3,d5,!3)") + Scale(2, "q2", "(p3)"));
        QWidget* form = run.Form();
        QLabel* warning = run.Control<QLabel>("lWarning");
        run.Wait(2000);
        QVERIFY(!warning->isVisible()); // not yet within the last three seconds
        run.Wait(1000);
        QVERIFY(warning->isVisible());
        QCOMPARE(warning->text(), "2");
        run.Wait(1000);
        QCOMPARE(warning->text(), "1");
        run.Wait(1000);
        QCOMPARE(run.Form(), form); // at the limit itself the item still stands
        run.Wait(1000);
        QVERIFY(run.Form() != form); // the limit passed: on to the next item, nothing recorded
        QCOMPARE(run.boxes.last().text, "Time is up.");
        QCOMPARE(run.boxes.last().title, "Limit");
        QCOMPARE(run.state.Responses().Value(1, 1, 1), QString());
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
    }

    void instructionsWithARequiredWord() {
        RunFixture run;
        run.Start(kInstructionHeader,
                  "1,instructions,Read this.,intro,(xGo On)\n2,instructions,More.,more,\n");
        QWidget* form = run.Form();
        QCOMPARE(form->objectName(), "fInstruction");
        auto* word = run.Control<QLineEdit>("Text1");
        QVERIFY(word->isVisible());
        run.Wait(500);
        QTest::keyClicks(word, "go");
        QTest::keyClick(word, Qt::Key_Return);
        QCOMPARE(run.Form(), form); // a wrong word: the form stays, without a word
        word->setText("  GO ON ");
        run.Wait(200);
        QTest::keyClick(word, Qt::Key_Return);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 700);
    }
    // The moment of the response that ends the item counts, not that of a key before it.
    void instructionTimeIsThatOfTheEndingResponse_data() {
        QTest::addColumn<QString>("parameters");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("ending");
        AddTextRows<4>({{"word, click", "(xgo)", "go", "click"},
                        {"word, Enter", "(xgo)", "go", "enter"},
                        {"key, click", "", "a", "click"},
                        {"key, Space", "", "a", "space"},
                        {"click alone", "", "", "click"}});
    }
    void instructionTimeIsThatOfTheEndingResponse() {
        QFETCH(QString, parameters);
        QFETCH(QString, typed);
        QFETCH(QString, ending);
        RunFixture run;
        run.Start(kInstructionHeader, "1,instructions,Read this.,intro,\"" + parameters +
                                          "\"\n2,instructions,More.,m,\n");
        QWidget* form = run.Form();
        run.Wait(300);
        run.Type(typed);
        run.Wait(2000);
        if (ending == "click")
            QTest::mouseClick(run.Control<QPushButton>("Continue"), Qt::LeftButton);
        else
            run.Key(ending == "enter" ? Qt::Key_Return : Qt::Key_Space);
        QVERIFY(run.Form() != form);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 2300);
    }

    // A wording's param(l, t) puts the wording there on every form that shows a wording.
    void wordingParametersPlaceTheWording_data() {
        QTest::addColumn<QString>("rows");
        QTest::addColumn<QPoint>("place");
        QTest::newRow("instructions") << "1,instructions,\"Where?param(l200,t100)\",i,\n"
                                      << QPoint(200, 100);
        QTest::newRow("instructions, top only") << "1,instructions,\"Where?param(t120)\",i,\n"
                                                << QPoint(-1, 120);
    }
    void wordingParametersPlaceTheWording() {
        QFETCH(QString, rows);
        QFETCH(QPoint, place);
        RunFixture run;
        run.Start(kInstructionHeader, rows + "2,instructions,More.,m,\n");
        run.Wait(200);
        QLabel* question = run.Control<QLabel>("lQuestion");
        QCOMPARE(question->text(), "Where?");
        if (place.x() >= 0)
            QCOMPARE(question->x(), place.x());
        QCOMPARE(question->y(), place.y());
    }

    // The launcher's character set: the fonts of the forms take a face with that script's letters.
    void characterSetIsForcedOnTheFonts_data() {
        QTest::addColumn<int>("charset");
        QTest::addColumn<int>("script");
        QTest::newRow("none") << -1 << int(QFontDatabase::Any);
        QTest::newRow("Greek") << 2 << int(QFontDatabase::Greek);
        QTest::newRow("Hebrew") << 5 << int(QFontDatabase::Hebrew);
        QTest::newRow("Arabic") << 6 << int(QFontDatabase::Arabic);
        QTest::newRow("Russian") << 8 << int(QFontDatabase::Cyrillic);
    }
    void characterSetIsForcedOnTheFonts() {
        QFETCH(int, charset);
        QFETCH(int, script);
        const auto writing = QFontDatabase::WritingSystem(script);
        if (writing != QFontDatabase::Any && QFontDatabase::families(writing).isEmpty())
            QSKIP("no face of this script is installed");
        RunFixture run;
        run.charsetOverride = charset;
        run.preferences.Fonts[1].name = "No Such Face";
        run.Start(kHeader, Scale(1, "q1", "(p3)") + Scale(2, "q2", "(p3)"));
        run.Wait(200);
        for (const QString name : {"lQuestion", "lText(1)", "bResponse(1)"}) {
            const QStringList faces = run.Control<QWidget>(name)->font().families();
            QCOMPARE(faces.first(), name == "bResponse(1)" ? "Arial" : "No Such Face");
            bool hasScript = false;
            for (const QString& face : faces)
                hasScript = hasScript || QFontDatabase::writingSystems(face).contains(writing);
            QVERIFY2(hasScript == (writing != QFontDatabase::Any),
                     qPrintable(name + ": " + faces.join(", ")));
        }
    }
};

QTEST_MAIN(TestFScale)
#include "test_fscale.moc"
