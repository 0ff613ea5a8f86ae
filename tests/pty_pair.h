// A pair of joined pseudo-terminals made by socat, as a serial line with a device at its other
// end: what is written on one end is read on the other.
#pragma once

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <fcntl.h>
#include <poll.h>
#include <time.h>
#include <unistd.h>

namespace corvane::test {

class PtyPair {
public:
    /// Starts socat; `Ready` tells whether both ends are there, `Why` why not.
    PtyPair() {
        m_socat.start("socat", {"-d", "-d", "pty,raw,echo=0", "pty,raw,echo=0"});
        if (!m_socat.waitForStarted(5000)) {
            m_why = "socat can not be started (Debian package socat)";
            return;
        }
        QElapsedTimer waited;
        waited.start();
        const QRegularExpression pty("PTY is (\\S+)");
        QString said;
        while (m_ends.size() < 2 && waited.elapsed() < 5000) {
            m_socat.waitForReadyRead(200);
            said += QString::fromLocal8Bit(m_socat.readAllStandardError());
            m_ends.clear();
            for (auto match = pty.globalMatch(said); match.hasNext();)
                m_ends << match.next().captured(1);
        }
        if (m_ends.size() < 2)
            m_why = "socat made no pair of pseudo-terminals: " + said;
    }
    ~PtyPair() {
        if (m_fd >= 0)
            ::close(m_fd);
        m_socat.terminate();
        m_socat.waitForFinished(3000);
    }
    bool Ready() const { return m_ends.size() == 2; }
    QString Why() const { return m_why; }
    /// The end given to Corvane.
    QString ProgramEnd() const { return m_ends.value(0); }
    /// The end the test keeps, as the device.
    QString DeviceEnd() const { return m_ends.value(1); }

    /// Opens the device end for the test; false when it can't be.
    bool Open() {
        m_fd = ::open(DeviceEnd().toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        return m_fd >= 0;
    }
    bool Write(const QByteArray& bytes) {
        return ::write(m_fd, bytes.constData(), size_t(bytes.size())) == bytes.size();
    }
    struct Byte {
        quint8 value;
        qint64 atNs; // CLOCK_MONOTONIC
    };
    /// Reads what comes within `ms`, each byte with the moment it was read.
    std::vector<Byte> Read(int ms, std::size_t atMost = 1000) {
        std::vector<Byte> bytes;
        QElapsedTimer waited;
        waited.start();
        while (bytes.size() < atMost && waited.elapsed() < ms) {
            pollfd in{m_fd, POLLIN, 0};
            if (::poll(&in, 1, int(qMax<qint64>(1, ms - waited.elapsed()))) <= 0)
                continue;
            unsigned char buffer[64];
            const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
            const qint64 at = MonotonicNs();
            for (ssize_t n = 0; n < got; ++n)
                bytes.push_back({buffer[n], at});
        }
        return bytes;
    }
    static qint64 MonotonicNs() {
        timespec ts{};
        clock_gettime(CLOCK_MONOTONIC, &ts);
        return qint64(ts.tv_sec) * 1000000000 + ts.tv_nsec;
    }

private:
    QProcess m_socat;
    QStringList m_ends;
    QString m_why;
    int m_fd = -1;
};

} // namespace corvane::test
