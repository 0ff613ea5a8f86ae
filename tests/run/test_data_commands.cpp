// `corvane export --tidy` and `corvane merge` on the demo's data from unattended runs: read back
// by Python and R, 8-bit data, and stations merged (one with another questionnaire version).
#include "definition_fixtures.h"
#include "unattended_process.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

using namespace corvane::test;

namespace {

const QString kScript = QString(CORVANE_FIXTURES) + "/../../resources/demo/demo_script.txt";
constexpr int kDemoVariables = 20; // columns of the demo's two questionnaires, reaction times apart

struct Outcome {
    int exitCode = -1;
    QString out;
    QString err;
};

Outcome Run(const QString& program, const QStringList& args) {
    QProcess process;
    process.start(program, args);
    Outcome outcome;
    if (process.waitForFinished(120000))
        outcome.exitCode = process.exitCode();
    outcome.out = QString::fromUtf8(process.readAllStandardOutput());
    outcome.err = QString::fromUtf8(process.readAllStandardError());
    return outcome;
}

// Every file under the folder with a digest of its bytes.
QMap<QString, QByteArray> Snapshot(const QStringList& folders) {
    QMap<QString, QByteArray> files;
    for (const QString& folder : folders) {
        QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            files.insert(path, QCryptographicHash::hash(ReadAll(path), QCryptographicHash::Sha256));
        }
    }
    return files;
}

QByteArray AfterFirstLine(const QByteArray& bytes) {
    return bytes.mid(bytes.indexOf('\n') + 1);
}

} // namespace

class TestDataCommands : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    QString Station(const QString& name) const { return m_dir.filePath(name); }

    void MakeStation(const QString& name, const QStringList& subjects, bool otherRatings = false) {
        const QString folder = Station(name);
        QDir().mkpath(folder);
        const QDir demo(QFileInfo(CORVANE_TEMPLATE).dir().filePath("demo"));
        for (const QString& file : demo.entryList(QDir::Files))
            QVERIFY(QFile::copy(demo.filePath(file), QDir(folder).filePath(file)));
        if (otherRatings) {
            // Its ratings without the second item.
            QFile::remove(QDir(folder).filePath("ratings.que"));
            QByteArray csv =
                ReadAll(QString(CORVANE_FIXTURES) + "/../../resources/demo/ratings.csv");
            csv.truncate(csv.lastIndexOf("\n2,"));
            WriteBytes(QDir(folder).filePath("ratings.csv"), csv + "\n");
            QCOMPARE(Run(CORVANE_DEF, {"create", QDir(folder).filePath("ratings.que"),
                                       QDir(folder).filePath("ratings.csv")})
                         .exitCode,
                     0);
        }
        for (const QString& subject : subjects) {
            const UnattendedProcess run =
                RunCorvane(folder, {QDir(folder).filePath("demo.exp"), "--subject", subject,
                                    "--condition", "1", "--script", kScript});
            QVERIFY2(run.exitCode == 0, qPrintable(run.errors));
        }
    }

