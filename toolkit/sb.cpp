// Scroll bars: geometry of the parts, the user's presses (arrow and body
// repetition, thumb dragging), keys, and the toolkit's flat look.
#include "toolkit/sb.h"

#include <cstdint>

#include "toolkit/dsply.h"
#include "toolkit/pfld.h"
#include "toolkit/winpub.h"

namespace {

#define SB_FIELD(name, member, type, kind) PFLD_MEMBER(_SbObj, name, member, type, kind)

_PFldRec sSbFields[] = {SB_FIELD("ThumbColor", ThumbColor, PFLD_VSTR, PFLD_KINDVALUE),
                        SB_FIELD("BodyColor", BodyColor, PFLD_VSTR, PFLD_KINDVALUE),
                        SB_FIELD("Min", Info.Min, PFLD_INT32, PFLD_KINDVALUE),
                        SB_FIELD("Max", Info.Max, PFLD_INT32, PFLD_KINDVALUE),
                        SB_FIELD("ThumbSize", Info.ThumbSize, PFLD_INT32, PFLD_KINDVALUE),
                        SB_FIELD("Step", Info.Step, PFLD_INT32, PFLD_KINDVALUE),
                        // The old name of ThumbSize: read, never written.
                        SB_FIELD("Thumb", Info.ThumbSize, PFLD_INT32, PFLD_KINDALIAS),
                        {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sSb = nullptr;

int px(int n) { return n * DSPLY_GetScreenDpi() / 96; }
WgtPtr W(SbPtr b) { return SB_Wgt(b); }

// A bar made by a scrolling area is not among its panel's children.
bool SAreaOwned(SbPtr b) {
  PanelPtr p = W(b)->Panel;
  for (Int i = 0; p && i < ARRAY_GetCount(p->CompoWgts); i++)
    if (ARRAY_GetNthPtr(p->CompoWgts, i) == b) return true;
  return false;
}

bool vertical(SbPtr b) { return W(b)->Box.Extent.Y > W(b)->Box.Extent.X; }
int lengthOf(SbPtr b) { return vertical(b) ? W(b)->Box.Extent.Y : W(b)->Box.Extent.X; }
int thicknessOf(SbPtr b) { return vertical(b) ? W(b)->Box.Extent.X : W(b)->Box.Extent.Y; }

// The values made consistent: Max >= Min, sizes >= 0, Min <= pos <= Max.
_SbInfoRec normalized(_SbInfoRec i) {
  if (i.Max < i.Min) i.Max = i.Min;
  if (i.ThumbSize < 0) i.ThumbSize = 0;
  if (i.Step < 0) i.Step = 0;
  if (i.ThumbPos < i.Min) i.ThumbPos = i.Min;
  if (i.ThumbPos > i.Max) i.ThumbPos = i.Max;
  return i;
}

// Positions along the bar: arrows at both ends, the track between.
struct Layout {
  int arrow;       // length of each arrow
  int trackStart;  // first pixel of the track
  int trackLen;
  int thumbStart;  // within the bar
  int thumbLen;    // 0: no thumb (nothing to scroll)
};

Layout layoutOf(SbPtr b) {
  Layout l{};
  int len = lengthOf(b), thick = thicknessOf(b);
  l.arrow = len >= 3 * thick ? thick : len / 3;
  l.trackStart = l.arrow;
  l.trackLen = len - 2 * l.arrow;
  if (l.trackLen < 0) l.trackLen = 0;
  const _SbInfoRec& i = b->Info;
  int64_t range = static_cast<int64_t>(i.Max) - i.Min;
  if (range <= 0 || l.trackLen <= 0) return l;
  int64_t len64 = static_cast<int64_t>(l.trackLen) * i.ThumbSize / (range + i.ThumbSize);
  int minLen = px(20) < l.trackLen ? px(20) : l.trackLen / 2;
  l.thumbLen = static_cast<int>(len64 < minLen ? minLen : len64);
  if (l.thumbLen > l.trackLen) l.thumbLen = l.trackLen;
  int free = l.trackLen - l.thumbLen;
  l.thumbStart = l.trackStart + static_cast<int>(free * (static_cast<int64_t>(i.ThumbPos) - i.Min) / range);
  return l;
}

_Rect16Rec along(SbPtr b, int start, int len) {
  return vertical(b) ? RECT16_Make(0, start, thicknessOf(b), len) : RECT16_Make(start, 0, len, thicknessOf(b));
}

void inval(SbPtr b) {
  if (WGT_Res(W(b))->ResInitialized) WGT_Inval(W(b), nullptr);
}

ColorPtr colorOr(VStrPtr name, ColorPtr fallback) {
  ColorPtr c = COLOR_LoadByText(name);
  return c ? c : fallback;
}

// A chevron pointing up (or left) for arrow 1, down (or right) for arrow 2.
void drawArrow(DrawPtr d, SbPtr b, const _Rect16Rec& r, bool first, ColorPtr color) {
  int cx = r.Origin.X + r.Extent.X / 2, cy = r.Origin.Y + r.Extent.Y / 2;
  int s = (r.Extent.X < r.Extent.Y ? r.Extent.X : r.Extent.Y) / 5;
  if (s < 2) return;
  int dir = first ? -1 : 1;
  _Point16Rec pts[3];
  if (vertical(b)) {
    pts[0] = {static_cast<int16_t>(cx - s), static_cast<int16_t>(cy - dir * s / 2)};
    pts[1] = {static_cast<int16_t>(cx), static_cast<int16_t>(cy + dir * s / 2)};
    pts[2] = {static_cast<int16_t>(cx + s), static_cast<int16_t>(cy - dir * s / 2)};
  } else {
    pts[0] = {static_cast<int16_t>(cx - dir * s / 2), static_cast<int16_t>(cy - s)};
    pts[1] = {static_cast<int16_t>(cx + dir * s / 2), static_cast<int16_t>(cy)};
    pts[2] = {static_cast<int16_t>(cx - dir * s / 2), static_cast<int16_t>(cy + s)};
  }
  PenPtr pen = PEN_New(px(2) < 2 ? 2 : px(2), PEN_STYLESOLID);
  DRAW_Lines(d, pts, 3, color, pen);
  PEN_Dispose(pen);
}

void S_Redraw(SbPtr b) {
  WgtPtr w = W(b);
  DrawPtr d = WGT_BeginDraw(w);
  Layout l = layoutOf(b);
  bool enabled = WGT_IsEnabled(w);
  ColorPtr track = colorOr(b->BodyColor, COLOR_LoadByText("#eef0f3"));
  _Rect16Rec all = RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y);
  DRAW_FillRect(d, all, track);
  // A bar of a scrolling area has a line on the side that faces the
  // content; a bar on its own a frame.
  if (SAreaOwned(b)) {
    if (vertical(b)) DRAW_Line(d, 0, 0, 0, w->Box.Extent.Y - 1, COLOR_LightGray(), PEN_Solid());
    else DRAW_Line(d, 0, 0, w->Box.Extent.X - 1, 0, COLOR_LightGray(), PEN_Solid());
  } else {
    DRAW_FrameRect(d, all, WGT_HasFocus(w, 1) ? COLOR_Accent() : COLOR_LightGray(), PEN_Solid());
  }
  for (int part = SB_PARTARROW1; part <= SB_PARTARROW2; part++) {
    _Rect16Rec r = SB_QueryPartRect(b, part);
    if (b->PressedPart == part) DRAW_FillRect(d, RECT16_Inset(r, 1), COLOR_Pressed());
    ColorPtr c = !enabled || l.thumbLen == 0 ? COLOR_DisabledText()
                 : b->PressedPart == part    ? COLOR_Accent()
                                             : COLOR_DarkGray();
    drawArrow(d, b, r, part == SB_PARTARROW1, c);
  }
  if (l.thumbLen > 0 && enabled) {
    ColorPtr thumb = colorOr(b->ThumbColor, COLOR_LoadByText("#c5cad3"));
    if (b->PressedPart == SB_PARTTHUMB) thumb = COLOR_Gray();
    else if (b->HotPart == SB_PARTTHUMB) thumb = COLOR_LoadByText("#a9afba");
    int inset = thicknessOf(b) / 4;
    _Rect16Rec r = SB_QueryPartRect(b, SB_PARTTHUMB);
    r = vertical(b) ? RECT16_Make(r.Origin.X + inset, r.Origin.Y + 1, r.Extent.X - 2 * inset, r.Extent.Y - 2)
                    : RECT16_Make(r.Origin.X + 1, r.Origin.Y + inset, r.Extent.X - 2, r.Extent.Y - 2 * inset);
    DRAW_FillRect(d, r, thumb);
  }
  WGT_EndDraw(d);
}

// A position chosen by the user: kept in range, shown and told.
void userMove(SbPtr b, int64_t pos) {
  if (pos < b->Info.Min) pos = b->Info.Min;
  if (pos > b->Info.Max) pos = b->Info.Max;
  if (pos == b->Info.ThumbPos) return;
  b->Info.ThumbPos = static_cast<Int32>(pos);
  inval(b);
  WGT_Send(W(b), SB_NFYTHUMBPOS);
}

int64_t pageOf(SbPtr b) {
  int64_t page = b->Info.ThumbSize > 0 ? b->Info.ThumbSize : b->Info.Step;
  return page > 0 ? page : 1;
}

// The step of a held part; false when the part has nothing more to do (the
// thumb has reached the pointer).
bool stepPart(SbPtr b, Int part, int along) {
  const _SbInfoRec& i = b->Info;
  int64_t step = i.Step > 0 ? i.Step : 1;
  Layout l = layoutOf(b);
  switch (part) {
    case SB_PARTARROW1:
      userMove(b, static_cast<int64_t>(i.ThumbPos) - step);
      return true;
    case SB_PARTARROW2:
      userMove(b, static_cast<int64_t>(i.ThumbPos) + step);
      return true;
    case SB_PARTBODY1:
      if (along >= l.thumbStart) return false;
      userMove(b, static_cast<int64_t>(i.ThumbPos) - pageOf(b));
      return true;
    case SB_PARTBODY2:
      if (along < l.thumbStart + l.thumbLen) return false;
      userMove(b, static_cast<int64_t>(i.ThumbPos) + pageOf(b));
      return true;
    default:
      return false;
  }
}

int alongOf(SbPtr b, const _Point16Rec& loc) { return vertical(b) ? loc.Y : loc.X; }

void setPressed(SbPtr b, Int part) {
  if (b->PressedPart == part) return;
  b->PressedPart = part;
  inval(b);
}

// Arrows and body: a step now, then one each time the repetition delay
// runs out while the part is held and the pointer is on it.
void trackRepeat(SbPtr b, Int part) {
  WgtPtr w = W(b);
  EventTrackDelayRec saved;
  EVENT_QueryTrackDelay(&saved);
  bool hadDelay = saved.Delay0 > 0 || saved.Delay1 > 0;
  if (!hadDelay) EVENT_SetDefTrackDelay();
  _Point16Rec loc;
  EVENT_QueryWgtLoc(w, &loc);
  setPressed(b, part);
  stepPart(b, part, alongOf(b, loc));
  EVENT_TrackDownBegin(w);
  while (EVENT_TrackDown(w)) {
    // A repetition step (an alarm) carries no location: the last one holds.
    bool repeat = EVENT_GetCurEventType() == EVENT_TYPEALARM;
    if (!repeat) EVENT_QueryWgtLoc(w, &loc);
    Int under = SB_QueryPart(b, loc.X, loc.Y);
    bool onIt = under == part || (part == SB_PARTBODY1 || part == SB_PARTBODY2
                                      ? (under == SB_PARTBODY1 || under == SB_PARTBODY2)
                                      : false);
    setPressed(b, onIt ? part : SB_PARTNONE);
    if (repeat && onIt) stepPart(b, part, alongOf(b, loc));
  }
  EVENT_TrackDownEnd(w);
  if (hadDelay) EVENT_SetTrackDelay(&saved);
  else EVENT_SetTrackDelay(nullptr);
  setPressed(b, SB_PARTNONE);
}

// The thumb follows the pointer; the end of the drag is accepted.
void trackThumb(SbPtr b) {
  WgtPtr w = W(b);
  EventTrackDelayRec saved;
  EVENT_QueryTrackDelay(&saved);
  bool hadDelay = saved.Delay0 > 0 || saved.Delay1 > 0;
  EVENT_SetTrackDelay(nullptr);
  _Point16Rec loc;
  EVENT_QueryWgtLoc(w, &loc);
  Layout l = layoutOf(b);
  int grab = alongOf(b, loc) - l.thumbStart;
  setPressed(b, SB_PARTTHUMB);
  EVENT_TrackDownBegin(w);
  while (EVENT_TrackDown(w)) {
    if (EVENT_GetCurEventType() != EVENT_TYPEMOUSEMOVE) continue;
    EVENT_QueryWgtLoc(w, &loc);
    l = layoutOf(b);
    int free = l.trackLen - l.thumbLen;
    if (free <= 0) continue;
    int64_t range = static_cast<int64_t>(b->Info.Max) - b->Info.Min;
    int64_t offset = alongOf(b, loc) - grab - l.trackStart;
    // Rounded to the nearest position.
    int64_t pos = b->Info.Min + (offset * range + (offset >= 0 ? free / 2 : -free / 2)) / free;
    userMove(b, pos);
  }
  EVENT_TrackDownEnd(w);
  if (hadDelay) EVENT_SetTrackDelay(&saved);
  setPressed(b, SB_PARTNONE);
  WGT_Send(w, SB_NFYACCEPT);
}

void S_Propose(SbPtr b) {
  WgtPtr w = W(b);
  if (!WGT_CanProcessEvent(w)) {
    WGT_Send(w, WGT_NFYCANTPROCESSEVENT);
    return;
  }
  _Point16Rec loc;
  EVENT_QueryWgtLoc(w, &loc);
  Int part = SB_QueryPart(b, loc.X, loc.Y);
  if (part == SB_PARTNONE || layoutOf(b).thumbLen == 0) return;
  // The owner may end the bar from its notification: it lives until the
  // track is over.
  RES_Use(WGT_Res(w));
  if (part == SB_PARTTHUMB) trackThumb(b);
  else trackRepeat(b, part);
  RES_Release(WGT_Res(w));
}

void S_KeyChar(SbPtr b) {
  const _SbInfoRec& i = b->Info;
  int64_t step = i.Step > 0 ? i.Step : 1;
  int64_t pos = i.ThumbPos;
  bool v = vertical(b);
  switch (EVENT_GetKeyCode()) {
    case EVENT_KEYUP: if (!v) return; pos -= step; break;
    case EVENT_KEYDOWN: if (!v) return; pos += step; break;
    case EVENT_KEYLEFT: if (v) return; pos -= step; break;
    case EVENT_KEYRIGHT: if (v) return; pos += step; break;
    case EVENT_KEYPREVPAGE: pos -= pageOf(b); break;
    case EVENT_KEYNEXTPAGE: pos += pageOf(b); break;
    case EVENT_KEYHOME: pos = i.Min; break;
    case EVENT_KEYEND: pos = i.Max; break;
    default: return;
  }
  WGT_KeyHandled(W(b));
  userMove(b, pos);
}

void setHot(SbPtr b, Int part) {
  if (b->HotPart == part) return;
  b->HotPart = part;
  inval(b);
}

}  // namespace

RClasPtr SB_Class() { return sSb; }

void SB_InstallClass() {
  WGT_InstallClass();
  sSb = WgtRegisterClass("Sb", "Sb", WGT_Class(), sSbFields, static_cast<Int>(sizeof(_SbObj)), nullptr, nullptr,
                         SB_DefNfy);
}

void SB_InitClass() {}

SbPtr SB_Create() { return reinterpret_cast<SbPtr>(RES_Create(sSb)); }

BoolEnum SB_IsSb(WgtPtr wgt) { return wgt && sSb && RCLAS_IsSubClassOf(WGT_Res(wgt)->ResClass, sSb); }

long SB_DefNfy(ResPtr res, Int message, ClientPtr data) {
  SbPtr b = reinterpret_cast<SbPtr>(res);
  WgtPtr w = W(b);
  switch (message) {
    case WGT_NFYINIT:
      WGT_DefInit(w);
      b->Info = normalized(b->Info);
      return 0;
    case WGT_NFYREDRAW:
      S_Redraw(b);
      return 0;
    case WGT_NFYMOUSECLICK:
      if (EVENT_GetButton() == EVENT_BUT1) {
        WGT_MouseHandled(w);
        if (w->WgtFlags & (WGT_FLAGTABSTOP | WGT_FLAGGROUP)) WGT_GainFocus(w);
        WGT_Send(w, SB_NFYPROPOSE);
        return 0;
      }
      return WGT_DefNfy(res, message, data);
    case WGT_NFYMOUSEMOVE: {
      WGT_MouseHandled(w);
      _Point16Rec loc;
      EVENT_QueryWgtLoc(w, &loc);
      setHot(b, SB_QueryPart(b, loc.X, loc.Y));
      return 0;
    }
    case WGT_NFYMOUSEOUT:
      setHot(b, SB_PARTNONE);
      return WGT_DefNfy(res, message, data);
    case SB_NFYPROPOSE:
      S_Propose(b);
      return 0;
    case WGT_NFYKEYCHAR:
      S_KeyChar(b);
      return 0;
    case WGT_NFYENABLE:
    case WGT_NFYDISABLE:
    case WGT_NFYRESIZE:
      inval(b);
      return WGT_DefNfy(res, message, data);
    case SB_NFYTHUMBPOS:
    case SB_NFYACCEPT:
      return 0;
    default:
      return WGT_DefNfy(res, message, data);
  }
}

void SB_SetInfo(SbPtr bar, const _SbInfoRec* info) {
  if (!bar || !info) return;
  _SbInfoRec n = normalized(*info);
  _SbInfoRec& i = bar->Info;
  if (n.Min == i.Min && n.Max == i.Max && n.ThumbSize == i.ThumbSize) {
    i.Step = n.Step;
    SB_SetThumbPos(bar, n.ThumbPos);
    return;
  }
  i = n;
  inval(bar);
}

void SB_QueryInfo(SbPtr bar, _SbInfoRec* info) {
  if (bar && info) *info = bar->Info;
}

void SB_SetThumbPos(SbPtr bar, Int32 pos) {
  if (!bar) return;
  if (pos < bar->Info.Min) pos = bar->Info.Min;
  if (pos > bar->Info.Max) pos = bar->Info.Max;
  if (pos == bar->Info.ThumbPos) return;
  bar->Info.ThumbPos = pos;
  inval(bar);
}

Int32 SB_GetThumbPos(SbPtr bar) { return bar ? bar->Info.ThumbPos : 0; }

BoolEnum SB_IsVertical(SbPtr bar) { return bar && vertical(bar); }

_Rect16Rec SB_QueryPartRect(SbPtr bar, Int part) {
  Layout l = layoutOf(bar);
  int len = lengthOf(bar);
  switch (part) {
    case SB_PARTARROW1: return along(bar, 0, l.arrow);
    case SB_PARTARROW2: return along(bar, len - l.arrow, l.arrow);
    case SB_PARTTHUMB: return l.thumbLen ? along(bar, l.thumbStart, l.thumbLen) : RECT16_Make(0, 0, 0, 0);
    case SB_PARTBODY1:
      return l.thumbLen ? along(bar, l.trackStart, l.thumbStart - l.trackStart) : RECT16_Make(0, 0, 0, 0);
    case SB_PARTBODY2:
      return l.thumbLen ? along(bar, l.thumbStart + l.thumbLen, l.trackStart + l.trackLen - l.thumbStart - l.thumbLen)
                        : RECT16_Make(0, 0, 0, 0);
    default: return RECT16_Make(0, 0, 0, 0);
  }
}

Int SB_QueryPart(SbPtr bar, Int x, Int y) {
  if (!bar) return SB_PARTNONE;
  for (Int part : {SB_PARTARROW1, SB_PARTARROW2, SB_PARTTHUMB, SB_PARTBODY1, SB_PARTBODY2})
    if (RECT16_Contains(SB_QueryPartRect(bar, part), x, y)) return part;
  return SB_PARTNONE;
}

Int SB_GetThickness() { return px(14); }
