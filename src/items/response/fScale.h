// The scale item: a wording above a row or a column of up to twelve numbered response buttons
// with their labels; one choice by mouse or keyboard, timed from the moment the wording shows.
#pragma once

#include "items/response/choice_form.h"

namespace corvane {

class fScale : public ChoiceForm {
    Q_OBJECT
public:
    explicit fScale(RunContext& run);
    /// Lays the item out and shows it; the reveal follows when the focus arrives.
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    void ResponseClicked(int index, qint32 itemEnd) override;
    void Timer1_Timer() override;

private:
    void KeyResponse(int keyCode, Qt::KeyboardModifiers modifiers, qint32 itemEnd);
    void RecordAndEnd(int choice, const QString& value);
    void NoPointsGiven();
};

} // namespace corvane
