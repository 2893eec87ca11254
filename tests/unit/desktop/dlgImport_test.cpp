#include "desktop/dlgImport.h"

#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Import : public SimTest {
 protected:
  Import() { dialog.txtFieldPos = "2"; }

  bool load(std::string_view content) {
    makeFile("\\addresses.csv", content);
    return LoadButtonClick(dialog, [] { return inFolder("\\addresses.csv"); });
  }
  static void putFriends(std::string_view content) { makeFile("\\data\\friendlist.txt", content); }
  static std::string friends() { return contentOf("\\data\\friendlist.txt"); }
  void import(std::string list) {
    dialog.txtImportList = std::move(list);
    sim::shell().messageBoxes.clear();
    ImportButtonClick(dialog);
  }
  static std::vector<std::string>& boxes() { return sim::shell().messageBoxes; }

  DlgImport dialog;
};

// ---- Load File ----

TEST_F(Import, ADialogStartsWithCommasAndTheFirstField) {
  const DlgImport fresh;
  EXPECT_TRUE(fresh.OptComma);
  EXPECT_EQ(fresh.txtFieldPos, "1");
  EXPECT_EQ(fresh.txtImportList, "");
}

TEST_F(Import, TheControlsHaveTheirCaptionsAndToolTips) {
  std::vector<std::string> controls;
  for (const DlgImportControl& control :
       {kTxtFieldPos, kOptTab, kOptComma, kTxtImportList, kImportButton, kLoadButton}) {
    controls.push_back(std::string(control.caption) + "|" + control.toolTip);
  }
  EXPECT_STREQ(kDlgImportCaption, "Import Addresses to FriendList");
  EXPECT_THAT(controls, ElementsAre("Field position:|Position of e-mail address field",
                                    "Tab delimited|Select if fields separated by tabs",
                                    "Comma delimited|Select if fields separated by commas",
                                    "Import List:|Editable list to be imported",
                                    "Import into Vornelle|Import list into Vornelle FriendList",
                                    "Load File|Load a delimited text file containing e-mail addresses"));
}

TEST_F(Import, TheOpenFileDialogHasItsTitleAndFilters) {
  EXPECT_STREQ(kCommonDialog1Title, "Select comma delimited text file.");
  EXPECT_THAT(kCommonDialog1Filter, ElementsAre(testing::StrEq("Text Files (*.txt)"), testing::StrEq("*.txt"),
                                                testing::StrEq("(*.csv)"), testing::StrEq("*.csv"),
                                                testing::StrEq("(All files)"), testing::StrEq("*.*")));
}

TEST_F(Import, ALineOfTwoFieldsAddsOneLineToTheList) {
  EXPECT_TRUE(load("Bob Smith,bob.smith at example"));
  EXPECT_EQ(dialog.txtImportList, "bob.smith at example\r\n");
}

TEST_F(Import, LettersKeepTheirCaseUntilTheyAreImported) {
  EXPECT_TRUE(load("x,Bob@Example.com\r\n"));
  EXPECT_EQ(dialog.txtImportList, "Bob@Example.com\r\n");
}

TEST_F(Import, LoadingLeavesTheFriendListAlone) {
  putFriends("Zoe\r\n\r\n");
  EXPECT_TRUE(load("x,new\r\n"));
  EXPECT_EQ(friends(), "Zoe\r\n\r\n");
  EXPECT_THAT(boxes(), IsEmpty());
}

TEST_F(Import, TakesTheFieldAtThePosition) {
  EXPECT_TRUE(load("Bob Smith,bob.smith at example\r\nAnn,ann@example.com,x\r\n"));
  EXPECT_EQ(dialog.txtImportList, "bob.smith at example\r\nann@example.com\r\n");
}

TEST_F(Import, TabsSeparateFieldsWhenTheyAreChosen) {
  dialog.OptComma = false;
  EXPECT_TRUE(load("Smith, Bob\tbob@example.com\tx\r\nonly,commas\r\n"));
  EXPECT_EQ(dialog.txtImportList, "bob@example.com\r\n");
}

