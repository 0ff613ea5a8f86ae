// The run's hold on the keyboard under a real window manager (openbox on an X server of the
// test's own), pressed with xdotool. With the task keys locked, Alt+Tab, Alt+F4, Ctrl+Alt+F1 and
// the Super key never move the focus from the item on the screen nor reach the window manager;
// without the lock they reach it. In both cases the operator's Control+Alt+Right Arrow, which
// openbox binds to a change of workspace, ends the run with its data written.
#include "definition_fixtures.h"
#include "preferences/preference_file.h"
#include "private_x_server.h"

#include <QProcess>
#include <QThread>
#include <QtTest>

using namespace corvane::test;

namespace {

constexpr int kTries = 100;
constexpr const char* kKeys[] = {"alt+Tab", "alt+F4", "ctrl+alt+F1", "super"};

// The window manager's own shortcuts, as its default set has them, and two that leave a trace
// in a file when the window manager gets them.
QByteArray OpenboxConfig(const QString& folder) {
    const QByteArray trace = "<action name=\"Execute\"><command>sh -c 'echo x &gt;&gt; " +
                             folder.toUtf8() + "/%1'</command></action>";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<openbox_config xmlns=\"http://openbox.org/3.4/rc\">\n"
           "<desktops><number>2</number></desktops>\n<keyboard>\n"
           "<keybind key=\"A-Tab\"><action name=\"NextWindow\"><dialog>no</dialog><finalactions>"
           "<action name=\"Focus\"/><action name=\"Raise\"/></finalactions></action></keybind>\n"
           "<keybind key=\"A-F4\"><action name=\"Close\"/></keybind>\n"
           "<keybind key=\"C-A-Right\"><action name=\"GoToDesktop\"><to>right</to><wrap>no</wrap>"
           "</action></keybind>\n"
           "<keybind key=\"C-A-F1\">" +
           QByteArray(trace).replace("%1", "wm_ctrl_alt_f1") +
           "</keybind>\n"
           "<keybind key=\"Super_L\">" +
           QByteArray(trace).replace("%1", "wm_super") +
           "</keybind>\n"
           "</keyboard>\n</openbox_config>\n";
}

int LinesIn(const QString& path) {
    return int(ReadAll(path).count('\n'));
}

} // namespace

class TestKioskKeys : public QObject {
    Q_OBJECT

    corvane::test::PrivateXServer m_x;
    QProcess m_run;

    QProcessEnvironment Environment() const { return m_x.Environment(); }

    QString Xdotool(const QStringList& args) {
        QProcess tool;
        tool.setProcessEnvironment(Environment());
        tool.start("xdotool", args);
        tool.waitForFinished(10000);
        return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
    }

    // A private X server with openbox on it; empty when it worked, else why not.
    QString StartDesktop(const QString& folder) {
        if (const QString why = m_x.Start("1024x768", {"xdotool"}); !why.isEmpty())
            return why;
        const QString config = QDir(folder).filePath("rc.xml");
        WriteBytes(config, OpenboxConfig(folder));
        if (const QString why = m_x.StartOpenbox(config); !why.isEmpty())
            return why;
        // The configuration's two desktops show that openbox read it.
        if (Xdotool({"get_num_desktops"}) != "2")
            return "openbox did not take its configuration";
        return {};
    }

    // How often each key moved the focus away from the item's window; the focus is put back
    // after each time it moved.
    QMap<QString, int> PressEachKey(const QString& item) {
        QMap<QString, int> moved;
        for (const char* key : kKeys) {
            int count = 0;
            for (int i = 0; i < kTries; ++i) {
                const QString active = Xdotool({"key", key, "sleep", "0.05", "getactivewindow"});
                if (active != item) {
                    ++count;
                    Xdotool({"windowactivate", "--sync", item});
                }
            }
            moved.insert(key, count);
        }
        return moved;
    }

private slots:
    void cleanup() {
        if (m_run.state() != QProcess::NotRunning) {
            m_run.terminate();
            m_run.waitForFinished(5000);
        }
        m_x.Stop();
    }

    void keysDuringARun_data() {
        QTest::addColumn<bool>("locked");
        QTest::newRow("task keys locked") << true;
        QTest::newRow("task keys free") << false;
    }

