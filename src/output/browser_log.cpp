#include "output/browser_log.h"

#include "output/data_file.h"
#include "output/output_common.h"
#include "state/run_state.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

namespace corvane {

namespace {

const QChar kTab = QLatin1Char('\t');

QString ShortDate(const QDate& date) {
    QString text = QLocale::system().toString(date, QLocale::ShortFormat);
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text;
}

QString TimeWithoutZeros(const QTime& time) {
    return time.toString(QStringLiteral("H:m:s"));
}

} // namespace

QString BrowserLogHeader() {
    return QStringList{QStringLiteral("Subject"), QStringLiteral("Cond"),
                       QStringLiteral("URL"),     QStringLiteral("Date"),
                       QStringLiteral("TimeIn"),  QStringLiteral("TimeOut"),
                       QStringLiteral("ViewTime")}
               .join(kTab) +
           kLineEnd;
}

qint64 WholeSecondsBetween(const QDateTime& in, const QDateTime& out) {
    // Second boundaries crossed, as a count of whole seconds of the clock, not of elapsed time.
    return out.toSecsSinceEpoch() - in.toSecsSinceEpoch();
}

std::optional<QString> BrowserLogRow(const RunState& state, const QString& url, const QDateTime& in,
                                     const QDateTime& out) {
    const qint64 seconds = WholeSecondsBetween(in, out);
    if (seconds == 0)
        return std::nullopt;
    const QStringList values{
        state.SubjectID,         state.ConditionID,           url,
        ShortDate(in.date()),    TimeWithoutZeros(in.time()), TimeWithoutZeros(out.time()),
        QString::number(seconds)};
    QString row;
    for (const QString& value : values)
        row += value + kTab;
    return row + kLineEnd;
}

bool PrepareBrowserLog(const QString& path) {
    QFile file(path);
    if (file.exists()) {
        if (!file.open(QIODevice::ReadOnly))
            return false;
        const QByteArray first = file.readLine().trimmed();
        file.close();
        if (!first.isEmpty())
            return true;
    }
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QFile fresh(path);
    if (!fresh.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    const QByteArray header = EncodeForFile(BrowserLogHeader());
    return fresh.write(header) == header.size() && fresh.flush();
}

bool AppendBrowserLogRow(const QString& path, const QString& row) {
    AppendFile file(path);
    if (file.Open() != FileFault::None)
        return false;
    if (file.Append(EncodeForFile(row), true) != FileFault::None)
        return false;
    return file.Close();
}

QString BrowserLogLockedText(const QString& path) {
    return QStringLiteral("The file ") + path +
           QStringLiteral(" is open for editing.  Data can not be written to this file unless it "
                          "is closed.");
}

} // namespace corvane
