// The timer queue and alarms.  One queue sorted by due time; an entry goes
// behind those with the same time, so alarms due together fire in the order
// they were started.  Everything runs in the event loop.
#include <cstdlib>
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/evctx.h"
#include "toolkit/eventpriv.h"
#include "toolkit/wgtpub.h"

namespace {

struct AlarmRec {
  WgtPtr Wgt;           // a widget alarm, or null
  EventAlarmProc Proc;  // a callback alarm, or null
  ClientPtr Data;
  BoolEnum Cancelled;
};

struct TimerEntry {
  TimerEntry* Next;
  int64_t Due;
  AlarmRec* Client;
};

TimerEntry* gQueue = nullptr;
TimerEntry* gFree = nullptr;  // entries for reuse
// Alarms taken off the queue by the timer processing that is running now;
// stopping one of them keeps it from firing.
std::vector<AlarmRec*>* gRunning = nullptr;

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

void queue(AlarmRec* alarm, Int milliseconds) {
  if (milliseconds < 0) milliseconds = 0;
  TimerEntry* e = newEntry();
  e->Due = DSPLY_Now() + milliseconds;
  e->Client = alarm;
  TimerEntry** at = &gQueue;
  while (*at && (*at)->Due <= e->Due) at = &(*at)->Next;
  e->Next = *at;
  *at = e;
  EventActivateTimer();
}

// Removes the first queued alarm that matches; true if one was found.
template <class Match>
bool removeFirst(Match match) {
  for (TimerEntry** at = &gQueue; *at; at = &(*at)->Next) {
    if (match((*at)->Client)) {
      TimerEntry* e = *at;
      *at = e->Next;
      delete e->Client;
      freeEntry(e);
      return true;
    }
  }
  if (gRunning)
    for (AlarmRec* a : *gRunning)
      if (!a->Cancelled && match(a)) {
        a->Cancelled = 1;
        return true;
      }
  return false;
}

template <class Match>
void removeAll(Match match) {
  for (TimerEntry** at = &gQueue; *at;) {
    if (match((*at)->Client)) {
      TimerEntry* e = *at;
      *at = e->Next;
      delete e->Client;
      freeEntry(e);
    } else {
      at = &(*at)->Next;
    }
  }
  if (gRunning)
    for (AlarmRec* a : *gRunning)
      if (match(a)) a->Cancelled = 1;
}

}  // namespace

void TimerReset() {
  while (gQueue) {
    TimerEntry* e = gQueue;
    gQueue = e->Next;
    delete e->Client;
    delete e;
  }
  while (gFree) {
    TimerEntry* e = gFree;
    gFree = e->Next;
    delete e;
  }
}

int64_t TIMER_QueryWait(BoolEnum* none) {
  if (!gQueue) {
    if (none) *none = 1;
    return -1;
  }
  if (none) *none = 0;
  return gQueue->Due - DSPLY_Now();
}

Int TIMER_GetQueuedCount() {
  Int n = 0;
  for (TimerEntry* e = gQueue; e; e = e->Next) n++;
  return n;
}

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
  queue(new AlarmRec{wgt, nullptr, data, 0}, milliseconds);
}

void EVENT_StartCBackAlarmDS(EventAlarmProc proc, ClientPtr data, Int milliseconds) {
  if (!proc) return;
  queue(new AlarmRec{nullptr, proc, data, 0}, milliseconds);
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
  // alarms; those wait for the next pass even at 0 ms.
  std::vector<AlarmRec*> due;
  int64_t now = DSPLY_Now();
  while (gQueue && gQueue->Due <= now) {
    TimerEntry* e = gQueue;
    gQueue = e->Next;
    due.push_back(e->Client);
    freeEntry(e);
  }
  std::vector<AlarmRec*>* outer = gRunning;
  gRunning = &due;
  struct Restore {
    std::vector<AlarmRec*>* outer;
    std::vector<AlarmRec*>& due;
    // After a failure in a handler the alarms that had not fired yet go
    // back to the queue, due at once.
    ~Restore() {
      gRunning = outer;
      for (AlarmRec* a : due) {
        if (a->Cancelled) delete a;
        else queue(a, 0);
      }
    }
  } restore{outer, due};
  for (size_t i = 0; i < due.size(); i++) {
    AlarmRec* a = due[i];
    if (a->Cancelled) continue;
    a->Cancelled = 1;  // fires once
    if (a->Proc) {
      a->Proc(a->Data);
    } else if (a->Wgt) {
      _EventRec ev{};
      ev.Type = EVENT_TYPEALARM;
      ev.Wgt = a->Wgt;
      ev.Time = DSPLY_Now();
      ev.AlarmData = a->Data;
      EventProcess(&ev);
    }
  }
  EVENT_ProcessRecal();
  EVENT_ProcessInval();
  EventActivateTimer();
}
