// Minimising a window iconifies it, and showing it brings it back.  Under a
// window manager the request goes through the manager's protocol (see
// winreq_test.cpp); without one the window is taken off the screen by the
// toolkit itself, and the state follows the server's report.
#include "tests/toolkit/tk_fixture.h"

namespace {

class MinimizeTest : public tktest::ToolkitTest {};

TEST_F(MinimizeTest, MinimizeWithoutAWindowManagerIconifiesAndShowRestores) {
  ASSERT_FALSE(DSPLY_HasWinMgr());
  WinPtr win = keep(tktest::newWin(50, 50, 200, 100, "to minimise"));
  WIN_Init(win);
  ASSERT_TRUE(tktest::showAndWait(win));
  EXPECT_TRUE(WIN_Minimize(win));
  DSPLY_Sync();
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_GetState(win) == WIN_STATEICONIFIED; }));
  EXPECT_FALSE(WIN_IsOpen(win));
  EXPECT_FALSE(WIN_Minimize(win));  // already minimised

  EXPECT_TRUE(WIN_Show(win));
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_GetState(win) == WIN_STATEOPEN; }));
}

}  // namespace
