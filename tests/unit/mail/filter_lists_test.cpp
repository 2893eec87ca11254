#include "mail/filter_lists.h"

#include "core/settings.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class FilterLists : public SimTest {
 protected:
  static std::string log() { return form1.LogWindow.text(); }
  static std::string friends() { return contentOf("\\data\\friendlist.txt"); }
  static void makeFriends(std::string_view content) { makeFile("\\data\\friendlist.txt", content); }

  // "entry0", "entry1" and so on, one a line.
  static std::string lines(int count) {
    std::string text;
    for (int n = 0; n < count; ++n) text += "entry" + std::to_string(n) + "\r\n";
    return text;
  }
};

TEST_F(FilterLists, AnAddIsTrimmedLoweredLoggedAndStoredDecoded) {
  listAdd("FriendList", "  Bob.Smith%40Example.COM ");
  EXPECT_THAT(log(), EndsWith("] FriendList add: bob.smith%40example.com\r\n"));
  EXPECT_EQ(contentOf("\\data\\FriendList.txt"), "bob.smith@example.com\r\n");
}

TEST_F(FilterLists, AnAddToTheEnemyListIsLoggedAsPosted) {
  makeFile("\\data\\enemylist.txt", "");
  listAdd("EnemyList", "%40example.com");
  EXPECT_THAT(log(), EndsWith("] EnemyList add: %40example.com\r\n"));
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), "@example.com\r\n");
}

TEST_F(FilterLists, TheLogHasTheEntryAsPostedAndTheFileHasItDecoded) {
  listAdd("FriendList", "bob%21");
  EXPECT_THAT(log(), EndsWith("] FriendList add: bob%21\r\n"));
  EXPECT_EQ(friends(), "bob!\r\n");
}

TEST_F(FilterLists, EachListHasAFileOfItsOwn) {
  listAdd("SubjectList", "invoice");
  EXPECT_EQ(contentOf("\\data\\subjectlist.txt"), "invoice\r\n");
  EXPECT_EQ(friends(), "(missing)");
}

TEST_F(FilterLists, AnEntryOfBlanksIsIgnored) {
  makeFriends("Bob\r\n");
  listAdd("FriendList", "   ");
  listAdd("FriendList", "");
  EXPECT_EQ(log(), "");
  EXPECT_EQ(friends(), "Bob\r\n");
}

TEST_F(FilterLists, AnEntryThatIsThereInAnyLetterCaseChangesNothing) {
  const std::string before = "Zoe\r\n\r\nBOB@Example.org\r\n";
  makeFriends(before);
  listAdd("FriendList", " bob@EXAMPLE.org");
  EXPECT_EQ(friends(), before);
  EXPECT_EQ(log(), "");
}

TEST_F(FilterLists, ALetterAboveAsciiIsADuplicateInEitherCase) {
  makeFriends("M\xDCLLER\r\n");
  listAdd("FriendList", "m\xFCller");
  EXPECT_EQ(friends(), "M\xDCLLER\r\n");
}

TEST_F(FilterLists, TheDuplicateTestComparesTheEntryAsPosted) {
  makeFriends("bob@example.org\r\n");
  listAdd("FriendList", "bob%40example.org");
  EXPECT_EQ(friends(), "bob@example.org\r\nbob@example.org\r\n");
}

TEST_F(FilterLists, AnAddLeavesTheFileLowerCaseSortedAndWithoutBlankLines) {
  makeFriends("Zoe@Example.org\r\n\r\n   \r\nADA\r\nm\xDC\r\n");
  listAdd("FriendList", "Bob");
  EXPECT_EQ(friends(), "ada\r\nbob\r\nm\xFC\r\nzoe@example.org\r\n");
}

TEST_F(FilterLists, LinesKeepTheirBlanksAndTheDecodedEntryGetsItsOwn) {
  makeFriends(" Ada \r\n");
  listAdd("FriendList", "bob+smith+");
  EXPECT_EQ(friends(), " ada \r\nbob smith \r\n");
}

