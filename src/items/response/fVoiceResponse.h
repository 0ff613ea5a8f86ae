// The voice response item: the wording shows, the voice key times the first sound and records
// the participant, and a box may be ticked to code the answer. The voice time is the item's
// first variable, the tick the second. Continue needs two presses in the ordinary course: the
// first stops the recording, the second moves on.
#pragma once

#include "items/response/choice_form.h"

#include <memory>

class QFrame;

namespace corvane {

class clAudioRT;

class fVoiceResponse : public ChoiceForm {
    Q_OBJECT
public:
    explicit fVoiceResponse(RunContext& run);
    ~fVoiceResponse() override;
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    void ResponseClicked(int index, qint32 itemEnd) override;
    void Timer1_Timer() override;
    void hideEvent(QHideEvent* event) override;

private:
    QString RecordingPath() const;
    void RunVoiceKey();
    void SetVoiceStop();
    void FinishVoiceKey();
    void KeyDown(int keyCode, Qt::KeyboardModifiers modifiers, qint32 itemEnd);
    void Continue() override;
    void StoreTick();
    void StoreValue(int k, const QString& value, bool asText);
    void StoreTime(int k, qint32 ms);

    QFrame* rtOK = nullptr;
    std::unique_ptr<clAudioRT> m_key;
    qint16 m_variableCount = 1;
    qint16 m_boxTicked = 0;
    bool m_voiceStop = false;
    bool m_voiceDone = false;
};

} // namespace corvane
