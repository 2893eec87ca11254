#include "pages/page_links.h"

#include "core/settings.h"
#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;

class PageLinks : public PageTest {
 protected:
  PageLinks() {
    form1.requestByGateway = true;
    form1.sessionId = "SESSION";
    settings.MESSAGES_PER_PAGE = 15;
  }
};

TEST_F(PageLinks, TheLastPageStartsWhereTheWayForthEnds) {
  EXPECT_EQ(pageStartOf(30), 30);
  EXPECT_EQ(pageStartOf(29), 15);
  EXPECT_EQ(pageStartOf(-1), 0);
}

TEST_F(PageLinks, EveryPageCanBeChosenAndTheOneShownIsMarked) {
  const std::string form = jumpForm("displayinbox.htm", {15, 29, 31});
  EXPECT_THAT(
      form,
      HasSubstr("method='get' action='displayinbox.htm' data-first='15' data-size='15' data-total='31'"));
  EXPECT_THAT(form, HasSubstr("<input type='hidden' name='s' value='SESSION'>"));
  EXPECT_THAT(form, HasSubstr("<option value='0'>1 - 15</option>\r\n"
                              "<option value='15' selected>16 - 30</option>\r\n"
                              "<option value='30'>31 - 31</option>\r\n</select>"));
}

TEST_F(PageLinks, WhereOnePageHoldsAllThereIsNowhereToGo) {
  EXPECT_EQ(jumpForm("displayinbox.htm", {0, 14, 15}), "");
}

TEST_F(PageLinks, ThePlainWireHasNoJump) {
  form1.requestByGateway = false;
  EXPECT_EQ(jumpForm("displayinbox.htm", {0, 14, 31}), "");
}

TEST_F(PageLinks, OfThousandsOfPagesAFewHundredAreOffered) {
  settings.MESSAGES_PER_PAGE = 1;
  const std::string form = jumpForm("displayinbox.htm", {0, 0, 10001});
  EXPECT_LT(form.size(), 30000U);
  EXPECT_THAT(form, HasSubstr("<option value='21'>22 - 22</option>"));
  settings.MESSAGES_PER_PAGE = -3;
  EXPECT_THAT(jumpForm("displayinbox.htm", {0, 0, 3}), HasSubstr("data-size='1'"));
}

TEST_F(PageLinks, ABrowserGetsFirstAndLastBesides) {
  EXPECT_EQ(
      listHeader("Inbox", "displayinbox.htm", {15, 29, 61}),
      "<b>Inbox</b>&nbsp;&nbsp;<a href='displayinbox.htm?s=SESSION&msg=0'><small>First</small></a>&nbsp;|"
      "&nbsp;<a href='displayinbox.htm?s=SESSION&msg=0'><small>Prev</small></a>&nbsp;|&nbsp;"
      "<a href='displayinbox.htm?s=SESSION&msg=30'><small>Next</small></a>&nbsp;|&nbsp;"
      "<a href='displayinbox.htm?s=SESSION&msg=60'><small>Last</small></a> (showing 16 - 30 of 61)");
  EXPECT_EQ(listHeader("Inbox", "displayinbox.htm", {0, 1, 2}),
            "<b>Inbox</b>&nbsp;&nbsp;<small>First</small>&nbsp;|&nbsp;<small>Prev</small>&nbsp;|&nbsp;"
            "<small>Next</small>&nbsp;&nbsp;|&nbsp;<small>Last</small> (showing 1 - 2 of 2)");
}

}  // namespace
}  // namespace vornelle
