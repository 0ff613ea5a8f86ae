// The definition-file store: finding files as definitions name them, the cursor and cell rules
// the loaders rely on, the orders the readers return, and refusing hostile or damaged files with
// an error that names the file instead of crashing or running anything from them.
#include "core/definition_fixtures.h"
#include "definitions/definition_store.h"
#include "state/error.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QtTest>
#include <functional>
#include <optional>
#include <vector>

using namespace corvane;
using namespace corvane::test;

namespace {

template <typename F> std::optional<CorvaneError> Caught(F&& f) {
    try {
        f();
    } catch (const CorvaneError& error) {
        return error;
    }
    return std::nullopt;
}

// Hostile files are made with the command-line tool, so that nothing in Corvane shapes them.
std::optional<QString> Sqlite(const QString& path, const QString& sql) {
    QProcess process;
    process.start("/usr/bin/sqlite3", {path, sql});
    if (!process.waitForFinished(10000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return std::nullopt;
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}
bool RunSqlite(const QString& path, const QString& sql) {
    return Sqlite(path, sql).has_value();
}

QString Experiment() {
    return QStringLiteral("Condition,position,file,Backimage\n"
                          "a,10,ten.que,\\N\n"
                          "b,1,b1.que,x.png\n"
                          "\" A \",9,nine.que,x.png\n"
                          "A,1,one.que,x.png\n"
                          "a,2,\"\\N\",x.png\n");
}

// A questionnaire large enough to span several pages, so that cutting or flipping hits data.
QString Questionnaire() {
    QString csv = QuestionnaireHeader();
    for (int n : {10, 2, 1, 30, 20, 3}) {
        for (int k = 0; k < 8; ++k)
            csv += QString::number(n * 100 + k) + ",Radio,Wording " +
                   QString(200, QLatin1Char('w')) + ",v,,0,0,yes,yes,no,,no,l,p,,\n";
    }
    return csv;
}

QString CellText(const FieldValue& cell) {
    return cell.IsNull() ? "<null>" : cell.ToExportText();
}

// The rows of a set, cell by cell as text, NULL as "<null>".
QStringList CellTexts(const std::vector<std::vector<FieldValue>>& rows) {
    QStringList texts;
    for (const auto& row : rows) {
        QStringList cells;
        for (const FieldValue& cell : row)
            cells << CellText(cell);
        texts << cells.join(QLatin1Char('|'));
    }
    return texts;
}

// Question numbers that tie; TextNumbers() then mixes in texts of either case and an empty one.
QString TiedQuestionnaire() {
    QString csv = QuestionnaireHeader();
    int variable = 0;
    for (const char* number : {"3", "7", "1", "8", "3", "9", "1.5", "6", "5", "1", "10", "2"})
        csv += QLatin1String(number) + ",Radio,w,v" + QString::number(++variable) +
               ",(p2),0,0,yes,yes,no,,no,l,p,,\n";
    return csv;
}

QString TextNumbers() {
    return QStringLiteral("UPDATE Table1 SET questionnumber = CASE VariableName "
                          "WHEN 'v2' THEN 'b' WHEN 'v4' THEN 'A' WHEN 'v6' THEN NULL "
                          "WHEN 'v8' THEN 'a' WHEN 'v9' THEN 'B' ELSE questionnumber END;");
}
} // namespace

#define QVERIFY_RAISES(expression, expected)                                                       \
    do {                                                                                           \
        const auto caught_ = Caught([&] { (void)(expression); });                                  \
        QVERIFY2(caught_.has_value(), #expression " raised nothing");                              \
        QCOMPARE(caught_->number(), int(expected));                                                \
    } while (false)

class TestDefinitionStore : public QObject {
    Q_OBJECT
private slots:

    void missingFileIsNotFound() {
        QTemporaryDir dir;
        const QString path = dir.filePath("absent.exp");
        const auto error = Caught([&] { ReadExperimentRows(path); });
        QVERIFY(error && error->number() == ErrorNumber::DatabaseNotFound);
        QVERIFY2(error->description().contains(path), qPrintable(error->description()));
        QVERIFY_RAISES(ReadQuestionnaireRows(dir.filePath("absent.que")),
                       ErrorNumber::DatabaseNotFound);
    }

    void namesAreFoundWithoutRegardToCaseOrSeparator_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("exact") << "/Sub/q1.que";
        QTest::newRow("upper case") << "/SUB/Q1.QUE";
        QTest::newRow("backslashes") << "\\sub\\Q1.que";
    }
    void namesAreFoundWithoutRegardToCaseOrSeparator() {
        QFETCH(QString, name);
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir("Sub"));
        MakeDefinition(dir.filePath("Sub"), "q1.que",
                       QuestionnaireHeader() + QStringLiteral("1,Radio,Hi,v,,0,0,yes,yes,no,,no,"
                                                              "l,p,,\n"));
        const RecordSet rows = ReadQuestionnaireRows(dir.path() + name);
        QCOMPARE(rows.RecordCount(), 1);
        QCOMPARE(rows.Field("QuestionWording").ToText(), "Hi");
    }

    void noCurrentRecordOnEmptyResultOrPastTheEnd() {
        QTemporaryDir dir;
        const QString path = MakeDefinition(dir.path(), "e.exp", Experiment());
        RecordSet none = ReadConditionRows(path, "nothing");
        QCOMPARE(none.RecordCount(), 0);
        QVERIFY(none.Eof());
        QVERIFY_RAISES(none.MoveFirst(), ErrorNumber::NoCurrentRecord);
        QVERIFY_RAISES(none.MoveLast(), ErrorNumber::NoCurrentRecord);

        RecordSet rows = ReadExperimentRows(path);
        rows.MoveLast();
        QVERIFY(!rows.Eof());
        rows.MoveNext();
        QVERIFY(rows.Eof());
        QVERIFY_RAISES(rows.Field("file"), ErrorNumber::NoCurrentRecord);
        QVERIFY_RAISES(rows.MoveNext(), ErrorNumber::NoCurrentRecord);
        QVERIFY_RAISES(ReadConditionRows(path, "it's"), ErrorNumber::QuerySyntax);
    }

    // Two columns whose names differ only in case: every spelling finds the first of them.
    void aNameInAnyCaseFindsTheFirstColumnOfIt() {
        RecordSet rows("t.que", {"Name", "NAME", "other"},
                       {{FieldValue::FromText("first"), FieldValue::FromText("second"),
                         FieldValue::FromText("third")}});
        rows.MoveFirst();
        for (const char* name : {"Name", "NAME", "nAmE"})
            QCOMPARE(rows.Field(name).ToText(), "first");
        QCOMPARE(rows.Field("OTHER").ToText(), "third");
    }

    void fieldsByNameIgnoreCaseAndNullCannotBeConverted() {
        QTemporaryDir dir;
        RecordSet rows = ReadConditionRows(MakeDefinition(dir.path(), "e.exp", Experiment()), "a");
        rows.MoveLast(); // condition "a", position 10: its Backimage is \N
        QCOMPARE(rows.Field("FILE").ToText(), "ten.que");
        QCOMPARE(rows.Field("Position").ToNumber(), 10.0);
        const FieldValue& null = rows.Field("backIMAGE");
        QVERIFY(null.IsNull());
        QVERIFY_RAISES(null.ToText(), ErrorNumber::InvalidUseOfNull);
        QVERIFY_RAISES(null.ToNumber(), ErrorNumber::InvalidUseOfNull);
        QVERIFY_RAISES(null.ToBool(), ErrorNumber::InvalidUseOfNull);
        QVERIFY_RAISES(rows.Field("nosuchcolumn"), ErrorNumber::ItemNotFound);

        // A quoted \N is the text itself, not NULL.
        rows.MoveFirst();
        while (rows.Field("position").ToNumber() != 2.0)
            rows.MoveNext();
        QCOMPARE(rows.Field("file").ToText(), "\\N");
    }

    void experimentRowsAreInFileOrder() {
        QTemporaryDir dir;
        const QString path = MakeDefinition(
            dir.path(), "e.exp",
            QStringLiteral(
                "Condition,position,file\nx,1,b.que\nx,2,A.que\nx,3,c.que\nx,4,a.que\n"));
        RecordSet rows = ReadExperimentRows(path);
        QStringList seen;
        for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext())
            seen << rows.Field("file").ToText();
        // Case doesn't order, and equal names keep the order they were stored in.
        QCOMPARE(seen, QStringList({"A.que", "a.que", "b.que", "c.que"}));
    }

