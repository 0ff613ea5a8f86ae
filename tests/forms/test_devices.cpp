// The devices: port codes and pulses, the parallel port's driver calls, routing, and the trigger
// box and serial key input on real pseudo-terminals from socat.
#include "devices/fComPort.h"
#include "devices/fTTL.h"
#include "devices/parallel_port.h"
#include "devices/port_router.h"
#include "devices/trigger_box.h"
#include "pty_pair.h"
#include "state/run_clock.h"

#include <QKeyEvent>
#include <QTemporaryDir>
#include <QtTest>
#include <linux/ppdev.h>
#include <sys/ioctl.h>

using namespace corvane;
using namespace corvane::test;
using Write = RecordingPort::Write;

Q_DECLARE_METATYPE(std::vector<Write>)

namespace {

// A widget that keeps the keys it is given.
class KeyTaker : public QWidget {
public:
    QList<int> keys;
    QList<ulong> times;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        keys << event->key();
        times << event->timestamp();
    }
};

void WriteFile(const QString& path, const QByteArray& text) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

// The COM input form with its reports kept; keys go to the taker.
struct ComInput {
    explicit ComInput(QWidget* taker = nullptr)
        : com([this](const QString& text) { reports << text; }, [taker] { return taker; },
              [this] { return clock.Now(); }) {}
    // Loads a comport.txt of this text from a folder of its own.
    bool Load(const QByteArray& text) {
        WriteFile(dir.filePath("comport.txt"), text);
        return com.Form_Load(dir.filePath("comport.txt"));
    }
    QTemporaryDir dir;
    QStringList reports;
    SteadyRunClock clock;
    fComPort com;
};

} // namespace