TEST_F(Import, TheLastFieldAndTheFirstOneCanBeTaken) {
  dialog.txtFieldPos = "3";
  EXPECT_TRUE(load("a,b,c\r\n"));
  EXPECT_EQ(dialog.txtImportList, "c\r\n");
  dialog.txtFieldPos = "1";
  EXPECT_TRUE(load("a,b,c\r\nd\r\n"));
  EXPECT_EQ(dialog.txtImportList, "a\r\nd\r\n");
}

TEST_F(Import, ALineWithFewerFieldsGivesNothing) {
  dialog.txtFieldPos = "3";
  EXPECT_TRUE(load("a,b\r\n\r\na,b,\r\na,b, \r\na,b,\"\"\r\n"));
  EXPECT_EQ(dialog.txtImportList, "");
}

TEST_F(Import, BlanksAroundAFieldAndDoubleQuotesAreRemoved) {
  EXPECT_TRUE(load("x, \"bob@example.com\" ,y\r\nx,\" ann o'hara \"\r\nx,a\"b\"c\r\n"));
  EXPECT_EQ(dialog.txtImportList, "bob@example.com\r\n ann o'hara \r\nabc\r\n");
}

TEST_F(Import, BlanksInsideTheQuotesStay) {
  EXPECT_TRUE(load("x,  \" bob \"  \r\nx,\" \"\r\n"));
  EXPECT_EQ(dialog.txtImportList, " bob \r\n \r\n");
}

TEST_F(Import, ANulByteDoesNotCutTheList) {
  using namespace std::string_view_literals;
  EXPECT_TRUE(load("x,bob\0@example.com\r\nx,ann@example.com\0\r\nx,\0\r\nx,zoe@example.com\r\n"sv));
  EXPECT_EQ(dialog.txtImportList, "bob@example.com\r\nann@example.com\r\nzoe@example.com\r\n");
}

TEST_F(Import, TheMarkOfAUtf8ExportIsNotPartOfTheFirstField) {
  dialog.txtFieldPos = "1";
  EXPECT_TRUE(
      load("\xEF\xBB\xBF"
           "bob@example.com,Bob\r\n"));
  EXPECT_EQ(dialog.txtImportList, "bob@example.com\r\n");
}

TEST_F(Import, LoadingReplacesTheList) {
  dialog.txtImportList = "old\r\n";
  EXPECT_TRUE(load("x,new\r\n"));
  EXPECT_EQ(dialog.txtImportList, "new\r\n");
}

TEST_F(Import, CancellingOrAMissingFileChangesNothing) {
  dialog.txtImportList = "old\r\n";
  EXPECT_FALSE(LoadButtonClick(dialog, [] { return std::string(); }));
  EXPECT_FALSE(LoadButtonClick(dialog, [] { return inFolder("\\missing.csv"); }));
  EXPECT_EQ(dialog.txtImportList, "old\r\n");
  EXPECT_THAT(boxes(), IsEmpty());
}

TEST_F(Import, AFileThatCannotBeReadGivesAnEmptyList) {
  dialog.txtImportList = "old\r\n";
  sim::failReadsOf("addresses.csv");
  EXPECT_TRUE(load("x,y\r\n"));
  EXPECT_EQ(dialog.txtImportList, "");
}

TEST_F(Import, APositionThatIsNoNumberOfOneOrMoreLoadsNothing) {
  dialog.txtImportList = "old\r\n";
  for (const char* position : {"", "x", "0", "-1", "2nd", "0.4", "99999999999"}) {
    dialog.txtFieldPos = position;
    boxes().clear();
    bool asked = false;
    EXPECT_FALSE(LoadButtonClick(dialog, [&] {
      asked = true;
      return std::string();
    })) << position;
    EXPECT_FALSE(asked) << position;
    EXPECT_THAT(boxes(), ElementsAre("Field position takes a whole number of 1 or more.")) << position;
  }
  EXPECT_EQ(dialog.txtImportList, "old\r\n");
}

