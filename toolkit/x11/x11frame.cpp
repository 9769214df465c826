// What the window manager is told about a window's frame: its decorations
// (Motif hints, which the common window managers honour), its type, the
// group it belongs to; and what the manager reports of the frame it drew.
#include "toolkit/x11/x11priv.h"  // first: it settles the X type names

#include <X11/Xatom.h>

#include "toolkit/dsply.h"

namespace {
Atom atom(const char* name) { return XInternAtom(X11().dpy, name, False); }

bool usable(NatWinId win) { return X11().dpy && win && X11IsOurWin(static_cast<Window>(win)); }

// Motif's window manager hints: flags, functions, decorations, input mode,
// status; only the decorations are given.
constexpr long kMwmHintsDecorations = 1L << 1;
constexpr long kMwmDecorBorder = 1L << 1, kMwmDecorResizeH = 1L << 2, kMwmDecorTitle = 1L << 3,
               kMwmDecorMenu = 1L << 4, kMwmDecorMinimize = 1L << 5, kMwmDecorMaximize = 1L << 6;
}  // namespace

void DSPLY_SetWinDecorations(NatWinId win, unsigned decorations) {
  if (!usable(win)) return;
  long decor = 0;
  if (decorations & DSPLY_DECOBORDER) decor |= kMwmDecorBorder;
  if (decorations & DSPLY_DECORESIZE) decor |= kMwmDecorResizeH;
  if (decorations & DSPLY_DECOTITLE) decor |= kMwmDecorTitle;
  if (decorations & DSPLY_DECOMENU) decor |= kMwmDecorMenu;
  if (decorations & DSPLY_DECOMINIMIZE) decor |= kMwmDecorMinimize;
  if (decorations & DSPLY_DECOMAXIMIZE) decor |= kMwmDecorMaximize;
  long hints[5] = {kMwmHintsDecorations, 0, decor, 0, 0};
  Atom prop = atom("_MOTIF_WM_HINTS");
  XChangeProperty(X11().dpy, static_cast<Window>(win), prop, prop, 32, PropModeReplace,
                  reinterpret_cast<unsigned char*>(hints), 5);
}

void DSPLY_SetWinType(NatWinId win, int type) {
  if (!usable(win)) return;
  const char* name = "_NET_WM_WINDOW_TYPE_NORMAL";
  switch (type) {
    case DSPLY_WINTYPEDIALOG: name = "_NET_WM_WINDOW_TYPE_DIALOG"; break;
    case DSPLY_WINTYPEUTILITY: name = "_NET_WM_WINDOW_TYPE_UTILITY"; break;
    case DSPLY_WINTYPESPLASH: name = "_NET_WM_WINDOW_TYPE_SPLASH"; break;
    default: break;
  }
  Atom value = atom(name);
  XChangeProperty(X11().dpy, static_cast<Window>(win), atom("_NET_WM_WINDOW_TYPE"), XA_ATOM, 32, PropModeReplace,
                  reinterpret_cast<unsigned char*>(&value), 1);
}

void DSPLY_SetWinGroup(NatWinId win, NatWinId leader) {
  if (!usable(win)) return;
  Display* dpy = X11().dpy;
  Window w = static_cast<Window>(win);
  XWMHints* hints = XGetWMHints(dpy, w);
  XWMHints fresh{};
  XWMHints* h = hints ? hints : &fresh;
  if (leader) {
    h->flags |= WindowGroupHint;
    h->window_group = static_cast<Window>(leader);
  } else {
    h->flags &= ~WindowGroupHint;
  }
  XSetWMHints(dpy, w, h);
  if (hints) XFree(hints);
  if (leader) {
    Window l = static_cast<Window>(leader);
    XChangeProperty(dpy, w, atom("WM_CLIENT_LEADER"), XA_WINDOW, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&l), 1);
  } else {
    XDeleteProperty(dpy, w, atom("WM_CLIENT_LEADER"));
  }
}

bool DSPLY_QueryWinFrameExtents(NatWinId win, int extents[4]) {
  if (!usable(win)) return false;
  Atom type = 0;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  bool ok = XGetWindowProperty(X11().dpy, static_cast<Window>(win), atom("_NET_FRAME_EXTENTS"), 0, 4, False,
                               XA_CARDINAL, &type, &format, &count, &after, &data) == Success &&
            type == XA_CARDINAL && format == 32 && count == 4 && data;
  if (ok) {
    const long* v = reinterpret_cast<const long*>(data);
    // Left, right, top, bottom; a window manager's values are bounded to
    // what a frame on one screen can be.
    for (int i = 0; i < 4; i++) extents[i] = v[i] < 0 ? 0 : v[i] > 4096 ? 4096 : static_cast<int>(v[i]);
  }
  if (data) XFree(data);
  return ok;
}
