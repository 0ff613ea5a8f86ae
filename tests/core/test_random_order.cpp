// The randomised order: groups shuffle among their own places, blocks move whole among the free
// block places, the drawing is by rejection, only the between-group shuffle reseeds, and a
// fixed seed is taken once for the whole run.
#include "definitions/random_order.h"
#include "state/error.h"
#include "state/random_source.h"
#include "state/run_state.h"

#include <QtTest>
#include <algorithm>
#include <cmath>
#include <deque>
#include <map>
#include <set>
#include <stdexcept>

using namespace corvane;

namespace {

using Order = std::vector<int>;

// Hands out the values it was given, in turn, and notes when it is seeded, so that the exact use
// of the stream can be checked.
class ScriptedSource : public RandomSource {
public:
    explicit ScriptedSource(std::deque<double> values) : m_values(std::move(values)) {}
    double Next() override {
        if (m_values.empty())
            throw std::runtime_error("more numbers drawn than scripted");
        ++nexts;
        const double u = m_values.front();
        m_values.pop_front();
        return u;
    }
    void Seed() override { seededAfter.push_back(nexts); }
    std::size_t left() const { return m_values.size(); }
    int nexts = 0;
    std::vector<int> seededAfter; // numbers drawn before each Seed()

private:
    std::deque<double> m_values;
};

// A fresh fixed seed at each Seed(): the between-group shuffle reseeds on every call, so its
// distribution is sampled over many seeds, still deterministically.
class SuccessiveSeeds : public RandomSource {
public:
    double Next() override { return m_source.Next(); }
    void Seed() override { m_source = StandardRandomSource(m_seed++); }

private:
    quint64 m_seed = 1000;
    StandardRandomSource m_source{0};
};

// Pearson's statistic against equal frequencies; unseen outcomes count as zero.
double ChiSquare(const std::map<Order, int>& counts, int outcomes, int total) {
    const double expected = double(total) / outcomes;
    double sum = double(outcomes - int(counts.size())) * expected;
    for (const auto& [order, observed] : counts)
        sum += (observed - expected) * (observed - expected) / expected;
    return sum;
}
// For at most 5 degrees of freedom a uniform draw exceeds this with probability below 2e-8.
constexpr double ChiSquareBound = 45.0;

// The blocks of each row's first member, in the order the steps show them. Fails unless every
// block comes whole, in its inner order, exactly once.
Order BlocksShown(const Order& positions, const Order& blockStart, const Order& blockSize) {
    Order shown;
    std::size_t t = 1;
    while (t < positions.size()) {
        const int row = positions[t];
        const auto b = std::find(blockStart.begin(), blockStart.end(), row);
        if (b == blockStart.end())
            return {};
        const int size = blockSize[std::size_t(b - blockStart.begin())];
        for (int k = 0; k < size; ++k, ++t)
            if (t >= positions.size() || positions[t] != row + k)
                return {};
        shown.push_back(int(b - blockStart.begin()));
    }
    // The steps are all used, so every block seen once means none seen twice.
    return std::set<int>(shown.begin(), shown.end()).size() == blockStart.size() ? shown : Order{};
}

} // namespace

class TestRandomOrder : public QObject {
    Q_OBJECT
private slots:
    // --- Drawing -------------------------------------------------------------------------------
    void drawScalesTheUniformNumber_data() {
        QTest::addColumn<double>("u");
        QTest::addColumn<int>("m");
        QTest::addColumn<int>("drawn");
        QTest::newRow("zero") << 0.0 << 5 << 1;
        QTest::newRow("boundary") << 0.25 << 4 << 2;
        QTest::newRow("middle") << 0.5 << 3 << 2;
        QTest::newRow("below one") << std::nextafter(1.0, 0.0) << 7 << 7;
    }
    void drawScalesTheUniformNumber() {
        QFETCH(double, u);
        QFETCH(int, m);
        ScriptedSource random({u});
        QTEST(Draw(random, m), "drawn");
    }

    void aFixedSeedIsTakenOnce() {
        // The same seed gives the same sequence, and reseeding doesn't start it over.
        StandardRandomSource random(42), again(42);
        const double a = random.Next(), b = random.Next();
        QVERIFY(a >= 0.0 && a < 1.0 && a != b);
        random.Seed();
        const double c = random.Next();
        QVERIFY(c != a);
        QCOMPARE(again.Next(), a);
        QCOMPARE(again.Next(), b);
        QCOMPARE(again.Next(), c);
        // Within, then between, as the loader draws them: the same seed, the same orders.
        const Order groups{0, 1, 1, 1, 1, 1, 1, 1, 1}, blocks{-1, 1, 2, 3, 4, 5, 6, 7, 8};
        StandardRandomSource first(99), second(99);
        const Order within = WithinGroupPositions(groups, first);
        const Order between = BetweenGroupPositions(blocks, first);
        QCOMPARE(WithinGroupPositions(groups, second), within);
        QCOMPARE(BetweenGroupPositions(blocks, second), between);
    }

