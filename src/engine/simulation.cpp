#include "engine/simulation.h"

#include "definitions/csv.h"
#include "definitions/definition_store.h"
#include "engine/run_session.h"
#include "engine/simulated_answers.h"
#include "engine/simulation_report.h"
#include "engine/unattended_run.h"
#include "output/data_file.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextStream>
#include <QWidget>
#include <cmath>
#include <random>

namespace corvane {

namespace {

constexpr int kMostPresentations = 50; // of one item to one participant: a loop
constexpr int kMostAttempts = 3;       // input for one item before it counts as stuck
constexpr int kMostEmptyLooks = 20;    // looks at a run with no item form before giving up
constexpr double kTimeLimitShare = 0.15;
constexpr int kPastTheLimitMs = 1500;
constexpr double kMedianResponseMs = 1500.0;
constexpr double kResponseSpread = 0.5; // sigma of the log of the response time

// The copy is thrown away: its files need not wait for the disk, which would cost most of a
// simulated participant's time. Restored when the simulation ends.
class NoDiskSync {
public:
    NoDiskSync() : m_saved(DiskSync()), m_savedFolder(FolderSync()) {
        DiskSync() = [](int) { return 0; };
        FolderSync() = [](int) { return 0; };
    }
    ~NoDiskSync() {
        DiskSync() = m_saved;
        FolderSync() = m_savedFolder;
    }
    NoDiskSync(const NoDiskSync&) = delete;
    NoDiskSync& operator=(const NoDiskSync&) = delete;

private:
    DiskSyncCall m_saved;
    DiskSyncCall m_savedFolder;
};

void CopyFolder(const QString& from, const QString& to) {
    QDir().mkpath(to);
    const QDir source(from);
    for (const QFileInfo& entry :
         source.entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden)) {
        // Earlier data stay where they are: the simulation writes its own.
        if (entry.isDir() && entry.fileName().toLower() == QLatin1String("data"))
            continue;
        const QString target = QDir(to).filePath(entry.fileName());
        if (entry.isDir())
            CopyFolder(entry.absoluteFilePath(), target);
        else
            QFile::copy(entry.absoluteFilePath(), target);
    }
}

QStringList ConditionsOf(const QString& experiment) {
    QStringList conditions;
    if (LastChars(experiment, 3).toLower() == QLatin1String("que"))
        return {QStringLiteral("1")};
    RecordSet rows = ReadExperimentRowsAsStored(experiment);
    if (rows.RecordCount() == 0)
        return conditions;
    for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) {
        const FieldValue& cell = rows.Field(QStringLiteral("Condition"));
        const QString condition = cell.IsNull() ? QString() : cell.ToText().trimmed();
        if (!conditions.contains(condition))
            conditions << condition;
    }
    return conditions;
}

// One simulated participant: answers what is on the screen, and notes what it saw.
class Participant {
public:
    Participant(SimulationTally& tally, QString condition, quint64 seed)
        : m_tally(tally), m_condition(std::move(condition)), m_random(seed) {}

    std::vector<ScriptAction> Next(const RunState& state, const RunSession& session) {
        QWidget* form = session.CurrentForm();
        if (!form || state.CurrentQuestion < 1 ||
            state.CurrentQuestion >= int(state.Questions.size())) {
            if (++m_emptyLooks > kMostEmptyLooks)
                return Stop(QStringLiteral("no item form came up; the run was ended"));
            return Lines({QStringLiteral("wait 100")});
        }
        m_emptyLooks = 0;
        const Question& item = state.Questions[std::size_t(state.CurrentQuestion)];
        const QString questionnaire = QFileInfo(state.QuestionnaireFile).fileName();
        const QString place = questionnaire + QLatin1Char('#') +
                              QString::number(state.QuestionStep) + QLatin1Char('#') +
                              QString::number(state.CurrentQuestion);
        if (place != m_place) {
            // The item before ended while the participant still waited: its limit fired.
            if (m_limit > 0 && m_waitedMs > m_limit)
                m_tally.questionnaires[m_lastQuestionnaire].timeLimits[m_lastVariable] += 1;
            m_waitedOut = false;
            m_waitedMs = 0;
            m_limit = item.Duration;
            Arrived(state, questionnaire, item);
            m_place = place;
            m_attempts = 0;
        } else if (m_waitedOut) {
            m_waitedOut = false; // the limit didn't end it: answer after all
        } else {
            ++m_attempts;
        }
        if (m_stopped)
            return {};
        if (m_attempts >= kMostAttempts) {
            m_tally.stuck[questionnaire + QStringLiteral(": ") + item.VariableName] += 1;
            return Stop(QStringLiteral("the item '") + item.VariableName +
                        QStringLiteral("' took none of the simulated answers"));
        }
        const AnswerGenerator* generate = FindAnswerGenerator(item.QuestionType);
        if (!generate) {
            m_tally.notSimulated[Normalised(item.QuestionType)] += 1;
            return Stop(QStringLiteral("items of the type '") + item.QuestionType +
                        QStringLiteral("' are not simulated"));
        }
        if (m_attempts == 0 && item.Duration > 0 && Chance(kTimeLimitShare)) {
            m_waitedOut = true;
            // The limit is looked at once a second: the wait goes past the look after it.
            m_waitedMs += item.Duration + kPastTheLimitMs;
            return Lines(
                {QStringLiteral("wait ") + QString::number(item.Duration + kPastTheLimitMs)});
        }
        // A limit fires only when the participant is meant to let it: an answer comes before.
        const int wait = item.Duration > 0
                             ? std::min(ResponseTime(), std::max(100, item.Duration - 500))
                             : ResponseTime();
        m_waitedMs += wait;
        QStringList lines{QStringLiteral("wait ") + QString::number(wait)};
        lines << (*generate)(item, m_random, m_attempts);
        return Lines(lines);
    }

