// Sorting one array and moving a second one along.
#pragma once

#include <optional>
#include <utility>
#include <vector>

namespace vornelle {

// Sorts keys[low..high] ascending in place, and moves the elements of `along` the same way. A missing bound
// is the array's own. Elements with equal keys keep no particular order.
//
//   1. Pivot: the key in the middle.
//   2. From both ends towards each other, swap what stands on the wrong side of the pivot.
//   3. Sort the two parts.
template <typename Key, typename Value>
void sortParallel(std::vector<Key>& keys, std::vector<Value>& along, std::optional<int> low = std::nullopt,
                  std::optional<int> high = std::nullopt) {
  const int first = low.value_or(0);
  const int last = high.value_or(static_cast<int>(keys.size()) - 1);
  if (first >= last) return;
  const auto at = [](int index) { return static_cast<std::size_t>(index); };
  const int middle = (first + last) / 2;
  const Key pivot = keys[at(middle)];
  int i = first, j = last;
  do {
    while (keys[at(i)] < pivot) i++;
    while (keys[at(j)] > pivot) j--;
    if (i <= j) {
      std::swap(keys[at(i)], keys[at(j)]);
      std::swap(along[at(i)], along[at(j)]);
      i++;
      j--;
    }
  } while (i <= j);
  if (j <= middle) {
    sortParallel(keys, along, first, j);
    sortParallel(keys, along, i, last);
  } else {
    sortParallel(keys, along, i, last);
    sortParallel(keys, along, first, j);
  }
}

}  // namespace vornelle
