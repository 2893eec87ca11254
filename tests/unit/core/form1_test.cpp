#include "core/form1.h"

#include "core/settings.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using MainWindowState = SimTest;

TEST_F(MainWindowState, AFreshWindowHasItsDesignValues) {
  EXPECT_EQ(form1.caption, "Vornelle");
  EXPECT_FALSE(form1.visible);
  EXPECT_EQ(form1.Timer1.interval(), 1000);
  EXPECT_EQ(form1.Timer2.interval(), 1000);
  EXPECT_EQ(form1.Timer_min.interval(), 60000);
  EXPECT_EQ(form1.TimerWS_Timeout.interval(), 30000);
  EXPECT_TRUE(form1.Timer1.enabled() && form1.Timer2.enabled() && form1.Timer_min.enabled());
  EXPECT_FALSE(form1.TimerWS_Timeout.enabled());
  for (const CheckBox* box :
       {&form1.ckActive, &form1.ckTestMode, &form1.ckStartMinimized, &form1.ckAutostart}) {
    EXPECT_FALSE(box->checked());
  }
  EXPECT_EQ(form1.rowKey.size(), 10001u);
  EXPECT_EQ(form1.rowSender.size(), 10001u);
}

TEST_F(MainWindowState, ResetPutsEverythingBackWithoutRunningAHandler) {
  bool ran = false;
  form1.ckActive.setValue(1);
  form1.ckActive.onClick = [&] { ran = true; };
  form1.LogWindow.setText("text");
  form1.LogWindow.onChange = [&] { ran = true; };
  form1.onWindowChange = [&] { ran = true; };
  form1.Timer1.onTick = [&] { ran = true; };
  form1.Timer1.setInterval(1);
  form1.Timer1.setEnabled(false);
  form1.TimerWS_Timeout.setEnabled(true);
  form1.sessionId = "A";
  form1.rowKey[3] = "key";
  form1.visible = true;
  settings.POP_ACCOUNT = "joe";
  settings.httpPort = 1;
  resetProgramState();
  sim::advance(120000);
  EXPECT_FALSE(ran);
  EXPECT_FALSE(form1.ckActive.checked());
  EXPECT_EQ(form1.LogWindow.text(), "");
  EXPECT_EQ(form1.Timer1.interval(), 1000);
  EXPECT_TRUE(form1.Timer1.enabled());
  EXPECT_FALSE(form1.TimerWS_Timeout.enabled());
  EXPECT_EQ(form1.sessionId, "");
  EXPECT_EQ(form1.rowKey[3], "");
  EXPECT_FALSE(form1.visible);
  EXPECT_EQ(settings.POP_ACCOUNT, "");
  EXPECT_EQ(settings.httpPort, 0);
}

TEST_F(MainWindowState, ACheckBoxIsOnWhenItsValueIsOne) {
  CheckBox box;
  EXPECT_FALSE(box.checked());
  box.setValue(2);  // greyed
  EXPECT_FALSE(box.checked());
  box.setValue(1);
  EXPECT_TRUE(box.checked());
}

TEST_F(MainWindowState, ACheckBoxShowsItsNewValueBeforeItsHandlerRuns) {
  CheckBox box;
  std::vector<std::string> order;
  box.onShow = [&] { order.push_back(box.checked() ? "shown on" : "shown off"); };
  box.onClick = [&] { order.push_back("clicked"); };
  box.setChecked(true);
  box.setChecked(true);
  box.setChecked(false);
  EXPECT_THAT(order, testing::ElementsAre("shown on", "clicked", "shown off", "clicked"));
}

TEST_F(MainWindowState, TheLogBoxIsDrawnBeforeItsChangeHandlerRuns) {
  TextBox box;
  std::vector<std::string> order;
  box.onAppend = [&](std::string_view piece) { order.push_back("append " + std::string(piece)); };
  box.onReplace = [&] { order.push_back("replace " + box.text()); };
  box.onChange = [&] { order.push_back("change " + box.text()); };
  box.setText("a");
  box.append("b");
  EXPECT_THAT(order, testing::ElementsAre("replace a", "change a", "append b", "change ab"));
}

}  // namespace
}  // namespace vornelle
