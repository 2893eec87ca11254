#include "pages/settings_page.h"

#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

class SettingsPage : public PageTest {
 protected:
  static std::string filled(std::string_view markers) {
    makeFile("\\data\\config.htm", bare(markers));
    return pageSettings();
  }
};

TEST_F(SettingsPage, ThePageIsCalledConfig) {
  EXPECT_EQ(filled("<!--SSPAGEDESC-->"), "<html>[Config]</html>");
}

TEST_F(SettingsPage, NumbersAndTextsStandAsTheyAreHeld) {
  settings.HTTP_PORT_CFG = " 7000x";
  settings.CHECK_MIN = 11;
  settings.SESSION_MIN = 12;
  settings.EMAIL_ADDRESS = "joe@home.example";
  settings.POP_SERVER = "o'neill.example";
  settings.POP_ACCOUNT = "j<o>e";
  settings.SMTP_SERVER = "smtp.example:25";
  settings.SMTP_USER = "joe & co";
  settings.MAX_SPAM_SIZE = 13;
  settings.MAX_LINK_SIZE = 14;
  settings.MESSAGES_PER_PAGE = -15;
  EXPECT_EQ(
      filled(
          "<!--HTTP_PORT_CFG-->|<!--CHECK_MIN-->|<!--SESSION_MIN-->|<!--EMAIL_ADDRESS-->|<!--POP_SERVER-->|"
          "<!--POP_ACCOUNT-->|<!--SMTP_SERVER-->|<!--SMTP_USER-->|<!--MAX_SPAM_SIZE-->|<!--MAX_LINK_SIZE-->|"
          "<!--MESSAGES_PER_PAGE-->"),
      "<html>[ 7000x|11|12|joe@home.example|o'neill.example|j<o>e|smtp.example:25|joe & "
      "co|13|14|-15]</html>");
}

TEST_F(SettingsPage, AMarkerInAValueIsFilledWhenItsOwnTurnComesLater) {
  settings.EMAIL_ADDRESS = "<!--POP_SERVER-->";
  settings.POP_SERVER = "<!--EMAIL_ADDRESS-->";
  EXPECT_EQ(filled("<!--EMAIL_ADDRESS-->|<!--POP_SERVER-->"),
            "<html>[<!--EMAIL_ADDRESS-->|<!--EMAIL_ADDRESS-->]</html>");
}

TEST_F(SettingsPage, PasswordsAreShownAsARowOfAsterisks) {
  settings.POP_PASSWORD = "sevenle";
  settings.SMTP_PASSWORD = "";
  EXPECT_EQ(filled("<!--POP_PASSWORD-->|<!--SMTP_PASSWORD-->"), "<html>[*******|]</html>");
  settings.SMTP_PASSWORD = "xyz";
  EXPECT_EQ(filled("<!--POP_PASSWORD-->|<!--SMTP_PASSWORD-->"), "<html>[*******|***]</html>");
}

TEST_F(SettingsPage, NoSwitchIsCheckedWhenAllAreOff) {
  settings.NEW_WINDOW = settings.MAX_LINK_SIZE_ON = false;
  EXPECT_EQ(filled("<!--ACTIVE-->|<!--TEST_MODE-->|<!--NEW_WINDOW-->|<!--MAX_LINK_SIZE_ON-->"),
            "<html>[|||]</html>");
}

TEST_F(SettingsPage, EachSwitchIsCheckedByItself) {
  const std::string_view markers = "<!--ACTIVE-->|<!--TEST_MODE-->|<!--NEW_WINDOW-->|<!--MAX_LINK_SIZE_ON-->";
  settings.NEW_WINDOW = settings.MAX_LINK_SIZE_ON = false;
  form1.ckActive.setChecked(true);
  EXPECT_EQ(filled(markers), "<html>[CHECKED|||]</html>");
  form1.ckActive.setChecked(false);
  form1.ckTestMode.setChecked(true);
  EXPECT_EQ(filled(markers), "<html>[|CHECKED||]</html>");
  form1.ckTestMode.setChecked(false);
  settings.NEW_WINDOW = true;
  EXPECT_EQ(filled(markers), "<html>[||CHECKED|]</html>");
  settings.NEW_WINDOW = false;
  settings.MAX_LINK_SIZE_ON = true;
  EXPECT_EQ(filled(markers), "<html>[|||CHECKED]</html>");
}

TEST_F(SettingsPage, TheSwitchesAreTheWindowsAndNotTheStoredOnes) {
  settings.ACTIVATE_START = settings.TEST_MODE = true;
  EXPECT_EQ(filled("<!--ACTIVE-->|<!--TEST_MODE-->"), "<html>[|]</html>");
}

TEST_F(SettingsPage, TheTemplateIsReadBeforeTheValuesThatFillIt) {
  settings.CHECK_MIN = 11;
  sim::after(0, [] {
    settings.CHECK_MIN = 12;
    form1.ckActive.setChecked(true);
  });
  EXPECT_EQ(filled("<!--CHECK_MIN-->|<!--ACTIVE-->"), "<html>[12|CHECKED]</html>");
}

TEST_F(SettingsPage, AMissingTemplateGivesAnEmptyPage) {
  EXPECT_EQ(pageSettings(), "");
}

}  // namespace
}  // namespace vornelle
