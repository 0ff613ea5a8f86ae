#include "launcher/new_experiment.h"

#include "definitions/csv.h"
#include "definitions/definition_writer.h"
#include "launcher/file_dialogs.h"
#include "state/error.h"
#include "state/message_boxes.h"
#include "state/program_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringList>

namespace corvane {

namespace {

// The version a questionnaire gets from `corvane-def create` when none is asked for.
constexpr double kQuestionnaireVersion = 4.0;

QString TemplatePath(const QString& name) {
    return ProgramFolder::FilePath(QStringLiteral("templates/") + name);
}

std::optional<QString> ReadTemplate(const QString& name, QString* problem) {
    const QString path = TemplatePath(name);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *problem = QStringLiteral("The template '") + path +
                   QStringLiteral("' can not be read. Reinstall Corvane to bring it back.");
        return std::nullopt;
    }
    QString encoding;
    std::optional<QString> text = DecodeCsv(file.readAll(), &encoding);
    if (!text)
        *problem = QStringLiteral("The template '") + path + QStringLiteral("' is ") + encoding +
                   QLatin1Char('.');
    return text;
}

// The single-questionnaire template's rows with the questionnaire in its file column.
std::optional<QString> ExperimentCsv(const QString& templateText, const QString& questionnaire,
                                     QString* problem) {
    std::vector<CsvRow> rows;
    try {
        rows = ParseCsv(templateText);
    } catch (const CsvError& error) {
        *problem = QStringLiteral("The template '") + TemplatePath(QStringLiteral("temp.csv")) +
                   QStringLiteral("' can not be read: ") + error.message;
        return std::nullopt;
    }
    std::size_t fileColumn = 0;
    while (rows.size() > 1 && fileColumn < rows[0].size() &&
           rows[0][fileColumn].text.trimmed().toLower() != QLatin1String("file"))
        ++fileColumn;
    if (rows.size() < 2 || fileColumn >= rows[0].size() || fileColumn >= rows[1].size()) {
        *problem = QStringLiteral("The template '") + TemplatePath(QStringLiteral("temp.csv")) +
                   QStringLiteral("' has no row with a file column. Reinstall Corvane.");
        return std::nullopt;
    }
    rows[1][fileColumn].text = questionnaire;
    QString text;
    for (const CsvRow& row : rows) {
        std::vector<QString> cells;
        for (const CsvCell& cell : row)
            cells.push_back(cell.text);
        text += CsvLine(cells);
    }
    return text;
}

bool WriteText(const QString& path, const QString& text, QString* problem) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit())
        return true;
    *problem = QStringLiteral("'") + path + QStringLiteral("' can not be written (") +
               file.errorString() + QStringLiteral("). Choose a folder you may write to.");
    return false;
}

QString Quoted(const QString& path) {
    return QLatin1Char('"') + QDir::toNativeSeparators(path) + QLatin1Char('"');
}

QString MadeText(const NewExperimentFiles& files) {
    return QStringLiteral("The experiment ") + Quoted(files.experiment) +
           QStringLiteral(" has been made, with its questionnaire ") + Quoted(files.questionnaire) +
           QStringLiteral(".\n\nTo change the items, edit ") + Quoted(files.questionnaireCsv) +
           QStringLiteral(" in a spreadsheet (one row an item) and make the questionnaire again "
                          "with:\n    corvane-def create ") +
           Quoted(files.questionnaire) + QLatin1Char(' ') + Quoted(files.questionnaireCsv) +
           QStringLiteral("\n\nThe conditions and the order of the files are in ") +
           Quoted(files.experimentCsv) +
           QStringLiteral(", made again with:\n    corvane-def create ") +
           Quoted(files.experiment) + QLatin1Char(' ') + Quoted(files.experimentCsv) +
           QStringLiteral("\n\nOpen the experiment now?");
}

} // namespace

NewExperimentFiles FilesOfNewExperiment(const QString& experimentPath) {
    const QFileInfo chosen(experimentPath);
    QString base = chosen.fileName();
    if (chosen.suffix().toLower() == QLatin1String("exp"))
        base.chop(4);
    const QDir folder = chosen.absoluteDir();
    return {folder.filePath(base + QStringLiteral(".exp")),
            folder.filePath(base + QStringLiteral("_exp.csv")),
            folder.filePath(base + QStringLiteral(".que")),
            folder.filePath(base + QStringLiteral(".csv"))};
}

QString MakeNewExperiment(const NewExperimentFiles& files) {
    const QStringList all{files.questionnaireCsv, files.questionnaire, files.experimentCsv,
                          files.experiment};
    for (const QString& path : all) {
        if (QFileInfo::exists(path))
            return QStringLiteral("'") + path +
                   QStringLiteral("' is there already, and nothing has been made. Choose another "
                                  "name for the new experiment.");
    }
    QString problem;
    const std::optional<QString> questionnaire =
        ReadTemplate(QStringLiteral("questionnaire.csv"), &problem);
    if (!questionnaire)
        return problem;
    const std::optional<QString> single = ReadTemplate(QStringLiteral("temp.csv"), &problem);
    if (!single)
        return problem;
    const std::optional<QString> experiment =
        ExperimentCsv(*single, QFileInfo(files.questionnaire).fileName(), &problem);
    if (!experiment)
        return problem;

    try {
        if (WriteText(files.questionnaireCsv, *questionnaire, &problem) &&
            WriteText(files.experimentCsv, *experiment, &problem)) {
            CreateDefinitionFile(files.questionnaire, files.questionnaireCsv, *questionnaire,
                                 DefinitionKind::Questionnaire, kQuestionnaireVersion);
            CreateDefinitionFile(files.experiment, files.experimentCsv, *experiment,
                                 DefinitionKind::Experiment, kQuestionnaireVersion);
            return QString();
        }
    } catch (const DefinitionInputError& error) {
        problem = error.Text();
    } catch (const CorvaneError& error) {
        problem = error.description();
    }
    // Half an experiment would stand in the way of the next try.
    for (const QString& path : all)
        QFile::remove(path);
    return problem;
}

std::optional<QString> AskForNewExperiment(QWidget* parent, FileDialogs& dialogs,
                                           MessageBoxes& boxes) {
    const QString chosen =
        dialogs.GetSaveFileName(parent, {QStringLiteral("Name and place of the new experiment"),
                                         QStringLiteral("Experiment (*.exp)|*.exp|"),
                                         QStringLiteral("my-study.exp"), OpenDialogFolder()});
    if (chosen.isEmpty())
        return std::nullopt;
    RememberOpenDialogFolder(chosen);
    const NewExperimentFiles files = FilesOfNewExperiment(chosen);
    const QString problem = MakeNewExperiment(files);
    if (!problem.isEmpty()) {
        boxes.Show(MessageBox{DefaultBoxTitle(), problem, BoxIcon::Warning});
        return std::nullopt;
    }
    const BoxAnswer answer =
        boxes.Show(MessageBox{DefaultBoxTitle(), MadeText(files), BoxIcon::Information,
                              BoxButtons::YesNo, BoxAnswer::Yes});
    if (answer != BoxAnswer::Yes)
        return std::nullopt;
    return files.experiment;
}

} // namespace corvane
