// Web pages with the real web engine: the toolbar of browser.txt, a tracker over HTTP, a label
// naming a page, pages that fail, files outside the folder, an unwritable log, programs started.
#include "../run/web_test_support.h"
#include "engine/navigation_bar.h"
#include "engine/web_pages.h"
#include "items/media/fHtml.h"
#include "run_fixture.h"

#include <QPushButton>
#include <QSignalSpy>
#include <QToolButton>
#include <QWebEngineHistory>
#include <QWebEngineView>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kItems = "questionnumber,QuestionType,QuestionWording,VariableName,FileName,"
                       "Parameters,WriteData,WriteRT,textlabel1,textlabel2,pointlabel1,"
                       "pointlabel2\n";

// An item after those under test, so that the run, and its tables, are still there.
const QString kLast = "9,instructions,The end,last,,,yes,yes,,,,\n";

void Continue(QWidget* form) {
    form->findChild<QPushButton*>("Continue")->click();
    QApplication::processEvents();
}

void WriteProgram(const QString& path, const QByteArray& text) {
    WriteBytes(path, text);
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
}

// Waits, in real time, until the view has loaded a page that isn't loading any more.
bool Loaded(QWebEngineView* view) {
    return QTest::qWaitFor([&] { return PageLoaded(view); }, 20000);
}

// The result of a script in the page, waited for.
QVariant RunScript(QWebEngineView* view, const QString& script) {
    QVariant result;
    bool done = false;
    view->page()->runJavaScript(script, [&](const QVariant& value) {
        result = value;
        done = true;
    });
    if (!QTest::qWaitFor([&] { return done; }, 10000))
        qWarning("the page did not answer the script");
    return result;
}

// Answers the boxes with the next of a list, else the default, and records them.
class AnsweringBoxes : public MessageBoxes {
public:
    AnsweringBoxes(QList<MessageBox>* shown, QList<BoxAnswer>* answers)
        : m_shown(shown), m_answers(answers) {}
    BoxAnswer Show(const MessageBox& box) override {
        m_shown->append(box);
        if (box.buttons != BoxButtons::YesNo || m_answers->isEmpty())
            return box.defaultAnswer;
        return m_answers->takeFirst();
    }
    std::optional<QString> Input(const QString&, const QString&, const QString&) override {
        return std::nullopt;
    }

private:
    QList<MessageBox>* m_shown;
    QList<BoxAnswer>* m_answers;
};

// The boxes of the items, without the one about the fixture's missing preference file.
QList<MessageBox> OwnBoxesOf(const QList<MessageBox>& boxes) {
    QList<MessageBox> own;
    for (const MessageBox& box : boxes) {
        if (box.text != QLatin1String("Error loading preferences file."))
            own << box;
    }
    return own;
}

} // namespace

