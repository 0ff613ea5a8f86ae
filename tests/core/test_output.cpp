// The data writers: golden files after two runs, file names, data folders, small layouts.
#include "definitions/experiment_loader.h"
#include "engine/autostart.h"
#include "output/data_by_questionnaire.h"
#include "output/data_by_variable.h"
#include "output/data_output.h"
#include "output/exchange_order.h"
#include "output/questionnaire_syntax.h"
#include "output_study.h"
#include "recording_boxes.h"
#include "state/run_state.h"

#include <QProcess>
#include <QtTest>
#include <random>

using namespace corvane;
using namespace corvane::test;

namespace {

// "{root}" in a golden file stands for the folder the test ran in; a difference is shown as a diff.
bool SameAsGolden(const QString& golden, const QString& actual, const QString& root) {
    QByteArray expected = ReadAll(golden);
    if (expected.isEmpty()) {
        qWarning("golden file %s is missing", qPrintable(golden));
        return false;
    }
    expected.replace("{root}", root.toUtf8());
    const QByteArray written = ReadAll(actual);
    if (written == expected)
        return true;
    QTemporaryDir scratch;
    const QString expectedPath = scratch.filePath("expected");
    QFile out(expectedPath);
    if (out.open(QIODevice::WriteOnly))
        out.write(expected);
    out.close();
    QProcess diff;
    diff.start("diff", {"-u", "--label", golden, "--label", actual, expectedPath, actual});
    diff.waitForFinished(10000);
    qWarning("%s differs from its golden file:\n%s", qPrintable(actual),
             diff.readAllStandardOutput().constData());
    return false;
}

QStringList Lines(const QString& path) {
    return QString::fromUtf8(ReadAll(path)).split("\r\n");
}

// What the run driver does to the name just before the data are written.
void EndOfRunName(RunState& state) {
    QString& name = state.ExperimentFileName;
    name = name.left(name.size() - 4).replace(' ', '_');
}

DataOutputSettings Settings(const QString& time, const QString& machineCode = QString()) {
    return DataOutputSettings{machineCode, "default.cvp", "03/02/2024", time};
}

} // namespace

class TestOutput : public QObject {
    Q_OBJECT

    QList<MessageBox> m_boxes;
    std::unique_ptr<QTemporaryDir> m_dir;

    QString Root() const { return m_dir->path(); }
    QString Path(const QString& relative) const { return QDir(Root()).filePath(relative); }

    void MakeStudy(const QString& experimentName = "study.exp") {
        MakeOutputStudy(Root(), experimentName);
    }

    std::unique_ptr<RunState> Load(const QString& subject, const QString& condition,
                                   const DataOutputSettings& settings,
                                   const QString& experimentName = "study.exp",
                                   const QString& dataRoot = QString()) {
        return LoadForOutput(Root(), &m_boxes, subject, condition, settings, experimentName,
                             dataRoot);
    }

    static bool WriteRun(RunState& state, const DataOutputSettings& settings) {
        EndOfRunName(state);
        const bool byQuestionnaire = WriteDataByQuestionnaire(state, settings);
        const bool byVariable = WriteDataByVariable(state, settings);
        return byQuestionnaire && byVariable;
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_boxes.clear();
    }

    void cleanup() { QDir::setCurrent(QDir::tempPath()); }

    void twoRunsLeaveTheGoldenFiles() {
        MakeStudy();
        {
            auto state = Load("s1", "1", Settings("09:15:07"));
            AnswerFirstRun(*state);
            QVERIFY(WriteRun(*state, Settings("09:15:07")));
            // The record by questionnaire made the text safe in the run state itself.
            QCOMPARE(state->Responses().Value(1, 2, 1), "O\"Brien  Pat");
            QCOMPARE(QDir::currentPath(), Path("data/byvariablename"));
        }
        {
            auto state = Load("s2", "2", Settings("10:01:59"));
            QCOMPARE(QDir::currentPath(), Root()); // the syntax writer went back
            AnswerSecondRun(*state);
            QVERIFY(WriteRun(*state, Settings("10:01:59")));
        }
        for (const MessageBox& box : m_boxes)
            qWarning("box: %s", qPrintable(box.text));
        QVERIFY(m_boxes.isEmpty());
        const QString golden = QString(CORVANE_FIXTURES) + "/output/golden/";
        const QStringList files{"byquestionnaire/study.txt", "byquestionnaire/study.csv",
                                "byquestionnaire/study.sps", "byquestionnaire/study_pspp.sps",
                                "byvariablename/study.txt",  "byvariablename/study.csv",
                                "byvariablename/study.sps",  "byvariablename/study_pspp.sps"};
        bool allSame = true;
        for (const QString& file : files)
            allSame = SameAsGolden(golden + file, Path("data/" + file), Root()) && allSame;
        QVERIFY(allSame);
        // Nothing but these files (no half-written syntax left beside them).
        QCOMPARE(QDir(Path("data/byquestionnaire")).entryList(QDir::Files).size(), 4);
        QCOMPARE(QDir(Path("data/byvariablename")).entryList(QDir::Files).size(), 4);
    }

