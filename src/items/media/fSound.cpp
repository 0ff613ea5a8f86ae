#include "items/media/fSound.h"

#include "state/run_state.h"

#include <QAudioOutput>
#include <QMediaPlayer>
#include <QUrl>

namespace corvane {

fSound::fSound(RunContext& run) : MediaForm(run, QStringLiteral("fSound")) {
    MediaPlayer1 = new QMediaPlayer(this);
    MediaPlayer1->setObjectName(QStringLiteral("MediaPlayer1"));
    m_audio = new QAudioOutput(this);
    MediaPlayer1->setAudioOutput(m_audio);
}

void fSound::Load() {
    RunState& state = State();
    const QString name = InQuestionnaire() ? Item().FileName : Entry().File;
    PrepareForm();
    ApplyFormGeometry();
    PrepareBackground();
    PrepareNavigationBar(true);

    const QString path = FoundPath(name);
    if (path.isEmpty()) {
        state.Boxes().Show(MessageBox{state.MessageTitle(),
                                      QStringLiteral("The file '") + name +
                                          QStringLiteral("' was requested but not found.  This "
                                                         "item will be skipped."),
                                      BoxIcon::Information});
        EndWithOk(state.Clock().Now());
        return;
    }
    // A sound that can't be played is told once; the form still waits for Continue, as it does
    // for a sound that has ended.
    connect(MediaPlayer1, &QMediaPlayer::errorOccurred, this,
            [this, name](QMediaPlayer::Error, const QString& error) {
                if (!isVisible())
                    return;
                State().Boxes().Show(MessageBox{State().MessageTitle(),
                                                QStringLiteral("The sound file '") + name +
                                                    QStringLiteral("' can not be played (") +
                                                    error + QStringLiteral(")."),
                                                BoxIcon::Warning});
                MediaPlayer1->disconnect(this);
            });
    MediaPlayer1->setSource(QUrl::fromLocalFile(path));
    MediaPlayer1->play();

    state.ItemStart = ShowAndRead();
    setFocus();
    // Sounds of the list have no limit: their hand-over holds no duration.
    if (InQuestionnaire() && Item().Duration > 0)
        StartLimit(Item().Duration, [this] { Continue(State().Clock().Now()); });
}

void fSound::StopMedia() {
    MediaPlayer1->stop();
}

} // namespace corvane
