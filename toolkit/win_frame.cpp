// Frames, decorations, style, the main window and the other attribute
// calls of windows that the window module itself does not need.
#include <map>

#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/evctx.h"
#include "toolkit/mbar.h"
#include "toolkit/res.h"
#include "toolkit/winframe.h"

namespace {

struct FrameExtra {
  _WinBorderRec CompoBorder{0, 0, 0, 0};
  BoolEnum Proposed = 0;
};
std::map<WinPtr, FrameExtra> sExtra;
WinPtr sMainWin = nullptr;
WinButton2Proc sButton2Proc = nullptr;
ClientPtr sButton2Data = nullptr;

WgtPtr W(WinPtr win) { return WIN_Wgt(win); }

void tellGroup(WinPtr win, ClientPtr) {
  if (!win->NatWin) return;
  DSPLY_SetWinGroup(win->NatWin, sMainWin && sMainWin->NatWin ? sMainWin->NatWin : 0);
}

// The frame's widths: the window manager's report, else the fields.
_WinBorderRec frameWidths(WinPtr win) {
  int ext[4];
  if (win->NatWin && DSPLY_QueryWinFrameExtents(win->NatWin, ext))
    return _WinBorderRec{static_cast<Int16>(ext[0]), static_cast<Int16>(ext[2]), static_cast<Int16>(ext[1]),
                         static_cast<Int16>(ext[3])};
  return _WinBorderRec{win->FrameLeft, win->FrameTop, win->FrameRight, win->FrameBottom};
}

_Rect16Rec grow(const _Rect16Rec& box, const _WinBorderRec& b) {
  return RECT16_Make(box.Origin.X - b.Left, box.Origin.Y - b.Top, box.Extent.X + b.Left + b.Right,
                     box.Extent.Y + b.Top + b.Bottom);
}

bool inside(const _Rect16Rec& r, _Point16Rec p) {
  return p.X >= r.Origin.X && p.Y >= r.Origin.Y && p.X < r.Origin.X + r.Extent.X && p.Y < r.Origin.Y + r.Extent.Y;
}

}  // namespace

// --- Creation -------------------------------------------------------------------------

WinPtr WIN_LoadAttached(const char* moduleName, const char* name) {
  ErrTrace frame("Win", __FILE__, __LINE__);
  ResPtr res = RES_Load(moduleName, name);
  // Loaded before: the caller shares the window that is there.
  if (RES_GetRefCount(res) > 1 && RCLAS_IsSubClassOf(res->ResClass, WIN_Class()) &&
      W(WIN_FromRes(res))->Win == WIN_FromRes(res))
    return WIN_FromRes(res);
  ERR_TryCleanup(frame, [&] { RES_LoadDeepChildren(res); }, [&] { RES_Release(res); });
  return WinAdoptLoaded(res);
}

WinPtr WIN_Clone(WinPtr win) {
  if (!win) return nullptr;
  ErrTrace frame("Win", __FILE__, __LINE__);
  return WinAdoptLoaded(RES_Clone(WGT_Res(W(win)), 1));
}

// --- Attribute fields -----------------------------------------------------------------

Int16 WIN_GetStyle(WinPtr win) { return win ? win->Style : 0; }

void WIN_SetStyle(WinPtr win, Int16 style) {
  if (!win || win->Style == style) return;
  win->Style = style;
  if (win->NatWin) DSPLY_SetWinType(win->NatWin, style);
}

UInt16 WIN_GetPosFlags(WinPtr win) { return win ? win->PosFlags : 0; }
void WIN_SetPosFlags(WinPtr win, UInt16 flags) {
  if (win) win->PosFlags = flags;
}
UInt16 WIN_GetOptFlags(WinPtr win) { return win ? win->OptFlags : 0; }
void WIN_SetOptFlags(WinPtr win, UInt16 flags) {
  if (win) win->OptFlags = flags;
}
BoolEnum WIN_GetCenterOnOpen(WinPtr win) { return win && (win->OptFlags & WIN_OPTCENTER) ? 1 : 0; }

UInt16 WIN_GetDecorations(WinPtr win) { return win ? win->Deco : 0; }

void WIN_SetDecorations(WinPtr win, UInt16 deco) {
  if (!win || win->Deco == deco) return;
  win->Deco = deco;
  if (win->NatWin) DSPLY_SetWinDecorations(win->NatWin, deco);
}

