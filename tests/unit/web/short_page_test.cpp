#include "web/short_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pages/message_page.h"

namespace vornelle {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(ShortPage, ABareMessagePageComesWithLanguageTitleHeadingAndItsWayBack) {
  const std::string page = inBrowserForm(messagePage("Requested email does not exist!") + "\r\n");
  EXPECT_THAT(page, StartsWith("<!DOCTYPE html>\r\n<html lang='en'>"));
  EXPECT_THAT(page, HasSubstr("<title>Requested email does not exist!</title>"));
  EXPECT_THAT(page, HasSubstr("<main><h1>Requested email does not exist!</h1>"));
  EXPECT_THAT(page, HasSubstr("<a href='Javascript:history.back();'>Go Back</a>"));
  EXPECT_THAT(page, Not(HasSubstr("Start page")));
  EXPECT_THAT(page, EndsWith("</main></body></html>\r\n"));
}

TEST(ShortPage, APageWithoutALinkGetsTheWayToTheStartPage) {
  const std::string page =
      inBrowserForm("<html><body><h3>Unrecognized page: x?s=ID</h3><p>why</p></body></html>\r\n");
  EXPECT_THAT(page, HasSubstr("<title>Unrecognized page: x</title>"));
  EXPECT_THAT(page, HasSubstr("<h1>Unrecognized page: x?s=ID</h1>"));
  EXPECT_THAT(page, HasSubstr("<p>why</p><p><a href='/'>Start page</a></p>"));
}

TEST(ShortPage, AnyOtherBodyStaysAsItIs) {
  for (const std::string body : {"", "x", "<script>window.location='/'</script>\r\n", "<html><body><h2>",
                                 "</body></html><html><body><h2></h2>", "<!DOCTYPE html><html>"}) {
    EXPECT_EQ(inBrowserForm(body), body);
  }
}

}  // namespace
}  // namespace vornelle
