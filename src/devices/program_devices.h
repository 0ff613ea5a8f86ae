// The program's devices of a run: the port pulses of the items and the serial key input.
#pragma once

#include "engine/run_devices.h"

#include <QSet>

namespace corvane {

class PortIO;
class fComPort;
class fTTL;

class ProgramDevices : public RunDevices {
public:
    /// `ports` stands behind every address; `report` tells the operator.
    ProgramDevices(RunState& state, std::unique_ptr<PortIO> ports,
                   std::function<void(const QString&)> report,
                   std::function<QWidget*()> currentForm);
    ~ProgramDevices() override;

    void ItemOnScreen(const QString& ttlCode, qint32 shownAt) override;
    void RunScreenOpened(const QString& experimentFolder) override;

    fComPort* ComPort() const { return m_comPort.get(); }
    /// Called as the devices go.
    std::function<void()> AtEnd;
    /// For measurements: called after each pulse's first write with the item's start and the
    /// monotonic time in ns at which the pulse was asked for.
    static std::function<void(qint32 shownAt, qint64 askedNs)>& PulseWritten();

private:
    RunState& m_state;
    std::unique_ptr<PortIO> m_ports;
    std::function<void(const QString&)> m_report;
    std::function<QWidget*()> m_currentForm;
    std::unique_ptr<fTTL> m_ttl;
    std::unique_ptr<fComPort> m_comPort;
    bool ComPortUp = false;
    QSet<QString> m_badCodesReported;
};

} // namespace corvane
