#include "pages/list_page.h"

#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

class ListPage : public PageTest {
 protected:
  ListPage() { makeFile("\\data\\List.htm", bare("<!--SSLIST-->")); }
  static void templateOf(std::string_view text) { makeFile("\\data\\List.htm", text); }
};

TEST_F(ListPage, EachEntryIsAnOptionWithItsNumber) {
  makeFile("\\data\\friendlist.txt", "@example.com\r\nbob@example.com\r\n");
  EXPECT_EQ(pageList("FriendList"),
            "<html>[<option value='0'>@example.com</option>\r\n<option "
            "value='1'>bob@example.com</option>\r\n]</html>");
}

TEST_F(ListPage, BlankLinesAreSkippedAndGetNoNumber) {
  makeFile("\\data\\friendlist.txt", "a\r\n   \r\nb\r\n\r\nc");
  EXPECT_EQ(pageList("FriendList"),
            "<html>[<option value='0'>a</option>\r\n<option value='1'>b</option>\r\n<option "
            "value='2'>c</option>\r\n]"
            "</html>");
}

TEST_F(ListPage, EntriesAreTrimmedAndNotEscaped) {
  makeFile("\\data\\subjectlist.txt", "  <b>&  \r\n");
  EXPECT_EQ(pageList("SubjectList"), "<html>[<option value='0'><b>&</option>\r\n]</html>");
}

TEST_F(ListPage, EntriesAboveNumberTenThousandAreNotShown) {
  std::string file;
  for (int i = 0; i < 10003; i++) file += "e\r\n";
  makeFile("\\data\\enemylist.txt", file);
  const std::string page = pageList("EnemyList");
  EXPECT_THAT(page, testing::HasSubstr("<option value='10000'>e</option>\r\n]"));
  EXPECT_THAT(page, testing::Not(testing::HasSubstr("10001")));
}

TEST_F(ListPage, AMissingListFileIsCreatedWithOneEmptyLine) {
  EXPECT_EQ(pageList("EnemyList"), "<html>[]</html>");
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), "\r\n");
}

TEST_F(ListPage, AnExistingListFileStaysAsItIs) {
  makeFile("\\data\\enemylist.txt", " A \n");
  EXPECT_THAT(pageList("EnemyList"), testing::HasSubstr("<option value='0'>A</option>"));
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), " A \n");
}

TEST_F(ListPage, TheListIsReadBeforeTheTemplate) {
  makeFile("\\data\\friendlist.txt", "old\r\n");
  sim::after(0, [] { makeFile("\\data\\friendlist.txt", "new\r\n"); });
  EXPECT_THAT(pageList("FriendList"), testing::HasSubstr(">old</option>"));
}

TEST_F(ListPage, TheNameIsShownAsGiven) {
  templateOf(bare("<!--SSPAGEDESC-->,<!--SSTYPE-->"));
  EXPECT_EQ(pageList("FriendList"), "<html>[FriendList,FriendList]</html>");
  EXPECT_EQ(pageList("frIENDlist"), "<html>[frIENDlist,frIENDlist]</html>");
}

TEST_F(ListPage, TheFriendListHasItsHelpText) {
  templateOf(bare("<!--SSDESC-->"));
  const std::string help =
      "<html>[This is a list of emails (e.g., user@example.com) that you wish to NOT be treated as spam. You "
      "may also use a portion of an email (e.g., @example.com or example.com). Note that a EnemyListed email "
      "will be treated as spam even if it matches something in the FriendList. Generally, it is best NOT to "
      "add your own email address as many spammers try to trick filters by using it as the sender's "
      "address.]</html>";
  EXPECT_EQ(pageList("FriendList"), help);
  EXPECT_EQ(pageList("FRIENDLIST"), help);
}

TEST_F(ListPage, TheSubjectListHasItsHelpText) {
  templateOf(bare("<!--SSDESC-->"));
  EXPECT_EQ(
      pageList("subjectlist"),
      "<html>[This is a list of subject line text that you wish to NOT be treated as spam. Use this for when "
      "you send e-mail to yourself and don't want it caught by the filter or when you get automated emails "
      "that always use the same subject line. Note that other text can appear along with what you list "
      "here.]</html>");
}

TEST_F(ListPage, TheEnemyListHasItsHelpText) {
  templateOf(bare("<!--SSDESC-->"));
  EXPECT_EQ(pageList("EnemyList"),
            "<html>[This is a list of emails (e.g., user@example.com) that you wish to ALWAYS be treated as "
            "spam. You may also use a portion of an email (e.g., @example.com or example.com). Note that a "
            "these will override matches in your FriendList.]</html>");
}

