// Menu bars: the class, the cursor, the layout and drawing of the bar, and
// its part in the window's messages.  The interaction with open menus is
// in mbartrack.cpp.
#include "toolkit/mbar.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/menupriv.h"
#include "toolkit/pfld.h"
#include "toolkit/winpub.h"

namespace {

#define MBAR_FIELD(name, member, type, kind) PFLD_MEMBER(_MBarObj, name, member, type, kind)

_PFldRec sMBarFields[] = {MBAR_FIELD("Choices", Choices, PFLD_RESARRAY, 11),
                          MBAR_FIELD("RightJustified", RightJustified, PFLD_RESARRAY, 11),
                          MBAR_FIELD("AccelKeys", AccelKeys, PFLD_RES0, 10),
                          {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sMBar = nullptr;

MItemPtr itemAt(MBarPtr bar, Int index) {
  return bar ? reinterpret_cast<MItemPtr>(ARRAY_GetNthPtr(bar->Choices, index)) : nullptr;
}

MItemPtr current(MBarPtr bar) {
  return bar && bar->Cursor >= 0 && bar->Cursor < ARRAY_GetCount(bar->Choices) ? itemAt(bar, bar->Cursor) : nullptr;
}

bool rightAligned(MBarPtr bar, MItemPtr item) {
  for (Int i = 0; i < ARRAY_GetCount(bar->RightJustified); i++)
    if (ARRAY_GetNthPtr(bar->RightJustified, i) == item) return true;
  return false;
}

FontPtr fontOf(MBarPtr bar) {
  FontPtr f = WGT_GetFont(MBAR_Wgt(bar));
  return f ? f : FONT_Default();
}

int itemWidth(MBarPtr bar, MItemPtr item) {
  MItemShownLabel shown = MITEM_ParseLabel(MITEM_GetLabel(item));
  return DRAW_QueryTextExt(fontOf(bar), shown.Text.c_str(), -1).X + 2 * MenuPx(10) + 2 * item->MarginX;
}

// The boxes of the items: from the left end, and the right-aligned ones
// from the right end.
std::vector<_Rect16Rec> S_Layout(MBarPtr bar) {
  Int n = MBAR_GetNumItems(bar);
  std::vector<_Rect16Rec> boxes(static_cast<size_t>(n), RECT16_Make(0, 0, 0, 0));
  int h = MBAR_GetHeight(bar);
  int x = MenuPx(4);
  for (Int i = 0; i < n; i++) {
    MItemPtr item = itemAt(bar, i);
    if (rightAligned(bar, item)) continue;
    int w = itemWidth(bar, item);
    boxes[static_cast<size_t>(i)] = RECT16_Make(x, 0, w, h);
    x += w;
  }
  int right = MBAR_Wgt(bar)->Box.Extent.X - MenuPx(4);
  for (Int i = n - 1; i >= 0; i--) {
    MItemPtr item = itemAt(bar, i);
    if (!rightAligned(bar, item)) continue;
    int w = itemWidth(bar, item);
    right -= w;
    // Never over the items on the left.
    boxes[static_cast<size_t>(i)] = RECT16_Make(right < x ? x : right, 0, w, h);
    if (right < x) x += w;
  }
  return boxes;
}

void S_SyncBox(MBarPtr bar) {
  WgtPtr w = MBAR_Wgt(bar);
  WinPtr win = w->Win;
  if (!win) return;
  _Rect16Rec box = RECT16_Make(0, 0, WIN_Wgt(win)->Box.Extent.X, MBAR_GetHeight(bar));
  if (RECT16_Equal(box, w->Box)) return;
  w->Box = box;
  w->WgtPrivate3 = 0;
}

void S_Redraw(MBarPtr bar) {
  WgtPtr w = MBAR_Wgt(bar);
  S_SyncBox(bar);
  DrawPtr d = WGT_BeginDraw(w);
  FontPtr font = fontOf(bar);
  int h = w->Box.Extent.Y;
  DRAW_FillRect(d, RECT16_Make(0, 0, w->Box.Extent.X, h), COLOR_Face());
  DRAW_FillRect(d, RECT16_Make(0, h - 1, w->Box.Extent.X, 1), COLOR_Border());
  std::vector<_Rect16Rec> boxes = S_Layout(bar);
  for (Int i = 0; i < MBAR_GetNumItems(bar); i++) {
    MItemPtr item = itemAt(bar, i);
    const _Rect16Rec& b = boxes[static_cast<size_t>(i)];
    bool enabled = MITEM_IsChoosable(item);
    if (i == bar->Hilite && enabled)
      DRAW_FillRect(d, RECT16_Make(b.Origin.X, MenuPx(2), b.Extent.X, h - 2 * MenuPx(2) - 1), COLOR_Selection());
    int base = (h - 1 - FONT_GetHeight(font)) / 2 + FONT_GetAscent(font);
    MITEM_DrawLabel(d, font, enabled ? COLOR_Text() : COLOR_DisabledText(), b.Origin.X + MenuPx(10) + item->MarginX,
                    base, MITEM_GetLabel(item));
  }
  WGT_EndDraw(d);
}

void S_InitBar(MBarPtr bar, WinPtr win) {
  WgtPtr w = MBAR_Wgt(bar);
  w->Win = win;
  w->Panel = WIN_Panel(win);
  w->Index = 0x7fff;  // no widget of the window counts as lying over it
  if (!WGT_Res(w)->ResInitialized) WGT_Send(w, WGT_NFYINIT);
  for (Int i = 0; i < MBAR_GetNumItems(bar); i++) MITEM_Wgt(itemAt(bar, i))->Win = win;
  S_SyncBox(bar);
}

void S_MBarConstruct(ResPtr res, ResConstructPtr params) {
  if (params->Mode == RES_MODECOPY) return;
  MBarPtr bar = reinterpret_cast<MBarPtr>(res);
  bar->Cursor = 0;
  bar->ChosenMenu = nullptr;
  bar->ChosenBarItem = -1;
  bar->Hilite = -1;
}

void S_MBarDestruct(ResPtr res) {
  MBarPtr bar = reinterpret_cast<MBarPtr>(res);
  if (MBarTrackActive(bar)) MBarTrackClose();
  MBAR_Wgt(bar)->Win = nullptr;
  MBAR_Wgt(bar)->Panel = nullptr;
}

}  // namespace

RClasPtr MBAR_Class() { return sMBar; }

void MBAR_InstallClass() {
  MENU_InstallClass();
  sMBar = WgtRegisterClass("MBar", "MBar", WGT_Class(), sMBarFields, static_cast<Int>(sizeof(_MBarObj)),
                           S_MBarConstruct, S_MBarDestruct, MBAR_DefNfy);
}
void MBAR_InitClass() {}

MBarPtr MBAR_Create() {
  if (!sMBar) MBAR_InstallClass();
  return reinterpret_cast<MBarPtr>(RES_Create(sMBar));
}

BoolEnum MBAR_IsMBar(ResPtr res) { return res && sMBar && RCLAS_IsSubClassOf(res->ResClass, sMBar); }

void MBAR_Describe(WgtPtr wgt, AutomDesc* desc) {
  MBarPtr bar = reinterpret_cast<MBarPtr>(wgt);
  S_SyncBox(bar);
  std::vector<_Rect16Rec> boxes = S_Layout(bar);
  for (Int i = 0; i < MBAR_GetNumItems(bar); i++) {
    MItemPtr item = itemAt(bar, i);
    std::string state = "V";
    if (MITEM_IsChoosable(item)) state += 'E';
    if (i == bar->Hilite && MBarTrackActive(bar)) state += 'S';
    char suffix[24];
    std::snprintf(suffix, sizeof suffix, "/%ld", static_cast<long>(i));
    AUTOM_AddLine(desc, suffix, "MItem", boxes[static_cast<size_t>(i)], state.c_str(),
                  MITEM_ParseLabel(MITEM_GetLabel(item)).Text.c_str());
  }
}

long MBAR_DefNfy(ResPtr res, Int message, ClientPtr data) {
  MBarPtr bar = reinterpret_cast<MBarPtr>(res);
  switch (message) {
    case WGT_NFYREDRAW:
      S_Redraw(bar);
      return 0;
    case MBAR_NFYITEMDRAW:
      WGT_Inval(MBAR_Wgt(bar), nullptr);
      return 0;
    default:
      return WGT_DefNfy(res, message, data);
  }
}

// --- Cursor -----------------------------------------------------------------------------

Int MBAR_GoFirst(MBarPtr bar) { return bar ? (bar->Cursor = 0) : -1; }
Int MBAR_GoLast(MBarPtr bar) { return bar ? (bar->Cursor = MBAR_GetNumItems(bar) - 1) : -1; }
Int MBAR_GoNext(MBarPtr bar) { return bar ? ++bar->Cursor : -1; }

BoolEnum MBAR_GoLabel(MBarPtr bar, const char* label) {
  if (!bar || !label) return 0;
  for (Int i = 0; i < MBAR_GetNumItems(bar); i++)
    if (std::strcmp(MITEM_GetLabel(itemAt(bar, i)), label) == 0) {
      bar->Cursor = i;
      return 1;
    }
  return 0;
}

BoolEnum MBAR_IsOk(MBarPtr bar) {
  MItemPtr item = current(bar);
  return item && item->DisplayMode != MITEM_DISPLAYWINMENU;
}

Int MBAR_GetNumItems(MBarPtr bar) { return bar ? ARRAY_GetCount(bar->Choices) : 0; }
MItemPtr MBAR_GetNthItem(MBarPtr bar, Int index) { return itemAt(bar, index); }

void MBAR_AddItem(MBarPtr bar, const char* label) {
  if (!bar) return;
  if (!bar->Choices) bar->Choices = ARRAY_New(static_cast<Int>(sizeof(ResPtr)), 8);
  MItemPtr item = MITEM_Create(label);
  MITEM_Wgt(item)->Win = MBAR_Wgt(bar)->Win;
  ARRAY_AddPtr(bar->Choices, item);  // the bar takes the creation reference
  bar->Cursor = ARRAY_GetCount(bar->Choices) - 1;
  if (WGT_Res(MBAR_Wgt(bar))->ResInitialized) WGT_Inval(MBAR_Wgt(bar), nullptr);
}

const char* MBAR_CurGetLabel(MBarPtr bar) {
  MItemPtr item = current(bar);
  return item ? MITEM_GetLabel(item) : nullptr;
}

void MBAR_CurSetLabel(MBarPtr bar, const char* label) {
  if (MItemPtr item = current(bar)) {
    MITEM_SetLabel(item, label);
    WGT_Inval(MBAR_Wgt(bar), nullptr);
  }
}

MenuPtr MBAR_CurGetSubMenu(MBarPtr bar) { return MITEM_GetSubMenu(current(bar)); }
void MBAR_CurSetSubMenu(MBarPtr bar, MenuPtr menu) { MITEM_SetSubMenu(current(bar), menu); }

void MBAR_CurSetRightAligned(MBarPtr bar, BoolEnum flag) {
  MItemPtr item = current(bar);
  if (!item || rightAligned(bar, item) == (flag != 0)) return;
  if (flag) {
    if (!bar->RightJustified) bar->RightJustified = ARRAY_New(static_cast<Int>(sizeof(ResPtr)), 2);
    RES_Use(MITEM_Res(item));
    ARRAY_AddPtr(bar->RightJustified, item);
  } else {
    for (Int i = 0; i < ARRAY_GetCount(bar->RightJustified); i++)
      if (ARRAY_GetNthPtr(bar->RightJustified, i) == item) {
        ARRAY_RemoveAt(bar->RightJustified, i);
        RES_Release(MITEM_Res(item));
        break;
      }
  }
  WGT_Inval(MBAR_Wgt(bar), nullptr);
}

void MBAR_CurSetEnabled(MBarPtr bar, BoolEnum flag) {
  if (MItemPtr item = current(bar)) {
    item->Activity = flag ? MITEM_ACTIVE : MITEM_INACTIVE;
    WGT_Inval(MBAR_Wgt(bar), nullptr);
  }
}

WgtPtr MBAR_CurGetMenuWgt(MBarPtr bar) { return MITEM_Wgt(current(bar)); }

BoolEnum MBarItemIsRightAligned(MBarPtr bar, Int index) {
  MItemPtr item = itemAt(bar, index);
  return item && rightAligned(bar, item);
}

MenuPtr MBAR_ChosenGetMenu(MBarPtr bar) { return bar ? bar->ChosenMenu : nullptr; }

const char* MBAR_ChosenGetLabel(MBarPtr bar) {
  MItemPtr item = bar ? itemAt(bar, bar->ChosenBarItem) : nullptr;
  return item ? MITEM_GetLabel(item) : nullptr;
}

// --- Display --------------------------------------------------------------------------------

Int MBAR_GetHeight(MBarPtr bar) {
  FontPtr font = bar ? fontOf(bar) : FONT_Default();
  return FONT_GetHeight(font) + 2 * MenuPx(7) + 1;
}

_Rect16Rec MBAR_QueryItemBox(MBarPtr bar, Int index) {
  if (!bar || index < 0 || index >= MBAR_GetNumItems(bar)) return RECT16_Make(0, 0, 0, 0);
  S_SyncBox(bar);
  return S_Layout(bar)[static_cast<size_t>(index)];
}

BoolEnum MBAR_IsMenuOpen(MBarPtr bar) { return MBarTrackActive(bar); }

void MBAR_CloseMenus(MBarPtr bar) {
  if (MBarTrackActive(bar)) MBarTrackClose();
}

// --- The window's bar --------------------------------------------------------------------------

void WIN_SetMenuBar(WinPtr win, MBarPtr bar) {
  if (!win || win->MenuBar == MBAR_Res(bar)) return;
  if (MBarPtr old = WIN_GetMenuBar(win)) {
    if (MBarTrackActive(old)) MBarTrackClose();
    if (WGT_Res(MBAR_Wgt(old))->ResInitialized) WGT_Send(MBAR_Wgt(old), WGT_NFYEND);
    MBAR_Wgt(old)->Win = nullptr;
    MBAR_Wgt(old)->Panel = nullptr;
    RES_Release(MBAR_Res(old));
  }
  win->MenuBar = MBAR_Res(bar);
  if (!bar) return;
  RES_Use(MBAR_Res(bar));
  if (WGT_Res(WIN_Wgt(win))->ResInitialized) {
    S_InitBar(bar, win);
    WGT_Inval(MBAR_Wgt(bar), nullptr);
  }
}

MBarPtr WIN_GetMenuBar(WinPtr win) {
  return win && MBAR_IsMBar(win->MenuBar) ? reinterpret_cast<MBarPtr>(win->MenuBar) : nullptr;
}

BoolEnum MBarWinBefore(WinPtr win, Int message, ClientPtr) {
  MBarPtr bar = WIN_GetMenuBar(win);
  if (!bar || !WGT_Res(MBAR_Wgt(bar))->ResInitialized) return 0;
  if (MBarTrackActive(bar) && MBarTrackWinInput(bar, message)) return 1;
  if (win->OptFlags & WIN_OPTNOMENUBAR) return 0;  // the bar is suppressed
  if (message != WGT_NFYMOUSECLICK) return 0;
  S_SyncBox(bar);
  _Point16Rec loc;
  EVENT_QueryWinLoc(win, &loc);
  if (!RECT16_Contains(MBAR_Wgt(bar)->Box, loc.X, loc.Y)) return 0;
  WGT_MouseHandled(MBAR_Wgt(bar));
  if (EVENT_GetButton() != EVENT_BUT1) return 1;
  std::vector<_Rect16Rec> boxes = S_Layout(bar);
  for (Int i = 0; i < MBAR_GetNumItems(bar); i++)
    if (RECT16_Contains(boxes[static_cast<size_t>(i)], loc.X, loc.Y) && MITEM_IsChoosable(itemAt(bar, i))) {
      MBarTrackOpen(bar, i, 0, 1);
      break;
    }
  return 1;
}

void MBarWinAfter(WinPtr win, Int message, ClientPtr) {
  MBarPtr bar = WIN_GetMenuBar(win);
  if (!bar) return;
  WgtPtr w = MBAR_Wgt(bar);
  switch (message) {
    case WGT_NFYINIT:
      S_InitBar(bar, win);
      break;
    case WGT_NFYREDRAW:
      if (WGT_Res(w)->ResInitialized && !(win->OptFlags & WIN_OPTNOMENUBAR)) WGT_Send(w, WGT_NFYREDRAW);
      break;
    case WGT_NFYRESIZE:
      S_SyncBox(bar);
      WGT_Inval(w, nullptr);
      break;
    case WGT_NFYKEYACCEL:
      if (!WGT_IsKeyHandled() && WGT_Res(w)->ResInitialized && !(win->OptFlags & WIN_OPTNOMENUBAR))
        MBarTrackIdleKey(bar);
      break;
    case WGT_NFYDEACTIVATE:
    case WIN_NFYCLOSED:
    case WIN_NFYICONIFIED:
    case WIN_NFYTERMINATED:
      if (MBarTrackActive(bar)) MBarTrackClose();
      break;
    case WGT_NFYEND:
      if (MBarTrackActive(bar)) MBarTrackClose();
      if (WGT_Res(w)->ResInitialized) WGT_Send(w, WGT_NFYEND);
      break;
    default:
      break;
  }
}
