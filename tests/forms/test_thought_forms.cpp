// Thought listing, thought rating and on-line rating in a run: entry times, limits, ratings under
// the wording, missing or empty lists, and the slider moved by keys and a joystick on a pipe.
#include "devices/joystick.h"
#include "run_fixture.h"
#include "state/settings_store.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QSlider>
#include <QtTest>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvane;
using namespace corvane::test;

namespace {

QString Listing(int number, const QString& name, const QString& parameters,
                const QString& type = "Thought Listing") {
    return QString("%1,%2,List your thoughts.,%3,\"%4\",yes,yes,,,,,,,none,,\n")
        .arg(number)
        .arg(type, name, parameters);
}

QString Rating(int number, const QString& name, const QString& parameters,
               const QString& wording = "How good is it?",
               const QString& skips = "none,none,none") {
    return QString("%1,Thought Rating,%2,%3,\"%4\",yes,yes,bad,so-so,good,1,2,3,%5\n")
        .arg(number)
        .arg(wording, name, parameters, skips);
}

QString Instruction(int number, const QString& name) {
    return QString("%1,instructions,Watch this.,%2,,yes,yes,,,,,,,none,,\n").arg(number).arg(name);
}

// Starts the items with the listing's own messages.
void Start(RunFixture& run, const QString& rows) {
    WriteBytes(QDir(run.Folder()).filePath("program/styles/messages.txt"),
               "108,Please type a thought first.,\r\n109,Time is up.,\r\n111,Note,\r\n"
               "112,Press Enter after each thought.,\r\n");
    run.Start(kThreeLabelHeader, rows);
}

void Key(QWidget* form, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* target = form->focusWidget() ? form->focusWidget() : form;
    QTest::keyClick(target, key, modifiers);
}

void Type(QWidget* form, const QString& text, Qt::Key end = Qt::Key_unknown) {
    QTest::keyClicks(form->focusWidget() ? form->focusWidget() : form, text);
    if (end != Qt::Key_unknown)
        Key(form, end);
}

QByteArray Event(quint8 type, quint8 number, qint16 value) {
    QByteArray bytes(8, '\0');
    memcpy(bytes.data() + 4, &value, 2);
    bytes[6] = char(type);
    bytes[7] = char(number);
    return bytes;
}

} // namespace

class TestThoughtForms : public QObject {
    Q_OBJECT

    QTemporaryDir m_config;

private slots:
    void initTestCase() {
        // Settings of this test's own; no joystick unless a test names one.
        qputenv("XDG_CONFIG_HOME", m_config.path().toLocal8Bit());
        SettingsStore::Save("Corvane", "JoystickDevice", QDir(m_config.path()).filePath("nojs"));
    }

    void entriesAreTimedFromTheEntryBefore() {
        RunFixture run;
        Start(run, Listing(1, "t", "(n3)") + Instruction(2, "after"));
        QWidget* form = run.Form();
        QCOMPARE(form->objectName(), "fThoughtListing");
        QCOMPARE(run.Control<QLabel>("Label1")->text(), "1.");
        QCOMPARE(run.Control<QLabel>("Label2")->text(), "Press Enter after each thought.");
        run.Wait(1200);
        Type(form, "sunny day", Qt::Key_Return);
        QCOMPARE(run.Control<QLabel>("Label1")->text(), "2.");
        QVERIFY(run.Control<QPlainTextEdit>("TextThoughtBox")->toPlainText().isEmpty());
        run.Wait(300);
        Key(form, Qt::Key_Return); // empty: told, nothing kept
        QCOMPARE(run.boxes.last().text, "Please type a thought first.");
        QCOMPARE(run.Form(), form);
        run.Wait(500);
        Type(form, "cold, wet", Qt::Key_Escape); // as Enter: the list goes on
        QCOMPARE(run.Form(), form);
        run.Wait(700);
        Type(form, "home", Qt::Key_Return);
        QCOMPARE(run.Form()->objectName(), "fInstruction");
        const ResponseTables& data = run.state.Responses();
        QCOMPARE(data.Value(1, 1, 1), "sunny day");
        QCOMPARE(data.Time(1, 1, 1), 1200);
        QCOMPARE(data.Value(1, 1, 2), "cold, wet");
        QCOMPARE(data.Time(1, 1, 2), 800);
        QCOMPARE(data.Value(1, 1, 3), "home");
        QCOMPARE(data.Time(1, 1, 3), 700);
        QCOMPARE(run.state.ThoughtListsShown, qint16(1));
        QCOMPARE(run.state.ShownListNames.at(1), "t");
        QCOMPARE(run.state.ShownListCounts[1], qint16(3));
        QCOMPARE(run.state.ThoughtText(1, 2), "cold, wet");
    }

