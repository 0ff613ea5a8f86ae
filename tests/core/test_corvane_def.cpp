// corvane-def run as a program: CSV in, definition files out and back again, errors that name
// the place to fix, and the questionnaire listing.
#include "definitions/csv.h"
#include "definitions/definition_columns.h"
#include "definitions/definition_store.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace corvane;

namespace {

struct Run {
    int status = -1; // -1 when the program crashed or hung
    QString out;
    QString err;
};

Run RunDef(const QStringList& args, const QString& folder = QString()) {
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral(CORVANE_DEF), args);
    Run run;
    if (process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit)
        run.status = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

// Words of a command line; the tests' arguments hold no blanks.
QStringList Args(const char* words) {
    return QString::fromUtf8(words).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

// Every line must appear whole in the block.
void ExpectLines(const QString& block, const char* lines) {
    for (const QString& line : QString::fromUtf8(lines).split(QLatin1Char('\n')))
        QVERIFY2(block.contains(line + QLatin1Char('\n')),
                 qPrintable(line + QStringLiteral(" in\n") + block));
}

QString Write(const QTemporaryDir& dir, const QString& name, const QString& text) {
    const QString path = dir.filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(text.toUtf8());
    return path;
}

// A NULL (unquoted \N) is an invalid QVariant, so that it never equals the text "\N".
QVariant CellValue(const CsvCell& cell) {
    return !cell.quoted && cell.text == QLatin1String("\\N") ? QVariant() : QVariant(cell.text);
}

// Rows of parsed CSV as column name (lower case) to cell value.
QList<QHash<QString, QVariant>> ByName(const QString& csv) {
    const std::vector<CsvRow> rows = ParseCsv(csv);
    QList<QHash<QString, QVariant>> result;
    for (std::size_t r = 1; r < rows.size(); ++r) {
        QHash<QString, QVariant> row;
        for (std::size_t c = 0; c < rows[r].size() && c < rows[0].size(); ++c)
            row.insert(rows[0][c].text.toLower(), CellValue(rows[r][c]));
        result << row;
    }
    return result;
}

// What export gives for a column of an input row: a missing column its empty or zero value,
// a yes/no word yes or no, anything else what was written.
QVariant Exported(const ColumnSpec& column, const QHash<QString, QVariant>& row) {
    const QString key = column.name.toLower();
    if (!row.contains(key)) {
        if (column.type == ColumnType::Text)
            return QString();
        return column.type == ColumnType::YesNo ? QStringLiteral("no") : QStringLiteral("0");
    }
    const QVariant cell = row.value(key);
    if (column.type != ColumnType::YesNo || !cell.isValid())
        return cell;
    const QStringList yes{QStringLiteral("1"), QStringLiteral("-1"), QStringLiteral("true"),
                          QStringLiteral("yes"), QStringLiteral("on")};
    return yes.contains(cell.toString().toLower()) ? QStringLiteral("yes") : QStringLiteral("no");
}

// For files made to try the writer or the reader: they needn't be fit to run.
const QString kNoCheck = QStringLiteral("--no-check");

// The cells of one column of exported CSV, from the second row on.
QStringList ColumnOf(const QString& csv, const QString& column) {
    QStringList cells;
    for (const auto& row : ByName(csv))
        cells << row.value(column.toLower()).toString();
    return cells;
}

// Each of `cells` ("column=a;b;c") against that column of the file exported back to CSV.
void CompareExportedColumns(const QString& file, const QStringList& cells) {
    const Run exported = RunDef({QStringLiteral("export"), file});
    for (const QString& expected : cells) {
        const QString column = expected.section(QLatin1Char('='), 0, 0);
        QCOMPARE(ColumnOf(exported.out, column).join(QLatin1Char(';')),
                 expected.section(QLatin1Char('='), 1));
    }
}

} // namespace

class TestCorvaneDef : public QObject {
    Q_OBJECT
private slots:
    void createThenExportGivesTheRowsBack_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("csv");
        QTest::newRow("questionnaire")
            << QStringLiteral("a.que")
            << QStringLiteral(
                   "VARIABLENAME,questionNumber,questiontype,QuestionWording,"
                   "parameters,writedata,WriteRT,writeText,GoBack,wgr,textlabel1,skip1\r\n"
                   "q1,1,Scale Response,\"Sure, or \"\"quite\"\" sure?\",\"(p5,d2)\","
                   "1,0,true,yes,-3,\\N,\"\\N\"\r\n"
                   "q2,1.5,Text,\"two lines\nand \"\"more\"\"\r\nthree\",none,TRUE,off,"
                   "0,no,1.5,Größe ✓ 日本, padded \n"
                   "q3,-3,Text,\\N,,-1,\\N,false,on,\\N,\"\",\" \"\n");
        QTest::newRow("experiment")
            << QStringLiteral("b.exp")
            << QStringLiteral("FILE,condition,Position,parameters,bgr\n"
                              "intro.que,A,1,\"(l1,t2)\",\\N\n"
                              "\"a,b.que\",\"\\N\",-3,\"say \"\"hi\"\"\",1.5\n"
                              "ünïcode.exp,\\N,\\N,\"x\ny\",\n");
    }

