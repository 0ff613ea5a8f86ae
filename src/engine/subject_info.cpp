// Writing CurrentSubjectInfo.txt whole, so that a program reading it never sees half of it.
#include "engine/subject_info.h"

#include <QDir>
#include <QSaveFile>
#include <QStringEncoder>

namespace corvane {

bool WriteCurrentSubjectInfo(const QString& programFolder, const QString& subjectID,
                             const QString& conditionID) {
    // Readers take each value from the 11th column on, so both labels are ten characters wide.
    const QString lineEnd = QStringLiteral("\r\n");
    QString text;
    text += QStringLiteral("Subject   ") + subjectID + lineEnd;
    text += QStringLiteral("Condition ") + conditionID + lineEnd;
    text += lineEnd;
    text += QStringLiteral("This information is written at the beginning of every experimental "
                           "run.") +
            lineEnd;
    text += QStringLiteral("The purpose of this information is to allow other programs running at "
                           "the") +
            lineEnd;
    text += QStringLiteral("same time to access subject and condition IDs.") + lineEnd;
    text += lineEnd;
    text +=
        QStringLiteral("The value for each variable always begins in the 11th column.") + lineEnd;

    QStringEncoder encoder(QStringConverter::System);
    const QByteArray bytes = encoder.encode(text);
    QSaveFile file(QDir(programFolder).filePath(QStringLiteral("CurrentSubjectInfo.txt")));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (file.write(bytes) != bytes.size())
        return false;
    return file.commit();
}

} // namespace corvane
