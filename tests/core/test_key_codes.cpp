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
