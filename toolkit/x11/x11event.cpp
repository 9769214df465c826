// Reading the X server's events and translating them into display events.
#include "toolkit/x11/x11priv.h"  // first: it settles the X type names

#include <X11/keysym.h>
#include <cerrno>
#include <cstring>
#include <map>

#include "toolkit/dsply.h"
#include "toolkit/evkeys.h"
#include "toolkit/xhooks.h"

unsigned X11ToolkitMods(unsigned state) {
  unsigned m = 0;
  if (state & Button1Mask) m |= EVENT_MODBUT1;
  if (state & Button2Mask) m |= EVENT_MODBUT2;
  if (state & Button3Mask) m |= EVENT_MODBUT3;
  if (state & ShiftMask) m |= EVENT_MODSHIFT;
  if (state & ControlMask) m |= EVENT_MODCONTROL;
  if (state & Mod1Mask) m |= EVENT_MODALT;
  if (state & LockMask) m |= EVENT_MODCAPSLOCK;
  if (state & Mod2Mask) m |= EVENT_MODNUMLOCK;
  if (state & Mod3Mask) m |= EVENT_MODHYPER;
  if (state & Mod4Mask) m |= EVENT_MODSUPER;
  if (state & Mod5Mask) m |= EVENT_MODALTGR;
  return m;
}

