#include "mail/charset.h"

#include "base/characters.h"
#include "base/text.h"
#include "base/unicode.h"
#include "platform/charset.h"

namespace vornelle {

std::string unlabelledToText(std::string_view bytes, std::size_t most) {
  if (!isUtf8(bytes)) return std::string(firstBytes(bytes, most));
  return fromUtf8ToText(bytes, most);
}

std::optional<std::string> charsetToText(std::string_view charset, std::string_view bytes, std::size_t most) {
  if (equalsNoCase(charset, "utf-8")) return fromUtf8ToText(bytes, most);  // most mail, without a detour
  const std::optional<std::u32string> characters = charsetToUnicode(charset, bytes);
  if (!characters) return std::nullopt;
  return toText(*characters, most);
}

}  // namespace vornelle
