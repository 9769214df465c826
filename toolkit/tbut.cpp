// Text buttons: behaviour (selection, radio groups, the default button,
// accelerators, the press-track-release sequence) and the toolkit's one
// flat look.
#include "toolkit/tbut.h"

#include <cstring>

#include "toolkit/autom.h"
#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/icon.h"
#include "toolkit/kylst.h"
#include "toolkit/pfld.h"
#include "toolkit/winpub.h"

namespace {

#define TBUT_FIELD(name, member, type, kind) PFLD_MEMBER(_TButObj, name, member, type, kind)

_PFldRec sTButFields[] = {TBUT_FIELD("Label", Label, PFLD_VSTR, PFLD_KINDTEXT),
                          TBUT_FIELD("Mode", Mode, PFLD_INT16, PFLD_KINDVALUE),
                          TBUT_FIELD("Style", Style, PFLD_INT16, PFLD_KINDVALUE),
                          TBUT_FIELD("AccelKeys", AccelKeys, PFLD_VSTR, PFLD_KINDTEXT),
                          TBUT_FIELD("DefButton", DefButton, PFLD_UINT16, PFLD_KINDVALUE),
                          TBUT_FIELD("Selected", Selected, PFLD_UINT16, PFLD_KINDVALUE),
                          {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sTBut = nullptr;
constexpr Int kTempPressMs = 100;
// The alarm that ends a press shown for an accelerator key.
char sTempPressTag;
const ClientPtr kTempPressAlarm = &sTempPressTag;

// Pixels of the look at the screen's resolution.
int px(int n) { return n * DSPLY_GetScreenDpi() / 96; }

WgtPtr W(TButPtr b) { return TBUT_Wgt(b); }
bool initialized(TButPtr b) { return WGT_Res(W(b))->ResInitialized; }
bool windowOpen(TButPtr b) { return W(b)->Win && W(b)->Win->State == WIN_STATEOPEN; }

ResPtr iconOf(TButPtr b) { return static_cast<ResPtr>(b->TButPrivate); }

// Room between an icon and the label beside it.
int iconGap(TButPtr b) { return iconOf(b) && b->Label && *b->Label ? px(6) : 0; }

Int lookOf(TButPtr b) {
  if (b->Style == TBUT_STYLEFACE || b->Style == TBUT_STYLEICON) return b->Style;
  if (b->Style == TBUT_STYLECHECK || b->Style == TBUT_STYLERADIO) return b->Style;
  if (b->Mode == TBUT_MODETOGGLE) return TBUT_STYLECHECK;
  if (b->Mode == TBUT_MODERADIO) return TBUT_STYLERADIO;
  return TBUT_STYLEFACE;
}

// Also what the automation surface shows of it may have changed, open
// window or not.
void redraw(TButPtr b) {
  AUTOM_Touch();
  if (initialized(b) && windowOpen(b)) WGT_Inval(W(b), nullptr);
}

// Pressed and selected change together, and the state is redrawn once.
void S_SetPressedSelected(TButPtr b, BoolEnum pressed, BoolEnum selected) {
  if (b->Pressed == (pressed ? 1u : 0u) && b->Sel == (selected ? 1u : 0u)) return;
  b->Pressed = pressed ? 1 : 0;
  b->Sel = selected ? 1 : 0;
  redraw(b);
}

void S_DrawFace(TButPtr b, DrawPtr d) {
  WgtPtr w = W(b);
  _Rect16Rec r = RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y);
  bool enabled = WGT_IsEnabled(w);
  bool isDefault = TBUT_IsDefButton(b) || b->TempDefault;
  bool down = b->Pressed || (b->Mode != TBUT_MODEPUSH && b->Sel);
  ColorPtr face = COLOR_Face(), border = COLOR_Border(), text = WGT_GetFgColor(w);
  if (isDefault && enabled) {
    face = down ? COLOR_Blue() : COLOR_Accent();
    border = face;
    text = COLOR_White();
  } else if (down) {
    face = COLOR_Pressed();
    border = COLOR_Accent();
  }
  if (!enabled) {
    face = COLOR_Window();
    border = COLOR_LightGray();
    text = COLOR_DisabledText();
  }
  DRAW_FillRect(d, r, face);
  DRAW_FrameRect(d, r, border, PEN_Solid());
  if (WGT_HasFocus(w, 1) && enabled) {
    // The focus ring: the border in the accent colour and a second line
    // inside it.
    DRAW_FrameRect(d, r, COLOR_Accent(), PEN_Solid());
    DRAW_FrameRect(d, RECT16_Inset(r, 1), isDefault ? COLOR_White() : COLOR_Accent(), PEN_Solid());
  }
  b->TButPrivate2 = text;
  WGT_Send(w, TBUT_NFYDRAWLABEL, d);
}

void S_DrawMark(TButPtr b, DrawPtr d, Int look) {
  WgtPtr w = W(b);
  bool enabled = WGT_IsEnabled(w);
  _Rect16Rec all = RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y);
  DRAW_FillRect(d, all, WGT_GetBgColor(w));
  _Rect16Rec m = TButQueryCheckRadioBox(b);
  bool on = b->Sel;
  bool pressed = b->Pressed;
  ColorPtr edge = !enabled ? COLOR_LightGray() : (on || pressed) ? COLOR_Accent() : COLOR_Gray();
  if (look == TBUT_STYLECHECK) {
    DRAW_FillRect(d, m, on && enabled ? COLOR_Accent() : on ? COLOR_LightGray() : pressed ? COLOR_Pressed() : COLOR_Face());
    DRAW_FrameRect(d, m, on && enabled ? COLOR_Accent() : edge, PEN_Solid());
    if (on) TButDrawCheckMark(d, m, COLOR_White());
  } else {
    DRAW_FillEllipse(d, m, pressed ? COLOR_Pressed() : COLOR_Face());
    PenPtr ring = PEN_New(on ? px(2) : px(1), PEN_STYLESOLID);
    DRAW_FrameEllipse(d, m, edge, ring);
    PEN_Dispose(ring);
    if (on) DRAW_FillEllipse(d, RECT16_Inset(m, m.Extent.X * 3 / 10), enabled ? COLOR_Accent() : COLOR_Gray());
  }
  b->TButPrivate2 = enabled ? WGT_GetFgColor(w) : COLOR_DisabledText();
  WGT_Send(w, TBUT_NFYDRAWLABEL, d);
  if (WGT_HasFocus(w, 1) && enabled) {
    _Rect16Rec lb = TButQueryLabelBox(b);
    _Point16Rec ext = TButQueryLabelExt(b);
    int ty = lb.Origin.Y + (lb.Extent.Y - ext.Y) / 2;
    DRAW_FrameRect(d, RECT16_Make(lb.Origin.X - px(3), ty - 1, ext.X + px(6), ext.Y + 2), COLOR_Accent(), PEN_Solid());
  }
}

// A picture alone on the background: no face, no mark.
void S_DrawIconOnly(TButPtr b, DrawPtr d) {
  WgtPtr w = W(b);
  DRAW_FillRect(d, RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y), WGT_GetBgColor(w));
  b->TButPrivate2 = WGT_IsEnabled(w) ? WGT_GetFgColor(w) : COLOR_DisabledText();
  WGT_Send(w, TBUT_NFYDRAWLABEL, d);
}

