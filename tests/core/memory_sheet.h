// A responses workbook held in memory, for fast tests of what the run hands to the sheet and
// takes from it. `formulas` runs after each write, as a spreadsheet's recalculation would.
#pragma once

#include "output/responses_workbook.h"

#include <functional>

namespace corvane::test {

struct MemoryTable {
    std::vector<WorkbookRow> rows; // row n is rows[n - 1]
    std::vector<std::vector<WorkbookValue>> writes;
    int reads = 0;
    bool broken = false;
    std::function<void(MemoryTable&)> formulas;

    WorkbookRow& Row(int row) {
        if (int(rows.size()) < row)
            rows.resize(std::size_t(row), WorkbookRow{QString(), QString(), QString()});
        return rows[std::size_t(row - 1)];
    }
    QString B(int row) { return Row(row).b.value_or(QStringLiteral("#ERR")); }
};

class MemorySheet : public WorkbookSheet {
public:
    explicit MemorySheet(MemoryTable& table) : m_table(table) {}

    std::vector<WorkbookRow> ReadRows() override {
        if (m_table.broken)
            throw WorkbookFault{QStringLiteral("the sheet is gone")};
        ++m_table.reads;
        std::vector<WorkbookRow> rows;
        for (const WorkbookRow& row : m_table.rows) {
            rows.push_back(row);
            if (row.a && row.a->isEmpty())
                return rows;
        }
        rows.push_back(WorkbookRow{QString(), QString(), QString()}); // the empty row below
        return rows;
    }

    std::vector<std::optional<QString>>
    WriteAndReadTargets(const std::vector<WorkbookValue>& values,
                        const std::vector<int>& targetRows) override {
        if (m_table.broken)
            throw WorkbookFault{QStringLiteral("the sheet is gone")};
        m_table.writes.push_back(values);
        for (const WorkbookValue& value : values)
            m_table.Row(value.row).b = value.text;
        if (m_table.formulas)
            m_table.formulas(m_table);
        std::vector<std::optional<QString>> targets;
        for (int row : targetRows)
            targets.push_back(m_table.Row(row).c);
        return targets;
    }

private:
    MemoryTable& m_table;
};

} // namespace corvane::test
