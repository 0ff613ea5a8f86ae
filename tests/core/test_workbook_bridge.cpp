// The responses workbook computed by the real spreadsheet program through the bridge, down to
// the program dying in the middle of a run.
#include "definition_fixtures.h"
#include "output/workbook_bridge.h"
#include "state/run_state.h"
#include "workbook_fixture.h"

#include <QElapsedTimer>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

// Item 2 of questionnaire 1 is "mood" with the answer `mood`; item 1 "energy" with `energy`.
void Answer(RunState& state, const QString& energy, const QString& mood) {
    state.AllocateResponses({1, 3, 2});
    state.Variables.Allocate({1, 3, 2});
    state.Variables.SetVariableCount(1, 1, 1);
    state.Variables.SetVariableCount(1, 2, 1);
    state.StoreResponse(1, 1, 1, energy);
    state.StoreResponseTime(1, 1, 1, 640);
    state.StoreResponse(1, 2, 1, mood);
    state.StoreResponseTime(1, 2, 1, 1250);
    state.CurrentQuestionnaire = 1;
    state.SkipTarget = QStringLiteral("none");
}

// The item was reached without a jump; its own response may have set a target.
void Finish(ResponsesWorkbook& workbook, RunState& state, int item, const QString& name) {
    state.CurrentQuestion = qint16(item);
    workbook.UpdateResponsesXLS(state, name, QStringLiteral("none"));
}

// The ids of the spreadsheet processes that use this profile.
QList<qint64> OfficeProcesses(const QString& profile) {
    QList<qint64> ids;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        bool number = false;
        const qint64 id = entry.toLongLong(&number);
        if (!number)
            continue;
        const QByteArray command = ReadAll(QStringLiteral("/proc/%1/cmdline").arg(id));
        if (command.contains("soffice") && command.contains(profile.toUtf8()))
            ids << id;
    }
    return ids;
}

const int kFillerRows = 10000;

} // namespace

class TestWorkbookBridge : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

