// Sound and video beside the items: the background sound that plays on past its item until it
// ends or another starts, the click of the buttons, and background videos on an item form.
#pragma once

#include <QObject>
#include <QString>

class QAudioOutput;
class QMediaPlayer;
class QSoundEffect;
class QVideoWidget;
class QWidget;

namespace corvane {

class MediaOutput : public QObject {
    Q_OBJECT
public:
    explicit MediaOutput(QObject* parent = nullptr);
    ~MediaOutput() override;

    /// Plays a sound file to its end, in place of any sound still playing.
    void PlayBackgroundSound(const QString& path);
    /// Plays the click sound without waiting for it.
    void PlayClick(const QString& clickFile);
    /// Plays a video in a view of its own on the form, at the given place in pixels.
    static QVideoWidget* PlayVideo(QWidget* form, const QString& path, int left, int top);

private:
    QMediaPlayer* m_sound = nullptr;
    QAudioOutput* m_audio = nullptr;
    QSoundEffect* m_click = nullptr;
};

} // namespace corvane
