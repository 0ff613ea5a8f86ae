// The course of an on-line rating: samples gathered into seconds by rounding (a half to the even
// second), the bins' means on the scale's own numbers, "-1" for a second without a sample, and
// the row that the item's "_online.csv" takes.
#include "output/online_rating.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;

namespace {

const DataOutputSettings kSettings{"", "lab.cvp", "03/02/2024", "09:05:07"};

// Samples every 100 ms from the first tick, as the rating's timer takes them.
OnlineBins Sampled(int ticks, const std::function<int(int)>& value) {
    OnlineBins bins;
    for (int tick = 1; tick <= ticks; ++tick)
        bins.Add(tick * 100, value(tick));
    return bins;
}

} // namespace

class TestOnlineRating : public QObject {
    Q_OBJECT
private slots:
    void samplesFallIntoRoundedSeconds_data() {
        QTest::addColumn<int>("elapsed");
        QTest::addColumn<int>("second");
        QTest::newRow("first tick") << 100 << 0;
        QTest::newRow("half a second goes to the even 0") << 500 << 0;
        QTest::newRow("just past half") << 600 << 1;
        QTest::newRow("one and a half goes to 2") << 1500 << 2;
        QTest::newRow("two and a half goes to 2") << 2500 << 2;
        QTest::newRow("4.9 s") << 4900 << 5;
    }
    void samplesFallIntoRoundedSeconds() {
        QFETCH(int, elapsed);
        QFETCH(int, second);
        OnlineBins bins;
        bins.Add(elapsed, 7);
        QCOMPARE(bins.LastSecond(), second);
        QCOMPARE(bins.Count(second), 1);
        QCOMPARE(bins.Sum(second), 7);
    }

    void binsHoldTenSamplesGiveOrTakeOne() {
        const OnlineBins bins = Sampled(600, [](int) { return 0; });
        QCOMPARE(bins.LastSecond(), 60);
        for (int second = 1; second < 60; ++second)
            QVERIFY2(qAbs(bins.Count(second) - 10) <= 1, qPrintable(QString::number(second)));
    }

    void binText_data() {
        QTest::addColumn<QList<int>>("values");
        QTest::addColumn<int>("low");
        QTest::addColumn<QString>("text");
        QTest::newRow("p7 at 250") << QList<int>{250} << 1 << "3.50";
        QTest::newRow("no sample") << QList<int>{} << 1 << "-1";
        QTest::newRow("a sample at 0 is no missing bin") << QList<int>{0} << 0 << "0.00";
        QTest::newRow("labels from -3") << QList<int>{0} << -3 << "-3.00";
        QTest::newRow("below zero on the way up") << QList<int>{250} << -3 << "-0.50";
        QTest::newRow("mean rounded to the hundredth") << QList<int>{100, 101, 101} << 1 << "2.01";
        QTest::newRow("a half hundredth to the even") << QList<int>{100, 101} << 1 << "2.00";
        QTest::newRow("another half to the even") << QList<int>{101, 102} << 1 << "2.02";
    }
    void binText() {
        QFETCH(QList<int>, values);
        QFETCH(int, low);
        QFETCH(QString, text);
        OnlineBins bins;
        for (const int value : values)
            bins.Add(1000, value);
        QCOMPARE(OnlineBinText(bins, 1, low), text);
    }

    void theRowOfARatingWithAQuietSecond() {
        RunState state;
        state.SubjectID = "s1";
        state.ConditionID = "a";
        OnlineBins bins;
        bins.Add(1000, 100);
        bins.Add(1100, 200);
        // Nothing sampled in the second second: the timer was held.
        bins.Add(3000, 400);
        QCOMPARE(OnlineRecord(state, kSettings, 1, 5, bins),
                 "s1,a,'03/02/2024','09:05:07',1,5,3,2.50,-1,5.00\r\n");
    }

    void aRatingOfNoSecondHasNoBins() {
        RunState state;
        state.SubjectID = "s1";
        state.ConditionID = "a";
        QCOMPARE(OnlineRecord(state, kSettings, 1, 7, OnlineBins{}),
                 "s1,a,'03/02/2024','09:05:07',1,7,0,\r\n");
    }

    void theFileHasNoMachineCode() {
        RunState state;
        state.DataRoot = "/lab/exp";
        QCOMPARE(OnlineFilePath(state, "mood"), "/lab/exp/data/mood_online.csv");
    }
};

QTEST_GUILESS_MAIN(TestOnlineRating)
#include "test_online_rating.moc"
