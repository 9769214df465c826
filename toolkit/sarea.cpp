// Scrolling areas: layout of headings, body and bars, the scroll position,
// the bars' and the wheel's scrolling, and the drawing of the parts.
#include "toolkit/sarea.h"

#include <cstdint>

#include "toolkit/dsply.h"
#include "toolkit/pfld.h"

namespace {

#define SAREA_FIELD(name, member, type, kind) PFLD_MEMBER(_SAreaObj, name, member, type, kind)

_PFldRec sSAreaFields[] = {SAREA_FIELD("HVFlags", HVFlags, PFLD_UINT16, PFLD_KINDVALUE),
                           SAREA_FIELD("HeadSep", HeadSep, PFLD_INT16, PFLD_KINDVALUE),
                           SAREA_FIELD("SbSep", SbSep, PFLD_INT16, PFLD_KINDVALUE),
                           {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sSArea = nullptr;

int px(int n) { return n * DSPLY_GetScreenDpi() / 96; }
WgtPtr W(SAreaPtr a) { return SAREA_Wgt(a); }
bool initialized(SAreaPtr a) { return WGT_Res(W(a))->ResInitialized; }

Int32 clamp32(int64_t v, int64_t lo, int64_t hi) { return static_cast<Int32>(v < lo ? lo : v > hi ? hi : v); }

Int32 maxScrollX(SAreaPtr a) {
  int64_t m = static_cast<int64_t>(a->DocBox.W) - a->ViewBox.Extent.X;
  return m > 0 ? static_cast<Int32>(m) : 0;
}
Int32 maxScrollY(SAreaPtr a) {
  int64_t m = static_cast<int64_t>(a->DocBox.H) - a->ViewBox.Extent.Y;
  return m > 0 ? static_cast<Int32>(m) : 0;
}

// A bar of the area tells its moves to the area.
long S_BarNfy(ResPtr res, Int message, ClientPtr data) {
  SbPtr bar = reinterpret_cast<SbPtr>(res);
  SAreaPtr a = static_cast<SAreaPtr>(res->ClientData);
  if (message == SB_NFYTHUMBPOS && a) {
    if (bar == a->HSb) SAREA_ScrollTo(a, SB_GetThumbPos(bar), a->DocBox.Y);
    else SAREA_ScrollTo(a, a->DocBox.X, SB_GetThumbPos(bar));
    return 0;
  }
  return SB_DefNfy(res, message, data);
}

SbPtr newBar(SAreaPtr a) {
  SbPtr bar = SB_Create();
  RES_SetNfyProcDS(WGT_Res(SB_Wgt(bar)), S_BarNfy, a);
  SB_Wgt(bar)->Invisible = 1;
  SB_Wgt(bar)->Panel = reinterpret_cast<PanelPtr>(a);
  return bar;
}

void S_SAreaConstruct(ResPtr res, ResConstructPtr params) {
  if (params->Mode == RES_MODECOPY) return;
  SAreaPtr a = reinterpret_cast<SAreaPtr>(res);
  a->HSb = newBar(a);
  a->VSb = newBar(a);
  a->Panel.CompoWgts = ARRAY_New(static_cast<Int>(sizeof(void*)), 2);
  ARRAY_AddPtr(a->Panel.CompoWgts, a->HSb);
  ARRAY_AddPtr(a->Panel.CompoWgts, a->VSb);
  a->DocBox = _SAreaDocRec{0, 0, 0, 0};
}

void S_SAreaDestruct(ResPtr res) {
  SAreaPtr a = reinterpret_cast<SAreaPtr>(res);
  if (res->ResInitialized) WGT_Send(W(a), WGT_NFYEND);
  for (SbPtr* bar : {&a->HSb, &a->VSb}) {
    if (!*bar) continue;
    ResPtr r = WGT_Res(SB_Wgt(*bar));
    r->ClientData = nullptr;
    if (r->ResInitialized) WGT_Send(SB_Wgt(*bar), WGT_NFYEND);
    RES_Release(r);
    *bar = nullptr;
  }
  ARRAY_Dispose(a->Panel.CompoWgts);
  a->Panel.CompoWgts = nullptr;
}

void setBarVisible(SbPtr bar, bool visible) {
  WgtPtr w = SB_Wgt(bar);
  if (visible == !w->Invisible) return;
  w->Invisible = visible ? 0 : 1;
}

void S_Init(SAreaPtr a) {
  PanelDefInit(reinterpret_cast<PanelPtr>(a));
  if (a->StepX <= 0) a->StepX = px(20);
  if (a->StepY <= 0) a->StepY = px(20);
  for (SbPtr bar : {a->HSb, a->VSb}) {
    WgtPtr b = SB_Wgt(bar);
    b->Panel = reinterpret_cast<PanelPtr>(a);
    b->Win = W(a)->Win;
    if (!WGT_Res(b)->ResInitialized) WGT_Send(b, WGT_NFYINIT);
  }
  SAreaLayout(a);
}

void S_End(SAreaPtr a) {
  for (SbPtr bar : {a->HSb, a->VSb})
    if (bar && WGT_Res(SB_Wgt(bar))->ResInitialized) WGT_Send(SB_Wgt(bar), WGT_NFYEND);
  PANEL_DefNfy(WGT_Res(W(a)), WGT_NFYEND, nullptr);
}

_Rect16Rec partRect(SAreaPtr a, Int part) {
  const _Rect16Rec& v = a->ViewBox;
  const _Rect16Rec& k = a->WorkBox;
  int hx = v.Origin.X - k.Origin.X, hy = v.Origin.Y - k.Origin.Y;
  switch (part) {
    case SAREA_PARTBODY: return v;
    case SAREA_PARTTOPHEAD: return RECT16_Make(v.Origin.X, k.Origin.Y, v.Extent.X, hy);
    case SAREA_PARTLEFTHEAD: return RECT16_Make(k.Origin.X, v.Origin.Y, hx, v.Extent.Y);
    case SAREA_PARTCORNER: return RECT16_Make(k.Origin.X, k.Origin.Y, hx, hy);
    default: return RECT16_Make(0, 0, 0, 0);
  }
}

void S_Redraw(SAreaPtr a) {
  WgtPtr w = W(a);
  DrawPtr d = WGT_BeginDraw(w);
  _Rect16Rec all = RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y);
  DRAW_FillRect(d, all, WGT_GetBgColor(w));
  // The frame shows the focus in the accent colour.
  if (a->HVFlags & SAREA_BORDER)
    DRAW_FrameRect(d, all, WGT_HasFocus(w, 1) ? COLOR_Accent() : COLOR_Border(), PEN_Solid());
  WGT_EndDraw(d);
  for (Int part = SAREA_PARTBODY; part <= SAREA_PARTCORNER; part++) {
    _Rect16Rec r = partRect(a, part);
    if (RECT16_IsEmpty(r)) continue;
    DrawPtr pd = WGT_BeginDraw(w);
    DRAW_ClipRect(pd, r);
    _SAreaDrawRec rec{pd, part, r};
    WGT_Send(w, SAREA_NFYDRAWPART, &rec);
    WGT_EndDraw(pd);
  }
  SAreaDrawBars(a);
}

void S_Wheel(SAreaPtr a, Int wheel) {
  WGT_MouseHandled(W(a));
  Int32 step = 3 * (wheel == EVENT_WHEELUP || wheel == EVENT_WHEELDOWN ? a->StepY : a->StepX);
  switch (wheel) {
    case EVENT_WHEELUP: SAREA_ScrollBy(a, 0, -step); break;
    case EVENT_WHEELDOWN: SAREA_ScrollBy(a, 0, step); break;
    case EVENT_WHEELLEFT: SAREA_ScrollBy(a, -step, 0); break;
    case EVENT_WHEELRIGHT: SAREA_ScrollBy(a, step, 0); break;
    default: break;
  }
}

void S_KeyChar(SAreaPtr a) {
  const _Rect16Rec& v = a->ViewBox;
  switch (EVENT_GetKeyCode()) {
    case EVENT_KEYUP: SAREA_ScrollBy(a, 0, -a->StepY); break;
    case EVENT_KEYDOWN: SAREA_ScrollBy(a, 0, a->StepY); break;
    case EVENT_KEYLEFT: SAREA_ScrollBy(a, -a->StepX, 0); break;
    case EVENT_KEYRIGHT: SAREA_ScrollBy(a, a->StepX, 0); break;
    case EVENT_KEYPREVPAGE: SAREA_ScrollBy(a, 0, -v.Extent.Y); break;
    case EVENT_KEYNEXTPAGE: SAREA_ScrollBy(a, 0, v.Extent.Y); break;
    case EVENT_KEYHOME: SAREA_ScrollTo(a, 0, 0); break;
    case EVENT_KEYEND: SAREA_ScrollTo(a, 0, a->DocBox.H); break;
    default: return;
  }
  WGT_KeyHandled(W(a));
}

void updateBars(SAreaPtr a) {
  _SbInfoRec h{0, maxScrollX(a), a->ViewBox.Extent.X, a->DocBox.X, a->StepX};
  _SbInfoRec v{0, maxScrollY(a), a->ViewBox.Extent.Y, a->DocBox.Y, a->StepY};
  SB_SetInfo(a->HSb, &h);
  SB_SetInfo(a->VSb, &v);
}

}  // namespace

RClasPtr SAREA_Class() { return sSArea; }

void SAREA_InstallClass() {
  PANEL_InstallClass();
  SB_InstallClass();
  sSArea = WgtRegisterClass("SArea", "SArea", PANEL_Class(), sSAreaFields, static_cast<Int>(sizeof(_SAreaObj)),
                            S_SAreaConstruct, S_SAreaDestruct, SAREA_DefNfy);
}

void SAREA_InitClass() {}

SAreaPtr SAREA_Create() { return reinterpret_cast<SAreaPtr>(RES_Create(sSArea)); }

BoolEnum SAREA_IsSArea(WgtPtr wgt) { return wgt && sSArea && RCLAS_IsSubClassOf(WGT_Res(wgt)->ResClass, sSArea); }

long SAREA_DefNfy(ResPtr res, Int message, ClientPtr data) {
  SAreaPtr a = reinterpret_cast<SAreaPtr>(res);
  WgtPtr w = W(a);
  switch (message) {
    case WGT_NFYINIT:
      S_Init(a);
      return 0;
    case WGT_NFYEND:
      S_End(a);
      return 0;
    case WGT_NFYREDRAW:
      S_Redraw(a);
      return 0;
    case WGT_NFYRESIZE:
      PANEL_DefNfy(res, message, data);
      SAreaLayout(a);
      return 0;
    case WGT_NFYMOUSECLICK: {
      // The bars first.  A bar's press tracks the mouse through the loop,
      // whose events clear the handled mark, so the mark is set again for
      // the subclass that looks at it afterwards.
      _Point16Rec loc;
      EVENT_QueryWgtLoc(w, &loc);
      bool onBar = false;
      for (SbPtr bar : {a->HSb, a->VSb})
        onBar = onBar || (!SB_Wgt(bar)->Invisible && RECT16_Contains(SB_Wgt(bar)->Box, loc.X, loc.Y));
      PANEL_DefMouseClick(reinterpret_cast<PanelPtr>(a));
      if (onBar) WGT_MouseHandled(w);
      else if (!WGT_IsMouseHandled() && EVENT_GetWheel()) S_Wheel(a, EVENT_GetWheel());
      return 0;
    }
    case WGT_NFYKEYCHAR:
      S_KeyChar(a);
      return 0;
    case SAREA_NFYDRAWPART:
    case SAREA_NFYSCROLLED:
    case SAREA_NFYLAYOUT:
      return 0;
    case WGT_NFYENABLE:
    case WGT_NFYDISABLE:
      if (initialized(a)) WGT_Inval(w, nullptr);
      return PANEL_DefNfy(res, message, data);
    case WGT_NFYFOCUSGAINED:
    case WGT_NFYFOCUSLOST:
    case WGT_NFYACTIVATE:
    case WGT_NFYDEACTIVATE:
      if (initialized(a) && (a->HVFlags & SAREA_BORDER)) {
        // Only the frame changes.
        _Rect16Rec all = RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y);
        _Rect16Rec edges[4] = {RECT16_Make(0, 0, all.Extent.X, 1), RECT16_Make(0, all.Extent.Y - 1, all.Extent.X, 1),
                               RECT16_Make(0, 0, 1, all.Extent.Y), RECT16_Make(all.Extent.X - 1, 0, 1, all.Extent.Y)};
        for (const _Rect16Rec& e : edges) WGT_Inval(w, &e);
      }
      return PANEL_DefNfy(res, message, data);
    default:
      return PANEL_DefNfy(res, message, data);
  }
}

