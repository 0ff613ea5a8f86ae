#include "definitions/record_set.h"

#include "state/error.h"

#include <algorithm>

namespace corvane {

RecordSet::RecordSet(QString source, QStringList columns, std::vector<std::vector<FieldValue>> rows)
    : m_source(std::move(source)), m_columns(std::move(columns)), m_rows(std::move(rows)) {
    for (int c = 0; c < m_columns.size(); ++c) {
        const QString key = m_columns.at(c).toLower();
        if (!m_index.contains(key))
            m_index.insert(key, c);
    }
    // Callers name columns as the files spell them: those lookups need no lower-casing.
    for (const QString& column : std::as_const(m_columns))
        m_exact.insert(column, m_index.value(column.toLower()));
}

void RecordSet::MoveFirst() {
    if (m_rows.empty())
        raise(ErrorNumber::NoCurrentRecord);
    m_position = 0;
}

void RecordSet::MoveLast() {
    if (m_rows.empty())
        raise(ErrorNumber::NoCurrentRecord);
    m_position = qsizetype(m_rows.size()) - 1;
}

void RecordSet::MoveNext() {
    if (Eof())
        raise(ErrorNumber::NoCurrentRecord);
    ++m_position;
}

bool RecordSet::Eof() const {
    return m_position >= qsizetype(m_rows.size());
}

int RecordSet::ColumnIndex(const QString& name) const {
    if (const auto exact = m_exact.constFind(name); exact != m_exact.cend())
        return *exact;
    const auto found = m_index.constFind(name.toLower());
    if (found == m_index.cend())
        raise(ErrorNumber::ItemNotFound,
              QStringLiteral("Item not found in this collection: column '") + name +
                  QStringLiteral("' of ") + m_source);
    return *found;
}

bool RecordSet::HasColumn(const QString& name) const {
    return m_index.contains(name.toLower());
}

const FieldValue& RecordSet::Field(const QString& name) const {
    const int column = ColumnIndex(name);
    if (Eof())
        raise(ErrorNumber::NoCurrentRecord);
    return m_rows[std::size_t(m_position)][std::size_t(column)];
}

void RecordSet::SetOnlyRow(std::vector<FieldValue> row) {
    m_rows.clear();
    if (!row.empty())
        m_rows.push_back(std::move(row));
    m_position = 0;
}

void RecordSet::SortBy(const QStringList& columns) {
    std::vector<int> keys;
    for (const QString& column : columns)
        keys.push_back(ColumnIndex(column));
    std::stable_sort(m_rows.begin(), m_rows.end(), [&](const auto& a, const auto& b) {
        for (int key : keys) {
            const int order = FieldValue::Compare(a[std::size_t(key)], b[std::size_t(key)]);
            if (order != 0)
                return order < 0;
        }
        return false;
    });
    m_position = 0;
}

} // namespace corvane
