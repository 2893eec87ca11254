#include "pages/message_rows.h"

#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

using MessageRows = PageTest;

RowRange range(int first, int total) {
  return rowsToShow(static_cast<std::int16_t>(first), static_cast<std::int16_t>(total));
}

TEST_F(MessageRows, APageHoldsMessagesPerPageRows) {
  EXPECT_EQ(range(0, 20).first, 0);
  EXPECT_EQ(range(0, 20).last, 14);
  EXPECT_EQ(range(0, 20).total, 20);
}

TEST_F(MessageRows, TheLastPageEndsAtTheLastMessage) {
  EXPECT_EQ(range(15, 20).first, 15);
  EXPECT_EQ(range(15, 20).last, 19);
}

TEST_F(MessageRows, AStartBeyondTheEndShowsTheLastMessageAlone) {
  EXPECT_EQ(range(100, 20).first, 19);
  EXPECT_EQ(range(100, 20).last, 19);
  EXPECT_EQ(range(20, 20).first, 19);
  EXPECT_EQ(range(19, 20).first, 19);
}

TEST_F(MessageRows, AStartBelowZeroStartsAtTheFirstMessage) {
  EXPECT_EQ(range(-10, 20).first, 0);
  EXPECT_EQ(range(-10, 20).last, 14);
}

TEST_F(MessageRows, WithNothingToListNoRowIsShown) {
  for (const int first : {-1, 0, 7}) {
    EXPECT_EQ(range(first, 0).first, 0);
    EXPECT_EQ(range(first, 0).last, -1);
  }
}

TEST_F(MessageRows, ZeroMessagesPerPageShowNone) {
  settings.MESSAGES_PER_PAGE = 0;
  EXPECT_EQ(range(3, 20).first, 3);
  EXPECT_EQ(range(3, 20).last, 2);
}

TEST_F(MessageRows, ALastRowThatDoesNotFitInSixteenBitsStaysZero) {
  settings.MESSAGES_PER_PAGE = 32767;
  EXPECT_EQ(range(0, 20).last, 19);
  EXPECT_EQ(range(1, 20).last, 0);
}

TEST_F(MessageRows, TheHeaderOfTheFirstPageLinksNextOnly) {
  EXPECT_EQ(listHeader("Inbox", "displayinbox.htm", range(0, 20)),
            "<b>Inbox</b>&nbsp;&nbsp;<small>Prev</small>&nbsp;|&nbsp;"
            "<a href='displayinbox.htm?s=SESSION&msg=15'><small>Next</small></a> (showing 1 - 15 of 20)");
}

TEST_F(MessageRows, TheHeaderOfTheLastPageLinksPrevOnly) {
  EXPECT_EQ(listHeader("SpamBox", "displayspambox.htm", range(15, 20)),
            "<b>SpamBox</b>&nbsp;&nbsp;<a "
            "href='displayspambox.htm?s=SESSION&msg=0'><small>Prev</small></a>&nbsp;|&nbsp;"
            "<small>Next</small>&nbsp; (showing 16 - 20 of 20)");
}

TEST_F(MessageRows, TheHeaderOfAMiddlePageLinksBoth) {
  EXPECT_EQ(listHeader("Inbox", "displayinbox.htm", range(15, 40)),
            "<b>Inbox</b>&nbsp;&nbsp;<a "
            "href='displayinbox.htm?s=SESSION&msg=0'><small>Prev</small></a>&nbsp;|&nbsp;"
            "<a href='displayinbox.htm?s=SESSION&msg=30'><small>Next</small></a> (showing 16 - 30 of 40)");
}

TEST_F(MessageRows, ThePrevLinkIsNotHeldAtZero) {
  EXPECT_THAT(listHeader("Inbox", "displayinbox.htm", range(5, 20)), testing::HasSubstr("&msg=-10'"));
  EXPECT_THAT(listHeader("Inbox", "displayinbox.htm", range(14, 20)), testing::HasSubstr("&msg=-1'"));
}

