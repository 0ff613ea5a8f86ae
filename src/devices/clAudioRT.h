// The voice key: it records from the voice input, tells when the voice first reaches the
// trigger level, and saves the recording as a wave file. One sample at or above the level trips
// it, as in a key that watches the latest sample; but the moment is that sample's own place in
// the stream, put on the run clock (see StreamClock), not the moment a poll happened to see it.
//
// The wait is not a loop of its own: the key listens while the event loop runs, and the item's
// stop (VoiceStop: a key, a tool or the time limit) ends it and gives the time.
#pragma once

#include "devices/voice_onset.h"

#include <QByteArray>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace corvane {

class RunState;
class SampleSource;

class clAudioRT {
public:
    /// `itemName` names the item in the messages.
    clAudioRT(RunState& state, QString itemName);
    ~clAudioRT();

    /// Reads the trigger level and readies the input.
    void audioRTinitialize();
    /// The level of the latest sample, 0 to 128; -1 when there is no input.
    int audioRTMonitor() const;
    /// Starts listening and recording. `maxTime` and `highRange` are taken and not used; a
    /// `fileName` that isn't empty is where the recording goes when the key stops.
    void getAudioRT(qint32 maxTime, qint32 highRange, const QString& fileName);
    /// Ends the wait and the recording, saves the recording, and returns the voice time in ms:
    /// from the start of listening to the first sample at the level, or to the stop when there
    /// was none. The 100 ms switch-on wait counts towards it.
    qint32 Stop();
    /// Releases the input and the recording.
    void audioRTCleanUp();

    /// Called once, when the key trips.
    std::function<void()> Tripped;

    qint16 MicSensitivity = 2;
    bool HaveSoundDevice = false;
    /// True when the key has stopped and its recording is in a file (its own, or kept aside).
    bool RecordingKept() const { return m_kept; }
    /// The recording so far.
    const QByteArray& Recording() const { return m_recording; }
    /// The run clock (microseconds) when listening started, and at the onset when there is one.
    qint64 StartUs() const { return m_startUs; }
    std::optional<double> OnsetUs() const;

    /// The switch-on wait: samples of the first 100 ms are not listened to.
    static constexpr int kSwitchOnMs = 100;
    /// The most one recording holds: six minutes.
    static constexpr qint64 kMostSeconds = 360;

private:
    void Receive(const QByteArray& block, qint64 arrivalUs);
    void InputFailed(const QString& reason);
    qint64 ListenFrom() const;
    qint64 FinalOnsetIndex() const;
    void SaveRecording();
    void Tell(const QString& text) const;

    RunState& m_state;
    QString m_itemName;
    std::unique_ptr<SampleSource> m_source;
    StreamClock m_streamClock;
    QByteArray m_recording;
    QString m_fileName;
    qint64 m_startUs = 0;
    qint64 m_scanned = 0;
    qint64 m_streamSamples = 0;
    qint64 m_tripIndex = -1;
    bool m_listening = false;
    bool m_stopped = false;
    bool m_failed = false;
    bool m_kept = false;
    qint32 m_result = 0;
};

} // namespace corvane
