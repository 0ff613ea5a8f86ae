#include "output/recovery.h"

#include "definitions/experiment_loader.h"
#include "output/data_by_questionnaire.h"
#include "output/data_by_variable.h"
#include "output/data_file.h"
#include "output/questionnaire_syntax.h"
#include "output/run_journal.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace corvane {

namespace {

// The boxes of the run state that recovery reads the experiment into: while the experiment is
// read they are only collected, since they were shown when the run itself started; after that
// they go to the operator.
class RelayBoxes : public MessageBoxes {
public:
    explicit RelayBoxes(MessageBoxes& target) : m_target(target) {}
    BoxAnswer Show(const MessageBox& box) override {
        if (!collecting)
            return m_target.Show(box);
        collected << box.text;
        return box.defaultAnswer;
    }
    std::optional<QString> Input(const QString& title, const QString& prompt,
                                 const QString& defaultText) override {
        if (!collecting)
            return m_target.Input(title, prompt, defaultText);
        collected << prompt;
        return std::nullopt;
    }

    bool collecting = true;
    QStringList collected;

private:
    MessageBoxes& m_target;
};

// True while a running Corvane holds the journal: its run is under way.
bool HeldByRunningRun(const QString& path) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool held = ::flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    ::close(fd);
    return held;
}

QString AbsoluteClean(const QString& path) {
    return QDir::cleanPath(QFileInfo(ToLinuxSeparators(path)).absoluteFilePath());
}

// Whether the record that the journal says was about to be appended at `offset` got there
// before the run was cut short: the file grew past that size, and a line of what came after it
// starts with this run's record.
bool HasRecordAfter(const QString& path, qint64 offset, const QByteArray& head) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() <= offset || !file.seek(offset))
        return false;
    const QByteArray tail = file.readAll();
    qsizetype at = 0;
    while (at < tail.size()) {
        if (QByteArrayView(tail).sliced(at).startsWith(head))
            return true;
        const qsizetype end = tail.indexOf('\n', at);
        if (end < 0)
            break;
        at = end + 1;
    }
    return false;
}

// Whether all that follows `offset` in the file is one line, ended: the header and line end, or
// the line end alone, that a writer cut short put right before its row.
bool RowOpenedAfter(const QString& path, qint64 offset) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() <= offset || !file.seek(offset))
        return false;
    const QByteArray tail = file.readAll();
    return tail.endsWith("\r\n") && tail.indexOf('\n') == tail.size() - 1;
}

// The part of a record's head that doesn't depend on the moment it was written.
QByteArray TxtHead(const RunState& state, const QString& inifile) {
    const QString separator = QStringLiteral("','");
    return EncodeForFile(QLatin1Char('\'') + state.SubjectID + separator + state.ConditionID +
                         separator + state.ExperimentFile + separator + inifile + separator);
}

QByteArray CsvHead(const RunState& state, const QString& inifile) {
    return EncodeForFile(
        QStringList{state.SubjectID, state.ConditionID, state.ExperimentFile, inifile, QString()}
            .join(QLatin1Char(',')));
}

// The files of a record that don't hold it yet. Before the writer was noted nothing of the
// record can be there; after, each file holds it when a line written since starts with it.
RecordTargets MissingFrom(const RunState& state, RecordKind kind, const JournalWriting& writing,
                          const DataOutputSettings& settings) {
    if (!writing.noted)
        return RecordTargets{};
    const RecordFiles files = RecordFilesOf(state, kind, settings.machineCode);
    RecordTargets targets{
        !HasRecordAfter(files.txt, writing.txtSize, TxtHead(state, settings.inifile)),
        !HasRecordAfter(files.csv, writing.csvSize, CsvHead(state, settings.inifile))};
    // The writer by variable puts the row's line end in just before the row.
    targets.csvRowOpened =
        kind == RecordKind::ByVariable && targets.csv && RowOpenedAfter(files.csv, writing.csvSize);
    return targets;
}

// The experiment's file name as the run driver hands it to the writers.
QString AsWritersName(const QString& fileName) {
    return QString(fileName.left(qMax(qsizetype(0), fileName.size() - 4)))
        .replace(QLatin1Char(' '), QLatin1Char('_'));
}

