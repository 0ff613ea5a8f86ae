#include "engine/simulated_answers.h"

#include "definitions/number_reading.h"

#include <QHash>
#include <algorithm>
#include <numeric>

namespace corvane {

namespace {

constexpr double kInvalidShare = 0.2; // how often an invalid answer comes first

bool Chance(std::mt19937_64& random, double share) {
    return std::uniform_real_distribution<double>(0.0, 1.0)(random) < share;
}

int Between(std::mt19937_64& random, int low, int high) {
    return std::uniform_int_distribution<int>(low, std::max(low, high))(random);
}

QString SomeWords(std::mt19937_64& random) {
    static const QStringList words = {QStringLiteral("quiet"), QStringLiteral("coffee"),
                                      QStringLiteral("bus"),   QStringLiteral("rain"),
                                      QStringLiteral("work"),  QStringLiteral("friends"),
                                      QStringLiteral("walk"),  QStringLiteral("music")};
    QStringList picked;
    const int count = Between(random, 1, 6);
    for (int w = 0; w < count; ++w)
        picked << words.at(Between(random, 0, int(words.size()) - 1));
    return picked.join(QLatin1Char(' '));
}

// 1 to n in a random order.
std::vector<int> Shuffled(int n, std::mt19937_64& random) {
    std::vector<int> order(static_cast<std::size_t>(n));
    std::iota(order.begin(), order.end(), 1);
    std::shuffle(order.begin(), order.end(), random);
    return order;
}

int Points(const Question& item) {
    return std::clamp(int(ReadNumber(item.Parameters)), 1, 12);
}

QStringList Instructions(const Question& item, std::mt19937_64& random, int attempt) {
    if (item.InstructionExtra.isEmpty())
        return {attempt == 0 ? QStringLiteral("key Space") : QStringLiteral("click Continue")};
    QStringList lines;
    if (attempt == 0 && Chance(random, kInvalidShare))
        lines << QStringLiteral("type ") + item.InstructionExtra + QStringLiteral("x")
              << QStringLiteral("key Enter") << QStringLiteral("key Backspace");
    else
        lines << QStringLiteral("key Home") << QStringLiteral("key Shift+End")
              << QStringLiteral("key Delete");
    return lines << QStringLiteral("type ") + item.InstructionExtra << QStringLiteral("key Enter");
}

QStringList Scale(const Question& item, std::mt19937_64& random, int attempt) {
    const int points = std::min(Points(item), 9);
    QStringList lines;
    // A key beyond the scale: the form must take no answer from it.
    if (attempt == 0 && points < 9 && Chance(random, kInvalidShare))
        lines << QStringLiteral("key ") + QString::number(points + 1);
    return lines << QStringLiteral("key ") + QString::number(Between(random, 1, points));
}

QStringList MultipleResponse(const Question& item, std::mt19937_64& random, int attempt) {
    const int choices = Points(item);
    const int low = item.RangeHigh > 0 ? std::max(1, int(item.RangeLow)) : 1;
    const int high = item.RangeHigh > 0 ? std::min(choices, int(item.RangeHigh)) : choices;
    QStringList lines;
    // Continue with nothing chosen: too few, the form must refuse it.
    if (attempt == 0 && Chance(random, kInvalidShare))
        lines << QStringLiteral("click Continue");
    const std::vector<int> order = Shuffled(choices, random);
    const int count = Between(random, low, high);
    for (int c = 0; c < count; ++c) {
        const int choice = order[std::size_t(c)];
        if (item.textlabel[std::size_t(choice)].contains(QLatin1Char('<')))
            lines << QStringLiteral("answer ") + SomeWords(random);
        lines << QStringLiteral("click chkResponse(%1)").arg(choice);
    }
    return lines << QStringLiteral("click Continue");
}

QStringList Ranking(const Question& item, std::mt19937_64& random, int) {
    const int answers = Points(item);
    const std::vector<int> order = Shuffled(answers, random);
    QStringList lines;
    for (int k : order)
        lines << QStringLiteral("drag Label1(%1) 450 %2").arg(k).arg(Between(random, 0, 200));
    return lines << QStringLiteral("click Continue") << QStringLiteral("click Continue");
}

QStringList FillBlank(const Question& item, std::mt19937_64& random, int attempt) {
    QStringList lines;
    const bool ranged = item.RangeHigh > item.RangeLow;
    if (attempt == 0 && ranged && Chance(random, kInvalidShare))
        lines << QStringLiteral("type ") + QString::number(qint64(item.RangeHigh) + 1)
              << QStringLiteral("key Enter");
    if (attempt > 0 || !lines.isEmpty())
        lines << QStringLiteral("key Home") << QStringLiteral("key Shift+End")
              << QStringLiteral("key Delete");
    const QString answer = ranged ? QString::number(Between(random, item.RangeLow, item.RangeHigh))
                                  : SomeWords(random);
    return lines << QStringLiteral("type ") + answer << QStringLiteral("key Enter");
}

QStringList Essay(const Question&, std::mt19937_64& random, int) {
    return {QStringLiteral("type ") + SomeWords(random) + QLatin1Char('.'),
            QStringLiteral("key Escape")};
}

const QHash<QString, AnswerGenerator>& Generators() {
    static const QHash<QString, AnswerGenerator> table = {
        {QStringLiteral("instructions"), Instructions},
        {QStringLiteral("scale response"), Scale},
        {QStringLiteral("multiple response"), MultipleResponse},
        {QStringLiteral("ranking"), Ranking},
        {QStringLiteral("fill-in-the-blank"), FillBlank},
        {QStringLiteral("essay"), Essay},
    };
    return table;
}

} // namespace

const AnswerGenerator* FindAnswerGenerator(const QString& type) {
    const auto found = Generators().constFind(type.trimmed().toLower());
    return found == Generators().cend() ? nullptr : &*found;
}

QStringList SimulatedTypes() {
    QStringList types = Generators().keys();
    types.sort();
    return types;
}

} // namespace corvane
