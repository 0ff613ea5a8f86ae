#include "output/exchange_order.h"

#include <algorithm>
#include <numeric>

namespace corvane {

std::vector<std::size_t> ExchangeSortOrder(const std::vector<int>& keys,
                                           const std::function<void()>& progress) {
    const std::size_t n = keys.size();
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });
    const bool allDifferent =
        std::adjacent_find(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return keys[a] == keys[b];
        }) == order.end();
    if (allDifferent)
        return order; // without equal keys any sort gives the same order
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::vector<int> key = keys;
    for (std::size_t a = 0; a + 1 < n; ++a) {
        int held = key[a];
        for (std::size_t b = a + 1; b < n; ++b) {
            if (held > key[b]) {
                std::swap(held, key[b]);
                std::swap(order[a], order[b]);
            }
        }
        key[a] = held;
        if (progress)
            progress();
    }
    return order;
}

} // namespace corvane
