// Quoting earlier answers in wording, and the run clock's virtual timers.
#include "engine/insert_answers.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;

class TestInsertAnswers : public QObject {
    Q_OBJECT
private slots:
    void substitution_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("result");
        QTest::newRow("one name") << "You chose <colour>. Why?"
                                  << "You chose red. Why?";
        QTest::newRow("any case") << "<COLOUR>!"
                                  << "red!";
        QTest::newRow("unknown stays") << "a <size> b"
                                       << "a <size> b";
        QTest::newRow("comparison stays") << "if x > 3 and y < 2"
                                          << "if x > 3 and y < 2";
        QTest::newRow("open last") << "a > b <"
                                   << "a > b <";
        QTest::newRow("twice apart") << "<colour> and <colour>"
                                     << "red and red";
        QTest::newRow("back to back") << "<colour><pet>"
                                      << "red<pet>";
        QTest::newRow("one between") << "<colour>,<pet>"
                                     << "red,<pet>";
        QTest::newRow("two between") << "<colour>, <pet>"
                                     << "red, cat";
        QTest::newRow("answer holding brackets") << "<quote>  <pet>"
                                                 << "say <pet>  cat";
        QTest::newRow("answer then one blank") << "<quote> <pet>"
                                               << "say <pet> <pet>";
        QTest::newRow("no brackets") << "plain"
                                     << "plain";
    }
    void substitution() {
        QFETCH(QString, text);
        QFETCH(QString, result);
        RunState state;
        state.AddInsert("colour", "red");
        state.AddInsert("pet", "cat");
        state.AddInsert("quote", "say <pet>");
        QCOMPARE(InsertAnswers(state, text), result);
    }

    void aNameAnsweredTwiceEndsOnTheOldestValue() {
        RunState state;
        state.AddInsert("mood", "good");
        state.AddInsert("mood", "bad");
        // The newer answer goes in first; the older then replaces it and the two characters that
        // follow it.
        QCOMPARE(InsertAnswers(state, "I feel <mood>. Yes"), "I feel goodYes");
    }

    void endlessTextsGiveNothing() {
        RunState state;
        state.AddInsert("x", "<x>"); // each pass puts the name back
        QCOMPARE(InsertAnswers(state, QString(300, 'a') + "<x>"), QString(300, 'a') + "<x>");
        QString many;
        for (int i = 0; i < 120; ++i)
            many += "<u>   ";
        QCOMPARE(InsertAnswers(state, many), QString());
    }

    void virtualTimersFireAtTheirDueTimes() {
        VirtualRunClock clock(100);
        QList<qint32> ticks;
        QList<qint32> once;
        auto every = clock.Every(1000, [&] { ticks << clock.Now(); });
        auto after = clock.After(1500, [&] { once << clock.Now(); });
        clock.Advance(999);
        QVERIFY(ticks.isEmpty());
        clock.Advance(2600);
        QCOMPARE(ticks, (QList<qint32>{1100, 2100, 3100}));
        QCOMPARE(once, QList<qint32>{1600});
        QCOMPARE(clock.Now(), 3699);
        every->Stop();
        clock.Advance(5000);
        QCOMPARE(ticks.size(), 3);
        // A timer that stops itself while firing fires once.
        std::unique_ptr<RunTimer> self;
        int fired = 0;
        self = clock.Every(10, [&] {
            ++fired;
            self->Stop();
        });
        clock.Advance(100);
        QCOMPARE(fired, 1);
    }

    void elapsedCrossesTheWrap() {
        QCOMPARE(Elapsed(2147483000, qint32(-2147483000 - 296)), 1000);
        QCOMPARE(Elapsed(std::numeric_limits<qint32>::max() - 9,
                         std::numeric_limits<qint32>::min() + 10),
                 20);
    }
};

QTEST_GUILESS_MAIN(TestInsertAnswers)
#include "test_insert_answers.moc"
