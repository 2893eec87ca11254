#include "mail/array_sort.h"

#include <algorithm>

namespace vornelle::ArraySort {

void quicksort(std::vector<std::string>& values, int low, int high) {
  const int last = static_cast<int>(values.size()) - 1;
  low = low == kOwnBound ? 0 : std::max(low, 0);
  high = high == kOwnBound ? last : std::min(high, last);
  if (low < high) std::sort(values.begin() + low, values.begin() + high + 1);
}

}  // namespace vornelle::ArraySort
