// Panels beyond routing: composite widgets, the stored focus order and the
// key widget, propagation of messages, the box with children following.
#include <gtest/gtest.h>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/panelmore.h"

namespace {

using tktest::ToolkitTest;

// A part that takes every click it is offered.
long takeClicks(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYMOUSECLICK) {
    (*static_cast<int*>(res->ClientData))++;
    WGT_MouseHandled(WGT_FromRes(res));
    return 0;
  }
  return RCLAS_ProcessDefNfy(res->ResClass, res, message, data);
}

TEST_F(ToolkitTest, CompositeWidgetsTakeClicksBeforeChildrenAndLiveWithThePanel) {
  WinPtr win = keep(tktest::newWin(60, 60, 300, 200, "Compo"));
  PanelPtr panel = tktest::addPanel(WIN_Panel(win), 0, 0, 300, 200);
  TButPtr child = tktest::addButton(panel, "Child", 10, 10, 100, 30);
  WIN_Init(win);
  ASSERT_TRUE(tktest::showAndWait(win));
  // A part lying over the child, added to a live panel: initialised at once.
  WgtPtr part = WGT_Create();
  part->ResBox = RECT16_Make(10, 10, 100, 30);
  int partClicks = 0;
  RES_SetNfyProcDS(WGT_Res(part), takeClicks, &partClicks);
  PANEL_AddCompoWgt(panel, part);
  EXPECT_TRUE(WGT_Res(part)->ResInitialized);
  EXPECT_EQ(PANEL_GetNumWgts(panel), 1);  // not a child
  tktest::NfyLog log;
  tktest::logTo(TBUT_Wgt(child), &log);
  settle();
  clickOn(TBUT_Wgt(child), 20, 15);
  EXPECT_EQ(partClicks, 1);
  EXPECT_EQ(log.count(TBUT_Wgt(child), TBUT_NFYHIT), 0);

  // Taken out, the part ends and the click reaches the child.
  PANEL_RemoveCompoWgt(panel, part);
  EXPECT_FALSE(WGT_Res(part)->ResInitialized);
  EXPECT_EQ(PANEL_GetNumCompoWgts(panel), 0);
  clickOn(TBUT_Wgt(child), 20, 15);
  EXPECT_EQ(partClicks, 1);
  EXPECT_EQ(log.count(TBUT_Wgt(child), TBUT_NFYHIT), 1);

  // Given back, it is released with the panel.
  ResPtr partRes = WGT_Res(part);
  RES_SetNfyProcDS(partRes, RCLAS_GetDefNfy(partRes->ResClass), nullptr);
  WgtPtr first = WGT_Create();
  PANEL_AddCompoWgt(panel, part);
  PANEL_AddCompoWgtAtIndex(panel, first, 0);
  EXPECT_EQ(PANEL_GetNthCompoWgt(panel, 0), first);
  RES_Use(partRes);
  EXPECT_EQ(RES_GetRefCount(partRes), 2);
  TearDown();
  EXPECT_EQ(RES_GetRefCount(partRes), 1);
  RES_Release(partRes);
}

long answerProtocol(ResPtr res, Int message, ClientPtr data) {
  if (message == 999) return reinterpret_cast<long>(res->ClientData);
  return RCLAS_ProcessDefNfy(res->ResClass, res, message, data);
}

