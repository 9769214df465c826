// The event loop: contexts, the filter, dispatch to widgets, the work lists
// of recalculation and redrawing, and the translation of display input
// into event records (with double clicks and the type-ahead buffer).
#include "toolkit/event.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/evctx.h"
#include "toolkit/eventpriv.h"
#include "toolkit/winpub.h"

namespace {

std::vector<std::unique_ptr<EventContext>> gContexts;  // records are kept for reuse
Int gDepth = -1;                                       // index of the top context

EventDispatchProc gDispatch = nullptr;
ClientPtr gDispatchData = nullptr;
EventProc gProcNext = nullptr;
ClientPtr gProcNextData = nullptr;
EventProc gMainLoop = nullptr;
ClientPtr gMainLoopData = nullptr;
EventProc gMainExit = nullptr;
ClientPtr gMainExitData = nullptr;
EventErrHandler gErrHandler = nullptr;
BoolEnum gSystemModalEnv = 0;

struct PreBlocking {
  EventProc proc;
  ClientPtr data;
};
std::vector<PreBlocking> gPreBlocking;

// Work lists, walked by index; entries are cleared, not removed, while a
// walk runs, and an emptied list is reset.
std::vector<WgtPtr> gRecalList;
std::vector<WinPtr> gInvalList;

// The input state.
UInt gMouseMods = 0;
UInt gKbMods = 0;
BoolEnum gCursorDirty = 1;

// Double clicks.
Int gDoubleTime = 300, gDoubleTime2 = 300, gDoubleDist = 10;
struct {
  Int Button = 0;
  uint32_t Time = 0;
  _Point16Rec Loc{0, 0};
} gLastPress;

// The type-ahead buffer.
struct KbChar {
  char Str[8];
  char Ascii;
  uint32_t Time;
  UInt Mods;
  NatWinId Win;
  _Point16Rec AbsLoc, WinLoc;
};
constexpr size_t kKbBufSize = 64;
constexpr uint32_t kKbMatchGapMs = 500;
std::vector<KbChar> gKbBuf;
std::string gKbMatch;
uint32_t gKbMatchTime = 0;

// User queues.
struct UserEvent {
  EventProc proc;
  ClientPtr data;
};
}  // namespace

struct _EventQueueRec {
  Int Priority;
  std::vector<UserEvent> Events;
};

namespace {
std::vector<EventQueuePtr> gQueues;
EventQueuePtr gSystemQueue = nullptr;

void S_ResetKbBuf() {
  gKbBuf.clear();
  gKbMatch.clear();
}

WinPtr rootWin(WgtPtr wgt) { return wgt ? wgt->Win : nullptr; }

BoolEnum passesFilter(const EventContext& ctx, Int type, WgtPtr wgt) {
  UInt bit = 1u << type;
  if (ctx.AnyMask & bit) return 1;
  return (ctx.WinMask & bit) && rootWin(wgt) == ctx.Win && ctx.Win != nullptr;
}

bool isInputType(Int type) { return type >= EVENT_TYPEBUTTONPRESS && type <= EVENT_TYPEKEYRELEASE; }

// With a destination window in the context, input goes there instead.
void S_CheckDestination(EventContext& ctx, EventPtr ev) {
  ev->DestIsTopLevelWin = 0;
  if (!ctx.DestWin) return;
  WinPtr from = rootWin(ev->Wgt);
  ev->DestIsTopLevelWin = from == ctx.DestWin;
  if (from != ctx.DestWin) {
    // Locations are given again relative to the destination.
    _Rect16Rec box = WIN_Wgt(ctx.DestWin)->Box;
    ev->WinLoc.X = static_cast<int16_t>(ev->AbsLoc.X - box.Origin.X);
    ev->WinLoc.Y = static_cast<int16_t>(ev->AbsLoc.Y - box.Origin.Y);
  }
  ev->Wgt = ctx.Target ? ctx.Target : WIN_Wgt(ctx.DestWin);
}

void updateInputState(const _EventRec& ev) {
  if (ev.Type >= EVENT_TYPEBUTTONPRESS && ev.Type <= EVENT_TYPEMOUSELEAVE) {
    gMouseMods = ev.MouseModifiers;
    gCursorDirty = 1;
  } else if (ev.Type == EVENT_TYPEKEYPRESS || ev.Type == EVENT_TYPEKEYRELEASE) {
    gKbMods = ev.KbModifiers;
  }
}

long dispatchWithEvent(WgtPtr wgt, Int message, EventContext& ctx) {
  return EVENT_Dispatch(wgt, message, &ctx.Last);
}

}  // namespace

// --- Contexts --------------------------------------------------------------------

EventContext& EventTopContext() {
  if (gDepth < 0) EVENT_Init();
  return *gContexts[static_cast<size_t>(gDepth)];
}

