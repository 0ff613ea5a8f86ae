// The joystick fed with the bytes of its events through a pipe, a file or a named pipe.
#include "devices/joystick.h"

#include <QtTest>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvane;

namespace {

constexpr quint8 kButton = 0x01;
constexpr quint8 kAxis = 0x02;
constexpr quint8 kInit = 0x80;

// One event as the kernel writes it: time, value, type, number, in the host's order.
QByteArray Event(quint8 type, quint8 number, qint16 value, quint32 time = 0) {
    QByteArray bytes(8, '\0');
    memcpy(bytes.data(), &time, 4);
    memcpy(bytes.data() + 4, &value, 2);
    bytes[6] = char(type);
    bytes[7] = char(number);
    return bytes;
}

struct Pipe {
    int read = -1;
    int write = -1;
    Pipe() {
        int ends[2];
        if (::pipe(ends) == 0) {
            read = ends[0];
            write = ends[1];
        }
    }
    ~Pipe() { CloseWriter(); }
    bool Send(const QByteArray& bytes) const {
        return ::write(write, bytes.constData(), size_t(bytes.size())) == bytes.size();
    }
    void CloseWriter() {
        if (write >= 0)
            ::close(write);
        write = -1;
    }
};

} // namespace

class TestJoystick : public QObject {
    Q_OBJECT
private slots:
    void eventsSetThePlace_data() {
        QTest::addColumn<QByteArray>("events");
        QTest::addColumn<int>("x");
        QTest::addColumn<int>("y");
        QTest::addColumn<bool>("button0");
        QTest::addColumn<int>("ignored");
        QTest::newRow("nothing yet") << QByteArray() << 0 << 0 << false << 0;
        QTest::newRow("centred on opening")
            << Event(kAxis | kInit, 0, 0) + Event(kAxis | kInit, 1, 0) << 32767 << 32767 << false
            << 0;
        QTest::newRow("hard left, hard down")
            << Event(kAxis, 0, -32767) + Event(kAxis, 1, 32767) << 0 << 65534 << false << 0;
        QTest::newRow("the latest move counts")
            << Event(kAxis, 0, 100) + Event(kAxis, 0, -100) << 32667 << 0 << false << 0;
        QTest::newRow("the lowest value stays on the scale")
            << Event(kAxis, 0, -32768) << 0 << 0 << false << 0;
        QTest::newRow("button pressed") << Event(kButton, 0, 1) << 0 << 0 << true << 0;
        QTest::newRow("button pressed and let go")
            << Event(kButton, 0, 1) + Event(kButton, 0, 0) << 0 << 0 << false << 0;
        QTest::newRow("a third axis leaves the place")
            << Event(kAxis, 0, 10) + Event(kAxis, 2, 999) << 32777 << 0 << false << 0;
        QTest::newRow("unknown kind passed over")
            << Event(0x04, 0, 500) + Event(kAxis, 0, 1) << 32768 << 0 << false << 1;
        QTest::newRow("axis past the last kept passed over")
            << Event(kAxis, 200, 500) + Event(kButton, 250, 1) << 0 << 0 << false << 2;
    }
    void eventsSetThePlace() {
        QFETCH(QByteArray, events);
        QFETCH(int, x);
        QFETCH(int, y);
        QFETCH(bool, button0);
        QFETCH(int, ignored);
        Pipe pipe;
        Joystick stick(pipe.read, "pipe");
        QVERIFY(pipe.Send(events));
        QVERIFY(stick.Poll());
        QCOMPARE(stick.State(), Joystick::Status::Present);
        QCOMPARE(stick.Position().x, x);
        QCOMPARE(stick.Position().y, y);
        QCOMPARE(stick.Button(0), button0);
        QCOMPARE(stick.IgnoredEvents(), ignored);
    }

    void aStreamInPiecesThenGone() {
        Pipe pipe;
        Joystick stick(pipe.read, "pipe");
        QElapsedTimer timer;
        timer.start();
        QVERIFY(stick.Poll()); // nothing written: back at once, still there
        QVERIFY(timer.elapsed() < 1000);
        const QByteArray move = Event(kAxis, 0, 1000);
        QVERIFY(pipe.Send(move.left(3)));
        QVERIFY(stick.Poll());
        QCOMPARE(stick.Position().x, 0); // half an event waits for its rest
        QVERIFY(pipe.Send(move.mid(3)));
        QVERIFY(stick.Poll());
        QCOMPARE(stick.Position().x, 33767);
        pipe.CloseWriter();
        QVERIFY(!stick.Poll());
        QCOMPARE(stick.State(), Joystick::Status::Gone);
        QVERIFY(!stick.Problem().isEmpty());
        QCOMPARE(stick.Position().x, 33767); // the last place stays
        QVERIFY(!stick.Poll());              // once gone, for good
    }

    void eventsFromAFileThenItsEnd() {
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(Event(kAxis | kInit, 0, 0) + Event(kAxis | kInit, 1, 0) +
                   Event(kAxis, 0, 32767));
        file.flush();
        const int descriptor = ::open(QFile::encodeName(file.fileName()).constData(), O_RDONLY);
        QVERIFY(descriptor >= 0);
        Joystick stick(descriptor, file.fileName());
        QVERIFY(!stick.Poll()); // the file's end is the end of the stream
        QCOMPARE(stick.Position().x, 65534);
        QCOMPARE(stick.Position().y, 32767);
        QCOMPARE(stick.State(), Joystick::Status::Gone);
    }

    void aMissingDeviceIsAbsentAndSaysWhy() {
        QTemporaryDir dir;
        const auto stick = Joystick::Open(QDir(dir.path()).filePath("js0"));
        QCOMPARE(stick->State(), Joystick::Status::Absent);
        QVERIFY(!stick->Poll());
        QVERIFY2(stick->Problem().contains("No such file"), qPrintable(stick->Problem()));
    }

    void aNamedPipeServesAsTheDevice() {
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("js0");
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        // The writer's end is held open first, so that opening the reader doesn't read an end.
        const int writer = ::open(QFile::encodeName(path).constData(), O_RDWR);
        QVERIFY(writer >= 0);
        const auto stick = Joystick::Open(path);
        QCOMPARE(stick->State(), Joystick::Status::Present);
        const QByteArray move = Event(kAxis, 0, -16384);
        QCOMPARE(::write(writer, move.constData(), 8), 8);
        QVERIFY(stick->Poll());
        QCOMPARE(stick->Position().x, 16383);
        ::close(writer);
    }
};

QTEST_GUILESS_MAIN(TestJoystick)
#include "test_joystick.moc"
