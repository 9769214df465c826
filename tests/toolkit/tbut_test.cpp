// Text buttons driven by real input: the press-track-release sequence,
// radio groups, the default button, accelerator keys.
#include <gtest/gtest.h>

#include "tests/toolkit/tk_fixture.h"

namespace {

using tktest::ToolkitTest;

class TButTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    win_ = keep(tktest::newWin(200, 200, 420, 220, "buttons"));
    push_ = tktest::addButton(WIN_Panel(win_), "Push", 10, 10, 100, 32);
    toggle_ = tktest::addButton(WIN_Panel(win_), "Toggle", 10, 60, 140, 24, TBUT_MODETOGGLE);
    group_ = tktest::addPanel(WIN_Panel(win_), 200, 10, 200, 120);
    for (int i = 0; i < 3; i++)
      radio_[i] = tktest::addButton(group_, i == 0 ? "One" : i == 1 ? "Two" : "Three", 0, i * 30, 150, 24,
                                    TBUT_MODERADIO);
    ok_ = tktest::addButton(WIN_Panel(win_), "OK", 10, 150, 100, 32);
    ok_->DefButton = 1;
    for (TButPtr b : {push_, toggle_, radio_[0], radio_[1], radio_[2], ok_}) tktest::logTo(TBUT_Wgt(b), &log_);
    WIN_Init(win_);
    ASSERT_TRUE(tktest::showFocused(win_));
  }
  WinPtr win_ = nullptr;
  TButPtr push_ = nullptr, toggle_ = nullptr, ok_ = nullptr, radio_[3] = {};
  PanelPtr group_ = nullptr;
  tktest::NfyLog log_;
};

TEST_F(TButTest, APressReleasedInsideHitsAndOneReleasedOutsideDoesNot) {
  clickOn(TBUT_Wgt(push_), 50, 16);
  EXPECT_EQ(log_.count(TBUT_Wgt(push_), TBUT_NFYHIT), 1);
  EXPECT_EQ(log_.count(TBUT_Wgt(push_), TBUT_NFYPROPOSE), 1);

  // Pressed, then dragged off and released there: shown pressed while over
  // it, not once off it (looked at by alarms, which run inside the track's
  // own loop), and no hit.
  static bool pressedInside, pressedOutside;
  pressedInside = false, pressedOutside = true;
  EVENT_StartCBackAlarmDS([](ClientPtr b) { pressedInside = static_cast<TButPtr>(b)->Pressed; }, push_, 80);
  EVENT_StartCBackAlarmDS([](ClientPtr b) { pressedOutside = static_cast<TButPtr>(b)->Pressed; }, push_, 230);
  _Point16Rec in = tktest::absOf(TBUT_Wgt(push_), 50, 16);
  ASSERT_TRUE(drag(in, {static_cast<int16_t>(in.X + 200), static_cast<int16_t>(in.Y + 100)}));
  EXPECT_TRUE(pressedInside);
  EXPECT_FALSE(pressedOutside);
  EXPECT_FALSE(push_->Pressed);
  EXPECT_EQ(log_.count(TBUT_Wgt(push_), TBUT_NFYHIT), 1);

  // Other mouse buttons do not press it.
  driver_->moveTo(in.X, in.Y);
  tap(3);
  EXPECT_EQ(log_.count(TBUT_Wgt(push_), TBUT_NFYPROPOSE), 2);

  // A toggle flips on each click.
  clickOn(TBUT_Wgt(toggle_), 10, 12);
  EXPECT_TRUE(TBUT_GetSelected(toggle_));
  clickOn(TBUT_Wgt(toggle_), 10, 12);
  EXPECT_FALSE(TBUT_GetSelected(toggle_));
  EXPECT_EQ(log_.count(TBUT_Wgt(toggle_), TBUT_NFYHIT), 2);
}

