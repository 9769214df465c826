// The display connection and its top-level windows on Xlib.
#include "toolkit/x11/x11priv.h"  // first: it settles the X type names

#include <X11/Xatom.h>
#include <X11/Xresource.h>

#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "owbtime.h"
#include "toolkit/dsply.h"
#include "toolkit/evkeys.h"
#include "toolkit/png.h"

namespace {
X11State gX;
std::set<Window> gOurWins;
std::map<std::string, Atom> gAtoms;  // atoms interned by name, per connection
std::string gLastError;
int gLook = DSPLY_LOOKFLAT;

// Xlib reports protocol errors asynchronously; a request on a window that
// the server has just destroyed is harmless to the toolkit, so errors are
// recorded instead of ending the program.
int onXError(Display*, XErrorEvent* e) {
  gLastError = "X protocol error " + std::to_string(e->error_code) + " on request " +
               std::to_string(e->request_code);
  return 0;
}

pid_t gOwnerPid = 0;

// At the end of the program the connection is closed and fontconfig's
// caches freed, so that nothing the display layer made outlives it.  A
// forked child shares the connection with its parent and must leave it.
void closeAtExit() {
  if (getpid() != gOwnerPid || !gX.dpy) return;
  DSPLY_Exit();
  FcFini();
}

int readDpi(Display* dpy) {
  if (const char* env = std::getenv("OWB_DPI")) {
    int v = std::atoi(env);
    if (v >= 48 && v <= 480) return v;
  }
  if (const char* res = XGetDefault(dpy, "Xft", "dpi")) {
    int v = std::atoi(res);
    if (v >= 48 && v <= 480) return v;
  }
  return 96;
}
}  // namespace

X11State& X11() { return gX; }
bool X11IsOurWin(Window win) { return gOurWins.count(win) != 0; }

bool DSPLY_Init(const char* displayName) {
  if (gX.dpy) return true;
  Display* dpy = XOpenDisplay(displayName);
  if (!dpy) {
    const char* name = displayName ? displayName : std::getenv("DISPLAY");
    gLastError = std::string("cannot open display \"") + (name ? name : "") + "\"";
    return false;
  }
  XSetErrorHandler(onXError);
  static bool atExitSet = false;
  if (!atExitSet) {
    std::atexit(closeAtExit);
    atExitSet = true;
  }
  gOwnerPid = getpid();
  gX.dpy = dpy;
  gX.screen = DefaultScreen(dpy);
  gX.root = RootWindow(dpy, gX.screen);
  gX.visual = DefaultVisual(dpy, gX.screen);
  gX.colormap = DefaultColormap(dpy, gX.screen);
  gX.depth = DefaultDepth(dpy, gX.screen);
  gX.dpi = readDpi(dpy);
  gX.wmProtocols = XInternAtom(dpy, "WM_PROTOCOLS", False);
  gX.wmDeleteWindow = XInternAtom(dpy, "WM_DELETE_WINDOW", False);
  gX.wmTakeFocus = XInternAtom(dpy, "WM_TAKE_FOCUS", False);
  gX.netWmName = XInternAtom(dpy, "_NET_WM_NAME", False);
  gX.netWmIconName = XInternAtom(dpy, "_NET_WM_ICON_NAME", False);
  gX.netWmIcon = XInternAtom(dpy, "_NET_WM_ICON", False);
  gX.utf8String = XInternAtom(dpy, "UTF8_STRING", False);
  gX.wmState = XInternAtom(dpy, "WM_STATE", False);
  gX.wmChangeState = XInternAtom(dpy, "WM_CHANGE_STATE", False);
  gX.netWmState = XInternAtom(dpy, "_NET_WM_STATE", False);
  gX.netWmStateMaxVert = XInternAtom(dpy, "_NET_WM_STATE_MAXIMIZED_VERT", False);
  gX.netWmStateMaxHorz = XInternAtom(dpy, "_NET_WM_STATE_MAXIMIZED_HORZ", False);
  gX.netActiveWindow = XInternAtom(dpy, "_NET_ACTIVE_WINDOW", False);
  gX.gc = XCreateGC(dpy, gX.root, 0, nullptr);
  static const char kGrayBits[] = {0x01, 0x02};
  gX.grayStipple = XCreateBitmapFromData(dpy, gX.root, kGrayBits, 2, 2);
  return true;
}