// Whether the .csv by questionnaire of the experiment loaded in `state` (its file name still
// with its ending) is missing or empty.
bool ByQuestionnaireCsvIsEmpty(RunState& state, const QString& machineCode) {
    const QString loaded = state.ExperimentFileName;
    state.ExperimentFileName = AsWritersName(loaded);
    const QFileInfo csv(RecordFilesOf(state, RecordKind::ByQuestionnaire, machineCode).csv);
    state.ExperimentFileName = loaded;
    return !csv.exists() || csv.size() == 0;
}

// The data root of a journal that lies in its data folder's journal or recovered folder.
QString RootHoldingJournal(const QString& journal) {
    QDir folder = QFileInfo(AbsoluteClean(journal)).dir();
    const QString leaf = folder.dirName();
    if ((leaf != QLatin1String(".journal") && leaf != QLatin1String("recovered")) ||
        !folder.cdUp() || folder.dirName() != QLatin1String("data") || !folder.cdUp())
        return QString();
    return QDir::cleanPath(folder.absolutePath());
}

// A journal is read from disk like any input: it may steer the writes only into a data folder
// of this experiment, and only to files of the experiment's own name.
QString WhyNotOurs(const JournalContents& contents, const QString& journal, QStringList dataRoots) {
    const QString& name = contents.experimentFileName;
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\')) ||
        name == QLatin1String(".") || name == QLatin1String(".."))
        return QStringLiteral("the journal names the experiment file '") + name +
               QStringLiteral("', which is not a plain file name; nothing is written.");
    dataRoots << RootHoldingJournal(journal);
    for (const QString& root : dataRoots) {
        if (!root.isEmpty() && AbsoluteClean(root) == AbsoluteClean(contents.dataRoot))
            return QString();
    }
    return QStringLiteral("the journal names the data folder '") + contents.dataRoot +
           QStringLiteral("', which is not a data folder of this experiment; nothing is written.");
}

// The run's block of question_order.csv, unless it got there before the run was cut short.
bool WriteOrder(RunState& state, const JournalContents& contents, RunJournal& journal) {
    const JournalWriting& writing = contents.writing[std::size_t(RecordKind::Order)];
    const QString path = RecordFilesOf(state, RecordKind::Order, QString()).txt;
    if (writing.noted &&
        HasRecordAfter(path, writing.txtSize, EncodeForFile(contents.orderHeader))) {
        journal.NoteWritten(RecordKind::Order, true);
        return true;
    }
    return journal.WriteRecord(RecordKind::Order, QString(), [&] {
        QDir().mkpath(QFileInfo(path).path());
        AppendFile file(path);
        FileFault fault = file.Open();
        if (fault == FileFault::None)
            fault = file.Append(EncodeForFile(contents.OrderText()));
        if (fault == FileFault::None && file.Close())
            return true;
        state.Boxes().Show(
            MessageBox{state.MessageTitle(),
                       QStringLiteral("The order of this run could not be added to '") + path +
                           QStringLiteral("' (") + file.Reason() + QStringLiteral(")."),
                       BoxIcon::Warning});
        return false;
    });
}

QString CsvField(const QString& text) {
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')))
        return text;
    return QLatin1Char('"') + QString(text).replace(QLatin1Char('"'), QStringLiteral("\"\"")) +
           QLatin1Char('"');
}

// One row of data/recovered/recovered.csv, so that recovered records can be told from whole
// ones. Empty when written, else what the operator should know.
QString ListRecovered(const QString& dataRoot, const JournalContents& contents) {
    const QString folder = RecoveredFolder(dataRoot);
    const QString path = QDir(folder).filePath(QStringLiteral("recovered.csv"));
    QDir().mkpath(folder);
    AppendFile file(path);
    FileFault fault = file.Open();
    if (fault == FileFault::None) {
        QString row;
        if (QFileInfo(path).size() == 0)
            row = QStringLiteral("subject,condition,started,recovered,items\r\n");
        row += QStringList{CsvField(contents.subject), CsvField(contents.condition),
                           contents.started, QDateTime::currentDateTime().toString(Qt::ISODate),
                           QString::number(contents.ItemCount())}
                   .join(QLatin1Char(',')) +
               QStringLiteral("\r\n");
        fault = file.Append(EncodeForFile(row), true);
    }
    if (fault == FileFault::None && file.Close())
        return QString();
    return QStringLiteral("The record could not be listed in '") + path + QStringLiteral("' (") +
           file.Reason() + QStringLiteral(").");
}

