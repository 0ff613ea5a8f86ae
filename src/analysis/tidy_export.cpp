#include "analysis/tidy_export.h"

#include "analysis/codebook.h"
#include "analysis/data_text.h"
#include "analysis/order_blocks.h"
#include "analysis/tidy_outputs.h"
#include "definitions/csv.h"
#include "definitions/definition_store.h"
#include "state/error.h"
#include "state/helpers.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSaveFile>

namespace corvane {

namespace {

// One questionnaire's stretch of the header: the column of its name, then its variables.
struct Section {
    int nameColumn = 0;
    QString questionnaire; // short name
    std::vector<CodebookEntry> entries;
    std::vector<int> valueColumn; // per entry, -1 for none
    std::vector<int> timeColumn;
};

struct Experiment {
    QString base;
    QStringList questionnaireFiles;                    // as the definition names them
    QHash<QString, std::vector<ItemDefinition>> items; // short name, lower case
};

QString ShortName(const QString& file) {
    return QFileInfo(file).fileName().chopped(4);
}

bool ReadExperiment(const QString& path, Experiment& experiment, QStringList& report,
                    QString* error) {
    experiment.base = ExperimentBaseName(path);
    if (path.endsWith(QLatin1String(".que"), Qt::CaseInsensitive)) {
        experiment.questionnaireFiles << QFileInfo(path).fileName();
    } else {
        try {
            RecordSet rows = ReadExperimentRows(path);
            const int column = rows.ColumnOf(QStringLiteral("file"));
            for (const auto& row : rows.Rows()) {
                const QString file = column >= 0 && !row[std::size_t(column)].IsNull()
                                         ? row[std::size_t(column)].ToText().trimmed()
                                         : QString();
                if (file.endsWith(QLatin1String(".que"), Qt::CaseInsensitive) &&
                    !experiment.questionnaireFiles.contains(file, Qt::CaseInsensitive))
                    experiment.questionnaireFiles << file;
            }
        } catch (const CorvaneError& fault) {
            *error = path + QStringLiteral(": ") + fault.description();
            return false;
        }
    }
    const QDir folder = QFileInfo(path).absoluteDir();
    for (const QString& file : experiment.questionnaireFiles) {
        const auto found = FindFile(folder.absoluteFilePath(file));
        QString problem = QStringLiteral("not found");
        std::vector<ItemDefinition> items;
        if (found)
            items = ReadItemDefinitions(*found, &problem);
        if (items.empty())
            report << file + QStringLiteral(": ") + problem +
                          QStringLiteral("; its variables are listed without wording or labels");
        experiment.items.insert(ShortName(file).toLower(), std::move(items));
    }
    return true;
}

// The data files of the experiment in the folder: its name, then a machine code of up to
// three characters.
QStringList RecordFiles(const QString& folder, const QString& base) {
    QStringList files;
    const QStringList names =
        QDir(folder).entryList({QStringLiteral("*.csv")}, QDir::Files, QDir::Name);
    for (const QString& name : names) {
        const QString stem = name.chopped(4);
        if (stem.startsWith(base) && stem.size() - base.size() <= 3)
            files << QDir(folder).filePath(name);
    }
    return files;
}

void AddEntry(Section& section, const std::vector<ItemDefinition>* items, const QString& variable,
              int value, int time) {
    CodebookEntry entry;
    entry.questionnaire = section.questionnaire;
    entry.variable = variable;
    int index = 0;
    entry.item = items ? ItemOfColumn(*items, variable, &index) : nullptr;
    entry.hasValue = value >= 0;
    entry.hasTime = time >= 0;
    DescribeEntry(entry, index);
    section.entries.push_back(std::move(entry));
    section.valueColumn.push_back(value);
    section.timeColumn.push_back(time);
}

// Response columns come first, then the reaction times: a column is a reaction time once it
// can't be a response and its name less "t" is a variable of the questionnaire.
void ReadSectionColumns(Section& section, const QStringList& header, int end,
                        const std::vector<ItemDefinition>* items) {
    bool times = false;
    for (int column = section.nameColumn + 1; column < end; ++column) {
        const QString name = header.at(column);
        int index = 0;
        const bool response = items && ItemOfColumn(*items, name, &index);
        if (!times && (response || !name.endsWith(QLatin1Char('t'))))
            AddEntry(section, items, name, column, -1);
        else {
            times = true;
            const QString variable = name.chopped(1);
            auto known =
                std::find_if(section.entries.begin(), section.entries.end(),
                             [&](const CodebookEntry& e) { return e.variable == variable; });
            if (known != section.entries.end())
                section.timeColumn[std::size_t(known - section.entries.begin())] = column,
                                                       known->hasTime = true;
            else
                AddEntry(section, items, variable, -1, column);
        }
    }
}

std::vector<Section> ReadSections(const DataTable& table, const Experiment& experiment) {
    static const QRegularExpression marker(QStringLiteral("^que\\d+$"));
    std::vector<int> starts;
    for (int column = 0; column < table.header.size(); ++column) {
        if (marker.match(table.header.at(column)).hasMatch())
            starts.push_back(column);
    }
    QStringList sorted;
    for (const QString& file : experiment.questionnaireFiles)
        sorted << ShortName(file);
    sorted.sort(Qt::CaseSensitive);
    std::vector<Section> sections;
    for (std::size_t s = 0; s < starts.size(); ++s) {
        Section section;
        section.nameColumn = starts[s];
        section.questionnaire =
            !table.rows.empty()
                ? table.rows.front().at(starts[s])
                : (qsizetype(s) < sorted.size() ? sorted.at(qsizetype(s)) : QString());
        const auto found = experiment.items.find(section.questionnaire.toLower());
        const int end = s + 1 < starts.size() ? starts[s + 1] : int(table.header.size());
        ReadSectionColumns(section, table.header, end,
                           found != experiment.items.end() && !found->empty() ? &*found : nullptr);
        sections.push_back(std::move(section));
    }
    return sections;
}

QString Position(const OrderBlock* block, const QString& questionnaire,
                 const CodebookEntry& entry) {
    if (!block || !entry.item)
        return {};
    const auto shown = block->shown.constFind(questionnaire.toLower() + QStringLiteral(".que"));
    if (shown == block->shown.constEnd())
        return {};
    const qsizetype at = shown->indexOf(entry.item->variable);
    return at < 0 ? QString() : QString::number(at + 1);
}

QString Field(const QStringList& row, int column) {
    return column >= 0 && column < row.size() ? row.at(column) : QString();
}

// The long table's rows for one data file.
int AppendLongRows(QString& out, const DataTable& table, const std::vector<Section>& sections,
                   std::vector<OrderBlock>& blocks, const QStringList& questionnaires,
                   const QString& station) {
    int rows = 0;
    QHash<QString, int> runs;
    for (const QStringList& row : table.rows) {
        const QString subject = row.at(0);
        const QString condition = Field(row, 1);
        const int run = ++runs[subject];
        const OrderBlock* block = TakeOrderBlock(blocks, subject, condition, questionnaires);
        for (const Section& section : sections) {
            for (std::size_t e = 0; e < section.entries.size(); ++e) {
                const CodebookEntry& entry = section.entries[e];
                QString time = Field(row, section.timeColumn[e]);
                if (time == kMissingCode)
                    time.clear();
                out += CsvLine({subject, condition, QString::number(run), Field(row, 4),
                                Field(row, 5), station, section.questionnaire,
                                Position(block, section.questionnaire, entry), entry.variable,
                                Field(row, section.valueColumn[e]), time,
                                entry.item ? entry.item->type : QString()});
                ++rows;
            }
        }
    }
    return rows;
}

bool WriteText(const QString& path, const QString& text, QString* error) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
        *error = path + QStringLiteral(": ") + file.errorString();
        return false;
    }
    return true;
}