class TestDevices : public QObject {
    Q_OBJECT
private slots:
    void portCodesAreRead_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("sent");
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("duration");
        QTest::newRow("pulse") << "888:1:10" << true << 888 << 1 << "10";
        QTest::newRow("stays") << "888:255:0" << true << 888 << 255 << "0";
        QTest::newRow("two parts") << "632:4" << true << 632 << 4 << "";
        QTest::newRow("blanks") << " 956 : 2 : 5 " << true << 956 << 2 << "5";
        QTest::newRow("half to even") << "888:2.5:5" << true << 888 << 2 << "5";
        QTest::newRow("no value") << "888" << false << 0 << 0 << "";
        QTest::newRow("empty") << "" << false << 0 << 0 << "";
        QTest::newRow("port not a number") << "lpt:1:5" << false << 0 << 0 << "";
        QTest::newRow("value not a number") << "888:high:5" << false << 0 << 0 << "";
        QTest::newRow("value out of range") << "888:40000:5" << false << 0 << 0 << "";
    }
    void portCodesAreRead() {
        QFETCH(QString, text);
        QFETCH(bool, sent);
        QString problem;
        const auto code = ReadTTLCode(text, problem);
        QCOMPARE(code.has_value(), sent);
        QCOMPARE(problem.isEmpty(), sent);
        if (!sent)
            return;
        QTEST(int(code->port), "port");
        QTEST(int(code->value), "value");
        QTEST(code->duration, "duration");
    }

    // Two codes sent 20 ms apart; what reaches the port, and when.
    void pulsesEndByTheOneTimer_data() {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<std::vector<Write>>("writes");
        QTest::newRow("5 ms pulses in a row")
            << QString("888:1:5") << "888:1:5"
            << std::vector<Write>{{0, 888, 1}, {5, 888, 0}, {20, 888, 1}, {25, 888, 0}};
        QTest::newRow("no duration: the value stays")
            << QString("888:255:0") << "888:7" << std::vector<Write>{{0, 888, 255}, {20, 888, 7}};
        QTest::newRow("not a number: the value stays")
            << QString("888:3:soon") << "888:4:" << std::vector<Write>{{0, 888, 3}, {20, 888, 4}};
        // Only the last port is kept: the first stays high, the timer ends the second.
        QTest::newRow("last port only")
            << QString("888:1:50") << "632:2:10"
            << std::vector<Write>{{0, 888, 1}, {20, 632, 2}, {30, 632, 0}};
        // A new pulse takes the timer over: the first one's end never comes.
        QTest::newRow("one timer") << QString("888:1:50") << "888:2:40"
                                   << std::vector<Write>{{0, 888, 1}, {20, 888, 2}, {60, 888, 0}};
    }
    void pulsesEndByTheOneTimer() {
        QFETCH(QString, first);
        QFETCH(QString, second);
        VirtualRunClock clock(0);
        RecordingPort port([&clock] { return clock.Now(); });
        fTTL ttl(port, clock);
        for (const QString& text : {first, second}) {
            QString problem;
            auto code = ReadTTLCode(text, problem);
            QVERIFY(code);
            ttl.SendTTL(code->port, code->value, code->duration);
            clock.Advance(20);
        }
        clock.Advance(200);
        QTEST(port.Writes(), "writes");
    }

    void readingBackTellsAValueThePortCanNotHold() {
        VirtualRunClock clock(0);
        RecordingPort port([&clock] { return clock.Now(); });
        fTTL ttl(port, clock);
        qint16 address = 888, value = 1;
        QVERIFY(!ttl.SendTTL(address, value));
        value = 256; // one byte wide: the port holds 0
        QVERIFY(ttl.SendTTL(address, value));
        qint16 result = -1;
        ttl.GetTTL(888, result);
        QCOMPARE(result, qint16(0));
        QCOMPARE(ttl.Port(), qint16(888));
    }

    // The ppdev calls on a plain file in place of the device, through the one driver function.
    void parallelPortWritesThroughItsDriver() {
        QTemporaryDir dir;
        const QString device = dir.filePath("parport0");
        WriteFile(device, "");
        QList<unsigned long> requests;
        unsigned char data = 0;
        bool refuse = false;
        auto fake = [&](int fd, unsigned long request, void* argument) {
            requests << request;
            if (fd < 0 || refuse)
                return -1;
            if (request == PPWDATA)
                data = *static_cast<unsigned char*>(argument);
            if (request == PPRDATA)
                *static_cast<unsigned char*>(argument) = data;
            return 0;
        };
        {
            ParallelPort port(device, fake);
            QVERIFY2(port.IsOpen(), qPrintable(port.Error()));
            QVERIFY(port.Outp(888, 0x5a));
            QCOMPARE(port.Inp(888), quint8(0x5a));
            refuse = true;
            QVERIFY(!port.Outp(888, 1));
            QVERIFY(port.Error().contains(device));
            refuse = false;
        }
        QCOMPARE(requests, (QList<unsigned long>{PPCLAIM, PPWDATA, PPRDATA, PPWDATA, PPRELEASE}));
        ParallelPort missing(dir.filePath("none"), fake);
        QVERIFY(!missing.IsOpen());
        QVERIFY(missing.Error().contains("none"));
    }

    void parallelPortOfTheMachine() {
        if (!QFileInfo::exists("/dev/parport0"))
            QSKIP("this machine has no /dev/parport0 (no parallel port, or the ppdev module is "
                  "not loaded)");
        ParallelPort port("/dev/parport0");
        if (!port.IsOpen())
            QSKIP(qPrintable("/dev/parport0 can not be used here: " + port.Error()));
        QVERIFY(port.Outp(888, 0x55));
        QCOMPARE(port.Inp(888), quint8(0x55));
        QVERIFY(port.Outp(888, 0));
    }

    void usualAddressesHaveTheirDevices_data() {
        QTest::addColumn<int>("address");
        QTest::addColumn<QString>("device");
        QTest::newRow("888") << 888 << "/dev/parport0";
        QTest::newRow("632") << 632 << "/dev/parport1";
        QTest::newRow("956") << 956 << "/dev/parport2";
        QTest::newRow("other") << 1000 << "";
    }
    void usualAddressesHaveTheirDevices() {
        QFETCH(int, address);
        QTEST(ParallelDeviceOf(quint16(address)).value_or(QString()), "device");
    }

    void triggerBoxSettingsAreRead_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("device");
        QTest::addColumn<int>("baud");
        QTest::newRow("path") << "/dev/ttyACM0" << QString("/dev/ttyACM0") << 115200;
        QTest::newRow("path and speed")
            << " /dev/ttyUSB1 , 9600" << QString("/dev/ttyUSB1") << 9600;
        QTest::newRow("bad speed") << "/dev/ttyUSB1,fast" << QString("/dev/ttyUSB1") << 115200;
        QTest::newRow("none") << QString() << QString() << 0;
    }
    void triggerBoxSettingsAreRead() {
        QFETCH(QString, text);
        const auto setting = ReadTriggerBoxSetting(text);
        QTEST(setting ? setting->device : QString(), "device");
        QTEST(setting ? setting->baud : 0, "baud");
    }

    // Addresses without a device are logged, announced once; a device that can't be opened or
    // that goes is reported and its address is logged from then on.
    void addressesGoToTheirDevices() {
        VirtualRunClock clock(0);
        QStringList reports, log;
        RecordingPort* box = nullptr;
        auto open = [&](quint16 address) {
            OpenedPort opened;
            if (address == 632) {
                auto port = std::make_unique<RecordingPort>([&clock] { return clock.Now(); });
                box = port.get();
                opened.port = std::move(port);
                opened.name = "the box";
            } else if (address == 956) {
                opened.name = "the broken box";
                opened.error = "it is not there";
            }
            return opened;
        };
        PortRouter router([&](const QString& text) { reports << text; },
                          [&](const QString& line) { log << line; },
                          [&clock] { return clock.Now(); }, open);
        QVERIFY(router.Outp(888, 1));
        QVERIFY(router.Outp(1000, 2));
        QCOMPARE(router.Inp(1000), quint8(2));
        QVERIFY(router.Outp(632, 3));
        QVERIFY(box);
        QCOMPARE(box->Writes(), (std::vector<Write>{{0, 632, 3}}));
        QVERIFY(reports.isEmpty());
        QCOMPARE(log.size(), 4); // the note once, then one line a byte
        QVERIFY(log[0].contains("only logged"));
        QCOMPARE(log[1], "port 888 <- 1 at 0 ms");
        QCOMPARE(log[2], "port 1000 <- 2 at 0 ms");
        QCOMPARE(log[3], "port 632 <- 3 at 0 ms to the box");

        router.Outp(956, 4);
        QCOMPARE(reports.size(), 1);
        QVERIFY(reports[0].contains("the broken box: it is not there"));
        QCOMPARE(log.last(), "port 956 <- 4 at 0 ms");

        clock.Advance(7);
        box->Fail(true);
        QVERIFY(router.Outp(632, 0)); // the byte is logged, the run goes on
        QCOMPARE(reports.size(), 2);
        QVERIFY(reports[1].contains("the box") && reports[1].contains("no longer"));
        QCOMPARE(log.last(), "port 632 <- 0 at 7 ms");
        router.Outp(632, 5);
        QCOMPARE(reports.size(), 2);
        QCOMPARE(log.last(), "port 632 <- 5 at 7 ms");
    }

    void triggerBoxWritesOneBytePerEdge() {
        PtyPair pty;
        if (!pty.Ready())
            QSKIP(qPrintable(pty.Why()));
        QVERIFY(pty.Open());
        TriggerBox box(pty.ProgramEnd(), 115200);
        QVERIFY2(box.IsOpen(), qPrintable(box.Error()));
        QVERIFY(box.Outp(888, 7));
        QVERIFY(box.Outp(888, 0));
        QVERIFY(box.Outp(888, 255));
        QCOMPARE(box.Inp(888), quint8(255));
        const auto bytes = pty.Read(2000, 3);
        QCOMPARE(bytes.size(), std::size_t(3));
        QCOMPARE(bytes[0].value, quint8(7));
        QCOMPARE(bytes[1].value, quint8(0));
        QCOMPARE(bytes[2].value, quint8(255));
        TriggerBox missing("/nonexistent/ttyACM9", 115200);
        QVERIFY(!missing.IsOpen());
        QVERIFY(missing.Error().contains("/nonexistent/ttyACM9"));
        QVERIFY(!missing.Outp(888, 1));
    }

    // The box goes in the middle of a run: the write fails and says why, nothing hangs.
    void aTriggerBoxThatGoesRefusesWrites() {
        auto pty = std::make_unique<PtyPair>();
        if (!pty->Ready())
            QSKIP(qPrintable(pty->Why()));
        TriggerBox box(pty->ProgramEnd(), 115200);
        QVERIFY2(box.IsOpen(), qPrintable(box.Error()));
        QVERIFY(box.Outp(888, 1));
        const QString device = pty->ProgramEnd();
        pty.reset(); // socat ends: its pseudo-terminals go
        QTRY_VERIFY_WITH_TIMEOUT(!box.Outp(888, 0), 5000);
        QVERIFY2(box.Error().startsWith(device + " refused a write"), qPrintable(box.Error()));
        QVERIFY(!box.IsOpen());
    }

    void comPortFileIsRead_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("settings");
        QTest::addColumn<QStringList>("codes"); // entries 0 to 4
        QTest::addColumn<bool>("usable");
        QTest::newRow("blanks go")
            << QByteArray("COM settings\n1, 9600, n, 8, 1\ncodes\n1,5\n2,7\n") << "1"
            << "9600,n,8,1" << QStringList{"5", "7", "0", "0", "0"} << true;
        QTest::newRow("pairs across lines and quotes")
            << QByteArray("t\r\n\"/dev/pts/9\",19200,e,7,2\r\nt\r\n3,\r\n12,5,1\r\n")
            << "/dev/pts/9"
            << "19200,e,7,2" << QStringList{"0", "0", "12", "0", "1"} << true;
        QTest::newRow("no pairs") << QByteArray("t\n2,4800,o,8,1\n") << "2"
                                  << "4800,o,8,1" << QStringList{"0", "0", "0", "0", "0"} << true;
        QTest::newRow("too few lines") << QByteArray("title only\n") << ""
                                       << "" << QStringList{} << false;
        QTest::newRow("too few values") << QByteArray("t\n1,9600\n") << ""
                                        << "" << QStringList{} << false;
    }
    void comPortFileIsRead() {
        QFETCH(QByteArray, text);
        QFETCH(bool, usable);
        QTemporaryDir dir;
        WriteFile(dir.filePath("comport.txt"), text);
        QString problem;
        const auto read = ReadComPortFile(dir.filePath("comport.txt"), problem);
        QCOMPARE(read.has_value(), usable);
        QCOMPARE(problem.isEmpty(), usable);
        if (!usable)
            return;
        QTEST(read->port, "port");
        QTEST(read->settings, "settings");
        QStringList codes;
        for (int n = 0; n < 5; ++n)
            codes << read->ComCodes[std::size_t(n)];
        QTEST(codes, "codes");
        QCOMPARE(read->ComCodes[255], "0");
    }

    void digitsPressFunctionKeys_data() {
        QTest::addColumn<QChar>("c");
        QTest::addColumn<int>("key");
        QTest::newRow("1 by the table") << QChar('1') << 5;
        QTest::newRow("4 without a pair") << QChar('4') << 4;
        QTest::newRow("3 with a key above 12") << QChar('3') << 3;
        QTest::newRow("2 with a 0 in the table") << QChar('2') << 2;
        QTest::newRow("9") << QChar('9') << 9;
        QTest::newRow("0") << QChar('0') << 0;
        QTest::newRow("letter") << QChar('a') << 0;
        QTest::newRow("blank") << QChar(' ') << 0;
    }
    void digitsPressFunctionKeys() {
        QFETCH(QChar, c);
        std::array<QString, 256> codes;
        codes.fill("0");
        codes[0] = "5";
        codes[2] = "13";
        QTEST(ComKeyFor(codes, c), "key");
    }

    void numberedPortsAreSerialLines() {
        QCOMPARE(ComDeviceOf("/dev/pts/4"), "/dev/pts/4");
        const QString first = ComDeviceOf("1");
        QVERIFY(first == "/dev/ttyS0" || first == "/dev/ttyUSB0");
        const QString third = ComDeviceOf("3");
        QVERIFY2(third == "/dev/ttyS2" || third == "/dev/ttyUSB2", qPrintable(third));
    }

    // Digits on a real line reach the widget with the focus as function keys, the first of a
    // burst only; other bytes press nothing.
    void serialDigitsArePostedAsKeys() {
        PtyPair pty;
        if (!pty.Ready())
            QSKIP(qPrintable(pty.Why()));
        QVERIFY(pty.Open());
        KeyTaker taker;
        ComInput input(&taker);
        QVERIFY2(
            input.Load("COM\n" + pty.ProgramEnd().toLocal8Bit() + ", 9600, n, 8, 1\ncodes\n1,5\n"),
            qPrintable(input.reports.join('\n')));
        QCOMPARE(input.com.windowTitle(), "COM INPUT");
        QVERIFY(!input.com.isVisible());
        auto send = [&](const QByteArray& bytes) {
            QVERIFY(pty.Write(bytes));
            QTest::qWait(150); // one burst each
        };
        send("1");
        send("4");
        send("x");
        send("0");
        send("27");
        QTRY_COMPARE(taker.keys, (QList<int>{Qt::Key_F5, Qt::Key_F4, Qt::Key_F2}));
        QVERIFY(taker.times[0] != 0);
        QVERIFY(input.reports.isEmpty());
    }

    void unusableLinesAreReported_data() {
        QTest::addColumn<QByteArray>("line2"); // %1 stands for the pty
        QTest::addColumn<QString>("said");
        QTest::newRow("unknown parity")
            << QByteArray("%1,9600,q,8,1") << "the parity 'q' is unknown";
        QTest::newRow("bad stop bits") << QByteArray("%1,9600,n,8,3") << "stop bits '3'";
        QTest::newRow("bad data bits") << QByteArray("%1,9600,n,9,1") << "data bits '9'";
        QTest::newRow("baud refused") << QByteArray("%1,fast,n,8,1") << "baud rate 'fast'";
        QTest::newRow("no such port") << QByteArray("/dev/nonexistent-tty,9600,n,8,1")
                                      << "/dev/nonexistent-tty can not be opened";
    }
    void unusableLinesAreReported() {
        QFETCH(QByteArray, line2);
        PtyPair pty;
        if (!pty.Ready())
            QSKIP(qPrintable(pty.Why()));
        ComInput input;
        QVERIFY(!input.Load("COM\n" + line2.replace("%1", pty.ProgramEnd().toLocal8Bit()) +
                            "\nc\n1,5\n"));
        QVERIFY(!input.com.PortOpen());
        QCOMPARE(input.reports.size(), 1);
        QFETCH(QString, said);
        QVERIFY2(input.reports[0].contains(said), qPrintable(input.reports[0]));
        QVERIFY(input.reports[0].contains("The keyboard works as usual"));
    }

    // The device end goes away in the middle of a run: said once, no crash, no more keys.
    void aLineThatGoesIsReported() {
        KeyTaker taker;
        ComInput input(&taker);
        {
            PtyPair pty;
            if (!pty.Ready())
                QSKIP(qPrintable(pty.Why()));
            QVERIFY(pty.Open());
            QVERIFY(input.Load("COM\n" + pty.ProgramEnd().toLocal8Bit() + ",9600,n,8,1\n"));
            QVERIFY(pty.Write("2"));
            QTRY_COMPARE(taker.keys, QList<int>{Qt::Key_F2});
        } // socat ends: its pseudo-terminals go
        QTRY_COMPARE_WITH_TIMEOUT(input.reports.size(), 1, 5000);
        QVERIFY2(input.reports[0].contains("has stopped"), qPrintable(input.reports[0]));
        QVERIFY(!input.com.PortOpen());
        QCOMPARE(taker.keys, QList<int>{Qt::Key_F2});
    }
};

QTEST_MAIN(TestDevices)
#include "test_devices.moc"
