// Keyboard text through the X input method: composed characters (dead
// keys, the compose key) and whatever an input method server gives arrive
// as UTF-8.  Without an input method, the key's Latin-1 text is used.
#include "toolkit/x11/x11priv.h"  // first: it settles the X type names

#include <clocale>
#include <cstring>
#include <map>

namespace {

struct ImState {
  Display* dpy = nullptr;  // the connection the state belongs to
  XIM im = nullptr;
  bool tried = false;
  std::map<Window, XIC> ics;
};
ImState gIm;

XIM S_OpenIm() {
  X11State& x = X11();
  if (gIm.dpy != x.dpy) {
    gIm = ImState{};
    gIm.dpy = x.dpy;
  }
  if (gIm.tried) return gIm.im;
  gIm.tried = true;
  // The input method follows the user's character set; the program's
  // locale is otherwise left as it is.
  const char* ctype = std::setlocale(LC_CTYPE, nullptr);
  if (!ctype || std::strcmp(ctype, "C") == 0 || std::strcmp(ctype, "POSIX") == 0) {
    if (!std::setlocale(LC_CTYPE, "") || !XSupportsLocale()) std::setlocale(LC_CTYPE, "C");
  }
  XSetLocaleModifiers("");
  gIm.im = XOpenIM(x.dpy, nullptr, nullptr, nullptr);
  if (!gIm.im) {
    // The server named by XMODIFIERS may be gone: the built-in one.
    XSetLocaleModifiers("@im=none");
    gIm.im = XOpenIM(x.dpy, nullptr, nullptr, nullptr);
  }
  return gIm.im;
}

XIC S_IcOf(Window win) {
  XIM im = S_OpenIm();
  if (!im || !win) return nullptr;
  auto it = gIm.ics.find(win);
  if (it != gIm.ics.end()) return it->second;
  XIC ic = XCreateIC(im, XNInputStyle, XIMPreeditNothing | XIMStatusNothing, XNClientWindow, win, XNFocusWindow,
                     win, nullptr);
  gIm.ics[win] = ic;
  if (ic) {
    // The input method may want events of its own on the window.
    unsigned long filter = 0;
    XWindowAttributes attrs;
    if (!XGetICValues(ic, XNFilterEvents, &filter, nullptr) && XGetWindowAttributes(X11().dpy, win, &attrs))
      XSelectInput(X11().dpy, win, attrs.your_event_mask | static_cast<long>(filter));
    XSetICFocus(ic);
  }
  return ic;
}

}  // namespace

bool X11ImFilter(XEvent* xe) {
  if (gIm.dpy != X11().dpy || !gIm.im) {
    // The input method opens with the first key a window of ours gets.
    if (xe->type != KeyPress || !X11IsOurWin(xe->xkey.window)) return false;
    S_IcOf(xe->xkey.window);
  }
  return XFilterEvent(xe, None) == True;
}

int X11ImLookup(XKeyEvent* xk, char* buf, int size, KeySym* sym) {
  *sym = NoSymbol;
  buf[0] = 0;
  if (size < 8) return 0;
  XIC ic = xk->type == KeyPress ? S_IcOf(xk->window) : nullptr;
  if (ic) {
    Status status = 0;
    int n = Xutf8LookupString(ic, xk, buf, size - 1, sym, &status);
    if (status == XBufferOverflow) n = 0;  // more than a key's worth: dropped
    if (status != XLookupChars && status != XLookupBoth) n = 0;
    if (status == XLookupNone) *sym = NoSymbol;
    if (n < 0) n = 0;
    buf[n] = 0;
    return n;
  }
  char latin1[64];
  int n = XLookupString(xk, latin1, sizeof latin1 - 1, sym, nullptr);
  int u = 0;
  for (int i = 0; i < n && u + 3 < size; i++) {
    unsigned char c = static_cast<unsigned char>(latin1[i]);
    if (c < 0x80) {
      buf[u++] = static_cast<char>(c);
    } else {
      buf[u++] = static_cast<char>(0xC0 | (c >> 6));
      buf[u++] = static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  buf[u] = 0;
  return u;
}

void X11ImFocus(Window win, bool in) {
  if (gIm.dpy != X11().dpy || !gIm.im) return;
  auto it = gIm.ics.find(win);
  if (it == gIm.ics.end() || !it->second) return;
  if (in) XSetICFocus(it->second);
  else XUnsetICFocus(it->second);
}

void X11ImForget(Window win) {
  if (gIm.dpy != X11().dpy) return;
  auto it = gIm.ics.find(win);
  if (it == gIm.ics.end()) return;
  if (it->second) XDestroyIC(it->second);
  gIm.ics.erase(it);
}

void X11ImReset() {
  if (gIm.dpy == X11().dpy) {
    for (auto& entry : gIm.ics)
      if (entry.second) XDestroyIC(entry.second);
    if (gIm.im) XCloseIM(gIm.im);
  }
  gIm = ImState{};
}