    void conditionRows_data() {
        QTest::addColumn<QString>("condition");
        QTest::addColumn<QList<int>>("positions");
        // " A " sorts before "a"/"A" by its leading blank; among equal conditions position orders
        // as a number (10 after 2).
        const QList<int> a{9, 1, 2, 10};
        QTest::newRow("lower") << "a" << a;
        QTest::newRow("blanks and upper") << " A " << a;
        QTest::newRow("other") << "  B" << QList<int>{1};
        QTest::newRow("none") << "c" << QList<int>{};
    }
    void conditionRows() {
        QFETCH(QString, condition);
        QFETCH(QList<int>, positions);
        QTemporaryDir dir;
        RecordSet rows =
            ReadConditionRows(MakeDefinition(dir.path(), "e.exp", Experiment()), condition);
        QList<int> seen;
        for (; !rows.Eof(); rows.MoveNext())
            seen << int(rows.Field("position").ToNumber());
        QCOMPARE(seen, positions);
    }

    void questionnaireRowsAsStoredAndInNumberOrder() {
        QTemporaryDir dir;
        const QString path = MakeDefinition(dir.path(), "q.que", Questionnaire());
        RecordSet stored = ReadQuestionnaireRows(path);
        RecordSet ordered = ReadQuestionnaireRowsInOrder(path);
        QCOMPARE(stored.RecordCount(), 48);
        QCOMPARE(ordered.RecordCount(), 48);
        QCOMPARE(stored.Field("questionnumber").ToNumber(), 1000.0);
        double last = -1;
        for (; !ordered.Eof(); ordered.MoveNext()) {
            const double number = ordered.Field("QUESTIONNUMBER").ToNumber();
            QVERIFY2(number > last, qPrintable(QString::number(number)));
            last = number;
        }
        QCOMPARE(last, 3007.0);
    }

