// Key lists: a resource that names the keys of one action ("Tab",
// "Shift+Tab", "Down Right"), matched against the current key event.  A
// panel moves its focus with four of them; a text button's accelerators
// use the same way of naming keys.
//
// Key names, separated by blanks: a character ("x"), or Return, Enter,
// Escape, Space, Tab, Backspace, Delete, Insert, Home, End, PageUp,
// PageDown, Up, Down, Left, Right, F1 .. F12; each optionally after
// "Ctrl+", "Alt+" or "Shift+".  A named key matches only with exactly the
// modifiers given; a character matches without regard to case or Shift.
//
// Contracts:
// - KYLST_Match* read the event of the current context (EVENT_GetCurEvent);
//   they are meant for key messages and give false for any other event.
// - KYLST_GetDefault gives the caller a reference, released with
//   RES_Release (the built-in lists are immortal, so that costs nothing).
#ifndef OWB_TOOLKIT_KYLST_H
#define OWB_TOOLKIT_KYLST_H

#include "toolkit/res.h"

struct _KyLstObj {
  _ResObj Res;
  UInt16 GResFlags;
  VStrPtr Keys;
};
typedef _KyLstObj* KyLstPtr;

RClasPtr KYLST_Class();
void KYLST_InstallClass();
// A new key list with the given keys; the caller owns the reference.
KyLstPtr KYLST_New(const char* keys);
void KYLST_SetKeys(KyLstPtr list, const char* keys);
const char* KYLST_GetKeys(KyLstPtr list);  // "" for null
// True when the current key event is one of the list's keys.  Null gives
// false.
BoolEnum KYLST_Match(KyLstPtr list);
BoolEnum KYLST_MatchKeys(const char* keys);

// The focus key lists of panels: the resources "KeysNextWgt",
// "KeysPrevWgt", "KeysNextRadio", "KeysPrevRadio" of the module "Wgt" when
// a library has them, else built-in lists of the same keys (Tab,
// Shift+Tab, Down Right, Up Left).
enum { KYLST_NEXTWGT = 0, KYLST_PREVWGT = 1, KYLST_NEXTRADIO = 2, KYLST_PREVRADIO = 3 };
ResPtr KYLST_GetDefault(Int which);

#endif  // OWB_TOOLKIT_KYLST_H