TEST_F(FilterLists, EscapesWithLettersStayBecauseTheEntryIsLoweredFirst) {
  listAdd("FriendList", "a%2Bb%21c%3D");
  EXPECT_EQ(friends(), "a%2bb!c%3d\r\n");
}

TEST_F(FilterLists, AnEscapedPercentSignBeforeFortyBecomesAnAtSign) {
  listAdd("FriendList", "bob%2540example.org");
  EXPECT_EQ(friends(), "bob@example.org\r\n");
}

TEST_F(FilterLists, TheLastSlotOfAListCanBeFilled) {
  makeFriends(lines(10000));
  listAdd("FriendList", "a new one");
  EXPECT_THAT(log(), EndsWith("] FriendList add: a new one\r\n"));
  EXPECT_EQ(friends().size(), lines(10000).size() + 11);
  EXPECT_TRUE(friends().starts_with("a new one\r\nentry0\r\nentry1\r\nentry10\r\n"));
}

TEST_F(FilterLists, AnAddToAFullListIsRefusedWithALogLine) {
  makeFriends(lines(10001));
  listAdd("FriendList", "A New%40one");
  EXPECT_EQ(friends(), lines(10001));
  EXPECT_THAT(log(), EndsWith("] **FriendList is full (10001 entries), not added: a new%40one\r\n"));
  EXPECT_THAT(log(), testing::Not(HasSubstr("FriendList add: ")));
}

TEST_F(FilterLists, BlankLinesTakeNoSlot) {
  makeFriends(lines(10000) + "\r\n \r\n");
  listAdd("FriendList", "zoe");
  EXPECT_THAT(friends(), EndsWith("\r\nzoe\r\n"));
}

TEST_F(FilterLists, ADuplicateInAFullListIsSilent) {
  makeFriends(lines(10001));
  listAdd("FriendList", "ENTRY10000");
  EXPECT_EQ(friends(), lines(10001));
  EXPECT_EQ(log(), "");
}

TEST_F(FilterLists, AListThatCannotBeReadIsLeftAsItIs) {
  makeFriends("ada\r\n");
  sim::failReadsOf("riend");
  listAdd("FriendList", "bob");
  listRemoveLine("friendlist", "0");
  EXPECT_EQ(listForFilter("FriendList"), std::nullopt);
  sim::failReadsOf("");
  EXPECT_EQ(friends(), "ada\r\n");
  EXPECT_THAT(log(), HasSubstr("] **FriendList cannot be read, not added: bob\r\n"));
  EXPECT_THAT(log(), HasSubstr("] **FriendList cannot be read, nothing removed\r\n"));
  EXPECT_THAT(log(), EndsWith("] **FriendList cannot be read\r\n"));
}

TEST_F(FilterLists, AFailedWriteLeavesTheOldFileAndSaysSo) {
  makeFriends("ada\r\ncarl\r\n");
  sim::failWritesTo("friendlist.txt");
  listAdd("FriendList", "bob");
  EXPECT_THAT(log(), EndsWith("] **FriendList cannot be written, not added: bob\r\n"));
  listRemoveLine("FriendList", "0");
  EXPECT_THAT(log(), EndsWith("] **FriendList cannot be written, nothing removed\r\n"));
  sim::failWritesTo("");
  EXPECT_EQ(friends(), "ada\r\ncarl\r\n");
}

TEST_F(FilterLists, AnAddThatNestsInTheLogLineOfAnotherIsNotLost) {
  sim::after(0, [] { listAdd("FriendList", "zoe"); });
  listAdd("FriendList", "ada");
  EXPECT_EQ(friends(), "ada\r\nzoe\r\n");
}

TEST_F(FilterLists, ANestedAddOfTheSameEntryLeavesItThereOnce) {
  sim::after(0, [] { listAdd("FriendList", "ada"); });
  listAdd("FriendList", "ada");
  EXPECT_EQ(friends(), "ada\r\n");
}

