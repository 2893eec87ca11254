#include "platform/common/code_page.h"

#include <map>
#include <memory>
#include <optional>

#include "base/unicode.h"
#include "platform/common/system_code_page.h"

namespace vornelle {
namespace {

constexpr int kTraditionalChinese = 950;

bool hasPairs(int number) {
  return number == kJapanese || number == kChinese || number == kKorean || number == kTraditionalChinese;
}

bool isMeant(char32_t code) {
  const bool control = code >= 0x80 && code < 0xA0;
  const bool privateUse = code >= 0xE000 && code <= 0xF8FF;
  return !control && !privateUse && isCharacter(code);
}

// Single bytes beside the pairs, on which systems differ: half-width katakana, and the euro sign.
char32_t singleBesidePairs(int number, int byte) {
  if (number == kJapanese && byte >= 0xA1 && byte <= 0xDF) return 0xFF61 + static_cast<char32_t>(byte - 0xA1);
  if (number == kChinese && byte == 0x80) return 0x20AC;
  return kNoCharacter;
}

bool leadsPairs(int number, int byte) {
  if (number == kJapanese) return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
  return byte >= 0x81 && byte <= 0xFE;
}

// Where systems differ, or follow an older edition of a standard.
struct Settled {
  int codePage, byte;
  char32_t code;
};
constexpr Settled kSettled[] = {
    {858, 0xD5, 0x20AC},  // the one difference from 850
    {874, 0x80, 0x20AC},   {874, 0x85, 0x2026},   {874, 0x91, 0x2018},   {874, 0x92, 0x2019},
    {874, 0x93, 0x201C},   {874, 0x94, 0x201D},   {874, 0x95, 0x2022},   {874, 0x96, 0x2013},
    {874, 0x97, 0x2014},   {874, 0xA0, 0x00A0},   {1255, 0xCA, 0x05BA},  {10000, 0xBD, 0x03A9},
    {10000, 0xC6, 0x2206}, {10007, 0xA2, 0x0490}, {10007, 0xB6, 0x0491}, {21866, 0xAE, 0x045E},
    {21866, 0xBE, 0x040E}, {28597, 0xA1, 0x2018}, {28597, 0xA2, 0x2019}, {28597, 0xA4, 0x20AC},
    {28597, 0xA5, 0x20AF}, {28597, 0xAA, 0x037A}, {28598, 0xAF, 0x00AF}, {28598, 0xFD, 0x200E},
    {28598, 0xFE, 0x200F},
};

}  // namespace

const CodePage* CodePage::find(int number) {
  // Never destroyed: text is read until the process ends.
  static auto& known = *new std::map<int, std::unique_ptr<CodePage>>;
  const auto found = known.find(number);
  if (found != known.end()) return found->second.get();
  std::unique_ptr<CodePage> made(new CodePage(number));
  if (!made->load()) made.reset();
  return known.emplace(number, std::move(made)).first->second.get();
}

bool CodePage::load() {
  const SystemCodePage system(number_ == 858 ? 850 : number_);
  if (!system.known()) return false;
  const auto ask = [&system](std::string_view bytes) -> char32_t {
    const std::optional<char16_t> code = system.character(bytes);
    return code && isMeant(*code) ? *code : kNoCharacter;
  };
  const bool pairs = hasPairs(number_);
  if (pairs) pairs_.assign(std::size_t{128} * 256, 0);
  for (int byte = 0; byte < 256; ++byte) {
    const char text[2] = {static_cast<char>(byte), '\0'};
    char32_t& code = single_[static_cast<std::size_t>(byte)];
    if (byte < 0x80) {
      code = static_cast<char32_t>(byte);
    } else if (pairs) {
      code = singleBesidePairs(number_, byte);
    } else {
      code = ask({text, 1});
    }
    lead_[static_cast<std::size_t>(byte)] = pairs && leadsPairs(number_, byte);
    if (!lead_[static_cast<std::size_t>(byte)]) continue;
    for (int trail = 0x30; trail < 0xFF; ++trail) {
      const char both[2] = {static_cast<char>(byte), static_cast<char>(trail)};
      const char32_t of = ask({both, 2});
      if (of == kNoCharacter) continue;
      pairs_[static_cast<std::size_t>(byte - 0x80) * 256 + static_cast<std::size_t>(trail)] =
          static_cast<char16_t>(of);
    }
  }
  for (const Settled& one : kSettled) {
    if (one.codePage == number_) single_[static_cast<std::size_t>(one.byte)] = one.code;
  }
  return true;
}

char32_t CodePage::pair(char lead, char trail) const {
  if (pairs_.empty() || index(lead) < 0x80) return kNoCharacter;
  const char16_t code = pairs_[(index(lead) - 0x80) * 256 + index(trail)];
  return code == 0 ? kNoCharacter : code;
}

std::u32string CodePage::decode(std::string_view bytes) const {
  std::u32string text;
  text.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (!isLead(bytes[i]) || i + 1 == bytes.size()) {
      text.push_back(single(bytes[i]));
      continue;
    }
    const char32_t code = pair(bytes[i], bytes[i + 1]);
    text.push_back(code);
    if (code != kNoCharacter || index(bytes[i + 1]) >= 0x80) ++i;
  }
  return text;
}

char32_t CodePage::place(int row, int column) const {
  return pair(static_cast<char>(row + 0xA0), static_cast<char>(column + 0xA0));
}

char32_t CodePage::japanesePlace(int row, int column) const {
  // Two rows share a lead byte; the trail bytes leave out DEL.
  const int half = (row - 1) / 2;
  const int lead = half + (half < 31 ? 0x81 : 0xC1);
  const int trail = row % 2 == 0 ? column + 0x9E : column + (column < 64 ? 0x3F : 0x40);
  return pair(static_cast<char>(lead), static_cast<char>(trail));
}

}  // namespace vornelle
