// Widgets: everything that occupies a rectangle in a window.  A widget is a
// resource (its head is a _ResObj) whose behaviour reaches it as messages
// through its Notify procedure; WGT_DefNfy is the class default.
//
// Coordinates: Box is the widget's box in use, in its parent's coordinates,
// scaled to the screen.  ResBox (graphic look) and ChrResBox (character
// cells) are the boxes of the template.
//
// Drawing attributes are display objects.  In a template they are named
// by text (FgColor "Accent", Font "DejaVu Sans 12 bold", Cursor "IBeam");
// WGT_DefInit resolves the names, and an attribute left empty is inherited
// from the panel above.
#ifndef OWB_TOOLKIT_WGTPUB_H
#define OWB_TOOLKIT_WGTPUB_H

#include "toolkit/color.h"
#include "toolkit/curs.h"
#include "toolkit/draw.h"
#include "toolkit/event.h"
#include "toolkit/font.h"
#include "toolkit/geom.h"
#include "toolkit/res.h"
#include "toolkit/rgn.h"

struct _PanelObj;
typedef _PanelObj* PanelPtr;

enum ENUM_WgtNfyEnum {
  WGT_NFYINIT = 0,
  WGT_NFYEND = 1,
  WGT_NFYRESET = 2,
  WGT_NFYRESMGR = 3,
  WGT_NFYCTRLDATA = 4,
  WGT_NFYSETDATA = 5,
  WGT_NFYGETDATA = 6,
  WGT_NFYMOUSEIN = 100,
  WGT_NFYSETCURSOR = 101,
  WGT_NFYMOUSEMOVE = 102,
  WGT_NFYMOUSEOUT = 103,
  WGT_NFYMOUSECLICK = 104,
  WGT_NFYMOUSEBUTTONRELEASE = 105,
  WGT_NFYKEYACCEL = 106,
  WGT_NFYKEYCIRC = 107,
  WGT_NFYKEYCHAR = 108,
  WGT_NFYREDRAW = 109,
  WGT_NFYSIZEINIT = 110,
  WGT_NFYRESIZE = 111,
  WGT_NFYVISCHANGE = 112,
  WGT_NFYPROPOSELOSEFOCUS = 113,
  WGT_NFYGAINFOCUS = 114,
  WGT_NFYFOCUSLOST = 115,
  WGT_NFYFOCUSGAINED = 116,
  WGT_NFYACTIVATE = 117,
  WGT_NFYDEACTIVATE = 118,
  WGT_NFYTIMEOUT = 119,
  WGT_NFYRECAL = 120,
  WGT_NFYENABLE = 121,
  WGT_NFYDISABLE = 122,
  WGT_NFYINSTALLCOLORMAP = 123,
  WGT_NFYUNINSTALLCOLORMAP = 124,
  WGT_NFYRESERVECOLORS = 125,
  WGT_NFYUPDATELOOK = 126,
  WGT_NFYVISCALC = 127,
  WGT_NFYQUERYVALIDATE = 128,
  WGT_NFYCANTPROCESSEVENT = 129,
  WGT_NFYPRINTCALC = 130,
  WGT_NFYPRINTPAGE = 131,
  WGT_NFYPRINTDOCEND = 132,
  WGT_NFYQUERYDROP = 133,
  WGT_NFYEXECDROP = 134,
  WGT_NFYINITPROPERTIES = 135,
  WGT_NFYENDPROPERTIES = 136,
  WGT_NFYWGTSINITIALIZED = 137
};

// WgtFlags.
enum {
  WGT_FLAGTABSTOP = 1,      // takes the focus on tab
  WGT_FLAGGROUP = 2,        // member of a group for tab order (radio buttons)
  WGT_FLAGNOFOCUSNEED = 4,  // can process events without the focus
  WGT_FLAGVALIDATE = 8      // validates on losing the focus
};

// GResFlags: the attribute is inherited from the panel above.
enum { GRES_FLAGINHERIT = 1 };

// RecalFlag bits used by windows.
enum { WGT_RECALTERMINATE = 1, WGT_RECALHIDE = 8 };

