// Menu items (MItem) and separators (MSep): the entries of a menu bar and
// of a pull-down menu.  An item shows a label in which "&" marks the
// mnemonic ("&Help" shows "Help" with the H underlined; "&&" shows one
// "&"), may carry a check mark, an accelerator (a key that chooses the item
// without opening its menu) with its label shown at the right, and a
// sub-menu.  A separator is an item that shows a line and is never chosen.
//
// Contracts:
// - Items are held by their menu or bar (one reference each); a sub-menu
//   is held by its item (one reference of the item's own).
// - Labels may be of any length; nothing here cuts them.
#ifndef OWB_TOOLKIT_MENUITEM_H
#define OWB_TOOLKIT_MENUITEM_H

#include <string>

#include "toolkit/wgtpub.h"

struct _MnuObj;
typedef _MnuObj* MenuPtr;

// Activity.
enum { MITEM_ACTIVE = 0, MITEM_INACTIVE = 1 };
// CheckType: no mark, a check mark that a choice toggles, a radio mark.
enum { MITEM_CHECKNONE = 0, MITEM_CHECKTOGGLE = 1, MITEM_CHECKRADIO = 2 };
// DisplayMode: a label; the window list item of a bar, which the bar's
// cursor loop leaves alone.
enum { MITEM_DISPLAYLABEL = 0, MITEM_DISPLAYWINMENU = 3 };

struct _MItemObj {
  _WgtObj Wgt;
  VStrPtr Label;
  Int16 MarginX, MarginY;
  UInt16 Id;
  ResPtr Icon;
  ResPtr SubPopup;  // the sub-menu (a Menu), or null
  Int16 DisplayMode;
  Int16 CheckType;
  ResPtr CheckedIcon, UncheckedIcon;
  Int16 Activity;
  VStrPtr AcceleratorLabel;
  ResPtr AcceleratorKeys;
  ResPtr HiliteFgColor, HiliteBgColor;
  // Kept by the module.
  UInt16 Checked;
  Int AccelKey;    // EvKeyEnum; EVENT_KEYNONE for no accelerator
  UInt AccelMods;  // EVENT_MOD... bits that must be held
  char AccelChar;  // the character of an EVENT_KEYNORMAL accelerator
  BoolEnum IsSeparator;
};
typedef _MItemObj* MItemPtr;

inline WgtPtr MITEM_Wgt(MItemPtr item) { return reinterpret_cast<WgtPtr>(item); }
inline ResPtr MITEM_Res(MItemPtr item) { return reinterpret_cast<ResPtr>(item); }

RClasPtr MITEM_Class();
RClasPtr MSEP_Class();
void MITEM_InstallClass();
void MITEM_InitClass();
void MSEP_InstallClass();
void MSEP_InitClass();
MItemPtr MITEM_Create(const char* label);
MItemPtr MSEP_Create();
long MITEM_DefNfy(ResPtr res, Int message, ClientPtr data);
BoolEnum MITEM_IsItem(ResPtr res);

const char* MITEM_GetLabel(MItemPtr item);  // with its "&" marks
void MITEM_SetLabel(MItemPtr item, const char* label);
MenuPtr MITEM_GetSubMenu(MItemPtr item);
// The item takes a reference of its own; null removes the sub-menu.
void MITEM_SetSubMenu(MItemPtr item, MenuPtr menu);
// A separator, a disabled item and the window list item cannot be chosen.
BoolEnum MITEM_IsChoosable(MItemPtr item);

// A label as shown: the "&" marks taken out ("&&" gives "&"), the byte
// position of the mnemonic in the shown text (-1 for none) and the mnemonic
// in lower case (0 for none).  The first single "&" marks it; a trailing
// "&" is dropped.
struct MItemShownLabel {
  std::string Text;
  Int MnemonicPos = -1;
  char Mnemonic = 0;
};
MItemShownLabel MITEM_ParseLabel(const char* label);

// The text of an accelerator for a menu ("Ctrl+H", "F1"), made from the
// key when the item has no label of its own.
std::string MITEM_AccelText(MItemPtr item);
// True when the current key event is the item's accelerator.  A character
// matches without regard to case, and with Ctrl held also when the
// display gave it as a control character.
BoolEnum MITEM_MatchAccel(MItemPtr item);

// Draws a label with its mnemonic underlined; the base line at y.
void MITEM_DrawLabel(DrawPtr draw, FontPtr font, ColorPtr color, int x, int y, const char* label);

#endif  // OWB_TOOLKIT_MENUITEM_H
