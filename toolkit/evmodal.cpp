// Loops inside the loop: modal processing, timed waits and mouse tracking.
// Each pushes an event context that restricts delivery while it runs.
#include "toolkit/dsply.h"
#include "toolkit/evctx.h"
#include "toolkit/eventpriv.h"
#include "toolkit/winpub.h"

namespace {
BoolEnum gSystemModalForced = 0;

// Tracking state.
struct TrackState {
  WgtPtr Wgt = nullptr;
  BoolEnum Down = 0;      // tracking a press (down) or, for TrackUp, a move
  UInt Buttons = 0;       // buttons held when it began
  BoolEnum First = 0;     // the first TrackDown returns at once
  BoolEnum DelaySet = 0;
  EventTrackDelayRec Delay{};
  BoolEnum AlarmRunning = 0;
  BoolEnum DelayFired = 0;
  Int Steps = 0;
  Int Depth = -1;         // context depth of the track
} gTrack;

EventTrackDelayRec gDelay{};
BoolEnum gDelayOn = 0;
EventTrackProc gTrackProc = nullptr;
ClientPtr gTrackData = nullptr;

void S_TrackDelayAlarm(ClientPtr) {
  gTrack.AlarmRunning = 0;
  if (!gTrack.Wgt) return;
  gTrack.DelayFired = 1;
  _EventRec ev{};
  ev.Type = EVENT_TYPEALARM;
  ev.Wgt = gTrack.Wgt;
  ev.Time = DSPLY_Now();
  ev.AlarmData = &gTrack;
  EventProcess(&ev);
}

// The repetition waits Delay0 before the first step and Delay1 after it.
Int nextDelay() { return gTrack.Steps == 0 ? gTrack.Delay.Delay0 : gTrack.Delay.Delay1; }

void stopDelayAlarm() {
  if (gTrack.AlarmRunning) EVENT_StopCBackAlarm(&gTrack);
  gTrack.AlarmRunning = 0;
}

void beginTrack(WgtPtr wgt, BoolEnum down) {
  if (gTrack.Wgt) {
    if (gTrack.Down) EVENT_TrackDownEnd(gTrack.Wgt);
    else EVENT_TrackUpEnd(gTrack.Wgt);
  }
  gTrack = TrackState{};
  gTrack.Wgt = wgt;
  gTrack.Down = down;
  gTrack.Buttons = EVENT_GetKbMods() & 7u;
  gTrack.First = 1;
  gTrack.DelaySet = gDelayOn;
  gTrack.Delay = gDelay;
  WinPtr win = wgt ? wgt->Win : nullptr;
  EventContext& ctx = EventPushContext();
  ctx.WinMask = EVENT_MASKNONINPUT;
  ctx.AnyMask = EVENT_MASKALLBUTLEAVE;
  ctx.UpdateMask = EVENT_MASKALLBUTLEAVE;
  ctx.Win = win;
  ctx.DestWin = win;
  ctx.Target = wgt;
  gTrack.Depth = EventContextDepth();
}

void endTrack() {
  stopDelayAlarm();
  Int depth = gTrack.Depth;
  gTrack = TrackState{};
  if (depth >= 0 && EventContextDepth() >= depth) EventUnwindContexts(depth - 1);
  EVENT_ProcessRecal();
  EVENT_ProcessInval();
}

BoolEnum trackStep(WgtPtr wgt) {
  if (!gTrack.Wgt || gTrack.Wgt != wgt) return 0;
  if (EventTopContext().TrackAborted) return 0;
  if (gTrack.First) {
    gTrack.First = 0;
    EVENT_ProcessRecal();
    EVENT_ProcessInval();
    return 1;
  }
  if (gTrack.DelaySet && !gTrack.AlarmRunning) {
    gTrack.AlarmRunning = 1;
    EVENT_StartCBackAlarmDS(S_TrackDelayAlarm, &gTrack, nextDelay());
  }
  EventTrackProc proc = gTrackProc ? gTrackProc : EVENT_DefTrackDown;
  for (;;) {
    EVENT_ProcessNext();
    if (!gTrack.Wgt || EventTopContext().TrackAborted) return 0;
    EVENT_ProcessRecal();
    EVENT_ProcessInval();
    Int r = proc(wgt, gTrackData);
    if (r != EVENT_CONTINUE) return r == EVENT_STOPOK;
  }
}
}  // namespace

// --- Tracking -----------------------------------------------------------------------------

void EVENT_TrackDownBegin(WgtPtr wgt) { beginTrack(wgt, 1); }
BoolEnum EVENT_TrackDown(WgtPtr wgt) { return trackStep(wgt); }
void EVENT_TrackDownEnd(WgtPtr) { endTrack(); }
void EVENT_TrackUpBegin(WgtPtr wgt) { beginTrack(wgt, 0); }
BoolEnum EVENT_TrackUp(WgtPtr wgt) { return trackStep(wgt); }
void EVENT_TrackUpEnd(WgtPtr) { endTrack(); }