private slots:
    void initTestCase() {
        MakeStation("a", {"s1", "s2"});
        MakeStation("b", {"s3", "s1", "s3"});
        MakeStation("c", {"s4"}, true);
    }

    void exportReadsBackInPythonAndR() {
        const QString out = m_dir.filePath("tidy");
        const Outcome exported =
            Run(CORVANE_BIN, {"export", Station("a") + "/demo.exp", "--tidy", out});
        QVERIFY2(exported.exitCode == 0, qPrintable(exported.err));
        QVERIFY2(exported.out.contains("read 2 rows from " + Station("a") +
                                       "/data/byquestionnaire/demo.csv (UTF-8)"),
                 qPrintable(exported.out));
        QVERIFY(exported.out.contains(QString("wrote %1 rows").arg(2 * kDemoVariables)));
        for (const char* file :
             {"demo_long.csv", "demo_codebook.csv", "demo_codebook.md", "read_demo.R"})
            QVERIFY2(QFileInfo::exists(out + "/" + file), file);

        const Outcome python = Run("python3", {"-c", R"(
import csv, sys
rows = list(csv.DictReader(open(sys.argv[1], newline='', encoding='utf-8')))
age = [r for r in rows if r['subject'] == 's1' and r['variable'] == 'age'][0]
print(len(rows), len(rows[0]), age['value'], age['rt_ms'], age['position'], age['item_type'],
      sum(1 for r in rows if r['rt_ms'] == ''))
)",
                                               out + "/demo_long.csv"});
        QCOMPARE(python.out.trimmed(), QString("40 12 34 1100 10 fill-in-the-blank 6"));

        if (QStandardPaths::findExecutable("Rscript").isEmpty())
            QSKIP("Rscript is not installed (r-base-core): the R script is not run");
        const Outcome r = Run("Rscript", {"-e", R"(
source(commandArgs(TRUE)[1])
d <- demo_long
calm <- d$value_label[d$subject == "s1" & d$variable == "hours"]
cat(nrow(d), class(d$rt_ms), is.factor(d$value_label), as.character(calm),
    class(d$value_number), sum(is.na(d$rt_ms)), "\n")
)",
                                          out + "/read_demo.R"});
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        // hours: the third point, "7 to 8"; the options not chosen (three a run) have no time
        QCOMPARE(r.out.trimmed(), QString("40 numeric TRUE 7 to 8 numeric 6"));
        QVERIFY(Snapshot({out}).size() == 4); // the script wrote nothing
    }

    void exportReadsEightBitData() {
        const QString legacy = m_dir.filePath("legacy");
        QDir().mkpath(legacy + "/byquestionnaire");
        QByteArray csv = ReadAll(Station("a") + "/data/byquestionnaire/demo.csv");
        QVERIFY(csv.contains("Cooked dinner"));
        csv.replace("Cooked dinner", "Caf\xe9 dinner");
        WriteBytes(legacy + "/byquestionnaire/demo.csv", csv);
        const Outcome exported = Run(CORVANE_BIN, {"export", Station("a") + "/demo.exp", "--tidy",
                                                   m_dir.filePath("tidy8"), "--data", legacy});
        QVERIFY2(exported.exitCode == 0, qPrintable(exported.err));
        QVERIFY2(exported.out.contains("read 2 rows from " + legacy +
                                       "/byquestionnaire/demo.csv (8-bit text)"),
                 qPrintable(exported.out));
        QVERIFY(ReadAll(m_dir.filePath("tidy8/demo_long.csv")).contains("Caf\xc3\xa9 dinner"));
    }

    void mergeJoinsStationsAndReportsDuplicates() {
        const QMap<QString, QByteArray> before = Snapshot({Station("a"), Station("b")});
        const QString merged = m_dir.filePath("merged");
        const Outcome merge =
            Run(CORVANE_BIN, {"merge", Station("a"), Station("b"), "--into", merged});
        QVERIFY2(merge.exitCode == 0, qPrintable(merge.err));
        QCOMPARE(Snapshot({Station("a"), Station("b")}), before);

        for (const char* file : {"byquestionnaire/demo.csv", "byvariablename/demo.csv"}) {
            const QByteArray a = ReadAll(Station("a") + "/data/" + file);
            const QByteArray b = ReadAll(Station("b") + "/data/" + file);
            QVERIFY(!a.endsWith('\n')); // a run's row waits for the next load's line end
            QCOMPARE(ReadAll(merged + "/" + file), a + "\r\n" + AfterFirstLine(b));
        }
        for (const char* file : {"byquestionnaire/demo.txt", "byquestionnaire/question_order.csv",
                                 "morning.txt", "morning_keypress.csv"})
            QCOMPARE(ReadAll(merged + "/" + file), ReadAll(Station("a") + "/data/" + file) +
                                                       ReadAll(Station("b") + "/data/" + file));
        QVERIFY2(merge.out.contains("participant s1: 1 run(s) at station 1 (" + Station("a") +
                                    "/data), 1 run(s) at station 2 (" + Station("b") + "/data)"),
                 qPrintable(merge.out));
        QVERIFY(merge.out.contains("participant s3: 2 run(s) at station 2"));
        QVERIFY(!merge.out.contains("participant s2:"));
        QVERIFY(merge.out.contains("byquestionnaire/demo.csv: 2 rows from station 1"));
        QVERIFY(ReadAll(merged + "/merge_report.txt").contains("participant s3"));

        const Outcome exported =
            Run(CORVANE_BIN, {"export", Station("a") + "/demo.exp", "--tidy",
                              m_dir.filePath("tidy-merged"), "--data", merged});
        QVERIFY2(exported.exitCode == 0, qPrintable(exported.err));
        QVERIFY(exported.out.contains(QString("wrote %1 rows").arg(5 * kDemoVariables)));
    }

    void mergeRefusesFilesWhoseHeadersDiffer() {
        const QString merged = m_dir.filePath("refused");
        const Outcome merge =
            Run(CORVANE_BIN, {"merge", Station("a"), Station("b"), Station("c"), "--into", merged});
        QCOMPARE(merge.exitCode, 1);
        QVERIFY2(merge.err.contains("byquestionnaire/demo.csv: the header at station 3 (" +
                                    Station("c") + "/data) differs"),
                 qPrintable(merge.err));
        QVERIFY(merge.err.contains("Nothing was merged"));
        QVERIFY(Snapshot({merged}).isEmpty());
    }

    void commandLineMistakesEndWith64_data() {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("one station") << QStringList{"merge", "x", "--into", "y"};
        QTest::newRow("no --into") << QStringList{"merge", "x", "y"};
        QTest::newRow("no --tidy") << QStringList{"export", "x.exp"};
        QTest::newRow("unknown option")
            << QStringList{"export", "x.exp", "--tidy", "o", "--wide", "1"};
    }
    void commandLineMistakesEndWith64() {
        QFETCH(QStringList, args);
        const Outcome outcome = Run(CORVANE_BIN, args);
        QCOMPARE(outcome.exitCode, 64);
        QVERIFY(outcome.err.contains("usage: corvane " + args.front()));
    }
};

QTEST_GUILESS_MAIN(TestDataCommands)
#include "test_data_commands.moc"