    void rowReaderGivesTheRowsInNumberOrder_data() {
        QTest::addColumn<QString>("csv");
        QTest::addColumn<QString>("change"); // sqlite3 statements run on the made file
        QTest::newRow("numbers") << Questionnaire() << QString();
        QTest::newRow("ties") << TiedQuestionnaire() << QString();
        QTest::newRow("ties, texts and an empty number") << TiedQuestionnaire() << TextNumbers();
        QTest::newRow("a column named rowid")
            << TiedQuestionnaire()
            << TextNumbers() + QStringLiteral("ALTER TABLE Table1 ADD COLUMN RowId TEXT;"
                                              "UPDATE Table1 SET RowId = 'x' || rowid;");
        QTest::newRow("a table without rowids") << Questionnaire() << "without";
    }
    void rowReaderGivesTheRowsInNumberOrder() {
        QFETCH(QString, csv);
        QFETCH(QString, change);
        QTemporaryDir dir;
        const QString path = MakeDefinition(dir.path(), "q.que", csv);
        if (change == QLatin1String("without")) {
            QString create = Sqlite(path, "SELECT sql FROM sqlite_master WHERE name='Table1'")
                                 .value_or(QString());
            create.replace("Table1", "Keyed");
            create.chop(1);
            create += ", PRIMARY KEY (questionnumber)) WITHOUT ROWID";
            change = create + QStringLiteral("; INSERT INTO Keyed SELECT * FROM Table1;"
                                             "DROP TABLE Table1;"
                                             "ALTER TABLE Keyed RENAME TO Table1;");
        }
        if (!change.isEmpty())
            QVERIFY(RunSqlite(path, change));

        const RecordSet held = ReadQuestionnaireRowsInOrder(path);
        QuestionnaireRowReader reader(path);
        QCOMPARE(reader.RecordCount(), held.RecordCount());
        std::vector<std::vector<FieldValue>> read;
        while (reader.Next()) {
            QCOMPARE(reader.Row().Columns(), held.Columns());
            QCOMPARE(reader.Row().Field("QUESTIONNUMBER").IsNull(),
                     reader.Row().Rows().front().front().IsNull());
            read.push_back(reader.Row().Rows().front());
        }
        QCOMPARE(CellTexts(read), CellTexts(held.Rows()));
        QVERIFY(!reader.Next());
    }

    void rowsKeptWhileEachIsSeenInStoredOrder() {
        QTemporaryDir dir;
        const QString path = MakeDefinition(dir.path(), "q.que", TiedQuestionnaire());
        QVERIFY(RunSqlite(path, TextNumbers()));
        const RecordSet stored = ReadQuestionnaireRows(path);
        std::vector<std::vector<FieldValue>> seen;
        const RecordSet kept = ReadQuestionnaireRowsKeeping(
            path, {"variablename", "questionnumber"}, [&](const RecordSet& row) {
                QCOMPARE(row.RecordCount(), 1);
                seen.push_back(row.Rows().front());
            });
        QCOMPARE(CellTexts(seen), CellTexts(stored.Rows()));
        QCOMPARE(kept.Columns(), QStringList({"VariableName", "questionnumber"}));
        QCOMPARE(kept.RecordCount(), stored.RecordCount());
        RecordSet all = ReadQuestionnaireRows(path);
        for (RecordSet narrow = kept; !narrow.Eof(); narrow.MoveNext(), all.MoveNext()) {
            for (const QString& column : kept.Columns())
                QCOMPARE(CellText(narrow.Field(column)), CellText(all.Field(column)));
        }
    }

