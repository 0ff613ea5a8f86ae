// The responses workbook on a sheet in memory: column B by the keys of A, skips from C, <key>
// in wordings. The spreadsheet program itself is tested in test_workbook_bridge.
#include "memory_sheet.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

WorkbookRow Row(const QString& a, const QString& b = QString(), const QString& c = QString()) {
    return WorkbookRow{a, b, c};
}

} // namespace

Q_DECLARE_METATYPE(corvane::WorkbookRow)

class TestResponsesWorkbook : public QObject {
    Q_OBJECT

    // Questionnaire 1, item 2 "mood" with `count` variables; response k is "v<k>" (k = 1: "4"),
    // its time 100 * k.
    void Answer(RunState& state, int count) {
        state.AllocateResponses({1, 3, 13});
        state.Variables.Allocate({1, 3, 13});
        state.Variables.SetVariableCount(1, 2, qint16(count));
        state.CurrentQuestionnaire = 1;
        state.CurrentQuestion = 2;
        for (int k = 1; k <= count; ++k) {
            state.StoreResponse(1, 2, k,
                                k == 1 ? QStringLiteral("4") : QStringLiteral("v%1").arg(k));
            state.StoreResponseTime(1, 2, k, 100 * k);
        }
        state.SkipTarget = QStringLiteral("none");
    }

    QString Update(MemoryTable& table, int count, const QString& last = QStringLiteral("none"),
                   bool goingBack = false) {
        RunState state;
        Answer(state, count);
        state.GoingBack = goingBack ? True : False;
        state.SkipTarget = last;
        ResponsesWorkbook workbook(std::make_unique<MemorySheet>(table));
        workbook.UpdateResponsesXLS(state, QStringLiteral("mood"), last);
        return state.SkipTarget;
    }

private slots:
    void keysWriteValuesAndTimes_data() {
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("expected"); // column B of each key's row afterwards
        QTest::newRow("value and time")
            << QStringList{"mood", "moodt"} << 1 << QStringList{"4", "100"};
        QTest::newRow("capitals match")
            << QStringList{"MOOD", "Moodt"} << 1 << QStringList{"4", "100"};
        QTest::newRow("other keys untouched")
            << QStringList{"age", "mood"} << 1 << QStringList{"", "4"};
        QTest::newRow("indexed keys")
            << QStringList{"mood_01", "mood_02t", "mood_03"} << 3 << QStringList{"4", "200", "v3"};
        QTest::newRow("twelfth response") << QStringList{"mood_12", "mood_12t", "mood_09"} << 12
                                          << QStringList{"v12", "1200", "v9"};
        QTest::newRow("index beyond the item") << QStringList{"mood_04"} << 3 << QStringList{""};
        QTest::newRow("blank row ends the scan")
            << QStringList{"age", "", "mood"} << 1 << QStringList{"", "", ""};
    }
    void keysWriteValuesAndTimes() {
        QFETCH(QStringList, keys);
        QFETCH(int, count);
        QFETCH(QStringList, expected);
        MemoryTable table;
        for (const QString& key : keys)
            table.rows.push_back(Row(key));
        Update(table, count);
        for (int n = 0; n < keys.size(); ++n)
            QCOMPARE(table.B(n + 1), expected[n]);
    }

    void numbersGoAsNumbers() {
        MemoryTable table;
        table.rows = {Row("mood"), Row("moodt")};
        Update(table, 1);
        QCOMPARE(table.writes.size(), std::size_t(1));
        const std::vector<WorkbookValue> expected{{1, "4", true}, {2, "100", true}};
        QCOMPARE(table.writes[0], expected);
        QCOMPARE(ValueForSheet(3, "strongly agree").number, false);
        QCOMPARE(ValueForSheet(3, " 4").number, false);
        QCOMPARE(ValueForSheet(3, "-2.5").number, true);
        QCOMPARE(ValueForSheet(3, "").number, false);
    }