EventContext& EventPushContext() {
  S_ResetKbBuf();
  EventContext* current = gDepth >= 0 ? gContexts[static_cast<size_t>(gDepth)].get() : nullptr;
  gDepth++;
  if (static_cast<size_t>(gDepth) >= gContexts.size()) gContexts.push_back(std::make_unique<EventContext>());
  EventContext& ctx = *gContexts[static_cast<size_t>(gDepth)];
  if (current) ctx = *current;
  else ctx = EventContext{};
  ctx.Running = 1;
  ctx.Blocking = 1;
  ctx.Seen = 1;
  ctx.NoBlock = 0;
  ctx.TrackAborted = 0;
  ctx.Modal = 0;
  ctx.Grab = 0;
  return ctx;
}

void EventPopContext() {
  if (gDepth <= 0) return;  // the base context stays
  S_ResetKbBuf();
  EventContext& ctx = *gContexts[static_cast<size_t>(gDepth)];
  if (ctx.Grab) DSPLY_UngrabPointer();
  ctx.Grab = 0;
  gDepth--;
  gCursorDirty = 1;
}

Int EventContextDepth() { return gDepth; }
EventContext& EventContextAt(Int depth) { return *gContexts[static_cast<size_t>(depth)]; }
Int EVENT_GetContextDepth() { return gDepth; }

void EventUnwindContexts(Int depth) {
  while (gDepth > depth && gDepth > 0) EventPopContext();
}

UInt EventMouseMods() { return gMouseMods; }
void EventSetSystemModalForced(BoolEnum flag);
void EventCursorChanged() { gCursorDirty = 1; }

// --- Start-up --------------------------------------------------------------------

namespace {
void defProcessNext(ClientPtr);
void defMainLoop(ClientPtr) {
  while (EventTopContext().Running) EVENT_ProcessNext();
  EVENT_Update();
}
void defMainExit(ClientPtr) { EventTopContext().Running = 0; }
}  // namespace

void EVENT_Init() {
  TimerReset();
  const char* opt = std::getenv("OIT_MODALOPT");
  gSystemModalEnv = 0;
  if (opt) {
    std::string up(opt);
    for (char& c : up) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    gSystemModalEnv = up.find("SYSTEM_MODAL") != std::string::npos;
  }
  EventSetSystemModalForced(gSystemModalEnv);
  gContexts.clear();
  gDepth = -1;
  gRecalList.clear();
  gInvalList.clear();
  EventPushContext();
  gDispatch = EVENT_DefDispatch;
  gDispatchData = nullptr;
  gProcNext = defProcessNext;
  gMainLoop = defMainLoop;
  gMainExit = defMainExit;
  EVENT_SetTrackDownProcDS(nullptr, nullptr);
  EVENT_SetTrackDelay(nullptr);
  gMouseMods = gKbMods = 0;
  gCursorDirty = 1;
}

// --- Dispatch ----------------------------------------------------------------------

long EVENT_DefDispatch(WgtPtr wgt, Int message, ClientPtr data, ClientPtr) {
  if (!wgt) return 0;
  ResPtr res = WGT_Res(wgt);
  if (!data) return res->Notify ? res->Notify(res, message, nullptr) : 0;
  return RES_LockedSendNfyData(res, message, data);
}

long EVENT_Dispatch(WgtPtr wgt, Int message, ClientPtr data) {
  if (!gDispatch) return EVENT_DefDispatch(wgt, message, data, nullptr);
  return gDispatch(wgt, message, data, gDispatchData);
}

void EVENT_SetDispatchProcDS(EventDispatchProc proc, ClientPtr data) {
  gDispatch = proc ? proc : EVENT_DefDispatch;
  gDispatchData = data;
}
void EVENT_SetProcNextEventProcDS(EventProc proc, ClientPtr data) {
  gProcNext = proc ? proc : defProcessNext;
  gProcNextData = data;
}
void EVENT_SetMainLoopProcDS(EventProc proc, ClientPtr data) {
  gMainLoop = proc ? proc : defMainLoop;
  gMainLoopData = data;
}
void EVENT_SetMainLoopExitProcDS(EventProc proc, ClientPtr data) {
  gMainExit = proc ? proc : defMainExit;
  gMainExitData = data;
}
void EVENT_SetErrHandler(EventErrHandler proc) { gErrHandler = proc; }
EventErrHandler EVENT_QueryErrHandler() { return gErrHandler; }
void EVENT_MainLoop() { gMainLoop(gMainLoopData); }
void EVENT_MainExit() { gMainExit(gMainExitData); }

// --- EventProcess --------------------------------------------------------------------

