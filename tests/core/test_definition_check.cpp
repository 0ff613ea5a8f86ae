// The check of definition files: the demo passes clean, and each of a corpus of broken copies
// of it, one fault each, is caught at the right file, row and column with words that say what
// to change.
#include "definitions/csv.h"
#include "definitions/definition_check.h"
#include "definitions/definition_writer.h"
#include "preferences/preference_file.h"
#include "state/error.h"
#include "state/message_boxes.h"
#include "state/program_folder.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace corvane;

namespace {

const QString kDemo = QStringLiteral(CORVANE_FIXTURES "/../../resources/demo/");

// A definition table as CSV cells, changed cell by cell by name.
class Table {
public:
    explicit Table(const QString& csvName) {
        QFile file(kDemo + csvName);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("the demo's %s can not be read", qPrintable(csvName));
        for (const CsvRow& row : ParseCsv(QString::fromUtf8(file.readAll()))) {
            std::vector<QString> cells;
            for (const CsvCell& cell : row)
                cells.push_back(cell.text);
            m_rows.push_back(cells);
        }
    }
    // Row 1 is the first data row; a missing column is added.
    void Set(int row, const QString& column, const QString& value) {
        auto& header = m_rows.front();
        auto at = std::find(header.begin(), header.end(), column);
        if (at == header.end()) {
            header.push_back(column);
            at = header.end() - 1;
        }
        const auto index = std::size_t(at - header.begin());
        auto& cells = m_rows.at(std::size_t(row));
        cells.resize(std::max(cells.size(), header.size()));
        cells[index] = value;
    }
    void Append(const std::vector<QString>& cells) { m_rows.push_back(cells); }
    void KeepHeaderOnly() { m_rows.resize(1); }
    QString Csv() const {
        QString text;
        for (auto row : m_rows) {
            row.resize(m_rows.front().size());
            for (QString& cell : row)
                if (cell != QLatin1String("\\N"))
                    cell = CsvField(cell);
            text += CsvLine(row);
        }
        return text;
    }

private:
    std::vector<std::vector<QString>> m_rows;
};

// The demo experiment made afresh in a folder, with the changes a case makes first.
struct Demo {
    Table demo{"demo.csv"};
    Table ratings{"ratings.csv"};
    Table experiment{"demo_exp.csv"};

    void MakeIn(const QString& folder) const {
        try {
            Make(folder);
        } catch (const DefinitionInputError& error) {
            QFAIL(qPrintable(error.Text()));
        }
    }
    void Make(const QString& folder) const {
        CreateDefinitionFile(folder + "/demo.que", "demo.csv", demo.Csv(),
                             DefinitionKind::Questionnaire, 4.0);
        CreateDefinitionFile(folder + "/ratings.que", "ratings.csv", ratings.Csv(),
                             DefinitionKind::Questionnaire, 4.0);
        CreateDefinitionFile(folder + "/demo.exp", "demo_exp.csv", experiment.Csv(),
                             DefinitionKind::Experiment, std::nullopt);
    }
};

using Breaking = std::function<void(Demo&, const QString& folder)>;

void Touch(const QString& path) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x");
}

// A QuickStyle whose question font is the one given.
void WriteStyle(const QString& path, const QString& font) {
    PreferenceRecord record;
    record.Fonts[1].name = font;
    WritePreferenceFile(path, record);
}

bool Installed(const QString& family) {
    return family.compare(QLatin1String("Arial"), Qt::CaseInsensitive) == 0 ||
           family.compare(QLatin1String("DejaVu Sans"), Qt::CaseInsensitive) == 0;
}

QString Listing(const CheckReport& report) {
    QString text;
    for (const DefinitionFinding& finding : report.findings)
        text += FindingLine(finding) + QLatin1Char('\n');
    return text;
}

} // namespace

Q_DECLARE_METATYPE(Breaking)

