#include "analysis/order_blocks.h"

#include "analysis/data_text.h"

#include <QFile>

namespace corvane {

namespace {

bool LooksLikeFile(const QString& field) {
    const qsizetype dot = field.lastIndexOf(QLatin1Char('.'));
    return dot > 0 && field.size() - dot == 4;
}

bool IsQuestionnaire(const QString& field) {
    return field.endsWith(QLatin1String(".que"), Qt::CaseInsensitive);
}

// A questionnaire's line of the run in `block`, rather than the first line of a new run.
bool BelongsTo(const OrderBlock* block, const QStringList& fields) {
    if (!block || block->subject != fields.at(0) || block->condition != fields.at(1) ||
        !IsQuestionnaire(fields.at(3)))
        return false;
    if (fields.size() > 4)
        return !LooksLikeFile(fields.at(4));
    // Without items the line looks like a run of one file: it belongs to the run that lists
    // the questionnaire and hasn't had its line yet.
    const QString file = fields.at(3).toLower();
    return block->files.contains(fields.at(3), Qt::CaseInsensitive) && !block->shown.contains(file);
}

} // namespace

std::vector<OrderBlock> ReadOrderBlocks(const QString& path, int* lines) {
    std::vector<OrderBlock> blocks;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return blocks;
    const QStringList all = DataLines(DecodeDataText(file.readAll()));
    if (lines)
        *lines = int(all.size());
    for (const QString& line : all) {
        const QStringList fields = line.split(QLatin1Char(','));
        if (fields.size() < 4)
            continue;
        OrderBlock* current = blocks.empty() ? nullptr : &blocks.back();
        if (BelongsTo(current, fields)) {
            current->shown.insert(fields.at(3).toLower(), fields.mid(4));
            continue;
        }
        blocks.push_back(OrderBlock{fields.at(0), fields.at(1), fields.mid(3), {}, false});
    }
    return blocks;
}

OrderBlock* TakeOrderBlock(std::vector<OrderBlock>& blocks, const QString& subject,
                           const QString& condition, const QStringList& questionnaires) {
    for (auto& block : blocks) {
        if (block.used || block.subject != subject || block.condition != condition)
            continue;
        for (const QString& file : block.files) {
            if (questionnaires.contains(file, Qt::CaseInsensitive)) {
                block.used = true;
                return &block;
            }
        }
    }
    return nullptr;
}

} // namespace corvane