TEST_F(TButTest, RadioButtonsOfOnePanelSelectOneAtATime) {
  EXPECT_EQ(TBUT_PanelGetSelectedRadio(group_), nullptr);
  TBUT_Select(radio_[0]);
  EXPECT_EQ(TBUT_PanelGetSelectedRadio(group_), radio_[0]);
  EXPECT_EQ(log_.count(TBUT_NFYHIT), 0);  // only the user's action hits
  clickOn(TBUT_Wgt(radio_[2]), 8, 12);
  EXPECT_EQ(TBUT_PanelGetSelectedRadio(group_), radio_[2]);
  EXPECT_FALSE(TBUT_GetSelected(radio_[0]));
  EXPECT_EQ(log_.count(TBUT_Wgt(radio_[2]), TBUT_NFYHIT), 1);
  // Selecting the selected one changes nothing.
  TBUT_Select(radio_[2]);
  EXPECT_EQ(TBUT_PanelGetSelectedRadio(group_), radio_[2]);
  TBUT_Unselect(radio_[2]);
  EXPECT_EQ(TBUT_PanelGetSelectedRadio(group_), nullptr);
  TBUT_SetSelected(radio_[1], 1);
  EXPECT_TRUE(TBUT_GetSelected(radio_[1]));
  // A radio button in another panel is of another group.
  TBUT_Select(toggle_);
  EXPECT_TRUE(TBUT_GetSelected(radio_[1]));
}

TEST_F(TButTest, ReturnPressesTheDefaultButtonAndAcceleratorsTheirs) {
  EXPECT_EQ(WIN_GetDefWgt(win_), TBUT_Wgt(ok_));
  key(XK_Return);
  EXPECT_EQ(log_.count(TBUT_Wgt(ok_), TBUT_NFYHIT), 1);
  EXPECT_TRUE(ok_->Pressed);  // shown pressed for a moment
  ASSERT_TRUE(tktest::runUntil([&] { return !ok_->Pressed; }));

  TBUT_SetAccelKeys(push_, "Alt+p F5");
  key(XK_p, XK_Alt_L);
  EXPECT_EQ(log_.count(TBUT_Wgt(push_), TBUT_NFYHIT), 1);
  key(XK_F5);
  EXPECT_EQ(log_.count(TBUT_Wgt(push_), TBUT_NFYHIT), 2);
  key(XK_p);  // without Alt it is no accelerator
  EXPECT_EQ(log_.count(TBUT_Wgt(push_), TBUT_NFYHIT), 2);

  // A new default takes over; removing it leaves the window without one.
  TBUT_SetDefButton(push_);
  EXPECT_EQ(WIN_GetDefWgt(win_), TBUT_Wgt(push_));
  EXPECT_FALSE(TBUT_IsDefButton(ok_));
  key(XK_Return);
  EXPECT_EQ(log_.count(TBUT_Wgt(push_), TBUT_NFYHIT), 3);
  EXPECT_EQ(log_.count(TBUT_Wgt(ok_), TBUT_NFYHIT), 1);
  PANEL_RemoveWgt(WIN_Panel(win_), TBUT_Wgt(push_));
  EXPECT_EQ(WIN_GetDefWgt(win_), nullptr);
  RES_Release(WGT_Res(TBUT_Wgt(push_)));
  key(XK_Return);
  EXPECT_EQ(log_.count(TBUT_Wgt(ok_), TBUT_NFYHIT), 1);
}

TEST_F(TButTest, SpacePressesTheFocusButtonAndDisabledButtonsRefuse) {
  ASSERT_TRUE(WGT_GainFocus(TBUT_Wgt(toggle_)));
  key(XK_space);
  EXPECT_TRUE(TBUT_GetSelected(toggle_));
  // Return still goes to the default button while another has the focus.
  key(XK_Return);
  EXPECT_EQ(log_.count(TBUT_Wgt(ok_), TBUT_NFYHIT), 1);
  EXPECT_EQ(log_.count(TBUT_Wgt(toggle_), TBUT_NFYHIT), 1);
  ASSERT_TRUE(tktest::runUntil([&] { return !ok_->Pressed; }));
  WGT_Disable(TBUT_Wgt(ok_));
  key(XK_Return);
  EXPECT_EQ(log_.count(TBUT_Wgt(ok_), TBUT_NFYHIT), 1);
  WGT_Send(TBUT_Wgt(ok_), TBUT_NFYPROPOSE);
  EXPECT_EQ(log_.count(TBUT_Wgt(ok_), WGT_NFYCANTPROCESSEVENT), 1);
}

}  // namespace