void S_Redraw(TButPtr b) {
  DrawPtr d = WGT_BeginDraw(W(b));
  Int look = lookOf(b);
  if (look == TBUT_STYLEFACE) S_DrawFace(b, d);
  else if (look == TBUT_STYLEICON) S_DrawIconOnly(b, d);
  else S_DrawMark(b, d, look);
  WGT_EndDraw(d);
}

// The icon (if any) and the label beside it, centred on a face, at the
// left beside a mark.
void S_DrawLabel(TButPtr b, DrawPtr d) {
  ResPtr icon = iconOf(b);
  if (!d || (!b->Label && !icon)) return;
  WgtPtr w = W(b);
  FontPtr font = WGT_GetFont(w);
  _Rect16Rec box = TButQueryLabelBox(b);
  _Point16Rec ext = TButQueryLabelExt(b);  // icon and text together
  int x = box.Origin.X;
  if (lookOf(b) != TBUT_STYLECHECK && lookOf(b) != TBUT_STYLERADIO) x += (box.Extent.X - ext.X) / 2;
  DRAW_ClipRect(d, box);
  if (icon) {
    _Point16Rec iconExt = ICON_GetScreenSize(icon);
    ICON_Draw(d, icon, x, box.Origin.Y + (box.Extent.Y - iconExt.Y) / 2);
    x += iconExt.X + iconGap(b);
  }
  if (!b->Label || !*b->Label) return;
  _Point16Rec textExt = DRAW_QueryTextExt(font, b->Label, -1);
  int y = box.Origin.Y + (box.Extent.Y - textExt.Y) / 2 + FONT_GetAscent(font);
  ColorPtr color = b->TButPrivate2 ? static_cast<ColorPtr>(b->TButPrivate2) : WGT_GetFgColor(w);
  DRAW_Text(d, font, color, x, y, b->Label, -1);
}

