#include "engine/scripted_boxes.h"

namespace corvane {

namespace {

bool Offers(BoxButtons buttons, BoxAnswer answer) {
    switch (buttons) {
    case BoxButtons::Ok:
        return answer == BoxAnswer::Ok;
    case BoxButtons::OkCancel:
        return answer == BoxAnswer::Ok || answer == BoxAnswer::Cancel;
    case BoxButtons::YesNo:
        return answer == BoxAnswer::Yes || answer == BoxAnswer::No;
    case BoxButtons::YesNoCancel:
        return answer != BoxAnswer::Ok;
    }
    return false;
}

} // namespace

QString AnswerWord(BoxAnswer answer) {
    switch (answer) {
    case BoxAnswer::Ok:
        return QStringLiteral("ok");
    case BoxAnswer::Cancel:
        return QStringLiteral("cancel");
    case BoxAnswer::Yes:
        return QStringLiteral("yes");
    case BoxAnswer::No:
        return QStringLiteral("no");
    }
    return QString();
}

ScriptedMessageBoxes::ScriptedMessageBoxes(ScriptAnswers& answers, QTextStream& log)
    : m_answers(answers), m_log(log) {}

BoxAnswer ScriptedMessageBoxes::Show(const MessageBox& box) {
    BoxAnswer answer = box.defaultAnswer;
    if (const auto queued = m_answers.Take()) {
        const auto word = ScriptAnswers::ToBoxAnswer(*queued);
        // An answer the box doesn't offer is noted and the default taken, as a press of Enter.
        if (word && Offers(box.buttons, *word))
            answer = *word;
        else
            Note(QStringLiteral("the answer '") + *queued +
                 QStringLiteral("' does not fit the next box; its default is taken"));
    }
    Log(box.title, box.text, AnswerWord(answer));
    return answer;
}

std::optional<QString> ScriptedMessageBoxes::Input(const QString& title, const QString& prompt,
                                                   const QString&) {
    std::optional<QString> answer;
    if (const auto queued = m_answers.Take()) {
        if (ScriptAnswers::ToBoxAnswer(*queued) != BoxAnswer::Cancel)
            answer = *queued;
    }
    Log(title, prompt, answer ? *answer : AnswerWord(BoxAnswer::Cancel));
    return answer;
}

void ScriptedMessageBoxes::Note(const QString& line) {
    Log(QStringLiteral("corvane"), line, QString());
}

void ScriptedMessageBoxes::Log(const QString& title, const QString& text, const QString& answer) {
    m_log << title << '\t' << OneLine(text) << '\t' << answer << Qt::endl;
}

} // namespace corvane
