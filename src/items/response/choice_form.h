// What the choice forms share: a wording above a row or a column of up to twelve numbered
// response controls with their labels, laid out from the item's place parameters; the reveal
// of the wording after the onset delay; the prompt for a "<specify>" answer; the countdown of a
// time limit; and the time of the mouse release that makes a click.
#pragma once

#include "engine/item_frame.h"

#include <array>
#include <memory>
#include <optional>

class QPushButton;

namespace corvane {

class RunTimer;

/// How one choice form differs in its design.
struct ChoiceDesign {
    /// Name of the response controls: "bResponse" gives bResponse(1) to bResponse(12).
    QString controlName;
    /// Arial size of the response controls' captions.
    double controlPointSize = 9.6;
    /// The first label stands a little off its siblings (912, 1728, 7992 wide).
    bool firstLabelOffDesign = false;
    /// The vertical list moves to the item's Left.
    bool listFollowsLeft = true;
    /// The controls keep a value of their own, as toggle boxes.
    bool toggles = false;
    /// The form has the navigation bar of the frame.
    bool navigationBar = true;
    /// The item's time limit applies.
    bool timeLimit = true;
    /// The time limit's timer starts before the onset delay rather than with the wording.
    bool limitBeforeDelay = false;
};

class ChoiceForm : public ItemForm {
    Q_OBJECT
public:
    ChoiceForm(RunContext& run, const QString& formName, const ChoiceDesign& design);
    ~ChoiceForm() override;

protected:
    static constexpr int kPoints = 12;
    static const QString kSpecify;

    /// Stores `value` as variable `k` of the item in hand, with `time` when given; a typed
    /// answer makes its column a text column. The reason when the data have no column for it.
    std::optional<QString> KeepAnswer(int k, const QString& value, bool asText,
                                      std::optional<qint32> time = std::nullopt);

    /// Places the frame's controls at their design places.
    void PlaceFrameControls();
    /// Lays out `points` controls and labels by the item's Top, Width, Left and ScaleStep, and by
    /// each label's own t and l.
    void LayOut(int points);
    /// The preparation in the choice forms' order, then shows the form and starts the reveal.
    void PrepareAndShow(bool showContinue);
    /// The wording shows after the onset delay, the clock starts, and the limit's timer with it.
    void Reveal();
    /// Hides the wording and reveals it anew, with its own onset delay and clock.
    void RevealAgain();
    /// What the wording label shows at the reveal.
    virtual QString Caption() const;
    /// Asks for the text of a "<specify>" choice n; "<Cancel>" when nothing is given.
    QString AskSpecified(int n);
    /// One step of the visible countdown that starts from `shownFrom` seconds.
    void CountDown(double shownFrom);
    /// A click of response control n, at the time of the mouse release when there was one.
    virtual void ResponseClicked(int n, qint32 itemEnd) = 0;
    virtual void Timer1_Timer() = 0;
    void StopTimer();
    /// The navigation bar's tools once the item is ready: back to the item before, or Continue.
    void GoBackOrContinue(const QString& key);
    /// Continue of the navigation bar; a form without one ignores it.
    virtual void Continue() {}
    /// The item's jump for the run's latest choice, which may be an earlier item's; "" when that
    /// choice is no point of a list.
    QString SkipOfLatestChoice() const;

    bool eventFilter(QObject* watched, QEvent* event) override;
    /// The reveal and the limit end with the form, however it goes.
    void Unloading() override;

    std::array<QPushButton*, kPoints + 1> m_controls{};
    std::array<QLabel*, kPoints + 1> lText{};
    QPushButton* bDummy = nullptr;
    QLabel* lWarning = nullptr;
    int m_points = 0;
    bool m_itemReady = false;

private:
    void LayOutHorizontal(int n, int points);
    void LayOutVertical(int n, double yoff, double gap);
    void FitListInPicture();
    void ApplyLabelParameters(int n);
    void ShowWording();
    void StartLimitTimer();

    ChoiceDesign m_design;
    std::array<TwipRect, kPoints + 1> m_button{};
    std::array<TwipRect, kPoints + 1> m_label{};
    bool m_revealed = false;
    qint32 m_releaseTime = 0;
    std::unique_ptr<RunTimer> m_delay;
    std::unique_ptr<RunTimer> m_timer1;
};

} // namespace corvane
