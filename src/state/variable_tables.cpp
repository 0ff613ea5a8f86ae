#include "state/variable_tables.h"

#include "state/error.h"

namespace corvane {

namespace {

void RequireIndex(int index, int low, int high) {
    if (index < low || index > high)
        raise(ErrorNumber::Subscript);
}

quint32 Key2(int q, int i) {
    return (quint32(quint16(q)) << 16) | quint16(i);
}

quint64 Key3(int q, int i, int k) {
    return (quint64(Key2(q, i)) << 16) | quint16(k);
}

void RequireAllocated(bool allocated) {
    if (!allocated)
        raise(ErrorNumber::Subscript);
}

} // namespace

void VariableTables::Allocate(const TableBounds& bounds) {
    Clear();
    m_bounds = bounds;
    m_allocated = true;
}

void VariableTables::Clear() {
    m_bounds = {};
    m_allocated = false;
    m_itemCounts.clear();
    m_variableCounts.clear();
    m_columns.clear();
}

qint16 VariableTables::ItemCount(int q) const {
    RequireAllocated(m_allocated);
    RequireIndex(q, 0, m_bounds.questionnaires);
    return m_itemCounts.value(q, 0);
}

void VariableTables::SetItemCount(int q, qint16 count) {
    RequireAllocated(m_allocated);
    RequireIndex(q, 0, m_bounds.questionnaires);
    m_itemCounts.insert(q, count);
}

std::optional<qint16> VariableTables::VariableCount(int q, int i) const {
    RequireAllocated(m_allocated);
    RequireIndex(q, 0, m_bounds.questionnaires);
    RequireIndex(i, 0, m_bounds.items);
    const auto found = m_variableCounts.constFind(Key2(q, i));
    if (found == m_variableCounts.cend())
        return std::nullopt;
    return *found;
}

void VariableTables::SetVariableCount(int q, int i, qint16 count) {
    RequireAllocated(m_allocated);
    RequireIndex(q, 0, m_bounds.questionnaires);
    RequireIndex(i, 0, m_bounds.items);
    m_variableCounts.insert(Key2(q, i), count);
}

VariableColumn VariableTables::Column(int q, int i, int k) const {
    RequireAllocated(m_allocated);
    RequireIndex(q, 1, m_bounds.questionnaires);
    RequireIndex(i, 1, m_bounds.items);
    RequireIndex(k, 1, m_bounds.responses);
    return m_columns.value(Key3(q, i, k));
}

void VariableTables::SetColumn(int q, int i, int k, const VariableColumn& column) {
    RequireAllocated(m_allocated);
    RequireIndex(q, 1, m_bounds.questionnaires);
    RequireIndex(i, 1, m_bounds.items);
    RequireIndex(k, 1, m_bounds.responses);
    m_columns.insert(Key3(q, i, k), column);
}

void ResponseTables::Allocate(const TableBounds& bounds) {
    Clear();
    m_bounds = bounds;
    m_allocated = true;
}

void ResponseTables::Clear() {
    m_bounds = {};
    m_allocated = false;
    m_values.clear();
    m_times.clear();
}

namespace {
void RequireResponseIndex(const TableBounds& b, int q, int i, int k) {
    RequireIndex(q, 0, b.questionnaires);
    RequireIndex(i, 0, b.items);
    RequireIndex(k, 0, b.responses);
}
} // namespace

QString ResponseTables::Value(int q, int i, int k) const {
    RequireAllocated(m_allocated);
    RequireResponseIndex(m_bounds, q, i, k);
    return m_values.value(Key3(q, i, k));
}

qint32 ResponseTables::Time(int q, int i, int k) const {
    RequireAllocated(m_allocated);
    RequireResponseIndex(m_bounds, q, i, k);
    return m_times.value(Key3(q, i, k), 0);
}

void ResponseTables::SetValue(int q, int i, int k, const QString& value) {
    RequireAllocated(m_allocated);
    RequireResponseIndex(m_bounds, q, i, k);
    if (value.isEmpty())
        m_values.remove(Key3(q, i, k));
    else
        m_values.insert(Key3(q, i, k), value);
}

void ResponseTables::SetTime(int q, int i, int k, qint32 ms) {
    RequireAllocated(m_allocated);
    RequireResponseIndex(m_bounds, q, i, k);
    if (ms == 0)
        m_times.remove(Key3(q, i, k));
    else
        m_times.insert(Key3(q, i, k), ms);
}

} // namespace corvane
