// From display input to event records: mouse input with double clicks,
// keys through the type-ahead buffer and the accelerator match, the cursor,
// and the queries of the current event.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/evctx.h"
#include "toolkit/xhooks.h"
#include "toolkit/event.h"
#include "toolkit/eventpriv.h"
#include "toolkit/winpub.h"

namespace {

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

}  // namespace

// --- The input state ------------------------------------------------------------------

void EventResetKbBuf() {
  gKbBuf.clear();
  gKbMatch.clear();
}

void EventResetInput() {
  gMouseMods = gKbMods = 0;
  gCursorDirty = 1;
}

void EventUpdateInputState(const _EventRec& ev) {
  if (ev.Type >= EVENT_TYPEBUTTONPRESS && ev.Type <= EVENT_TYPEMOUSELEAVE) {
    gMouseMods = ev.MouseModifiers;
    gCursorDirty = 1;
  } else if (ev.Type == EVENT_TYPEKEYPRESS || ev.Type == EVENT_TYPEKEYRELEASE) {
    gKbMods = ev.KbModifiers;
  }
}

UInt EventMouseMods() { return gMouseMods; }
void EventCursorChanged() { gCursorDirty = 1; }

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
void X_DefProcessXEvent(_DsplyEventRec* d) {
  AUTOM_Touch();
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
    case DSPLY_EVTAKEFOCUS:
    case DSPLY_EVRESTACK:
    case DSPLY_EVWMSTATE: {
      static const UInt kBits[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, EVENT_WMOPENED, EVENT_WMCLOSED, EVENT_WMTERMINATE,
                                   EVENT_WMACTIVATED, EVENT_WMDEACTIVATED, EVENT_WMTAKEFOCUS, EVENT_WMRESTACKED};
      ev.Type = EVENT_TYPEWINMGR;
      if (d->Kind == DSPLY_EVWMSTATE)
        // The report gives the whole state; the window acts on what changed.
        ev.WinMgrType = ((d->WmState & DSPLY_WMSTATEICONIC) ? EVENT_WMICONIFIED : EVENT_WMDEICONIFIED) |
                        ((d->WmState & DSPLY_WMSTATEMAXIMIZED) ? EVENT_WMMAXIMIZED : EVENT_WMUNMAXIMIZED);
      else
        ev.WinMgrType = kBits[d->Kind];
      // Window-manager events reach windows in any state: opening is one.
      EventContext& ctx = EventTopContext();
      ctx.Seen = 1;
      if (EventPassesFilter(ctx, EVENT_TYPEWINMGR, ev.Wgt)) {
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

void EventProcessDisplayEvent(_DsplyEventRec* d) {
  struct Clear {
    _DsplyEventRec* d;
    ~Clear() { DSPLY_ClearEvent(d); }
  } clear{d};
  X_ProcessXEvent(d);
}

// --- The cursor -------------------------------------------------------------------------

void EVENT_UpdateCursor() {
  if (!gCursorDirty || !DSPLY_IsOpen()) return;
  gCursorDirty = 0;
  EventContext& ctx = EventTopContext();
  _EventRec ev{};
  ev.Type = EVENT_TYPESETCURSOR;
  ev.Time = DSPLY_Now();
  const _EventRec& last = ctx.Last;
  bool mouse = last.Type >= EVENT_TYPEBUTTONPRESS && last.Type <= EVENT_TYPEMOUSELEAVE;
  WinPtr win = mouse ? EventRootWin(last.Wgt) : nullptr;
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
  if (win && EventRootWin(last.Wgt) != win) {
    _Rect16Rec box = WIN_Wgt(win)->Box;
    *point = _Point16Rec{static_cast<int16_t>(last.AbsLoc.X - box.Origin.X),
                         static_cast<int16_t>(last.AbsLoc.Y - box.Origin.Y)};
    return;
  }
  *point = last.WinLoc;
}

void EVENT_QueryWgtLoc(WgtPtr wgt, _Point16Rec* point) {
  if (!point) return;
  EVENT_QueryWinLoc(EventRootWin(wgt), point);
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
  for (_DsplyEventRec& k : keep) EventProcessDisplayEvent(&k);
}

void EVENT_DiscardKbEvents() {
  EventResetKbBuf();
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
