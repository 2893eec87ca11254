#include "web/gateway_answer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pages/message_page.h"

namespace vornelle {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr AnswerOptions kKeepAlive{true, false};

std::string body(const std::string& answer) {
  return answer.substr(answer.find("\r\n\r\n") + 4);
}

TEST(PageAnswer, OnlyAMessagesOwnMetaTagsAreMadeToAgree) {
  const std::string page = "<meta charset='utf-8'>";
  EXPECT_THAT(pageAnswer(PageKind::message, page, kKeepAlive), EndsWith("<meta charset='windows-1252'>"));
  EXPECT_THAT(pageAnswer(PageKind::page, page, kKeepAlive), EndsWith(page));
}

TEST(PageAnswer, TheLengthIsThatOfTheBodyAfterTheCharsetHasBeenMadeToAgree) {
  EXPECT_THAT(pageAnswer(PageKind::message, "<meta charset='utf-8'>", kKeepAlive),
              HasSubstr("\r\nContent-Length: 29\r\n"));
}

TEST(PageAnswer, NoKindOfPageLoadsAnythingFromOutsideOrIsShownInsideAnother) {
  for (const PageKind kind : {PageKind::message, PageKind::page, PageKind::icon, PageKind::unknown}) {
    const std::string answer = pageAnswer(kind, "x", kKeepAlive);
    EXPECT_THAT(answer, HasSubstr("default-src 'none'"));
    EXPECT_THAT(answer, HasSubstr("base-uri 'none'; frame-ancestors 'none'\r\n"));
    EXPECT_THAT(answer, Not(HasSubstr("http:")));
    EXPECT_THAT(answer, Not(HasSubstr("*")));
  }
}

// Chromium connects for such elements under any policy.
TEST(PageAnswer, AMessageOpensNoConnectionByFramesAndLinks) {
  const std::string answer = pageAnswer(
      PageKind::message, "<p>a</p><LINK rel=preconnect href=//a.example><link rel=\"icon\" href=\"data:,x\">",
      kKeepAlive);
  EXPECT_EQ(body(answer),
            "<p>a</p><meta rel=preconnect href=//a.example><meta rel=\"icon\" href=\"data:,x\">");
  EXPECT_EQ(
      body(pageAnswer(PageKind::message, "<IFrame src=//a></IFrame><frameset><frame src=//b>", kKeepAlive)),
      "<xframe src=//a></IFrame><xrameset><xrame src=//b>");
}

// Its link is a script.
TEST(PageAnswer, TheErrorPageOfAMessageViewCanGoBack) {
  for (const char* text :
       {"Requested email does not exist!", "Cannot log onto POP3 server. Try again later."}) {
    EXPECT_THAT(pageAnswer(PageKind::message, messagePage(text) + "\r\n", kKeepAlive),
                Not(HasSubstr("sandbox")));
    EXPECT_THAT(pageAnswer(PageKind::message, messagePage(text) + "<p>\r\n", kKeepAlive),
                HasSubstr("sandbox"));
  }
  EXPECT_THAT(pageAnswer(PageKind::message, messagePage("<script>") + "\r\n", kKeepAlive),
              HasSubstr("sandbox"));
}

TEST(PageAnswer, ASubjectOpensNoConnectionByAFrame) {
  EXPECT_EQ(body(pageAnswer(PageKind::page, "<td><iframe src=//a.bc></td>", kKeepAlive)),
            "<td><xframe src=//a.bc></td>");
}

TEST(PageAnswer, ASubjectOpensNoConnectionByALinkAndThePageKeepsItsIcon) {
  const std::string answer = pageAnswer(
      PageKind::page, "<link rel=\"icon\" href=\"data:image\"><td><link rel=preconnect href=//a.bc></td>",
      kKeepAlive);
  EXPECT_EQ(body(answer),
            "<link rel=\"icon\" href=\"data:image\"><td><meta rel=preconnect href=//a.bc></td>");
}

TEST(PageAnswer, ASubjectDoesNotLoadThePageAgainForEver) {
  const std::string head = "<head><meta http-equiv='refresh' content='1620'></head><BODY>";
  EXPECT_EQ(body(pageAnswer(PageKind::page, head + "<td><Meta http-equiv=refresh content=0></td><meta>",
                            kKeepAlive)),
            head + "<td><xeta http-equiv=refresh content=0></td><xeta>");
}

TEST(PageAnswer, ALinkInASubjectBecomesNoReloadEither) {
  EXPECT_EQ(body(pageAnswer(PageKind::page, "<body><link http-equiv=refresh content=0>", kKeepAlive)),
            "<body><xeta http-equiv=refresh content=0>");
}

TEST(PageAnswer, TheCharsetOfALinkAgreesToo) {
  EXPECT_EQ(body(pageAnswer(PageKind::message, "<link charset=utf-8>", kKeepAlive)),
            "<meta charset=windows-1252>");
}

TEST(PageAnswer, TheIconKeepsItsBytes) {
  EXPECT_EQ(body(pageAnswer(PageKind::icon, "<link>", kKeepAlive)), "<link>");
}

TEST(PageAnswer, AFieldInASubjectIsNotPostedWithTheRowsBoxes) {
  const std::string before = "<form><input name='addtolist'><button>Add</button><TBODY>";
  const std::string boxes =
      "<td><input name='R0' type='checkbox' value='1'></td><td><input name='D0' type='checkbox' "
      "value='1'></td>";
  const std::string after = "</TBody><input type=\"hidden\" name=\"END\"><select></select></form>";
  EXPECT_EQ(body(pageAnswer(PageKind::page,
                            before + "<a><Input name=D7 value=1></a></tbody><SELECT name=D0><option>" +
                                "<textarea name=D1><button name=D2>" + boxes + after,
                            kKeepAlive)),
            before + "<a><xnput name=D7 value=1></a></tbody><xelect name=D0><option>" +
                "<xextarea name=D1><xutton name=D2>" + boxes + after);
}

TEST(PageAnswer, ABoxThatASubjectImitatesIsNoRowsBox) {
  const auto row = [](const std::string& subject) {
    return "<tbody>" + subject + "</a>\r\n    </td></tbody>";
  };
  for (const char* subject :
       {"<input name='D0' type='checkbox' ", "<input name='D0' value=1>", "<input name='D0"}) {
    EXPECT_EQ(body(pageAnswer(PageKind::page, row(subject), kKeepAlive)),
              row("<xnput" + std::string(subject + 6)));
  }
}

TEST(PageAnswer, FieldsOfPagesWithoutRowsStay) {
  const std::string page = "<form><input name='x'><select></select></form>";
  EXPECT_EQ(body(pageAnswer(PageKind::page, page, kKeepAlive)), page);
}

TEST(ErrorAnswer, HasItsStatusInLineAndPage) {
  for (const auto& [status, line] : {std::pair{400, "400 Bad Request"},
                                     {403, "403 Forbidden"},
                                     {405, "405 Method Not Allowed"},
                                     {408, "408 Request Timeout"},
                                     {411, "411 Length Required"},
                                     {413, "413 Content Too Large"},
                                     {414, "414 URI Too Long"},
                                     {417, "417 Expectation Failed"},
                                     {421, "421 Misdirected Request"},
                                     {431, "431 Request Header Fields Too Large"},
                                     {502, "502 Bad Gateway"},
                                     {503, "503 Service Unavailable"},
                                     {505, "505 HTTP Version Not Supported"}}) {
    const std::string answer = errorAnswer(status, kKeepAlive);
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 " + std::string(line) + "\r\n"));
    EXPECT_THAT(answer, HasSubstr("<h2>" + std::string(line) + "</h2>"));
    EXPECT_THAT(answer, Not(HasSubstr("script-src")));
  }
}

TEST(ErrorAnswer, SaysWhatIsAllowedAndWhenToComeAgain) {
  EXPECT_THAT(errorAnswer(405, kKeepAlive), HasSubstr("\r\nAllow: GET, HEAD, POST\r\n"));
  EXPECT_THAT(errorAnswer(503, kKeepAlive), HasSubstr("\r\nRetry-After: 5\r\n"));
  EXPECT_THAT(errorAnswer(400, kKeepAlive), Not(HasSubstr("Retry-After")));
}

TEST(ErrorAnswer, ToHeadIsTheHeaderAlone) {
  EXPECT_THAT(errorAnswer(403, {false, true}), EndsWith("\r\nConnection: close\r\n\r\n"));
}

TEST(AgreeCharset, MetaTagsOfAMessageSayWhatItsBytesAre) {
  EXPECT_EQ(agreeCharset("<META charset='utf-8'><p>charset=utf-8"),
            "<META charset='windows-1252'><p>charset=utf-8");
  EXPECT_EQ(agreeCharset("<meta http-equiv=\"x\" content=\"text/html; charset = iso-8859-2\">"),
            "<meta http-equiv=\"x\" content=\"text/html; charset = windows-1252\">");
  EXPECT_EQ(agreeCharset("<meta charset>"), "<meta charset>");
  EXPECT_EQ(agreeCharset("<meta charset="), "<meta charset=");
  EXPECT_EQ(agreeCharset("no tag"), "no tag");
}

}  // namespace
}  // namespace vornelle
