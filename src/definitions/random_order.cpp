#include "definitions/random_order.h"

#include "definitions/number_reading.h"
#include "state/error.h"
#include "state/random_source.h"
#include "state/run_state.h"

#include <QString>

namespace corvane {

namespace {

// Draws a permutation of 1..m by rejection: draw until a number not yet taken comes up. Slow
// for the last few, but every order is equally likely.
std::vector<int> RejectionPermutation(int m, RandomSource& random) {
    std::vector<int> order(std::size_t(m) + 1, 0);
    std::vector<bool> taken(std::size_t(m) + 1, false);
    for (int c = 1; c <= m; ++c) {
        int r = 0;
        do {
            r = Draw(random, m);
        } while (taken[std::size_t(r)]);
        taken[std::size_t(r)] = true;
        order[std::size_t(c)] = r;
    }
    return order;
}

} // namespace

std::vector<int> WithinGroupPositions(const std::vector<int>& groups, RandomSource& random) {
    const int n = int(groups.size()) - 1;
    std::vector<bool> used(std::size_t(n) + 1, false);
    for (int i = 1; i <= n; ++i) {
        const int g = groups[std::size_t(i)];
        if (g < 0 || g > n)
            raise(ErrorNumber::Subscript);
        used[std::size_t(g)] = true;
    }
    // Members of each used group, the groups in rising order with group 0 first.
    std::vector<std::vector<int>> members(std::size_t(n) + 1);
    for (int i = 1; i <= n; ++i)
        members[std::size_t(groups[std::size_t(i)])].push_back(i);

    std::vector<int> positions(std::size_t(n) + 1, 0);
    for (int g = 0; g <= n; ++g) {
        if (!used[std::size_t(g)])
            continue;
        const auto& group = members[std::size_t(g)];
        const int size = int(group.size());
        std::vector<int> order(std::size_t(size) + 1);
        if (g == 0) {
            for (int c = 1; c <= size; ++c)
                order[std::size_t(c)] = c;
        } else {
            order = RejectionPermutation(size, random);
        }
        for (int c = 1; c <= size; ++c)
            positions[std::size_t(group[std::size_t(c - 1)])] =
                group[std::size_t(order[std::size_t(c)] - 1)];
    }
    return positions;
}

std::vector<int> BetweenGroupPositions(const std::vector<int>& blocks, RandomSource& random) {
    random.Seed();
    const int n = int(blocks.size()) - 1;
    std::vector<std::vector<int>> blockMembers{{}}; // index 0 unused
    std::vector<int> fixed{0};
    std::vector<int> free;
    int previous = -1; // element 0 is -1, so that row 1 always opens a block
    for (int i = 1; i <= n; ++i) {
        const int value = blocks[std::size_t(i)];
        if (i == 1 || value != previous) {
            blockMembers.push_back({i});
            const int b = int(blockMembers.size()) - 1;
            fixed.push_back(value == 0 ? b : 0);
            if (value != 0)
                free.push_back(b);
        } else {
            blockMembers.back().push_back(i);
        }
        previous = value;
    }

    const int m = int(free.size());
    const std::vector<int> drawn = RejectionPermutation(m, random);
    std::vector<int> shuffled;
    for (int k = 1; k <= m; ++k)
        shuffled.push_back(free[std::size_t(drawn[std::size_t(k)] - 1)]);

    std::vector<int> positions{0};
    std::size_t next = 0;
    for (std::size_t p = 1; p < blockMembers.size(); ++p) {
        const int shown = fixed[p] > 0 ? fixed[p] : shuffled[next++];
        for (int member : blockMembers[std::size_t(shown)])
            positions.push_back(member);
    }
    return positions;
}

namespace {

int FileGroupNumber(const QString& text) {
    return RoundToInt16(ReadNumber(text));
}

// Rows of the file list open a block where the texts differ, and are fixed where the text reads
// as the number 0. Texts that differ but read as one number still open a new block.
std::vector<int> FileBlockNumbers(const std::vector<FileEntry>& files, int n) {
    std::vector<int> blocks(std::size_t(n) + 1, 0);
    int label = 0;
    for (int i = 1; i <= n; ++i) {
        const QString& text = files[std::size_t(i)].BGR;
        const bool opens = i == 1 || text != files[std::size_t(i - 1)].BGR;
        if (opens)
            ++label;
        blocks[std::size_t(i)] = ReadNumber(text) == 0.0 ? 0 : label;
    }
    // Adjacent fixed rows with different texts merge into one fixed block here; fixed blocks
    // keep their places and their members' order, so the order drawn is the same.
    return blocks;
}

} // namespace

void ShuffleWithinGroups(RunState& state) {
    const int n = state.NumQuestions;
    std::vector<int> groups(std::size_t(n) + 1, 0);
    for (int i = 1; i <= n; ++i)
        groups[std::size_t(i)] = state.Questions[std::size_t(i)].WGR;
    const auto positions = WithinGroupPositions(groups, state.Random());
    for (int i = 1; i <= n; ++i)
        state.Questions[std::size_t(i)].WGRPosition = qint16(positions[std::size_t(i)]);
}

void ShuffleBetweenGroups(RunState& state) {
    const int n = state.NumQuestions;
    state.Questions[0].BGR = -1;
    std::vector<int> blocks(std::size_t(n) + 1, 0);
    for (int i = 1; i <= n; ++i)
        blocks[std::size_t(i)] = state.Questions[std::size_t(i)].BGR;
    const auto positions = BetweenGroupPositions(blocks, state.Random());
    for (int t = 1; t <= n; ++t)
        state.Questions[std::size_t(t)].BGRPosition = qint16(positions[std::size_t(t)]);
}

void ShuffleFilesWithinGroups(RunState& state) {
    const int n = state.NumFiles;
    std::vector<int> groups(std::size_t(n) + 1, 0);
    for (int i = 1; i <= n; ++i)
        groups[std::size_t(i)] = FileGroupNumber(state.Files[std::size_t(i)].WGR);
    const auto positions = WithinGroupPositions(groups, state.Random());
    for (int i = 1; i <= n; ++i)
        state.Files[std::size_t(i)].WGRPosition = QString::number(positions[std::size_t(i)]);
}

void ShuffleFilesBetweenGroups(RunState& state) {
    const int n = state.NumFiles;
    state.Files[0].BGR = QStringLiteral("-1");
    const auto positions = BetweenGroupPositions(FileBlockNumbers(state.Files, n), state.Random());
    for (int t = 1; t <= n; ++t)
        state.Files[std::size_t(t)].BGRPosition = QString::number(positions[std::size_t(t)]);
}

} // namespace corvane