struct _WgtObj {
  _ResObj Res;
  UInt16 GResFlags;
  _Rect16Rec ResBox;
  _Rect16Rec ChrResBox;
  UInt16 RzFlags;  // bits 0-2 horizontal mode, 4-6 vertical mode
  ColorPtr FgColor;
  ColorPtr BgColor;
  FontPtr Font;
  PenPtr Pen;
  PattPtr Pattern;
  CursPtr Cursor;
  VStrPtr Help;
  ResPtr ClientRes;
  UInt16 WgtFlags;
  ClientPtr WgtPrivate;   // unused, always null; kept for the record's layout
  WinPtr Win;
  PanelPtr Panel;
  Int16 Index;
  _Rect16Rec Box;
  UInt Disabled : 1;
  UInt Invisible : 1;
  UInt WgtPrivate1 : 1;  // the modified mark (WGT_SetModified, WGT_GetModified)
  UInt WgtPrivate2 : 1;  // unused, always 0
  UInt NeedsRecal : 1;
  UInt WgtPrivate3 : 1;  // VisRgn is up to date; cleared when the geometry changes (WGT_IsVisRgnValid)
  UInt WgtPrivate4 : 1;  // unused, always 0
  UInt InEditor : 1;
  UInt16 RecalFlag;
  RegionPtr VisRgn;
  ClientPtr WgtPrivate5;  // unused, always null
  // Attribute names as the template gives them (resolved by WGT_DefInit).
  VStrPtr FgColorName;
  VStrPtr BgColorName;
  VStrPtr FontName;
  VStrPtr CursorName;
  ArrayPtr Properties;
};

inline ResPtr WGT_Res(WgtPtr wgt) { return reinterpret_cast<ResPtr>(wgt); }
inline WgtPtr WGT_FromRes(ResPtr res) { return reinterpret_cast<WgtPtr>(res); }

// Sends a message to a widget through its Notify procedure.
long WGT_Send(WgtPtr wgt, Int message, ClientPtr data = nullptr);

// --- Class ------------------------------------------------------------------
RClasPtr WGT_Class();
RClasPtr GRES_Class();
void GRES_InstallClass();
void WGT_InstallClass();
void WGT_InitClass();
WgtPtr WGT_Create();
// Registers a widget class made in code, or finds the one registered
// already (a library may have defined it first by data).
RClasPtr WgtRegisterClass(const char* name, const char* modName, RClasPtr parent, PFldPtr fields, Int sizeOfRes,
                          RClasConstructCBack construct, RClasDestructCBack destruct, ResNfyCBack defNfy);
long WGT_DefNfy(ResPtr res, Int message, ClientPtr data);
void WGT_DefInit(WgtPtr wgt);
void WGT_DefEnd(WgtPtr wgt);
void WGT_DefVisChange(WgtPtr wgt);
// Key messages in their order: accel, then circular, then char, until one
// is handled.
void WgtSendNfyKey(WgtPtr wgt);

// --- Attributes -------------------------------------------------------------------
void WGT_SetBgColor(WgtPtr wgt, ColorPtr color);
void WGT_SetFgColor(WgtPtr wgt, ColorPtr color);
void WGT_SetFont(WgtPtr wgt, FontPtr font);
void WGT_SetPen(WgtPtr wgt, PenPtr pen);
void WGT_SetPattern(WgtPtr wgt, PattPtr pattern);
void WGT_SetCursor(WgtPtr wgt, CursPtr cursor);
void WGT_SetHelpStr(WgtPtr wgt, const char* text);
// The attribute in force: the widget's own or the nearest panel's.
ColorPtr WGT_GetFgColor(WgtPtr wgt);
ColorPtr WGT_GetBgColor(WgtPtr wgt);
FontPtr WGT_GetFont(WgtPtr wgt);

