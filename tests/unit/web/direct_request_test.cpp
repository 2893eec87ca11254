// Requests dispatched as values, in the middle of whatever the plain listener has under way.
#include "web/direct_request.h"

#include <functional>
#include <utility>
#include <vector>

#include "platform/events.h"
#include "tests/unit/mail/sim_maildrop.h"
#include "tests/unit/web/dispatch_test_support.h"
#include "web/request_turn.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string textOf(const std::string& target) {
  return "GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

TEST_F(DispatchTest, ADirectRequestHasTheAnswerAndTheLogLineOfThePlainWire) {
  logIn();
  const std::string target = "/displayfriendlist.htm?s=" + kSessionId;
  const std::string plain = get(target);
  EXPECT_EQ(logged("displayfriendlist.htm request complete!"), 1);
  EXPECT_EQ(answerDirectly(textOf(target)), plain);
  EXPECT_EQ(logged("displayfriendlist.htm request complete!"), 2);
  EXPECT_EQ(answerDirectly(textOf("/")), get("/"));
}

TEST_F(DispatchTest, ATextWithoutARequestLineHasNoAnswer) {
  EXPECT_EQ(answerDirectly("HEAD / HTTP/1.1\r\n\r\n"), std::nullopt);
  EXPECT_EQ(form1.LogWindow.text().find("request complete"), std::string::npos);
}

TEST_F(DispatchTest, WhatStoodInTheSharedRequestStandsThereAgain) {
  form1.requestText = "D1=1&";
  form1.requestPath = "delete.cgi";
  form1.requestNumber = 7;
  EXPECT_TRUE(answerDirectly(textOf("/")));
  EXPECT_EQ(form1.requestText, "D1=1&");
  EXPECT_EQ(form1.requestPath, "delete.cgi");
  EXPECT_EQ(form1.requestNumber, 7u);
  EXPECT_FALSE(form1.requestByGateway);
}

