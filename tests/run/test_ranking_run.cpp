// A ranking item run unattended on the virtual clock from a pilot script: a time limit told and
// left out, a Continue before every label has crossed, two labels brought to the same height,
// the tidy, a drag after it and a second tidy, then the store. The data hold each label's rank
// and each control's first touch.
#include "definition_fixtures.h"
#include "state/random_source.h"

#include <QProcess>
#include <QtTest>
#include <array>

using namespace corvane;
using namespace corvane::test;

namespace {

constexpr int kLabels = 4;
constexpr quint64 kSeed = 7;

// Which label each control shows: the labels drawn from the run's random source, each once.
// Nothing else draws before the item when all groups are 0.
std::array<int, kLabels + 1> ShownBySeed() {
    StandardRandomSource random(kSeed);
    std::array<int, kLabels + 1> shown{};
    std::array<bool, kLabels + 1> used{};
    for (int n = 1; n <= kLabels; ++n) {
        int r = 0;
        do {
            r = Draw(random, kLabels);
        } while (used[std::size_t(r)]);
        used[std::size_t(r)] = true;
        shown[std::size_t(n)] = r;
    }
    return shown;
}

} // namespace

class TestRankingRun : public QObject {
    Q_OBJECT
private slots:
    void ranksAndFirstTouchesFromAScript() {
        QTemporaryDir dir;
        const QString fixtures = CORVANE_FIXTURES "/ranking_run";
        MakeDefinition(dir.path(), "q.que", QString::fromUtf8(ReadAll(fixtures + "/items.csv")));
        MakeDefinition(dir.path(), "e.exp", "Condition,position,file\na,1,q.que\n");
        QProcess run;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
        env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
        env.insert("QT_QPA_PLATFORM", "offscreen");
        run.setProcessEnvironment(env);
        run.start(CORVANE_BIN,
                  {"--run", dir.filePath("e.exp"), "--subject", "s1", "--condition", "a",
                   "--script", fixtures + "/script.txt", "--virtual-clock", "--seed",
                   QString::number(kSeed), "--message-log", dir.filePath("messages.log")});
        QVERIFY(run.waitForFinished(60000));
        QCOMPARE(run.exitCode(), 0);

        const QList<QByteArray> log = ReadAll(dir.filePath("messages.log")).split('\n');
        QVERIFY(log.size() >= 7);
        // A time limit on a ranking item is told and left out: the item outlasts it.
        QVERIFY(log[0].startsWith("Please note\tThe ranking item 'values' has a time limit"));
        const QByteArray notCrossed =
            "Please note\tPlease drag every answer across the line before you go on.\tok";
        const QByteArray confirm =
            "Please note\tIs this the order you want? If not, drag the answers again.\tok";
        QCOMPARE(log[1], "Corvane\tPut these in order of importance\tok");
        QCOMPARE(log[2], notCrossed); // nothing dragged
        QCOMPARE(log[3], notCrossed); // Label1(4) still on the left
        QCOMPARE(log[4], confirm);    // the first tidy
        QCOMPARE(log[5], confirm);    // tidied again after a drag
        QVERIFY(log[6].startsWith("Participant s1\t"));

        // The script's final order of the controls, top to bottom: 1 and 3 level at the top
        // (the lower index first), then 4, then 2 moved below it after the first tidy.
        const std::array<int, kLabels> order{1, 3, 4, 2};
        const auto shown = ShownBySeed();
        std::array<int, kLabels + 1> rank{};
        for (int place = 0; place < kLabels; ++place)
            rank[std::size_t(shown[std::size_t(order[std::size_t(place)])])] = place + 1;
        const QByteArray ranks = QByteArray::number(rank[1]) + "," + QByteArray::number(rank[2]) +
                                 "," + QByteArray::number(rank[3]) + "," +
                                 QByteArray::number(rank[4]);

        const QList<QByteArray> data =
            ReadAll(dir.filePath("data/byquestionnaire/e.txt")).split('\n');
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[1], "'q'\r");
        QCOMPARE(data[2], ranks + ",3\r");
        // First touches by control: 3 at 500, 1 at 600, 2 at 700, 4 at 800; the scale after 400.
        QCOMPARE(data[3], "600,700,500,800,400\r");
        const QList<QByteArray> byVariable =
            ReadAll(dir.filePath("data/byvariablename/e.csv")).split('\n');
        QVERIFY(byVariable.size() >= 2);
        QVERIFY(byVariable[0].contains(
            ",sure,values_01,values_02,values_03,values_04,suret,values_01t,"));
        QVERIFY2(byVariable[1].trimmed().endsWith(",3," + ranks + ",400,600,700,500,800"),
                 byVariable[1].constData());
    }
};

QTEST_GUILESS_MAIN(TestRankingRun)
#include "test_ranking_run.moc"