TEST_F(ListPage, AnyOtherNameHasNoHelpText) {
  templateOf(bare("<!--SSDESC-->"));
  EXPECT_EQ(pageList("OtherList"), "<html>[]</html>");
}

TEST_F(ListPage, EntriesAreFilledInAfterTheNameAndBeforeTheSession) {
  makeFile("\\data\\friendlist.txt", "<!--SSSESSION-->\r\n<!--SSTYPE-->\r\n");
  // Filled in order: the name first, the entries next, the session after them.
  EXPECT_EQ(
      pageList("FriendList"),
      "<html>[<option value='0'>SESSION</option>\r\n<option value='1'><!--SSTYPE--></option>\r\n]</html>");
}

class FindPage : public PageTest {
 protected:
  FindPage() {
    makeFile("\\data\\find.htm", bare("<!--SSFINDINLISTS-->"));
    makeFile("\\data\\friendlist.txt", "@example.com\r\nbob@DOMAIN.example\r\n");
    makeFile("\\data\\SubjectList.txt", "about my domain\r\n");
    makeFile("\\data\\enemylist.txt", "x@spam.example\r\n");
  }
};

TEST_F(FindPage, MatchesAreListedListByListInAnyLetterCase) {
  EXPECT_EQ(pageFind("domain"),
            "<html>[<p><b>Last search: </b>domain</p>\r\n"
            "<p><b>FriendList Matches:</b><br>\r\n- bob@DOMAIN.example<br>\r\n</p>\r\n"
            "<p><b>SubjectList Matches:</b><br>\r\n- about my domain<br>\r\n</p>\r\n"
            "<p><b>EnemyList Matches:</b><br>\r\n<i>No matches</i></p>\r\n]</html>");
}

TEST_F(FindPage, ABlankTextFindsNothing) {
  for (const std::string text : {"", "  "}) {
    EXPECT_EQ(pageFind(text), "<html>[<p><b>Last search: </b>" + text +
                                  "</p>\r\n"
                                  "<p><b>FriendList Matches:</b><br>\r\n<i>No matches</i></p>\r\n"
                                  "<p><b>SubjectList Matches:</b><br>\r\n<i>No matches</i></p>\r\n"
                                  "<p><b>EnemyList Matches:</b><br>\r\n<i>No matches</i></p>\r\n]</html>");
  }
}

TEST_F(FindPage, ABlankAtTheEndOfTheTextCounts) {
  EXPECT_THAT(pageFind("my "), testing::HasSubstr("- about my domain<br>"));
  EXPECT_THAT(pageFind("domain "), testing::Not(testing::HasSubstr("- about my domain<br>")));
}

TEST_F(FindPage, TheTextIsShownRaw) {
  EXPECT_THAT(pageFind("<b>&"), testing::HasSubstr("<p><b>Last search: </b><b>&</p>\r\n"));
}

TEST_F(FindPage, WithoutItsFileASectionStaysAtItsHeading) {
  ASSERT_TRUE(deleteFile(inFolder("\\data\\subjectlist.txt")));
  EXPECT_THAT(pageFind("domain"),
              testing::HasSubstr("<p><b>SubjectList Matches:</b><br>\r\n<p><b>EnemyList"));
  EXPECT_FALSE(fileExists(inFolder("\\data\\subjectlist.txt")));
}

TEST_F(FindPage, TheTemplateIsReadBeforeTheLists) {
  sim::after(0, [] { makeFile("\\data\\friendlist.txt", "ada@new.example\r\n"); });
  EXPECT_THAT(pageFind("new.example"), testing::HasSubstr("- ada@new.example<br>"));
}

TEST_F(FindPage, ThePageIsCalledFindInLists) {
  makeFile("\\data\\find.htm", bare("<!--SSPAGEDESC-->,<!--SSTYPE-->"));
  EXPECT_EQ(pageFind("x"), "<html>[Find in Lists,Find in Lists]</html>");
}

TEST_F(FindPage, TheResultIsFilledInAfterTheSessionAndHoldsItsOwnMarkersAsTheyAre) {
  EXPECT_THAT(pageFind("<!--SSSESSION-->"), testing::HasSubstr("</b><!--SSSESSION--></p>"));
}

TEST_F(FindPage, LettersOfEveryAlphabetAreFoundAndShown) {
  makeFile("\\data\\friendlist.txt", "&#1055;&#1088;&#1080;&#1074;&#1077;&#1090;\r\n");
  const std::string page = pageFind("&#1055;&#1056;&#1048;");
  EXPECT_THAT(page, testing::HasSubstr("<b>Last search: </b>&#1055;&#1056;&#1048;</p>"));
  EXPECT_THAT(page, testing::HasSubstr("- &#1055;&#1088;&#1080;&#1074;&#1077;&#1090;<br>"));
}

}  // namespace
}  // namespace vornelle
