// A questionnaire run in this process against a real responses workbook: the skip computed in
// column C is taken, and a value that a formula computed shows in a later wording. Without a
// workbook the run goes on, after one message to the operator.
#include "preferences/preference_file.h"
#include "run_fixture.h"
#include "workbook_fixture.h"

#include <QLabel>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

QString Scale(int number, const QString& name, const QString& wording,
              const QString& skips = "none,none,none") {
    return QString("%1,scale response,%2,%3,(p3),yes,yes,a,b,c,1,2,3,%4\n")
        .arg(number)
        .arg(wording, name, skips);
}

// "excel" in the first item's skip switches the workbook on.
const QString kItems = Scale(1, "energy", "How much energy?", "excel,none,none") +
                       Scale(2, "mood", "How is your mood?") + Scale(3, "q3", "Third?") +
                       Scale(4, "q4", "Your total is <total>.");

const QList<QStringList> kSheet{{"energy", "", ""},
                                {"mood_01", "", "=IF([.B2]>2;\"q4\";\"none\")"},
                                {"total", "=[.B1]+[.B2]", ""}};

// The run loads the default preferences at its start: they are there, so no box comes of that.
void WithDefaultPreferences() {
    WritePreferenceFile(ProgramFolder::FilePath("styles/default.cvp"), PreferenceRecord{});
}

void Key(QWidget* form, Qt::Key key) {
    QTest::keyClick(form->focusWidget() ? form->focusWidget() : form, key);
}

} // namespace

class TestWorkbookRun : public QObject {
    Q_OBJECT

    QString Wording(RunFixture& run) {
        auto* label = run.Control<QLabel>("lQuestion");
        return label ? label->text() : QString();
    }

    void Answer(RunFixture& run, Qt::Key key) {
        run.Wait(150);
        Key(run.Form(), key);
    }

private slots:
    void initTestCase() {
        const QString missing = CalcMissing();
        if (!missing.isEmpty())
            QSKIP(qPrintable(QStringLiteral("the spreadsheet program can't start: ") + missing));
        // The run's own kept profile for the spreadsheet program lives under the cache folder.
        qputenv("XDG_CACHE_HOME", QFile::encodeName(CalcTestFolder() + "/cache-forms"));
    }

    void skipAndValueComeFromTheWorkbook_data() {
        QTest::addColumn<int>("mood");
        QTest::addColumn<QString>("afterMood");
        QTest::newRow("high mood jumps to q4") << 3 << "Your total is 5.";
        QTest::newRow("low mood: none makes no skip") << 1 << "Third?";
    }
    void skipAndValueComeFromTheWorkbook() {
        QFETCH(int, mood);
        QFETCH(QString, afterMood);
        RunFixture run;
        WithDefaultPreferences();
        const QString problem = MakeWorkbook(run.Folder() + "/responses.xls", kSheet);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        run.Start(kThreeLabelHeader, kItems);
        QVERIFY2(run.boxes.isEmpty(), qPrintable(run.boxes.value(0).text));
        QCOMPARE(Wording(run), QStringLiteral("How much energy?"));
        Answer(run, Qt::Key_2);
        QCOMPARE(Wording(run), QStringLiteral("How is your mood?"));
        Answer(run, Qt::Key(Qt::Key_0 + mood));
        QCOMPARE(Wording(run), afterMood);
        if (mood == 1) {
            Answer(run, Qt::Key_1);
            QCOMPARE(Wording(run), QStringLiteral("Your total is 3."));
        }
        QCOMPARE(run.state.Responses().Value(1, 2, 1), QString::number(mood));
        QVERIFY2(run.boxes.isEmpty(), qPrintable(run.boxes.value(0).text));
    }

    void withoutWorkbookTheRunGoesOn() {
        RunFixture run;
        WithDefaultPreferences();
        run.Start(kThreeLabelHeader, kItems);
        QVERIFY2(run.boxes.size() == 1, qPrintable(run.boxes.value(0).text));
        QVERIFY2(run.boxes[0].text.startsWith("The responses workbook '" + run.Folder() +
                                              "/responses.xls' is off for this run: there is no "
                                              "responses.xls"),
                 qPrintable(run.boxes[0].text));
        Answer(run, Qt::Key_2);
        Answer(run, Qt::Key_3);
        QCOMPARE(Wording(run), QStringLiteral("Third?"));
        Answer(run, Qt::Key_1);
        QCOMPARE(Wording(run), QStringLiteral("Your total is <total>."));
        QCOMPARE(run.boxes.size(), 1);
    }
};

QTEST_MAIN(TestWorkbookRun)
#include "test_workbook_run.moc"