namespace {

// The last configuration of each window, to tell a restack from a move.
std::map<Window, XConfigureEvent> gLastConfigure;

int keyOfSym(KeySym sym) {
  if (sym >= XK_F1 && sym <= XK_F12) return EVENT_KEYF1 + static_cast<int>(sym - XK_F1);
  if (sym >= XK_F13 && sym <= XK_F35) return EVENT_KEYF13 + static_cast<int>(sym - XK_F13);
  switch (sym) {
    case XK_Escape: return EVENT_KEYESCAPE;
    case XK_BackSpace: return EVENT_KEYBACKSPACE;
    case XK_Delete: case XK_KP_Delete: return EVENT_KEYDELETE;
    case XK_Clear: return EVENT_KEYCLEAR;
    case XK_Tab: case XK_ISO_Left_Tab: case XK_KP_Tab: return EVENT_KEYTAB;
    case XK_Return: return EVENT_KEYRETURN;
    case XK_Linefeed: return EVENT_KEYLINEFEED;
    case XK_KP_Enter: return EVENT_KEYENTER;
    case XK_Insert: case XK_KP_Insert: return EVENT_KEYINSERT;
    case XK_Home: case XK_KP_Home: return EVENT_KEYHOME;
    case XK_Left: case XK_KP_Left: return EVENT_KEYLEFT;
    case XK_Up: case XK_KP_Up: return EVENT_KEYUP;
    case XK_Right: case XK_KP_Right: return EVENT_KEYRIGHT;
    case XK_Down: case XK_KP_Down: return EVENT_KEYDOWN;
    case XK_Next: case XK_KP_Next: return EVENT_KEYNEXTPAGE;
    case XK_Prior: case XK_KP_Prior: return EVENT_KEYPREVPAGE;
    case XK_Begin: case XK_KP_Begin: return EVENT_KEYBEGIN;
    case XK_End: case XK_KP_End: return EVENT_KEYEND;
    case XK_Select: return EVENT_KEYSELECT;
    case XK_Print: return EVENT_KEYPRINT;
    case XK_Execute: return EVENT_KEYEXECUTE;
    case XK_Undo: return EVENT_KEYUNDO;
    case XK_Redo: return EVENT_KEYREDO;
    case XK_Menu: return EVENT_KEYMENU;
    case XK_Find: return EVENT_KEYFIND;
    case XK_Cancel: return EVENT_KEYCANCEL;
    case XK_Help: return EVENT_KEYHELP;
    case XK_Break: return EVENT_KEYBREAK;
    case XK_Shift_L: return EVENT_KEYSHIFTL;
    case XK_Shift_R: return EVENT_KEYSHIFTR;
    case XK_Control_L: return EVENT_KEYCONTROLL;
    case XK_Control_R: return EVENT_KEYCONTROLR;
    case XK_Caps_Lock: return EVENT_KEYCAPSLOCK;
    case XK_Shift_Lock: return EVENT_KEYSHIFTLOCK;
    case XK_Meta_L: return EVENT_KEYMETAL;
    case XK_Meta_R: return EVENT_KEYMETAR;
    case XK_Alt_L: return EVENT_KEYALTL;
    case XK_Alt_R: return EVENT_KEYALTR;
    case XK_Super_L: return EVENT_KEYSUPERL;
    case XK_Super_R: return EVENT_KEYSUPERR;
    case XK_Hyper_L: return EVENT_KEYHYPERL;
    case XK_Hyper_R: return EVENT_KEYHYPERR;
    case XK_Pause: return EVENT_KEYPAUSE;
    case XK_Scroll_Lock: return EVENT_KEYSCROLLLOCK;
    case XK_Sys_Req: return EVENT_KEYSYSREQ;
    case XK_Num_Lock: return EVENT_KEYNUMLOCK;
    case XK_Mode_switch: return EVENT_KEYMODESWITCH;
    case XK_ISO_Level3_Shift: return EVENT_KEYALTGR;
    default: return EVENT_KEYNONE;
  }
}

// The key's UTF-8 text, and its ASCII part.
void storeText(_DsplyEventRec* ev, const char* utf8, int n) {
  size_t u = 0, a = 0;
  for (int i = 0; i < n && u + 1 < sizeof ev->KbStr; i++) {
    unsigned char c = static_cast<unsigned char>(utf8[i]);
    ev->KbStr[u++] = static_cast<char>(c);
    if (c < 0x80 && a + 1 < sizeof ev->KbAsciiStr) ev->KbAsciiStr[a++] = static_cast<char>(c);
  }
  ev->KbStr[u] = 0;
  ev->KbAsciiStr[a] = 0;
}

void translateKey(XKeyEvent* xk, _DsplyEventRec* ev) {
  char buf[sizeof ev->KbStr];
  KeySym sym = NoSymbol;
  int n = X11ImLookup(xk, buf, static_cast<int>(sizeof buf), &sym);
  ev->Key = keyOfSym(sym);
  ev->InNumKeyPad = sym >= XK_KP_Space && sym <= XK_KP_9;
  if (ev->Key == EVENT_KEYNONE && n > 0) {
    unsigned char c = static_cast<unsigned char>(buf[0]);
    ev->Key = (c < 0x20 || c == 0x7f) ? EVENT_KEYCONTROL : EVENT_KEYNORMAL;
  }
  // Keys with a name of their own carry no text; control characters keep
  // theirs so that accelerators can be matched on them.
  if (ev->Key == EVENT_KEYNORMAL || ev->Key == EVENT_KEYCONTROL) storeText(ev, buf, n);
  ev->Modifiers = X11ToolkitMods(xk->state);
  ev->Time = static_cast<uint32_t>(xk->time);
  ev->AbsLoc = _Point16Rec{static_cast<int16_t>(xk->x_root), static_cast<int16_t>(xk->y_root)};
  ev->WinLoc = _Point16Rec{static_cast<int16_t>(xk->x), static_cast<int16_t>(xk->y)};
}

int buttonOf(unsigned b) { return b >= Button1 && b <= Button3 ? static_cast<int>(b) : 0; }
// The wheel comes as presses of buttons 4 to 7: up, down, left, right.
int wheelOf(unsigned b) {
  switch (b) {
    case 4: return EVENT_WHEELUP;
    case 5: return EVENT_WHEELDOWN;
    case 6: return EVENT_WHEELLEFT;
    case 7: return EVENT_WHEELRIGHT;
    default: return 0;
  }
}
unsigned buttonMask(int b) { return b == 1 ? EVENT_MODBUT1 : b == 2 ? EVENT_MODBUT2 : b == 3 ? EVENT_MODBUT3 : 0; }

}  // namespace

void X11ForgetWinEvents(Window win) { gLastConfigure.erase(win); }

