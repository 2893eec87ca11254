#include "mail/list_matcher.h"

#include <algorithm>

#include "base/text.h"
#include "core/letter_case.h"

namespace vornelle {
namespace {

constexpr std::size_t kLongestBeginning = 4;
// 32 KB, which stays in the processor's cache. A full list of 10,000 entries sets one bit in 26.
constexpr int kHashBits = 18;

// Takes the bytes of a beginning one after the other; the hash covers their number too.
class BeginningHash {
 public:
  void add(char c) { bytes_ = bytes_ << 8 | static_cast<unsigned char>(c); }
  [[nodiscard]] std::size_t value(std::size_t length) const {
    const std::uint64_t mixed = (std::uint64_t{length} << 32 | bytes_) * 0x9E3779B97F4A7C15u;
    return static_cast<std::size_t>(mixed >> (64 - kHashBits));
  }

 private:
  std::uint32_t bytes_ = 0;
};

// Numbers compare as the bytes do; short texts are filled up with zeros.
std::uint64_t firstEightBytes(std::string_view text) {
  std::uint64_t number = 0;
  for (std::size_t at = 0; at < 8; ++at)
    number = number << 8 | (at < text.size() ? static_cast<unsigned char>(text[at]) : 0u);
  return number;
}

std::size_t beginningHash(std::string_view beginning) {
  BeginningHash hash;
  for (const char c : beginning) hash.add(c);
  return hash.value(beginning.size());
}

}  // namespace

ListMatcher::ListMatcher(const std::vector<std::string>& entries) {
  entries_.reserve(entries.size());
  for (const std::string& entry : entries) {
    if (!trim(entry).empty()) entries_.push_back(searchForm(entry));
  }
  if (entries_.empty()) return;
  std::sort(entries_.begin(), entries_.end());
  const auto beginsWith = [](const std::string& shorter, const std::string& longer) {
    return std::string_view(longer).starts_with(shorter);
  };
  entries_.erase(std::unique(entries_.begin(), entries_.end(), beginsWith), entries_.end());

  beginnings_.assign(std::size_t{1} << kHashBits, false);
  shortest_ = kLongestBeginning;
  for (const std::string& entry : entries_) {
    const std::string_view beginning = std::string_view(entry).substr(0, kLongestBeginning);
    beginnings_[beginningHash(beginning)] = true;
    shortest_ = std::min(shortest_, beginning.size());
    firstEight_.push_back(firstEightBytes(entry));
  }
}

bool ListMatcher::matches(std::string_view text) const {
  if (entries_.empty()) return false;
  const std::string folded = searchForm(text);
  for (std::string_view rest = folded; rest.size() >= shortest_; rest.remove_prefix(1)) {
    if (someEntryMayBegin(rest) && beginsWithEntry(rest)) return true;
  }
  return false;
}

bool ListMatcher::someEntryMayBegin(std::string_view rest) const {
  BeginningHash hash;
  const std::size_t longest = std::min(rest.size(), kLongestBeginning);
  for (std::size_t length = 1; length <= longest; ++length) {
    hash.add(rest[length - 1]);
    if (length >= shortest_ && beginnings_[hash.value(length)]) return true;
  }
  return false;
}

bool ListMatcher::beginsWithEntry(std::string_view rest) const {
  // Comparing numbers narrows it down to the few entries with the same eight bytes, most often to none.
  const auto [first, last] = std::equal_range(firstEight_.begin(), firstEight_.end(), firstEightBytes(rest));
  const auto above = std::upper_bound(entries_.begin() + (first - firstEight_.begin()),
                                      entries_.begin() + (last - firstEight_.begin()), rest);
  return above != entries_.begin() && rest.starts_with(*std::prev(above));
}

}  // namespace vornelle