// The mode's action after a press that ended inside, then the tool's event.
void S_Hit(TButPtr b) {
  if (b->Mode == TBUT_MODETOGGLE) TBUT_Toggle(b);
  else if (b->Mode == TBUT_MODERADIO) TBUT_Select(b);
  WGT_Send(W(b), TBUT_NFYHIT);
}

void S_Propose(TButPtr b) {
  WgtPtr w = W(b);
  if (!WGT_CanProcessEvent(w)) {
    WGT_Send(w, WGT_NFYCANTPROCESSEVENT);
    return;
  }
  BoolEnum startSel = b->Sel;
  bool inside = true;
  S_SetPressedSelected(b, 1, startSel);
  EVENT_TrackDownBegin(w);
  while (EVENT_TrackDown(w)) {
    _Point16Rec loc;
    EVENT_QueryWgtLoc(w, &loc);
    inside = RECT16_Contains(RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y), loc.X, loc.Y);
    S_SetPressedSelected(b, inside, startSel);
  }
  // The event that ended the track (the release) tells where it ended.
  _Point16Rec loc;
  EVENT_QueryWgtLoc(w, &loc);
  if (EVENT_GetCurEventType() == EVENT_TYPEBUTTONRELEASE)
    inside = RECT16_Contains(RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y), loc.X, loc.Y);
  EVENT_TrackDownEnd(w);
  S_SetPressedSelected(b, 0, startSel);
  if (inside) S_Hit(b);
}

const char* S_TButGetDefKeys(TButPtr b, bool forKeyChar) {
  if (forKeyChar) return "Space";  // the focus button
  return TBUT_IsDefButton(b) ? "Return Enter" : "";
}

void S_KeyPress(TButPtr b, bool forKeyChar) {
  WgtPtr w = W(b);
  if (!WGT_CanProcessEvent(w)) return;
  const char* own = forKeyChar ? nullptr : b->AccelKeys;
  if (!(own && TBUT_MatchKeys(own)) && !TBUT_MatchKeys(S_TButGetDefKeys(b, forKeyChar))) return;
  WGT_KeyHandled(w);
  TBUT_VisualEffect(b, TBUT_EFFECTTEMPPRESSED);
  S_Hit(b);
}

// A radio button that the arrow keys of its group moved the focus onto is
// chosen as a click would choose it, as desktop radio groups behave: the
// keys that move within a group are the panel's, so the key that brought
// the focus here is matched against its lists.
bool S_FocusByGroupKey(TButPtr b) {
  PanelPtr panel = W(b)->Panel;
  if (b->Mode != TBUT_MODERADIO || !panel) return false;
  for (ResPtr keys : {panel->KeysNextInGroup, panel->KeysPrevInGroup})
    if (keys && RCLAS_IsSubClassOf(keys->ResClass, KYLST_Class()) && KYLST_Match(reinterpret_cast<KyLstPtr>(keys)))
      return true;
  return false;
}

