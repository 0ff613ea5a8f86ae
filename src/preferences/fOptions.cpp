#include "preferences/fOptions.h"

#include "preferences/load_preferences.h"
#include "preferences/options_dialogs.h"
#include "preferences/preference_file.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/message_boxes.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QSaveFile>
#include <QTabWidget>
#include <QVBoxLayout>

namespace corvane {

namespace {

const QString kClickHint = QStringLiteral("Click an area to modify");
const QString kQuestionBackground = QStringLiteral("Questionnaire Background");
const QString kQuestionText = QStringLiteral("Questionnaire Text");
const QString kQuestionTextColour = QStringLiteral("Questionnaire Text Colour");
const QString kInputBackground = QStringLiteral("Input Background");
const QString kInputText = QStringLiteral("Input Text");
const QString kInputTextColour = QStringLiteral("Input Text Colour");
const QString kOpenFailed = QStringLiteral("Error opening file.  Check disk space and try again");
const QString kSaveFailed = QStringLiteral("Error saving file.");
const QString kTargetProperty = QStringLiteral("optionsTarget");

// Copies a whole file over another; the file copied over stays as it was if anything fails.
bool CopyOver(const QString& from, const QString& to) {
    if (QFileInfo(from).absoluteFilePath() == QFileInfo(to).absoluteFilePath())
        return false;
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = source.readAll();
    if (source.error() != QFileDevice::NoError)
        return false;
    QSaveFile target(to);
    if (!target.open(QIODevice::WriteOnly) || target.write(bytes) != bytes.size())
        return false;
    return target.commit();
}

QString StylesPath(const QString& name) {
    return StylesFolder() + QLatin1Char('/') + name;
}

QFont ToFont(const PreferenceFont& font) {
    QFont result(font.name);
    if (font.size > 0)
        result.setPointSizeF(font.size);
    result.setBold(font.bold);
    result.setItalic(font.italic);
    return result;
}

PreferenceFont FromFont(const QFont& font) {
    return PreferenceFont{font.family(), font.pointSizeF(), font.bold(), font.italic()};
}

QColor ToColor(quint32 colour) {
    return QColor(QRgb(ColourToRgb(colour)));
}

quint32 FromColor(const QColor& colour) {
    return RgbToColour(quint32(colour.rgb()) & 0xFFFFFFu);
}

void Paint(QWidget* widget, quint32 back, std::optional<quint32> fore = std::nullopt) {
    QPalette palette = widget->palette();
    palette.setColor(QPalette::Window, ToColor(back));
    if (fore)
        palette.setColor(QPalette::WindowText, ToColor(*fore));
    widget->setAutoFillBackground(true);
    widget->setPalette(palette);
}

QString Lower(const QString& text) {
    return text.toLower();
}

} // namespace

fOptions::fOptions(RunState& state, Preferences& preferences, OptionsDialogs& dialogs,
                   bool quickStyleMode, QWidget* parent)
    : QDialog(parent), QuickStyleMode(quickStyleMode), m_state(state), m_preferences(preferences),
      m_dialogs(dialogs) {
    setObjectName(QStringLiteral("fOptions"));
    BuildControls();
    BuildMenu();
}

fOptions::~fOptions() = default;

QString fOptions::TempFile() {
    return StylesPath(QStringLiteral("temp.cvp"));
}

void fOptions::Tell(const QString& text) {
    m_state.Boxes().Show(MessageBox{DefaultBoxTitle(), text, BoxIcon::Information});
}

// --- The controls --------------------------------------------------------------------------------

void fOptions::BuildControls() {
    auto* layout = new QVBoxLayout(this);
    SSTab1 = new QTabWidget(this);
    SSTab1->setObjectName(QStringLiteral("SSTab1"));
    SSTab1->addTab(BuildLookTab(), QStringLiteral("Look"));
    SSTab1->addTab(BuildOptionsTab(), QStringLiteral("Run Options"));
    SSTab1->addTab(BuildFilesTab(), QStringLiteral("Files"));
    SSTab1->installEventFilter(this);
    layout->addWidget(SSTab1);

    auto* buttons = new QHBoxLayout;
    auto button = [&](const char* name, const QString& caption, auto click) {
        auto* b = new QPushButton(caption, this);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        connect(b, &QPushButton::clicked, this, click);
        buttons->addWidget(b);
    };
    button("cbOpen", QStringLiteral("&Open"), [this] { mnuOpenPref_Click(); });
    button("cbSave", QStringLiteral("&Save"), [this] { cbSave_Click(); });
    button("cbSaveAs", QStringLiteral("Save &As"), [this] { cbSaveAs_Click(); });
    // Close asks nothing: what was not saved stays in the working copy until the next opening.
    button("cbCancel", QStringLiteral("&Close"), [this] { close(); });
    layout->addLayout(buttons);
}

QFrame* fOptions::SampleArea(const QString& name, const QRect& place, const QString& target) {
    auto* area = new QFrame(panSample);
    area->setObjectName(name);
    area->setGeometry(place);
    if (!target.isEmpty()) {
        area->setProperty(kTargetProperty.toLatin1(), target);
        area->installEventFilter(this);
        area->setCursor(Qt::PointingHandCursor);
    }
    return area;
}

QWidget* fOptions::BuildLookTab() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    lTarget = new QLabel(kClickHint, page);
    lTarget->setObjectName(QStringLiteral("lTarget"));
    layout->addWidget(lTarget);

