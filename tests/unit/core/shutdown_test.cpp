#include "core/form1.h"

#include <vector>

#include "core/settings.h"
#include "platform/modPopup.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;

class Shutdown : public SimTest {
 protected:
  Shutdown() { assignConstants(); }
};

TEST_F(Shutdown, LogsItsTwoLinesAndEndsTheProcess) {
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_EQ(contentOf("\\Vornelle.log"),
            "[11-15-26 01:55 AM] ***Closing Vornelle***\r\n[11-15-26 01:55 AM] ************************\r\n");
  EXPECT_EQ(form1.LogWindow.text(), contentOf("\\Vornelle.log"));
}

TEST_F(Shutdown, SavesTheSettingsAndTheSwitchesAsTheyStand) {
  settings.POP_ACCOUNT = "joe";
  form1.ckActive.setChecked(true);
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("POP_ACCOUNT=joe\r\n"));
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("ACTIVATE_START=TRUE\r\n"));
}

TEST_F(Shutdown, ADuplicateCopySavesNothing) {
  form1.isClosingDuplicate = true;
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_FALSE(fileExists(inFolder("\\Vornelle.ini")));
  EXPECT_THAT(contentOf("\\Vornelle.log"), HasSubstr("***Closing Vornelle***"));
}

TEST_F(Shutdown, RemovesTheNotificationIcon) {
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_EQ(sim::shell().iconDeletes, 1);
}

TEST_F(Shutdown, TheIconGoesAfterTheTwoLines) {
  ASSERT_TRUE(notifyIconAdd("tip"));
  std::vector<bool> shown;
  form1.LogWindow.onAppend = [&](std::string_view) { shown.push_back(sim::shell().iconShown); };
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_THAT(shown, testing::ElementsAre(true, true));
  EXPECT_FALSE(sim::shell().iconShown);
}

TEST_F(Shutdown, ASecondEndInTheMiddleOfTheFirstWritesNoLineTwice) {
  const std::string lines =
      "[11-15-26 01:55 AM] ***Closing Vornelle***\r\n[11-15-26 01:55 AM] ************************\r\n";
  for (const char* ending : {"***Closing Vornelle***\r\n", "************************\r\n"}) {
    sim::reset();
    resetProgramState();
    form1.LogWindow.onAppend = [&](std::string_view line) {
      if (!line.ends_with(ending)) return;
      form1.LogWindow.onAppend = nullptr;
      sim::after(0, [] { Form1_Unload(); });
    };
    EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
    EXPECT_EQ(contentOf("\\Vornelle.log"), lines) << ending;
    EXPECT_TRUE(fileExists(inFolder("\\Vornelle.ini")));
  }
}

TEST_F(Shutdown, AClickServedWhileClosingIsStillSaved) {
  sim::after(0, [] { form1.ckTestMode.setChecked(true); });
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("TEST_MODE=TRUE\r\n"));
}

TEST_F(Shutdown, ADiskThatTakesNothingDoesNotKeepTheProgramFromEnding) {
  sim::failWritesTo("Vornelle");
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_THAT(form1.LogWindow.text(), HasSubstr("************************\r\n"));
}

}  // namespace
}  // namespace vornelle
