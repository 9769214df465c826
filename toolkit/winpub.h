// Panels and windows.  A panel is a widget that holds widgets: it routes
// mouse, key and drawing messages to its children (the highest Index
// first) and keeps the focus order.  A window is the panel that stands for
// a top-level window of the display.
//
// Life of a window: WIN_Load (a private copy of the template, children
// addressed by Index with RES_GetNthChild), WIN_Init, notification
// procedures set by the tool, WIN_Show; WIN_TerminateGetStatus ends it,
// and the object is freed in the next recalculation, after the
// notification that asked for it has returned.
#ifndef OWB_TOOLKIT_WINPUB_H
#define OWB_TOOLKIT_WINPUB_H

#include "toolkit/draw.h"
#include "toolkit/wgtarray.h"
#include "toolkit/wgtpub.h"

enum ENUM_PanelNfyEnum {
  PANEL_NFYWGTBOXCONVT = 150,
  PANEL_NFYGETCONTBOX = 151,
  PANEL_NFYCONTMOD = 152
};

enum ENUM_WinNfyEnum {
  WIN_NFYSHOW = 160,
  WIN_NFYTERMINATE = 161,
  WIN_NFYMINIMIZE = 162,
  WIN_NFYMAXIMIZE = 163,
  WIN_NFYRESTORE = 164,
  WIN_NFYICONIFY = 165,
  WIN_NFYCLOSE = 166,
  WIN_NFYOPEN = 167,
  WIN_NFYPOPTOFRONT = 168,
  WIN_NFYMOVE = 169,
  WIN_NFYSIZE = 170,
  WIN_NFYPUSHBEHIND = 171,
  WIN_NFYCONFIGURING = 172,
  WIN_NFYRESIZECOMPOBORDER = 173,
  WIN_NFYMOVETRACKING = 174,
  WIN_NFYSIZETRACKING = 175,
  WIN_NFYOPENED = 176,
  WIN_NFYCLOSED = 177,
  WIN_NFYICONIFIED = 178,
  WIN_NFYMOVED = 179,
  WIN_NFYMOVEDRESIZED = 180,
  WIN_NFYRESTACKED = 181,
  WIN_NFYRESTORED = 182,
  WIN_NFYTERMINATED = 183,
  WIN_NFYSELMENUBAR = 184,
  WIN_NFYSELSYSMENU = 185,
  WIN_NFYPIN = 186,
  WIN_NFYUNPIN = 187,
  WIN_NFYWINPARTREDRAW = 188,
  WIN_NFYWINMGRMOUSEMOVE = 189,
  WIN_NFYWINMGRMOUSEOUT = 190,
  WIN_NFYWINMGRBUTTONPRESS = 191,
  WIN_NFYWINMGRBUTTONRELEASE = 192,
  WIN_NFYWINMGRKEYPRESS = 193,
  WIN_NFYWINMGRKEYRELEASE = 194,
  WIN_NFYWINMGR = 195,
  WIN_NFYMITEMSELECTED = 196
};

enum ENUM_WinStateEnum {
  WIN_STATEINIT = 0,
  WIN_STATECLOSED = 1,
  WIN_STATEOPEN = 2,
  WIN_STATEICONIFIED = 3,
  WIN_STATETERMINATED = 4,
  WIN_STATELOADED = 5  // after WIN_Load, before WIN_Init
};

// Window Mode 2 and OptFlags bit 1: shown without being activated.
enum { WIN_MODENOACTIVATE = 2 };
enum { WIN_OPTNOACTIVATE = 1, WIN_OPTCENTER = 2, WIN_OPTNOMENUBAR = 4, WIN_OPTPOPUP = 0x100 };
// The widget messages under the window's prefix.
enum { WIN_NFYKEYCHAR = WGT_NFYKEYCHAR };

struct _PanelObj {
  _WgtObj Wgt;
  ResPtr KeysNext, KeysPrev, KeysNextInGroup, KeysPrevInGroup;
  VStrPtr Label;
  UInt16 LabelJustif;
  _DataRec PanelPrivate;  // the stored focus order: 16-bit child indices
  ArrayPtr CompoWgts;
  ClientPtr PanelPrivate1;
  RegionPtr FillRgn;
  WgtPtr MouseWgt;
  WgtPtr FocusWgt;
  RegionPtr SubVisRgn;
  ArrayPtr PanelPrivate2;  // the focus order as widgets
  _Point16Rec LaidOutExt;  // the extent the children's boxes were made for
};

