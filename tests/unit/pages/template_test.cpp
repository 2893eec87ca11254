#include "pages/template.h"

#include "core/settings.h"
#include "core/version.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;

class TemplateTest : public SimTest {
 protected:
  TemplateTest() { form1.sessionMinutesUsed = 3; }

  static std::string filled(std::string_view text, const std::vector<Marker>& markers = {},
                            const std::vector<Marker>& lateMarkers = {}) {
    makeFile("\\data\\page.htm", text);
    return fillPage(readTemplate("page.htm"), markers, lateMarkers);
  }
};

TEST_F(TemplateTest, AMissingFileAndAnEmptyPathReadAsNothing) {
  EXPECT_EQ(readWholeFile(inFolder("\\data\\missing.htm")), "");
  EXPECT_EQ(readWholeFile(""), "");
}

TEST_F(TemplateTest, AFileIsReadByteForByte) {
  const std::string bytes("\0\x1A\r\n\n\xFF<", 7);
  makeFile("\\data\\bytes.bin", bytes);
  EXPECT_EQ(readWholeFile(inFolder("\\data\\bytes.bin")), bytes);
}

TEST_F(TemplateTest, AFileThatCannotBeReadReadsAsNothing) {
  makeFile("\\data\\page.htm", "text");
  sim::failReadsOf("page.htm");
  EXPECT_EQ(readWholeFile(inFolder("\\data\\page.htm")), "");
}

TEST_F(TemplateTest, ReadingAFileLetsPendingEventsBeServed) {
  makeFile("\\data\\page.htm", "text");
  bool served = false;
  sim::after(0, [&] { served = true; });
  EXPECT_EQ(readWholeFile(inFolder("\\data\\page.htm")), "text");
  EXPECT_TRUE(served);
}

TEST_F(TemplateTest, WhatIsServedInBetweenDoesNotChangeTheTextThatWasRead) {
  makeFile("\\data\\page.htm", "before");
  sim::after(0, [&] { makeFile("\\data\\page.htm", "after"); });
  EXPECT_EQ(readWholeFile(inFolder("\\data\\page.htm")), "before");
}

TEST_F(TemplateTest, AMissingFileLetsNothingBeServed) {
  bool served = false;
  sim::after(0, [&] { served = true; });
  EXPECT_EQ(readWholeFile(inFolder("\\data\\page.htm")), "");
  EXPECT_FALSE(served);
}

TEST_F(TemplateTest, ThePageIsReloadedWhenTheSessionIsOver) {
  EXPECT_EQ(filled("<html><HEAD></head>"),
            "<html><head>\r\n<meta http-equiv='refresh' content='1620'>\r\n</head>");
}

TEST_F(TemplateTest, AHeadTagInMixedCaseIsWrittenOutInLowerCase) {
  EXPECT_TRUE(filled("<HeAd>x").starts_with("<head>\r\n<meta http-equiv='refresh' content='1620'>\r\nx"));
}

TEST_F(TemplateTest, TheTitleEndsWithTheRemainingMinutes) {
  EXPECT_EQ(filled("<title>Inbox</title>"), "<title>Inbox (27m)</title>");
  EXPECT_EQ(filled("<TITLE>Inbox</TITLE>"), "<TITLE>Inbox (27m)</title>");
}

TEST_F(TemplateTest, TwoTitlesGetTwoSuffixesAndNoneGetsNone) {
  EXPECT_EQ(filled("a</title>b</title>"), "a (27m)</title>b (27m)</title>");
  EXPECT_EQ(filled("a<b>"), "a<b>");
}

TEST_F(TemplateTest, MinutesBeyondTheSessionCountBelowZero) {
  form1.sessionMinutesUsed = 32;
  EXPECT_EQ(filled("<head></title>"),
            "<head>\r\n<meta http-equiv='refresh' content='-120'>\r\n (-2m)</title>");
}

TEST_F(TemplateTest, MinutesBeyondAnyCalendarOverflowNothing) {
  form1.sessionMinutesUsed = 2147483647;
  EXPECT_THAT(filled("<head></title>"), HasSubstr("(-2147483617m)"));
}

