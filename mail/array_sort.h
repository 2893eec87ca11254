// ArraySort keeps the filter lists and the import list in order.
#pragma once

#include <string>
#include <vector>

namespace vornelle::ArraySort {

// Given as a bound, this means the array's own lower or upper one.
inline constexpr int kOwnBound = -2;

// Sorts the elements low to high (both inclusive) in ascending order of their character codes (unsigned
// bytes). A low bound below the array and a high one above it are taken as its own; where low is not below
// high nothing is done.
void quicksort(std::vector<std::string>& values, int low = kOwnBound, int high = kOwnBound);

}  // namespace vornelle::ArraySort
