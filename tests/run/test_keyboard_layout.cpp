// Scale items answered from a real keyboard with a French layout, through an X server of the
// test's own: the top-row keys give "&", "é", "(" ... unshifted, and must still choose their
// digits, as must the keypad; a script's `key 1` must still choose 1.
#include "definition_fixtures.h"
#include "private_x_server.h"

#include <QProcess>
#include <QThread>
#include <QtTest>

using namespace corvane::test;

namespace {

// Each item is answered by one key, pressed by its X keysym on the French layout.
struct Press {
    const char* keysym;
    const char* choice;
};
constexpr Press kPresses[] = {
    {"ampersand", "1"}, // the unshifted "1" key
    {"eacute", "2"},    // the unshifted "2" key
    {"parenleft", "5"}, // the unshifted "5" key
    {"ccedilla", "9"},  // the unshifted "9" key
    {"KP_4", "4"},      // the keypad
};
constexpr int kItems = int(std::size(kPresses)) + 1; // the last item is the script's

// The value of each column of the one data row of a CSV data file.
QMap<QString, QString> DataRow(const QString& path) {
    const QList<QByteArray> lines = ReadAll(path).split('\n');
    QMap<QString, QString> row;
    if (lines.size() < 2)
        return row;
    const QStringList names = QString::fromUtf8(lines[0]).trimmed().split(',');
    const QStringList values = QString::fromUtf8(lines[1]).trimmed().split(',');
    for (int i = 0; i < names.size() && i < values.size(); ++i)
        row.insert(names[i], values[i]);
    return row;
}

bool RunsWithin(QProcess& process, const QStringList& args, int ms) {
    process.start(args[0], args.mid(1));
    return process.waitForFinished(ms) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

} // namespace

class TestKeyboardLayout : public QObject {
    Q_OBJECT

    corvane::test::PrivateXServer m_x;

    // Starts a private X server and gives it the French layout; empty when it worked, else why
    // not.
    QString StartFrenchServer() {
        if (const QString why = m_x.Start("1024x768", {"setxkbmap", "xdotool"}); !why.isEmpty())
            return why;
        QProcess layout;
        if (!RunsWithin(layout, {"setxkbmap", "-display", m_x.Display(), "fr"}, 10000))
            return "setxkbmap could not set the French layout on " + m_x.Display() + ": " +
                   QString::fromUtf8(layout.readAllStandardError());
        return {};
    }

    bool Press(const QString& keysym) {
        QProcess press;
        press.setProcessEnvironment(Environment());
        return RunsWithin(press, {"xdotool", "key", keysym}, 10000);
    }

    QProcessEnvironment Environment() const { return m_x.Environment(); }

private slots:
    void cleanup() { m_x.Stop(); }

    void digitKeysChooseByTheirPlaceOnAFrenchKeyboard() {
        if (const QString why = StartFrenchServer(); !why.isEmpty())
            QSKIP(qPrintable(why));
        QTemporaryDir dir;
        QString items = "questionnumber,QuestionType,VariableName,QuestionWording,Parameters,"
                        "WriteData,WriteRT\n";
        for (int i = 1; i <= kItems; ++i)
            items += QString("%1,scale response,k%1,Choose,(p10),yes,yes\n").arg(i);
        MakeDefinition(dir.path(), "keys.que", items);
        MakeDefinition(dir.path(), "keys.exp", "Condition,position,file\na,1,keys.que\n");
        // The script's key comes long after the keyboard's, for the last item.
        WriteBytes(dir.filePath("script.txt"), "wait 15000\nkey 1\n");

        QProcess run;
        QProcessEnvironment env = Environment();
        env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
        env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
        run.setProcessEnvironment(env);
        run.start(CORVANE_BIN, {"--run", dir.filePath("keys.exp"), "--subject", "s1", "--condition",
                                "a", "--script", dir.filePath("script.txt"), "--message-log",
                                dir.filePath("messages.log"), "--timeout", "90"});
        QVERIFY(run.waitForStarted());
        // The first item is on the screen once the program's window is mapped.
        QProcess shown;
        shown.setProcessEnvironment(env);
        QVERIFY(RunsWithin(shown, {"xdotool", "search", "--sync", "--onlyvisible", "--class", "."},
                           30000));
        for (const auto& press : kPresses) {
            // Time for the item to be ready, and after the key for the next one to come.
            QThread::msleep(1500);
            QVERIFY2(Press(press.keysym), press.keysym);
        }
        QVERIFY(run.waitForFinished(90000));

        for (const char* file : {"byquestionnaire", "byvariablename"}) {
            const QMap<QString, QString> row =
                DataRow(dir.filePath(QString("data/%1/keys.csv").arg(file)));
            for (int i = 0; i < kItems; ++i) {
                const QString expected = i < int(std::size(kPresses)) ? kPresses[i].choice : "1";
                QCOMPARE(row.value(QString("k%1").arg(i + 1)), expected);
            }
        }
        QCOMPARE(run.exitCode(), 0); // ended by its last answer, not by the script running out
    }
};

QTEST_GUILESS_MAIN(TestKeyboardLayout)
#include "test_keyboard_layout.moc"
