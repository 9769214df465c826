// A window's frame and what surrounds its client area: the frame the window
// manager draws (decorations, type, group), the composite border inside
// the client box where a window keeps parts of its own (tool bars, status
// line), the proposed box, and the attribute fields that go with them.
//
// Geometry.  A window has three boxes: the client box (Box, in screen
// coordinates for a top-level window), the composite border just inside
// it, and the frame around it.  The frame's widths are those the window
// manager reports for the window; without a report, the window's
// FrameLeft, FrameRight, FrameTop and FrameBottom fields.
//
// Contracts:
//  - A null window is ignored by setters and gives zero values.
//  - Setters of fields that the window manager hears (decorations, style,
//    main window) tell it at once when the window has a display window,
//    and when it gets one otherwise.
#ifndef OWB_TOOLKIT_WINFRAME_H
#define OWB_TOOLKIT_WINFRAME_H

#include "toolkit/winpub.h"

// Deco bits; 0 leaves the decorations to the window manager.
enum {
  WIN_DECOBORDER = 1,
  WIN_DECOTITLE = 2,
  WIN_DECOSYSMENU = 4,
  WIN_DECOMINIMIZE = 8,
  WIN_DECOMAXIMIZE = 16,
  WIN_DECORESIZE = 32
};
// Style: the kind of window the window manager is told (0: normal).
enum { WIN_STYLENORMAL = 0, WIN_STYLEDIALOG = 1, WIN_STYLEUTILITY = 2, WIN_STYLESPLASH = 3 };
// The parts of a window a location can hit (WIN_GetHitDecorationElt).
enum {
  WIN_ELTNONE = 0,        // outside the window and its frame
  WIN_ELTCLIENT = 1,      // the client area proper
  WIN_ELTMENUBAR = 2,
  WIN_ELTSTATUSLINE = 3,  // the last StatusLineH pixels of the client box
  WIN_ELTCOMPOBORDER = 4,
  WIN_ELTFRAME = 5        // the frame around the client box
};

struct _WinBorderRec {
  Int16 Left, Top, Right, Bottom;
};
typedef _WinBorderRec* WinBorderPtr;

// Creation.
// The window of a template loaded attached: loading it again gives the
// same window (with a reference more) until it is released.
WinPtr WIN_LoadAttached(const char* moduleName, const char* name);
// A new, not initialised window with a deep copy of the window's fields and
// widgets.
WinPtr WIN_Clone(WinPtr win);

// Open and close, as requests (WIN_NFYOPEN, WIN_NFYCLOSE, any listener may
// refuse) and directly.  Opening shows a window that is not open, without
// bringing an open one to the front; closing takes an open or iconified
// window off the screen (state WIN_STATECLOSED).
BoolEnum WIN_Open(WinPtr win);
void WIN_SelfOpen(WinPtr win);
BoolEnum WIN_Close(WinPtr win);
void WIN_SelfClose(WinPtr win);

// Attribute fields.
Int16 WIN_GetStyle(WinPtr win);
void WIN_SetStyle(WinPtr win, Int16 style);
UInt16 WIN_GetPosFlags(WinPtr win);
void WIN_SetPosFlags(WinPtr win, UInt16 flags);
UInt16 WIN_GetOptFlags(WinPtr win);
void WIN_SetOptFlags(WinPtr win, UInt16 flags);
BoolEnum WIN_GetCenterOnOpen(WinPtr win);
UInt16 WIN_GetDecorations(WinPtr win);
void WIN_SetDecorations(WinPtr win, UInt16 deco);
// The icon set by WIN_SetIcon: pixels 0xAARRGGBB owned by the window, or
// null; w and h (may be null) receive its size.
const uint32_t* WIN_GetIcon(WinPtr win, Int* w, Int* h);
// The window's system menu; the window holds a reference of its own.
ResPtr WIN_GetSysMenu(WinPtr win);
void WIN_SetSysMenu(WinPtr win, ResPtr menu);
// The application's main window: every other window is told that it
// belongs to its group.  Null clears; a main window that ends clears it.
void WIN_SetMainWindow(WinPtr win);
WinPtr WIN_GetMainWindow();
// The widget reached by a path of child indices, from the window down
// through panels; null when a step does not exist.
WgtPtr WIN_GetWgtByIndexes(WinPtr win, const Int16* indexes, Int count);

// Frame geometry.
// The frame box in the coordinates of Box (the screen for a top-level
// window).
void WIN_QueryFrame(WinPtr win, _Rect16Rec* frame);
// The frame box on the screen.
void WIN_QueryAbsFrame(WinPtr win, _Rect16Rec* frame);
// The frame box relative to the client box's origin.
void WIN_QueryRelFrame(WinPtr win, _Rect16Rec* frame);
// Sets the client box so that the frame gets this box (Box coordinates).
void WIN_SetFrame(WinPtr win, const _Rect16Rec& frame);
// The same on the screen; a null origin or extent keeps the present one.
void WIN_ConfigureAbsFrame(WinPtr win, const _Point16Rec* origin, const _Point16Rec* extent);
// The box proposed for the window's next opening; while none is proposed,
// the present box.  Proposing a box for a window that is not open sets its
// box at once.
void WIN_QueryProposedBox(WinPtr win, _Rect16Rec* box);
void WIN_SetProposedBox(WinPtr win, const _Rect16Rec& box);
// The composite border.  A change sends WIN_NFYRESIZECOMPOBORDER with the
// new border as data and redraws the window.
void WIN_QueryCompoBorder(WinPtr win, _WinBorderRec* border);
void WIN_SetCompoBorder(WinPtr win, const _WinBorderRec& border);
// The part a location (window coordinates) lies in.
Int WIN_GetHitDecorationElt(WinPtr win, _Point16Rec loc);
// A press of mouse button 2 on a part of the window other than the client
// area proper goes to this procedure (null: to the window's widgets).
typedef void (*WinButton2Proc)(WinPtr win, Int elt, ClientPtr data);
void WIN_SetButton2ActionProcDS(WinButton2Proc proc, ClientPtr data);

// For the window module.
// What the window manager must know of a window that has just got its
// display window.
void WinApplyFrameAttrs(WinPtr win);
// A window ends: what this module keeps of it goes.
void WinFrameForget(WinPtr win);
// A mouse press on the window: true when a decoration's procedure took it.
BoolEnum WinDecorationClick(WinPtr win);
// Makes a loaded or cloned window tree a window: state loaded, its widgets
// sorted by index (a failure releases it).
WinPtr WinAdoptLoaded(ResPtr res);

#endif  // OWB_TOOLKIT_WINFRAME_H
