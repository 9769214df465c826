// Windows: the panel that stands for a top-level window of the display.
// Requests (show, minimize, terminate, ...) go as messages to the window
// and its registered listeners first, any of which can refuse; the window
// manager's news comes back as window-manager events.
#include <algorithm>
#include <map>
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/evctx.h"
#include "toolkit/eventpriv.h"
#include "toolkit/mbar.h"
#include "toolkit/pfld.h"
#include "toolkit/tarea.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"
#include "toolkit/winframe.h"

namespace {

#define WIN_FIELD(name, member, type, kind) PFLD_MEMBER(_WinObj, name, member, type, kind)

_PFldRec sWinFields[] = {WIN_FIELD("Mode", Mode, PFLD_INT16, PFLD_KINDVALUE),
                         WIN_FIELD("Style", Style, PFLD_INT16, PFLD_KINDVALUE),
                         WIN_FIELD("Deco", Deco, PFLD_UINT16, PFLD_KINDVALUE),
                         WIN_FIELD("PosFlags", PosFlags, PFLD_UINT16, PFLD_KINDVALUE),
                         WIN_FIELD("OptFlags", OptFlags, PFLD_UINT16, PFLD_KINDVALUE),
                         WIN_FIELD("MinWidth", MinWidth, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("MinHeight", MinHeight, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("MaxWidth", MaxWidth, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("MaxHeight", MaxHeight, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("IconLabel", IconLabel, PFLD_VSTR, PFLD_KINDTEXT),
                         WIN_FIELD("MenuBar", MenuBar, PFLD_RES0, PFLD_KINDVALUE),
                         WIN_FIELD("FrameLeft", FrameLeft, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("FrameRight", FrameRight, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("FrameTop", FrameTop, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("FrameBottom", FrameBottom, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("StatusLineH", StatusLineH, PFLD_INT16, PFLD_KINDGEOMETRY),
                         WIN_FIELD("DpiX", DpiX, PFLD_INT16, PFLD_KINDVALUE),
                         WIN_FIELD("DpiY", DpiY, PFLD_INT16, PFLD_KINDVALUE),
                         {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sWin = nullptr;
std::map<NatWinId, WinPtr> sByNatWin;  // the display's windows to ours
std::vector<WinPtr> sOpen;             // open windows, the top one last
WinPtr sActive = nullptr;
std::map<WinPtr, std::vector<ResPtr>> sListeners;
BoolEnum sRefused = 0;
long sModalReturn = 0;

struct WinExtra {
  BoolEnum ActivateOnMap = 0;
  BoolEnum HidePending = 0;  // an unmap we asked for
  BoolEnum IconifyPending = 0;  // iconified by us; the display's report is awaited
  BoolEnum Maximized = 0;
  _Rect16Rec RestoreBox{};   // the box before it was maximized
};
std::map<WinPtr, WinExtra> sExtra;

WgtPtr W(WinPtr win) { return WIN_Wgt(win); }

void removeOpen(WinPtr win) { sOpen.erase(std::remove(sOpen.begin(), sOpen.end(), win), sOpen.end()); }
void pushOpen(WinPtr win) {
  removeOpen(win);
  sOpen.push_back(win);
}

// Offers a request to the window, then to its listeners; true when nobody
// refused.
BoolEnum S_Request(WinPtr win, Int message) {
  BoolEnum outer = sRefused;
  sRefused = 0;
  RES_Use(WGT_Res(W(win)));
  std::vector<ResPtr> listeners = sListeners[win];
  for (ResPtr l : listeners)
    if (l && l->Notify) l->Notify(l, message, win);
  if (!sRefused) WGT_Send(W(win), message, nullptr);
  BoolEnum ok = !sRefused;
  sRefused = outer;
  RES_Release(WGT_Res(W(win)));
  return ok;
}

void S_ClampExtent(WinPtr win, _Rect16Rec* box) {
  if (win->MaxWidth > 0 && box->Extent.X > win->MaxWidth) box->Extent.X = win->MaxWidth;
  if (win->MaxHeight > 0 && box->Extent.Y > win->MaxHeight) box->Extent.Y = win->MaxHeight;
  if (win->MinWidth > 0 && box->Extent.X < win->MinWidth) box->Extent.X = win->MinWidth;
  if (win->MinHeight > 0 && box->Extent.Y < win->MinHeight) box->Extent.Y = win->MinHeight;
}

void ensureNative(WinPtr win) {
  if (win->NatWin || !DSPLY_IsOpen()) return;
  // A pop-up (a pull-down menu) is a window the window manager leaves alone.
  win->NatWin = (win->OptFlags & WIN_OPTPOPUP)
                    ? DSPLY_NewPopupWin(W(win)->Box, WGT_GetBgColor(W(win)))
                    : DSPLY_NewWin(W(win)->Box, PANEL_GetLabel(WIN_Panel(win)), WGT_GetBgColor(W(win)));
  if (!win->NatWin) return;
  sByNatWin[win->NatWin] = win;
  DSPLY_SetWinMinMax(win->NatWin, _Point16Rec{win->MinWidth, win->MinHeight},
                     _Point16Rec{win->MaxWidth, win->MaxHeight});
  if (win->IconLabel) DSPLY_SetWinIconLabel(win->NatWin, win->IconLabel);
  if (win->IconPixels) DSPLY_SetWinIcon(win->NatWin, win->IconWidth, win->IconHeight, win->IconPixels);
  WinApplyFrameAttrs(win);
}

void S_WinInit(WinPtr win) {
  ErrTrace frame("Win", __FILE__, __LINE__);
  RES_SetErrFmtOpt(frame.rec(), WGT_Res(W(win)));
  WgtPtr w = W(win);
  w->Win = win;
  if (!win->InvalRgn) win->InvalRgn = RGN_New();
  PanelDefInit(WIN_Panel(win));
  _Rect16Rec box = w->Box;
  S_ClampExtent(win, &box);
  w->Box = box;
  WIN_Panel(win)->LaidOutExt = box.Extent;
  if (!win->LabelColor) win->LabelColor = COLOR_Text();
  if (!win->FocusColor) win->FocusColor = COLOR_Accent();
  win->State = WIN_STATEINIT;
  ensureNative(win);
  PANEL_PropagateAllWgts(WIN_Panel(win), WGT_NFYSIZEINIT, nullptr, 0);
  WGT_Send(w, WGT_NFYWGTSINITIALIZED);
}

// A window larger than the work area (a layout made for 96 dots per inch
// shown at 200% on a small screen) is shrunk to it, its children laid out
// again by their resize flags, and one that lies partly off it is moved in.
void S_FitIntoWorkArea(WinPtr win) {
  if (win->OptFlags & WIN_OPTPOPUP) return;
  const _Rect16Rec area = DSPLY_GetWorkArea();
  if (RECT16_IsEmpty(area)) return;
  _Rect16Rec box = W(win)->Box;
  auto fit = [](int16_t& at, int16_t& size, int16_t areaAt, int16_t areaSize) {
    if (size > areaSize) size = areaSize;
    at = static_cast<int16_t>(std::max<int>(areaAt, std::min<int>(at, areaAt + areaSize - size)));
  };
  fit(box.Origin.X, box.Extent.X, area.Origin.X, area.Extent.X);
  fit(box.Origin.Y, box.Extent.Y, area.Origin.Y, area.Extent.Y);
  if (!RECT16_Equal(box, W(win)->Box)) WIN_SetBox(win, box);
}

void S_Show(WinPtr win) {
  ensureNative(win);
  if (!win->NatWin) return;
  if (win->State == WIN_STATEINIT || win->State == WIN_STATECLOSED) S_FitIntoWorkArea(win);
  BoolEnum activate = win->Mode != WIN_MODENOACTIVATE && !(win->OptFlags & WIN_OPTNOACTIVATE);
  switch (win->State) {
    case WIN_STATEINIT:
    case WIN_STATECLOSED:
    case WIN_STATEICONIFIED:
      if (win->OptFlags & WIN_OPTCENTER) {
        _Point16Rec scr = DSPLY_GetScreenExt();
        _Rect16Rec& b = W(win)->Box;
        b.Origin.X = static_cast<int16_t>((scr.X - b.Extent.X) / 2);
        b.Origin.Y = static_cast<int16_t>((scr.Y - b.Extent.Y) / 2);
        DSPLY_MoveResizeWin(win->NatWin, b);
      }
      win->State = WIN_STATEOPEN;
      sExtra[win].ActivateOnMap = activate;
      DSPLY_ShowWin(win->NatWin);
      pushOpen(win);
      WGT_Inval(W(win), nullptr);
      break;
    case WIN_STATEOPEN:
      DSPLY_RaiseWin(win->NatWin);
      pushOpen(win);
      if (activate) DSPLY_FocusWin(win->NatWin);
      break;
    default:
      break;
  }
  EventCursorChanged();
}

void S_Hide(WinPtr win, Int newState) {
  if (win->State == WIN_STATEOPEN && win->NatWin) {
    sExtra[win].HidePending = 1;
    DSPLY_HideWin(win->NatWin);
  }
  removeOpen(win);
  if (sActive == win) sActive = nullptr;
  win->HasFocus = 0;
  win->State = newState;
  if (win->InvalRgn) RGN_SetEmpty(win->InvalRgn);
}

// The real end of a terminated window, after the notification that asked
// for it has returned.
void WinEndRecal(WinPtr win) {
  WGT_Send(W(win), WIN_NFYTERMINATED);
  removeOpen(win);
  if (sActive == win) sActive = nullptr;
  sListeners.erase(win);
  sExtra.erase(win);
  EventEndWinManagement(win);
  if (win->NatWin) {
    sByNatWin.erase(win->NatWin);
    DSPLY_DisposeWin(win->NatWin);
    win->NatWin = 0;
  }
  RES_Release(WGT_Res(W(win)));
}

void S_Relayout(WinPtr win, _Point16Rec oldExt) {
  (void)oldExt;
  WGT_Send(W(win), WGT_NFYRESIZE);
  WGT_VisRgnInvalBelow(W(win));
  WGT_Inval(W(win), nullptr);
}

void S_ProcessWinMgr(WinPtr win, EventPtr ev) {
  UInt bits = ev ? ev->WinMgrType : 0;
  WgtPtr w = W(win);
  if (bits & EVENT_WMOPENED) {
    if (win->State == WIN_STATEOPEN) {
      WinExtra& x = sExtra[win];
      if (x.ActivateOnMap) DSPLY_FocusWin(win->NatWin);
      x.ActivateOnMap = 0;
      WGT_Send(w, WIN_NFYOPENED);
    } else if (win->State == WIN_STATEICONIFIED) {
      win->State = WIN_STATEOPEN;
      pushOpen(win);
      WGT_Send(w, WIN_NFYRESTORED);
    }
  }
  if (bits & EVENT_WMCLOSED) {
    WinExtra& x = sExtra[win];
    if (x.HidePending) {
      x.HidePending = 0;
      WGT_Send(w, WIN_NFYCLOSED);
    } else if (x.IconifyPending) {
      // The iconify we asked for; not told if the window was shown again
      // meanwhile.
      x.IconifyPending = 0;
      if (win->State == WIN_STATEICONIFIED) WGT_Send(w, WIN_NFYICONIFIED);
    } else if (win->State == WIN_STATEOPEN) {
      // Unmapped by the window manager: iconified.
      win->State = WIN_STATEICONIFIED;
      removeOpen(win);
      WGT_Send(w, WIN_NFYICONIFIED);
    }
  }
  if (bits & (EVENT_WMMOVED | EVENT_WMMOVEDRESIZED)) {
    _Rect16Rec old = w->Box;
    w->Box = ev->Box;
    bool resized = old.Extent.X != ev->Box.Extent.X || old.Extent.Y != ev->Box.Extent.Y;
    if (resized) S_Relayout(win, old.Extent);
    WGT_Send(w, resized ? WIN_NFYMOVEDRESIZED : WIN_NFYMOVED);
  }
  // The window manager's news of the window's state: each acts on a
  // change only, since a report gives the whole state.
  if (bits & EVENT_WMICONIFIED) {
    WinExtra& x = sExtra[win];
    if (x.IconifyPending) {
      x.IconifyPending = 0;
      if (win->State == WIN_STATEICONIFIED) WGT_Send(w, WIN_NFYICONIFIED);
    } else if (win->State == WIN_STATEOPEN) {
      win->State = WIN_STATEICONIFIED;
      removeOpen(win);
      WGT_Send(w, WIN_NFYICONIFIED);
    }
  }
  if ((bits & EVENT_WMDEICONIFIED) && win->State == WIN_STATEICONIFIED) {
    win->State = WIN_STATEOPEN;
    pushOpen(win);
    WGT_Send(w, WIN_NFYRESTORED);
  }
  if (bits & EVENT_WMMAXIMIZED) {
    WinExtra& x = sExtra[win];
    if (!x.Maximized) {
      x.Maximized = 1;
      if (RECT16_IsEmpty(x.RestoreBox)) x.RestoreBox = w->Box;
    }
  }
  if (bits & EVENT_WMUNMAXIMIZED) {
    WinExtra& x = sExtra[win];
    if (x.Maximized) {
      x.Maximized = 0;
      x.RestoreBox = RECT16_Make(0, 0, 0, 0);
      WGT_Send(w, WIN_NFYRESTORED);
    }
  }
  if (bits & EVENT_WMRESTACKED) WGT_Send(w, WIN_NFYRESTACKED);
  if (bits & EVENT_WMACTIVATED) {
    win->HasFocus = 1;
    sActive = win;
    WGT_Send(w, WGT_NFYACTIVATE);
    if (WgtPtr f = PANEL_GetDeepFocusWgt(WIN_Panel(win))) WGT_Inval(f, nullptr);
  }
  if (bits & EVENT_WMDEACTIVATED) {
    win->HasFocus = 0;
    if (sActive == win) sActive = nullptr;
    WGT_Send(w, WGT_NFYDEACTIVATE);
    if (WgtPtr f = PANEL_GetDeepFocusWgt(WIN_Panel(win))) WGT_Inval(f, nullptr);
  }
  if (bits & EVENT_WMTERMINATE) {
    // The close box ends a window of mode 0, unless a modal window of the
    // application is up over it.
    WinPtr modal = EVENT_QueryModalProcess();
    if (win->Mode == 0 && (!modal || modal == win)) {
      if (win->InModal) WIN_ModalReturn(win, 0);
      WIN_TerminateGetStatus(win);
    }
  }
  if (bits & EVENT_WMTAKEFOCUS) DSPLY_FocusWin(win->NatWin);
  if (bits & EVENT_WMREDRAW) WGT_Inval(w, nullptr);
}

// A window's own handling may end the window (a terminate whose
// recalculation runs at once frees it).  A watch taken around that
// handling learns whether the window still stands afterwards: the
// window's destruction marks every watch on it.
struct WinLifeWatch {
  explicit WinLifeWatch(WinPtr watched) : win(watched) { sWatches.push_back(this); }
  ~WinLifeWatch() { sWatches.erase(std::find(sWatches.begin(), sWatches.end(), this)); }
  WinLifeWatch(const WinLifeWatch&) = delete;
  WinLifeWatch& operator=(const WinLifeWatch&) = delete;

  static void windowGone(WinPtr gone) {
    for (WinLifeWatch* watch : sWatches)
      if (watch->win == gone) watch->alive = false;
  }

  WinPtr win;
  bool alive = true;
  static std::vector<WinLifeWatch*> sWatches;
};
std::vector<WinLifeWatch*> WinLifeWatch::sWatches;

void S_WinDestruct(ResPtr res) {
  WinPtr win = WIN_FromRes(res);
  WinLifeWatch::windowGone(win);
  WinFrameForget(win);
  if (win->NatWin) {
    sByNatWin.erase(win->NatWin);
    DSPLY_DisposeWin(win->NatWin);
    win->NatWin = 0;
  }
  removeOpen(win);
  if (sActive == win) sActive = nullptr;
  sListeners.erase(win);
  sExtra.erase(win);
  EventEndWinManagement(win);
  RGN_Dispose(win->InvalRgn);
  win->InvalRgn = nullptr;
  delete[] win->IconPixels;
  win->IconPixels = nullptr;
  VSTR_Dispose(win->StatusStr);
  win->StatusStr = nullptr;
}

void S_WinConstruct(ResPtr res, ResConstructPtr params) {
  if (params->Mode == RES_MODECOPY) return;
  WinPtr win = WIN_FromRes(res);
  win->State = WIN_STATELOADED;
  win->NatWin = 0;
  win->InvalRgn = nullptr;
  win->DrawRgn = nullptr;
  win->DefWgt = nullptr;
  win->IconPixels = nullptr;
  win->StatusStr = nullptr;
  win->Closing = 0;
  win->HasFocus = 0;
  win->InModal = 0;
  win->ShownCursor = nullptr;
}

}  // namespace

RClasPtr WIN_Class() { return sWin; }

void WIN_InstallClass() {
  PANEL_InstallClass();
  sWin = WgtRegisterClass("Win", "Win", PANEL_Class(), sWinFields, static_cast<Int>(sizeof(_WinObj)), S_WinConstruct,
                          S_WinDestruct, WIN_DefNfy);
}

void WIN_InitClass() {}

namespace {
long S_WinDefNfy(ResPtr res, Int message, ClientPtr data) {
  WinPtr win = WIN_FromRes(res);
  switch (message) {
    case WGT_NFYINIT:
      S_WinInit(win);
      return 0;
    case WGT_NFYMOUSECLICK:
      // No menu bar and no frame of our own: the click goes to the panel,
      // unless a decoration's procedure takes it.
      if (WinDecorationClick(win)) return 0;
      PANEL_DefMouseClick(WIN_Panel(win));
      return 0;
    case WGT_NFYRECAL:
      if (W(win)->RecalFlag & WGT_RECALTERMINATE) {
        W(win)->RecalFlag = 0;
        WinEndRecal(win);
      }
      return 0;
    case WIN_NFYWINMGR:
      S_ProcessWinMgr(win, static_cast<EventPtr>(data));
      return 0;
    case WIN_NFYSHOW:
      if (!sRefused) S_Show(win);
      return 0;
    case WIN_NFYMINIMIZE:
      if (!sRefused) WIN_SelfMinimize(win);
      return 0;
    case WIN_NFYICONIFY:
      if (!sRefused) WIN_SelfIconify(win);
      return 0;
    case WIN_NFYPOPTOFRONT:
      if (!sRefused) WIN_SelfPopToFront(win);
      return 0;
    case WIN_NFYPUSHBEHIND:
      if (!sRefused) WIN_SelfPushBehind(win);
      return 0;
    case WIN_NFYMAXIMIZE:
      if (!sRefused) WIN_SelfMaximize(win);
      return 0;
    case WIN_NFYRESTORE:
      if (!sRefused) WIN_SelfRestore(win);
      return 0;
    case WIN_NFYTERMINATE:
      if (!sRefused) WIN_SelfTerminate(win);
      return 0;
    case WIN_NFYOPEN:
      if (!sRefused) WIN_SelfOpen(win);
      return 0;
    case WIN_NFYCLOSE:
      if (!sRefused) WIN_SelfClose(win);
      return 0;
    case WIN_NFYCONFIGURING:
    case WIN_NFYSELMENUBAR:
      return 0;
    default:
      return PANEL_DefNfy(res, message, data);
  }
}
}  // namespace

// The menu bar, when the window has one, takes its part before and after
// the window's own handling; not after it when that handling ended the
// window.
long WIN_DefNfy(ResPtr res, Int message, ClientPtr data) {
  WinPtr win = WIN_FromRes(res);
  if (!win->MenuBar) return S_WinDefNfy(res, message, data);
  if (MBarWinBefore(win, message, data)) return 0;
  WinLifeWatch watch(win);
  long result = S_WinDefNfy(res, message, data);
  if (watch.alive) MBarWinAfter(win, message, data);
  return result;
}

void WIN_Describe(WgtPtr wgt, AutomDesc* desc) { AUTOM_SetText(desc, WIN_GetLabel(WIN_FromRes(WGT_Res(wgt)))); }

WinPtr WIN_Load(const char* moduleName, const char* name) {
  ErrTrace frame("Win", __FILE__, __LINE__);
  return WinAdoptLoaded(RES_LoadDeepDetach(moduleName, name));
}

WinPtr WinAdoptLoaded(ResPtr res) {
  ErrTrace frame("Win", __FILE__, __LINE__);
  if (!RCLAS_IsSubClassOf(res->ResClass, sWin)) {
    RES_Release(res);
    RES_CheckClass(res, sWin);
  }
  WinPtr win = WIN_FromRes(res);
  ERR_TryCleanup(
      frame,
      [&] {
        win->State = WIN_STATELOADED;
        W(win)->Win = win;
        PANEL_BuildWgtArray(res);
      },
      [&] { RES_Release(res); });
  return win;
}

WinPtr WIN_LoadInit(const char* moduleName, const char* name) {
  WinPtr win = WIN_Load(moduleName, name);
  WIN_Init(win);
  return win;
}

void WIN_Init(WinPtr win) {
  if (win && !WGT_Res(W(win))->ResInitialized) WGT_Send(W(win), WGT_NFYINIT);
}

// --- Requests ----------------------------------------------------------------------------

namespace {
bool showable(WinPtr win) {
  return win && DSPLY_IsOpen() && !win->Closing && win->State >= WIN_STATEINIT && win->State <= WIN_STATEICONIFIED;
}
}  // namespace

BoolEnum WIN_Show(WinPtr win) {
  if (!win) return 0;
  if (W(win)->NeedsRecal) EVENT_ProcessWgtRecal(W(win));
  if (!showable(win)) return 0;
  return S_Request(win, WIN_NFYSHOW);
}

void WIN_SelfShow(WinPtr win) {
  if (showable(win)) S_Show(win);
}

BoolEnum WIN_Minimize(WinPtr win) {
  if (!win || win->Closing || win->State != WIN_STATEOPEN) return 0;
  return S_Request(win, WIN_NFYMINIMIZE);
}

// Minimising iconifies through the window manager's protocol: the window
// manager is asked to change the window to its iconic state, and shows it
// in its task bar or as an icon; WIN_Show brings it back.
void WIN_SelfMinimize(WinPtr win) { WIN_SelfIconify(win); }

BoolEnum WIN_Open(WinPtr win) {
  if (!showable(win) || win->State == WIN_STATEOPEN) return 0;
  return S_Request(win, WIN_NFYOPEN);
}

void WIN_SelfOpen(WinPtr win) {
  if (showable(win) && win->State != WIN_STATEOPEN) S_Show(win);
}

BoolEnum WIN_Close(WinPtr win) {
  if (!win || win->Closing || (win->State != WIN_STATEOPEN && win->State != WIN_STATEICONIFIED)) return 0;
  return S_Request(win, WIN_NFYCLOSE);
}

// An iconified window is unmapped by the window manager already; hiding it
// withdraws it from the manager's icons too.
void WIN_SelfClose(WinPtr win) {
  if (!win || win->Closing) return;
  if (win->State == WIN_STATEICONIFIED && win->NatWin) DSPLY_HideWin(win->NatWin);
  if (win->State == WIN_STATEOPEN || win->State == WIN_STATEICONIFIED) S_Hide(win, WIN_STATECLOSED);
}

void WinPutAway(WinPtr win) {
  if (win && win->State == WIN_STATEOPEN) S_Hide(win, WIN_STATECLOSED);
}

BoolEnum WIN_Iconify(WinPtr win) {
  if (!win || win->Closing || win->State != WIN_STATEOPEN) return 0;
  return S_Request(win, WIN_NFYICONIFY);
}

// The window counts as iconified at once (WIN_Show brings it back);
// WIN_NFYICONIFIED follows when the display reports it.
void WIN_SelfIconify(WinPtr win) {
  if (!win || win->State != WIN_STATEOPEN) return;
  if (win->NatWin) {
    DSPLY_IconifyWin(win->NatWin);
    sExtra[win].IconifyPending = 1;
  }
  removeOpen(win);
  if (sActive == win) sActive = nullptr;
  win->State = WIN_STATEICONIFIED;
}

BoolEnum WIN_PopToFront(WinPtr win) {
  if (!win || win->Closing || win->State != WIN_STATEOPEN) return 0;
  return S_Request(win, WIN_NFYPOPTOFRONT);
}

void WIN_SelfPopToFront(WinPtr win) {
  if (win && win->State == WIN_STATEOPEN) S_Show(win);
}

BoolEnum WIN_PushBehind(WinPtr win) {
  if (!win || win->Closing || win->State != WIN_STATEOPEN) return 0;
  return S_Request(win, WIN_NFYPUSHBEHIND);
}

void WIN_SelfPushBehind(WinPtr win) {
  if (!win || win->State != WIN_STATEOPEN) return;
  if (win->NatWin) DSPLY_LowerWin(win->NatWin);
  removeOpen(win);
  sOpen.insert(sOpen.begin(), win);
}

BoolEnum WIN_IsMaximized(WinPtr win) {
  auto it = win ? sExtra.find(win) : sExtra.end();
  return it != sExtra.end() && it->second.Maximized;
}

BoolEnum WIN_Maximize(WinPtr win) {
  if (!win || win->Closing || win->State != WIN_STATEOPEN || WIN_IsMaximized(win)) return 0;
  return S_Request(win, WIN_NFYMAXIMIZE);
}

// Under a window manager the manager maximizes and reports; without one
// the window takes the work area itself.
void WIN_SelfMaximize(WinPtr win) {
  if (!win || win->State != WIN_STATEOPEN || WIN_IsMaximized(win)) return;
  WinExtra& x = sExtra[win];
  x.RestoreBox = W(win)->Box;
  if (DSPLY_SetWinMaximized(win->NatWin, true)) return;
  x.Maximized = 1;
  WIN_SetBox(win, DSPLY_GetWorkArea());
}

BoolEnum WIN_Restore(WinPtr win) {
  if (!win || win->Closing) return 0;
  if (win->State != WIN_STATEICONIFIED && !(win->State == WIN_STATEOPEN && WIN_IsMaximized(win))) return 0;
  return S_Request(win, WIN_NFYRESTORE);
}

void WIN_SelfRestore(WinPtr win) {
  if (!win) return;
  if (win->State == WIN_STATEICONIFIED) {
    if (win->NatWin) DSPLY_DeiconifyWin(win->NatWin);  // reported back when mapped
    return;
  }
  if (win->State != WIN_STATEOPEN || !WIN_IsMaximized(win)) return;
  if (DSPLY_SetWinMaximized(win->NatWin, false)) return;
  WinExtra& x = sExtra[win];
  x.Maximized = 0;
  _Rect16Rec box = x.RestoreBox;
  x.RestoreBox = RECT16_Make(0, 0, 0, 0);
  WIN_SetBox(win, box);
  WGT_Send(W(win), WIN_NFYRESTORED);
}

BoolEnum WIN_TerminateGetStatus(WinPtr win) {
  if (!win || win->Closing || win->State == WIN_STATETERMINATED) return 0;
  return S_Request(win, WIN_NFYTERMINATE);
}

void WIN_SelfTerminate(WinPtr win) {
  if (!win || win->Closing) return;
  if (win->State == WIN_STATEOPEN || win->State == WIN_STATEICONIFIED) S_Hide(win, WIN_STATECLOSED);
  win->Closing = 1;
  win->State = WIN_STATETERMINATED;
  W(win)->RecalFlag |= WGT_RECALTERMINATE;
  EVENT_PostRecal(W(win));
}

void WIN_RegisterForRequest(WinPtr win, ResPtr listener) {
  if (win && listener) sListeners[win].push_back(listener);
}

void WIN_RefuseRequest() { sRefused = 1; }

BoolEnum WIN_IsOpen(WinPtr win) { return win && win->State == WIN_STATEOPEN; }
Int WIN_GetState(WinPtr win) { return win ? win->State : WIN_STATETERMINATED; }
WinPtr WIN_GetTopWin() { return sOpen.empty() ? nullptr : sOpen.back(); }
BoolEnum WIN_HasFocus(WinPtr win) { return win && win->HasFocus; }
WinPtr WIN_GetActiveWin() { return sActive; }
Int WIN_GetNumOpen() { return static_cast<Int>(sOpen.size()); }
WinPtr WIN_GetNthOpen(Int n) { return n >= 0 && n < WIN_GetNumOpen() ? sOpen[static_cast<size_t>(n)] : nullptr; }

// --- Attributes ---------------------------------------------------------------------------

void WIN_SetLabel(WinPtr win, const char* label) {
  if (!win) return;
  AUTOM_Touch();
  VSTR_Set(&WIN_Panel(win)->Label, label);
  if (win->NatWin) DSPLY_SetWinLabel(win->NatWin, label);
}

const char* WIN_GetLabel(WinPtr win) { return win ? PANEL_GetLabel(WIN_Panel(win)) : ""; }

void WIN_SetIcon(WinPtr win, Int w, Int h, const uint32_t* argb) {
  if (!win) return;
  delete[] win->IconPixels;
  win->IconPixels = nullptr;
  win->IconWidth = win->IconHeight = 0;
  if (argb && w > 0 && h > 0 && w <= 512 && h <= 512) {
    win->IconPixels = new uint32_t[static_cast<size_t>(w) * h];
    std::copy(argb, argb + static_cast<size_t>(w) * h, win->IconPixels);
    win->IconWidth = w;
    win->IconHeight = h;
  }
  if (win->NatWin) DSPLY_SetWinIcon(win->NatWin, win->IconWidth, win->IconHeight, win->IconPixels);
}

void WIN_SetIconLabel(WinPtr win, const char* label) {
  if (!win) return;
  VSTR_Set(&win->IconLabel, label);
  if (win->NatWin) DSPLY_SetWinIconLabel(win->NatWin, label);
}

WgtPtr WIN_GetDefWgt(WinPtr win) { return win ? win->DefWgt : nullptr; }
void WIN_SetDefWgt(WinPtr win, WgtPtr wgt) {
  AUTOM_Touch();
  if (win) win->DefWgt = wgt;
}
void WIN_SetStatusStr(WinPtr win, const char* text) {
  if (win) VSTR_Set(&win->StatusStr, text);
}
const char* WIN_GetStatusStr(WinPtr win) { return win ? VSTR_Get(win->StatusStr) : ""; }
Int16 WIN_GetMode(WinPtr win) { return win ? win->Mode : 0; }
void WIN_SetMode(WinPtr win, Int16 mode) {
  if (win) win->Mode = mode;
}

// --- Geometry -------------------------------------------------------------------------------

void WIN_Configure(WinPtr win, const _Point16Rec* origin, const _Point16Rec* extent) {
  if (!win) return;
  _Rect16Rec box = W(win)->Box;
  if (origin) box.Origin = *origin;
  if (extent) box.Extent = *extent;
  WIN_SetBox(win, box);
}

void WIN_SetBox(WinPtr win, const _Rect16Rec& requested) {
  if (!win) return;
  _Rect16Rec box = requested;
  WGT_Send(W(win), WIN_NFYCONFIGURING, &box);
  S_ClampExtent(win, &box);
  if (RECT16_Equal(box, W(win)->Box)) return;
  _Rect16Rec old = W(win)->Box;
  W(win)->Box = box;
  if (win->NatWin) DSPLY_MoveResizeWin(win->NatWin, box);
  if (old.Extent.X != box.Extent.X || old.Extent.Y != box.Extent.Y) S_Relayout(win, old.Extent);
}

void WIN_QueryMinMaxExt(WinPtr win, _Point16Rec* minExt, _Point16Rec* maxExt) {
  if (!win) return;
  if (minExt) *minExt = _Point16Rec{win->MinWidth, win->MinHeight};
  if (maxExt) *maxExt = _Point16Rec{win->MaxWidth, win->MaxHeight};
}

void WIN_SetMinMaxExt(WinPtr win, _Point16Rec minExt, _Point16Rec maxExt) {
  if (!win) return;
  win->MinWidth = minExt.X;
  win->MinHeight = minExt.Y;
  win->MaxWidth = maxExt.X;
  win->MaxHeight = maxExt.Y;
  if (win->NatWin) DSPLY_SetWinMinMax(win->NatWin, minExt, maxExt);
}

void WIN_SetCenterOnOpen(WinPtr win, BoolEnum flag) {
  if (!win) return;
  if (flag) win->OptFlags = static_cast<UInt16>(win->OptFlags | WIN_OPTCENTER);
  else win->OptFlags = static_cast<UInt16>(win->OptFlags & ~WIN_OPTCENTER);
}

// --- Modal windows ---------------------------------------------------------------------------

namespace {
long modalRun(WinPtr win, bool showAndHide, BoolEnum permissive) {
  if (!win) return 0;
  ResPtr res = WGT_Res(W(win));
  RES_Use(res);  // the window may be terminated inside; it must outlive this call
  if (W(win)->NeedsRecal) EVENT_ProcessWgtRecal(W(win));
  if (showAndHide) {
    if (sActive && sActive != win && win->NatWin) DSPLY_SetWinTransientFor(win->NatWin, sActive->NatWin);
    WIN_Show(win);
  }
  if (EVENT_IsTracking()) EVENT_AbortTracking();
  sModalReturn = 0;
  BoolEnum outer = win->InModal;
  win->InModal = 1;
  EVENT_ModalProcess(win, 0, permissive);
  win->InModal = outer;
  // The dialog is put away, not iconified: it is no window of its own to
  // the user once its run has ended.
  if (showAndHide && win->State == WIN_STATEOPEN && !win->Closing) S_Hide(win, WIN_STATECLOSED);
  long value = sModalReturn;
  RES_Release(res);
  return value;
}
}  // namespace

long WIN_ModalProcess(WinPtr win) { return modalRun(win, true, 1); }
long WIN_ModalWait(WinPtr win) { return modalRun(win, false, 1); }
long WIN_SafeModalProcess(WinPtr win) { return modalRun(win, true, 0); }
long WIN_SafeModalWait(WinPtr win) { return modalRun(win, false, 0); }

void WIN_ModalReturn(WinPtr, long value) {
  sModalReturn = value;
  EVENT_TerminateModalProcess();
}

// --- Display ------------------------------------------------------------------------------------

void WIN_UseCursor(WinPtr win, CursPtr cursor) {
  if (!win || !win->NatWin || win->ShownCursor == cursor) return;
  win->ShownCursor = cursor;
  DSPLY_SetWinCursor(win->NatWin, cursor);
}

NatWinId WIN_GetNatWin(WinPtr win) { return win ? win->NatWin : 0; }

BoolEnum WIN_SaveAsPng(WinPtr win, const char* path) {
  if (!win || !win->NatWin || !path) return 0;
  // Whatever is waiting to be drawn is drawn first.
  EVENT_Update();
  DSPLY_Sync();
  return DSPLY_SaveWinPng(win->NatWin, path);
}

WinPtr WinFromNatWin(NatWinId natWin) {
  auto it = sByNatWin.find(natWin);
  return it == sByNatWin.end() ? nullptr : it->second;
}

void WinAddInvalRgn(WinPtr win, RegionPtr rgn) {
  if (!win || win->State != WIN_STATEOPEN || RGN_IsEmpty(rgn)) return;
  if (!win->InvalRgn) win->InvalRgn = RGN_New();
  RGN_Union(win->InvalRgn, rgn);
  EVENT_PostInval(win);
}

void WinDrawUpdate(WinPtr win) {
  if (!win || win->State != WIN_STATEOPEN || !win->NatWin || RGN_IsEmpty(win->InvalRgn)) return;
  RegionPtr drawing = win->InvalRgn;
  win->InvalRgn = RGN_New();
  RegionPtr outer = win->DrawRgn;
  win->DrawRgn = drawing;
  struct Restore {
    WinPtr win;
    RegionPtr outer, drawing;
    ~Restore() {
      win->DrawRgn = outer;
      RGN_Dispose(drawing);
    }
  } restore{win, outer, drawing};
  WGT_Send(W(win), WGT_NFYREDRAW);
}

BoolEnum WinIsClosing(WinPtr win) { return win && win->Closing; }

void WinForEachNative(void (*fn)(WinPtr win, ClientPtr data), ClientPtr data) {
  for (auto& entry : sByNatWin) fn(entry.second, data);
}
