// corvane: the laboratory program. Until the launcher arrives it checks a definition file and
// shows what it reads.
#include "definitions/definition_columns.h"
#include "definitions/definition_store.h"
#include "definitions/questionnaire_reader.h"
#include "state/error.h"
#include "state/run_state.h"

#include <QApplication>
#include <QTextStream>

using namespace corvane;

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corvane"));
    QApplication::setApplicationVersion(QStringLiteral(CORVANE_VERSION));
    QTextStream out(stdout);
    const QStringList args = QApplication::arguments().mid(1);
    if (args.contains(QStringLiteral("--version"))) {
        out << "Corvane " << CORVANE_VERSION << Qt::endl;
        return 0;
    }
    out << "Corvane " << CORVANE_VERSION << Qt::endl;
    return 0;
}