void EventProcess(EventPtr ev) {
  EventContext& ctx = EventTopContext();
  Int type = ev->Type;
  if (type < EVENT_TYPEFIRST || type > EVENT_TYPELAST)
    ERR_FailStr("unknown event type %d", static_cast<int>(type));
  if (type >= EVENT_TYPEREDRAW) {
    WinPtr win = rootWin(ev->Wgt);
    if (!win || win->State != WIN_STATEOPEN || win->Closing) return;
  }
  ctx.Seen = 1;
  if (type == EVENT_TYPENOTHING) {
    // Goes to no widget: it only becomes the current event, so that a
    // tracking loop in non-blocking mode sees that nothing happened.
    ctx.Last = *ev;
    return;
  }
  if (isInputType(type) || type == EVENT_TYPESETCURSOR) S_CheckDestination(ctx, ev);
  if (ctx.UpdateMask & (1u << type)) updateInputState(*ev);
  if (!passesFilter(ctx, type, ev->Wgt)) return;
  if (type != EVENT_TYPERECAL && type != EVENT_TYPEINVAL) ctx.Last = *ev;
  WgtPtr wgt = ev->Wgt;
  switch (type) {
    case EVENT_TYPEALARM:
      dispatchWithEvent(wgt, WGT_NFYTIMEOUT, ctx);
      break;
    case EVENT_TYPERECAL:
      wgt->NeedsRecal = 0;
      EVENT_Dispatch(wgt, WGT_NFYRECAL, nullptr);
      break;
    case EVENT_TYPEINVAL:
    case EVENT_TYPEREDRAW:
      WinDrawUpdate(reinterpret_cast<WinPtr>(wgt));
      break;
    case EVENT_TYPEBUTTONPRESS:
      WgtResetHandled();
      dispatchWithEvent(wgt, WGT_NFYMOUSECLICK, ctx);
      break;
    case EVENT_TYPEBUTTONRELEASE:
      WgtResetHandled();
      dispatchWithEvent(wgt, WGT_NFYMOUSEBUTTONRELEASE, ctx);
      break;
    case EVENT_TYPEMOUSEMOVE:
      WgtResetHandled();
      dispatchWithEvent(wgt, WGT_NFYMOUSEMOVE, ctx);
      break;
    case EVENT_TYPEMOUSELEAVE:
      WgtResetHandled();
      dispatchWithEvent(wgt, WGT_NFYMOUSEOUT, ctx);
      break;
    case EVENT_TYPEKEYPRESS:
      WgtResetHandled();
      WgtSendNfyKey(wgt);
      break;
    case EVENT_TYPEKEYRELEASE:
      break;
    case EVENT_TYPEWINMGR:
      dispatchWithEvent(wgt, WIN_NFYWINMGR, ctx);
      break;
    case EVENT_TYPESETCURSOR:
      WgtResetHandled();
      EVENT_Dispatch(wgt, WGT_NFYSETCURSOR, nullptr);
      break;
  }
}

void EVENT_Process(EventPtr event) {
  if (event) EventProcess(event);
}

// --- Work lists ----------------------------------------------------------------------

void EVENT_PostRecal(WgtPtr wgt) {
  if (!wgt || wgt->NeedsRecal) return;
  wgt->NeedsRecal = 1;
  gRecalList.push_back(wgt);
}

void EVENT_RemoveRecal(WgtPtr wgt) {
  if (!wgt) return;
  for (WgtPtr& w : gRecalList)
    if (w == wgt) w = nullptr;
  wgt->NeedsRecal = 0;
}

BoolEnum EVENT_IsRecalPending() {
  for (WgtPtr w : gRecalList)
    if (w) return 1;
  return 0;
}

namespace {
// Runs one work event in its own error frame: a widget that fails is
// reported, recovered, and not tried again in this pass.
void guardedProcess(_EventRec* ev) {
  ErrTrace frame("Event", __FILE__, __LINE__);
  if (gErrHandler) frame.rec()->ReportProc = gErrHandler;
  Int depth = gDepth;
  if (!ERR_TryRecoverFn(frame, [&] { EventProcess(ev); })) EventUnwindContexts(depth);
}
}  // namespace

void EVENT_ProcessRecal() {
  for (size_t i = 0; i < gRecalList.size(); i++) {
    WgtPtr wgt = gRecalList[i];
    if (!wgt) continue;
    if (!passesFilter(EventTopContext(), EVENT_TYPERECAL, wgt)) continue;
    gRecalList[i] = nullptr;
    _EventRec ev{};
    ev.Type = EVENT_TYPERECAL;
    ev.Wgt = wgt;
    ev.Time = DSPLY_Now();
    guardedProcess(&ev);
  }
  if (!EVENT_IsRecalPending()) gRecalList.clear();
}