    panSample = new QFrame(page);
    panSample->setObjectName(QStringLiteral("panSample"));
    panSample->setFrameShape(QFrame::Panel);
    panSample->setFrameShadow(QFrame::Sunken);
    panSample->setFixedSize(460, 280);
    panSample->installEventFilter(this);
    tbQ = SampleArea(QStringLiteral("tbQ"), QRect(10, 10, 440, 100), kQuestionBackground);
    tbQ2 = SampleArea(QStringLiteral("tbQ2"), QRect(10, 110, 440, 12), QString());
    tbS = SampleArea(QStringLiteral("tbS"), QRect(10, 132, 440, 138), kInputBackground);
    auto label = [&](const char* name, const QString& text, const QRect& place,
                     const QString& target) {
        auto* l = new QLabel(text, panSample);
        l->setObjectName(QString::fromLatin1(name));
        l->setGeometry(place);
        l->setProperty(kTargetProperty.toLatin1(), target);
        l->installEventFilter(this);
        l->setCursor(Qt::PointingHandCursor);
        return l;
    };
    txQ = label("txQ", QStringLiteral("What is the meaning of life?  "), QRect(30, 30, 400, 60),
                kQuestionText);
    txS = label("txS", QStringLiteral("The answer is 42."), QRect(30, 145, 400, 50), kInputText);
    const std::array<QString, 3> captions{QString(), QStringLiteral("Not confident"),
                                          QStringLiteral("Very Confident")};
    for (int n = 1; n <= 2; ++n) {
        auto* b = new QPushButton(captions[std::size_t(n)], panSample);
        b->setObjectName(QStringLiteral("bResponse(%1)").arg(n));
        b->setGeometry(n == 1 ? 30 : 270, 205, 160, 44);
        b->setFocusPolicy(Qt::NoFocus);
        bResponse[std::size_t(n)] = b;
    }
    lText = new QLabel(QStringLiteral("Sample item"), panSample);
    lText->setObjectName(QStringLiteral("lText"));
    lText->setGeometry(14, 12, 120, 16);
    layout->addWidget(panSample, 0, Qt::AlignHCenter);

    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(QStringLiteral("Select item to modify"), page));
    Combo1 = new QComboBox(page);
    Combo1->setObjectName(QStringLiteral("Combo1"));
    Combo1->addItems({kQuestionBackground, kQuestionText, kQuestionTextColour, kInputBackground,
                      kInputText, kInputTextColour});
    connect(Combo1, &QComboBox::activated, this,
            [this](int index) { Modify(Combo1->itemText(index)); });
    row->addWidget(Combo1, 1);
    layout->addLayout(row);
    return page;
}

QWidget* fOptions::BuildOptionsTab() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    auto* form = new QFormLayout;
    auto edit = [&](const char* name, const QString& caption) {
        auto* e = new QLineEdit(page);
        e->setObjectName(QString::fromLatin1(name));
        form->addRow(caption, e);
        return e;
    };
    txExitPassword = edit("txExitPassword", QStringLiteral("Password to exit experiments"));
    txMachCode = edit("txMachCode", QStringLiteral("Use Unique Machine Code"));
    txAlternateData = edit("txAlternateData", QStringLiteral("Use Alternate Data Folder"));
    auto* browse = new QPushButton(QStringLiteral("Browse..."), page);
    browse->setObjectName(QStringLiteral("cbBrowse(2)"));
    connect(browse, &QPushButton::clicked, this, [this] { cbBrowse_Click(2); });
    form->addRow(QString(), browse);
    layout->addLayout(form);

    auto* frame = new QGroupBox(QStringLiteral("Run Options"), page);
    auto* checks = new QVBoxLayout(frame);
    auto check = [&](const char* name, const QString& caption) {
        auto* c = new QCheckBox(caption, frame);
        c->setObjectName(QString::fromLatin1(name));
        checks->addWidget(c);
        return c;
    };
    chkEditMode = check("chkEditMode", QStringLiteral("Edit Word documents during a run"));
    chkHideRats = check("chkHideRats", QStringLiteral(" Hide Corvane-Rats"));
    chkDisable = check("chkDisable", QStringLiteral("Disable system keys during a run"));
    chkClicktoEnd = check("chkClicktoEnd", QStringLiteral("Double-click to close Corvane"));
    layout->addWidget(frame);
    layout->addStretch();
    return page;
}

