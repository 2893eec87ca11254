#include "core/letter_case.h"

#include <array>
#include <unordered_map>

#include "base/characters.h"
#include "base/text.h"
#include "base/unicode.h"
#include "platform/letter_case.h"

namespace vornelle {
namespace {

struct Range {
  char32_t first, last;
};
constexpr Range kRanges[] = {
    {0x0100, 0x02AF},    // Latin
    {0x0370, 0x03FF},    // Greek
    {0x0400, 0x052F},    // Cyrillic
    {0x0531, 0x0556},    // Armenian
    {0x10A0, 0x10CD},    // Georgian
    {0x13A0, 0x13FD},    // Cherokee
    {0x1C90, 0x1CBF},    // Georgian
    {0x1E00, 0x1FFF},    // Latin and Greek with accents
    {0x2160, 0x216F},    // Roman numerals
    {0x24B6, 0x24CF},    // circled letters
    {0x2C00, 0x2CFF},    // Glagolitic, Latin, Coptic
    {0xA640, 0xA69B},    // Cyrillic
    {0xA722, 0xA787},    // Latin
    {0xFF21, 0xFF3A},    // full-width letters
    {0x10400, 0x1044F},  // Deseret
    {0x104B0, 0x104D3},  // Osage
    {0x1E900, 0x1E921},  // Adlam
};

constexpr char32_t kLastOfLatin1 = 0xFF;
constexpr char32_t kFinalSigma = 0x3C2;
constexpr char32_t kSigma = 0x3C3;

using SmallLetters = std::unordered_map<char32_t, char32_t>;

const SmallLetters& smallLetters() {
  // Never destroyed: text is compared until the process ends.
  static const SmallLetters& letters = *[] {
    auto* made = new SmallLetters;
    for (const Range& range : kRanges) {
      for (char32_t code = range.first; code <= range.last; ++code) {
        const char32_t small = systemSmallLetter(code);
        if (small != code && small > kLastOfLatin1 && systemCapitalLetter(small) == code)
          made->emplace(code, small);
      }
    }
    return made;
  }();
  return letters;
}

char32_t smallLetter(char32_t code) {
  const auto found = smallLetters().find(code);
  return found == smallLetters().end() ? code : found->second;
}

struct Form {
  std::array<char, 3> bytes;
  unsigned length;
};

// The form of each single byte.
const std::array<Form, 256>& byteForms() {
  static const std::array<Form, 256> forms = [] {
    std::array<Form, 256> made{};
    for (int byte = 0; byte < 256; ++byte) {
      const char small = toLowerChar(static_cast<char>(byte));
      const std::string form = toUtf8({&small, 1});
      form.copy(made[static_cast<std::size_t>(byte)].bytes.data(), form.size());
      made[static_cast<std::size_t>(byte)].length = static_cast<unsigned>(form.size());
    }
    return made;
  }();
  return forms;
}

}  // namespace

std::string toSmallLetters(std::string_view text) {
  if (text.find("&#") == std::string_view::npos) return toLower(text);
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const TextCharacter next = textCharacter(text);
    if (next.length == 1) {
      result.push_back(toLowerChar(text.front()));
    } else {
      appendCharacter(result, smallLetter(next.code));
    }
    text.remove_prefix(next.length);
  }
  return result;
}

std::string searchForm(std::string_view text) {
  const std::array<Form, 256>& forms = byteForms();
  std::string result(text.size() * 3, '\0');
  char* out = result.data();
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == '&') {
      const TextCharacter next = textCharacter(text.substr(at));
      if (next.length > 1) {
        const char32_t small = smallLetter(next.code);
        std::string form;
        appendUtf8(form, small == kFinalSigma ? kSigma : small);
        out += form.copy(out, form.size());
        at += next.length;
        continue;
      }
    }
    const Form& form = forms[static_cast<unsigned char>(text[at])];
    for (unsigned i = 0; i < form.length; ++i) *out++ = form.bytes[i];
    ++at;
  }
  result.resize(static_cast<std::size_t>(out - result.data()));
  return result;
}

bool sameLetters(std::string_view a, std::string_view b) {
  return searchForm(a) == searchForm(b);
}

}  // namespace vornelle
