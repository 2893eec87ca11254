// Sorting one array and moving a second one along.
#pragma once

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace vornelle {

// Sorts keys[low..high], both inclusive, ascending in place, and moves the elements of `along`, which has as
// many, the same way. A missing bound is the array's own. Elements with equal keys stay in their order.
template <typename Key, typename Value>
void sortParallel(std::vector<Key>& keys, std::vector<Value>& along, std::optional<int> low = std::nullopt,
                  std::optional<int> high = std::nullopt) {
  const int first = low.value_or(0);
  const int last = high.value_or(static_cast<int>(keys.size()) - 1);
  std::vector<std::pair<Key, Value>> pairs;
  for (int i = first; i <= last; ++i) {
    const auto at = static_cast<std::size_t>(i);
    pairs.emplace_back(std::move(keys[at]), std::move(along[at]));
  }
  std::ranges::stable_sort(pairs, {}, &std::pair<Key, Value>::first);
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    const std::size_t at = static_cast<std::size_t>(first) + i;
    keys[at] = std::move(pairs[i].first);
    along[at] = std::move(pairs[i].second);
  }
}

}  // namespace vornelle
