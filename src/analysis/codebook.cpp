#include "analysis/codebook.h"

#include "definitions/definition_store.h"
#include "state/error.h"

#include <QRegularExpression>

namespace corvane {

namespace {

QString Cell(const RecordSet& row, const QString& column) {
    if (!row.HasColumn(column))
        return {};
    const FieldValue& value = row.Field(column);
    return value.IsNull() ? QString() : value.ToText().trimmed();
}

bool Usable(const QString& label) {
    return !label.isEmpty() && label.compare(QLatin1String("none"), Qt::CaseInsensitive) != 0;
}

QString LabelOf(const ItemDefinition& item, int k) {
    return k >= 1 && std::size_t(k) <= item.textLabels.size() ? item.textLabels[std::size_t(k - 1)]
                                                              : QString();
}

QString Quoted(const QString& text) {
    return QStringLiteral("'") + text + QStringLiteral("'");
}

void DescribeScale(CodebookEntry& entry, const ItemDefinition& item) {
    for (std::size_t k = 0; k < item.pointLabels.size(); ++k) {
        const QString code = item.pointLabels[k];
        if (!Usable(code))
            continue;
        const QString label = Usable(item.textLabels[k]) ? item.textLabels[k] : code;
        entry.valueLabels.emplace_back(code, label);
    }
    entry.meaning = QStringLiteral("the value of the point chosen");
}

void DescribeMultiple(CodebookEntry& entry, const ItemDefinition& item, int index) {
    if (index == 0) {
        for (std::size_t k = 0; k < item.textLabels.size(); ++k) {
            if (Usable(item.textLabels[k]))
                entry.valueLabels.emplace_back(QString::number(k + 1), item.textLabels[k]);
        }
        entry.meaning = QStringLiteral("the number of the option chosen");
        return;
    }
    entry.valueLabels = {{QStringLiteral("0"), QStringLiteral("not chosen")},
                         {QStringLiteral("1"), QStringLiteral("chosen")}};
    entry.meaning = QStringLiteral("option ") + QString::number(index) + QStringLiteral(" ") +
                    Quoted(LabelOf(item, index)) +
                    QStringLiteral(": 1 chosen, 0 not; an option that asks for more holds the "
                                   "text typed");
}

} // namespace

std::vector<ItemDefinition> ReadItemDefinitions(const QString& path, QString* error) {
    std::vector<ItemDefinition> items;
    try {
        RecordSet rows = ReadQuestionnaireRowsInOrder(path);
        for (const auto& values : rows.Rows()) {
            RecordSet row;
            row = RecordSet(rows.Source(), rows.Columns(), {values});
            row.MoveFirst();
            ItemDefinition item;
            item.number = Cell(row, QStringLiteral("questionnumber")).toInt();
            item.variable = Cell(row, QStringLiteral("VariableName"));
            item.type = Cell(row, QStringLiteral("QuestionType"));
            item.wording = Cell(row, QStringLiteral("QuestionWording"));
            item.text = row.HasColumn(QStringLiteral("WriteText")) &&
                        !row.Field(QStringLiteral("WriteText")).IsNull() &&
                        row.Field(QStringLiteral("WriteText")).ToBool();
            for (int k = 1; k <= 12; ++k) {
                item.textLabels.push_back(Cell(row, QStringLiteral("textlabel%1").arg(k)));
                item.pointLabels.push_back(Cell(row, QStringLiteral("pointlabel%1").arg(k)));
            }
            items.push_back(std::move(item));
        }
    } catch (const CorvaneError& fault) {
        if (error)
            *error = fault.description();
        items.clear();
    }
    return items;
}

const ItemDefinition* ItemOfColumn(const std::vector<ItemDefinition>& items, const QString& column,
                                   int* index) {
    *index = 0;
    for (const auto& item : items) {
        if (!item.variable.isEmpty() && item.variable.compare(column, Qt::CaseInsensitive) == 0)
            return &item;
    }
    static const QRegularExpression suffixed(QStringLiteral("^(.+)_(\\d+|k)$"));
    const auto match = suffixed.match(column);
    if (!match.hasMatch())
        return nullptr;
    for (const auto& item : items) {
        if (item.variable.compare(match.captured(1), Qt::CaseInsensitive) == 0) {
            *index = match.captured(2).toInt(); // "_k", the voice key's, has no number
            return &item;
        }
    }
    return nullptr;
}

void DescribeEntry(CodebookEntry& entry, int index) {
    if (!entry.item) {
        entry.meaning = QStringLiteral("no item of this name in the questionnaire file");
        return;
    }
    const ItemDefinition& item = *entry.item;
    const QString type = item.type.toLower();
    if (type == QLatin1String("scale response"))
        DescribeScale(entry, item);
    else if (type == QLatin1String("multiple response"))
        DescribeMultiple(entry, item, index);
    else if (type == QLatin1String("ranking"))
        entry.meaning = QStringLiteral("the place given to ") + Quoted(LabelOf(item, index)) +
                        QStringLiteral(", 1 at the top");
    else if (type == QLatin1String("essay"))
        entry.meaning =
            QStringLiteral("the essay's text; all of it, with its line breaks, is in ") +
            item.variable + QStringLiteral(".txt beside the data folders");
    else
        entry.meaning = item.text ? QStringLiteral("the answer as text")
                                  : QStringLiteral("the answer as a number");
}

} // namespace corvane
