#include "platform/common/charset_names.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>

#include "base/text.h"

namespace vornelle {
namespace {

using Kind = CharsetKind;

struct Alias {
  std::string_view name;  // lower case, letters and digits only
  CharsetName means;
};

constexpr Alias kAliases[] = {
    {"usascii", {Kind::unlabelled}},
    {"ascii", {Kind::unlabelled}},
    {"ansix341968", {Kind::unlabelled}},
    {"ansix341986", {Kind::unlabelled}},
    {"iso646us", {Kind::unlabelled}},
    {"iso646irv1991", {Kind::unlabelled}},
    {"isoir6", {Kind::unlabelled}},
    {"us", {Kind::unlabelled}},
    {"646", {Kind::unlabelled}},
    {"cp367", {Kind::unlabelled}},
    {"ibm367", {Kind::unlabelled}},
    {"unknown8bit", {Kind::unlabelled}},
    {"unknown", {Kind::unlabelled}},
    {"8bit", {Kind::unlabelled}},
    {"7bit", {Kind::unlabelled}},
    {"binary", {Kind::unlabelled}},
    {"default", {Kind::unlabelled}},
    {"defaultcharset", {Kind::unlabelled}},
    {"ansi", {Kind::unlabelled}},

    {"utf7", {Kind::utf7}},
    {"unicode11utf7", {Kind::utf7}},
    {"cp65000", {Kind::utf7}},
    {"utf8", {Kind::utf8}},
    {"utf8mb4", {Kind::utf8}},
    {"unicode11utf8", {Kind::utf8}},
    {"unicode20utf8", {Kind::utf8}},
    {"cp65001", {Kind::utf8}},
    {"utf16", {Kind::utf16}},
    {"utf16be", {Kind::utf16}},
    {"utf16le", {Kind::utf16LittleEndian}},
    {"cp1200", {Kind::utf16LittleEndian}},
    {"cp1201", {Kind::utf16}},
    {"ucs2", {Kind::utf16}},
    {"iso10646ucs2", {Kind::utf16}},
    {"unicode", {Kind::utf16LittleEndian}},
    {"utf32", {Kind::utf32}},
    {"utf32be", {Kind::utf32}},
    {"utf32le", {Kind::utf32LittleEndian}},
    {"ucs4", {Kind::utf32}},

    {"isoir100", {Kind::windows1252}},
    {"cp819", {Kind::windows1252}},
    {"ibm819", {Kind::windows1252}},
    {"isoir101", {Kind::codePage, 28592}},
    {"isoir109", {Kind::codePage, 28593}},
    {"isoir110", {Kind::codePage, 28594}},
    {"isoir144", {Kind::codePage, 28595}},
    {"cyrillic", {Kind::codePage, 28595}},
    {"isoir127", {Kind::codePage, 28596}},
    {"arabic", {Kind::codePage, 28596}},
    {"asmo708", {Kind::codePage, 28596}},
    {"ecma114", {Kind::codePage, 28596}},
    {"isoir126", {Kind::codePage, 28597}},
    {"greek", {Kind::codePage, 28597}},
    {"greek8", {Kind::codePage, 28597}},
    {"elot928", {Kind::codePage, 28597}},
    {"ecma118", {Kind::codePage, 28597}},
    {"isoir138", {Kind::codePage, 28598}},
    {"hebrew", {Kind::codePage, 28598}},
    {"logical", {Kind::codePage, 28598}},
    {"visual", {Kind::codePage, 28598}},
    {"isoir148", {Kind::codePage, 1254}},
    {"tis620", {Kind::codePage, 874}},
    {"koi8", {Kind::codePage, 20866}},
    {"koi8r", {Kind::codePage, 20866}},
    {"cp20866", {Kind::codePage, 20866}},
    {"koi8u", {Kind::codePage, 21866}},
    {"koi8ru", {Kind::codePage, 21866}},
    {"cp21866", {Kind::codePage, 21866}},
    {"mac", {Kind::codePage, 10000}},
    {"macintosh", {Kind::codePage, 10000}},
    {"macroman", {Kind::codePage, 10000}},
    {"cp10000", {Kind::codePage, 10000}},
    {"maccyrillic", {Kind::codePage, 10007}},
    {"macukrainian", {Kind::codePage, 10007}},
    {"macce", {Kind::codePage, 10029}},
    {"maccentraleurope", {Kind::codePage, 10029}},

    {"sjis", {Kind::codePage, 932}},
    {"shiftjis", {Kind::codePage, 932}},
    {"mskanji", {Kind::codePage, 932}},
    {"windows31j", {Kind::codePage, 932}},
    {"cp943", {Kind::codePage, 932}},
    {"cp943c", {Kind::codePage, 932}},
    {"eucjp", {Kind::eucJp}},
    {"ujis", {Kind::eucJp}},
    {"extendedunixcodepackedformatforjapanese", {Kind::eucJp}},
    {"eucpkdfmtjapanese", {Kind::eucJp}},
    {"cp51932", {Kind::eucJp}},
    {"iso2022jp", {Kind::iso2022Jp}},
    {"iso2022jp1", {Kind::iso2022Jp}},
    {"iso2022jp2", {Kind::iso2022Jp}},
    {"iso2022jp3", {Kind::iso2022Jp}},
    {"iso2022jp2004", {Kind::iso2022Jp}},
    {"iso2022jpms", {Kind::iso2022Jp}},
    {"cp50220", {Kind::iso2022Jp}},
    {"cp50221", {Kind::iso2022Jp}},
    {"cp50222", {Kind::iso2022Jp}},
    {"jis", {Kind::iso2022Jp}},

    {"gb2312", {Kind::gb18030}},
    {"gb231280", {Kind::gb18030}},
    {"gb23121980", {Kind::gb18030}},
    {"eucgb2312cn", {Kind::gb18030}},
    {"isoir58", {Kind::gb18030}},
    {"euccn", {Kind::gb18030}},
    {"cngb", {Kind::gb18030}},
    {"chinese", {Kind::gb18030}},
    {"gbk", {Kind::gb18030}},
    {"gb18030", {Kind::gb18030}},
    {"cp936", {Kind::gb18030}},
    {"cp20936", {Kind::gb18030}},
    {"cp51936", {Kind::gb18030}},
    {"cp54936", {Kind::gb18030}},
    {"hz", {Kind::hz}},
    {"hzgb2312", {Kind::hz}},
    {"big5", {Kind::codePage, 950}},
    {"cnbig5", {Kind::codePage, 950}},
    {"big5hkscs", {Kind::codePage, 950}},
    {"bigfive", {Kind::codePage, 950}},

    {"euckr", {Kind::codePage, 949}},
    {"cp51949", {Kind::codePage, 949}},
    {"ksc5601", {Kind::codePage, 949}},
    {"ksc56011987", {Kind::codePage, 949}},
    {"ksc56011989", {Kind::codePage, 949}},
    {"ksx1001", {Kind::codePage, 949}},
    {"isoir149", {Kind::codePage, 949}},
    {"korean", {Kind::codePage, 949}},
    {"uhc", {Kind::codePage, 949}},
    {"iso2022kr", {Kind::iso2022Kr}},
    {"cp50225", {Kind::iso2022Kr}},
};

constexpr int kCodePages[] = {437, 737, 775, 850, 852, 855, 857,  858,  860,  861,  862,  863,  864,  865,
                              866, 869, 874, 932, 949, 950, 1250, 1251, 1253, 1254, 1255, 1256, 1257, 1258};

constexpr std::size_t kLongestName = 64;

// Letters and digits of the name in lower case, as far as the language, or the year of a standard.
std::string essence(std::string_view name) {
  std::string result;
  for (const char c : name.substr(0, name.find_first_of("*:"))) {
    const char small = toLowerChar(c);
    if (isAsciiLetter(small) || isDigit(small)) result.push_back(small);
  }
  return result;
}

// The number behind the start; -1 for another name.
int numberBehind(std::string_view name, std::string_view start) {
  if (!name.starts_with(start)) return -1;
  name.remove_prefix(start.size());
  constexpr std::size_t kMostDigits = 5;
  if (!isDigits(name) || name.size() > kMostDigits) return -1;
  int number = 0;
  std::from_chars(name.data(), name.data() + name.size(), number);
  return number;
}

CharsetName iso8859(int part) {
  if (part == 1) return {Kind::windows1252};
  if (part == 9) return {Kind::codePage, 1254};  // Latin 5, as Windows has it
  if (part == 11) return {Kind::codePage, 874};
  if (part == 10 || part == 14 || part == 16) return {Kind::latin, part};
  if ((part >= 2 && part <= 8) || part == 13 || part == 15) return {Kind::codePage, 28590 + part};
  return {};
}

// "iso-8859-N", "latinN" and their like.
CharsetName latin(std::string_view name) {
  // "iso-8859-8-i": the direction in which Hebrew and Arabic are written.
  if (name.ends_with('i') || name.ends_with('e')) name.remove_suffix(1);
  for (const std::string_view start : {"iso8859", "8859"}) {
    if (const int part = numberBehind(name, start); part > 0) return iso8859(part);
  }
  if (const int number = numberBehind(name, "cp"); number > 28590 && number < 28606)
    return iso8859(number - 28590);
  constexpr int kPartOfLatin[] = {0, 1, 2, 3, 4, 9, 10, 13, 14, 15, 16};
  for (const std::string_view start : {"latin", "isolatin", "l"}) {
    const int number = numberBehind(name, start);
    if (number > 0 && number < static_cast<int>(std::size(kPartOfLatin)))
      return iso8859(kPartOfLatin[number]);
  }
  return {};
}

CharsetName codePage(std::string_view name) {
  for (const std::string_view start : {"windows", "cp", "ibm", "ms", "win", "codepage"}) {
    const int number = numberBehind(name, start);
    if (number == 1252) return {Kind::windows1252};
    if (number == 936) return {Kind::gb18030};
    if (std::ranges::find(kCodePages, number) != std::end(kCodePages)) return {Kind::codePage, number};
  }
  return {};
}

CharsetName find(std::string_view name) {
  const auto* const alias = std::ranges::find(kAliases, name, &Alias::name);
  if (alias != std::end(kAliases)) return alias->means;
  const CharsetName found = latin(name);
  return found.kind == Kind::unknown ? codePage(name) : found;
}

}  // namespace

CharsetName charsetName(std::string_view name) {
  if (name.size() > kLongestName) return {};
  const std::string text = essence(name);
  CharsetName found = find(text);
  // "x-sjis", "csISO2022JP", "csWindows1251".
  for (const std::string_view start : {"x", "cs"}) {
    if (found.kind == Kind::unknown && text.starts_with(start))
      found = find(std::string_view(text).substr(start.size()));
  }
  return found;
}

}  // namespace vornelle