TEST_F(DispatchTest, ADirectFormIsWholeAndWaitsForNothing) {
  logIn();
  makeFile("\\spam\\key1.txt", "x\r\n");
  form1.rowKey[3] = "key1";
  EXPECT_EQ(answerDirectly("POST /deleterestore.cgi?s=" + kSessionId +
                           " HTTP/1.1\r\n\r\nSUBMIT3=RESTORE-DELETE&D3=1&END=1"),
            redirectTo("displayspambox.htm"));
  EXPECT_EQ(contentOf("\\spam\\key1.txt"), "(missing)");
  EXPECT_TRUE(answerDirectly("POST /delete.cgi?s=" + kSessionId + " HTTP/1.1\r\n\r\nSUBMIT3=DELETE&END=1"));
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(DispatchTest, AFormOfThePlainWireThatWaitsSeesItsOwnBehindADirectRequest) {
  logIn();
  makeFile("\\spam\\key1.txt", "x\r\n");
  form1.rowKey[3] = "key1";
  sim::Client client = connected();
  client.send("POST /deleterestore.cgi?s=" + kSessionId + " HTTP/1.1\r\n\r\nSUBMIT3=DELETE&D3=1&END=1");
  std::optional<std::string> answer;
  sim::after(3000, [&] { answer = answerDirectly(textOf("/config.htm?s=" + kSessionId)); });
  sim::advance(0);
  EXPECT_EQ(answer, "CONFIG\r\n");
  EXPECT_EQ(client.received(), redirectTo("displayspambox.htm"));
  EXPECT_EQ(sim::elapsedMilliseconds(), 3500);  // two looks agreed: nothing came in between
  EXPECT_EQ(contentOf("\\spam\\key1.txt"), "(missing)");
}

// A browser encodes a blank, and the server may have a message whose unique-id is spelled like that.
TEST_F(DispatchTest, AnAddressOfOurOwnPagesNamesItsMessageExactly) {
  logIn();
  makeFile("\\spam\\a b.txt", "the blank");
  makeFile("\\spam\\a%20b.txt", "the sign");
  const auto shown = [](const std::string& query) {
    return answerDirectly(textOf("/displayspam.cgi?" + query + "&s=" + kSessionId)).value_or("");
  };
  EXPECT_THAT(shown("k=a%20b"), StartsWith("the blank"));
  EXPECT_THAT(shown("k=a+b"), StartsWith("the blank"));
  EXPECT_THAT(shown("k=a%2520b"), StartsWith("the sign"));
  ASSERT_TRUE(deleteFile(inFolder("\\spam\\a%20b.txt")));
  EXPECT_EQ(shown("k=a%2520b"), "\r\n");
  EXPECT_THAT(shown("fn=a%20b.txt"), StartsWith("the blank"));
}

TEST_F(DispatchTest, AnAddressOfOurOwnPagesNamesItsMessageOnTheServerExactly) {
  logIn();
  SimMaildrop drop;
  drop.mails = {{"a#b", "Subject: x\r\n\r\nthe sharp\r\n"}, {"a%23b", "Subject: x\r\n\r\nthe sign\r\n"}};
  drop.serve("mail.example");
  settings.POP_SERVER = "mail.example";
  const auto shown = [](const std::string& query) {
    return answerDirectly(textOf("/displayemail.cgi?" + query + "&s=" + kSessionId)).value_or("");
  };
  EXPECT_THAT(shown("k=a%23b"), HasSubstr("the sharp"));
  EXPECT_THAT(shown("k=a%2523b"), HasSubstr("the sign"));
  EXPECT_THAT(shown("k=a%252523b"), HasSubstr("does not exist"));
}

// What a run of forms leaves behind, and what they were answered.
std::string leftByForms(const std::function<std::string(const std::string& request)>& ask) {
  sim::reset();
  resetProgramState();
  assignConstants();
  listenerStart();
  form1.sessionId = kSessionId;
  EXPECT_TRUE(createFolder(applicationFolder() + "\\spam"));
  for (const char* const key : {"key1", "key2"})
    EXPECT_TRUE(writeFile(applicationFolder() + "\\spam\\" + key + ".txt", "x\r\n"));
  form1.rowKey[0] = "key1";
  form1.rowKey[7] = "key2";
  std::string left;
  for (const auto& [page, fields] : std::vector<std::pair<std::string, std::string>>{
           {"addtolist.cgi", "addtolist=Bob%40Example.com&type=FRIENDLIST&END=1"},
           {"addtolist.cgi", "addtolist=%26%231055%3B+%DF%2B&type=subjectlist&END=1"},
           {"addtolist.cgi", "addtolist=x&type=..\\friendlist&END=1"},
           {"add2white.cgi", "addtolist=ann & eve&END=1"},
           {"ADD2BLACK.CGI", "ADDTOLIST=Foe&END=1"},
           {"add2black.cgi", "addtolist=foe&END=1"},
           {"deletefromlist.cgi", "deletefromlist=1x&type=FriendList&END=1"},
           {"deletefromlist.cgi", "deletefromlist=&type=EnemyList&END=1"},
           {"deleterestore.cgi", "SUBMIT3=RESTORE-DELETE&R7=1&D7=1&D0=1&D5x=1&END=1"},
           {"delete.cgi", "SUBMIT3=DELETE&D0=1&END=1"},
           {"configupdate.cgi",
            "ACTIVE=1&CHECK_MIN=75&MESSAGES_PER_PAGE=x&POP_ACCOUNT=joe&POP_PASSWORD=**&END=1"},
           {"mailfilter.cgi", "END=1"},
           {"login.cgi", "POP_ACCOUNT=no&POP_PASSWORD=no&END=1"},
           {"logout.cgi", "END=1"}}) {
    left += ask("POST /" + page + "?s=" + kSessionId + " HTTP/1.1\r\nHost: localhost\r\n\r\n" + fields);
  }
  for (const char* const name : {"\\data\\friendlist.txt", "\\data\\subjectlist.txt", "\\data\\enemylist.txt",
                                 "\\spam\\key1.txt", "\\spam\\key2.txt", "\\Vornelle.ini"}) {
    left += name + readFile(applicationFolder() + name).value_or(" is missing\r\n");
  }
  return left + form1.LogWindow.text();
}

TEST_F(DispatchTest, FormsDoTheSameThroughEitherDoor) {
  const std::string plain = leftByForms([](const std::string& request) { return answerTo(request); });
  const std::string direct =
      leftByForms([](const std::string& request) { return answerDirectly(request).value_or(""); });
  EXPECT_EQ(direct, plain);
  EXPECT_THAT(plain, HasSubstr("\\data\\enemylist.txtfoe\r\n"));
}

TEST_F(DispatchTest, TheReaderMakesAFriendOfTheSenderWhereTheUserHasTickedItOnly) {
  logIn();
  makeFile("\\spam\\one.txt", "From: Bob <bob@spam.example>\r\n\r\nx\r\n");
  const auto restore = [](const std::string& fields) {
    static_cast<void>(answerDirectly(
        "POST /preview.cgi?s=" + kSessionId +
        " HTTP/1.1\r\nHost: localhost\r\n\r\nb=spam&k=one&sender=bob%40spam.example&act=restore&" + fields +
        "END=1"));
  };
  restore("");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "(missing)");
  restore("befriend=1&");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "bob@spam.example\r\n");
}