TEST_F(FilterLists, RemovingTakesOutTheLineAtThatPosition) {
  for (const auto& [number, rest] : std::vector<std::pair<std::string, std::string>>{
           {"0", "b\r\nC\r\n"}, {" 1 ", "a\r\nC\r\n"}, {"2", "a\r\nb\r\n"}}) {
    makeFriends("a\r\nb\r\nC\r\n");
    listRemoveLine("FriendList", number);
    EXPECT_EQ(friends(), rest) << number;
  }
  EXPECT_EQ(log(), "");
}

TEST_F(FilterLists, RemovingDoesNotSortTheFileAndCountsBlankLines) {
  makeFriends("zoe\r\n\r\nAda\r\nbob");
  listRemoveLine("FRIENDLIST", "2");
  EXPECT_EQ(friends(), "zoe\r\n\r\nbob\r\n");
}

TEST_F(FilterLists, RemovingTheOnlyLineLeavesAnEmptyFile) {
  makeFriends("bob\r\n");
  listRemoveLine("friendlist", "0");
  EXPECT_EQ(friends(), "");
}

TEST_F(FilterLists, RemovingTakesTheNumericValueOfTheText) {
  for (const auto& [number, rest] :
       std::vector<std::pair<std::string, std::string>>{{"1x", "a\r\nC\r\n"},
                                                        {"  2 of 3", "a\r\nb\r\n"},
                                                        {"1.0", "a\r\nC\r\n"},
                                                        {"&H2", "a\r\nb\r\n"},
                                                        {"none", "b\r\nC\r\n"}}) {
    makeFriends("a\r\nb\r\nC\r\n");
    listRemoveLine("FriendList", number);
    EXPECT_EQ(friends(), rest) << number;
  }
}

TEST_F(FilterLists, RemovingANumberThatNoLineHasWritesAllLinesBackEachWithItsLineEnd) {
  for (const char* number : {"3", "-1", "0.5", "65536", "1e9"}) {
    makeFriends("a\n\r\nc");
    listRemoveLine("FriendList", number);
    EXPECT_EQ(friends(), "a\r\n\r\nc\r\n") << number;
  }
}

TEST_F(FilterLists, RemovingWithATextOfBlanksTouchesNothing) {
  makeFriends("a\nb");
  for (const char* number : {"", "  "}) listRemoveLine("FriendList", number);
  EXPECT_EQ(friends(), "a\nb");
}

TEST_F(FilterLists, OnlyTheThreeListsCanLoseALine) {
  ASSERT_TRUE(createFolder(inFolder("\\spam")));
  for (const char* path :
       {"\\data\\other.txt", "\\notes.txt", "\\spam\\a.txt", "\\data\\.txt", "\\data\\friendlist.txt.txt"}) {
    makeFile(path, "a\r\nb\r\n");
  }
  for (const char* type : {"other", "..\\notes", "../notes", "..\\spam\\a", "", " friendlist",
                           "friendlist.txt", "friendlist\\..\\other", ".\\other"}) {
    listRemoveLine(type, "0");
  }
  for (const char* path :
       {"\\data\\other.txt", "\\notes.txt", "\\spam\\a.txt", "\\data\\.txt", "\\data\\friendlist.txt.txt"}) {
    EXPECT_EQ(contentOf(path), "a\r\nb\r\n") << path;
  }
  makeFile("\\data\\SubjectList.txt", "a\r\nb\r\n");
  makeFile("\\data\\EnemyList.txt", "a\r\nb\r\n");
  listRemoveLine("SUBJECTlist", "0");
  listRemoveLine("enemylist", "1");
  EXPECT_EQ(contentOf("\\data\\subjectlist.txt"), "b\r\n");
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), "a\r\n");
}

TEST_F(FilterLists, RemovingFromAMissingListWritesBackThatItHasNoLines) {
  listRemoveLine("FriendList", "");
  EXPECT_EQ(friends(), "(missing)");
  listRemoveLine("FriendList", "0");
  EXPECT_EQ(friends(), "");
}

TEST_F(FilterLists, RemovingKeepsAtMostAsManyLinesAsAListHolds) {
  makeFriends("gone\r\n" + lines(10003));
  listRemoveLine("FriendList", "0");
  EXPECT_EQ(friends(), lines(10001));
  EXPECT_THAT(log(), EndsWith("] **FriendList is too long, left out: its last 2 lines\r\n"));
}