void DSPLY_Init(int) { DSPLY_Init(static_cast<const char*>(nullptr)); }

void DSPLY_Exit() {
  if (!gX.dpy) return;
  X11SelReset();
  X11ImReset();
  X11ReleaseAttributes();
  for (Window w : gOurWins) {
    X11ForgetWinDraw(w);
    X11ForgetWinEvents(w);
    XDestroyWindow(gX.dpy, w);
  }
  gOurWins.clear();
  XFreeGC(gX.dpy, gX.gc);
  XFreePixmap(gX.dpy, gX.grayStipple);
  XCloseDisplay(gX.dpy);
  gX = X11State{};
  gAtoms.clear();
}

bool DSPLY_IsOpen() { return gX.dpy != nullptr; }
const char* DSPLY_GetLastError() { return gLastError.c_str(); }
int DSPLY_GetConnectionFd() { return gX.dpy ? ConnectionNumber(gX.dpy) : -1; }
int DSPLY_GetLook() { return gLook; }
// There is one look; an update re-reads the screen's resolution, which is
// what a look change would follow.
void DSPLY_UpdateLook() {
  if (gX.dpy) gX.dpi = readDpi(gX.dpy);
}
int DSPLY_GetScreenDpi() { return gX.dpy ? gX.dpi : 96; }

_Point16Rec DSPLY_GetScreenExt() {
  if (!gX.dpy) return _Point16Rec{0, 0};
  return _Point16Rec{static_cast<int16_t>(DisplayWidth(gX.dpy, gX.screen)),
                     static_cast<int16_t>(DisplayHeight(gX.dpy, gX.screen))};
}

void DSPLY_Beep() {
  if (!gX.dpy) return;
  XBell(gX.dpy, 0);
  XFlush(gX.dpy);
}

void DSPLY_Flush() {
  if (gX.dpy) XFlush(gX.dpy);
}

void DSPLY_Sync() {
  if (gX.dpy) XSync(gX.dpy, False);
}

int64_t DSPLY_Now() { return static_cast<int64_t>(TIME_GetCurMillisecs()); }

namespace {
void setUtf8Property(Window win, Atom property, const char* text) {
  const char* t = text ? text : "";
  XChangeProperty(gX.dpy, win, property, gX.utf8String, 8, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(t), static_cast<int>(std::strlen(t)));
}
}  // namespace

NatWinId DSPLY_NewWin(const _Rect16Rec& box, const char* label, ColorPtr background) {
  if (!gX.dpy) return 0;
  XSetWindowAttributes attrs{};
  attrs.background_pixel = X11Pixel(background ? background : COLOR_Window());
  attrs.border_pixel = X11Pixel(COLOR_Border());
  attrs.bit_gravity = NorthWestGravity;
  attrs.event_mask = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | LeaveWindowMask |
                     EnterWindowMask | KeyPressMask | KeyReleaseMask | StructureNotifyMask | FocusChangeMask |
                     PropertyChangeMask;
  unsigned w = static_cast<unsigned>(box.Extent.X > 0 ? box.Extent.X : 1);
  unsigned h = static_cast<unsigned>(box.Extent.Y > 0 ? box.Extent.Y : 1);
  Window win = XCreateWindow(gX.dpy, gX.root, box.Origin.X, box.Origin.Y, w, h, 0, gX.depth, InputOutput,
                             gX.visual, CWBackPixel | CWBorderPixel | CWBitGravity | CWEventMask, &attrs);
  Atom protocols[] = {gX.wmDeleteWindow};
  XSetWMProtocols(gX.dpy, win, protocols, 1);
  XSizeHints* hints = XAllocSizeHints();
  hints->flags = USPosition | USSize;
  hints->x = box.Origin.X;
  hints->y = box.Origin.Y;
  hints->width = static_cast<int>(w);
  hints->height = static_cast<int>(h);
  XWMHints* wm = XAllocWMHints();
  wm->flags = InputHint | StateHint;
  wm->input = True;
  wm->initial_state = NormalState;
  XClassHint* cls = XAllocClassHint();
  char resName[] = "owb";
  char resClass[] = "Owb";
  cls->res_name = resName;
  cls->res_class = resClass;
  XSetWMProperties(gX.dpy, win, nullptr, nullptr, nullptr, 0, hints, wm, cls);
  XFree(hints);
  XFree(wm);
  XFree(cls);
  gOurWins.insert(win);
  DSPLY_SetWinLabel(static_cast<NatWinId>(win), label);
  return static_cast<NatWinId>(win);
}

