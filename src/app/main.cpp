// corvane: the laboratory program. Until the run engine arrives, its main job is to read a
// questionnaire the way a run reads it and show what the run would present.
#include "definitions/questionnaire_listing.h"
#include "definitions/questionnaire_reader.h"
#include "state/run_state.h"

#include <QApplication>
#include <QTextStream>

using namespace corvane;

namespace {

const char* const kUsage = "Usage: corvane [--version] [FILE.que]\n"
                           "  FILE.que  read the questionnaire as a run reads it and list its "
                           "items in the order drawn\n";

} // namespace

int main(int argc, char* argv[]) {
    // Without a display, run on the offscreen platform rather than refuse to start.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corvane"));
    QApplication::setApplicationVersion(QStringLiteral(CORVANE_VERSION));
    QTextStream out(stdout);
    const QStringList args = QApplication::arguments().mid(1);
    if (args.contains(QStringLiteral("--version"))) {
        out << "Corvane " << CORVANE_VERSION << Qt::endl;
        return 0;
    }
    if (args.size() != 1 || args.front().startsWith(QLatin1Char('-'))) {
        out << kUsage;
        return args.contains(QStringLiteral("--help")) ? 0 : 2;
    }
    RunState state;
    state.QuestionnaireFile = args.front();
    if (!ReadQuestionnaire(state))
        return 1;
    out << ListQuestionnaire(state);
    return 0;
}
