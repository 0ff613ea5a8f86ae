#include "output/data_by_questionnaire.h"

#include "output/output_common.h"
#include "state/error.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>

namespace corvane {

namespace {

const QString kMissing = QStringLiteral("99");

struct Records {
    QString txt;
    QString csv;
};

// A text response may not carry the quotes and commas that delimit the free-format file. The
// change stays in the run state, so the by-variable record writes the same text.
QString MakeTextSafe(RunState& state, int q, int i, int k) {
    const QString value = ValueOf(state, q, i, k);
    QString safe = value;
    safe.replace(QLatin1Char('\''), QLatin1Char('"'));
    safe.replace(QLatin1Char(','), QLatin1Char(' '));
    if (safe != value) {
        try {
            state.StoreResponse(q, i, k, safe);
        } catch (const CorvaneError&) {
            // Out of the tables: only this record sees the change.
        }
    }
    return safe;
}

void AddResponses(RunState& state, int q, Records& records) {
    bool anyResponse = false;
    bool needComma = false;
    for (int i = 1; i <= ItemsOf(state, q); ++i) {
        for (int k = 1; k <= VariablesOf(state, q, i); ++k) {
            const auto column = ColumnOf(state, q, i, k);
            if (!column || !IsTrue(column->writeData))
                continue;
            anyResponse = true;
            if (column->type == 0) {
                const QString value = ValueOf(state, q, i, k);
                if (needComma)
                    records.txt += QLatin1Char(',');
                records.txt += value.isEmpty() ? kMissing : TrimBlanks(value);
                records.csv += QLatin1Char(',') + (value.isEmpty() ? kMissing : value);
                needComma = true;
            } else if (column->type == 1) {
                const QString value = MakeTextSafe(state, q, i, k);
                if (needComma)
                    records.txt += QLatin1Char(',');
                records.txt += QLatin1Char('\'') +
                               (value.isEmpty() ? kMissing : TrimBlanks(value)) + QLatin1Char('\'');
                records.csv += QLatin1Char(',') + (value.isEmpty() ? kMissing : value);
                needComma = true;
            }
        }
    }
    // A questionnaire without response columns adds no empty line.
    if (anyResponse)
        records.txt += kLineEnd;
}

void AddTimes(const RunState& state, int q, Records& records) {
    bool anyTime = false;
    bool needComma = false;
    for (int i = 1; i <= ItemsOf(state, q); ++i) {
        for (int k = 1; k <= VariablesOf(state, q, i); ++k) {
            const auto column = ColumnOf(state, q, i, k);
            if (!column || !IsTrue(column->writeRT))
                continue;
            anyTime = true;
            const qint32 time = TimeOf(state, q, i, k);
            const QString text = time == 0 ? kMissing : QString::number(time);
            if (needComma)
                records.txt += QLatin1Char(',');
            records.txt += text;
            records.csv += QLatin1Char(',') + text;
            needComma = true;
        }
    }
    if (anyTime)
        records.txt += kLineEnd;
}

Records BuildRecords(RunState& state, const DataOutputSettings& settings) {
    Records records{RecordHeadLine(state, settings), RecordHeadRow(state, settings)};
    for (int q = 1; q <= state.NumQuestionnaires; ++q) {
        const QString name = ShortName(state, q);
        records.txt += QLatin1Char('\'') + name + QLatin1Char('\'') + kLineEnd;
        records.csv += QLatin1Char(',') + name;
        AddResponses(state, q, records);
        AddTimes(state, q, records);
    }
    // The row stays open: the next load's header step ends it.
    return records;
}

bool Write(RunState& state, const DataOutputSettings& settings, const RecordTargets& targets) {
    const std::optional<RecordPlace> place =
        EnterRecordFolder(state, QStringLiteral("byquestionnaire"), settings);
    if (!place)
        return false;
    const QString& base = place->base;
    AppendFile txt(place->File(QStringLiteral(".txt")));
    AppendFile csv(place->File(QStringLiteral(".csv")));
    if (targets.txt && OpenForRecord(state, txt, base + QStringLiteral(".txt"),
                                     kParticipantRecord) == FileFault::InUse)
        return false;
    // The message names the .txt file even when the .csv is the one in use.
    if (targets.csv && OpenForRecord(state, csv, base + QStringLiteral(".txt"),
                                     kParticipantRecord) == FileFault::InUse)
        return false;
    const Records records = BuildRecords(state, settings);
    const bool txtWritten =
        !targets.txt || AppendAndClose(state, txt, records.txt, false, kParticipantRecord);
    const bool csvWritten =
        !targets.csv || AppendAndClose(state, csv, records.csv, true, kParticipantRecord);
    return txtWritten && csvWritten;
}

} // namespace

bool WriteDataByQuestionnaire(RunState& state, const DataOutputSettings& settings) {
    return WriteDataByQuestionnaire(state, settings, RecordTargets{});
}

bool WriteDataByQuestionnaire(RunState& state, const DataOutputSettings& settings,
                              const RecordTargets& targets) {
    try {
        return Write(state, settings, targets);
    } catch (const std::exception& error) {
        state.Boxes().Show(MessageBox{
            state.MessageTitle(),
            QStringLiteral("Corvane could not write the data of this run by questionnaire: ") +
                QString::fromLocal8Bit(error.what()),
            BoxIcon::Warning});
        return false;
    }
}

} // namespace corvane
