#include "output/data_by_variable.h"

#include "output/exchange_order.h"
#include "output/output_common.h"
#include "output/pspp_syntax.h"
#include "output/syntax_text.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <algorithm>

namespace corvane {

namespace {

constexpr int kNameLength = 12;
const QString kMissing = QStringLiteral("99");
constexpr qint32 kMissingTime = 99;

struct FlatEntry {
    QString name;
    QString value;
    qint32 time = 0;
    QString code;
    bool hasValue = false;
    bool hasTime = false;
};

// Names are held in twelve characters, so longer names that agree that far are one variable.
QString FixedName(const QString& name) {
    return name.left(kNameLength).leftJustified(kNameLength, QLatin1Char(' '));
}

// The screen stays alive through a long sort; short ones don't yield at all, so nothing else
// runs while a record is being made.
class ScreenKeeper {
public:
    ScreenKeeper() { m_since.start(); }
    void Yield() {
        if (m_since.elapsed() < 100 || !QCoreApplication::instance())
            return;
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        m_since.restart();
    }

private:
    QElapsedTimer m_since;
};

std::vector<FlatEntry> FlatTable(const RunState& state) {
    std::vector<FlatEntry> flat;
    for (int q = 1; q <= state.NumQuestionnaires; ++q) {
        for (int i = 1; i <= ItemsOf(state, q); ++i) {
            for (int k = 1; k <= VariablesOf(state, q, i); ++k) {
                const VariableColumn column = ColumnOf(state, q, i, k).value_or(VariableColumn{});
                FlatEntry entry;
                entry.name = FixedName(column.name);
                entry.value = ValueOf(state, q, i, k);
                entry.time = TimeOf(state, q, i, k);
                entry.code = QLatin1String(!IsTrue(column.writeData) ? "X"
                                           : column.type == 0        ? "N"
                                                                     : "T") +
                             QLatin1String(IsTrue(column.writeRT) ? "R" : "X");
                entry.hasValue = !entry.value.isEmpty();
                entry.hasTime = entry.time != 0;
                flat.push_back(std::move(entry));
            }
        }
    }
    return flat;
}

// An exchange sort, not a stable one: the order in which equal names end up is part of the
// merge rule, since the last of them wins. The names become ranks of the same binary order.
void SortByName(std::vector<FlatEntry>& flat) {
    std::vector<std::size_t> byName(flat.size());
    for (std::size_t i = 0; i < flat.size(); ++i)
        byName[i] = i;
    auto compare = [&](std::size_t a, std::size_t b) {
        return QString::compare(flat[a].name, flat[b].name, Qt::CaseSensitive);
    };
    std::sort(byName.begin(), byName.end(),
              [&](std::size_t a, std::size_t b) { return compare(a, b) < 0; });
    std::vector<int> rank(flat.size());
    int next = 0;
    for (std::size_t i = 0; i < byName.size(); ++i) {
        if (i > 0 && compare(byName[i - 1], byName[i]) != 0)
            ++next;
        rank[byName[i]] = next;
    }
    ScreenKeeper keeper;
    const std::vector<std::size_t> order = ExchangeSortOrder(rank, [&] { keeper.Yield(); });
    std::vector<FlatEntry> sorted;
    sorted.reserve(flat.size());
    for (const std::size_t from : order)
        sorted.push_back(std::move(flat[from]));
    flat = std::move(sorted);
}

QString TextSafe(QString value) {
    value.replace(QLatin1Char('\''), QLatin1Char('"'));
    value.replace(QLatin1Char(','), QLatin1Char(' '));
    return value;
}

struct Records {
    QString txt;
    QString csv;
};

Records BuildRecords(const RunState& state, const DataOutputSettings& settings,
                     const std::vector<VariableEntry>& merged) {
    Records records{RecordHeadLine(state, settings), RecordHeadRow(state, settings)};
    bool needComma = false;
    for (const VariableEntry& entry : merged) {
        const QChar kind = entry.code.at(0);
        if (kind == QLatin1Char('N')) {
            if (needComma)
                records.txt += QLatin1Char(',');
            records.txt += TrimBlanks(entry.value);
            records.csv += QLatin1Char(',') + entry.value;
            needComma = true;
        } else if (kind == QLatin1Char('T')) {
            const QString value = TextSafe(entry.value);
            if (needComma)
                records.txt += QLatin1Char(',');
            records.txt += QLatin1Char('\'') + value + QLatin1Char('\'');
            records.csv += QLatin1Char(',') + value;
            needComma = true;
        }
    }
    // The response line ends even when it is empty.
    records.txt += kLineEnd;
    needComma = false;
    bool anyTime = false;
    for (const VariableEntry& entry : merged) {
        if (entry.code.at(1) == QLatin1Char('X'))
            continue;
        anyTime = true;
        if (needComma)
            records.txt += QLatin1Char(',');
        records.txt += QString::number(entry.time);
        records.csv += QLatin1Char(',') + QString::number(entry.time);
        needComma = true;
    }
    if (anyTime)
        records.txt += kLineEnd;
    return records;
}

struct Declarations {
    SyntaxText syntax;
    QString header;
};

Declarations Declare(const RunState& state, const QString& folder, const QString& base,
                     const std::vector<VariableEntry>& merged, bool writeHeader) {
    Declarations out;
    const QString otherSyntax = DataFolder(state, QStringLiteral("byquestionnaire")) +
                                QLatin1Char('/') + base + QStringLiteral(".sps");
    WriteSyntaxHead(out.syntax, DataOrganisation::ByVariable,
                    folder + QLatin1Char('/') + base + QStringLiteral(".txt"), otherSyntax);
    if (writeHeader)
        out.header = QStringLiteral("Subject,Cond,Exper,Inifile,Date,Time");

    const std::size_t last = merged.size() - 1;
    // Every fourth field ends its line, unless it is the last entry of the table; a line left
    // open is ended by the next field's tab or carries the closing point.
    auto pass = [&](bool times) {
        int counter = 0;
        for (std::size_t index = 0; index < merged.size(); ++index) {
            const VariableEntry& entry = merged[index];
            const QChar kind = entry.code.at(times ? 1 : 0);
            if (kind == QLatin1Char('X'))
                continue;
            ++counter;
            out.syntax.Tab(5 + 20 * (counter - 1));
            const QString name = TrimBlanks(entry.name);
            if (times)
                out.syntax.Write(name + QStringLiteral("t * "));
            else if (kind == QLatin1Char('N'))
                out.syntax.Write(name + QStringLiteral(" * "));
            else
                out.syntax.Write(name + QStringLiteral(" (A50) "));
            if (writeHeader)
                out.header += QLatin1Char(',') + name + (times ? QStringLiteral("t") : QString());
            if (index != last && counter == 4)
                out.syntax.Line();
            if (counter == 4)
                counter = 0;
        }
    };
    pass(false);
    pass(true);
    WriteSyntaxClosing(out.syntax);
    return out;
}

bool WriteSyntax(RunState& state, const DataOutputSettings& settings,
                 const std::vector<VariableEntry>& merged, bool rowOpened) {
    const QString folder = DataFolder(state, QStringLiteral("byvariablename"));
    const QString base = state.ExperimentFileName + FileNameCode(settings.machineCode);
    const QDir dir(folder);
    const QString csvPath = dir.filePath(base + QStringLiteral(".csv"));
    const QString spsPath = dir.filePath(base + QStringLiteral(".sps"));
    const QString header = QStringLiteral("this experiment's column header");

    const std::optional<bool> headerNeeded =
        HeaderNeeded(state, csvPath, base + QStringLiteral(".csv"));
    if (!headerNeeded)
        return false;
    const bool writeHeader = *headerNeeded;
    bool written = true;
    AppendFile csv(csvPath);
    if (csv.Open() != FileFault::None) {
        ReportOpenFault(state, csvPath, csv.Reason(), header);
        written = false;
    }
    const Declarations declared = Declare(state, folder, base, merged, writeHeader);
    QString reason;
    if (RewriteFile(spsPath, EncodeForFile(declared.syntax.Text()), &reason) != FileFault::None) {
        ReportWriteFault(state, spsPath, reason, QStringLiteral("the syntax"), false);
        written = false;
    } else {
        WritePsppSyntax(state, spsPath, declared.syntax.Text());
    }
    if (csv.IsOpen()) {
        // Here the line end comes right before this run's row.
        if (csv.AppendHead(EncodeForFile(declared.header),
                           rowOpened ? HeadLineEnd::None : HeadLineEnd::RowFollows) !=
            FileFault::None) {
            ReportWriteFault(state, csvPath, csv.Reason(), header, csv.LeftPartial());
            written = false;
        }
        written = csv.Close() && written;
    }
    return written;
}

bool Write(RunState& state, const DataOutputSettings& settings, const RecordTargets& targets) {
    const std::optional<RecordPlace> place =
        EnterRecordFolder(state, QStringLiteral("byvariablename"), settings);
    if (!place)
        return false;
    const QString& base = place->base;
    AppendFile txt(place->File(QStringLiteral(".txt")));
    AppendFile csv(place->File(QStringLiteral(".csv")));
    const std::vector<VariableEntry> merged = MergeVariables(state);
    bool written = WriteVariableSyntax(state, settings, merged, targets.csvRowOpened);

    if (targets.txt && OpenForRecord(state, txt, base + QStringLiteral(".txt"),
                                     kParticipantRecord) == FileFault::InUse)
        return false;
    if (targets.csv && OpenForRecord(state, csv, base + QStringLiteral(".csv"),
                                     kParticipantRecord) == FileFault::InUse)
        return false;
    const Records records = BuildRecords(state, settings, merged);
    if (targets.txt)
        written = AppendAndClose(state, txt, records.txt, false, kParticipantRecord) && written;
    if (targets.csv)
        written = AppendAndClose(state, csv, records.csv, true, kParticipantRecord) && written;
    return written;
}

void ReportUnexpected(RunState& state, const std::exception& error) {
    state.Boxes().Show(MessageBox{
        state.MessageTitle(),
        QStringLiteral("Corvane could not write the data of this run by variable name: ") +
            QString::fromLocal8Bit(error.what()),
        BoxIcon::Warning});
}

} // namespace

std::vector<VariableEntry> MergeVariables(const RunState& state) {
    std::vector<FlatEntry> flat = FlatTable(state);
    SortByName(flat);
    std::vector<VariableEntry> merged;
    QString keptValue;
    qint32 keptTime = 0;
    for (std::size_t i = 0; i < flat.size(); ++i) {
        const FlatEntry& entry = flat[i];
        // An entry that holds anything replaces both halves, so the last such entry wins whole.
        if (entry.hasValue || entry.hasTime) {
            keptValue = entry.value;
            keptTime = entry.time;
        }
        if (i + 1 == flat.size() || flat[i + 1].name != entry.name) {
            // The code is the last entry's, held anything or not.
            merged.push_back({entry.name, keptValue.isEmpty() ? kMissing : keptValue,
                              keptTime == 0 ? kMissingTime : keptTime, entry.code});
            keptValue.clear();
            keptTime = 0;
        }
    }
    return merged;
}

bool WriteVariableSyntax(RunState& state, const DataOutputSettings& settings,
                         const std::vector<VariableEntry>& merged, bool rowOpened) {
    try {
        return WriteSyntax(state, settings, merged, rowOpened);
    } catch (const std::exception& error) {
        ReportUnexpected(state, error);
        return false;
    }
}

bool WriteDataByVariable(RunState& state, const DataOutputSettings& settings) {
    return WriteDataByVariable(state, settings, RecordTargets{});
}

bool WriteDataByVariable(RunState& state, const DataOutputSettings& settings,
                         const RecordTargets& targets) {
    try {
        return Write(state, settings, targets);
    } catch (const std::exception& error) {
        ReportUnexpected(state, error);
        return false;
    }
}

} // namespace corvane