namespace {

// Translates one X event; false for an event the toolkit has no use for.
bool translate(XEvent* xe, _DsplyEventRec* ev) {
  X11State& x = X11();
  std::memset(ev, 0, sizeof *ev);
  Window w = xe->xany.window;
  if (!X11IsOurWin(w)) return false;
  ev->Win = static_cast<NatWinId>(w);
  switch (xe->type) {
    case Expose:
    case GraphicsExpose: {
      ev->Kind = DSPLY_EVEXPOSE;
      ev->Rgn = RGN_New();
      RGN_UnionRect(ev->Rgn, RECT16_Make(xe->xexpose.x, xe->xexpose.y, xe->xexpose.width, xe->xexpose.height));
      // Every exposure of this window that is queued joins one region.
      XEvent more;
      while (XCheckTypedWindowEvent(x.dpy, w, Expose, &more) ||
             XCheckTypedWindowEvent(x.dpy, w, GraphicsExpose, &more))
        RGN_UnionRect(ev->Rgn, RECT16_Make(more.xexpose.x, more.xexpose.y, more.xexpose.width, more.xexpose.height));
      return true;
    }
    case ButtonPress:
    case ButtonRelease: {
      XButtonEvent& b = xe->xbutton;
      ev->Kind = xe->type == ButtonPress ? DSPLY_EVBUTTONPRESS : DSPLY_EVBUTTONRELEASE;
      ev->Button = buttonOf(b.button);
      ev->Wheel = wheelOf(b.button);
      ev->Modifiers = X11ToolkitMods(b.state);
      if (xe->type == ButtonPress) ev->Modifiers |= buttonMask(ev->Button);
      else ev->Modifiers &= ~buttonMask(ev->Button);
      ev->Time = static_cast<uint32_t>(b.time);
      ev->AbsLoc = _Point16Rec{static_cast<int16_t>(b.x_root), static_cast<int16_t>(b.y_root)};
      ev->WinLoc = _Point16Rec{static_cast<int16_t>(b.x), static_cast<int16_t>(b.y)};
      return true;
    }
    case MotionNotify: {
      // Only the latest position of a run of moves matters.
      while (XCheckTypedWindowEvent(x.dpy, w, MotionNotify, xe)) {
      }
      XMotionEvent& m = xe->xmotion;
      ev->Kind = DSPLY_EVMOTION;
      ev->Modifiers = X11ToolkitMods(m.state);
      ev->Time = static_cast<uint32_t>(m.time);
      ev->AbsLoc = _Point16Rec{static_cast<int16_t>(m.x_root), static_cast<int16_t>(m.y_root)};
      ev->WinLoc = _Point16Rec{static_cast<int16_t>(m.x), static_cast<int16_t>(m.y)};
      return true;
    }
    case EnterNotify:
    case LeaveNotify: {
      XCrossingEvent& c = xe->xcrossing;
      if (c.mode != NotifyNormal) return false;
      ev->Kind = xe->type == EnterNotify ? DSPLY_EVENTER : DSPLY_EVLEAVE;
      ev->Modifiers = X11ToolkitMods(c.state);
      ev->Time = static_cast<uint32_t>(c.time);
      ev->AbsLoc = _Point16Rec{static_cast<int16_t>(c.x_root), static_cast<int16_t>(c.y_root)};
      ev->WinLoc = _Point16Rec{static_cast<int16_t>(c.x), static_cast<int16_t>(c.y)};
      return true;
    }
    case KeyPress:
    case KeyRelease:
      ev->Kind = xe->type == KeyPress ? DSPLY_EVKEYPRESS : DSPLY_EVKEYRELEASE;
      translateKey(&xe->xkey, ev);
      return true;
    case ConfigureNotify: {
      while (XCheckTypedWindowEvent(x.dpy, w, ConfigureNotify, xe)) {
      }
      // Same place and size with another window below: only the stacking
      // order changed.
      XConfigureEvent& c = xe->xconfigure;
      auto last = gLastConfigure.find(w);
      bool restacked = last != gLastConfigure.end() && last->second.x == c.x && last->second.y == c.y &&
                       last->second.width == c.width && last->second.height == c.height &&
                       last->second.above != c.above;
      gLastConfigure[w] = c;
      if (restacked) {
        ev->Kind = DSPLY_EVRESTACK;
        return true;
      }
      ev->Kind = DSPLY_EVCONFIGURE;
      _Rect16Rec box;
      if (!DSPLY_QueryWinBox(ev->Win, &box))
        box = RECT16_Make(xe->xconfigure.x, xe->xconfigure.y, xe->xconfigure.width, xe->xconfigure.height);
      ev->Box = box;
      return true;
    }
    case PropertyNotify:
      if (xe->xproperty.atom != x.wmState && xe->xproperty.atom != x.netWmState) return false;
      ev->Kind = DSPLY_EVWMSTATE;
      ev->WmState = X11QueryWmState(w);
      return true;
    case MapNotify: ev->Kind = DSPLY_EVMAP; return true;
    case UnmapNotify: ev->Kind = DSPLY_EVUNMAP; return true;
    case FocusIn:
    case FocusOut:
      if (xe->xfocus.detail == NotifyPointer || xe->xfocus.detail == NotifyInferior) return false;
      // A keyboard grab of our own (an open menu) moves no focus.
      if (xe->xfocus.mode == NotifyGrab || xe->xfocus.mode == NotifyUngrab) return false;
      X11ImFocus(w, xe->type == FocusIn);
      ev->Kind = xe->type == FocusIn ? DSPLY_EVFOCUSIN : DSPLY_EVFOCUSOUT;
      return true;
    case ClientMessage:
      if (xe->xclient.message_type == x.wmProtocols && xe->xclient.format == 32) {
        Atom what = static_cast<Atom>(xe->xclient.data.l[0]);
        if (what == x.wmDeleteWindow) {
          ev->Kind = DSPLY_EVDELETE;
          return true;
        }
        if (what == x.wmTakeFocus) {
          ev->Kind = DSPLY_EVTAKEFOCUS;
          ev->Time = static_cast<uint32_t>(xe->xclient.data.l[1]);
          return true;
        }
      }
      return false;
    default:
      return false;
  }
}
}  // namespace

