#include "analysis/station_merge.h"

#include "analysis/data_text.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSaveFile>
#include <map>

namespace corvane {

namespace {

struct Station {
    QString label; // "station 2 (/path/to/data)"
    QString data;  // absolute data folder
};

struct Piece {
    int station = 0;
    QByteArray bytes;
};

QString DataFolderOf(const QString& folder) {
    const QDir dir(QFileInfo(folder).absoluteFilePath());
    if (dir.exists(QStringLiteral("data")) && !dir.exists(QStringLiteral("byquestionnaire")))
        return QDir::cleanPath(dir.filePath(QStringLiteral("data")));
    return QDir::cleanPath(dir.absolutePath());
}

bool Inside(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(folder + QLatin1Char('/'));
}

QByteArray FirstLine(const QByteArray& bytes) {
    const qsizetype end = bytes.indexOf('\n');
    return end < 0 ? bytes : bytes.left(end + 1);
}

// A file with a column header: data files by questionnaire and by variable, browser logs.
bool HasHeader(const QByteArray& bytes) {
    return bytes.startsWith("Subject,") || bytes.startsWith("Subject\t");
}

bool IsText(const QString& path) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix == QLatin1String("csv") || suffix == QLatin1String("txt");
}

void AppendJoined(QByteArray& out, const QByteArray& part) {
    if (part.isEmpty())
        return;
    if (!out.isEmpty() && !out.endsWith('\n'))
        out += "\r\n";
    out += part;
}

int CountRows(const QByteArray& bytes) {
    return int(DataLines(DecodeDataText(bytes)).size());
}

QString FirstDifference(const QByteArray& a, const QByteArray& b) {
    const QStringList left = DecodeDataText(a).trimmed().split(QLatin1Char(','));
    const QStringList right = DecodeDataText(b).trimmed().split(QLatin1Char(','));
    for (qsizetype i = 0; i < qMax(left.size(), right.size()); ++i) {
        const QString l = i < left.size() ? left.at(i) : QStringLiteral("(none)");
        const QString r = i < right.size() ? right.at(i) : QStringLiteral("(none)");
        if (l != r)
            return QStringLiteral("column %1 is '%2' at one and '%3' at the other")
                .arg(i + 1)
                .arg(l, r);
    }
    return QStringLiteral("they differ in their line ends or blanks");
}

bool Write(const QString& path, const QByteArray& bytes, QString* error) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        *error = path + QStringLiteral(": ") + file.errorString();
        return false;
    }
    return true;
}

// Participant IDs of the rows of a data file by questionnaire, per station.
void CountParticipants(const std::vector<Piece>& pieces,
                       std::map<QString, std::map<int, int>>& seen) {
    for (const Piece& piece : pieces) {
        const QStringList rows = DataLines(DecodeDataText(piece.bytes));
        for (qsizetype r = 1; r < rows.size(); ++r)
            ++seen[rows.at(r).section(QLatin1Char(','), 0, 0)][piece.station];
    }
}

QStringList DuplicateLines(const std::map<QString, std::map<int, int>>& seen,
                           const std::vector<Station>& stations) {
    QStringList lines;
    for (const auto& [subject, where] : seen) {
        int runs = 0;
        QStringList places;
        for (const auto& [station, count] : where) {
            runs += count;
            places << QStringLiteral("%1 run(s) at %2")
                          .arg(count)
                          .arg(stations[std::size_t(station)].label);
        }
        if (where.size() > 1 || runs > 1)
            lines << QStringLiteral("participant ") + subject + QStringLiteral(": ") +
                         places.join(QStringLiteral(", "));
    }
    return lines;
}

struct Merged {
    QMap<QString, QByteArray> files; // relative path -> bytes
};

bool JoinText(const QString& path, const std::vector<Piece>& pieces,
              const std::vector<Station>& stations, Merged& merged, MergeResult& result,
              QStringList& refusals) {
    const bool header = HasHeader(pieces.front().bytes);
    QByteArray out;
    QStringList sources;
    if (header) {
        const QByteArray head = FirstLine(pieces.front().bytes);
        for (const Piece& piece : pieces) {
            if (!HasHeader(piece.bytes) || FirstLine(piece.bytes).trimmed() != head.trimmed()) {
                refusals << path + QStringLiteral(": the header at ") +
                                stations[std::size_t(piece.station)].label +
                                QStringLiteral(" differs from the one at ") +
                                stations[std::size_t(pieces.front().station)].label +
                                QStringLiteral(" (") +
                                FirstDifference(FirstLine(piece.bytes), head) + QStringLiteral(")");
                return false;
            }
        }
        out = head;
    }
    for (const Piece& piece : pieces) {
        const QByteArray body =
            header ? piece.bytes.mid(FirstLine(piece.bytes).size()) : piece.bytes;
        AppendJoined(out, body);
        sources << QStringLiteral("%1 %2 from %3")
                       .arg(CountRows(body))
                       .arg(header ? QStringLiteral("rows") : QStringLiteral("lines"),
                            stations[std::size_t(piece.station)].label);
    }
    merged.files.insert(path, out);
    result.report << path + QStringLiteral(": ") + sources.join(QStringLiteral(", "));
    return true;
}

