#include "engine/time_stamps.h"

#include "state/run_state.h"

#include <QDir>
#include <QFile>
#include <QStringEncoder>

namespace corvane {

void AppendTimeStamp(RunState& state, const QString& timeOfDay) {
    const QString folder = QDir(state.DataRoot).filePath(QStringLiteral("data"));
    QDir().mkpath(folder);
    QFile file(QDir(folder).filePath(QStringLiteral("timestamps.csv")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        state.Boxes().Show(MessageBox{state.MessageTitle(),
                                      QStringLiteral("The 'TimeStamp.csv' output file can not be "
                                                     "accessed.  Make sure it's not open."),
                                      BoxIcon::Information});
        return;
    }
    const qint32 now = state.Clock().Now();
    const QString row = state.SubjectID + QLatin1Char(',') +
                        state.Questions[std::size_t(state.CurrentQuestion)].VariableName +
                        QLatin1Char(',') + timeOfDay + QLatin1Char(',') +
                        QString::number(Elapsed(state.RunStart, now)) + QLatin1Char(',') +
                        QString::number(Elapsed(state.LastStamp, now)) + QStringLiteral("\r\n");
    QStringEncoder encode(QStringConverter::System);
    const QByteArray bytes = encode(row);
    if (file.write(bytes) == bytes.size() && file.flush())
        state.LastStamp = now;
}

} // namespace corvane