const uint32_t* WIN_GetIcon(WinPtr win, Int* w, Int* h) {
  if (w) *w = win && win->IconPixels ? win->IconWidth : 0;
  if (h) *h = win && win->IconPixels ? win->IconHeight : 0;
  return win ? win->IconPixels : nullptr;
}

ResPtr WIN_GetSysMenu(WinPtr win) { return win ? win->SysMenu : nullptr; }

void WIN_SetSysMenu(WinPtr win, ResPtr menu) {
  if (!win || win->SysMenu == menu) return;
  if (menu) RES_Use(menu);
  ResPtr old = win->SysMenu;
  win->SysMenu = menu;
  if (old) RES_Release(old);
}

void WIN_SetMainWindow(WinPtr win) {
  sMainWin = win;
  WinForEachNative(tellGroup, nullptr);
}

WinPtr WIN_GetMainWindow() { return sMainWin; }

WgtPtr WIN_GetWgtByIndexes(WinPtr win, const Int16* indexes, Int count) {
  if (!win || (count > 0 && !indexes)) return nullptr;
  ResPtr at = WGT_Res(W(win));
  for (Int i = 0; i < count && at; i++) {
    if (i > 0 && !PANEL_IsPanel(WGT_FromRes(at))) return nullptr;
    at = RES_GetNthChild(at, indexes[i]);
  }
  return at ? WGT_FromRes(at) : nullptr;
}

// --- Frame geometry --------------------------------------------------------------------

void WIN_QueryFrame(WinPtr win, _Rect16Rec* frame) {
  if (!frame) return;
  *frame = win ? grow(W(win)->Box, frameWidths(win)) : RECT16_Make(0, 0, 0, 0);
}

// A top-level window's box is on the screen already.
void WIN_QueryAbsFrame(WinPtr win, _Rect16Rec* frame) { WIN_QueryFrame(win, frame); }

void WIN_QueryRelFrame(WinPtr win, _Rect16Rec* frame) {
  if (!frame) return;
  if (!win) {
    *frame = RECT16_Make(0, 0, 0, 0);
    return;
  }
  _Rect16Rec client = W(win)->Box;
  client.Origin = _Point16Rec{0, 0};
  *frame = grow(client, frameWidths(win));
}

void WIN_SetFrame(WinPtr win, const _Rect16Rec& frame) {
  if (!win) return;
  _WinBorderRec b = frameWidths(win);
  int w = frame.Extent.X - b.Left - b.Right, h = frame.Extent.Y - b.Top - b.Bottom;
  WIN_SetBox(win, RECT16_Make(frame.Origin.X + b.Left, frame.Origin.Y + b.Top, w < 1 ? 1 : w, h < 1 ? 1 : h));
}

void WIN_ConfigureAbsFrame(WinPtr win, const _Point16Rec* origin, const _Point16Rec* extent) {
  if (!win) return;
  _Rect16Rec frame;
  WIN_QueryAbsFrame(win, &frame);
  if (origin) frame.Origin = *origin;
  if (extent) frame.Extent = *extent;
  WIN_SetFrame(win, frame);
}

void WIN_QueryProposedBox(WinPtr win, _Rect16Rec* box) {
  if (!box) return;
  if (!win) {
    *box = RECT16_Make(0, 0, 0, 0);
    return;
  }
  auto it = sExtra.find(win);
  *box = it != sExtra.end() && it->second.Proposed ? win->ProposedBox : W(win)->Box;
}

void WIN_SetProposedBox(WinPtr win, const _Rect16Rec& box) {
  if (!win) return;
  win->ProposedBox = box;
  sExtra[win].Proposed = 1;
  if (win->State != WIN_STATEOPEN) WIN_SetBox(win, box);
}

