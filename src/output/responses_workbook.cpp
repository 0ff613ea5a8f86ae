#include "output/responses_workbook.h"

#include "state/error.h"
#include "state/run_state.h"

#include <array>

namespace corvane {

namespace {

// Only the first 13 response indices have a row kept for their skip target.
constexpr int kKeptIndices = 13;

bool IsNoSkip(const QString& target) {
    return target.isEmpty() || target == QLatin1String("none");
}

QString IndexedKey(const QString& name, int k) {
    return name + (k < 10 ? QStringLiteral("_0") : QStringLiteral("_")) + QString::number(k);
}

// The response tables raise for a place outside them; such a value is passed over.
std::optional<QString> ValueAt(const RunState& state, int q, int i, int k) {
    try {
        return state.Responses().Value(q, i, k);
    } catch (const CorvaneError&) {
        return std::nullopt;
    }
}

std::optional<QString> TimeAt(const RunState& state, int q, int i, int k) {
    try {
        return QString::number(state.Responses().Time(q, i, k));
    } catch (const CorvaneError&) {
        return std::nullopt;
    }
}

int VariableCountAt(const RunState& state, int q, int i) {
    try {
        return state.Variables.VariableCount(q, i).value_or(0);
    } catch (const CorvaneError&) {
        return 0;
    }
}

} // namespace

WorkbookValue ValueForSheet(int row, const QString& response) {
    bool number = false;
    const QString trimmed = response.trimmed();
    if (!trimmed.isEmpty() && trimmed == response)
        trimmed.toDouble(&number);
    return WorkbookValue{row, response, number};
}

ResponsesWorkbook::ResponsesWorkbook(std::unique_ptr<WorkbookSheet> sheet)
    : m_sheet(std::move(sheet)) {}

ResponsesWorkbook::~ResponsesWorkbook() = default;

void ResponsesWorkbook::Fault(const WorkbookFault& fault) {
    if (m_lastFault.isEmpty())
        qWarning("corvane: the responses workbook failed: %s", qPrintable(fault.reason));
    m_lastFault = fault.reason;
}

void ResponsesWorkbook::UpdateResponsesXLS(RunState& state, const QString& variableName,
                                           const QString& lastSkipTarget) {
    std::array<int, kKeptIndices + 1> rowOf{};
    const QString name = variableName.toLower();
    const QString& skip = state.SkipTarget;
    // An item that a jump is passing over has nothing to hand on; nor has going back.
    if (!IsNoSkip(skip) && skip == lastSkipTarget && skip.toLower() != name)
        return;
    if (state.GoingBack)
        return;
    try {
        const int q = state.CurrentQuestionnaire;
        const int i = state.CurrentQuestion;
        const int count = VariableCountAt(state, q, i);
        const std::vector<WorkbookRow> rows = m_sheet->ReadRows();
        std::vector<WorkbookValue> values;
        auto write = [&](int row, const std::optional<QString>& value, bool time) {
            if (!value)
                return;
            values.push_back(time ? WorkbookValue{row, *value, true} : ValueForSheet(row, *value));
        };
        int highest = 0;
        for (int index = 0; index < int(rows.size()); ++index) {
            const int row = index + 1;
            if (!rows[std::size_t(index)].a)
                continue; // a key whose formula fails matches nothing
            const QString key = rows[std::size_t(index)].a->toLower();
            if (key == name) {
                write(row, ValueAt(state, q, i, 1), false);
                rowOf[1] = row;
            }
            if (key == name + QLatin1Char('t'))
                write(row, TimeAt(state, q, i, 1), true);
            for (int k = 1; k <= count; ++k) {
                if (key == IndexedKey(name, k)) {
                    write(row, ValueAt(state, q, i, k), false);
                    if (k <= kKeptIndices)
                        rowOf[std::size_t(k)] = row;
                    highest = k;
                }
            }
            for (int k = 1; k <= count; ++k) {
                if (key == IndexedKey(name, k) + QLatin1Char('t'))
                    write(row, TimeAt(state, q, i, k), true);
            }
            if (key.isEmpty())
                break;
        }
        // The targets are read after the formulas have seen the new values; the highest
        // response index with a target wins.
        std::vector<int> targetRows;
        for (int k = 1; k <= qMin(highest, kKeptIndices); ++k) {
            if (rowOf[std::size_t(k)] > 0)
                targetRows.push_back(rowOf[std::size_t(k)]);
        }
        if (values.empty() && targetRows.empty())
            return;
        const auto targets = m_sheet->WriteAndReadTargets(values, targetRows);
        for (const auto& target : targets) {
            if (!target)
                continue;
            const QString text = target->trimmed().toLower();
            if (!IsNoSkip(text))
                state.SkipTarget = text;
        }
    } catch (const WorkbookFault& fault) {
        Fault(fault);
    }
}

QString ResponsesWorkbook::ReplaceTextXLS(const QString& text) {
    QString result = text;
    try {
        const std::vector<WorkbookRow> rows = m_sheet->ReadRows();
        for (const WorkbookRow& row : rows) {
            if (!row.a)
                continue;
            const QString place = QLatin1Char('<') + row.a->toLower() + QLatin1Char('>');
            if (row.b && result.contains(place, Qt::CaseInsensitive))
                result.replace(place, *row.b, Qt::CaseInsensitive);
            if (row.a->isEmpty())
                break;
        }
    } catch (const WorkbookFault& fault) {
        Fault(fault);
    }
    return result;
}

} // namespace corvane
