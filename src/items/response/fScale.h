// The scale item: a wording above a row or a column of up to twelve numbered response buttons
// with their labels; one choice by mouse or keyboard, timed from the moment the wording shows.
#pragma once

#include "items/response/choice_form.h"

#include <optional>

namespace corvane {

class fScale : public ChoiceForm {
    Q_OBJECT
public:
    explicit fScale(RunContext& run);
    /// Lays the item out and shows it; the reveal follows when the focus arrives.
    void Load() override;

protected:
    /// A scale of another design: a form that shows the scale its own way.
    fScale(RunContext& run, const QString& formName, const ChoiceDesign& design);
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    void ResponseClicked(int index, qint32 itemEnd) override;
    void Timer1_Timer() override;
    /// A valid choice, by mouse or by key, with `ResponseIndex` and `ItemEnd` set: recorded,
    /// and the item ends.
    virtual void Choose(int choice, const QString& value, bool byKey);
    /// The number of points that the item gives; none when it gives none and was passed over.
    std::optional<int> PointsOrPassOver();

private:
    void KeyResponse(int keyCode, Qt::KeyboardModifiers modifiers, qint32 itemEnd);
    void RecordAndEnd(int choice, const QString& value);
    void NoPointsGiven();
};

} // namespace corvane