    void questionnaireVersion_data() {
        QTest::addColumn<QString>("made");
        QTest::addColumn<double>("version"); // below 0: no value
        QTest::newRow("whole") << "4" << 4.0;
        QTest::newRow("fraction") << "3.5" << 3.5;
        QTest::newRow("no info table") << "none" << -1.0;
        QTest::newRow("not a database") << "text" << -1.0;
        QTest::newRow("missing file") << "absent" << -1.0;
    }
    void questionnaireVersion() {
        QFETCH(QString, made);
        QFETCH(double, version);
        QTemporaryDir dir;
        const QString path = dir.filePath("v.que");
        if (made == QLatin1String("text"))
            WriteBytes(path, "questionnumber,QuestionType\n1,Radio\n");
        else if (made != QLatin1String("absent"))
            MakeDefinition(dir.path(), "v.que", Questionnaire(),
                           made == QLatin1String("none") ? std::nullopt
                                                         : std::optional<double>(made.toDouble()));
        std::optional<FieldValue> read;
        const auto error = Caught([&] { read = ReadQuestionnaireVersion(path); });
        QVERIFY2(!error, error ? qPrintable(error->description()) : "");
        QCOMPARE(read.has_value(), version >= 0);
        if (read)
            QCOMPARE(read->ToNumber(), version);
    }

