// The order log: gathering the presentation order and adding it to question_order.csv.
#include "engine/order_log.h"

#include <QDir>
#include <QFile>
#include <QStringEncoder>

namespace corvane {

void OrderLog::StartFile(const QString& subjectID, const QString& conditionID,
                         const QString& timeHHMMSS, const QString& fileName, bool isQuestionnaire) {
    const QString who = subjectID + QLatin1Char(',') + conditionID + QLatin1Char(',') + timeHHMMSS;
    // The header keeps the time of the first file; each questionnaire line has its own.
    if (OrderHeader.isEmpty())
        OrderHeader = who;
    OrderHeader += QLatin1Char(',') + fileName;
    if (isQuestionnaire)
        OrderLines += QStringLiteral("\r\n") + who + QLatin1Char(',') + fileName;
}

void OrderLog::AddItem(const QString& variableName) {
    OrderLines += QLatin1Char(',') + variableName;
}

QString OrderLog::Text() const {
    return OrderHeader + OrderLines + QStringLiteral("\r\n");
}

bool OrderLog::AppendTo(const QString& folder) {
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
