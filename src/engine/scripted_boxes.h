// Message boxes of an unattended run: each takes the next answer that the script queued, else
// its default, and is written to the message log as one line: title, text, answer.
#pragma once

#include "engine/run_script.h"
#include "state/message_boxes.h"

#include <QTextStream>

namespace corvane {

class ScriptedMessageBoxes : public MessageBoxes {
public:
    ScriptedMessageBoxes(ScriptAnswers& answers, QTextStream& log);
    BoxAnswer Show(const MessageBox& box) override;
    std::optional<QString> Input(const QString& title, const QString& prompt,
                                 const QString& defaultText) override;
    /// Writes a line of the run's own to the log.
    void Note(const QString& line);

private:
    void Log(const QString& title, const QString& text, const QString& answer);

    ScriptAnswers& m_answers;
    QTextStream& m_log;
};

/// The answer as the log writes it: ok, cancel, yes, no.
QString AnswerWord(BoxAnswer answer);

} // namespace corvane
