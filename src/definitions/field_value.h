// One cell of a definition file, read through a variant as the loaders expect: a cell converts
// to text, number or truth value on demand, and an empty (NULL) cell can't be converted.
#pragma once

#include <QByteArray>
#include <QString>
#include <variant>

namespace corvane {

class FieldValue {
public:
    FieldValue() = default; // NULL
    static FieldValue FromInteger(qint64 value);
    static FieldValue FromReal(double value);
    static FieldValue FromText(QString value);
    static FieldValue FromBlob(QByteArray value);

    bool IsNull() const { return std::holds_alternative<std::monostate>(m_value); }
    bool IsNumber() const;
    bool IsInteger() const { return std::holds_alternative<qint64>(m_value); }
    bool IsText() const { return std::holds_alternative<QString>(m_value); }

    /// The cell as text; NULL raises the invalid-use-of-null error.
    QString ToText() const;
    /// The cell's number: a number as it is, a text read as a prefix. NULL raises the
    /// invalid-use-of-null error.
    double ToNumber() const;
    /// The cell as a truth value: a number is true when not zero; a text must be "true",
    /// "false" or a number, else a type mismatch. NULL raises the invalid-use-of-null error.
    bool ToBool() const;

    /// Orders cells as the store sorts a column: NULL first, then numbers, then texts without
    /// regard to case, then blobs.
    static int Compare(const FieldValue& a, const FieldValue& b);

    /// The cell written back as the text it came from (numbers in their shortest exact form).
    QString ToExportText() const;

private:
    std::variant<std::monostate, qint64, double, QString, QByteArray> m_value;
};

} // namespace corvane