NatWinId DSPLY_NewPopupWin(const _Rect16Rec& box, ColorPtr background) {
  if (!gX.dpy) return 0;
  XSetWindowAttributes attrs{};
  attrs.background_pixel = X11Pixel(background ? background : COLOR_Face());
  attrs.border_pixel = X11Pixel(COLOR_Border());
  attrs.override_redirect = True;
  attrs.save_under = True;
  attrs.event_mask = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | StructureNotifyMask;
  unsigned w = static_cast<unsigned>(box.Extent.X > 0 ? box.Extent.X : 1);
  unsigned h = static_cast<unsigned>(box.Extent.Y > 0 ? box.Extent.Y : 1);
  Window win = XCreateWindow(gX.dpy, gX.root, box.Origin.X, box.Origin.Y, w, h, 0, gX.depth, InputOutput, gX.visual,
                             CWBackPixel | CWBorderPixel | CWOverrideRedirect | CWSaveUnder | CWEventMask, &attrs);
  gOurWins.insert(win);
  return static_cast<NatWinId>(win);
}

void DSPLY_DisposeWin(NatWinId win) {
  if (!gX.dpy || !gOurWins.count(win)) return;
  X11ForgetWinDraw(win);
  X11ImForget(win);
  X11ForgetWinEvents(win);
  gOurWins.erase(win);
  XDestroyWindow(gX.dpy, win);
  XFlush(gX.dpy);
}

void DSPLY_ShowWin(NatWinId win) {
  if (gX.dpy && win) XMapRaised(gX.dpy, win);
}

void DSPLY_HideWin(NatWinId win) {
  if (!gX.dpy || !win) return;
  // Unmaps, and tells a window manager that the window is withdrawn.
  XWithdrawWindow(gX.dpy, win, gX.screen);
}

namespace {
Atom atomOf(const char* name) {
  auto it = gAtoms.find(name);
  if (it != gAtoms.end()) return it->second;
  Atom a = XInternAtom(gX.dpy, name, False);
  gAtoms[name] = a;
  return a;
}
}  // namespace

namespace {
// A client message to the root window, as the window manager protocols ask
// (EWMH and ICCCM requests).
void sendToRoot(Window win, Atom type, long l0, long l1 = 0, long l2 = 0, long l3 = 0) {
  XEvent ev{};
  ev.xclient.type = ClientMessage;
  ev.xclient.window = win;
  ev.xclient.message_type = type;
  ev.xclient.format = 32;
  ev.xclient.data.l[0] = l0;
  ev.xclient.data.l[1] = l1;
  ev.xclient.data.l[2] = l2;
  ev.xclient.data.l[3] = l3;
  XSendEvent(gX.dpy, gX.root, False, SubstructureRedirectMask | SubstructureNotifyMask, &ev);
}

void restack(Window win, int mode) {
  XWindowChanges changes{};
  changes.stack_mode = mode;
  // Goes to the window manager's frame when there is one (ICCCM 4.1.5).
  XReconfigureWMWindow(gX.dpy, win, gX.screen, CWStackMode, &changes);
}
}  // namespace

bool DSPLY_HasWinMgr() {
  if (!gX.dpy) return false;
  std::string name = "WM_S" + std::to_string(gX.screen);
  return XGetSelectionOwner(gX.dpy, atomOf(name.c_str())) != None;
}

void DSPLY_RaiseWin(NatWinId win) {
  if (!gX.dpy || !win) return;
  restack(win, Above);
  // A window manager decides what comes to the front: ask it as an
  // application (source 1).
  if (DSPLY_HasWinMgr()) sendToRoot(win, gX.netActiveWindow, 1, CurrentTime);
}

void DSPLY_LowerWin(NatWinId win) {
  if (gX.dpy && win) restack(win, Below);
}

void DSPLY_IconifyWin(NatWinId win) {
  if (!gX.dpy || !win) return;
  // The ICCCM request goes out in any case; without a window manager to
  // act on it the window also unmaps itself.
  XIconifyWindow(gX.dpy, win, gX.screen);
  if (!DSPLY_HasWinMgr()) XUnmapWindow(gX.dpy, win);
}

void DSPLY_DeiconifyWin(NatWinId win) {
  if (gX.dpy && win) XMapRaised(gX.dpy, win);
}

