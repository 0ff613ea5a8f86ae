// Waiting for the screen on a private Xvfb: the moment of a drawing is the server's, taken once
// it is on the screen, however late the program reads it.
#include "engine/screen_sync.h"
#include "state/run_clock.h"

#include <QApplication>
#include <QPalette>
#include <QProcess>
#include <QTest>
#include <QThread>
#include <QWidget>
#include <cstdlib>
#include <xcb/xcb.h>

using namespace corvane;

namespace {

// The colour at the centre of the screen, as the server holds it.
quint32 CentrePixel() {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    xcb_get_image_reply_t* image =
        xcb_get_image_reply(connection,
                            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root,
                                          qint16(screen->width_in_pixels / 2),
                                          qint16(screen->height_in_pixels / 2), 1, 1, ~0u),
                            nullptr);
    quint32 pixel = 0;
    if (image && xcb_get_image_data_length(image) >= 4)
        std::memcpy(&pixel, xcb_get_image_data(image), 4);
    std::free(image);
    xcb_disconnect(connection);
    return pixel & 0xffffff;
}

bool ShowFullScreen(QWidget& window, Qt::GlobalColor colour) {
    window.setGeometry(0, 0, 640, 480);
    window.setAutoFillBackground(true);
    window.setPalette(QPalette(colour));
    window.show();
    return QTest::qWaitForWindowExposed(&window);
}

} // namespace

class TestScreenSync : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(EventTimesOnRunClock()); }

    void drawingIsOnTheScreenWhenTheWaitReturns() {
        QWidget window;
        QVERIFY(ShowFullScreen(window, Qt::black));
        QTRY_COMPARE(CentrePixel(), 0u);
        window.setPalette(QPalette(Qt::white));
        window.repaint();
        WaitForScreen();
        QCOMPARE(CentrePixel(), 0xffffffu);
    }

    void momentIsTheServersEvenWhenTheProgramReadsItLate() {
        SteadyRunClock clock;
        QWidget window;
        QVERIFY(ShowFullScreen(window, Qt::black));
        for (int delay : {0, 30}) {
            const qint32 before = clock.Now();
            window.repaint();
            const std::optional<qint32> shown = WaitForScreen();
            // The program is kept from running after the round trip.
            QThread::msleep(delay);
            const qint32 after = clock.Now();
            QVERIFY(shown.has_value());
            const qint32 moment = ScreenMoment(shown, before, after);
            QVERIFY2(Elapsed(before, moment) >= 0, "the moment is before the drawing began");
            QVERIFY2(Elapsed(moment, after) >= delay,
                     qPrintable(QString("the moment %1 ms before the late reading, not %2")
                                    .arg(Elapsed(moment, after))
                                    .arg(delay)));
        }
    }

    void momentOutsideTheReadingsIsNotUsed_data() {
        QTest::addColumn<std::optional<qint32>>("shown");
        QTest::addColumn<qint32>("expected");
        QTest::newRow("between") << std::optional<qint32>(1005) << 1005;
        QTest::newRow("at the first reading") << std::optional<qint32>(1000) << 1000;
        QTest::newRow("at the second reading") << std::optional<qint32>(1010) << 1010;
        QTest::newRow("before the drawing") << std::optional<qint32>(999) << 1010;
        QTest::newRow("after the wait") << std::optional<qint32>(1011) << 1010;
        QTest::newRow("none") << std::optional<qint32>() << 1010;
    }
    void momentOutsideTheReadingsIsNotUsed() {
        QFETCH(std::optional<qint32>, shown);
        QFETCH(qint32, expected);
        QCOMPARE(ScreenMoment(shown, 1000, 1010), expected);
    }
};

int main(int argc, char* argv[]) {
    // A server of the test's own, so that nothing else draws on its screen.
    QProcess xvfb;
    xvfb.start("Xvfb", {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp"});
    if (!xvfb.waitForStarted() || !xvfb.waitForReadyRead(10000)) {
        qCritical("Xvfb could not be started");
        return 1;
    }
    const QByteArray display = xvfb.readLine().trimmed();
    qputenv("DISPLAY", ":" + display);
    qputenv("QT_QPA_PLATFORM", "xcb");
    int status = 0;
    {
        QApplication app(argc, argv);
        TestScreenSync test;
        status = QTest::qExec(&test, argc, argv);
    }
    xvfb.terminate();
    xvfb.waitForFinished();
    return status;
}

#include "test_screen_sync.moc"