QWidget* fOptions::BuildFilesTab() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    auto* frame = new QGroupBox(QStringLiteral("Where to Find Supporting Applications"), page);
    auto* form = new QFormLayout(frame);
    auto folder = [&](const char* name, const QString& caption, int index) {
        auto* e = new QLineEdit(frame);
        e->setObjectName(QString::fromLatin1(name));
        auto* b = new QPushButton(QStringLiteral("Browse..."), frame);
        b->setObjectName(QStringLiteral("cbBrowse(%1)").arg(index));
        connect(b, &QPushButton::clicked, this, [this, index] { cbBrowse_Click(index); });
        auto* row = new QHBoxLayout;
        row->addWidget(e, 1);
        row->addWidget(b);
        form->addRow(caption, row);
        return e;
    };
    tbWordDir = folder("tbWordDir", QStringLiteral("Word (winword.exe)"), 0);
    tbAccessDir = folder("tbAccessDir", QStringLiteral("WordPerfect (wpwin*.exe)"), 1);
    layout->addWidget(frame);
    layout->addStretch();
    return page;
}

void fOptions::BuildMenu() {
    auto* bar = new QMenuBar(this);
    layout()->setMenuBar(bar);
    auto add = [this](QMenu* menu, const char* name, const QString& caption, auto slot) {
        QAction* action = menu->addAction(caption);
        action->setObjectName(QString::fromLatin1(name));
        connect(action, &QAction::triggered, this, slot);
    };
    QMenu* file = bar->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("mnuPrefFile"));
    add(file, "mnuOpenPref", QStringLiteral("&Open..."), [this] { mnuOpenPref_Click(); });
    add(file, "mPrefSave", QStringLiteral("&Save"), [this] { cbSave_Click(); });
    add(file, "mnuPrefSaveAs", QStringLiteral("Save &As..."), [this] { cbSaveAs_Click(); });
    add(file, "mnuPrefDelete", QStringLiteral("&Delete"), [this] { mnuPrefDelete_Click(); });
    QMenu* font = bar->addMenu(QStringLiteral("F&ont"));
    font->setObjectName(QStringLiteral("mnuPrefFontChoice"));
    add(font, "mnuPrefFontFont", QStringLiteral("&Font..."), [this] { mnuPrefFontFont_Click(); });
    add(font, "mnuPrefFontColour", QStringLiteral("&Colour..."),
        [this] { mnuPrefFontColour_Click(); });
}

// --- Opening and showing -------------------------------------------------------------------------

bool fOptions::Form_Load() {
    const auto source = FindFile(StylesPath(m_preferences.PreferenceFileName));
    if (!source || !CopyOver(*source, TempFile())) {
        Tell(kOpenFailed);
        return false;
    }
    ReadWorkingCopy();
    EditedFileName = QuickStyleMode ? QStringLiteral("New") : m_preferences.PreferenceFileName;
    ShowPreferenceSample();
    return true;
}

bool fOptions::ReadWorkingCopy() {
    const auto record = ReadPreferenceRecord(TempFile());
    m_record = record.value_or(PreferenceRecord{});
    return record.has_value();
}

void fOptions::ShowPreferenceSample() {
    if (EditedFileName == QLatin1String("New"))
        setWindowTitle(QStringLiteral("New QuickStyle File"));
    else if (QuickStyleMode)
        setWindowTitle(QStringLiteral("QuickStyle Settings for ") + EditedFileName);
    else
        setWindowTitle(QStringLiteral("Option settings for ") + EditedFileName);
    ShowRecordInControls();
    // A QuickStyle's options are never read: only its look can be edited.
    SSTab1->setTabEnabled(1, !QuickStyleMode);
    SSTab1->setTabEnabled(2, !QuickStyleMode);
}

