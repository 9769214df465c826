// A window's frame and surroundings: the fields the window manager hears
// (decorations, type, group), the frame's geometry, the composite border
// and what a location hits, open and close requests, and windows made
// from other windows.
#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <tuple>
#include <utility>
#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/winframe.h"

namespace {

using tktest::ToolkitTest;

// The 32-bit items of a property of a display window, as another client
// reads them.
std::vector<long> property(Display* dpy, unsigned long win, const char* name) {
  Atom type;
  int format;
  unsigned long count, after;
  unsigned char* data = nullptr;
  std::vector<long> out;
  if (XGetWindowProperty(dpy, win, XInternAtom(dpy, name, False), 0, 16, False, AnyPropertyType, &type, &format,
                         &count, &after, &data) == Success &&
      data && format == 32)
    out.assign(reinterpret_cast<long*>(data), reinterpret_cast<long*>(data) + count);
  if (data) XFree(data);
  return out;
}

bool sameRect(const _Rect16Rec& r, int x, int y, int w, int h) { return RECT16_Equal(r, RECT16_Make(x, y, w, h)); }

TEST_F(ToolkitTest, WindowFrameDecorationsStyleAndMainWindowReachTheDisplay) {
  Display* dpy = driver_->display();
  WinPtr win = keep(tktest::newWin(100, 100, 300, 200, "Frame"));
  win->FrameLeft = 4, win->FrameRight = 6, win->FrameTop = 20, win->FrameBottom = 8;
  // Set before the window has a display window: told when it gets one.
  WIN_SetDecorations(win, WIN_DECOBORDER | WIN_DECOTITLE);
  WIN_SetStyle(win, WIN_STYLEDIALOG);
  WIN_Init(win);
  ASSERT_TRUE(tktest::showAndWait(win));
  unsigned long nat = WIN_GetNatWin(win);
  auto type = [&](const char* name) { return std::vector<long>{static_cast<long>(XInternAtom(dpy, name, False))}; };
  std::vector<long> hints = property(dpy, nat, "_MOTIF_WM_HINTS");
  ASSERT_EQ(hints.size(), 5u);
  EXPECT_EQ(hints[0], 2);             // decorations given
  EXPECT_EQ(hints[2], (1 << 1) | (1 << 3));  // border and title
  EXPECT_EQ(property(dpy, nat, "_NET_WM_WINDOW_TYPE"), type("_NET_WM_WINDOW_TYPE_DIALOG"));
  // And at once when it has one.
  WIN_SetStyle(win, WIN_STYLEUTILITY);
  WIN_SetDecorations(win, WIN_DECOBORDER | WIN_DECOMINIMIZE | WIN_DECORESIZE);
  DSPLY_Sync();
  EXPECT_EQ(property(dpy, nat, "_NET_WM_WINDOW_TYPE"), type("_NET_WM_WINDOW_TYPE_UTILITY"));
  EXPECT_EQ(property(dpy, nat, "_MOTIF_WM_HINTS")[2], (1 << 1) | (1 << 5) | (1 << 2));

  WIN_SetOptFlags(win, WIN_OPTNOACTIVATE);
  WIN_SetCenterOnOpen(win, 1);  // one flag among the others
  EXPECT_EQ(WIN_GetOptFlags(win), WIN_OPTNOACTIVATE | WIN_OPTCENTER);

  // No window manager runs: the frame is the one of the fields.
  _Rect16Rec frame;
  WIN_QueryFrame(win, &frame);
  _Rect16Rec box = WIN_Wgt(win)->Box;
  EXPECT_TRUE(sameRect(frame, box.Origin.X - 4, box.Origin.Y - 20, 310, 228));
  WIN_QueryRelFrame(win, &frame);
  EXPECT_TRUE(sameRect(frame, -4, -20, 310, 228));
  WIN_SetFrame(win, RECT16_Make(50, 60, 410, 328));
  EXPECT_TRUE(sameRect(WIN_Wgt(win)->Box, 54, 80, 400, 300));
  _Point16Rec origin{70, 90};
  WIN_ConfigureAbsFrame(win, &origin, nullptr);
  WIN_QueryAbsFrame(win, &frame);
  EXPECT_TRUE(sameRect(frame, 70, 90, 410, 328));
  EXPECT_TRUE(tktest::runUntil([&] {
    _Rect16Rec onScreen;
    return DSPLY_QueryWinBox(nat, &onScreen) && sameRect(onScreen, 74, 110, 400, 300);
  }));

  // The main window: the others join its group, those made later too.
  WinPtr other = keep(tktest::newWin(300, 100, 120, 80, "Other"));
  WIN_Init(other);
  WIN_SetMainWindow(win);
  EXPECT_EQ(WIN_GetMainWindow(), win);
  WinPtr later = keep(tktest::newWin(300, 300, 120, 80, "Later"));
  WIN_Init(later);
  DSPLY_Sync();
  for (WinPtr w : {other, later}) {
    EXPECT_EQ(property(dpy, WIN_GetNatWin(w), "WM_CLIENT_LEADER"), std::vector<long>{static_cast<long>(nat)});
    XWMHints* h = XGetWMHints(dpy, WIN_GetNatWin(w));
    ASSERT_NE(h, nullptr);
    EXPECT_TRUE(h->flags & WindowGroupHint);
    EXPECT_EQ(h->window_group, nat);
    XFree(h);
  }

  // The icon is the window's own copy; the system menu is held while set.
  uint32_t pixels[4] = {0xff0000ff, 0xff00ff00, 0xffff0000, 0x80ffffff};
  WIN_SetIcon(win, 2, 2, pixels);
  pixels[3] = 0;
  Int w = 0, h = 0;
  ASSERT_NE(WIN_GetIcon(win, &w, &h), nullptr);
  EXPECT_EQ(WIN_GetIcon(win, &w, &h)[3], 0x80ffffffu);
  EXPECT_EQ(w * h, 4);
  ResPtr menu = RES_Create(WGT_Class());
  WIN_SetSysMenu(win, menu);
  EXPECT_EQ(RES_GetRefCount(menu), 2);
  WIN_SetSysMenu(win, nullptr);
  EXPECT_EQ(RES_GetRefCount(menu), 1);
  RES_Release(menu);

  // A main window that ends is no main window any more.
  WIN_TerminateGetStatus(win);
  EVENT_Update();
  RES_Release(WGT_Res(WIN_Wgt(win)));
  wins_.erase(wins_.begin());
  EXPECT_EQ(WIN_GetMainWindow(), nullptr);
}

struct Button2Log {
  std::vector<Int> elts;
} gButton2;

void onButton2(WinPtr, Int elt, ClientPtr) { gButton2.elts.push_back(elt); }

long refuseClose(ResPtr, Int message, ClientPtr) {
  if (message == WIN_NFYCLOSE) WIN_RefuseRequest();
  return 0;
}

TEST_F(ToolkitTest, WindowBorderPartsProposedBoxAndOpenCloseRequests) {
  WinPtr win = keep(tktest::newWin(60, 60, 300, 200, "Parts"));
  win->FrameLeft = win->FrameRight = win->FrameTop = win->FrameBottom = 5;
  win->StatusLineH = 20;
  PanelPtr inner = tktest::addPanel(WIN_Panel(win), 40, 40, 200, 100);
  TButPtr but = tktest::addButton(inner, "In", 10, 10, 60, 24);
  tktest::NfyLog log;
  tktest::logTo(WIN_Wgt(win), &log);

  // A proposed box is taken at once by a window that is not open.
  _Rect16Rec proposed;
  WIN_QueryProposedBox(win, &proposed);
  EXPECT_TRUE(RECT16_Equal(proposed, WIN_Wgt(win)->Box));
  WIN_SetProposedBox(win, RECT16_Make(80, 70, 300, 200));
  WIN_QueryProposedBox(win, &proposed);
  EXPECT_TRUE(sameRect(proposed, 80, 70, 300, 200));
  EXPECT_TRUE(sameRect(WIN_Wgt(win)->Box, 80, 70, 300, 200));
  WIN_Init(win);
  ASSERT_TRUE(tktest::showAndWait(win));
  Int16 path[] = {0, 0};
  EXPECT_EQ(WIN_GetWgtByIndexes(win, path, 2), TBUT_Wgt(but));
  Int16 badPath[] = {0, 0, 0};
  EXPECT_EQ(WIN_GetWgtByIndexes(win, badPath, 3), nullptr);

  // The composite border: one notification per change, and the children
  // laid out again inside it.
  _Rect16Rec before = PANEL_Wgt(inner)->Box;
  WIN_SetCompoBorder(win, _WinBorderRec{10, 6, 10, 6});
  WIN_SetCompoBorder(win, _WinBorderRec{10, 6, 10, 6});
  EXPECT_EQ(log.count(WIN_NFYRESIZECOMPOBORDER), 1);
  _WinBorderRec border;
  WIN_QueryCompoBorder(win, &border);
  EXPECT_EQ(border.Left + border.Top + border.Right + border.Bottom, 32);
  _Rect16Rec after = PANEL_Wgt(inner)->Box;
  _Point16Rec ext = WIN_Wgt(win)->Box.Extent;
  EXPECT_FALSE(RECT16_Equal(before, after));
  EXPECT_GE(after.Origin.X, 10);
  EXPECT_GE(after.Origin.Y, 6);
  EXPECT_LE(after.Origin.X + after.Extent.X, ext.X - 10);
  EXPECT_LE(after.Origin.Y + after.Extent.Y, ext.Y - 6);
  WIN_SetCompoBorder(win, _WinBorderRec{0, 0, 0, 0});
  EXPECT_NEAR(PANEL_Wgt(inner)->Box.Origin.X, before.Origin.X, 1);
  EXPECT_NEAR(PANEL_Wgt(inner)->Box.Extent.X, before.Extent.X, 1);
  WIN_SetCompoBorder(win, _WinBorderRec{10, 6, 10, 6});
  for (auto [x, y, elt] : {std::tuple<int16_t, int16_t, Int>{150, 100, WIN_ELTCLIENT}, {3, 100, WIN_ELTCOMPOBORDER},
                            {150, 190, WIN_ELTSTATUSLINE}, {-3, -3, WIN_ELTFRAME}, {-30, 100, WIN_ELTNONE}})
    EXPECT_EQ(WIN_GetHitDecorationElt(win, _Point16Rec{x, y}), elt) << x << "," << y;

  // Button 2 on a part of the border goes to the procedure; on the client
  // area, to the widgets.
  gButton2 = Button2Log{};
  WIN_SetButton2ActionProcDS(onButton2, nullptr);
  for (auto [x, y] : {std::pair<int, int>{3, 100}, {150, 190}, {280, 100}}) clickAt(tktest::absOf(WIN_Wgt(win), x, y), 2);
  WIN_SetButton2ActionProcDS(nullptr, nullptr);
  EXPECT_EQ(gButton2.elts, (std::vector<Int>{WIN_ELTCOMPOBORDER, WIN_ELTSTATUSLINE}));

  // Close and open as requests, which a listener may refuse.
  ResPtr listener = RES_Create(WGT_Class());
  RES_SetNfyProcDS(listener, refuseClose, nullptr);
  WIN_RegisterForRequest(win, listener);
  EXPECT_FALSE(WIN_Open(win));  // it is open
  EXPECT_FALSE(WIN_Close(win));
  EXPECT_TRUE(WIN_IsOpen(win));
  RES_SetNfyProcDS(listener, nullptr, nullptr);
  EXPECT_TRUE(WIN_Close(win));
  EXPECT_EQ(WIN_GetState(win), WIN_STATECLOSED);
  EXPECT_FALSE(WIN_Close(win));
  EXPECT_TRUE(WIN_Open(win));
  EXPECT_TRUE(WIN_IsOpen(win));
  WIN_SelfClose(win);
  EXPECT_EQ(WIN_GetState(win), WIN_STATECLOSED);
  WIN_SelfOpen(win);
  EXPECT_TRUE(tktest::runUntil([&] {
    _Rect16Rec b;
    return WIN_IsOpen(win) && DSPLY_QueryWinBox(WIN_GetNatWin(win), &b);
  }));
  WIN_TerminateGetStatus(win);
  EVENT_Update();
  RES_Release(listener);
}

TEST_F(ToolkitTest, AttachedLoadsShareOneWindowAndClonesAreWindowsOfTheirOwn) {
  ASSERT_TRUE(tktest::loadTestLibrary());
  WinPtr win = WIN_LoadAttached("wgtdemo", "TestWindow");
  ASSERT_NE(win, nullptr);
  EXPECT_EQ(WIN_LoadAttached("wgtdemo", "TestWindow"), win);
  EXPECT_EQ(RES_GetRefCount(WGT_Res(WIN_Wgt(win))), 2);
  RES_Release(WGT_Res(WIN_Wgt(win)));
  EXPECT_EQ(WIN_GetState(win), WIN_STATELOADED);
  ResPtr res = WGT_Res(WIN_Wgt(win));
  ASSERT_EQ(RES_GetNumChildren(res), 7);
  EXPECT_EQ(WGT_FromRes(RES_GetNthChild(res, 4))->Win, win);

  WinPtr copy = keep(WIN_Clone(win));
  ASSERT_NE(copy, win);
  ResPtr copyRes = WGT_Res(WIN_Wgt(copy));
  ASSERT_EQ(RES_GetNumChildren(copyRes), 7);
  EXPECT_STREQ(TBUT_GetLabel(TBUT_FromWgt(WGT_FromRes(RES_GetNthChild(copyRes, 4)))),
               TBUT_GetLabel(TBUT_FromWgt(WGT_FromRes(RES_GetNthChild(res, 4)))));
  EXPECT_NE(RES_GetNthChild(copyRes, 4), RES_GetNthChild(res, 4));
  EXPECT_EQ(WGT_FromRes(RES_GetNthChild(copyRes, 4))->Win, copy);
  // The copy lives on its own: it opens while the original stays loaded.
  WIN_Init(copy);
  ASSERT_TRUE(tktest::showAndWait(copy));
  EXPECT_EQ(WIN_GetState(win), WIN_STATELOADED);
  RES_Release(res);
}

}  // namespace
