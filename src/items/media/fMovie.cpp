#include "items/media/fMovie.h"

#include "state/run_state.h"

#include <QAudioOutput>
#include <QMediaPlayer>
#include <QPainter>
#include <QUrl>
#include <QVideoFrame>
#include <QVideoSink>

namespace corvane {

class FramePicture : public QWidget {
public:
    explicit FramePicture(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }
    void Show(const QImage& frame) {
        m_frame = frame;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        if (m_frame.isNull())
            painter.fillRect(rect(), Qt::black);
        else
            painter.drawImage(rect(), m_frame);
    }

private:
    QImage m_frame;
};

fMovie::fMovie(RunContext& run) : MediaForm(run, QStringLiteral("fMovie")) {
    EVideo1 = new FramePicture(Picture1);
    EVideo1->setObjectName(QStringLiteral("EVideo1"));
    EVideo1->hide();
    m_sink = new QVideoSink(this);
    m_player = new QMediaPlayer(this);
    m_audio = new QAudioOutput(this);
    m_player->setAudioOutput(m_audio);
    m_player->setVideoOutput(m_sink);
}

void fMovie::Load() {
    RunState& state = State();
    int left = 0;
    int top = 0;
    int full = 0;
    if (InQuestionnaire()) {
        const Question& item = Item();
        m_name = item.FileName;
        left = item.Left;
        top = item.Top;
        full = item.Width;
    } else {
        const FileEntry& entry = Entry();
        m_name = entry.File;
        left = entry.Left;
        top = entry.Top;
        full = entry.Width;
    }
    m_full = full == -1;
    m_place = QPoint(left, top);
    PrepareForm();
    ApplyFormGeometry();
    PrepareBackground();
    // No bar: the film's end is the way on.
    show();
    raise();
    activateWindow();
    setFocus();

    const QString path = FoundPath(m_name);
    connect(m_sink, &QVideoSink::videoFrameChanged, this, &fMovie::FrameArrived);
    connect(m_player, &QMediaPlayer::mediaStatusChanged, this,
            [this](QMediaPlayer::MediaStatus status) {
                if (status == QMediaPlayer::EndOfMedia)
                    Ended();
                else if (status == QMediaPlayer::InvalidMedia)
                    PassOver(QStringLiteral("The movie '") + m_name +
                             QStringLiteral("' can not be played (") + m_player->errorString() +
                             QStringLiteral(").  This item will be skipped."));
            });
    connect(m_player, &QMediaPlayer::errorOccurred, this,
            [this](QMediaPlayer::Error, const QString& error) {
                PassOver(QStringLiteral("The movie '") + m_name +
                         QStringLiteral("' can not be played (") + error +
                         QStringLiteral(").  This item will be skipped."));
            });
    m_player->setSource(QUrl::fromLocalFile(path));
    m_player->play();
    state.ItemStart = state.Clock().Now();
}

void fMovie::FrameArrived(const QVideoFrame& frame) {
    if (!frame.isValid())
        return;
    EVideo1->Show(frame.toImage());
    if (m_firstFrameShown != 0)
        return;
    if (m_full) {
        EVideo1->setGeometry(Picture1->rect());
    } else {
        // The film's own size, at its place; a film without a place is centred.
        const QSize size = frame.size();
        const QSize box = Picture1->size();
        EVideo1->setGeometry(m_place.x() > 0 ? m_place.x() : (box.width() - size.width()) / 2,
                             m_place.y() > 0 ? m_place.y() : (box.height() - size.height()) / 2,
                             size.width(), size.height());
    }
    EVideo1->show();
    m_firstFrameShown = DrawAndRead(EVideo1);
    if (m_firstFrameShown == 0)
        m_firstFrameShown = 1;
    emit FirstFrame();
}

void fMovie::Ended() {
    EndWithOk(State().Clock().Now());
}

void fMovie::StopMedia() {
    m_player->stop();
}

} // namespace corvane