void S_DefInit(TButPtr b) {
  WGT_DefInit(W(b));
  if (b->Selected) b->Sel = 1;
  if (b->Mode == TBUT_MODERADIO) W(b)->WgtFlags |= WGT_FLAGGROUP;
  WinPtr win = W(b)->Win;
  if (b->DefButton && win) {
    WgtPtr current = WIN_GetDefWgt(win);
    if (!current) WIN_SetDefWgt(win, W(b));
    else if (current != W(b)) b->DefButton = 0;
  }
}

void S_TButDestruct(ResPtr res) {
  TButPtr b = reinterpret_cast<TButPtr>(res);
  WgtPtr w = W(b);
  if (w->Win && WIN_GetDefWgt(w->Win) == w) WIN_SetDefWgt(w->Win, nullptr);
  if (ResPtr icon = iconOf(b)) RES_Release(icon);
  b->TButPrivate = nullptr;
}

}  // namespace

RClasPtr TBUT_Class() { return sTBut; }

void TBUT_InstallClass() {
  WGT_InstallClass();
  sTBut = WgtRegisterClass("TBut", "TBut", WGT_Class(), sTButFields, static_cast<Int>(sizeof(_TButObj)), nullptr,
                           S_TButDestruct, TBUT_DefNfy);
}

void TBUT_InitClass() {}

TButPtr TBUT_Create() { return reinterpret_cast<TButPtr>(RES_Create(sTBut)); }

void TBUT_Describe(WgtPtr wgt, AutomDesc* desc) {
  TButPtr b = TBUT_FromWgt(wgt);
  AUTOM_SetText(desc, b->Label);
  AUTOM_SetSelected(desc, b->Mode != TBUT_MODEPUSH && b->Sel);
}

BoolEnum TBUT_IsTBut(WgtPtr wgt) { return wgt && sTBut && RCLAS_IsSubClassOf(WGT_Res(wgt)->ResClass, sTBut); }

long TBUT_DefNfy(ResPtr res, Int message, ClientPtr data) {
  TButPtr b = reinterpret_cast<TButPtr>(res);
  WgtPtr w = W(b);
  switch (message) {
    case WGT_NFYINIT:
      S_DefInit(b);
      return 0;
    case WGT_NFYREDRAW:
      S_Redraw(b);
      return 0;
    case WGT_NFYENABLE:
    case WGT_NFYDISABLE:
      WGT_DefNfy(res, message, data);
      redraw(b);
      return 0;
    case WGT_NFYMOUSECLICK:
      if (EVENT_GetButton() == EVENT_BUT1) {
        WGT_MouseHandled(w);
        WGT_Send(w, TBUT_NFYPROPOSE);
        return 0;
      }
      return WGT_DefNfy(res, message, data);
    case TBUT_NFYPROPOSE:
      S_Propose(b);
      return 0;
    case TBUT_NFYDRAWLABEL:
      S_DrawLabel(b, static_cast<DrawPtr>(data));
      return 0;
    case WGT_NFYKEYACCEL:
      S_KeyPress(b, false);
      return 0;
    case WGT_NFYKEYCHAR:
      S_KeyPress(b, true);
      return 0;
    case WGT_NFYTIMEOUT:
      if (data && static_cast<EventPtr>(data)->AlarmData == kTempPressAlarm) {
        TBUT_VisualEffect(b, TBUT_EFFECTRELEASED);
        return 0;
      }
      return WGT_DefNfy(res, message, data);
    case WGT_NFYFOCUSGAINED: {
      redraw(b);
      long result = WGT_DefNfy(res, message, data);
      if (S_FocusByGroupKey(b) && WGT_CanProcessEvent(w)) {
        // The tool's handler may end the button: it is held until done.
        RES_Use(res);
        S_Hit(b);
        RES_Release(res);
      }
      return result;
    }
    case WGT_NFYGAINFOCUS:
    case WGT_NFYFOCUSLOST:
    case WGT_NFYACTIVATE:
    case WGT_NFYDEACTIVATE:
    case TBUT_NFYTOGGLEFOCUS:
      redraw(b);
      return WGT_DefNfy(res, message, data);
    case TBUT_NFYHIT:
      return 0;
    default:
      return WGT_DefNfy(res, message, data);
  }
}

