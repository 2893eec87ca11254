// Any text as the value of a header field: what comes out is no longer than references can make it, and a
// text without words and beyond ASCII comes out as it went in.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/characters.h"
#include "base/url_decode.h"
#include "mail/encoded_words.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string value(reinterpret_cast<const char*>(data), size);
  const std::string text = vornelle::decodeEncodedWords(value);
  // A character of one byte becomes at most eight letters: "&#65439;", a half-width katakana behind "ESC (
  // I".
  if (text.size() > 8 * size) std::abort();
  bool plain = value.find("=?") == std::string::npos;
  for (const char c : value) plain = plain && static_cast<unsigned char>(c) < 0x80;
  if (plain && text != value) std::abort();
  // What has been decoded holds whole characters only.
  std::size_t length = 0;
  while (length < text.size())
    length += vornelle::textCharacter(std::string_view(text).substr(length)).length;
  if (length != text.size()) std::abort();
  if (vornelle::decodePostedReferences(value).size() > size) std::abort();
  return 0;
}
