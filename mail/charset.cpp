#include "mail/charset.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/text.h"
#include "mail/charset_tables.h"

namespace vornelle {
namespace {

// Unicode of the bytes 128 to 159; 0 where Windows-1252 has nothing.
constexpr std::array<char32_t, 32> kC1 = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                          0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                          0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                          0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kByteOrderMark = 0xFEFF;

char fromUnicode(char32_t code) {
  if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<char>(code);
  // The five bytes without a character stand for themselves, so that nothing is lost on the way.
  if (code < 0xA0) return kC1[code - 0x80] == 0 ? static_cast<char>(code) : '?';
  const auto found = std::find(kC1.begin(), kC1.end(), code);
  return found == kC1.end() ? '?' : static_cast<char>(0x80 + (found - kC1.begin()));
}

struct Decoded {
  char32_t code;
  std::size_t length;
  bool valid;
};

// One character of UTF-8 (RFC 3629). What is broken counts as one character up to where it breaks.
Decoded decodeUtf8(std::string_view bytes) {
  const auto at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned first = at(0);
  if (first < 0x80) return {first, 1, true};
  std::size_t length = 0;
  unsigned low = 0x80,
           high = 0xBF;  // bounds of the second byte: no overlong forms, no surrogates, nothing past 10FFFF
  if (first >= 0xC2 && first <= 0xDF) {
    length = 2;
  } else if (first >= 0xE0 && first <= 0xEF) {
    length = 3;
    if (first == 0xE0) low = 0xA0;
    if (first == 0xED) high = 0x9F;
  } else if (first >= 0xF0 && first <= 0xF4) {
    length = 4;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;
  } else {
    return {kReplacement, 1, false};
  }
  char32_t code = first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= bytes.size() || at(i) < low || at(i) > high) return {kReplacement, i, false};
    code = (code << 6) | (at(i) & 0x3FU);
    low = 0x80;
    high = 0xBF;
  }
  return {code, length, true};
}

std::string utf8ToText(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  while (!bytes.empty()) {
    const Decoded next = decodeUtf8(bytes);
    out.push_back(fromUnicode(next.code));
    bytes.remove_prefix(next.length);
  }
  return out;
}

// `littleEndian` is what counts where there is no byte order mark.
std::string utf16ToText(std::string_view bytes, bool littleEndian) {
  const auto unit = [&](std::size_t i) {
    const auto a = static_cast<unsigned char>(bytes[i]);
    const auto b = static_cast<unsigned char>(bytes[i + 1]);
    return static_cast<char32_t>(littleEndian ? a | (b << 8) : (a << 8) | b);
  };
  std::size_t i = 0;
  if (bytes.starts_with("\xFE\xFF")) littleEndian = false;
  if (bytes.starts_with("\xFF\xFE")) littleEndian = true;
  if (bytes.size() >= 2 && unit(0) == kByteOrderMark) i = 2;
  std::string out;
  out.reserve(bytes.size() / 2 + 1);
  while (i + 1 < bytes.size()) {
    char32_t code = unit(i);
    i += 2;
    if (code >= 0xD800 && code <= 0xDFFF) {
      const bool pair = code < 0xDC00 && i + 1 < bytes.size() && unit(i) >= 0xDC00 && unit(i) <= 0xDFFF;
      code = kReplacement;
      if (pair) i += 2;  // nothing past the first plane is in the code page
    }
    out.push_back(fromUnicode(code));
  }
  if (i < bytes.size()) out.push_back('?');
  return out;
}

std::string tableToText(std::string_view upperHalf, std::string_view bytes) {
  std::string out(bytes);
  for (char& c : out) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) c = upperHalf[byte - 0x80U];
  }
  return out;
}

struct Alias {
  std::string_view name, means;
};
constexpr Alias kAliases[] = {{"utf8", "utf-8"},
                              {"ascii", "us-ascii"},
                              {"iso8859-1", "iso-8859-1"},
                              {"iso_8859-1", "iso-8859-1"},
                              {"latin1", "iso-8859-1"},
                              {"l1", "iso-8859-1"},
                              {"cp1252", "windows-1252"},
                              {"x-cp1252", "windows-1252"},
                              {"ansi_x3.4-1968", "us-ascii"},
                              {"iso8859-15", "iso-8859-15"},
                              {"latin9", "iso-8859-15"},
                              {"latin-9", "iso-8859-15"},
                              {"latin2", "iso-8859-2"},
                              {"iso8859-2", "iso-8859-2"},
                              {"cp1250", "windows-1250"},
                              {"cp1251", "windows-1251"},
                              {"cp1253", "windows-1253"},
                              {"cp1254", "windows-1254"},
                              {"cp1257", "windows-1257"},
                              {"cp437", "ibm437"},
                              {"cp850", "ibm850"},
                              {"cp852", "ibm852"},
                              {"mac", "macintosh"},
                              {"x-mac-roman", "macintosh"},
                              {"latin5", "iso-8859-9"}};

}  // namespace

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const Decoded next = decodeUtf8(bytes);
    if (!next.valid) return false;
    bytes.remove_prefix(next.length);
  }
  return true;
}

std::string unlabelledToText(std::string_view bytes) {
  return isUtf8(bytes) ? utf8ToText(bytes) : std::string(bytes);
}

std::optional<std::string> charsetToText(std::string_view charset, std::string_view bytes) {
  constexpr std::size_t kLongestName = 64;
  charset = trim(charset.substr(0, charset.find('*')));
  if (charset.size() > kLongestName) return std::nullopt;
  std::string name = toLower(charset);
  for (const Alias& alias : kAliases) {
    if (name == alias.name) name = alias.means;
  }
  if (name == "utf-8") return utf8ToText(bytes);
  // Mail that says ASCII and is not.
  if (name == "us-ascii") return unlabelledToText(bytes);
  if (name == "windows-1252" || name == "iso-8859-1") return std::string(bytes);
  if (name == "utf-16" || name == "utf-16be") return utf16ToText(bytes, false);
  if (name == "utf-16le") return utf16ToText(bytes, true);
  for (const CharsetTable& table : charsetTables()) {
    if (name == table.name) return tableToText(table.upperHalf, bytes);
  }
  return std::nullopt;
}

}  // namespace vornelle