TEST_F(MessageRows, TheHeaderOfAnEmptyListShowsZeros) {
  EXPECT_EQ(listHeader("Inbox", "displayinbox.htm", range(0, 0)),
            "<b>Inbox</b>&nbsp;&nbsp;<small>Prev</small>&nbsp;|&nbsp;<small>Next</small>&nbsp; (showing 0 - "
            "0 of 0)");
}

TEST_F(MessageRows, AStartBeyondTheEndShowsTheCountOfTheLastMessage) {
  EXPECT_THAT(listHeader("SpamBox", "displayspambox.htm", range(100, 20)),
              testing::HasSubstr("(showing 20 - 20 of 20)"));
}

TEST_F(MessageRows, ALinkWhoseRowDoesNotFitInSixteenBitsIsLeftOut) {
  settings.MESSAGES_PER_PAGE = -32768;
  EXPECT_EQ(listHeader("Inbox", "x.htm", {5, 4, 20}),
            "<b>Inbox</b>&nbsp;&nbsp;<a href='x.htm?s=SESSION&msg=-32763'><small>Next</small></a> (showing 6 "
            "- 5 of 20)");
  settings.MESSAGES_PER_PAGE = 32767;
  EXPECT_EQ(
      listHeader("Inbox", "x.htm", {5, 4, 20}),
      "<b>Inbox</b>&nbsp;&nbsp;<a href='x.htm?s=SESSION&msg=-32762'><small>Prev</small></a>&nbsp;|&nbsp;"
      " (showing 6 - 5 of 20)");
}

TEST_F(MessageRows, TheSenderIsALinkThatFillsTheAddToListField) {
  EXPECT_EQ(senderCell("bob@example.com", ""),
            "    <td valign='top'><a href='#addinput' onClick='form1.addtolist.value=\"bob@example.com\"'>"
            "bob@example.com</a>    </td>\r\n");
}

TEST_F(MessageRows, TheLinkDoesWhatTheCallerAdds) {
  EXPECT_EQ(
      senderCell("a@b.c", "R3"),
      "    <td valign='top'><a href='#addinput' onClick='form1.addtolist.value=\"a@b.c\";R3.checked=1;'>"
      "a@b.c</a>    </td>\r\n");
}

TEST_F(MessageRows, QuotesGoFromTheFieldAndApostrophesStayInWhatIsShown) {
  EXPECT_EQ(senderCell("\"Ann O'Brien\" <A@B.C>", ""),
            "    <td valign='top'><a href='#addinput' onClick='form1.addtolist.value=\"ann obrien <a@b.c>\"'>"
            "Ann O'Brien &lt;A@B.C&gt;</a>    </td>\r\n");
  EXPECT_EQ(cleanSender("\"Ann O'Brien\" <A@B.C>"), "Ann OBrien <A@B.C>");
}

TEST_F(MessageRows, TheShownSenderIsCutAfterEscapingEvenInsideAnEntity) {
  EXPECT_THAT(senderCell("A name with 22 letters<bob@example.com>", ""),
              testing::HasSubstr(">A name with 22 letters&lt</a>"));
}

TEST_F(MessageRows, ASenderOfQuotesAloneIsNone) {
  EXPECT_EQ(senderCell("", ""), "    <td valign='top'>&lt;none&gt;    </td>\r\n");
  EXPECT_EQ(senderCell("\"'\"", "R0"), "    <td valign='top'>&lt;none&gt;    </td>\r\n");
}

TEST_F(MessageRows, TheDateStandsAsItIs) {
  EXPECT_EQ(textCell("date", "11-15-2026 01:55AM"), "    <td>11-15-2026 01:55AM    </td>\r\n");
}

TEST_F(MessageRows, TheSubjectLinksToTheMessageInANewWindow) {
  EXPECT_EQ(
      subjectCell("Hello", "displayemail.cgi?uidl=A1", "2K"),
      "    <td><a href='displayemail.cgi?uidl=A1&s=SESSION' target='_blank'>Hello</a>\r\n    </td>\r\n");
}

