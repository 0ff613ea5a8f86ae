// Unattended runs with media in the list and as items (offscreen), and slide shows shown by the
// real office program under a private X server and ended there by keys; data and order log checked.
#include "definition_fixtures.h"
#include "forms/media_files.h"
#include "private_x_server.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <QtTest>

using namespace corvane::test;

namespace {

const QString kHeader = "questionnumber,QuestionType,QuestionWording,VariableName,FileName,"
                        "Parameters,WGR,BGR,WriteData,WriteRT,WriteText,omitconditions,GoBack,"
                        "textlabel1,pointlabel1,skip1,skip2\n";

QString Row(int n, const QString& type, const QString& variable, const QString& file,
            const QString& parameters = {}) {
    return QString("%1,%2,none,%3,%4,%5,0,0,yes,yes,no,,no,none,none,none,none\n")
        .arg(n)
        .arg(type, variable, file, parameters);
}

// The program on the real clock: films and shows take the time they take.
QProcess* StartRun(const QTemporaryDir& dir, const QProcessEnvironment& base, int timeoutSeconds) {
    auto* run = new QProcess;
    QProcessEnvironment env = base;
    env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    run->setProcessEnvironment(env);
    run->start(CORVANE_BIN,
               {"--run", dir.filePath("e.exp"), "--subject", "s1", "--condition", "a", "--script",
                dir.filePath("script.txt"), "--message-log", dir.filePath("messages.log"),
                "--timeout", QString::number(timeoutSeconds)});
    return run;
}

QList<QByteArray> DataRows(const QTemporaryDir& dir) {
    return ReadAll(dir.filePath("data/byquestionnaire/e.txt")).split('\n');
}

QList<int> Times(const QByteArray& row) {
    QList<int> times;
    for (const QByteArray& cell : row.trimmed().split(','))
        times << cell.toInt();
    return times;
}

} // namespace

class TestMediaRun : public QObject {
    Q_OBJECT

    corvane::test::PrivateXServer m_x;

    QString StartServer() { return m_x.Start("1024x768", {"xdotool", "soffice"}); }

    QProcessEnvironment X() const { return m_x.Environment(); }

    // xdotool on the private server: its output, or its error when it failed.
    bool Xdotool(const QStringList& arguments, QString* said) {
        QProcess tool;
        tool.setProcessEnvironment(X());
        tool.start("xdotool", arguments);
        const bool ok = tool.waitForFinished(10000) && tool.exitCode() == 0;
        *said =
            QString::fromLocal8Bit(ok ? tool.readAllStandardOutput() : tool.readAllStandardError())
                .trimmed();
        return ok;
    }

    // The window of a running show, once it is there; empty after `ms`.
    QString ShowWindow(int ms) {
        QElapsedTimer waited;
        waited.start();
        QString found;
        bool shown = false;
        while (!(shown = Xdotool({"search", "--onlyvisible", "--name", "^Presenting"}, &found)) &&
               waited.elapsed() < ms)
            QThread::msleep(500);
        return shown ? found.split('\n').first() : QString();
    }

private slots:
    void cleanup() { m_x.Stop(); }

