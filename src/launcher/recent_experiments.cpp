#include "launcher/recent_experiments.h"

#include "state/program_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace corvane {

QString RecentExperimentsFile() {
    return ProgramFolder::FilePath(QStringLiteral("ini/lastexp.ini"));
}

QStringList ReadRecentSlots(const QString& file) {
    QStringList entries;
    QFile in(file);
    if (in.open(QIODevice::ReadOnly)) {
        while (entries.size() < kRecentSlots && !in.atEnd()) {
            QString line = QString::fromLocal8Bit(in.readLine());
            while (line.endsWith(QLatin1Char('\n')) || line.endsWith(QLatin1Char('\r')))
                line.chop(1);
            entries << line;
        }
    }
    while (entries.size() < kRecentSlots)
        entries << QString();
    return entries;
}

bool WriteRecentExperiment(const QString& file, const QString& newest) {
    const QStringList old = ReadRecentSlots(file);
    QByteArray text = newest.toLocal8Bit() + "\r\n";
    for (const QString& path : old) {
        if (!path.isEmpty() && path != newest)
            text += path.toLocal8Bit() + "\r\n";
    }
    QDir().mkpath(QFileInfo(file).absolutePath());
    QFile out(file);
    return out.open(QIODevice::WriteOnly | QIODevice::Truncate) && out.write(text) == text.size();
}

} // namespace corvane
