// Which messages a filter run keeps.
#include "tests/unit/mail/filter_run_fixture.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(FilterRun, AMessageOfNobodyKnownIsSpam) {
  EXPECT_FALSE(isKept("eve@elsewhere.example"));
  EXPECT_FALSE(isKept(""));
}

TEST_F(FilterRun, AFriendsMessageIsKeptWhateverItsLetterCase) {
  EXPECT_TRUE(isKept("bob@friends.example"));
  EXPECT_TRUE(isKept("\"Bob\" <BOB@Friends.EXAMPLE>"));
  makeFile("\\data\\friendlist.txt", "EVE@Elsewhere\r\n");
  EXPECT_TRUE(isKept("eve@elsewhere.example"));
}

TEST_F(FilterRun, AnEntryWithALeadingBlankMatchesOnlySendersWithThatBlank) {
  makeFile("\\data\\friendlist.txt", " bob@example.org\r\n");
  EXPECT_TRUE(isKept("To Bob bob@example.org"));
  EXPECT_FALSE(isKept("bob@example.org"));
}

TEST_F(FilterRun, AnEntryOfBlanksMatchesNothing) {
  makeFile("\\data\\friendlist.txt", "\r\n        \r\n\r\n");
  EXPECT_FALSE(isKept("Bob         Smith <bob@example.org>"));
}

TEST_F(FilterRun, AMessageWithAListedSubjectIsKept) {
  makeFile("\\data\\subjectlist.txt", "Weekly Report\r\n");
  EXPECT_TRUE(isKept("eve@elsewhere.example", "your weekly report of May"));
  EXPECT_FALSE(isKept("eve@elsewhere.example", "your weekly"));
  EXPECT_FALSE(isKept("weekly report <eve@elsewhere.example>"));
}

TEST_F(FilterRun, TheFriendListDoesNotLookAtSubjects) {
  EXPECT_FALSE(isKept("eve@elsewhere.example", "bob@friends.example"));
}

TEST_F(FilterRun, ASenderOnBothListsIsSpam) {
  makeFile("\\data\\enemylist.txt", "BOB@\r\n");
  EXPECT_FALSE(isKept("bob@friends.example"));
  EXPECT_TRUE(isKept("ada@friends.example"));
}

TEST_F(FilterRun, TheEnemyListOverridesSubjectAndSize) {
  makeFile("\\data\\subjectlist.txt", "report\r\n");
  makeFile("\\data\\enemylist.txt", "@elsewhere\r\n");
  EXPECT_FALSE(isKept("eve@elsewhere.example", "report"));
  EXPECT_FALSE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 157201}));
}

TEST_F(FilterRun, AMessageOverTheSizeLimitIsKept) {
  EXPECT_TRUE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 157201}));
  EXPECT_FALSE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 157200}));
  settings.MAX_SPAM_SIZE = 10;
  EXPECT_TRUE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 10481}));
  EXPECT_FALSE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 10480}));
}

// Single precision has no number between 30000 and 30000.002.
TEST_F(FilterRun, TheSizeIsComparedInSinglePrecision) {
  settings.MAX_SPAM_SIZE = 30000;
  EXPECT_FALSE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 31440001}));
  EXPECT_TRUE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 31440002}));
}

TEST_F(FilterRun, TheListsAreReadAfreshForEachRun) {
  EXPECT_FALSE(isKept("eve@elsewhere.example"));
  makeFile("\\data\\friendlist.txt", "eve@elsewhere.example\r\n");
  EXPECT_TRUE(isKept("eve@elsewhere.example"));
}

TEST_F(FilterRun, MissingSubjectAndEnemyListsHaveNoEntries) {
  ASSERT_TRUE(deleteFile(inFolder("\\data\\subjectlist.txt")));
  ASSERT_TRUE(deleteFile(inFolder("\\data\\enemylist.txt")));
  EXPECT_TRUE(isKept("bob@friends.example"));
  EXPECT_FALSE(isKept("eve@elsewhere.example"));
}

TEST_F(FilterRun, OnlyTheFirstTenThousandLinesOfAListAreUsed) {
  std::string list;
  for (int n = 0; n < 9999; ++n) list += "nobody@" + std::to_string(n) + ".invalid\r\n";
  makeFile("\\data\\friendlist.txt", list + "ada@elsewhere\r\nbob@elsewhere\r\n");
  EXPECT_TRUE(isKept("ada@elsewhere.example"));
  EXPECT_THAT(newLog(), ElementsAre("**FriendList has 10001 lines, only the first 10000 are used",
                                    HasSubstr("Mail filtered:")));
  EXPECT_FALSE(isKept("bob@elsewhere.example"));
}

TEST_F(FilterRun, MailIsNotJudgedByAListThatCannotBeRead) {
  makeFile("\\data\\enemylist.txt", "mallory\r\n");
  sim::failReadsOf("friendlist");
  EXPECT_TRUE(isKept("eve@elsewhere.example"));
  EXPECT_EQ(newLog()[0], "**FriendList cannot be read");
  EXPECT_FALSE(isKept("mallory@elsewhere.example"));
  sim::failReadsOf("subjectlist");
  EXPECT_TRUE(isKept("eve@elsewhere.example"));
  sim::failReadsOf("enemylist");
  EXPECT_FALSE(isKept("eve@elsewhere.example"));
  EXPECT_TRUE(isKept("ada@friends.example"));
}

TEST_F(FilterRun, ASubjectInAnyAlphabetKeepsItsMessageWhateverItsLetterCase) {
  // "приветствие" on the list, "ПРИВЕТСТВИЕ ОТ ИВАНА" in the mail, in KOI8-R and in UTF-8.
  makeFile("\\data\\subjectlist.txt",
           "&#1087;&#1088;&#1080;&#1074;&#1077;&#1090;&#1089;&#1090;&#1074;&#1080;&#1077;\r\n");
  EXPECT_TRUE(isKept("eve@elsewhere.example", "=?koi8-r?B?8PLp9+X08/T36eUg7/Qg6ffh7uE=?="));
  EXPECT_TRUE(
      isKept("eve@elsewhere.example", "=?utf-8?B?0J/QoNCY0JLQldCi0KHQotCS0JjQlSDQntCiINCY0JLQkNCd0JA=?="));
  EXPECT_FALSE(isKept("eve@elsewhere.example", "=?utf-8?B?0J/QoNCY0JLQldCi?="));
}

TEST_F(FilterRun, ASenderInAnyAlphabetIsAFriendOrAnEnemyWhateverItsLetterCase) {
  makeFile("\\data\\friendlist.txt", "&#931;&#959;&#966;&#943;&#945;\r\n");  // "Σοφία"
  EXPECT_TRUE(isKept("=?utf-8?B?zqPOn86mzorOkQ==?= <eve@elsewhere.example>"));
  makeFile("\\data\\enemylist.txt", "&#963;&#959;&#966;\r\n");
  EXPECT_FALSE(isKept("=?utf-8?B?zqPOn86mzorOkQ==?= <eve@elsewhere.example>"));
}

TEST_F(FilterRun, ANumberOnAListMatchesNoPartOfALetter) {
  makeFile("\\data\\subjectlist.txt", "2026\r\n");
  EXPECT_FALSE(isKept("eve@elsewhere.example", "=?utf-8?B?5Lyn?=")) << "&#20263;";
  EXPECT_TRUE(isKept("eve@elsewhere.example", "=?utf-8?B?5Lyn?= 2026"));
}

}  // namespace
}  // namespace vornelle
