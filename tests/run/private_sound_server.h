// A sound server of a test's own: PulseAudio started in a private runtime folder, with a null
// sink whose monitor, remapped into an ordinary source (Qt Multimedia lists no monitors as
// inputs), is the default input: what is played into the sink is what a recording program
// hears. Nothing of the machine's own sound set-up is used or touched.
#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

namespace corvane::test {

class PrivateSoundServer {
public:
    /// Starts the server in `folder`; on failure, Why() tells what is missing.
    explicit PrivateSoundServer(const QString& folder) : m_dir(folder) {
        const QString pulseaudio = QStandardPaths::findExecutable("pulseaudio");
        m_pactl = QStandardPaths::findExecutable("pactl");
        m_paplay = QStandardPaths::findExecutable("paplay");
        if (pulseaudio.isEmpty()) {
            m_why = "pulseaudio is not installed (Debian package pulseaudio)";
            return;
        }
        if (m_pactl.isEmpty() || m_paplay.isEmpty()) {
            m_why = "pactl or paplay is not installed (Debian package pulseaudio-utils)";
            return;
        }
        m_dir.mkpath("runtime/pulse");
        QFile::setPermissions(m_dir.filePath("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const QString socket = m_dir.filePath("runtime/pulse/native");
        QFile config(m_dir.filePath("server.pa"));
        if (!config.open(QIODevice::WriteOnly)) {
            m_why = "the server's configuration can't be written in " + folder;
            return;
        }
        config.write(QString("load-module module-null-sink sink_name=corvane_sink rate=44100 "
                             "channels=1\n"
                             "set-default-sink corvane_sink\n"
                             "load-module module-remap-source master=corvane_sink.monitor "
                             "source_name=corvane_input\n"
                             "set-default-source corvane_input\n"
                             "load-module module-native-protocol-unix auth-anonymous=1 socket=%1\n")
                         .arg(socket)
                         .toUtf8());
        config.close();
        m_env = QProcessEnvironment::systemEnvironment();
        m_env.insert("HOME", m_dir.path());
        m_env.insert("XDG_RUNTIME_DIR", m_dir.filePath("runtime"));
        m_env.insert("PULSE_RUNTIME_PATH", m_dir.filePath("runtime/pulse"));
        m_env.insert("XDG_CONFIG_HOME", m_dir.filePath("pulse-config"));
        m_env.insert("PULSE_SERVER", "unix:" + socket);
        m_env.remove("DBUS_SESSION_BUS_ADDRESS");
        m_server.setProcessEnvironment(m_env);
        m_server.setProcessChannelMode(QProcess::MergedChannels);
        m_server.setStandardOutputFile(m_dir.filePath("server.log"));
        // As root it warns that it is meant for a system-wide server, and runs all the same.
        m_server.start(pulseaudio,
                       {"--daemonize=no", "--exit-idle-time=-1", "-n", "-F", config.fileName(),
                        "--use-pid-file=no", "--disable-shm=yes", "--log-target=stderr"});
        if (!m_server.waitForStarted(5000)) {
            m_why = "pulseaudio could not be started: " + m_server.errorString();
            return;
        }
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < 10000) {
            if (m_server.state() != QProcess::Running)
                break;
            if (Pactl({"info"}) == 0) {
                m_ready = true;
                return;
            }
            QThread::msleep(100);
        }
        QFile log(m_dir.filePath("server.log"));
        log.open(QIODevice::ReadOnly);
        m_why = "the private pulseaudio did not answer within 10 s; its log: " +
                QString::fromUtf8(log.readAll()).right(600);
    }

    ~PrivateSoundServer() {
        if (m_server.state() == QProcess::NotRunning)
            return;
        m_server.terminate();
        if (!m_server.waitForFinished(3000)) {
            m_server.kill();
            m_server.waitForFinished(3000);
        }
    }

    bool Ready() const { return m_ready; }
    QString Why() const { return m_why; }
    /// The environment in which a program uses this server.
    QProcessEnvironment Environment() const { return m_env; }

    /// Runs pactl on this server; its exit code (-1 when it did not end).
    int Pactl(const QStringList& arguments, QString* output = nullptr) const {
        QProcess pactl;
        pactl.setProcessEnvironment(m_env);
        pactl.start(m_pactl, arguments);
        if (!pactl.waitForFinished(5000))
            return -1;
        if (output)
            *output = QString::fromUtf8(pactl.readAllStandardOutput());
        return pactl.exitCode();
    }

    /// True once a program records from this server.
    bool SomeoneRecords() const {
        QString streams;
        return Pactl({"list", "short", "source-outputs"}, &streams) == 0 &&
               !streams.trimmed().isEmpty();
    }

    /// Starts playing a wave file into the sink, with small buffers; the player runs on in
    /// `player`.
    void Play(QProcess& player, const QString& wave) const {
        player.setProcessEnvironment(m_env);
        player.start(m_paplay, {"--latency-msec=50", wave});
    }

private:
    QDir m_dir;
    QString m_pactl;
    QString m_paplay;
    QProcessEnvironment m_env;
    QProcess m_server;
    QString m_why;
    bool m_ready = false;
};

} // namespace corvane::test