struct _WinObj {
  _PanelObj Panel;
  Int16 Mode, Style;
  UInt16 Deco, PosFlags, OptFlags;
  Int16 MinWidth, MinHeight, MaxWidth, MaxHeight;
  ColorPtr LabelColor, FocusColor;
  VStrPtr IconLabel;
  ResPtr MenuBar, SysMenu;
  Int16 FrameLeft, FrameRight, FrameTop, FrameBottom, StatusLineH;
  Int16 DpiX, DpiY;
  // Kept by the window module.
  Int State;
  BoolEnum Closing;       // being terminated
  BoolEnum HasFocus;
  NatWinId NatWin;
  WgtPtr DefWgt;
  RegionPtr InvalRgn;     // window coordinates
  RegionPtr DrawRgn;      // what is being redrawn now, or null
  _Rect16Rec ProposedBox;
  Int Protocol;           // 0: requests are offered as messages first
  long ModalValue;
  BoolEnum InModal;
  CursPtr ShownCursor;
  VStrPtr StatusStr;
  Int IconWidth, IconHeight;
  uint32_t* IconPixels;
};

inline WinPtr WIN_FromRes(ResPtr res) { return reinterpret_cast<WinPtr>(res); }
inline WgtPtr WIN_Wgt(WinPtr win) { return reinterpret_cast<WgtPtr>(win); }
inline PanelPtr WIN_Panel(WinPtr win) { return reinterpret_cast<PanelPtr>(win); }
inline WgtPtr PANEL_Wgt(PanelPtr panel) { return reinterpret_cast<WgtPtr>(panel); }
inline ResPtr PANEL_Res(PanelPtr panel) { return reinterpret_cast<ResPtr>(panel); }

// --- Panels ----------------------------------------------------------------------
RClasPtr PANEL_Class();
void PANEL_InstallClass();
void PANEL_InitClass();
BoolEnum PANEL_IsPanel(WgtPtr wgt);
long PANEL_DefNfy(ResPtr res, Int message, ClientPtr data);
// The panel part of initialisation: the widget part, then every child.
void PanelDefInit(PanelPtr panel);
void PANEL_DefMouseClick(PanelPtr panel);
void PANEL_DefMouseMove(PanelPtr panel);
// The panel takes over the caller's reference to the widget.
void PANEL_AddWgt(PanelPtr panel, WgtPtr wgt);
void PANEL_AddWgtAtIndex(PanelPtr panel, WgtPtr wgt, Int index);
// The widget leaves the panel (an initialised one is ended first) and the
// panel's reference goes to the caller, who releases it.
void PANEL_RemoveWgt(PanelPtr panel, WgtPtr wgt);
Int PANEL_GetNumWgts(PanelPtr panel);
WgtPtr PANEL_GetNthWgt(PanelPtr panel, Int n);
// The child at a location (panel coordinates) that could take the mouse.
WgtPtr PANEL_GetWgtOnLoc(PanelPtr panel, _Point16Rec loc);
WgtPtr PANEL_GetNamedWgt(PanelPtr panel, const char* name);
void PANEL_SetLabel(PanelPtr panel, const char* label);
const char* PANEL_GetLabel(PanelPtr panel);
void PANEL_SetFocusWgt(PanelPtr panel, WgtPtr wgt);
WgtPtr PANEL_GetDeepFocusWgt(PanelPtr panel);
void PANEL_SetMouseWgt(PanelPtr panel, WgtPtr wgt);
void PANEL_SetFocusOrder(PanelPtr panel, const Int16* indices, Int count);
BoolEnum PANEL_FocusOnNextWgt(PanelPtr panel);
BoolEnum PANEL_FocusOnPrevWgt(PanelPtr panel);
BoolEnum PANEL_FocusOnNextWgtInGroup(PanelPtr panel);
BoolEnum PANEL_FocusOnPrevWgtInGroup(PanelPtr panel);
// Sends a message to every child (and their children with deep).
void PANEL_PropagateAllWgts(PanelPtr panel, Int message, ClientPtr data, BoolEnum deep);

// --- Windows ----------------------------------------------------------------------
RClasPtr WIN_Class();
void WIN_InstallClass();
void WIN_InitClass();
long WIN_DefNfy(ResPtr res, Int message, ClientPtr data);
// The automation surface: the title.
void WIN_Describe(WgtPtr wgt, struct AutomDesc* desc);
WinPtr WIN_Load(const char* moduleName, const char* name);
WinPtr WIN_LoadInit(const char* moduleName, const char* name);
void WIN_Init(WinPtr win);

