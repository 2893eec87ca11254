// Single-byte character sets, as far as Windows-1252 has their characters.
#pragma once

#include <span>
#include <string_view>

namespace vornelle {

struct CharsetTable {
  std::string_view name;       // lower case
  std::string_view upperHalf;  // 128 characters: what bytes 128 to 255 are in Windows-1252
};

[[nodiscard]] std::span<const CharsetTable> charsetTables();

}  // namespace vornelle