    void hostileFilesAreRefusedByName_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("sql");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("mention");
        const auto row = [](const char* tag, const char* name, const char* how, const char* sql,
                            int number, const char* mention) {
            QTest::newRow(tag) << name << how << sql << number << mention;
        };
        using namespace ErrorNumber;
        row("empty", "e.exp", "empty", "", NotADefinitionFile, "");
        row("random bytes", "r.que", "random", "", NotADefinitionFile, "");
        row("plain text", "t.exp", "text", "", NotADefinitionFile, "");
        row("cut in half", "h.que", "truncate", "", DamagedDefinitionFile, "");
        row("wrong tables", "w.exp", "sql", "CREATE TABLE Items (file);", MissingTable, "Table1");
        row("missing column", "m.exp", "sql", "CREATE TABLE Table1 (Condition, position, file);",
            MissingColumn, "Backimage");
        row("questionnaire missing column", "m.que", "valid",
            "ALTER TABLE Table1 DROP COLUMN WriteRT;", MissingColumn, "WriteRT");
        row("trigger", "g.exp", "valid",
            "CREATE TABLE Log (x); CREATE TRIGGER t AFTER UPDATE ON Table1 "
            "BEGIN INSERT INTO Log VALUES (1); END;",
            UnsafeDefinitionFile, "trigger");
        row("view", "v.exp", "valid", "CREATE VIEW Shown AS SELECT * FROM Table1;",
            UnsafeDefinitionFile, "view");
        row("view named Table1", "n.que", "sql",
            "CREATE TABLE T (questionnumber); CREATE VIEW Table1 AS SELECT * FROM T;",
            UnsafeDefinitionFile, "view");
    }
    void hostileFilesAreRefusedByName() {
        QFETCH(QString, name);
        QFETCH(QString, how);
        QFETCH(QString, sql);
        QFETCH(int, number);
        QFETCH(QString, mention);
        QTemporaryDir dir;
        const QString path = dir.filePath(name);
        const bool questionnaire = KindOfFile(name) == DefinitionKind::Questionnaire;
        if (how == QLatin1String("empty")) {
            WriteBytes(path, QByteArray());
        } else if (how == QLatin1String("random")) {
            QRandomGenerator random(7);
            QByteArray bytes(8192, '\0');
            for (char& byte : bytes)
                byte = char(random.bounded(256));
            WriteBytes(path, bytes);
        } else if (how == QLatin1String("text")) {
            WriteBytes(path, "Condition,position,file\na,1,q.que\n");
        } else if (how == QLatin1String("truncate")) {
            MakeDefinition(dir.path(), name, Questionnaire());
            const QByteArray whole = ReadAll(path);
            WriteBytes(path, whole.left(whole.size() / 2));
        } else {
            if (how == QLatin1String("valid"))
                MakeDefinition(dir.path(), name, questionnaire ? Questionnaire() : Experiment());
            QVERIFY(RunSqlite(path, sql));
        }
        const QByteArray before = ReadAll(path);

        std::vector<std::function<void()>> readers;
        if (questionnaire)
            readers = {[&] { ReadQuestionnaireRows(path); },
                       [&] { ReadQuestionnaireRowsInOrder(path); }};
        else
            readers = {[&] { ReadExperimentRows(path); }, [&] { ReadConditionRows(path, "a"); }};
        for (const auto& reader : readers) {
            const auto error = Caught(reader);
            QVERIFY2(error, "the file was read");
            QCOMPARE(error->number(), number);
            QVERIFY2(error->description().contains(path), qPrintable(error->description()));
            QVERIFY2(error->description().contains(mention), qPrintable(error->description()));
        }
        QCOMPARE(ReadAll(path), before);
    }

    void flippedBytesAreReadOrRefused() {
        QTemporaryDir dir;
        const QString path = MakeDefinition(dir.path(), "f.que", Questionnaire());
        const QByteArray original = ReadAll(path);
        QRandomGenerator random(20240611);
        int read = 0;
        int refused = 0;
        for (int attempt = 0; attempt < 300; ++attempt) {
            QByteArray bytes = original;
            for (int flips = 1 + int(random.bounded(4)); flips > 0; --flips)
                bytes[random.bounded(int(bytes.size()))] ^= char(1 + random.bounded(255));
            WriteBytes(path, bytes);
            const QString where = "attempt " + QString::number(attempt);
            try {
                (void)CellTexts(ReadQuestionnaireRowsInOrder(path).Rows());
                (void)ReadQuestionnaireVersion(path);
                ++read;
            } catch (const CorvaneError& error) {
                ++refused;
                const QString text =
                    QString("%1: %2 %3").arg(where).arg(error.number()).arg(error.description());
                QVERIFY2(error.number() >= ErrorNumber::NotADefinitionFile &&
                             error.number() <= ErrorNumber::MissingColumn,
                         qPrintable(text));
                QVERIFY2(error.description().contains(path), qPrintable(text));
            } catch (const std::exception& other) {
                QFAIL(qPrintable(where + ": " + QString::fromUtf8(other.what())));
            }
        }
        QCOMPARE(read + refused, 300);
        QVERIFY2(refused > 0, "no damage was noticed at all");
    }

    void readingLeavesTheFileAsItWas_data() {
        QTest::addColumn<QString>("journal");
        QTest::newRow("rollback journal") << "DELETE";
        // A file saved elsewhere may be in write-ahead mode; reading it must leave nothing behind.
        QTest::newRow("write-ahead log") << "WAL";
    }
    void readingLeavesTheFileAsItWas() {
        QFETCH(QString, journal);
        QTemporaryDir dir;
        const QString path = MakeDefinition(dir.path(), "e.exp", Experiment());
        QVERIFY(RunSqlite(path, "PRAGMA journal_mode=" + journal + QLatin1Char(';')));
        const QStringList files = QDir(dir.path()).entryList(QDir::Files);
        const QByteArray before = ReadAll(path);
        QCOMPARE(ReadExperimentRows(path).RecordCount(), 5);
        QCOMPARE(ReadConditionRows(path, "b").RecordCount(), 1);
        VerifyDefinitionFile(path, DefinitionKind::Experiment);
        QCOMPARE(ReadAll(path), before);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), files);
    }

    void templateGetsTheFirstRowsFile() {
        QTemporaryDir dir;
        const QString original = MakeDefinition(
            dir.path(), "t.exp", "Condition,position,file\nx,1,zeta.que\nx,2,alpha.que\n");
        const QString copy = dir.filePath("copy.exp");
        QVERIFY(QFile::copy(original, copy));
        UpdateTemplateFile(copy, "chosen.que");
        QStringList files;
        for (RecordSet rows = ReadConditionRows(copy, "x"); !rows.Eof(); rows.MoveNext())
            files << rows.Field("file").ToText();
        QCOMPARE(files, QStringList({"chosen.que", "alpha.que"}));
        RecordSet untouched = ReadConditionRows(original, "x");
        QCOMPARE(untouched.Field("file").ToText(), "zeta.que");

        const QString empty = MakeDefinition(dir.path(), "empty.exp", "file\n");
        QVERIFY_RAISES(UpdateTemplateFile(empty, "x.que"), ErrorNumber::NoCurrentRecord);
    }
};

QTEST_GUILESS_MAIN(TestDefinitionStore)
#include "test_definition_store.moc"
