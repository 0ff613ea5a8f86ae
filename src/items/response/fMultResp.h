// The multiple response item: the scale's layout with toggle boxes in place of buttons, so that
// several options may be chosen within a lower and an upper limit, confirmed with Continue.
// Limits of 1 and 1 make a single choice that is stored as the option's number.
#pragma once

#include "items/response/choice_form.h"

namespace corvane {

class fMultResp : public ChoiceForm {
    Q_OBJECT
public:
    explicit fMultResp(RunContext& run);
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    void ResponseClicked(int index, qint32 itemEnd) override;
    void Timer1_Timer() override;

private:
    void NoPointsGiven();
    void WarnOfUnreachableLimit();
    void KeyDown(int keyCode, Qt::KeyboardModifiers modifiers, qint32 itemEnd);
    void Continue() override;
    void StoreEachOption();
    void StoreTheChoice();
    void StoreTime(int n, qint32 itemEnd);
    void StoreValue(int n, const QString& value, bool asText);
    void ShowLook(int n);
    void ShowLimitMessage(int messageCode);
    bool IsChecked(int n) const;
    int CheckedCount() const;
    bool IsSpecified(int n) const;
    bool SingleMode() const;

    qint16 m_variableCount = 0;
};

} // namespace corvane
