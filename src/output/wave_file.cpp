#include "output/wave_file.h"

#include <QFile>
#include <QSaveFile>
#include <QtEndian>

namespace corvane {

namespace {

void Append32(QByteArray& out, quint32 v) {
    char bytes[4];
    qToLittleEndian(v, bytes);
    out.append(bytes, 4);
}

void Append16(QByteArray& out, quint16 v) {
    char bytes[2];
    qToLittleEndian(v, bytes);
    out.append(bytes, 2);
}

quint32 Read32(const QByteArray& in, qsizetype at) {
    return qFromLittleEndian<quint32>(in.constData() + at);
}

quint16 Read16(const QByteArray& in, qsizetype at) {
    return qFromLittleEndian<quint16>(in.constData() + at);
}

} // namespace

QByteArray WaveHeader(const WaveFormat& format, quint32 dataBytes) {
    QByteArray header;
    header.reserve(44);
    header.append("RIFF", 4);
    // An odd data chunk is followed by a pad byte, which the RIFF length counts.
    Append32(header, 36 + dataBytes + (dataBytes & 1));
    header.append("WAVE", 4);
    header.append("fmt ", 4);
    Append32(header, 16);
    Append16(header, 1); // PCM
    Append16(header, format.channels);
    Append32(header, format.rate);
    Append32(header, format.AverageBytesPerSecond());
    Append16(header, format.BlockAlign());
    Append16(header, format.bits);
    header.append("data", 4);
    Append32(header, dataBytes);
    return header;
}

std::optional<QString> WriteWaveFile(const QString& path, const QByteArray& samples,
                                     const WaveFormat& format) {
    // Written aside and put in place whole, so that a full disk leaves no half recording.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    const QByteArray header = WaveHeader(format, quint32(samples.size()));
    const QByteArray pad(samples.size() & 1, '\0');
    if (file.write(header) != header.size() || file.write(samples) != samples.size() ||
        file.write(pad) != pad.size()) {
        const QString reason = file.errorString();
        file.cancelWriting();
        return reason;
    }
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

std::optional<WaveSound> ReadWaveFile(const QString& path, QString* why) {
    auto fail = [why](const QString& reason) -> std::optional<WaveSound> {
        if (why)
            *why = reason;
        return std::nullopt;
    };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(file.errorString());
    const QByteArray bytes = file.readAll();
    if (bytes.size() < 12 || !bytes.startsWith("RIFF") || bytes.mid(8, 4) != "WAVE")
        return fail(QStringLiteral("not a RIFF wave file"));
    WaveSound sound;
    bool haveFormat = false;
    qsizetype at = 12;
    while (at + 8 <= bytes.size()) {
        const QByteArray id = bytes.mid(at, 4);
        const quint32 size = Read32(bytes, at + 4);
        const qsizetype body = at + 8;
        if (id == "fmt " && size >= 16 && body + 16 <= bytes.size()) {
            if (Read16(bytes, body) != 1)
                return fail(QStringLiteral("its samples are not plain PCM"));
            sound.format.channels = Read16(bytes, body + 2);
            sound.format.rate = Read32(bytes, body + 4);
            sound.format.bits = Read16(bytes, body + 14);
            haveFormat = true;
        } else if (id == "data") {
            if (!haveFormat)
                return fail(QStringLiteral("its data come before its format"));
            // A recorder cut short may leave a length beyond the end: what is there is kept.
            sound.samples = bytes.mid(body, qMin<qsizetype>(size, bytes.size() - body));
            return sound;
        }
        at = body + size + (size & 1); // chunks are padded to an even length
    }
    return fail(QStringLiteral("it has no sound data"));
}

} // namespace corvane