    void theTimeLimitEndsTheWholeList() {
        RunFixture run;
        Start(run, Listing(1, "t", "(n5,d3)") + Rating(2, "r", "(p3,qt)"));
        QWidget* form = run.Form();
        run.Wait(1000);
        Type(form, "one", Qt::Key_Return);
        run.Wait(1000);
        Type(form, "two", Qt::Key_Return);
        Type(form, "lost");
        run.Wait(1000); // at 3 s the limit isn't past yet
        QCOMPARE(run.Form(), form);
        run.Wait(1000); // the limit counts from the start of the list, checked once a second
        QCOMPARE(run.boxes.last().text, "Time is up.");
        QCOMPARE(run.state.ShownListCounts[1], qint16(2));
        QVERIFY(run.state.Responses().Value(1, 1, 3).isEmpty());
        // The rating shows the two entries made.
        QCOMPARE(run.Form()->objectName(), "fThoughtRate");
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "How good is it?\n\none");
    }

    void aTypingKeepFocusItemTimesTheFirstKey() {
        RunFixture run;
        Start(run, Listing(1, "t", "(n2,k1)") + Instruction(2, "after"));
        QWidget* form = run.Form();
        run.Wait(400);
        Type(form, "a");
        run.Wait(900);
        Type(form, "b", Qt::Key_Return);
        run.Wait(250);
        Type(form, "c");
        run.Wait(100);
        Key(form, Qt::Key_Return);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 400);
        QCOMPARE(run.state.Responses().Time(1, 1, 2), 250);
    }

    void eachThoughtIsRatedUnderTheWording() {
        RunFixture run;
        Start(run, Listing(1, "t", "(n10)") +
                       Rating(2, "r", "(p3,qt)", "How good is it?", "none,none,end") +
                       Rating(3, "alone", "(p3,qt)", "None") + Instruction(4, "end"));
        QWidget* form = run.Form();
        for (const char* thought : {"rain", "tea"}) {
            run.Wait(200);
            Type(form, thought, Qt::Key_Return);
        }
        Key(form, Qt::Key_Return); // empty: the list stays at two
        Key(form, Qt::Key_Escape);
        QCOMPARE(run.Form(), form);
        // Control+Right passes the rest of the list over.
        Key(form, Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(run.Form()->objectName(), "fThoughtRate");
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "How good is it?\n\nrain");
        run.Wait(300);
        Key(run.Form(), Qt::Key_3); // a jump, but only the last rating's counts
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "How good is it?\n\nrain");
        run.Wait(100); // the chosen point stands out for 100 ms
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "How good is it?\n\ntea");
        run.Wait(450);
        QTest::mouseClick(run.Control<QWidget>("bResponse(1)"), Qt::LeftButton);
        const ResponseTables& data = run.state.Responses();
        QCOMPARE(data.Value(1, 2, 1), "3");
        QCOMPARE(data.Time(1, 2, 1), 300);
        QCOMPARE(data.Value(1, 2, 2), "1");
        QCOMPARE(data.Time(1, 2, 2), 450);
        QVERIFY(data.Value(1, 2, 3).isEmpty());
        // No jump after the last rating. A wording "None" shows the thought alone (an exact "none"
        // was read as a blank, which stands above the thought).
        QCOMPARE(run.Form()->objectName(), "fThoughtRate");
        QCOMPARE(run.Control<QLabel>("lQuestion")->text(), "rain");
    }

    void aListThatNeverRanIsToldAndPassedOver() {
        RunFixture run;
        // A listing further down passes the loader's check of the name.
        Start(run, Rating(1, "r", "(p3,qmissing)") + Instruction(2, "after") +
                       Listing(3, "missing", "(n1)"));
        QCOMPARE(run.Form()->objectName(), "fInstruction");
        QCOMPARE(run.boxes.last().text,
                 "In questionnaire q.que, the variable missing is to be rated by the subject.  "
                 "This variable was not found to exist so far.  This rating item will be skipped.");
    }

    void anEmptyListIsPassedOverInSilence() {
        RunFixture run;
        Start(run,
              Listing(1, "t", "(n3,d1)") + Rating(2, "r", "(p3,qt)") + Instruction(3, "after"));
        const qsizetype before = run.boxes.size();
        run.Wait(2000);
        QCOMPARE(run.Form()->objectName(), "fInstruction");
        QCOMPARE(run.boxes.size(), before + 1);
        QCOMPARE(run.boxes.last().text, "Time is up.");
    }

    void theBarStaysOverTheNextItemOnlyAndMovesByKeys() {
        RunFixture run;
        Start(run,
              "1,On-Line Rating,Rate as you watch,mood,(p3),yes,yes,sad,,happy,-1,0,1,none,,\n" +
                  Instruction(2, "movie") + Instruction(3, "after"));
        QWidget* bar = VisibleWindow("fOnLine");
        QVERIFY(bar);
        QCOMPARE(run.Form()->objectName(), "fInstruction");
        QVERIFY(run.boxes.last().text.startsWith("No joystick can be read for the on-line rating "
                                                 "'mood'"));
        auto* slider = bar->findChild<QSlider*>("Slider1");
        QCOMPARE(slider->maximum(), 200);
        QCOMPARE(slider->value(), 100); // no joystick: the middle
        run.Wait(1450);
        // The arrows reach the bar from the item under it, in tenths of a step.
        Key(run.Form(), Qt::Key_Right);
        Key(run.Form(), Qt::Key_Right);
        QCOMPARE(slider->value(), 120);
        Key(run.Form(), Qt::Key_Left, Qt::ShiftModifier); // with a modifier: not the bar's
        QCOMPARE(slider->value(), 120);
        run.Wait(1050);
        QTest::keyClick(run.Form(), Qt::Key_Space); // the instruction's Continue
        QCOMPARE(run.Form()->objectName(), "fInstruction");
        QApplication::processEvents();
        QVERIFY(!VisibleWindow("fOnLine"));
        // 2.5 s: bin 1 (0.6 to 1.4 s) holds 100, bin 2 (1.5 to 2.5 s) 120; bin 0, the first half
        // second, isn't written.
        const QByteArray row = [&] {
            QFile file(QDir(run.Folder()).filePath("data/mood_online.csv"));
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        }();
        QVERIFY2(row.startsWith("s1,a,'"), row.constData());
        QVERIFY2(row.endsWith("',-1,1,2,0.00,0.20\r\n"), row.constData());
        // The one absence is told once in a run.
        QCOMPARE(
            std::count_if(run.boxes.begin(), run.boxes.end(),
                          [](const MessageBox& box) { return box.text.startsWith("No joystick"); }),
            1);
    }

    void aJoystickMovesTheSliderUntilItIsLost() {
        const QString device = QDir(m_config.path()).filePath("js0");
        QVERIFY(::mkfifo(QFile::encodeName(device).constData(), 0600) == 0 ||
                QFile::exists(device));
        const int writer = ::open(QFile::encodeName(device).constData(), O_RDWR);
        QVERIFY(writer >= 0);
        SettingsStore::Save("Corvane", "JoystickDevice", device);
        auto send = [writer](const QByteArray& bytes) {
            return ::write(writer, bytes.constData(), size_t(bytes.size())) == bytes.size();
        };
        // The driver's report on opening: centred.
        QVERIFY(send(Event(0x82, 0, 0) + Event(0x82, 1, 0)));
        RunFixture run;
        Start(run, "1,On-Line Rating,Rate as you watch,mood,(p5),yes,yes,,,,1,2,3,none,,\n" +
                       Instruction(2, "movie") + Instruction(3, "after"));
        QWidget* bar = VisibleWindow("fOnLine");
        QVERIFY(bar);
        auto* slider = bar->findChild<QSlider*>("Slider1");
        run.Wait(100);
        // x 32767 of 65000: int(0.5041 * 400) = 201.
        QCOMPARE(slider->value(), 201);
        QVERIFY(send(Event(0x02, 0, qint16(16250 - 32767)))); // a quarter of 65000: 100
        run.Wait(100);
        QCOMPARE(slider->value(), 100);
        QVERIFY(send(Event(0x02, 0, 32767))); // past 65000: off the slider, it stays
        run.Wait(100);
        QCOMPARE(slider->value(), 100);
        QVERIFY(send("\x01\x02\x03")); // garbage that makes no whole event
        ::close(writer);               // unplugged
        const qsizetype before = run.boxes.size();
        run.Wait(300);
        QCOMPARE(run.boxes.size(), before + 1);
        QVERIFY2(run.boxes.last().text.startsWith("The joystick (" + device +
                                                  ") was lost during the on-line rating 'mood'"),
                 qPrintable(run.boxes.last().text));
        // The keyboard goes on.
        Key(run.Form(), Qt::Key_Right);
        QCOMPARE(slider->value(), 110);
        QCOMPARE(run.boxes.size(), before + 1);
        SettingsStore::Save("Corvane", "JoystickDevice", QDir(m_config.path()).filePath("nojs"));
    }
};

QTEST_MAIN(TestThoughtForms)
#include "test_thought_forms.moc"
