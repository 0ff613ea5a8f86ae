#include "devices/audio_input_source.h"

#include "devices/voice_onset.h"
#include "state/run_clock.h"
#include "state/settings_store.h"

#include <QAudioSource>
#include <QMediaDevices>

namespace corvane {

AudioInputSource::AudioInputSource(RunClock& clock) : m_clock(clock) {}

AudioInputSource::~AudioInputSource() {
    Stop();
}

std::optional<QString> AudioInputSource::Start() {
    m_devices = new QMediaDevices(this);
    m_device = QMediaDevices::defaultAudioInput();
    if (m_device.isNull())
        return QStringLiteral("there is no sound input: no sound server is running, or it has no "
                              "input device");
    QAudioFormat format;
    format.setSampleRate(kVoiceRate);
    format.setChannelCount(1);
    format.setSampleFormat(QAudioFormat::UInt8);
    if (!m_device.isFormatSupported(format))
        return QStringLiteral("the sound input '%1' does not record at 44100 Hz, 8 bits, mono")
            .arg(m_device.description());
    m_audio = new QAudioSource(m_device, format, this);
    // Blocks of 50 ms: each one is a chance to see the stream arrive without delay, and the
    // buffer still rides out a busy moment of the program.
    m_audio->setBufferSize(kVoiceRate / 20);
    connect(m_audio, &QAudioSource::stateChanged, this, &AudioInputSource::StateChanged);
    m_stream = m_audio->start();
    if (!m_stream || m_audio->error() != QAudio::NoError) {
        const QString reason =
            QStringLiteral("the sound input '%1' could not be opened").arg(m_device.description());
        Stop();
        return reason;
    }
    connect(m_stream, &QIODevice::readyRead, this, &AudioInputSource::ReadBlock);
    connect(m_devices, &QMediaDevices::audioInputsChanged, this, &AudioInputSource::DevicesChanged);
    return std::nullopt;
}

void AudioInputSource::Stop() {
    if (m_stream)
        m_stream->disconnect(this);
    m_stream = nullptr;
    if (m_audio) {
        m_audio->disconnect(this);
        m_audio->stop();
        m_audio->deleteLater(); // this may run within one of its signals
        m_audio = nullptr;
    }
}

qint64 AudioInputSource::LatencyUs() const {
    const double ms =
        SettingsStore::Get(QStringLiteral("Corvane"), QStringLiteral("VoiceInputLatency"), 0)
            .toDouble();
    return qint64(ms * 1000);
}

void AudioInputSource::ReadBlock() {
    if (!m_stream)
        return;
    const qint64 arrival = m_clock.NowMicroseconds();
    const QByteArray block = m_stream->readAll();
    if (!block.isEmpty() && Delivered)
        Delivered(block, arrival);
}

void AudioInputSource::StateChanged() {
    if (m_audio && m_audio->error() != QAudio::NoError && m_audio->error() != QAudio::UnderrunError)
        Fail(QStringLiteral("the sound input '%1' stopped with an error")
                 .arg(m_device.description()));
}

void AudioInputSource::DevicesChanged() {
    const auto inputs = QMediaDevices::audioInputs();
    for (const QAudioDevice& input : inputs) {
        if (input.id() == m_device.id())
            return;
    }
    Fail(QStringLiteral("the sound input '%1' went away").arg(m_device.description()));
}

void AudioInputSource::Fail(const QString& reason) {
    if (m_failed)
        return;
    m_failed = true;
    Stop();
    if (Failed)
        Failed(reason);
}

} // namespace corvane