TEST_F(MessageRows, WithoutNewWindowTheLinkHasNoTarget) {
  settings.NEW_WINDOW = false;
  EXPECT_EQ(subjectCell("Hello", "displayemail.cgi?uidl=A1", "2K"),
            "    <td><a href='displayemail.cgi?uidl=A1&s=SESSION' >Hello</a>\r\n    </td>\r\n");
}

TEST_F(MessageRows, TheSubjectIsCutAtThirtyFiveCharactersAndNotEscaped) {
  EXPECT_THAT(subjectCell("<b>5678901234567890123456789012345678", "a", "1K"),
              testing::HasSubstr(">"
                                 "<b>56789012345678901234567890123456</a>"));
  EXPECT_THAT(subjectCell(std::string(36, 'x'), "a", "1K"),
              testing::HasSubstr(">" + std::string(35, 'x') + "</a>"));
}

TEST_F(MessageRows, NoSubjectIsShownAsNone) {
  EXPECT_THAT(subjectCell("", "a", "1K"), testing::HasSubstr(">&lt;none&gt;</a>"));
}

TEST_F(MessageRows, AMessageAboveTheLinkSizeHasNoLink) {
  settings.MAX_LINK_SIZE = 150;
  EXPECT_EQ(subjectCell("Big", "a", "151K"), "    <td>Big\r\n    </td>\r\n");
  EXPECT_THAT(subjectCell("Big", "a", "150K"), testing::HasSubstr("<a href='a&s="));
  settings.MAX_LINK_SIZE_ON = false;
  EXPECT_THAT(subjectCell("Big", "a", "151K"), testing::HasSubstr("<a href='a&s="));
}

TEST_F(MessageRows, TheSizeIsInKilobytes) {
  EXPECT_EQ(sizeTextOf("150000"), "143K");
  EXPECT_EQ(sizeTextOf("0"), "1K");
  EXPECT_EQ(sizeCell("143K"), "    <td align='right'>143K    </td>\r\n");
}

TEST_F(MessageRows, ABoxIsNamedByItsPrefixAndItsRow) {
  EXPECT_EQ(rowBox("D", 12, "key"), "<input name='D12' type='checkbox' value='1'>");
}

// ---- through the gateway ----

class BrowserRows : public MessageRows {
 protected:
  BrowserRows() { form1.requestByGateway = true; }
};

TEST_F(BrowserRows, EachCellNamesItsColumn) {
  EXPECT_EQ(textCell("date", "11-15-2026 01:55AM"), "    <td class='date'>11-15-2026 01:55AM    </td>\r\n");
  EXPECT_EQ(sizeCell("1K"), "    <td align='right' class='size'>1K    </td>\r\n");
  EXPECT_EQ(boxCellStart("restore"),
            "    <td align='center' style='background-color:#3FE11F' class='restore'>");
  EXPECT_EQ(boxCellStart("delete"), "    <td align='center' style='background-color:red' class='delete'>");
}

TEST_F(BrowserRows, ABoxCarriesTheStampOfItsMessage) {
  EXPECT_EQ(rowBox("D", 12, "key"), "<input name='D12' type='checkbox' value='" + rowStamp("key") + "'>");
  EXPECT_EQ(rowStamp("").size(), 17u);
  EXPECT_NE(rowStamp("key"), rowStamp("kez"));
}

TEST_F(BrowserRows, AMarkStandsBehindTheDate) {
  EXPECT_EQ(textCell("date", "11-15-2026 01:55AM", "restored"),
            "    <td class='date'>11-15-2026 01:55AM <small class='mark'>restored</small>    </td>\r\n");
  form1.requestByGateway = false;
  EXPECT_EQ(textCell("date", "11-15-2026 01:55AM", "restored"), "    <td>11-15-2026 01:55AM    </td>\r\n");
}

