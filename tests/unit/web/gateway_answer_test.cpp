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

TEST(PageAnswer, NoKindOfPageLoadsAnythingFromOutsideOrIsShownInsideAnother) {
  for (const PageKind kind : {PageKind::message, PageKind::page, PageKind::icon, PageKind::unknown}) {
    const std::string answer = pageAnswer(kind, "x", kKeepAlive);
    EXPECT_THAT(answer, HasSubstr("default-src 'none'"));
    EXPECT_THAT(answer, HasSubstr("base-uri 'none'; frame-ancestors 'none'\r\n"));
    EXPECT_THAT(answer, Not(HasSubstr("http:")));
    EXPECT_THAT(answer, Not(HasSubstr("*")));
  }
}

TEST(PageAnswer, TheIconKeepsItsBytes) {
  EXPECT_EQ(body(pageAnswer(PageKind::icon, "<link>", kKeepAlive)), "<link>");
}

TEST(PageAnswer, APageOfTheProgramIsSentAsItWasBuilt) {
  const std::string page = "<link rel=x><iframe><table><tbody><input name='x'></tbody></table>";
  EXPECT_EQ(body(pageAnswer(PageKind::page, page, kKeepAlive)), page);
}

TEST(PageAnswer, ABrowserWithoutScriptsIsLedOnByMarkup) {
  const std::string script =
      "<script language='Javascript'>window.location='preview.htm?b=spam&k=a%20b&s=X'</script>\r\n";
  EXPECT_EQ(body(pageAnswer(PageKind::page, script, kKeepAlive)),
            script +
                "<noscript><meta http-equiv=\"refresh\" "
                "content=\"0;url=preview.htm?b=spam&amp;k=a%20b&amp;s=X\"></noscript>\r\n");
  const std::string back = "<script language='Javascript'>history.back()</script>\r\n";
  EXPECT_EQ(body(pageAnswer(PageKind::page, back, kKeepAlive)),
            back + "<noscript><p>Go back with your browser's button.</p></noscript>\r\n");
  EXPECT_EQ(body(pageAnswer(PageKind::message, back, kKeepAlive)), back);
}

TEST(PageAnswer, AWayThatCouldEndItsMarkupIsNotRepeated) {
  const std::string script =
      "<script language='Javascript'>window.location='display\"><b>.htm?s=X'</script>\r\n";
  EXPECT_EQ(body(pageAnswer(PageKind::page, script, kKeepAlive)), script);
}

TEST(WithoutConnections, FramesLinksAndMetaElementsBecomeUnknownOnes) {
  EXPECT_EQ(withoutConnections("<LINK rel=preconnect><IFrame src=x><frame><meta name=referrer><base href=x>"),
            "<xink rel=preconnect><xframe src=x><xrame><xeta name=referrer><xase href=x>");
}

TEST(WithoutConnections, ALinkTellsNobodyWhereItStandsAndOpensNothingThatReachesBack) {
  EXPECT_EQ(withoutConnections(
                "<a\nTarget=x rel=opener ReferrerPolicy=unsafe-url ping='y' href=z>target = ping</a>"),
            "<a\nxarget=x rel=opener xeferrerPolicy=unsafe-url xing='y' href=z>target = ping</a>");
}

TEST(PageAnswer, AViewInAFrameMayOpenWindowsAndStandInOurPagesAlone) {
  const std::string answer = viewAnswer({"x", true}, kKeepAlive);
  EXPECT_THAT(answer, HasSubstr("\r\nX-Frame-Options: SAMEORIGIN\r\n"));
  EXPECT_THAT(answer, HasSubstr("frame-ancestors 'self'"));
  EXPECT_THAT(answer, HasSubstr("sandbox allow-popups allow-popups-to-escape-sandbox;"));
  EXPECT_THAT(viewAnswer({"x", false}, kKeepAlive), HasSubstr("\r\nX-Frame-Options: DENY\r\n"));
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
    EXPECT_THAT(answer, HasSubstr("<h1>" + std::string(line) + "</h1>"));
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

}  // namespace
}  // namespace vornelle
