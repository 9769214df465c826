// Windows, panels and the widget base on a real X server: routing of
// clicks through panels, redrawing after an uncovering, the life of a
// window, enabling, geometry.
#include <gtest/gtest.h>

#include "tests/toolkit/tk_fixture.h"

namespace {

using tktest::ToolkitTest;

TEST(WgtGeometryTest, ResizeModesFollowTheParent) {
  _Rect16Rec box = RECT16_Make(10, 20, 30, 40);
  _Point16Rec oldExt{100, 200}, newExt{200, 300};
  // Horizontal modes with the vertical one at 5 (nothing changes).
  auto h = [&](UInt16 mode) { return WgtQueryNewBox(box, static_cast<UInt16>(mode | 5 << 4), oldExt, newExt); };
  EXPECT_TRUE(RECT16_Equal(h(0), RECT16_Make(20, 20, 60, 40)));  // proportional
  EXPECT_TRUE(RECT16_Equal(h(1), RECT16_Make(10, 20, 63, 40)));  // 30 * 190 / 90
  EXPECT_TRUE(RECT16_Equal(h(2), RECT16_Make(35, 20, 105, 40)));  // right edge 40 -> 140
  EXPECT_TRUE(RECT16_Equal(h(3), RECT16_Make(10, 20, 130, 40)));
  EXPECT_TRUE(RECT16_Equal(h(4), RECT16_Make(24, 20, 30, 40)));  // 10 * 170 / 70
  EXPECT_TRUE(RECT16_Equal(h(5), box));
  EXPECT_TRUE(RECT16_Equal(h(6), RECT16_Make(110, 20, 30, 40)));
  EXPECT_TRUE(RECT16_Equal(WgtQueryNewBox(box, 5 | 6 << 4, oldExt, newExt), RECT16_Make(10, 120, 30, 40)));
  // A scaled width never falls to 0, and a zero divisor changes nothing.
  EXPECT_EQ(WgtQueryNewBox(RECT16_Make(0, 0, 1, 1), 0, _Point16Rec{100, 100}, _Point16Rec{10, 10}).Extent.X, 1);
  // Both directions at once.
  EXPECT_TRUE(RECT16_Equal(WgtQueryNewBox(box, 3 | 6 << 4, oldExt, newExt), RECT16_Make(10, 120, 130, 40)));
  EXPECT_TRUE(RECT16_Equal(WgtQueryNewBox(box, 0, _Point16Rec{0, 0}, newExt), box));
  // Character cells and pixels.
  EXPECT_TRUE(RECT16_Equal(WGT_ChrToGfx(RECT16_Make(1, 2, 3, 4)), RECT16_Make(8, 40, 24, 80)));
  EXPECT_TRUE(RECT16_Equal(WGT_GfxToChr(RECT16_Make(12, 30, 20, 9)), RECT16_Make(2, 2, 3, 0)));
}

TEST_F(ToolkitTest, AClickReachesTheTopEnabledChildThroughNestedPanels) {
  WinPtr win = keep(tktest::newWin(30, 30, 400, 300, "routing"));
  PanelPtr outer = tktest::addPanel(WIN_Panel(win), 20, 20, 300, 200);
  TButPtr below = tktest::addButton(outer, "Below", 10, 10, 200, 100);  // Index 0
  PanelPtr inner = tktest::addPanel(outer, 50, 30, 200, 120);            // Index 1, over it
  TButPtr disabled = tktest::addButton(inner, "Off", 0, 0, 100, 60);
  TButPtr other = tktest::addButton(inner, "Other", 100, 60, 100, 60);
  WIN_Init(win);
  tktest::NfyLog log;
  for (TButPtr b : {below, disabled, other}) tktest::logTo(TBUT_Wgt(b), &log);
  WGT_Disable(TBUT_Wgt(disabled));
  ASSERT_TRUE(tktest::showAndWait(win));

  // Over the disabled button, which lies over "Below": "Below" gets it.
  clickOn(TBUT_Wgt(disabled), 20, 20);
  EXPECT_EQ(log.count(TBUT_Wgt(disabled), WGT_NFYMOUSECLICK), 0);
  EXPECT_EQ(log.count(TBUT_Wgt(below), TBUT_NFYHIT), 1);
  EXPECT_EQ(WIN_Panel(win)->MouseWgt, PANEL_Wgt(outer));
  EXPECT_EQ(outer->MouseWgt, TBUT_Wgt(below));

  clickOn(TBUT_Wgt(other), 50, 30);
  EXPECT_EQ(log.count(TBUT_Wgt(other), TBUT_NFYHIT), 1);
  EXPECT_EQ(log.count(TBUT_Wgt(below), TBUT_NFYHIT), 1);
  EXPECT_EQ(log.count(TBUT_Wgt(below), WGT_NFYMOUSEOUT), 1);  // the mouse went to another

  // A disabled panel disables what it holds.
  WGT_Disable(PANEL_Wgt(inner));
  EXPECT_FALSE(WGT_IsEnabled(TBUT_Wgt(other)));
  EXPECT_FALSE(TBUT_Wgt(other)->Disabled);
  WGT_Enable(PANEL_Wgt(inner));
  Int enables = log.count(WGT_NFYENABLE);
  WGT_Enable(TBUT_Wgt(other));  // already enabled: nothing is sent
  EXPECT_EQ(log.count(WGT_NFYENABLE), enables);
}

TEST_F(ToolkitTest, UncoveringAWindowRedrawsJustWhatWasUnderneath) {
  WinPtr win = keep(tktest::newWin(500, 300, 300, 200, "expose"));
  WIN_Init(win);
  TButPtr a = tktest::addButton(WIN_Panel(win), "Left", 10, 10, 100, 40);
  TButPtr b = tktest::addButton(WIN_Panel(win), "Right", 180, 140, 100, 40);
  tktest::NfyLog log;
  tktest::logTo(TBUT_Wgt(a), &log);
  tktest::logTo(TBUT_Wgt(b), &log);
  ASSERT_TRUE(tktest::showAndWait(win));
  EXPECT_EQ(log.count(TBUT_Wgt(a), WGT_NFYREDRAW), 1);
  EXPECT_EQ(log.count(TBUT_Wgt(b), WGT_NFYREDRAW), 1);

  // Another client's window over the left button, then taken away.
  Display* other = driver_->display();
  Window cover = XCreateSimpleWindow(other, DefaultRootWindow(other), 500, 300, 150, 80, 0, 0, 0);
  XMapRaised(other, cover);
  XSync(other, False);
  settle();
  XDestroyWindow(other, cover);
  XSync(other, False);
  ASSERT_TRUE(tktest::runUntil([&] { return log.count(TBUT_Wgt(a), WGT_NFYREDRAW) == 2; }));
  settle();
  EXPECT_EQ(log.count(TBUT_Wgt(b), WGT_NFYREDRAW), 1);  // it was never covered
}

long terminateOnHit(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) {
    WinPtr win = WGT_FromRes(res)->Win;
    *static_cast<BoolEnum*>(res->ClientData) = WIN_TerminateGetStatus(win);
    // Still alive until this notification has returned.
    EXPECT_EQ(WIN_GetState(win), WIN_STATETERMINATED);
    EXPECT_EQ(TBUT_GetLabel(TBUT_FromWgt(WGT_FromRes(res)))[0], 'Q');
  }
  return TBUT_DefNfy(res, message, data);
}

