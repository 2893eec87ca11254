#include "platform/charset.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <string>

#include "base/unicode.h"

namespace vornelle {
namespace {

struct Sample {
  const char* charset;
  std::string bytes;
  std::u32string text;
};

// clang-format off
const Sample kSamples[] = {
    {"iso-8859-7", std::string("\xCA\xE1\xEB\xE7\xEC\xDD\xF1\xE1", 8), U"Καλημέρα"},
    {"windows-1253", std::string("\xCA\xE1\xEB\xE7\xEC\xDD\xF1\xE1", 8), U"Καλημέρα"},
    {"cp737", std::string("\x89\x98\xA2\x9E\xA3\xE2\xA8\x98", 8), U"Καλημέρα"},
    {"cp869", std::string("\xB5\xD6\xE5\xE1\xE6\x9D\xEB\xD6", 8), U"Καλημέρα"},
    {"iso-8859-5", std::string("\xBF\xE0\xD8\xD2\xD5\xE2", 6), U"Привет"},
    {"windows-1251", std::string("\xCF\xF0\xE8\xE2\xE5\xF2", 6), U"Привет"},
    {"koi8-r", std::string("\xF0\xD2\xC9\xD7\xC5\xD4", 6), U"Привет"},
    {"koi8-u", std::string("\xF0\xD2\xC9\xD7\xC5\xD4", 6), U"Привет"},
    {"cp866", std::string("\x8F\xE0\xA8\xA2\xA5\xE2", 6), U"Привет"},
    {"cp855", std::string("\xDD\xE1\xB7\xEB\xA8\xE5", 6), U"Привет"},
    {"x-mac-cyrillic", std::string("\x8F\xF0\xE8\xE2\xE5\xF2", 6), U"Привет"},
    {"koi8-u", std::string("\xAD\xC5\xC4\xDA\xD8\x20\xA7", 7), U"ґедзь ї"},
    {"windows-1251", std::string("\xB4\xE5\xE4\xE7\xFC\x20\xBF", 7), U"ґедзь ї"},
    {"iso-8859-8", std::string("\xF9\xEC\xE5\xED", 4), U"שלום"},
    {"iso-8859-8-i", std::string("\xF9\xEC\xE5\xED", 4), U"שלום"},
    {"windows-1255", std::string("\xF9\xEC\xE5\xED", 4), U"שלום"},
    {"cp862", std::string("\x99\x8C\x85\x8D", 4), U"שלום"},
    {"iso-8859-6", std::string("\xD3\xE4\xC7\xE5", 4), U"سلام"},
    {"windows-1256", std::string("\xD3\xE1\xC7\xE3", 4), U"سلام"},
    {"tis-620", std::string("\xCA\xC7\xD1\xCA\xB4\xD5", 6), U"สวัสดี"},
    {"windows-874", std::string("\xCA\xC7\xD1\xCA\xB4\xD5", 6), U"สวัสดี"},
    {"iso-8859-11", std::string("\xCA\xC7\xD1\xCA\xB4\xD5", 6), U"สวัสดี"},
    {"iso-8859-2", std::string("\x5A\x61\xBF\xF3\xB3\xE6\x20\x67\xEA\xB6\x6C\xB1", 12), U"Zażółć gęślą"},
    {"windows-1250", std::string("\x5A\x61\xBF\xF3\xB3\xE6\x20\x67\xEA\x9C\x6C\xB9", 12), U"Zażółć gęślą"},
    {"cp852", std::string("\x5A\x61\xBE\xA2\x88\x86\x20\x67\xA9\x98\x6C\xA5", 12), U"Zażółć gęślą"},
    {"x-mac-ce", std::string("\x5A\x61\xFD\x97\xB8\x8D\x20\x67\xAB\xE6\x6C\x88", 12), U"Zażółć gęślą"},
    {"iso-8859-16", std::string("\xBA\xFE\xE3\xE2\xEE", 5), U"șțăâî"},
    {"iso-8859-9", std::string("\xFD\xFE\xFD\x6B\x20\xF0", 6), U"ışık ğ"},
    {"windows-1254", std::string("\xFD\xFE\xFD\x6B\x20\xF0", 6), U"ışık ğ"},
    {"cp857", std::string("\x8D\x9F\x8D\x6B\x20\xA7", 6), U"ışık ğ"},
    {"iso-8859-4", std::string("\xB1\xE8\xEA\xEC\x20\xB9\xBE", 7), U"ąčęė šž"},
    {"windows-1257", std::string("\xE0\xE8\xE6\xEB\x20\xF0\xFE", 7), U"ąčęė šž"},
    {"iso-8859-13", std::string("\xE0\xE8\xE6\xEB\x20\xF0\xFE", 7), U"ąčęė šž"},
    {"cp775", std::string("\xD0\xD1\xD2\xD3\x20\xD5\xD8", 7), U"ąčęė šž"},
    {"iso-8859-3", std::string("\xB1\x20\xF5\x20\xE5", 5), U"ħ ġ ċ"},
    {"iso-8859-10", std::string("\xA9\x20\xBF\x20\xFE", 5), U"Đ ŋ þ"},
    {"iso-8859-14", std::string("\xF0\x20\xFE\x20\xBA", 5), U"ŵ ŷ ẃ"},
    {"windows-1258", std::string("\xD0\xF4\x6E\x67\x20\xF5\x20\xFD", 8), U"Đông ơ ư"},
    {"iso-8859-15", std::string("\xA4\xA6\xA8\xB4\xB8\xBC\xBD\xBE", 8), U"€ŠšŽžŒœŸ"},
    {"windows-1252", std::string("\x80\x8A\x9A\x8E\x9E\x8C\x9C\x9F", 8), U"€ŠšŽžŒœŸ"},
    {"cp437", std::string("\x82\x20\x81\x20\xE1", 5), U"é ü ß"},
    {"ibm850", std::string("\x82\x20\x81\x20\xE1", 5), U"é ü ß"},
    {"cp858", std::string("\x82\x20\x81\x20\xE1", 5), U"é ü ß"},
    {"cp860", std::string("\x82\x20\x81\x20\xE1", 5), U"é ü ß"},
    {"cp863", std::string("\x82\x20\x81\x20\xE1", 5), U"é ü ß"},
    {"cp865", std::string("\x82\x20\x81\x20\xE1", 5), U"é ü ß"},
    {"cp861", std::string("\x82\x20\x81\x20\xE1", 5), U"é ü ß"},
    {"macintosh", std::string("\x8E\x20\x9F\x20\xA7\x20\x96", 7), U"é ü ß ñ"},
    {"x-mac-roman", std::string("\x8E\x20\x9F\x20\xA7\x20\x96", 7), U"é ü ß ñ"},
    {"shift_jis", std::string("\x82\xB1\x82\xF1\x82\xC9\x82\xBF\x82\xCD\x90\xA2\x8A\x45\x20\x83\x4A\x83\x5E\x83\x4A\x83\x69\x20\xB1", 25), U"こんにちは世界 カタカナ ｱ"},
    {"euc-jp", std::string("\xA4\xB3\xA4\xF3\xA4\xCB\xA4\xC1\xA4\xCF\xC0\xA4\xB3\xA6\x20\xA5\xAB\xA5\xBF\xA5\xAB\xA5\xCA\x20\x8E\xB1", 26), U"こんにちは世界 カタカナ ｱ"},
    {"cp932", std::string("\x82\xB1\x82\xF1\x82\xC9\x82\xBF\x82\xCD\x90\xA2\x8A\x45\x20\x83\x4A\x83\x5E\x83\x4A\x83\x69\x20\xB1", 25), U"こんにちは世界 カタカナ ｱ"},
    {"iso-2022-jp", std::string("\x1B\x24\x42\x24\x33\x24\x73\x24\x4B\x24\x41\x24\x4F\x40\x24\x33\x26\x1B\x28\x42", 20), U"こんにちは世界"},
    {"gb2312", std::string("\xC4\xE3\xBA\xC3\xCA\xC0\xBD\xE7", 8), U"你好世界"},
    {"gbk", std::string("\xC4\xE3\xBA\xC3\xCA\xC0\xBD\xE7", 8), U"你好世界"},
    {"gb18030", std::string("\xC4\xE3\xBA\xC3\xCA\xC0\xBD\xE7", 8), U"你好世界"},
    {"big5", std::string("\xA7\x41\xA6\x6E\xA5\x40\xAC\xC9", 8), U"你好世界"},
    {"hz-gb-2312", std::string("\x7E\x7B\x44\x63\x3A\x43\x4A\x40\x3D\x67\x7E\x7D", 12), U"你好世界"},
    {"x-gbk", std::string("\xC4\xE3\xBA\xC3\xCA\xC0\xBD\xE7", 8), U"你好世界"},
    {"cp936", std::string("\xC4\xE3\xBA\xC3\xCA\xC0\xBD\xE7", 8), U"你好世界"},
    {"big5", std::string("\xA5\x78\xC6\x57\xC5\x77\xAA\xEF\xB1\x7A", 10), U"台灣歡迎您"},
    {"cn-big5", std::string("\xA5\x78\xC6\x57\xC5\x77\xAA\xEF\xB1\x7A", 10), U"台灣歡迎您"},
    {"euc-kr", std::string("\xBE\xC8\xB3\xE7\xC7\xCF\xBC\xBC\xBF\xE4", 10), U"안녕하세요"},
    {"ks_c_5601-1987", std::string("\xBE\xC8\xB3\xE7\xC7\xCF\xBC\xBC\xBF\xE4", 10), U"안녕하세요"},
    {"cp949", std::string("\xBE\xC8\xB3\xE7\xC7\xCF\xBC\xBC\xBF\xE4", 10), U"안녕하세요"},
    {"iso-2022-kr", std::string("\x1B\x24\x29\x43\x0E\x3E\x48\x33\x67\x47\x4F\x3C\x3C\x3F\x64\x0F", 16), U"안녕하세요"},
    {"ks_c_5601-1987", std::string("\x94\xEE", 2), U"뷁"},
    {"gb18030", std::string("\x94\x39\xFC\x36\x81\x30\x8B\x39\xA6\xB8", 10), U"😀ĂΩ"},
    {"utf-8", std::string("\xF0\x9F\x98\x80\xC4\x82\xCE\xA9", 8), U"😀ĂΩ"},
    {"utf-16le", std::string("\x3D\xD8\x00\xDE\x02\x01\xA9\x03", 8), U"😀ĂΩ"},
    {"utf-16be", std::string("\xD8\x3D\xDE\x00\x01\x02\x03\xA9", 8), U"😀ĂΩ"},
    {"utf-32le", std::string("\x00\xF6\x01\x00\x02\x01\x00\x00\xA9\x03\x00\x00", 12), U"😀ĂΩ"},
    {"utf-32be", std::string("\x00\x01\xF6\x00\x00\x00\x01\x02\x00\x00\x03\xA9", 12), U"😀ĂΩ"},
};
// clang-format on

// The text without its types, which GoogleTest cannot show.
std::string shown(const std::optional<std::u32string>& text) {
  if (!text) return "no such set";
  std::string bytes;
  for (const char32_t code : *text) appendUtf8(bytes, code);
  return bytes;
}

std::string read(std::string_view charset, std::string_view bytes) {
  return shown(charsetToUnicode(charset, bytes));
}

const std::string kNone = "\xEF\xBF\xBD";  // kNoCharacter

TEST(Charset, TextInTheSetsOfTheWorldIsRead) {
  for (const Sample& sample : kSamples)
    EXPECT_EQ(shown(sample.text), read(sample.charset, sample.bytes)) << sample.charset;
}

TEST(Charset, NamesAreTakenAsMailSpellsThem) {
  for (const char* name : {"iso-8859-1", "ISO8859-1", "iso88591", "ISO_8859-1", "iso_8859-1:1987", "latin1",
                           "l1", "8859-1", "windows-1252", "windows1252", "CP1252", "x-cp1252", "cp-1252",
                           "csISOLatin1", "Windows-1252 ", "iso-8859-1*en"})
    EXPECT_EQ("ü", read(name, "\xFC")) << name;
  for (const char* name : {"utf-8", "UTF8", "utf_8", "utf 8", "x-utf-8", "unicode-1-1-utf-8", "'utf-8'",
                           "utf8mb4", "utf-8*de", "cp65001"})
    EXPECT_EQ("п", read(name, "\xD0\xBF")) << name;
  for (const char* name : {"us-ascii", "ASCII", "iso646-us", "ANSI_X3.4-1968", "unknown-8bit", "x-unknown"})
    EXPECT_EQ("a", read(name, "a")) << name;
  for (const char* name : {"koi8-r", "KOI8R", "csKOI8R", "koi8"}) EXPECT_EQ("П", read(name, "\xF0")) << name;
  for (const char* name : {"windows-1251", "win-1251", "cp1251", "cswindows1251", "MS-1251"})
    EXPECT_EQ("П", read(name, "\xCF")) << name;
  for (const char* name :
       {"ks_c_5601-1987", "ks_c_5601", "KSC5601", "euc_kr", "csEUCKR", "korean", "x-windows-949"})
    EXPECT_EQ("가", read(name, "\xB0\xA1")) << name;
  for (const char* name : {"gb2312", "gb_2312-80", "GBK", "x-gbk", "euc-cn", "cp936", "gb18030"})
    EXPECT_EQ("你", read(name, "\xC4\xE3")) << name;
  for (const char* name :
       {"shift-jis", "Shift_JIS", "sjis", "x-sjis", "ms_kanji", "windows-31j", "csShiftJIS"})
    EXPECT_EQ("あ", read(name, "\x82\xA0")) << name;
  for (const char* name : {"iso2022jp", "iso-2022-jp", "csISO2022JP"})
    EXPECT_EQ("あ", read(name, "\x1B$B$\"\x1B(B")) << name;
}

TEST(Charset, AnUnknownNameIsReported) {
  for (const std::string name : {"", "klingon", "x-", "cs", "iso-8859-12", "iso-8859-0", "iso-8859-99", "cp1",
                                 "windows-99999999999", "latin11", "utf-9", "-"}) {
    EXPECT_EQ(std::nullopt, charsetToUnicode(name, "x")) << name;
    EXPECT_FALSE(isKnownCharset(name));
  }
  EXPECT_FALSE(isKnownCharset(std::string(100'000, 'x')));
  EXPECT_TRUE(isKnownCharset("koi8-r"));
}

TEST(Charset, TextThatSaysAsciiAndIsNotIsUtf8OrWindows1252) {
  EXPECT_EQ("ü", read("us-ascii", "\xC3\xBC"));
  EXPECT_EQ("ü", read("us-ascii", "\xFC"));
  EXPECT_EQ("Ã¼ü", read("us-ascii", "\xC3\xBC\xFC"));
}

TEST(Charset, OfUtf7OnlyTheAsciiLettersAreReadAndNothingIsDecoded) {
  EXPECT_EQ("Hi +ADw-script+AD4- !", read("utf-7", "Hi +ADw-script+AD4- !"));
  EXPECT_EQ("a" + kNone, read("unicode-1-1-utf-7", "a\xFC"));
}

TEST(Charset, ABrokenSequenceIsOneNoCharacterAndLeavesTheAsciiBehindIt) {
  for (const char* charset : {"utf-8", "shift_jis", "euc-jp", "gb2312", "gb18030", "big5", "euc-kr"}) {
    EXPECT_EQ(kNone + "<b>", read(charset, "\xFF<b>")) << charset;
    EXPECT_EQ("a" + kNone, read(charset, "a\xE4")) << charset;
    EXPECT_EQ(kNone + "\r\n", read(charset, "\xE4\r\n")) << charset;
    EXPECT_EQ(kNone + "<", read(charset, "\xE4<")) << charset;
    EXPECT_EQ(kNone + "\"", read(charset, "\xE4\"")) << charset;
  }
  EXPECT_EQ(kNone + "1" + kNone + "<", read("gb18030",
                                            "\x81"
                                            "1\x81<"))
      << "a four-byte character that breaks off";
  EXPECT_EQ(kNone + "x", read("gb18030", "\xE3\x32\x9A\x36x")) << "past the last character";
  EXPECT_EQ(kNone + "あ", read("euc-jp", "\x8F\xB0\xA1\xA4\xA2")) << "a supplementary character";
  EXPECT_EQ(kNone + "<", read("iso-2022-jp", "\x1B<"));
  EXPECT_EQ(kNone + "\n<b>", read("iso-2022-jp", "\x1B$B$\n<b>")) << "a line ends in ASCII";
  EXPECT_EQ(kNone + kNone + "<", read("windows-1253", "\xD2\xFF<"));
}

TEST(Charset, ControlCharactersAndPrivateUseAreNoText) {
  EXPECT_EQ(kNone, read("iso-8859-2", "\x81"));
  EXPECT_EQ(kNone, read("windows-1251", "\x98"));
  EXPECT_EQ(kNone, read("shift_jis", "\xF0\x80"));
  EXPECT_EQ(kNone, read("gbk", "\xAA\xA1"));
}

TEST(Charset, EscapeSequencesSwitchBetweenSets) {
  EXPECT_EQ("aあbｱ", read("iso-2022-jp", "a\x1B$B$\"\x1B(Bb\x1B(I1\x1B(B"));
  EXPECT_EQ("あい", read("iso-2022-jp", "\x1B$@$\"\x1B(J\x1B$B$$\x1B(B"));
  EXPECT_EQ("안a녕", read("iso-2022-kr",
                          "\x1B$)C\x0E\x3E\x48\x0F"
                          "a\x0E\x33\x67\x0F"));
  EXPECT_EQ("~你好b", read("hz-gb-2312", "~~~{Dc:C~}b"));
  EXPECT_EQ("ab", read("hz-gb-2312", "a~\nb")) << "a line that goes on";
}

TEST(Charset, EveryCharacterOfGb18030IsReached) {
  EXPECT_EQ("ß", read("gb18030", "\x81\x30\x89\x38"));
  EXPECT_EQ("ﬀ", read("gb18030", "\x84\x30\xB2\x32"));
  EXPECT_EQ("\U00010000\U0010FFFF", read("gb18030", "\x90\x30\x81\x30\xE3\x32\x9A\x35"));
  EXPECT_EQ("€ǹ", read("gb18030", "\xA2\xE3\xA8\xBF"));
  EXPECT_EQ("€", read("gbk", "\x80"));
  EXPECT_EQ("가힣", read("gb18030", "\x82\x37\xCF\x35\x83\x36\xBE\x36"));
}

TEST(Charset, TheSystemsOwnSetIsOneThatIsKnown) {
  EXPECT_TRUE(isKnownCharset(localCharset())) << localCharset();
}

// The same on every system, wherever its tables come from.
TEST(Charset, TheTablesOfAllSetsAreTheSameOnEverySystem) {
  std::uint32_t sum = 2166136261U;
  std::size_t characters = 0;
  const auto take = [&](std::string_view charset, std::string_view bytes) {
    for (const char32_t code : charsetToUnicode(charset, bytes).value_or(U"")) {
      sum = (sum ^ code) * 16777619U;
      characters += code != kNoCharacter ? 1 : 0;
    }
  };
  std::string all;
  for (int byte = 0x80; byte < 256; ++byte) all += static_cast<char>(byte);
  for (const char* charset :
       {"cp437",         "cp737",        "cp775",        "cp850",        "cp852",        "cp855",
        "cp857",         "cp858",        "cp860",        "cp861",        "cp862",        "cp863",
        "cp864",         "cp865",        "cp866",        "cp869",        "cp874",        "windows-1250",
        "windows-1251",  "windows-1252", "windows-1253", "windows-1254", "windows-1255", "windows-1256",
        "windows-1257",  "windows-1258", "macintosh",    "x-mac-ce",     "koi8-r",       "koi8-u",
        "iso-8859-2",    "iso-8859-3",   "iso-8859-4",   "iso-8859-5",   "iso-8859-6",   "iso-8859-7",
        "iso-8859-8",    "iso-8859-10",  "iso-8859-13",  "iso-8859-14",  "iso-8859-15",  "iso-8859-16",
        "x-mac-cyrillic"})
    take(charset, all);
  for (const char* charset : {"shift_jis", "big5", "euc-kr", "gb18030", "euc-jp"}) {
    std::string pairs;
    for (int lead = 0x81; lead < 0xFF; ++lead) {
      for (int trail = 0x40; trail < 0xFF; ++trail) {
        pairs += static_cast<char>(lead);
        pairs += static_cast<char>(trail);
        pairs += '\n';
      }
    }
    take(charset, pairs);
  }
  EXPECT_EQ(230067U, characters);
  EXPECT_EQ(3733273331U, sum);
}

// Each set by itself, and by the processor's time where the system tells it: other programs at work do not
// count.
TEST(Charset, HostileBytesTakeLinearTime) {
  // Quadratic work takes half a second at the least for that many; linear work some
  // hundredths of a second, with sanitizers too.
  constexpr std::size_t kBytes = 256U << 10;
  constexpr double kSeconds = 0.25;
  for (const std::string piece :
       {"\xE4", "\x1B", "\x1B$B", "\2010\201", "\x8F\xA1", "~", "~{", "\x0E", "\xFF<"}) {
    std::string bytes;
    while (bytes.size() < kBytes) bytes += piece;
    for (const char* charset : {"utf-8", "utf-16", "utf-7", "shift_jis", "euc-jp", "iso-2022-jp",
                                "iso-2022-kr", "gb18030", "hz", "big5", "euc-kr", "windows-1251"}) {
      const std::clock_t start = std::clock();
      EXPECT_LE(charsetToUnicode(charset, bytes).value_or(U"").size(), bytes.size()) << charset;
      EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, kSeconds) << charset;
    }
  }
}

}  // namespace
}  // namespace vornelle
