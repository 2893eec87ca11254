#include "pages/message_page.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(MessagePage, HoldsTheTextAndALinkBack) {
  EXPECT_EQ(messagePage("x"),
            "<html><body><h2>x</h2>\r\n<a href='Javascript:history.back();'>Go Back</a>\r\n</body></html>");
}

TEST(MessagePage, TheTextGoesInAsItIs) {
  EXPECT_TRUE(messagePage("<b>&").starts_with("<html><body><h2><b>&</h2>\r\n"));
}

TEST(NotFoundPage, IsThisPageToTheByte) {
  constexpr const char* kLines[] = {
      "<html>",
      "",
      "<head>",
      "<style>",
      "a:link          {font:8pt/11pt verdana; color:red; text-decoration:none}",
      "a:visited       {font:8pt/11pt verdana; color:red; text-decoration:none}",
      "a:hover          {font:8pt/11pt verdana; color:red; text-decoration:underline}",
      "</style>",
      R"(<meta HTTP-EQUIV="Content-Type" Content="text-html; charset=Windows-1252">)",
      "<title>HTTP 404 Not Found</title>",
      "</head>",
      "",
      R"(<body bgcolor="#FFFFFF">)",
      R"(<p><font face="Verdana, Arial, Helvetica, sans-serif" size="2"><b><font color="#FF0000">The)",
      "  page cannot be found </font></b></font></p>",
      "<p>&nbsp;</p>",
      R"(<p><font face="Verdana, Arial, Helvetica, sans-serif" size="1">The page you are)",
      "  looking for might have been removed, had its name changed, or is temporarily",
      "  unavailable. </font></p>",
      R"(<p align="center">&nbsp;</p>)",
      R"(<p align="center"><font size="1" face="Verdana, Arial, Helvetica, sans-serif" color="#0000FF"><i><font color="#000000">HTTP)",
      "  404 - File not found</font></i></font></p>",
      "</body>",
  };
  std::string expected;
  for (const char* const line : kLines) expected += std::string(line) + "\r\n";
  expected += "</html>\r\n\r\n\r\n";
  EXPECT_EQ(notFoundPage(), expected);
}

}  // namespace
}  // namespace vornelle
