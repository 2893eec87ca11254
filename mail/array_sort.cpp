#include "mail/array_sort.h"

#include <algorithm>

namespace vornelle::ArraySort {
namespace {

void sortPart(std::vector<std::string>& values, int low, int high) {
  while (low < high) {
    const std::string pivot = values[(low + high) / 2];
    int i = low;
    int j = high;
    do {
      while (values[i] < pivot) ++i;
      while (values[j] > pivot) --j;
      if (i <= j) swapValues(values[i++], values[j--]);
    } while (i <= j);

    if (j - low < high - i) {
      sortPart(values, low, j);
      low = i;
    } else {
      sortPart(values, i, high);
      high = j;
    }
  }
}

}  // namespace

void quicksort(std::vector<std::string>& values, int low, int high) {
  const int last = static_cast<int>(values.size()) - 1;
  sortPart(values, low == kOwnBound ? 0 : std::max(low, 0), high == kOwnBound ? last : std::min(high, last));
}

void swapValues(std::string& a, std::string& b) noexcept {
  a.swap(b);
}

}  // namespace vornelle::ArraySort