void Recover(RunState& caller, const QString& path, const QStringList& dataRoots,
             RecoveryResult& result) {
    RunState state;
    auto relay = std::make_unique<RelayBoxes>(caller.Boxes());
    RelayBoxes& boxes = *relay;
    state.SetBoxes(std::move(relay));
    state.SetRandom(std::make_unique<StandardRandomSource>(0));
    state.Messages = caller.Messages;

    QString problem;
    // Held from here on, so that no other Corvane writes the same record at the same time.
    const std::unique_ptr<RunJournal> journal = RunJournal::Reopen(state, path, &problem);
    if (!journal) {
        result.problem =
            QStringLiteral("the journal can not be opened (") + problem + QStringLiteral(").");
        return;
    }
    const std::optional<JournalContents> contents = ReadJournal(path, &problem);
    if (!contents) {
        result.problem =
            QStringLiteral("the journal can not be read (") + problem + QStringLiteral(").");
        return;
    }
    if (const QString refused = WhyNotOurs(*contents, path, dataRoots); !refused.isEmpty()) {
        result.problem = refused;
        return;
    }
    result.responses = contents->ResponseCount();
    result.times = contents->TimeCount();
    if (contents->ignoredLines > 0)
        result.note = QStringLiteral("%1 line(s) of the journal were cut off or damaged and have "
                                     "been passed over.")
                          .arg(contents->ignoredLines);

    state.ExperimentFile = contents->experimentFile;
    state.ExperimentFileName = contents->experimentFileName;
    state.ExperimentFolder = contents->experimentFolder;
    state.DataRoot = contents->dataRoot;
    state.SubjectID = contents->subject;
    state.ConditionID = contents->condition;

    if (!contents->AllWritten()) {
        if (!FindFile(state.ExperimentFile)) {
            result.problem = QStringLiteral("the experiment '") + state.ExperimentFile +
                             QStringLiteral("' is no longer there, and its variables are needed "
                                            "to lay out the record.");
            return;
        }
        // Questionnaires are named relative to the experiment, as when the run was started.
        if (!QDir::setCurrent(state.ExperimentFolder)) {
            result.problem = QStringLiteral("the folder '") + state.ExperimentFolder +
                             QStringLiteral("' can not be entered.");
            return;
        }
        ExperimentNeeds needs;
        ExperimentLoadHooks hooks;
        // A run cut short between its journal and its load's header leaves a .csv with no
        // header: the load's step is done now, as the run would have, so the record has one.
        hooks.WriteQuestionnaireSyntax = [&state, &contents] {
            if (ByQuestionnaireCsvIsEmpty(state, contents->settings.machineCode))
                WriteQuestionnaireSyntax(state, contents->settings);
        };
        if (!ReadExperimentInfo(state, hooks, needs)) {
            result.problem = QStringLiteral("the experiment can not be read again: ") +
                             boxes.collected.value(boxes.collected.size() - 1);
            return;
        }
        bool sameQuestionnaires =
            contents->questionnaires.size() == state.QuestionnaireNames.size();
        for (qsizetype q = 1; sameQuestionnaires && q < contents->questionnaires.size(); ++q)
            sameQuestionnaires = contents->questionnaires.at(q) == state.QuestionnaireNames.at(q);
        if (!sameQuestionnaires) {
            result.problem = QStringLiteral("the experiment has changed since the run: it now "
                                            "holds the questionnaires ") +
                             state.QuestionnaireNames.mid(1).join(QStringLiteral(", ")) +
                             QStringLiteral(", the run had ") +
                             contents->questionnaires.mid(1).join(QStringLiteral(", ")) +
                             QLatin1Char('.');
            return;
        }
        if (!ReplayJournal(state, *contents, &problem)) {
            result.problem = problem;
            return;
        }
    }

    boxes.collecting = false;
    state.ExperimentFileName = AsWritersName(state.ExperimentFileName);
    const DataOutputSettings& settings = contents->settings;

    bool allWritten = true;
    for (const RecordKind kind : {RecordKind::ByQuestionnaire, RecordKind::ByVariable}) {
        const JournalWriting& writing = contents->writing[std::size_t(kind)];
        if (writing.written)
            continue;
        // Each file on its own: the run may have been cut short, or a write may have failed,
        // between the two files of a record.
        const RecordTargets targets = MissingFrom(state, kind, writing, settings);
        if (!targets.txt && !targets.csv) {
            journal->NoteWritten(kind, true);
            continue;
        }
        const bool written = journal->WriteRecord(kind, settings.machineCode, [&] {
            return kind == RecordKind::ByQuestionnaire
                       ? WriteDataByQuestionnaire(state, settings, targets)
                       : WriteDataByVariable(state, settings, targets);
        });
        allWritten = allWritten && written;
    }
    if (!contents->orderHeader.isEmpty() && !contents->writing[2].written)
        allWritten = WriteOrder(state, *contents, *journal) && allWritten;
    if (!allWritten) {
        result.problem = QStringLiteral("the record could not be written to every data file.");
        return;
    }
    result.recovered = true;
    if (const QString listed = ListRecovered(state.DataRoot, *contents); !listed.isEmpty())
        result.note += (result.note.isEmpty() ? QString() : QStringLiteral(" ")) + listed;
    if (!journal->MoveTo(RecoveredFolder(state.DataRoot), &result.journal))
        result.note += (result.note.isEmpty() ? QString() : QStringLiteral(" ")) +
                       QStringLiteral("The journal could not be moved to '") +
                       RecoveredFolder(state.DataRoot) +
                       QStringLiteral("'; it says that its record is written, so it is not "
                                      "offered again.");
}

} // namespace

