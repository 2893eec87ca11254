#include "platform/common/escape_charsets.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "base/text.h"
#include "base/unicode.h"

namespace vornelle {
namespace {

constexpr char kEscape = '\x1B';
constexpr char kShiftOut = '\x0E';
constexpr char kShiftIn = '\x0F';

char32_t halfWidthKatakana(int place) {
  return 0xFF61 + static_cast<char32_t>(place - 1);
}

// Reads text in which two 7-bit bytes are a character as long as a set of such is chosen.
class SevenBitReader {
 public:
  enum class Set { ascii, katakana, japanese, chinese, korean, unknown };

  SevenBitReader(std::string_view bytes, const CodePage* japanese, const CodePage* chinese,
                 const CodePage* korean)
      : rest_(bytes), japanese_(japanese), chinese_(chinese), korean_(korean) {
    text_.reserve(bytes.size());
  }

  [[nodiscard]] bool atEnd() const { return rest_.empty(); }
  [[nodiscard]] Set set() const { return set_; }
  void choose(Set set) { set_ = set; }
  void put(char32_t code) { text_.push_back(code); }
  std::u32string take() { return std::move(text_); }

  // Takes the bytes where the text goes on with them.
  bool skip(std::string_view bytes) {
    if (!rest_.starts_with(bytes)) return false;
    rest_.remove_prefix(bytes.size());
    return true;
  }

  // The next character in the chosen set. A line end is one in every set and goes back to ASCII.
  void readCharacter() {
    const char first = next();
    if (first == '\r' || first == '\n') set_ = Set::ascii;
    const bool ofPairs = set_ != Set::ascii && set_ != Set::katakana;
    if (static_cast<unsigned char>(first) >= 0x80) return put(kNoCharacter);
    if (!isPlace(first) || set_ == Set::ascii) return put(static_cast<unsigned char>(first));
    if (set_ == Set::katakana) {
      const int place = first - 0x20;
      return put(place <= 63 ? halfWidthKatakana(place) : kNoCharacter);
    }
    if (ofPairs && (rest_.empty() || !isPlace(rest_.front()))) return put(kNoCharacter);
    put(character(first - 0x20, next() - 0x20));
  }

 private:
  static bool isPlace(char c) { return c > ' ' && c < '\x7F'; }

  char next() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  [[nodiscard]] char32_t character(int row, int column) const {
    if (set_ == Set::japanese && japanese_) return japanese_->japanesePlace(row, column);
    if (set_ == Set::chinese && chinese_) return chinese_->place(row, column);
    if (set_ == Set::korean && korean_) return korean_->place(row, column);
    return kNoCharacter;
  }

  std::string_view rest_;
  const CodePage* japanese_;
  const CodePage* chinese_;
  const CodePage* korean_;
  Set set_ = Set::ascii;
  std::u32string text_;
};

// The four-byte characters of GB 18030 are the rest of the first plane in the order of their codes, then the
// other planes in theirs.
class FourByteCharacters {
 public:
  explicit FourByteCharacters(const CodePage& chinese) {
    std::vector<bool> taken(0x10000, false);
    for (int lead = 0x81; lead < 0xFF; ++lead) {
      for (int trail = 0x40; trail < 0xFF; ++trail)
        taken[chinese.pair(static_cast<char>(lead), static_cast<char>(trail))] = true;
    }
    taken[kNoCharacter] = false;
    for (const Addition& one : kAdditions) taken[one.code] = true;
    for (char32_t code = 0x80; code < 0x10000; ++code) {
      // In the midst of the area of private use the order is broken by characters that have moved.
      if (code == kPrivateUse) rest_.resize(rest_.size() + kMoved, static_cast<char16_t>(kNoCharacter));
      const bool outside = (code >= 0xD800 && code <= 0xDFFF) || (code >= kPrivateUse && code <= 0xE864);
      if (!taken[code] && !outside) rest_.push_back(static_cast<char16_t>(code));
    }
  }

  [[nodiscard]] char32_t at(std::size_t index) const {
    constexpr std::size_t kOtherPlanes = 189000;
    if (index < rest_.size()) return rest_[index];
    if (index >= kOtherPlanes && index < kOtherPlanes + 0x100000)
      return static_cast<char32_t>(0x10000 + index - kOtherPlanes);
    return kNoCharacter;
  }