    void aLoadWithoutARunLeavesAnEmptyLine() {
        MakeStudy();
        Load("s1", "1", Settings("09:00:00"));
        Load("s1", "1", Settings("09:00:01"));
        const QByteArray csv = ReadAll(Path("data/byquestionnaire/study.csv"));
        QVERIFY(csv.startsWith("Subject,Cond,Exper,Inifile,Date,Time,que1,mood,"));
        QVERIFY(csv.endsWith("feelingscore2t\r\n\r\n"));
        QCOMPARE(csv.count("Subject"), 1);
        // The by-variable files come only with a finished run.
        QVERIFY(QDir(Path("data/byvariablename")).exists());
        QVERIFY(QDir(Path("data/byvariablename")).entryList(QDir::Files).isEmpty());
    }

    void fileNamesCarryTheMachineCode_data() {
        QTest::addColumn<QString>("experiment");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("base");
        QTest::newRow("code with a blank, name with blanks") << "study one.exp"
                                                             << "A1 "
                                                             << "study_oneA1";
        QTest::newRow("only blanks add nothing") << "study.exp"
                                                 << "   "
                                                 << "study";
        QTest::newRow("blanks inside the name") << "my  lab study.exp"
                                                << "B"
                                                << "my__lab_studyB";
    }
    void fileNamesCarryTheMachineCode() {
        QFETCH(QString, experiment);
        QFETCH(QString, code);
        QFETCH(QString, base);
        MakeStudy(experiment);
        const DataOutputSettings settings = Settings("11:00:00", code);
        auto state = Load("s9", "1", settings, experiment);
        QVERIFY(WriteRun(*state, settings));
        QVERIFY(m_boxes.isEmpty());
        for (const QString folder : {"byquestionnaire", "byvariablename"}) {
            QStringList expected;
            for (const QString ending : {".csv", ".sps", ".txt", "_pspp.sps"})
                expected << base + ending;
            QCOMPARE(QDir(Path("data/" + folder)).entryList(QDir::Files, QDir::Name), expected);
        }
        const QString bq = Path("data/byquestionnaire/");
        const QString bv = Path("data/byvariablename/");
        const QStringList syntax = Lines(bq + base + ".sps");
        QCOMPARE(syntax.at(0),
                 "* This file may be used to read the data in '" + bq + base + ".txt'.");
        QCOMPARE(syntax.at(7), "* " + bq + base + " (by variable).sps.");
        QCOMPARE(syntax.at(31), "data list file '" + bq + base + ".txt' free");
        const QStringList byVariable = Lines(bv + base + ".sps");
        QCOMPARE(byVariable.at(0),
                 "* This file may be used to read the data in '" + bv + base + ".txt'.");
        QCOMPARE(byVariable.at(9), "* " + bq + base + ".sps.");
        // The record names the experiment file as it was opened.
        QVERIFY(Lines(bq + base + ".txt")
                    .at(0)
                    .startsWith("'s9','1','" + Path(experiment) +
                                "','default.cvp','03/02/2024','11:00:00'"));
    }

