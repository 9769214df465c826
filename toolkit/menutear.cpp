// Torn-off menus: a menu whose pin was chosen shows a copy of itself in a
// window of its own.  The copy is the menu's mirror, so that check marks set
// on the menu show in it; an item chosen in the window is chosen as the
// menu's own, under the bar item the menu belongs to.
#include "toolkit/autom.h"
#include "toolkit/menupriv.h"
#include "toolkit/winpub.h"

namespace {

// What a torn-off window holds: references to the bar and the menu, so that
// neither goes while the window is up.
struct TornOff {
  MBarPtr bar;
  Int barItem;
  MenuPtr original;
  MenuPtr mirror;
  Int pressed = -1;
};

MenuPtr S_Copy(MenuPtr menu) {
  MenuPtr copy = MENU_Create();
  for (Int i = 0; i < MENU_GetNumElts(menu); i++) {
    MItemPtr item = MENU_GetNthItem(menu, i);
    if (item->IsSeparator) {
      MENU_AddSeparator(copy);
      continue;
    }
    MENU_AddItem(copy, MITEM_GetLabel(item));
    MItemPtr mine = MENU_GetNthItem(copy, i);
    mine->CheckType = item->CheckType;
    mine->Checked = item->Checked;
    mine->AccelKey = item->AccelKey;
    mine->AccelMods = item->AccelMods;
    mine->AccelChar = item->AccelChar;
    mine->Id = item->Id;
    VSTR_Set(&mine->AcceleratorLabel, item->AcceleratorLabel);
    MITEM_Res(mine)->ClientData = MITEM_Res(item)->ClientData;
    // A sub-menu does not come along: its item cannot be chosen here.
    mine->Activity = MITEM_IsChoosable(item) && !MITEM_GetSubMenu(item) ? MITEM_ACTIVE : MITEM_INACTIVE;
  }
  return copy;
}

void S_End(TornOff* t) {
  if (t->original->Mirror == t->mirror) MenuSetMirror(t->original, nullptr);
  MENU_Wgt(t->mirror)->Win = nullptr;
  MENU_Wgt(t->mirror)->Panel = nullptr;
  RES_Release(MENU_Res(t->mirror));
  RES_Release(MENU_Res(t->original));
  RES_Release(MBAR_Res(t->bar));
  delete t;
}

void S_Pointer(TornOff* t, WinPtr win, Int message) {
  _Point16Rec loc;
  EVENT_QueryWinLoc(win, &loc);
  WgtPtr mw = MENU_Wgt(t->mirror);
  bool inside = RECT16_Contains(RECT16_Make(0, 0, mw->Box.Extent.X, mw->Box.Extent.Y), loc.X, loc.Y);
  Int item = inside ? MenuItemAt(t->mirror, loc.Y) : -1;
  bool choosable = MITEM_IsChoosable(MENU_GetNthItem(t->mirror, item));
  switch (message) {
    case WGT_NFYMOUSEMOVE:
      MenuSetHilite(t->mirror, choosable ? item : -1);
      break;
    case WGT_NFYMOUSEOUT:
      MenuSetHilite(t->mirror, -1);
      break;
    case WGT_NFYMOUSECLICK:
      if (EVENT_GetButton() == EVENT_BUT1) t->pressed = choosable ? item : -1;
      break;
    case WGT_NFYMOUSEBUTTONRELEASE:
      if (EVENT_GetButton() == EVENT_BUT1 && choosable && item == t->pressed)
        MBarTrackChoose(t->bar, t->barItem, t->original, item);
      t->pressed = -1;
      break;
    default:
      break;
  }
}

long S_TornNfy(ResPtr res, Int message, ClientPtr data) {
  TornOff* t = static_cast<TornOff*>(res->ClientData);
  WinPtr win = WIN_FromRes(res);
  switch (message) {
    case WGT_NFYREDRAW:
      WIN_DefNfy(res, message, data);
      if (t) WGT_Send(MENU_Wgt(t->mirror), WGT_NFYREDRAW);
      return 0;
    case WGT_NFYMOUSEMOVE:
    case WGT_NFYMOUSEOUT:
    case WGT_NFYMOUSECLICK:
    case WGT_NFYMOUSEBUTTONRELEASE:
      if (t) S_Pointer(t, win, message);
      return 0;
    case WIN_NFYTERMINATED: {
      long result = WIN_DefNfy(res, message, data);
      if (t) {
        AUTOM_SetContent(win, nullptr);
        res->ClientData = nullptr;
        S_End(t);
      }
      return result;
    }
    default:
      return WIN_DefNfy(res, message, data);
  }
}

}  // namespace

void MenuTearOff(MenuPtr menu, MBarPtr bar, Int barItem) {
  if (!menu || !bar || menu->Mirror) return;  // one torn-off copy at a time
  TornOff* t = new TornOff{bar, barItem, menu, S_Copy(menu)};
  RES_Use(MBAR_Res(bar));
  RES_Use(MENU_Res(menu));
  _Point16Rec ext = MenuQueryExtent(t->mirror);
  _Rect16Rec shown = MenuScreenBox(menu);
  WinPtr win = WIN_FromRes(RES_Create(WIN_Class()));
  WIN_Wgt(win)->ResBox = RECT16_Make(shown.Origin.X, shown.Origin.Y, ext.X, ext.Y);
  WIN_Wgt(win)->BgColor = COLOR_Face();
  MItemPtr barLabel = MBAR_GetNthItem(bar, barItem);
  VSTR_Set(&WIN_Panel(win)->Label, MITEM_ParseLabel(MITEM_GetLabel(barLabel)).Text.c_str());
  WIN_Init(win);
  WGT_Res(WIN_Wgt(win))->ClientData = t;
  WGT_Res(WIN_Wgt(win))->Notify = S_TornNfy;
  WgtPtr mw = MENU_Wgt(t->mirror);
  mw->Win = win;
  mw->Panel = WIN_Panel(win);
  mw->Index = 0x7fff;  // no sibling lies over it
  WGT_Send(mw, WGT_NFYINIT);
  mw->Box = RECT16_Make(0, 0, ext.X, ext.Y);
  mw->WgtPrivate3 = 0;
  MenuSetMirror(menu, t->mirror);
  AUTOM_SetContent(win, mw);
  // The window's own reference goes when it is closed (terminated).
  WIN_Show(win);
}
