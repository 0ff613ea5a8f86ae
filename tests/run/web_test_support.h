// What the tests of web pages and outside programs share: the environment in which the web
// engine starts on a fresh machine (also as root, without a GPU), and a small HTTP server on
// 127.0.0.1 that serves the files of a folder.
#pragma once

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QTcpServer>
#include <QTcpSocket>

namespace corvane::test {

/// The web engine's sandbox needs kernel features that containers and root lack; the pages of
/// a test are its own, so it is switched off, with the GPU, for the test's processes only.
inline void AddWebEngineEnvironment(QProcessEnvironment& env) {
    env.insert("QTWEBENGINE_DISABLE_SANDBOX", "1");
    env.insert("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu --disable-dev-shm-usage");
    env.insert("QT_QUICK_BACKEND", "software");
}

/// The same, for a test whose own process shows pages; call before the application is made.
inline void SetWebEngineEnvironment() {
    qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu --disable-dev-shm-usage");
    qputenv("QT_QUICK_BACKEND", "software");
}

/// Serves the files of a folder over HTTP/1.0 on a free port of 127.0.0.1; 404 for others.
class FolderServer : public QTcpServer {
public:
    explicit FolderServer(QString folder) : m_folder(std::move(folder)) {
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection())
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { Answer(socket); });
        });
    }
    bool Start() { return listen(QHostAddress::LocalHost, 0); }
    QString Address(const QString& file) const {
        return QStringLiteral("http://127.0.0.1:%1/").arg(serverPort()) + file;
    }

private:
    void Answer(QTcpSocket* socket) {
        const QByteArray request = socket->readAll();
        const QByteArray path = request.split(' ').value(1).mid(1);
        QFile file(QDir(m_folder).filePath(QString::fromUtf8(path)));
        if (!path.contains("..") && file.open(QIODevice::ReadOnly)) {
            const QByteArray body = file.readAll();
            socket->write("HTTP/1.0 200 OK\r\nContent-Type: text/html\r\nContent-Length: " +
                          QByteArray::number(body.size()) + "\r\n\r\n" + body);
        } else {
            socket->write("HTTP/1.0 404 Not Found\r\nContent-Type: text/html\r\n\r\n"
                          "<html><body>not here</body></html>");
        }
        socket->disconnectFromHost();
    }
    QString m_folder;
};

} // namespace corvane::test
