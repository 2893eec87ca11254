// The actions behind the page table: messages shown and deleted, lists changed, a filter run on request.
#include "base/text.h"
#include "core/activity.h"
#include "tests/unit/mail/sim_maildrop.h"
#include "tests/unit/web/dispatch_test_support.h"
#include "web/http_cmds.h"
#include "web/list_actions.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// ---- messages ----

TEST_F(DispatchTest, ASpamBoxMessageIsShownDecodedAsAWhole) {
  logIn();
  makeFile("\\spam\\key1.txt", "Subject: a+b %21 %40\r\n\r\n<x>\r\n");
  EXPECT_EQ(get("/displayspam.cgi?fn=key1.txt&s=" + kSessionId),
            "Subject: a b ! %40\r\n<br>\r\n<br>&lt;x&gt;\r\n<br>\r\n");
}

TEST_F(DispatchTest, ASpamBoxNameCannotLeaveTheFolder) {
  logIn();
  makeFile("\\Vornelle.ini", "POP_PASSWORD=secret\r\n");
  makeFile("\\data\\friendlist.txt", "secret\r\n");
  const std::string missing = get("/displayspam.cgi?fn=missing.txt&s=" + kSessionId);
  for (const std::string name :
       {"..\\Vornelle.ini", "../Vornelle.ini", "..\\data\\friendlist.txt", "x\\..\\..\\Vornelle.ini",
        "C:\\Vornelle.ini", "\\Vornelle.ini", "..%5CVornelle.ini"}) {
    EXPECT_EQ(get("/displayspam.cgi?fn=" + name + "&s=" + kSessionId), missing) << name;
  }
}

TEST_F(DispatchTest, AMessageOnTheServerIsShownDecodedAsAWhole) {
  logIn();
  SimMaildrop maildrop;
  maildrop.mails.push_back({"id1", "Subject: x\r\nContent-Type: text/html\r\n\r\na+b %21 %40\r\n"});
  maildrop.serve("pop.example");
  settings.POP_SERVER = "pop.example";
  EXPECT_THAT(get("/displayemail.cgi?uidl=id1&s=" + kSessionId), StartsWith("a b ! %40\r\n"));
}

TEST_F(DispatchTest, AMessageThatCannotBeFetchedGivesTheMessagePage) {
  logIn();
  settings.POP_SERVER = "nowhere.example";
  EXPECT_EQ(get("/displayemail.cgi?uidl=1&s=" + kSessionId),
            "<html><body><h2>Cannot log onto POP3 server. Try again later.</h2>\r\n"
            "<a href='Javascript:history.back();'>Go Back</a>\r\n</body></html>\r\n");
}

TEST_F(DispatchTest, DeletingSpamWaitsUntilNoMoreOfTheFormComes) {
  logIn();
  makeFile("\\spam\\key1.txt", "x\r\n");
  form1.rowKey[3] = "key1";
  form1.rowSender[3] = "bob";
  sim::Client client = connected();
  client.send("POST /deleterestore.cgi?s=" + kSessionId + " HTTP/1.1\r\n\r\n");
  sim::after(3000, [&] { client.send("SUBMIT3=DELETE&"); });
  sim::after(4000, [&] { client.send("SUBMIT3=DELETE&D3=1&END=1"); });
  sim::advance(0);
  // 2000, then 1500 until two looks agree: the pieces are seen at 3500 and 5000.
  EXPECT_EQ(sim::elapsedMilliseconds(), 6500);
  EXPECT_EQ(client.received(), redirectTo("displayspambox.htm"));
  EXPECT_EQ(contentOf("\\spam\\key1.txt"), "(missing)");
  EXPECT_EQ(logged("Delete spam from bob"), 1);
}

TEST_F(DispatchTest, TwoLooksAtTheFormAgreeWithoutRegardToLetterCase) {
  logIn();
  sim::Client client = connected();
  const std::string request =
      "POST /deleterestore.cgi?s=" + kSessionId + " HTTP/1.1\r\n\r\nsubmit3=delete&END=1";
  client.send(request);
  sim::after(3000, [&] { form1.requestText = toLower(request); });
  sim::advance(0);
  EXPECT_EQ(sim::elapsedMilliseconds(), 3500);
}

