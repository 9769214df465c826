// Shared set-up of the toolkit tests that run windows: the classes, the
// private X server, the event system, and small helpers to build windows
// in code, record notifications and run the loop until something happens.
#ifndef OWB_TESTS_TOOLKIT_TK_FIXTURE_H
#define OWB_TESTS_TOOLKIT_TK_FIXTURE_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/testsupport.h"
#include "tests/xvfb_support.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/errw.h"
#include "toolkit/event.h"
#include "toolkit/rlib.h"
#include "toolkit/tarea.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

namespace tktest {

// Classes installed once; the display opened on the shared Xvfb.
inline bool startToolkit() {
  static bool started = false;
  if (!started) {
    if (!owbtest::sharedXvfb().ok()) return false;
    TKIT_LibInstall();
    if (!DSPLY_Init(owbtest::sharedXvfb().display().c_str())) return false;
    EVENT_Init();
    started = true;
  }
  // A test of the closed display may have closed it meanwhile.
  if (!DSPLY_IsOpen() && !DSPLY_Init(owbtest::sharedXvfb().display().c_str())) return false;
  return started;
}

// Every notification a widget got, by message number.
struct NfyLog {
  std::vector<std::pair<WgtPtr, Int>> entries;
  // How often w (any widget when null) got the message.
  Int count(WgtPtr w, Int message) const {
    Int n = 0;
    for (auto& e : entries) n += (!w || e.first == w) && e.second == message;
    return n;
  }
  Int count(Int message) const { return count(nullptr, message); }
};

// A notification procedure that logs and then does what the class does.
inline long loggingNfy(ResPtr res, Int message, ClientPtr data) {
  NfyLog* log = static_cast<NfyLog*>(res->ClientData);
  if (log) log->entries.push_back({WGT_FromRes(res), message});
  return RCLAS_ProcessDefNfy(res->ResClass, res, message, data);
}

inline void logTo(WgtPtr w, NfyLog* log) { RES_SetNfyProcDS(WGT_Res(w), loggingNfy, log); }

inline WinPtr newWin(int x, int y, int w, int h, const char* label) {
  WinPtr win = WIN_FromRes(RES_Create(WIN_Class()));
  WIN_Wgt(win)->ResBox = RECT16_Make(x, y, w, h);
  VSTR_Set(&WIN_Panel(win)->Label, label);
  return win;
}

inline TButPtr addButton(PanelPtr panel, const char* label, int x, int y, int w, int h, Int16 mode = TBUT_MODEPUSH) {
  TButPtr b = TBUT_Create();
  VSTR_Set(&b->Label, label);
  b->Mode = mode;
  TBUT_Wgt(b)->ResBox = RECT16_Make(x, y, w, h);
  TBUT_Wgt(b)->WgtFlags = WGT_FLAGTABSTOP;
  PANEL_AddWgt(panel, TBUT_Wgt(b));  // the panel holds it from now on
  return b;
}

inline PanelPtr addPanel(PanelPtr parent, int x, int y, int w, int h) {
  PanelPtr p = reinterpret_cast<PanelPtr>(RES_Create(PANEL_Class()));
  PANEL_Wgt(p)->ResBox = RECT16_Make(x, y, w, h);
  PANEL_AddWgt(parent, PANEL_Wgt(p));
  return p;
}

// Runs the loop (never longer than timeoutMs) until done() holds.
template <class Done>
bool runUntil(Done done, int timeoutMs = 3000) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    EVENT_ProcessPending();
    DSPLY_WaitForInput(10);
  }
  return true;
}

// Shows a window and waits until it is mapped and drawn.
inline bool showAndWait(WinPtr win) {
  bool opened = false;
  WIN_Show(win);
  DSPLY_Sync();
  return runUntil([&] {
    opened = opened || (WIN_IsOpen(win) && !EVENT_IsInvalPending() && win->InvalRgn && RGN_IsEmpty(win->InvalRgn));
    return opened;
  });
}

// Shows a window and waits until it is drawn and has the keyboard focus.
inline bool showFocused(WinPtr win) {
  return showAndWait(win) && runUntil([&] { return WIN_HasFocus(win); });
}

// Runs the loop until nothing has come for quietMs, or at most limitMs.
inline void settle(int quietMs = 60, int limitMs = 3000) {
  auto quietSince = std::chrono::steady_clock::now();
  auto deadline = quietSince + std::chrono::milliseconds(limitMs);
  while (std::chrono::steady_clock::now() < deadline) {
    DSPLY_Sync();
    bool pending = EVENT_IsPending();
    EVENT_ProcessPending();
    if (pending) {
      quietSince = std::chrono::steady_clock::now();
    } else {
      if (std::chrono::steady_clock::now() - quietSince > std::chrono::milliseconds(quietMs)) return;
      DSPLY_WaitForInput(5);
    }
  }
}

