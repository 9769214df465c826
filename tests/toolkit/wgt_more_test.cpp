// The widget base's calls for classes and layout code: scaling between
// resource and screen, resizing through the panel, visible regions made
// now, copies, focus validation; and the text button's label calls.
#include <gtest/gtest.h>

#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/panelmore.h"
#include "toolkit/tbutlabel.h"
#include "toolkit/wgtmore.h"

namespace {

using tktest::ToolkitTest;

// A panel procedure that places every widget it is asked about 5 pixels
// further right than the plain conversion.
long shiftingPanel(ResPtr res, Int message, ClientPtr data) {
  if (message == PANEL_NFYWGTBOXCONVT) {
    static_cast<_PanelNfyWgtBoxConvtRec*>(data)->Out.Origin.X += 5;
    return 0;
  }
  return RCLAS_ProcessDefNfy(res->ResClass, res, message, data);
}

long validity(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYQUERYVALIDATE) {
    auto* q = static_cast<_WgtQueryValidateRec*>(data);
    q->Valid = q->ReqWgt && res->ClientData != nullptr;
    return 0;
  }
  return RCLAS_ProcessDefNfy(res->ResClass, res, message, data);
}

TEST_F(ToolkitTest, WidgetScalingResizeVisibleRegionCopiesAndValidation) {
  WinPtr win = keep(tktest::newWin(60, 60, 300, 200, "Widgets"));
  win->DpiX = win->DpiY = 48;  // resources made for half the usual resolution
  PanelPtr panel = tktest::addPanel(WIN_Panel(win), 0, 0, 140, 100);
  TButPtr a = tktest::addButton(panel, "a", 10, 10, 40, 12);
  TButPtr cover = tktest::addButton(panel, "cover", 30, 0, 40, 40);
  WIN_Init(win);
  WgtPtr wa = TBUT_Wgt(a);

  // Scaling and back, by the screen's resolution over the window's.
  Int dpi = DSPLY_GetScreenDpi();
  _Point16Rec p{10, 20};
  WGT_ScalePoint16(wa, &p);
  EXPECT_EQ(std::vector<int>({p.X, p.Y}), std::vector<int>({10 * dpi / 48, 20 * dpi / 48}));
  WGT_UnscalePoint16(wa, &p);
  EXPECT_EQ(std::vector<int>({p.X, p.Y}), std::vector<int>({10, 20}));
  _Rect16Rec box, res, back = RECT16_Make(4, 6, 40, 12);
  WGT_ConvertResBoxToBox(wa, back, &box);
  WGT_ConvertBoxToResBox(wa, box, &res);
  EXPECT_TRUE(RECT16_Equal(res, back));
  WGT_UnscaleRect16(wa, &box);
  EXPECT_TRUE(RECT16_Equal(box, back));

  // The panel decides the box of a widget that resizes itself.
  RES_SetNfyProcDS(PANEL_Res(panel), shiftingPanel, nullptr);
  tktest::NfyLog log;
  tktest::logTo(wa, &log);
  WGT_SetResBox(wa, RECT16_Make(10, 10, 50, 12));
  WGT_SelfResize(wa);
  _Rect16Rec expected;
  WGT_ConvertResBoxToBox(wa, RECT16_Make(10, 10, 50, 12), &expected);
  expected.Origin.X += 5;
  EXPECT_TRUE(RECT16_Equal(wa->Box, expected));
  EXPECT_EQ(log.count(WGT_NFYRESIZE), 1);
  WGT_SelfResize(wa);  // nothing changes the second time
  EXPECT_EQ(log.count(WGT_NFYRESIZE), 1);

  // A region worked out now sees a sibling that moved over it meanwhile.
  WgtPtr wc = TBUT_Wgt(cover);
  wc->Box = RECT16_Make(200, 0, 10, 10);
  WGT_VisRgnInvalBelow(PANEL_Wgt(panel));
  _Point16Rec o = WGT_QueryWinOrigin(wa);
  ASSERT_TRUE(RGN_ContainsPoint(WGT_GetVisRgn(wa), o.X + 12, o.Y + 2));
  wc->Box = wa->Box;  // moved without telling anyone
  EXPECT_TRUE(RGN_ContainsPoint(WGT_GetVisRgn(wa), o.X + 12, o.Y + 2));
  EXPECT_FALSE(RGN_ContainsPoint(WGT_ComputeVisRgn(wa), o.X + 12, o.Y + 2));

  // A deep copy has children of its own and no place yet.
  WgtPtr copy = WGT_Copy(PANEL_Wgt(panel), 1);
  PanelPtr copyPanel = reinterpret_cast<PanelPtr>(copy);
  ASSERT_EQ(PANEL_GetNumWgts(copyPanel), 2);
  EXPECT_NE(PANEL_GetNthWgt(copyPanel, 1), wc);
  EXPECT_STREQ(TBUT_GetLabel(TBUT_FromWgt(PANEL_GetNthWgt(copyPanel, 1))), "cover");
  EXPECT_EQ(copy->Panel, nullptr);
  EXPECT_FALSE(WGT_Res(copy)->ResInitialized);
  RES_Release(WGT_Res(copy));

  // Validation asks the window's focus widget, naming the requester.
  EXPECT_TRUE(WGT_IsFocusWidgetValid(wc));  // no focus widget
  RES_SetNfyProcDS(WGT_Res(wa), validity, nullptr);
  PANEL_SetKeyWgt(WIN_Panel(win), wa);
  EXPECT_FALSE(WGT_IsFocusWidgetValid(wc));
  RES_SetNfyProcDS(WGT_Res(wa), validity, wa);
  EXPECT_TRUE(WGT_IsFocusWidgetValid(wc));

  // A reset ends and initialises again.
  tktest::logTo(wc, &log);
  WGT_Send(wc, WGT_NFYRESET);
  EXPECT_EQ(log.count(wc, WGT_NFYEND), 1);
  EXPECT_EQ(log.count(wc, WGT_NFYINIT), 1);
  EXPECT_TRUE(WGT_Res(wc)->ResInitialized);
}

TEST_F(ToolkitTest, TextButtonLabelCalls) {
  ASSERT_TRUE(tktest::loadTestLibrary("Genwin", "ndgw.dat"));
  TButPtr but = TBUT_Create();
  TBUT_SetLabel(but, "Run fleet");
  char small[5];
  EXPECT_EQ(TBUT_QueryLabel(but, small, sizeof small), 4);
  EXPECT_STREQ(small, "Run ");
  EXPECT_EQ(TBUT_QueryLabel(but, small, 0), 0);
  EXPECT_TRUE(TBUT_SetLabelMsg(but, "ErrW", "ConfirmAbort"));
  EXPECT_STREQ(TBUT_GetLabel(but), "Abort the program now? Work not saved is lost.");
  EXPECT_FALSE(TBUT_SetLabelMsg(but, "ErrW", "NoSuchMessage"));
  EXPECT_STREQ(TBUT_GetLabel(but), "Abort the program now? Work not saved is lost.");
  RES_Release(WGT_Res(TBUT_Wgt(but)));
}

}  // namespace
