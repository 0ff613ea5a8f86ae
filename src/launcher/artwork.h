// Corvane's own pictures and its click sound, drawn by code: the build writes the navigation bar
// pictures, the check mark, the icon and the click into the resources, and the launcher draws
// its splash and main picture at run time from the same emblem.
#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QSize>

namespace corvane::artwork {

/// The program's emblem, a stopwatch on a blue tile, `size` pixels square with transparency.
QImage Emblem(int size);

enum class BarPicture { GoBack, Continue, Instruct };
/// A picture of the navigation bar: an opaque button face with an arrow and its word.
QImage NavigationPicture(BarPicture kind);

/// The check mark of a chosen check box, `size` pixels square with transparency.
QImage CheckMark(int size);

/// The launcher's picture: the emblem and the program's name on a quiet background.
QImage LauncherPicture(const QSize& size);
/// The colour at the foot of the launcher's picture, for what continues below it.
QColor LauncherPictureFoot();

/// A short click as a WAV file: 16-bit mono PCM at 22050 Hz, about 12 ms long.
QByteArray ClickWave();

} // namespace corvane::artwork
