#include "definitions/single_questionnaire.h"

#include "definitions/definition_store.h"
#include "state/error.h"
#include "state/run_state.h"

#include <QDir>
#include <QFile>

namespace corvane {

void WrapSingleQuestionnaire(RunState& state, const QString& templatePath) {
    if (state.ExperimentFile.right(3).toLower() != QLatin1String("que"))
        return;
    UpdateTemplateFile(templatePath, state.ExperimentFile);

    const QString name = state.ExperimentFileName.left(state.ExperimentFileName.size() - 4) +
                         QStringLiteral("_que.exp");
    const QString target = QDir(state.ExperimentFolder).filePath(name);
    if (QFile::exists(target) && !QFile::remove(target))
        raise(ErrorNumber::PermissionDenied,
              QStringLiteral("Permission denied: '") + target +
                  QStringLiteral("' can not be replaced. Check the permissions of its folder."));
    if (!QFile::copy(templatePath, target))
        raise(ErrorNumber::PermissionDenied,
              QStringLiteral("Permission denied: the template can not be copied to '") + target +
                  QStringLiteral("'. Check that the folder is writable."));
    QFile::setPermissions(target, QFile::permissions(target) | QFileDevice::WriteOwner);
    state.ExperimentFile = target;
    state.ExperimentFileName = name;
}

} // namespace corvane
