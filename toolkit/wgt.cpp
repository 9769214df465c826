// The widget base class: attributes, geometry, visibility, enabling, focus,
// mouse and cursor, and the default reaction to every widget message.
#include "toolkit/wgtpub.h"
#include "toolkit/wgtmore.h"

#include <cstddef>
#include <cstring>

#include "toolkit/autom.h"
#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/eventpriv.h"
#include "toolkit/pfld.h"
#include "toolkit/winpub.h"

namespace {

struct GResObj {
  _ResObj Res;
  UInt16 GResFlags;
};

_PFldRec sGResFields[] = {
    {"GResFlags", static_cast<Int>(offsetof(GResObj, GResFlags)), PFLD_UINT16, PFLD_KINDVALUE, 0, -1},
    {nullptr, 0, 0, 0, 0, -1}};

#define WGT_FIELD(name, member, type, kind) PFLD_MEMBER(_WgtObj, name, member, type, kind)

_PFldRec sWgtFields[] = {
    WGT_FIELD("FgColor", FgColorName, PFLD_VSTR, PFLD_KINDVALUE),
    WGT_FIELD("BgColor", BgColorName, PFLD_VSTR, PFLD_KINDVALUE),
    WGT_FIELD("Font", FontName, PFLD_VSTR, PFLD_KINDVALUE),
    WGT_FIELD("Cursor", CursorName, PFLD_VSTR, PFLD_KINDVALUE),
    WGT_FIELD("Help", Help, PFLD_VSTR, PFLD_KINDTEXT),
    WGT_FIELD("Index", Index, PFLD_INT16, PFLD_KINDVALUE),
    WGT_FIELD("X", ResBox.Origin.X, PFLD_INT16, PFLD_KINDGEOMETRY),
    WGT_FIELD("Y", ResBox.Origin.Y, PFLD_INT16, PFLD_KINDGEOMETRY),
    WGT_FIELD("W", ResBox.Extent.X, PFLD_INT16, PFLD_KINDGEOMETRY),
    WGT_FIELD("H", ResBox.Extent.Y, PFLD_INT16, PFLD_KINDGEOMETRY),
    WGT_FIELD("ChrX", ChrResBox.Origin.X, PFLD_INT16, PFLD_KINDGEOMETRY),
    WGT_FIELD("ChrY", ChrResBox.Origin.Y, PFLD_INT16, PFLD_KINDGEOMETRY),
    WGT_FIELD("ChrW", ChrResBox.Extent.X, PFLD_INT16, PFLD_KINDGEOMETRY),
    WGT_FIELD("ChrH", ChrResBox.Extent.Y, PFLD_INT16, PFLD_KINDGEOMETRY),
    WGT_FIELD("RzFlags", RzFlags, PFLD_UINT16, PFLD_KINDVALUE),
    WGT_FIELD("WgtFlags", WgtFlags, PFLD_UINT16, PFLD_KINDVALUE),
    WGT_FIELD("ClientRes", ClientRes, PFLD_RES0, PFLD_KINDVALUE),
    WGT_FIELD("Properties", Properties, PFLD_VSTRARRAY, PFLD_KINDTEXT),
    {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sGRes = nullptr;
RClasPtr sWgt = nullptr;

// The answers of the current event.
struct {
  BoolEnum Mouse, Key, Cursor, GainFocus = 1, LoseFocus = 1;
} sNfyProp;

Int sWaitFrame = 0;

void S_WgtDestruct(ResPtr res) {
  WgtPtr wgt = WGT_FromRes(res);
  EventEndWgtManagement(wgt);
  RGN_Dispose(wgt->VisRgn);
  wgt->VisRgn = nullptr;
}

void S_WgtConstruct(ResPtr res, ResConstructPtr params) {
  if (params->Mode == RES_MODECOPY) return;
  WgtPtr wgt = WGT_FromRes(res);
  // A live object never shares its window links or region with its source.
  wgt->Win = nullptr;
  wgt->Panel = nullptr;
  wgt->VisRgn = nullptr;
  wgt->WgtPrivate3 = 0;
  wgt->NeedsRecal = 0;
}

bool initialized(WgtPtr wgt) { return wgt && wgt->Res.ResInitialized; }

// Invalidates the widget's whole box if it is on an open window.
void S_WgtInval(WgtPtr wgt) {
  if (initialized(wgt) && wgt->Win) WGT_Inval(wgt, nullptr);
}

// The panel loses its focus and mouse links to the widget.
void dropPanelLinks(WgtPtr wgt) {
  PanelPtr panel = wgt->Panel;
  if (!panel) return;
  if (panel->FocusWgt == wgt) {
    panel->FocusWgt = nullptr;
    WGT_Send(wgt, WGT_NFYFOCUSLOST);
  }
  if (panel->MouseWgt == wgt) {
    panel->MouseWgt = nullptr;
    WGT_Send(wgt, WGT_NFYMOUSEOUT);
  }
}

void S_DefMouseIn(WgtPtr wgt) {
  WGT_MouseHandled(wgt);
  if (wgt->Cursor != CURS_Parent()) WGT_UseCursor(wgt, nullptr);
}

Int16 clamp16(double v) {
  if (v > 32767) return 32767;
  if (v < -32768) return -32768;
  return static_cast<Int16>(v);  // cut off toward zero
}

// One axis of the resize table: position p and size s in a parent whose
// extent goes from e to e2.
void S_QueryNewAxis(Int mode, Int16* p, Int16* s, Int16 e, Int16 e2) {
  if (e == e2) return;
  double x = *p, w = *s, W = e, W2 = e2;
  switch (mode) {
    case 0: {
      if (W == 0) return;
      double f = W2 / W;
      Int16 nw = clamp16(w * f);
      if (w > 0 && f > 0 && nw == 0) nw = 1;
      *p = clamp16(x * f);
      *s = nw;
      break;
    }
    case 1: {
      if (W - x == 0) return;
      double f = (W2 - x) / (W - x);
      Int16 nw = clamp16(w * f);
      if (w > 0 && f > 0 && nw == 0) nw = 1;
      *s = nw;
      break;
    }
    case 2: {
      double r = x + w, r2 = r + W2 - W;
      if (r == 0) return;
      Int16 nx = clamp16(x * r2 / r);
      *p = nx;
      *s = clamp16(r2 - nx);
      break;
    }
    case 3:
      *s = clamp16(w + W2 - W);
      break;
    case 4: {
      if (W - w == 0) return;
      double f = (W2 - w) / (W - w);
      *p = clamp16(x * f);
      break;
    }
    case 5:
      break;
    case 6:
      *p = clamp16(x + W2 - W);
      break;
    default:
      break;
  }
}

Int screenDpiOf(WgtPtr wgt, bool vertical) {
  WinPtr win = wgt ? wgt->Win : nullptr;
  if (!win) return 0;
  return vertical ? win->DpiY : win->DpiX;
}

Int16 scale(Int16 v, Int resourceDpi) {
  if (resourceDpi <= 0) return v;
  return clamp16(static_cast<long>(v) * DSPLY_GetScreenDpi() / resourceDpi);
}

Int16 unscale(Int16 v, Int resourceDpi) {
  if (resourceDpi <= 0) return v;
  return clamp16(static_cast<long>(v) * resourceDpi / DSPLY_GetScreenDpi());
}

// What a widget hides of those below it: its box, except for a panel
// with no background of its own, which hides only what its children hide.
void addOccluder(RegionPtr rgn, WgtPtr w) {
  if (!w || w->Invisible) return;
  if (PANEL_IsPanel(w) && !w->BgColor && !PANEL_GetLabel(reinterpret_cast<PanelPtr>(w))[0]) {
    PanelPtr p = reinterpret_cast<PanelPtr>(w);
    for (Int i = 0; i < PANEL_GetNumWgts(p); i++) addOccluder(rgn, PANEL_GetNthWgt(p, i));
    return;
  }
  _Point16Rec o = WGT_QueryWinOrigin(w);
  RGN_UnionRect(rgn, RECT16_Make(o.X, o.Y, w->Box.Extent.X, w->Box.Extent.Y));
}

void markVisStale(WgtPtr wgt) {
  wgt->WgtPrivate3 = 0;
  if (PANEL_IsPanel(wgt)) {
    PanelPtr p = reinterpret_cast<PanelPtr>(wgt);
    for (Int i = 0; i < PANEL_GetNumWgts(p); i++)
      if (WgtPtr c = PANEL_GetNthWgt(p, i)) markVisStale(c);
  }
}

}  // namespace

long WGT_Send(WgtPtr wgt, Int message, ClientPtr data) {
  if (!wgt) return 0;
  ResPtr res = WGT_Res(wgt);
  if (data) return RES_LockedSendNfyData(res, message, data);
  return res->Notify ? res->Notify(res, message, nullptr) : 0;
}

// --- Class ----------------------------------------------------------------------------

RClasPtr GRES_Class() { return sGRes; }
RClasPtr WGT_Class() { return sWgt; }

RClasPtr WgtRegisterClass(const char* name, const char* modName, RClasPtr parent, PFldPtr fields, Int sizeOfRes,
                          RClasConstructCBack construct, RClasDestructCBack destruct, ResNfyCBack defNfy) {
  if (RClasPtr existing = RCLAS_FindByName(name)) return existing;
  RClasPtr cls = RCLAS_CPlusRegister(name, nullptr, nullptr, construct, parent, fields, sizeOfRes);
  cls->ModName = VSTR_New(modName);
  cls->Destruct = destruct;
  if (defNfy) RCLAS_SetDefNfy(cls, defNfy);
  return cls;
}

void GRES_InstallClass() {
  sGRes = WgtRegisterClass("GRes", "Vgm", RES_Class(), sGResFields, static_cast<Int>(sizeof(GResObj)), nullptr,
                           nullptr, nullptr);
}

void WGT_InstallClass() {
  GRES_InstallClass();
  bool made = !RCLAS_FindByName("Wgt");
  sWgt = WgtRegisterClass("Wgt", "Wgt", sGRes, sWgtFields, static_cast<Int>(sizeof(_WgtObj)), S_WgtConstruct,
                          S_WgtDestruct, WGT_DefNfy);
  if (made) sWgt->ClassId = 268;
}

void WGT_InitClass() {}

WgtPtr WGT_Create() { return WGT_FromRes(RES_Create(sWgt)); }

void WGT_DefInit(WgtPtr wgt) {
  ResPtr res = WGT_Res(wgt);
  RES_DefNfy(res, RES_NFYINIT, nullptr);
  if (!wgt->BgColor) wgt->BgColor = COLOR_LoadByText(wgt->BgColorName);
  if (!wgt->FgColor) wgt->FgColor = COLOR_LoadByText(wgt->FgColorName);
  if (!wgt->Pen) wgt->Pen = PEN_Solid();
  if (!wgt->Pattern) wgt->Pattern = PATT_Solid();
  if (!wgt->Font) wgt->Font = FONT_LoadByText(wgt->FontName);
  if (!wgt->Cursor && wgt->CursorName) {
    static const char* kNames[CURS_IDCOUNT] = {"Arrow", "IBeam", "Cross", "Hand", "Move",
                                               "SizeH", "SizeV", "Wait",  "Parent"};
    for (Int i = 0; i < CURS_IDCOUNT; i++)
      if (STR_ICmp(kNames[i], wgt->CursorName) == 0) wgt->Cursor = CURS_LoadById(i);
  }
  if (!wgt->Win && wgt->Panel) wgt->Win = PANEL_Wgt(wgt->Panel)->Win;
  // The box of the look in force; an empty one is derived from the other.
  bool chr = DSPLY_GetLook() == DSPLY_LOOKCHAR;
  _Rect16Rec& used = chr ? wgt->ChrResBox : wgt->ResBox;
  if (used.Extent.X == 0 && used.Extent.Y == 0)
    used = chr ? WGT_GfxToChr(wgt->ResBox) : WGT_ChrToGfx(wgt->ChrResBox);
  WGT_ConvertResBoxToBox(wgt, chr ? WGT_ChrToGfx(used) : used, &wgt->Box);
  wgt->WgtPrivate3 = 0;
  WGT_Send(wgt, WGT_NFYINITPROPERTIES);
}

void WGT_DefEnd(WgtPtr wgt) {
  WGT_Send(wgt, WGT_NFYENDPROPERTIES);
  dropPanelLinks(wgt);
  if (wgt->Win && WIN_GetDefWgt(wgt->Win) == wgt) WIN_SetDefWgt(wgt->Win, nullptr);
  EventEndWgtManagement(wgt);
  RGN_Dispose(wgt->VisRgn);
  wgt->VisRgn = nullptr;
  wgt->WgtPrivate3 = 0;
  RES_DefNfy(WGT_Res(wgt), RES_NFYEND, nullptr);
}

void WGT_DefVisChange(WgtPtr wgt) {
  if (wgt->Invisible) dropPanelLinks(wgt);
}

long WGT_DefNfy(ResPtr res, Int message, ClientPtr data) {
  WgtPtr wgt = WGT_FromRes(res);
  switch (message) {
    case WGT_NFYINIT:
      WGT_DefInit(wgt);
      return 0;
    case WGT_NFYEND:
      WGT_DefEnd(wgt);
      return 0;
    case WGT_NFYRESET:
      WGT_DefReset(wgt);
      return 0;
    case WGT_NFYSETCURSOR:
      WGT_DefSetCursor(wgt);
      return 0;
    case WGT_NFYMOUSEIN:
      S_DefMouseIn(wgt);
      return 0;
    case WGT_NFYVISCHANGE:
      WGT_DefVisChange(wgt);
      return 0;
    case WGT_NFYDISABLE:
      dropPanelLinks(wgt);
      return 0;
    case WGT_NFYREDRAW:
      WGT_DefRedraw(wgt);
      return 0;
    case WGT_NFYQUERYVALIDATE:
      if (data) static_cast<_WgtQueryValidateRec*>(data)->Valid = 1;
      return 0;
    case WGT_NFYPROPOSELOSEFOCUS:
      WGT_SetLoseFocusAccepted(1);
      return 0;
    case WGT_NFYGAINFOCUS:
      WGT_SetGainFocusAccepted(1);
      return 0;
    default:
      return RES_DefNfy(res, message, data);
  }
}

void WGT_DefReset(WgtPtr wgt) {
  if (!initialized(wgt)) return;
  WGT_Send(wgt, WGT_NFYEND);
  WGT_Send(wgt, WGT_NFYINIT);
}

void WGT_DefSetCursor(WgtPtr wgt) {
  if (!wgt) return;
  WGT_UseCursor(wgt, nullptr);
  WGT_CursorHandled(wgt);
}

// The plain widget paints its background colour, if it has one.
void WGT_DefRedraw(WgtPtr wgt) {
  if (!wgt || !wgt->BgColor) return;
  DrawPtr d = WGT_BeginDraw(wgt);
  DRAW_FillRect(d, RECT16_Make(0, 0, wgt->Box.Extent.X, wgt->Box.Extent.Y), wgt->BgColor);
  WGT_EndDraw(d);
}

void WgtSendNfyKey(WgtPtr wgt) {
  EventPtr ev = EVENT_GetCurEvent();
  sNfyProp.Key = 0;
  WGT_Send(wgt, WGT_NFYKEYACCEL, ev);
  if (sNfyProp.Key) return;
  WGT_Send(wgt, WGT_NFYKEYCIRC, ev);
  if (sNfyProp.Key) return;
  WGT_Send(wgt, WGT_NFYKEYCHAR, ev);
}

// --- Attributes ------------------------------------------------------------------------

namespace {
template <class T>
void setAttribute(WgtPtr wgt, T*& field, T* value) {
  if (!wgt || field == value) return;
  field = value;
  S_WgtInval(wgt);
}
}  // namespace

void WGT_SetBgColor(WgtPtr wgt, ColorPtr color) {
  if (!wgt || COLOR_Equal(wgt->BgColor, color)) return;
  setAttribute(wgt, wgt->BgColor, color);
  WGT_VisRgnInvalBelow(wgt);
}
void WGT_SetFgColor(WgtPtr wgt, ColorPtr color) {
  if (!wgt || COLOR_Equal(wgt->FgColor, color)) return;
  setAttribute(wgt, wgt->FgColor, color);
}
void WGT_SetFont(WgtPtr wgt, FontPtr font) {
  if (!wgt || FONT_Equal(wgt->Font, font)) return;
  setAttribute(wgt, wgt->Font, font);
}
void WGT_SetPen(WgtPtr wgt, PenPtr pen) { setAttribute(wgt, wgt->Pen, pen); }
void WGT_SetPattern(WgtPtr wgt, PattPtr pattern) { setAttribute(wgt, wgt->Pattern, pattern); }
void WGT_SetCursor(WgtPtr wgt, CursPtr cursor) {
  if (!wgt || wgt->Cursor == cursor) return;
  wgt->Cursor = cursor;
  EventCursorChanged();
}
void WGT_SetHelpStr(WgtPtr wgt, const char* text) {
  if (wgt) VSTR_Set(&wgt->Help, text);
}

ColorPtr WGT_GetFgColor(WgtPtr wgt) {
  for (WgtPtr w = wgt; w; w = w->Panel ? PANEL_Wgt(w->Panel) : nullptr)
    if (w->FgColor) return w->FgColor;
  return COLOR_Text();
}
ColorPtr WGT_GetBgColor(WgtPtr wgt) {
  for (WgtPtr w = wgt; w; w = w->Panel ? PANEL_Wgt(w->Panel) : nullptr)
    if (w->BgColor) return w->BgColor;
  return COLOR_Window();
}
FontPtr WGT_GetFont(WgtPtr wgt) {
  for (WgtPtr w = wgt; w; w = w->Panel ? PANEL_Wgt(w->Panel) : nullptr)
    if (w->Font) return w->Font;
  return FONT_Default();
}

// --- Geometry ----------------------------------------------------------------------------

_Rect16Rec WGT_ChrToGfx(const _Rect16Rec& c) {
  return RECT16_Make(c.Origin.X * 8, c.Origin.Y * 20, c.Extent.X * 8, c.Extent.Y * 20);
}

_Rect16Rec WGT_GfxToChr(const _Rect16Rec& g) {
  return RECT16_Make((g.Origin.X + 4) / 8, (g.Origin.Y + 10) / 20, (g.Extent.X + 4) / 8, (g.Extent.Y + 10) / 20);
}

Int16 WGT_ScaleX16(WgtPtr wgt, Int16 x) { return scale(x, screenDpiOf(wgt, false)); }
Int16 WGT_ScaleY16(WgtPtr wgt, Int16 y) { return scale(y, screenDpiOf(wgt, true)); }
Int16 WGT_UnscaleX16(WgtPtr wgt, Int16 x) { return unscale(x, screenDpiOf(wgt, false)); }
Int16 WGT_UnscaleY16(WgtPtr wgt, Int16 y) { return unscale(y, screenDpiOf(wgt, true)); }

void WGT_ScalePoint16(WgtPtr wgt, _Point16Rec* p) {
  p->X = WGT_ScaleX16(wgt, p->X);
  p->Y = WGT_ScaleY16(wgt, p->Y);
}

void WGT_UnscalePoint16(WgtPtr wgt, _Point16Rec* p) {
  p->X = WGT_UnscaleX16(wgt, p->X);
  p->Y = WGT_UnscaleY16(wgt, p->Y);
}

void WGT_UnscaleRect16(WgtPtr wgt, _Rect16Rec* r) {
  WGT_UnscalePoint16(wgt, &r->Origin);
  WGT_UnscalePoint16(wgt, &r->Extent);
}

void WGT_ScaleRect16(WgtPtr wgt, _Rect16Rec* r) {
  WGT_ScalePoint16(wgt, &r->Origin);
  WGT_ScalePoint16(wgt, &r->Extent);
}

void WGT_ConvertResBoxToBox(WgtPtr wgt, const _Rect16Rec& resBox, _Rect16Rec* box) {
  *box = resBox;
  WGT_ScaleRect16(wgt, box);
}

void WGT_ConvertBoxToResBox(WgtPtr wgt, const _Rect16Rec& box, _Rect16Rec* resBox) {
  *resBox = box;
  WGT_UnscaleRect16(wgt, resBox);
}

void WGT_GetResBox(WgtPtr wgt, _Rect16Rec* box) {
  if (wgt && box) *box = DSPLY_GetLook() == DSPLY_LOOKCHAR ? wgt->ChrResBox : wgt->ResBox;
}

void WGT_SetGfxResBox(WgtPtr wgt, const _Rect16Rec& box) {
  if (wgt) wgt->ResBox = box;
}

void WGT_SetChrResBox(WgtPtr wgt, const _Rect16Rec& box) {
  if (wgt) wgt->ChrResBox = box;
}

void WGT_SetResBox(WgtPtr wgt, const _Rect16Rec& box) {
  if (!wgt) return;
  if (DSPLY_GetLook() == DSPLY_LOOKCHAR) wgt->ChrResBox = box;
  else wgt->ResBox = box;
}

void WGT_SetBox(WgtPtr wgt, const _Rect16Rec& box) {
  if (!wgt) return;
  if (DSPLY_GetLook() == DSPLY_LOOKCHAR) {
    wgt->ChrResBox = box;
    WGT_ConvertResBoxToBox(wgt, WGT_ChrToGfx(box), &wgt->Box);
  } else {
    wgt->ResBox = box;
    wgt->ChrResBox = WGT_GfxToChr(box);
    WGT_ConvertResBoxToBox(wgt, box, &wgt->Box);
  }
}

_Rect16Rec WgtQueryNewBox(const _Rect16Rec& box, UInt16 rzFlags, _Point16Rec oldExt, _Point16Rec newExt) {
  _Rect16Rec r = box;
  S_QueryNewAxis(rzFlags & 7, &r.Origin.X, &r.Extent.X, oldExt.X, newExt.X);
  S_QueryNewAxis((rzFlags & 112) >> 4, &r.Origin.Y, &r.Extent.Y, oldExt.Y, newExt.Y);
  return r;
}

void WGT_SetRzFlags(WgtPtr wgt, UInt16 flags) {
  if (wgt) wgt->RzFlags = flags;
}

void WGT_Configure(WgtPtr wgt, const _Point16Rec* origin, const _Point16Rec* extent) {
  if (!wgt) return;
  bool wasVisible = !wgt->Invisible;
  if (wasVisible) WGT_SetInvisible(wgt);
  if (origin) wgt->Box.Origin = *origin;
  if (extent) wgt->Box.Extent = *extent;
  WGT_VisRgnInvalBelow(wgt);
  WGT_Send(wgt, WGT_NFYRESIZE);
  if (wasVisible) WGT_SetVisible(wgt);
}

_Point16Rec WGT_QueryWinOrigin(WgtPtr wgt) {
  int x = 0, y = 0;
  // A window's own box is on the screen: it adds nothing.
  for (WgtPtr w = wgt; w && w->Panel; w = PANEL_Wgt(w->Panel)) {
    x += w->Box.Origin.X;
    y += w->Box.Origin.Y;
  }
  return _Point16Rec{static_cast<int16_t>(x), static_cast<int16_t>(y)};
}

void WGT_ConvertWgtToAbs(WgtPtr wgt, _Point16Rec* p) {
  if (!wgt || !p) return;
  _Point16Rec o = WGT_QueryWinOrigin(wgt);
  _Rect16Rec wb = wgt->Win ? WIN_Wgt(wgt->Win)->Box : RECT16_Make(0, 0, 0, 0);
  p->X = static_cast<int16_t>(p->X + o.X + wb.Origin.X);
  p->Y = static_cast<int16_t>(p->Y + o.Y + wb.Origin.Y);
}

void WGT_ConvertAbsToWgt(WgtPtr wgt, _Point16Rec* p) {
  if (!wgt || !p) return;
  _Point16Rec o = WGT_QueryWinOrigin(wgt);
  _Rect16Rec wb = wgt->Win ? WIN_Wgt(wgt->Win)->Box : RECT16_Make(0, 0, 0, 0);
  p->X = static_cast<int16_t>(p->X - o.X - wb.Origin.X);
  p->Y = static_cast<int16_t>(p->Y - o.Y - wb.Origin.Y);
}

// --- Visibility and enabling -------------------------------------------------------------

void WGT_SetInvisible(WgtPtr wgt) {
  if (!wgt || wgt->Invisible) return;
  if (!initialized(wgt)) {
    wgt->Invisible = 1;
    return;
  }
  S_WgtInval(wgt);
  wgt->Invisible = 1;
  WGT_VisRgnInvalBelow(wgt);
  WGT_Send(wgt, WGT_NFYVISCHANGE);
}

void WGT_SetVisible(WgtPtr wgt) {
  if (!wgt || !wgt->Invisible) return;
  if (!initialized(wgt)) {
    wgt->Invisible = 0;
    return;
  }
  wgt->Invisible = 0;
  WGT_VisRgnInvalBelow(wgt);
  S_WgtInval(wgt);
  WGT_Send(wgt, WGT_NFYVISCHANGE);
}

void WGT_SetVisibility(WgtPtr wgt, BoolEnum flag) {
  if (flag) WGT_SetVisible(wgt);
  else WGT_SetInvisible(wgt);
}

BoolEnum WGT_IsVisible(WgtPtr wgt) {
  for (WgtPtr w = wgt; w; w = w->Panel ? PANEL_Wgt(w->Panel) : nullptr)
    if (w->Invisible) return 0;
  return wgt != nullptr;
}

void WGT_Disable(WgtPtr wgt) {
  if (!wgt || wgt->Disabled) return;
  wgt->Disabled = 1;
  WGT_Send(wgt, WGT_NFYDISABLE);
  S_WgtInval(wgt);
}

void WGT_Enable(WgtPtr wgt) {
  if (!wgt || !wgt->Disabled) return;
  wgt->Disabled = 0;
  WGT_Send(wgt, WGT_NFYENABLE);
  S_WgtInval(wgt);
}

void WGT_SetEnabled(WgtPtr wgt, BoolEnum flag) {
  if (flag) WGT_Enable(wgt);
  else WGT_Disable(wgt);
}

BoolEnum WGT_IsEnabled(WgtPtr wgt) {
  if (!wgt || wgt->Disabled) return 0;
  // The panels above count up to the window; the window's own bit is not
  // looked at from a child.
  for (PanelPtr p = wgt->Panel; p && PANEL_Wgt(p)->Panel; p = PANEL_Wgt(p)->Panel)
    if (PANEL_Wgt(p)->Disabled) return 0;
  return 1;
}

void WGT_SetModified(WgtPtr wgt, BoolEnum flag) {
  if (wgt) wgt->WgtPrivate1 = flag ? 1 : 0;
}
BoolEnum WGT_GetModified(WgtPtr wgt) { return wgt && wgt->WgtPrivate1; }

void WGT_Inval(WgtPtr wgt, const _Rect16Rec* rect) {
  AUTOM_Touch();
  if (!wgt || !wgt->Win || wgt->Win->State != WIN_STATEOPEN) return;
  _Rect16Rec r = rect ? *rect : RECT16_Make(0, 0, wgt->Box.Extent.X, wgt->Box.Extent.Y);
  _Point16Rec o = WGT_QueryWinOrigin(wgt);
  r.Origin.X = static_cast<int16_t>(r.Origin.X + o.X);
  r.Origin.Y = static_cast<int16_t>(r.Origin.Y + o.Y);
  RegionPtr rgn = RGN_NewRect(r);
  WinAddInvalRgn(wgt->Win, rgn);
  RGN_Dispose(rgn);
}

void DRAW_InvalRect(WgtPtr wgt, const _Rect16Rec* rect) { WGT_Inval(wgt, rect); }

// --- Visible regions -------------------------------------------------------------------------

RegionPtr WGT_GetVisRgn(WgtPtr wgt) {
  if (!wgt) return nullptr;
  if (wgt->VisRgn && wgt->WgtPrivate3) return wgt->VisRgn;
  if (!wgt->VisRgn) wgt->VisRgn = RGN_New();
  _Point16Rec o = WGT_QueryWinOrigin(wgt);
  RGN_SetRect(wgt->VisRgn, RECT16_Make(o.X, o.Y, wgt->Box.Extent.X, wgt->Box.Extent.Y));
  if (wgt->Invisible) RGN_SetEmpty(wgt->VisRgn);
  if (PanelPtr panel = wgt->Panel) {
    RGN_Intersect(wgt->VisRgn, WGT_GetVisRgn(PANEL_Wgt(panel)));
    // Siblings with a higher Index lie above.
    RegionPtr above = RGN_New();
    for (Int i = wgt->Index + 1; i < PANEL_GetNumWgts(panel); i++) addOccluder(above, PANEL_GetNthWgt(panel, i));
    RGN_Subtract(wgt->VisRgn, above);
    RGN_Dispose(above);
  }
  wgt->WgtPrivate3 = 1;
  return wgt->VisRgn;
}

BoolEnum WGT_IsVisRgnValid(WgtPtr wgt) { return wgt && wgt->VisRgn && wgt->WgtPrivate3; }

void WGT_VisRgnInvalBelow(WgtPtr wgt) {
  if (!wgt) return;
  // Whatever changed may uncover or cover any widget of the window.
  WgtPtr top = wgt->Win ? WIN_Wgt(wgt->Win) : wgt;
  markVisStale(top);
}

// --- Focus --------------------------------------------------------------------------------------

BoolEnum WGT_IsFocusXferAccepted(WgtPtr wgt) {
  WinPtr win = wgt ? wgt->Win : nullptr;
  if (!win) return 1;
  WgtPtr current = PANEL_GetDeepFocusWgt(WIN_Panel(win));
  if (!current || current == wgt) return 1;
  sNfyProp.LoseFocus = 1;
  WGT_Send(current, WGT_NFYPROPOSELOSEFOCUS, wgt);
  if (sNfyProp.LoseFocus && (current->WgtFlags & WGT_FLAGVALIDATE)) {
    _WgtQueryValidateRec rec{wgt, 1};
    WGT_Send(current, WGT_NFYQUERYVALIDATE, &rec);
    sNfyProp.LoseFocus = rec.Valid;
  }
  return sNfyProp.LoseFocus;
}

void WGT_FocusHandled(WgtPtr wgt) {
  if (!wgt) return;
  // Up first, then the new widget gains and the old one loses.
  WgtPtr child = wgt;
  for (PanelPtr p = wgt->Panel; p; child = PANEL_Wgt(p), p = PANEL_Wgt(p)->Panel) PANEL_SetFocusWgt(p, child);
}

BoolEnum WGT_GainFocus(WgtPtr wgt) {
  if (!wgt || !wgt->Panel) return 0;
  if (wgt->Panel->FocusWgt == wgt && PANEL_GetDeepFocusWgt(WIN_Panel(wgt->Win)) == wgt) return 1;
  if ((wgt->WgtFlags & (WGT_FLAGTABSTOP | WGT_FLAGGROUP)) == 0) return 0;
  if (!WGT_IsFocusXferAccepted(wgt)) return 0;
  sNfyProp.GainFocus = 1;
  WGT_Send(wgt, WGT_NFYGAINFOCUS);
  if (!sNfyProp.GainFocus) return 0;
  WGT_FocusHandled(wgt);
  return 1;
}

void WGT_StealFocus(WgtPtr wgt) { WGT_FocusHandled(wgt); }

BoolEnum WGT_HasFocus(WgtPtr wgt, BoolEnum inActiveWindow) {
  if (!wgt || !wgt->Panel || wgt->Panel->FocusWgt != wgt) return 0;
  // Every panel up to the window leads to it.
  for (WgtPtr w = wgt; w->Panel; w = PANEL_Wgt(w->Panel))
    if (w->Panel->FocusWgt != w) return 0;
  return !inActiveWindow || (wgt->Win && wgt->Win->HasFocus);
}

BoolEnum WGT_CanProcessEvent(WgtPtr wgt) { return wgt && WGT_IsEnabled(wgt) && WGT_IsVisible(wgt); }

void WGT_SetGainFocusAccepted(BoolEnum flag) { sNfyProp.GainFocus = flag; }
BoolEnum WGT_IsGainFocusAccepted() { return sNfyProp.GainFocus; }
void WGT_SetLoseFocusAccepted(BoolEnum flag) { sNfyProp.LoseFocus = flag; }
BoolEnum WGT_IsLoseFocusAccepted() { return sNfyProp.LoseFocus; }

// --- Mouse and cursor ------------------------------------------------------------------------

void WGT_MouseHandled(WgtPtr wgt) {
  sNfyProp.Mouse = 1;
  if (!wgt) return;
  WgtPtr child = wgt;
  for (PanelPtr p = wgt->Panel; p; child = PANEL_Wgt(p), p = PANEL_Wgt(p)->Panel) PANEL_SetMouseWgt(p, child);
}
BoolEnum WGT_IsMouseHandled() { return sNfyProp.Mouse; }
void WGT_KeyHandled(WgtPtr) { sNfyProp.Key = 1; }
BoolEnum WGT_IsKeyHandled() { return sNfyProp.Key; }
void WGT_CursorHandled(WgtPtr) { sNfyProp.Cursor = 1; }
BoolEnum WGT_IsCursorHandled() { return sNfyProp.Cursor; }
void WgtResetHandled() {
  sNfyProp.Mouse = 0;
  sNfyProp.Key = 0;
  sNfyProp.Cursor = 0;
}

void WGT_UseCursor(WgtPtr wgt, CursPtr cursor) {
  if (!wgt) return;
  if (!cursor) cursor = wgt->Cursor;
  // Parent (or none, or inherited): the nearest panel with a real cursor.
  bool inherit = !cursor || cursor == CURS_Parent() || (wgt->GResFlags & GRES_FLAGINHERIT);
  if (inherit) {
    cursor = nullptr;
    for (PanelPtr p = wgt->Panel; p && !cursor; p = PANEL_Wgt(p)->Panel) {
      CursPtr c = PANEL_Wgt(p)->Cursor;
      if (c && c != CURS_Parent()) cursor = c;
    }
    if (!cursor) cursor = CURS_Arrow();
  }
  if (wgt->Win) WIN_UseCursor(wgt->Win, cursor);
}

void WGT_UseCursorId(WgtPtr wgt, Int id) { WGT_UseCursor(wgt, CURS_LoadById(id)); }

void WGT_UseWaitCursor(WgtPtr wgt) {
  if (EVENT_IsTrackingMouse()) return;
  sWaitFrame = (sWaitFrame + 1) % 128;
  if (wgt) {
    WGT_UseCursor(wgt, CURS_WaitFrame(sWaitFrame));
    DSPLY_Flush();
  }
}

Int WGT_GetWaitFrame() { return sWaitFrame; }

// --- Drawing -----------------------------------------------------------------------------------

DrawPtr WGT_BeginDraw(WgtPtr wgt) {
  WinPtr win = wgt ? wgt->Win : nullptr;
  NatWinId nat = win ? win->NatWin : 0;
  RegionPtr clip = RGN_NewCopy(WGT_GetVisRgn(wgt));
  if (win && win->DrawRgn) RGN_Intersect(clip, win->DrawRgn);
  DrawPtr d = DRAW_Begin(nat, WGT_QueryWinOrigin(wgt), clip);
  RGN_Dispose(clip);
  return d;
}

void WGT_EndDraw(DrawPtr draw) { DRAW_End(draw); }
