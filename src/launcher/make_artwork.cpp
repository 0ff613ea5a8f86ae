// Writes Corvane's pictures and click sound into the resources folder given, so that the build
// makes them and the repository keeps no binary files.
#include "launcher/artwork.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTextStream>

using namespace corvane;

namespace {

bool Save(const QImage& image, const QString& path, const char* format) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (image.save(path, format))
        return true;
    QTextStream(stderr) << path << ": can not be written" << Qt::endl;
    return false;
}

} // namespace

int main(int argc, char* argv[]) {
    // Text is drawn through the font database, which wants an application but no screen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        QTextStream(stderr) << "usage: corvane-make-artwork RESOURCES_FOLDER" << Qt::endl;
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    bool ok = Save(artwork::NavigationPicture(artwork::BarPicture::GoBack),
                   out.filePath(QStringLiteral("graphics/goback.bmp")), "BMP");
    ok &= Save(artwork::NavigationPicture(artwork::BarPicture::Continue),
               out.filePath(QStringLiteral("graphics/continue.bmp")), "BMP");
    ok &= Save(artwork::NavigationPicture(artwork::BarPicture::Instruct),
               out.filePath(QStringLiteral("graphics/instruct.bmp")), "BMP");
    ok &= Save(artwork::CheckMark(32), out.filePath(QStringLiteral("graphics/check.ico")), "ICO");
    ok &= Save(artwork::Emblem(256), out.filePath(QStringLiteral("graphics/corvane.png")), "PNG");
    ok &= Save(artwork::Emblem(48), out.filePath(QStringLiteral("graphics/corvane-48.png")), "PNG");

    const QString click = out.filePath(QStringLiteral("utilities/sounds/click.wav"));
    QDir().mkpath(QFileInfo(click).absolutePath());
    QFile wave(click);
    if (!wave.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        wave.write(artwork::ClickWave()) < 0) {
        QTextStream(stderr) << click << ": can not be written" << Qt::endl;
        ok = false;
    }
    return ok ? 0 : 1;
}
