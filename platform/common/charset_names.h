// The names of character sets, as mail spells them.
#pragma once

#include <string_view>

namespace vornelle {

enum class CharsetKind {
  unknown,
  unlabelled,  // ASCII, and names that say nothing: UTF-8 where the bytes are that, else Windows-1252
  utf7,
  utf8,
  utf16,
  utf16LittleEndian,
  utf32,
  utf32LittleEndian,
  windows1252,
  codePage,
  latin,
  iso2022Jp,
  iso2022Kr,
  eucJp,
  hz,
  gb18030,
};

struct CharsetName {
  CharsetKind kind = CharsetKind::unknown;
  int number = 0;  // the code page, or the part of ISO 8859 for `latin`
};

// What a name means, by the rules of platform/charset.h.
[[nodiscard]] CharsetName charsetName(std::string_view name);

}  // namespace vornelle