TEST_F(FilterLists, TheFilterGetsTheLinesAsTheyStand) {
  makeFriends(" Ada\r\n\r\nBOB \r\ncarl");
  EXPECT_EQ(listForFilter("FriendList"), (std::vector<std::string>{" Ada", "", "BOB ", "carl"}));
  EXPECT_EQ(listForFilter("EnemyList"), std::vector<std::string>{});
  EXPECT_EQ(log(), "");
}

TEST_F(FilterLists, TheFilterUsesTheFirstTenThousandLinesAndSaysSo) {
  makeFriends(lines(10000));
  EXPECT_EQ(listForFilter("FriendList")->size(), 10000u);
  EXPECT_EQ(log(), "");
  makeFriends(lines(10002));
  const auto entries = listForFilter("FriendList");
  EXPECT_EQ(entries->size(), 10000u);
  EXPECT_EQ(entries->back(), "entry9999");
  EXPECT_THAT(log(), EndsWith("] **FriendList has 10002 lines, only the first 10000 are used\r\n"));
  const std::string before = log();
  EXPECT_EQ(listLines("FriendList")->size(), 10000u) << "what pages tell goes by the same lines";
  EXPECT_EQ(log(), before);
}

TEST_F(FilterLists, ListNamesAreKnownInAnyLetterCase) {
  const auto nameOf = [](std::string_view text) {
    const FilterListInfo* const list = findList(text);
    return list ? list->name : "(none)";
  };
  EXPECT_EQ(nameOf("FRIENDLIST"), "FriendList");
  EXPECT_EQ(nameOf("subjectlist"), "SubjectList");
  EXPECT_EQ(nameOf("EnemyList"), "EnemyList");
  EXPECT_EQ(nameOf("friendlis"), "(none)");
  EXPECT_EQ(nameOf(""), "(none)");
}

TEST_F(FilterLists, EachListHasOneFileHoweverItsNameIsSpelled) {
  // Where letter case tells names apart, another spelling of the name is another file, and no list.
  makeFriends("ada\r\n");
  listAdd("FriendList", "bob");
  listAdd("FRIENDLIST", "carl");
  listRemoveLine("friendLIST", "0");
  EXPECT_EQ(listAddMany("fRIENDlIST", {"zoe"}).added, 1u);
  EXPECT_THAT(listEntries("friendlist"), testing::ElementsAre("bob", "carl", "zoe"));
  EXPECT_THAT(*listMatches("FriendLIST", "zoe"), testing::ElementsAre("zoe"));
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").size(), 1u);
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").front().name, "friendlist.txt");
}

TEST_F(FilterLists, AListThatIsMissingIsMadeUnderItsNameInSmallLetters) {
  listAdd("EnemyList", "eve");
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").front().name, "enemylist.txt");
  static_cast<void>(listEntries("SubjectLIST"));
  EXPECT_EQ(contentOf("\\data\\subjectlist.txt"), "\r\n");
  createMissingLists();
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "");
  EXPECT_EQ(contentOf("\\data\\subjectlist.txt"), "\r\n");
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").size(), 3u);
}

TEST_F(FilterLists, ManyEntriesAreAddedBesideLinesThatKeepTheirSpelling) {
  makeFriends("Zoe@Example.org\r\n\r\n Ada \r\n");
  const ListAdditions additions =
      listAddMany("FriendList", {"  NEW@x ", "", " ", "zoe@example.ORG", "ada", "new@X"});
  EXPECT_EQ(additions.result, ListAdditions::Result::done);
  EXPECT_EQ(additions.added, 2u);
  EXPECT_EQ(additions.skipped, 2u);
  EXPECT_EQ(friends(), " Ada \r\nZoe@Example.org\r\nada\r\nnew@x\r\n");
}