class TestDefinitionCheck : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(m_dir.isValid());
        ProgramFolder::SetPath(m_program.path());
        QDir(m_program.path()).mkpath("styles");
    }

    void theDemoIsClean() {
        const QString folder = m_dir.filePath("clean");
        QVERIFY(QDir().mkpath(folder));
        Demo().MakeIn(folder);
        QDir::setCurrent(folder);
        CheckOptions options;
        options.FontInstalled = Installed;
        const CheckReport report = CheckDefinitions("demo.exp", options);
        QVERIFY2(report.findings.empty(), qPrintable(Listing(report)));
        QCOMPARE(report.ExitStatus(), 0);
        QCOMPARE(report.files, 3);
        // Each questionnaire alone is clean as well.
        QCOMPARE(CheckDefinitions("demo.que", options).ExitStatus(), 0);
        QCOMPARE(CheckDefinitions("ratings.que", options).ExitStatus(), 0);
    }

    void eachFaultIsFound_data() {
        QTest::addColumn<Breaking>("breaking");
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("column");
        QTest::addColumn<bool>("error");
        QTest::addColumn<QString>("words");

        auto add = [](const char* name, Breaking breaking, const char* file, int row,
                      const char* column, bool error, const char* words) {
            QTest::newRow(name) << breaking << QString::fromUtf8(file) << row
                                << QString::fromUtf8(column) << error << QString::fromUtf8(words);
        };
        auto cell = [](int row, const char* column, const char* value) -> Breaking {
            return [=](Demo& demo, const QString&) { demo.demo.Set(row, column, value); };
        };
        // The last item made into one that presents a file.
        auto lastItem = [](const char* type, const char* name) -> Breaking {
            return [=](Demo& demo, const QString&) {
                demo.demo.Set(12, "QuestionType", type);
                demo.demo.Set(12, "FileName", name);
            };
        };

        // Jumps.
        add("skip to no item", cell(5, "skip2", "restd"), "demo.que", 5, "skip2", true,
            "'restd' names no item of this questionnaire");
        add("skip backwards", cell(7, "skip1", "slept"), "demo.que", 7, "skip1", true,
            "'slept' comes before this item, and jumps only go forward");
        add("skip None in capitals", cell(5, "skip1", "None"), "demo.que", 5, "skip1", true,
            "only 'none' in lower case is");
        add("non-response item's skip to no item", cell(1, "skip1", "clam"), "demo.que", 1, "skip1",
            true, "'clam' names no item");
        add(
            "item no answer reaches",
            [](Demo& demo, const QString&) {
                demo.demo.Set(5, "skip1", "rested");
                demo.demo.Set(5, "skip2", "rested");
            },
            "demo.que", 6, "VariableName", false,
            "no path through the skips reaches 'hours': every answer of 'slept' (row 5)");
        // Variable names.
        add("duplicate in a questionnaire", cell(7, "VariableName", "calm"), "demo.que", 7,
            "VariableName", true, "'calm' is also the VariableName of row 2");
        add(
            "duplicate across questionnaires",
            [](Demo& demo, const QString&) { demo.ratings.Set(2, "VariableName", "age"); },
            "ratings.que", 2, "VariableName", false,
            "'age' is also a variable of 'demo.que' (row 10), which condition '1' runs");
        // Files.
        add("missing picture", lastItem("image file", "thanks.png"), "demo.que", 12, "FileName",
            true, "'thanks.png' is not found beside the experiment");
        add(
            "picture found in another case",
            [=](Demo& demo, const QString& folder) {
                Touch(folder + "/Thanks.PNG");
                lastItem("image file", "thanks.png")(demo, folder);
            },
            "demo.que", 12, "FileName", false, "which differs in letter case");
        add("missing background sound", cell(1, "backsound", "welcome.wav"), "demo.que", 1,
            "backsound", true, "'welcome.wav' is not found");
        add("missing web page", lastItem("html", "debrief.htm"), "demo.que", 12, "FileName", true,
            "'debrief.htm' is not found");
        add("missing document", lastItem("Word Document", "consent.doc"), "demo.que", 12,
            "FileName", true, "'consent.doc' is not found");
        add("missing program", lastItem("executable", "no-such-task-program"), "demo.que", 12,
            "FileName", true, "nor on the program search path");
        add(
            "missing background picture of a row of the experiment",
            [](Demo& demo, const QString&) {
                demo.experiment.Set(1, "Backimage", "room.jpg(l0,t0)");
            },
            "demo.exp", 1, "Backimage", true, "'room.jpg' is not found");
        // Parameters.
        add("list without its bracket", cell(2, "Parameters", "p5,o1)"), "demo.que", 2,
            "Parameters", true, "ends in ')' but has no '('");
        add("eleven parameters", cell(2, "Parameters", "(p5,o1,l1,t1,w1,h1,d1,s1,!1,@1,k1)"),
            "demo.que", 2, "Parameters", true, "has more than ten parameters");
        add("letter the type ignores", cell(2, "Parameters", "(p5,o1,m999)"), "demo.que", 2,
            "Parameters", false, "a scale response item doesn't read 'm999'");
        add("letter no item reads", cell(2, "Parameters", "(p5,z3)"), "demo.que", 2, "Parameters",
            false, "'z3' begins with a letter that no item reads");
        add("question mark for the points", cell(5, "Parameters", "(p?)"), "demo.que", 5,
            "Parameters", true, "'p?' gives no number of points");
        add("time limit on a ranking", cell(9, "Parameters", "(p5,d30)"), "demo.que", 9,
            "Parameters", true, "'d30' stops the program when the item is shown");
        add("range reversed", cell(10, "Parameters", "(r99-16)"), "demo.que", 10, "Parameters",
            true, "the range 'r99-16' is reversed");
        add("range without its dash", cell(8, "Parameters", "(p5,r3)"), "demo.que", 8, "Parameters",
            false, "'r3' sets no range");
        add("missing points of a choice item (the loader's words)", cell(8, "Parameters", "(r1-3)"),
            "demo.que", 8, "Parameters", false,
            "Variable 'did' in questionnaire 'demo.que' is missing the required parameter, p.");
        add(
            "rated list that no questionnaire has (the scan's words)",
            [](Demo& demo, const QString&) {
                demo.demo.Set(12, "QuestionType", "Thought Rating");
                demo.demo.Set(12, "Parameters", "(qnolist,p5)");
            },
            "demo.que", 12, "Parameters", true,
            "the variable nolist is identified in a 'thought rating' item.  This variable was not "
            "found in any of the questionnaires.");
        add("item type that isn't one", cell(12, "QuestionType", "instruction"), "demo.que", 12,
            "QuestionType", true, "'instruction' is not an item type");
        add("type the scan doesn't count", cell(9, "QuestionType", "ranking"), "demo.que", 9,
            "QuestionType", false, "know this type only as 'Ranking'");
        add("empty text cell (the reader's words)", cell(3, "QuestionWording", "\\N"), "demo.que",
            3, "QuestionWording", true, "Invalid use of Null");
        // Conditions and groups.
        add(
            "condition with no files",
            [](Demo& demo, const QString&) {
                demo.experiment.Append({"3", "1", QString(), "0", "0"});
            },
            "demo.exp", 5, "file", true, "the condition '3' has no file to present");
        add(
            "questionnaire that doesn't exist",
            [](Demo& demo, const QString&) { demo.experiment.Set(3, "file", "ratingz.que"); },
            "demo.exp", 3, "file", true, "'ratingz.que' is not in the experiment's folder");
        add(
            "empty questionnaire (the loader's words)",
            [](Demo& demo, const QString&) { demo.ratings.KeepHeaderOnly(); }, "demo.exp", 2,
            "file", true,
            "This experiment contains an empty questionnaire.  'ratings.que' needs to be removed");
        add(
            "questionnaire twice in a condition (the loader's words)",
            [](Demo& demo, const QString&) { demo.experiment.Set(2, "file", "demo.que"); },
            "demo.exp", 2, "file", false, "to be presented more than once");
        add("group of one", cell(10, "WGR", "5"), "demo.que", 10, "WGR", false,
            "the group WGR 5 has this item alone");
        add("group beyond the items", cell(10, "WGR", "40"), "demo.que", 10, "WGR", true,
            "the group WGR 40 is outside 0 to the number of items (12)");
        add("omitted in a condition that isn't there", cell(6, "omitconditions", "(3)"), "demo.que",
            6, "omitconditions", false, "the experiment has no condition '3'");
        add("blank in the omitted conditions", cell(6, "omitconditions", "(1, 2)"), "demo.que", 6,
            "omitconditions", false, "' 2' has a blank around it");
        // Quoted answers and styles.
        add("quoted answer not given yet",
            cell(4, "QuestionWording", "You said <rested>. How tense do you feel?"), "demo.que", 4,
            "QuestionWording", false, "<rested> quotes no variable answered before this item");
        add("missing QuickStyle", cell(12, "Parameters", "($bigtext)"), "demo.que", 12,
            "Parameters", true, "the QuickStyle 'bigtext.cvq' ($) is neither");
        add(
            "QuickStyle font not installed",
            [](Demo& demo, const QString& folder) {
                WriteStyle(folder + "/fancy.cvq", "No Such Typeface");
                demo.demo.Set(12, "Parameters", "($fancy)");
            },
            "demo.que", 12, "Parameters", false,
            "the font 'No Such Typeface' of the QuickStyle 'fancy.cvq' (cvs_fontname1) is not "
            "installed");
    }

    void eachFaultIsFound() {
        QFETCH(Breaking, breaking);
        QFETCH(QString, file);
        QFETCH(int, row);
        QFETCH(QString, column);
        QFETCH(bool, error);
        QFETCH(QString, words);
        const QString folder = m_dir.filePath(
            QString::fromUtf8(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('_')));
        QVERIFY(QDir().mkpath(folder));
        Demo demo;
        breaking(demo, folder);
        demo.MakeIn(folder);
        QDir::setCurrent(folder);
        CheckOptions options;
        options.FontInstalled = Installed;
        const CheckReport report = CheckDefinitions(QStringLiteral("demo.exp"), options);
        const bool found = std::any_of(
            report.findings.begin(), report.findings.end(), [&](const DefinitionFinding& f) {
                return f.file == file && f.row == row && f.column == column &&
                       (f.severity == FindingSeverity::Error) == error &&
                       OneLine(f.message).contains(words);
            });
        QVERIFY2(found, qPrintable(QStringLiteral("expected %1:%2:%3 '%4' in\n")
                                       .arg(file)
                                       .arg(row)
                                       .arg(column, words) +
                                   Listing(report)));
        QCOMPARE(report.ExitStatus(), error ? 2 : (report.Errors() > 0 ? 2 : 1));
    }

    // The program prints one line a finding, a summary, and tells by its status.
    void theToolPrintsLinesAndTellsByItsStatus() {
        const QString folder = m_dir.filePath(QStringLiteral("tool"));
        QVERIFY(QDir().mkpath(folder));
        Demo demo;
        demo.demo.Set(5, QStringLiteral("skip2"), QStringLiteral("restd"));
        demo.MakeIn(folder);
        QProcess tool;
        tool.setWorkingDirectory(folder);
        tool.start(QStringLiteral(CORVANE_DEF),
                   {QStringLiteral("check"), QStringLiteral("demo.exp")});
        QVERIFY(tool.waitForFinished(60000));
        const QString out = QString::fromUtf8(tool.readAllStandardOutput());
        QCOMPARE(tool.exitCode(), 2);
        QVERIFY2(out.startsWith(QLatin1String("demo.que:5:skip2: error: 'restd' names no item")),
                 qPrintable(out));
        QVERIFY2(out.endsWith(QLatin1String("corvane-def check: 1 error(s), 0 warning(s) in 3 "
                                            "file(s)\n")),
                 qPrintable(out));

        Demo clean;
        clean.MakeIn(folder);
        tool.start(QStringLiteral(CORVANE_DEF),
                   {QStringLiteral("check"), QStringLiteral("demo.exp")});
        QVERIFY(tool.waitForFinished(60000));
        QCOMPARE(tool.exitCode(), 0);
    }

private:
    QTemporaryDir m_dir;
    QTemporaryDir m_program;
};

QTEST_GUILESS_MAIN(TestDefinitionCheck)
#include "test_definition_check.moc"
