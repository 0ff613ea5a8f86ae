// The order the data by variable has always had: an exchange sort, which is not stable, so the
// order of equal names, on which the merge of variables depends, is that sort's own. Doing its
// swaps one comparison at a time costs n²/2 comparisons, minutes of a large experiment's end of
// run; this finds the same swaps by looking up, for each place, the next smaller key directly.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace corvane {

/// The order that this exchange sort leaves the keys in, as indices into `keys`:
///     for a in 0..n-2, for b in a+1..n-1: if key[a] > key[b], swap them.
/// `progress` (may be empty) is called now and then with the comparisons the plain sort would
/// have made so far.
std::vector<std::size_t> ExchangeSortOrder(const std::vector<int>& keys,
                                           const std::function<void(long long)>& progress = {});

} // namespace corvane