// --- Selection -------------------------------------------------------------------------

TButPtr TBUT_PanelGetSelectedRadio(PanelPtr panel) {
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (TBUT_IsTBut(c) && TBUT_FromWgt(c)->Mode == TBUT_MODERADIO && TBUT_FromWgt(c)->Sel) return TBUT_FromWgt(c);
  }
  return nullptr;
}

void TBUT_Select(TButPtr but) {
  if (!but || but->Sel) return;
  if (but->Mode == TBUT_MODERADIO && W(but)->Panel) {
    TButPtr other = TBUT_PanelGetSelectedRadio(W(but)->Panel);
    if (other && other != but) {
      other->Sel = 0;
      redraw(other);
    }
  }
  but->Sel = 1;
  redraw(but);
}

void TBUT_Unselect(TButPtr but) {
  if (!but || !but->Sel) return;
  but->Sel = 0;
  redraw(but);
}

void TBUT_SetSelected(TButPtr but, BoolEnum flag) {
  if (flag) TBUT_Select(but);
  else TBUT_Unselect(but);
}

BoolEnum TBUT_GetSelected(TButPtr but) { return but && but->Sel; }

void TBUT_Toggle(TButPtr but) {
  if (but) TBUT_SetSelected(but, !but->Sel);
}

// --- Attributes ------------------------------------------------------------------------

void TBUT_SetLabel(TButPtr but, const char* text) {
  if (!but) return;
  VSTR_Set(&but->Label, text);
  AUTOM_Touch();
  if (initialized(but)) WGT_Inval(W(but), nullptr);
}

const char* TBUT_GetLabel(TButPtr but) { return but ? VSTR_Get(but->Label) : ""; }

void TBUT_SetIcon(TButPtr but, ResPtr icon) {
  if (!but || iconOf(but) == icon) return;
  if (icon) RES_Use(icon);
  if (ResPtr old = iconOf(but)) RES_Release(old);
  but->TButPrivate = icon;
  if (initialized(but)) WGT_Inval(W(but), nullptr);
}

ResPtr TBUT_GetIcon(TButPtr but) { return but ? iconOf(but) : nullptr; }

void TBUT_SetMode(TButPtr but, Int16 mode) {
  if (!but) return;
  but->Mode = mode;
  if (mode == TBUT_MODERADIO) W(but)->WgtFlags |= WGT_FLAGGROUP;
  redraw(but);
}

Int16 TBUT_GetMode(TButPtr but) { return but ? but->Mode : 0; }
void TBUT_SetStyle(TButPtr but, Int16 style) {
  if (but) but->Style = style;
}
Int16 TBUT_GetStyle(TButPtr but) { return but ? but->Style : 0; }
void TBUT_SetAccelKeys(TButPtr but, const char* keys) {
  if (but) VSTR_Set(&but->AccelKeys, keys);
}
const char* TBUT_GetAccelKeys(TButPtr but) { return but ? VSTR_Get(but->AccelKeys) : ""; }

BoolEnum TBUT_MatchKeys(const char* keys) { return KYLST_MatchKeys(keys); }

void TBUT_SetDefButton(TButPtr but) {
  if (!but || TBUT_IsDefButton(but)) return;
  but->DefButton = 1;
  WinPtr win = W(but)->Win;
  if (!initialized(but) || !win) return;
  WgtPtr previous = WIN_GetDefWgt(win);
  WIN_SetDefWgt(win, W(but));
  if (previous && TBUT_IsTBut(previous)) {
    TBUT_FromWgt(previous)->DefButton = 0;
    redraw(TBUT_FromWgt(previous));
  }
  redraw(but);
}

