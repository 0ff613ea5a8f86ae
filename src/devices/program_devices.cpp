#include "devices/program_devices.h"

#include "devices/fComPort.h"
#include "devices/fTTL.h"
#include "devices/port_router.h"
#include "state/helpers.h"
#include "state/message_boxes.h"
#include "state/run_state.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>
#include <time.h>

namespace corvane {

namespace {

qint64 MonotonicNs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return qint64(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

void WriteLog(QStringList& lines) {
    QTextStream err(stderr);
    for (const QString& line : std::as_const(lines))
        err << line << '\n';
    err.flush();
    lines.clear();
}

} // namespace

ProgramDevices::ProgramDevices(RunState& state, std::unique_ptr<PortIO> ports,
                               std::function<void(const QString&)> report,
                               std::function<QWidget*()> currentForm)
    : m_state(state), m_ports(std::move(ports)), m_report(std::move(report)),
      m_currentForm(std::move(currentForm)) {}

ProgramDevices::~ProgramDevices() {
    // The pulse in progress is left as it stands, and what is still to be told is told.
    m_ttl.reset();
    if (AtEnd)
        AtEnd();
}

std::function<void(qint32, qint64)>& ProgramDevices::PulseWritten() {
    static std::function<void(qint32, qint64)> observer;
    return observer;
}

void ProgramDevices::ItemOnScreen(const QString& ttlCode, qint32 shownAt) {
    const qint64 askedNs = PulseWritten() ? MonotonicNs() : 0;
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
        PulseWritten()(shownAt, askedNs);
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
    // The lines go out when the event loop turns, never between a pulse's byte and the rest of
    // the item's start; those still waiting when the devices go are written then.
    auto pending = std::make_shared<QStringList>();
    auto log = [pending](const QString& line) {
        if (pending->isEmpty())
            QMetaObject::invokeMethod(
                QCoreApplication::instance(), [pending] { WriteLog(*pending); },
                Qt::QueuedConnection);
        pending->append(line);
    };
    auto ports =
        std::make_unique<PortRouter>(report, log, [&state] { return state.Clock().Now(); });
    auto devices =
        std::make_unique<ProgramDevices>(state, std::move(ports), report, std::move(currentForm));
    devices->AtEnd = [pending] { WriteLog(*pending); };
    return devices;
}

} // namespace corvane
