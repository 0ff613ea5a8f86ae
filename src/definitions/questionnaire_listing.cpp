#include "definitions/questionnaire_listing.h"

#include "state/run_state.h"

namespace corvane {

namespace {

QString Quote(const QString& text) {
    QString shown = text;
    shown.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    shown.replace(QLatin1Char('"'), QStringLiteral("\\\""));
    shown.replace(QLatin1Char('\r'), QStringLiteral("\\r"));
    shown.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return QLatin1Char('"') + shown + QLatin1Char('"');
}

class Listing {
public:
    void Line(const QString& text) { m_text += text + QLatin1Char('\n'); }
    void Field(const QString& name, const QString& value) {
        if (!value.isEmpty())
            Line(QStringLiteral("  ") + name + QStringLiteral(": ") + Quote(value));
    }
    void Number(const QString& name, double value) {
        if (value != 0.0)
            Line(QStringLiteral("  ") + name + QStringLiteral(": ") + QString::number(value));
    }
    void Place(const QString& name, int left, int top, int width, int height) {
        if (left || top || width || height)
            Line(QStringLiteral("  %1: l%2 t%3 w%4 h%5")
                     .arg(name)
                     .arg(left)
                     .arg(top)
                     .arg(width)
                     .arg(height));
    }
    QString Text() const { return m_text; }

private:
    QString m_text;
};

void ListItem(Listing& out, const Question& q, int index) {
    out.Line(QStringLiteral("item %1: %2, variable %3")
                 .arg(index)
                 .arg(Quote(q.QuestionType), Quote(q.VariableName)));
    out.Field(QStringLiteral("wording"), q.QuestionWording);
    out.Field(QStringLiteral("parameters"), q.Parameters);
    out.Field(QStringLiteral("file"), q.FileName);
    out.Place(QStringLiteral("place"), q.Left, q.Top, q.Width, q.Height);
    out.Number(QStringLiteral("duration ms"), q.Duration);
    out.Field(QStringLiteral("rated list (q)"), q.RatedList);
    out.Field(QStringLiteral("instruction extra (x)"), q.InstructionExtra);
    out.Number(QStringLiteral("keep focus (k)"), q.KeepFocus);
    out.Number(QStringLiteral("response delay (o)"), q.MinResponse);
    out.Field(QStringLiteral("condition append (c)"), q.ConditionAppend);
    out.Number(QStringLiteral("scale step (s)"), double(q.ScaleStep));
    if (q.RangeLow || q.RangeHigh)
        out.Line(QStringLiteral("  range (r): %1 to %2").arg(q.RangeLow).arg(q.RangeHigh));
    out.Field(QStringLiteral("mask (m)"), q.Mask);
    out.Field(QStringLiteral("style ($)"), q.Dollar);
    out.Field(QStringLiteral("warning (!)"), q.Bang);
    out.Field(QStringLiteral("port code (<)"), q.TTLCode);
    if (IsTrue(q.At))
        out.Line(QStringLiteral("  time stamp (@): yes"));
    out.Field(QStringLiteral("background image"), q.Backimage);
    out.Place(QStringLiteral("background image place"), q.BackimageLeft, q.BackimageTop,
              q.BackimageWidth, q.BackimageHeight);
    out.Field(QStringLiteral("background sound"), q.backsound);
    out.Field(QStringLiteral("background video"), q.Backvideo);
    out.Place(QStringLiteral("background video place"), q.BackvideoLeft, q.BackvideoTop,
              q.BackvideoWidth, q.BackvideoHeight);
    for (int n = 1; n <= 12; ++n) {
        const QString& text = q.textlabel[std::size_t(n)];
        const QString& point = q.pointlabel[std::size_t(n)];
        const QString& skip = q.skips[std::size_t(n)];
        if (text.isEmpty() && point.isEmpty() &&
            (skip.isEmpty() || skip.toLower() == QLatin1String("none")))
            continue;
        out.Line(QStringLiteral("  label %1: text %2, button %3, skip %4")
                     .arg(n)
                     .arg(Quote(text), Quote(point), Quote(skip)));
    }
    out.Field(QStringLiteral("skip"), q.skip);
    out.Line(QStringLiteral("  groups: WGR %1, BGR %2; write data %3, write RT %4, text %5")
                 .arg(q.WGR)
                 .arg(q.BGR)
                 .arg(IsTrue(q.WriteData) ? QStringLiteral("yes") : QStringLiteral("no"),
                      IsTrue(q.WriteRT) ? QStringLiteral("yes") : QStringLiteral("no"),
                      q.WriteText ? QStringLiteral("yes") : QStringLiteral("no")));
    if (q.omitconditions)
        out.Line(QStringLiteral("  omitted in this condition"));
    out.Line(QStringLiteral("  may go back: %1")
                 .arg(IsTrue(q.GoBack) ? QStringLiteral("yes") : QStringLiteral("no")));
}

} // namespace

QString ListQuestionnaire(const RunState& state) {
    Listing out;
    out.Line(QStringLiteral("questionnaire %1: %2 items")
                 .arg(Quote(state.QuestionnaireFile))
                 .arg(state.NumQuestions));
    for (int i = 1; i <= state.NumQuestions; ++i)
        ListItem(out, state.Questions[std::size_t(i)], i);
    QStringList order;
    for (int s = 1; s <= state.NumQuestions; ++s) {
        const auto& atStep = state.Questions[std::size_t(s)];
        order << QString::number(state.Questions[std::size_t(atStep.BGRPosition)].WGRPosition);
    }
    out.Line(QStringLiteral("order drawn: ") + order.join(QLatin1Char(' ')));
    return out.Text();
}

} // namespace corvane