private slots:
    void initTestCase() {
        const QString missing = CalcMissing();
        if (!missing.isEmpty())
            QSKIP(qPrintable(QStringLiteral("the spreadsheet program can't start: ") + missing));
    }

    void formulasComputeWithTheRunsValues() {
        QList<QStringList> rows{
            {"energy", "", ""},        {"MOOD_01", "", "=IF([.B2]>3;\"Q4\";\"none\")"},
            {"moodt", "", ""},         {"total", "=[.B1]+[.B2]", ""},
            {"ratio", "=[.B1]/0", ""}, {"loop", "=[.B6]+1", ""},
            {"label", "calm", ""}};
        for (int n = 0; n < kFillerRows; ++n)
            rows << QStringList{QStringLiteral("k%1").arg(n), QString::number(n), QString()};
        rows << QStringList{"", "blank row", ""} << QStringList{"later", "9", "end"};
        const QString path = m_dir.filePath("study/responses.xls");
        QDir().mkpath(m_dir.filePath("study"));
        const QString problem = MakeWorkbook(path, rows);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        const QByteArray original = ReadAll(path);

        BridgeSettings settings = TestBridgeSettings();
        QCOMPARE(FindResponsesWorkbook(m_dir.filePath("study")), path);
        WorkbookOpening opening = OpenResponsesWorkbook(m_dir.filePath("study"), settings);
        QVERIFY2(opening.workbook, qPrintable(opening.problem));
        ResponsesWorkbook& workbook = *opening.workbook;

        RunState state;
        Answer(state, "2", "5");
        Finish(workbook, state, 1, "energy");
        QCOMPARE(state.SkipTarget, QStringLiteral("none"));
        Finish(workbook, state, 2, "mood");
        // C2's formula saw the 5 written into B2: the target, trimmed and in lower case.
        QCOMPARE(state.SkipTarget, QStringLiteral("q4"));
        QCOMPARE(workbook.ReplaceTextXLS("Total <TOTAL>, time <moodt>, <label>, <later>"),
                 QStringLiteral("Total 7, time 1250, calm, <later>"));
        // Errors of formulas leave their keys; the last filler row is still read.
        QCOMPARE(workbook.ReplaceTextXLS("<ratio> <loop> <k9999>"),
                 QStringLiteral("<ratio> <loop> 9999"));
        QCOMPARE(workbook.LastFault(), QString());

        // A lower mood: the formula gives "none", and the item's own target stays.
        RunState second;
        Answer(second, "1", "2");
        second.SkipTarget = QStringLiteral("q3");
        Finish(workbook, second, 2, "mood");
        QCOMPARE(second.SkipTarget, QStringLiteral("q3"));
        QCOMPARE(workbook.ReplaceTextXLS("<total>"), QStringLiteral("4")); // energy 2 stays

        // The spreadsheet program dies: the run's calls are passed over and return.
        const QList<qint64> office = OfficeProcesses(settings.profileFolder);
        QVERIFY(!office.isEmpty());
        for (qint64 id : office)
            QProcess::execute(QStringLiteral("kill"), {QStringLiteral("-9"), QString::number(id)});
        QElapsedTimer clock;
        clock.start();
        Finish(workbook, second, 2, "mood");
        QCOMPARE(second.SkipTarget, QStringLiteral("q3"));
        QCOMPARE(workbook.ReplaceTextXLS("<total>"), QStringLiteral("<total>"));
        QVERIFY(!workbook.LastFault().isEmpty());
        QVERIFY(clock.elapsed() < 15000);
        QCOMPARE(second.Responses().Value(1, 2, 1), QStringLiteral("2"));

        // The workbook is the experimenter's: never saved, and no lock file left beside it.
        opening.workbook.reset();
        QCOMPARE(ReadAll(path), original);
        QCOMPARE(QDir(m_dir.filePath("study")).entryList(QDir::Files | QDir::Hidden),
                 QStringList{"responses.xls"});
    }

    void damagedWorkbookIsOff() {
        const QString folder = m_dir.filePath("damaged");
        QDir().mkpath(folder);
        WriteBytes(folder + "/Responses.XLS", QByteArray("\xd0\xcf\x11\xe0 not a workbook", 24));
        const WorkbookOpening opening = OpenResponsesWorkbook(folder, TestBridgeSettings());
        QVERIFY(!opening.workbook);
        QCOMPARE(opening.path, folder + "/Responses.XLS"); // found without regard to case
        QVERIFY(!opening.problem.isEmpty());
        QVERIFY(WorkbookOffText(opening).startsWith("The responses workbook '" + folder +
                                                    "/Responses.XLS' is off for this run: "));
    }

    void missingWorkbookAndMissingBridgeAreOff() {
        QVERIFY(OpenResponsesWorkbook(m_dir.filePath("nothing"), TestBridgeSettings())
                    .problem.contains("no responses.xls"));
        const QString folder = m_dir.filePath("nobridge");
        QDir().mkpath(folder);
        WriteBytes(folder + "/responses.ods", "x");
        BridgeSettings settings = TestBridgeSettings();
        settings.script = m_dir.filePath("no-such-bridge.py");
        const WorkbookOpening opening = OpenResponsesWorkbook(folder, settings);
        QVERIFY(!opening.workbook && opening.problem.contains("not installed"));
    }

    void openDocumentWorkbook() {
        const QString folder = m_dir.filePath("ods");
        QDir().mkpath(folder);
        const QString problem = MakeWorkbook(folder + "/responses.ods",
                                             {{"energy", "", ""}, {"double", "=[.B1]*2", ""}});
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        WorkbookOpening opening = OpenResponsesWorkbook(folder, TestBridgeSettings());
        QVERIFY2(opening.workbook, qPrintable(opening.problem));
        RunState state;
        Answer(state, "2.5", "1");
        Finish(*opening.workbook, state, 1, "energy");
        QCOMPARE(opening.workbook->ReplaceTextXLS("<double>"), QStringLiteral("5"));
    }
};

QTEST_GUILESS_MAIN(TestWorkbookBridge)
#include "test_workbook_bridge.moc"