void fOptions::ShowRecordInControls() {
    const PreferenceRecord& r = m_record;
    Paint(tbQ, r.BackColors[1]);
    Paint(tbQ2, r.BackColors[1]);
    Paint(txQ, r.BackColors[1], r.ForeColors[1]);
    txQ->setFont(ToFont(r.Fonts[1]));
    Paint(tbS, r.BackColors[2]);
    Paint(txS, r.BackColors[2], r.ForeColors[2]);
    txS->setFont(ToFont(r.Fonts[2]));
    Paint(lText, r.BackColors[1], r.ForeColors[1]);
    for (int n = 1; n <= 2; ++n)
        bResponse[std::size_t(n)]->setFont(ToFont(r.Fonts[2]));

    txExitPassword->setText(r.ExitPassword);
    txMachCode->setText(r.MachineCode);
    txAlternateData->setText(r.AlternateDataFolder);
    chkEditMode->setChecked(r.EditMode);
    chkHideRats->setChecked(r.HideRatsFlag);
    chkDisable->setChecked(r.DisableKeysFlag);
    chkClicktoEnd->setChecked(r.DoubleClickFlag);
    tbWordDir->setText(r.WordFolder);
    tbAccessDir->setText(r.SecondAppFolder);
}

// --- The record ----------------------------------------------------------------------------------

void fOptions::UpdateRecord() {
    m_record.ExitPassword = txExitPassword->text();
    m_record.MachineCode = txMachCode->text();
    m_record.AlternateDataFolder = txAlternateData->text();
    m_record.EditMode = chkEditMode->isChecked();
    m_record.HideRatsFlag = chkHideRats->isChecked();
    m_record.DisableKeysFlag = chkDisable->isChecked();
    m_record.DoubleClickFlag = chkClicktoEnd->isChecked();
    m_record.WordFolder = tbWordDir->text();
    m_record.SecondAppFolder = tbAccessDir->text();
    WriteWorkingCopy();
}

void fOptions::WriteWorkingCopy() {
    try {
        SavePreferenceRecord(TempFile(), m_record);
    } catch (const CorvaneError& error) {
        // The edits would otherwise be lost without a word at the next save.
        Tell(kSaveFailed + QStringLiteral("\n\n") + error.description());
    }
}

void fOptions::ApplyEditingPrefs() {
    UpdateRecord();
    ApplyPreferenceRecord(m_state, m_preferences, m_record);
    emit PreferencesApplied();
}

// --- The sample ----------------------------------------------------------------------------------

bool fOptions::eventFilter(QObject* watched, QEvent* event) {
    const QString target = watched->property(kTargetProperty.toLatin1()).toString();
    switch (event->type()) {
    case QEvent::Enter:
        lTarget->setText(target.isEmpty() ? kClickHint : target);
        break;
    case QEvent::Leave:
        if (!target.isEmpty())
            lTarget->setText(kClickHint);
        break;
    case QEvent::MouseButtonRelease:
        if (!target.isEmpty()) {
            Modify(target);
            return true;
        }
        break;
    default:
        break;
    }
    return QDialog::eventFilter(watched, event);
}

void fOptions::Modify(const QString& target) {
    Combo1->setCurrentText(target);
    PreferenceRecord& r = m_record;
    const bool question = target.startsWith(QLatin1String("Questionnaire"));
    const std::size_t style = question ? 1 : 2;
    const bool font = target == kQuestionText || target == kInputText;
    const bool background = target == kQuestionBackground || target == kInputBackground;
    if (font) {
        const auto chosen = m_dialogs.ChooseFont(this, ToFont(r.Fonts[style]));
        if (!chosen)
            return; // Cancel leaves sample and record as they were
        r.Fonts[style] = FromFont(*chosen);
    } else {
        quint32& colour = background ? r.BackColors[style] : r.ForeColors[style];
        const auto chosen = m_dialogs.ChooseColour(this, ToColor(colour));
        if (!chosen)
            return;
        colour = FromColor(*chosen);
    }
    // The change is part of the working copy at once; the edited file changes only on Save.
    WriteWorkingCopy();
    ShowRecordInControls();
}

void fOptions::mnuPrefFontFont_Click() {
    Modify(Combo1->currentText() == kQuestionText ? kQuestionText : kInputText);
}

void fOptions::mnuPrefFontColour_Click() {
    Modify(Combo1->currentText() == kQuestionText ? kQuestionTextColour : kInputTextColour);
}

void fOptions::cbBrowse_Click(int index) {
    static const std::array<QString, 3> titles{
        QStringLiteral("Select folder containing Word (winword.exe)"),
        QStringLiteral("Select folder containing WordPerfect (wpwin*.exe)"),
        QStringLiteral("Select an alternate folder for data. Select Cancel to use experiment "
                       "folder (default).")};
    const std::array<QLineEdit*, 3> fields{tbWordDir, tbAccessDir, txAlternateData};
    QLineEdit* field = fields[std::size_t(index)];
    const QString folder = m_dialogs.ChooseFolder(this, titles[std::size_t(index)], field->text());
    // Cancel on the data folder means the experiment's folder: the field is emptied.
    if (!folder.isEmpty() || index == 2)
        field->setText(folder);
}

