// The interaction of a menu bar with its open menus: which menus are open,
// what the pointer and the keys do to them, accelerators, and the choice.
//
// It runs in the ordinary event loop, not in a loop of its own: while a
// menu is open the bar's window holds the pointer and keyboard grabs, so
// every pointer event (over the menus, the bar or anywhere else) and every
// key comes to that window and from it here.  One bar at a time has open
// menus.
#include <cctype>
#include <vector>

#include "toolkit/dsply.h"
#include "toolkit/menupriv.h"
#include "toolkit/winpub.h"

namespace {

struct Track {
  MBarPtr bar = nullptr;
  WinPtr win = nullptr;
  Int barItem = -1;
  std::vector<MenuPtr> open;  // open[0] under the bar item, then sub-menus
  bool buttonDown = false;    // a press that has not been released yet
  bool pressOnBar = false;    // that press opened the menu on the bar
  bool grabbed = false;
};
Track sT;
constexpr Int kKeyF10 = EVENT_KEYF1 + 9;

bool active() { return sT.bar != nullptr; }

MItemPtr barItemAt(Int index) { return MBAR_GetNthItem(sT.bar, index); }

_Rect16Rec barItemScreenBox(Int index) {
  _Rect16Rec b = MBAR_QueryItemBox(sT.bar, index);
  WGT_ConvertWgtToAbs(MBAR_Wgt(sT.bar), &b.Origin);
  return b;
}

void closeFrom(size_t level) {
  while (sT.open.size() > level) {
    MenuPtr m = sT.open.back();
    sT.open.pop_back();
    MenuHide(m);
  }
}

void setBarHilite(Int index) {
  if (sT.bar->Hilite == index) return;
  sT.bar->Hilite = index;
  WGT_Inval(MBAR_Wgt(sT.bar), nullptr);
}

// Opens the pull-down of a bar item (closing what was open); with the
// keyboard its first item is highlighted.
void openBarItem(Int index, bool keyboard) {
  closeFrom(0);
  sT.barItem = index;
  setBarHilite(index);
  MenuPtr menu = MITEM_GetSubMenu(barItemAt(index));
  if (!menu) return;
  MenuShowNear(menu, barItemScreenBox(index), 0, MBarItemIsRightAligned(sT.bar, index),
               MITEM_GetLabel(barItemAt(index)));
  sT.open.push_back(menu);
  if (keyboard) MenuSetHilite(menu, MenuNextChoosable(menu, -1, 1));
}

// Opens the sub-menu of an item of an open menu.
void openSub(size_t level, Int index, bool keyboard) {
  MenuPtr menu = sT.open[level];
  MenuPtr sub = MITEM_GetSubMenu(MENU_GetNthItem(menu, index));
  if (sT.open.size() > level + 1 && sT.open[level + 1] == sub) return;
  closeFrom(level + 1);
  if (!sub || !MITEM_IsChoosable(MENU_GetNthItem(menu, index))) return;
  _Rect16Rec box = MenuScreenBox(menu);
  _Rect16Rec anchor = RECT16_Make(box.Origin.X, box.Origin.Y + MenuItemTop(menu, index), box.Extent.X,
                                  MenuRowHeight(MENU_GetNthItem(menu, index)));
  MenuShowNear(sub, anchor, 1, 0, MITEM_GetLabel(MENU_GetNthItem(menu, index)));
  sT.open.push_back(sub);
  if (keyboard) MenuSetHilite(sub, MenuNextChoosable(sub, -1, 1));
}

// The choice of an item: the menus close, the check mark follows, the menu
// and then the window are told.
void choose(MBarPtr bar, Int barItem, MenuPtr menu, Int index) {
  MItemPtr item = MENU_GetNthItem(menu, index);
  if (!MITEM_IsChoosable(item)) {
    DSPLY_Beep();
    return;
  }
  WinPtr win = MBAR_Wgt(bar)->Win;
  if (active()) MBarTrackClose();
  ResPtr keep[] = {MBAR_Res(bar), MENU_Res(menu), win ? WGT_Res(WIN_Wgt(win)) : nullptr};
  for (ResPtr r : keep)
    if (r) RES_Use(r);
  menu->Chosen = index;
  bar->ChosenMenu = menu;
  bar->ChosenBarItem = barItem;
  if (barItem >= 0) bar->Cursor = barItem;
  MenuApplyCheck(menu, index);
  WGT_Send(MENU_Wgt(menu), MENU_NFYITEMSELECT, item);
  WGT_Send(MBAR_Wgt(bar), MBAR_NFYITEMSELECT, menu);
  if (win && !WinIsClosing(win)) WGT_Send(WIN_Wgt(win), WIN_NFYSELMENUBAR, bar);
  for (ResPtr r : keep)
    if (r) RES_Release(r);
}

// An item of an open menu was taken: a sub-menu opens, another is chosen.
void take(size_t level, Int index, bool keyboard) {
  MenuPtr menu = sT.open[level];
  MItemPtr item = MENU_GetNthItem(menu, index);
  if (!item || item->IsSeparator) return;
  if (MITEM_GetSubMenu(item)) {
    openSub(level, index, keyboard);
    return;
  }
  choose(sT.bar, sT.barItem, menu, index);
}

// Where a screen point is: an open menu (deepest first) and its item, or
// a bar item, or nothing.
struct Hit {
  int level = -1;  // open menu, -1 for none
  Int item = -1;
  Int barItem = -1;
  bool onBar = false;
};

Hit hitAt(_Point16Rec abs) {
  Hit hit;
  for (int level = static_cast<int>(sT.open.size()) - 1; level >= 0; level--) {
    MenuPtr m = sT.open[static_cast<size_t>(level)];
    _Rect16Rec box = MenuScreenBox(m);
    if (RECT16_Contains(box, abs.X, abs.Y)) {
      hit.level = level;
      hit.item = MenuItemAt(m, abs.Y - box.Origin.Y);
      return hit;
    }
  }
  _Point16Rec p = abs;
  WGT_ConvertAbsToWgt(MBAR_Wgt(sT.bar), &p);
  WgtPtr bw = MBAR_Wgt(sT.bar);
  if (RECT16_Contains(RECT16_Make(0, 0, bw->Box.Extent.X, bw->Box.Extent.Y), p.X, p.Y)) {
    hit.onBar = true;
    for (Int i = 0; i < MBAR_GetNumItems(sT.bar); i++)
      if (RECT16_Contains(MBAR_QueryItemBox(sT.bar, i), p.X, p.Y)) hit.barItem = i;
  }
  return hit;
}

void pointerMove(const Hit& hit, _Point16Rec abs) {
  if (hit.level >= 0) {
    size_t level = static_cast<size_t>(hit.level);
    MenuPtr m = sT.open[level];
    // A menu cut by the screen scrolls when the pointer rests on its edge.
    _Rect16Rec box = MenuScreenBox(m);
    if (abs.Y < box.Origin.Y + MenuPx(8)) MenuScroll(m, -1);
    else if (abs.Y >= box.Origin.Y + box.Extent.Y - MenuPx(8)) MenuScroll(m, 1);
    if (hit.item == kMenuPinRow) {
      MenuSetHilite(m, kMenuPinRow);
      closeFrom(level + 1);
      return;
    }
    MItemPtr item = MENU_GetNthItem(m, hit.item);
    MenuSetHilite(m, MITEM_IsChoosable(item) ? hit.item : -1);
    if (MITEM_IsChoosable(item) && MITEM_GetSubMenu(item)) openSub(level, hit.item, false);
    else closeFrom(level + 1);
    return;
  }
  // Moving along the bar opens the menu under the pointer.
  if (hit.barItem >= 0 && hit.barItem != sT.barItem && MITEM_IsChoosable(barItemAt(hit.barItem)))
    openBarItem(hit.barItem, false);
  else if (!sT.open.empty())
    MenuSetHilite(sT.open.back(), sT.open.size() > 1 ? sT.open.back()->Hilite : -1);
}

void pointerPress(const Hit& hit) {
  sT.buttonDown = true;
  sT.pressOnBar = false;
  if (hit.level >= 0) return;  // the release decides
  if (hit.barItem >= 0) {
    if (hit.barItem == sT.barItem) {
      MBarTrackClose();  // a second click on the open item closes it
      return;
    }
    if (MITEM_IsChoosable(barItemAt(hit.barItem))) {
      openBarItem(hit.barItem, false);
      sT.pressOnBar = true;
    }
    return;
  }
  if (!hit.onBar) MBarTrackClose();  // a click outside
}

void pointerRelease(const Hit& hit) {
  bool dragged = sT.buttonDown;
  sT.buttonDown = false;
  if (hit.level >= 0) {
    if (hit.item == kMenuPinRow && dragged) {
      MBarPtr bar = sT.bar;
      Int barItem = sT.barItem;
      MenuPtr menu = sT.open[static_cast<size_t>(hit.level)];
      MBarTrackClose();
      MenuTearOff(menu, bar, barItem);
    } else if (hit.item >= 0 && dragged) {
      take(static_cast<size_t>(hit.level), hit.item, false);
    }
    return;
  }
  if (hit.onBar) return;  // a click on the bar leaves the menu open
  if (dragged && sT.pressOnBar) MBarTrackClose();  // dragged off and let go
}

Int mnemonicItem(MenuPtr menu, char c) {
  for (Int i = 0; i < MENU_GetNumElts(menu); i++) {
    MItemPtr item = MENU_GetNthItem(menu, i);
    if (MITEM_IsChoosable(item) && MITEM_ParseLabel(MITEM_GetLabel(item)).Mnemonic == c) return i;
  }
  return -1;
}

Int barMnemonicItem(MBarPtr bar, char c) {
  for (Int i = 0; i < MBAR_GetNumItems(bar); i++) {
    MItemPtr item = MBAR_GetNthItem(bar, i);
    if (MITEM_IsChoosable(item) && MITEM_ParseLabel(MITEM_GetLabel(item)).Mnemonic == c) return i;
  }
  return -1;
}

Int nextBarItem(Int from, Int direction) {
  Int n = MBAR_GetNumItems(sT.bar);
  Int i = from;
  for (Int step = 0; step < n; step++) {
    i = ((i + direction) % n + n) % n;
    if (MITEM_IsChoosable(barItemAt(i))) return i;
  }
  return -1;
}

char typedChar() {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(EVENT_GetKbAsciiChar())));
}

