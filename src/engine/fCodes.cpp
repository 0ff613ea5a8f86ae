#include "engine/fCodes.h"

#include "engine/autostart.h"
#include "state/run_state.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

namespace corvane {

namespace {

template <typename W> W* Named(W* widget, const char* name) {
    widget->setObjectName(QLatin1String(name));
    return widget;
}

} // namespace

fCodes::fCodes(RunState& state, QWidget* parent) : QDialog(parent), m_state(state) {
    setObjectName(QStringLiteral("fCodes"));
    setWindowTitle(QStringLiteral("Enter Codes"));
    auto* grid = new QGridLayout(this);
    grid->addWidget(Named(new QLabel(QStringLiteral("Subject ID"), this), "LabelSubject"), 0, 0);
    m_subject = Named(new QLineEdit(QStringLiteral("1"), this), "TextSubject");
    grid->addWidget(m_subject, 0, 1);
    grid->addWidget(Named(new QLabel(QStringLiteral("Condition"), this), "LabelCondition"), 1, 0);
    m_condition = Named(new QLineEdit(QStringLiteral("1"), this), "TextCondition");
    grid->addWidget(m_condition, 1, 1);
    m_edit = Named(new QCheckBox(QStringLiteral(" &Edit Mode"), this), "CheckEdit");
    grid->addWidget(m_edit, 2, 0, 1, 2);
    m_clearData = Named(new QPushButton(QStringLiteral("&Clear Data"), this), "cbData");
    auto* help = Named(new QPushButton(QStringLiteral("&Help"), this), "cbHelp");
    m_ok = Named(new QPushButton(QStringLiteral("&Ok"), this), "bOK");
    m_ok->setAutoDefault(false);
    m_clearData->setAutoDefault(false);
    help->setAutoDefault(false);
    grid->addWidget(m_clearData, 3, 0);
    grid->addWidget(help, 3, 1);
    grid->addWidget(m_ok, 4, 0, 1, 2);

    m_subject->installEventFilter(this);
    m_condition->installEventFilter(this);
    connect(m_ok, &QPushButton::clicked, this, &fCodes::bOK_Click);
    connect(m_clearData, &QPushButton::clicked, this, &fCodes::cbData_Click);
    connect(m_edit, &QCheckBox::clicked, this, &fCodes::CheckEdit_Click);
}

bool fCodes::Load(const QString& alternateDataFolder) {
    bool usedAlternate = false;
    DataRootFor(m_state, alternateDataFolder, usedAlternate);
    m_state.RepeatSessions = ToFlag(CheckAutoStart(m_state, m_verifySubject));
    if (IsTrue(m_state.RepeatSessions)) {
        bOK_Click();
        return true;
    }
    m_state.SubjectID.clear();
    m_state.ConditionID.clear();
    m_subject->setText(QStringLiteral("1"));
    m_condition->setText(QStringLiteral("1"));
    m_edit->setChecked(m_state.EditMode);
    adjustSize();
    if (const QScreen* screen = this->screen())
        move(screen->availableGeometry().center() - rect().center());
    return false;
}

void fCodes::bOK_Click() {
    if (m_verifySubject) {
        m_condition->setText(m_condition->text().remove(QStringLiteral("\r\n")));
        const auto again = m_state.Boxes().Input(
            QStringLiteral("Verify"), QStringLiteral("Please re-enter Subject ID"), QString());
        if (!VerifySubjectMatches(m_subject->text(), again.value_or(QString()))) {
            m_subject->setFocus();
            // Selected as on getting the focus back from the box: the ID is typed afresh.
            m_subject->selectAll();
            return;
        }
    }
    if (!IsTrue(m_state.RepeatSessions)) {
        m_state.SubjectID = m_subject->text();
        m_state.ConditionID = m_condition->text();
        m_state.EditMode = m_edit->isChecked();
    }
    hide();
    if (ReadExperimentInfo)
        ReadExperimentInfo();
}

void fCodes::cbData_Click() {
    const BoxAnswer answer =
        // Cancel is the default: one Enter must not wipe the data.
        m_state.Boxes().Show(MessageBox{DefaultBoxTitle(), ClearDataQuestion(m_state.DataRoot),
                                        BoxIcon::Warning, BoxButtons::OkCancel, BoxAnswer::Cancel});
    if (answer != BoxAnswer::Ok)
        return;
    ClearDataFiles(m_state.DataRoot);
    m_clearData->setEnabled(false);
}

void fCodes::CheckEdit_Click() {
    m_state.EditMode = m_edit->isChecked();
}

bool fCodes::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn) {
        // Each box selects its text on getting the focus, so that typing replaces it.
        if (auto* box = qobject_cast<QLineEdit*>(watched))
            QTimer::singleShot(0, box, &QLineEdit::selectAll);
    }
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            if (watched == m_subject)
                m_condition->setFocus();
            else
                bOK_Click();
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace corvane
