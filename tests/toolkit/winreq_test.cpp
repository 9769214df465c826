// Window requests: maximize, restore, iconify, push behind, pop to front;
// done by the window itself without a window manager, and through the
// window manager protocols when one runs (the test plays that part).
#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <vector>

#include "tests/toolkit/tk_fixture.h"

namespace {

using tktest::ToolkitTest;

class WinRequestTest : public ToolkitTest {
 protected:
  WinPtr openWin(int x, int y, const char* label, tktest::NfyLog* log) {
    WinPtr win = keep(tktest::newWin(x, y, 300, 200, label));
    WIN_Init(win);
    tktest::logTo(WIN_Wgt(win), log);
    EXPECT_TRUE(tktest::showAndWait(win));
    return win;
  }
  // Our windows from the bottom of the stack to the top, as the server
  // has them.
  std::vector<unsigned long> stacking() {
    Display* dpy = driver_->display();
    Window root, parent, *children = nullptr;
    unsigned n = 0;
    std::vector<unsigned long> order;
    XQueryTree(dpy, DefaultRootWindow(dpy), &root, &parent, &children, &n);
    for (unsigned i = 0; i < n; i++)
      // Open windows only: a closed one left by another test (a menu's
      // pop-up) is still a child of the root.
      if (WIN_IsOpen(WinFromNatWin(static_cast<NatWinId>(children[i])))) order.push_back(children[i]);
    if (children) XFree(children);
    return order;
  }
  tktest::NfyLog log_;
};

TEST_F(WinRequestTest, WithoutAWindowManagerTheWindowDoesItItself) {
  ASSERT_FALSE(DSPLY_HasWinMgr());
  WinPtr a = openWin(40, 40, "a", &log_);
  WinPtr b = openWin(80, 80, "b", &log_);
  _Rect16Rec before = WIN_Wgt(a)->Box;

  // Maximize takes the screen, restore gives the box back.
  ASSERT_TRUE(WIN_Maximize(a));
  EXPECT_TRUE(WIN_IsMaximized(a));
  EXPECT_FALSE(WIN_Maximize(a));  // it is already
  _Point16Rec screen = DSPLY_GetScreenExt();
  ASSERT_TRUE(tktest::runUntil([&] {
    _Rect16Rec box;
    return DSPLY_QueryWinBox(WIN_GetNatWin(a), &box) && box.Extent.X == screen.X && box.Extent.Y == screen.Y;
  }));
  ASSERT_TRUE(WIN_Restore(a));
  EXPECT_FALSE(WIN_IsMaximized(a));
  EXPECT_TRUE(RECT16_Equal(WIN_Wgt(a)->Box, before));
  EXPECT_EQ(log_.count(WIN_Wgt(a), WIN_NFYRESTORED), 1);
  EXPECT_FALSE(WIN_Restore(a));  // nothing to restore

  // Iconify: the state follows the server's report, once.  Minimising
  // iconifies too, and showing brings the window back.
  ASSERT_TRUE(WIN_Iconify(a));
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_GetState(a) == WIN_STATEICONIFIED; }));
  settle(30);
  EXPECT_EQ(log_.count(WIN_Wgt(a), WIN_NFYICONIFIED), 1);
  EXPECT_EQ(WIN_GetTopWin(), b);
  EXPECT_EQ(WIN_GetNumOpen(), 1);
  EXPECT_FALSE(WIN_Minimize(a));  // not open
  ASSERT_TRUE(WIN_Restore(a));
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_GetState(a) == WIN_STATEOPEN; }));
  settle(30);
  EXPECT_EQ(log_.count(WIN_Wgt(a), WIN_NFYRESTORED), 2);
  ASSERT_TRUE(WIN_Minimize(a));
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_GetState(a) == WIN_STATEICONIFIED; }));
  EXPECT_TRUE(WIN_Show(a));
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_GetState(a) == WIN_STATEOPEN; }));

  // Push behind and pop to front, in our list and on the server.
  ASSERT_TRUE(WIN_PopToFront(b));
  settle(30);
  Int moved = log_.count(WIN_Wgt(b), WIN_NFYMOVED);
  ASSERT_TRUE(WIN_PushBehind(b));
  EXPECT_EQ(WIN_GetTopWin(), a);
  ASSERT_TRUE(tktest::runUntil([&] {
    return stacking() == std::vector<unsigned long>{WIN_GetNatWin(b), WIN_GetNatWin(a)};
  }));
  ASSERT_TRUE(tktest::runUntil([&] { return log_.count(WIN_Wgt(b), WIN_NFYRESTACKED) >= 1; }));
  EXPECT_EQ(log_.count(WIN_Wgt(b), WIN_NFYMOVED), moved);  // a restack is no move
  ASSERT_TRUE(WIN_PopToFront(b));
  EXPECT_EQ(WIN_GetTopWin(), b);
  ASSERT_TRUE(tktest::runUntil([&] {
    return stacking() == std::vector<unsigned long>{WIN_GetNatWin(a), WIN_GetNatWin(b)};
  }));
}