    void theAlternateDataFolderTakesTheData() {
        MakeStudy();
        QTemporaryDir alternate;
        QVERIFY(alternate.isValid());
        // The data root as the subject form works it out.
        RunState probe;
        probe.ExperimentFolder = Root();
        probe.ExperimentFileName = "study.exp";
        bool usedAlternate = false;
        const QString dataRoot = DataRootFor(probe, alternate.path(), usedAlternate);
        QVERIFY(usedAlternate);
        QCOMPARE(dataRoot, alternate.filePath("study"));

        auto state = Load("s1", "1", Settings("12:00:00"), "study.exp", dataRoot);
        AnswerFirstRun(*state);
        QVERIFY(WriteRun(*state, Settings("12:00:00")));
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(!QDir(Path("data")).exists());
        const QString bq = alternate.filePath("study/data/byquestionnaire/");
        const QString bv = alternate.filePath("study/data/byvariablename/");
        for (const QString file : {"study.txt", "study.csv", "study.sps"}) {
            QVERIFY2(QFile::exists(bq + file), qPrintable(bq + file));
            QVERIFY2(QFile::exists(bv + file), qPrintable(bv + file));
        }
        QCOMPARE(Lines(bq + "study.sps").at(0),
                 "* This file may be used to read the data in '" + bq + "study.txt'.");
        QCOMPARE(Lines(bv + "study.sps").at(9), "* " + bq + "study.sps.");
        // The record still names the experiment where it is.
        QVERIFY(Lines(bv + "study.txt").at(0).startsWith("'s1','1','" + Path("study.exp") + "'"));
    }

