// The record of the order in which a run presented its files and items, kept as the run goes and
// added to question_order.csv in the data folder at its end. Going back shows as a name repeated.
#pragma once

#include <QString>

namespace corvane {

class RunJournal;

class OrderLog {
public:
    /// The journal of the run, told of every addition and of the writing at the end, so that a
    /// run cut short gets its order too. Not owned; null when the run keeps none.
    RunJournal* Journal = nullptr;

    /// One line: subject, condition and start time, then every file presented, in order.
    QString OrderHeader;
    /// One line per questionnaire presented, each begun by "\r\n", with its items in order.
    QString OrderLines;

    /// Notes a file as it is presented; a questionnaire also starts a line for its items.
    void StartFile(const QString& subjectID, const QString& conditionID, const QString& timeHHMMSS,
                   const QString& fileName, bool isQuestionnaire);
    /// Notes an item of the questionnaire in hand by its variable name.
    void AddItem(const QString& variableName);
    /// The block as it goes into the file: header, item lines and a closing line end.
    QString Text() const;
    /// Adds Text() to `folder`/question_order.csv in one write and empties the log; false, with
    /// the log kept, when the file can't be written.
    bool AppendTo(const QString& folder);
    /// Empties the log.
    void Clear();

private:
    void Add(bool header, const QString& text);
    bool Write(const QString& folder);
};

} // namespace corvane
