#include "engine/word_processor.h"

#include "state/helpers.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>
#include <QFileInfo>

namespace corvane {

namespace {

const QString kClassesRoot = QStringLiteral("HKEY_CLASSES_ROOT");
// The office suite's program, the one a folder of the preferences is expected to hold.
const QString kOfficeProgram = QStringLiteral("soffice");

// Documents are converted by the office program when they are shown, so nothing has to be
// kept running: a program that is there and may be run is one that has started.
bool CanStart(const QString& program) {
    if (program.isEmpty())
        return false;
    const QFileInfo info(FindFile(program).value_or(program));
    return info.isFile() && info.isExecutable();
}

QString RegisteredProgram(const QString& kind) {
    const QString documentClass =
        ReadRegistryValue(kClassesRoot, QLatin1Char('.') + kind, QString(), QString());
    if (documentClass.isEmpty())
        return QString();
    return ReadRegistryValue(kClassesRoot, documentClass + QStringLiteral("\\shell\\open\\command"),
                             QString(), QString());
}

} // namespace

QString WordProcessorName(const QString& kind) {
    return kind == QLatin1String("wpd") ? QStringLiteral("WordPerfect")
                                        : QStringLiteral("Microsoft Word");
}

void OpenWordProcessor(RunState& state, const QString& kind, const QString& wordFolder,
                       const StatusPanel& panel) {
    const QString name = WordProcessorName(kind);
    const QString oldText = panel.text ? panel.text() : QString();
    if (panel.show)
        panel.show(QStringLiteral("Accessing ") + name + QStringLiteral(" ... one moment"));

    const bool found = CanStart(RegisteredProgram(kind)) ||
                       (!wordFolder.isEmpty() &&
                        CanStart(QDir(ToLinuxSeparators(wordFolder)).filePath(kOfficeProgram)));
    if (!found && !wordFolder.isEmpty()) {
        // The panel keeps its announcement: the box says what became of it.
        state.Boxes().Show(MessageBox{state.MessageTitle(),
                                      name + QStringLiteral(" can not be found. This item will "
                                                            "be skipped."),
                                      BoxIcon::Warning, BoxButtons::Ok, BoxAnswer::Ok});
        state.WordFound = False;
        return;
    }
    if (panel.show)
        panel.show(oldText);
    if (found)
        state.WordFound = True;
}

} // namespace corvane
