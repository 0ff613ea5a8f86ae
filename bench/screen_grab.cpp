// Saves what the X screen shows as a PNG: screenshots for the docs and checks of the benchmark.
//
//   DISPLAY=:99 screen_grab OUT.png
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QTextStream>

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        QTextStream(stderr) << "usage: screen_grab OUT.png\n";
        return 2;
    }
    QScreen* screen = QGuiApplication::primaryScreen();
    const QPixmap shot = screen ? screen->grabWindow(0) : QPixmap();
    if (shot.isNull() || !shot.save(QString::fromLocal8Bit(argv[1]))) {
        QTextStream(stderr) << "the screen could not be captured\n";
        return 1;
    }
    return 0;
}
