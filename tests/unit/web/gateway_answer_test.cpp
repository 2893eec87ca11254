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

TEST(PageAnswer, TheCharsetOfALinkAgreesToo) {
  EXPECT_EQ(body(pageAnswer(PageKind::message, "<link charset=utf-8>", kKeepAlive)),
            "<meta charset=windows-1252>");
}

TEST(PageAnswer, TheIconKeepsItsBytes) {
  EXPECT_EQ(body(pageAnswer(PageKind::icon, "<link>", kKeepAlive)), "<link>");
}

TEST(PageAnswer, APageOfTheProgramIsSentAsItWasBuilt) {
  const std::string page = "<link rel=x><iframe><table><tbody><input name='x'></tbody></table>";
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
