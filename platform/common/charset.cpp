#include "platform/charset.h"

#include "base/characters.h"
#include "base/unicode.h"
#include "platform/common/charset_names.h"
#include "platform/common/code_page.h"
#include "platform/common/escape_charsets.h"
#include "platform/common/latin_tables.h"

namespace vornelle {
namespace {

std::u32string fromWindows1252(std::string_view bytes) {
  std::u32string text;
  text.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) text.push_back(textCharacter(bytes.substr(i, 1)).code);
  return text;
}

std::u32string asciiOnly(std::string_view bytes) {
  std::u32string text;
  text.reserve(bytes.size());
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text.push_back(byte < 0x80 ? byte : kNoCharacter);
  }
  return text;
}

// What the function makes of the bytes with a code page; nullopt when the system has none such.
template <typename Decode>
std::optional<std::u32string> with(int number, const Decode& decode) {
  const CodePage* const page = CodePage::find(number);
  if (page == nullptr) return std::nullopt;
  return decode(*page);
}

}  // namespace

std::optional<std::u32string> charsetToUnicode(std::string_view charset, std::string_view bytes) {
  const CharsetName name = charsetName(charset);
  switch (name.kind) {
    case CharsetKind::unknown:
      return std::nullopt;
    case CharsetKind::unlabelled:
      return isUtf8(bytes) ? fromUtf8(bytes) : fromWindows1252(bytes);
    case CharsetKind::utf7:
      return asciiOnly(bytes);
    case CharsetKind::utf8:
      return fromUtf8(bytes);
    case CharsetKind::utf16:
    case CharsetKind::utf16LittleEndian:
      return fromUtf16(bytes, name.kind == CharsetKind::utf16LittleEndian);
    case CharsetKind::utf32:
    case CharsetKind::utf32LittleEndian:
      return fromUtf32(bytes, name.kind == CharsetKind::utf32LittleEndian);
    case CharsetKind::windows1252:
      return fromWindows1252(bytes);
    case CharsetKind::codePage:
      return with(name.number, [bytes](const CodePage& page) { return page.decode(bytes); });
    case CharsetKind::latin:
      return fromLatinTable(name.number, bytes);
    case CharsetKind::iso2022Jp:
      return with(kJapanese, [bytes](const CodePage& page) {
        return fromIso2022Jp(bytes, page, CodePage::find(kChinese), CodePage::find(kKorean));
      });
    case CharsetKind::iso2022Kr:
      return with(kKorean, [bytes](const CodePage& page) { return fromIso2022Kr(bytes, page); });
    case CharsetKind::eucJp:
      return with(kJapanese, [bytes](const CodePage& page) { return fromEucJp(bytes, page); });
    case CharsetKind::hz:
      return with(kChinese, [bytes](const CodePage& page) { return fromHz(bytes, page); });
    case CharsetKind::gb18030:
      return with(kChinese, [bytes](const CodePage& page) { return fromGb18030(bytes, page); });
  }
  return std::nullopt;
}

bool isKnownCharset(std::string_view charset) {
  return charsetToUnicode(charset, "").has_value();
}

}  // namespace vornelle
