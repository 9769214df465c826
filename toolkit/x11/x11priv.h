// Private to the X11 display layer (toolkit/x11*.cpp): the connection and
// the helpers that turn toolkit attributes into X resources.  Nothing
// outside the x11*.cpp files includes this header.
#ifndef OWB_TOOLKIT_X11_X11PRIV_H
#define OWB_TOOLKIT_X11_X11PRIV_H

// The toolkit's FontPtr is its own; Xlib's internal type of that name is
// never used.
#define _XTYPEDEF_FONTPTR

#include <X11/Xlib.h>
#include <X11/Xft/Xft.h>
#include <X11/Xutil.h>

#include "toolkit/color.h"
#include "toolkit/curs.h"
#include "toolkit/font.h"

struct X11State {
  Display* dpy = nullptr;
  int screen = 0;
  Window root = 0;
  Visual* visual = nullptr;
  Colormap colormap = 0;
  int depth = 0;
  int dpi = 96;
  Atom wmProtocols = 0, wmDeleteWindow = 0, wmTakeFocus = 0, netWmName = 0, netWmIconName = 0,
       netWmIcon = 0, utf8String = 0, wmState = 0, wmChangeState = 0, netWmState = 0, netWmStateMaxVert = 0,
       netWmStateMaxHorz = 0, netActiveWindow = 0;
  GC gc = nullptr;  // one graphics context for all drawing
  Pixmap grayStipple = 0;  // every other pixel, for the gray pattern
};

X11State& X11();

// The pixel of a colour (allocated once per colour).
unsigned long X11Pixel(ColorPtr color);
// The Xft colour of a colour, made once per colour.
XftColor* X11XftColor(ColorPtr color);
// Opens the face of a font if needed; null when the display is closed.
XftFont* X11XftFont(FontPtr font);
// The X cursor of a cursor, made once.
Cursor X11Cursor(CursPtr cursor);
// Frees what the display layer made for stock attributes, before closing.
void X11ReleaseAttributes();
// Forgets the per-window drawing state of a window that goes away.
void X11ForgetWinDraw(Window win);
// The window manager's state of a window (DSPLY_WMSTATE... bits).
unsigned X11QueryWmState(Window win);
// Forgets what the event translation kept of a window that goes away.
void X11ForgetWinEvents(Window win);
// True for a window the toolkit made.
bool X11IsOurWin(Window win);
// The selections' share of the event stream (x11sel.cpp): true when the
// event was a selection event and has been dealt with.
bool X11SelHandleEvent(XEvent* xe);
// The input method (x11im.cpp).  X11ImFilter gives true for an event the
// input method took; X11ImLookup gives the key's text as UTF-8 (at most
// size - 1 bytes and a NUL) and its key symbol; focus and the end of a
// window are passed on.
bool X11ImFilter(XEvent* xe);
int X11ImLookup(XKeyEvent* xk, char* buf, int size, KeySym* sym);
void X11ImFocus(Window win, bool in);
void X11ImForget(Window win);
// The display closes: both let go of what they hold on it.
void X11ImReset();
void X11SelReset();

#endif  // OWB_TOOLKIT_X11_X11PRIV_H
