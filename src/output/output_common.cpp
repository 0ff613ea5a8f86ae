#include "output/output_common.h"

#include "output/data_file.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>

namespace corvane {

QString FileNameCode(const QString& machineCode) {
    return TrimBlanks(machineCode);
}

QString RecordHeadLine(const RunState& state, const DataOutputSettings& settings) {
    const QString separator = QStringLiteral("','");
    return QLatin1Char('\'') + state.SubjectID + separator + state.ConditionID + separator +
           state.ExperimentFile + separator + settings.inifile + separator + settings.date +
           separator + settings.time + QLatin1Char('\'') + kLineEnd;
}

QString RecordHeadRow(const RunState& state, const DataOutputSettings& settings) {
    return QStringList{state.SubjectID,  state.ConditionID, state.ExperimentFile,
                       settings.inifile, settings.date,     settings.time}
        .join(QLatin1Char(','));
}

int ItemsOf(const RunState& state, int q) {
    try {
        return state.Variables.ItemCount(q);
    } catch (const CorvaneError&) {
        return 0;
    }
}

int VariablesOf(const RunState& state, int q, int i) {
    try {
        return state.Variables.VariableCount(q, i).value_or(0);
    } catch (const CorvaneError&) {
        return 0;
    }
}

std::optional<VariableColumn> ColumnOf(const RunState& state, int q, int i, int k) {
    try {
        return state.Variables.Column(q, i, k);
    } catch (const CorvaneError&) {
        return std::nullopt;
    }
}

QString ValueOf(const RunState& state, int q, int i, int k) {
    try {
        return state.Responses().Value(q, i, k);
    } catch (const CorvaneError&) {
        return QString();
    }
}

qint32 TimeOf(const RunState& state, int q, int i, int k) {
    try {
        return state.Responses().Time(q, i, k);
    } catch (const CorvaneError&) {
        return 0;
    }
}

QString ShortName(const RunState& state, int q) {
    const QString name = state.QuestionnaireNames.value(q);
    return name.left(qMax(qsizetype(0), name.size() - 4));
}

QString DataFolder(const RunState& state, const QString& leaf) {
    const QString root = ToLinuxSeparators(state.DataRoot);
    return QDir::cleanPath(
        QDir::current().absoluteFilePath(root + QStringLiteral("/data/") + leaf));
}

bool EnterFolder(const QString& folder) {
    QString path = folder;
    try {
        return ChangeToFolder(path);
    } catch (const CorvaneError&) {
        return false; // deeper than folders may be made
    }
}

void ReportInUse(RunState& state, const QString& fileName, bool finalPoint) {
    QString text = QStringLiteral("Can't write data to ") + fileName +
                   QStringLiteral(". File is currently open or in use by another program");
    if (finalPoint)
        text += QLatin1Char('.');
    state.Boxes().Show(MessageBox{state.MessageTitle(), text, BoxIcon::Information});
}

void ReportOpenFault(RunState& state, const QString& path, const QString& reason,
                     const QString& what) {
    state.Boxes().Show(MessageBox{state.MessageTitle(),
                                  QStringLiteral("Corvane could not open the file '") + path +
                                      QStringLiteral("' (") + reason + QStringLiteral("), so ") +
                                      what + QStringLiteral(" is not in it."),
                                  BoxIcon::Warning});
}

void ReportWriteFault(RunState& state, const QString& path, const QString& reason,
                      const QString& what, bool partial) {
    QString text = QStringLiteral("Corvane could not write ") + what + QStringLiteral(" to '") +
                   path + QStringLiteral("' (") + reason + QStringLiteral("). ");
    text += partial ? QStringLiteral("What was written of it could not be taken back: the last "
                                     "line of the file is incomplete.")
                    : QStringLiteral("The file is as it was before.");
    state.Boxes().Show(MessageBox{state.MessageTitle(), text, BoxIcon::Warning});
}

FileFault OpenForRecord(RunState& state, AppendFile& file, const QString& shownName,
                        const QString& what) {
    const FileFault fault = file.Open();
    if (fault == FileFault::InUse)
        ReportInUse(state, shownName, true);
    else if (fault == FileFault::Failed)
        ReportOpenFault(state, file.Path(), file.Reason(), what);
    return fault;
}

bool AppendAndClose(RunState& state, AppendFile& file, const QString& text, bool startLine,
                    const QString& what) {
    if (!file.IsOpen())
        return false;
    if (file.Append(EncodeForFile(text), startLine) != FileFault::None) {
        ReportWriteFault(state, file.Path(), file.Reason(), what, file.LeftPartial());
        return false;
    }
    return file.Close();
}

void ReportFolderFault(RunState& state, const QString& folder, const QStringList& files) {
    QString list;
    for (const QString& file : files) {
        if (!list.isEmpty())
            list += QStringLiteral(" and ");
        list += QLatin1Char('\'') + file + QLatin1Char('\'');
    }
    state.Boxes().Show(MessageBox{state.MessageTitle(),
                                  QStringLiteral("The data folder '") + folder +
                                      QStringLiteral("' can not be created or accessed, so "
                                                     "nothing could be written to ") +
                                      list + QLatin1Char('.'),
                                  BoxIcon::Warning});
}

std::optional<bool> HeaderNeeded(RunState& state, const QString& csvPath, const QString& fileName) {
    AppendFile csv(csvPath);
    switch (csv.Open()) {
    case FileFault::InUse:
        ReportInUse(state, fileName, true);
        return std::nullopt;
    case FileFault::Failed:
        ReportOpenFault(state, csvPath, csv.Reason(),
                        QStringLiteral("this experiment's column header"));
        return std::nullopt;
    case FileFault::None:
        break;
    }
    csv.Close();
    return CountLines(csvPath) < 1;
}

QString RecordPlace::File(const QString& ending) const {
    return QDir(folder).filePath(base + ending);
}

std::optional<RecordPlace> EnterRecordFolder(RunState& state, const QString& organisation,
                                             const DataOutputSettings& settings) {
    RecordPlace place{DataFolder(state, organisation),
                      state.ExperimentFileName + FileNameCode(settings.machineCode)};
    if (!EnterFolder(place.folder)) {
        ReportFolderFault(state, place.folder,
                          {place.File(QStringLiteral(".txt")), place.File(QStringLiteral(".csv"))});
        return std::nullopt;
    }
    return place;
}

} // namespace corvane
