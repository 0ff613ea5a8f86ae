// A picture of an HTML page as a Qt web view shows it, for the documentation (the report of a
// simulation). Usage: page_shot PAGE.html OUT.png [WIDTH HEIGHT]. Needs an X server.
#include <QApplication>
#include <QFileInfo>
#include <QTimer>
#include <QUrl>
#include <QWebEngineView>

int main(int argc, char* argv[]) {
    qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    if (args.size() < 3)
        return 2;
    const QString out = args.at(2);
    const int width = args.size() > 3 ? args.at(3).toInt() : 1100;
    const int height = args.size() > 4 ? args.at(4).toInt() : 1300;
    QWebEngineView view;
    view.resize(width, height);
    view.show();
    int status = 1;
    QObject::connect(&view, &QWebEngineView::loadFinished, &view, [&](bool ok) {
        if (!ok)
            return app.exit(1);
        // Painting follows the load: give it a moment before the picture is taken.
        QTimer::singleShot(1500, &view, [&] {
            status = view.grab().save(out) ? 0 : 1;
            app.exit(status);
        });
    });
    view.load(QUrl::fromLocalFile(QFileInfo(args.at(1)).absoluteFilePath()));
    QTimer::singleShot(60000, &app, [&] { app.exit(3); });
    return app.exec();
}