    void createThenExportGivesTheRowsBack() {
        QFETCH(QString, name);
        QFETCH(QString, csv);
        QTemporaryDir dir;
        const QString first = dir.filePath(name);
        const QString second = dir.filePath(QStringLiteral("again-") + name);
        // The rows are made up to try the writer: what they would do in a run isn't checked.
        const Run made = RunDef(
            {QStringLiteral("create"), first, Write(dir, QStringLiteral("in.csv"), csv), kNoCheck});
        QVERIFY2(made.status == 0, qPrintable(made.err));
        const Run exported = RunDef({QStringLiteral("export"), first});
        QCOMPARE(exported.status, 0);
        const Run madeAgain =
            RunDef({QStringLiteral("create"), second,
                    Write(dir, QStringLiteral("out.csv"), exported.out), kNoCheck});
        QCOMPARE(madeAgain.status, 0);
        // An exported file names every column: nothing is filled in.
        QVERIFY2(!madeAgain.out.contains(QLatin1String("no column")), qPrintable(madeAgain.out));
        const Run again = RunDef({QStringLiteral("export"), second});
        QCOMPARE(again.status, 0);
        QCOMPARE(again.out, exported.out);

        // Every known column, in the fixed order.
        const auto& columns = Table1Columns(KindOfFile(name));
        QStringList expectedHeader;
        for (const ColumnSpec& column : columns)
            expectedHeader << column.name;
        QCOMPARE(exported.out.section(QLatin1Char('\n'), 0, 0),
                 expectedHeader.join(QLatin1Char(',')));

        const auto input = ByName(csv);
        const auto output = ByName(exported.out);
        QCOMPARE(output.size(), input.size());
        for (qsizetype r = 0; r < input.size(); ++r) {
            for (const ColumnSpec& column : columns) {
                const QVariant cell = output[r].value(column.name.toLower());
                QVERIFY2(cell == Exported(column, input[r]),
                         qPrintable(QStringLiteral("row %1, %2: '%3'")
                                        .arg(r + 1)
                                        .arg(column.name, cell.toString())));
            }
        }
    }

    void versionOfAQuestionnaire_data() {
        QTest::addColumn<QStringList>("flags");
        QTest::addColumn<double>("version"); // 0: no QuestionnaireInfo
        QTest::addColumn<bool>("goBackRead");
        QTest::newRow("default") << QStringList() << 4.0 << true;
        QTest::newRow("3") << Args("--version 3") << 3.0 << false;
        QTest::newRow("4.5") << Args("--version 4.5") << 4.5 << true;
        QTest::newRow("none") << Args("--version none") << 0.0 << false;
    }

    void versionOfAQuestionnaire() {
        QFETCH(QStringList, flags);
        QFETCH(double, version);
        QFETCH(bool, goBackRead);
        QTemporaryDir dir;
        const QString que = dir.filePath(QStringLiteral("v.que"));
        const QString csv = Write(dir, QStringLiteral("v.csv"),
                                  QStringLiteral("questionnumber,VariableName,GoBack\n1,a,yes\n"));
        QCOMPARE(RunDef(QStringList{QStringLiteral("create"), que, csv, kNoCheck} + flags).status,
                 0);
        const auto stored = ReadQuestionnaireVersion(que);
        QCOMPARE(stored.has_value(), version != 0.0);
        if (stored)
            QCOMPARE(stored->ToNumber(), version);
        // GoBack is only read from version 4 on.
        const Run shown = RunDef({QStringLiteral("show"), que});
        QCOMPARE(shown.status, 0);
        QVERIFY(shown.out.contains(goBackRead ? QLatin1String("may go back: yes")
                                              : QLatin1String("may go back: no")));
    }

