// A device on a serial line standing in for the keyboard: each digit it sends becomes a press of
// a function key, posted to the item form that has the focus as if typed. The line's settings and
// the translation table come from comport.txt in the experiment's folder, whose presence turns
// the feature on. A line that can't be opened, or that goes in the middle of a run, is reported
// and the keyboard goes on.
#pragma once

#include <QWidget>
#include <array>
#include <functional>
#include <memory>
#include <optional>

class QSerialPort;

namespace corvane {

/// What comport.txt says: the port, the settings ("9600,n,8,1") and the table of codes.
struct ComPortFile {
    QString port;
    QString settings;
    /// Index: a code less one; content: the number of a function key, "0" for none.
    std::array<QString, 256> ComCodes;
};

/// Reads the file; when it can't be used, `problem` says why.
std::optional<ComPortFile> ReadComPortFile(const QString& path, QString& problem);

/// The function key (1 to 12) that the first character of a burst presses; 0 for none.
int ComKeyFor(const std::array<QString, 256>& comCodes, QChar c);

/// The device of the port field: a path as it stands, a number N the N-th serial line.
QString ComDeviceOf(const QString& port);

class fComPort : public QWidget {
    Q_OBJECT
public:
    using Report = std::function<void(const QString& message)>;
    /// `keyTarget` gives the form to take a key when no widget has the focus; `now` the run
    /// clock, whose reading at the arrival of the bytes the key carries as its time.
    fComPort(Report report, std::function<QWidget*()> keyTarget, std::function<qint32()> now);
    ~fComPort() override;

    /// Reads the file and opens the line; false, with the operator told why, when it can't.
    bool Form_Load(const QString& comportFile);
    bool PortOpen() const;
    const std::array<QString, 256>& ComCodes() const { return m_comCodes; }
    /// The device of the line, for messages.
    QString Device() const { return m_device; }

private:
    void MSC_OnComm();
    void LineError();
    void SendKey(int functionKey, qint32 arrived);

    Report m_report;
    std::function<QWidget*()> m_keyTarget;
    std::function<qint32()> m_now;
    std::unique_ptr<QSerialPort> MSC;
    std::array<QString, 256> m_comCodes;
    QString m_device;
    bool m_lostReported = false;
};

} // namespace corvane
