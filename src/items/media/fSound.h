// A sound file, from the list or as an item: it plays while the form waits for Continue (or an
// item's time limit); its own end ends nothing. It stores "ok" and the time taken.
#pragma once

#include "items/media/media_form.h"

class QAudioOutput;
class QMediaPlayer;

namespace corvane {

class fSound : public MediaForm {
    Q_OBJECT
public:
    explicit fSound(RunContext& run);
    void Load() override;

protected:
    void StopMedia() override;

private:
    QMediaPlayer* MediaPlayer1 = nullptr;
    QAudioOutput* m_audio = nullptr;
};

} // namespace corvane
