#include "definitions/variable_scan.h"

#include "definitions/definition_store.h"
#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "state/checked_int.h"
#include "state/run_state.h"
#include "state/text.h"

namespace corvane {

namespace {

struct ItemFlags {
    Flag writeData = False;
    Flag writeRT = False;
    qint16 type = 0;
};

ItemFlags ReadFlags(const RecordSet& row) {
    ItemFlags flags;
    flags.writeData = ToFlag(row.Field(QStringLiteral("WriteData")).ToBool());
    flags.writeRT = ToFlag(row.Field(QStringLiteral("WriteRT")).ToBool());
    flags.type = row.Field(QStringLiteral("WriteText")).ToBool() ? 1 : 0;
    return flags;
}

void SetColumns(RunState& state, int q, int i, qint16 count, const QString& name, bool suffixed,
                const ItemFlags& flags) {
    state.Variables.SetVariableCount(q, i, count);
    for (int k = 1; k <= count; ++k)
        state.Variables.SetColumn(
            q, i, k,
            {suffixed ? SuffixedName(name, k) : name, flags.writeData, flags.writeRT, flags.type});
}

// The list a rating item rates, by name; 0 when no list of that name exists.
int FindRatedList(const RunState& state, const QString& list) {
    for (int j = 1; j <= state.ThoughtListCount; ++j) {
        if (Normalised(state.ThoughtListNames.at(j)) == list)
            return j;
    }
    return 0;
}

// Returns the words shown, for a check of the files to repeat.
QString ReportMissingList(RunState& state, const QString& file, const QString& list) {
    const MessageBox box{
        state.MessageTitle(),
        QStringLiteral("In questionnaire ") + file + QStringLiteral(", the variable ") + list +
            QStringLiteral(" is identified in a 'thought rating' item.  This variable was not "
                           "found in any of the questionnaires.  This error will cause Corvane "
                           "to stop running when the item is reached."),
        BoxIcon::Critical};
    state.Boxes().Show(box);
    return box.text;
}

// One row: its columns by type. False when the scan has to stop.
bool ScanItem(RunState& state, const RecordSet& row, int q, int i, const FindingSink& findings) {
    const QString name = row.Field(QStringLiteral("VariableName")).ToText();
    const ItemFlags flags = ReadFlags(row);
    SetColumns(state, q, i, 1, name, false, flags);

    ParameterList& list = state.Parameters;
    const double n = ReadNumber(GetParameter(row, QStringLiteral("n"), list));
    const double p = ReadNumber(GetParameter(row, QStringLiteral("p"), list));
    const QString rated = GetParameter(row, QStringLiteral("q"), list);
    const QString range = GetParameter(row, QStringLiteral("r"), list);

    // Type words are compared exactly as written: other capitalisations count as one column.
    const QString type = row.Field(QStringLiteral("QuestionType")).ToText();
    if (type == QLatin1String("Thought Listing") || type == QLatin1String("Recall List")) {
        SetColumns(state, q, i, RoundToInt16(n), name, true, flags);
    } else if (type == QLatin1String("Voice Response")) {
        if (p > 0) {
            state.Variables.SetVariableCount(q, i, 2);
            state.Variables.SetColumn(q, i, 1, {name, flags.writeData, flags.writeRT, flags.type});
            state.Variables.SetColumn(
                q, i, 2, {name + QStringLiteral("_k"), flags.writeData, flags.writeRT, flags.type});
        }
    } else if (type == QLatin1String("Multiple Response") || type == QLatin1String("Ranking")) {
        if (range != QLatin1String("1-1"))
            SetColumns(state, q, i, RoundToInt16(p), name, true, flags);
    } else if (type == QLatin1String("Thought Rating")) {
        const int j = FindRatedList(state, rated);
        if (j == 0) {
            const QString& file = state.QuestionnaireNames.at(q);
            const QString text = ReportMissingList(state, file, rated);
            if (findings)
                findings({file, i, QStringLiteral("Parameters"), FindingSeverity::Error, text});
            return false;
        }
        SetColumns(state, q, i, state.ThoughtListSizes[std::size_t(j)], name, true, flags);
    }
    return true;
}

} // namespace

QString SuffixedName(const QString& name, int k) {
    return name + (k < 10 ? QStringLiteral("_0") : QStringLiteral("_")) + QString::number(k);
}

void ScanVariables(RunState& state, std::vector<RecordSet>* measured, const FindingSink& findings) {
    state.Variables.Allocate({state.NumQuestionnaires, state.MaxItems, state.MaxResponses});
    for (int q = 1; q <= state.NumQuestionnaires; ++q) {
        RecordSet rows;
        if (measured && std::size_t(q) <= measured->size()) {
            rows = std::move((*measured)[std::size_t(q - 1)]);
            rows.SortBy({QStringLiteral("questionnumber")});
        } else {
            rows = ReadQuestionnaireRowsInOrder(state.QuestionnaireNames.at(q));
        }
        rows.MoveFirst();
        qint16 items = 0;
        state.Variables.SetItemCount(q, 0);
        while (!rows.Eof()) {
            Increment(items);
            state.Variables.SetItemCount(q, items);
            if (!ReadRow(rows, [&] { return ScanItem(state, rows, q, items, findings); }))
                return;
            rows.MoveNext();
        }
    }
}

void CheckRepeatedQuestionnaires(RunState& state) {
    auto isQuestionnaire = [](const QString& file) {
        return LastChars(file, 3).toLower() == QLatin1String("que");
    };
    QStringList repeated;
    for (int i = 1; i <= state.NumFiles; ++i) {
        const QString& file = state.Files[std::size_t(i)].File;
        if (!isQuestionnaire(file) || repeated.contains(file))
            continue;
        for (int j = 1; j <= state.NumFiles; ++j) {
            if (j != i && state.Files[std::size_t(j)].File == file) {
                repeated << file;
                break;
            }
        }
    }
    if (repeated.isEmpty())
        return;
    const QString cr = QStringLiteral("\r");
    QString list;
    for (const QString& name : repeated)
        list += name + cr;
    state.Boxes().Show(MessageBox{
        DefaultBoxTitle(),
        QStringLiteral("Corvane has detected that the current condition calls ") +
            QStringLiteral("for the following .que file(s) to be presented more than once:") + cr +
            cr + list + cr + cr +
            QStringLiteral("If the same questionnaire needs to be presented ") +
            QStringLiteral("more than once in the same condition, copy and rename the multiple ") +
            QStringLiteral("instances in order to avoid potential program error."),
        BoxIcon::Information});
}

} // namespace corvane
