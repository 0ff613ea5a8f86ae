#include "devices/trigger_box.h"

#include "state/settings_store.h"

#include <QSerialPort>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace corvane {

TriggerBox::TriggerBox(const QString& device, qint32 baud)
    : m_port(std::make_unique<QSerialPort>(device)), m_device(device) {
    m_port->setBaudRate(baud);
    m_port->setDataBits(QSerialPort::Data8);
    m_port->setParity(QSerialPort::NoParity);
    m_port->setStopBits(QSerialPort::OneStop);
    m_port->setFlowControl(QSerialPort::NoFlowControl);
    if (!m_port->open(QIODevice::ReadWrite))
        m_error = m_device + QStringLiteral(" can not be opened (") + m_port->errorString() +
                  QLatin1Char(')');
}

TriggerBox::~TriggerBox() = default;

bool TriggerBox::IsOpen() const {
    return m_port->isOpen();
}

bool TriggerBox::Outp(quint16, quint8 value) {
    if (!m_port->isOpen())
        return false;
    const char byte = char(value);
    // Straight to the line, past the port's buffer: a byte kept there until the event loop
    // turns would make the pulse late.
    if (::write(int(m_port->handle()), &byte, 1) != 1) {
        m_error = m_device + QStringLiteral(" refused a write (") +
                  QString::fromLocal8Bit(std::strerror(errno)) + QLatin1Char(')');
        m_port->close();
        return false;
    }
    m_last = value;
    return true;
}

quint8 TriggerBox::Inp(quint16) {
    return m_last;
}

std::optional<TriggerBoxSetting> ReadTriggerBoxSetting(const QString& text) {
    const QStringList parts = text.split(QLatin1Char(','));
    TriggerBoxSetting setting;
    setting.device = parts.value(0).trimmed();
    if (setting.device.isEmpty())
        return std::nullopt;
    bool number = false;
    const qint32 baud = parts.value(1).trimmed().toInt(&number);
    if (number && baud > 0)
        setting.baud = baud;
    return setting;
}

std::optional<TriggerBoxSetting> TriggerBoxFor(quint16 address) {
    return ReadTriggerBoxSetting(
        SettingsStore::Get(QStringLiteral("Corvane"), QStringLiteral("TriggerBox%1").arg(address))
            .toString());
}

} // namespace corvane