bool DSPLY_SetWinMaximized(NatWinId win, bool maximized) {
  if (!gX.dpy || !win || !DSPLY_HasWinMgr()) return false;
  sendToRoot(win, gX.netWmState, maximized ? 1 : 0, static_cast<long>(gX.netWmStateMaxVert),
             static_cast<long>(gX.netWmStateMaxHorz), 1);
  return true;
}

_Rect16Rec DSPLY_GetWorkArea() {
  _Point16Rec ext = DSPLY_GetScreenExt();
  _Rect16Rec area = RECT16_Make(0, 0, ext.X, ext.Y);
  if (!gX.dpy) return area;
  Atom type;
  int format;
  unsigned long count = 0, after;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(gX.dpy, gX.root, atomOf("_NET_WORKAREA"), 0, 4, False, XA_CARDINAL, &type, &format,
                         &count, &after, &data) == Success &&
      data && format == 32 && count >= 4) {
    const long* v = reinterpret_cast<const long*>(data);
    if (v[2] > 0 && v[3] > 0 && v[2] <= 32767 && v[3] <= 32767 && v[0] >= 0 && v[1] >= 0 && v[0] < 32767 &&
        v[1] < 32767)
      area = RECT16_Make(static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2]),
                         static_cast<int>(v[3]));
  }
  if (data) XFree(data);
  return area;
}

unsigned X11QueryWmState(Window win) {
  unsigned state = 0;
  Atom type;
  int format;
  unsigned long count = 0, after;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(gX.dpy, win, gX.wmState, 0, 2, False, gX.wmState, &type, &format, &count, &after, &data) ==
          Success &&
      data && format == 32 && count >= 1 && reinterpret_cast<const long*>(data)[0] == IconicState)
    state |= DSPLY_WMSTATEICONIC;
  if (data) XFree(data);
  data = nullptr;
  count = 0;
  if (XGetWindowProperty(gX.dpy, win, gX.netWmState, 0, 64, False, XA_ATOM, &type, &format, &count, &after,
                         &data) == Success &&
      data && format == 32) {
    const long* atoms = reinterpret_cast<const long*>(data);
    bool vert = false, horz = false;
    for (unsigned long i = 0; i < count; i++) {
      vert = vert || static_cast<Atom>(atoms[i]) == gX.netWmStateMaxVert;
      horz = horz || static_cast<Atom>(atoms[i]) == gX.netWmStateMaxHorz;
    }
    if (vert && horz) state |= DSPLY_WMSTATEMAXIMIZED;
  }
  if (data) XFree(data);
  return state;
}

void DSPLY_MoveResizeWin(NatWinId win, const _Rect16Rec& box) {
  if (!gX.dpy || !win) return;
  unsigned w = static_cast<unsigned>(box.Extent.X > 0 ? box.Extent.X : 1);
  unsigned h = static_cast<unsigned>(box.Extent.Y > 0 ? box.Extent.Y : 1);
  XMoveResizeWindow(gX.dpy, win, box.Origin.X, box.Origin.Y, w, h);
}

void DSPLY_SetWinLabel(NatWinId win, const char* label) {
  if (!gX.dpy || !win) return;
  XStoreName(gX.dpy, win, label ? label : "");
  setUtf8Property(win, gX.netWmName, label);
}

void DSPLY_SetWinIconLabel(NatWinId win, const char* label) {
  if (!gX.dpy || !win) return;
  XSetIconName(gX.dpy, win, label ? label : "");
  setUtf8Property(win, gX.netWmIconName, label);
}

void DSPLY_SetWinIcon(NatWinId win, int w, int h, const uint32_t* argb) {
  if (!gX.dpy || !win) return;
  if (!argb || w <= 0 || h <= 0 || w > 512 || h > 512) {
    XDeleteProperty(gX.dpy, win, gX.netWmIcon);
    return;
  }
  // The property is a list of CARDINALs, which Xlib passes as longs.
  std::vector<unsigned long> data;
  data.reserve(2 + static_cast<size_t>(w) * h);
  data.push_back(static_cast<unsigned long>(w));
  data.push_back(static_cast<unsigned long>(h));
  for (int i = 0; i < w * h; i++) data.push_back(argb[i]);
  XChangeProperty(gX.dpy, win, gX.netWmIcon, XA_CARDINAL, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size()));
}

