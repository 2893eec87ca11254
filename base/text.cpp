#include "base/text.h"

#include <algorithm>
#include <array>

namespace vornelle {
namespace {

struct CaseTables {
  std::array<char, 256> lower;
  std::array<char, 256> upper;
};

// The letters of Windows-1252 in pairs. What has no partner there (sharp s, the feminine and masculine
// ordinals, the florin sign) stays as it is.
constexpr CaseTables makeCaseTables() {
  CaseTables tables{};
  for (int c = 0; c < 256; ++c) tables.lower[c] = tables.upper[c] = static_cast<char>(c);
  auto pair = [&tables](int capital, int small) {
    tables.lower[capital] = static_cast<char>(small);
    tables.upper[small] = static_cast<char>(capital);
  };
  for (int c = 'A'; c <= 'Z'; ++c) pair(c, c + 32);
  for (int c = 0xC0; c <= 0xDE; ++c) {
    if (c != 0xD7) pair(c, c + 32);  // 0xD7 and 0xF7 are the multiplication and division signs
  }
  pair(0x8A, 0x9A);  // S with caron
  pair(0x8C, 0x9C);  // OE ligature
  pair(0x8E, 0x9E);  // Z with caron
  pair(0x9F, 0xFF);  // Y with diaeresis
  return tables;
}

constexpr CaseTables kCase = makeCaseTables();

bool sameLetter(char a, char b) {
  return toLowerChar(a) == toLowerChar(b);
}

std::string_view without(std::string_view around, std::string_view text) {
  const std::size_t first = text.find_first_not_of(around);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(around) - first + 1);
}

// Replaces whatever `findNext` finds; it takes a position and returns the next one or npos.
template <typename FindNext>
std::string replaceFound(std::string_view text, std::size_t findLength, std::string_view with,
                         FindNext findNext) {
  std::string result;
  result.reserve(text.size() + with.size());
  std::size_t from = 0;
  for (;;) {
    const std::size_t at = findNext(from);
    if (at == std::string_view::npos) break;
    result.append(text, from, at - from).append(with);
    from = at + findLength;
  }
  return result.append(text, from, text.size() - from);
}

}  // namespace

char toLowerChar(char c) {
  return kCase.lower[static_cast<unsigned char>(c)];
}

char toUpperChar(char c) {
  return kCase.upper[static_cast<unsigned char>(c)];
}

std::string toLower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), toLowerChar);
  return result;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), sameLetter);
}

bool startsWithNoCase(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && equalsNoCase(text.substr(0, start.size()), start);
}

bool endsWithNoCase(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && equalsNoCase(text.substr(text.size() - end.size()), end);
}

std::size_t findNoCase(std::string_view text, std::string_view find, std::size_t from) {
  if (from > text.size()) return std::string_view::npos;
  if (find.empty()) return from;
  if (find.size() > text.size() - from) return std::string_view::npos;
  const std::size_t last = text.size() - find.size();
  const char first = toLowerChar(find[0]);
  // What has no letter case, as the "<!--" that every marker begins with, is found by the fastest means there
  // is.
  const bool hasCase = first != toUpperChar(find[0]);
  const auto caseless = [](char c) { return toLowerChar(c) == toUpperChar(c); };
  const auto prefixLength = std::find_if_not(find.begin(), find.end(), caseless) - find.begin();
  const std::string_view prefix = find.substr(0, static_cast<std::size_t>(prefixLength));
  for (std::size_t at = from; at <= last; ++at) {
    if (hasCase) {
      while (at <= last && toLowerChar(text[at]) != first) ++at;
    } else {
      at = text.find(prefix, at);
    }
    if (at > last) break;
    if (equalsNoCase(text.substr(at, find.size()), find)) return at;
  }
  return std::string_view::npos;
}

bool containsNoCase(std::string_view text, std::string_view find) {
  return findNoCase(text, find) != std::string_view::npos;
}

std::string_view trim(std::string_view text) {
  return without(" ", text);
}

std::string_view trimBlanksAndTabs(std::string_view text) {
  return without(" \t", text);
}

std::string_view takeLine(std::string_view& rest) {
  const std::size_t end = rest.find('\n');
  std::string_view line = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

bool isDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

int hexDigitValue(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string hexadecimal(std::string_view bytes) {
  std::string text;
  text.reserve(2 * bytes.size());
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    text.append({kSmallHexDigits[code >> 4], kSmallHexDigits[code & 15]});
  }
  return text;
}

std::string replaceAll(std::string_view text, std::string_view find, std::string_view with) {
  if (find.empty()) return std::string(text);
  return replaceFound(text, find.size(), with, [&](std::size_t from) { return text.find(find, from); });
}

std::string replaceAllNoCase(std::string_view text, std::string_view find, std::string_view with) {
  if (find.empty()) return std::string(text);
  return replaceFound(text, find.size(), with,
                      [&](std::size_t from) { return findNoCase(text, find, from); });
}

std::vector<std::string> splitLines(std::string_view text) {
  std::vector<std::string> lines;
  std::size_t from = 0;
  while (from < text.size()) {
    const std::size_t end = text.find_first_of(kCrLf, from);
    if (end == std::string_view::npos) {
      lines.emplace_back(text.substr(from));
      break;
    }
    lines.emplace_back(text.substr(from, end - from));
    const bool crLf = text.substr(end, 2) == kCrLf;
    from = end + (crLf ? 2 : 1);
  }
  return lines;
}

}  // namespace vornelle
