// `corvane merge STATION_FOLDER... --into FOLDER`: the data folders of several lab stations that
// ran one experiment, joined into one. Rows are copied byte for byte under one header; files
// whose headers differ are refused, never mixed; the station folders are only read.
#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

struct MergeResult {
    bool ok = false;
    QStringList report;     // what came from where, and the participants found twice
    QStringList duplicates; // one line per participant ID seen at more than one station or twice
    QString error;          // why nothing was written
};

/// Joins the stations' data folders (a folder holding `data`, or a data folder itself) into
/// `into`, which must be new or empty. A `merge_report.txt` there keeps the report.
MergeResult MergeStations(const QStringList& stations, const QString& into);

} // namespace corvane
