// Thought listing, thought rating and on-line rating run unattended on the virtual clock: the
// entries and their times from the end of the entry before, a rating of each entry, and two
// on-line ratings over the item that follows each (an instruction of 4.9 s with a second in
// which the thread was held, and a scale item), whose "_online.csv" rows are as their golden
// files, byte for byte.
#include "definition_fixtures.h"
#include "output/data_output.h"
#include "unattended_process.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

QList<QByteArray> Lines(const QString& path) {
    return ReadAll(path).split('\n');
}

} // namespace

class TestThoughtRun : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString Path(const QString& name) const { return QDir(m_dir->path()).filePath(name); }

    UnattendedProcess Run(const QString& fixture) {
        const QString folder = CORVANE_FIXTURES "/" + fixture;
        MakeDefinition(m_dir->path(), "q.que", QString::fromUtf8(ReadAll(folder + "/items.csv")));
        MakeDefinition(m_dir->path(), "e.exp", "Condition,position,file,Parameters\na,1,q.que,\n");
        return RunCorvane(m_dir->path(), {Path("e.exp"), "--subject", "s1", "--condition", "a",
                                          "--script", folder + "/script.txt"});
    }

    void CompareWithGolden(const QString& written, const QString& golden) {
        QByteArray expected = ReadAll(CORVANE_FIXTURES "/online_run/golden/" + golden);
        QVERIFY2(!expected.isEmpty(), qPrintable(golden));
        expected.replace("{date}", CurrentDataOutputSettings({}, {}).date.toUtf8());
        QCOMPARE(WithTimesOfDayMasked(ReadAll(written)), expected);
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        // No joystick on this machine, whatever is plugged in.
        QDir().mkpath(Path("config/Corvane"));
        QFile settings(Path("config/Corvane/Corvane.ini"));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[Settings]\nJoystickDevice=" + Path("no-joystick").toUtf8() + "\n");
    }

    void entriesAreListedThenRated() {
        const UnattendedProcess run = Run("thought_run");
        QCOMPARE(run.exitCode, 0);
        const QList<QByteArray> log = Lines(Path("messages.log"));
        QVERIFY(log.size() >= 2);
        QCOMPARE(log[0], "Please note\tPlease type a thought in the box before you press "
                         "Enter.\tok");
        QVERIFY(log[1].startsWith("Participant s1\t"));

        // Entries timed from the end of the one before (the empty Enter counts for nothing), the
        // comma of a text written as a blank;
        // each rated, by key and by mouse.
        const QList<QByteArray> data = Lines(Path("data/byquestionnaire/e.txt"));
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[2], "'sunny day','cold  wet','home',3,1,2,ok\r");
        QCOMPARE(data[3], "1500,800,700,400,250,600,300\r");
        const QList<QByteArray> byVariable = Lines(Path("data/byvariablename/e.csv"));
        QVERIFY(byVariable.size() >= 2);
        QVERIFY2(byVariable[0].contains(",idea_01,idea_02,idea_03,rate_01,rate_02,rate_03,"),
                 byVariable[0].constData());
    }

    void onLineRatingsOverTheItemsThatFollow() {
        const UnattendedProcess run = Run("online_run");
        QCOMPARE(run.exitCode, 0);
        const QList<QByteArray> log = Lines(Path("messages.log"));
        QVERIFY(log.size() >= 2);
        // Told once in the run, for the first of the two ratings.
        QCOMPARE(log[0], "Please note\tNo joystick can be read for the on-line rating 'mood' (" +
                             Path("no-joystick").toUtf8() +
                             ": No such file or directory). The slider moves by the Left and "
                             "Right arrow keys. To use a joystick, plug it in before the run, or "
                             "name its device as JoystickDevice in Corvane's settings.\tok");
        QVERIFY(log[1].startsWith("Participant s1\t"));

        CompareWithGolden(Path("data/mood_online.csv"), "mood_online.csv");
        CompareWithGolden(Path("data/tense_online.csv"), "tense_online.csv");
        // The scale under the second bar took its digit; the ratings hold nothing in the tables.
        const QList<QByteArray> data = Lines(Path("data/byquestionnaire/e.txt"));
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[2], "ok,4,ok\r");
        QCOMPARE(data[3], "4900,2300,300\r");
        // A second participant's ratings are rows of their own.
        QCOMPARE(Run("online_run").exitCode, 0);
        QCOMPARE(ReadAll(Path("data/mood_online.csv")).count("\r\n"), 2);
    }
};

QTEST_GUILESS_MAIN(TestThoughtRun)
#include "test_thought_run.moc"
