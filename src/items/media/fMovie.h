// A movie, from the list or as an item: it plays once, at its place or on the full screen, and
// its end is the only way on (besides the operator's keys). It stores "ok" and the time taken.
#pragma once

#include "items/media/media_form.h"

class QAudioOutput;
class QMediaPlayer;
class QVideoFrame;
class QVideoSink;

namespace corvane {

class fMovie : public MediaForm {
    Q_OBJECT
public:
    explicit fMovie(RunContext& run);
    void Load() override;

    /// The run-clock moment the first frame reached the screen; 0 until then.
    qint32 FirstFrameShown() const { return m_firstFrameShown; }

signals:
    void FirstFrame();

protected:
    void StopMedia() override;

private:
    void FrameArrived(const QVideoFrame& frame);
    void Ended();

    /// The film's picture: each frame drawn by the form's own painting, so that it looks the
    /// same on every window system and the first frame's moment is known.
    class FramePicture* EVideo1 = nullptr;
    QVideoSink* m_sink = nullptr;
    QMediaPlayer* m_player = nullptr;
    QAudioOutput* m_audio = nullptr;
    QString m_name;
    bool m_full = false;
    QPoint m_place;
    qint32 m_firstFrameShown = 0;
};

} // namespace corvane
