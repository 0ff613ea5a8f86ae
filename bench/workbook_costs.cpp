// Costs of the responses workbook through the real spreadsheet program: the start at run start
// (bridge, spreadsheet program, opening the workbook), then 100 finished items on a sheet of
// 200 keyed rows (each writes its value and time and reads its skip target) and 100 wordings
// passed through the sheet's values. Median and 95th percentile in milliseconds.
//
//   build/bench/bench_workbook_costs
//
// The workbook is made by the spreadsheet program from a flat sheet that this program writes;
// the program's profile is kept under the temporary folder, so the first start makes it.
#include "output/workbook_bridge.h"
#include "state/run_state.h"
#include "workbook_fixture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>

using namespace corvane;
using namespace corvane::test;

namespace {

constexpr int kItems = 100;

QString Figures(std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    const auto at = [&](double q) {
        return ms[std::min(ms.size() - 1, std::size_t(q * double(ms.size())))];
    };
    return QStringLiteral("median %1 ms, p95 %2 ms, max %3 ms")
        .arg(at(0.5), 0, 'f', 1)
        .arg(at(0.95), 0, 'f', 1)
        .arg(ms.back(), 0, 'f', 1);
}

// 100 item keys with a skip target formula each, and 100 rows of formulas over them.
QList<QStringList> Sheet() {
    QList<QStringList> rows;
    for (int k = 1; k <= kItems; ++k)
        rows << QStringList{QStringLiteral("v%1_01").arg(k), QString(),
                            QStringLiteral("=IF([.B%1]>1000;\"v%2\";\"none\")").arg(k).arg(k + 1)};
    for (int k = 1; k < kItems; ++k)
        rows << QStringList{QStringLiteral("f%1").arg(k),
                            QStringLiteral("=[.B%1]*2+SUM([.B1:.B100])").arg(k), QString()};
    rows << QStringList{QStringLiteral("total"), QStringLiteral("=SUM([.B1:.B100])"), QString()};
    return rows; // 200 rows, then the empty row that ends the scan
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir dir;
    const QString problem = MakeWorkbook(dir.filePath(QStringLiteral("responses.xls")), Sheet());
    if (!problem.isEmpty()) {
        out << "the workbook can't be made: " << problem << Qt::endl;
        return 1;
    }
    BridgeSettings settings = TestBridgeSettings(QStringLiteral("bench"));
    WorkbookOpening opening = OpenResponsesWorkbook(dir.path(), settings);
    if (!opening.workbook) {
        out << "the workbook is off: " << opening.problem << Qt::endl;
        return 1;
    }
    out << "start-up (bridge, spreadsheet program, workbook open): " << opening.startMs << " ms"
        << Qt::endl;

    RunState state;
    state.AllocateResponses({1, kItems, 1});
    state.Variables.Allocate({1, kItems, 1});
    state.CurrentQuestionnaire = 1;
    std::vector<double> update;
    std::vector<double> replace;
    QElapsedTimer clock;
    for (int i = 1; i <= kItems; ++i) {
        state.Variables.SetVariableCount(1, i, 1);
        state.StoreResponse(1, i, 1, QString::number(i % 7));
        state.StoreResponseTime(1, i, 1, 400 + i);
        state.CurrentQuestion = qint16(i);
        state.SkipTarget = QStringLiteral("none");
        clock.start();
        opening.workbook->UpdateResponsesXLS(state, QStringLiteral("v%1").arg(i),
                                             QStringLiteral("none"));
        update.push_back(double(clock.nsecsElapsed()) / 1e6);
        clock.start();
        const QString text = opening.workbook->ReplaceTextXLS(
            QStringLiteral("Total so far <total>, <f%1>.").arg((i - 1) % (kItems - 1) + 1));
        replace.push_back(double(clock.nsecsElapsed()) / 1e6);
        if (text.contains(QLatin1Char('<'))) {
            out << "a key was not replaced: " << text << Qt::endl;
            return 1;
        }
    }
    out << "finished item (UpdateResponsesXLS, 200 rows), " << kItems
        << " items: " << Figures(update) << Qt::endl;
    out << "wording (ReplaceTextXLS, 200 rows), " << kItems << " items: " << Figures(replace)
        << Qt::endl;
    if (!opening.workbook->LastFault().isEmpty()) {
        out << "the workbook failed: " << opening.workbook->LastFault() << Qt::endl;
        return 1;
    }
    return 0;
}
