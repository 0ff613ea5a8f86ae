#include "devices/fComPort.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QSerialPort>

namespace corvane {

namespace {

// A value of comma-separated input: blanks and quotes around it go.
QString InputValue(const QString& raw) {
    QString value = raw.trimmed();
    if (value.size() >= 2 && value.startsWith(QLatin1Char('"')) && value.endsWith(QLatin1Char('"')))
        value = value.mid(1, value.size() - 2);
    return value;
}

QStringList InputValues(const QString& line) {
    QStringList values;
    for (const QString& raw : line.split(QLatin1Char(',')))
        values << InputValue(raw);
    // A comma at the end of a line and the line's end are one delimiter, not two.
    if (values.size() > 1 && line.trimmed().endsWith(QLatin1Char(',')))
        values.removeLast();
    return values;
}

// The settings text applied to the line; the problem named when a part can't be.
bool ApplySettings(QSerialPort& port, const QString& settings, QString& problem) {
    const QStringList parts = settings.split(QLatin1Char(','));
    bool number = false;
    const int baud = parts.value(0).toInt(&number);
    if (!number || baud <= 0 || !port.setBaudRate(baud)) {
        problem = QStringLiteral("the baud rate '%1' is not taken").arg(parts.value(0));
        return false;
    }
    static const QHash<QString, QSerialPort::Parity> parities{
        {QStringLiteral("n"), QSerialPort::NoParity},
        {QStringLiteral("e"), QSerialPort::EvenParity},
        {QStringLiteral("o"), QSerialPort::OddParity},
        {QStringLiteral("m"), QSerialPort::MarkParity},
        {QStringLiteral("s"), QSerialPort::SpaceParity}};
    const QString parity = parts.value(1).toLower();
    if (!parities.contains(parity)) {
        problem =
            QStringLiteral("the parity '%1' is unknown (n, e, o, m or s)").arg(parts.value(1));
        return false;
    }
    const int bits = parts.value(2).toInt(&number);
    if (!number || bits < 5 || bits > 8) {
        problem = QStringLiteral("the data bits '%1' are not 5 to 8").arg(parts.value(2));
        return false;
    }
    static const QHash<QString, QSerialPort::StopBits> stops{
        {QStringLiteral("1"), QSerialPort::OneStop},
        {QStringLiteral("1.5"), QSerialPort::OneAndHalfStop},
        {QStringLiteral("2"), QSerialPort::TwoStop}};
    if (!stops.contains(parts.value(3))) {
        problem = QStringLiteral("the stop bits '%1' are not 1, 1.5 or 2").arg(parts.value(3));
        return false;
    }
    port.setParity(parities.value(parity));
    port.setDataBits(QSerialPort::DataBits(bits));
    port.setStopBits(stops.value(parts.value(3)));
    port.setFlowControl(QSerialPort::NoFlowControl);
    return true;
}

} // namespace

std::optional<ComPortFile> ReadComPortFile(const QString& path, QString& problem) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        problem = QStringLiteral("it can not be read (") + file.errorString() + QLatin1Char(')');
        return std::nullopt;
    }
    const QStringList lines = QString::fromLocal8Bit(file.readAll()).split(QLatin1Char('\n'));
    const QStringList line2 = InputValues(lines.value(1));
    if (lines.size() < 2 || line2.size() < 5) {
        problem = QStringLiteral("its second line must hold five values: port, baud rate, parity, "
                                 "data bits, stop bits (e.g. 1, 9600, n, 8, 1)");
        return std::nullopt;
    }
    ComPortFile read;
    read.ComCodes.fill(QStringLiteral("0"));
    read.port = line2[0];
    read.settings = line2.mid(1, 4).join(QLatin1Char(',')).remove(QLatin1Char(' '));
    // From the fourth line on: pairs of code and key, wherever the line breaks fall.
    QStringList values;
    for (qsizetype n = 3; n < lines.size(); ++n) {
        if (!lines[n].trimmed().isEmpty())
            values << InputValues(lines[n]);
    }
    for (qsizetype n = 0; n + 1 < values.size(); n += 2) {
        bool number = false;
        const int code = values[n].toInt(&number);
        if (number && code >= 1 && code <= int(read.ComCodes.size()))
            read.ComCodes[std::size_t(code - 1)] = values[n + 1];
    }
    return read;
}

