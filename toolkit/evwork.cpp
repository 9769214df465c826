// The work lists of the event loop: widgets waiting to be recalculated and
// windows waiting to be redrawn, and the end of a widget's or a window's
// part in them.
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/evctx.h"
#include "toolkit/event.h"
#include "toolkit/eventpriv.h"
#include "toolkit/winpub.h"

namespace {

// Walked by index; entries are cleared, not removed, while a walk runs, and
// an emptied list is reset.
std::vector<WgtPtr> gRecalList;
std::vector<WinPtr> gInvalList;

}  // namespace

void EventResetWorkLists() {
  gRecalList.clear();
  gInvalList.clear();
}

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
  if (EventErrHandler handler = EVENT_QueryErrHandler()) frame.rec()->ReportProc = handler;
  Int depth = EventContextDepth();
  if (!ERR_TryRecoverFn(frame, [&] { EventProcess(ev); })) EventUnwindContexts(depth);
}
}  // namespace

void EVENT_ProcessRecal() {
  for (size_t i = 0; i < gRecalList.size(); i++) {
    WgtPtr wgt = gRecalList[i];
    if (!wgt) continue;
    if (!EventPassesFilter(EventTopContext(), EVENT_TYPERECAL, wgt)) continue;
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
    if (!EventPassesFilter(EventTopContext(), EVENT_TYPEINVAL, WIN_Wgt(win))) continue;
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

void EventBeforeWait() {
  if (AUTOM_IsOn()) AUTOM_Update();
}

void EventEndWgtManagement(WgtPtr wgt) {
  EVENT_RemoveRecal(wgt);
  EVENT_StopAllWgtAlarms(wgt);
  for (Int d = 0; d <= EventContextDepth(); d++) {
    EventContext& ctx = EventContextAt(d);
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
  for (Int d = 0; d <= EventContextDepth(); d++) {
    EventContext& ctx = EventContextAt(d);
    if (ctx.Win == win) {
      ctx.Win = nullptr;
      ctx.Running = 0;  // a modal loop on a window that is gone ends
    }
    if (ctx.DestWin == win) ctx.DestWin = nullptr;
  }
  EventEndWgtManagement(WIN_Wgt(win));
}