void SAreaLayout(SAreaPtr a) {
  if (!a) return;
  WgtPtr w = W(a);
  int frame = (a->HVFlags & SAREA_BORDER) ? 1 : 0;
  _Rect16Rec whole = RECT16_IsEmpty(a->AreaBox) ? RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y) : a->AreaBox;
  _Rect16Rec inner = RECT16_Inset(whole, frame);
  int hx = a->HeadExt.X < 0 ? 0 : a->HeadExt.X, hy = a->HeadExt.Y < 0 ? 0 : a->HeadExt.Y;
  if (hx > inner.Extent.X) hx = inner.Extent.X;
  if (hy > inner.Extent.Y) hy = inner.Extent.Y;
  int t = SB_GetThickness();
  int sep = a->SbSep < 0 ? 0 : a->SbSep;
  int availW = inner.Extent.X - hx, availH = inner.Extent.Y - hy;
  bool needV = (a->HVFlags & SAREA_VSBALWAYS) || ((a->HVFlags & SAREA_VSB) && a->DocBox.H > availH);
  bool needH = (a->HVFlags & SAREA_HSBALWAYS) ||
               ((a->HVFlags & SAREA_HSB) && a->DocBox.W > availW - (needV ? t + sep : 0));
  if (!needV && needH && (a->HVFlags & SAREA_VSB) && a->DocBox.H > availH - t - sep) needV = true;
  int viewW = availW - (needV ? t + sep : 0), viewH = availH - (needH ? t + sep : 0);
  if (viewW < 0) viewW = 0;
  if (viewH < 0) viewH = 0;
  a->WorkBox = RECT16_Make(inner.Origin.X, inner.Origin.Y, hx + viewW, hy + viewH);
  a->ViewBox = RECT16_Make(inner.Origin.X + hx, inner.Origin.Y + hy, viewW, viewH);
  int right = inner.Origin.X + inner.Extent.X, bottom = inner.Origin.Y + inner.Extent.Y;
  SB_Wgt(a->VSb)->Box = RECT16_Make(right - t, inner.Origin.Y, t, inner.Extent.Y - (needH ? t : 0));
  SB_Wgt(a->HSb)->Box = RECT16_Make(inner.Origin.X, bottom - t, inner.Extent.X - (needV ? t : 0), t);
  setBarVisible(a->VSb, needV);
  setBarVisible(a->HSb, needH);
  SB_Wgt(a->VSb)->WgtPrivate3 = 0;
  SB_Wgt(a->HSb)->WgtPrivate3 = 0;
  a->DocBox.X = clamp32(a->DocBox.X, 0, maxScrollX(a));
  a->DocBox.Y = clamp32(a->DocBox.Y, 0, maxScrollY(a));
  updateBars(a);
  if (initialized(a)) {
    WGT_Inval(w, nullptr);
    WGT_Send(w, SAREA_NFYLAYOUT);
  }
}

