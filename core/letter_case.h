// Letter case in the program's text, for every alphabet that has it.
//
// A capital and a small letter belong together when the system maps each to the other, and the small letter
// is beyond U+00FF; the pairs of Windows-1252 are those of base/text.h. So the Kelvin sign is no "k" and the
// dotted capital I no "i", while the florin sign of Windows-1252 is the small letter of the F with hook,
// which it looks like. The letters of alphabets in use count, in ranges to which Unicode adds nothing any
// more: whichever edition of it a system follows, the result is the same.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// Each capital letter as its small one.
[[nodiscard]] std::string toSmallLetters(std::string_view text);

// The text in a form that can be searched byte by byte: small letters in UTF-8. Where one text occurs in
// another regardless of letter case, its form occurs in the other's form, and the other way round. The two
// small forms of the Greek sigma are one letter here.
[[nodiscard]] std::string searchForm(std::string_view text);

// True when both are the same but for letter case.
[[nodiscard]] bool sameLetters(std::string_view a, std::string_view b);

}  // namespace vornelle
