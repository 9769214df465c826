// The menu bar (MBar) of a window: a row of items across the top of the
// window, each opening a pull-down menu (menu.h).  Items may be aligned to
// the right end of the bar.
//
// Interaction, as on a desktop: a click on a bar item opens its menu and a
// second click on an item chooses it; pressing, dragging onto an item and
// releasing chooses it too.  F10 opens the first menu, Alt with an item's
// mnemonic opens that item's menu; then the arrow keys move across the bar
// and down the menu, Return chooses, Escape closes a level, and a letter
// chooses the item it is the mnemonic of.  An item's accelerator chooses it
// with every menu closed.  A click outside the menus closes them.
//
// A choice ends in WIN_NFYSELMENUBAR (184) on the window's procedure, after
// MENU_NFYITEMSELECT (155) on the menu; then MBAR_ChosenGetMenu gives the
// menu and MENU_ChosenGetClientData the item's data, and the bar's cursor
// stands on the bar item the choice came under.
//
// The bar is drawn over the top MBAR_GetHeight() pixels of the window: a
// window with a menu bar leaves that strip free of widgets.
//
// Contracts:
// - WIN_SetMenuBar: the window takes a reference of its own to the bar and
//   releases it when it ends.  MBAR_Create gives the caller one reference.
// - The cursor calls behave as the menu's (menu.h).  MBAR_IsOk is false for
//   the window list item, which the loop GoFirst / IsOk / GoNext must not
//   touch.
#ifndef OWB_TOOLKIT_MBAR_H
#define OWB_TOOLKIT_MBAR_H

#include "toolkit/menu.h"

enum ENUM_MBarNfyEnum {
  MBAR_NFYITEMSIZE = 200,
  MBAR_NFYITEMDRAW = 201,
  MBAR_NFYITEMSELECT = 202,
  MBAR_NFYITEMHIGHLIGHT = 203,
  MBAR_NFYITEMUNHIGHLIGHT = 204
};

struct _MBarObj {
  _WgtObj Wgt;
  ArrayPtr Choices;         // ResPtr of MItem, one reference each
  ArrayPtr RightJustified;  // the items of Choices aligned to the right end
  ResPtr AccelKeys;
  // Kept by the module.
  Int Cursor;
  MenuPtr ChosenMenu;  // the menu of the last choice (no reference)
  Int ChosenBarItem;   // the bar item it came under, -1 for none
  Int Hilite;          // the bar item shown open, -1 for none
};
typedef _MBarObj* MBarPtr;

inline WgtPtr MBAR_Wgt(MBarPtr bar) { return reinterpret_cast<WgtPtr>(bar); }
inline ResPtr MBAR_Res(MBarPtr bar) { return reinterpret_cast<ResPtr>(bar); }

RClasPtr MBAR_Class();
void MBAR_InstallClass();
void MBAR_InitClass();
MBarPtr MBAR_Create();
long MBAR_DefNfy(ResPtr res, Int message, ClientPtr data);
BoolEnum MBAR_IsMBar(ResPtr res);
// For the automation surface: a line per item, "<path>/<index>", class
// "MItem", the item's box, state E when it can be chosen and S while its
// menu is open, and the label as shown.
void MBAR_Describe(WgtPtr wgt, struct AutomDesc* desc);

// --- Cursor ----------------------------------------------------------------------
Int MBAR_GoFirst(MBarPtr bar);
Int MBAR_GoLast(MBarPtr bar);  // -1 on an empty bar
Int MBAR_GoNext(MBarPtr bar);
// Moves to the first item whose label (with its "&" marks) equals the
// text, case counting; without a match the cursor stays.  True on a match.
BoolEnum MBAR_GoLabel(MBarPtr bar, const char* label);
BoolEnum MBAR_IsOk(MBarPtr bar);
Int MBAR_GetNumItems(MBarPtr bar);
MItemPtr MBAR_GetNthItem(MBarPtr bar, Int index);

// --- Building and the item under the cursor ---------------------------------------
void MBAR_AddItem(MBarPtr bar, const char* label);  // appends; the cursor goes to it
const char* MBAR_CurGetLabel(MBarPtr bar);          // null out of range
void MBAR_CurSetLabel(MBarPtr bar, const char* label);
MenuPtr MBAR_CurGetSubMenu(MBarPtr bar);
void MBAR_CurSetSubMenu(MBarPtr bar, MenuPtr menu);  // the item takes a reference
void MBAR_CurSetRightAligned(MBarPtr bar, BoolEnum flag);
void MBAR_CurSetEnabled(MBarPtr bar, BoolEnum flag);
WgtPtr MBAR_CurGetMenuWgt(MBarPtr bar);

// --- After a choice -----------------------------------------------------------------
MenuPtr MBAR_ChosenGetMenu(MBarPtr bar);
const char* MBAR_ChosenGetLabel(MBarPtr bar);  // the bar item's label, null for none

// --- Display ------------------------------------------------------------------------
Int MBAR_GetHeight(MBarPtr bar);
// The item's box in bar coordinates (after layout); empty out of range.
_Rect16Rec MBAR_QueryItemBox(MBarPtr bar, Int index);
// True while a menu of the bar is open.
BoolEnum MBAR_IsMenuOpen(MBarPtr bar);
// Closes whatever menu of the bar is open.
void MBAR_CloseMenus(MBarPtr bar);

// --- The window's bar --------------------------------------------------------------
void WIN_SetMenuBar(WinPtr win, MBarPtr bar);
MBarPtr WIN_GetMenuBar(WinPtr win);

// Internal, for the window module: the bar's part of the window's messages.
// Before: true when the bar took the message (input while a menu is open,
// a click on the bar).  After: drawing, keys left over, layout, the end.
BoolEnum MBarWinBefore(WinPtr win, Int message, ClientPtr data);
void MBarWinAfter(WinPtr win, Int message, ClientPtr data);

#endif  // OWB_TOOLKIT_MBAR_H