void SAREA_SetDocExt(SAreaPtr area, Int32 width, Int32 height) {
  if (!area) return;
  width = width < 0 ? 0 : width;
  height = height < 0 ? 0 : height;
  if (area->DocBox.W == width && area->DocBox.H == height) return;
  area->DocBox.W = width;
  area->DocBox.H = height;
  SAreaLayout(area);
}

void SAREA_SetHeadExt(SAreaPtr area, Int width, Int height) {
  if (!area) return;
  Int16 w = static_cast<Int16>(width < 0 ? 0 : width > 32767 ? 32767 : width);
  Int16 h = static_cast<Int16>(height < 0 ? 0 : height > 32767 ? 32767 : height);
  if (area->HeadExt.X == w && area->HeadExt.Y == h) return;
  area->HeadExt = _Point16Rec{w, h};
  SAreaLayout(area);
}

void SAREA_SetHVFlags(SAreaPtr area, UInt16 flags) {
  if (!area || area->HVFlags == flags) return;
  area->HVFlags = flags;
  SAreaLayout(area);
}

void SAREA_SetScrollStep(SAreaPtr area, Int32 stepX, Int32 stepY) {
  if (!area) return;
  if (stepX > 0) area->StepX = stepX;
  if (stepY > 0) area->StepY = stepY;
  updateBars(area);
}

