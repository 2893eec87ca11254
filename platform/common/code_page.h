// The characters of a code page with one or two bytes a character, as a table. The system is asked for it
// once, when the code page is first needed.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

// Those that others build upon.
inline constexpr int kJapanese = 932;
inline constexpr int kChinese = 936;
inline constexpr int kKorean = 949;

class CodePage {
 public:
  // By the number that Windows gives it; null when the system has none such. Lives as long as the program.
  [[nodiscard]] static const CodePage* find(int number);

  // kNoCharacter for bytes that stand for no character, for control characters above 127, and for characters
  // of private use, which everybody takes for something else. pair() knows none for a code page of single
  // bytes.
  [[nodiscard]] char32_t single(char byte) const { return single_[index(byte)]; }
  [[nodiscard]] char32_t pair(char lead, char trail) const;

  // True when two bytes of which this is the first can be a character.
  [[nodiscard]] bool isLead(char byte) const { return lead_[index(byte)]; }

  // An undefined pair is one kNoCharacter; an ASCII character behind a lead byte stays, though.
  [[nodiscard]] std::u32string decode(std::string_view bytes) const;

  // The character that the code page has in the 94 times 94 places of its national standard, counted from 1.
  [[nodiscard]] char32_t place(int row, int column) const;
  [[nodiscard]] char32_t japanesePlace(int row, int column) const;

 private:
  explicit CodePage(int number) : number_(number) {}
  bool load();

  static std::size_t index(char byte) { return static_cast<unsigned char>(byte); }

  int number_;
  std::array<char32_t, 256> single_{};
  std::array<bool, 256> lead_{};
  std::vector<char16_t> pairs_;  // by lead and trail byte, 128 rows; empty for a code page of single bytes
};

}  // namespace vornelle
