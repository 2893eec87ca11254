// What the tests of the page table share: templates that hold little, and the fixed answers.
#pragma once

#include <string>
#include <string_view>

#include "tests/unit/web/web_test_support.h"

namespace vornelle {

inline constexpr const char* kBackAnswer = "<script language='Javascript'>history.back()</script>\r\n";
inline constexpr std::string_view kEndedNotice =
    "Your session has ended. Please login again. Your sessions last 30 minutes.";

class DispatchTest : public WebTest {
 protected:
  DispatchTest() {
    makeFile("\\data\\inbox.htm", "INBOX <!--SSPAGEDESC-->");
    makeFile("\\data\\spambox.htm", "SPAMBOX <!--SSPAGEDESC-->");
    makeFile("\\data\\List.htm", "LIST <!--SSTYPE--> <!--SSLIST-->");
    makeFile("\\data\\find.htm", "FIND <!--ssFINDINLISTS-->");
    makeFile("\\data\\config.htm", "CONFIG");
    EXPECT_TRUE(createFolder(inFolder("\\spam")));
  }

  static std::string plainLoginPage() { return get("/index.htm"); }
};

}  // namespace vornelle