// ---- Import ----

TEST_F(Import, AnEmptyListShowsTheTwoLineMessageAndChangesNothing) {
  putFriends("Bob\r\n\r\n");
  import("");
  EXPECT_THAT(boxes(), ElementsAre("There are no addresses to import.\r\nPlease import a file first."));
  EXPECT_EQ(friends(), "Bob\r\n\r\n");
}

TEST_F(Import, IntoAnEmptyFriendListWritesLowerCaseAndSorted) {
  putFriends("");
  import("Zoe@Example.com\r\nbob@EXAMPLE.com\r\n  Ann@example.com  \r\n\r\n   \r\n");
  EXPECT_EQ(friends(), "ann@example.com\r\nbob@example.com\r\nzoe@example.com\r\n");
  EXPECT_THAT(boxes(), ElementsAre("3 addresses added. 0 skipped as duplicate."));
}

TEST_F(Import, IntoAMissingFriendListCreatesIt) {
  import("bob@example.com");
  EXPECT_EQ(friends(), "bob@example.com\r\n");
}

TEST_F(Import, AnAddressInAnotherLetterCaseIsADuplicate) {
  putFriends("Bob@Example.com\r\n");
  import("bob@example.com\r\nBOB@EXAMPLE.COM\r\nann@x\r\nAnn@X\r\n");
  EXPECT_THAT(boxes(), ElementsAre("1 addresses added. 3 skipped as duplicate."));
  EXPECT_EQ(friends(), "Bob@Example.com\r\nann@x\r\n");
}

TEST_F(Import, LinesOfTheFileKeepTheirSpellingAndAllAreSortedWithoutBlankLines) {
  putFriends("zoe\r\nMax\r\n\r\n  \r\nann\r\n\xC4rger\r\n");
  import("mid\r\nMAX\r\n\xE4rger");
  EXPECT_EQ(friends(), "Max\r\nann\r\nmid\r\nzoe\r\n\xC4rger\r\n");
  EXPECT_THAT(boxes(), ElementsAre("1 addresses added. 2 skipped as duplicate."));
}

TEST_F(Import, BlanksOfFileLinesAreKept) {
  putFriends(" bob@x \r\n");
  import("bob@x");
  EXPECT_EQ(friends(), " bob@x \r\nbob@x\r\n");
  EXPECT_THAT(boxes(), ElementsAre("1 addresses added. 0 skipped as duplicate."));
}

TEST_F(Import, AnAddressTwiceInTheListIsAddedOnceAndSkippedOnce) {
  import("bob@x\r\nbob@x\r\n");
  EXPECT_EQ(friends(), "bob@x\r\n");
  EXPECT_THAT(boxes(), ElementsAre("1 addresses added. 1 skipped as duplicate."));
}

TEST_F(Import, ALineOfTheFileThatIsThereTwiceStaysTwice) {
  putFriends("bob@x\r\nbob@x\r\n");
  import("ann@x");
  EXPECT_EQ(friends(), "ann@x\r\nbob@x\r\nbob@x\r\n");
}

TEST_F(Import, AListOfBlanksOnlyAddsNothing) {
  putFriends("bob\r\n");
  import("  \r\n");
  EXPECT_THAT(boxes(), ElementsAre("0 addresses added. 0 skipped as duplicate."));
  EXPECT_EQ(friends(), "bob\r\n");
}

std::string numbered(int count) {
  std::string lines;
  for (int i = 0; i < count; ++i) lines += "entry" + std::to_string(100000 + i) + "\r\n";
  return lines;
}

TEST_F(Import, AListThatTheFilterCannotUseWholeIsSaidInTheLog) {
  putFriends(numbered(9999));
  import("new1");
  EXPECT_EQ(form1.LogWindow.text(), "");
  import("new2");
  EXPECT_THAT(form1.LogWindow.text(),
              HasSubstr("**FriendList holds 10001 entries, the filter uses the first 10000\r\n"));
  EXPECT_THAT(boxes(), ElementsAre("1 addresses added. 0 skipped as duplicate."));
}

