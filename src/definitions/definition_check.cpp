#include "definitions/definition_check.h"

#include "definitions/definition_store.h"
#include "definitions/definition_writer.h"
#include "definitions/experiment_loader.h"
#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "definitions/questionnaire_reader.h"
#include "preferences/preference_file.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <map>
#include <memory>

namespace corvane {

namespace {

using Severity = FindingSeverity;

// Boxes of the loader and the reader, kept for the check instead of shown.
class KeptBoxes : public MessageBoxes {
public:
    explicit KeptBoxes(std::vector<MessageBox>* kept) : m_kept(kept) {}
    BoxAnswer Show(const MessageBox& box) override {
        m_kept->push_back(box);
        return box.defaultAnswer;
    }
    std::optional<QString> Input(const QString&, const QString&, const QString&) override {
        return std::nullopt;
    }

private:
    std::vector<MessageBox>* m_kept;
};

// Restores the working folder that the loader moves.
class KeepWorkingFolder {
public:
    KeepWorkingFolder() : m_folder(QDir::currentPath()) {}
    ~KeepWorkingFolder() { QDir::setCurrent(m_folder); }
    KeepWorkingFolder(const KeepWorkingFolder&) = delete;
    KeepWorkingFolder& operator=(const KeepWorkingFolder&) = delete;
    const QString& Folder() const { return m_folder; }

private:
    QString m_folder;
};

const QStringList& ItemTypes() {
    static const QStringList types = {QStringLiteral("scale response"),
                                      QStringLiteral("multiple response"),
                                      QStringLiteral("ranking"),
                                      QStringLiteral("fill-in-the-blank"),
                                      QStringLiteral("essay"),
                                      QStringLiteral("thought listing"),
                                      QStringLiteral("recall list"),
                                      QStringLiteral("thought rating"),
                                      QStringLiteral("on-line rating"),
                                      QStringLiteral("voice response"),
                                      QStringLiteral("instructions"),
                                      QStringLiteral("image file"),
                                      QStringLiteral("sound file"),
                                      QStringLiteral("movie"),
                                      QStringLiteral("word document"),
                                      QStringLiteral("wordperfect doc"),
                                      QStringLiteral("powerpoint show"),
                                      QStringLiteral("html"),
                                      QStringLiteral("webtracker"),
                                      QStringLiteral("executable"),
                                      QStringLiteral("inquisit session"),
                                      QStringLiteral("tachyra")};
    return types;
}

// The spelling that the loader and the scan compare exactly, where they compare one.
QString ScanSpelling(const QString& type) {
    static const QHash<QString, QString> spelled = {
        {QStringLiteral("multiple response"), QStringLiteral("Multiple Response")},
        {QStringLiteral("ranking"), QStringLiteral("Ranking")},
        {QStringLiteral("thought listing"), QStringLiteral("Thought Listing")},
        {QStringLiteral("recall list"), QStringLiteral("Recall List")},
        {QStringLiteral("thought rating"), QStringLiteral("Thought Rating")},
        {QStringLiteral("voice response"), QStringLiteral("Voice Response")},
        {QStringLiteral("word document"), QStringLiteral("Word Document")},
        {QStringLiteral("wordperfect doc"), QStringLiteral("WordPerfect Doc")}};
    return spelled.value(type);
}

// Types whose items have a response per button, and so twelve skips.
bool HasResponseSkips(const QString& type) {
    static const QStringList types = {
        QStringLiteral("scale response"), QStringLiteral("thought rating"),
        QStringLiteral("on-line rating"), QStringLiteral("multiple response"),
        QStringLiteral("ranking"),        QStringLiteral("voice response")};
    return types.contains(type);
}

// Letters that only some types read, with those types.
const QHash<QString, QStringList>& LetterReaders() {
    static const QHash<QString, QStringList> readers = {
        {QStringLiteral("n"), {QStringLiteral("thought listing"), QStringLiteral("recall list")}},
        {QStringLiteral("q"), {QStringLiteral("thought rating")}},
        {QStringLiteral("x"), {QStringLiteral("instructions")}},
        {QStringLiteral("m"), {QStringLiteral("fill-in-the-blank")}},
        {QStringLiteral("r"),
         {QStringLiteral("fill-in-the-blank"), QStringLiteral("multiple response"),
          QStringLiteral("ranking")}},
        {QStringLiteral("s"),
         {QStringLiteral("scale response"), QStringLiteral("multiple response"),
          QStringLiteral("ranking"), QStringLiteral("fill-in-the-blank")}},
        {QStringLiteral("k"),
         {QStringLiteral("thought listing"), QStringLiteral("recall list"), QStringLiteral("essay"),
          QStringLiteral("fill-in-the-blank")}},
        {QStringLiteral("!"),
         {QStringLiteral("scale response"), QStringLiteral("multiple response")}},
        {QStringLiteral("c"), {QStringLiteral("executable"), QStringLiteral("inquisit session")}}};
    return readers;
}

bool IsKnownLetter(const QString& letter) {
    static const QString letters = QStringLiteral("lthwdpnqxkocsrm$!<@");
    return letter.size() == 1 && letters.contains(letter);
}

// Types that have no answer buttons and present a file named in FileName.
bool NamesFile(const QString& type) {
    static const QStringList types = {QStringLiteral("image file"),
                                      QStringLiteral("sound file"),
                                      QStringLiteral("movie"),
                                      QStringLiteral("word document"),
                                      QStringLiteral("wordperfect doc"),
                                      QStringLiteral("powerpoint show"),
                                      QStringLiteral("html"),
                                      QStringLiteral("webtracker"),
                                      QStringLiteral("executable"),
                                      QStringLiteral("inquisit session")};
    return types.contains(type);
}

bool IsAddress(const QString& name) {
    return name.contains(QLatin1String("://")) || name.startsWith(QLatin1String("www."));
}

bool IsNoJump(const QString& target) {
    return target.isEmpty() || target == QLatin1String("none");
}

QString Quote(const QString& text) {
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

// A cell's text; a NULL reads as empty here, the reader says what a NULL does.
QString CellText(const RecordSet& rows, const QString& column) {
    if (!rows.HasColumn(column))
        return QString();
    const FieldValue& cell = rows.Field(column);
    return cell.IsNull() ? QString() : cell.ToText();
}

// "in 'file.que', the row with questionnumber N, column C" in a placed fault.
struct FaultPlace {
    QString file;
    QString questionNumber;
    QString condition;
    QString position;
    QString column;
};

std::optional<FaultPlace> ParseFaultPlace(const QString& text) {
    static const QRegularExpression item(
        QStringLiteral("in '([^']*)', the row with questionnumber (\\S+), column (\\S+)$"));
    static const QRegularExpression row(QStringLiteral(
        "in '([^']*)', the row of condition '([^']*)' at position (\\S+), column (\\S+)$"));
    if (const auto m = item.match(text); m.hasMatch())
        return FaultPlace{m.captured(1), m.captured(2), {}, {}, m.captured(3)};
    if (const auto m = row.match(text); m.hasMatch())
        return FaultPlace{m.captured(1), {}, m.captured(2), m.captured(3), m.captured(4)};
    return std::nullopt;
}

struct ExperimentRow {
    int row = 0;       // as stored, from 1
    QString condition; // trimmed, lower case
    double position = 0;
    QString file;     // the name part of the file cell as written
    QString fileCell; // the cell
    bool isQuestionnaire = false;
};

struct QuestionnaireInfo {
    QString name; // as the experiment names it
    QString path; // found, or empty when missing
    int firstRow = 0;
    mutable RecordSet rows;      // in question-number order; the checks move its cursor
    std::vector<Question> items; // from the reader, 1 to count; empty when it failed
    bool readerFailed = false;
    bool randomised = false;
};

class Checker {
public:
    Checker(const CheckOptions& options, const QString& callerFolder)
        : m_options(options), m_callerFolder(callerFolder) {}

    CheckReport Run(const QString& path);

private:
    // Shown paths are relative to the caller's working folder when below it.
    QString Shown(const QString& absolute) const {
        const QString relative = QDir(m_callerFolder).relativeFilePath(absolute);
        return relative.startsWith(QLatin1String("..")) ? absolute : relative;
    }
    QString InFolder(const QString& name) const {
        return QDir::cleanPath(QDir(m_folder).absoluteFilePath(ToLinuxSeparators(name)));
    }
    void Add(const QString& file, int row, const QString& column, Severity severity,
             const QString& message);
    void AddLoaderFinding(const DefinitionFinding& finding);

    bool ReadExperiment();
    void CheckExperimentRows();
    void CheckConditions();
    void RunLoader(const QString& condition);
    void PlaceLoaderBox(const MessageBox& box, bool failure, const QString& condition);
    void ReadQuestionnaire(RunState& state, QuestionnaireInfo& info);
    void CheckQuestionnaire(const QuestionnaireInfo& info);
    void CheckItemType(const QuestionnaireInfo& info, int i, const QString& written);
    void CheckParameters(const QuestionnaireInfo& info, int i, const QString& type);
    void CheckSkips(const QuestionnaireInfo& info, int i);
    void CheckReachable(const QuestionnaireInfo& info);
    void CheckGroups(const QuestionnaireInfo& info);
    void CheckDuplicates(const QuestionnaireInfo& info);
    void CheckQuotedAnswers(const QuestionnaireInfo& info);
    void CheckOmitConditions(const QuestionnaireInfo& info, int i);
    void CheckFileCell(const QString& file, int row, const QString& column, const QString& cell,
                       bool program);
    void CheckQuickStyle(const QString& file, int row, const QString& name);
    void CheckAcrossQuestionnaires();
    int JumpTarget(const QuestionnaireInfo& info, int from, const QString& target) const;
    QStringList EarlierVariables(const QuestionnaireInfo& info) const;
    QuestionnaireInfo* FindQuestionnaire(const QString& name);

    const CheckOptions& m_options;
    QString m_callerFolder;
    QString m_experiment; // the experiment as found, or the stand-in of a questionnaire
    QString m_shownExperiment;
    QString m_folder;
    bool m_singleQuestionnaire = false;
    std::unique_ptr<QTemporaryDir> m_standIn;
    std::vector<ExperimentRow> m_rows;
    QStringList m_conditions; // in the order first met
    std::vector<QuestionnaireInfo> m_questionnaires;
    std::vector<DefinitionFinding> m_loaderFindings;
    CheckReport m_report;
    QSet<QString> m_seen;
};

void Checker::Add(const QString& file, int row, const QString& column, Severity severity,
                  const QString& message) {
    const QString key = file + QLatin1Char('\n') + QString::number(row) + QLatin1Char('\n') +
                        column + QLatin1Char('\n') + message;
    if (m_seen.contains(key))
        return;
    m_seen.insert(key);
    m_report.findings.push_back({file, row, column, severity, message});
}

// The loader's and reader's words stand unless a finding of this check already explains the
// same cell.
void Checker::AddLoaderFinding(const DefinitionFinding& finding) {
    m_loaderFindings.push_back(finding);
}

QuestionnaireInfo* Checker::FindQuestionnaire(const QString& name) {
    for (QuestionnaireInfo& info : m_questionnaires)
        if (info.name.toLower() == name.toLower())
            return &info;
    return nullptr;
}

bool Checker::ReadExperiment() {
    RecordSet rows;
    try {
        rows = ReadExperimentRowsAsStored(m_experiment);
    } catch (const CorvaneError& error) {
        Add(m_shownExperiment, 0, QString(), Severity::Error, error.description());
        return false;
    }
    ParameterList list;
    if (rows.RecordCount() > 0)
        rows.MoveFirst();
    for (int row = 1; !rows.Eof(); ++row, rows.MoveNext()) {
        ExperimentRow entry;
        entry.row = row;
        entry.condition = Normalised(CellText(rows, QStringLiteral("Condition")));
        const FieldValue& position = rows.Field(QStringLiteral("position"));
        entry.position = position.IsNull() ? 0 : position.ToNumber();
        entry.fileCell = CellText(rows, QStringLiteral("file"));
        try {
            entry.file = ExtractParameters(entry.fileCell, list).trimmed();
        } catch (const CorvaneError&) {
            entry.file = entry.fileCell.trimmed();
        }
        entry.isQuestionnaire = LastChars(entry.file, 3).toUpper() == QLatin1String("QUE");
        if (!m_conditions.contains(entry.condition))
            m_conditions << entry.condition;
        if (entry.isQuestionnaire && !FindQuestionnaire(entry.file)) {
            QuestionnaireInfo info;
            info.name = entry.file;
            info.firstRow = row;
            info.path = FindFile(InFolder(entry.file)).value_or(QString());
            m_questionnaires.push_back(std::move(info));
        }
        m_rows.push_back(entry);
    }
    // The cells the reader of the file list reads again, for the checks of their own.
    if (rows.RecordCount() > 0)
        rows.MoveFirst();
    for (const ExperimentRow& entry : m_rows) {
        auto checkCell = [&](const char* column, bool program) {
            CheckFileCell(m_shownExperiment, entry.row, QLatin1String(column),
                          CellText(rows, QLatin1String(column)), program);
        };
        if (!entry.isQuestionnaire && !entry.file.isEmpty())
            checkCell("file", false);
        checkCell("Backimage", false);
        checkCell("Backvideo", false);
        checkCell("backsound", false);
        const QString parameters = CellText(rows, QStringLiteral("Parameters"));
        try {
            ExtractParameters(parameters, list);
            for (int slot = 1; slot <= list.count; ++slot) {
                const QString& text = list.entries[std::size_t(slot)];
                if (SlotLetter(text) == QLatin1String("$"))
                    CheckQuickStyle(m_shownExperiment, entry.row, SlotValue(text));
            }
        } catch (const CorvaneError&) {
            Add(m_shownExperiment, entry.row, QStringLiteral("Parameters"), Severity::Error,
                QStringLiteral("the parameter list ") + Quote(parameters) +
                    QStringLiteral(" can't be read: write it as (l10,t20) with at most ten "
                                   "parameters, and no ')' without its '('"));
        }
        rows.MoveNext();
    }
    return true;
}

void Checker::CheckExperimentRows() {
    for (const ExperimentRow& entry : m_rows) {
        if (!entry.isQuestionnaire)
            continue;
        const QuestionnaireInfo* info = FindQuestionnaire(entry.file);
        if (info && info->path.isEmpty())
            Add(m_shownExperiment, entry.row, QStringLiteral("file"), Severity::Error,
                QStringLiteral("the questionnaire ") + Quote(entry.file) +
                    QStringLiteral(" is not in the experiment's folder, so no condition can "
                                   "start: put the file there or correct its name"));
        else if (info && !m_singleQuestionnaire &&
                 QFileInfo(info->path).fileName() != QFileInfo(entry.file).fileName())
            Add(m_shownExperiment, entry.row, QStringLiteral("file"), Severity::Warning,
                QStringLiteral("the questionnaire is found as ") +
                    Quote(QFileInfo(info->path).fileName()) +
                    QStringLiteral(", which differs in letter case: write the name as it "
                                   "stands on the disk"));
    }
}

void Checker::CheckConditions() {
    for (const QString& condition : m_conditions) {
        int first = 0;
        bool hasFile = false;
        for (const ExperimentRow& entry : m_rows) {
            if (entry.condition != condition)
                continue;
            first = first ? first : entry.row;
            hasFile = hasFile || !entry.file.isEmpty();
        }
        if (!hasFile)
            Add(m_shownExperiment, first, QStringLiteral("file"), Severity::Error,
                QStringLiteral("the condition ") + Quote(condition) +
                    QStringLiteral(" has no file to present: name a questionnaire or another "
                                   "file in its rows, or remove them"));
        if (condition.isEmpty())
            Add(m_shownExperiment, first, QStringLiteral("Condition"), Severity::Warning,
                QStringLiteral("rows without a condition can only be run by entering an empty "
                               "condition: name the condition"));
    }
}

// A box of the loader or reader, placed where its words point.
void Checker::PlaceLoaderBox(const MessageBox& box, bool failure, const QString& condition) {
    const Severity severity =
        failure || box.icon == BoxIcon::Critical ? Severity::Error : Severity::Warning;
    if (box.text.startsWith(QLatin1String("Corvane has detected that the file '")))
        return; // duplicate variables: placed item by item below
    if (const auto place = ParseFaultPlace(box.text)) {
        if (!place->questionNumber.isEmpty()) {
            if (QuestionnaireInfo* info = FindQuestionnaire(place->file)) {
                int row = 0;
                if (info->rows.RecordCount() > 0)
                    info->rows.MoveFirst();
                for (int r = 1; !info->rows.Eof() && row == 0; ++r, info->rows.MoveNext())
                    if (CellText(info->rows, QStringLiteral("questionnumber")) ==
                        place->questionNumber)
                        row = r;
                return AddLoaderFinding(
                    {Shown(info->path), row, place->column, severity, box.text});
            }
        } else {
            for (const ExperimentRow& entry : m_rows)
                if (entry.condition == Normalised(place->condition) &&
                    NumberToText(entry.position) == place->position)
                    return AddLoaderFinding(
                        {m_shownExperiment, entry.row, place->column, severity, box.text});
        }
    }
    // A questionnaire named in quotes: the first row of the experiment that names it.
    for (const QuestionnaireInfo& info : m_questionnaires)
        if (box.text.contains(Quote(info.name)))
            return AddLoaderFinding(
                {m_shownExperiment, info.firstRow, QStringLiteral("file"), severity, box.text});
    // A questionnaire presented twice in the condition: its second row there.
    if (box.text.startsWith(QLatin1String("Corvane has detected that the current condition"))) {
        QHash<QString, int> uses;
        for (const ExperimentRow& entry : m_rows) {
            if (entry.condition != condition || !entry.isQuestionnaire)
                continue;
            if (++uses[entry.file.toLower()] == 2)
                AddLoaderFinding({m_shownExperiment, entry.row, QStringLiteral("file"),
                                  Severity::Warning, box.text});
        }
        return;
    }
    AddLoaderFinding({m_shownExperiment, 0, QString(), severity, box.text});
}

void Checker::RunLoader(const QString& condition) {
    std::vector<MessageBox> boxes;
    RunState state;
    state.SetBoxes(std::make_unique<KeptBoxes>(&boxes));
    state.ExperimentFile = m_experiment;
    state.ExperimentFileName = QFileInfo(m_experiment).fileName();
    state.ExperimentFolder = m_folder;
    state.ConditionID = condition;
    state.SubjectID = QStringLiteral("check");
    // The check makes no folders: the voice folder counts as made.
    state.VoiceFolderReady = True;
    QDir::setCurrent(m_folder);
    ExperimentLoadHooks hooks;
    hooks.Findings = [&](const DefinitionFinding& finding) {
        DefinitionFinding placed = finding;
        placed.file = Shown(FindFile(InFolder(finding.file)).value_or(InFolder(finding.file)));
        AddLoaderFinding(placed);
    };
    ExperimentNeeds needs;
    const std::size_t before = m_loaderFindings.size();
    const bool loaded = ReadExperimentInfo(state, hooks, needs);
    // Boxes told with their place already stand; the others are placed by their words.
    for (std::size_t b = 0; b < boxes.size(); ++b) {
        bool placed = false;
        for (std::size_t f = before; f < m_loaderFindings.size(); ++f)
            placed = placed || m_loaderFindings[f].message == boxes[b].text;
        if (!placed)
            PlaceLoaderBox(boxes[b], !loaded && b + 1 == boxes.size(), condition);
    }
    // The reader runs even where the load failed, so that one fault doesn't hide the others.
    for (QuestionnaireInfo& info : m_questionnaires) {
        if (info.path.isEmpty() || !info.items.empty() || info.readerFailed)
            continue;
        boxes.clear();
        ReadQuestionnaire(state, info);
        for (const MessageBox& box : boxes)
            PlaceLoaderBox(box, false, condition);
    }
}

void Checker::ReadQuestionnaire(RunState& state, QuestionnaireInfo& info) {
    if (info.rows.Columns().isEmpty()) {
        info.readerFailed = true;
        return; // the loader has told why it can't be read
    }
    state.QuestionnaireFile = info.name;
    try {
        ReadQuestionnaireItems(state);
        info.items = state.Questions;
        info.items.resize(std::size_t(state.NumQuestions) + 1);
    } catch (const CorvaneError& error) {
        info.readerFailed = true;
        const QString text = QStringLiteral("the questionnaire can't be read when the run reaches "
                                            "it (error ") +
                             QString::number(error.number()) + QStringLiteral("): ") +
                             error.description();
        if (ParseFaultPlace(text))
            PlaceLoaderBox(MessageBox{DefaultBoxTitle(), text, BoxIcon::Critical}, true, QString());
        else
            AddLoaderFinding({Shown(info.path), 0, QString(), Severity::Error, text});
    }
    if (info.rows.RecordCount() > 0)
        info.rows.MoveFirst();
    while (!info.rows.Eof()) {
        const FieldValue& w = info.rows.Field(QStringLiteral("WGR"));
        const FieldValue& b = info.rows.Field(QStringLiteral("BGR"));
        info.randomised = info.randomised || (!w.IsNull() && ReadNumber(w.ToText()) != 0) ||
                          (!b.IsNull() && ReadNumber(b.ToText()) != 0);
        info.rows.MoveNext();
    }
}

void Checker::CheckFileCell(const QString& file, int row, const QString& column,
                            const QString& cell, bool program) {
    ParameterList list;
    QString name;
    try {
        name = ExtractParameters(cell, list).trimmed();
    } catch (const CorvaneError&) {
        Add(file, row, column, Severity::Error,
            QStringLiteral("the cell ") + Quote(cell) +
                QStringLiteral(" ends in ')' but has no '(': write the name, then its "
                               "parameters in brackets, e.g. picture.bmp(l10,t20)"));
        return;
    }
    if (name.isEmpty() || name.toLower() == QLatin1String("none") || IsAddress(name))
        return;
    const auto found = FindFile(InFolder(name));
    if (!found && program && !name.contains(QLatin1Char('/')) &&
        !QStandardPaths::findExecutable(name).isEmpty())
        return;
    if (!found) {
        Add(file, row, column, Severity::Error,
            Quote(name) + QStringLiteral(" is not found beside the experiment") +
                (program ? QStringLiteral(" nor on the program search path") : QString()) +
                QStringLiteral(": the item would be passed over with a message. Put the file "
                               "there or correct the name"));
        return;
    }
    if (*found != InFolder(name))
        Add(file, row, column, Severity::Warning,
            Quote(name) + QStringLiteral(" is found as ") + Quote(Shown(*found)) +
                QStringLiteral(", which differs in letter case: write the name as it stands "
                               "on the disk"));
}

void Checker::CheckQuickStyle(const QString& file, int row, const QString& value) {
    const QString name = value.trimmed();
    if (name.isEmpty() || name.toLower() == QLatin1String("off"))
        return;
    const QString withExtension =
        name.toLower().endsWith(QLatin1String(".cvq")) ? name : name + QStringLiteral(".cvq");
    auto found = FindFile(InFolder(withExtension));
    if (!found)
        found = FindFile(ProgramFolder::FilePath(QStringLiteral("styles/") + withExtension));
    if (!found) {
        Add(file, row, QStringLiteral("Parameters"), Severity::Error,
            QStringLiteral("the QuickStyle ") + Quote(withExtension) +
                QStringLiteral(" ($) is neither beside the experiment nor among the styles: the "
                               "run would say 'QuickStyle file ") +
                name +
                QStringLiteral(" can not be found.' and keep the look in force. Put the file "
                               "there or correct the name"));
        return;
    }
    const PreferenceFileContents style = ReadPreferenceFile(*found);
    if (!style.Read()) {
        Add(file, row, QStringLiteral("Parameters"), Severity::Error,
            QStringLiteral("the QuickStyle ") + Quote(Shown(*found)) + QLatin1Char(' ') +
                style.problem + QStringLiteral(": make it again in the preferences dialog"));
        return;
    }
    if (!m_options.FontInstalled)
        return;
    for (const char* field : {"cvs_fontname1", "cvs_fontname2"}) {
        const FieldValue* font = style.Find(QLatin1String(field));
        if (!font || font->IsNull() || font->ToText().trimmed().isEmpty())
            continue;
        if (!m_options.FontInstalled(font->ToText().trimmed()))
            Add(file, row, QStringLiteral("Parameters"), Severity::Warning,
                QStringLiteral("the font ") + Quote(font->ToText().trimmed()) +
                    QStringLiteral(" of the QuickStyle ") + Quote(Shown(*found)) +
                    QStringLiteral(" (") + QLatin1String(field) +
                    QStringLiteral(") is not installed here: the item would show in another "
                                   "font. Install it or choose an installed font"));
    }
}

// The place of the item a jump from item `from` stops at: the first later item of that name;
// 0 when it names an earlier item only, -1 when it names none.
int Checker::JumpTarget(const QuestionnaireInfo& info, int from, const QString& target) const {
    const QString wanted = target.toLower();
    bool earlier = false;
    for (int j = 1; j < int(info.items.size()); ++j) {
        if (info.items[std::size_t(j)].VariableName.toLower() != wanted)
            continue;
        if (j > from)
            return j;
        earlier = true;
    }
    return earlier ? 0 : -1;
}

void Checker::CheckItemType(const QuestionnaireInfo& info, int i, const QString& written) {
    const QString type = Normalised(written);
    const QString shown = Shown(info.path);
    if (!ItemTypes().contains(type)) {
        Add(shown, i, QStringLiteral("QuestionType"), Severity::Error,
            Quote(written) +
                QStringLiteral(" is not an item type: the participant would see a message and "
                               "the item is passed over. Use one of: ") +
                ItemTypes().join(QStringLiteral(", ")));
        return;
    }
    const QString spelling = ScanSpelling(type);
    if (!spelling.isEmpty() && written.trimmed() != spelling)
        Add(shown, i, QStringLiteral("QuestionType"), Severity::Warning,
            Quote(written) +
                QStringLiteral(" is read, but the loader and the variable scan "
                               "know this type only as ") +
                Quote(spelling) +
                QStringLiteral(", so its data columns and checks are those of a plain item: "
                               "write ") +
                Quote(spelling));
}

void Checker::CheckParameters(const QuestionnaireInfo& info, int i, const QString& type) {
    const QString shown = Shown(info.path);
    const QString cell = CellText(info.rows, QStringLiteral("Parameters"));
    ParameterList list;
    try {
        ExtractParameters(cell, list);
    } catch (const CorvaneError& error) {
        Add(shown, i, QStringLiteral("Parameters"), Severity::Error,
            QStringLiteral("the parameter list ") + Quote(cell) +
                (error.number() == ErrorNumber::Subscript
                     ? QStringLiteral(" has more than ten parameters: the loader stops at it. "
                                      "Keep ten at most")
                     : QStringLiteral(" ends in ')' but has no '(': the loader stops at it. "
                                      "Write it as (p5,d10)")));
        return;
    }
    for (int slot = 1; slot <= list.count; ++slot) {
        const QString& text = list.entries[std::size_t(slot)];
        const QString letter = SlotLetter(text);
        const QString value = SlotValue(text).trimmed();
        if (!IsKnownLetter(letter)) {
            Add(shown, i, QStringLiteral("Parameters"), Severity::Warning,
                QStringLiteral("the parameter ") + Quote(text) +
                    QStringLiteral(" begins with a letter that no item reads, so it is passed "
                                   "over: remove it or correct the letter"));
            continue;
        }
        const auto readers = LetterReaders().constFind(letter);
        if (readers != LetterReaders().cend() && !readers->contains(type))
            Add(shown, i, QStringLiteral("Parameters"), Severity::Warning,
                QStringLiteral("a ") + type + QStringLiteral(" item doesn't read ") + Quote(text) +
                    QStringLiteral(" (only ") + readers->join(QStringLiteral(", ")) +
                    QStringLiteral(" items do): remove it"));
        if (letter == QLatin1String("d") && type == QLatin1String("ranking"))
            Add(shown, i, QStringLiteral("Parameters"), Severity::Error,
                QStringLiteral("a ranking item has no time limit, and ") + Quote(text) +
                    QStringLiteral(" stops the program when the item is shown: remove it"));
        if (letter == QLatin1String("p") && HasResponseSkips(type) &&
            (value.isEmpty() || !(value.at(0).isDigit() || value.at(0) == QLatin1Char('.'))))
            Add(shown, i, QStringLiteral("Parameters"), Severity::Error,
                Quote(text) + QStringLiteral(" gives no number of points (read as 0): write "
                                             "how many answers the item offers, e.g. (p5)"));
        if (letter == QLatin1String("r") && readers->contains(type)) {
            const qsizetype dash = value.indexOf(QLatin1Char('-'), 1);
            if (dash < 0)
                Add(shown, i, QStringLiteral("Parameters"), Severity::Warning,
                    Quote(text) + QStringLiteral(" sets no range, as it has no '-': write the "
                                                 "low end, '-', the high end, e.g. (r1-5)"));
            else if (ReadNumber(value.mid(dash + 1)) < ReadNumber(value.left(dash)))
                Add(shown, i, QStringLiteral("Parameters"), Severity::Error,
                    QStringLiteral("the range ") + Quote(text) +
                        QStringLiteral(" is reversed, so it is read as no range at all: write "
                                       "the low end first, (r") +
                        value.mid(dash + 1) + QLatin1Char('-') + value.left(dash) +
                        QLatin1Char(')'));
        }
        if (letter == QLatin1String("$"))
            CheckQuickStyle(shown, i, value);
    }
}

// True when an item of that name is in a randomisation group or block.
bool MovesInOrder(const std::vector<Question>& items, const QString& name) {
    for (std::size_t i = 1; i < items.size(); ++i)
        if (items[i].VariableName.toLower() == name.toLower() &&
            (items[i].WGR != 0 || items[i].BGR != 0))
            return true;
    return false;
}

void Checker::CheckSkips(const QuestionnaireInfo& info, int i) {
    const Question& item = info.items[std::size_t(i)];
    const QString shown = Shown(info.path);
    const bool responses = HasResponseSkips(Normalised(item.QuestionType));
    for (int n = 1; n <= (responses ? 12 : 1); ++n) {
        const QString column = QStringLiteral("skip") + QString::number(n);
        const QString target = responses ? item.skips[std::size_t(n)] : item.skip;
        if (IsNoJump(target))
            continue;
        if (responses && target.trimmed().toLower() == QLatin1String("none")) {
            Add(shown, i, column, Severity::Error,
                Quote(target) +
                    QStringLiteral(" is not read as no jump, only 'none' in lower "
                                   "case is: this answer would jump to an item "
                                   "named ") +
                    Quote(target) + QStringLiteral(". Write none"));
            continue;
        }
        const int j = JumpTarget(info, i, target);
        if (j > 0)
            continue;
        // Where the order is drawn, an item named earlier in the file may come later.
        const bool drawn =
            info.randomised && (item.WGR != 0 || item.BGR != 0 || MovesInOrder(info.items, target));
        if (j == 0 && drawn)
            continue;
        if (j == 0)
            Add(shown, i, column, Severity::Error,
                Quote(target) + QStringLiteral(" comes before this item, and jumps only go "
                                               "forward: the walk would run to the end of the "
                                               "questionnaire, leaving every later item "
                                               "unanswered. Name a later item or none"));
        else
            Add(shown, i, column, Severity::Error,
                Quote(target) + QStringLiteral(" names no item of this questionnaire: the walk "
                                               "would run to the end, leaving every later item "
                                               "unanswered. Write the VariableName of a later "
                                               "item or none"));
    }
}

// Whether the order leaves every jump where it stands: items that groups and blocks move keep
// to the span from the first to the last of them, so a span that no jump starts in or lands in
// changes nothing for the walk through the skips.
bool JumpsKeepTheirPlaces(const std::vector<Question>& items) {
    const int count = int(items.size()) - 1;
    int first = 0;
    int last = 0;
    for (int i = 1; i <= count; ++i) {
        if (items[std::size_t(i)].WGR != 0 || items[std::size_t(i)].BGR != 0) {
            first = first ? first : i;
            last = i;
        }
    }
    if (first == 0)
        return true;
    QSet<QString> inSpan;
    for (int i = first; i <= last; ++i)
        inSpan.insert(items[std::size_t(i)].VariableName.toLower());
    for (int i = 1; i <= count; ++i) {
        const Question& item = items[std::size_t(i)];
        QStringList targets{item.skip};
        for (int n = 1; n <= 12; ++n)
            targets << item.skips[std::size_t(n)];
        for (const QString& target : targets) {
            if (IsNoJump(target))
                continue;
            if ((i >= first && i <= last) || inSpan.contains(target.toLower()))
                return false;
        }
    }
    return true;
}

// Items that no answer leads to: each item leads to the next unless every way out of it jumps.
void Checker::CheckReachable(const QuestionnaireInfo& info) {
    const int count = int(info.items.size()) - 1;
    if (count < 2 || !JumpsKeepTheirPlaces(info.items))
        return;
    std::vector<bool> reached(std::size_t(count) + 2, false);
    std::vector<int> via(std::size_t(count) + 2, 0);
    reached[1] = true;
    auto lead = [&](int from, int to) {
        if (to < 1)
            to = count + 1;
        if (!reached[std::size_t(to)]) {
            reached[std::size_t(to)] = true;
            via[std::size_t(to)] = from;
        }
    };
    for (int i = 1; i <= count; ++i) {
        if (!reached[std::size_t(i)])
            continue;
        const Question& item = info.items[std::size_t(i)];
        const QString type = Normalised(item.QuestionType);
        auto targetOf = [&](const QString& skip) {
            return IsNoJump(skip) ? i + 1 : JumpTarget(info, i, skip);
        };
        if (type == QLatin1String("scale response")) {
            const int points = std::clamp(int(ReadNumber(item.Parameters)), 1, 12);
            for (int n = 1; n <= points; ++n)
                lead(i, targetOf(item.skips[std::size_t(n)]));
            if (item.Duration > 0)
                lead(i, i + 1);
        } else if (HasResponseSkips(type)) {
            lead(i, i + 1);
            for (int n = 1; n <= 12; ++n)
                lead(i, targetOf(item.skips[std::size_t(n)]));
        } else {
            lead(i, targetOf(item.skip));
        }
    }
    const QString shown = Shown(info.path);
    for (int i = 2; i <= count; ++i) {
        if (reached[std::size_t(i)])
            continue;
        int before = i - 1;
        while (before > 1 && !reached[std::size_t(before)])
            --before;
        Add(shown, i, QStringLiteral("VariableName"), Severity::Warning,
            QStringLiteral("no path through the skips reaches ") +
                Quote(info.items[std::size_t(i)].VariableName) +
                QStringLiteral(": every answer of ") +
                Quote(info.items[std::size_t(before)].VariableName) + QStringLiteral(" (row ") +
                QString::number(before) +
                QStringLiteral(") jumps past it. Change a skip of that item or remove this one"));
    }
}

void Checker::CheckGroups(const QuestionnaireInfo& info) {
    const int count = int(info.items.size()) - 1;
    const QString shown = Shown(info.path);
    QHash<int, int> members;
    for (int i = 1; i <= count; ++i)
        ++members[info.items[std::size_t(i)].WGR];
    for (int i = 1; i <= count; ++i) {
        const Question& item = info.items[std::size_t(i)];
        if (item.WGR != 0 && members.value(item.WGR) == 1)
            Add(shown, i, QStringLiteral("WGR"), Severity::Warning,
                QStringLiteral("the group WGR ") + QString::number(item.WGR) +
                    QStringLiteral(" has this item alone, so it never changes places: give the "
                                   "group a second item or write 0"));
    }
}

void Checker::CheckDuplicates(const QuestionnaireInfo& info) {
    const QStringList duplicates = DuplicateVariables(info.items, int(info.items.size()) - 1);
    const QString shown = Shown(info.path);
    for (const QString& name : duplicates) {
        int first = 0;
        for (int i = 1; i < int(info.items.size()); ++i) {
            if (info.items[std::size_t(i)].VariableName != name)
                continue;
            if (first == 0) {
                first = i;
                continue;
            }
            Add(shown, i, QStringLiteral("VariableName"), Severity::Error,
                Quote(name) + QStringLiteral(" is also the VariableName of row ") +
                    QString::number(first) +
                    QStringLiteral(": both items write to the same data columns and a jump "
                                   "stops at the first. Give each item a name of its own"));
        }
    }
}

// Variables of the questionnaires that come before this one in some condition.
QStringList Checker::EarlierVariables(const QuestionnaireInfo& info) const {
    QStringList names;
    for (const QString& condition : m_conditions) {
        double own = -1;
        for (const ExperimentRow& entry : m_rows)
            if (entry.condition == condition && entry.file.toLower() == info.name.toLower())
                own = own < 0 ? entry.position : std::min(own, entry.position);
        if (own < 0)
            continue;
        for (const ExperimentRow& entry : m_rows) {
            if (entry.condition != condition || !entry.isQuestionnaire || entry.position >= own)
                continue;
            for (const QuestionnaireInfo& other : m_questionnaires)
                if (other.name.toLower() == entry.file.toLower())
                    for (std::size_t i = 1; i < other.items.size(); ++i)
                        names << other.items[i].VariableName.toLower();
        }
    }
    return names;
}

bool Moves(const Question& item) {
    return item.WGR != 0 || item.BGR != 0;
}

void Checker::CheckQuotedAnswers(const QuestionnaireInfo& info) {
    static const QRegularExpression quoted(QStringLiteral("<([^<>]+)>"));
    const QStringList earlier = EarlierVariables(info);
    const QString shown = Shown(info.path);
    for (int i = 1; i < int(info.items.size()); ++i) {
        const Question& item = info.items[std::size_t(i)];
        auto it = quoted.globalMatch(item.QuestionWording);
        while (it.hasNext()) {
            const QString name = it.next().captured(1).toLower();
            bool before = earlier.contains(name);
            for (int j = 1; j < int(info.items.size()) && !before; ++j)
                before = j != i && (j < i || (Moves(item) && Moves(info.items[std::size_t(j)]))) &&
                         info.items[std::size_t(j)].VariableName.toLower() == name;
            if (!before)
                Add(shown, i, QStringLiteral("QuestionWording"), Severity::Warning,
                    QLatin1Char('<') + name +
                        QStringLiteral("> quotes no variable answered before this item in any "
                                       "order, so the participant would read it as typed: "
                                       "write the VariableName of an earlier item"));
        }
    }
}

void Checker::CheckOmitConditions(const QuestionnaireInfo& info, int i) {
    const QString cell = CellText(info.rows, QStringLiteral("omitconditions"));
    if (cell.size() < 3 || !cell.trimmed().endsWith(QLatin1Char(')')))
        return;
    const QString shown = Shown(info.path);
    QString inside = cell.mid(1);
    inside.remove(QLatin1Char(')'));
    for (const QString& name : inside.split(QLatin1Char(','))) {
        if (name.isEmpty())
            continue;
        if (name != name.trimmed())
            Add(shown, i, QStringLiteral("omitconditions"), Severity::Warning,
                Quote(name) + QStringLiteral(" has a blank around it, so it never matches a "
                                             "condition: write the list without blanks, e.g. "
                                             "(a,b)"));
        else if (!m_singleQuestionnaire && !m_conditions.contains(name.toLower()))
            Add(shown, i, QStringLiteral("omitconditions"), Severity::Warning,
                QStringLiteral("the experiment has no condition ") + Quote(name) +
                    QStringLiteral(": correct the name or remove it from the list"));
    }
}

void Checker::CheckQuestionnaire(const QuestionnaireInfo& info) {
    const QString shown = Shown(info.path);
    if (info.rows.RecordCount() > 0)
        info.rows.MoveFirst();
    for (int i = 1; !info.rows.Eof(); ++i, info.rows.MoveNext()) {
        const QString written = CellText(info.rows, QStringLiteral("QuestionType"));
        const QString type = Normalised(written);
        CheckItemType(info, i, written);
        CheckParameters(info, i, type);
        CheckOmitConditions(info, i);
        if (NamesFile(type))
            CheckFileCell(shown, i, QStringLiteral("FileName"),
                          CellText(info.rows, QStringLiteral("FileName")),
                          type == QLatin1String("executable"));
        for (const char* column : {"Backimage", "Backvideo", "backsound"})
            CheckFileCell(shown, i, QLatin1String(column),
                          CellText(info.rows, QLatin1String(column)), false);
        const double group = ReadNumber(CellText(info.rows, QStringLiteral("WGR")));
        if (group < 0 || group > info.rows.RecordCount())
            Add(shown, i, QStringLiteral("WGR"), Severity::Error,
                QStringLiteral("the group WGR ") + NumberToText(group) +
                    QStringLiteral(" is outside 0 to the number of items (") +
                    QString::number(info.rows.RecordCount()) +
                    QStringLiteral("), and the order can't be drawn: number the groups from 1"));
    }
    if (info.items.empty())
        return;
    for (int i = 1; i < int(info.items.size()); ++i)
        CheckSkips(info, i);
    CheckReachable(info);
    CheckGroups(info);
    CheckDuplicates(info);
    CheckQuotedAnswers(info);
}

// A variable of two questionnaires that one condition runs shares its by-variable columns.
void Checker::CheckAcrossQuestionnaires() {
    for (const QString& condition : m_conditions) {
        QHash<QString, QPair<const QuestionnaireInfo*, int>> owner;
        QSet<QString> done;
        for (const ExperimentRow& entry : m_rows) {
            if (entry.condition != condition || !entry.isQuestionnaire ||
                done.contains(entry.file.toLower()))
                continue;
            done.insert(entry.file.toLower());
            const QuestionnaireInfo* info = FindQuestionnaire(entry.file);
            if (!info)
                continue;
            for (int i = 1; i < int(info->items.size()); ++i) {
                const QString name = info->items[std::size_t(i)].VariableName.toLower();
                const auto first = owner.constFind(name);
                if (first == owner.cend()) {
                    owner.insert(name, {info, i});
                } else if (first->first != info) {
                    Add(Shown(info->path), i, QStringLiteral("VariableName"), Severity::Warning,
                        Quote(info->items[std::size_t(i)].VariableName) +
                            QStringLiteral(" is also a variable of ") +
                            Quote(Shown(first->first->path)) + QStringLiteral(" (row ") +
                            QString::number(first->second) + QStringLiteral("), which condition ") +
                            Quote(condition) +
                            QStringLiteral(" runs as well: their answers mix in the data by "
                                           "variable name. Rename one"));
                }
            }
        }
    }
}

CheckReport Checker::Run(const QString& path) {
    const auto found = FindFile(QFileInfo(path).absoluteFilePath());
    if (!found) {
        m_report.files = 1;
        Add(path, 0, QString(), Severity::Error,
            QStringLiteral("there is no such experiment or questionnaire"));
        return m_report;
    }
    m_folder = QFileInfo(*found).absolutePath();
    m_shownExperiment = Shown(*found);
    m_experiment = *found;
    if (LastChars(*found, 3).toLower() == QLatin1String("que")) {
        // A questionnaire alone runs as a one-row experiment of condition 1.
        m_singleQuestionnaire = true;
        m_standIn = std::make_unique<QTemporaryDir>();
        m_experiment = m_standIn->filePath(QStringLiteral("single.exp"));
        try {
            CreateDefinitionFile(m_experiment, QStringLiteral("single.csv"),
                                 QStringLiteral("Condition,position,file\n1,1,\"") + *found +
                                     QStringLiteral("\"\n"),
                                 DefinitionKind::Experiment, std::nullopt);
        } catch (const CorvaneError& error) {
            Add(m_shownExperiment, 0, QString(), Severity::Error, error.description());
            return m_report;
        }
    }
    m_report.files = m_singleQuestionnaire ? 0 : 1;
    if (!ReadExperiment())
        return m_report;
    CheckExperimentRows();
    if (!m_singleQuestionnaire)
        CheckConditions();
    for (QuestionnaireInfo& info : m_questionnaires) {
        try {
            if (!info.path.isEmpty())
                info.rows = ReadQuestionnaireRowsInOrder(info.path);
        } catch (const CorvaneError&) {
            // The loader tells why, in its own words.
        }
    }
    for (const QString& condition : m_conditions)
        RunLoader(condition);
    for (const QuestionnaireInfo& info : m_questionnaires) {
        if (info.path.isEmpty() || info.rows.Columns().isEmpty())
            continue;
        ++m_report.files;
        CheckQuestionnaire(info);
    }
    CheckAcrossQuestionnaires();
    // The loader's words where no finding of the check stands at the same cell.
    for (const DefinitionFinding& finding : m_loaderFindings) {
        const bool explained = std::any_of(
            m_report.findings.begin(), m_report.findings.end(), [&](const DefinitionFinding& own) {
                return finding.row > 0 && own.file == finding.file && own.row == finding.row &&
                       own.column == finding.column && own.severity == Severity::Error;
            });
        if (!explained)
            Add(finding.file, finding.row, finding.column, finding.severity, finding.message);
    }
    std::stable_sort(m_report.findings.begin(), m_report.findings.end(),
                     [](const DefinitionFinding& a, const DefinitionFinding& b) {
                         return a.file != b.file ? a.file < b.file : a.row < b.row;
                     });
    return m_report;
}

} // namespace

int CheckReport::Errors() const {
    return int(std::count_if(findings.begin(), findings.end(), [](const DefinitionFinding& f) {
        return f.severity == Severity::Error;
    }));
}

int CheckReport::Warnings() const {
    return int(findings.size()) - Errors();
}

int CheckReport::ExitStatus() const {
    return Errors() > 0 ? 2 : (Warnings() > 0 ? 1 : 0);
}

CheckReport CheckDefinitions(const QString& path, const CheckOptions& options) {
    KeepWorkingFolder working;
    Checker checker(options, working.Folder());
    return checker.Run(path);
}

QString FindingLine(const DefinitionFinding& finding) {
    return finding.file + QLatin1Char(':') + QString::number(finding.row) + QLatin1Char(':') +
           (finding.column.isEmpty() ? QStringLiteral("-") : finding.column) +
           (finding.severity == Severity::Error ? QStringLiteral(": error: ")
                                                : QStringLiteral(": warning: ")) +
           OneLine(finding.message);
}

QString CheckSummaryLine(const CheckReport& report) {
    return QString::number(report.Errors()) + QStringLiteral(" error(s), ") +
           QString::number(report.Warnings()) + QStringLiteral(" warning(s) in ") +
           QString::number(report.files) + QStringLiteral(" file(s)");
}

std::function<bool(const QString&)> InstalledFontFamilies() {
    QProcess fc;
    fc.start(QStringLiteral("fc-list"), {QStringLiteral(":"), QStringLiteral("family")});
    if (!fc.waitForFinished(10000) || fc.exitStatus() != QProcess::NormalExit || fc.exitCode() != 0)
        return {};
    QSet<QString> families;
    for (const QString& line :
         QString::fromUtf8(fc.readAllStandardOutput()).split(QLatin1Char('\n')))
        for (const QString& family : line.split(QLatin1Char(',')))
            if (!family.trimmed().isEmpty())
                families.insert(family.trimmed().toLower());
    return [families](const QString& family) { return families.contains(family.toLower()); };
}

} // namespace corvane
