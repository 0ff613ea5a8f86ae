// The voice key's input from the sound server: the default input device through Qt
// Multimedia, at 44100 Hz, unsigned 8 bit, mono. Each block is stamped with the run clock as it
// is read.
#pragma once

#include "devices/sample_source.h"

#include <QAudioDevice>
#include <QObject>
#include <memory>

class QAudioSource;
class QIODevice;
class QMediaDevices;

namespace corvane {

class RunClock;

class AudioInputSource : public QObject, public SampleSource {
    Q_OBJECT
public:
    explicit AudioInputSource(RunClock& clock);
    ~AudioInputSource() override;

    std::optional<QString> Start() override;
    void Stop() override;
    /// Qt reports no latency of an input: the one measured on this machine may be set as
    /// "VoiceInputLatency" (milliseconds) in Corvane's settings; 0 without it.
    qint64 LatencyUs() const override;

private:
    void ReadBlock();
    void StateChanged();
    void DevicesChanged();
    void Fail(const QString& reason);

    RunClock& m_clock;
    QAudioDevice m_device;
    QAudioSource* m_audio = nullptr;
    QIODevice* m_stream = nullptr;
    QMediaDevices* m_devices = nullptr;
    bool m_failed = false;
};

} // namespace corvane
