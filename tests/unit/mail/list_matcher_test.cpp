#include "mail/list_matcher.h"

#include <gtest/gtest.h>

#include <random>

#include "base/text.h"

namespace vornelle {
namespace {

using Entries = std::vector<std::string>;

bool matches(const Entries& entries, std::string_view text) {
  return ListMatcher(entries).matches(text);
}

// The rule itself, entry by entry.
bool plainLoop(const Entries& entries, std::string_view text) {
  for (const std::string& entry : entries) {
    if (!trim(entry).empty() && containsNoCase(text, entry)) return true;
  }
  return false;
}

TEST(ListMatcher, AnEntryMatchesWhereverItOccurs) {
  const Entries entries = {"@example.org"};
  EXPECT_TRUE(matches(entries, "@example.org"));
  EXPECT_TRUE(matches(entries, "bob@example.org"));
  EXPECT_TRUE(matches(entries, "Bob <bob@example.org> (home)"));
  EXPECT_FALSE(matches(entries, "bob@example.com"));
  EXPECT_FALSE(matches(entries, "bob@example.or"));
  EXPECT_FALSE(matches(entries, ""));
}

TEST(ListMatcher, LetterCaseIsIgnoredOnBothSides) {
  EXPECT_TRUE(matches({"@EXAMPLE.org"}, "Bob@example.ORG"));
}

TEST(ListMatcher, LetterCaseOfLettersAboveAsciiIsIgnored) {
  EXPECT_TRUE(matches({"M\xDCLLER"}, "m\xFCller@example.org"));
  EXPECT_TRUE(matches({"m\xFCller"}, "M\xDCLLER"));
  EXPECT_TRUE(matches({"\x8A"}, "x\x9Ay"));
  EXPECT_TRUE(matches({"\xFF"}, "\x9F"));
  EXPECT_FALSE(matches({"\xD7"}, "\xF7"));  // the multiplication and division signs are no letters
}

TEST(ListMatcher, AnEntryWithALeadingBlankMatchesOnlySendersWithThatBlank) {
  EXPECT_TRUE(matches({" bob@"}, "to bob@example.org"));
  EXPECT_FALSE(matches({" bob@"}, "bob@example.org"));
}

TEST(ListMatcher, AnEntryWithATrailingBlankMatchesOnlySendersWithThatBlank) {
  EXPECT_TRUE(matches({"bob "}, "Bob <b@example.org>"));
  EXPECT_FALSE(matches({"bob "}, "bob"));
}

TEST(ListMatcher, AnEntryOfBlanksMatchesNothing) {
  EXPECT_FALSE(matches({" ", "   "}, "to bob   smith"));
  EXPECT_FALSE(matches({""}, "to bob   smith"));
  EXPECT_TRUE(matches({" ", "smith"}, "to bob smith"));
}

TEST(ListMatcher, AnEmptyListMatchesNothing) {
  EXPECT_FALSE(matches({}, "bob@example.org"));
  EXPECT_FALSE(matches({}, ""));
}

TEST(ListMatcher, EntriesOfOneToFiveCharactersMatch) {
  for (const char* entry : {"q", "qr", "qrs", "qrst", "qrstu"}) {
    EXPECT_TRUE(matches({entry, "somebody@example.org"}, std::string("ab") + entry));
    EXPECT_TRUE(matches({entry, "somebody@example.org"}, entry));
    EXPECT_FALSE(matches({entry, "somebody@example.org"}, std::string(entry).substr(1) + "x"));
  }
}

TEST(ListMatcher, AnEntryInsideAnotherOneMatchesByItself) {
  const Entries entries = {"bob@example.org", "bob@", "ob@exam", "example.org.uk"};
  EXPECT_TRUE(matches(entries, "bob@elsewhere"));
  EXPECT_TRUE(matches(entries, "rob@example"));
  EXPECT_TRUE(matches(entries, "x example.org.uk"));
  EXPECT_FALSE(matches(entries, "rob@exa example.org"));
}

TEST(ListMatcher, TheSameEntryTwiceIsNoTrouble) {
  EXPECT_TRUE(matches({"bob", "BOB", "bob"}, "a bob b"));
}

TEST(ListMatcher, BytesOfAnyValueAreSearchedFor) {
  using namespace std::string_literals;
  EXPECT_TRUE(matches({"a\0b"s}, "xa\0by"s));
  EXPECT_FALSE(matches({"a\0b"s}, "xa\0cy"s));
  EXPECT_TRUE(matches({"\0"s}, "x\0"s));
  EXPECT_FALSE(matches({"x\0\0"s}, "x"));
  EXPECT_TRUE(matches({"\xFE\xA4"}, "\xA4\xFE\xA4"));
}

TEST(ListMatcher, EntriesThatShareTheirFirstEightBytesAreToldApart) {
  const Entries entries = {"newsletter-a", "newsletter-c", "newsletter-e"};
  EXPECT_TRUE(matches(entries, "newsletter-c"));
  EXPECT_FALSE(matches(entries, "newsletter-b"));
  EXPECT_FALSE(matches(entries, "newsletter-f"));
  EXPECT_FALSE(matches(entries, "newsletter"));
}

TEST(ListMatcher, VerdictsOnRandomListsAreThoseOfThePlainLoop) {
  std::mt19937 random(1939);
  // Few letters, so that entries contain one another and occur often; both cases of letters above ASCII among
  // them.
  const std::string letters = "abAB@. \xE4\xC4\x8A\x9A\xD7";
  const auto randomText = [&](std::size_t longest) {
    std::string text;
    for (auto length = random() % (longest + 1); length > 0; --length)
      text += letters[random() % letters.size()];
    return text;
  };
  int found = 0;
  constexpr int kRounds = 3000;
  for (int round = 0; round < kRounds; ++round) {
    Entries entries(random() % 12);
    const std::size_t longest = 1 + random() % 12;
    for (std::string& entry : entries) entry = randomText(longest);
    const ListMatcher matcher(entries);
    for (int n = 0; n < 8; ++n) {
      const std::string text = randomText(40);
      ASSERT_EQ(matcher.matches(text), plainLoop(entries, text)) << "text '" << text << "', round " << round;
      found += matcher.matches(text) ? 1 : 0;
    }
  }
  // Both verdicts have come up often.
  EXPECT_GT(found, kRounds);
  EXPECT_LT(found, 7 * kRounds);
}

TEST(ListMatcher, VerdictsOnLongListsAreThoseOfThePlainLoop) {
  std::mt19937 random(5321);
  const auto word = [&](int shortest, int longest) {
    std::string text;
    for (int length = shortest + static_cast<int>(random() % (longest - shortest + 1)); length > 0;
         --length) {
      text += static_cast<char>(random() % 12 == 0 ? 0xC0 + random() % 0x40 : 'a' + random() % 26);
    }
    return text;
  };
  Entries entries;
  for (int n = 0; n < 5000; ++n) {
    entries.push_back(n % 4 == 0 ? "@" + word(2, 4) + ".example"
                                 : word(3, 6) + "@" + word(2, 4) + ".example");
  }
  const ListMatcher matcher(entries);
  for (int n = 0; n < 300; ++n) {
    std::string sender = word(3, 6) + "@" + word(2, 4) + ".example";
    if (n % 3 == 0) sender = "\"" + word(3, 5) + "\" <" + entries[random() % entries.size()] + ">";
    ASSERT_EQ(matcher.matches(sender), plainLoop(entries, sender)) << sender;
  }
}

TEST(ListMatcher, LetterCaseIsIgnoredInEveryAlphabet) {
  EXPECT_TRUE(matches({"&#1055;&#1056;&#1048;"}, "x &#1087;&#1088;&#1080;&#1074; y"));
  EXPECT_TRUE(matches({"&#1087;&#1088;&#1080;"}, "x &#1055;&#1056;&#1048; y"));
  EXPECT_TRUE(matches({"&#957;&#953;&#954;&#959;&#962;"}, "&#925;&#921;&#922;&#927;&#931;"))
      << "a final sigma";
  EXPECT_FALSE(matches({"&#1087;&#1088;"}, "&#1087; &#1088;"));
}

// Otherwise a year on the SubjectList would let every message with a certain Chinese character in.
TEST(ListMatcher, AnEntryMatchesNoPartOfAnotherCharacter) {
  for (const char* entry : {"2026", "20263", "0", "&", "&#", "#", ";", "&#20263", "\xE4", "\xBC", "\xA7"})
    EXPECT_FALSE(matches({entry}, "&#20263;")) << entry;  // in UTF-8 E4 BC A7
  EXPECT_TRUE(matches({"2026"}, "&#20263; in 2026"));
  EXPECT_TRUE(matches({"&#2026"}, "what is &#2026"));
}

TEST(ListMatcher, CombiningMarksAndEmojiAreCharactersLikeOthers) {
  EXPECT_TRUE(matches({"&#128512;"}, "hi &#128512;!"));
  EXPECT_FALSE(matches({"&#128512;"}, "hi &#128513;!"));
  EXPECT_TRUE(matches({"E&#769;"}, "caf\x65&#769;"));
}

}  // namespace
}  // namespace vornelle
