#include "devices/voice_onset.h"

#include <cmath>

namespace corvane {

qint64 FirstSampleAtLevel(const QByteArray& samples, qint64 from, int threshold) {
    const auto* data = reinterpret_cast<const quint8*>(samples.constData());
    for (qint64 n = qMax<qint64>(from, 0); n < samples.size(); ++n) {
        if (SampleLevel(data[n]) >= threshold)
            return n;
    }
    return -1;
}

namespace {

double SamplesToUs(double samples) {
    return samples * 1e6 / kVoiceRate;
}

} // namespace

void StreamClock::Arrived(qint64 samplesSoFar, qint64 arrivalUs) {
    const double start = double(arrivalUs) - SamplesToUs(double(samplesSoFar));
    if (!m_known || start < m_firstArrivalUs)
        m_firstArrivalUs = start;
    m_known = true;
}

double StreamClock::SampleTimeUs(qint64 index) const {
    return m_firstArrivalUs - double(m_latencyUs) + SamplesToUs(double(index));
}

qint64 StreamClock::FirstSampleFrom(double timeUs) const {
    const double index = (timeUs - SampleTimeUs(0)) * kVoiceRate / 1e6;
    return index <= 0 ? 0 : qint64(std::ceil(index - 1e-9));
}

} // namespace corvane
