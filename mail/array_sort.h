// ArraySort: the list quicksort, which keeps the filter lists and the import list in order.
//
// 1. The pivot is the element in the middle.
// 2. i goes up while its element sorts before the pivot, j goes down while its element sorts after it; where
//    they stop the two are swapped and both step on, until they have passed each other.
// 3. The parts (low, j) and (i, high) are sorted the same way, the smaller one first.
//
// Both indices stop at elements equal to the pivot, so a list of equal entries is halved as evenly as a
// sorted one. The larger part is sorted by going round again, so the calls never nest deeper than the
// logarithm of the length.
#pragma once

#include <string>
#include <vector>

namespace vornelle::ArraySort {

// Given as a bound, this means the array's own lower or upper one.
inline constexpr int kOwnBound = -2;

// Sorts the elements low to high (both inclusive) in ascending order of their character codes (unsigned
// bytes). Bounds outside the array are taken as its own.
void quicksort(std::vector<std::string>& values, int low = kOwnBound, int high = kOwnBound);

void swapValues(std::string& a, std::string& b) noexcept;

}  // namespace vornelle::ArraySort