int ComKeyFor(const std::array<QString, 256>& comCodes, QChar c) {
    const int n = c.isDigit() ? c.digitValue() : 0;
    if (n == 0)
        return 0;
    bool number = false;
    const int entry = comCodes[std::size_t(n - 1)].trimmed().toInt(&number);
    if (number && entry > 0 && entry <= 12)
        return entry;
    // No key in the table: the digit presses its own function key.
    return n <= 12 ? n : 0;
}

QString ComDeviceOf(const QString& port) {
    bool number = false;
    const int n = port.toInt(&number);
    if (!number)
        return port;
    const QString usb = QStringLiteral("/dev/ttyUSB%1").arg(n - 1);
    return QFileInfo::exists(usb) ? usb : QStringLiteral("/dev/ttyS%1").arg(n - 1);
}

fComPort::fComPort(Report report, std::function<QWidget*()> keyTarget, std::function<qint32()> now)
    : m_report(std::move(report)), m_keyTarget(std::move(keyTarget)), m_now(std::move(now)) {
    setObjectName(QStringLiteral("fComPort"));
    setWindowTitle(QStringLiteral("COM INPUT"));
    m_comCodes.fill(QStringLiteral("0"));
}

fComPort::~fComPort() = default;

bool fComPort::PortOpen() const {
    return MSC && MSC->isOpen();
}

bool fComPort::Form_Load(const QString& comportFile) {
    QString problem;
    const auto read = ReadComPortFile(comportFile, problem);
    auto refuse = [&](const QString& what) {
        m_report(QStringLiteral("The serial input of %1 is not used: %2. The keyboard works as "
                                "usual.")
                     .arg(comportFile, what));
        return false;
    };
    if (!read)
        return refuse(problem);
    m_comCodes = read->ComCodes;
    m_device = ComDeviceOf(read->port);
    MSC = std::make_unique<QSerialPort>(m_device);
    if (!MSC->open(QIODevice::ReadWrite))
        return refuse(
            QStringLiteral("the port %1 can not be opened (%2)").arg(m_device, MSC->errorString()));
    if (!ApplySettings(*MSC, read->settings, problem)) {
        MSC->close();
        return refuse(QStringLiteral("for the port %1, %2").arg(m_device, problem));
    }
    MSC->setDataTerminalReady(true);
    MSC->setRequestToSend(true);
    MSC->clear(QSerialPort::Input);
    connect(MSC.get(), &QSerialPort::readyRead, this, &fComPort::MSC_OnComm);
    connect(MSC.get(), &QSerialPort::errorOccurred, this, &fComPort::LineError);
    return true;
}

void fComPort::MSC_OnComm() {
    const qint32 arrived = m_now();
    const QByteArray burst = MSC->readAll();
    if (burst.isEmpty())
        return;
    // Only the first character of a burst counts.
    const int key = ComKeyFor(m_comCodes, QChar::fromLatin1(burst.at(0)));
    if (key != 0)
        SendKey(key, arrived);
}

void fComPort::SendKey(int functionKey, qint32 arrived) {
    QWidget* target = QApplication::focusWidget();
    if (!target && m_keyTarget)
        target = m_keyTarget();
    if (!target)
        return;
    // Down only, as the device's key has no release.
    auto* press = new QKeyEvent(QEvent::KeyPress, Qt::Key_F1 + functionKey - 1, Qt::NoModifier);
    press->setTimestamp(ulong(quint32(arrived)));
    QApplication::postEvent(target, press);
}

void fComPort::LineError() {
    const QSerialPort::SerialPortError error = MSC->error();
    if (error == QSerialPort::NoError || error == QSerialPort::TimeoutError || m_lostReported)
        return;
    if (error != QSerialPort::ResourceError && error != QSerialPort::ReadError)
        return;
    m_lostReported = true;
    const QString reason = MSC->errorString();
    MSC->close();
    m_report(QStringLiteral("The serial input at %1 has stopped (%2): its keys are no longer "
                            "taken. The keyboard works as usual; the run goes on.")
                 .arg(m_device, reason));
}

} // namespace corvane