// A syntax file names its data file by the station's folder: the first station's is taken, with
// that folder's name changed to the merged one's.
void TakeSyntax(const QString& path, const std::vector<Piece>& pieces,
                const std::vector<Station>& stations, const QString& into, Merged& merged,
                MergeResult& result) {
    const Piece& first = pieces.front();
    QByteArray bytes = first.bytes;
    bytes.replace(stations[std::size_t(first.station)].data.toLocal8Bit(), into.toLocal8Bit());
    merged.files.insert(path, bytes);
    result.report << path + QStringLiteral(": from ") + stations[std::size_t(first.station)].label +
                         QStringLiteral(", its folder renamed to the merged one");
}

// Files other than text (voice recordings): one copy each; the same name from two stations
// keeps both, the later one with the station's number in its name.
void CopyOthers(const QString& path, const std::vector<Piece>& pieces,
                const std::vector<Station>& stations, Merged& merged, MergeResult& result) {
    for (const Piece& piece : pieces) {
        QString target = path;
        if (&piece != &pieces.front() && piece.bytes != pieces.front().bytes) {
            const QFileInfo info(path);
            target =
                (info.path() == QLatin1String(".") ? QString() : info.path() + QLatin1Char('/')) +
                info.completeBaseName() + QStringLiteral("_station%1.").arg(piece.station + 1) +
                info.suffix();
        } else if (&piece != &pieces.front()) {
            continue;
        }
        merged.files.insert(target, piece.bytes);
        result.report << target + QStringLiteral(": from ") +
                             stations[std::size_t(piece.station)].label;
    }
}

} // namespace

MergeResult MergeStations(const QStringList& folders, const QString& into) {
    MergeResult result;
    const QString target = QDir::cleanPath(QFileInfo(into).absoluteFilePath());
    std::vector<Station> stations;
    for (const QString& folder : folders) {
        const QString data = DataFolderOf(folder);
        if (!QFileInfo(data).isDir()) {
            result.error = folder + QStringLiteral(": no such folder");
            return result;
        }
        if (Inside(target, data) || Inside(data, target)) {
            result.error = QStringLiteral("The merged folder ") + target +
                           QStringLiteral(" must lie outside the station folder ") + data +
                           QStringLiteral(": station folders are never changed.");
            return result;
        }
        for (const Station& other : stations) {
            if (other.data == data) {
                result.error = data + QStringLiteral(" is named twice.");
                return result;
            }
        }
        stations.push_back(
            {QStringLiteral("station %1 (%2)").arg(stations.size() + 1).arg(data), data});
    }
    if (stations.size() < 2) {
        result.error = QStringLiteral("Name at least two station folders to merge.");
        return result;
    }
    if (QDir(target).exists() &&
        !QDir(target).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)) {
        result.error = QStringLiteral("The folder ") + target +
                       QStringLiteral(" is not empty: merge into a new or empty folder, so that "
                                      "nothing there is mixed with the stations' data.");
        return result;
    }

    QMap<QString, std::vector<Piece>> pieces;
    for (std::size_t s = 0; s < stations.size(); ++s) {
        QDirIterator it(stations[s].data, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            const QString relative = QDir(stations[s].data).relativeFilePath(path);
            if (QFileInfo(path).fileName() == QLatin1String(".journal")) {
                result.report << relative + QStringLiteral(" at ") + stations[s].label +
                                     QStringLiteral(": left out (the journal of a run cut short; "
                                                    "start the experiment there to recover it)");
                continue;
            }
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly)) {
                result.error = path + QStringLiteral(": ") + file.errorString();
                return result;
            }
            pieces[relative].push_back({int(s), file.readAll()});
        }
    }

    Merged merged;
    QStringList refusals;
    std::map<QString, std::map<int, int>> participants;
    for (auto it = pieces.cbegin(); it != pieces.cend(); ++it) {
        const QString& path = it.key();
        if (path.endsWith(QLatin1String(".sps"), Qt::CaseInsensitive))
            TakeSyntax(path, it.value(), stations, target, merged, result);
        else if (IsText(path))
            JoinText(path, it.value(), stations, merged, result, refusals);
        else
            CopyOthers(path, it.value(), stations, merged, result);
        if (path.startsWith(QLatin1String("byquestionnaire/")) &&
            HasHeader(it.value().front().bytes))
            CountParticipants(it.value(), participants);
    }
    if (!refusals.isEmpty()) {
        result.error = QStringLiteral("Nothing was merged: files whose headers differ are never "
                                      "mixed. Merge only stations that ran the same version of "
                                      "the experiment, or export them apart.\n") +
                       refusals.join(QLatin1Char('\n'));
        return result;
    }
    result.duplicates = DuplicateLines(participants, stations);
    if (result.duplicates.isEmpty())
        result.report << QStringLiteral("No participant ID is found at more than one station or "
                                        "more than once.");
    else
        result.report << QStringLiteral("Participant IDs found more than once:")
                      << result.duplicates;
    QString text = QStringLiteral("Merged into ") + target + QLatin1Char('\n');
    for (const Station& station : stations)
        text += QStringLiteral("from ") + station.label + QLatin1Char('\n');
    text += result.report.join(QLatin1Char('\n')) + QLatin1Char('\n');
    merged.files.insert(QStringLiteral("merge_report.txt"), text.toUtf8());
    for (auto it = merged.files.cbegin(); it != merged.files.cend(); ++it) {
        if (!Write(QDir(target).filePath(it.key()), it.value(), &result.error))
            return result;
    }
    result.ok = true;
    return result;
}

} // namespace corvane
