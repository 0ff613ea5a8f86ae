// The preferences dialog: edits a preference file or a QuickStyle file through the working copy
// styles/temp.cvp. Every control stands for a field of that copy's `options` record; a file
// changes only when the copy is copied over it. The look is changed by clicking on the sample.
#pragma once

#include "preferences/preferences.h"

#include <QDialog>
#include <array>

class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QTabWidget;

namespace corvane {

class OptionsDialogs;
class RunState;

class fOptions : public QDialog {
    Q_OBJECT
public:
    /// The dialog on the settings in force; `quickStyleMode` opens it for a new QuickStyle.
    fOptions(RunState& state, Preferences& preferences, OptionsDialogs& dialogs,
             bool quickStyleMode, QWidget* parent = nullptr);
    ~fOptions() override;

    /// Makes the working copy and shows it; false when the copy can't be made (the operator
    /// has been told, and the dialog is not to be shown).
    bool Form_Load();

    /// The file being edited, or "New".
    QString EditedFileName;
    /// True while a QuickStyle is edited.
    bool QuickStyleMode = false;

    /// The record of the working copy, as the controls last wrote it.
    const PreferenceRecord& Record() const { return m_record; }
    /// The working copy.
    static QString TempFile();

    // The commands, as the buttons and the menu give them.
    void cbSave_Click();
    void cbSaveAs_Click();
    void mnuOpenPref_Click();
    void mnuPrefDelete_Click();
    void mnuPrefFontFont_Click();
    void mnuPrefFontColour_Click();
    void cbBrowse_Click(int index);
    /// Sets `Combo1` to the target and runs its action (font or colour dialog).
    void Modify(const QString& target);

signals:
    /// The file in force was saved and its settings carried into the settings in force.
    void PreferencesApplied();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void BuildControls();
    QWidget* BuildLookTab();
    QWidget* BuildOptionsTab();
    QWidget* BuildFilesTab();
    void BuildMenu();
    QFrame* SampleArea(const QString& name, const QRect& place, const QString& target);

    void ShowPreferenceSample();
    void ShowRecordInControls();
    void UpdateRecord();
    void WriteWorkingCopy();
    void ApplyEditingPrefs();
    bool ReadWorkingCopy();
    /// Saves the working copy to the file chosen in the Save As dialog.
    void SaveAs(const QString& chosen);
    QString KindFilter(bool presentKindFirst) const;
    void Tell(const QString& text);

    RunState& m_state;
    Preferences& m_preferences;
    OptionsDialogs& m_dialogs;
    PreferenceRecord m_record;

    QTabWidget* SSTab1 = nullptr;
    QFrame* panSample = nullptr;
    QFrame* tbQ = nullptr;
    QFrame* tbQ2 = nullptr;
    QLabel* txQ = nullptr;
    QFrame* tbS = nullptr;
    QLabel* txS = nullptr;
    std::array<QPushButton*, 3> bResponse{}; // 1 and 2
    QLabel* lText = nullptr;
    QLabel* lTarget = nullptr;
    QComboBox* Combo1 = nullptr;
    QLineEdit* txExitPassword = nullptr;
    QLineEdit* txMachCode = nullptr;
    QLineEdit* txAlternateData = nullptr;
    QCheckBox* chkEditMode = nullptr;
    QCheckBox* chkHideRats = nullptr;
    QCheckBox* chkDisable = nullptr;
    QCheckBox* chkClicktoEnd = nullptr;
    QLineEdit* tbWordDir = nullptr;
    QLineEdit* tbAccessDir = nullptr;
};

} // namespace corvane