// The test is the window manager: it owns WM_S0, hears the requests sent
// to the root window, and reports states as a manager does.
class FakeWinMgr {
 public:
  explicit FakeWinMgr(Display* dpy) : dpy_(dpy) {
    owner_ = XCreateSimpleWindow(dpy, DefaultRootWindow(dpy), 0, 0, 1, 1, 0, 0, 0);
    XSetSelectionOwner(dpy, XInternAtom(dpy, "WM_S0", False), owner_, CurrentTime);
    XSelectInput(dpy, DefaultRootWindow(dpy), SubstructureNotifyMask);
    XSync(dpy, False);
  }
  ~FakeWinMgr() {
    XSelectInput(dpy_, DefaultRootWindow(dpy_), NoEventMask);
    XDestroyWindow(dpy_, owner_);  // gives up WM_S0
    XSync(dpy_, False);
  }
  // The next client message of a type that reached the root window.
  bool nextRequest(const char* type, XClientMessageEvent* out) {
    Atom want = XInternAtom(dpy_, type, False);
    XSync(dpy_, False);
    XEvent ev;
    while (XCheckTypedEvent(dpy_, ClientMessage, &ev))
      if (ev.xclient.message_type == want) {
        *out = ev.xclient;
        return true;
      }
    return false;
  }
  void setMaximized(Window win, bool on) {
    Atom atoms[2] = {XInternAtom(dpy_, "_NET_WM_STATE_MAXIMIZED_VERT", False),
                     XInternAtom(dpy_, "_NET_WM_STATE_MAXIMIZED_HORZ", False)};
    XChangeProperty(dpy_, win, XInternAtom(dpy_, "_NET_WM_STATE", False), XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(atoms), on ? 2 : 0);
    XSync(dpy_, False);
  }
  void setWmState(Window win, long state) {
    long data[2] = {state, 0};
    Atom wmState = XInternAtom(dpy_, "WM_STATE", False);
    XChangeProperty(dpy_, win, wmState, wmState, 32, PropModeReplace, reinterpret_cast<unsigned char*>(data), 2);
    if (state == IconicState) XUnmapWindow(dpy_, win);
    else XMapWindow(dpy_, win);
    XSync(dpy_, False);
  }

 private:
  Display* dpy_;
  Window owner_;
};

TEST_F(WinRequestTest, UnderAWindowManagerRequestsGoToItAndItsReportsSetTheState) {
  WinPtr win = openWin(60, 60, "managed", &log_);
  Window nat = WIN_GetNatWin(win);
  FakeWinMgr wm(driver_->display());
  ASSERT_TRUE(DSPLY_HasWinMgr());

  // Maximize is asked for; the state comes with the manager's report.
  ASSERT_TRUE(WIN_Maximize(win));
  DSPLY_Flush();
  XClientMessageEvent req;
  ASSERT_TRUE(tktest::runUntil([&] { return wm.nextRequest("_NET_WM_STATE", &req); }));
  EXPECT_EQ(req.window, nat);
  EXPECT_EQ(req.data.l[0], 1);  // add
  EXPECT_EQ(static_cast<Atom>(req.data.l[1]), XInternAtom(driver_->display(), "_NET_WM_STATE_MAXIMIZED_VERT", False));
  EXPECT_FALSE(WIN_IsMaximized(win));
  wm.setMaximized(nat, true);
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_IsMaximized(win); }));
  ASSERT_TRUE(WIN_Restore(win));
  DSPLY_Flush();
  ASSERT_TRUE(tktest::runUntil([&] { return wm.nextRequest("_NET_WM_STATE", &req); }));
  EXPECT_EQ(req.data.l[0], 0);  // remove
  wm.setMaximized(nat, false);
  ASSERT_TRUE(tktest::runUntil([&] { return !WIN_IsMaximized(win); }));
  EXPECT_EQ(log_.count(WIN_Wgt(win), WIN_NFYRESTORED), 1);

  // Iconify through WM_CHANGE_STATE; the manager's WM_STATE and unmap
  // together give one notification.
  ASSERT_TRUE(WIN_Iconify(win));
  DSPLY_Flush();
  ASSERT_TRUE(tktest::runUntil([&] { return wm.nextRequest("WM_CHANGE_STATE", &req); }));
  EXPECT_EQ(req.data.l[0], IconicState);
  EXPECT_EQ(WIN_GetState(win), WIN_STATEICONIFIED);
  settle(30);
  EXPECT_EQ(log_.count(WIN_Wgt(win), WIN_NFYICONIFIED), 0);  // until the manager says so
  wm.setWmState(nat, IconicState);
  ASSERT_TRUE(tktest::runUntil([&] { return log_.count(WIN_Wgt(win), WIN_NFYICONIFIED) == 1; }));
  wm.setWmState(nat, NormalState);
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_GetState(win) == WIN_STATEOPEN; }));
  settle(30);
  EXPECT_EQ(log_.count(WIN_Wgt(win), WIN_NFYICONIFIED), 1);
  EXPECT_EQ(log_.count(WIN_Wgt(win), WIN_NFYRESTORED), 2);
  EXPECT_EQ(WIN_GetTopWin(), win);

  // The manager iconifies on its own (the user's title bar button).
  wm.setWmState(nat, IconicState);
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_GetState(win) == WIN_STATEICONIFIED; }));
  settle(30);
  EXPECT_EQ(log_.count(WIN_Wgt(win), WIN_NFYICONIFIED), 2);
  EXPECT_EQ(WIN_GetNumOpen(), 0);
}

}  // namespace