    void aDataFolderThatCantBeMadeIsReported() {
        MakeStudy();
        WriteBytes(Path("data"), "a file where the data folder belongs\n");
        auto state = Load("s1", "1", Settings("13:00:00"));
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].title, "Not a good thing.");
        QCOMPARE(m_boxes[0].text,
                 "Unable to create or access data folders.  If running experiment off of a CD-ROM, "
                 "specify an alternate data folder in Preferences.");
        QCOMPARE(m_boxes[0].icon, BoxIcon::Information);
        QCOMPARE(QDir::currentPath(), Root()); // the load goes on in the experiment's folder

        AnswerFirstRun(*state);
        EndOfRunName(*state);
        QVERIFY(!WriteDataByQuestionnaire(*state, Settings("13:00:00")));
        QVERIFY(!WriteDataByVariable(*state, Settings("13:00:00")));
        QCOMPARE(m_boxes.size(), 3);
        QVERIFY(m_boxes[1].text.contains("'" + Path("data/byquestionnaire") + "'"));
        QVERIFY(m_boxes[1].text.contains("'" + Path("data/byquestionnaire/study.txt") + "'"));
        QVERIFY(m_boxes[1].text.contains("'" + Path("data/byquestionnaire/study.csv") + "'"));
        QVERIFY(m_boxes[2].text.contains("'" + Path("data/byvariablename/study.txt") + "'"));
        QCOMPARE(m_boxes[2].title, state->MessageTitle());
        // Nothing went elsewhere instead.
        QVERIFY(QFileInfo(Path("data")).isFile());
        QCOMPARE(QDir(Root()).entryList(QDir::Files, QDir::Name),
                 QStringList({"alpha.que", "beta.que", "data", "study.exp"}));
    }

    void aQuestionnaireWithoutColumnsWritesOnlyItsName() {
        MakeDefinition(Root(), "a.que", kItemsHeader + "1,Instructions,hello,,0,0,0\n");
        MakeDefinition(Root(), "b.que",
                       kItemsHeader + "1,Scale Response,v1,,1,0,0\n2,Scale Response,v2,,1,0,0\n"
                                      "3,Scale Response,v3,,1,0,0\n4,Scale Response,v4,,1,0,0\n");
        MakeDefinition(Root(), "s.exp",
                       kExperimentHeader + "1,1,a.que,,,,0,0,\n1,2,b.que,,,,0,0,\n");
        auto state = Load("p", "1", Settings("14:00:00"), "s.exp");
        state->StoreResponse(2, 2, 1, "5");
        QVERIFY(WriteRun(*state, Settings("14:00:00")));
        QCOMPARE(ReadAll(Path("data/byquestionnaire/s.txt")),
                 "'p','1','" + Path("s.exp").toUtf8() +
                     "','default.cvp','03/02/2024','14:00:00'\r\n"
                     "'a'\r\n"
                     "'b'\r\n"
                     "99,5,99,99\r\n");
        // Exactly four variables in the last questionnaire: the point stands on its own line.
        const QStringList syntax = Lines(Path("data/byquestionnaire/s.sps"));
        const qsizetype que1 = syntax.indexOf("    que1 (A25) ");
        QVERIFY(que1 > 0);
        QCOMPARE(syntax.mid(que1, 5),
                 QStringList({"    que1 (A25) ", "    que2 (A25) ",
                              "    v1 *                v2 *                v3 *                "
                              "v4 * ",
                              ".", ""}));
        // With no time columns the record by variable ends after its response line.
        QCOMPARE(ReadAll(Path("data/byvariablename/s.txt")),
                 "'p','1','" + Path("s.exp").toUtf8() +
                     "','default.cvp','03/02/2024','14:00:00'\r\n"
                     "99,5,99,99\r\n");
        QCOMPARE(ReadAll(Path("data/byvariablename/s.csv")),
                 "Subject,Cond,Exper,Inifile,Date,Time,v1,v2,v3,v4\r\n"
                 "p,1," +
                     Path("s.exp").toUtf8() + ",default.cvp,03/02/2024,14:00:00,99,5,99,99");
    }

    void theSettingsOfThisMoment() {
        const QDate before = QDate::currentDate();
        const DataOutputSettings now = CurrentDataOutputSettings("A1", "lab.cvp");
        const QDate after = QDate::currentDate();
        QCOMPARE(now.machineCode, "A1");
        QCOMPARE(now.inifile, "lab.cvp");
        QVERIFY2(QRegularExpression("^([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]$")
                     .match(now.time)
                     .hasMatch(),
                 qPrintable(now.time));
        auto shortDate = [](const QDate& date) {
            QString text = QLocale::system().toString(date, QLocale::ShortFormat);
            while (text.endsWith(' '))
                text.chop(1);
            return text;
        };
        QVERIFY(!now.date.isEmpty());
        QVERIFY2(now.date == shortDate(before) || now.date == shortDate(after),
                 qPrintable(now.date));
    }

    // The exchange sort's order, found without its n²/2 comparisons, against the plain sort.
    void theExchangeOrderIsThePlainSortsOwn_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("distinct");
        QTest::addColumn<int>("seed");
        QTest::newRow("empty") << 0 << 1 << 1;
        QTest::newRow("one") << 1 << 1 << 1;
        QTest::newRow("all equal") << 40 << 1 << 2;
        QTest::newRow("many equal") << 300 << 7 << 3;
        QTest::newRow("some equal") << 500 << 200 << 4;
        QTest::newRow("all different") << 257 << 100000 << 5;
        QTest::newRow("descending") << 200 << -1 << 6;
    }
    void theExchangeOrderIsThePlainSortsOwn() {
        QFETCH(int, count);
        QFETCH(int, distinct);
        QFETCH(int, seed);
        std::mt19937 random(seed);
        std::vector<int> keys(std::size_t(count), 0);
        for (int i = 0; i < count; ++i)
            keys[std::size_t(i)] = distinct < 0 ? count - i : int(random() % unsigned(distinct));
        std::vector<std::size_t> plain(keys.size());
        std::vector<int> sorted = keys;
        for (std::size_t i = 0; i < plain.size(); ++i)
            plain[i] = i;
        for (std::size_t a = 0; a + 1 < sorted.size(); ++a) {
            for (std::size_t b = a + 1; b < sorted.size(); ++b) {
                if (sorted[a] > sorted[b]) {
                    std::swap(sorted[a], sorted[b]);
                    std::swap(plain[a], plain[b]);
                }
            }
        }
        QCOMPARE(ExchangeSortOrder(keys), plain);
    }

    void theMergeKeepsTheLastEntryThatHoldsAnything() {
        MakeStudy();
        auto state = Load("s2", "2", Settings("15:00:00"));
        AnswerSecondRun(*state);
        const std::vector<VariableEntry> merged = MergeVariables(*state);
        QStringList names;
        for (const VariableEntry& entry : merged)
            names << entry.name;
        QCOMPARE(names.size(), 20);
        QCOMPARE(names.mid(0, 7),
                 QStringList({"Age         ", "comment     ", "favouritecol", "feelingscore",
                              "intro       ", "mood        ", "name        "}));
        // mood: beta's answer and time give way whole to alpha's time, which sorts after it;
        // alpha's mood has no time column, so the merged one has none either.
        const VariableEntry& mood = merged[5];
        QCOMPARE(mood.value, "99");
        QCOMPARE(mood.time, 800);
        QCOMPARE(mood.code, "NX");
        // feelingscore: the two names agree in twelve characters; beta's sorts last.
        const VariableEntry& feeling = merged[3];
        QCOMPARE(feeling.value, "99");
        QCOMPARE(feeling.time, 600);
        QCOMPARE(feeling.code, "NR");
        QCOMPARE(merged[4].code, "XX");
    }
};

QTEST_GUILESS_MAIN(TestOutput)
#include "test_output.moc"
