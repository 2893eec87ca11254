#include "base/url_decode.h"

#include <algorithm>
#include <string_view>

#include "base/characters.h"
#include "base/text.h"

namespace vornelle {
namespace {

struct Replacement {
  std::string_view find;
  std::string_view with;
};

// The order is part of the table: "+" becomes a blank before "%2B" becomes "+", and "%25" comes before the
// rows that can find the percent sign which it leaves behind.
constexpr Replacement kReplacements[] = {
    {"+", " "},   {"%0D%0A", kCrLf}, {"%21", "!"},    {"%22", "\""}, {"%A7", "\xA7"}, {"%24", "$"},
    {"%25", "%"}, {"%26", "&"},      {"%2F", "/"},    {"%28", "("},  {"%29", ")"},    {"%3D", "="},
    {"%3F", "?"}, {"%B2", "\xB2"},   {"%B3", "\xB3"}, {"%7B", "{"},  {"%5B", "["},    {"%5D", "]"},
    {"%7D", "}"}, {"%5C", "\\"},     {"%DF", "\xDF"}, {"%23", "#"},  {"%27", "'"},    {"%3A", ":"},
    {"%2C", ","}, {"%3B", ";"},      {"%60", "`"},    {"%7E", "~"},  {"%2B", "+"},    {"%B4", "\xB4"},
};

// Takes one of the spellings off the start of the text.
bool take(std::string_view& text, std::string_view plain, std::string_view encoded) {
  for (const std::string_view spelling : {plain, encoded}) {
    if (!startsWithNoCase(text, spelling)) continue;
    text.remove_prefix(spelling.size());
    return true;
  }
  return false;
}

// The reference that the text starts with behind its "%26", and how long it is there; "" for anything else.
std::string reference(std::string_view text, std::size_t& length) {
  std::string_view rest = text;
  if (!take(rest, "#", "%23")) return "";
  const auto digitsEnd = std::find_if_not(rest.begin(), rest.end(), isDigit);
  std::string found = "&#" + std::string(rest.begin(), digitsEnd) + ";";
  rest.remove_prefix(static_cast<std::size_t>(digitsEnd - rest.begin()));
  if (!take(rest, ";", "%3B") || textCharacter(found).length == 1) return "";
  length = text.size() - rest.size();
  return found;
}

}  // namespace

std::string urlDecode(std::string text) {
  for (const Replacement& row : kReplacements) {
    if (text.find(row.find) != std::string::npos) text = replaceAll(text, row.find, row.with);
  }
  return text;
}

std::string decodePostedReferences(std::string_view text) {
  constexpr std::string_view kAmpersand = "%26";
  std::string result;
  for (;;) {
    const std::size_t start = text.find(kAmpersand);
    if (start == std::string_view::npos) return result.append(text);
    const std::string_view behind = text.substr(start + kAmpersand.size());
    std::size_t length = 0;
    const std::string found = reference(behind, length);
    result.append(text.substr(0, start)).append(found.empty() ? kAmpersand : std::string_view(found));
    text = behind.substr(length);
  }
}

std::string percentDecode(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? hexDigitValue(text[i + 1]) : -1;
    const int low = high >= 0 ? hexDigitValue(text[i + 2]) : -1;
    if (low >= 0) {
      decoded += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

std::string formDecode(std::string_view text) {
  return percentDecode(replaceAll(text, "+", " "));
}

std::string formEncode(std::string_view text) {
  std::string encoded;
  for (const char c : text) {
    if (isAsciiLetter(c) || isDigit(c) || c == '-' || c == '.') {
      encoded += c;
    } else {
      const auto code = static_cast<unsigned char>(c);
      encoded.append({'%', kHexDigits[code >> 4], kHexDigits[code & 15]});
    }
  }
  return encoded;
}

}  // namespace vornelle
