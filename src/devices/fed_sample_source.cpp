#include "devices/fed_sample_source.h"

#include "devices/voice_onset.h"
#include "output/wave_file.h"
#include "state/run_clock.h"

#include <cstring>

namespace corvane {

FedSampleSource::FedSampleSource(RunClock& clock, QByteArray samples, int blockMs)
    : m_clock(clock), m_samples(std::move(samples)), m_blockMs(blockMs) {}

FedSampleSource::~FedSampleSource() = default;

std::optional<QByteArray> FedSampleSource::ReadSamples(const QString& wavePath, QString* why) {
    auto sound = ReadWaveFile(wavePath, why);
    if (!sound)
        return std::nullopt;
    const WaveFormat& f = sound->format;
    if (f.rate != quint32(kVoiceRate) || f.channels != 1 || f.bits != 8) {
        if (why)
            *why = QStringLiteral("it holds %1 Hz, %2 channel(s), %3 bits; the voice key takes "
                                  "44100 Hz, one channel, 8 bits (for instance: sox IN.wav -r "
                                  "44100 -c 1 -b 8 -e unsigned OUT.wav)")
                       .arg(f.rate)
                       .arg(f.channels)
                       .arg(f.bits);
        return std::nullopt;
    }
    return sound->samples;
}

std::optional<QString> FedSampleSource::Start() {
    m_startUs = m_clock.NowMicroseconds();
    m_delivered = 0;
    m_timer = m_clock.Every(m_blockMs, [this] { Deliver(); });
    return std::nullopt;
}

void FedSampleSource::Stop() {
    m_timer.reset();
}

void FedSampleSource::Deliver() {
    if (!m_failure.isEmpty()) {
        m_timer.reset();
        if (Failed)
            Failed(m_failure);
        return;
    }
    const qint64 now = m_clock.NowMicroseconds();
    // Every sample whose time is wholly past is there; none of the future is.
    const qint64 due = (now - m_startUs) * kVoiceRate / 1000000;
    if (due <= m_delivered)
        return;
    QByteArray block(due - m_delivered, char(128));
    const qint64 fromBuffer = qBound<qint64>(0, m_samples.size() - m_delivered, block.size());
    if (fromBuffer > 0)
        std::memcpy(block.data(), m_samples.constData() + m_delivered, std::size_t(fromBuffer));
    m_delivered = due;
    if (Delivered)
        Delivered(block, now);
}

} // namespace corvane
