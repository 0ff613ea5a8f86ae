// Killed runs of the program: the next start offers the journal's record, with 99 for the rest.
#include "definition_fixtures.h"
#include "output/run_journal.h"

#include <QProcess>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {
const QString kSixAnswers = "wait 200\nkey 1\nwait 200\nkey 2\nwait 200\nkey 3\nwait 200\nkey 4\n"
                            "wait 200\nkey 5\nwait 200\nkey 1\n";
} // namespace

class TestRecovery : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString Path(const QString& name) const { return QDir(m_dir->path()).filePath(name); }

    QProcessEnvironment Environment() const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_HOME", Path("xdg"));
        env.insert("XDG_CONFIG_HOME", Path("xdg-config"));
        env.insert("QT_QPA_PLATFORM", "offscreen");
        return env;
    }

    QStringList Arguments(const QString& subject, const QString& script) const {
        WriteBytes(Path("script-" + subject + ".txt"), script.toUtf8());
        return {"--run",         Path("study.exp"),
                "--subject",     subject,
                "--condition",   "a",
                "--script",      Path("script-" + subject + ".txt"),
                "--message-log", Path("messages.log")};
    }

    QStringList Journals() const {
        const QDir folder(JournalFolder(m_dir->path()));
        QStringList paths;
        for (const QString& name : folder.entryList({"*.journal"}, QDir::Files))
            paths << folder.filePath(name);
        return paths;
    }

    // A run on the real clock killed once its journal holds three answers; returns the journal.
    QString KilledRun(const QString& subject) {
        QProcess process;
        process.setProcessEnvironment(Environment());
        process.start(CORVANE_BIN, Arguments(subject, "wait 250\nkey 2\nwait 250\nkey 4\n"
                                                      "wait 250\nkey 5\nwait 60000\n"));
        if (!process.waitForStarted(10000))
            return QString();
        QElapsedTimer waited;
        waited.start();
        QString journal;
        while (waited.elapsed() < 30000 && process.state() == QProcess::Running) {
            const QStringList journals = Journals();
            if (journals.size() == 1) {
                const auto contents = ReadJournal(journals[0]);
                if (contents && contents->ResponseCount() == 3 && contents->TimeCount() == 3) {
                    journal = journals[0];
                    break;
                }
            }
            QTest::qWait(20);
        }
        process.kill();
        process.waitForFinished(10000);
        if (process.exitStatus() != QProcess::CrashExit)
            return QString(); // it ended by itself: not the run this test wants
        return journal;
    }

    // An unattended start on the virtual clock, as a piloting experimenter makes it.
    int Start(const QString& subject, const QString& script, bool recover = true) {
        QFile::remove(Path("messages.log"));
        QProcess process;
        process.setProcessEnvironment(Environment());
        QStringList arguments = Arguments(subject, script) << "--virtual-clock";
        if (recover)
            arguments << "--recover";
        process.start(CORVANE_BIN, arguments);
        if (!process.waitForFinished(60000))
            return -1;
        return process.exitCode();
    }

    QStringList Log() const {
        return QString::fromUtf8(ReadAll(Path("messages.log"))).split('\n', Qt::SkipEmptyParts);
    }

    // The lines of the participant's record in a free-format data file.
    static QStringList Record(const QString& path, const QString& subject, int lines) {
        const QStringList all = QString::fromUtf8(ReadAll(path)).split("\r\n");
        for (qsizetype n = 0; n < all.size(); ++n) {
            if (all[n].startsWith("'" + subject + "','a','"))
                return all.mid(n, lines);
        }
        return {};
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QString items = "questionnumber,QuestionType,VariableName,QuestionWording,Parameters,"
                        "WriteData,WriteRT\n";
        for (int n = 1; n <= 6; ++n)
            items += QString("%1,scale response,v%1,Item %1?,(p5),yes,yes\n").arg(n);
        MakeDefinition(m_dir->path(), "items.que", items);
        MakeDefinition(m_dir->path(), "study.exp", "Condition,position,file\na,1,items.que\n");
    }

    void aKilledRunIsOfferedAtTheNextStartAndWritten() {
        const QString journal = KilledRun("41");
        QVERIFY2(!journal.isEmpty(), "the run was not killed with three answers in its journal");
        const auto before = ReadJournal(journal);
        QVERIFY(before);
        QCOMPARE(before->subject, "41");
        QCOMPARE(before->TimeCount(), 3);
        QStringList times;
        for (const JournalEntry& entry : before->entries) {
            if (entry.time)
                times << QString::number(entry.ms);
        }
        // The kill left nothing in the data files for this participant.
        QVERIFY(Record(Path("data/byquestionnaire/study.txt"), "41", 1).isEmpty());

        QCOMPARE(Start("42", "answer yes\n"), 2);
        const QStringList log = Log();
        QVERIFY2(log.size() >= 3, qPrintable(log.join('\n')));
        QCOMPARE(log[0],
                 "Corvane\tCorvane found the responses of a run that did not end: "
                 "participant 41, condition a, experiment 'study.exp', started " +
                     before->settings.date + " at " + before->settings.time +
                     ", 3 responses stored. Write this participant's record to the data "
                     "files with what was collected? Anything not answered is written as "
                     "99. (No keeps the responses, and Corvane asks again next time.)\tyes");
        QVERIFY2(log[1].startsWith("Corvane\tThe record of participant 41 has been written to the "
                                   "data files. The journal of the run is kept in '" +
                                   Path("data/recovered/")),
                 qPrintable(log[1]));

        const QStringList record = Record(Path("data/byquestionnaire/study.txt"), "41", 4);
        QCOMPARE(record.size(), 4);
        QCOMPARE(record[0], "'41','a','" + Path("study.exp") + "','" + before->settings.inifile +
                                "','" + before->settings.date + "','" + before->settings.time +
                                "'");
        QCOMPARE(record[1], "'items'");
        QCOMPARE(record[2], "2,4,5,99,99,99");
        QCOMPARE(record[3], times.join(',') + ",99,99,99");
        for (const QString& time : times)
            QVERIFY2(time.toInt() >= 100, qPrintable(time)); // real milliseconds, as answered
        const QStringList byVariable = Record(Path("data/byvariablename/study.txt"), "41", 3);
        QCOMPARE(byVariable.value(1), "2,4,5,99,99,99");
        QCOMPARE(byVariable.value(2), times.join(',') + ",99,99,99");

        // The journal is kept among the recovered ones, and the run that followed left none.
        QVERIFY(Journals().isEmpty());
        QCOMPARE(QDir(Path("data/recovered")).entryList({"*.journal"}, QDir::Files),
                 QStringList{QFileInfo(journal).fileName()});
        const QStringList listed =
            QString::fromUtf8(ReadAll(Path("data/recovered/recovered.csv"))).split("\r\n");
        QCOMPARE(listed.value(1).section(',', 0, 2), "41,a," + before->started);
        QCOMPARE(listed.value(1).section(',', 4), "3");
        const QByteArray order = ReadAll(Path("data/byquestionnaire/question_order.csv"));
        QVERIFY2(order.startsWith("41,a,") && order.contains(",items.que,v1,v2,v3") &&
                     order.contains("\r\n42,a,"),
                 order.constData());
        QCOMPARE(Record(Path("data/byquestionnaire/study.txt"), "42", 3).value(2),
                 "99,99,99,99,99,99");
        // A further start has nothing to offer.
        QCOMPARE(Start("43", "wait 200\nkey 1\n"), 2);
        QVERIFY(Log().filter("Corvane found the responses").isEmpty());
    }

    // Unattended, a run cut short is written only when asked for; otherwise it is left and said.
    void noOrNoRecoverKeepsTheRunForTheNextStart() {
        const QString journal = KilledRun("51");
        QVERIFY2(!journal.isEmpty(), "the run was not killed with three answers in its journal");
        QCOMPARE(Start("52", "", false), 2);
        QVERIFY(Log().filter("Corvane found the responses").isEmpty());
        QVERIFY2(!Log()
                      .filter("a run that did not end is left in its journal '" + journal + "'")
                      .isEmpty(),
                 qPrintable(Log().join('\n')));
        QCOMPARE(Journals(), QStringList{journal});

        QCOMPARE(Start("52", "answer no\n"), 2);
        QVERIFY(Log().value(0).endsWith("\tno"));
        QCOMPARE(Journals(), QStringList{journal});
        QVERIFY(Record(Path("data/byquestionnaire/study.txt"), "51", 1).isEmpty());

        // Without an answer in the script the box takes its default: yes.
        QCOMPARE(Start("53", ""), 2);
        QVERIFY(Log().value(0).contains("participant 51,"));
        QVERIFY(Log().value(0).endsWith("\tyes"));
        QCOMPARE(Record(Path("data/byquestionnaire/study.txt"), "51", 3).value(2),
                 "2,4,5,99,99,99");
        QVERIFY(Journals().isEmpty());
    }

    // Six answers under strace, killed at the `when`-th `call` on the .csv by questionnaire.
    bool RunKilledAt(const QString& call, int when, const QString& subject) {
        const QString strace = QStandardPaths::findExecutable("strace");
        if (strace.isEmpty())
            return false;
        QProcess process;
        process.setProcessEnvironment(Environment());
        process.start(strace,
                      QStringList{"-f", "-o", "/dev/null", "-e", "trace=" + call, "-e",
                                  QString("inject=%1:signal=SIGKILL:when=%2").arg(call).arg(when),
                                  "-P", Path("data/byquestionnaire/study.csv"), CORVANE_BIN}
                          << Arguments(subject, kSixAnswers) << "--virtual-clock");
        // strace ends with the signal that ended the program, or with its status in a shell.
        return process.waitForFinished(60000) &&
               (process.exitStatus() == QProcess::CrashExit || process.exitCode() == 137);
    }

    // Killed at the record's write to the .csv (after the .txt): recovery completes the .csv alone.
    void aRunKilledBetweenTheFilesOfARecordIsCompletedOnce() {
        const QString csv = Path("data/byquestionnaire/study.csv");
        if (!RunKilledAt("write", 2, "81"))
            QSKIP("strace (Debian package strace) can not stop a program here");
        QCOMPARE(Record(Path("data/byquestionnaire/study.txt"), "81", 1).size(), 1);
        QVERIFY(!ReadAll(csv).contains("81,a,"));
        QCOMPARE(Journals().size(), 1);

        QCOMPARE(Start("82", "answer yes\n"), 2);
        const QByteArray txt = ReadAll(Path("data/byquestionnaire/study.txt"));
        const QByteArray rows = ReadAll(csv);
        QCOMPARE(txt.count("'81','a','"), 1);
        QCOMPARE(rows.count("\r\n81,a,"), 1);
        QVERIFY2(rows.contains("\r\n81,a,") && rows.contains(",items,1,2,3,4,5,1,200,"),
                 rows.constData());
        QCOMPARE(ReadAll(Path("data/byvariablename/study.txt")).count("'81','a','"), 1);
        QCOMPARE(ReadAll(Path("data/byvariablename/study.csv")).count("\r\n81,a,"), 1);
        QVERIFY(Journals().isEmpty());
    }

    // Killed as the load writes or syncs the .csv header: no empty line, header brought along.
    void aRunKilledAtItsLoadLeavesNoEmptyLine_data() {
        QTest::addColumn<QString>("call");
        QTest::newRow("header written") << "write";
        QTest::newRow("header on the disk") << "fdatasync";
    }
    void aRunKilledAtItsLoadLeavesNoEmptyLine() {
        QFETCH(QString, call);
        if (!RunKilledAt(call, 1, "83"))
            QSKIP("strace (Debian package strace) can not stop a program here");
        QCOMPARE(Journals().size(), 1);
        QCOMPARE(Start("84", "answer yes\n"), 2);
        const QByteArray rows = ReadAll(Path("data/byquestionnaire/study.csv"));
        QVERIFY2(!rows.contains("\r\n\r\n"), rows.constData());
        QVERIFY2(rows.startsWith("Subject,Cond,Exper,Inifile,Date,Time,que1,v1,"),
                 rows.constData());
        QCOMPARE(rows.count("\r\n83,a,"), 1);
        QCOMPARE(rows.count("\r\n84,a,"), 1);
        QVERIFY(Journals().isEmpty());
    }

    // A full data disk: the journal goes to the program's folder and the run says where.
    void aFullDiskKeepsTheResponsesInTheProgramFolder() {
        QVERIFY(QDir().mkpath(Path("data")));
        if (QProcess::execute("mount", {"-t", "tmpfs", "-o", "size=16k", "tmpfs", Path("data")}) !=
            0)
            QSKIP("a small file system can't be mounted here (needs root): no full disk to test");
        const auto unmount = qScopeGuard([&] { QProcess::execute("umount", {Path("data")}); });
        QFile filler(Path("data/filler"));
        QVERIFY(filler.open(QIODevice::WriteOnly));
        while (filler.write(QByteArray(4096, 'x')) == 4096 && filler.flush()) {
        }
        filler.close();

        QCOMPARE(Start("91", kSixAnswers), 4);
        const QString log = Log().join('\n');
        const QDir fallback(Path("xdg/corvane/journal"));
        const QStringList kept = fallback.entryList({"*.journal"}, QDir::Files);
        QCOMPARE(kept.size(), 1);
        const QString journal = fallback.filePath(kept[0]);
        QVERIFY2(log.contains("Its responses are kept in '" + journal + "'"), qPrintable(log));
        const auto contents = ReadJournal(journal);
        QVERIFY(contents);
        QCOMPARE(contents->ResponseCount(), 6);
        QCOMPARE(contents->TimeCount(), 6);
        QVERIFY(!ReadAll(Path("data/byquestionnaire/study.txt")).contains("'91'"));
    }

    void aRunThatEndsLeavesNoJournal() {
        QCOMPARE(Start("61", kSixAnswers), 0);
        QCOMPARE(Record(Path("data/byquestionnaire/study.txt"), "61", 4).value(3),
                 "200,200,200,200,200,200");
        QVERIFY(Journals().isEmpty());
        QVERIFY(!QDir(Path("data/.journal")).exists());
        QVERIFY(!QDir(Path("data/recovered")).exists());
    }
};

QTEST_GUILESS_MAIN(TestRecovery)
#include "test_recovery.moc"