void DSPLY_SetWinMinMax(NatWinId win, _Point16Rec minExt, _Point16Rec maxExt) {
  if (!gX.dpy || !win) return;
  XSizeHints* hints = XAllocSizeHints();
  long supplied = 0;
  XGetWMNormalHints(gX.dpy, win, hints, &supplied);
  hints->flags &= ~(PMinSize | PMaxSize);
  if (minExt.X > 0 || minExt.Y > 0) {
    hints->flags |= PMinSize;
    hints->min_width = minExt.X > 0 ? minExt.X : 1;
    hints->min_height = minExt.Y > 0 ? minExt.Y : 1;
  }
  if (maxExt.X > 0 || maxExt.Y > 0) {
    hints->flags |= PMaxSize;
    hints->max_width = maxExt.X > 0 ? maxExt.X : 32767;
    hints->max_height = maxExt.Y > 0 ? maxExt.Y : 32767;
  }
  XSetWMNormalHints(gX.dpy, win, hints);
  XFree(hints);
}

void DSPLY_SetWinTransientFor(NatWinId win, NatWinId owner) {
  if (gX.dpy && win) XSetTransientForHint(gX.dpy, win, owner ? owner : gX.root);
}

void DSPLY_SetWinCursor(NatWinId win, CursPtr cursor) {
  if (!gX.dpy || !win) return;
  Cursor c = X11Cursor(cursor);
  if (c) XDefineCursor(gX.dpy, win, c);
  else XUndefineCursor(gX.dpy, win);
}

void DSPLY_FocusWin(NatWinId win) {
  if (!gX.dpy || !win) return;
  XWindowAttributes attrs;
  // Focus can only be given to a viewable window.
  if (XGetWindowAttributes(gX.dpy, win, &attrs) && attrs.map_state == IsViewable)
    XSetInputFocus(gX.dpy, win, RevertToParent, CurrentTime);
}


void DSPLY_SetWinTextProperty(NatWinId win, const char* property, const std::string& text) {
  if (!gX.dpy || !win || !property || !gOurWins.count(win)) return;
  Atom prop = atomOf(property);
  // The largest request the server takes, in bytes, less room for the
  // request's own header.
  long maxRequest = XExtendedMaxRequestSize(gX.dpy);
  if (maxRequest <= 0) maxRequest = XMaxRequestSize(gX.dpy);
  size_t chunk = static_cast<size_t>(maxRequest) * 4 - 256;
  const unsigned char* data = reinterpret_cast<const unsigned char*>(text.data());
  size_t done = 0;
  int mode = PropModeReplace;
  do {
    size_t n = text.size() - done < chunk ? text.size() - done : chunk;
    XChangeProperty(gX.dpy, win, prop, gX.utf8String, 8, mode, data + done, static_cast<int>(n));
    done += n;
    mode = PropModeAppend;
  } while (done < text.size());
}

void DSPLY_DeleteWinProperty(NatWinId win, const char* property) {
  if (!gX.dpy || !win || !property || !gOurWins.count(win)) return;
  XDeleteProperty(gX.dpy, win, atomOf(property));
}

void DSPLY_InvalWinRect(NatWinId win, const _Rect16Rec& rect) {
  if (!gX.dpy || !win || RECT16_IsEmpty(rect)) return;
  XEvent ev{};
  ev.xexpose.type = Expose;
  ev.xexpose.display = gX.dpy;
  ev.xexpose.window = win;
  ev.xexpose.x = rect.Origin.X;
  ev.xexpose.y = rect.Origin.Y;
  ev.xexpose.width = rect.Extent.X;
  ev.xexpose.height = rect.Extent.Y;
  XSendEvent(gX.dpy, win, False, ExposureMask, &ev);
}

bool DSPLY_QueryWinBox(NatWinId win, _Rect16Rec* box) {
  if (!gX.dpy || !win || !box) return false;
  XWindowAttributes attrs;
  if (!XGetWindowAttributes(gX.dpy, win, &attrs)) return false;
  int ax = 0, ay = 0;
  Window child;
  XTranslateCoordinates(gX.dpy, win, gX.root, 0, 0, &ax, &ay, &child);
  *box = RECT16_Make(ax, ay, attrs.width, attrs.height);
  return true;
}

// Modifier translation, shared with the event code.
unsigned X11ToolkitMods(unsigned state);