// Cyrillic and Greek, in the references by which 8-bit text holds them: "Привет" and "ΝΙΚΟΣ".
constexpr const char* kHello = "&#1055;&#1088;&#1080;&#1074;&#1077;&#1090;";
constexpr const char* kHelloSmall = "&#1087;&#1088;&#1080;&#1074;&#1077;&#1090;";
constexpr const char* kNikosCapitals = "&#925;&#921;&#922;&#927;&#931;";
constexpr const char* kNikosSmall = "&#957;&#953;&#954;&#959;&#962;";

TEST_F(FilterLists, AnEntryInAnyAlphabetIsAddedInSmallLetters) {
  listAdd("FriendList", std::string(kHello) + " \xDCnal");
  EXPECT_EQ(friends(), std::string(kHelloSmall) + " \xFCnal\r\n");
  EXPECT_THAT(log(), EndsWith("] FriendList add: " + std::string(kHelloSmall) + " \xFCnal\r\n"));
}

TEST_F(FilterLists, LettersAreTakenAsBrowsersPostThem) {
  listAdd("FriendList", "%26%231055%3B%26%231088%3b+%26#128512;");
  EXPECT_EQ(friends(), "&#1087;&#1088; &#128512;\r\n");
  EXPECT_THAT(log(), EndsWith("] FriendList add: &#1087;&#1088;+&#128512;\r\n"));
}

TEST_F(FilterLists, OtherReferencesAreTakenAsTheyArePosted) {
  listAdd("FriendList", "%26lt;%26#60;");
  EXPECT_EQ(friends(), "&lt;&#60;\r\n");
}

TEST_F(FilterLists, ADuplicateInAnyAlphabetIsFoundInEitherCase) {
  const std::string before = std::string(kHello) + "\r\n" + kNikosCapitals + "\r\n";
  makeFriends(before);
  listAdd("FriendList", kHelloSmall);
  listAdd("FriendList", "%26%231055%3B%26%231088%3B%26%231080%3B%26%231074%3B%26%231077%3B%26%231090%3B");
  listAdd("FriendList", kNikosSmall);
  EXPECT_EQ(friends(), before);
  EXPECT_EQ(log(), "");
}

TEST_F(FilterLists, AnAddWritesLinesInEveryAlphabetSmall) {
  makeFriends(std::string(kHello) + "\r\n" + kNikosCapitals + "\r\n");
  listAdd("FriendList", "&#1046;");
  EXPECT_EQ(friends(), "&#1078;\r\n" + std::string(kHelloSmall) + "\r\n&#957;&#953;&#954;&#959;&#963;\r\n");
}

TEST_F(FilterLists, ManyEntriesAtOnceAreComparedInEveryAlphabet) {
  makeFriends(std::string(kHello) + "\r\n");
  const ListAdditions additions =
      listAddMany("FriendList", {kHelloSmall, kNikosCapitals, kNikosSmall, "&#1046;"});
  EXPECT_EQ(additions.added, 2U);
  EXPECT_EQ(additions.skipped, 2U);
  EXPECT_EQ(friends(), std::string(kHello) + "\r\n&#1078;\r\n&#957;&#953;&#954;&#959;&#963;\r\n");
}

TEST_F(FilterLists, ASearchIgnoresCaseInEveryAlphabetAndFindsNoPartsOfCharacters) {
  makeFriends(std::string(kHello) + " <ivan@example.org>\r\n&#20263;\r\n");
  EXPECT_EQ(listMatches("FriendList", "&#1080;&#1042;")->size(), 1U);
  EXPECT_EQ(listMatches("FriendList", "&#20263;")->size(), 1U);
  for (const char* text : {"1087", "2026", "&#", ";", "8"})
    EXPECT_EQ(listMatches("FriendList", text)->size(), 0U);
}

using Removal = ListRemovals::Result;

TEST_F(FilterLists, AnEntryIsRemovedByItsTextAlthoughBlankLinesStandBeforeIt) {
  makeFriends("ada\r\n\r\n \r\nbob\r\neve\r\n");
  const ListRemovals removals = listRemoveEntries("FRIENDLIST", {{1, "bob"}});
  EXPECT_EQ(removals.result, Removal::done);
  EXPECT_THAT(removals.removed, ElementsAre("bob"));
  EXPECT_EQ(friends(), "ada\r\n\r\n \r\neve\r\n");
}

