#include "launcher/artwork.h"

#include <QFont>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtEndian>
#include <cmath>
#include <numbers>

namespace corvane::artwork {

namespace {

const QColor kNavy(0x17, 0x3a, 0x7a);
const QColor kBlue(0x2f, 0x5f, 0xb3);
const QColor kHand(0xe0, 0x58, 0x2b);

// The stopwatch, drawn on a 256-unit square.
void DrawEmblem(QPainter& p) {
    QLinearGradient tile(0, 16, 0, 240);
    tile.setColorAt(0, kBlue);
    tile.setColorAt(1, kNavy);
    p.setPen(Qt::NoPen);
    p.setBrush(tile);
    p.drawRoundedRect(QRectF(16, 16, 224, 224), 40, 40);

    const QPointF centre(128, 142);
    p.setBrush(Qt::white);
    p.drawRoundedRect(QRectF(114, 34, 28, 20), 4, 4); // the crown
    p.save();
    p.translate(centre);
    p.rotate(45);
    p.drawRoundedRect(QRectF(-9, -96, 18, 16), 3, 3); // the side button
    p.restore();
    p.drawEllipse(centre, 82, 82);

    p.setPen(QPen(kNavy, 5));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(centre, 70, 70);
    for (int tick = 0; tick < 12; ++tick) {
        p.save();
        p.translate(centre);
        p.rotate(tick * 30.0);
        p.setPen(QPen(kNavy, tick % 3 == 0 ? 6 : 3, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(0, -58), QPointF(0, tick % 3 == 0 ? -44 : -50));
        p.restore();
    }
    p.save();
    p.translate(centre);
    p.rotate(62);
    p.setPen(QPen(kHand, 9, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(0, 8), QPointF(0, -52));
    p.restore();
    p.setPen(Qt::NoPen);
    p.setBrush(kNavy);
    p.drawEllipse(centre, 9, 9);
}

void DrawArrow(QPainter& p, const QPointF& tip, double length, double height, bool left) {
    const double back = left ? tip.x() + length : tip.x() - length;
    QPainterPath arrow;
    arrow.moveTo(tip);
    arrow.lineTo(back, tip.y() - height / 2);
    arrow.lineTo(back, tip.y() + height / 2);
    arrow.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(kNavy);
    p.drawPath(arrow);
}

void PutLE16(QByteArray& bytes, quint16 value) {
    char buffer[2];
    qToLittleEndian(value, buffer);
    bytes.append(buffer, 2);
}

void PutLE32(QByteArray& bytes, quint32 value) {
    char buffer[4];
    qToLittleEndian(value, buffer);
    bytes.append(buffer, 4);
}

} // namespace

QImage Emblem(int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 256.0, size / 256.0);
    DrawEmblem(p);
    return image;
}

QImage NavigationPicture(BarPicture kind) {
    // Bitmaps have no transparency: the picture is a whole button face.
    QImage image(112, 34, QImage::Format_RGB32);
    image.fill(QColor(0xee, 0xf1, 0xf8));
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    QLinearGradient face(0, 0, 0, 34);
    face.setColorAt(0, QColor(0xfa, 0xfb, 0xfe));
    face.setColorAt(1, QColor(0xd3, 0xdc, 0xef));
    p.setPen(QPen(QColor(0x6a, 0x7f, 0xb0), 1.5));
    p.setBrush(face);
    p.drawRoundedRect(QRectF(1, 1, 110, 32), 6, 6);

    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(13);
    font.setBold(true);
    p.setFont(font);
    QRectF text(8, 0, 96, 34);
    switch (kind) {
    case BarPicture::GoBack:
        DrawArrow(p, QPointF(10, 17), 14, 16, true);
        text.setLeft(30);
        p.setPen(kNavy);
        p.drawText(text, Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("Back"));
        break;
    case BarPicture::Continue:
        DrawArrow(p, QPointF(102, 17), 14, 16, false);
        text.setRight(84);
        p.setPen(kNavy);
        p.drawText(text, Qt::AlignVCenter | Qt::AlignRight, QStringLiteral("Continue"));
        break;
    case BarPicture::Instruct: {
        // A page with lines, for the instructions of the item.
        p.setPen(QPen(kNavy, 1.5));
        p.setBrush(Qt::white);
        p.drawRect(QRectF(9, 7, 15, 20));
        for (int line = 0; line < 4; ++line)
            p.drawLine(QPointF(12, 12 + line * 4), QPointF(21, 12 + line * 4));
        font.setPixelSize(11);
        p.setFont(font);
        text.setLeft(28);
        p.drawText(text, Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("Instructions"));
        break;
    }
    }
    return image;
}

QImage CheckMark(int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath tick;
    tick.moveTo(size * 0.18, size * 0.55);
    tick.lineTo(size * 0.42, size * 0.78);
    tick.lineTo(size * 0.84, size * 0.24);
    p.setPen(
        QPen(QColor(0x1f, 0x8a, 0x3a), size * 0.14, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawPath(tick);
    return image;
}

QColor LauncherPictureFoot() {
    return QColor(0xd9, 0xe2, 0xf3);
}

QImage LauncherPicture(const QSize& size) {
    QImage image(size, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    QLinearGradient back(0, 0, 0, size.height());
    back.setColorAt(0, QColor(0xf3, 0xf6, 0xfc));
    back.setColorAt(1, LauncherPictureFoot());
    p.fillRect(image.rect(), back);

    const int emblem = std::max(32, std::min(size.height() * 2 / 5, 220));
    QFont title(QStringLiteral("DejaVu Sans"));
    title.setPixelSize(std::max(12, emblem * 2 / 5));
    title.setBold(true);
    QFont line(QStringLiteral("DejaVu Sans"));
    line.setPixelSize(std::max(9, emblem / 10));
    const QString name = QStringLiteral("Corvane");
    const QString words = QStringLiteral("A laboratory program for research in psychology");
    const int textWidth = std::max(QFontMetrics(title).horizontalAdvance(name),
                                   QFontMetrics(line).horizontalAdvance(words));
    const int gap = emblem / 6;
    const int left = (size.width() - emblem - gap - textWidth) / 2;
    const int top = (size.height() - emblem) / 2;
    p.drawImage(QPoint(left, top), Emblem(emblem));

    const int textLeft = left + emblem + gap;
    p.setPen(QColor(0x17, 0x3a, 0x7a));
    p.setFont(title);
    p.drawText(QRect(textLeft, top, textWidth, emblem * 3 / 5), Qt::AlignLeft | Qt::AlignBottom,
               name);
    p.setPen(QColor(0x44, 0x55, 0x77));
    p.setFont(line);
    p.drawText(QRect(textLeft, top + emblem * 3 / 5 + gap / 3, textWidth, emblem * 2 / 5),
               Qt::AlignLeft | Qt::AlignTop, words);
    return image;
}

QByteArray ClickWave() {
    // A decaying tone: short enough to say "taken" without delaying anything.
    constexpr quint32 rate = 22050;
    constexpr int samples = 265;
    QByteArray pcm;
    for (int n = 0; n < samples; ++n) {
        const double t = double(n) / rate;
        const double value =
            0.8 * std::exp(-t / 0.0025) * std::sin(2 * std::numbers::pi * 1800.0 * t);
        PutLE16(pcm, quint16(qint16(std::lround(value * 32767))));
    }
    QByteArray wave("RIFF");
    PutLE32(wave, quint32(36 + pcm.size()));
    wave.append("WAVEfmt ");
    PutLE32(wave, 16);
    PutLE16(wave, 1); // PCM
    PutLE16(wave, 1); // mono
    PutLE32(wave, rate);
    PutLE32(wave, rate * 2);
    PutLE16(wave, 2);
    PutLE16(wave, 16);
    wave.append("data");
    PutLE32(wave, quint32(pcm.size()));
    wave.append(pcm);
    return wave;
}

} // namespace corvane::artwork
