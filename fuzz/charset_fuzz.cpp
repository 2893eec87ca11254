// Any bytes in any character set: no more characters than bytes, text that is read back as it was written,
// and no ASCII character swallowed by a broken sequence.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/characters.h"
#include "core/letter_case.h"
#include "mail/charset.h"
#include "platform/charset.h"

namespace {

constexpr const char* kCharsets[] = {
    "utf-8",       "utf-16",       "utf-16le",   "utf-32",     "utf-7",   "us-ascii", "windows-1251",
    "iso-8859-16", "windows-1252", "shift_jis",  "euc-jp",     "gb18030", "big5",     "euc-kr",
    "iso-2022-jp", "iso-2022-kr",  "hz-gb-2312", "iso-8859-7", "koi8-r",  "cp874"};
// Those in which a byte below 64 is never a part of a longer character, but for the digits of GB 18030.
constexpr std::string_view kPlain[] = {"utf-8", "shift_jis", "euc-jp", "gb18030", "big5", "euc-kr"};

void check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string charset = kCharsets[data[0] % std::size(kCharsets)];
  const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);

  const auto characters = vornelle::charsetToUnicode(charset, bytes);
  check(characters.has_value() && characters->size() <= bytes.size());
  if (std::find(std::begin(kPlain), std::end(kPlain), charset) != std::end(kPlain)) {
    for (const char c : {'<', '>', '"', '&', '\'', '\n'}) {
      check(std::count(bytes.begin(), bytes.end(), c) ==
            std::count(characters->begin(), characters->end(), static_cast<char32_t>(c)));
    }
  }

  const std::string text = vornelle::charsetToText(charset, bytes).value();
  check(vornelle::fromUtf8ToText(vornelle::toUtf8(text)) == text || text.starts_with("&#65279;"));
  const std::string bounded = vornelle::charsetToText(charset, bytes, text.size() / 2).value();
  check(bounded.size() <= text.size() / 2 && text.starts_with(bounded));
  check(text.starts_with(vornelle::firstCharacters(text, 25)));
  check(vornelle::firstBytes(text, size / 2).size() <= size / 2);

  const std::string small = vornelle::toSmallLetters(text);
  check(vornelle::toSmallLetters(small) == small && vornelle::sameLetters(small, text));
  static_cast<void>(vornelle::isKnownCharset(bytes));
  return 0;
}
