// An X server of a test's own: Xvfb at a given size on a display that it picks itself
// (-displayfd, so that tests running at once never clash), optionally with openbox as the window
// manager. Nothing of the machine's own display is used; both processes end with the object.
#pragma once

#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

namespace corvane::test {

class PrivateXServer {
public:
    PrivateXServer() = default;
    PrivateXServer(const PrivateXServer&) = delete;
    PrivateXServer& operator=(const PrivateXServer&) = delete;
    ~PrivateXServer() { Stop(); }

    /// Starts Xvfb with one screen of `size` ("1024x768"); empty when it worked, else why not.
    /// `tools` are programs the test needs besides, told by name when one is missing.
    QString Start(const QString& size, const QStringList& tools = {}) {
        for (const QString& tool : QStringList{"Xvfb"} + tools) {
            if (QStandardPaths::findExecutable(tool).isEmpty())
                return tool + " is not installed";
        }
        // -noreset keeps the server's settings (a keyboard layout) when its last client closes.
        m_server.start("Xvfb", {"-displayfd", "1", "-noreset", "-nolisten", "tcp", "-screen", "0",
                                size + "x24"});
        if (!m_server.waitForStarted(5000))
            return "Xvfb could not start";
        QByteArray number;
        for (int i = 0; i < 100 && !number.contains('\n'); ++i) {
            m_server.waitForReadyRead(100);
            number += m_server.readAllStandardOutput();
        }
        if (!number.contains('\n'))
            return "Xvfb did not report a display";
        m_display = ":" + QString::fromLatin1(number).trimmed();
        return {};
    }

    /// Starts openbox on the server with the configuration file `config` (its own defaults when
    /// empty) and waits until it has taken the screen; empty when it worked, else why not.
    QString StartOpenbox(const QString& config = {}) {
        for (const char* tool : {"openbox", "xdotool"}) {
            if (QStandardPaths::findExecutable(tool).isEmpty())
                return QString("%1 is not installed").arg(tool);
        }
        QStringList args{"--sm-disable"};
        if (!config.isEmpty())
            args << "--config-file" << config;
        m_windowManager.setProcessEnvironment(Environment());
        m_windowManager.start("openbox", args);
        if (!m_windowManager.waitForStarted(5000))
            return "openbox could not start";
        for (int i = 0; i < 100; ++i) {
            if (WindowManagerRunning())
                return {};
            if (m_windowManager.state() == QProcess::NotRunning)
                return "openbox ended at once: " +
                       QString::fromLocal8Bit(m_windowManager.readAllStandardError());
            QThread::msleep(100);
        }
        return "openbox did not take the screen";
    }

    /// ":N", the display of the server.
    QString Display() const { return m_display; }

    /// The system's environment with the server as display and Qt on X.
    QProcessEnvironment Environment() const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DISPLAY", m_display);
        env.insert("QT_QPA_PLATFORM", "xcb");
        return env;
    }

    void Stop() {
        for (QProcess* process : {&m_windowManager, &m_server}) {
            if (process->state() != QProcess::NotRunning) {
                process->terminate();
                process->waitForFinished(5000);
            }
        }
    }

private:
    // An EWMH window manager sets the number of desktops on the root window as it comes up.
    bool WindowManagerRunning() const {
        QProcess probe;
        probe.setProcessEnvironment(Environment());
        probe.start("xdotool", {"get_num_desktops"});
        probe.waitForFinished(5000);
        return probe.exitCode() == 0 && !probe.readAllStandardOutput().trimmed().isEmpty();
    }

    QProcess m_server;
    QProcess m_windowManager;
    QString m_display;
};

} // namespace corvane::test