// --- Geometry ---------------------------------------------------------------------
void WGT_GetResBox(WgtPtr wgt, _Rect16Rec* box);
void WGT_SetResBox(WgtPtr wgt, const _Rect16Rec& box);
void WGT_SetGfxResBox(WgtPtr wgt, const _Rect16Rec& box);
void WGT_SetChrResBox(WgtPtr wgt, const _Rect16Rec& box);
void WGT_SetBox(WgtPtr wgt, const _Rect16Rec& box);
void WGT_SetRzFlags(WgtPtr wgt, UInt16 flags);
void WGT_Configure(WgtPtr wgt, const _Point16Rec* origin, const _Point16Rec* extent);
void WGT_ConvertResBoxToBox(WgtPtr wgt, const _Rect16Rec& resBox, _Rect16Rec* box);
Int16 WGT_ScaleX16(WgtPtr wgt, Int16 x);
Int16 WGT_ScaleY16(WgtPtr wgt, Int16 y);
void WGT_ScaleRect16(WgtPtr wgt, _Rect16Rec* rect);
Int16 WGT_UnscaleX16(WgtPtr wgt, Int16 x);
Int16 WGT_UnscaleY16(WgtPtr wgt, Int16 y);
// Character cells and graphic pixels: x = (gx + 4) / 8, y = (gy + 10) / 20.
_Rect16Rec WGT_ChrToGfx(const _Rect16Rec& chr);
_Rect16Rec WGT_GfxToChr(const _Rect16Rec& gfx);
// A box of a widget after its parent's extent changed, by the resize
// modes of RzFlags.
_Rect16Rec WgtQueryNewBox(const _Rect16Rec& box, UInt16 rzFlags, _Point16Rec oldExt, _Point16Rec newExt);
// The widget's origin in its window's coordinates.
_Point16Rec WGT_QueryWinOrigin(WgtPtr wgt);
void WGT_ConvertWgtToAbs(WgtPtr wgt, _Point16Rec* point);
void WGT_ConvertAbsToWgt(WgtPtr wgt, _Point16Rec* point);

// --- State ----------------------------------------------------------------------
void WGT_SetVisible(WgtPtr wgt);
void WGT_SetInvisible(WgtPtr wgt);
void WGT_SetVisibility(WgtPtr wgt, BoolEnum flag);
BoolEnum WGT_IsVisible(WgtPtr wgt);  // this one and every panel above
void WGT_Enable(WgtPtr wgt);
void WGT_Disable(WgtPtr wgt);
void WGT_SetEnabled(WgtPtr wgt, BoolEnum flag);
BoolEnum WGT_IsEnabled(WgtPtr wgt);
void WGT_SetModified(WgtPtr wgt, BoolEnum flag);
BoolEnum WGT_GetModified(WgtPtr wgt);
// Marks a rectangle (widget coordinates; null for all) for redrawing.
void WGT_Inval(WgtPtr wgt, const _Rect16Rec* rect);
void DRAW_InvalRect(WgtPtr wgt, const _Rect16Rec* rect);
// The visible region in window coordinates: the box clipped by the panels
// above and less the boxes of visible siblings lying above it.
RegionPtr WGT_GetVisRgn(WgtPtr wgt);
BoolEnum WGT_IsVisRgnValid(WgtPtr wgt);
void WGT_VisRgnInvalBelow(WgtPtr wgt);

// --- Focus, mouse, cursor ---------------------------------------------------------
BoolEnum WGT_GainFocus(WgtPtr wgt);
void WGT_StealFocus(WgtPtr wgt);
BoolEnum WGT_HasFocus(WgtPtr wgt, BoolEnum inActiveWindow);
BoolEnum WGT_CanProcessEvent(WgtPtr wgt);
BoolEnum WGT_IsFocusXferAccepted(WgtPtr wgt);
void WGT_UseCursor(WgtPtr wgt, CursPtr cursor);
void WGT_UseCursorId(WgtPtr wgt, Int id);
void WGT_UseWaitCursor(WgtPtr wgt);
Int WGT_GetWaitFrame();

// Answers of messages (the handled flags of the current event).
void WGT_MouseHandled(WgtPtr wgt);
BoolEnum WGT_IsMouseHandled();
void WGT_KeyHandled(WgtPtr wgt);
BoolEnum WGT_IsKeyHandled();
void WGT_FocusHandled(WgtPtr wgt);
void WGT_CursorHandled(WgtPtr wgt);
BoolEnum WGT_IsCursorHandled();
void WGT_SetGainFocusAccepted(BoolEnum flag);
BoolEnum WGT_IsGainFocusAccepted();
void WGT_SetLoseFocusAccepted(BoolEnum flag);
BoolEnum WGT_IsLoseFocusAccepted();
// Clears the handled flags before an event is offered.
void WgtResetHandled();

struct _WgtQueryValidateRec {
  WgtPtr ReqWgt;
  BoolEnum Valid;
};

// Drawing of a widget: a context on its window, at its origin, clipped to
// its visible region and to the part of the window being redrawn.
DrawPtr WGT_BeginDraw(WgtPtr wgt);
void WGT_EndDraw(DrawPtr draw);

#endif  // OWB_TOOLKIT_WGTPUB_H
