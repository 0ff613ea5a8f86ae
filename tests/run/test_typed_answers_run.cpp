// A questionnaire of fill-in-the-blank and essay items run unattended on the virtual clock: a
// length limit, a mask, a reversed range, a range refusal, a mask date with a range, a mask with
// no blank, and an essay with a line break and a key log. The data files hold exactly what the
// rules say, and the essay's two files are as their golden files, byte for byte.
#include "definition_fixtures.h"
#include "output/data_output.h"
#include "unattended_process.h"

#include <QRegularExpression>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kFixtures = CORVANE_FIXTURES "/typed_answers";

// The golden file with the run's folder and today's date put in, and a written file with its
// times of day made "hh:mm:ss", which differ from run to run.
void CompareWithGolden(const QString& written, const QString& golden, const QString& root) {
    QByteArray expected = ReadAll(kFixtures + "/golden/" + golden);
    QVERIFY2(!expected.isEmpty(), qPrintable(golden));
    expected.replace("{root}", root.toUtf8());
    expected.replace("{date}", CurrentDataOutputSettings({}, {}).date.toUtf8());
    const QByteArray actual = QString::fromUtf8(ReadAll(written))
                                  .replace(QRegularExpression("\\d\\d:\\d\\d:\\d\\d"), "hh:mm:ss")
                                  .toUtf8();
    QCOMPARE(actual, expected);
}

QList<QByteArray> Lines(const QString& path) {
    return ReadAll(path).split('\n');
}

} // namespace

class TestTypedAnswersRun : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString Path(const QString& name) const { return QDir(m_dir->path()).filePath(name); }

    UnattendedProcess Run() {
        return RunCorvane(m_dir->path(), {Path("e.exp"), "--subject", "s1", "--condition", "a",
                                          "--script", kFixtures + "/script.txt"});
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        MakeDefinition(m_dir->path(), "q.que",
                       QString::fromUtf8(ReadAll(kFixtures + "/items.csv")));
        MakeDefinition(m_dir->path(), "e.exp", "Condition,position,file,Parameters\na,1,q.que,\n");
    }

    void answersTimesAndTheEssayFiles() {
        const UnattendedProcess run = Run();
        QCOMPARE(run.exitCode, 0);

        const QList<QByteArray> log = Lines(Path("messages.log"));
        QVERIFY(log.size() >= 7);
        QCOMPARE(log[0], "Please note\tYou have typed as many characters as this answer can "
                         "hold.\tok"); // the 13th character of the name
        QCOMPARE(log[1], log[0]);
        QVERIFY(log[2].startsWith("Please note\tThe fill-in-the-blank item 'age' has the range "
                                  "(r9-2), which can't be read"));
        QCOMPARE(log[3], "Please note\tPlease type a number from 1 to 7\tok");
        QCOMPARE(log[4], "Please note\tPlease type a number from 1 to 31\tok");
        QVERIFY(log[5].startsWith("Please note\tThe fill-in-the-blank item 'code' has the mask "
                                  "(mabc), in which no character is left blank"));
        QVERIFY(log[6].startsWith("Participant s1\t"));

        // Texts without their commas; the reversed range let 150 through; the day of 05-11
        // was tested; the passed-over code has nothing; the essay has only its time.
        const QList<QByteArray> data = Lines(Path("data/byquestionnaire/e.txt"));
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[2], "'Lee Ann Mar','555-1234',150,5,'05-11','99'\r");
        QCOMPARE(data[3], "500,700,300,400,600,99,2000\r");
        const QList<QByteArray> byVariable = Lines(Path("data/byvariablename/e.csv"));
        QVERIFY(byVariable.size() >= 2);
        QCOMPARE(byVariable[0], "Subject,Cond,Exper,Inifile,Date,Time,age,birthday,code,name,"
                                "phone,score,aget,birthdayt,codet,namet,phonet,scoret,storyt\r");
        QVERIFY2(byVariable[1].endsWith(",150,05-11,99,Lee Ann Mar,555-1234,5,300,600,99,500,"
                                        "700,400,2000"),
                 byVariable[1].constData());

        CompareWithGolden(Path("data/story.txt"), "story.txt", m_dir->path());
        CompareWithGolden(Path("data/story_keypress.csv"), "story_keypress.csv", m_dir->path());
        // A second participant's essay is appended as a record of its own.
        QCOMPARE(Run().exitCode, 0);
        const QByteArray twice = ReadAll(Path("data/story.txt"));
        QCOMPARE(twice.count("'s1', 'a', "), 2);
        QVERIFY(twice.endsWith("My day, 'good'\r\nand long.\r\n"));
    }

    void anEssayThatCantBeWrittenIsKeptElsewhere() {
        // Something in the essay file's place that no file can be written to.
        QVERIFY(QDir().mkpath(Path("data/story.txt")));
        const UnattendedProcess run = Run();
        QCOMPARE(run.exitCode, 0);
        const QString kept = Path("xdg/corvane/data/story.txt");
        const QByteArray log = ReadAll(Path("messages.log"));
        QVERIFY2(log.contains("Corvane could not write the essay of the item 'story' to '" +
                              Path("data/story.txt").toUtf8() + "'"),
                 log.constData());
        QVERIFY(log.contains("It has been kept in '" + kept.toUtf8() + "' instead. To fix this"));
        CompareWithGolden(kept, "story.txt", m_dir->path());
        // The key log and every answer given before reached the data folder all the same.
        CompareWithGolden(Path("data/story_keypress.csv"), "story_keypress.csv", m_dir->path());
        QVERIFY(
            ReadAll(Path("data/byquestionnaire/e.txt")).contains("500,700,300,400,600,99,2000"));
    }
};

QTEST_GUILESS_MAIN(TestTypedAnswersRun)
#include "test_typed_answers_run.moc"
