#include "output/data_output.h"

#include <QDate>
#include <QLocale>
#include <QTime>

namespace corvane {

DataOutputSettings CurrentDataOutputSettings(const QString& machineCode, const QString& inifile) {
    QString date = QLocale::system().toString(QDate::currentDate(), QLocale::ShortFormat);
    while (date.endsWith(QLatin1Char(' ')))
        date.chop(1);
    return {machineCode, inifile, date, QTime::currentTime().toString(QStringLiteral("hh:mm:ss"))};
}

} // namespace corvane