TEST_F(ToolkitTest, PanelFocusOrderKeyWidgetPropagationAndBox) {
  WinPtr win = keep(tktest::newWin(60, 60, 300, 200, "Order"));
  PanelPtr top = WIN_Panel(win);
  TButPtr a = tktest::addButton(top, "a", 10, 10, 60, 24);
  TButPtr b = tktest::addButton(top, "b", 80, 10, 60, 24);
  TButPtr c = tktest::addButton(top, "c", 150, 10, 60, 24);
  PanelPtr sub = tktest::addPanel(top, 10, 50, 200, 100);
  TButPtr d = tktest::addButton(sub, "d", 10, 10, 60, 24);
  TBUT_Wgt(d)->RzFlags = 3;  // the width follows the panel's
  WIN_Init(win);

  // Only the listed widgets take the focus on tab, in the list's order.
  PANEL_AddFocusWgt(top, TBUT_Wgt(c));
  PANEL_AddFocusWgtAtIndex(top, TBUT_Wgt(a), 0);
  std::vector<WgtPtr> visited;
  for (int i = 0; i < 4; i++) {
    PANEL_FocusOnNextWgt(top);
    visited.push_back(top->FocusWgt);
  }
  // After the last one the window holds no focus for one step.
  EXPECT_EQ(visited, (std::vector<WgtPtr>{TBUT_Wgt(a), TBUT_Wgt(c), nullptr, TBUT_Wgt(a)}));
  PANEL_RemoveFocusWgt(top, TBUT_Wgt(c));
  PANEL_FocusOnNextWgt(top);
  PANEL_FocusOnNextWgt(top);
  EXPECT_EQ(top->FocusWgt, TBUT_Wgt(a));
  // A widget made invisible loses the focus.
  tktest::NfyLog log;
  tktest::logTo(TBUT_Wgt(a), &log);
  WGT_SetInvisible(TBUT_Wgt(a));
  EXPECT_EQ(log.count(WGT_NFYFOCUSLOST), 1);
  EXPECT_EQ(top->FocusWgt, nullptr);
  WGT_SetVisible(TBUT_Wgt(a));

  // The key widget is set down the chain without asking anyone.
  log.entries.clear();
  tktest::logTo(TBUT_Wgt(d), &log);
  PANEL_SetKeyWgt(top, TBUT_Wgt(d));
  EXPECT_EQ(PANEL_GetDeepFocusWgt(top), TBUT_Wgt(d));
  EXPECT_EQ(log.count(WGT_NFYGAINFOCUS), 0);
  EXPECT_EQ(log.count(WGT_NFYFOCUSGAINED), 1);

  // Propagation: all children (not deeper), those a user reaches (deep),
  // and the first from the top that answers.
  for (TButPtr t : {a, b, c}) tktest::logTo(TBUT_Wgt(t), &log);
  WGT_Disable(TBUT_Wgt(b));
  log.entries.clear();
  PANEL_Propagate(top, 998, nullptr);
  EXPECT_EQ(log.count(998), 3);
  PANEL_PropagateAccessWgts(top, 997, nullptr);
  EXPECT_EQ(log.count(TBUT_Wgt(b), 997), 0);
  EXPECT_EQ(log.count(TBUT_Wgt(d), 997), 1);
  EXPECT_EQ(log.count(997), 3);
  for (TButPtr t : {a, b, c}) RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(t)), answerProtocol, nullptr);
  EXPECT_EQ(PANEL_PropagateProtocol(top, 999, nullptr), nullptr);
  RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(a)), answerProtocol, reinterpret_cast<ClientPtr>(1));
  RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(b)), answerProtocol, reinterpret_cast<ClientPtr>(1));
  EXPECT_EQ(PANEL_PropagateProtocol(top, 999, nullptr), TBUT_Wgt(b));

  // A wider box widens the child that follows the width.
  Int16 before = TBUT_Wgt(d)->Box.Extent.X;
  PANEL_SetBox(sub, RECT16_Make(10, 50, 260, 100));
  EXPECT_EQ(TBUT_Wgt(d)->Box.Extent.X, before + 60);
  PANEL_SetResBox(sub, RECT16_Make(10, 50, 200, 100));
  EXPECT_EQ(PANEL_Wgt(sub)->ResBox.Extent.X, 200);
  EXPECT_EQ(TBUT_Wgt(d)->Box.Extent.X, before + WGT_ScaleX16(PANEL_Wgt(sub), 200) - 200);

  tktest::logTo(TBUT_Wgt(c), &log);
  PANEL_SetMouseWgt(top, TBUT_Wgt(c));
  log.entries.clear();
  PANEL_DefMouseOut(top);
  EXPECT_EQ(top->MouseWgt, nullptr);
  EXPECT_EQ(log.count(TBUT_Wgt(c), WGT_NFYMOUSEOUT), 1);
}

}  // namespace
