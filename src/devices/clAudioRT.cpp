#include "devices/clAudioRT.h"

#include "devices/voice_input.h"
#include "output/essay_files.h"
#include "output/wave_file.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QDir>
#include <QFileInfo>
#include <cmath>

namespace corvane {

namespace {

constexpr qint64 kMostBytes = 44100 * clAudioRT::kMostSeconds;
// The anchor of the stream is refined for this long past the onset, and then kept: over
// minutes, the device's clock and the run clock may part by a few milliseconds.
constexpr qint64 kAnchorSamplesPastOnset = 44100;

// A fault of the sound input is told once, not at every voice item.
bool FirstTimeOf(RunState& state, const QString& kind) {
    if (state.VoiceInputFaultsTold.contains(kind))
        return false;
    state.VoiceInputFaultsTold.append(kind);
    return true;
}

} // namespace

clAudioRT::clAudioRT(RunState& state, QString itemName)
    : m_state(state), m_itemName(std::move(itemName)) {}

clAudioRT::~clAudioRT() {
    audioRTCleanUp();
}

void clAudioRT::audioRTinitialize() {
    // The trigger level is shared with the reaction-time program's setting.
    MicSensitivity = qint16(qBound(
        0,
        SettingsStore::Get(QStringLiteral("Tachyra"), QStringLiteral("MicSensitivity"), 2).toInt(),
        128));
    m_source = MakeVoiceInput(m_state.Clock());
    HaveSoundDevice = m_source != nullptr;
}

int clAudioRT::audioRTMonitor() const {
    if (!HaveSoundDevice || m_failed)
        return -1;
    if (m_recording.isEmpty())
        return 0;
    return SampleLevel(quint8(m_recording.back()));
}

void clAudioRT::getAudioRT(qint32 /*maxTime*/, qint32 /*highRange*/, const QString& fileName) {
    m_fileName = fileName;
    m_listening = true;
    if (HaveSoundDevice) {
        m_source->Delivered = [this](const QByteArray& block, qint64 arrivalUs) {
            Receive(block, arrivalUs);
        };
        m_source->Failed = [this](const QString& reason) { InputFailed(reason); };
        m_streamClock = StreamClock(m_source->LatencyUs());
        if (const auto reason = m_source->Start()) {
            HaveSoundDevice = false;
            m_source.reset();
            if (FirstTimeOf(m_state, QStringLiteral("no input")))
                Tell(QStringLiteral("Corvane could not open a sound input for the voice item "
                                    "'%1': %2. The voice items of this run go on without a "
                                    "voice key: each one's time is taken when it is stopped, "
                                    "and nothing is recorded. To use the voice key, connect a "
                                    "microphone and make sure the sound server (PulseAudio or "
                                    "PipeWire) is running, then start the experiment again.")
                         .arg(m_itemName, *reason));
        }
    }
    m_startUs = m_state.Clock().NowMicroseconds();
}

void clAudioRT::Receive(const QByteArray& block, qint64 arrivalUs) {
    if (m_stopped)
        return;
    // Beyond six minutes the recording is full, and the input is heard no more.
    const qint64 room = kMostBytes - m_recording.size();
    if (room <= 0)
        return;
    m_recording.append(block.constData(), qMin<qint64>(room, block.size()));
    m_streamSamples += block.size();
    const qint64 total = m_recording.size();
    if (m_tripIndex < 0 || total <= m_tripIndex + kAnchorSamplesPastOnset)
        m_streamClock.Arrived(m_streamSamples, arrivalUs);
    if (m_tripIndex >= 0)
        return;
    const qint64 from = qMax(ListenFrom(), m_scanned);
    m_scanned = total;
    const qint64 found = FirstSampleAtLevel(m_recording, from, MicSensitivity);
    if (found < 0)
        return;
    m_tripIndex = found;
    if (Tripped)
        Tripped();
}

qint64 clAudioRT::ListenFrom() const {
    return m_streamClock.FirstSampleFrom(double(m_startUs) + kSwitchOnMs * 1000.0);
}

void clAudioRT::InputFailed(const QString& reason) {
    m_failed = true;
    if (FirstTimeOf(m_state, QStringLiteral("input failed")))
        Tell(QStringLiteral("The sound input stopped during the voice item '%1': %2. What was "
                            "heard until then is kept, and the item goes on; its voice time is "
                            "the onset heard before the input stopped, or else the moment the "
                            "item is stopped. Check the microphone and the sound server before "
                            "the next participant.")
                 .arg(m_itemName, reason));
}

// The onset once more, by the stream's anchor as it stands at the end; the sample that tripped
// the key stands if the refined anchor puts it just before the switch-on wait's end.
qint64 clAudioRT::FinalOnsetIndex() const {
    if (m_tripIndex < 0)
        return -1;
    const qint64 found = FirstSampleAtLevel(m_recording, ListenFrom(), MicSensitivity);
    return found >= 0 && found <= m_tripIndex ? found : m_tripIndex;
}

std::optional<double> clAudioRT::OnsetUs() const {
    const qint64 index = FinalOnsetIndex();
    if (index < 0 || !m_streamClock.Known())
        return std::nullopt;
    return m_streamClock.SampleTimeUs(index);
}

qint32 clAudioRT::Stop() {
    if (m_stopped || !m_listening)
        return m_result;
    m_stopped = true;
    const qint64 stopUs = m_state.Clock().NowMicroseconds();
    if (m_source)
        m_source->Stop();
    const auto onset = OnsetUs();
    const double us = onset ? *onset - double(m_startUs) : double(stopUs - m_startUs);
    // The switch-on wait is always waited out, and counts.
    m_result = qMax<qint32>(kSwitchOnMs, qint32(std::llround(us / 1000.0)));
    SaveRecording();
    return m_result;
}

void clAudioRT::SaveRecording() {
    if (m_fileName.isEmpty() || m_recording.isEmpty())
        return;
    QDir().mkpath(QFileInfo(m_fileName).absolutePath());
    const auto reason = WriteWaveFile(m_fileName, m_recording);
    if (!reason) {
        m_kept = true;
        return;
    }
    // Kept aside in the program's folder, so that a recording is never lost.
    const QString kept = QDir(FallbackSideFolder())
                             .filePath(QStringLiteral("voice/") + m_state.SubjectID +
                                       QStringLiteral("/") + QFileInfo(m_fileName).fileName());
    QDir().mkpath(QFileInfo(kept).absolutePath());
    const auto keptReason = WriteWaveFile(kept, m_recording);
    m_kept = !keptReason;
    QString text = QStringLiteral("Corvane could not write the recording of the voice item '%1' "
                                  "to '%2' (%3). ")
                       .arg(m_itemName, m_fileName, *reason);
    if (m_kept)
        text += QStringLiteral("It has been kept in '%1' instead. To fix this, make the "
                               "experiment's data/voice folder writable, give the item a plain "
                               "file name, and move the recording there.")
                    .arg(kept);
    else
        text += QStringLiteral("It could not be kept in '%1' either (%2), and is lost. Free some "
                               "disk space and make the experiment's data/voice folder "
                               "writable.")
                    .arg(kept, *keptReason);
    Tell(text);
}

void clAudioRT::Tell(const QString& text) const {
    m_state.Boxes().Show(MessageBox{m_state.MessageTitle(), text, BoxIcon::Warning});
}

void clAudioRT::audioRTCleanUp() {
    if (m_source) {
        m_source->Stop();
        m_source->Delivered = nullptr;
        m_source->Failed = nullptr;
    }
    m_source.reset();
    m_recording.clear();
    m_recording.squeeze();
}

} // namespace corvane
