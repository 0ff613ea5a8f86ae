#include "analysis/data_commands.h"

#include "analysis/station_merge.h"
#include "analysis/tidy_export.h"

#include <QMap>
#include <QTextStream>

namespace corvane {

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 64; // a wrong command line, as for every command of the program

const QString kExportUsage = QStringLiteral(
    "usage: corvane export EXPERIMENT --tidy OUT_FOLDER [--data DATA_FOLDER]\n"
    "  Writes <name>_long.csv (one row per participant, run and variable), <name>_codebook.csv,\n"
    "  <name>_codebook.md and read_<name>.R into OUT_FOLDER, from the data folder beside\n"
    "  EXPERIMENT (.exp or .que) or DATA_FOLDER.");
const QString kMergeUsage = QStringLiteral(
    "usage: corvane merge STATION_FOLDER STATION_FOLDER... --into FOLDER\n"
    "  Joins the data folders of lab stations that ran one experiment into FOLDER (new or\n"
    "  empty). A station folder is an experiment's folder holding data, or a data folder.");

// Splits "--name VALUE" pairs from the words; false on a name without its value or one not
// in `known`.
bool TakeOptions(QStringList words, const QStringList& known, QMap<QString, QString>& options,
                 QStringList& rest, QString* problem) {
    while (!words.isEmpty()) {
        const QString word = words.takeFirst();
        if (!word.startsWith(QLatin1String("--"))) {
            rest << word;
            continue;
        }
        if (!known.contains(word)) {
            *problem = QStringLiteral("unknown option ") + word;
            return false;
        }
        if (words.isEmpty()) {
            *problem = word + QStringLiteral(" needs a value");
            return false;
        }
        options.insert(word, words.takeFirst());
    }
    return true;
}

int Usage(QTextStream& err, const QString& problem, const QString& usage) {
    if (!problem.isEmpty())
        err << "corvane: " << problem << Qt::endl;
    err << usage << Qt::endl;
    return kUsage;
}

int RunExport(const QStringList& words, QTextStream& out, QTextStream& err) {
    QMap<QString, QString> options;
    QStringList rest;
    QString problem;
    if (!TakeOptions(words, {QStringLiteral("--tidy"), QStringLiteral("--data")}, options, rest,
                     &problem))
        return Usage(err, problem, kExportUsage);
    if (rest.size() != 1 || !options.contains(QStringLiteral("--tidy")))
        return Usage(err, QStringLiteral("export takes one experiment and --tidy OUT_FOLDER"),
                     kExportUsage);
    const TidyExportResult result =
        ExportTidy({rest.front(), options.value(QStringLiteral("--data")),
                    options.value(QStringLiteral("--tidy"))});
    for (const QString& line : result.report)
        out << line << Qt::endl;
    if (!result.ok) {
        err << "corvane export: " << result.error << Qt::endl;
        return kFailed;
    }
    return kDone;
}

int RunMerge(const QStringList& words, QTextStream& out, QTextStream& err) {
    QMap<QString, QString> options;
    QStringList stations;
    QString problem;
    if (!TakeOptions(words, {QStringLiteral("--into")}, options, stations, &problem))
        return Usage(err, problem, kMergeUsage);
    if (stations.size() < 2 || !options.contains(QStringLiteral("--into")))
        return Usage(err,
                     QStringLiteral("merge takes two or more station folders and --into FOLDER"),
                     kMergeUsage);
    const MergeResult result = MergeStations(stations, options.value(QStringLiteral("--into")));
    if (!result.ok) {
        err << "corvane merge: " << result.error << Qt::endl;
        return kFailed;
    }
    for (const QString& line : result.report)
        out << line << Qt::endl;
    return kDone;
}

} // namespace

bool IsDataCommand(const QString& word) {
    return word == QLatin1String("export") || word == QLatin1String("merge");
}

int RunDataCommand(const QStringList& arguments) {
    QTextStream out(stdout);
    QTextStream err(stderr);
    if (arguments.isEmpty() || !IsDataCommand(arguments.front()))
        return Usage(err, QString(), kExportUsage + QLatin1Char('\n') + kMergeUsage);
    const QStringList words = arguments.mid(1);
    if (words.contains(QStringLiteral("--help")) || words.contains(QStringLiteral("-h"))) {
        out << (arguments.front() == QLatin1String("export") ? kExportUsage : kMergeUsage)
            << Qt::endl;
        return kDone;
    }
    return arguments.front() == QLatin1String("export") ? RunExport(words, out, err)
                                                        : RunMerge(words, out, err);
}

} // namespace corvane