// A request that lets the test in while it is being served: the mail server does, in the middle of a fetch.
class DirectTurnTest : public DispatchTest {
 protected:
  DirectTurnTest() { logIn(); }
};

TEST_F(DirectTurnTest, AClientOfThePlainWireGetsItsOwnAnswerAndNeverTheBrowsers) {
  std::string plainAnswer;
  {
    const GatewayTurn turn;
    form1.requestText = "the browser's";
    form1.requestPath = "mailfilter.cgi?s=" + kSessionId;
    plainAnswer = get("/logout.cgi");
    EXPECT_EQ(form1.requestText, "the browser's");
    EXPECT_EQ(form1.requestPath, "mailfilter.cgi?s=" + kSessionId);
    EXPECT_TRUE(form1.requestByGateway);
  }
  EXPECT_EQ(plainAnswer, kLogoutAnswer);
  EXPECT_EQ(logged("Filter mail (user request)"), 0);
  EXPECT_EQ(form1.requestPath, "");
}

TEST_F(DirectTurnTest, APlainRequestThatComesInTheMiddleOfADirectOneIsAnsweredBehindIt) {
  sim::Client client = connected();
  sim::after(1, [&] {  // accepted by then; its handler waits for a request line
    const GatewayTurn turn;
    form1.requestText = "the browser's";
    form1.requestPath = "config.htm";
    client.send("GET /logout.cgi HTTP/1.0\r\n\r\n");
    doEvents();
    EXPECT_EQ(form1.requestText, "the browser's");
    EXPECT_EQ(form1.requestPath, "config.htm");
    EXPECT_EQ(client.received(), "");
  });
  sim::advance(10);
  EXPECT_EQ(client.received(), kLogoutAnswer);
  EXPECT_EQ(logged("logout.cgi request complete!"), 1);
}

TEST_F(DirectTurnTest, TurnsNestAndEachFindsItsOwnAgain) {
  form1.requestPath = "plain";
  {
    const GatewayTurn first;
    EXPECT_EQ(form1.requestPath, "");
    form1.requestPath = "first";
    {
      const PlainTurn plain;
      EXPECT_EQ(form1.requestPath, "plain");
      EXPECT_FALSE(form1.requestByGateway);
      form1.requestPath = "plain, changed";
      {
        const GatewayTurn second;
        form1.requestPath = "second";
        {
          const GatewayTurn third;
          EXPECT_EQ(form1.requestPath, "");
          const PlainTurn again;
          EXPECT_EQ(form1.requestPath, "plain, changed");
        }
        EXPECT_EQ(form1.requestPath, "second");
      }
      EXPECT_EQ(form1.requestPath, "plain, changed");
    }
    EXPECT_EQ(form1.requestPath, "first");
  }
  EXPECT_EQ(form1.requestPath, "plain, changed");
}

TEST_F(DirectTurnTest, ThirtyTwoThousandPlainConnectionsDoNotEndTheWebInterfaceForBrowsers) {
  webServer.socketIndex = 32767;
  sim::Client client = connected();
  client.send("GET / HTTP/1.0\r\n\r\n");
  sim::advance(31000);
  EXPECT_EQ(client.received(), "");
  EXPECT_THAT(*answerDirectly(textOf("/")), HasSubstr("<title>Login"));
}

}  // namespace
}  // namespace vornelle
