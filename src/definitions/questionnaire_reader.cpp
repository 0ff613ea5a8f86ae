#include "definitions/questionnaire_reader.h"

#include "definitions/definition_store.h"
#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "definitions/random_order.h"
#include "state/checked_int.h"
#include "state/error.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QHash>

namespace corvane {

namespace {

QString Text(const RecordSet& row, const QString& column) {
    return row.Field(column).ToText();
}

// Types whose items have response buttons and read all twelve labels and skips.
bool HasResponseLabels(const QString& type) {
    static const QStringList types{
        QStringLiteral("scale response"), QStringLiteral("thought rating"),
        QStringLiteral("on-line rating"), QStringLiteral("multiple response"),
        QStringLiteral("ranking"),        QStringLiteral("voice response")};
    return types.contains(type);
}

qint16 Rounded16(const QString& value) {
    return RoundToInt16(ReadNumber(value));
}

// A yes/no column read as a 16-bit integer: a number as it is, a truth value as -1 or 0.
qint16 ToInt16Value(const FieldValue& cell) {
    return cell.IsNumber() ? RoundToInt16(cell.ToNumber()) : ToFlag(cell.ToBool());
}

struct Placement {
    qint16* left;
    qint16* top;
    qint16* width;
    qint16* height;
};

// The l, t, w, h of a background list; its letters are tested in the order given.
void ApplyPlacement(const ParameterList& list, const Placement& to, const QString& letters) {
    for (int slot = 1; slot <= 10; ++slot) {
        const QString& text = list.entries[std::size_t(slot)];
        const QString letter = SlotLetter(text);
        for (const QChar wanted : letters) {
            if (letter != wanted)
                continue;
            const qint16 value = Rounded16(SlotValue(text));
            if (wanted == QLatin1Char('l'))
                *to.left = value;
            else if (wanted == QLatin1Char('t'))
                *to.top = value;
            else if (wanted == QLatin1Char('w'))
                *to.width = value;
            else
                *to.height = value;
        }
    }
}

void ApplyRange(const QString& value, Question& question) {
    question.RangeText = value;
    const qsizetype dash = value.indexOf(QLatin1Char('-'), 1);
    if (dash < 0)
        return;
    question.RangeLow = RoundToInt32(ReadNumber(value.left(dash)));
    question.RangeHigh = RoundToInt32(ReadNumber(value.mid(dash + 1)));
    if (question.RangeHigh < question.RangeLow) {
        question.RangeLow = 0;
        question.RangeHigh = 0;
    }
}

void ApplyScaleStep(const QString& value, Question& question) {
    float step = ToSingle(ReadNumber(value));
    if (step < 1.0f)
        step = 1.0f;
    if (step > 5.0f && question.QuestionType != QLatin1String("ranking"))
        step = 5.0f;
    question.ScaleStep = step;
}

void ApplyLetter(const QString& letter, const QString& value, Question& question) {
    const QChar c = letter.isEmpty() ? QChar() : letter.at(0);
    switch (c.unicode()) {
    case 'l':
        question.Left = Rounded16(value);
        break;
    case 't':
        question.Top = Rounded16(value);
        break;
    case 'h':
        question.Height = Rounded16(value);
        break;
    case 'w':
        question.Width = Rounded16(value);
        break;
    case 'd':
        question.Duration = RoundToInt32(ReadNumber(value) * 1000.0);
        break;
    case 'p':
    case 'n':
        question.Parameters = NumberToText(ReadNumber(value));
        break;
    case 'q':
        question.RatedList = value;
        break;
    case 'x':
        question.InstructionExtra = value;
        break;
    case 'k':
        question.KeepFocus = Rounded16(value);
        break;
    case 'o':
        question.MinResponse = value == QLatin1String("0") ? 1 : Rounded16(value);
        break;
    case 'c':
        question.ConditionAppend = value;
        break;
    case 's':
        ApplyScaleStep(value, question);
        break;
    case 'r':
        ApplyRange(value, question);
        break;
    case 'm':
        question.Mask = value;
        break;
    case '$':
        question.Dollar = value;
        break;
    case '!':
        question.Bang = value;
        break;
    case '<':
        // Written closed, as in <3>: the closing character goes. An empty value has nothing to
        // take off, which is an invalid argument.
        if (value.isEmpty())
            raise(ErrorNumber::InvalidArgument);
        question.TTLCode = value.left(value.size() - 1);
        break;
    case '@':
        question.At = True;
        break;
    default:
        break; // unknown letters are passed over without a word
    }
}

void ReadItem(const RecordSet& row, const std::optional<FieldValue>& version, RunState& state,
              Question& question) {
    ParameterList& list = state.Parameters;
    question.QuestionType = Normalised(Text(row, QStringLiteral("QuestionType")));
    question.QuestionWording = Text(row, QStringLiteral("QuestionWording"));
    if (question.QuestionWording == QLatin1String("none"))
        question.QuestionWording = QStringLiteral(" ");
    question.VariableName = Text(row, QStringLiteral("VariableName"));
    question.FileName = Normalised(ExtractParameters(Text(row, QStringLiteral("FileName")), list));
    question.Parameters =
        Normalised(ExtractParameters(Text(row, QStringLiteral("Parameters")), list));
    ApplyItemParameters(list, question);

    question.Backimage =
        Normalised(ExtractParameters(Text(row, QStringLiteral("Backimage")), list));
    ApplyPlacement(list,
                   {&question.BackimageLeft, &question.BackimageTop, &question.BackimageWidth,
                    &question.BackimageHeight},
                   QStringLiteral("ltwh"));
    question.backsound = Text(row, QStringLiteral("backsound"));
    question.Backvideo =
        Normalised(ExtractParameters(Text(row, QStringLiteral("Backvideo")), list));
    ApplyPlacement(list,
                   {&question.BackvideoLeft, &question.BackvideoTop, &question.BackvideoWidth,
                    &question.BackvideoHeight},
                   QStringLiteral("lthw"));

    question.WGR = RoundToInt16(row.Field(QStringLiteral("WGR")).ToNumber());
    question.BGR = RoundToInt16(row.Field(QStringLiteral("BGR")).ToNumber());
    question.WriteData = ToFlag(row.Field(QStringLiteral("WriteData")).ToBool());
    question.WriteRT = ToFlag(row.Field(QStringLiteral("WriteRT")).ToBool());
    question.WriteText = ToInt16Value(row.Field(QStringLiteral("WriteText")));
    question.omitconditions =
        IsOmitted(Text(row, QStringLiteral("omitconditions")), state.ConditionID);
    const bool versionFour = version && !version->IsNull() && version->ToNumber() >= 4.0;
    question.GoBack = versionFour ? ToFlag(row.Field(QStringLiteral("GoBack")).ToBool()) : False;

    if (HasResponseLabels(question.QuestionType)) {
        ReadLabels(row, question);
    } else {
        const QString skip1 = Text(row, QStringLiteral("skip1"));
        const QString lower = skip1.toLower();
        question.skip = (lower == QLatin1String("none") || lower == QLatin1String("excel"))
                            ? QStringLiteral("none")
                            : skip1;
    }
}

} // namespace

void ApplyItemParameters(const ParameterList& list, Question& question) {
    for (int slot = 1; slot <= 10; ++slot) {
        const QString& text = list.entries[std::size_t(slot)];
        ApplyLetter(SlotLetter(text), SlotValue(text), question);
    }
}

void ReadLabels(const RecordSet& row, Question& question) {
    auto label = [&](const QString& column) {
        const QString text = Text(row, column);
        return text.toLower() == QLatin1String("none") ? QString() : text;
    };
    for (int n = 1; n <= 12; ++n)
        question.textlabel[std::size_t(n)] =
            label(QStringLiteral("textlabel") + QString::number(n));
    for (int n = 1; n <= 12; ++n)
        question.pointlabel[std::size_t(n)] =
            label(QStringLiteral("pointlabel") + QString::number(n));
    for (int n = 1; n <= 12; ++n)
        question.skips[std::size_t(n)] = Text(row, QStringLiteral("skip") + QString::number(n));
    if (question.skips[1].toLower() == QLatin1String("excel"))
        question.skips[1] = QStringLiteral("none");
}

void ReadQuestionnaireItems(RunState& state) {
    const std::optional<FieldValue> version = ReadQuestionnaireVersion(state.QuestionnaireFile);

    for (int q = 1; q <= state.NumQuestionnaires && q < state.QuestionnaireNames.size(); ++q) {
        if (state.QuestionnaireNames.at(q).toUpper() == state.QuestionnaireFile.toUpper())
            state.CurrentQuestionnaire = qint16(q);
    }

    QuestionnaireRowReader rows(state.QuestionnaireFile);
    if (rows.RecordCount() == 0)
        raise(ErrorNumber::NoCurrentRecord);
    const qint16 count = ToInt16(rows.RecordCount());

    state.Questions = RunState::EmptyQuestions(count);
    state.BackStack.assign(std::size_t(count) + 1, 0);
    state.NumQuestions = 0;
    while (rows.Next()) {
        Increment(state.NumQuestions);
        ReadRow(rows.Row(), [&] {
            ReadItem(rows.Row(), version, state, state.Questions[std::size_t(state.NumQuestions)]);
        });
    }

    CheckDuplicateVariables(state);
    ShuffleWithinGroups(state);
    ShuffleBetweenGroups(state);
}

bool ReadQuestionnaire(RunState& state) {
    try {
        ReadQuestionnaireItems(state);
        return true;
    } catch (const CorvaneError& error) {
        state.Boxes().Show(MessageBox{DefaultBoxTitle(),
                                      QString::number(error.number()) + error.description(),
                                      BoxIcon::Information});
        return false;
    }
}

QStringList DuplicateVariables(const std::vector<Question>& questions, int count) {
    QHash<QString, int> uses;
    for (int i = 1; i <= count; ++i)
        ++uses[questions[std::size_t(i)].VariableName];
    QStringList duplicates;
    for (int i = 1; i <= count; ++i) {
        const QString& name = questions[std::size_t(i)].VariableName;
        if (uses.value(name) > 1 && !duplicates.contains(name))
            duplicates << name;
    }
    return duplicates;
}

void CheckDuplicateVariables(RunState& state) {
    const QStringList duplicates = DuplicateVariables(state.Questions, state.NumQuestions);
    if (duplicates.isEmpty())
        return;
    const QString cr = QStringLiteral("\r");
    QString list;
    for (const QString& name : duplicates)
        list += name + cr;
    const QString text =
        QStringLiteral("Corvane has detected that the file '") + state.QuestionnaireFile +
        QStringLiteral("' has the following duplicate variable name(s):") + cr + cr + list + cr +
        cr + QStringLiteral("Be sure to assign unique variable names to all items ") +
        QStringLiteral("in this file in order to avoid potential program error.");
    state.Boxes().Show(MessageBox{DefaultBoxTitle(), text, BoxIcon::Information});
}

} // namespace corvane
