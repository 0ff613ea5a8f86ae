// The rows of one query over a definition file, held in memory, with the cursor operations that
// the loaders use. Moving to the first or last row of an empty result is the no-current-record
// error, on which the experiment loader depends.
#pragma once

#include "definitions/field_value.h"
#include "state/error.h"

#include <QHash>
#include <QStringList>
#include <vector>

namespace corvane {

class RecordSet {
public:
    RecordSet() = default;
    RecordSet(QString source, QStringList columns, std::vector<std::vector<FieldValue>> rows);

    void MoveFirst();
    void MoveLast();
    void MoveNext();
    /// True past the last row (and on an empty result).
    bool Eof() const;
    int RecordCount() const { return int(m_rows.size()); }
    /// The value of a column of the current row, by name without regard to case.
    const FieldValue& Field(const QString& name) const;
    bool HasColumn(const QString& name) const;

    const QStringList& Columns() const { return m_columns; }
    const std::vector<std::vector<FieldValue>>& Rows() const { return m_rows; }
    const QString& Source() const { return m_source; }

    /// An error that a cell of the current row raised (a NULL, an overflow, a type mismatch, a
    /// parameter list that can't be read), with the file, the row and the last column read
    /// named; an error of another kind as it is.
    CorvaneError Placed(const CorvaneError& error) const;
    /// The place of a column among `Columns()`, found as `Field` finds it.
    int ColumnOf(const QString& name) const { return ColumnIndex(name); }
    /// Makes `row` the one row and the current one; an empty row leaves no rows.
    void SetOnlyRow(std::vector<FieldValue> row);

    /// Sorts the rows by the columns given, stably, as the store orders them.
    void SortBy(const QStringList& columns);
    /// Keeps the rows for which the predicate holds.
    template <typename Predicate> void Filter(Predicate keep) {
        std::vector<std::vector<FieldValue>> kept;
        for (auto& row : m_rows) {
            m_position = qsizetype(&row - m_rows.data());
            if (keep(*this))
                kept.push_back(std::move(row));
        }
        m_rows = std::move(kept);
        m_position = 0;
    }

private:
    int ColumnIndex(const QString& name) const;

    QString m_source;
    QStringList m_columns;
    QString RowName() const;

    QHash<QString, int> m_index; // lower-case name -> column
    QHash<QString, int> m_exact; // name as the file spells it -> the column m_index gives
    std::vector<std::vector<FieldValue>> m_rows;
    qsizetype m_position = 0;
    mutable QString m_lastColumn; // the column of the last cell read, for the place of a fault
};

/// Runs `read` over the current row of `rows`; a fault that one of the row's cells raises names
/// its place.
template <typename Read> decltype(auto) ReadRow(const RecordSet& rows, Read&& read) {
    try {
        return read();
    } catch (const CorvaneError& error) {
        throw rows.Placed(error);
    }
}

} // namespace corvane
