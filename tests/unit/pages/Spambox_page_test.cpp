#include "pages/Spambox.h"

#include "tests/unit/pages/spambox_test_support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;

class SpamBoxPage : public SpamBoxTest {
 protected:
  SpamBoxPage() { makeFile("\\data\\spambox.htm", "<!--SSPAGEDESC-->\r\n<!--SSSPAM-->"); }

  static std::string page(int first) {
    auto row = static_cast<std::int16_t>(first);
    return pageSpamBox(row);
  }

  // Keys M0, M1 and so on, M0 the newest.
  static void saveMany(int count) {
    for (int i = 0; i < count; i++)
      save("M" + std::to_string(i), "a@b.c", "Subject " + std::to_string(i), 100 - i);
  }
};

TEST_F(SpamBoxPage, ARowIsWrittenToTheByte) {
  save("A1", "\"Bob's\" <Bob@Example.com>", "Hello", 1);
  EXPECT_EQ(
      page(-1),
      "<b>SpamBox</b>&nbsp;&nbsp;<small>Prev</small>&nbsp;|&nbsp;<small>Next</small>&nbsp; (showing 1 - 1 of "
      "1)\r\n"
      "<tr class='tableBGcolor2'>\r\n"
      "    <td valign='top'><a href='#addinput' onClick='form1.addtolist.value=\"bobs <bob@example.com>\""
      ";R0.checked=1;'>Bob's &lt;Bob@Example.com</a>    </td>\r\n"
      "    <td>11-15-2026 01:05PM    </td>\r\n"
      "    <td><a href='displayspam.cgi?fn=A1.txt&s=SESSION' target='_blank'>Hello</a>\r\n"
      "    </td>\r\n"
      "    <td align='right'>1K    </td>\r\n"
      "    <td align='center' style='background-color:#3FE11F'><input name='R0' type='checkbox' "
      "value='1'></td>\r\n"
      "    <td align='center' style='background-color:red'><input name='D0' type='checkbox' "
      "value='1'></td>\r\n"
      "  </tr>\r\n");
}

TEST_F(SpamBoxPage, AMessageWithoutSenderAndSubjectShowsNone) {
  save("A1", "", "", 1);
  const std::string text = page(-1);
  EXPECT_THAT(text, HasSubstr("    <td valign='top'>&lt;none&gt;    </td>\r\n"));
  EXPECT_THAT(text, HasSubstr(" target='_blank'>&lt;none&gt;</a>\r\n"));
}

TEST_F(SpamBoxPage, AnEmptyFolderShowsTheEmptyRow) {
  EXPECT_EQ(page(-1),
            "<b>SpamBox</b>&nbsp;&nbsp;<small>Prev</small>&nbsp;|&nbsp;<small>Next</small>&nbsp; (showing 0 "
            "- 0 of 0)\r\n"
            "<tr class='tableBGcolor2'>\r\n"
            "    <td valign='top'>none</td>\r\n"
            "    <td>none</td>\r\n"
            "    <td>none</td>\r\n"
            "    <td align='right'>none</td>\r\n"
            "    <td align='center' style='background-color:#3FE11F'>&nbsp;</td>\r\n"
            "    <td align='center' style='background-color:red'>&nbsp;</td>\r\n"
            "  </tr>\r\n");
}

TEST_F(SpamBoxPage, AMessageAboveTheLinkSizeHasNoLink) {
  save("A1", "a@b.c", "Large", 1, 200 * 1024);
  EXPECT_THAT(page(-1), HasSubstr("    <td>Large\r\n    </td>\r\n"));
  settings.MAX_LINK_SIZE_ON = false;
  EXPECT_THAT(page(0), HasSubstr("'displayspam.cgi?fn=A1.txt&s=SESSION'"));
}

TEST_F(SpamBoxPage, OnlyARequestWithoutAStartScansTheFolder) {
  saveMany(20);
  EXPECT_THAT(page(-1), HasSubstr("(showing 1 - 15 of 20)"));
  save("late", "a@b.c", "Late", 200);
  EXPECT_THAT(page(15), HasSubstr("(showing 16 - 20 of 20)"));
  EXPECT_THAT(page(0), Not(HasSubstr("Late")));
  EXPECT_THAT(page(-10), Not(HasSubstr("Late")));
  EXPECT_THAT(page(-1), HasSubstr("(showing 1 - 15 of 21)"));
}

TEST_F(SpamBoxPage, BoxesAreNumberedByTheListingAndNotByThePage) {
  saveMany(20);
  EXPECT_THAT(page(-1), HasSubstr("name='R14'"));
  const std::string second = page(15);
  EXPECT_THAT(second, HasSubstr(";R15.checked=1;"));
  EXPECT_THAT(second, HasSubstr("name='R15'"));
  EXPECT_THAT(second, HasSubstr("name='D19'"));
  EXPECT_THAT(second, Not(HasSubstr("name='D0'")));
}

TEST_F(SpamBoxPage, AStartBeyondTheEndShowsTheLastFileAlone) {
  saveMany(20);
  static_cast<void>(page(-1));
  std::int16_t first = 100;
  const std::string text = pageSpamBox(first);
  EXPECT_EQ(first, 19);
  EXPECT_THAT(text, HasSubstr("(showing 20 - 20 of 20)"));
  EXPECT_THAT(text, HasSubstr("name='R19'"));
  EXPECT_THAT(text, Not(HasSubstr("name='R18'")));
}

TEST_F(SpamBoxPage, TheRowTablesGetTheKeyAndTheCleanSenderOfEachRowShown) {
  saveMany(20);
  save("quoted", "\"Ann O'Brien\" <A@b.c>", "x", 500);
  form1.rowKey[20] = "older page";
  static_cast<void>(page(-1));
  EXPECT_EQ(form1.rowKey[0], "quoted");
  EXPECT_EQ(form1.rowSender[0], "Ann OBrien <A@b.c>");
  EXPECT_EQ(form1.rowKey[14], "M13");
  EXPECT_EQ(form1.rowKey[20], "older page");
}

TEST_F(SpamBoxPage, AFailedScanIsLoggedAndTheOldListingShown) {
  saveMany(1);
  static_cast<void>(page(-1));
  fillFolder(10001);
  std::int16_t first = -1;
  EXPECT_THAT(pageSpamBox(first), HasSubstr("Subject 0"));
  EXPECT_EQ(first, 0);
  EXPECT_THAT(form1.LogWindow.text(), HasSubstr("] **Cannot log onto POP3 server.\r\n"));
  EXPECT_EQ(sim::shell().beeps, 0);
}

TEST_F(SpamBoxPage, ASuccessfulScanLogsNothing) {
  saveMany(1);
  static_cast<void>(page(-1));
  EXPECT_EQ(form1.LogWindow.text(), "");
}

TEST_F(SpamBoxPage, EventsAreServedForEachRow) {
  saveMany(1);
  ASSERT_TRUE(spamboxList());
  bool served = false;
  sim::after(0, [&] { served = true; });
  ASSERT_TRUE(deleteFile(inFolder("\\data\\spambox.htm")));  // reading it would serve them too
  static_cast<void>(page(0));
  EXPECT_TRUE(served);
}

TEST_F(SpamBoxPage, TheBoxPrefixesGoIntoTheTemplate) {
  makeFile("\\data\\spambox.htm",
           "<!--SSDRPRELEN-->,<!--ssRESTOREPRE-->,<!--ssDELETEPRE-->,<!--SSSESSION-->");
  EXPECT_EQ(page(-1), "1,R,D,SESSION");
}

}  // namespace
}  // namespace vornelle
