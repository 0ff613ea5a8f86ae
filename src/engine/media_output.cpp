#include "engine/media_output.h"

#include <QAudioOutput>
#include <QMediaMetaData>
#include <QMediaPlayer>
#include <QSoundEffect>
#include <QUrl>
#include <QVideoWidget>

namespace corvane {

MediaOutput::MediaOutput(QObject* parent) : QObject(parent) {}

MediaOutput::~MediaOutput() = default;

void MediaOutput::PlayBackgroundSound(const QString& path) {
    if (!m_sound) {
        m_sound = new QMediaPlayer(this);
        m_audio = new QAudioOutput(this);
        m_sound->setAudioOutput(m_audio);
    }
    m_sound->stop();
    m_sound->setSource(QUrl::fromLocalFile(path));
    m_sound->play();
}

void MediaOutput::PlayClick(const QString& clickFile) {
    if (!m_click) {
        m_click = new QSoundEffect(this);
        m_click->setSource(QUrl::fromLocalFile(clickFile));
    }
    m_click->play(); // a machine without sound output stays silent
}

QVideoWidget* MediaOutput::PlayVideo(QWidget* form, const QString& path, int left, int top) {
    auto* view = new QVideoWidget(form);
    view->setObjectName(QStringLiteral("EVideo1"));
    auto* player = new QMediaPlayer(view);
    player->setVideoOutput(view);
    player->setSource(QUrl::fromLocalFile(path));
    view->move(left, top);
    view->resize(320, 240);
    // The film's own size, once it is known.
    QObject::connect(player, &QMediaPlayer::metaDataChanged, view, [view, player] {
        const QVariant resolution = player->metaData().value(QMediaMetaData::Resolution);
        if (resolution.isValid() && resolution.toSize().isValid())
            view->resize(resolution.toSize());
    });
    view->show();
    player->play();
    return view;
}

} // namespace corvane