void key() {
  Int k = EVENT_GetKeyCode();
  UInt mods = EVENT_GetKbMods();
  MenuPtr deepest = sT.open.empty() ? nullptr : sT.open.back();
  size_t level = sT.open.empty() ? 0 : sT.open.size() - 1;
  switch (k) {
    case EVENT_KEYESCAPE:
      if (sT.open.size() > 1) closeFrom(level);
      else MBarTrackClose();
      return;
    case kKeyF10:
      MBarTrackClose();
      return;
    case EVENT_KEYUP:
    case EVENT_KEYDOWN:
      if (deepest) {
        // From no highlight, Down goes to the first item and Up to the last.
        Int from = deepest->Hilite >= 0 ? deepest->Hilite : k == EVENT_KEYUP ? 0 : -1;
        MenuSetHilite(deepest, MenuNextChoosable(deepest, from, k == EVENT_KEYDOWN ? 1 : -1));
      }
      return;
    case EVENT_KEYHOME:
    case EVENT_KEYEND:
      if (deepest)
        MenuSetHilite(deepest, k == EVENT_KEYHOME ? MenuNextChoosable(deepest, -1, 1)
                                                  : MenuNextChoosable(deepest, MENU_GetNumElts(deepest), -1));
      return;
    case EVENT_KEYLEFT:
      if (sT.open.size() > 1) {
        closeFrom(level);
        return;
      }
      if (Int i = nextBarItem(sT.barItem, -1); i >= 0) openBarItem(i, true);
      return;
    case EVENT_KEYRIGHT:
      if (deepest && deepest->Hilite >= 0 && MITEM_GetSubMenu(MENU_GetNthItem(deepest, deepest->Hilite))) {
        openSub(level, deepest->Hilite, true);
        return;
      }
      if (Int i = nextBarItem(sT.barItem, 1); i >= 0) openBarItem(i, true);
      return;
    case EVENT_KEYRETURN:
    case EVENT_KEYENTER:
      if (deepest && deepest->Hilite >= 0) take(level, deepest->Hilite, true);
      return;
    default:
      break;
  }
  char c = typedChar();
  if (!c) return;
  if (c == ' ' && deepest && deepest->Hilite >= 0) {
    take(level, deepest->Hilite, true);
    return;
  }
  if (mods & EVENT_MODALT) {
    Int i = barMnemonicItem(sT.bar, c);
    if (i >= 0) openBarItem(i, true);
    return;
  }
  if (deepest) {
    Int i = mnemonicItem(deepest, c);
    if (i >= 0) take(level, i, true);
  }
}