// The screen location of a point of a widget.
inline _Point16Rec absOf(WgtPtr w, int x, int y) {
  _Point16Rec p{static_cast<int16_t>(x), static_cast<int16_t>(y)};
  WGT_ConvertWgtToAbs(w, &p);
  return p;
}

// A real click at a point of a widget, then the loop until quiet.
inline void clickAt(owbtest::XTestDriver* driver, WgtPtr w, int x, int y) {
  _Point16Rec p = absOf(w, x, y);
  driver->click(p.X, p.Y);
  DSPLY_Sync();
  settle();
}

class ToolkitTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(startToolkit()) << "no X server: " << DSPLY_GetLastError();
    // Failures are reported on the error stream, not in a window that would
    // wait for a user (a test that wants the error window sets it up).
    ERRW_Exit();
    driver_ = std::make_unique<owbtest::XTestDriver>(owbtest::sharedXvfb().display());
    ASSERT_TRUE(driver_->ok());
  }
  // Puts the class defaults back, so that no procedure of a finished test
  // (with its log gone) is called while the windows end.
  static void resetNfy(WgtPtr w) {
    ResPtr r = WGT_Res(w);
    RES_SetNfyProcDS(r, RCLAS_GetDefNfy(r->ResClass), nullptr);
    if (PANEL_IsPanel(w))
      for (Int i = 0; i < PANEL_GetNumWgts(reinterpret_cast<PanelPtr>(w)); i++)
        resetNfy(PANEL_GetNthWgt(reinterpret_cast<PanelPtr>(w), i));
  }
  void TearDown() override {
    for (WinPtr w : wins_) resetNfy(WIN_Wgt(w));
    for (WinPtr w : wins_)
      if (WIN_GetState(w) != WIN_STATETERMINATED) WIN_TerminateGetStatus(w);
    EVENT_Update();
    EVENT_ProcessPending();
    for (WinPtr w : wins_) RES_Release(WGT_Res(WIN_Wgt(w)));
    wins_.clear();
  }
  // Keeps a reference to the window so that the test can look at it after
  // it has been terminated; terminated and released at the end.
  WinPtr keep(WinPtr w) {
    RES_Use(WGT_Res(WIN_Wgt(w)));
    wins_.push_back(w);
    return w;
  }
  // Clicks a widget at a point of its own and runs the loop until the
  // release has been processed.
  void clickOn(WgtPtr w, int x, int y) { tktest::clickAt(driver_.get(), w, x, y); }
  // A click at a screen point, a key with its modifiers, or a press and
  // release at the pointer (buttons 4 to 7 are the wheel's steps); then the
  // loop until quiet.
  void clickAt(_Point16Rec p, int button = 1) {
    driver_->click(p.X, p.Y, button);
    settle();
  }
  void key(KeySym sym, KeySym mod1 = NoSymbol, KeySym mod2 = NoSymbol) {
    driver_->key(sym, mod1, mod2);
    settle();
  }
  void tap(int button) {
    driver_->press(button);
    driver_->release(button);
    settle();
  }
  // Presses button 1 at from, moves to to and releases there.  A drag is a
  // loop of its own: the move and the release are scripted by alarms, which
  // run inside it.  False when the drag did not end.
  bool drag(_Point16Rec from, _Point16Rec to, int moveAtMs = 150, int releaseAtMs = 300) {
    dragTo_ = to;
    EVENT_StartCBackAlarmDS([](ClientPtr d) {
      auto* t = static_cast<ToolkitTest*>(d);
      t->driver_->moveTo(t->dragTo_.X, t->dragTo_.Y);
    }, this, moveAtMs);
    EVENT_StartCBackAlarmDS([](ClientPtr d) { static_cast<ToolkitTest*>(d)->driver_->release(1); }, this,
                            releaseAtMs);
    driver_->moveTo(from.X, from.Y);
    driver_->press(1);
    bool ended = runUntil([&] { return TIMER_GetQueuedCount() == 0 && !EVENT_IsTracking(); });
    settle();
    return ended;
  }
  // Runs the loop until nothing is waiting for a moment.
  static void settle(int quietMs = 60) { tktest::settle(quietMs); }
  std::unique_ptr<owbtest::XTestDriver> driver_;
  std::vector<WinPtr> wins_;
  _Point16Rec dragTo_{0, 0};
};

// Loads a library of the build's installation tree unless it is loaded
// (by default the one of the test windows); false when it is not there.
inline bool loadTestLibrary(const char* name = "wgtdemo", const char* file = "wgtdemo.dat") {
  if (RLIB_Find(name)) return true;
  setenv("ND_PATH", (owbtest::installTree() + "/bin/resource").c_str(), 1);
  ErrTrace frame("Test", __FILE__, __LINE__);
  return ERR_TryRecoverFn(frame, [&] { RLIB_LoadLibFile(name, file); });
}

}  // namespace tktest

#endif  // OWB_TESTS_TOOLKIT_TK_FIXTURE_H
