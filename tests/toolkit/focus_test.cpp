// Keyboard focus driven by real keys: the focus order of the test window
// loaded from its template, radio groups, refusals, the panel's own key
// lists, accelerators.
#include <gtest/gtest.h>

#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/kylst.h"

namespace {

using tktest::ToolkitTest;

class FocusTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    ASSERT_TRUE(tktest::loadTestLibrary());
    win_ = keep(WIN_LoadInit("wgtdemo", "TestWindow"));
    WGT_Disable(child(6));
    ASSERT_TRUE(tktest::showFocused(win_));
  }
  WgtPtr child(Int i) { return PANEL_GetNthWgt(WIN_Panel(win_), i); }
  WgtPtr radio(Int i) { return PANEL_GetNthWgt(reinterpret_cast<PanelPtr>(child(3)), i); }
  WgtPtr focus() { return PANEL_GetDeepFocusWgt(WIN_Panel(win_)); }
  // The focus after each of n presses of a key.
  std::vector<WgtPtr> walk(int n, KeySym key, KeySym mod = NoSymbol) {
    std::vector<WgtPtr> seen;
    for (int i = 0; i < n; i++) {
      driver_->key(key, mod);
      settle(20);
      seen.push_back(focus());
    }
    return seen;
  }
  WinPtr win_ = nullptr;
};

TEST_F(FocusTest, TabAndShiftTabWalkTheWindowAndLeaveARadioGroupWithOneKey) {
  // The label takes no focus, the disabled button is passed over, and the
  // radio group is entered at its first button and left with one Tab.
  // After the last widget the window holds no focus for one step.
  EXPECT_EQ(walk(7, XK_Tab),
            (std::vector<WgtPtr>{child(1), child(2), radio(0), child(4), child(5), nullptr, child(1)}));
  EXPECT_TRUE(WGT_HasFocus(child(1), 1));
  // Backwards the group is entered from its end and left with one key.
  EXPECT_EQ(walk(6, XK_Tab, XK_Shift_L),
            (std::vector<WgtPtr>{nullptr, child(5), child(4), radio(2), child(2), child(1)}));

  // The arrows move within the group, round its ends, and only there.
  tktest::NfyLog log;
  for (Int i = 0; i < 3; i++) tktest::logTo(radio(i), &log);
  driver_->key(XK_Tab);
  driver_->key(XK_Tab);
  settle(20);
  ASSERT_EQ(focus(), radio(0));
  // An arrow chooses the radio button it lands on, with the hit of a click;
  // Tab into the group chose nothing.
  EXPECT_EQ(log.count(TBUT_NFYHIT), 0);
  EXPECT_EQ(walk(3, XK_Down), (std::vector<WgtPtr>{radio(1), radio(2), radio(0)}));
  EXPECT_EQ(walk(1, XK_Up), (std::vector<WgtPtr>{radio(2)}));
  EXPECT_EQ(TBUT_PanelGetSelectedRadio(reinterpret_cast<PanelPtr>(child(3))), TBUT_FromWgt(radio(2)));
  EXPECT_EQ(log.count(radio(2), TBUT_NFYHIT), 2);
  EXPECT_EQ(log.count(TBUT_NFYHIT), 4);
  WGT_GainFocus(child(1));
  EXPECT_EQ(walk(1, XK_Down), (std::vector<WgtPtr>{child(1)}));

  // Invisible and disabled widgets are passed over, as is one that refuses.
  WGT_SetInvisible(child(2));
  WGT_Disable(radio(0));
  EXPECT_EQ(walk(2, XK_Tab), (std::vector<WgtPtr>{radio(1), child(4)}));
  RES_SetNfyProcDS(
      WGT_Res(child(5)),
      [](ResPtr res, Int message, ClientPtr data) -> long {
        long r = TBUT_DefNfy(res, message, data);
        if (message == WGT_NFYGAINFOCUS) WGT_SetGainFocusAccepted(0);
        return r;
      },
      nullptr);
  EXPECT_EQ(walk(2, XK_Tab), (std::vector<WgtPtr>{nullptr, child(1)}));
}

TEST_F(FocusTest, APanelsOwnKeyListsReplaceTheDefaultOnes) {
  PanelPtr panel = WIN_Panel(win_);
  ASSERT_NE(panel->KeysNext, nullptr);
  EXPECT_STREQ(KYLST_GetKeys(reinterpret_cast<KyLstPtr>(panel->KeysNext)), "Tab");
  EXPECT_STREQ(KYLST_GetKeys(reinterpret_cast<KyLstPtr>(panel->KeysPrevInGroup)), "Up Left");
  RES_Release(panel->KeysNext);
  panel->KeysNext = WGT_Res(reinterpret_cast<WgtPtr>(KYLST_New("F6 Ctrl+n")));
  EXPECT_EQ(walk(1, XK_F6), (std::vector<WgtPtr>{child(1)}));
  EXPECT_EQ(walk(1, XK_n, XK_Control_L), (std::vector<WgtPtr>{child(2)}));
  EXPECT_EQ(walk(1, XK_Tab), (std::vector<WgtPtr>{child(2)}));  // no longer a focus key
  EXPECT_EQ(walk(1, XK_F6, XK_Shift_L), (std::vector<WgtPtr>{child(2)}));  // modifiers must match

  // What the template gave: names to look widgets up by, the toggle's
  // mode, and Cancel's accelerator (Escape).
  EXPECT_EQ(PANEL_GetNamedWgt(panel, "choice.warm"), radio(1));
  EXPECT_EQ(PANEL_GetNamedWgt(panel, "WARM"), radio(1));
  EXPECT_EQ(TBUT_GetMode(TBUT_FromWgt(child(2))), TBUT_MODETOGGLE);
  tktest::NfyLog cancelLog;
  tktest::logTo(child(5), &cancelLog);
  key(XK_Escape);
  EXPECT_EQ(cancelLog.count(TBUT_NFYHIT), 1);
}

}  // namespace