// Finds the item of the bar's menus (sub-menus included) whose accelerator
// is the current key.
bool findAccel(MenuPtr menu, int depth, MenuPtr* found, Int* index) {
  if (!menu || depth > 16) return false;
  for (Int i = 0; i < MENU_GetNumElts(menu); i++) {
    MItemPtr item = MENU_GetNthItem(menu, i);
    if (MITEM_IsChoosable(item) && MITEM_MatchAccel(item)) {
      *found = menu;
      *index = i;
      return true;
    }
    if (MITEM_IsChoosable(item) && findAccel(MITEM_GetSubMenu(item), depth + 1, found, index)) return true;
  }
  return false;
}

void grab() {
  if (sT.grabbed || !sT.win) return;
  DSPLY_GrabPointer(WIN_GetNatWin(sT.win));
  DSPLY_GrabKeyboard(WIN_GetNatWin(sT.win));
  sT.grabbed = true;
}

}  // namespace

BoolEnum MBarTrackActive(MBarPtr bar) { return bar && sT.bar == bar; }

void MBarTrackChoose(MBarPtr bar, Int barItem, MenuPtr menu, Int index) {
  if (bar && menu) choose(bar, barItem, menu, index);
}

void MBarTrackOpen(MBarPtr bar, Int index, BoolEnum keyboard, BoolEnum buttonDown) {
  if (!bar || !MBAR_Wgt(bar)->Win) return;
  if (active() && sT.bar != bar) MBarTrackClose();
  sT.bar = bar;
  sT.win = MBAR_Wgt(bar)->Win;
  sT.buttonDown = buttonDown;
  sT.pressOnBar = buttonDown;
  openBarItem(index, keyboard);
  grab();
}