// --- Files ---------------------------------------------------------------------------------------

QString fOptions::KindFilter(bool presentKindFirst) const {
    const QString preference = QStringLiteral("Corvane Preference Files (*.cvp)|*.cvp|");
    const QString quickStyle = QStringLiteral("Corvane QuickStyle (*.cvq)|*.cvq|");
    const QString all = QStringLiteral("All files (*.*)|*.*|");
    if (!presentKindFirst)
        return QuickStyleMode ? quickStyle + all : preference + quickStyle + all;
    return QuickStyleMode ? quickStyle + preference + all : preference + quickStyle + all;
}

void fOptions::cbSave_Click() {
    if (QuickStyleMode)
        return cbSaveAs_Click();
    UpdateRecord();
    const QString question =
        Lower(EditedFileName) == QLatin1String("default.cvp")
            ? QStringLiteral("Save changes to the default preferences file?")
            : QStringLiteral("Save changes to ") + EditedFileName + QLatin1Char('?');
    const BoxAnswer answer = m_state.Boxes().Show(MessageBox{
        DefaultBoxTitle(), question, BoxIcon::Question, BoxButtons::YesNo, BoxAnswer::Yes});
    if (answer != BoxAnswer::Yes)
        return;
    if (!CopyOver(TempFile(), StylesPath(EditedFileName))) {
        Tell(kSaveFailed);
        return;
    }
    if (EditedFileName == m_preferences.PreferenceFileName)
        ApplyEditingPrefs();
}

void fOptions::cbSaveAs_Click() {
    const QString chosen = m_dialogs.SaveFile(
        this, {QStringLiteral("Save As"), KindFilter(false), QString(), StylesFolder()});
    if (chosen.isEmpty())
        return;
    SaveAs(chosen);
}

void fOptions::SaveAs(const QString& chosen) {
    // What the controls hold goes into the copy first, so that nothing typed is left behind.
    UpdateRecord();
    QString path = chosen;
    QString extension = Lower(LastChars(path, 4));
    if (extension != QLatin1String(".cvp") && extension != QLatin1String(".cvq")) {
        // A name without one of the two kinds takes the kind being edited.
        extension = QuickStyleMode ? QStringLiteral(".cvq") : QStringLiteral(".cvp");
        path += extension;
    }
    const QString name = QFileInfo(path).fileName();
    QString target;
    if (extension == QLatin1String(".cvp")) {
        QuickStyleMode = false;
        target = StylesPath(name); // preference files live in the styles folder only
    } else {
        QuickStyleMode = true;
        target = path; // a QuickStyle may stand beside its experiment
    }
    EditedFileName = name;
    if (!CopyOver(TempFile(), target)) {
        Tell(kSaveFailed);
        return;
    }
    ShowPreferenceSample();
    if (name == m_preferences.PreferenceFileName && !QuickStyleMode)
        ApplyEditingPrefs();
}

void fOptions::mnuOpenPref_Click() {
    const QString chosen = m_dialogs.OpenFile(
        this, {QStringLiteral("Open"), KindFilter(true), QString(), StylesFolder()});
    if (chosen.isEmpty())
        return;
    const QString name = QFileInfo(chosen).fileName();
    if (Lower(name) == QLatin1String("temp.cvp")) {
        Tell(QStringLiteral("This is a temporary file and it can not be edited"));
        return;
    }
    if (!CopyOver(chosen, TempFile())) {
        Tell(kOpenFailed);
        return;
    }
    ReadWorkingCopy();
    QuickStyleMode = Lower(LastChars(name, 4)) == QLatin1String(".cvq");
    EditedFileName = name;
    ShowPreferenceSample();
}

void fOptions::mnuPrefDelete_Click() {
    if (Lower(EditedFileName) == QLatin1String("default.cvp")) {
        Tell(QStringLiteral("You can not delete the default preferences file.  That would be "
                            "bad."));
        return;
    }
    const BoxAnswer answer = m_state.Boxes().Show(
        MessageBox{DefaultBoxTitle(), QStringLiteral("Delete the current preferences file?"),
                   BoxIcon::Question, BoxButtons::YesNo, BoxAnswer::No});
    if (answer != BoxAnswer::Yes)
        return;
    QFile::remove(StylesPath(EditedFileName));
    // The dialog always holds a file: the operator chooses the next one.
    mnuOpenPref_Click();
}

} // namespace corvane
