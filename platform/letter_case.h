// Letter case, one letter to one letter, as the system knows it: independent of any locale. Systems follow
// Unicode at different distances: core/letter_case.h says which of their letters count.
#pragma once

namespace vornelle {

// The character itself where it has no such letter.
[[nodiscard]] char32_t systemSmallLetter(char32_t code);
[[nodiscard]] char32_t systemCapitalLetter(char32_t code);

}  // namespace vornelle
