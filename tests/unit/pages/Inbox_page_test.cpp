
#include "pages/Inbox.h"
#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;

class InboxPage : public PageTest {
 protected:
  InboxPage() {
    makeFile("\\data\\inbox.htm", "<!--SSPAGEDESC-->\r\n<!--SSINBOX-->");
    serve(mailbox);
  }

  static std::string page(int first) {
    auto row = static_cast<std::int16_t>(first);
    return pageInbox(row);
  }

  void fill(int count) {
    for (int i = 0; i < count; i++)
      mailbox.add("U" + std::to_string(i), "a@b.c", "Subject " + std::to_string(i));
  }

  Mailbox mailbox;
};

TEST_F(InboxPage, ARowIsWrittenToTheByte) {
  mailbox.add("A1", "\"Bob's\" <Bob@Example.com>", "Hello");
  EXPECT_EQ(
      page(-1),
      "<b>Inbox</b>&nbsp;&nbsp;<small>Prev</small>&nbsp;|&nbsp;<small>Next</small>&nbsp; (showing 1 - 1 of "
      "1)\r\n"
      "<tr class='tableBGcolor'>\r\n"
      "    <td valign='top'><a href='#addinput' onClick='form1.addtolist.value=\"bobs <bob@example.com>\"'>"
      "Bob's &lt;Bob@Example.com</a>    </td>\r\n"
      "    <td>11-15-2026 01:05PM    </td>\r\n"
      "    <td><a href='displayemail.cgi?uidl=A1&s=SESSION' target='_blank'>Hello</a>\r\n"
      "    </td>\r\n"
      "    <td align='right'>1K    </td>\r\n"
      "    <td align='center' style='background-color:red'><input name='D0' type='checkbox' value='1'>\r\n"
      "    </td>\r\n"
      "  </tr>\r\n");
}

TEST_F(InboxPage, AMessageWithoutSenderAndSubjectShowsNone) {
  mailbox.add("A1", "", "");
  const std::string text = page(-1);
  EXPECT_THAT(text, HasSubstr("    <td valign='top'>&lt;none&gt;    </td>\r\n"));
  EXPECT_THAT(text, HasSubstr(" target='_blank'>&lt;none&gt;</a>\r\n"));
}

TEST_F(InboxPage, AnEmptyMailboxShowsTheEmptyRow) {
  EXPECT_EQ(page(-1),
            "<b>Inbox</b>&nbsp;&nbsp;<small>Prev</small>&nbsp;|&nbsp;<small>Next</small>&nbsp; (showing 0 - "
            "0 of 0)\r\n"
            "<tr class='tableBGcolor'>\r\n"
            "    <td valign='top'>none</td>\r\n"
            "    <td>none</td>\r\n"
            "    <td>none</td>\r\n"
            "    <td align='right'>none</td>\r\n"
            "    <td align='center' style='background-color:red'>&nbsp;</td>\r\n"
            "  </tr>\r\n");
}

TEST_F(InboxPage, AMessageAboveTheLinkSizeHasNoLink) {
  mailbox.add("A1", "a@b.c", "Large", 200 * 1024);
  EXPECT_THAT(page(-1), HasSubstr("    <td>Large\r\n    </td>\r\n"));
  settings.MAX_LINK_SIZE_ON = false;
  EXPECT_THAT(page(0), HasSubstr("'displayemail.cgi?uidl=A1&s=SESSION'"));
}

TEST_F(InboxPage, OnlyARequestWithoutAStartAsksTheServer) {
  fill(20);
  EXPECT_THAT(page(-1), HasSubstr("(showing 1 - 15 of 20)"));
  EXPECT_EQ(mailbox.sessions, 1);
  EXPECT_THAT(page(15), HasSubstr("(showing 16 - 20 of 20)"));
  EXPECT_THAT(page(0), HasSubstr("(showing 1 - 15 of 20)"));
  EXPECT_THAT(page(-10), HasSubstr("(showing 1 - 15 of 20)"));
  EXPECT_EQ(mailbox.sessions, 1);
}

