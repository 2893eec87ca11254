#include "pages/find_page.h"

#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

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
