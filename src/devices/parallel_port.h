// A parallel port through the Linux ppdev driver: the data lines of /dev/parportN are written and
// read with its ioctl calls. Every call to the driver goes through one function, so that a test
// can put a plain file and its own function in the driver's place.
#pragma once

#include "devices/port_io.h"

#include <optional>

namespace corvane {

/// The one way to the driver: as ioctl(2), -1 with errno on failure.
using PortIoctl = std::function<int(int fd, unsigned long request, void* argument)>;

/// The system's ioctl.
int SystemIoctl(int fd, unsigned long request, void* argument);

/// The ppdev device of a usual parallel port address: 888, 632 and 956 are the first three.
std::optional<QString> ParallelDeviceOf(quint16 address);

class ParallelPort : public PortIO {
public:
    /// Opens and claims the device; `Error` says why when that failed.
    explicit ParallelPort(const QString& device, PortIoctl ioctl = SystemIoctl);
    ~ParallelPort() override;
    ParallelPort(const ParallelPort&) = delete;
    ParallelPort& operator=(const ParallelPort&) = delete;

    bool IsOpen() const { return m_fd >= 0; }
    QString Error() const { return m_error; }
    /// Writes the data lines; the address was used to choose the device.
    bool Outp(quint16 address, quint8 value) override;
    quint8 Inp(quint16 address) override;

private:
    void Fail(const QString& what);

    QString m_device;
    PortIoctl m_ioctl;
    int m_fd = -1;
    QString m_error;
};

} // namespace corvane