TEST_F(FilterLists, AnEntryThatMovedMeanwhileIsFoundByItsText) {
  makeFriends("a new one\r\nada\r\nbob\r\n");
  EXPECT_THAT(listRemoveEntries("friendlist", {{0, "ada"}}).removed, ElementsAre("ada"));
  EXPECT_EQ(friends(), "a new one\r\nbob\r\n");
}

TEST_F(FilterLists, AnEntryThatIsGoneMeanwhileTakesNoOtherWithIt) {
  makeFriends("ada\r\nbob\r\n");
  const ListRemovals removals = listRemoveEntries("friendlist", {{0, "eve"}, {1, "BOB"}});
  EXPECT_EQ(removals.result, Removal::done);
  EXPECT_THAT(removals.removed, IsEmpty());
  EXPECT_THAT(removals.missing, ElementsAre("eve", "BOB"));
  EXPECT_EQ(friends(), "ada\r\nbob\r\n");
}

TEST_F(FilterLists, OfSeveralLinesWithOneTextTheNearestGoes) {
  makeFriends("x\r\na\r\nb\r\nx\r\nc\r\nx\r\n");
  EXPECT_THAT(listRemoveEntries("friendlist", {{4, "x"}}).removed, ElementsAre("x"));
  EXPECT_EQ(friends(), "x\r\na\r\nb\r\nx\r\nc\r\n") << "5 is as near as 3, and stands behind it";
  EXPECT_THAT(listRemoveEntries("friendlist", {{99, "x"}}).removed, ElementsAre("x"));
  EXPECT_EQ(friends(), "x\r\na\r\nb\r\nc\r\n");
  EXPECT_THAT(listRemoveEntries("friendlist", {{1, "x"}, {1, "x"}}).missing, ElementsAre("x"));
  EXPECT_EQ(friends(), "a\r\nb\r\nc\r\n");
}

TEST_F(FilterLists, SeveralEntriesGoAtOnce) {
  makeFriends("ada\r\nbob\r\n eve \r\nzoe\r\n");
  EXPECT_THAT(listRemoveEntries("friendlist", {{0, "ada"}, {2, "eve"}, {3, "zoe"}}).removed,
              ElementsAre("ada", "eve", "zoe"));
  EXPECT_EQ(friends(), "bob\r\n");
}

TEST_F(FilterLists, AListThatIsTooLongToBeKeptWholeIsLeftAlone) {
  std::string text;
  for (std::size_t i = 0; i < kListCapacity + 2; ++i) text += "entry" + std::to_string(i) + "\r\n";
  makeFriends(text);
  const ListRemovals removals = listRemoveEntries("friendlist", {{0, "entry0"}});
  EXPECT_EQ(removals.result, Removal::tooLong);
  EXPECT_THAT(removals.removed, IsEmpty());
  EXPECT_EQ(friends(), text);
  EXPECT_EQ(listRemoveEntries("friendlist", {{0, "entry0"}, {1, "entry1"}}).result, Removal::done);
}

TEST_F(FilterLists, NothingIsRemovedFromAListThatCannotBeReadOrWrittenOrIsNone) {
  makeFriends("ada\r\nbob\r\n");
  EXPECT_EQ(listRemoveEntries("..\\Vornelle.ini", {{0, "ada"}}).result, Removal::noSuchList);
  sim::failReadsOf("friendlist");
  EXPECT_EQ(listRemoveEntries("friendlist", {{0, "ada"}}).result, Removal::cannotRead);
  sim::failReadsOf("");
  sim::failWritesTo("friendlist");
  const ListRemovals removals = listRemoveEntries("friendlist", {{0, "ada"}});
  EXPECT_EQ(removals.result, Removal::cannotWrite);
  EXPECT_THAT(removals.removed, IsEmpty());
  sim::failWritesTo("");
  EXPECT_EQ(friends(), "ada\r\nbob\r\n");
}

}  // namespace
}  // namespace vornelle