    QString StopReason() const { return m_stopReason; }

private:
    bool Chance(double share) {
        return std::uniform_real_distribution<double>(0.0, 1.0)(m_random) < share;
    }

    int ResponseTime() {
        std::lognormal_distribution<double> spread(std::log(kMedianResponseMs), kResponseSpread);
        return std::clamp(int(spread(m_random)), 150, 30000);
    }

    std::vector<ScriptAction> Lines(const QStringList& lines) {
        return ParseRunScript(lines.join(QLatin1Char('\n')));
    }

    std::vector<ScriptAction> Stop(const QString& reason) {
        m_stopped = true;
        m_stopReason = reason;
        return {};
    }

    void Arrived(const RunState& state, const QString& questionnaire, const Question& item) {
        QuestionnaireTally& tally = m_tally.questionnaires[questionnaire];
        if (tally.items.isEmpty())
            tally.Define(state.Questions, state.NumQuestions);
        // The jump that brought the walk here, if one did.
        if (questionnaire == m_lastQuestionnaire && !m_lastVariable.isEmpty() &&
            !state.SkipTarget.isEmpty() && state.SkipTarget != QLatin1String("none") &&
            state.SkipTarget.toLower() == item.VariableName.toLower())
            tally.TakeSkip(m_lastVariable, item.VariableName);
        tally.presented[m_condition][item.VariableName] += 1;
        if (++m_presentations[questionnaire + QLatin1Char('#') + item.VariableName] >
            kMostPresentations) {
            m_tally.loops << QStringLiteral("'") + item.VariableName + QStringLiteral("' of ") +
                                 questionnaire +
                                 QStringLiteral(" came up more than %1 times to one "
                                                "participant; the run was stopped")
                                     .arg(kMostPresentations);
            Stop(QStringLiteral("a loop"));
        }
        m_lastQuestionnaire = questionnaire;
        m_lastVariable = item.VariableName;
    }

    SimulationTally& m_tally;
    QString m_condition;
    std::mt19937_64 m_random;
    QString m_place;
    int m_attempts = 0;
    int m_emptyLooks = 0;
    bool m_waitedOut = false;
    qint64 m_waitedMs = 0; // on the item on the screen
    qint32 m_limit = 0;    // its time limit
    QString m_lastQuestionnaire;
    QString m_lastVariable;
    QHash<QString, int> m_presentations;
    bool m_stopped = false;
    QString m_stopReason;
};

