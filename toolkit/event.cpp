// The event loop: contexts, the filter, dispatch to widgets, waiting for
// the display or the next timer, and the user queues.  Display input is
// turned into event records by evinput.cpp; the recalculation and redraw
// work lists are in evwork.cpp.
#include "toolkit/event.h"

#include <cctype>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/evctx.h"
#include "toolkit/eventpriv.h"
#include "toolkit/winpub.h"
#include "toolkit/xhooks.h"

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

bool isInputType(Int type) { return type >= EVENT_TYPEBUTTONPRESS && type <= EVENT_TYPEKEYRELEASE; }

// With a destination window in the context, input goes there instead.
void S_CheckDestination(EventContext& ctx, EventPtr ev) {
  ev->DestIsTopLevelWin = 0;
  if (!ctx.DestWin) return;
  WinPtr from = EventRootWin(ev->Wgt);
  ev->DestIsTopLevelWin = from == ctx.DestWin;
  if (from != ctx.DestWin) {
    // Locations are given again relative to the destination.
    _Rect16Rec box = WIN_Wgt(ctx.DestWin)->Box;
    ev->WinLoc.X = static_cast<int16_t>(ev->AbsLoc.X - box.Origin.X);
    ev->WinLoc.Y = static_cast<int16_t>(ev->AbsLoc.Y - box.Origin.Y);
  }
  ev->Wgt = ctx.Target ? ctx.Target : WIN_Wgt(ctx.DestWin);
}

long dispatchWithEvent(WgtPtr wgt, Int message, EventContext& ctx) {
  return EVENT_Dispatch(wgt, message, &ctx.Last);
}

}  // namespace

WinPtr EventRootWin(WgtPtr wgt) { return wgt ? wgt->Win : nullptr; }

namespace {
WinPtr gAdmittedPopup = nullptr;
}  // namespace

void EVENT_AdmitPopup(WinPtr popup) { gAdmittedPopup = popup; }

void EVENT_WithdrawPopup(WinPtr popup) {
  if (gAdmittedPopup == popup) gAdmittedPopup = nullptr;
}

BoolEnum EventPassesFilter(const EventContext& ctx, Int type, WgtPtr wgt) {
  UInt bit = 1u << type;
  if (ctx.AnyMask & bit) return 1;
  WinPtr root = EventRootWin(wgt);
  if ((ctx.WinMask & bit) && root && root == gAdmittedPopup) return 1;
  return (ctx.WinMask & bit) && root == ctx.Win && ctx.Win != nullptr;
}

// --- Contexts --------------------------------------------------------------------

EventContext& EventTopContext() {
  if (gDepth < 0) EVENT_Init();
  return *gContexts[static_cast<size_t>(gDepth)];
}

EventContext& EventPushContext() {
  EventResetKbBuf();
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
  EventResetKbBuf();
  EventContext& ctx = *gContexts[static_cast<size_t>(gDepth)];
  if (ctx.Grab) DSPLY_UngrabPointer();
  ctx.Grab = 0;
  gDepth--;
  EventCursorChanged();
}

Int EventContextDepth() { return gDepth; }
EventContext& EventContextAt(Int depth) { return *gContexts[static_cast<size_t>(depth)]; }
Int EVENT_GetContextDepth() { return gDepth; }

void EventUnwindContexts(Int depth) {
  while (gDepth > depth && gDepth > 0) EventPopContext();
}

void EventSetSystemModalForced(BoolEnum flag);

// --- Start-up --------------------------------------------------------------------

namespace {
void defProcessNext(ClientPtr);
void defMainExit(ClientPtr) { EventTopContext().Running = 0; }
}  // namespace

void EVENT_DefMainLoop(ClientPtr) {
  while (EventTopContext().Running) EVENT_ProcessNext();
  EVENT_Update();
}

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
  EventResetWorkLists();
  EventPushContext();
  gDispatch = EVENT_DefDispatch;
  gDispatchData = nullptr;
  gProcNext = defProcessNext;
  gMainLoop = EVENT_DefMainLoop;
  gMainExit = defMainExit;
  EVENT_SetTrackDownProcDS(nullptr, nullptr);
  EVENT_SetTrackDelay(nullptr);
  EventResetInput();
  AUTOM_InitFromEnv();
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
  gMainLoop = proc ? proc : EVENT_DefMainLoop;
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
    WinPtr win = EventRootWin(ev->Wgt);
    if (!win || win->State != WIN_STATEOPEN || win->Closing) return;
  }
  ctx.Seen = 1;
  if (type != EVENT_TYPENOTHING) AUTOM_Touch();
  if (type == EVENT_TYPENOTHING) {
    // Goes to no widget: it only becomes the current event, so that a
    // tracking loop in non-blocking mode sees that nothing happened.
    ctx.Last = *ev;
    return;
  }
  if (isInputType(type) || type == EVENT_TYPESETCURSOR) S_CheckDestination(ctx, ev);
  if (ctx.UpdateMask & (1u << type)) EventUpdateInputState(*ev);
  if (!EventPassesFilter(ctx, type, ev->Wgt)) return;
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

// --- The loop --------------------------------------------------------------------------

namespace {

bool runUserQueues(bool high) {
  bool did = false;
  for (size_t i = 0; i < gQueues.size(); i++) {
    EventQueuePtr q = gQueues[i];
    if ((q->Priority > 0) != high || q->Events.empty()) continue;
    UserEvent e = q->Events.front();
    q->Events.erase(q->Events.begin());
    AUTOM_Touch();
    e.proc(e.data);
    did = true;
  }
  return did;
}

void defProcessNext(ClientPtr) {
  EventContext& ctx = EventTopContext();
  if (runUserQueues(true)) return;
  _DsplyEventRec d;
  if (DSPLY_CheckEvent(&d)) {
    EventProcessDisplayEvent(&d);
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
      if (X_NextXEvent(&d, wait)) EventProcessDisplayEvent(&d);
      else EVENT_ProcessTimeOut();
      return;
    }
  } else if (ctx.Blocking) {
    EVENT_ProcessRecal();
    EVENT_ProcessInval();
    if (X_NextXEvent(&d, DSPLY_IsOpen() ? -1 : 0)) EventProcessDisplayEvent(&d);
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
  // The caller's loop waits next (for the display or its own input).
  EventBeforeWait();
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