namespace {
// XCheckIfEvent's form of the loop's predicate.
Bool passesPredicate(Display*, XEvent* xe, XPointer) { return XCurrentPredicate()(xe) ? True : False; }
// Sees whether any queued event passes without taking one.
Bool notesPassing(Display*, XEvent* xe, XPointer found) {
  if (XCurrentPredicate()(xe)) *reinterpret_cast<bool*>(found) = true;
  return False;
}
}  // namespace

bool DSPLY_CheckEvent(_DsplyEventRec* ev) {
  X11State& x = X11();
  if (!x.dpy || !ev) return false;
  while (XPending(x.dpy) > 0) {
    XEvent xe;
    if (XCurrentPredicate()) {
      if (!XCheckIfEvent(x.dpy, &xe, passesPredicate, nullptr)) return false;
    } else {
      XNextEvent(x.dpy, &xe);
    }
    if (X11ImFilter(&xe) || X11SelHandleEvent(&xe)) continue;
    if (xe.type == MappingNotify) {
      // The keyboard's map changed: keys are read with the new one.
      XRefreshKeyboardMapping(&xe.xmapping);
      continue;
    }
    if (translate(&xe, ev)) return true;
    if (XNonOiEventProc other = XNonOiEventProcedure()) other(&xe);
  }
  return false;
}

bool DSPLY_CheckKeyEvent(_DsplyEventRec* ev) {
  X11State& x = X11();
  if (!x.dpy || !ev) return false;
  XEvent xe;
  while (XCheckMaskEvent(x.dpy, KeyPressMask, &xe))
    if (!X11ImFilter(&xe) && translate(&xe, ev)) return true;
  return false;
}

int DSPLY_Pending() {
  X11State& x = X11();
  if (!x.dpy) return 0;
  int n = XPending(x.dpy);
  if (n == 0 || !XCurrentPredicate()) return n;
  // Under a predicate only the events it lets through count.
  bool found = false;
  XEvent unused;
  XCheckIfEvent(x.dpy, &unused, notesPassing, reinterpret_cast<XPointer>(&found));
  return found ? n : 0;
}

bool DSPLY_WaitForInput(int timeoutMs) {
  X11State& x = X11();
  return x.dpy && X_DefXUnxBlocking(ConnectionNumber(x.dpy), timeoutMs);
}

void DSPLY_ClearEvent(_DsplyEventRec* ev) {
  if (!ev) return;
  RGN_Dispose(ev->Rgn);
  std::memset(ev, 0, sizeof *ev);
}
