// The order the data by variable has always had: an exchange sort, which is not stable, so the
// order of equal names, on which the merge of variables depends, is that sort's own. Comparing
// the names themselves n²/2 times costs a large experiment minutes at the end of its run; the
// same swaps on whole-number ranks of the names take a fraction of a second, and when no two
// names are equal the order is simply the sorted one.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace corvane {

/// The order that this exchange sort leaves the keys in, as indices into `keys`:
///     for a in 0..n-2, for b in a+1..n-1: if key[a] > key[b], swap them.
/// `progress` (may be empty) is called after each place is settled.
std::vector<std::size_t> ExchangeSortOrder(const std::vector<int>& keys,
                                           const std::function<void()>& progress = {});

} // namespace corvane