TEST_F(DispatchTest, AFormThatIsThereAtOnceTakesThreeAndAHalfSeconds) {
  logIn();
  EXPECT_EQ(postWithSession("deleterestore.cgi", "SUBMIT3=DELETE&END=1"), redirectTo("displayspambox.htm"));
  EXPECT_EQ(sim::elapsedMilliseconds(), 3500);
}

TEST_F(DispatchTest, DeletingMailPausesFiveSecondsAndServesNothingMeanwhile) {
  logIn();
  settings.POP_SERVER = "nowhere.example";
  std::int64_t servedAt = 0;
  sim::after(1000, [&] { servedAt = sim::elapsedMilliseconds(); });
  EXPECT_EQ(postWithSession("delete.cgi", "SUBMIT3=DELETE&D3=1&END=1"), redirectTo("displayinbox.htm"));
  EXPECT_EQ(servedAt, 5000);
  EXPECT_EQ(logged("**Cannot log onto POP3 server!"), 1);
}

// ---- lists ----

class ListActionTest : public DispatchTest {
 protected:
  ListActionTest() { logIn(); }

  // Type and entry before "END", so that both can be read.
  static std::string add(std::string_view type, std::string_view entry) {
    return postWithSession("addtolist.cgi",
                           "addtolist=" + std::string(entry) + "&type=" + std::string(type) + "&END=1");
  }
  static std::string remove(std::string_view type, std::string_view line) {
    return postWithSession("deletefromlist.cgi",
                           "deletefromlist=" + std::string(line) + "&type=" + std::string(type) + "&END=1");
  }
};

TEST_F(ListActionTest, AnEntryIsAddedToTheListOfThePostedType) {
  EXPECT_EQ(add("FRIENDLIST", "Bob%40example.com"), redirectTo("displayFRIENDLIST.htm"));
  EXPECT_EQ(add("subjectlist", "hello+world"), redirectTo("displaysubjectlist.htm"));
  EXPECT_EQ(add("EnemyList", "spam"), redirectTo("displayEnemyList.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "bob@example.com\r\n");
  EXPECT_EQ(contentOf("\\data\\subjectlist.txt"), "hello world\r\n");
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), "spam\r\n");
  EXPECT_EQ(logged("FriendList add: bob%40example.com"), 1);
  EXPECT_EQ(logged("SubjectList add: hello+world"), 1);
  EXPECT_EQ(logged("EnemyList add: spam"), 1);
}

TEST_F(ListActionTest, AnyOtherTypeAddsNothingAnywhereAndIsAnsweredAllTheSame) {
  for (const char* const type : {"", "friend", "FriendListX", "..\\FriendList", "message"}) {
    EXPECT_EQ(add(type, "x"), redirectTo("display" + std::string(type) + ".htm")) << type;
  }
  EXPECT_THAT(form1.LogWindow.text(), Not(HasSubstr("add:")));
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").size(), 0u);
}

