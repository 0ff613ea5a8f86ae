// `corvane export EXPERIMENT --tidy OUT_FOLDER`: an experiment's data as one long table (a row
// per participant, run and variable), a codebook of its variables, and an R script that reads
// the table with the codebook's labels.
#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

struct TidyExportOptions {
    QString experiment; // the .exp (or .que) file
    QString dataFolder; // empty: the data folder beside the experiment
    QString outFolder;
};

struct TidyExportResult {
    bool ok = false;
    QStringList report; // what was read from where, and what was written
    QString error;      // why nothing was written
    int longRows = 0;
    QStringList written; // the files made
};

TidyExportResult ExportTidy(const TidyExportOptions& options);

/// The data files' base name of an experiment file: its name without the extension, blanks
/// as "_"; a single questionnaire's runs are named after its wrapper, "<name>_que".
QString ExperimentBaseName(const QString& experimentPath);

} // namespace corvane