namespace {

QStringList FindUnfinishedRunsIn(const QString& journalFolder, const QString& experimentFile) {
    const QDir folder(journalFolder);
    const QStringList names =
        folder.entryList({QStringLiteral("*.journal")}, QDir::Files | QDir::Hidden, QDir::Name);
    std::vector<std::pair<QString, QString>> found; // started, path
    for (const QString& name : names) {
        const QString path = folder.filePath(name);
        if (HeldByRunningRun(path))
            continue;
        const auto contents = ReadJournal(path);
        if (!contents || contents->AllWritten())
            continue;
        if (!experimentFile.isEmpty() &&
            AbsoluteClean(contents->experimentFile) != AbsoluteClean(experimentFile))
            continue;
        found.emplace_back(contents->started, path);
    }
    std::stable_sort(found.begin(), found.end());
    QStringList paths;
    for (const auto& [started, path] : found)
        paths << path;
    return paths;
}

} // namespace

QStringList FindUnfinishedRuns(const QString& dataRoot, const QString& experimentFile) {
    return FindUnfinishedRunsIn(JournalFolder(dataRoot), experimentFile);
}

QStringList DataRootsOf(const RunState& state, const QString& alternateDataFolder) {
    QStringList roots;
    if (!alternateDataFolder.isEmpty()) {
        const QString& name = state.ExperimentFileName;
        roots << QDir::cleanPath(ToLinuxSeparators(alternateDataFolder) + QLatin1Char('/') +
                                 name.left(qMax(qsizetype(0), name.size() - 4)));
    }
    roots << QDir::cleanPath(state.ExperimentFolder);
    roots.removeDuplicates();
    return roots;
}

QStringList FindUnfinishedRunsOf(const RunState& state, const QString& alternateDataFolder) {
    QStringList paths;
    for (const QString& root : DataRootsOf(state, alternateDataFolder))
        paths << FindUnfinishedRuns(root, state.ExperimentFile);
    paths << FindUnfinishedRunsIn(FallbackJournalFolder(), state.ExperimentFile);
    paths.removeDuplicates();
    return paths;
}