    void mediaInTheListAndAsItems() {
        if (QStandardPaths::findExecutable("soffice").isEmpty())
            QSKIP("soffice (LibreOffice) is not installed");
        QTemporaryDir dir;
        QVERIFY(MakePicture(dir.filePath("pic.png"), 200, 150).isEmpty());
        QVERIFY(MakeTone(dir.filePath("tone.wav"), 3).isEmpty());
        QVERIFY(MakeMovie(dir.filePath("Clip.avi"), 30).isEmpty());
        WriteBytes(dir.filePath("letter.rtf"), TwoPageLetter());
        MakeDefinition(dir.path(), "q.que",
                       kHeader + Row(1, "image file", "img", "PIC.png") +
                           Row(2, "sound file", "snd", "tone.wav") +
                           Row(3, "movie", "mov", "clip.avi") +
                           Row(4, "Word Document", "doc", "letter.rtf"));
        MakeDefinition(dir.path(), "e.exp",
                       "Condition,position,file\na,1,pic.png\na,2,tone.wav\na,3,clip.avi\n"
                       "a,4,letter.rtf\na,5,q.que\n");
        // Each picture and tone waits 400 ms for its key, each film ends by itself, each
        // document is held 1500 ms.
        const QByteArray media = "wait 400\nkey Space\nwait 400\nkey Space\nwait 3000\n"
                                 "wait 1500\nkey Space\n";
        WriteBytes(dir.filePath("script.txt"), media + media);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("QT_QPA_PLATFORM", "offscreen");
        std::unique_ptr<QProcess> run(StartRun(dir, env, 280));
        QVERIFY(run->waitForFinished(300000));
        QCOMPARE(run->exitCode(), 0);

        const QList<QByteArray> data = DataRows(dir);
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[2], "ok,ok,ok,ok\r");
        const QList<int> times = Times(data[3]);
        QCOMPARE(times.size(), 4);
        QVERIFY2(times[0] >= 350 && times[0] < 1500, data[3].constData()); // the picture
        QVERIFY2(times[1] >= 350 && times[1] < 1500, data[3].constData()); // the tone
        QVERIFY2(times[2] >= 900 && times[2] < 3000, data[3].constData()); // a film of 1 s
        // The document: held 1500 ms, and what was left of the film's 3000 ms.
        QVERIFY2(times[3] >= 1400 && times[3] < 6000, data[3].constData());
        const QByteArray order = ReadAll(dir.filePath("data/byquestionnaire/question_order.csv"));
        QVERIFY2(order.contains(",pic.png,tone.wav,clip.avi,letter.rtf,q.que\r\n"),
                 order.constData());
        QVERIFY2(order.endsWith(",q.que,img,snd,mov,doc\r\n"), order.constData());
    }

    // A show from the list and one as an item, each ended by Escape in the show's window: the
    // run waits for each and then goes on by itself.
    void slideShowsAreWaitedFor() {
        if (const QString why = StartServer(); !why.isEmpty())
            QSKIP(qPrintable(why));
        QTemporaryDir dir;
        const QString made = MakeSlideShow(dir.path(), "show.odp");
        if (!made.isEmpty())
            QSKIP(qPrintable("the office program could not make the slide show: " + made));
        QVERIFY(MakePicture(dir.filePath("after.png"), 64, 48).isEmpty());
        MakeDefinition(dir.path(), "q.que",
                       kHeader + Row(1, "powerpoint show", "show", "show.odp") +
                           Row(2, "image file", "after", "after.png", "(d1)"));
        MakeDefinition(dir.path(), "e.exp", "Condition,position,file\na,1,SHOW.odp\na,2,q.que\n");
        // The script outlasts both shows: the run must end by itself.
        WriteBytes(dir.filePath("script.txt"), "wait 280000\n");
        std::unique_ptr<QProcess> run(StartRun(dir, X(), 300));
        for (int show = 1; show <= 2; ++show) {
            const QString window = ShowWindow(120000);
            QVERIFY2(!window.isEmpty(), qPrintable(QString("show %1 never came").arg(show)));
            QThread::msleep(1500);
            // The run waits for the show: its data aren't written yet.
            QVERIFY(!QFile::exists(dir.filePath("data/byquestionnaire/e.txt")));
            // Gives the show the keyboard and ends it with Escape, as an operator would.
            QString why;
            QVERIFY2(Xdotool({"windowfocus", "--sync", window, "key", "Escape"}, &why),
                     qPrintable(why));
            // Gone before the next one is looked for.
            QElapsedTimer gone;
            gone.start();
            while (ShowWindow(0).isEmpty() == false && gone.elapsed() < 30000)
                QThread::msleep(300);
        }
        QVERIFY(run->waitForFinished(120000));
        QCOMPARE(run->exitCode(), 0);
        const QList<QByteArray> data = DataRows(dir);
        QVERIFY(data.size() >= 4);
        QCOMPARE(data[2], "ok,ok\r");
        const QList<int> times = Times(data[3]);
        QVERIFY2(times[0] >= 1500, data[3].constData()); // the length of the show
        const QByteArray order = ReadAll(dir.filePath("data/byquestionnaire/question_order.csv"));
        QVERIFY2(order.contains(",show.odp,q.que\r\n"), order.constData());
        QVERIFY2(order.endsWith(",q.que,show,after\r\n"), order.constData());
    }
};

QTEST_MAIN(TestMediaRun)
#include "test_media_run.moc"
