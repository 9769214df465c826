// The timer queue and alarms.  One queue sorted by due time; an entry goes
// behind those with the same time, so clients due together fire in the
// order they were queued.  Alarms are clients of this queue, and so may be
// any client a program or another loop queues.  Everything runs in the
// event loop.
#include <cstdlib>
#include <vector>

#include "owbtime.h"
#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/evctx.h"
#include "toolkit/eventpriv.h"
#include "toolkit/wgtpub.h"

// --- The queue -------------------------------------------------------------------

namespace {

struct TimerEntry {
  TimerEntry* Next;
  int64_t Due;
  TimerClientPtr Client;
};

TimerEntry* gQueue = nullptr;
TimerEntry* gFree = nullptr;  // entries for reuse
// Clients taken off the queue by the timer processing that is running now;
// dequeuing one of them keeps it from firing (its slot becomes null).
std::vector<TimerClientPtr>* gRunning = nullptr;

void (*gAlarmStart)(Int, ClientPtr) = nullptr;
ClientPtr gAlarmStartData = nullptr;
EventProc gAlarmStop = nullptr;
ClientPtr gAlarmStopData = nullptr;

TimerEntry* newEntry() {
  if (gFree) {
    TimerEntry* e = gFree;
    gFree = e->Next;
    return e;
  }
  return new TimerEntry{};
}

void freeEntry(TimerEntry* e) {
  e->Next = gFree;
  e->Client = nullptr;
  gFree = e;
}

// Unlinks the client from the queue; true if it was there.
bool unlink(TimerClientPtr client) {
  for (TimerEntry** at = &gQueue; *at; at = &(*at)->Next)
    if ((*at)->Client == client) {
      TimerEntry* e = *at;
      *at = e->Next;
      freeEntry(e);
      return true;
    }
  return false;
}

// Takes a client out of the running list; true if it was waiting there.
bool unlinkRunning(TimerClientPtr client) {
  if (!gRunning) return false;
  for (TimerClientPtr& c : *gRunning)
    if (c == client) {
      c = nullptr;
      return true;
    }
  return false;
}

}  // namespace

void TimerReset() {
  while (gQueue) {
    TimerEntry* e = gQueue;
    gQueue = e->Next;
    if (e->Client && e->Client->Dispose) e->Client->Dispose(e->Client);
    delete e;
  }
  while (gFree) {
    TimerEntry* e = gFree;
    gFree = e->Next;
    delete e;
  }
}

void TIMER_Queue(TimerClientPtr client, Int milliseconds) {
  if (!client) return;
  unlink(client);
  unlinkRunning(client);
  if (milliseconds < 0) milliseconds = 0;
  TimerEntry* e = newEntry();
  e->Due = static_cast<int64_t>(TIME_GetCurMillisecs()) + milliseconds;
  e->Client = client;
  TimerEntry** at = &gQueue;
  while (*at && (*at)->Due <= e->Due) at = &(*at)->Next;
  e->Next = *at;
  *at = e;
  EventActivateTimer();
}

BoolEnum TIMER_Dequeue(TimerClientPtr client) {
  if (!client) return 0;
  bool found = unlink(client) || unlinkRunning(client);
  if (found) EventActivateTimer();
  return found;
}

TimerClientPtr TIMER_DequeueElapsed() {
  if (!gQueue || gQueue->Due > static_cast<int64_t>(TIME_GetCurMillisecs())) return nullptr;
  TimerEntry* e = gQueue;
  gQueue = e->Next;
  TimerClientPtr client = e->Client;
  freeEntry(e);
  return client;
}

BoolEnum TIMER_IsQueued(TimerClientPtr client) {
  for (TimerEntry* e = gQueue; e; e = e->Next)
    if (e->Client == client) return 1;
  return 0;
}

TimerClientPtr TIMER_GetQueuedDS(TimerMatchProc match, ClientPtr data) {
  if (!match) return nullptr;
  for (TimerEntry* e = gQueue; e; e = e->Next)
    if (match(e->Client, data)) return e->Client;
  return nullptr;
}

int64_t TIMER_QueryWait(BoolEnum* none) {
  if (!gQueue) {
    if (none) *none = 1;
    return -1;
  }
  if (none) *none = 0;
  return gQueue->Due - static_cast<int64_t>(TIME_GetCurMillisecs());
}

Int TIMER_GetQueuedCount() {
  Int n = 0;
  for (TimerEntry* e = gQueue; e; e = e->Next) n++;
  return n;
}

// --- Alarms ----------------------------------------------------------------------
// An alarm is a timer client that fires once: a callback with its data, or
// an alarm event for a widget.