bool ReplayJournal(RunState& state, const JournalContents& contents, QString* problem) {
    auto fail = [problem](const QString& text) {
        if (problem)
            *problem = text;
        return false;
    };
    // Every place first, so that the tables are filled whole or not at all.
    for (const JournalEntry& entry : contents.entries) {
        const QString place = QStringLiteral("questionnaire %1, item %2, variable %3")
                                  .arg(entry.q)
                                  .arg(entry.i)
                                  .arg(entry.k);
        try {
            const VariableColumn column = state.Variables.Column(entry.q, entry.i, entry.k);
            if (column.name != entry.name)
                return fail(QStringLiteral("the experiment has changed since the run: the run "
                                           "stored '") +
                            entry.name + QStringLiteral("' at ") + place +
                            QStringLiteral(", where the experiment now has '") + column.name +
                            QStringLiteral("'."));
            state.Responses().Value(entry.q, entry.i, entry.k);
        } catch (const CorvaneError&) {
            return fail(QStringLiteral("the experiment has changed since the run: the run "
                                       "stored '") +
                        entry.name + QStringLiteral("' at ") + place +
                        QStringLiteral(", which the experiment no longer has."));
        }
    }
    for (const JournalEntry& entry : contents.entries) {
        if (entry.time) {
            state.StoreResponseTime(entry.q, entry.i, entry.k, entry.ms);
            continue;
        }
        VariableColumn column = state.Variables.Column(entry.q, entry.i, entry.k);
        if (column.type != entry.type) {
            // An answer that the participant had to specify in words made its column text.
            column.type = entry.type;
            state.Variables.SetColumn(entry.q, entry.i, entry.k, column);
        }
        state.StoreResponse(entry.q, entry.i, entry.k, entry.value);
    }
    return true;
}

RecoveryResult RecoverRun(RunState& state, const QString& journal, const QStringList& dataRoots) {
    RecoveryResult result;
    result.journal = journal;
    const QString working = QDir::currentPath();
    try {
        Recover(state, journal, dataRoots, result);
    } catch (const std::exception& error) {
        result.recovered = false;
        result.problem = QString::fromLocal8Bit(error.what());
    }
    QDir::setCurrent(working);
    return result;
}

QString DescribeUnfinishedRun(const JournalContents& contents) {
    const int responses = contents.ResponseCount();
    return QStringLiteral("participant ") + contents.subject + QStringLiteral(", condition ") +
           contents.condition + QStringLiteral(", experiment '") + contents.experimentFileName +
           QStringLiteral("', started ") + contents.settings.date + QStringLiteral(" at ") +
           contents.settings.time + QStringLiteral(", ") + QString::number(responses) +
           (responses == 1 ? QStringLiteral(" response") : QStringLiteral(" responses")) +
           QStringLiteral(" stored");
}

bool OfferRecovery(RunState& state, const QString& journal, const QStringList& dataRoots) {
    const auto contents = ReadJournal(journal);
    if (!contents)
        return false;
    const QString found =
        contents->ended
            ? QStringLiteral("Corvane found the responses of a run whose record could not be "
                             "written to every data file: ")
            : QStringLiteral("Corvane found the responses of a run that did not end: ");
    const BoxAnswer answer = state.Boxes().Show(MessageBox{
        state.MessageTitle(),
        found + DescribeUnfinishedRun(*contents) +
            QStringLiteral(". Write this participant's record to the data files with what was "
                           "collected? Anything not answered is written as 99. (No keeps the "
                           "responses, and Corvane asks again next time.)"),
        BoxIcon::Question, BoxButtons::YesNo, BoxAnswer::Yes});
    if (answer != BoxAnswer::Yes)
        return false;
    const RecoveryResult result = RecoverRun(state, journal, dataRoots);
    if (result.recovered) {
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("The record of participant ") + contents->subject +
                QStringLiteral(" has been written to the data files. The journal of the run is "
                               "kept in '") +
                result.journal + QStringLiteral("'.") +
                (result.note.isEmpty() ? QString() : QLatin1Char(' ') + result.note),
            BoxIcon::Information});
        return true;
    }
    state.Boxes().Show(MessageBox{
        state.MessageTitle(),
        QStringLiteral("The record of participant ") + contents->subject +
            QStringLiteral(" could not be written: ") + result.problem +
            QStringLiteral(" The journal stays in '") + journal +
            QStringLiteral("', and Corvane offers it again when this experiment is next opened.") +
            (result.note.isEmpty() ? QString() : QLatin1Char(' ') + result.note),
        BoxIcon::Warning});
    return false;
}

int OfferRecoveries(RunState& state, const QString& alternateDataFolder) {
    int recovered = 0;
    const QStringList dataRoots = DataRootsOf(state, alternateDataFolder);
    for (const QString& journal : FindUnfinishedRunsOf(state, alternateDataFolder)) {
        if (OfferRecovery(state, journal, dataRoots))
            ++recovered;
    }
    return recovered;
}

} // namespace corvane
