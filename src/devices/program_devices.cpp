#include "devices/program_devices.h"

#include "devices/fComPort.h"
#include "devices/fTTL.h"
#include "devices/port_router.h"
#include "state/helpers.h"
#include "state/message_boxes.h"
#include "state/run_state.h"

#include <QDir>
#include <QTextStream>

namespace corvane {

ProgramDevices::ProgramDevices(RunState& state, std::unique_ptr<PortIO> ports,
                               std::function<void(const QString&)> report,
                               std::function<QWidget*()> currentForm)
    : m_state(state), m_ports(std::move(ports)), m_report(std::move(report)),
      m_currentForm(std::move(currentForm)) {}

ProgramDevices::~ProgramDevices() = default;

std::function<void(qint32)>& ProgramDevices::PulseWritten() {
    static std::function<void(qint32)> observer;
    return observer;
}

void ProgramDevices::ItemOnScreen(const QString& ttlCode, qint32 shownAt) {
    QString problem;
    auto code = ReadTTLCode(ttlCode, problem);
    if (!code) {
        // Said once for each code: the items go on without their pulses.
        if (!m_badCodesReported.contains(ttlCode)) {
            m_badCodesReported.insert(ttlCode);
            m_report(QStringLiteral("The port code '%1' can not be sent: %2. Items with this code "
                                    "go on without a pulse.")
                         .arg(ttlCode, problem));
        }
        return;
    }
    if (!m_ttl) {
        m_ttl = std::make_unique<fTTL>(*m_ports, m_state.Clock());
        m_state.TTLFormLoaded = True;
    }
    m_ttl->SendTTL(code->port, code->value, code->duration);
    if (PulseWritten())
        PulseWritten()(shownAt);
}

void ProgramDevices::RunScreenOpened(const QString& experimentFolder) {
    if (ComPortUp)
        return;
    const auto file = FindFile(QDir(experimentFolder).filePath(QStringLiteral("comport.txt")));
    if (!file)
        return;
    m_comPort = std::make_unique<fComPort>(m_report, m_currentForm,
                                           [this] { return m_state.Clock().Now(); });
    m_comPort->Form_Load(*file);
    // Up whatever the load made of it: a file that can't be used is not read again.
    ComPortUp = true;
}

std::unique_ptr<RunDevices> MakeProgramDevices(RunState& state,
                                               std::function<QWidget*()> currentForm) {
    auto report = [&state](const QString& text) {
        state.Boxes().Show(MessageBox{DefaultBoxTitle(), text, BoxIcon::Information});
    };
    auto log = [](const QString& line) {
        QTextStream err(stderr);
        err << line << Qt::endl;
    };
    auto ports =
        std::make_unique<PortRouter>(report, log, [&state] { return state.Clock().Now(); });
    return std::make_unique<ProgramDevices>(state, std::move(ports), report,
                                            std::move(currentForm));
}

} // namespace corvane
