// The runs in question_order.csv: which files each run showed and in what order each
// questionnaire's items were shown.
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <vector>

namespace corvane {

struct OrderBlock {
    QString subject;
    QString condition;
    QStringList files;                 // in the order shown
    QHash<QString, QStringList> shown; // questionnaire file (lower case) -> item names shown
    bool used = false;                 // matched to a data row already
};

/// The runs of the file, in the order they were written; empty when it is missing.
std::vector<OrderBlock> ReadOrderBlocks(const QString& path, int* lines = nullptr);

/// The first run not matched yet of this subject and condition that showed one of the
/// questionnaires; marked as matched. None when there is no such run.
OrderBlock* TakeOrderBlock(std::vector<OrderBlock>& blocks, const QString& subject,
                           const QString& condition, const QStringList& questionnaires);

} // namespace corvane