BoolEnum TBUT_IsDefButton(TButPtr but) {
  if (!but || !but->DefButton) return 0;
  WinPtr win = W(but)->Win;
  return !initialized(but) || !win || WIN_GetDefWgt(win) == W(but);
}

void TBUT_VisualEffect(TButPtr but, Int effect) {
  if (!but) return;
  switch (effect) {
    case TBUT_EFFECTPRESSED:
      S_SetPressedSelected(but, 1, but->Sel);
      break;
    case TBUT_EFFECTRELEASED:
      S_SetPressedSelected(but, 0, but->Sel);
      break;
    case TBUT_EFFECTTEMPPRESSED:
      // Shown pressed now and released by an alarm: the loop keeps going.
      S_SetPressedSelected(but, 1, but->Sel);
      EVENT_StopWgtAlarm(W(but), kTempPressAlarm);
      EVENT_StartWgtAlarm(W(but), kTempPressAlarm, kTempPressMs);
      break;
    default:
      break;
  }
}

// The check mark of the look, in a square box.
void TButDrawCheckMark(DrawPtr d, const _Rect16Rec& box, ColorPtr color) {
  int x = box.Origin.X, y = box.Origin.Y, s = box.Extent.X;
  PenPtr pen = PEN_New(px(2) < 2 ? 2 : px(2), PEN_STYLESOLID);
  _Point16Rec pts[3] = {{static_cast<int16_t>(x + s * 3 / 14), static_cast<int16_t>(y + s * 7 / 14)},
                        {static_cast<int16_t>(x + s * 6 / 14), static_cast<int16_t>(y + s * 10 / 14)},
                        {static_cast<int16_t>(x + s * 11 / 14), static_cast<int16_t>(y + s * 4 / 14)}};
  DRAW_Lines(d, pts, 3, color, pen);
  PEN_Dispose(pen);
}

// --- Geometry of the look ------------------------------------------------------------------

_Point16Rec TButQueryLabelExt(TButPtr but) {
  _Point16Rec ext = DRAW_QueryTextExt(WGT_GetFont(W(but)), but && but->Label ? but->Label : "", -1);
  if (ResPtr icon = but ? iconOf(but) : nullptr) {
    _Point16Rec iconExt = ICON_GetScreenSize(icon);
    ext.X = static_cast<int16_t>(ext.X + iconExt.X + iconGap(but));
    if (iconExt.Y > ext.Y) ext.Y = iconExt.Y;
  }
  return ext;
}

_Rect16Rec TButQueryCheckRadioBox(TButPtr but) {
  WgtPtr w = W(but);
  int s = px(16);
  if (s > w->Box.Extent.Y) s = w->Box.Extent.Y;
  return RECT16_Make(px(2), (w->Box.Extent.Y - s) / 2, s, s);
}

_Rect16Rec TButQueryLabelBox(TButPtr but) {
  WgtPtr w = W(but);
  if (lookOf(but) == TBUT_STYLEICON) return RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y);
  if (lookOf(but) == TBUT_STYLEFACE)
    return RECT16_Make(px(8), 0, w->Box.Extent.X - 2 * px(8), w->Box.Extent.Y);
  _Rect16Rec m = TButQueryCheckRadioBox(but);
  int x = m.Origin.X + m.Extent.X + px(8);
  return RECT16_Make(x, 0, w->Box.Extent.X - x - px(2), w->Box.Extent.Y);
}

Int TButMinWidth(TButPtr but) {
  Int label = TButQueryLabelExt(but).X;
  if (lookOf(but) == TBUT_STYLEICON) return label;
  if (lookOf(but) == TBUT_STYLEFACE) return label + 2 * px(8) > px(72) ? label + 2 * px(8) : px(72);
  return px(2) + px(16) + px(8) + label + px(2);
}
