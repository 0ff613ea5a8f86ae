#include "devices/parallel_port.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/ppdev.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace corvane {

int SystemIoctl(int fd, unsigned long request, void* argument) {
    return ::ioctl(fd, request, argument);
}

std::optional<QString> ParallelDeviceOf(quint16 address) {
    static constexpr std::array<quint16, 3> kUsual{888, 632, 956};
    for (std::size_t n = 0; n < kUsual.size(); ++n) {
        if (kUsual[n] == address)
            return QStringLiteral("/dev/parport%1").arg(n);
    }
    return std::nullopt;
}

ParallelPort::ParallelPort(const QString& device, PortIoctl ioctl)
    : m_device(device), m_ioctl(std::move(ioctl)) {
    m_fd = ::open(device.toLocal8Bit().constData(), O_RDWR | O_CLOEXEC);
    if (m_fd < 0) {
        Fail(QStringLiteral("can not be opened"));
        return;
    }
    // The port is ours for the whole run: claiming it for each pulse would cost time at the
    // very moment that counts.
    if (m_ioctl(m_fd, PPCLAIM, nullptr) != 0) {
        Fail(QStringLiteral("can not be claimed"));
        ::close(m_fd);
        m_fd = -1;
    }
}

ParallelPort::~ParallelPort() {
    if (m_fd < 0)
        return;
    m_ioctl(m_fd, PPRELEASE, nullptr);
    ::close(m_fd);
}

void ParallelPort::Fail(const QString& what) {
    m_error = m_device + QLatin1Char(' ') + what + QStringLiteral(" (") +
              QString::fromLocal8Bit(std::strerror(errno)) + QLatin1Char(')');
}

bool ParallelPort::Outp(quint16, quint8 value) {
    if (m_fd < 0)
        return false;
    unsigned char data = value;
    if (m_ioctl(m_fd, PPWDATA, &data) == 0)
        return true;
    Fail(QStringLiteral("refused a write"));
    return false;
}

quint8 ParallelPort::Inp(quint16) {
    unsigned char data = 0;
    if (m_fd >= 0 && m_ioctl(m_fd, PPRDATA, &data) != 0)
        Fail(QStringLiteral("refused a read"));
    return data;
}

} // namespace corvane
