// The display: the connection to the X server, its top-level windows and
// its input, in terms free of any X type.  The event system reads display
// events through this interface and nothing above it includes X headers.
//
// Every call tolerates a closed display: requests do nothing, queries give
// neutral answers (no event, zero sizes).
#ifndef OWB_TOOLKIT_DSPLY_H
#define OWB_TOOLKIT_DSPLY_H

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/curs.h"
#include "toolkit/draw.h"
#include "toolkit/geom.h"
#include "toolkit/rgn.h"

// Looks: 6 is the character look; the toolkit draws one flat look.
enum { DSPLY_LOOKCHAR = 6, DSPLY_LOOKFLAT = 7 };

// Opens the connection; null name means $DISPLAY.  True on success or when
// already open.  A failure leaves the display closed and the reason in
// DSPLY_GetLastError.
bool DSPLY_Init(const char* displayName);
// The start-up chain's entry: opens $DISPLAY if it can.  Without a display
// the toolkit still runs; requests that need one do nothing.
void DSPLY_Init(int);
void DSPLY_Exit();
bool DSPLY_IsOpen();
const char* DSPLY_GetLastError();
int DSPLY_GetConnectionFd();  // -1 when closed

int DSPLY_GetLook();
void DSPLY_UpdateLook();
// Dots per inch that fonts and resource boxes are scaled to: $OWB_DPI, else
// the X resource Xft.dpi, else 96.
int DSPLY_GetScreenDpi();
_Point16Rec DSPLY_GetScreenExt();
void DSPLY_Beep();
void DSPLY_Flush();
void DSPLY_Sync();
// Milliseconds of a monotonic clock (the event and timer time base).
int64_t DSPLY_Now();

// Top-level windows.  The box is the client area in screen coordinates.
NatWinId DSPLY_NewWin(const _Rect16Rec& box, const char* label, ColorPtr background);
// A pop-up window (a menu): not decorated or placed by the window manager.
NatWinId DSPLY_NewPopupWin(const _Rect16Rec& box, ColorPtr background);
void DSPLY_DisposeWin(NatWinId win);
void DSPLY_ShowWin(NatWinId win);
void DSPLY_HideWin(NatWinId win);
void DSPLY_RaiseWin(NatWinId win);
// Iconifies: asks the window manager (ICCCM WM_CHANGE_STATE), and unmaps
// the window itself when none runs; the change comes back as an event.
void DSPLY_IconifyWin(NatWinId win);
// Maps an iconified window again (ICCCM: map to NormalState).
void DSPLY_DeiconifyWin(NatWinId win);
// Puts the window below all others (a window manager restacks its frame).
void DSPLY_LowerWin(NatWinId win);
// Asks the window manager to maximize or restore the window (EWMH
// _NET_WM_STATE); false when no window manager runs, and the caller sizes
// the window itself.
bool DSPLY_SetWinMaximized(NatWinId win, bool maximized);
// Whether a window manager runs on the screen (it owns WM_S<screen>).
bool DSPLY_HasWinMgr();
// The part of the screen for windows: the window manager's work area, or
// the whole screen.
_Rect16Rec DSPLY_GetWorkArea();
void DSPLY_MoveResizeWin(NatWinId win, const _Rect16Rec& box);
void DSPLY_SetWinLabel(NatWinId win, const char* label);
void DSPLY_SetWinIconLabel(NatWinId win, const char* label);
// An icon of w x h pixels, 0xAARRGGBB each; null clears it.
void DSPLY_SetWinIcon(NatWinId win, int w, int h, const uint32_t* argb);
void DSPLY_SetWinMinMax(NatWinId win, _Point16Rec minExt, _Point16Rec maxExt);
void DSPLY_SetWinTransientFor(NatWinId win, NatWinId owner);
void DSPLY_SetWinCursor(NatWinId win, CursPtr cursor);
void DSPLY_FocusWin(NatWinId win);
// Frame and decorations, as told to the window manager.
enum {
  DSPLY_DECOBORDER = 1,
  DSPLY_DECOTITLE = 2,
  DSPLY_DECOMENU = 4,
  DSPLY_DECOMINIMIZE = 8,
  DSPLY_DECOMAXIMIZE = 16,
  DSPLY_DECORESIZE = 32
};
void DSPLY_SetWinDecorations(NatWinId win, unsigned decorations);
enum { DSPLY_WINTYPENORMAL = 0, DSPLY_WINTYPEDIALOG = 1, DSPLY_WINTYPEUTILITY = 2, DSPLY_WINTYPESPLASH = 3 };
void DSPLY_SetWinType(NatWinId win, int type);
// Makes leader the window of the group win belongs to (0: no group).
void DSPLY_SetWinGroup(NatWinId win, NatWinId leader);
// The frame the window manager drew around the window: left, right, top,
// bottom widths; false when none is reported.
bool DSPLY_QueryWinFrameExtents(NatWinId win, int extents[4]);
// A text property (type UTF8_STRING) of the window, replaced whole; a text
// too long for one request is written in parts.  Errors of a window that
// is gone meanwhile are recorded, not fatal.
void DSPLY_SetWinTextProperty(NatWinId win, const char* property, const std::string& text);
void DSPLY_DeleteWinProperty(NatWinId win, const char* property);
// Marks a part of the window for an expose event.
void DSPLY_InvalWinRect(NatWinId win, const _Rect16Rec& rect);
// The window's client box in screen coordinates as the server has it.
bool DSPLY_QueryWinBox(NatWinId win, _Rect16Rec* box);
// The pointer: screen location, the toolkit window under it (0 if none),
// the location in that window, the modifier bits.
bool DSPLY_QueryPointer(_Point16Rec* abs, NatWinId* win, _Point16Rec* winLoc, unsigned* mods);
void DSPLY_GrabPointer(NatWinId win);
void DSPLY_UngrabPointer();
// Every key goes to the window until the grab ends (an open menu's keys).
void DSPLY_GrabKeyboard(NatWinId win);
void DSPLY_UngrabKeyboard();

