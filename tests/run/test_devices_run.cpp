// Unattended runs with devices: port pulses (logged, and to a trigger box on a pty), and a serial
// line named by comport.txt that answers scale items.
#include "definition_fixtures.h"
#include "pty_pair.h"

#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

using namespace corvane::test;

namespace {

const QString kHeader = "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,"
                        "WriteData,WriteRT,GoBack,textlabel1,textlabel2,textlabel3,pointlabel1,"
                        "pointlabel2,pointlabel3\n";

QString ScaleItem(int n, const QString& parameters) {
    return QString("%1,scale response,Item %1?,q%1,\"%2\",yes,yes,no,a,b,c,1,2,3\n")
        .arg(n)
        .arg(parameters);
}

// An experiment of one questionnaire with these items, and a script, in `dir`.
void MakeStudy(const QTemporaryDir& dir, const QStringList& parameters, const QString& script) {
    QString items = kHeader;
    for (int n = 0; n < parameters.size(); ++n)
        items += ScaleItem(n + 1, parameters[n]);
    MakeDefinition(dir.path(), "q.que", items);
    MakeDefinition(dir.path(), "e.exp", "Condition,position,file\na,1,q.que\n");
    WriteBytes(dir.filePath("script.txt"), script.toUtf8());
}

void StartCorvane(QProcess& run, const QTemporaryDir& dir, bool virtualClock) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    run.setProcessEnvironment(env);
    QStringList arguments{"--run",         dir.filePath("e.exp"),
                          "--subject",     "s1",
                          "--condition",   "a",
                          "--script",      dir.filePath("script.txt"),
                          "--message-log", dir.filePath("messages.log"),
                          "--timeout",     "50"};
    if (virtualClock)
        arguments << "--virtual-clock";
    run.start(CORVANE_BIN, arguments);
}

// The logging port's lines: address, value and run-clock time.
struct Logged {
    int address;
    int value;
    qint64 at;
    QString device; // " to ..." when a device took the byte
};
std::vector<Logged> PortLines(const QString& errors) {
    std::vector<Logged> lines;
    const QRegularExpression line("^port (\\d+) <- (\\d+) at (-?\\d+) ms(.*)$",
                                  QRegularExpression::MultilineOption);
    for (auto match = line.globalMatch(errors); match.hasNext();) {
        const auto m = match.next();
        lines.push_back({m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toLongLong(),
                         m.captured(4)});
    }
    return lines;
}

// The answers (line 2) or the reaction times (line 3) of the record.
QList<QByteArray> DataRow(const QTemporaryDir& dir, int line = 2) {
    const QList<QByteArray> rows = ReadAll(dir.filePath("data/byquestionnaire/e.txt")).split('\n');
    return rows.size() > line ? rows[line].trimmed().split(',') : QList<QByteArray>{};
}

bool Ended(QProcess& run) {
    return run.state() == QProcess::NotRunning || run.waitForFinished(60000);
}

} // namespace

class TestDevicesRun : public QObject {
    Q_OBJECT
private slots:
    // Virtual clock: each pulse at its item's start (after any onset delay), ended after its
    // duration; an unreadable code is said and passed over.
    void pulsesGoOutAsTheWordingShows() {
        QTemporaryDir dir;
        MakeStudy(
            dir,
            {"(p3,<1000:1:10>)", "(p3,o200,<1000:2:10>)", "(p3,<lpt:1:5>)", "(p3,<1000:255:0>)"},
            "wait 300\nkey 1\nwait 400\nkey 2\nwait 300\nkey 3\nwait 300\nkey 1\n");
        QProcess run;
        StartCorvane(run, dir, true);
        QVERIFY(run.waitForFinished(60000));
        const QString errors = QString::fromUtf8(run.readAllStandardError());
        QCOMPARE(run.exitCode(), 0);

        QVERIFY2(errors.count("only logged") == 1, qPrintable(errors));
        const auto lines = PortLines(errors);
        QCOMPARE(lines.size(), std::size_t(5));
        const qint64 t = lines[0].at;
        const std::vector<std::array<qint64, 3>> expected{{1000, 1, t},
                                                          {1000, 0, t + 10},
                                                          {1000, 2, t + 500},
                                                          {1000, 0, t + 510},
                                                          {1000, 255, t + 1000}};
        for (std::size_t n = 0; n < lines.size(); ++n) {
            QCOMPARE(lines[n].address, int(expected[n][0]));
            QCOMPARE(lines[n].value, int(expected[n][1]));
            QCOMPARE(lines[n].at, expected[n][2]);
        }
        const QByteArray log = ReadAll(dir.filePath("messages.log"));
        QVERIFY2(log.contains("The port code 'lpt:1:5' can not be sent: its port 'lpt' is not a "
                              "number. Items with this code go on without a pulse."),
                 log.constData());
        // Nothing lost; the second item is timed from its wording.
        QCOMPARE(DataRow(dir), (QList<QByteArray>{"1", "2", "3", "1"}));
        QCOMPARE(DataRow(dir, 3), (QList<QByteArray>{"300", "200", "300", "300"}));
    }