void TallyMessages(const QString& logPath, SimulationTally& tally) {
    QFile log(logPath);
    if (!log.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    for (const QString& line : QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'))) {
        const QStringList parts = line.split(QLatin1Char('\t'));
        if (parts.size() < 2 || parts.at(0) == QLatin1String("corvane"))
            continue;
        tally.messages[parts.at(1)] += 1;
    }
}

void TallyOrder(const QString& dataFolder, SimulationTally& tally) {
    QDirIterator files(dataFolder, {QStringLiteral("question_order.csv")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            continue;
        for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
            const QStringList fields = line.trimmed().split(QLatin1Char(','));
            if (fields.size() < 5)
                continue;
            // The first line of a run lists its files; the others a questionnaire's items.
            const QStringList rest = fields.mid(4);
            if (std::all_of(rest.begin(), rest.end(),
                            [](const QString& f) { return f.contains(QLatin1Char('.')); }))
                continue;
            QuestionnaireTally& q = tally.questionnaires[QFileInfo(fields.at(3)).fileName()];
            for (const QString& variable : rest)
                q.reached[variable] += 1;
        }
    }
}

void TallyDataFiles(const QString& dataFolder, SimulationTally& tally) {
    QDirIterator files(dataFolder, {QStringLiteral("*.csv")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        const QString shown = QDir(dataFolder).relativeFilePath(path);
        const QString name = QFileInfo(path).fileName();
        if (name == QLatin1String("question_order.csv") ||
            name.endsWith(QLatin1String("_keypress.csv")))
            continue;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        DataFileTally data;
        data.file = shown;
        const std::vector<CsvRow> rows = ParseCsv(QString::fromUtf8(file.readAll()));
        if (!rows.empty()) {
            data.columns = int(rows.front().size());
            for (const CsvCell& cell : rows.front())
                data.header << cell.text;
        }
        for (std::size_t r = 1; r < rows.size(); ++r) {
            ++data.rows;
            if (int(rows[r].size()) != data.columns)
                data.badRows << int(r + 1);
        }
        tally.dataFiles.push_back(data);
    }
    QDirIterator syntax(dataFolder, {QStringLiteral("*.sps")}, QDir::Files,
                        QDirIterator::Subdirectories);
    const QString pspp = QStandardPaths::findExecutable(QStringLiteral("pspp"));
    while (syntax.hasNext()) {
        const QString path = syntax.next();
        SyntaxTally check;
        check.file = QDir(dataFolder).relativeFilePath(path);
        if (pspp.isEmpty()) {
            check.checked = false;
            tally.syntaxFiles.push_back(check);
            continue;
        }
        QProcess run;
        run.setWorkingDirectory(QFileInfo(path).absolutePath());
        run.start(pspp, {QStringLiteral("-O"), QStringLiteral("format=txt"), QStringLiteral("-o"),
                         QStringLiteral("/dev/null"), QFileInfo(path).fileName()});
        check.checked = run.waitForFinished(60000);
        const QString said = QString::fromUtf8(run.readAllStandardOutput()) +
                             QString::fromUtf8(run.readAllStandardError());
        // A message goes on over the lines that follow it, indented or not, up to the next.
        bool inMessage = false;
        for (const QString& line : said.split(QLatin1Char('\n'))) {
            if (line.contains(QLatin1String(": error:")) ||
                line.contains(QLatin1String(": warning:"))) {
                check.problems << line.trimmed();
                inMessage = true;
            } else if (inMessage && !line.trimmed().isEmpty() &&
                       !line.contains(QLatin1String(": note:"))) {
                check.problems.last() += QLatin1Char(' ') + line.trimmed();
            } else {
                inMessage = false;
            }
        }
        tally.syntaxFiles.push_back(check);
    }
}

} // namespace

void QuestionnaireTally::Define(const std::vector<Question>& questions, int count) {
    for (int i = 1; i <= count; ++i) {
        const Question& item = questions[std::size_t(i)];
        items << item.VariableName;
        QStringList targets{item.skip};
        for (int n = 1; n <= 12; ++n)
            targets << item.skips[std::size_t(n)];
        for (const QString& target : targets) {
            if (target.isEmpty() || target == QLatin1String("none"))
                continue;
            SkipTally skip{item.VariableName, target, 0, false};
            bool later = false;
            bool known = false;
            for (int j = 1; j <= count; ++j) {
                if (questions[std::size_t(j)].VariableName.toLower() != target.toLower())
                    continue;
                known = true;
                later = later || j > i;
            }
            skip.backwards = known && !later;
            skip.unknown = !known;
            const bool listed = std::any_of(skips.begin(), skips.end(), [&](const SkipTally& s) {
                return s.from == skip.from && s.to.toLower() == skip.to.toLower();
            });
            if (!listed)
                skips.push_back(skip);
        }
    }
}

void QuestionnaireTally::TakeSkip(const QString& from, const QString& to) {
    for (SkipTally& skip : skips)
        if (skip.from == from && skip.to.toLower() == to.toLower())
            ++skip.taken;
}

int RunSimulation(const SimulationOptions& options) {
    QTextStream err(stderr);
    const auto found = FindFile(QFileInfo(options.experiment).absoluteFilePath());
    if (!found) {
        err << options.experiment << ": no such experiment or questionnaire" << Qt::endl;
        return 2;
    }
    QTemporaryDir copy;
    if (!copy.isValid()) {
        err << "corvane simulate: no temporary folder can be made" << Qt::endl;
        return 2;
    }
    const QString folder = copy.filePath(QStringLiteral("experiment"));
    CopyFolder(QFileInfo(*found).absolutePath(), folder);
    const QString experiment = QDir(folder).filePath(QFileInfo(*found).fileName());

    SimulationTally tally;
    tally.experiment = QFileInfo(*found).fileName();
    tally.seed = options.seed;
    try {
        tally.conditions =
            options.conditions.isEmpty() ? ConditionsOf(experiment) : options.conditions;
    } catch (const CorvaneError& error) {
        err << options.experiment << ": " << error.description() << Qt::endl;
        return 2;
    }
    if (tally.conditions.isEmpty()) {
        err << options.experiment << ": the experiment has no condition" << Qt::endl;
        return 2;
    }
    const QString html =
        QFileInfo(options.report.isEmpty() ? QStringLiteral("simulation.html") : options.report)
            .absoluteFilePath();
    const QString keep =
        options.keep.isEmpty() ? QString() : QFileInfo(options.keep).absoluteFilePath();
    NoDiskSync noSync;
    QElapsedTimer clock;
    clock.start();
    for (int p = 1; p <= options.participants; ++p) {
        const QString condition = tally.conditions.at((p - 1) % tally.conditions.size());
        Participant participant(tally, condition, options.seed * 1000003u + quint64(p));
        UnattendedOptions run;
        run.experiment = experiment;
        run.subject = QString::number(p);
        run.condition = condition;
        run.seed = options.seed + quint64(p);
        run.virtualClock = true;
        run.messageLog = copy.filePath(QStringLiteral("messages.log"));
        run.timeoutSeconds = 120;
        run.moreInput = [&](const RunState& state, const RunSession& session) {
            return participant.Next(state, session);
        };
        QFile::remove(run.messageLog);
        const int status = RunUnattended(run);
        TallyMessages(run.messageLog, tally);
        ParticipantTally result{p, condition, status, participant.StopReason()};
        tally.participants.push_back(result);
    }
    tally.seconds = double(clock.elapsed()) / 1000.0;
    const QString data = QDir(folder).filePath(QStringLiteral("data"));
    TallyOrder(data, tally);
    TallyDataFiles(data, tally);
    if (!keep.isEmpty())
        CopyFolder(data, keep);

    QString problem;
    if (!WriteSimulationReport(tally, html, &problem)) {
        err << problem << Qt::endl;
        return 2;
    }
    QTextStream(stdout) << SimulationSummary(tally) << Qt::endl;
    const bool allEnded =
        std::all_of(tally.participants.begin(), tally.participants.end(),
                    [](const ParticipantTally& t) { return t.stopReason.isEmpty(); });
    return allEnded && tally.loops.isEmpty() ? 0 : 1;
}

int RunSimulateCommand(const QStringList& arguments) {
    QTextStream err(stderr);
    SimulationOptions options;
    QStringList args = arguments;
    auto value = [&](const QString& flag, QString& into) {
        const qsizetype at = args.indexOf(flag);
        if (at < 0)
            return true;
        if (at + 1 >= args.size())
            return false;
        into = args.at(at + 1);
        args.remove(at, 2);
        return true;
    };
    QString participants;
    QString seed;
    QString conditions;
    const bool ok = value(QStringLiteral("--participants"), participants) &&
                    value(QStringLiteral("--seed"), seed) &&
                    value(QStringLiteral("--conditions"), conditions) &&
                    value(QStringLiteral("--report"), options.report) &&
                    value(QStringLiteral("--keep-data"), options.keep);
    bool numbers = true;
    if (!participants.isEmpty())
        options.participants = participants.toInt(&numbers);
    if (numbers && !seed.isEmpty())
        options.seed = seed.toULongLong(&numbers);
    if (!ok || !numbers || args.size() != 1 || options.participants < 1) {
        err << "Usage: corvane simulate EXPERIMENT [--participants N] [--seed S] "
               "[--conditions A,B,...] [--report FILE.html] [--keep-data FOLDER]"
            << Qt::endl;
        return 64; // a wrong command line, as for every command of the program
    }
    if (!conditions.isEmpty())
        options.conditions = conditions.split(QLatin1Char(','), Qt::SkipEmptyParts);
    options.experiment = args.front();
    return RunSimulation(options);
}

} // namespace corvane