    void badInputNamesLineAndColumn_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("csv");
        QTest::addColumn<QString>("message"); // after FROM.csv:, LINE:COLUMN: at least
        const QString head = QStringLiteral("questionnumber,QuestionWording,WriteRT\n");
        const auto add = [&](const char* tag, const char* name, const QString& csv,
                             const QString& message) {
            QTest::newRow(tag) << QString::fromLatin1(name) << csv << message;
        };
        const QString questionnaireColumns = QStringLiteral(
            "; the columns are questionnumber, QuestionType, QuestionWording, VariableName, "
            "FileName, Parameters, Backimage, backsound, Backvideo, WGR, BGR, WriteData, WriteRT, "
            "WriteText, omitconditions, GoBack, textlabel1 to textlabel12, pointlabel1 to "
            "pointlabel12, skip1 to skip12\n");
        add("misspelt flag", "x.que", QStringLiteral("questionnumber,VariableName,WriteDta\n"),
            "1:3: 'WriteDta' is not a column of a questionnaire file's Table1 (did you mean "
            "WriteData?)" +
                questionnaireColumns);
        add("another case, one letter more", "x.que", QStringLiteral("skip13\n"),
            "1:1: 'skip13' is not a column of a questionnaire file's Table1 (did you mean "
            "skip1?)" +
                questionnaireColumns);
        add("unknown column, nothing near", "x.exp", QStringLiteral("file,Colour\n"),
            "1:2: 'Colour' is not a column of an experiment file's Table1; the columns are "
            "Condition, position, file, Backimage, Backvideo, backsound, WGR, BGR, Parameters\n");
        add("long value quoted short", "x.que",
            QStringLiteral("questionnumber,") + QString(200, QLatin1Char('x')) + "\n",
            "1:2: '" + QString(77, QLatin1Char('x')) +
                "...' is not a column of a questionnaire file's");
        add("column twice", "x.que", QStringLiteral("questionnumber,QUESTIONNUMBER\n"), "1:2: ");
        add("empty file", "x.que", QString(), "1:1: ");
        add("questionnumber", "x.que", head + QStringLiteral("1,a,yes\none,b,no\n"), "3:1: ");
        add("position", "x.exp", QStringLiteral("file,position\na,1\nb,2x\n"), "3:2: ");
        add("yes/no", "x.que", head + QStringLiteral("1,a,yes\n2,b,maybe\n"), "3:3: ");
        add("unclosed quote", "x.que", head + QStringLiteral("1,a,yes\n2,\"open,no\n3,c,no\n"),
            "3:2: ");
        add("cell too many", "x.que", head + QStringLiteral("1,a,yes,no\n"), "2:4: ");
        add("quote in plain cell", "x.que", head + QStringLiteral("1,say \"hi\",no\n"), "2:2: ");
        add("text after quote", "x.que", head + QStringLiteral("1,\"a\"b,no\n"), "2:2: ");
        add("after a multi-line cell", "x.que",
            head + QStringLiteral("1,\"two\r\nthree\nfour\",yes\r\n\n2,x,perhaps\n"), "6:3: ");
        add("after a multi-line number", "x.exp",
            QStringLiteral("Parameters,position\r\"a\rb\",1\r\"c\",x\r"), "4:2: ");
    }

    void badInputNamesLineAndColumn() {
        QFETCH(QString, name);
        QFETCH(QString, csv);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const QString from = Write(dir, QStringLiteral("from.csv"), csv);
        const Run run = RunDef({QStringLiteral("create"), dir.filePath(name), from});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.startsWith(from + QLatin1Char(':') + message), qPrintable(run.err));
        QCOMPARE(run.err.count(QLatin1Char('\n')), 1);
        QVERIFY(run.err.endsWith(QLatin1Char('\n')));
        QVERIFY(run.err.size() > from.size() + 10); // a message follows the place
        // Neither the file nor a half-built one is left behind.
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("from.csv")});
    }

    void showListsWhatTheQuestionnaireReadsInto() {
        QTemporaryDir dir;
        const QString que = dir.filePath(QStringLiteral("s.que"));
        const QString csv = QStringLiteral(
            "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,WriteData,"
            "omitconditions,textlabel1,pointlabel1,skip1,textlabel2,pointlabel2,skip2,"
            "textlabel3,pointlabel3,skip3\n"
            "2,Text,none,info,(o0),no,,,,q4,,,,,,\n"
            "1,Scale Response,How sure?,sure,\"(p5,d2,s7)\",yes,\"(a,b)\",none,Low,q3,High,"
            "NONE,none,none,none,none\n");
        QCOMPARE(RunDef({QStringLiteral("create"), que, Write(dir, QStringLiteral("s.csv"), csv),
                         kNoCheck})
                     .status,
                 0);
        const Run plain = RunDef({QStringLiteral("show"), que});
        QCOMPARE(plain.status, 0);
        QVERIFY(plain.out.startsWith(QStringLiteral("questionnaire \"") + que +
                                     QStringLiteral("\": 2 items\n")));
        const QStringList items = plain.out.split(QStringLiteral("item "));
        QCOMPARE(items.size(), 3);
        ExpectLines(items[1], "1: \"scale response\", variable \"sure\"\n"
                              "  wording: \"How sure?\"\n"
                              "  parameters: \"5\"\n"
                              "  duration ms: 2000\n"
                              "  scale step (s): 5\n"
                              "  label 1: text \"\", button \"Low\", skip \"q3\"\n"
                              "  label 2: text \"High\", button \"\", skip \"none\"");
        ExpectLines(items[2], "2: \"text\", variable \"info\"\n"
                              "  wording: \" \"\n"
                              "  response delay (o): 1\n"
                              "  skip: \"q4\"");
        QVERIFY(items[1].contains(QLatin1String("write data yes")));
        QVERIFY(items[2].contains(QLatin1String("write data no")));
        QVERIFY(!items[1].contains(QLatin1String("label 3")));
        QVERIFY(!plain.out.contains(QLatin1String("omitted")));
        QVERIFY(plain.out.endsWith(QLatin1String("order drawn: 1 2\n")));

        const Run inB = RunDef(
            {QStringLiteral("show"), que, QStringLiteral("--condition"), QStringLiteral("B")});
        QCOMPARE(inB.status, 0);
        QCOMPARE(inB.out.count(QLatin1String("omitted in this condition")), 1);
        QVERIFY(inB.out.split(QStringLiteral("item "))[1].contains(QLatin1String("omitted")));
        const Run inC = RunDef(
            {QStringLiteral("show"), que, QStringLiteral("--condition"), QStringLiteral("c")});
        QVERIFY(inC.status == 0 && !inC.out.contains(QLatin1String("omitted")));
    }

    void unreadableFilesGiveOneLine() {
        QTemporaryDir dir;
        const QString gone = dir.filePath(QStringLiteral("gone.que"));
        const QString junk = Write(dir, QStringLiteral("junk.que"), QStringLiteral("not a db\n"));
        const QString csv = Write(dir, QStringLiteral("ok.csv"), QStringLiteral("file\na\n"));
        const QString show = QStringLiteral("show"), exp = QStringLiteral("export");
        const QString create = QStringLiteral("create");
        const QList<QStringList> runs{{show, gone},
                                      {show, junk},
                                      {exp, gone},
                                      {exp, junk},
                                      {create, dir.filePath(QStringLiteral("made.exp")),
                                       dir.filePath(QStringLiteral("x.csv"))},
                                      {create, dir.filePath(QStringLiteral("made.txt")), csv}};
        for (const QStringList& args : runs) {
            const Run run = RunDef(args);
            QCOMPARE(run.status, 1);
            QCOMPARE(run.err.count(QLatin1Char('\n')), 1);
            // The line names the file at fault: the CSV that is missing, else the first file.
            QVERIFY2(run.err.startsWith(args.at(1) + QLatin1Char(':')) ||
                         run.err.startsWith(args.last() + QLatin1Char(':')),
                     qPrintable(run.err));
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files),
                 (QStringList{QStringLiteral("junk.que"), QStringLiteral("ok.csv")}));
    }

    void cellFaultsNameFileRowAndColumn_data() {
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("sql"); // run on the made file, for cells no CSV can make
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("column");
        QTest::newRow("NULL") << "7,Scale Response,\\N,v,(p5),no,0" << QString()
                              << "error 94, Invalid use of Null"
                              << "QuestionWording";
        QTest::newRow("parameter list")
            << "7,Scale Response,How?,v,),no,0" << QString() << "error 5, "
            << "Parameters";
        QTest::newRow("overflow") << "7,Scale Response,How?,v,(p5),no,99999" << QString()
                                  << "error 6, Overflow"
                                  << "WGR";
        QTest::newRow("type mismatch")
            << "7,Scale Response,How?,v,(p5),no,0"
            << "UPDATE Table1 SET WriteData = 'maybe' WHERE questionnumber = 7"
            << "error 13, Type mismatch"
            << "WriteData";
    }
    void cellFaultsNameFileRowAndColumn() {
        QFETCH(QString, row);
        QFETCH(QString, sql);
        QFETCH(QString, fault);
        QFETCH(QString, column);
        QTemporaryDir dir;
        const QString que = dir.filePath(QStringLiteral("faulty.que"));
        const QString csv =
            QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName,"
                           "Parameters,WriteData,WGR\n1,Scale Response,Fine,f,(p5),no,0\n") +
            row + QLatin1Char('\n');
        QCOMPARE(RunDef({QStringLiteral("create"), que, Write(dir, QStringLiteral("f.csv"), csv),
                         kNoCheck})
                     .status,
                 0);
        if (!sql.isEmpty()) {
            QProcess sqlite;
            sqlite.start(QStringLiteral("/usr/bin/sqlite3"), {que, sql});
            QVERIFY(sqlite.waitForFinished(10000) && sqlite.exitCode() == 0);
        }
        const Run run = RunDef({QStringLiteral("show"), que});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.startsWith(que + QStringLiteral(": ") + fault), qPrintable(run.err));
        QVERIFY2(run.err.endsWith(QStringLiteral(" in 'faulty.que', the row with questionnumber 7, "
                                                 "column ") +
                                  column + QLatin1Char('\n')),
                 qPrintable(run.err));
    }

    void csvEncodingsAreReadOrNamed_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("refusal"); // empty when the file is read
        const QString text = QStringLiteral("questionnumber,QuestionWording\n1,Caf\u00e9 \u2713\n");
        const auto utf16 = [&](bool bigEndian, bool mark) {
            QByteArray bytes;
            if (mark)
                bytes += bigEndian ? QByteArray("\xFE\xFF") : QByteArray("\xFF\xFE");
            for (const QChar c : text) {
                const char high = char(c.unicode() >> 8), low = char(c.unicode() & 0xFF);
                bytes += bigEndian ? QByteArray{&high, 1} + QByteArray{&low, 1}
                                   : QByteArray{&low, 1} + QByteArray{&high, 1};
            }
            return bytes;
        };
        QTest::newRow("UTF-8") << text.toUtf8() << QString();
        QTest::newRow("UTF-8 with mark") << QByteArray("\xEF\xBB\xBF") + text.toUtf8() << QString();
        QTest::newRow("UTF-16 LE with mark") << utf16(false, true) << QString();
        QTest::newRow("UTF-16 BE with mark") << utf16(true, true) << QString();
        QTest::newRow("UTF-16 LE without mark") << utf16(false, false) << QString();
        QTest::newRow("UTF-32") << QByteArray("\xFF\xFE\x00\x00q\x00\x00\x00", 8)
                                << QStringLiteral("UTF-32");
        QTest::newRow("a code page") << QByteArray("questionnumber,QuestionWording\n1,Caf\xE9\n")
                                     << QStringLiteral("not UTF-8 or UTF-16");
    }
    void csvEncodingsAreReadOrNamed() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, refusal);
        QTemporaryDir dir;
        const QString from = dir.filePath(QStringLiteral("enc.csv"));
        QFile file(from);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        const QString que = dir.filePath(QStringLiteral("enc.que"));
        const Run made = RunDef({QStringLiteral("create"), que, from, kNoCheck});
        if (!refusal.isEmpty()) {
            QCOMPARE(made.status, 1);
            QVERIFY2(made.err.startsWith(from + QStringLiteral(": ")) && made.err.contains(refusal),
                     qPrintable(made.err));
            QVERIFY(!QFile::exists(que));
            return;
        }
        QVERIFY2(made.status == 0, qPrintable(made.err));
        const Run back = RunDef({QStringLiteral("export"), que});
        QVERIFY2(back.out.contains(QStringLiteral(",Caf\u00e9 \u2713,")), qPrintable(back.out));
    }

    void missingColumnsTakeTheTemplatesValues_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("csv");
        QTest::addColumn<QString>("notes");     // lines on standard output, after "FROM.csv: "
        QTest::addColumn<QStringList>("cells"); // COLUMN=CELL;CELL... as exported
        QTest::newRow("questionnaire without flags")
            << "q.que"
            << "QuestionType,QuestionWording,VariableName,Parameters\n"
               "scale response,Calm?,calm,(p5)\nscale response,Alert?,alert,(p5)\n"
            << "no column questionnumber, filled with the row's number (1, 2, 3 ...)\n"
               "no column WriteData, filled with yes\n"
               "no column WriteRT, filled with yes\n"
               "no column WriteText, filled with no\n"
               "no column GoBack, filled with no\n"
               "no columns textlabel1 to textlabel12, filled with empty\n"
               "no columns skip1 to skip12, filled with empty"
            << QStringList{"questionnumber=1;2", "WriteData=yes;yes", "WriteRT=yes;yes",
                           "WriteText=no;no", "WGR=0;0"};
        QTest::newRow("questionnaire with some flags")
            << "q.que"
            << "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,WriteData\n"
               "7,scale response,Calm?,calm,(p5),no\n"
            << "no column WriteRT, filled with yes"
            << QStringList{"questionnumber=7", "WriteData=no", "WriteRT=yes"};
        QTest::newRow("experiment without condition and position")
            << "e.exp"
            << "file\nq.que\nq.que\n"
            << "no column Condition, filled with 1\n"
               "no column position, filled with the row's number (1, 2, 3 ...)\n"
               "no column WGR, filled with 0"
            << QStringList{"Condition=1;1", "position=1;2", "BGR=0;0"};
    }
    void missingColumnsTakeTheTemplatesValues() {
        QFETCH(QString, name);
        QFETCH(QString, csv);
        QFETCH(QString, notes);
        QFETCH(QStringList, cells);
        QTemporaryDir dir;
        // The experiments name a questionnaire that is there, so that the check finds no error.
        QCOMPARE(RunDef({QStringLiteral("create"), dir.filePath(QStringLiteral("q.que")),
                         Write(dir, QStringLiteral("q.csv"),
                               QStringLiteral("questionnumber,QuestionType,QuestionWording,"
                                              "VariableName,Parameters\n1,scale response,How?,"
                                              "how,(p5)\n"))})
                     .status,
                 0);
        const QString from = Write(dir, QStringLiteral("in.csv"), csv);
        const Run made = RunDef({QStringLiteral("create"), dir.filePath(name), from});
        QVERIFY2(made.status == 0, qPrintable(made.err + made.out));
        for (const QString& note : notes.split(QLatin1Char('\n')))
            QVERIFY2(made.out.contains(from + QStringLiteral(": ") + note + QLatin1Char('\n')),
                     qPrintable(note + QStringLiteral(" in\n") + made.out));
        CompareExportedColumns(dir.filePath(name), cells);
    }

    void semicolonFilesAreRead_data() {
        QTest::addColumn<QByteArray>("csv");
        QTest::addColumn<bool>("semicolons");   // the note that says so
        QTest::addColumn<QStringList>("cells"); // COLUMN=CELL;CELL... as exported
        QTest::newRow("plain") << QByteArray("questionnumber;QuestionType;QuestionWording;"
                                             "VariableName;Parameters\r\n"
                                             "1;scale response;Calm?;calm;(p5)\r\n")
                               << true
                               << QStringList{"QuestionWording=Calm?", "VariableName=calm",
                                              "Parameters=(p5)"};
        QTest::newRow("quoted cells, decimal comma")
            << QByteArray(
                   "\xEF\xBB\xBFquestionnumber;\"QuestionWording\";VariableName;"
                   "QuestionType;Parameters\n"
                   "1,5;\"Calm; or \"\"cool\"\", or not?\";calm;scale response;\"(p5,d2)\"\n")
            << true
            << QStringList{"questionnumber=1.5", "QuestionWording=Calm; or \"cool\", or not?",
                           "Parameters=(p5,d2)"};
        QTest::newRow("commas, a semicolon in a cell")
            << QByteArray("questionnumber,QuestionType,QuestionWording,VariableName,Parameters\n"
                          "1,scale response,Calm; or not?,calm,(p5)\n")
            << false << QStringList{"QuestionWording=Calm; or not?"};
    }
    void semicolonFilesAreRead() {
        QFETCH(QByteArray, csv);
        QFETCH(bool, semicolons);
        QFETCH(QStringList, cells);
        QTemporaryDir dir;
        const QString from = dir.filePath(QStringLiteral("sc.csv"));
        QFile file(from);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(csv) == csv.size());
        file.close();
        const QString que = dir.filePath(QStringLiteral("sc.que"));
        const Run made = RunDef({QStringLiteral("create"), que, from});
        QVERIFY2(made.status == 0, qPrintable(made.err + made.out));
        QCOMPARE(made.out.contains(from + QStringLiteral(": separated by semicolons")), semicolons);
        CompareExportedColumns(que, cells);
    }

    void createChecksTheMadeFile_data() {
        QTest::addColumn<QString>("rows");
        QTest::addColumn<QStringList>("flags");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("finding"); // a line of the check's, after "FILE:"
        QTest::addColumn<QString>("summary"); // empty: no check ran
        QTest::newRow("clean") << "1,scale response,Calm?,calm\n"
                               << QStringList() << 0 << QString()
                               << "the check found 0 error(s), 0 warning(s)";
        QTest::newRow("a warning")
            << "1,scale response,Calm <nobody>?,calm\n"
            << QStringList() << 0 << "1:QuestionWording: warning: <nobody> quotes no variable"
            << "the check found 0 error(s), 1 warning(s)";
        QTest::newRow("an error")
            << "1,scale response,Calm?,calm\n2,scale response,Alert?,calm\n"
            << QStringList() << 2
            << "2:VariableName: error: 'calm' is also the VariableName of row 1"
            << "the check found 1 error(s), 0 warning(s)";
        QTest::newRow("an error, not checked")
            << "1,scale response,Calm?,calm\n2,scale response,Alert?,calm\n"
            << QStringList{kNoCheck} << 0 << QString() << QString();
    }
    void createChecksTheMadeFile() {
        QFETCH(QString, rows);
        QFETCH(QStringList, flags);
        QFETCH(int, status);
        QFETCH(QString, finding);
        QFETCH(QString, summary);
        QTemporaryDir dir;
        const QString que = dir.filePath(QStringLiteral("c.que"));
        const QString from = Write(
            dir, QStringLiteral("c.csv"),
            QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName\n") + rows);
        const Run made = RunDef(QStringList{QStringLiteral("create"), que, from} + flags);
        QCOMPARE(made.status, status);
        QVERIFY(QFile::exists(que)); // made in every case: the check only reports
        if (!finding.isEmpty())
            QVERIFY2(made.out.contains(QLatin1Char('\n') + que + QLatin1Char(':') + finding),
                     qPrintable(made.out));
        QCOMPARE(made.out.count(QLatin1String(": warning: ")) +
                     made.out.count(QLatin1String(": error: ")),
                 finding.isEmpty() ? 0 : 1);
        if (summary.isEmpty())
            QVERIFY(!made.out.contains(QLatin1String("the check")));
        else
            QVERIFY2(made.out.endsWith(QStringLiteral("corvane-def create: made ") + que +
                                       QStringLiteral("; ") + summary + QLatin1Char('\n')),
                     qPrintable(made.out));
        QCOMPARE(made.err.isEmpty(), status == 0);
        if (status == 2)
            QCOMPARE(made.err, que +
                                   QStringLiteral(": made, but the check found errors; fix them "
                                                  "and run corvane-def check ") +
                                   que + QLatin1Char('\n'));
    }

    void usageErrorsExitWith64_data() {
        QTest::addColumn<QString>("words");
        QTest::addColumn<QString>("problem"); // the first line on standard error
        const auto add = [](const char* words, const char* problem) {
            QTest::newRow(*words ? words : "nothing") << QString(words) << QString(problem);
        };
        add("", "a command is needed");
        add("frobnicate a.que", "unknown command 'frobnicate'");
        add("create a.que", "create takes OUT and FROM.csv");
        add("create a.que a.csv --version", "--version needs a value: a number or none");
        add("create a.que a.csv --version four", "--version takes a number or none, not 'four'");
        add("create a.que a.csv --overwrite", "unknown option '--overwrite'");
        add("export", "export takes one FILE");
        add("export a.exp b.exp", "export takes one FILE");
        add("show", "show takes one FILE.que");
        add("show a.que --condition", "--condition and --seed need a value");
        add("show a.que --seed x", "--seed takes a whole number, not 'x'");
        add("check a.exp -q", "unknown option '-q'");
        add("check", "check takes one or more experiments or questionnaires");
    }
    void usageErrorsExitWith64() {
        QFETCH(QString, words);
        QFETCH(QString, problem);
        QTemporaryDir dir;
        const Run run = RunDef(Args(words.toUtf8().constData()), dir.path());
        QCOMPARE(run.status, 64);
        QCOMPARE(run.err.section(QLatin1Char('\n'), 0, 0),
                 QStringLiteral("corvane-def: ") + problem);
        QVERIFY2(run.err.endsWith(QStringLiteral("Try 'corvane-def --help' for more.\n")),
                 qPrintable(run.err));
        // The usage of the command at hand is shown, the others' not.
        const QString command = words.section(QLatin1Char(' '), 0, 0);
        if (command == QLatin1String("create") || command == QLatin1String("show"))
            QVERIFY(
                run.err.contains(QStringLiteral("  corvane-def ") + command + QLatin1Char(' ')));
        QVERIFY(!run.err.contains(QLatin1String("corvane-def export FILE")) ||
                command == QLatin1String("export"));
        QVERIFY(run.out.isEmpty());
        QVERIFY(QDir(dir.path()).isEmpty());
    }

    void helpAndVersionAnswer_data() {
        QTest::addColumn<QString>("words");
        QTest::addColumn<QStringList>("shown");    // on standard output
        QTest::addColumn<QStringList>("notShown"); // not on it
        const QStringList commands{"corvane-def create ", "corvane-def export ",
                                   "corvane-def show ", "corvane-def check "};
        QTest::newRow("--version")
            << "--version" << QStringList{"corvane-def " CORVANE_VERSION "\n"} << commands;
        QTest::newRow("--help") << "--help" << commands + QStringList{"status 64"} << QStringList();
        QTest::newRow("-h") << "-h" << commands << QStringList();
        QTest::newRow("create --help")
            << "create --help" << QStringList{"corvane-def create ", "WriteData and WriteRT yes"}
            << QStringList{"corvane-def show "};
        QTest::newRow("create, help among other words")
            << "create a.que a.csv -h" << QStringList{"corvane-def create "}
            << QStringList{"corvane-def check "};
        QTest::newRow("check --help") << "check --help" << QStringList{"corvane-def check "}
                                      << QStringList{"corvane-def create "};
    }
    void helpAndVersionAnswer() {
        QFETCH(QString, words);
        QFETCH(QStringList, shown);
        QFETCH(QStringList, notShown);
        QTemporaryDir dir;
        const Run run = RunDef(Args(words.toUtf8().constData()), dir.path());
        QCOMPARE(run.status, 0);
        QVERIFY(run.err.isEmpty());
        for (const QString& text : shown)
            QVERIFY2(run.out.contains(text), qPrintable(text + QStringLiteral(" in\n") + run.out));
        for (const QString& text : notShown)
            QVERIFY2(!run.out.contains(text), qPrintable(text));
        QVERIFY(QDir(dir.path()).isEmpty()); // nothing was made
    }

    void parserEdgeCases() {
        // A byte-order mark is not part of the first name; blank lines still count as lines.
        const auto rows = ParseCsv(QStringLiteral("\uFEFFa,b\n\n\n\"\",c,\n"));
        QCOMPARE(rows.size(), std::size_t(2));
        QCOMPARE(rows[0][0].text, QStringLiteral("a"));
        QCOMPARE(rows[1].size(), std::size_t(3)); // a trailing comma is an empty last cell
        QVERIFY(rows[1][0].quoted && rows[1][0].text.isEmpty());
        QCOMPARE(rows[1][2].line, 4);
        QCOMPARE(rows[1][2].column, 3);

        QCOMPARE(CsvField(QStringLiteral("plain")), QStringLiteral("plain"));
        QCOMPARE(CsvField(QStringLiteral("plain"), true), QStringLiteral("\"plain\""));
        QCOMPARE(CsvField(QStringLiteral("say \"hi\"")), QStringLiteral("\"say \"\"hi\"\"\""));
        const std::vector<QString> awkward{QStringLiteral("a,b"),    QStringLiteral(" lead"),
                                           QStringLiteral("trail "), QStringLiteral("x\r\ny"),
                                           QStringLiteral("\"q\""),  QString()};
        std::vector<QString> fields;
        for (const QString& text : awkward)
            fields.push_back(CsvField(text));
        const auto back = ParseCsv(CsvLine(fields));
        QCOMPARE(back.size(), std::size_t(1));
        QCOMPARE(back[0].size(), awkward.size());
        for (std::size_t c = 0; c < awkward.size(); ++c)
            QCOMPARE(back[0][c].text, awkward[c]);
    }
};

QTEST_GUILESS_MAIN(TestCorvaneDef)
#include "test_corvane_def.moc"