QString Encoding(const DataTable& table) {
    return table.legacy ? QStringLiteral("8-bit text") : QStringLiteral("UTF-8");
}

int CountVariableRows(const QString& folder, const QString& base, QStringList& report) {
    int total = 0;
    for (const QString& path : RecordFiles(folder, base)) {
        DataTable table;
        QString problem;
        if (!ReadDataTable(path, table, &problem)) {
            report << path + QStringLiteral(": ") + problem;
            continue;
        }
        report << QStringLiteral("read %1 rows from %2 (%3; the same runs by variable)")
                      .arg(table.rows.size())
                      .arg(path, Encoding(table));
        total += int(table.rows.size());
    }
    return total;
}

} // namespace

QString ExperimentBaseName(const QString& experimentPath) {
    QString base = QFileInfo(experimentPath).fileName().chopped(4);
    base.replace(QLatin1Char(' '), QLatin1Char('_'));
    if (experimentPath.endsWith(QLatin1String(".que"), Qt::CaseInsensitive))
        base += QStringLiteral("_que");
    return base;
}

TidyExportResult ExportTidy(const TidyExportOptions& options) {
    TidyExportResult result;
    const auto experimentPath = FindFile(QFileInfo(options.experiment).absoluteFilePath());
    if (!experimentPath) {
        result.error = options.experiment + QStringLiteral(": no such experiment or questionnaire");
        return result;
    }
    Experiment experiment;
    if (!ReadExperiment(*experimentPath, experiment, result.report, &result.error))
        return result;
    const QString data =
        options.dataFolder.isEmpty()
            ? QFileInfo(*experimentPath).absoluteDir().filePath(QStringLiteral("data"))
            : QFileInfo(options.dataFolder).absoluteFilePath();
    const QString byQuestionnaire = QDir(data).filePath(QStringLiteral("byquestionnaire"));
    const QStringList files = RecordFiles(byQuestionnaire, experiment.base);
    if (files.isEmpty()) {
        result.error = QStringLiteral("No data of ") + experiment.base + QStringLiteral(" in ") +
                       byQuestionnaire + QStringLiteral(" (looked for ") + experiment.base +
                       QStringLiteral(".csv, with or without a machine code). Name the data "
                                      "folder with --data if it is elsewhere.");
        return result;
    }
    int orderLines = 0;
    const QString orderPath = QDir(byQuestionnaire).filePath(QStringLiteral("question_order.csv"));
    std::vector<OrderBlock> blocks = ReadOrderBlocks(orderPath, &orderLines);
    result.report << QStringLiteral("read %1 lines (%2 runs) from %3")
                         .arg(orderLines)
                         .arg(blocks.size())
                         .arg(orderPath);

    QString longText = CsvLine(std::vector<QString>(LongColumns().begin(), LongColumns().end()));
    std::vector<CodebookEntry> codebook;
    QStringList seen;
    for (const QString& path : files) {
        DataTable table;
        QString problem;
        if (!ReadDataTable(path, table, &problem)) {
            result.error = path + QStringLiteral(": ") + problem;
            return result;
        }
        QString line = QStringLiteral("read %1 rows from %2 (%3)")
                           .arg(table.rows.size())
                           .arg(path, Encoding(table));
        if (table.joinedLines > 0)
            line += QStringLiteral("; %1 line breaks inside answers kept").arg(table.joinedLines);
        if (table.rowsTooLong > 0)
            line += QStringLiteral("; %1 rows with more fields than the header left out")
                        .arg(table.rowsTooLong);
        result.report << line;
        const std::vector<Section> sections = ReadSections(table, experiment);
        const QString station = QFileInfo(path).fileName().chopped(4).mid(experiment.base.size());
        result.longRows += AppendLongRows(longText, table, sections, blocks,
                                          experiment.questionnaireFiles, station);
        for (const Section& section : sections) {
            for (const CodebookEntry& entry : section.entries) {
                const QString key = section.questionnaire + QLatin1Char('/') + entry.variable;
                if (!seen.contains(key)) {
                    seen << key;
                    codebook.push_back(entry);
                }
            }
        }
    }
    CountVariableRows(QDir(data).filePath(QStringLiteral("byvariablename")), experiment.base,
                      result.report);

    QDir().mkpath(options.outFolder);
    const QDir out(QFileInfo(options.outFolder).absoluteFilePath());
    const QString longFile = experiment.base + QStringLiteral("_long.csv");
    const std::vector<std::pair<QString, QString>> outputs = {
        {longFile, longText},
        {experiment.base + QStringLiteral("_codebook.csv"), CodebookCsv(codebook)},
        {experiment.base + QStringLiteral("_codebook.md"),
         CodebookMarkdown(experiment.base, codebook)},
        {QStringLiteral("read_") + experiment.base + QStringLiteral(".R"),
         ReadingScript(experiment.base, longFile, codebook)}};
    for (const auto& [name, text] : outputs) {
        if (!WriteText(out.filePath(name), text, &result.error))
            return result;
        result.written << out.filePath(name);
    }
    result.report
        << QStringLiteral("wrote %1 rows to %2").arg(result.longRows).arg(out.filePath(longFile));
    result.ok = true;
    return result;
}

} // namespace corvane
