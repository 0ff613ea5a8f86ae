#include "definitions/record_set.h"

#include "state/error.h"
#include "state/text.h"

#include <QFileInfo>
#include <algorithm>
#include <optional>

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
    m_lastColumn.clear();
    if (m_rows.empty())
        raise(ErrorNumber::NoCurrentRecord);
    m_position = 0;
}

void RecordSet::MoveLast() {
    m_lastColumn.clear();
    if (m_rows.empty())
        raise(ErrorNumber::NoCurrentRecord);
    m_position = qsizetype(m_rows.size()) - 1;
}

void RecordSet::MoveNext() {
    m_lastColumn.clear();
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
    m_lastColumn = m_columns.at(column);
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

namespace corvane {

namespace {

bool IsCellFault(int number) {
    switch (number) {
    case ErrorNumber::InvalidArgument:
    case ErrorNumber::Overflow:
    case ErrorNumber::Subscript:
    case ErrorNumber::TypeMismatch:
    case ErrorNumber::InvalidUseOfNull:
        return true;
    default:
        return false;
    }
}

// A cell as the place of a fault quotes it; no value when it can't be read as text.
std::optional<QString> CellText(const std::vector<FieldValue>& row, int column) {
    if (column < 0 || row[std::size_t(column)].IsNull())
        return std::nullopt;
    return ForMessage(TrimBlanks(row[std::size_t(column)].ToText()));
}

} // namespace

QString RecordSet::RowName() const {
    const auto& row = m_rows[std::size_t(m_position)];
    // Items are known by their number; rows of an experiment by condition and position.
    if (const auto number = CellText(row, m_index.value(QStringLiteral("questionnumber"), -1)))
        return QStringLiteral("the row with questionnumber ") + *number;
    const auto condition = CellText(row, m_index.value(QStringLiteral("condition"), -1));
    const auto position = CellText(row, m_index.value(QStringLiteral("position"), -1));
    if (condition && position)
        return QStringLiteral("the row of condition '") + *condition +
               QStringLiteral("' at position ") + *position;
    return QStringLiteral("row ") + QString::number(m_position + 1);
}

CorvaneError RecordSet::Placed(const CorvaneError& error) const {
    if (!IsCellFault(error.number()) || Eof() || m_lastColumn.isEmpty())
        return error;
    return CorvaneError(error.number(), error.description() + QStringLiteral(" in '") +
                                            QFileInfo(m_source).fileName() + QStringLiteral("', ") +
                                            RowName() + QStringLiteral(", column ") + m_lastColumn);
}

} // namespace corvane