void EVENT_ProcessWgtRecal(WgtPtr wgt) {
  if (!wgt || !wgt->NeedsRecal) return;
  for (WgtPtr& w : gRecalList)
    if (w == wgt) w = nullptr;
  _EventRec ev{};
  ev.Type = EVENT_TYPERECAL;
  ev.Wgt = wgt;
  EventProcess(&ev);
}

void EVENT_PostInval(WinPtr win) {
  if (!win) return;
  for (WinPtr w : gInvalList)
    if (w == win) return;
  gInvalList.push_back(win);
}

BoolEnum EVENT_IsInvalPending() {
  for (WinPtr w : gInvalList)
    if (w) return 1;
  return 0;
}

void EVENT_ProcessInval() {
  bool drew = false;
  for (size_t i = 0; i < gInvalList.size(); i++) {
    WinPtr win = gInvalList[i];
    if (!win) continue;
    if (!passesFilter(EventTopContext(), EVENT_TYPEINVAL, WIN_Wgt(win))) continue;
    gInvalList[i] = nullptr;
    _EventRec ev{};
    ev.Type = EVENT_TYPEINVAL;
    ev.Wgt = WIN_Wgt(win);
    guardedProcess(&ev);
    drew = true;
  }
  if (!EVENT_IsInvalPending()) gInvalList.clear();
  if (drew) DRAW_Flush();
}

void EVENT_Update() {
  EVENT_ProcessRecal();
  EVENT_ProcessInval();
}

void EventEndWgtManagement(WgtPtr wgt) {
  EVENT_RemoveRecal(wgt);
  EVENT_StopAllWgtAlarms(wgt);
  for (Int d = 0; d <= gDepth; d++) {
    EventContext& ctx = *gContexts[static_cast<size_t>(d)];
    if (ctx.Target == wgt) {
      ctx.Target = nullptr;
      ctx.TrackAborted = 1;
    }
    if (ctx.MouseWgt == wgt) ctx.MouseWgt = nullptr;
    if (ctx.Last.Wgt == wgt) ctx.Last.Wgt = nullptr;
  }
}

void EventEndWinManagement(WinPtr win) {
  for (WinPtr& w : gInvalList)
    if (w == win) w = nullptr;
  for (Int d = 0; d <= gDepth; d++) {
    EventContext& ctx = *gContexts[static_cast<size_t>(d)];
    if (ctx.Win == win) {
      ctx.Win = nullptr;
      ctx.Running = 0;  // a modal loop on a window that is gone ends
    }
    if (ctx.DestWin == win) ctx.DestWin = nullptr;
  }
  EventEndWgtManagement(WIN_Wgt(win));
}

// --- From display input to event records -----------------------------------------------

