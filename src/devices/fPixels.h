// The two help screens that show what the picture and movie parameters mean on the screen of the
// run: marks every 100 pixels along the top and the left edge, and a sample picture placed by
// those numbers. "Setting Location Points" shows t and l, " Sizing Movies and Images" w and h.
// They take the look of the preference file in force.
#pragma once

#include <QWidget>
#include <array>

class QLabel;
class QPushButton;

namespace corvane {

struct Preferences;

class fPixels : public QWidget {
    Q_OBJECT
public:
    enum class Topic { Location, Sizing };
    /// Lays the screen out over the whole screen that the run's forms cover.
    fPixels(const Preferences& look, Topic topic);

    static constexpr int kMarks = 15;
    static constexpr int kStep = 100;
    QLabel* TopMark(int n) const { return lTop[std::size_t(n)]; }
    QLabel* LeftMark(int n) const { return lLeft[std::size_t(n)]; }
    QLabel* Sample() const { return Image1; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Form_Load(const Preferences& look);
    QString Explanation() const;

    Topic m_topic;
    QWidget* Picture1;
    QLabel* Image1;
    QLabel* lText;
    QPushButton* Command1;
    // Index n stands at n x 100 pixels; 0 is left empty so that the numbers read as they show.
    std::array<QLabel*, kMarks + 1> lTop{};
    std::array<QLabel*, kMarks + 1> lLeft{};
};

/// The sample picture of the screens: a framed picture of that size that says its size.
QPixmap SamplePicture(QSize size);

} // namespace corvane
