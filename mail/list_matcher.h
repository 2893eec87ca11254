// Searches a text for every entry of a filter list at once.
//
// 1. The entries, in the form of core/letter_case.h, are sorted. One that begins with another entry is left
//    out: where it occurs, the shorter one occurs as well.
// 2. At each position of the text, a table of bits tells whether any entry begins with the next one to four
//    bytes. It errs on one side only, and rarely.
// 3. Where it says yes, the entry that sorts last among those not above the rest of the text is looked up by
//    halving. Since no entry begins with another one, it is the only one that the rest of the text can begin
//    with.
//
// With the entries "@example.org" and "bob" the text "jim <jim@example.org>" is looked at closely in one
// place, at the at sign. The time depends on the length of the text and hardly on the number of entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

class ListMatcher {
 public:
  // An entry that is empty or made of blanks only matches nothing; the others are searched for as they are,
  // with the blanks around them.
  explicit ListMatcher(const std::vector<std::string>& entries);

  // True when at least one entry occurs in the text, letter case ignored in every alphabet.
  [[nodiscard]] bool matches(std::string_view text) const;

 private:
  [[nodiscard]] bool someEntryMayBegin(std::string_view rest) const;
  [[nodiscard]] bool beginsWithEntry(std::string_view rest) const;

  std::vector<std::string> entries_;
  std::vector<std::uint64_t> firstEight_;  // by entry: its first eight bytes as a number in the same order
  std::vector<bool> beginnings_;           // by beginningHash()
  std::size_t shortest_ = 0;               // length of the shortest beginning in the table
};

}  // namespace vornelle
