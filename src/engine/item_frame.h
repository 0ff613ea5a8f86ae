// What every item form shares: the preparation before it shows (style, wording with earlier
// answers quoted, background, navigation bar), the window's geometry with the design layout
// scaled to it, the keys of the navigation and of the operator, the click sound, and the
// reading of the run clock at the moments that make a reaction time.
#pragma once

#include "output/data_output.h"
#include "state/records.h"

#include <QDateTime>
#include <QLabel>
#include <QWidget>
#include <functional>

class QInputEvent;

namespace corvane {

class NavigationBar;
class RunDriver;
class RunState;

/// The two text styles of the item screens: 1 for the question, 2 for the responses.
struct TextStyle {
    QString family = QStringLiteral("Times New Roman");
    double pointSize = 14.4;
    bool bold = true;
    bool italic = false;
    QRgb fore = qRgb(0, 0, 0);
    QRgb back = qRgb(255, 255, 255);
};

/// What a form needs of the run.
struct RunContext {
    RunState& state;
    RunDriver& driver;
    /// Switches the look to a QuickStyle ("" for the default preferences).
    std::function<void(const QString&)> loadStyle{};
    /// Called when a form goes, so that the run knows no form is on the screen.
    std::function<void(QWidget*)> formGone{};
    /// Plays a background sound ("none" plays nothing; a missing file is reported).
    std::function<void(const QString&)> playBackgroundSound{};
    /// Plays the click, unless sounds are muted.
    std::function<void()> playClick{};
    /// The machine code, preference file, date and time that records written now carry.
    std::function<DataOutputSettings()> outputSettings{};
    /// Told once per item form, as the item's wording reaches the screen: its port code and
    /// the moment (`ItemStart`).
    std::function<void(const QString& ttlCode, qint32 shownAt)> itemOnScreen{};
    /// Puts the responses workbook's values into an item's text, while the run has one.
    std::function<QString(const QString&)> workbookText{};
    /// The date and time of this moment, moving with the run clock (side logs with times of day).
    std::function<QDateTime()> wallNow{};
    /// Whether an outside program may start: the program, its arguments and the definition file
    /// that names it. A refusal has been told to the operator.
    std::function<bool(const QString&, const QString&, const QString&)> mayStartProgram{};
    TextStyle question{};
    TextStyle response{};
    bool keyNavigation = true;
    bool muteSounds = false;
    /// The launcher's character set, forced on every font of the forms; -1 leaves them alone.
    int charsetOverride = -1;
    /// The folder of the office program that the preferences name ("" for the one installed).
    QString officeFolder{};
};

/// A rectangle in twips of the design client area (9600 by 7200).
struct TwipRect {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
};

class ItemForm : public QWidget {
    Q_OBJECT
public:
    ItemForm(RunContext& run, const QString& formName);
    ~ItemForm() override;

    /// Twips per pixel of the screen, horizontally and vertically.
    double TPX() const { return m_tpx; }
    double TPY() const { return m_tpy; }
    /// Prepares the form for the item or list entry in hand and shows it.
    virtual void Load() = 0;
    /// Unloads the form: it goes from the screen for good.
    void Unload();

protected:
    /// Called once as the form unloads, before it leaves the screen.
    virtual void Unloading() {}

    // The common preparation, called by a form's load in the order its kind asks for.
    void PrepareForm();
    void ApplyFormGeometry();
    void PrepareBackground();
    void PrepareNavigationBar(bool showContinue);

    /// Shows the form and returns the run clock once what it shows has reached the screen.
    qint32 ShowAndRead();
    /// Draws a control now and returns the run clock once the drawing has reached the screen.
    qint32 DrawAndRead(QWidget* control);
    /// The run-clock time of an input event: the event's own time where it has one on the run
    /// clock, never later than now.
    qint32 EventTime(const QInputEvent* event) const;

    /// Tells why the item can't be shown and passes it over. The jump taken is that of the latest
    /// choice of an earlier item: the choice is a shared value that no item clears.
    void PassOverWithStaleChoice(const QString& message);
    /// Unloads the form and goes on without storing anything, at the item's own jump.
    void PassOver();

    /// A click of the navigation bar, by key.
    virtual void ToolClick(const QString& key) = 0;
    /// A key that the frame doesn't take; true when the form took it.
    virtual bool ItemKey(QKeyEvent* event, qint32 now) = 0;
    void ClickSound(const QString& kind) const;
    /// False for a form whose keys type text: Space and Backspace then stay with the text rather
    /// than acting as the bar's buttons.
    virtual bool KeysNavigate() const { return true; }
    /// Replaces the item's ".txt" file, if it names one, with the line, for another program that
    /// waits for it; a file that can't be made is reported.
    void WriteAnswerFile(const QString& line) const;

    /// Places a control at a design rectangle, scaled to the form's real client area.
    void PlaceDesign(QWidget* control, const TwipRect& design) const;
    /// The design rectangle scaled to real twips, the unit of the layout rules.
    TwipRect ScaledDesign(const TwipRect& design) const;
    /// Puts a control at a rectangle in real twips.
    void PlaceTwips(QWidget* control, const TwipRect& rect) const;
    void ApplyStyle(QWidget* control, const TextStyle& style, bool withBack) const;

    Question& Item() const;
    RunState& State() const { return m_run.state; }
    RunDriver& Driver() const { return m_run.driver; }
    RunContext& Run() const { return m_run; }

    bool eventFilter(QObject* watched, QEvent* event) override;
    /// The window manager's close (Alt+F4) is refused: an item ends only by its own ways.
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

    QWidget* Picture1 = nullptr;
    QLabel* Image1 = nullptr;
    QLabel* lQuestion = nullptr;
    NavigationBar* Bar1 = nullptr;

private:
    bool FrameKey(QKeyEvent* event);
    void PlaceBackgroundImage(const QString& file, int left, int top, int width, int height);
    void PlayBackgroundVideo(const QString& file, int left, int top, int full);
    void ApplyWordingParameters();
    void AddHtmlBox(const QRect& place, const QString& file);

    RunContext& m_run;
    double m_tpx = 15;
    double m_tpy = 15;
    double m_scaleX = 1;
    double m_scaleY = 1;
    bool m_unloaded = false;
    bool m_onScreenTold = false;
    int m_htmlBoxes = 0;
};

} // namespace corvane