TEST_F(ListActionTest, ABlankEntryAddsNothing) {
  EXPECT_EQ(add("FriendList", ""), redirectTo("displayFriendList.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "(missing)");
}

TEST_F(ListActionTest, TheLineWithThatNumberIsRemovedCountedOverAllLinesFromZero) {
  makeFile("\\data\\friendlist.txt", "zero\r\n\r\nTwo\r\nthree\r\n");
  EXPECT_EQ(remove("FriendList", "2"), redirectTo("displayFriendList.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "zero\r\n\r\nthree\r\n");
  EXPECT_EQ(remove("FRIENDLIST", " 0 "), redirectTo("displayFRIENDLIST.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "\r\nthree\r\n");
}

TEST_F(ListActionTest, ANumberThatNoLineHasRemovesNothing) {
  for (const char* const line : {"2", "-1", "0.5", "32768", "99999999999"}) {
    makeFile("\\data\\friendlist.txt", "zero\none");
    EXPECT_EQ(remove("FriendList", line), redirectTo("displayFriendList.htm"));
    EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "zero\r\none\r\n") << line;
  }
  for (const char* const line : {"", " "}) {
    makeFile("\\data\\friendlist.txt", "zero\none");
    EXPECT_EQ(remove("FriendList", line), redirectTo("displayFriendList.htm"));
    EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "zero\none") << line;
  }
}

TEST_F(ListActionTest, TheNumberOfTheLineIsTheNumericValueOfTheText) {
  makeFile("\\data\\friendlist.txt", "zero\r\none\r\ntwo\r\n");
  EXPECT_EQ(remove("FriendList", "1x"), redirectTo("displayFriendList.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "zero\r\ntwo\r\n");
}

TEST_F(ListActionTest, ARemovalTouchesNoFileButTheThreeLists) {
  makeFile("\\Vornelle.txt", "a\r\nb\r\n");
  makeFile("\\spam\\key1.txt", "a\r\nb\r\n");
  for (const char* const type :
       {"..\\Vornelle", "../Vornelle", "..\\spam\\key1", "", "friendlist.txt", "x"}) {
    EXPECT_EQ(remove(type, "0"), redirectTo("display" + std::string(type) + ".htm"));
  }
  EXPECT_EQ(contentOf("\\Vornelle.txt"), "a\r\nb\r\n");
  EXPECT_EQ(contentOf("\\spam\\key1.txt"), "a\r\nb\r\n");
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").size(), 0u);
}

TEST_F(ListActionTest, AListThatCannotBeReadIsNotReplacedByNothing) {
  makeFile("\\data\\friendlist.txt", "zero\r\none\r\n");
  sim::failReadsOf("riend");
  EXPECT_EQ(remove("FriendList", "0"), redirectTo("displayFriendList.htm"));
  sim::failReadsOf("");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "zero\r\none\r\n");
}

TEST_F(ListActionTest, TheMessagePagesButtonsAddToTheEnemyListAndTheFriendList) {
  EXPECT_EQ(postWithSession("add2black.cgi", "addtolist=Foe&END=1"), kBackAnswer);
  EXPECT_EQ(postWithSession("ADD2WHITE.CGI", "ADDTOLIST=Friend&END=1"), kBackAnswer);
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), "foe\r\n");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "friend\r\n");
}

TEST_F(ListActionTest, AButtonWhoseEntryCannotBeReadAddsNothing) {
  EXPECT_EQ(postWithSession("add2white.cgi", "addtolist=friend"), kBackAnswer);
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "(missing)");
}

TEST_F(ListActionTest, AFilterRunOnRequestIsLoggedBeforeItRuns) {
  getWithSession("mailfilter.cgi");
  EXPECT_LT(form1.LogWindow.text().find("Filter mail (user request)"),
            form1.LogWindow.text().find("You need to set up your FriendList first!"));
}

TEST_F(ListActionTest, ARedirectCarriesTheSessionAsItIsAfterTheAction) {
  form1.LogWindow.onAppend = [](std::string_view line) {
    if (line.ends_with("Filter mail (user request)\r\n")) form1.sessionId = "";  // it ends in mid-run
  };
  EXPECT_EQ(getWithSession("mailfilter.cgi"),
            "<script language='Javascript'>window.location='displayspambox.htm?s='</script>\r\n");
}

TEST_F(ListActionTest, AFilterRunOnRequestIsLoggedRunsAndLeadsToTheSpamBox) {
  EXPECT_EQ(getWithSession("mailfilter.cgi"), redirectTo("displayspambox.htm"));
  EXPECT_EQ(logged("Filter mail (user request)"), 1);
  EXPECT_EQ(logged("You need to set up your FriendList first!"), 1);
}

// ---- entries removed by their texts, as our own page asks for it ----

TEST_F(ListActionTest, AnEntryIsRemovedByItsTextWhereThePageSendsIt) {
  makeFile("\\data\\friendlist.txt", "ada\r\n\r\nbob & co\r\n100%\r\neve\r\n");
  EXPECT_EQ(postWithSession("deletefromlist.cgi",
                            "deletefromlist=1&removeentries=1:bob %26 co%0A2:100%25&type=friendlist&END=1"),
            redirectTo("displayfriendlist.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "ada\r\n\r\neve\r\n");
  EXPECT_TRUE(outcomes.removal.good);
  EXPECT_EQ(outcomes.removal.text, "Removed 2 entries from the FriendList.");
  EXPECT_EQ(lastRemoval.list, "FriendList");
  EXPECT_THAT(lastRemoval.entries, testing::ElementsAre("bob & co", "100%"));
}

TEST_F(ListActionTest, AnEntryThatIsGoneMeanwhileRemovesNoOther) {
  makeFile("\\data\\friendlist.txt", "ada\r\neve\r\n");
  static_cast<void>(
      postWithSession("deletefromlist.cgi", "deletefromlist=1&removeentries=1:bob&type=friendlist&END=1"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "ada\r\neve\r\n");
  EXPECT_FALSE(outcomes.removal.good);
  EXPECT_EQ(outcomes.removal.text, "Not in the FriendList any more: \"bob\".");
  EXPECT_EQ(lastRemoval.list, "");
}

TEST_F(ListActionTest, AListThatIsTooLongForTheRemovalIsNotCutWhereThePageSendsTheText) {
  std::string text;
  for (int i = 0; i < 15000; ++i) text += "entry" + std::to_string(i) + "\r\n";
  makeFile("\\data\\friendlist.txt", text);
  static_cast<void>(
      postWithSession("deletefromlist.cgi", "deletefromlist=0&removeentries=0:entry0&type=friendlist&END=1"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), text);
  EXPECT_THAT(outcomes.removal.text, HasSubstr("more entries than the program can keep (10001)"));
}

TEST_F(ListActionTest, ANameThatEndsLikeTheFieldIsNotTheField) {
  makeFile("\\data\\friendlist.txt", "ada\r\neve\r\n");
  static_cast<void>(
      postWithSession("deletefromlist.cgi", "deletefromlist=1&xremoveentries=0:ada&type=friendlist&END=1"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "ada\r\n");
}

TEST_F(ListActionTest, SeveralEntriesArePutBackAtOnce) {
  makeFile("\\data\\friendlist.txt", "ada\r\n");
  static_cast<void>(postWithSession(
      "addtolist.cgi", "addtolist=&addentries=bob %26 co%0A100%25%0A%26#1087;%0Aada&type=FriendList&END=1"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "&#1087;\r\n100%\r\nada\r\nbob & co\r\n");
  EXPECT_EQ(outcomes.addition.text, "Added 3 to the FriendList; 1 stood there already.");
}

TEST_F(ListActionTest, ALetterOfTheCodePageIsPutBackAsItWas) {
  makeFile("\\data\\friendlist.txt", "");
  static_cast<void>(postWithSession(
      "addtolist.cgi", "addtolist=&addentries=caf%26%23233%3B %26%238364%3B&type=FriendList&END=1"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "caf\xE9 \x80\r\n");
}

TEST_F(ListActionTest, WhatAPageAddsIsLoggedInSmallLetters) {
  makeFile("\\data\\enemylist.txt", "");
  static_cast<void>(postWithSession(
      "addtolist.cgi", "addtolist=&addentries=Bob%2Bnews@x.example%0A%0Aeve@x.example&type=EnemyList&END=1"));
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), "bob+news@x.example\r\neve@x.example\r\n");
  EXPECT_THAT(form1.LogWindow.text(), HasSubstr("] EnemyList add: bob+news@x.example\r\n"));
  EXPECT_THAT(form1.LogWindow.text(), HasSubstr("] EnemyList add: eve@x.example\r\n"));
  EXPECT_EQ(outcomes.addition.text, "Added 2 entries to the EnemyList.");
}

TEST_F(ListActionTest, AnEntryThatIsThereAlreadyIsToldAndChangesNothing) {
  makeFile("\\data\\friendlist.txt", "Bob\r\n");
  static_cast<void>(postWithSession("addtolist.cgi", "addtolist=&addentries=bob&type=FriendList&END=1"));
  EXPECT_EQ(outcomes.addition.text, "\"bob\" stands on the FriendList already.");
  EXPECT_TRUE(outcomes.addition.good);
  EXPECT_EQ(form1.LogWindow.text().find("FriendList add"), std::string::npos);
}

}  // namespace
}  // namespace vornelle
