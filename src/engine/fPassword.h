// The lock at the end of a run: the participant can't reach the launcher until the experimenter
// types the password (or uses Right Arrow with a modifier on the form).
#pragma once

#include <QDialog>

class QLabel;
class QLineEdit;
class QTimer;

namespace corvane {

class fPassword : public QDialog {
    Q_OBJECT
public:
    fPassword(const QString& caption, const QString& password);
    /// True when the word typed is the password: both trimmed and in lower case.
    static bool Matches(const QString& typed, const QString& password);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QLabel* Label1;
    QLineEdit* Text1;
    QTimer* Timer1;
    QString m_password;
};

} // namespace corvane