    void writtenOnlyOnTheWayOn_data() {
        QTest::addColumn<QString>("skipTarget");
        QTest::addColumn<bool>("goingBack");
        QTest::addColumn<QString>("written");
        QTest::newRow("going back") << "none" << true << "";
        QTest::newRow("skipped over by a jump") << "later" << false << "";
        QTest::newRow("the jump's target is this item") << "Mood" << false << "4";
    }
    void writtenOnlyOnTheWayOn() {
        QFETCH(QString, skipTarget);
        QFETCH(bool, goingBack);
        QFETCH(QString, written);
        MemoryTable table;
        table.rows = {Row("mood"), Row("moodt")};
        QCOMPARE(Update(table, 1, skipTarget, goingBack), skipTarget);
        QCOMPARE(table.B(1), written);
        QCOMPARE(table.writes.empty(), written.isEmpty());
    }

    void skipFromColumnC_data() {
        QTest::addColumn<QList<WorkbookRow>>("rows");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("skip");
        QTest::newRow("target of an indexed key")
            << QList<WorkbookRow>{Row("mood_01", "", " End ")} << 1 << "end";
        QTest::newRow("none makes no skip")
            << QList<WorkbookRow>{Row("mood_01", "", "NONE")} << 1 << "none";
        QTest::newRow("empty makes no skip")
            << QList<WorkbookRow>{Row("mood_01", "", "")} << 1 << "none";
        QTest::newRow("a key without index has its target unread")
            << QList<WorkbookRow>{Row("mood", "", "end")} << 1 << "none";
        QTest::newRow("highest index with a target wins")
            << QList<WorkbookRow>{Row("mood_01", "", "first"), Row("mood_02", "", "second"),
                                  Row("mood_03", "", "none")}
            << 3 << "second";
        QTest::newRow("an error in C makes no skip")
            << QList<WorkbookRow>{WorkbookRow{QString("mood_01"), QString(), std::nullopt}} << 1
            << "none";
    }
    void skipFromColumnC() {
        QFETCH(QList<WorkbookRow>, rows);
        QFETCH(int, count);
        QFETCH(QString, skip);
        MemoryTable table;
        table.rows.assign(rows.begin(), rows.end());
        QCOMPARE(Update(table, count), skip);
    }

    void targetComputedFromTheNewValue() {
        MemoryTable table;
        table.rows = {Row("mood_01", "", "none")};
        table.formulas = [](MemoryTable& t) {
            t.Row(1).c = t.B(1).toInt() > 3 ? QStringLiteral("happy") : QStringLiteral("none");
        };
        QCOMPARE(Update(table, 1), QStringLiteral("happy"));
    }

    void replaceText_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("result");
        QTest::newRow("computed value") << "Your total is <total>."
                                        << "Your total is 7.";
        QTest::newRow("any case, every place") << "<TOTAL> and <Total>"
                                               << "7 and 7";
        QTest::newRow("key in capitals in the sheet") << "<name>"
                                                      << "Ann";
        QTest::newRow("unknown key stays") << "<age>"
                                           << "<age>";
        QTest::newRow("key below the blank row stays") << "<later>"
                                                       << "<later>";
        QTest::newRow("error value leaves the key") << "<ratio>"
                                                    << "<ratio>";
        QTest::newRow("empty brackets take the blank row") << "a<>b"
                                                           << "a-b";
    }
    void replaceText() {
        QFETCH(QString, text);
        QFETCH(QString, result);
        MemoryTable table;
        table.rows = {Row("total", "7"), Row("NAME", "Ann"),
                      WorkbookRow{QString("ratio"), std::nullopt, QString()}, Row("", "-"),
                      Row("later", "x")};
        ResponsesWorkbook workbook(std::make_unique<MemorySheet>(table));
        QCOMPARE(workbook.ReplaceTextXLS(text), result);
    }

    void failuresArePassedOver() {
        MemoryTable table;
        table.rows = {Row("mood_01", "", "end"), Row("total", "7")};
        table.broken = true;
        RunState state;
        Answer(state, 1);
        ResponsesWorkbook workbook(std::make_unique<MemorySheet>(table));
        workbook.UpdateResponsesXLS(state, QStringLiteral("mood"), QStringLiteral("none"));
        QCOMPARE(state.SkipTarget, QStringLiteral("none"));
        QCOMPARE(workbook.ReplaceTextXLS("<total>"), QStringLiteral("<total>"));
        QCOMPARE(workbook.LastFault(), QStringLiteral("the sheet is gone"));
        QCOMPARE(state.Responses().Value(1, 2, 1), QStringLiteral("4")); // responses untouched
    }
};

QTEST_GUILESS_MAIN(TestResponsesWorkbook)
#include "test_responses_workbook.moc"