TEST_F(TemplateTest, TheTitleStepLeavesThePageAloneWhileTheFlagIsSet) {
  std::string page = "a</TITLE>";
  form1.suppressTitleMinutes = true;
  EXPECT_EQ(pageTitleUpdate(page), "a</TITLE>");
  form1.suppressTitleMinutes = false;
  EXPECT_EQ(&pageTitleUpdate(page), &page);
  EXPECT_EQ(page, "a (27m)</title>");
}

TEST_F(TemplateTest, TheSharedHeaderIsFilledInAndItsMarkersToo) {
  form1.sessionId = "ABC";
  makeFile("\\data\\top.inc", "<a href='x?s=<!--SSSESSION-->'><!--own-->");
  EXPECT_EQ(filled("[<!--sstop-->]", {{"<!--OWN-->", "mine"}}), "[<a href='x?s=ABC'>mine]");
}

TEST_F(TemplateTest, TheSharedHeaderIsReadAfterTheTemplate) {
  makeFile("\\data\\top.inc", "before");
  sim::after(0, [] { makeFile("\\data\\top.inc", "after"); });  // served once the template has been read
  EXPECT_EQ(filled("<!--SSTOP-->"), "after");
}

TEST_F(TemplateTest, AMissingHeaderFillsItsMarkerWithNothing) {
  EXPECT_EQ(filled("[<!--SSTOP-->]"), "[]");
}

TEST_F(TemplateTest, VersionAndSessionAreFilledInEverywhereAndInAnyLetterCase) {
  form1.sessionId = "ABC";
  EXPECT_EQ(filled("<!--SSVERSION--> <!--ssversion--> <!--SSSESSION--><!--SsSession-->"),
            versionText() + " " + versionText() + " ABCABC");
}

TEST_F(TemplateTest, WithNobodyLoggedInTheSessionIsEmptyAndThePageCountsDownAllTheSame) {
  EXPECT_EQ(filled("[<!--SSSESSION-->]</title>"), "[] (27m)</title>");
}

TEST_F(TemplateTest, ThePagesOwnMarkersAreFilledInTheirOrder) {
  EXPECT_EQ(filled("<!--ONE-->", {{"<!--ONE-->", "<!--TWO-->"}, {"<!--TWO-->", "<!--ONE-->"}}), "<!--ONE-->");
}

TEST_F(TemplateTest, OwnMarkersComeBeforeVersionAndSessionAndLateOnesBehindThem) {
  EXPECT_EQ(filled("<!--EARLY--><!--LATE-->", {{"<!--EARLY-->", "<!--SSVERSION-->"}},
                   {{"<!--LATE-->", "<!--SSVERSION--></title>"}}),
            versionText() + "<!--SSVERSION--> (27m)</title>");
}

TEST_F(TemplateTest, TheVersionIsFilledInBeforeTheSession) {
  form1.sessionId = "<!--SSVERSION-->";
  EXPECT_EQ(filled("<!--SSSESSION-->"), "<!--SSVERSION-->");
}

TEST_F(TemplateTest, WhatIsFilledInMayHoldAnyBytes) {
  const std::string plain(100, 'x');
  for (const std::string& text : {std::string("<\0aside>", 8), std::string("\0<!--", 5), std::string("<")}) {
    EXPECT_EQ(filled("<!--ONE-->" + plain + "<!--ONE--></title>", {{"<!--ONE-->", text}}),
              text + plain + text + " (27m)</title>");
  }
}

TEST_F(TemplateTest, AMarkerThatTheTemplateLacksLosesNothing) {
  EXPECT_EQ(filled("text", {{"<!--ONE-->", "1"}}), "text");
}

TEST_F(TemplateTest, AMissingTemplateGivesAnEmptyPage) {
  makeFile("\\data\\top.inc", "top");
  EXPECT_EQ(fillPage(readTemplate("missing.htm"), {{"<!--ONE-->", "1"}}), "");
}

TEST_F(TemplateTest, AnEditedTemplateTakesEffectOnTheNextPage) {
  EXPECT_EQ(filled("one"), "one");
  EXPECT_EQ(filled("two"), "two");
}

TEST_F(TemplateTest, MinutesAreThoseAtTheEndOfTheBuildingNotAtItsStart) {
  makeFile("\\data\\top.inc", "top");
  sim::after(0, [] { form1.sessionMinutesUsed = 10; });
  EXPECT_EQ(filled("<!--SSTOP--></title>"), "top (20m)</title>");
}

}  // namespace
}  // namespace vornelle