  // The characters with two bytes that code page 936 lacks.
  [[nodiscard]] static char32_t addition(char lead, char trail) {
    const unsigned both = static_cast<unsigned char>(lead) * 256U + static_cast<unsigned char>(trail);
    const auto* const found = std::ranges::find(kAdditions, both, &Addition::bytes);
    return found == std::end(kAdditions) ? kNoCharacter : found->code;
  }

 private:
  struct Addition {
    char16_t bytes, code;
  };
  static constexpr char32_t kPrivateUse = 0xE000;
  static constexpr std::size_t kMoved = 81;
  static constexpr Addition kAdditions[kMoved] = {
      {0xA2E3, 0x20AC}, {0xA8BF, 0x01F9}, {0xA989, 0x303E}, {0xA98A, 0x2FF0}, {0xA98B, 0x2FF1},
      {0xA98C, 0x2FF2}, {0xA98D, 0x2FF3}, {0xA98E, 0x2FF4}, {0xA98F, 0x2FF5}, {0xA990, 0x2FF6},
      {0xA991, 0x2FF7}, {0xA992, 0x2FF8}, {0xA993, 0x2FF9}, {0xA994, 0x2FFA}, {0xA995, 0x2FFB},
      {0xFE50, 0x2E81}, {0xFE54, 0x2E84}, {0xFE55, 0x3473}, {0xFE56, 0x3447}, {0xFE57, 0x2E88},
      {0xFE58, 0x2E8B}, {0xFE5A, 0x359E}, {0xFE5B, 0x361A}, {0xFE5C, 0x360E}, {0xFE5D, 0x2E8C},
      {0xFE5E, 0x2E97}, {0xFE5F, 0x396E}, {0xFE60, 0x3918}, {0xFE62, 0x39CF}, {0xFE63, 0x39DF},
      {0xFE64, 0x3A73}, {0xFE65, 0x39D0}, {0xFE68, 0x3B4E}, {0xFE69, 0x3C6E}, {0xFE6A, 0x3CE0},
      {0xFE6B, 0x2EA7}, {0xFE6E, 0x2EAA}, {0xFE6F, 0x4056}, {0xFE70, 0x415F}, {0xFE71, 0x2EAE},
      {0xFE72, 0x4337}, {0xFE73, 0x2EB3}, {0xFE74, 0x2EB6}, {0xFE75, 0x2EB7}, {0xFE77, 0x43B1},
      {0xFE78, 0x43AC}, {0xFE79, 0x2EBB}, {0xFE7A, 0x43DD}, {0xFE7B, 0x44D6}, {0xFE7C, 0x4661},
      {0xFE7D, 0x464C}, {0xFE80, 0x4723}, {0xFE81, 0x4729}, {0xFE82, 0x477C}, {0xFE83, 0x478D},
      {0xFE84, 0x2ECA}, {0xFE85, 0x4947}, {0xFE86, 0x497A}, {0xFE87, 0x497D}, {0xFE88, 0x4982},
      {0xFE89, 0x4983}, {0xFE8A, 0x4985}, {0xFE8B, 0x4986}, {0xFE8C, 0x499F}, {0xFE8D, 0x499B},
      {0xFE8E, 0x49B7}, {0xFE8F, 0x49B6}, {0xFE92, 0x4CA3}, {0xFE93, 0x4C9F}, {0xFE94, 0x4CA0},
      {0xFE95, 0x4CA1}, {0xFE96, 0x4C77}, {0xFE97, 0x4CA2}, {0xFE98, 0x4D13}, {0xFE99, 0x4D14},
      {0xFE9A, 0x4D15}, {0xFE9B, 0x4D16}, {0xFE9C, 0x4D17}, {0xFE9D, 0x4D18}, {0xFE9E, 0x4D19},
      {0xFE9F, 0x4DAE}};

