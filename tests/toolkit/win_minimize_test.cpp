// Minimising a window asks the window manager to iconify it, and showing it
// brings it back.
#include "tests/toolkit/tk_fixture.h"

namespace {

constexpr long kIconicState = 3;  // the window manager protocol's iconic state

class MinimizeTest : public tktest::ToolkitTest {};

// Waits on a second connection (standing in for the window manager) for
// the request to change a window's state.
bool waitForStateRequest(Display* wm, Window target, long* state) {
  Atom changeState = XInternAtom(wm, "WM_CHANGE_STATE", False);
  for (int waited = 0; waited < 3000; waited += 10) {
    while (XPending(wm)) {
      XEvent ev;
      XNextEvent(wm, &ev);
      if (ev.type == ClientMessage && ev.xclient.message_type == changeState && ev.xclient.window == target) {
        *state = ev.xclient.data.l[0];
        return true;
      }
    }
    EVENT_ProcessPending();
    usleep(10000);
  }
  return false;
}

TEST_F(MinimizeTest, MinimizeAsksTheWindowManagerToIconifyAndShowRestores) {
  Display* wm = XOpenDisplay(owbtest::sharedXvfb().display().c_str());
  ASSERT_NE(wm, nullptr);
  XSelectInput(wm, DefaultRootWindow(wm), SubstructureNotifyMask);
  XSync(wm, False);

  WinPtr win = keep(tktest::newWin(50, 50, 200, 100, "to minimise"));
  WIN_Init(win);
  ASSERT_TRUE(tktest::showAndWait(win));
  EXPECT_TRUE(WIN_Minimize(win));
  DSPLY_Sync();
  long state = 0;
  ASSERT_TRUE(waitForStateRequest(wm, WIN_GetNatWin(win), &state));
  EXPECT_EQ(kIconicState, state);
  EXPECT_EQ(WIN_STATEICONIFIED, WIN_GetState(win));
  EXPECT_FALSE(WIN_IsOpen(win));
  EXPECT_FALSE(WIN_Minimize(win));  // already minimised

  EXPECT_TRUE(WIN_Show(win));
  EXPECT_EQ(WIN_STATEOPEN, WIN_GetState(win));
  XCloseDisplay(wm);
}

}  // namespace