namespace {

// The children live in the window's box less its composite border: when the
// border changes they keep their place against the border's inner edges,
// and grow or shrink with the room inside it as their resize flags say, as
// they do when the window itself is resized.
void S_LayOutInsideBorder(WinPtr win, const _WinBorderRec& was, const _WinBorderRec& now) {
  PanelPtr panel = WIN_Panel(win);
  _Point16Rec ext = W(win)->Box.Extent;
  auto inner = [&](const _WinBorderRec& b) {
    return _Point16Rec{static_cast<Int16>(ext.X - b.Left - b.Right), static_cast<Int16>(ext.Y - b.Top - b.Bottom)};
  };
  _Point16Rec oldInner = inner(was), newInner = inner(now);
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!c) continue;
    _Rect16Rec r = c->Box;
    r.Origin.X = static_cast<Int16>(r.Origin.X - was.Left);
    r.Origin.Y = static_cast<Int16>(r.Origin.Y - was.Top);
    _Rect16Rec nb = WgtQueryNewBox(r, c->RzFlags, oldInner, newInner);
    nb.Origin.X = static_cast<Int16>(nb.Origin.X + now.Left);
    nb.Origin.Y = static_cast<Int16>(nb.Origin.Y + now.Top);
    if (RECT16_Equal(nb, c->Box)) continue;
    bool extChanged = nb.Extent.X != c->Box.Extent.X || nb.Extent.Y != c->Box.Extent.Y;
    c->Box = nb;
    if (extChanged) WGT_Send(c, WGT_NFYRESIZE);
  }
}

}  // namespace

void WIN_QueryCompoBorder(WinPtr win, _WinBorderRec* border) {
  if (!border) return;
  auto it = win ? sExtra.find(win) : sExtra.end();
  *border = it != sExtra.end() ? it->second.CompoBorder : _WinBorderRec{0, 0, 0, 0};
}

void WIN_SetCompoBorder(WinPtr win, const _WinBorderRec& border) {
  if (!win) return;
  _WinBorderRec now;
  WIN_QueryCompoBorder(win, &now);
  if (now.Left == border.Left && now.Top == border.Top && now.Right == border.Right && now.Bottom == border.Bottom)
    return;
  _WinBorderRec sent = border;
  sExtra[win].CompoBorder = border;
  S_LayOutInsideBorder(win, now, border);
  WGT_Send(W(win), WIN_NFYRESIZECOMPOBORDER, &sent);
  WGT_VisRgnInvalBelow(W(win));
  WGT_Inval(W(win), nullptr);
}

Int WIN_GetHitDecorationElt(WinPtr win, _Point16Rec loc) {
  if (!win) return WIN_ELTNONE;
  _Rect16Rec client = W(win)->Box;
  client.Origin = _Point16Rec{0, 0};
  if (!inside(client, loc)) {
    _Rect16Rec frame;
    WIN_QueryRelFrame(win, &frame);
    return inside(frame, loc) ? WIN_ELTFRAME : WIN_ELTNONE;
  }
  if (MBarPtr bar = WIN_GetMenuBar(win))
    if (!(win->OptFlags & WIN_OPTNOMENUBAR) && inside(reinterpret_cast<WgtPtr>(bar)->Box, loc)) return WIN_ELTMENUBAR;
  if (win->StatusLineH > 0 && loc.Y >= client.Extent.Y - win->StatusLineH) return WIN_ELTSTATUSLINE;
  _WinBorderRec b;
  WIN_QueryCompoBorder(win, &b);
  if (loc.X < b.Left || loc.Y < b.Top || loc.X >= client.Extent.X - b.Right || loc.Y >= client.Extent.Y - b.Bottom)
    return WIN_ELTCOMPOBORDER;
  return WIN_ELTCLIENT;
}

void WIN_SetButton2ActionProcDS(WinButton2Proc proc, ClientPtr data) {
  sButton2Proc = proc;
  sButton2Data = data;
}

// --- For the window module ----------------------------------------------------------------

void WinApplyFrameAttrs(WinPtr win) {
  if (!win || !win->NatWin) return;
  if (win->Deco) DSPLY_SetWinDecorations(win->NatWin, win->Deco);
  if (win->Style) DSPLY_SetWinType(win->NatWin, win->Style);
  if (sMainWin && sMainWin != win) tellGroup(win, nullptr);
  // The main window got its display window after the others were told.
  if (sMainWin == win) WinForEachNative(tellGroup, nullptr);
}

void WinFrameForget(WinPtr win) {
  sExtra.erase(win);
  if (sMainWin == win) WIN_SetMainWindow(nullptr);
}

BoolEnum WinDecorationClick(WinPtr win) {
  if (!sButton2Proc || EVENT_GetButton() != EVENT_BUT2) return 0;
  _Point16Rec loc;
  EVENT_QueryWinLoc(win, &loc);
  Int elt = WIN_GetHitDecorationElt(win, loc);
  if (elt == WIN_ELTCLIENT || elt == WIN_ELTNONE || elt == WIN_ELTMENUBAR) return 0;
  WGT_MouseHandled(W(win));
  sButton2Proc(win, elt, sButton2Data);
  return 1;
}
