#include "items/media/media_form.h"

#include "engine/run_driver.h"
#include "state/helpers.h"
#include "state/run_state.h"

#include <QFileInfo>

namespace corvane {

MediaForm::MediaForm(RunContext& run, const QString& formName) : ItemForm(run, formName) {}

MediaForm::~MediaForm() = default;

bool MediaForm::InQuestionnaire() const {
    return State().CurrentQuestion > 0;
}

const FileEntry& MediaForm::Entry() const {
    return State().Files[std::size_t(State().CurrentFile)];
}

QString MediaForm::FoundPath(const QString& name) {
    const auto found = FindFile(name);
    return found ? QFileInfo(*found).absoluteFilePath() : QString();
}

void MediaForm::EndWithOk(qint32 itemEnd) {
    if (m_ended)
        return;
    m_ended = true;
    m_timer1.reset();
    State().ItemEnd = itemEnd;
    const QString skip = InQuestionnaire() ? Item().skip : QString();
    StopMedia();
    Unload();
    Driver().EndItem(QStringLiteral("ok"), skip);
}

void MediaForm::PassOver(const QString& message, BoxIcon icon, bool takeSkip) {
    if (m_ended)
        return;
    m_ended = true;
    m_timer1.reset();
    StopMedia();
    Unload();
    State().Boxes().Show(MessageBox{State().MessageTitle(), message, icon});
    if (!InQuestionnaire()) {
        Driver().NextFile();
        return;
    }
    if (takeSkip)
        State().SkipTarget = Item().skip;
    Driver().NextQuestion();
}

void MediaForm::StartLimit(qint32 duration, std::function<void()> end) {
    m_timer1 = State().Clock().Every(1000, [this, duration, end = std::move(end)] {
        if (Elapsed(State().ItemStart, State().Clock().Now()) > duration)
            end();
    });
}

void MediaForm::ToolClick(const QString& key) {
    const qint32 now = State().Clock().Now();
    ClickSound(QStringLiteral("CLICK"));
    if (key == QLatin1String("GoBack") && !m_ended) {
        m_ended = true;
        m_timer1.reset();
        StopMedia();
        Unload();
        Driver().GoBack();
    } else if (key == QLatin1String("Continue")) {
        Continue(now);
    }
}

bool MediaForm::ItemKey(QKeyEvent*, qint32) {
    return false;
}

void MediaForm::hideEvent(QHideEvent* event) {
    StopMedia();
    ItemForm::hideEvent(event);
}

} // namespace corvane
