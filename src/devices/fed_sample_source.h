// Samples fed to the voice key as a microphone would give them: from a buffer (or a wave file),
// at 44100 a second of the run clock, in blocks of a few milliseconds, then silence once the
// buffer is spent. On a virtual clock the blocks come exactly on time; on the real clock they
// come as the event loop serves the timer, as a device's blocks do.
#pragma once

#include "devices/sample_source.h"

#include <memory>

namespace corvane {

class RunClock;
class RunTimer;

class FedSampleSource : public SampleSource {
public:
    FedSampleSource(RunClock& clock, QByteArray samples, int blockMs = 5);
    ~FedSampleSource() override;
    /// The samples of a wave file of the voice format; the reason when it can't be used.
    static std::optional<QByteArray> ReadSamples(const QString& wavePath, QString* why);

    std::optional<QString> Start() override;
    void Stop() override;
    /// The run clock (microseconds) at the start, when sample 0 begins.
    qint64 StartUs() const { return m_startUs; }
    /// Makes the input fail at the next block, as a device that is pulled out.
    void FailAtNextBlock(const QString& reason) { m_failure = reason; }

private:
    void Deliver();

    RunClock& m_clock;
    QByteArray m_samples;
    int m_blockMs;
    qint64 m_startUs = 0;
    qint64 m_delivered = 0;
    QString m_failure;
    std::unique_ptr<RunTimer> m_timer;
};

} // namespace corvane