BoolEnum WIN_Show(WinPtr win);
void WIN_SelfShow(WinPtr win);
BoolEnum WIN_Minimize(WinPtr win);
void WIN_SelfMinimize(WinPtr win);
BoolEnum WIN_Iconify(WinPtr win);
void WIN_SelfIconify(WinPtr win);
// Iconifying, restoring and maximizing go through the window manager when
// one runs; the window's state and the notifications (WIN_NFYICONIFIED,
// WIN_NFYRESTORED, WIN_NFYRESTACKED, WIN_NFYMOVEDRESIZED) follow what the
// display reports back.  Without a window manager the window does it
// itself: iconifying unmaps it, maximizing gives it the work area.
BoolEnum WIN_PopToFront(WinPtr win);
void WIN_SelfPopToFront(WinPtr win);
// Puts an open window behind all others.
BoolEnum WIN_PushBehind(WinPtr win);
void WIN_SelfPushBehind(WinPtr win);
BoolEnum WIN_Maximize(WinPtr win);
void WIN_SelfMaximize(WinPtr win);
// An iconified window is opened again, a maximized one gets back the box
// it had before.
BoolEnum WIN_Restore(WinPtr win);
void WIN_SelfRestore(WinPtr win);
BoolEnum WIN_IsMaximized(WinPtr win);
BoolEnum WIN_TerminateGetStatus(WinPtr win);
void WIN_SelfTerminate(WinPtr win);
// Adds a resource that hears the window's request messages (show, minimize,
// terminate, ...) after the window; any of them refuses the request by
// calling WIN_RefuseRequest while it handles the message.
void WIN_RegisterForRequest(WinPtr win, ResPtr listener);
void WIN_RefuseRequest();
BoolEnum WIN_IsOpen(WinPtr win);
Int WIN_GetState(WinPtr win);
WinPtr WIN_GetTopWin();
BoolEnum WIN_HasFocus(WinPtr win);
WinPtr WIN_GetActiveWin();
Int WIN_GetNumOpen();
WinPtr WIN_GetNthOpen(Int n);

void WIN_SetLabel(WinPtr win, const char* label);
const char* WIN_GetLabel(WinPtr win);
// An icon of w x h pixels 0xAARRGGBB (copied); null clears.
void WIN_SetIcon(WinPtr win, Int w, Int h, const uint32_t* argb);
void WIN_SetIconLabel(WinPtr win, const char* label);
WgtPtr WIN_GetDefWgt(WinPtr win);
void WIN_SetDefWgt(WinPtr win, WgtPtr wgt);
void WIN_SetStatusStr(WinPtr win, const char* text);
const char* WIN_GetStatusStr(WinPtr win);
Int16 WIN_GetMode(WinPtr win);
void WIN_SetMode(WinPtr win, Int16 mode);

void WIN_Configure(WinPtr win, const _Point16Rec* origin, const _Point16Rec* extent);
void WIN_SetBox(WinPtr win, const _Rect16Rec& box);
void WIN_QueryMinMaxExt(WinPtr win, _Point16Rec* minExt, _Point16Rec* maxExt);
void WIN_SetMinMaxExt(WinPtr win, _Point16Rec minExt, _Point16Rec maxExt);
void WIN_SetCenterOnOpen(WinPtr win, BoolEnum flag);

long WIN_ModalProcess(WinPtr win);
long WIN_ModalWait(WinPtr win);
long WIN_SafeModalProcess(WinPtr win);
long WIN_SafeModalWait(WinPtr win);
void WIN_ModalReturn(WinPtr win, long value);

void WIN_UseCursor(WinPtr win, CursPtr cursor);
NatWinId WIN_GetNatWin(WinPtr win);
// Saves the window's client area as a PNG file.
BoolEnum WIN_SaveAsPng(WinPtr win, const char* path);

// For the event system.
WinPtr WinFromNatWin(NatWinId natWin);
void WinAddInvalRgn(WinPtr win, RegionPtr rgn);  // window coordinates
void WinDrawUpdate(WinPtr win);
BoolEnum WinIsClosing(WinPtr win);
// Calls fn for every window that has a display window, in no set order;
// fn must not make or dispose windows.
void WinForEachNative(void (*fn)(WinPtr win, ClientPtr data), ClientPtr data);

#endif  // OWB_TOOLKIT_WINPUB_H