void SAREA_SetBgColor(SAreaPtr area, ColorPtr color) {
  if (area) WGT_SetBgColor(W(area), color);
}

void SAREA_ScrollTo(SAreaPtr area, Int32 x, Int32 y) {
  if (!area) return;
  x = clamp32(x, 0, maxScrollX(area));
  y = clamp32(y, 0, maxScrollY(area));
  if (x == area->DocBox.X && y == area->DocBox.Y) return;
  area->DocBox.X = x;
  area->DocBox.Y = y;
  SB_SetThumbPos(area->HSb, x);
  SB_SetThumbPos(area->VSb, y);
  if (initialized(area)) WGT_Inval(W(area), nullptr);
  WGT_Send(W(area), SAREA_NFYSCROLLED);
}

void SAREA_ScrollBy(SAreaPtr area, Int32 dx, Int32 dy) {
  if (!area) return;
  SAREA_ScrollTo(area, clamp32(static_cast<int64_t>(area->DocBox.X) + dx, INT32_MIN, INT32_MAX),
                 clamp32(static_cast<int64_t>(area->DocBox.Y) + dy, INT32_MIN, INT32_MAX));
}

Int32 SAREA_GetScrollX(SAreaPtr area) { return area ? area->DocBox.X : 0; }
Int32 SAREA_GetScrollY(SAreaPtr area) { return area ? area->DocBox.Y : 0; }

