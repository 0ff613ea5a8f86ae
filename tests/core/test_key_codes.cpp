// Keys as the item forms number them, and what a key chooses on a scale.
#include "engine/key_codes.h"

#include <QtTest>

using namespace corvane;

class TestKeyCodes : public QObject {
    Q_OBJECT
private slots:
    void scaleChoices_data() {
        QTest::addColumn<int>("qtKey");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("former");
        QTest::addColumn<QString>("choice");
        const int none = int(Qt::NoModifier);
        const int pad = int(Qt::KeypadModifier);
        QTest::newRow("F1") << int(Qt::Key_F1) << none << ""
                            << "1";
        QTest::newRow("F12") << int(Qt::Key_F12) << none << ""
                             << "12";
        QTest::newRow("keypad 1") << int(Qt::Key_1) << pad << ""
                                  << "1";
        QTest::newRow("keypad 9") << int(Qt::Key_9) << pad << ""
                                  << "9";
        QTest::newRow("keypad 0 reads as 0") << int(Qt::Key_0) << pad << "4"
                                             << "`";
        QTest::newRow("digit 7") << int(Qt::Key_7) << none << ""
                                 << "7";
        QTest::newRow("letter") << int(Qt::Key_A) << none << "3"
                                << "A";
        QTest::newRow("keypad times repeats") << int(Qt::Key_Asterisk) << pad << "4"
                                              << "4";
        QTest::newRow("keypad plus repeats") << int(Qt::Key_Plus) << pad << "2"
                                             << "2";
        QTest::newRow("keypad slash repeats") << int(Qt::Key_Slash) << pad << "5"
                                              << "5";
        QTest::newRow("keypad point repeats") << int(Qt::Key_Period) << pad << "1"
                                              << "1";
        QTest::newRow("right arrow") << int(Qt::Key_Right) << none << "3"
                                     << "'";
        QTest::newRow("semicolon counts past F keys") << int(Qt::Key_Semicolon) << none << ""
                                                      << "75";
    }
    void scaleChoices() {
        QFETCH(int, qtKey);
        QFETCH(int, modifiers);
        QFETCH(QString, former);
        QFETCH(QString, choice);
        const int code = KeyCodeOf(qtKey, Qt::KeyboardModifiers(modifiers));
        QCOMPARE(DecodeScaleKey(code, former), choice);
    }

    // On X11 and Wayland a key also tells its place on the keyboard; the digit row and the keypad
    // digits count by place, so that a layout that puts other characters there changes nothing.
    void scaleChoicesByPlace_data() {
        QTest::addColumn<int>("qtKey");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<uint>("place");
        QTest::addColumn<QString>("choice");
        const int none = int(Qt::NoModifier);
        const int pad = int(Qt::KeypadModifier);
        const int shift = int(Qt::ShiftModifier);
        QTest::newRow("French 1 key gives &") << int(Qt::Key_Ampersand) << none << 10u << "1";
        QTest::newRow("French 2 key gives e acute") << int(Qt::Key_Eacute) << none << 11u << "2";
        QTest::newRow("French 5 key gives (") << int(Qt::Key_ParenLeft) << none << 14u << "5";
        QTest::newRow("French 9 key gives c cedilla")
            << int(Qt::Key_Ccedilla) << none << 18u << "9";
        QTest::newRow("French 0 key gives a grave") << int(Qt::Key_Agrave) << none << 19u << "0";
        QTest::newRow("shifted 3 key gives #") << int(Qt::Key_NumberSign) << shift << 12u << "3";
        QTest::newRow("US 7 key") << int(Qt::Key_7) << none << 16u << "7";
        QTest::newRow("keypad 2") << int(Qt::Key_2) << pad << 88u << "2";
        QTest::newRow("keypad 7") << int(Qt::Key_7) << pad << 79u << "7";
        QTest::newRow("keypad 1 without Num Lock is End") << int(Qt::Key_End) << pad << 87u << "#";
        QTest::newRow("letter keeps its character") << int(Qt::Key_Q) << none << 38u << "Q";
        QTest::newRow("F3 keeps its code") << int(Qt::Key_F3) << none << 69u << "3";
    }
    void scaleChoicesByPlace() {
        QFETCH(int, qtKey);
        QFETCH(int, modifiers);
        QFETCH(uint, place);
        QFETCH(QString, choice);
        const int code = KeyCodeOf(qtKey, Qt::KeyboardModifiers(modifiers), place);
        QCOMPARE(DecodeScaleKey(code, "4"), choice);
    }

    void codes() {
        QCOMPARE(KeyCodeOf(Qt::Key_Backspace, Qt::NoModifier), 8);
        QCOMPARE(KeyCodeOf(Qt::Key_Space, Qt::NoModifier), 32);
        QCOMPARE(KeyCodeOf(Qt::Key_Right, Qt::ControlModifier), 39);
        QCOMPARE(KeyCodeOf(Qt::Key_Minus, Qt::KeypadModifier), 109);
        QCOMPARE(KeyCodeOf(Qt::Key_Minus, Qt::NoModifier), 189);
    }
};

QTEST_GUILESS_MAIN(TestKeyCodes)
#include "test_key_codes.moc"