void MBarTrackClose() {
  if (!active()) return;
  closeFrom(0);
  MBarPtr bar = sT.bar;
  bar->Hilite = -1;
  WGT_Inval(MBAR_Wgt(bar), nullptr);
  if (sT.grabbed) {
    DSPLY_UngrabPointer();
    DSPLY_UngrabKeyboard();
  }
  sT = Track{};
}

void MBarTrackMenuGone(MenuPtr menu) {
  for (MenuPtr m : sT.open)
    if (m == menu) {
      MBarTrackClose();
      return;
    }
}

void MBarTrackPointer(Int message) {
  if (!active()) return;
  EventPtr ev = EVENT_GetCurEvent();
  Hit hit = hitAt(ev->AbsLoc);
  switch (message) {
    case WGT_NFYMOUSEMOVE:
      pointerMove(hit, ev->AbsLoc);
      break;
    case WGT_NFYMOUSECLICK:
      if (EVENT_GetButton() == EVENT_BUT1 || !hit.onBar) pointerPress(hit);
      break;
    case WGT_NFYMOUSEBUTTONRELEASE:
      if (EVENT_GetButton() == EVENT_BUT1) pointerRelease(hit);
      break;
    default:
      break;
  }
}

BoolEnum MBarTrackWinInput(MBarPtr bar, Int message) {
  if (!MBarTrackActive(bar)) return 0;
  switch (message) {
    case WGT_NFYMOUSECLICK:
    case WGT_NFYMOUSEMOVE:
    case WGT_NFYMOUSEBUTTONRELEASE:
      WGT_MouseHandled(MBAR_Wgt(bar));
      MBarTrackPointer(message);
      return 1;
    case WGT_NFYKEYACCEL:
    case WGT_NFYKEYCIRC:
    case WGT_NFYKEYCHAR:
      // While a menu is open every key is the menu's.
      WGT_KeyHandled(MBAR_Wgt(bar));
      if (message == WGT_NFYKEYACCEL) key();
      return 1;
    default:
      return 0;
  }
}

BoolEnum MBarTrackIdleKey(MBarPtr bar) {
  Int k = EVENT_GetKeyCode();
  UInt mods = EVENT_GetKbMods() & (EVENT_MODCONTROL | EVENT_MODALT | EVENT_MODSHIFT);
  if (k == kKeyF10 && mods == 0) {
    Int first = -1;
    for (Int i = 0; i < MBAR_GetNumItems(bar) && first < 0; i++)
      if (MITEM_IsChoosable(MBAR_GetNthItem(bar, i))) first = i;
    WGT_KeyHandled(MBAR_Wgt(bar));
    if (first >= 0) MBarTrackOpen(bar, first, 1, 0);
    return 1;
  }
  if (mods == EVENT_MODALT && (k == EVENT_KEYNORMAL || k == EVENT_KEYCONTROL)) {
    Int i = barMnemonicItem(bar, typedChar());
    if (i >= 0) {
      WGT_KeyHandled(MBAR_Wgt(bar));
      MBarTrackOpen(bar, i, 1, 0);
      return 1;
    }
  }
  for (Int i = 0; i < MBAR_GetNumItems(bar); i++) {
    MItemPtr item = MBAR_GetNthItem(bar, i);
    MenuPtr found = nullptr;
    Int index = -1;
    if (MITEM_IsChoosable(item) && findAccel(MITEM_GetSubMenu(item), 0, &found, &index)) {
      WGT_KeyHandled(MBAR_Wgt(bar));
      choose(bar, i, found, index);
      return 1;
    }
  }
  return 0;
}