    void takenNumbersAreDrawnAgain() {
        // Group 1 holds rows 2, 4 and 5; 3 is drawn twice and the second is thrown away. The last
        // member is drawn as well, and nothing is seeded.
        ScriptedSource random({0.7, 0.9, 0.0, 0.5});
        QCOMPARE(WithinGroupPositions({0, 0, 1, 0, 1, 1}, random), (Order{0, 1, 5, 3, 2, 4}));
        QCOMPARE(random.left(), std::size_t(0));
        QVERIFY(random.seededAfter.empty());

        // Blocks {1,2} {3 fixed} {4} {5}: drawn 3, 3 again, 1, 2. The fixed block keeps its second
        // place among the blocks, which is now step 2.
        ScriptedSource blocks({0.9, 0.95, 0.2, 0.4});
        QCOMPARE(BetweenGroupPositions({-1, 1, 1, 0, 2, 3}, blocks), (Order{0, 5, 3, 1, 2, 4}));
        QCOMPARE(blocks.left(), std::size_t(0));
        QCOMPARE(blocks.seededAfter, (std::vector<int>{0}));
    }

    // --- Within groups -------------------------------------------------------------------------
    void groupsShuffleAmongTheirOwnPlaces() {
        // Group 1 on rows 2, 4, 6; row 3 alone in group 2; rows 1 and 5 fixed.
        const Order groups{0, 0, 1, 2, 1, 0, 1};
        StandardRandomSource random(7);
        std::map<Order, int> counts;
        const int draws = 12000;
        for (int d = 0; d < draws; ++d) {
            const Order p = WithinGroupPositions(groups, random);
            QCOMPARE(p.size(), groups.size());
            QCOMPARE(p[1], 1);
            QCOMPARE(p[3], 3);
            QCOMPARE(p[5], 5);
            Order members{p[2], p[4], p[6]};
            QVERIFY(std::is_permutation(members.begin(), members.end(), Order{2, 4, 6}.begin()));
            ++counts[members];
        }
        QCOMPARE(int(counts.size()), 6);
        QVERIFY2(ChiSquare(counts, 6, draws) < ChiSquareBound,
                 qPrintable(QString::number(ChiSquare(counts, 6, draws))));
    }

    void groupNumbersOutOfRangeAreSubscriptErrors_data() {
        QTest::addColumn<int>("group");
        QTest::addColumn<bool>("valid");
        QTest::newRow("negative") << -1 << false;
        QTest::newRow("past the row count") << 4 << false;
        QTest::newRow("far past") << 300 << false;
        QTest::newRow("the row count itself") << 3 << true;
    }
    void groupNumbersOutOfRangeAreSubscriptErrors() {
        QFETCH(int, group);
        QFETCH(bool, valid);
        StandardRandomSource random(1);
        try {
            const Order p = WithinGroupPositions({0, 1, group, 0}, random);
            QVERIFY2(valid, "the group number should have been refused");
            QCOMPARE(p[3], 3);
        } catch (const CorvaneError& error) {
            QVERIFY2(!valid, "the group number should have been accepted");
            QCOMPARE(error.number(), ErrorNumber::Subscript);
        }
    }

    // --- Between groups ------------------------------------------------------------------------
    void blocksMoveWholeAroundFixedOnes() {
        // Row 1 fixed, {2,3}, row 4 fixed, {5}, {6,7,8}. The value 1 comes back after a 2, and
        // that run is a block of its own.
        const Order blocks{-1, 0, 1, 1, 0, 2, 1, 1, 1};
        const Order start{1, 2, 4, 5, 6}, size{1, 2, 1, 1, 3};
        SuccessiveSeeds random;
        std::map<Order, int> counts;
        const int draws = 12000;
        for (int d = 0; d < draws; ++d) {
            const Order shown = BlocksShown(BetweenGroupPositions(blocks, random), start, size);
            QCOMPARE(shown.size(), std::size_t(5));
            QCOMPARE(shown[0], 0);
            QCOMPARE(shown[2], 2);
            ++counts[Order{shown[1], shown[3], shown[4]}];
        }
        QCOMPARE(int(counts.size()), 6);
        QVERIFY2(ChiSquare(counts, 6, draws) < ChiSquareBound,
                 qPrintable(QString::number(ChiSquare(counts, 6, draws))));
    }