void SAREA_MakeVisible(SAreaPtr area, Int32 x, Int32 y, Int32 w, Int32 h) {
  if (!area) return;
  int64_t sx = area->DocBox.X, sy = area->DocBox.Y;
  int64_t vw = area->ViewBox.Extent.X, vh = area->ViewBox.Extent.Y;
  if (static_cast<int64_t>(x) + w > sx + vw) sx = static_cast<int64_t>(x) + w - vw;
  if (x < sx) sx = x;
  if (static_cast<int64_t>(y) + h > sy + vh) sy = static_cast<int64_t>(y) + h - vh;
  if (y < sy) sy = y;
  SAREA_ScrollTo(area, clamp32(sx, 0, INT32_MAX), clamp32(sy, 0, INT32_MAX));
}

_Rect16Rec SAREA_GetViewBox(SAreaPtr area) { return area ? area->ViewBox : RECT16_Make(0, 0, 0, 0); }

Int SAREA_QueryPartOnLoc(SAreaPtr area, Int x, Int y) {
  if (!area) return -1;
  for (Int part = SAREA_PARTBODY; part <= SAREA_PARTCORNER; part++)
    if (RECT16_Contains(partRect(area, part), x, y)) return part;
  return -1;
}

void SAreaDrawBars(SAreaPtr a) {
  if (!a) return;
  WgtPtr w = W(a);
  // The square where two bars meet.
  WgtPtr h = SB_Wgt(a->HSb), v = SB_Wgt(a->VSb);
  if (!h->Invisible && !v->Invisible) {
    DrawPtr cd = WGT_BeginDraw(w);
    DRAW_FillRect(cd, RECT16_Make(v->Box.Origin.X, h->Box.Origin.Y, v->Box.Extent.X, h->Box.Extent.Y), COLOR_Window());
    WGT_EndDraw(cd);
  }
  for (WgtPtr bar : {h, v}) {
    if (bar->Invisible) continue;
    bar->WgtPrivate3 = 0;  // its visible region follows the area's
    WGT_Send(bar, WGT_NFYREDRAW);
  }
}

SbPtr SAREA_GetHSb(SAreaPtr area) { return area ? area->HSb : nullptr; }
SbPtr SAREA_GetVSb(SAreaPtr area) { return area ? area->VSb : nullptr; }
