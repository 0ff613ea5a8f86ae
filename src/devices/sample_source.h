// The one seam of the voice key's input: a stream of unsigned 8-bit mono samples at 44100 Hz,
// delivered in blocks stamped with the run clock at their arrival. The sound server's input is
// one source; a wave file or a buffer fed at the pace of the run clock is another, for tests and
// unattended runs. The voice key treats all of them alike.
#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>

namespace corvane {

class SampleSource {
public:
    virtual ~SampleSource() = default;
    /// Starts the stream; the reason when no input can be opened.
    virtual std::optional<QString> Start() = 0;
    /// Stops the stream; nothing is delivered afterwards.
    virtual void Stop() = 0;
    /// The device's reported latency: from a sound at the input to the delivery of its sample,
    /// beyond the time the block takes to fill, in microseconds.
    virtual qint64 LatencyUs() const { return 0; }

    /// A block of samples, with the run clock's time (microseconds) at its arrival.
    std::function<void(const QByteArray& samples, qint64 arrivalUs)> Delivered;
    /// The input has stopped for good (the device went away), with the reason.
    std::function<void(const QString& reason)> Failed;
};

} // namespace corvane
