// The order log: gathering the presentation order and adding it to question_order.csv.
#include "engine/order_log.h"

#include "output/run_journal.h"

#include <QDir>
#include <QFile>
#include <QStringEncoder>

namespace corvane {

void OrderLog::StartFile(const QString& subjectID, const QString& conditionID,
                         const QString& timeHHMMSS, const QString& fileName, bool isQuestionnaire) {
    const QString who = subjectID + QLatin1Char(',') + conditionID + QLatin1Char(',') + timeHHMMSS;
    // The header keeps the time of the first file; each questionnaire line has its own.
    Add(true, (OrderHeader.isEmpty() ? who : QString()) + QLatin1Char(',') + fileName);
    if (isQuestionnaire)
        Add(false, QStringLiteral("\r\n") + who + QLatin1Char(',') + fileName);
}

void OrderLog::AddItem(const QString& variableName) {
    Add(false, QLatin1Char(',') + variableName);
}

void OrderLog::Add(bool header, const QString& text) {
    (header ? OrderHeader : OrderLines) += text;
    if (Journal)
        Journal->NoteOrder(header, text);
}

QString OrderLog::Text() const {
    return OrderHeader + OrderLines + QStringLiteral("\r\n");
}

bool OrderLog::AppendTo(const QString& folder) {
    if (Journal)
        return Journal->WriteRecord(RecordKind::Order, QString(), [&] { return Write(folder); });
    return Write(folder);
}

bool OrderLog::Write(const QString& folder) {
    QStringEncoder encoder(QStringConverter::System);
    const QByteArray bytes = encoder.encode(Text());
    QFile file(QDir(folder).filePath(QStringLiteral("question_order.csv")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    // One write, so that runs sharing a data folder don't interleave their blocks.
    if (file.write(bytes) != bytes.size() || !file.flush())
        return false;
    file.close();
    Clear();
    return true;
}

void OrderLog::Clear() {
    OrderHeader.clear();
    OrderLines.clear();
}

} // namespace corvane