    // On the real clock, to a trigger box on a pseudo-terminal: the bytes with their times.
    void pulsesReachATriggerBox() {
        PtyPair pty;
        if (!pty.Ready())
            QSKIP(qPrintable(pty.Why()));
        QVERIFY(pty.Open());
        QTemporaryDir dir;
        QDir().mkpath(dir.filePath("config/Corvane"));
        WriteBytes(dir.filePath("config/Corvane/Corvane.ini"),
                   "[Settings]\nTriggerBox632=" + pty.ProgramEnd().toUtf8() + "\n");
        MakeStudy(dir, {"(p3,<632:3:5>)", "(p3,<632:4:40>)"},
                  "wait 400\nkey 1\nwait 400\nkey 2\nwait 200\n");
        QProcess run;
        StartCorvane(run, dir, false);
        std::vector<PtyPair::Byte> bytes;
        while (run.state() != QProcess::NotRunning && bytes.size() < 4) {
            const auto got = pty.Read(100, 4 - bytes.size());
            bytes.insert(bytes.end(), got.begin(), got.end());
            run.waitForFinished(0);
        }
        QVERIFY(Ended(run));
        const QString errors = QString::fromUtf8(run.readAllStandardError());
        QCOMPARE(run.exitCode(), 0);
        QVERIFY2(!errors.contains("only logged"), qPrintable(errors));
        const auto lines = PortLines(errors);
        QCOMPARE(lines.size(), std::size_t(4));
        const std::array<int, 4> values{3, 0, 4, 0};
        for (std::size_t n = 0; n < 4; ++n) {
            QCOMPARE(lines[n].address, 632);
            QCOMPARE(lines[n].value, values[n]);
            QCOMPARE(lines[n].device, " to the trigger box at " + pty.ProgramEnd());
        }
        const qint64 first = lines[1].at - lines[0].at, second = lines[3].at - lines[2].at;
        // On a loaded machine a pulse may end late, never early nor after the next item.
        QVERIFY2(first >= 5 && lines[1].at < lines[2].at, qPrintable(errors));
        QVERIFY2(second >= 40 && second < 1000, qPrintable(QString::number(second)));
        QVERIFY2(lines[2].at - lines[0].at >= 400, qPrintable(errors)); // after the first answer

        // The box received the same bytes in the same order.
        QCOMPARE(bytes.size(), std::size_t(4));
        for (std::size_t n = 0; n < 4; ++n)
            QCOMPARE(int(bytes[n].value), values[n]);
        auto ms = [&](std::size_t from, std::size_t to) {
            return double(bytes[to].atNs - bytes[from].atNs) / 1e6;
        };
        QVERIFY2(ms(0, 2) >= 350, qPrintable(QString::number(ms(0, 2))));
        QCOMPARE(DataRow(dir), (QList<QByteArray>{"1", "2"}));
    }

    // comport.txt on a pty: a digit answers by the table (1 presses 3) or as itself.
    void serialDigitsAnswerTheItems() {
        PtyPair pty;
        if (!pty.Ready())
            QSKIP(qPrintable(pty.Why()));
        QVERIFY(pty.Open());
        QTemporaryDir dir;
        MakeStudy(dir, {"(p3)", "(p3)", "(p3)"}, "wait 30000\n");
        WriteBytes(dir.filePath("comport.txt"),
                   "COM port\n" + pty.ProgramEnd().toUtf8() + ", 9600, n, 8, 1\ncodes\n1,3\n");
        QProcess run;
        StartCorvane(run, dir, false);
        // The answers stored so far, as the run's journal has them.
        auto answered = [&dir] {
            int count = 0;
            const QDir journals(dir.filePath("data/.journal"));
            for (const QString& name : journals.entryList(QDir::Files))
                count += int(ReadAll(journals.filePath(name)).count("\nR\t"));
            return count;
        };
        // A digit sent before the item is there presses nothing: sent again, as a person would.
        const QList<QByteArray> digits{"1", "2", "1"};
        for (int n = 0; n < digits.size(); ++n) {
            QElapsedTimer waited;
            waited.start();
            while (answered() == n && waited.elapsed() < 20000 &&
                   run.state() != QProcess::NotRunning) {
                QTest::qWait(300);
                if (answered() == n)
                    QVERIFY(pty.Write(digits[n]));
                QTest::qWait(700);
            }
        }
        QVERIFY(Ended(run));
        QCOMPARE(run.exitCode(), 0);
        QCOMPARE(DataRow(dir), (QList<QByteArray>{"3", "2", "3"}));
    }
};

QTEST_MAIN(TestDevicesRun)
#include "test_devices_run.moc"
