#include "output/essay_files.h"

#include "output/data_file.h"
#include "output/output_common.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QDir>
#include <QFileInfo>

namespace corvane {

namespace {

// Appends the whole record or nothing; the reason when it failed.
std::optional<QString> AppendRecord(const QString& path, const QString& record) {
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return QStringLiteral("the folder can not be made");
    AppendFile file(path);
    if (file.Open() != FileFault::None)
        return file.Reason();
    if (file.Append(EncodeForFile(record), true) != FileFault::None)
        return file.Reason();
    if (!file.Close())
        return QStringLiteral("the file could not be closed");
    return std::nullopt;
}

} // namespace

QString EssayFilePath(const RunState& state, const QString& variableName,
                      const QString& machineCode, const QString& ending) {
    const QString code = FileNameCode(machineCode);
    const QString name =
        variableName + (code.isEmpty() ? QString() : QLatin1Char(' ') + code) + ending;
    return QDir(DataFolder(state, QString())).filePath(name);
}

QString EssayRecord(const RunState& state, const DataOutputSettings& settings,
                    const QString& text) {
    const QString separator = QStringLiteral("', '");
    const QString head = QLatin1Char('\'') + state.SubjectID + separator + state.ConditionID +
                         separator + state.ExperimentFile + separator + settings.inifile +
                         separator + settings.date + separator + settings.time + QLatin1Char('\'');
    QString body = text;
    body.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    body.replace(QLatin1Char('\n'), kLineEnd);
    return head + kLineEnd + body + kLineEnd;
}

QString KeypressRecord(const RunState& state, const DataOutputSettings& settings,
                       const std::vector<qint32>& times) {
    QString row = RecordHeadRow(state, settings);
    for (const qint32 ms : times)
        row += QLatin1Char(',') + QString::number(ms);
    return row + kLineEnd;
}

QString FallbackSideFolder() {
    return ProgramFolder::FilePath(QStringLiteral("data"));
}

bool AppendSideRecord(RunState& state, const QString& path, const QString& record,
                      const QString& what, const QString& itemName) {
    const auto reason = AppendRecord(path, record);
    if (!reason)
        return true;
    const QString kept = QDir(FallbackSideFolder()).filePath(QFileInfo(path).fileName());
    const auto keptReason = AppendRecord(kept, record);
    QString text = QStringLiteral("Corvane could not write ") + what +
                   QStringLiteral(" of the item '") + itemName + QStringLiteral("' to '") + path +
                   QStringLiteral("' (") + *reason + QStringLiteral("). ");
    if (!keptReason)
        text += QStringLiteral("It has been kept in '") + kept +
                QStringLiteral("' instead. To fix this, make the data folder writable (or "
                               "choose another data folder in the preferences) and move that "
                               "file's record into the data folder.");
    else
        text += QStringLiteral("It could not be kept in '") + kept + QStringLiteral("' either (") +
                *keptReason +
                QStringLiteral("), so it is lost. To fix this, make the data folder writable "
                               "and free space on the disk before the next participant.");
    state.Boxes().Show(MessageBox{state.MessageTitle(), text, BoxIcon::Warning});
    return false;
}

} // namespace corvane
