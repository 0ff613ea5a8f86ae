// Wave files of the voice key: PCM, 44100 samples a second, 8 bits, one channel. Corvane writes
// them itself, with the plain 44-byte header, and reads them back to feed the voice key from a
// file in place of a microphone.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace corvane {

/// The sound format of voice recordings.
struct WaveFormat {
    quint32 rate = 44100;
    quint16 channels = 1;
    quint16 bits = 8;
    /// Bytes of one sample frame: channels * bits / 8, rounded.
    quint16 BlockAlign() const { return quint16((channels * bits + 4) / 8); }
    quint32 AverageBytesPerSecond() const { return BlockAlign() * rate; }
};

/// The 44-byte RIFF header of a PCM wave file that holds `dataBytes` bytes of samples (and a
/// pad byte after them when their number is odd).
QByteArray WaveHeader(const WaveFormat& format, quint32 dataBytes);

/// Writes the samples as a wave file, replacing the file; the reason when that fails.
std::optional<QString> WriteWaveFile(const QString& path, const QByteArray& samples,
                                     const WaveFormat& format = {});

/// A PCM wave file as read.
struct WaveSound {
    WaveFormat format;
    QByteArray samples;
};

/// Reads a PCM wave file (any chunks besides "fmt " and "data" are passed over); the reason when
/// it isn't one.
std::optional<WaveSound> ReadWaveFile(const QString& path, QString* why);

} // namespace corvane