TEST_F(BrowserRows, TheSendersCellHasTheAddressItselfWhateverTheNamePretends) {
  EXPECT_THAT(senderCell("\"ceo@bank.example\" <Eve@Evil.example>", ""),
              testing::HasSubstr(" data-address='eve@evil.example'"));
  EXPECT_THAT(senderCell("O'Brien <o'brien@pub.example>", ""),
              testing::HasSubstr(" data-address='o&#39;brien@pub.example'"));
  EXPECT_THAT(senderCell("nobody", ""), testing::HasSubstr(" data-address=''"));
}

TEST_F(BrowserRows, TheSendersCellTellsTheListThatWins) {
  makeFile("\\data\\friendlist.txt", "@friend.example\r\n@both.example\r\n");
  makeFile("\\data\\enemylist.txt", "@BOTH.example\r\nEve\r\n");
  const KnownSenders known;
  EXPECT_THAT(senderCell("Bob <bob@Friend.example>", "", &known),
              testing::HasSubstr(" data-known='friend'>"));
  EXPECT_THAT(senderCell("bob@both.example", "", &known), testing::HasSubstr(" data-known='enemy'>"));
  EXPECT_THAT(senderCell("\"eve\" <x@y.example>", "", &known), testing::HasSubstr(" data-known='enemy'>"));
  EXPECT_THAT(senderCell("zoe@y.example", "", &known), testing::HasSubstr(" data-known=''>"));
}

TEST_F(BrowserRows, WhatTheScriptNeedsOfASenderStandsInDataAttributes) {
  EXPECT_EQ(
      senderCell("\"Ann O'Brien\" <A@B.C>", "R3"),
      "    <td valign='top' class='from'><a href='#addinput' data-sender='&quot;ann o&#39;brien&quot; "
      "&lt;a@b.c&gt;' data-address='a@b.c' data-tick='R3'>Ann O&#39;Brien &lt;A@B.C&gt;</a>    </td>\r\n");
  EXPECT_EQ(senderCell("a@b.c", ""),
            "    <td valign='top' class='from'><a href='#addinput' data-sender='a@b.c' "
            "data-address='a@b.c'>a@b.c</a>    "
            "</td>\r\n");
  EXPECT_EQ(senderCell("\"'\"", "R3"), "    <td valign='top' class='from'>&lt;none&gt;    </td>\r\n");
}

TEST_F(BrowserRows, ACutTextCarriesTheWholeOfIt) {
  const std::string name(30, 'n');
  EXPECT_THAT(senderCell("\"" + name + "\" <a@b.c>", ""),
              testing::HasSubstr(" title='" + name + " &lt;a@b.c&gt;'>" + std::string(25, 'n') + "</a>"));
  const std::string subject(40, '<');
  EXPECT_THAT(subjectCell(subject, "a?b=1", "1K"),
              testing::HasSubstr(" title='" + replaceAll(subject, "<", "&lt;") + "'>"));
  EXPECT_THAT(subjectCell("short", "a?b=1", "1K"), testing::Not(testing::HasSubstr("title")));
}

TEST_F(BrowserRows, ACutSubjectWithoutALinkCanBeReachedByTheKeyboard) {
  settings.MAX_LINK_SIZE_ON = true;
  settings.MAX_LINK_SIZE = 10;
  const std::string subject(40, 's');
  EXPECT_EQ(subjectCell(subject, "a?b=1", "143K"), "    <td class='subject'><span tabindex='0' title='" +
                                                       subject + "'>" + subject.substr(0, 35) +
                                                       "</span>\r\n    </td>\r\n");
}

TEST_F(BrowserRows, ASenderWhoseNameShowsAnotherAddressIsToldByTheRealOne) {
  EXPECT_THAT(
      senderCell("\"help@bank.example\" <eve@evil.example>", ""),
      testing::HasSubstr("</a> <small class='real'>from <bdi>eve@evil.example</bdi></small>    </td>"));
  EXPECT_THAT(senderCell("Eve <eve@evil.example>", ""), testing::Not(testing::HasSubstr("real")));
}

