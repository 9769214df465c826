// Pull-down menus (Menu): a list of items and separators that opens under
// a menu bar item, or beside the item of another menu as its sub-menu.
//
// A menu is read and changed through an internal cursor, as the list box
// is: MENU_GoFirst / MENU_IsOk / MENU_GoNext walk the items, the MENU_Cur...
// calls act on the item under the cursor and do nothing (or give null / 0)
// with the cursor out of range.  MENU_AddItem and MENU_AddSeparator append
// and leave the cursor on the new entry.
//
// On show a menu lives in a window of its own that the window manager does
// not decorate (an override-redirect window of the display), placed so that
// it stays on the screen; the menu bar runs the interaction (mbar.h).
//
// Contracts:
// - MENU_Create gives the caller one reference; a bar item or a menu item
//   that is given the menu as its sub-menu takes one of its own.
// - After a choice MENU_ChosenGetClientData gives the chosen item's client
//   data until the next choice in this menu.
#ifndef OWB_TOOLKIT_MENU_H
#define OWB_TOOLKIT_MENU_H

#include "toolkit/menuitem.h"

enum ENUM_MenuNfyEnum {
  MENU_NFYINITMENU = 150,  // the menu is about to be shown
  MENU_NFYENDMENU = 151,   // it was taken off the screen
  MENU_NFYSETORIGIN = 152,
  MENU_NFYITEMSIZE = 153,
  MENU_NFYITEMDRAW = 154,  // redraw the items
  MENU_NFYITEMSELECT = 155,  // an item was chosen (data: the item)
  MENU_NFYITEMHIGHLIGHT = 156,
  MENU_NFYITEMUNHIGHLIGHT = 157,
  MENU_NFYUPDATEMENU = 158
};

enum ENUM_MenuPosEnum {
  MENU_POSDEFAULT = 0,
  MENU_POSTOPLEFT = 1,
  MENU_POSFIRSTACTIVE = 2,
  MENU_POSLASTCHOSEN = 3,
  MENU_POSCUSTOM = 4
};

struct _MnuObj {
  _WgtObj Wgt;
  ArrayPtr Choices;  // ResPtr of MItem (MSep included), one reference each
  ResPtr DefChoice;
  Int16 UsePin;
  Int16 TearOffThreshold;
  // Kept by the module.
  Int Cursor;
  MenuPtr Mirror;    // a torn-off copy that follows this menu's check marks
  Int Chosen;        // index of the last chosen item, -1 for none
  Int Hilite;        // the highlighted item while shown, -1 for none
  Int ScrollTop;     // first item shown when the menu is taller than the screen
  WinPtr Shell;      // the window it is shown in (made on first show)
};

inline WgtPtr MENU_Wgt(MenuPtr menu) { return reinterpret_cast<WgtPtr>(menu); }
inline ResPtr MENU_Res(MenuPtr menu) { return reinterpret_cast<ResPtr>(menu); }

RClasPtr MENU_Class();
void MENU_InstallClass();
void MENU_InitClass();
MenuPtr MENU_Create();
long MENU_DefNfy(ResPtr res, Int message, ClientPtr data);
BoolEnum MENU_IsMenu(ResPtr res);
// For the automation surface: a line per item in view, "<path>/<index>"
// with the index as MENU_GoIndex counts it, class "MItem" ("MSep" for a
// separator), the item's row, state E when it can be chosen, S when it is
// checked, F when it is highlighted, and the label as shown; before them
// the pin row of a menu that tears off, "<path>/pin", class "MPin".
void MENU_Describe(WgtPtr wgt, struct AutomDesc* desc);

// --- Cursor ---------------------------------------------------------------------
Int MENU_GoFirst(MenuPtr menu);  // the new cursor
Int MENU_GoLast(MenuPtr menu);   // count - 1: -1 for an empty menu
Int MENU_GoNext(MenuPtr menu);   // adds 1 with no check
void MENU_GoIndex(MenuPtr menu, Int index);
BoolEnum MENU_IsOk(MenuPtr menu);
Int MENU_GetNumElts(MenuPtr menu);
// The item at an index (separators included), or null.
MItemPtr MENU_GetNthItem(MenuPtr menu, Int index);

// --- Building ---------------------------------------------------------------------
void MENU_AddItem(MenuPtr menu, const char* label);
void MENU_AddSeparator(MenuPtr menu);

// --- The item under the cursor ------------------------------------------------------
const char* MENU_CurGetLabel(MenuPtr menu);  // null out of range
void MENU_CurSetLabel(MenuPtr menu, const char* label);
// The accelerator: a key (EvKeyEnum), the modifier bits that must be held,
// and for EVENT_KEYNORMAL the character.  EVENT_KEYNONE removes it.
void MENU_CurSetAccelKey(MenuPtr menu, Int key, UInt mods, char character);
void MENU_CurSetAccelLabel(MenuPtr menu, const char* label);
void MENU_CurSetClientData(MenuPtr menu, ClientPtr data);
ClientPtr MENU_CurGetClientData(MenuPtr menu);
void MENU_CurSetId(MenuPtr menu, UInt16 id);
UInt16 MENU_CurGetId(MenuPtr menu);
// Sets the check mark; a torn-off mirror of the menu follows, and is
// redrawn when it is on show.
void MENU_CurSetChecked(MenuPtr menu, BoolEnum flag);
BoolEnum MENU_CurGetChecked(MenuPtr menu);
// MITEM_CHECKNONE, MITEM_CHECKTOGGLE (a choice toggles the mark) or
// MITEM_CHECKRADIO (a choice checks it and unchecks the radio items next to
// it, up to the separators).
void MENU_CurSetCheckedMode(MenuPtr menu, Int16 mode);
void MENU_CurSetEnabled(MenuPtr menu, BoolEnum flag);
BoolEnum MENU_CurIsEnabled(MenuPtr menu);
// The item takes a reference of its own to the sub-menu.
void MENU_CurSetSubMenu(MenuPtr menu, MenuPtr subMenu);
MenuPtr MENU_CurGetSubMenu(MenuPtr menu);
WgtPtr MENU_CurGetMenuWgt(MenuPtr menu);  // the item as a widget

// --- After a choice ------------------------------------------------------------------
ClientPtr MENU_ChosenGetClientData(MenuPtr menu);  // 0 when none was chosen
MItemPtr MENU_ChosenGetItem(MenuPtr menu);
const char* MENU_ChosenGetLabel(MenuPtr menu);

// Internal: the torn-off copy that follows this menu's check marks (null
// for none).  The menu does not own it.
void MenuSetMirror(MenuPtr menu, MenuPtr mirror);

#endif  // OWB_TOOLKIT_MENU_H
