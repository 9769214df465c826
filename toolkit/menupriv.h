// Between the menu modules (menu.cpp, mbar.cpp, mbartrack.cpp): the look's
// measures, the geometry of a shown menu and the interaction's entries.
// Not for use outside them.
#ifndef OWB_TOOLKIT_MENUPRIV_H
#define OWB_TOOLKIT_MENUPRIV_H

#include "toolkit/mbar.h"

// Pixels of the look at the screen's resolution.
int MenuPx(int n);
// The index MenuItemAt gives for the pin row of a menu that tears off, and
// the highlight of that row.
constexpr Int kMenuPinRow = -2;

// Rows of a menu: their height, the whole natural extent.
int MenuRowHeight(MItemPtr item);
_Point16Rec MenuQueryExtent(MenuPtr menu);
// The item under a point of the menu (menu coordinates), -1 for none; the
// top of an item's row.
Int MenuItemAt(MenuPtr menu, int y);
int MenuItemTop(MenuPtr menu, Int index);

// Shows the menu in its window at a place on the screen next to an anchor
// rectangle (screen coordinates): under it for a pull-down (its right edge
// under the anchor's with alignRight), beside it for a sub-menu, moved and
// cut so that it stays on the screen.  The window is named after the title
// (the label of the item that opens the menu: "File menu"), so that other
// programs can find it.
void MenuShowNear(MenuPtr menu, const _Rect16Rec& anchor, BoolEnum beside, BoolEnum alignRight, const char* title);
void MenuHide(MenuPtr menu);
BoolEnum MenuIsShown(MenuPtr menu);
// The menu's window box on the screen.
_Rect16Rec MenuScreenBox(MenuPtr menu);
// Highlights an item (-1 for none) and scrolls it into view.
void MenuSetHilite(MenuPtr menu, Int index);
// Scrolls a menu cut by the screen by a number of rows.
void MenuScroll(MenuPtr menu, Int rows);
// The next choosable item from an index in a direction (wrapping), -1 if none.
Int MenuNextChoosable(MenuPtr menu, Int from, Int direction);
// A choice's effect on the item's check mark.
void MenuApplyCheck(MenuPtr menu, Int index);

// Tears a menu off: a window of its own shows a copy of it (the menu's
// mirror), whose items are chosen as the menu's own under the bar item.
// The copy and its window go when the window is closed.
void MenuTearOff(MenuPtr menu, MBarPtr bar, Int barItem);

// Whether a bar item is aligned to the right end of the bar.
BoolEnum MBarItemIsRightAligned(MBarPtr bar, Int index);

// The interaction, run by the bar: the pointer messages that reach a
// menu's window, and the end of a menu's window.
void MBarTrackPointer(Int message);
void MBarTrackMenuGone(MenuPtr menu);
// Keys and pointer of the bar's window (true when taken).
BoolEnum MBarTrackWinInput(MBarPtr bar, Int message);
BoolEnum MBarTrackIdleKey(MBarPtr bar);
BoolEnum MBarTrackActive(MBarPtr bar);
// The choice of an item of a bar's menu (the menus close first).
void MBarTrackChoose(MBarPtr bar, Int barItem, MenuPtr menu, Int index);
void MBarTrackOpen(MBarPtr bar, Int index, BoolEnum keyboard, BoolEnum buttonDown);
void MBarTrackClose();

#endif  // OWB_TOOLKIT_MENUPRIV_H
