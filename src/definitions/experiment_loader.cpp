#include "definitions/experiment_loader.h"

#include "definitions/definition_store.h"
#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "definitions/random_order.h"
#include "definitions/variable_scan.h"
#include "state/checked_int.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>

namespace corvane {

namespace {

// Where the loader stands, for the failure handling to choose its words.
struct LoadPosition {
    bool scanningQuestionnaires = false;
    int index = 0;
};

// Shows the box of a missing parameter; returns what it showed.
MessageBox RequireParameter(RunState& state, const QString& variable, const QString& file,
                            const QString& letter) {
    QString text;
    BoxIcon icon = BoxIcon::Warning;
    if (letter == QLatin1String("n")) {
        text = QStringLiteral("' is missing the required parameter, n.  This parameter indicates "
                              "how many items you want the subject to be able to list, e.g., (n5)");
    } else if (letter == QLatin1String("q")) {
        text = QStringLiteral("' is missing the required parameter, q.  This parameter indicates "
                              "the variable name of the item list the subject is to rate, e.g., "
                              "(qlistx).  This error will be fatal, causing the program to stop.");
        icon = BoxIcon::Critical;
    } else {
        text = QStringLiteral("' is missing the required parameter, p.  This parameter indicates "
                              "the number of scale points for the judgment, e.g., (p5)");
    }
    const MessageBox box{state.MessageTitle(),
                         QStringLiteral("Variable '") + variable +
                             QStringLiteral("' in questionnaire '") + file + text,
                         icon};
    state.Boxes().Show(box);
    return box;
}

// First pass: the questionnaires of all conditions, each once, in the order of the file column.
void CollectQuestionnaires(RunState& state, ExperimentNeeds& needs) {
    RecordSet rows = ReadExperimentRows(state.ExperimentFile);
    rows.MoveFirst();
    while (!rows.Eof()) {
        const QString name = ReadRow(rows, [&] {
            return ExtractParameters(rows.Field(QStringLiteral("File")).ToText(), state.Parameters);
        });
        const QString ending = LastChars(name, 3).toUpper();
        needs.files.append({name.trimmed(), QString()});
        // Besides the old word-processor endings, those of .docx, .odt and .rtf files.
        static const QStringList documentEndings{QStringLiteral("DOC"), QStringLiteral("OCX"),
                                                 QStringLiteral("ODT"), QStringLiteral("RTF")};
        if (documentEndings.contains(ending))
            needs.word = true;
        else if (ending == QLatin1String("WPD"))
            needs.wordPerfect = true;
        else if (ending == QLatin1String("HTM") || ending == QLatin1String("TML"))
            needs.web = true;
        else if (ending == QLatin1String("QUE")) {
            bool known = false;
            for (int q = 1; q <= state.NumQuestionnaires; ++q)
                known = known || state.QuestionnaireNames.at(q).toLower() == name.toLower();
            if (!known) {
                Increment(state.NumQuestionnaires);
                state.QuestionnaireNames.resize(state.NumQuestionnaires + 1);
                state.QuestionnaireNames[state.NumQuestionnaires] = name;
            }
        }
        rows.MoveNext();
    }
}

// The item's file, for the presenters that make theirs ready before the run. A cell that the
// parameter splitter can't read is left to the questionnaire's reading, which reports it.
void NoteItemFile(const RecordSet& row, const QString& type, ExperimentNeeds& needs) {
    if (!row.HasColumn(QStringLiteral("FileName")))
        return;
    try {
        ParameterList list;
        const QString file =
            ExtractParameters(row.Field(QStringLiteral("FileName")).ToText(), list).trimmed();
        if (!file.isEmpty() && file.toLower() != QLatin1String("none"))
            needs.files.append({file, type});
    } catch (const CorvaneError&) {
    }
}

struct Candidates {
    double maxItems = 1;
    double maxResponses = 1;
};

// Findings of the measuring, placed by the row as stored until the rows' order is known.
struct StoredFinding {
    int storedRow = 0;
    DefinitionFinding finding;
};

// The place of a stored row in question-number order, ties in stored order.
int PlaceInOrder(const RecordSet& rows, int storedRow) {
    if (!rows.HasColumn(QStringLiteral("questionnumber")))
        return storedRow;
    const auto column = std::size_t(rows.ColumnOf(QStringLiteral("questionnumber")));
    auto number = [](const FieldValue& cell) { return cell.IsNull() ? 0.0 : cell.ToNumber(); };
    const auto& all = rows.Rows();
    const double own = number(all[std::size_t(storedRow - 1)][column]);
    int place = 1;
    for (std::size_t j = 0; j < all.size(); ++j) {
        const double other = number(all[j][column]);
        if (other < own || (other == own && int(j) < storedRow - 1))
            ++place;
    }
    return place;
}

void AddThoughtList(RunState& state, const QString& variable, double size) {
    Increment(state.ThoughtListCount);
    state.ThoughtListNames.resize(state.ThoughtListCount + 1);
    state.ThoughtListNames[state.ThoughtListCount] = variable;
    state.ThoughtListSizes.resize(std::size_t(state.ThoughtListCount) + 1);
    state.ThoughtListSizes[std::size_t(state.ThoughtListCount)] = RoundToInt16(size);
}

void ReadyVoiceFolder(RunState& state, const ExperimentLoadHooks& hooks) {
    if (IsTrue(state.VoiceFolderReady))
        return;
    if (hooks.InitialiseVoice)
        hooks.InitialiseVoice();
    // Made here, but the working folder goes back: later questionnaires are named relative to
    // the experiment.
    const QString working = QDir::currentPath();
    QString folder = state.ExperimentFolder + QStringLiteral("/data/voice/") + state.SubjectID;
    ChangeToFolder(folder);
    QDir::setCurrent(working);
    state.VoiceFolderReady = True;
}

void MeasureItem(RunState& state, const RecordSet& row, const QString& file, Candidates& candidates,
                 const ExperimentLoadHooks& hooks, ExperimentNeeds& needs,
                 const std::function<void(const MessageBox&)>& missing) {
    ParameterList& list = state.Parameters;
    const QString variable = row.Field(QStringLiteral("VariableName")).ToText();
    if (row.Field(QStringLiteral("Skip1")).ToText().toLower() == QLatin1String("excel"))
        state.ResponsesWorkbookOn = True;
    const QString type = row.Field(QStringLiteral("QuestionType")).ToText();
    NoteItemFile(row, type, needs);
    auto required = [&](const QString& letter) {
        const QString value = GetParameter(row, letter, list);
        if (value.isEmpty())
            missing(RequireParameter(state, variable, file, letter));
        return value;
    };
    if (type == QLatin1String("Word Document")) {
        needs.word = true;
    } else if (type == QLatin1String("WordPerfect Doc")) {
        needs.wordPerfect = true;
    } else if (type == QLatin1String("Thought Listing") || type == QLatin1String("Recall List")) {
        const double n = ReadNumber(required(QStringLiteral("n")));
        candidates.maxResponses = std::max(candidates.maxResponses, n);
        AddThoughtList(state, variable, n);
    } else if (type == QLatin1String("Multiple Response") || type == QLatin1String("Ranking")) {
        candidates.maxResponses =
            std::max(candidates.maxResponses, ReadNumber(required(QStringLiteral("p"))));
    } else if (type == QLatin1String("Voice Response")) {
        if (ReadNumber(GetParameter(row, QStringLiteral("p"), list)) > 0 &&
            candidates.maxResponses == 1)
            candidates.maxResponses = 2;
        ReadyVoiceFolder(state, hooks);
    } else if (type == QLatin1String("Thought Rating")) {
        required(QStringLiteral("q"));
        required(QStringLiteral("p"));
    }
}

// Second pass: every questionnaire must open and hold items; their sizes set the tables.
void MeasureQuestionnaires(RunState& state, LoadPosition& at, const ExperimentLoadHooks& hooks,
                           ExperimentNeeds& needs, std::vector<RecordSet>& measured) {
    Candidates candidates;
    at.scanningQuestionnaires = true;
    if (state.NumQuestionnaires == 0)
        raise(ErrorNumber::NoQuestionnaires);
    for (at.index = 1; at.index <= state.NumQuestionnaires; ++at.index) {
        const QString file = state.QuestionnaireNames.at(at.index);
        std::vector<StoredFinding> findings;
        int storedRow = 0;
        auto missing = [&](const MessageBox& box) {
            if (hooks.Findings)
                findings.push_back({storedRow,
                                    {file, 0, QStringLiteral("Parameters"),
                                     box.icon == BoxIcon::Critical ? FindingSeverity::Error
                                                                   : FindingSeverity::Warning,
                                     box.text}});
        };
        // The scan reads the rows again, but only these columns: a long questionnaire held in
        // full would cost more memory than its items do.
        RecordSet rows = ReadQuestionnaireRowsKeeping(
            file,
            {QStringLiteral("questionnumber"), QStringLiteral("VariableName"),
             QStringLiteral("QuestionType"), QStringLiteral("Parameters"),
             QStringLiteral("WriteData"), QStringLiteral("WriteRT"), QStringLiteral("WriteText")},
            [&](const RecordSet& row) {
                ++storedRow;
                ReadRow(row,
                        [&] { MeasureItem(state, row, file, candidates, hooks, needs, missing); });
            });
        for (StoredFinding& found : findings) {
            found.finding.row = PlaceInOrder(rows, found.storedRow);
            hooks.Findings(found.finding);
        }
        rows.MoveFirst();
        candidates.maxItems = std::max(candidates.maxItems, double(rows.RecordCount()));
        measured.push_back(std::move(rows));
    }
    state.MaxItems = RoundToInt16(candidates.maxItems);
    state.MaxResponses = RoundToInt16(candidates.maxResponses);
    state.ThoughtTexts.clear();
    state.Variables.Allocate({state.NumQuestionnaires, state.MaxItems, state.MaxResponses});
    state.AllocateResponses({state.NumQuestionnaires, state.MaxItems, state.MaxResponses});
}

// The letters l, t, w, h (and d) of a background list into the four places given.
void ApplyPlacement(const ParameterList& list, qint16& left, qint16& top, qint16& width,
                    qint16& height, qint32* duration) {
    for (int slot = 1; slot <= 10; ++slot) {
        const QString& text = list.entries[std::size_t(slot)];
        const QString letter = SlotLetter(text);
        if (letter == QLatin1String("l"))
            left = RoundToInt16(ReadNumber(SlotValue(text)));
        else if (letter == QLatin1String("t"))
            top = RoundToInt16(ReadNumber(SlotValue(text)));
        else if (letter == QLatin1String("w"))
            width = RoundToInt16(ReadNumber(SlotValue(text)));
        else if (letter == QLatin1String("h"))
            height = RoundToInt16(ReadNumber(SlotValue(text)));
        else if (letter == QLatin1String("d") && duration)
            *duration = RoundToInt32(ReadNumber(SlotValue(text)) * 1000.0);
    }
}

void ReadFileEntry(RunState& state, const RecordSet& row, FileEntry& entry) {
    ParameterList& list = state.Parameters;
    auto extracted = [&](const char* column) {
        return Normalised(ExtractParameters(row.Field(QLatin1String(column)).ToText(), list));
    };
    entry.File = Normalised(row.Field(QStringLiteral("file")).ToText());
    entry.Backimage = extracted("Backimage");
    ApplyPlacement(list, entry.BackimageLeft, entry.BackimageTop, entry.BackimageWidth,
                   entry.BackimageHeight, &entry.BackimageDuration);
    // The video's place lands in the entry's own fields, where the parameters may override it.
    entry.Backvideo = extracted("Backvideo");
    ApplyPlacement(list, entry.Left, entry.Top, entry.Width, entry.Height, nullptr);
    entry.backsound = extracted("backsound");
    entry.WGR = NumberToText(row.Field(QStringLiteral("WGR")).ToNumber());
    entry.BGR = NumberToText(row.Field(QStringLiteral("BGR")).ToNumber());
    entry.Parameters = extracted("Parameters");
    for (int slot = 1; slot <= 10; ++slot) {
        const QString& text = list.entries[std::size_t(slot)];
        const QString letter = SlotLetter(text);
        const QString value = SlotValue(text);
        if (letter == QLatin1String("l"))
            entry.Left = RoundToInt16(ReadNumber(value));
        else if (letter == QLatin1String("t"))
            entry.Top = RoundToInt16(ReadNumber(value));
        else if (letter == QLatin1String("h"))
            entry.Height = RoundToInt16(ReadNumber(value));
        else if (letter == QLatin1String("w"))
            entry.Width = RoundToInt16(ReadNumber(value));
        else if (letter == QLatin1String("d"))
            entry.Duration = RoundToInt32(ReadNumber(value) * 1000.0);
        else if (letter == QLatin1String("c"))
            entry.ConditionAppend = value;
        else if (letter == QLatin1String("$"))
            entry.Dollar = value;
    }
}

// Third pass: the file list of the condition.
void BuildFileList(RunState& state, LoadPosition& at) {
    RecordSet rows = ReadConditionRows(state.ExperimentFile, state.ConditionID);
    at.scanningQuestionnaires = false;
    rows.MoveLast();
    const qint16 count = ToInt16(rows.RecordCount());
    state.Files = RunState::EmptyFiles(count);
    state.NumFiles = count;
    rows.MoveFirst();
    for (int i = 1; i <= count; ++i) {
        ReadRow(rows, [&] { ReadFileEntry(state, rows, state.Files[std::size_t(i)]); });
        rows.MoveNext();
    }
}

QString FailureText(const RunState& state, const CorvaneError& error, const LoadPosition& at) {
    const int number = error.number();
    // Past the last questionnaire the index names none: the experiment itself went missing.
    const QString questionnaire = at.index >= 1 && at.index < state.QuestionnaireNames.size()
                                      ? state.QuestionnaireNames.at(at.index)
                                      : QString();
    if (number == ErrorNumber::NoCurrentRecord && !at.scanningQuestionnaires)
        return QStringLiteral("There does not appear to be a condition '") + state.ConditionID +
               QStringLiteral("' in this experiment.");
    if (number == ErrorNumber::NoCurrentRecord)
        return QStringLiteral("This experiment contains an empty questionnaire.  '") +
               questionnaire +
               QStringLiteral("' needs to be removed or to have items added to it.");
    if (number == ErrorNumber::FileNotFound || number == ErrorNumber::PathNotFound ||
        number == ErrorNumber::DatabaseNotFound) {
        if (!questionnaire.isEmpty())
            return QStringLiteral("Can not find the questionnaire file, '") + questionnaire +
                   QStringLiteral("'. Check to make sure the questionnaire is in the specified "
                                  "folder.  If no folder is specified, make sure the "
                                  "questionnaire is in the same folder as the experiment.");
        return QStringLiteral("Can not find the experiment requested. It may have been deleted or "
                              "moved since it was last run.  Use the 'Select and run experiment' "
                              "command to find and run the experiment.'");
    }
    if (number == ErrorNumber::NoQuestionnaires)
        return QStringLiteral("The requested experiment contains no questionnaire files.  At "
                              "least one non-empty questionnaire file is required.");
    return QString::number(number) + QLatin1Char(' ') + error.description();
}

} // namespace

bool ReadExperimentInfo(RunState& state, const ExperimentLoadHooks& hooks, ExperimentNeeds& needs) {
    state.ResponsesWorkbookOn = False;
    state.TTLFormLoaded = False;
    needs = {};
    LoadPosition at;
    try {
        CollectQuestionnaires(state, needs);
        std::vector<RecordSet> measured;
        MeasureQuestionnaires(state, at, hooks, needs, measured);
        BuildFileList(state, at);
        if (state.NumQuestionnaires != 0) {
            ScanVariables(state, &measured, hooks.Findings);
            if (hooks.WriteQuestionnaireSyntax)
                hooks.WriteQuestionnaireSyntax();
        }
        CheckRepeatedQuestionnaires(state);
        ShuffleFilesWithinGroups(state);
        ShuffleFilesBetweenGroups(state);
        return true;
    } catch (const CorvaneError& error) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(), FailureText(state, error, at), BoxIcon::Warning});
        state.NumQuestionnaires = 0;
        state.NextSessionAccepted = False;
        return false;
    }
}

} // namespace corvane