// Input.
enum DsplyEvKindEnum {
  DSPLY_EVNONE = 0,
  DSPLY_EVEXPOSE,
  DSPLY_EVBUTTONPRESS,
  DSPLY_EVBUTTONRELEASE,
  DSPLY_EVMOTION,
  DSPLY_EVLEAVE,
  DSPLY_EVENTER,
  DSPLY_EVKEYPRESS,
  DSPLY_EVKEYRELEASE,
  DSPLY_EVCONFIGURE,  // Box: the new client box in screen coordinates
  DSPLY_EVMAP,
  DSPLY_EVUNMAP,
  DSPLY_EVDELETE,     // the window manager's close box
  DSPLY_EVFOCUSIN,
  DSPLY_EVFOCUSOUT,
  DSPLY_EVTAKEFOCUS,
  DSPLY_EVRESTACK,    // the window moved in the stacking order only
  DSPLY_EVWMSTATE     // the window manager's state of the window: WmState
};

// WmState bits of DSPLY_EVWMSTATE: how the window manager shows the window.
enum { DSPLY_WMSTATEICONIC = 1, DSPLY_WMSTATEMAXIMIZED = 2 };

struct _DsplyEventRec {
  int Kind;
  NatWinId Win;
  uint32_t Time;         // server time in milliseconds
  _Point16Rec AbsLoc;    // pointer on the screen
  _Point16Rec WinLoc;    // pointer in the window
  int Button;            // EVENT_BUT1..3 or EVENT_BUTNONE
  int Wheel;             // a wheel press: EVENT_WHEELUP, ..DOWN, ..LEFT, ..RIGHT; 0 otherwise
  unsigned Modifiers;    // EVENT_MOD... bits; a press sets, a release clears its button
  int Key;               // EvKeyEnum
  char KbStr[256];       // the key's text (UTF-8)
  char KbAsciiStr[256];  // its ASCII part
  bool InNumKeyPad;
  _Rect16Rec Box;        // configure
  unsigned WmState;      // DSPLY_EVWMSTATE: DSPLY_WMSTATE... bits
  RegionPtr Rgn;         // expose: the merged exposed region, owned by the record
};

// Fills ev with the next display event without waiting; false when none.
// Expose events of one window that are queued are merged into one region.
bool DSPLY_CheckEvent(_DsplyEventRec* ev);
// The same, for key presses alone (type-ahead).
bool DSPLY_CheckKeyEvent(_DsplyEventRec* ev);
// Events already read from the server and not yet taken.
int DSPLY_Pending();
// Waits until the server has sent something or the time (ms; -1 forever)
// is over; true when there is input.  An interrupted wait gives false.
bool DSPLY_WaitForInput(int timeoutMs);
// Frees what the record owns and clears it.
void DSPLY_ClearEvent(_DsplyEventRec* ev);

// Screen capture: the window's client area as rows of RGB bytes.
bool DSPLY_CaptureWin(NatWinId win, int* width, int* height, std::vector<uint8_t>* rgb);
// The same written as a PNG file; false with a reason in DSPLY_GetLastError.
bool DSPLY_SaveWinPng(NatWinId win, const std::string& path);

#endif  // OWB_TOOLKIT_DSPLY_H