    void keysDuringARun() {
        QFETCH(bool, locked);
        QTemporaryDir dir;
        if (const QString why = StartDesktop(dir.path()); !why.isEmpty())
            QSKIP(qPrintable(why));
        const QDir demo(QFileInfo(CORVANE_TEMPLATE).dir().filePath("demo"));
        for (const QString& file : demo.entryList(QDir::Files))
            QVERIFY(QFile::copy(demo.filePath(file), dir.filePath(file)));
        QDir().mkpath(dir.filePath("xdg/corvane/styles"));
        corvane::PreferenceRecord preferences;
        preferences.DisableKeysFlag = locked;
        corvane::WritePreferenceFile(dir.filePath("xdg/corvane/styles/default.cvp"), preferences);
        // The welcome item waits for its word; the run ends only by the operator's key.
        WriteBytes(dir.filePath("script.txt"), "wait 300000\n");

        QProcess& run = m_run;
        QProcessEnvironment env = Environment();
        env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
        env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
        run.setProcessEnvironment(env);
        run.start(CORVANE_BIN, {"--run", dir.filePath("demo.exp"), "--subject", "kiosk",
                                "--condition", "1", "--script", dir.filePath("script.txt"),
                                "--message-log", dir.filePath("messages.log"), "--timeout", "400"});
        QVERIFY(run.waitForStarted());
        // The welcome item on the screen, with the focus.
        const QString pid = QString::number(run.processId());
        for (int i = 0; i < 600 && Xdotool({"getactivewindow", "getwindowpid"}) != pid; ++i)
            QThread::msleep(100);
        QCOMPARE(Xdotool({"getactivewindow", "getwindowpid"}), pid);
        QThread::msleep(1000);
        const QString item = Xdotool({"getactivewindow"});

        const QMap<QString, int> moved = PressEachKey(item);
        const int superSeen = LinesIn(dir.filePath("wm_super"));
        const int ctrlAltF1Seen = LinesIn(dir.filePath("wm_ctrl_alt_f1"));
        qInfo().noquote() << QTest::currentDataTag() << "- focus moved away in" << kTries
                          << "tries each:" << moved << "; the window manager got Super" << superSeen
                          << "times, Ctrl+Alt+F1" << ctrlAltF1Seen << "times";
        QCOMPARE(run.state(), QProcess::Running); // no key ended the run or left it stuck
        if (locked) {
            for (const char* key : kKeys)
                QCOMPARE(moved.value(key), 0);
            QCOMPARE(superSeen, 0);
            QCOMPARE(ctrlAltF1Seen, 0);
            QVERIFY2(!ReadAll(dir.filePath("messages.log")).contains("could not"),
                     ReadAll(dir.filePath("messages.log")).constData());
        } else {
            QVERIFY(moved.value("alt+Tab") > kTries / 2);
            QCOMPARE(superSeen, kTries);
        }

        if (locked) {
            // A second locked run finds the keyboard held by the first and says so at its start;
            // its script is soon used up, and it ends by itself.
            QTemporaryDir second;
            for (const QString& file : demo.entryList(QDir::Files))
                QVERIFY(QFile::copy(demo.filePath(file), QDir(second.path()).filePath(file)));
            QDir().mkpath(second.filePath("xdg/corvane/styles"));
            corvane::WritePreferenceFile(second.filePath("xdg/corvane/styles/default.cvp"),
                                         preferences);
            WriteBytes(second.filePath("script.txt"), "wait 500\n");
            QProcess other;
            QProcessEnvironment otherEnv = Environment();
            otherEnv.insert("XDG_DATA_HOME", second.filePath("xdg"));
            otherEnv.insert("XDG_CONFIG_HOME", second.filePath("config"));
            other.setProcessEnvironment(otherEnv);
            other.start(CORVANE_BIN,
                        {"--run", second.filePath("demo.exp"), "--subject", "other", "--condition",
                         "1", "--script", second.filePath("script.txt"), "--message-log",
                         second.filePath("messages.log"), "--timeout", "60"});
            QVERIFY(other.waitForFinished(90000));
            QVERIFY2(ReadAll(second.filePath("messages.log"))
                         .contains("The task keys could not be locked: Corvane can't hold the "
                                   "keyboard (another program holds it)."),
                     ReadAll(second.filePath("messages.log")).constData());
            QCOMPARE(run.state(), QProcess::Running);
        }

        // The operator's key: openbox would change the workspace, Corvane ends the run.
        Xdotool({"windowactivate", "--sync", item});
        Xdotool({"key", "ctrl+alt+Right"});
        QVERIFY(run.waitForFinished(30000));
        QCOMPARE(run.exitCode(), 0); // ended by the key, not by the script's end
        QCOMPARE(Xdotool({"get_desktop"}), QString("0"));
        QVERIFY(ReadAll(dir.filePath("data/byquestionnaire/demo.csv")).contains("\nkiosk,1,"));
    }
};

QTEST_GUILESS_MAIN(TestKioskKeys)
#include "test_kiosk_keys.moc"