bool DSPLY_QueryPointer(_Point16Rec* abs, NatWinId* win, _Point16Rec* winLoc, unsigned* mods) {
  if (!gX.dpy) return false;
  Window rootRet, child;
  int rx, ry, wx, wy;
  unsigned state;
  if (!XQueryPointer(gX.dpy, gX.root, &rootRet, &child, &rx, &ry, &wx, &wy, &state)) return false;
  if (abs) *abs = _Point16Rec{static_cast<int16_t>(rx), static_cast<int16_t>(ry)};
  if (mods) *mods = X11ToolkitMods(state);
  NatWinId found = 0;
  _Point16Rec loc{0, 0};
  // Without a window manager the child of the root is our window; with one
  // it is the frame, and our window lies below it.
  Window w = child;
  while (w && !gOurWins.count(w)) {
    Window r, c;
    int a, b, cx, cy;
    unsigned s;
    if (!XQueryPointer(gX.dpy, w, &r, &c, &a, &b, &cx, &cy, &s)) break;
    w = c;
  }
  if (w && gOurWins.count(w)) {
    found = w;
    int cx, cy;
    Window c;
    XTranslateCoordinates(gX.dpy, gX.root, w, rx, ry, &cx, &cy, &c);
    loc = _Point16Rec{static_cast<int16_t>(cx), static_cast<int16_t>(cy)};
  }
  if (win) *win = found;
  if (winLoc) *winLoc = loc;
  return true;
}

void DSPLY_GrabPointer(NatWinId win) {
  if (!gX.dpy || !win) return;
  XGrabPointer(gX.dpy, win, False, ButtonPressMask | ButtonReleaseMask | PointerMotionMask, GrabModeAsync,
               GrabModeAsync, None, None, CurrentTime);
}

void DSPLY_UngrabPointer() {
  if (gX.dpy) XUngrabPointer(gX.dpy, CurrentTime);
}

void DSPLY_GrabKeyboard(NatWinId win) {
  if (gX.dpy && win) XGrabKeyboard(gX.dpy, win, False, GrabModeAsync, GrabModeAsync, CurrentTime);
}

void DSPLY_UngrabKeyboard() {
  if (gX.dpy) XUngrabKeyboard(gX.dpy, CurrentTime);
}

bool DSPLY_CaptureWin(NatWinId win, int* width, int* height, std::vector<uint8_t>* rgb) {
  if (!gX.dpy || !win || !rgb) return false;
  XWindowAttributes attrs;
  if (!XGetWindowAttributes(gX.dpy, win, &attrs) || attrs.map_state != IsViewable) {
    gLastError = "the window is not on the screen";
    return false;
  }
  XSync(gX.dpy, False);
  XImage* img = XGetImage(gX.dpy, win, 0, 0, static_cast<unsigned>(attrs.width),
                          static_cast<unsigned>(attrs.height), AllPlanes, ZPixmap);
  if (!img) {
    gLastError = "the server gave no image of the window";
    return false;
  }
  auto shiftOf = [](unsigned long mask) {
    int s = 0;
    while (mask && !(mask & 1)) {
      mask >>= 1;
      s++;
    }
    return s;
  };
  auto scale = [](unsigned long v, unsigned long mask, int shift) -> uint8_t {
    unsigned long max = mask >> shift;
    return max ? static_cast<uint8_t>(((v & mask) >> shift) * 255 / max) : 0;
  };
  int rs = shiftOf(img->red_mask), gs = shiftOf(img->green_mask), bs = shiftOf(img->blue_mask);
  rgb->resize(static_cast<size_t>(attrs.width) * attrs.height * 3);
  size_t i = 0;
  for (int y = 0; y < attrs.height; y++)
    for (int x = 0; x < attrs.width; x++) {
      unsigned long p = XGetPixel(img, x, y);
      (*rgb)[i++] = scale(p, img->red_mask, rs);
      (*rgb)[i++] = scale(p, img->green_mask, gs);
      (*rgb)[i++] = scale(p, img->blue_mask, bs);
    }
  XDestroyImage(img);
  *width = attrs.width;
  *height = attrs.height;
  return true;
}

bool DSPLY_SaveWinPng(NatWinId win, const std::string& path) {
  int w = 0, h = 0;
  std::vector<uint8_t> rgb;
  if (!DSPLY_CaptureWin(win, &w, &h, &rgb)) return false;
  return PNG_WriteRgb(path, w, h, rgb, &gLastError);
}