long refuseTerminate(ResPtr res, Int message, ClientPtr data) {
  if (message == WIN_NFYTERMINATE && res->ClientData) return 0;  // not passed on: refused
  return WIN_DefNfy(res, message, data);
}

TEST_F(ToolkitTest, TerminationHappensAfterTheHandlerAndCloseBoxesAsk) {
  WinPtr win = tktest::newWin(60, 400, 250, 120, "life");
  WIN_Init(win);
  TButPtr quit = tktest::addButton(WIN_Panel(win), "Quit", 20, 20, 100, 30);
  BoolEnum status = 0;
  RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(quit)), terminateOnHit, &status);
  ASSERT_TRUE(tktest::showAndWait(win));
  EXPECT_EQ(WIN_GetState(win), WIN_STATEOPEN);
  Int open = WIN_GetNumOpen();
  EXPECT_TRUE(WIN_Show(win));  // already open: to the front, no change
  EXPECT_EQ(WIN_GetState(win), WIN_STATEOPEN);
  EXPECT_EQ(WIN_GetNumOpen(), open);
  NatWinId nat = WIN_GetNatWin(win);
  clickOn(TBUT_Wgt(quit), 10, 10);
  EXPECT_TRUE(status);
  EXPECT_EQ(WinFromNatWin(nat), nullptr);  // gone after the recalculation

  // A close box goes through the same request, which a window may refuse.
  WinPtr keepMe = keep(tktest::newWin(60, 400, 250, 120, "stays"));
  WIN_Init(keepMe);
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(keepMe)), refuseTerminate, reinterpret_cast<ClientPtr>(1));
  ASSERT_TRUE(tktest::showAndWait(keepMe));
  driver_->closeBox(WIN_GetNatWin(keepMe));
  settle();
  EXPECT_EQ(WIN_GetState(keepMe), WIN_STATEOPEN);
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(keepMe)), refuseTerminate, nullptr);
  driver_->closeBox(WIN_GetNatWin(keepMe));
  settle();
  EXPECT_EQ(WIN_GetState(keepMe), WIN_STATETERMINATED);
}

