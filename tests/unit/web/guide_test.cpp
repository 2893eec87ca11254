#include "web/guide.h"

#include "pages/template.h"
#include "tests/unit/web/dispatch_test_support.h"
#include "tests/unit/web/gateway_test_support.h"
#include "web/session.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kGuide = "<!DOCTYPE html><p>Gr\xc3\xbc\xc3\x9f dich<img src=guide/window.webp>\n";

class Guide : public GatewayTest {
 protected:
  Guide() {
    makeFile("\\data\\guide.htm", kGuide);
    EXPECT_TRUE(createFolder(inFolder("\\data\\guide")));
    makeFile("\\data\\guide\\window.webp", std::string("RIFF\0\r\n\x1a", 8));
    makeFile("\\data\\guide\\notes.txt", "secret");
    makeFile("\\data\\window.webp", "secret");
    makeFile("\\Vornelle.ini", "secret");
  }
};

TEST_F(Guide, IsShownWithoutALogInAsItStandsInItsFile) {
  for (const char* target : {"/guide.htm", "/GUIDE.HTM", "/guide.htm?x=1"}) {
    const std::string answer = ask(get(target));
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n"))
        << target;
    EXPECT_EQ(body(answer), kGuide);
  }
  EXPECT_TRUE(taken_.empty());  // nothing is asked of the program for it, or logged
}

TEST_F(Guide, RunsNoScriptAndLoadsNothingButItsOwnPictures) {
  const std::string answer = ask(get("/guide.htm"));
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Security-Policy: default-src 'none'; style-src 'unsafe-inline'; "
                                "img-src 'self'; form-action 'none'; base-uri 'none'; "
                                "frame-ancestors 'none'\r\n"));
  for (const char* field : {"X-Content-Type-Options: nosniff", "Referrer-Policy: no-referrer",
                            "X-Frame-Options: DENY", "Cache-Control: no-store"}) {
    EXPECT_THAT(answer, HasSubstr("\r\n" + std::string(field) + "\r\n"));
  }
}

TEST_F(Guide, ItsPicturesAreSentAsTheyAre) {
  const std::string answer = ask(get("/guide/window.webp"));
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\nContent-Type: image/webp\r\nContent-Length: 8\r\n"));
  EXPECT_THAT(answer, HasSubstr("Content-Security-Policy: default-src 'none'; frame-ancestors 'none'\r\n"));
  EXPECT_EQ(body(answer), std::string("RIFF\0\r\n\x1a", 8));
}

TEST_F(Guide, HeadGetsTheHeaderAlone) {
  std::string request = get("/guide.htm");
  const std::string answer = ask(request.replace(0, 3, "HEAD"));
  EXPECT_THAT(answer,
              HasSubstr("\r\nContent-Length: " + std::to_string(std::string(kGuide).size()) + "\r\n"));
  EXPECT_EQ(body(answer), "");
}

TEST_F(Guide, OnlyNamesOfPicturesLeadToAFile) {
  for (const char* target :
       {"/guide/", "/guide/.webp", "/guide/missing.webp", "/guide/notes.txt", "/guide/../window.webp",
        "/guide/..\\window.webp", "/guide/..%5cwindow.webp", "/guide/%2e%2e/window.webp",
        "/guide/../../Vornelle.ini", "/guide/..\\..\\Vornelle.ini?x=.webp", "/guide/window.webp/",
        "/guide/c:window.webp", "/guide/window.webp::$DATA", "/guide/a/b.webp", "/guide/window.webp.txt",
        "/guide//window.webp"}) {
    const std::string answer = ask(get(target));
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 404 Not Found\r\n")) << target;
    EXPECT_THAT(answer, HasSubstr("Installing Vornelle again brings it back.")) << target;
    EXPECT_THAT(answer, Not(HasSubstr("secret"))) << target;
  }
}

TEST_F(Guide, OneThatIsMissingIsTold) {
  ASSERT_TRUE(deleteFile(inFolder("\\data\\guide.htm")));
  EXPECT_THAT(ask(get("/guide.htm")), StartsWith("HTTP/1.1 404 Not Found\r\n"));
}

TEST_F(Guide, NamesThatOnlyBeginLikeItsOwnAreThePageTables) {
  form1.sessionId = "SESSION";
  for (const char* target : {"/guide.html?s=SESSION", "/guide.htm/x?s=SESSION",
                             "/guides/window.webp?s=SESSION", "/guide?s=SESSION"}) {
    EXPECT_THAT(ask(get(target)), Not(HasSubstr("404"))) << target;
  }
  EXPECT_EQ(taken_.size(), 4U);
}

TEST_F(Guide, AnotherSiteCannotAskForIt) {
  for (const char* target : {"/guide.htm", "/guide/window.webp"}) {
    EXPECT_THAT(ask(get(target, "Sec-Fetch-Site: cross-site\r\n")), StartsWith("HTTP/1.1 403")) << target;
  }
}

TEST_F(Guide, IsAnsweredInTheMiddleOfAnAction) {
  form1.sessionId = "SESSION";
  std::string answer;
  meanwhile_ = [&] { answer = ask(get("/guide.htm")); };
  EXPECT_THAT(ask(get("/mailfilter.cgi?s=SESSION")), StartsWith("HTTP/1.1 200"));
  EXPECT_EQ(body(answer), kGuide);
}

class GuideOverThePlainWire : public DispatchTest {};

TEST_F(GuideOverThePlainWire, IsAPathLikeAnyOther) {
  makeFile("\\data\\guide.htm", kGuide);
  EXPECT_THAT(get("/guide.htm"), HasSubstr(kEndedNotice));
  logIn();
  EXPECT_THAT(get("/guide.htm?s=" + form1.sessionId), HasSubstr("Unrecognized page: guide.htm"));
}

class GuideLink : public SimTest {
 protected:
  GuideLink() {
    makeFile("\\data\\login.htm", "[<!--SSGUIDE-->]");
    makeFile("\\data\\find.htm", "<!--SSTOP-->");
    makeFile("\\data\\top.inc", "[<!--SSGUIDE-->]");
  }
};

TEST_F(GuideLink, StandsInEveryPageOfABrowser) {
  form1.requestByGateway = true;
  EXPECT_EQ(loginPage(""), "[guide.htm]");
  EXPECT_EQ(readTemplate("find.htm"), "[guide.htm]");
}

TEST_F(GuideLink, StandsInNoPageOfThePlainWire) {
  EXPECT_EQ(loginPage(""), "[]");
  EXPECT_EQ(readTemplate("find.htm"), "[]");
}

}  // namespace
}  // namespace vornelle
