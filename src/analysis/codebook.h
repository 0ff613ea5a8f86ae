// What each column of an experiment's data files means, from the definition files: the item
// that wrote it, its wording and type, and the codes its answers take.
#pragma once

#include <QString>
#include <QStringList>
#include <utility>
#include <vector>

namespace corvane {

/// One item of a questionnaire as the codebook needs it.
struct ItemDefinition {
    int number = 0; // questionnumber
    QString variable;
    QString type;
    QString wording;
    bool text = false;               // answers written as text
    std::vector<QString> textLabels; // 1-based meaning: element 0 is label 1
    std::vector<QString> pointLabels;
};

/// One variable of the data files.
struct CodebookEntry {
    QString questionnaire; // short name, as the data files give it
    QString variable;      // the response's column name (without the reaction time's "t")
    const ItemDefinition* item = nullptr; // none when the definition could not be found
    bool hasValue = false;                // a response column
    bool hasTime = false;                 // a reaction-time column (variable + "t")
    std::vector<std::pair<QString, QString>> valueLabels; // code, label
    QString meaning;                                      // what a value is, in words
};

/// The items of a questionnaire file in question-number order; empty with `error` set when the
/// file can't be read.
std::vector<ItemDefinition> ReadItemDefinitions(const QString& path, QString* error);

/// The item whose columns include `column`: its own name, or its name with "_01", "_12" or
/// "_k" behind it. `index` gets the number behind the name (0 for none).
const ItemDefinition* ItemOfColumn(const std::vector<ItemDefinition>& items, const QString& column,
                                   int* index);

/// Fills the labels and the meaning of an entry from its item.
void DescribeEntry(CodebookEntry& entry, int index);

/// The code that stands for "no response" and "no reaction time" in the data files.
inline const QString kMissingCode = QStringLiteral("99");

} // namespace corvane