namespace {

void fillMouse(_EventRec& ev, const _DsplyEventRec& d) {
  ev.MouseTime = d.Time;
  ev.AbsLoc = d.AbsLoc;
  ev.WinLoc = d.WinLoc;
  ev.Button = d.Button;
  ev.Wheel = d.Wheel;
  ev.MouseModifiers = d.Modifiers;
  ev.KbModifiers = d.Modifiers;
}

void markDouble(_EventRec& ev) {
  int dx = std::abs(ev.AbsLoc.X - gLastPress.Loc.X), dy = std::abs(ev.AbsLoc.Y - gLastPress.Loc.Y);
  uint32_t dt = ev.MouseTime - gLastPress.Time;
  if (ev.Wheel) return;  // a wheel step is never half of a double click
  if (ev.Button != EVENT_BUTNONE && ev.Button == gLastPress.Button && dt != 0 &&
      dt < static_cast<uint32_t>(gDoubleTime) && (dx > dy ? dx : dy) < gDoubleDist) {
    ev.IsDouble = 1;
    return;
  }
  gLastPress.Button = ev.Button;
  gLastPress.Time = ev.MouseTime;
  gLastPress.Loc = ev.AbsLoc;
}

bool typeAhead(const _DsplyEventRec& d) {
  UInt mods = d.Modifiers & ~static_cast<UInt>(EVENT_MODBUT1 | EVENT_MODBUT2 | EVENT_MODBUT3);
  return d.Key == EVENT_KEYNORMAL && (mods & ~EVENT_MODTYPEAHEAD) == 0 && d.KbStr[0] != 0;
}

void keyEventOf(_EventRec& ev, const _DsplyEventRec& d, WinPtr win) {
  ev.Type = d.Kind == DSPLY_EVKEYPRESS ? EVENT_TYPEKEYPRESS : EVENT_TYPEKEYRELEASE;
  ev.Wgt = WIN_Wgt(win);
  ev.Time = DSPLY_Now();
  ev.KbTime = d.Time;
  std::memcpy(ev.KbStr, d.KbStr, sizeof ev.KbStr);
  std::memcpy(ev.KbAsciiStr, d.KbAsciiStr, sizeof ev.KbAsciiStr);
  ev.Key = d.Key;
  ev.KbModifiers = d.Modifiers;
  ev.MouseModifiers = gMouseMods;
  ev.InNumKeyPad = d.InNumKeyPad;
  ev.AbsLoc = d.AbsLoc;
  ev.WinLoc = d.WinLoc;
}

// A character older than 500 ms than the one before it starts a new
// accelerator match.
void S_CutKbMatch(uint32_t time, const char* text) {
  if (gKbMatch.empty() || time - gKbMatchTime > kKbMatchGapMs) gKbMatch.clear();
  gKbMatch += text;
  if (gKbMatch.size() > kKbBufSize) gKbMatch.erase(0, gKbMatch.size() - kKbBufSize);
  gKbMatchTime = time;
}

void S_FlushKbBuf() {
  std::vector<KbChar> chars;
  chars.swap(gKbBuf);
  for (const KbChar& c : chars) {
    WinPtr win = WinFromNatWin(c.Win);
    if (!win) continue;
    _EventRec ev{};
    ev.Type = EVENT_TYPEKEYPRESS;
    ev.Wgt = WIN_Wgt(win);
    ev.Time = DSPLY_Now();
    ev.KbTime = c.Time;
    std::strncpy(ev.KbStr, c.Str, sizeof ev.KbStr - 1);
    ev.KbAsciiStr[0] = c.Ascii;
    ev.Key = EVENT_KEYNORMAL;
    ev.KbModifiers = c.Mods;
    ev.MouseModifiers = gMouseMods;
    ev.AbsLoc = c.AbsLoc;
    ev.WinLoc = c.WinLoc;
    S_CutKbMatch(c.Time, c.Str);
    EventProcess(&ev);
  }
}

void bufferKey(const _DsplyEventRec& d) {
  if (gKbBuf.size() >= kKbBufSize) S_FlushKbBuf();
  KbChar c{};
  // One character of UTF-8 takes at most 4 bytes.
  std::memcpy(c.Str, d.KbStr, std::min(sizeof c.Str - 1, std::strlen(d.KbStr)));
  c.Ascii = d.KbAsciiStr[0];
  c.Time = d.Time;
  c.Mods = d.Modifiers;
  c.Win = d.Win;
  c.AbsLoc = d.AbsLoc;
  c.WinLoc = d.WinLoc;
  gKbBuf.push_back(c);
}

void sendKeyAsItIs(const _DsplyEventRec& d, WinPtr win) {
  _EventRec ev{};
  keyEventOf(ev, d, win);
  if (ev.Type == EVENT_TYPEKEYPRESS) {
    gKbMatch.clear();
    S_CutKbMatch(d.Time, d.KbAsciiStr);
  }
  EventProcess(&ev);
}

void processKey(const _DsplyEventRec& d, WinPtr win) {
  if (d.Kind != DSPLY_EVKEYPRESS || !typeAhead(d)) {
    S_FlushKbBuf();
    sendKeyAsItIs(d, win);
    return;
  }
  bufferKey(d);
  // Key presses already waiting are drawn in at once.
  _DsplyEventRec more;
  while (DSPLY_CheckKeyEvent(&more)) {
    if (typeAhead(more)) {
      bufferKey(more);
    } else {
      S_FlushKbBuf();
      WinPtr w = WinFromNatWin(more.Win);
      if (w) sendKeyAsItIs(more, w);
    }
    DSPLY_ClearEvent(&more);
  }
  S_FlushKbBuf();
}

}  // namespace