Int EVENT_DefTrackDown(WgtPtr, ClientPtr) {
  Int result = EVENT_CONTINUE;
  switch (EVENT_GetCurEventType()) {
    case EVENT_TYPENOTHING:
      if (!EVENT_IsBlocking()) result = EVENT_STOPOK;
      break;
    case EVENT_TYPEALARM:
      if (gTrack.DelayFired) {
        gTrack.DelayFired = 0;
        if (EventMouseMods() & gTrack.Buttons & 7u) {
          gTrack.Steps++;
          gTrack.AlarmRunning = 1;
          EVENT_StartCBackAlarmDS(S_TrackDelayAlarm, &gTrack, nextDelay());
          result = EVENT_STOPOK;
        } else {
          result = EVENT_STOPNOK;
        }
      }
      break;
    case EVENT_TYPEMOUSEMOVE:
      result = EVENT_STOPOK;
      break;
    case EVENT_TYPEBUTTONRELEASE:
      result = EVENT_STOPNOK;
      break;
    default:
      break;
  }
  // Tracking up follows the pointer with no button down; tracking down
  // ends as soon as no button is held.
  if (gTrack.Down && (EventMouseMods() & 7u) == 0) result = EVENT_STOPNOK;
  return result;
}

void EVENT_SetTrackDelay(const EventTrackDelayRec* delay) {
  gDelayOn = delay != nullptr;
  if (delay) gDelay = *delay;
}

void EVENT_QueryTrackDelay(EventTrackDelayRec* delay) {
  if (delay) *delay = gDelayOn ? gDelay : EventTrackDelayRec{};
}

void EVENT_SetDefTrackDelay() {
  EventTrackDelayRec d{400, 150, 5, 700};
  EVENT_SetTrackDelay(&d);
}

void EVENT_SetTrackDownProcDS(EventTrackProc proc, ClientPtr data) {
  gTrackProc = proc;
  gTrackData = data;
}

BoolEnum EVENT_IsTracking() { return gTrack.Wgt != nullptr; }
BoolEnum EVENT_IsTrackingMouse() { return gTrack.Wgt != nullptr && gTrack.Down; }

void EVENT_AbortTracking() {
  if (gTrack.Depth >= 0 && gTrack.Depth <= EventContextDepth()) EventContextAt(gTrack.Depth).TrackAborted = 1;
}

// --- Modal processing -----------------------------------------------------------------------

void EVENT_BeginModalProcess(WinPtr win, BoolEnum systemModal, BoolEnum permissive) {
  if (gSystemModalForced) systemModal = 1;
  (void)systemModal;  // one display, one application: every modal window is system modal to it
  EventContext& ctx = EventPushContext();
  ctx.WinMask = EVENT_MASKALLBUTLEAVE;
  ctx.AnyMask = permissive ? EVENT_MASKNONINPUTCURSOR : EVENT_MASKINVAL;
  ctx.UpdateMask = EVENT_MASKALLBUTLEAVE;
  ctx.Win = win;
  ctx.DestWin = nullptr;
  ctx.Target = nullptr;
  ctx.Modal = 1;
}

void EVENT_DoModalProcess() {
  Int depth = EventContextDepth();
  while (EventContextDepth() >= depth && EventContextAt(depth).Running) EVENT_ProcessNext();
}

void EVENT_EndModalProcess() {
  EVENT_ProcessRecal();
  EVENT_ProcessInval();
  // Contexts left above the modal one (a track cut short) go with it.
  for (Int d = EventContextDepth(); d > 0; d--)
    if (EventContextAt(d).Modal) {
      EventUnwindContexts(d - 1);
      return;
    }
}

void EVENT_ModalProcess(WinPtr win, BoolEnum systemModal, BoolEnum permissive) {
  EVENT_BeginModalProcess(win, systemModal, permissive);
  EVENT_DoModalProcess();
  EVENT_EndModalProcess();
}

void EVENT_TerminateModalProcess() {
  for (Int d = EventContextDepth(); d > 0; d--)
    if (EventContextAt(d).Modal) {
      EventContextAt(d).Running = 0;
      return;
    }
}

WinPtr EVENT_QueryModalProcess() {
  for (Int d = EventContextDepth(); d > 0; d--)
    if (EventContextAt(d).Modal) return EventContextAt(d).Win;
  return nullptr;
}

// Called by EVENT_Init through the environment variable.
void EventSetSystemModalForced(BoolEnum flag) { gSystemModalForced = flag; }

// --- Timed wait -------------------------------------------------------------------------------

namespace {
void clearFlag(ClientPtr data) { *static_cast<BoolEnum*>(data) = 0; }
}  // namespace

void EventWaitWhile(const BoolEnum* busy, Int milliseconds) {
  EventContext& ctx = EventPushContext();
  ctx.WinMask = EVENT_MASKNONINPUT;
  ctx.AnyMask = EVENT_MASKNONINPUT;
  ctx.Target = nullptr;
  ctx.DestWin = nullptr;
  Int depth = EventContextDepth();
  BoolEnum waiting = 1;
  EVENT_StartCBackAlarmDS(clearFlag, &waiting, milliseconds);
  while (waiting && (!busy || *busy) && EventContextDepth() >= depth) EVENT_ProcessNext();
  if (waiting) EVENT_StopCBackAlarm(&waiting);
  EventUnwindContexts(depth - 1);
  EVENT_ProcessRecal();
  EVENT_ProcessInval();
}

void EVENT_Wait(WgtPtr, Int milliseconds) { EventWaitWhile(nullptr, milliseconds); }
