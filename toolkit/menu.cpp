// Pull-down menus: the class, the cursor, the geometry and drawing of a
// shown menu, and the window it is shown in.
#include "toolkit/menu.h"

#include <algorithm>

#include <cstdio>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/menupriv.h"
#include "toolkit/pfld.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

namespace {

#define MENU_FIELD(name, member, type, kind) PFLD_MEMBER(_MnuObj, name, member, type, kind)

_PFldRec sMenuFields[] = {MENU_FIELD("Choices", Choices, PFLD_RESARRAY, 11),
                          MENU_FIELD("DefChoice", DefChoice, PFLD_RES, 11),
                          MENU_FIELD("UsePin", UsePin, PFLD_INT16, PFLD_KINDVALUE),
                          MENU_FIELD("TearOffThreshold", TearOffThreshold, PFLD_INT16, PFLD_KINDVALUE),
                          {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sMenu = nullptr;

// Columns of a row: check mark, label, gap, accelerator, sub-menu arrow.
int checkColumn() { return MenuPx(26); }
int arrowColumn() { return MenuPx(22); }
int accelGap() { return MenuPx(36); }
int padTop() { return MenuPx(4); }
// The pin row of a menu that can be torn off, above its items.
int pinRow(MenuPtr menu) { return menu->UsePin ? MenuPx(12) : 0; }
int firstTop(MenuPtr menu) { return padTop() + pinRow(menu); }

MItemPtr itemAt(MenuPtr menu, Int index) {
  return menu ? reinterpret_cast<MItemPtr>(ARRAY_GetNthPtr(menu->Choices, index)) : nullptr;
}

MItemPtr current(MenuPtr menu) { return MENU_IsOk(menu) ? itemAt(menu, menu->Cursor) : nullptr; }

void addEntry(MenuPtr menu, MItemPtr item) {
  if (!menu->Choices) menu->Choices = ARRAY_New(static_cast<Int>(sizeof(ResPtr)), 8);
  ARRAY_AddPtr(menu->Choices, item);  // the menu takes the creation reference
  MITEM_Wgt(item)->Win = MENU_Wgt(menu)->Win;
  menu->Cursor = ARRAY_GetCount(menu->Choices) - 1;
}

FontPtr fontOf(MenuPtr menu) {
  FontPtr f = WGT_GetFont(MENU_Wgt(menu));
  return f ? f : FONT_Default();
}

void drawCheck(DrawPtr d, MItemPtr item, int x, int y, int h, ColorPtr color) {
  int s = MenuPx(14);
  int top = y + (h - s) / 2;
  if (item->CheckType == MITEM_CHECKRADIO) {
    DRAW_FillEllipse(d, RECT16_Make(x + (checkColumn() - s) / 2 + MenuPx(2), top + MenuPx(2), s - MenuPx(4),
                                    s - MenuPx(4)),
                     color);
    return;
  }
  TButDrawCheckMark(d, RECT16_Make(x + (checkColumn() - s) / 2, top, s, s), color);
}

void drawArrow(DrawPtr d, int x, int y, int h, ColorPtr color) {
  int s = MenuPx(4);
  int cx = x + arrowColumn() / 2 - s / 2, cy = y + h / 2;
  PenPtr pen = PEN_New(MenuPx(2) < 2 ? 2 : MenuPx(2), PEN_STYLESOLID);
  _Point16Rec pts[3] = {{static_cast<int16_t>(cx), static_cast<int16_t>(cy - s)},
                        {static_cast<int16_t>(cx + s), static_cast<int16_t>(cy)},
                        {static_cast<int16_t>(cx), static_cast<int16_t>(cy + s)}};
  DRAW_Lines(d, pts, 3, color, pen);
  PEN_Dispose(pen);
}

void S_Redraw(MenuPtr menu) {
  WgtPtr w = MENU_Wgt(menu);
  DrawPtr d = WGT_BeginDraw(w);
  FontPtr font = fontOf(menu);
  _Rect16Rec all = RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y);
  DRAW_FillRect(d, all, COLOR_Face());
  Int n = MENU_GetNumElts(menu);
  int y = firstTop(menu);
  int right = w->Box.Extent.X;
  if (menu->UsePin) {
    // The pin: a dashed line across, to tear the menu off.
    int pinY = padTop() + pinRow(menu) / 2;
    ColorPtr pinColor = menu->Hilite == kMenuPinRow ? COLOR_Accent() : COLOR_Gray();
    DRAW_Line(d, MenuPx(8), pinY, right - MenuPx(8), pinY, pinColor, PEN_Dash());
  }
  for (Int i = menu->ScrollTop; i < n && y < w->Box.Extent.Y; i++) {
    MItemPtr item = itemAt(menu, i);
    int h = MenuRowHeight(item);
    if (item->IsSeparator) {
      DRAW_FillRect(d, RECT16_Make(MenuPx(8), y + h / 2, right - 2 * MenuPx(8), 1), COLOR_Border());
      y += h;
      continue;
    }
    bool enabled = MITEM_IsChoosable(item);
    bool hilite = i == menu->Hilite && enabled;
    ColorPtr text = !enabled ? COLOR_DisabledText() : hilite ? COLOR_White() : COLOR_Text();
    if (hilite) DRAW_FillRect(d, RECT16_Make(MenuPx(3), y, right - 2 * MenuPx(3), h), COLOR_Accent());
    int base = y + (h - FONT_GetHeight(font)) / 2 + FONT_GetAscent(font);
    if (item->Checked && item->CheckType != MITEM_CHECKNONE) drawCheck(d, item, 0, y, h, text);
    MITEM_DrawLabel(d, font, text, checkColumn(), base, MITEM_GetLabel(item));
    std::string accel = MITEM_AccelText(item);
    if (!accel.empty()) {
      int aw = DRAW_QueryTextExt(font, accel.c_str(), -1).X;
      DRAW_Text(d, font, enabled && !hilite ? COLOR_Gray() : text, right - arrowColumn() - aw, base, accel.c_str(),
                -1);
    }
    if (MITEM_GetSubMenu(item)) drawArrow(d, right - arrowColumn(), y, h, text);
    y += h;
  }
  // A menu cut by the screen shows where more items are.
  if (menu->ScrollTop > 0) DRAW_FillRect(d, RECT16_Make(0, 0, right, MenuPx(3)), COLOR_Accent());
  if (y >= w->Box.Extent.Y && n > 0 && MenuItemAt(menu, w->Box.Extent.Y - 1) < n - 1)
    DRAW_FillRect(d, RECT16_Make(0, w->Box.Extent.Y - MenuPx(3), right, MenuPx(3)), COLOR_Accent());
  DRAW_FrameRect(d, all, COLOR_Border(), PEN_Solid());
  WGT_EndDraw(d);
}

// The procedure of a menu's window: the menu is drawn over the window's
// background, and pointer input goes to the bar's interaction.  The window
// is held for the length of a message: a choice may end the menu, and the
// menu its window.
long S_ShellNfy(ResPtr res, Int message, ClientPtr data) {
  MenuPtr menu = static_cast<MenuPtr>(res->ClientData);
  RES_Use(res);
  long result = 0;
  switch (message) {
    case WGT_NFYREDRAW:
      WIN_DefNfy(res, message, data);
      if (menu) WGT_Send(MENU_Wgt(menu), WGT_NFYREDRAW);
      break;
    case WGT_NFYMOUSECLICK:
    case WGT_NFYMOUSEMOVE:
    case WGT_NFYMOUSEBUTTONRELEASE:
      if (menu) MBarTrackPointer(message);
      break;
    default:
      result = WIN_DefNfy(res, message, data);
      break;
  }
  RES_Release(res);
  return result;
}

WinPtr S_Shell(MenuPtr menu, const _Rect16Rec& box) {
  if (menu->Shell) return menu->Shell;
  WinPtr shell = WIN_FromRes(RES_Create(WIN_Class()));
  shell->OptFlags = static_cast<UInt16>(shell->OptFlags | WIN_OPTPOPUP | WIN_OPTNOACTIVATE);
  shell->Mode = WIN_MODENOACTIVATE;
  WIN_Wgt(shell)->ResBox = box;
  WIN_Wgt(shell)->BgColor = COLOR_Face();
  WGT_Res(WIN_Wgt(shell))->ClientData = menu;
  WGT_Res(WIN_Wgt(shell))->Notify = S_ShellNfy;
  WIN_Init(shell);
  menu->Shell = shell;
  WgtPtr w = MENU_Wgt(menu);
  AUTOM_SetContent(shell, w);
  w->Win = shell;
  w->Panel = WIN_Panel(shell);
  w->Index = 0x7fff;  // no sibling lies over it
  if (!WGT_Res(w)->ResInitialized) WGT_Send(w, WGT_NFYINIT);
  return shell;
}

void S_MenuDestruct(ResPtr res) {
  MenuPtr menu = reinterpret_cast<MenuPtr>(res);
  MBarTrackMenuGone(menu);
  if (WinPtr shell = menu->Shell) {
    menu->Shell = nullptr;
    AUTOM_SetContent(shell, nullptr);
    ResPtr sr = WGT_Res(WIN_Wgt(shell));
    sr->ClientData = nullptr;
    sr->Notify = WIN_DefNfy;
    // The window goes with the menu (unless a message of its own is being
    // handled; then when that ends).
    WinPutAway(shell);
    RES_Release(sr);
  }
  MENU_Wgt(menu)->Win = nullptr;
  MENU_Wgt(menu)->Panel = nullptr;
}

void S_MenuConstruct(ResPtr res, ResConstructPtr params) {
  if (params->Mode == RES_MODECOPY) return;
  MenuPtr menu = reinterpret_cast<MenuPtr>(res);
  menu->Cursor = 0;
  menu->Mirror = nullptr;
  menu->Chosen = -1;
  menu->Hilite = -1;
  menu->ScrollTop = 0;
  menu->Shell = nullptr;
}

}  // namespace

int MenuPx(int n) { return n * DSPLY_GetScreenDpi() / 96; }

RClasPtr MENU_Class() { return sMenu; }

void MENU_InstallClass() {
  WIN_InstallClass();
  MSEP_InstallClass();
  sMenu = WgtRegisterClass("Menu", "Menu", WGT_Class(), sMenuFields, static_cast<Int>(sizeof(_MnuObj)),
                           S_MenuConstruct, S_MenuDestruct, MENU_DefNfy);
}
void MENU_InitClass() {}

MenuPtr MENU_Create() {
  if (!sMenu) MENU_InstallClass();
  return reinterpret_cast<MenuPtr>(RES_Create(sMenu));
}

BoolEnum MENU_IsMenu(ResPtr res) { return res && sMenu && RCLAS_IsSubClassOf(res->ResClass, sMenu); }

long MENU_DefNfy(ResPtr res, Int message, ClientPtr data) {
  MenuPtr menu = reinterpret_cast<MenuPtr>(res);
  switch (message) {
    case WGT_NFYREDRAW:
      S_Redraw(menu);
      return 0;
    case MENU_NFYITEMDRAW:
      WGT_Inval(MENU_Wgt(menu), nullptr);
      return 0;
    case MENU_NFYINITMENU:
    case MENU_NFYENDMENU:
    case MENU_NFYITEMSELECT:
      return 0;
    default:
      return WGT_DefNfy(res, message, data);
  }
}

void MENU_Describe(WgtPtr wgt, AutomDesc* desc) {
  MenuPtr menu = reinterpret_cast<MenuPtr>(wgt);
  int width = wgt->Box.Extent.X, height = wgt->Box.Extent.Y;
  // The pin row that tears the menu off is pressed as an item is.
  if (menu->UsePin) AUTOM_AddLine(desc, "/pin", "MPin", RECT16_Make(0, padTop(), width, pinRow(menu)), "VE", "");
  int top = firstTop(menu);
  for (Int i = menu->ScrollTop; i < MENU_GetNumElts(menu) && top < height; i++) {
    MItemPtr item = itemAt(menu, i);
    int h = MenuRowHeight(item);
    std::string state = "V";
    if (MITEM_IsChoosable(item)) state += 'E';
    if (item->Checked && item->CheckType != MITEM_CHECKNONE) state += 'S';
    if (i == menu->Hilite) state += 'F';
    char suffix[24];
    std::snprintf(suffix, sizeof suffix, "/%ld", static_cast<long>(i));
    AUTOM_AddLine(desc, suffix, item->IsSeparator ? "MSep" : "MItem", RECT16_Make(0, top, width, h), state.c_str(),
                  item->IsSeparator ? "" : MITEM_ParseLabel(MITEM_GetLabel(item)).Text.c_str());
    top += h;
  }
}

// --- Cursor -------------------------------------------------------------------------

Int MENU_GoFirst(MenuPtr menu) { return menu ? (menu->Cursor = 0) : -1; }
Int MENU_GoLast(MenuPtr menu) { return menu ? (menu->Cursor = MENU_GetNumElts(menu) - 1) : -1; }
Int MENU_GoNext(MenuPtr menu) { return menu ? ++menu->Cursor : -1; }
void MENU_GoIndex(MenuPtr menu, Int index) {
  if (menu) menu->Cursor = index;
}
BoolEnum MENU_IsOk(MenuPtr menu) {
  return menu && menu->Choices && menu->Cursor >= 0 && menu->Cursor < ARRAY_GetCount(menu->Choices);
}
Int MENU_GetNumElts(MenuPtr menu) { return menu ? ARRAY_GetCount(menu->Choices) : 0; }
MItemPtr MENU_GetNthItem(MenuPtr menu, Int index) { return itemAt(menu, index); }

void MENU_AddItem(MenuPtr menu, const char* label) {
  if (menu) addEntry(menu, MITEM_Create(label));
}

void MENU_AddSeparator(MenuPtr menu) {
  if (menu) addEntry(menu, MSEP_Create());
}

const char* MENU_CurGetLabel(MenuPtr menu) {
  MItemPtr item = current(menu);
  return item ? MITEM_GetLabel(item) : nullptr;
}

void MENU_CurSetLabel(MenuPtr menu, const char* label) {
  if (MItemPtr item = current(menu)) MITEM_SetLabel(item, label);
}

void MENU_CurSetAccelKey(MenuPtr menu, Int key, UInt mods, char character) {
  if (MItemPtr item = current(menu)) {
    item->AccelKey = key;
    item->AccelMods = mods;
    item->AccelChar = character;
  }
}

void MENU_CurSetAccelLabel(MenuPtr menu, const char* label) {
  if (MItemPtr item = current(menu)) VSTR_Set(&item->AcceleratorLabel, label);
}

void MENU_CurSetClientData(MenuPtr menu, ClientPtr data) {
  if (MItemPtr item = current(menu)) MITEM_Res(item)->ClientData = data;
}

ClientPtr MENU_CurGetClientData(MenuPtr menu) {
  MItemPtr item = current(menu);
  return item ? MITEM_Res(item)->ClientData : nullptr;
}

void MENU_CurSetId(MenuPtr menu, UInt16 id) {
  if (MItemPtr item = current(menu)) item->Id = id;
}

UInt16 MENU_CurGetId(MenuPtr menu) {
  MItemPtr item = current(menu);
  return item ? item->Id : 0;
}

void MENU_CurSetChecked(MenuPtr menu, BoolEnum flag) {
  MItemPtr item = current(menu);
  if (!item) return;
  item->Checked = flag ? 1 : 0;
  if (MenuIsShown(menu)) WGT_Send(MENU_Wgt(menu), MENU_NFYITEMDRAW);
  if (MenuPtr mirror = menu->Mirror) {
    mirror->Cursor = menu->Cursor;
    if (MItemPtr copy = current(mirror)) copy->Checked = item->Checked;
    if (MenuIsShown(mirror)) WGT_Send(MENU_Wgt(mirror), MENU_NFYITEMDRAW);
  }
}

BoolEnum MENU_CurGetChecked(MenuPtr menu) {
  MItemPtr item = current(menu);
  return item && item->Checked;
}

void MENU_CurSetCheckedMode(MenuPtr menu, Int16 mode) {
  if (MItemPtr item = current(menu)) item->CheckType = mode;
}

void MENU_CurSetEnabled(MenuPtr menu, BoolEnum flag) {
  if (MItemPtr item = current(menu)) item->Activity = flag ? MITEM_ACTIVE : MITEM_INACTIVE;
  if (MenuIsShown(menu)) WGT_Inval(MENU_Wgt(menu), nullptr);
}

BoolEnum MENU_CurIsEnabled(MenuPtr menu) { return MITEM_IsChoosable(current(menu)); }

void MENU_CurSetSubMenu(MenuPtr menu, MenuPtr subMenu) { MITEM_SetSubMenu(current(menu), subMenu); }
MenuPtr MENU_CurGetSubMenu(MenuPtr menu) { return MITEM_GetSubMenu(current(menu)); }
WgtPtr MENU_CurGetMenuWgt(MenuPtr menu) { return MITEM_Wgt(current(menu)); }

ClientPtr MENU_ChosenGetClientData(MenuPtr menu) {
  MItemPtr item = MENU_ChosenGetItem(menu);
  return item ? MITEM_Res(item)->ClientData : nullptr;
}

MItemPtr MENU_ChosenGetItem(MenuPtr menu) { return menu ? itemAt(menu, menu->Chosen) : nullptr; }

const char* MENU_ChosenGetLabel(MenuPtr menu) {
  MItemPtr item = MENU_ChosenGetItem(menu);
  return item ? MITEM_GetLabel(item) : nullptr;
}

void MenuSetMirror(MenuPtr menu, MenuPtr mirror) {
  if (menu) menu->Mirror = mirror;
}

// --- Geometry ----------------------------------------------------------------------------

int MenuRowHeight(MItemPtr item) {
  if (!item) return 0;
  if (item->IsSeparator) return MenuPx(9);
  FontPtr font = WGT_GetFont(MITEM_Wgt(item));
  return FONT_GetHeight(font ? font : FONT_Default()) + 2 * MenuPx(5) + 2 * item->MarginY;
}

_Point16Rec MenuQueryExtent(MenuPtr menu) {
  FontPtr font = fontOf(menu);
  int width = 0, height = 2 * padTop() + pinRow(menu);
  bool arrows = false;
  for (Int i = 0; i < MENU_GetNumElts(menu); i++) {
    MItemPtr item = itemAt(menu, i);
    height += MenuRowHeight(item);
    if (item->IsSeparator) continue;
    int w = DRAW_QueryTextExt(font, MITEM_ParseLabel(MITEM_GetLabel(item)).Text.c_str(), -1).X;
    std::string accel = MITEM_AccelText(item);
    if (!accel.empty()) w += accelGap() + DRAW_QueryTextExt(font, accel.c_str(), -1).X;
    arrows = arrows || MITEM_GetSubMenu(item);
    width = std::max(width, w);
  }
  (void)arrows;
  width += checkColumn() + arrowColumn();
  width = std::max(width, MenuPx(120));
  return _Point16Rec{static_cast<int16_t>(std::min(width, 32000)), static_cast<int16_t>(std::min(height, 32000))};
}

int MenuItemTop(MenuPtr menu, Int index) {
  int y = firstTop(menu);
  for (Int i = menu->ScrollTop; i < index && i < MENU_GetNumElts(menu); i++) y += MenuRowHeight(itemAt(menu, i));
  return y;
}

Int MenuItemAt(MenuPtr menu, int y) {
  if (!menu || y < 0) return -1;
  if (menu->UsePin && y >= padTop() && y < firstTop(menu)) return kMenuPinRow;
  int top = firstTop(menu);
  for (Int i = menu->ScrollTop; i < MENU_GetNumElts(menu); i++) {
    int h = MenuRowHeight(itemAt(menu, i));
    if (y >= top && y < top + h) return i;
    top += h;
  }
  return -1;
}

void MenuShowNear(MenuPtr menu, const _Rect16Rec& anchor, BoolEnum beside, BoolEnum alignRight, const char* title) {
  if (!menu) return;
  _Point16Rec ext = MenuQueryExtent(menu);
  _Point16Rec scr = DSPLY_GetScreenExt();
  int w = ext.X, h = ext.Y;
  int sw = scr.X > 0 ? scr.X : 32000, sh = scr.Y > 0 ? scr.Y : 32000;
  int x, y;
  if (beside) {
    x = anchor.Origin.X + anchor.Extent.X - MenuPx(2);
    if (x + w > sw) x = anchor.Origin.X - w + MenuPx(2);
    y = anchor.Origin.Y - firstTop(menu);
    if (y + h > sh) y = sh - h;
  } else {
    x = alignRight ? anchor.Origin.X + anchor.Extent.X - w : anchor.Origin.X;
    y = anchor.Origin.Y + anchor.Extent.Y;
    int below = sh - y, above = anchor.Origin.Y;
    if (h > below && above > below) {
      // More room above the bar than below it.
      if (h > above) h = above;
      y = anchor.Origin.Y - h;
    } else if (h > below) {
      h = below;
    }
  }
  if (x + w > sw) x = sw - w;
  if (x < 0) x = 0;
  if (y < 0) y = 0;
  if (h > sh - y) h = sh - y;
  if (w > sw) w = sw;
  _Rect16Rec box = RECT16_Make(x, y, w, h > 1 ? h : 1);
  menu->ScrollTop = 0;
  menu->Hilite = -1;
  WinPtr shell = S_Shell(menu, box);
  // "File menu": a name of its own, which no window of the program takes
  // for a menu bar item named as a window is (a tool's item in the Tool
  // Manager's bar).
  WIN_SetLabel(shell, (MITEM_ParseLabel(title).Text + " menu").c_str());
  WIN_SetBox(shell, box);
  WgtPtr mw = MENU_Wgt(menu);
  mw->Box = RECT16_Make(0, 0, box.Extent.X, box.Extent.Y);
  mw->WgtPrivate3 = 0;  // the visible region follows the new box
  WGT_Send(mw, MENU_NFYINITMENU);
  WIN_SelfShow(shell);
  WGT_Inval(mw, nullptr);
}

void MenuHide(MenuPtr menu) {
  if (!MenuIsShown(menu)) return;
  menu->Hilite = -1;
  WinPutAway(menu->Shell);
  // A closed menu's window is found by no name.
  WIN_SetLabel(menu->Shell, "");
  WGT_Send(MENU_Wgt(menu), MENU_NFYENDMENU);
}

// A menu is on show in its pop-up window or, torn off, in a window of its own.
BoolEnum MenuIsShown(MenuPtr menu) { return menu && MENU_Wgt(menu)->Win && WIN_IsOpen(MENU_Wgt(menu)->Win); }

_Rect16Rec MenuScreenBox(MenuPtr menu) {
  return menu && menu->Shell ? WIN_Wgt(menu->Shell)->Box : RECT16_Make(0, 0, 0, 0);
}

void MenuSetHilite(MenuPtr menu, Int index) {
  if (!menu || menu->Hilite == index) return;
  menu->Hilite = index;
  WgtPtr w = MENU_Wgt(menu);
  if (index >= 0 && menu->Shell) {
    // Scrolled into view when the menu is cut by the screen.
    if (index < menu->ScrollTop) menu->ScrollTop = index;
    while (menu->ScrollTop < index &&
           MenuItemTop(menu, index) + MenuRowHeight(itemAt(menu, index)) > w->Box.Extent.Y - padTop())
      menu->ScrollTop++;
  }
  WGT_Inval(w, nullptr);
}

void MenuScroll(MenuPtr menu, Int rows) {
  if (!menu) return;
  Int n = MENU_GetNumElts(menu);
  Int top = menu->ScrollTop + rows;
  WgtPtr w = MENU_Wgt(menu);
  // Not past the point where the last item is in view.
  while (top > menu->ScrollTop && MenuItemAt(menu, w->Box.Extent.Y - 1) == -1) top--;
  if (rows > 0 && MenuItemAt(menu, w->Box.Extent.Y - padTop() - 1) >= n - 1) return;
  top = std::max<Int>(0, std::min(top, n - 1));
  if (top == menu->ScrollTop) return;
  menu->ScrollTop = top;
  WGT_Inval(w, nullptr);
}

Int MenuNextChoosable(MenuPtr menu, Int from, Int direction) {
  Int n = MENU_GetNumElts(menu);
  if (n == 0) return -1;
  Int i = from;
  for (Int step = 0; step < n; step++) {
    i = ((i + direction) % n + n) % n;
    if (MITEM_IsChoosable(itemAt(menu, i))) return i;
  }
  return -1;
}

void MenuApplyCheck(MenuPtr menu, Int index) {
  MItemPtr item = itemAt(menu, index);
  if (!item) return;
  Int saved = menu->Cursor;
  if (item->CheckType == MITEM_CHECKTOGGLE) {
    menu->Cursor = index;
    MENU_CurSetChecked(menu, !item->Checked);
  } else if (item->CheckType == MITEM_CHECKRADIO) {
    // The radio items next to it, up to the separators, form its group.
    Int first = index, last = index;
    while (first > 0 && !itemAt(menu, first - 1)->IsSeparator) first--;
    while (last + 1 < MENU_GetNumElts(menu) && !itemAt(menu, last + 1)->IsSeparator) last++;
    for (Int i = first; i <= last; i++) {
      if (itemAt(menu, i)->CheckType != MITEM_CHECKRADIO) continue;
      menu->Cursor = i;
      MENU_CurSetChecked(menu, i == index);
    }
  }
  menu->Cursor = saved;
}