TEST_F(ToolkitTest, GeometryClampsAndFollowsTheServer) {
  WinPtr win = keep(tktest::newWin(50, 50, 300, 200, "geometry"));
  win->MinWidth = 400;  // the minimum is applied last and wins
  win->MaxWidth = 350;
  TButPtr stretch = tktest::addButton(WIN_Panel(win), "Wide", 10, 10, 280, 30);
  TBUT_Wgt(stretch)->RzFlags = 3;  // width follows the window
  WIN_Init(win);
  EXPECT_EQ(WIN_Wgt(win)->Box.Extent.X, 400);
  ASSERT_TRUE(tktest::showAndWait(win));
  _Point16Rec ext{500, 250};
  WIN_Configure(win, nullptr, &ext);
  EXPECT_EQ(WIN_Wgt(win)->Box.Extent.X, 400);  // clamped again
  win->MaxWidth = 0;
  WIN_Configure(win, nullptr, &ext);
  EXPECT_EQ(WIN_Wgt(win)->Box.Extent.X, 500);
  EXPECT_EQ(TBUT_Wgt(stretch)->Box.Extent.X, 380);
  ASSERT_TRUE(tktest::runUntil([&] {
    _Rect16Rec b;
    return DSPLY_QueryWinBox(WIN_GetNatWin(win), &b) && b.Extent.X == 500;
  }));
}

TEST_F(ToolkitTest, BoxesComeFromCharacterCellsAndScaleWithTheResolution) {
  WinPtr win = keep(tktest::newWin(0, 0, 200, 100, "boxes"));
  TButPtr cells = tktest::addButton(WIN_Panel(win), "cells", 0, 0, 0, 0);
  TBUT_Wgt(cells)->ChrResBox = RECT16_Make(1, 1, 10, 1);
  WIN_Wgt(win)->ResBox = RECT16_Make(0, 0, 200, 100);
  win->DpiX = 48;  // the template was made at half this screen's resolution
  win->DpiY = 48;
  WIN_Init(win);
  EXPECT_TRUE(RECT16_Equal(TBUT_Wgt(cells)->Box, RECT16_Make(16, 40, 160, 40)));
  EXPECT_TRUE(RECT16_Equal(WIN_Wgt(win)->Box, RECT16_Make(0, 0, 400, 200)));
}

}  // namespace