namespace {

struct AlarmRec {
  _TimerClientRec Base;  // first: the queue hands back &Base
  WgtPtr Wgt;            // a widget alarm, or null
  EventAlarmProc Proc;   // a callback alarm, or null
  ClientPtr Data;
};

void fireAlarm(TimerClientPtr client) {
  AlarmRec a = *reinterpret_cast<AlarmRec*>(client);
  delete reinterpret_cast<AlarmRec*>(client);  // freed first: the handler may fail
  if (a.Proc) {
    a.Proc(a.Data);
  } else if (a.Wgt) {
    _EventRec ev{};
    ev.Type = EVENT_TYPEALARM;
    ev.Wgt = a.Wgt;
    ev.Time = DSPLY_Now();
    ev.AlarmData = a.Data;
    EventProcess(&ev);
  }
}

void disposeAlarm(TimerClientPtr client) { delete reinterpret_cast<AlarmRec*>(client); }

AlarmRec* asAlarm(TimerClientPtr client) {
  return client && client->Fire == fireAlarm ? reinterpret_cast<AlarmRec*>(client) : nullptr;
}

void queue(AlarmRec* alarm, Int milliseconds) {
  alarm->Base.Fire = fireAlarm;
  alarm->Base.Dispose = disposeAlarm;
  TIMER_Queue(&alarm->Base, milliseconds);
}

// Stops the first queued alarm that matches, or else one taken off for the
// timer processing running now; true if one was found.
template <class Match>
bool removeFirst(Match match) {
  auto test = [](TimerClientPtr c, ClientPtr m) -> BoolEnum {
    AlarmRec* a = asAlarm(c);
    return a && (*static_cast<Match*>(m))(a);
  };
  TimerClientPtr c = TIMER_GetQueuedDS(test, &match);
  if (!c && gRunning)
    for (TimerClientPtr r : *gRunning)
      if (test(r, &match)) {
        c = r;
        break;
      }
  if (!c) return false;
  TIMER_Dequeue(c);
  disposeAlarm(c);
  return true;
}

template <class Match>
void removeAll(Match match) {
  while (removeFirst(match)) {
  }
}

}  // namespace

void EventActivateTimer() {
  if (gAlarmStop) gAlarmStop(gAlarmStopData);
  BoolEnum none = 0;
  int64_t wait = TIMER_QueryWait(&none);
  if (none) return;
  if (wait < 0) wait = 0;
  if (gAlarmStart) gAlarmStart(static_cast<Int>(wait > 0x7fffffff ? 0x7fffffff : wait), gAlarmStartData);
}

void EVENT_SetAlarmStartProcDS(void (*proc)(Int, ClientPtr), ClientPtr data) {
  gAlarmStart = proc;
  gAlarmStartData = data;
}

void EVENT_SetAlarmStopProcDS(EventProc proc, ClientPtr data) {
  gAlarmStop = proc;
  gAlarmStopData = data;
}

void EVENT_StartWgtAlarm(WgtPtr wgt, ClientPtr data, Int milliseconds) {
  if (!wgt) return;
  queue(new AlarmRec{{}, wgt, nullptr, data}, milliseconds);
}

void EVENT_StartCBackAlarmDS(EventAlarmProc proc, ClientPtr data, Int milliseconds) {
  if (!proc) return;
  queue(new AlarmRec{{}, nullptr, proc, data}, milliseconds);
}

void EVENT_StartTimer(WgtPtr wgt, Int milliseconds) { EVENT_StartWgtAlarm(wgt, nullptr, milliseconds); }
void EVENT_StopTimer(WgtPtr wgt) { EVENT_StopAllWgtAlarms(wgt); }

void EVENT_StopWgtAlarm(WgtPtr wgt, ClientPtr data) {
  removeFirst([&](AlarmRec* a) { return a->Wgt == wgt && a->Data == data; });
  EventActivateTimer();
}

void EVENT_StopAllWgtAlarms(WgtPtr wgt) {
  if (!wgt) return;
  removeAll([&](AlarmRec* a) { return a->Wgt == wgt; });
  EventActivateTimer();
}

void EVENT_StopCBackAlarm(ClientPtr data) {
  removeFirst([&](AlarmRec* a) { return a->Wgt == nullptr && a->Data == data; });
  EventActivateTimer();
}

void EVENT_ProcessTimeOut() {
  AUTOM_Touch();  // alarms run code that may change any widget
  if (EVENT_IsRecalPending()) EVENT_ProcessRecal();
  // Everything due is taken off first, so that handlers can queue new
  // clients; those wait for the next pass even at 0 ms.
  std::vector<TimerClientPtr> due;
  while (TimerClientPtr c = TIMER_DequeueElapsed()) due.push_back(c);
  std::vector<TimerClientPtr>* outer = gRunning;
  gRunning = &due;
  struct Restore {
    std::vector<TimerClientPtr>* outer;
    std::vector<TimerClientPtr>& due;
    // After a failure in a handler the clients that had not fired yet go
    // back to the queue, due at once.
    ~Restore() {
      gRunning = outer;
      for (TimerClientPtr c : due)
        if (c) TIMER_Queue(c, 0);
    }
  } restore{outer, due};
  for (size_t i = 0; i < due.size(); i++) {
    TimerClientPtr c = due[i];
    if (!c) continue;
    due[i] = nullptr;  // fires once
    if (c->Fire) c->Fire(c);
  }
  EVENT_ProcessRecal();
  EVENT_ProcessInval();
  EventActivateTimer();
}
