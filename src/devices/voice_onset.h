// The arithmetic of the voice key: the level of a sample, the first sample at a level, and the
// map from a sample's place in the input stream to the run clock.
#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace corvane {

/// Samples a second of the voice key's input (unsigned 8 bit, mono, silence 128).
constexpr int kVoiceRate = 44100;

/// The level of one sample: its distance from silence, 0 to 128.
inline int SampleLevel(quint8 sample) {
    return sample >= 128 ? sample - 128 : 128 - sample;
}

/// The index of the first sample at or after `from` whose level is at least `threshold`;
/// -1 when there is none.
qint64 FirstSampleAtLevel(const QByteArray& samples, qint64 from, int threshold);

/// Where each sample of an input stream was heard, on the run clock. Samples reach the program
/// in blocks, each some time after its last sample was heard: the least of those delays is the
/// device's own latency, and every other block came later than that because the program or the
/// sound server was busy. So the moment at which the stream's first sample was heard is taken as
/// the earliest of (arrival of a block - the stream's length up to its end) over the blocks seen,
/// less the device's reported latency; every later sample is then placed by its index at the
/// fixed sample rate. This assumes that the device's clock keeps time with the run clock over
/// the seconds in question, that no samples are dropped, and that at least one block is
/// delivered without extra delay.
class StreamClock {
public:
    explicit StreamClock(qint64 latencyUs = 0) : m_latencyUs(latencyUs) {}
    /// A block has arrived, making `samplesSoFar` samples since the start, at `arrivalUs`.
    void Arrived(qint64 samplesSoFar, qint64 arrivalUs);
    /// True once a block has arrived.
    bool Known() const { return m_known; }
    /// The run clock in microseconds at which sample `index` was heard.
    double SampleTimeUs(qint64 index) const;
    /// The index of the first sample heard at or after `timeUs` (0 at the earliest).
    qint64 FirstSampleFrom(double timeUs) const;

private:
    qint64 m_latencyUs;
    bool m_known = false;
    double m_firstArrivalUs = 0; // the earliest arrival less the stream's length at it
};

} // namespace corvane