TEST_F(Import, TheListTakes20001EntriesAndLosesNoneBeyond) {
  putFriends(numbered(20000));
  import("new1");
  EXPECT_THAT(boxes(), ElementsAre("1 addresses added. 0 skipped as duplicate."));
  const std::string full = friends();
  EXPECT_EQ(full.size(), numbered(20000).size() + 6);
  import("new2\r\nnew3");
  EXPECT_THAT(boxes(),
              ElementsAre("The FriendList cannot hold more than 20001 entries. Nothing was imported."));
  EXPECT_TRUE(friends() == full);
  import("new1");
  EXPECT_THAT(boxes(), ElementsAre("0 addresses added. 1 skipped as duplicate."));
}

TEST_F(Import, AFriendListThatCannotBeReadIsNotRewritten) {
  putFriends("bob\r\n");
  sim::failReadsOf("friendlist.txt");
  import("ann");
  sim::failReadsOf("");
  EXPECT_THAT(boxes(), ElementsAre("The FriendList file cannot be read. Nothing was imported."));
  EXPECT_EQ(friends(), "bob\r\n");
}

TEST_F(Import, AFriendListThatCannotBeWrittenStaysAndTheUserIsTold) {
  putFriends("bob\r\n");
  sim::failWritesTo("friendlist.txt");
  import("ann");
  EXPECT_THAT(boxes(), ElementsAre("The FriendList file cannot be written. Nothing was imported."));
  EXPECT_EQ(friends(), "bob\r\n");
}

// ---- letters of every alphabet ----

TEST_F(Import, AFileInUtf8IsReadWithAndWithoutItsMark) {
  for (const char* mark : {"", "\xEF\xBB\xBF"}) {
    EXPECT_TRUE(load(std::string(mark) + "x,Иван \xC3\x9Cnal\r\ny,你\r\n"));
    EXPECT_EQ(dialog.txtImportList, "&#1048;&#1074;&#1072;&#1085; \xDCnal\r\n&#20320;\r\n");
  }
}

TEST_F(Import, AFileInUtf16WithItsMarkIsRead) {
  EXPECT_TRUE(load(std::string("\xFF\xFEx\0,\0\x18\x04\xFC\0\r\0\n\0", 14)));
  EXPECT_EQ(dialog.txtImportList, "&#1048;\xFC\r\n");
  EXPECT_TRUE(load(std::string("\xFE\xFF\0x\0,\x04\x18\0\xFC", 10)));
  EXPECT_EQ(dialog.txtImportList, "&#1048;\xFC\r\n");
}

TEST_F(Import, AnyOtherFileIsInTheSystemsOwnSet) {
  EXPECT_TRUE(load("x,M\xFCller"));
  EXPECT_EQ(dialog.txtImportList, "M\xFCller\r\n");
  sim::shell().localCharset = "cp1251";
  EXPECT_TRUE(load("x,\xC8\xE2\xE0\xED"));
  EXPECT_EQ(dialog.txtImportList, "&#1048;&#1074;&#1072;&#1085;\r\n");
  sim::shell().localCharset = "UTF-8";
  EXPECT_TRUE(load("x,M\xFCller"));
  EXPECT_EQ(dialog.txtImportList, "M\xFCller\r\n");
}

TEST_F(Import, LettersOfEveryAlphabetAreImportedSmallAndOnce) {
  putFriends("&#1080;&#1074;&#1072;&#1085;\r\n");
  import("&#1048;&#1074;&#1072;&#1085;\r\n&#1046;@x.example\r\n");
  EXPECT_EQ(friends(), "&#1078;@x.example\r\n&#1080;&#1074;&#1072;&#1085;\r\n");
  EXPECT_THAT(boxes(), ElementsAre("1 addresses added. 1 skipped as duplicate."));
}

}  // namespace
}  // namespace vornelle