TEST_F(InboxPage, BoxesAreNumberedByTheListingAndNotByThePage) {
  fill(20);
  EXPECT_THAT(page(-1), HasSubstr("name='D14'"));
  const std::string second = page(15);
  EXPECT_THAT(second, HasSubstr("name='D15'"));
  EXPECT_THAT(second, HasSubstr("name='D19'"));
  EXPECT_THAT(second, Not(HasSubstr("name='D0'")));
}

TEST_F(InboxPage, TheFirstRowIsHandedBack) {
  fill(20);
  std::int16_t first = -1;
  static_cast<void>(pageInbox(first));
  EXPECT_EQ(first, 0);
  first = 100;
  static_cast<void>(pageInbox(first));
  EXPECT_EQ(first, 19);
  first = -7;
  static_cast<void>(pageInbox(first));
  EXPECT_EQ(first, 0);
}

TEST_F(InboxPage, TheRowTablesGetTheKeyAndTheCleanSenderOfEachRowShown) {
  fill(20);
  mailbox.mails[16].source = "From: \"Ann O'Brien\" <A@b.c>\r\nSubject: x\r\n\r\n";
  form1.rowKey[0] = "older page";
  static_cast<void>(inboxList());
  static_cast<void>(page(15));
  EXPECT_EQ(form1.rowKey[16], "U16");
  EXPECT_EQ(form1.rowSender[16], "Ann OBrien <A@b.c>");
  EXPECT_EQ(form1.rowKey[19], "U19");
  EXPECT_EQ(form1.rowKey[0], "older page");
}

TEST_F(InboxPage, AWrongPasswordBeepsLogsAndShowsTheOldListing) {
  fill(1);
  static_cast<void>(page(-1));
  mailbox.logOnRefused = true;
  std::int16_t first = -1;
  EXPECT_THAT(pageInbox(first), HasSubstr("Subject 0"));
  EXPECT_EQ(first, 0);
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(form1.LogWindow.text(), HasSubstr("] **Cannot log onto POP3 server.\r\n"));
}

TEST_F(InboxPage, AFirstFetchThatFailsShowsAnEmptyListing) {
  sim::removeServer("pop.example", 110);
  EXPECT_THAT(page(-1), HasSubstr("(showing 0 - 0 of 0)"));
}

TEST_F(InboxPage, ASuccessfulFetchLogsNothing) {
  fill(1);
  static_cast<void>(page(-1));
  EXPECT_EQ(form1.LogWindow.text(), "");
}

TEST_F(InboxPage, TheBoxPrefixesGoIntoTheTemplate) {
  makeFile("\\data\\inbox.htm", "<!--SSDRPRELEN-->,<!--ssRESTOREPRE-->,<!--ssDELETEPRE-->,<!--SSSESSION-->");
  EXPECT_EQ(page(-1), "1,R,D,SESSION");
}

TEST_F(InboxPage, EventsAreServedForEachRow) {
  fill(3);
  ASSERT_TRUE(inboxList());
  bool served = false;
  sim::after(0, [&] { served = true; });
  ASSERT_TRUE(deleteFile(inFolder("\\data\\inbox.htm")));  // reading it would serve them too
  static_cast<void>(page(0));
  EXPECT_TRUE(served);
}

TEST_F(InboxPage, AFetchInTheMiddleOfABuildIsSeenByTheRowsAfterIt) {
  fill(2);
  ASSERT_TRUE(inboxList());
  mailbox.mails.clear();
  mailbox.add("NEW", "new@b.c", "New");
  bool done = false;
  sim::after(0, [&] { done = inboxList(); });
  const std::string text = page(0);
  EXPECT_TRUE(done);
  EXPECT_THAT(text, HasSubstr("displayemail.cgi?uidl=NEW"));
  EXPECT_EQ(form1.rowKey[0], "NEW");
}

}  // namespace
}  // namespace vornelle
