// Subject entry: who is run in which condition, where the data go, and clearing old data. With
// an autostart list in the experiment folder the list decides and the form never shows.
#pragma once

#include <QDialog>
#include <functional>

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace corvane {

class RunState;

class fCodes : public QDialog {
    Q_OBJECT
public:
    fCodes(RunState& state, QWidget* parent = nullptr);

    /// Called when the identity stands: loads the experiment and starts the run.
    std::function<void()> ReadExperimentInfo;

    /// Decides the data folder and, unless the autostart list decides, readies the form for
    /// entry. True when the identity has been taken from the list (and OK has been acted on).
    bool Load(const QString& alternateDataFolder);
    /// The OK button's action.
    void bOK_Click();

    QLineEdit* TextSubject() const { return m_subject; }
    QLineEdit* TextCondition() const { return m_condition; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void cbData_Click();
    void CheckEdit_Click();

    RunState& m_state;
    bool m_verifySubject = false;
    QLineEdit* m_subject;
    QLineEdit* m_condition;
    QCheckBox* m_edit;
    QPushButton* m_clearData;
    QPushButton* m_ok;
};

} // namespace corvane
