// An unattended run of the real program in a folder of its own: private settings and program
// folder, the offscreen platform, the virtual clock and a message log.
#pragma once

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

namespace corvane::test {

struct UnattendedProcess {
    int exitCode = -1; // -1 when the run didn't end within the minute
    QString errors;
};

/// Runs `corvane --run` with the arguments given; the program's folder is `folder`/xdg/corvane
/// and the message log `folder`/messages.log.
inline UnattendedProcess RunCorvane(const QString& folder, const QStringList& arguments) {
    const QDir dir(folder);
    QProcess run;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_DATA_HOME", dir.filePath("xdg"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    run.setProcessEnvironment(env);
    run.start(CORVANE_BIN,
              QStringList{"--run"} + arguments +
                  QStringList{"--virtual-clock", "--message-log", dir.filePath("messages.log")});
    UnattendedProcess result;
    if (run.waitForFinished(60000))
        result.exitCode = run.exitCode();
    result.errors = QString::fromUtf8(run.readAllStandardError());
    return result;
}

/// A data file's text with its times of day written "hh:mm:ss", which differ from run to run.
inline QByteArray WithTimesOfDayMasked(const QByteArray& text) {
    return QString::fromUtf8(text)
        .replace(QRegularExpression(QStringLiteral("\\d\\d:\\d\\d:\\d\\d")),
                 QStringLiteral("hh:mm:ss"))
        .toUtf8();
}

} // namespace corvane::test
