// Text buttons: push buttons, toggles (check boxes) and radio buttons, one
// class whose Mode chooses the behaviour.  A button shows its label; a
// user's click (press, track, release inside) or its accelerator key ends
// in TBUT_NFYHIT on the button's Notify, which is the tool's event.
//
// Radio buttons that are children of one panel form a group: selecting one
// unselects the others.  A window has at most one default button, which
// Return presses.
#ifndef OWB_TOOLKIT_TBUT_H
#define OWB_TOOLKIT_TBUT_H

#include "toolkit/wgtpub.h"

enum ENUM_TButNfyEnum {
  TBUT_NFYHIT = 150,
  TBUT_NFYPROPOSE = 151,
  TBUT_NFYDRAWLABEL = 152,
  TBUT_NFYTOGGLEFOCUS = 153
};

enum ENUM_TButEffectEnum { TBUT_EFFECTPRESSED = 0, TBUT_EFFECTRELEASED = 1, TBUT_EFFECTTEMPPRESSED = 2 };

// Mode: the behaviour.
enum { TBUT_MODEPUSH = 0, TBUT_MODETOGGLE = 1, TBUT_MODERADIO = 2 };
// Style: the look.  Auto follows the mode: a push button's face, a check
// box for a toggle, a round mark for a radio button; Face shows a toggle or
// radio button as a face that stays pressed while selected; Icon shows the
// icon and label alone on the background, with no face.
enum { TBUT_STYLEAUTO = 0, TBUT_STYLEFACE = 1, TBUT_STYLECHECK = 2, TBUT_STYLERADIO = 3, TBUT_STYLEICON = 4 };

struct _TButObj {
  _WgtObj Wgt;
  ClientPtr TButPrivate;   // the icon (an Icon resource the button holds), or null
  VStrPtr Label;
  Int16 Mode;
  Int16 Style;
  VStrPtr AccelKeys;       // "Alt+o Ctrl+s F5 Escape ...", see TBUT_SetAccelKeys
  UInt16 DefButton;        // the template asks to be the window's default
  ClientPtr TButPrivate1;  // the label object
  UInt16 Selected;         // the template's start value; the flag in use below
  UInt Sel : 1;
  UInt Pressed : 1;
  UInt TempDefault : 1;
  ClientPtr TButPrivate2;
};
typedef _TButObj* TButPtr;

inline WgtPtr TBUT_Wgt(TButPtr but) { return reinterpret_cast<WgtPtr>(but); }
inline TButPtr TBUT_FromWgt(WgtPtr wgt) { return reinterpret_cast<TButPtr>(wgt); }

RClasPtr TBUT_Class();
void TBUT_InstallClass();
void TBUT_InitClass();
TButPtr TBUT_Create();
long TBUT_DefNfy(ResPtr res, Int message, ClientPtr data);
BoolEnum TBUT_IsTBut(WgtPtr wgt);
// The automation surface: the label, and selected for a toggle or radio
// button that is on.
void TBUT_Describe(WgtPtr wgt, struct AutomDesc* desc);

void TBUT_Select(TButPtr but);
void TBUT_Unselect(TButPtr but);
void TBUT_SetSelected(TButPtr but, BoolEnum flag);
BoolEnum TBUT_GetSelected(TButPtr but);
void TBUT_Toggle(TButPtr but);
void TBUT_SetLabel(TButPtr but, const char* text);
const char* TBUT_GetLabel(TButPtr but);
// Shows an Icon resource (toolkit/icon.h) before the label; null removes
// it.  The button takes its own reference and releases it when it goes.
void TBUT_SetIcon(TButPtr but, ResPtr icon);
ResPtr TBUT_GetIcon(TButPtr but);
void TBUT_SetMode(TButPtr but, Int16 mode);
Int16 TBUT_GetMode(TButPtr but);
void TBUT_SetStyle(TButPtr but, Int16 style);
Int16 TBUT_GetStyle(TButPtr but);
// Keys that press the button, named as in a key list (toolkit/kylst.h):
// "Alt+o Ctrl+s F5 Escape".
void TBUT_SetAccelKeys(TButPtr but, const char* keys);
const char* TBUT_GetAccelKeys(TButPtr but);
// True when the current key event matches one of the keys.
BoolEnum TBUT_MatchKeys(const char* keys);
void TBUT_SetDefButton(TButPtr but);
BoolEnum TBUT_IsDefButton(TButPtr but);
TButPtr TBUT_PanelGetSelectedRadio(PanelPtr panel);
void TBUT_VisualEffect(TButPtr but, Int effect);

// Geometry of the look: the label's extent, the box the label is drawn in,
// the check or radio mark's box, the smallest width.
_Point16Rec TButQueryLabelExt(TButPtr but);
_Rect16Rec TButQueryCheckRadioBox(TButPtr but);
_Rect16Rec TButQueryLabelBox(TButPtr but);
Int TButMinWidth(TButPtr but);
// The look's check mark in a square box (check boxes, checked menu items).
void TButDrawCheckMark(DrawPtr draw, const _Rect16Rec& box, ColorPtr color);

#endif  // OWB_TOOLKIT_TBUT_H