// Processes one display event: translation, then EventProcess; recal runs
// before and after.
void X_ProcessXEvent(_DsplyEventRec* d) {
  EVENT_ProcessRecal();
  WinPtr win = WinFromNatWin(d->Win);
  if (!win) return;
  _EventRec ev{};
  ev.Wgt = WIN_Wgt(win);
  ev.Time = DSPLY_Now();
  ev.MouseModifiers = gMouseMods;
  switch (d->Kind) {
    case DSPLY_EVEXPOSE:
      WinAddInvalRgn(win, d->Rgn);
      break;
    case DSPLY_EVBUTTONPRESS:
      ev.Type = EVENT_TYPEBUTTONPRESS;
      fillMouse(ev, *d);
      markDouble(ev);
      EventProcess(&ev);
      break;
    case DSPLY_EVBUTTONRELEASE:
      ev.Type = EVENT_TYPEBUTTONRELEASE;
      fillMouse(ev, *d);
      EventProcess(&ev);
      break;
    case DSPLY_EVMOTION:
      ev.Type = EVENT_TYPEMOUSEMOVE;
      fillMouse(ev, *d);
      EventProcess(&ev);
      break;
    case DSPLY_EVLEAVE:
      ev.Type = EVENT_TYPEMOUSELEAVE;
      fillMouse(ev, *d);
      EventProcess(&ev);
      break;
    case DSPLY_EVKEYPRESS:
    case DSPLY_EVKEYRELEASE:
      processKey(*d, win);
      break;
    case DSPLY_EVCONFIGURE:
      ev.Type = EVENT_TYPEWINMGR;
      ev.WinMgrType = EVENT_WMMOVEDRESIZED;
      ev.Box = d->Box;
      EventProcess(&ev);
      break;
    case DSPLY_EVMAP:
    case DSPLY_EVUNMAP:
    case DSPLY_EVDELETE:
    case DSPLY_EVFOCUSIN:
    case DSPLY_EVFOCUSOUT:
    case DSPLY_EVTAKEFOCUS: {
      static const UInt kBits[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, EVENT_WMOPENED, EVENT_WMCLOSED, EVENT_WMTERMINATE,
                                   EVENT_WMACTIVATED, EVENT_WMDEACTIVATED, EVENT_WMTAKEFOCUS};
      ev.Type = EVENT_TYPEWINMGR;
      ev.WinMgrType = kBits[d->Kind];
      // Window-manager events reach windows in any state: opening is one.
      EventContext& ctx = EventTopContext();
      ctx.Seen = 1;
      if (passesFilter(ctx, EVENT_TYPEWINMGR, ev.Wgt)) {
        ctx.Last = ev;
        EVENT_Dispatch(ev.Wgt, WIN_NFYWINMGR, &ctx.Last);
      }
      break;
    }
    default:
      break;
  }
  EVENT_ProcessRecal();
}

// --- The loop --------------------------------------------------------------------------

namespace {

bool runUserQueues(bool high) {
  bool did = false;
  for (size_t i = 0; i < gQueues.size(); i++) {
    EventQueuePtr q = gQueues[i];
    if ((q->Priority > 0) != high || q->Events.empty()) continue;
    UserEvent e = q->Events.front();
    q->Events.erase(q->Events.begin());
    e.proc(e.data);
    did = true;
  }
  return did;
}

void forceCursorUpdate();

// Waits for the next display event, at most limitMs (-1: no limit); false
// on time-out.
bool X_DefNextXEvent(_DsplyEventRec* d, int64_t limitMs) {
  int64_t deadline = limitMs >= 0 ? DSPLY_Now() + limitMs : -1;
  for (;;) {
    if (DSPLY_Pending() == 0) {
      forceCursorUpdate();
      DSPLY_Flush();
    }
    if (DSPLY_CheckEvent(d)) return true;
    int64_t remaining = -1;
    if (deadline >= 0) {
      remaining = deadline - DSPLY_Now();
      if (remaining <= 0) return false;
    }
    EVENT_ProcessPreBlocking();
    if (!DSPLY_IsOpen()) {
      // Without a display only time can pass.
      if (remaining < 0) return false;
      struct timespec ts{static_cast<time_t>(remaining / 1000), static_cast<long>(remaining % 1000) * 1000000};
      nanosleep(&ts, nullptr);
      return false;
    }
    DSPLY_WaitForInput(remaining < 0 ? -1 : static_cast<int>(remaining));
  }
}

void processDisplayEvent(_DsplyEventRec* d) {
  struct Clear {
    _DsplyEventRec* d;
    ~Clear() { DSPLY_ClearEvent(d); }
  } clear{d};
  X_ProcessXEvent(d);
}

void defProcessNext(ClientPtr) {
  EventContext& ctx = EventTopContext();
  if (runUserQueues(true)) return;
  _DsplyEventRec d;
  if (DSPLY_CheckEvent(&d)) {
    processDisplayEvent(&d);
    return;
  }
  bool found = false;
  BoolEnum none = 0;
  int64_t wait = TIMER_QueryWait(&none);
  if (!none) {
    if (wait < 0) {
      EVENT_ProcessTimeOut();
      return;
    }
    EVENT_ProcessRecal();
    EVENT_ProcessInval();
    if (ctx.Blocking) {
      if (X_DefNextXEvent(&d, wait)) processDisplayEvent(&d);
      else EVENT_ProcessTimeOut();
      return;
    }
  } else if (ctx.Blocking) {
    EVENT_ProcessRecal();
    EVENT_ProcessInval();
    if (X_DefNextXEvent(&d, DSPLY_IsOpen() ? -1 : 0)) processDisplayEvent(&d);
    return;
  } else {
    found = runUserQueues(false);
    EVENT_ProcessRecal();
    EVENT_ProcessInval();
  }
  if (!found) {
    // Nothing happened: a tracking loop in non-blocking mode gets its turn.
    _EventRec ev{};
    ev.Type = EVENT_TYPENOTHING;
    ev.Time = DSPLY_Now();
    EventProcess(&ev);
  }
}

}  // namespace