    // --- The run state -------------------------------------------------------------------------
    void zerosKeepFileOrder() {
        // No group and no movable block: nothing is drawn, the between shuffle still seeds.
        RunState state;
        auto scripted = std::make_unique<ScriptedSource>(std::deque<double>{});
        ScriptedSource& random = *scripted;
        state.SetRandom(std::move(scripted));
        state.NumQuestions = 4;
        state.Questions = RunState::EmptyQuestions(4);
        state.NumFiles = 3;
        state.Files = RunState::EmptyFiles(3);
        for (int i = 1; i <= 3; ++i)
            state.Files[std::size_t(i)].WGR = state.Files[std::size_t(i)].BGR = QStringLiteral("0");
        ShuffleWithinGroups(state);
        ShuffleBetweenGroups(state);
        ShuffleFilesWithinGroups(state);
        ShuffleFilesBetweenGroups(state);
        for (int i = 1; i <= 4; ++i) {
            QCOMPARE(state.Questions[std::size_t(i)].WGRPosition, qint16(i));
            QCOMPARE(state.Questions[std::size_t(i)].BGRPosition, qint16(i));
        }
        for (int i = 1; i <= 3; ++i) {
            QCOMPARE(state.Files[std::size_t(i)].WGRPosition, QString::number(i));
            QCOMPARE(state.Files[std::size_t(i)].BGRPosition, QString::number(i));
        }
        QCOMPARE(random.seededAfter, (std::vector<int>{0, 0}));
    }

    void oneFileStaysWhereItIsAndFileGroupsAreChecked() {
        RunState state;
        state.NumFiles = 1;
        state.Files = RunState::EmptyFiles(1);
        state.Files[1].WGR = state.Files[1].BGR = QStringLiteral("1");
        ShuffleFilesWithinGroups(state);
        ShuffleFilesBetweenGroups(state);
        QCOMPARE(state.Files[1].WGRPosition, QStringLiteral("1"));
        QCOMPARE(state.Files[1].BGRPosition, QStringLiteral("1"));
        state.Files[1].WGR = QStringLiteral("2"); // past the number of files
        QVERIFY_THROWS_EXCEPTION(CorvaneError, ShuffleFilesWithinGroups(state));
    }

    void groupsAndBlocksAreDrawnIndependently_data() {
        QTest::addColumn<bool>("files");
        QTest::addColumn<Order>("wgr");
        QTest::addColumn<Order>("bgr");
        QTest::addColumn<std::vector<Order>>("orders");
        // Rows 1 and 2 form block 1 and group 1, row 3 is block 2, row 4 is fixed last.
        const Order wgr{0, 1, 1, 0, 0}, bgr{-1, 1, 1, 2, 0};
        const std::vector<Order> inside{{1, 2, 3, 4}, {2, 1, 3, 4}, {3, 1, 2, 4}, {3, 2, 1, 4}};
        QTest::newRow("questions, group inside a block") << false << wgr << bgr << inside;
        QTest::newRow("files, group inside a block") << true << wgr << bgr << inside;
        // Rows 1 and 4 swap as a group; blocks {1,2} and {3,4} swap as wholes.
        const Order ends{0, 1, 0, 0, 1}, pairs{-1, 1, 1, 2, 2};
        const std::vector<Order> across{{1, 2, 3, 4}, {4, 2, 3, 1}, {3, 4, 1, 2}, {3, 1, 4, 2}};
        QTest::newRow("questions, group across blocks") << false << ends << pairs << across;
        QTest::newRow("files, group across blocks") << true << ends << pairs << across;
    }
    void groupsAndBlocksAreDrawnIndependently() {
        // One fixed seed per run, both shuffles in the loader's order (within, then between):
        // the block mapping applies first, then the group's, and every combination of the two
        // draws comes about equally often.
        QFETCH(bool, files);
        QFETCH(Order, wgr);
        QFETCH(Order, bgr);
        QFETCH(std::vector<Order>, orders);
        std::map<Order, int> counts;
        const int runs = 4000;
        for (int seed = 1; seed <= runs; ++seed) {
            RunState state;
            state.SetRandom(std::make_unique<StandardRandomSource>(quint64(seed)));
            state.NumQuestions = state.NumFiles = 4;
            state.Questions = RunState::EmptyQuestions(4);
            state.Files = RunState::EmptyFiles(4);
            for (std::size_t i = 1; i <= 4; ++i) {
                state.Questions[i].WGR = qint16(wgr[i]);
                state.Questions[i].BGR = qint16(bgr[i]);
                state.Files[i].WGR = QString::number(wgr[i]);
                state.Files[i].BGR = QString::number(bgr[i]);
            }
            files ? ShuffleFilesWithinGroups(state) : ShuffleWithinGroups(state);
            files ? ShuffleFilesBetweenGroups(state) : ShuffleBetweenGroups(state);
            Order shown;
            for (std::size_t s = 1; s <= 4; ++s) {
                const auto row = std::size_t(files ? state.Files[s].BGRPosition.toInt()
                                                   : state.Questions[s].BGRPosition);
                shown.push_back(files ? state.Files[row].WGRPosition.toInt()
                                      : state.Questions[row].WGRPosition);
            }
            ++counts[shown];
        }
        for (const auto& [order, count] : counts)
            QVERIFY2(std::count(orders.begin(), orders.end(), order),
                     "an order that breaks a block or a group");
        QCOMPARE(counts.size(), orders.size());
        QVERIFY2(ChiSquare(counts, 4, runs) < ChiSquareBound,
                 qPrintable(QString::number(ChiSquare(counts, 4, runs))));
    }
};

QTEST_GUILESS_MAIN(TestRandomOrder)
#include "test_random_order.moc"