  std::u16string rest_;
};

}  // namespace

std::u32string fromIso2022Jp(std::string_view bytes, const CodePage& japanese, const CodePage* chinese,
                             const CodePage* korean) {
  using Set = SevenBitReader::Set;
  struct Sequence {
    std::string_view bytes;
    Set set;
  };
  static constexpr Sequence kSequences[] = {
      {"\x1B(B", Set::ascii},     {"\x1B(J", Set::ascii},    {"\x1B(H", Set::ascii},
      {"\x1B(I", Set::katakana},  {"\x1B$(C", Set::korean},  {"\x1B$(D", Set::unknown},
      {"\x1B$(Q", Set::japanese}, {"\x1B$@", Set::japanese}, {"\x1B$B", Set::japanese},
      {"\x1B$A", Set::chinese},
  };
  SevenBitReader reader(bytes, &japanese, chinese, korean);
  const auto switches = [&reader] {
    for (const Sequence& one : kSequences) {
      if (!reader.skip(one.bytes)) continue;
      reader.choose(one.set);
      return true;
    }
    return false;
  };
  while (!reader.atEnd()) {
    if (switches()) continue;
    if (reader.skip({&kEscape, 1})) {
      reader.put(kNoCharacter);
    } else {
      reader.readCharacter();
    }
  }
  return reader.take();
}

std::u32string fromIso2022Kr(std::string_view bytes, const CodePage& korean) {
  using Set = SevenBitReader::Set;
  SevenBitReader reader(bytes, nullptr, nullptr, &korean);
  while (!reader.atEnd()) {
    if (reader.skip("\x1B$)C")) continue;
    if (reader.skip({&kShiftOut, 1})) {
      reader.choose(Set::korean);
    } else if (reader.skip({&kShiftIn, 1})) {
      reader.choose(Set::ascii);
    } else {
      reader.readCharacter();
    }
  }
  return reader.take();
}

std::u32string fromHz(std::string_view bytes, const CodePage& chinese) {
  using Set = SevenBitReader::Set;
  SevenBitReader reader(bytes, nullptr, &chinese, nullptr);
  while (!reader.atEnd()) {
    if (reader.skip("~}")) {
      reader.choose(Set::ascii);
    } else if (reader.set() != Set::ascii) {
      reader.readCharacter();
    } else if (reader.skip("~{")) {
      reader.choose(Set::chinese);
    } else if (reader.skip("~~")) {
      reader.put('~');
    } else if (!reader.skip("~\r\n") && !reader.skip("~\n")) {
      reader.readCharacter();
    }
  }
  return reader.take();
}

std::u32string fromEucJp(std::string_view bytes, const CodePage& japanese) {
  constexpr unsigned char kKatakana = 0x8E;
  constexpr unsigned char kSupplementary = 0x8F;
  const auto at = [bytes](std::size_t i) {
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
  };
  const auto isPlace = [](unsigned byte) { return byte > 0xA0 && byte < 0xFF; };
  std::u32string text;
  text.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const unsigned first = at(i);
    if (first < 0x80) {
      text.push_back(first);
      continue;
    }
    char32_t code = kNoCharacter;
    const bool two = isPlace(at(i + 1)) && (first == kKatakana || first == kSupplementary || isPlace(first));
    if (two && first == kKatakana && at(i + 1) <= 0xDF)
      code = halfWidthKatakana(static_cast<int>(at(i + 1) - 0xA0));
    if (two && isPlace(first))
      code = japanese.japanesePlace(static_cast<int>(first - 0xA0), static_cast<int>(at(i + 1) - 0xA0));
    text.push_back(code);
    if (two) i += first == kSupplementary && isPlace(at(i + 2)) ? 2 : 1;
  }
  return text;
}

std::u32string fromGb18030(std::string_view bytes, const CodePage& chinese) {
  static const auto& fourBytes = *new FourByteCharacters(chinese);
  const auto at = [bytes](std::size_t i) {
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : std::size_t{0};
  };
  const auto isDigitByte = [](std::size_t byte) { return isDigit(static_cast<char>(byte)); };
  const auto isLead = [](std::size_t byte) { return byte > 0x80 && byte < 0xFF; };
  std::u32string text;
  text.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (!isLead(at(i)) || i + 1 == bytes.size()) {
      text.push_back(chinese.single(bytes[i]));
      continue;
    }
    if (isDigitByte(at(i + 1)) && isLead(at(i + 2)) && isDigitByte(at(i + 3))) {
      const std::size_t index =
          ((at(i) - 0x81) * 10 + at(i + 1) - '0') * 1260 + (at(i + 2) - 0x81) * 10 + at(i + 3) - '0';
      text.push_back(fourBytes.at(index));
      i += 3;
      continue;
    }
    char32_t code = chinese.pair(bytes[i], bytes[i + 1]);
    if (code == kNoCharacter) code = FourByteCharacters::addition(bytes[i], bytes[i + 1]);
    text.push_back(code);
    if (code != kNoCharacter || at(i + 1) >= 0x80) ++i;
  }
  return text;
}

}  // namespace vornelle