void EVENT_ProcessNext() {
  ErrTrace frame("Event", __FILE__, __LINE__);
  if (gErrHandler) frame.rec()->ReportProc = gErrHandler;
  Int depth = gDepth < 0 ? (EVENT_Init(), gDepth) : gDepth;
  // A failed notification has been reported; the contexts it left pushed
  // are taken down to where this step began, and the loop goes on.
  if (!ERR_TryRecoverFn(frame, [&] { gProcNext(gProcNextData); })) EventUnwindContexts(depth);
}

BoolEnum EVENT_IsPending() { return DSPLY_Pending() > 0; }

void EVENT_ProcessPending() {
  EventContext& ctx = EventTopContext();
  BoolEnum blocking = ctx.Blocking;
  ctx.Blocking = 0;  // never sleeps
  Int depth = gDepth;
  while (DSPLY_Pending() > 0) EVENT_ProcessNext();
  // Timers that are due run here too, so that alarms keep their time in a
  // loop that paces itself elsewhere.
  BoolEnum none = 0;
  if (TIMER_QueryWait(&none) <= 0 && !none) {
    ErrTrace frame("Event", __FILE__, __LINE__);
    if (gErrHandler) frame.rec()->ReportProc = gErrHandler;
    if (!ERR_TryRecoverFn(frame, [] { EVENT_ProcessTimeOut(); })) EventUnwindContexts(depth);
  }
  EventContextAt(depth < gDepth ? depth : gDepth).Blocking = blocking;
  EVENT_Update();
}

void EVENT_SetBlocking(BoolEnum flag) { EventTopContext().Blocking = flag ? 1 : 0; }
BoolEnum EVENT_IsBlocking() { return EventTopContext().Blocking; }

void EVENT_AddPreBlockingProcDS(EventProc proc, ClientPtr data) {
  if (proc) gPreBlocking.push_back({proc, data});
}

void EVENT_RemovePreBlockingProc(EventProc proc, ClientPtr data) {
  for (size_t i = 0; i < gPreBlocking.size(); i++)
    if (gPreBlocking[i].proc == proc && gPreBlocking[i].data == data) {
      gPreBlocking.erase(gPreBlocking.begin() + static_cast<long>(i));
      return;
    }
}

void EVENT_ProcessPreBlocking() {
  std::vector<PreBlocking> procs = gPreBlocking;  // a procedure may remove itself
  for (const PreBlocking& p : procs) p.proc(p.data);
}

// --- The cursor -------------------------------------------------------------------------

namespace {
void forceCursorUpdate() {
  if (!gCursorDirty || !DSPLY_IsOpen()) return;
  gCursorDirty = 0;
  EventContext& ctx = EventTopContext();
  _EventRec ev{};
  ev.Type = EVENT_TYPESETCURSOR;
  ev.Time = DSPLY_Now();
  const _EventRec& last = ctx.Last;
  bool mouse = last.Type >= EVENT_TYPEBUTTONPRESS && last.Type <= EVENT_TYPEMOUSELEAVE;
  WinPtr win = mouse ? rootWin(last.Wgt) : nullptr;
  if (win && win->State == WIN_STATEOPEN) {
    ev.Wgt = WIN_Wgt(win);
    ev.AbsLoc = last.AbsLoc;
    ev.WinLoc = last.WinLoc;
  } else {
    NatWinId under = 0;
    if (!DSPLY_QueryPointer(&ev.AbsLoc, &under, &ev.WinLoc, nullptr)) return;
    win = WinFromNatWin(under);
    if (!win) return;
    ev.Wgt = WIN_Wgt(win);
  }
  ev.MouseModifiers = gMouseMods;
  // The location is read by the widgets through the current event.
  _EventRec saved = ctx.Last;
  EventProcess(&ev);
  ctx.Last = saved;
}
}  // namespace

void EVENT_UpdateCursor() { forceCursorUpdate(); }

// --- The current event ------------------------------------------------------------------

EventPtr EVENT_GetCurEvent() { return &EventTopContext().Last; }
Int EVENT_GetCurEventType() { return EventTopContext().Last.Type; }
Int EVENT_GetButton() { return EventTopContext().Last.Button; }
BoolEnum EVENT_IsDouble() { return EventTopContext().Last.IsDouble; }
Int EVENT_GetWheel() { return EventTopContext().Last.Wheel; }
Int EVENT_GetKeyCode() { return EventTopContext().Last.Key; }
const char* EVENT_GetKbStr() { return EventTopContext().Last.KbStr; }
char EVENT_GetKbAsciiChar() { return EventTopContext().Last.KbAsciiStr[0]; }
const char* EVENT_GetKbMatchStr() { return gKbMatch.c_str(); }
UInt EVENT_GetKbMods() {
  const _EventRec& last = EventTopContext().Last;
  bool mouse = last.Type >= EVENT_TYPEBUTTONPRESS && last.Type <= EVENT_TYPEMOUSELEAVE;
  return mouse ? last.MouseModifiers : (gKbMods & ~7u) | (gMouseMods & 7u);
}
int64_t EVENT_GetEventTime() { return EventTopContext().Last.Time; }