class TestWebForms : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_config.path())); }

    void toolbarWordsSwitchButtons_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("buttons");
        QTest::newRow("back true, forward false") << "back=true\nforward=false\n"
                                                  << QStringList{"Back"};
        QTest::newRow("one line, two buttons")
            << "stop and search: true" << QStringList{"Search", "Stop"};
        QTest::newRow("words anywhere in the line") << "xxhomexx truely" << QStringList{"Home"};
        QTest::newRow("capitals are not the words") << "BACK TRUE\nRefresh True" << QStringList{};
        QTest::newRow("garbage") << QString::fromLatin1("\x01\xff;;==\n\n\ttrue") << QStringList{};
        QTest::newRow("all six, CR LF")
            << "back forward stop refresh home search true\r\n"
            << QStringList{"Back", "Forward", "Home", "Refresh", "Search", "Stop"};
    }
    void toolbarWordsSwitchButtons() {
        QFETCH(QString, text);
        QFETCH(QStringList, buttons);
        QStringList on = ReadToolbarSwitches(text).values();
        on.sort();
        QCOMPARE(on, buttons);
    }

    void fileAddressesStayInTheFolder_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("page in the folder") << "file:///lab/exp/a.htm" << true;
        QTest::newRow("page in a subfolder") << "file:///lab/exp/pages/b.htm" << true;
        QTest::newRow("up and out") << "file:///lab/exp/../secret.txt" << false;
        QTest::newRow("a folder with a longer name") << "file:///lab/expx/a.htm" << false;
        QTest::newRow("system file") << "file:///etc/passwd" << false;
        QTest::newRow("web address") << "http://127.0.0.1:8080/a.htm" << true;
    }
    void fileAddressesStayInTheFolder() {
        QFETCH(QString, address);
        QFETCH(bool, allowed);
        SetWebFolder("/lab/exp");
        QCOMPARE(WebAddressAllowed(QUrl(address)), allowed);
    }

    // The list's page over HTTP with the toolbar; a tracker leaves a served page by its link.
    void trackerLogsServedPages() {
        RunFixture run;
        FolderServer server(run.Folder());
        QVERIFY(server.Start());
        WriteBytes(run.Folder() + "/browser.txt",
                   "back true\nforward false\nhome, refresh: true\n");
        WriteBytes(run.Folder() + "/one.htm",
                   "<html><body><a id='next' href='two.htm'>on</a></body></html>");
        WriteBytes(run.Folder() + "/two.htm", "<html><body>two</body></html>");
        run.Start(kItems,
                  "1,webtracker,none,web," + server.Address("one.htm") + ",,yes,yes,,,,\n" + kLast);

        auto* form = qobject_cast<fHtml*>(run.Form());
        QVERIFY(form);
        QVERIFY(Loaded(form->WebBrowser1));
        QVERIFY(form->tb->isVisible());
        for (const char* shown : {"Back", "Home", "Refresh"})
            QVERIFY2(form->tb->findChild<QToolButton*>(shown)->isVisible(), shown);
        for (const char* hidden : {"Forward", "Stop", "Search"})
            QVERIFY2(!form->tb->findChild<QToolButton*>(hidden)->isVisible(), hidden);
        // The page starts right below the toolbar and reaches down to the bar.
        QCOMPARE(form->WebBrowser1->y(), form->tb->geometry().bottom() + 1);
        QCOMPARE(form->WebBrowser1->geometry().bottom() + 1,
                 form->findChild<NavigationBar*>("Bar1")->y());

        run.Wait(2000);
        QSignalSpy loaded(form->WebBrowser1, &QWebEngineView::loadFinished);
        RunScript(form->WebBrowser1, "document.getElementById('next').click()");
        QVERIFY(loaded.wait(20000));
        run.Wait(1500);
        Continue(form);

        const QList<QByteArray> rows = ReadAll(run.Folder() + "/data/web.txt").split('\n');
        QCOMPARE(rows.size(), 4);
        QCOMPARE(rows[0], "Subject\tCond\tURL\tDate\tTimeIn\tTimeOut\tViewTime\r");
        QVERIFY2(rows[1].startsWith("s1\ta\t" + server.Address("one.htm").toUtf8() + "\t"),
                 rows[1].constData());
        QVERIFY2(rows[2].startsWith("s1\ta\t" + server.Address("two.htm").toUtf8() + "\t"),
                 rows[2].constData());
        QVERIFY(rows[1].endsWith("\t2\t\r"));
        QVERIFY(rows[2].endsWith("\t\r"));
        QCOMPARE(run.state.Responses().Value(1, 1, 1), QString("ok"));
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 3500);
    }

    // A label whose text names a page becomes a web view of that page, in the label's place.
    void labelNamingAPageShowsIt() {
        RunFixture run;
        WriteBytes(
            run.Folder() + "/label.htm",
            "<html><head><title>the label page</title></head><body>in a label</body></html>");
        run.Start(kItems, "1,scale response,Which?,q1,,(p2),yes,yes,label.htm,b,1,2\n" + kLast);
        QWidget* form = run.Form();
        QVERIFY(form);
        auto* view = form->findChild<QWebEngineView*>("HTML_BW1");
        QVERIFY(view);
        QWidget* box = form->findChild<QWidget*>("HTML_PB1");
        QVERIFY(box);
        QLabel* label = nullptr;
        for (QLabel* each : form->findChildren<QLabel*>())
            if (each->text() == "label.htm")
                label = each;
        QVERIFY(label);
        QCOMPARE(box->geometry(), label->geometry());
        QCOMPARE(view->geometry(), QRect(-2, -2, box->width() + 26, box->height() + 26));
        QVERIFY(Loaded(view));
        QCOMPARE(view->title(), QString("the label page"));
    }

    // Pages that don't load leave the item on the screen with its Continue; a file outside the
    // experiment's folder is never shown.
    void pagesThatFailLeaveTheRunGoing_data() {
        QTest::addColumn<QString>("page");
        QTest::newRow("404") << "{server}missing.htm";
        QTest::newRow("no server") << "http://127.0.0.1:9/none.htm";
        QTest::newRow("bad address") << "http://exa mple..htm";
        QTest::newRow("missing file") << "nosuchpage.htm";
        QTest::newRow("outside the folder") << "/etc/hostname.htm";
    }
    void pagesThatFailLeaveTheRunGoing() {
        QFETCH(QString, page);
        RunFixture run;
        FolderServer server(run.Folder());
        QVERIFY(server.Start());
        page.replace("{server}", server.Address(""));
        run.Start(kItems, "1,html,none,web," + page + ",,yes,yes,,,,\n" + kLast);
        auto* form = qobject_cast<fHtml*>(run.Form());
        QVERIFY(form);
        QTest::qWait(1500);
        QVERIFY2(OwnBoxesOf(run.boxes).isEmpty(), qPrintable(OwnBoxesOf(run.boxes).value(0).text));
        run.Wait(800);
        Continue(form);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), QString("ok"));
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 800);
    }

    // A page outside the experiment's folder is not shown, nor is a file that a page of the
    // folder links to outside it.
    void filesOutsideTheFolderAreNotShown() {
        QTemporaryDir outside;
        WriteBytes(outside.filePath("secret.htm"),
                   "<html><head><title>secret</title></head><body>secret</body></html>");
        RunFixture run;
        WriteBytes(run.Folder() + "/in.htm", "<html><head><title>inside</title></head><body>"
                                             "<a id='out' href='file://" +
                                                 QFile::encodeName(outside.filePath("secret.htm")) +
                                                 "'>out</a></body></html>");
        run.Start(kItems, "1,html,none,a," + outside.filePath("secret.htm") +
                              ",,yes,yes,,,,\n2,html,none,b,in.htm,,yes,yes,,,,\n" + kLast);
        auto* form = qobject_cast<fHtml*>(run.Form());
        QVERIFY(form);
        QTest::qWait(1500);
        QVERIFY(RunScript(form->WebBrowser1, "document.title").toString() != "secret");
        run.Wait(500);
        Continue(form);
        form = qobject_cast<fHtml*>(run.Form());
        QVERIFY(form);
        QVERIFY(Loaded(form->WebBrowser1));
        QCOMPARE(form->WebBrowser1->title(), QString("inside"));
        RunScript(form->WebBrowser1, "document.getElementById('out').click()");
        QTest::qWait(1500);
        QCOMPARE(RunScript(form->WebBrowser1, "document.title").toString(), QString("inside"));
    }

    // A log that can't be written: the operator is told in the system's words, and each row is
    // kept in the program's own data folder.
    void logThatCantBeWrittenKeepsItsRows() {
        RunFixture run;
        WriteBytes(run.Folder() + "/p.htm", "<html><body>p</body></html>");
        // A folder where the log should be: it can be neither read nor written.
        QDir().mkpath(run.Folder() + "/data/web.txt");
        run.Start(kItems, "1,webtracker,none,web,p.htm,,yes,yes,,,,\n" + kLast);
        auto* form = qobject_cast<fHtml*>(run.Form());
        QVERIFY(form);
        QVERIFY(Loaded(form->WebBrowser1));
        run.Wait(2000);
        Continue(form);
        const QString log = run.Folder() + "/data/web.txt";
        const QList<MessageBox> boxes = OwnBoxesOf(run.boxes);
        QCOMPARE(boxes.size(), 3);
        QCOMPARE(boxes[0].text, "The file " + log +
                                    " is open for editing.  Data can not be written to this "
                                    "file unless it is closed.");
        QCOMPARE(boxes[1].text, boxes[0].text);
        QVERIFY(boxes[2].text.contains("has been kept in"));
        const QList<QByteArray> kept = ReadAll(ProgramFolder::FilePath("data/web.txt")).split('\n');
        QCOMPARE(kept.size(), 3);
        QVERIFY(kept[1].endsWith("\t2\t\r"));
        QCOMPARE(run.state.Responses().Value(1, 1, 1), QString("ok"));
    }

    // The launcher asks before a program starts: No passes the item over with nothing stored,
    // Yes starts it and is remembered for that questionnaire.
    void launcherAsksBeforeAProgram() {
        RunFixture run;
        QList<MessageBox> shown;
        QList<BoxAnswer> answers{BoxAnswer::No, BoxAnswer::Yes};
        run.state.SetBoxes(std::make_unique<AnsweringBoxes>(&shown, &answers));
        const QString marker = run.Folder() + "/started";
        WriteProgram(run.Folder() + "/mark.sh",
                     "#!/bin/sh\ntouch '" + QFile::encodeName(marker) + "'\n");
        run.Start(kItems, "1,executable,none,p1,mark.sh,,yes,yes,,,,\n"
                          "2,executable,none,p2,mark.sh,,yes,yes,,,,\n"
                          "3,executable,none,p3,mark.sh,,yes,yes,,,,\n" +
                              kLast);
        shown = QList<MessageBox>() << OwnBoxesOf(shown);
        QCOMPARE(shown[0].title, QString("Start a program?"));
        QVERIFY(shown[0].text.contains(QDir(run.Folder()).filePath("q.que")));
        QVERIFY(shown[0].text.contains("mark.sh"));
        // The No passed p1 over: p2 asks again, and Yes starts it.
        QCOMPARE(shown.size(), 2);
        QTRY_VERIFY(QFile::exists(marker));
        run.Wait(5000);
        Continue(run.Form());
        // p3: remembered, started without a question.
        QCOMPARE(shown.size(), 2);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), QString());
        QCOMPARE(run.state.Responses().Value(1, 2, 1), QString("ok"));
        QCOMPARE(run.state.Responses().Time(1, 2, 1), 5000);
    }

    // A program that isn't there or can't run is told, and Continue goes on after five seconds;
    // one that crashes at once is the program's own affair.
    void programsThatFailLeaveTheRunGoing_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("content"); // empty: no file
        QTest::addColumn<bool>("runBit");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing") << "nosuch.sh" << QByteArray() << false
                                 << "The file 'nosuch.sh' was requested but not found.  This item "
                                    "will be skipped.";
        QTest::newRow("not a program") << "data.bin" << QByteArray("\x7f\x01 no program") << false
                                       << "could not be started: it is not a program";
        QTest::newRow("crashes at once")
            << "crash.sh" << QByteArray("#!/bin/sh\nkill -SEGV $$\n") << true << "";
    }
    void programsThatFailLeaveTheRunGoing() {
        QFETCH(QString, file);
        QFETCH(QByteArray, content);
        QFETCH(bool, runBit);
        QFETCH(QString, message);
        RunFixture run;
        QList<MessageBox> shown;
        QList<BoxAnswer> answers{BoxAnswer::Yes};
        run.state.SetBoxes(std::make_unique<AnsweringBoxes>(&shown, &answers));
        const QString path = run.Folder() + "/" + file;
        if (runBit)
            WriteProgram(path, content);
        else if (!content.isEmpty())
            WriteBytes(path, content);
        run.Start(kItems, "1,executable,none,p1," + file + ",,yes,yes,,,,\n" + kLast);
        QList<MessageBox> told = OwnBoxesOf(shown);
        if (!told.isEmpty() && told[0].title == "Start a program?")
            told.removeFirst();
        if (message.isEmpty())
            QCOMPARE(told.size(), 0);
        else {
            QCOMPARE(told.size(), 1);
            QVERIFY2(told[0].text.contains(message), qPrintable(told[0].text));
        }
        auto* form = qobject_cast<ItemForm*>(run.Form());
        QVERIFY(form);
        auto* next = form->findChild<QPushButton*>("Continue");
        QVERIFY(next);
        run.Wait(4000);
        next->click(); // within five seconds: not counted
        QCOMPARE(run.Form(), form);
        run.Wait(1500);
        next->click();
        QApplication::processEvents();
        QCOMPARE(run.state.Responses().Value(1, 1, 1), QString("ok"));
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 5500);
    }

private:
    QTemporaryDir m_config;
};

int main(int argc, char** argv) {
    SetWebEngineEnvironment();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    TestWebForms test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_web_forms.moc"
