// The variable and response tables over questionnaire q, item i and variable k. They keep only
// the cells that exist, so memory grows with the variables of an experiment rather than with
// questionnaires x largest item count x longest list; the bounds are still those of dense tables,
// and an index outside them is a subscript error.
#pragma once

#include "state/flags.h"

#include <QHash>
#include <QString>
#include <optional>

namespace corvane {

/// One data column of an item.
struct VariableColumn {
    QString name;
    Flag writeData = False;
    Flag writeRT = False;
    qint16 type = 0; // 0 number, 1 text
};

/// Bounds of the tables, fixed once per experiment.
struct TableBounds {
    qint16 questionnaires = 0;
    qint16 items = 0;
    qint16 responses = 0;
};

/// `ItemCount(q)`, `VariableCount(q, i)` and the columns `VariableName`, `WriteDataFlag`,
/// `WriteRTFlag`, `VariableType` at (q, i, k).
class VariableTables {
public:
    void Allocate(const TableBounds& bounds);
    void Clear();
    bool IsAllocated() const { return m_allocated; }
    const TableBounds& Bounds() const { return m_bounds; }

    qint16 ItemCount(int q) const;
    void SetItemCount(int q, qint16 count);
    /// Empty until the scan has set it.
    std::optional<qint16> VariableCount(int q, int i) const;
    void SetVariableCount(int q, int i, qint16 count);
    /// The column at (q, i, k); a column never set reads as empty.
    VariableColumn Column(int q, int i, int k) const;
    void SetColumn(int q, int i, int k, const VariableColumn& column);
    /// Cells held, for measuring memory.
    qsizetype CellCount() const { return m_columns.size() + m_variableCounts.size(); }

private:
    TableBounds m_bounds;
    bool m_allocated = false;
    QHash<int, qint16> m_itemCounts;
    QHash<quint32, qint16> m_variableCounts;
    QHash<quint64, VariableColumn> m_columns;
};

/// `ResponseValue(q, i, k)` and `ResponseTime(q, i, k)`. Written only by the run state.
class ResponseTables {
public:
    void Allocate(const TableBounds& bounds);
    void Clear();
    bool IsAllocated() const { return m_allocated; }

    /// The response; empty when none.
    QString Value(int q, int i, int k) const;
    /// The reaction time in milliseconds; 0 when none.
    qint32 Time(int q, int i, int k) const;

private:
    friend class RunState;
    void SetValue(int q, int i, int k, const QString& value);
    void SetTime(int q, int i, int k, qint32 ms);

    TableBounds m_bounds;
    bool m_allocated = false;
    QHash<quint64, QString> m_values;
    QHash<quint64, qint32> m_times;
};

} // namespace corvane