TEST_F(BrowserRows, ASubjectIsText) {
  EXPECT_EQ(subjectCell("</a><b id=\"x\" '>&amp; &#60;", "a?b=1", "1K"),
            "    <td class='subject'><a href='a?b=1&s=SESSION' target='_blank'>&lt;/a&gt;&lt;b "
            "id=&quot;x&quot; &#39;&gt;&amp;amp; &#60;</a>\r\n    </td>\r\n");
}

TEST_F(BrowserRows, ASubjectIsCutByLettersAndNeverInsideOne) {
  std::string cyrillic;
  for (int i = 0; i < 36; i++) cyrillic += "&#1087;";
  EXPECT_THAT(subjectCell(cyrillic, "a", "1K"),
              testing::HasSubstr(">" + cyrillic.substr(0, 35 * 7) + "</a>"));
  EXPECT_THAT(subjectCell(std::string(40, '<'), "a", "1K"),
              testing::HasSubstr(">" + replaceAll(std::string(35, '<'), "<", "&lt;") + "</a>"));
}

TEST_F(BrowserRows, ASubjectOfBlanksHasANameToBeOpenedBy) {
  EXPECT_THAT(subjectCell("   ", "a", "1K"), testing::HasSubstr(">&lt;none&gt;</a>"));
}

TEST_F(BrowserRows, ARowLeadsToThePreviewWhateverItsKeyIs) {
  EXPECT_EQ(messageAddress("displayemail.cgi?uidl=A1", "inbox", "A1"), "preview.htm?b=inbox&k=A1");
  EXPECT_EQ(messageAddress("x", "spam", "a&s=x#y'z>%41"), "preview.htm?b=spam&k=a%26s%3Dx%23y%27z%3E%2541");
  form1.requestByGateway = false;
  EXPECT_EQ(messageAddress("displayemail.cgi?uidl=A1", "inbox", "A1"), "displayemail.cgi?uidl=A1");
}

// ---- letters outside the code page ----

// One such letter, as 8-bit text holds it., as 8-bit text holds it.
std::string repeated(int count) {
  std::string text;
  while (count-- > 0) text += "&#1055;";
  return text;
}

TEST_F(MessageRows, ACharacterOutsideTheCodePageCountsAsOneAndIsNotCut) {
  EXPECT_THAT(senderCell(repeated(30), ""), testing::HasSubstr(">" + repeated(25) + "</a>"));
  EXPECT_THAT(senderCell("ab" + repeated(30), ""), testing::HasSubstr(">ab" + repeated(23) + "</a>"));
  EXPECT_THAT(subjectCell(repeated(40), "x.cgi?a=b", "1 KB"),
              testing::HasSubstr(">" + repeated(35) + "</a>"));
}

TEST_F(MessageRows, OtherReferencesCountLetterByLetter) {
  const std::string sender = repeated(22) + "&lt;&#60;";
  EXPECT_THAT(senderCell(sender, ""), testing::HasSubstr(">" + repeated(22) + "&lt</a>"));
  EXPECT_THAT(subjectCell(std::string(33, 'x') + "&#252;", "x.cgi?a=b", "1 KB"),
              testing::HasSubstr(">" + std::string(33, 'x') + "&#</a>"));
}

TEST_F(MessageRows, TheSenderGoesIntoTheAddFieldInSmallLettersOfItsAlphabet) {
  EXPECT_THAT(senderCell("&#1055;&#1056; \xDC", ""), testing::HasSubstr("value=\"&#1087;&#1088; \xFC\"'>"));
  form1.requestByGateway = true;
  EXPECT_THAT(
      senderCell("&#1055;&#1056; \xDC", ""),
      testing::HasSubstr("data-sender='&#1087;&#1088; \xFC' data-address=''>&#1055;&#1056; \xDC</a>"));
}

}  // namespace
}  // namespace vornelle