void EVENT_QueryAbsLoc(_Point16Rec* point) {
  if (point) *point = EventTopContext().Last.AbsLoc;
}

void EVENT_QueryWinLoc(WinPtr win, _Point16Rec* point) {
  if (!point) return;
  const _EventRec& last = EventTopContext().Last;
  if (win && rootWin(last.Wgt) != win) {
    _Rect16Rec box = WIN_Wgt(win)->Box;
    *point = _Point16Rec{static_cast<int16_t>(last.AbsLoc.X - box.Origin.X),
                         static_cast<int16_t>(last.AbsLoc.Y - box.Origin.Y)};
    return;
  }
  *point = last.WinLoc;
}

void EVENT_QueryWgtLoc(WgtPtr wgt, _Point16Rec* point) {
  if (!point) return;
  EVENT_QueryWinLoc(rootWin(wgt), point);
  if (!wgt) return;
  _Point16Rec org = WGT_QueryWinOrigin(wgt);
  point->X = static_cast<int16_t>(point->X - org.X);
  point->Y = static_cast<int16_t>(point->Y - org.Y);
}

void EVENT_SetMouseEventProcessed() { WGT_MouseHandled(nullptr); }
void EVENT_SetKbEventProcessed() { WGT_KeyHandled(nullptr); }
void EVENT_SetCursorEventProcessed() { WGT_CursorHandled(nullptr); }
BoolEnum EVENT_IsMouseEventProcessed() { return WGT_IsMouseHandled(); }
BoolEnum EVENT_IsKbEventProcessed() { return WGT_IsKeyHandled(); }
BoolEnum EVENT_IsCursorEventProcessed() { return WGT_IsCursorHandled(); }

void EVENT_DiscardMouseEvents() {
  _DsplyEventRec d;
  std::vector<_DsplyEventRec> keep;
  DSPLY_Sync();
  while (DSPLY_CheckEvent(&d)) {
    bool mouse = d.Kind == DSPLY_EVBUTTONPRESS || d.Kind == DSPLY_EVBUTTONRELEASE || d.Kind == DSPLY_EVMOTION ||
                 d.Kind == DSPLY_EVLEAVE || d.Kind == DSPLY_EVENTER;
    if (mouse) DSPLY_ClearEvent(&d);
    else keep.push_back(d);
  }
  // What was not mouse input is processed now rather than lost.
  for (_DsplyEventRec& k : keep) processDisplayEvent(&k);
}

void EVENT_DiscardKbEvents() {
  S_ResetKbBuf();
  _DsplyEventRec d;
  while (DSPLY_CheckKeyEvent(&d)) DSPLY_ClearEvent(&d);
}

void EVENT_DiscardUserEvents() {
  EVENT_DiscardKbEvents();
  EVENT_DiscardMouseEvents();
}

WgtPtr EVENT_GetFocusWgt() {
  WinPtr win = WIN_GetActiveWin();
  return win ? PANEL_GetDeepFocusWgt(WIN_Panel(win)) : nullptr;
}

void EVENT_SetDoubleInfo(Int timeMs, Int time2Ms, Int distance) {
  gDoubleTime = timeMs;
  gDoubleTime2 = time2Ms;
  gDoubleDist = distance;
}

// --- User queues --------------------------------------------------------------------------

EventQueuePtr EVENT_UserQueueNew(Int priority) {
  EventQueuePtr q = new _EventQueueRec{priority, {}};
  gQueues.push_back(q);
  return q;
}

void EVENT_UserQueueDispose(EventQueuePtr queue) {
  for (size_t i = 0; i < gQueues.size(); i++)
    if (gQueues[i] == queue) {
      gQueues.erase(gQueues.begin() + static_cast<long>(i));
      break;
    }
  if (queue == gSystemQueue) gSystemQueue = nullptr;
  delete queue;
}

void EVENT_UserQueuePostEvent(EventQueuePtr queue, EventProc proc, ClientPtr data) {
  if (queue && proc) queue->Events.push_back({proc, data});
}

void EVENT_UserQueueFlush(EventQueuePtr queue) {
  if (queue) queue->Events.clear();
}

void EVENT_QueueSetPriority(EventQueuePtr queue, Int priority) {
  if (queue) queue->Priority = priority;
}

EventQueuePtr EVENT_GetSystemQueue() {
  if (!gSystemQueue) gSystemQueue = EVENT_UserQueueNew(0);
  return gSystemQueue;
}
