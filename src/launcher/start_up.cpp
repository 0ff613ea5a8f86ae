#include "launcher/start_up.h"

#include "engine/widget_boxes.h"
#include "launcher/desktop.h"
#include "launcher/fBlue.h"
#include "launcher/fSplash.h"
#include "launcher/file_dialogs.h"
#include "preferences/preferences.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QPixmap>
#include <QScreen>
#include <QTextStream>
#include <QTimer>

namespace corvane {

namespace {

void SaveScreenPicture(const QString& path) {
    QScreen* screen = QGuiApplication::primaryScreen();
    const QPixmap picture = screen ? screen->grabWindow(0) : QPixmap();
    if (picture.isNull() || !picture.save(path))
        QTextStream(stderr) << path << ": the picture of the screen can not be saved" << Qt::endl;
}

} // namespace

int RunLauncher(const LauncherOptions& options) {
    RunState state;
    state.SetBoxes(std::make_unique<WidgetMessageBoxes>());
    QString problem;
    if (!ProgramFolder::Seed(&problem))
        state.Boxes().Show(MessageBox{DefaultBoxTitle(), problem, BoxIcon::Warning});
    // The list of recent experiments lives here, and nothing is installed into it.
    QDir().mkpath(ProgramFolder::FilePath(QStringLiteral("ini")));
    QApplication::setWindowIcon(
        QIcon(ProgramFolder::FilePath(QStringLiteral("graphics/corvane.png"))));

    Preferences preferences;
    WidgetFileDialogs dialogs;
    SystemDesktop desktop;
    fBlue launcher(state, preferences, dialogs, desktop);
    QObject::connect(&launcher, &fBlue::Unloaded, qApp, &QCoreApplication::quit,
                     Qt::QueuedConnection);

    if (!options.screenshot.isEmpty())
        QTimer::singleShot(options.screenshotDelayMs, qApp, [path = options.screenshot] {
            SaveScreenPicture(path);
            QCoreApplication::quit();
        });

    if (!options.file.isEmpty()) {
        launcher.Load();
        launcher.ShowInSavedState();
        QTimer::singleShot(0, &launcher,
                           [&launcher, file = options.file] { launcher.OpenFile(file); });
        return QApplication::exec();
    }

    fSplash splash(state);
    bool loaded = false;
    splash.ShowLauncher = [&launcher, &loaded] {
        if (!loaded) {
            loaded = true; // before the load, whose boxes let the splash's timers run
            launcher.Load();
            launcher.ShowInSavedState();
        }
    };
    splash.Load();
    splash.show();
    splash.activateWindow();
    return QApplication::exec();
}

} // namespace corvane
