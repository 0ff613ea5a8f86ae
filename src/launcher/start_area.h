// The launcher's place to start, over its picture: the recent experiments, to run one again,
// and the first steps of a new user: the demo, a new experiment from the template, the help.
#pragma once

#include <QFrame>
#include <QStringList>

class QLabel;
class QListWidget;
class QPushButton;

namespace corvane {

class StartArea : public QFrame {
    Q_OBJECT
public:
    explicit StartArea(QWidget* parent = nullptr);

    /// Shows the recent experiments, one a slot from the top; empty slots are left out.
    void ShowRecent(const QStringList& entries);

signals:
    /// A recent experiment was chosen: its slot, 1 for the newest, as the run menu counts.
    void RecentChosen(int slot);
    void DemoChosen();
    void NewExperimentChosen();
    void HelpChosen();

protected:
    /// A double click here chooses, and never reaches the launcher, where it would end the
    /// program.
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QListWidget* m_recent = nullptr;
    QLabel* m_noRecent = nullptr;
};

} // namespace corvane
