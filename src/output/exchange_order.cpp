#include "output/exchange_order.h"

#include <algorithm>
#include <climits>

namespace corvane {

namespace {

// Smallest key of each span of places, so that the first place after a given one whose key is
// below a bound is found in logarithmic time.
class MinimumTree {
public:
    explicit MinimumTree(const std::vector<int>& keys) {
        while (m_leaves < keys.size())
            m_leaves *= 2;
        m_min.assign(2 * m_leaves, INT_MAX);
        std::copy(keys.begin(), keys.end(), m_min.begin() + std::ptrdiff_t(m_leaves));
        for (std::size_t node = m_leaves - 1; node >= 1; --node)
            m_min[node] = std::min(m_min[2 * node], m_min[2 * node + 1]);
    }

    void Set(std::size_t place, int key) {
        std::size_t node = place + m_leaves;
        m_min[node] = key;
        for (node /= 2; node >= 1; node /= 2)
            m_min[node] = std::min(m_min[2 * node], m_min[2 * node + 1]);
    }

    /// The first place at or after `from` whose key is below `bound`; npos when there is none.
    std::size_t FirstBelow(std::size_t from, int bound) const {
        if (from >= m_leaves)
            return npos;
        std::size_t node = from + m_leaves;
        // Up until a span that starts at or after `from` holds a smaller key.
        while (m_min[node] >= bound) {
            // Past a right child the next span is its parent's right neighbour.
            while (node % 2 == 1) {
                node /= 2;
                if (node == 0)
                    return npos;
            }
            ++node;
        }
        // Down to the leftmost such place.
        while (node < m_leaves)
            node = m_min[2 * node] < bound ? 2 * node : 2 * node + 1;
        return node - m_leaves;
    }

    static constexpr std::size_t npos = std::size_t(-1);

private:
    std::size_t m_leaves = 1;
    std::vector<int> m_min;
};

} // namespace

std::vector<std::size_t> ExchangeSortOrder(const std::vector<int>& keys,
                                           const std::function<void(long long)>& progress) {
    const std::size_t n = keys.size();
    std::vector<std::size_t> order(n);
    for (std::size_t i = 0; i < n; ++i)
        order[i] = i;
    std::vector<int> key = keys;
    MinimumTree tree(key);
    long long compared = 0;
    for (std::size_t a = 0; a + 1 < n; ++a) {
        // The plain sort swaps at each later place whose key is below the one held at a.
        for (std::size_t b = tree.FirstBelow(a + 1, key[a]); b != MinimumTree::npos;
             b = tree.FirstBelow(b + 1, key[a])) {
            std::swap(key[a], key[b]);
            std::swap(order[a], order[b]);
            tree.Set(a, key[a]);
            tree.Set(b, key[b]);
        }
        compared += (long long)(n - a - 1);
        if (progress)
            progress(compared);
    }
    return order;
}

} // namespace corvane
