// Panels: widgets that hold widgets.  Mouse input goes to the child on
// top (the highest Index first), keys to the focus child first, drawing to
// every visible child from the lowest Index up; the focus moves in the
// panel's focus order.
#include <cstring>

#include "toolkit/autom.h"
#include "toolkit/err.h"
#include "toolkit/eventpriv.h"
#include "toolkit/kylst.h"
#include "toolkit/pfld.h"
#include "toolkit/winpub.h"
#include "toolkit/panelmore.h"

namespace {

#define PANEL_FIELD(name, member, type, kind) PFLD_MEMBER(_PanelObj, name, member, type, kind)

_PFldRec sPanelFields[] = {PANEL_FIELD("KeysNext", KeysNext, PFLD_RES, PFLD_KINDKEYS),
                           PANEL_FIELD("KeysPrev", KeysPrev, PFLD_RES, PFLD_KINDKEYS),
                           PANEL_FIELD("KeysNextInGrp", KeysNextInGroup, PFLD_RES, PFLD_KINDKEYS),
                           PANEL_FIELD("KeysPrevInGrp", KeysPrevInGroup, PFLD_RES, PFLD_KINDKEYS),
                           PANEL_FIELD("Label", Label, PFLD_VSTR, PFLD_KINDTEXT),
                           PANEL_FIELD("LabelJustif", LabelJustif, PFLD_UINT16, PFLD_KINDVALUE),
                           PANEL_FIELD("FocusWgtLst", PanelPrivate, PFLD_DATA16, PFLD_KINDVALUE),
                           {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sPanel = nullptr;

PanelPtr asPanel(WgtPtr wgt) { return reinterpret_cast<PanelPtr>(wgt); }

bool takesInput(WgtPtr c) { return c && !c->Disabled && !c->Invisible; }

// Whether a child holds a location given in window coordinates.  Its box
// decides, not its visible region: a click over a widget that does not
// take it (a disabled one, say) goes on to what lies below.
bool holds(WgtPtr c, _Point16Rec winLoc) {
  _Point16Rec o = WGT_QueryWinOrigin(c);
  return RECT16_Contains(RECT16_Make(o.X, o.Y, c->Box.Extent.X, c->Box.Extent.Y), winLoc.X, winLoc.Y);
}

// Offers a mouse message to the children from the top down until one
// handles it; the one that did, or null.
WgtPtr S_PanelPropagateUserEvent(PanelPtr panel, Int message) {
  WgtPtr pw = PANEL_Wgt(panel);
  _Point16Rec winLoc;
  EVENT_QueryWinLoc(pw->Win, &winLoc);
  for (Int i = ARRAY_GetCount(panel->CompoWgts) - 1; i >= 0; i--) {
    WgtPtr c = static_cast<WgtPtr>(ARRAY_GetNthPtr(panel->CompoWgts, i));
    if (!takesInput(c) || !holds(c, winLoc)) continue;
    WGT_Send(c, message, EVENT_GetCurEvent());
    if (WGT_IsMouseHandled()) return c;
  }
  for (Int i = PANEL_GetNumWgts(panel) - 1; i >= 0; i--) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!takesInput(c) || !holds(c, winLoc)) continue;
    WGT_Send(c, message, EVENT_GetCurEvent());
    if (WGT_IsMouseHandled()) return c;
  }
  return nullptr;
}

void S_DefSetCursor(PanelPtr panel) {
  WgtPtr pw = PANEL_Wgt(panel);
  _Point16Rec winLoc;
  EVENT_QueryWinLoc(pw->Win, &winLoc);
  for (Int i = PANEL_GetNumWgts(panel) - 1; i >= 0; i--) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!c || c->Invisible || !holds(c, winLoc)) continue;
    WgtResetHandled();
    WGT_Send(c, WGT_NFYSETCURSOR);
    if (WGT_IsCursorHandled()) return;
  }
  WGT_UseCursor(pw, nullptr);
  WGT_CursorHandled(pw);
}

void S_DefRedraw(PanelPtr panel) {
  WgtPtr pw = PANEL_Wgt(panel);
  WinPtr win = pw->Win;
  bool isWin = pw->Panel == nullptr;
  if (isWin || pw->BgColor) {
    DrawPtr d = WGT_BeginDraw(pw);
    DRAW_FillRect(d, RECT16_Make(0, 0, pw->Box.Extent.X, pw->Box.Extent.Y), WGT_GetBgColor(pw));
    WGT_EndDraw(d);
  }
  if (!isWin && panel->Label && *panel->Label) {
    // A labelled panel is a group: a 1-pixel frame with its title on top.
    DrawPtr d = WGT_BeginDraw(pw);
    FontPtr font = WGT_GetFont(pw);
    _Point16Rec ext = DRAW_QueryTextExt(font, panel->Label, -1);
    int top = ext.Y / 2;
    DRAW_FrameRect(d, RECT16_Make(0, top, pw->Box.Extent.X, pw->Box.Extent.Y - top), COLOR_Border(), PEN_Solid());
    int x = panel->LabelJustif == PANEL_JUSTIFCENTER  ? (pw->Box.Extent.X - ext.X) / 2
            : panel->LabelJustif == PANEL_JUSTIFRIGHT ? pw->Box.Extent.X - ext.X - 12
                                                      : 12;
    DRAW_FillRect(d, RECT16_Make(x - 4, 0, ext.X + 8, ext.Y), WGT_GetBgColor(pw));
    DRAW_Text(d, font, WGT_GetFgColor(pw), x, FONT_GetAscent(font), panel->Label, -1);
    WGT_EndDraw(d);
  }
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!c || c->Invisible) continue;
    RegionPtr vis = WGT_GetVisRgn(c);
    if (win && win->DrawRgn) {
      RegionPtr both = RGN_NewCopy(vis);
      RGN_Intersect(both, win->DrawRgn);
      bool empty = RGN_IsEmpty(both);
      RGN_Dispose(both);
      if (empty) continue;
    }
    WGT_Send(c, WGT_NFYREDRAW);
  }
}

// Re-lays the children after the panel's extent changed.
void S_Relayout(PanelPtr panel) {
  WgtPtr pw = PANEL_Wgt(panel);
  _Point16Rec newExt = pw->Box.Extent;
  _Point16Rec oldExt = panel->LaidOutExt;
  panel->LaidOutExt = newExt;
  if (oldExt.X == 0 && oldExt.Y == 0) return;
  if (oldExt.X == newExt.X && oldExt.Y == newExt.Y) return;
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!c) continue;
    _Rect16Rec nb = WgtQueryNewBox(c->Box, c->RzFlags, oldExt, newExt);
    if (RECT16_Equal(nb, c->Box)) continue;
    bool extChanged = nb.Extent.X != c->Box.Extent.X || nb.Extent.Y != c->Box.Extent.Y;
    c->Box = nb;
    if (extChanged) WGT_Send(c, WGT_NFYRESIZE);
  }
  WGT_VisRgnInvalBelow(pw);
}

// The focus candidates in order: the stored order, else the children.
std::vector<WgtPtr> focusOrder(PanelPtr panel) {
  std::vector<WgtPtr> order;
  const _DataRec& stored = panel->PanelPrivate;
  if (stored.Size >= 2 && stored.Data) {
    for (UInt32 i = 0; i + 1 < stored.Size; i += 2) {
      Int16 idx = static_cast<Int16>((stored.Data[i] << 8) | stored.Data[i + 1]);
      if (WgtPtr c = PANEL_GetNthWgt(panel, idx)) order.push_back(c);
    }
    if (!order.empty()) return order;
  }
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++)
    if (WgtPtr c = PANEL_GetNthWgt(panel, i)) order.push_back(c);
  if (order.empty())
    for (Int i = 0; i < ARRAY_GetCount(panel->CompoWgts); i++)
      order.push_back(static_cast<WgtPtr>(ARRAY_GetNthPtr(panel->CompoWgts, i)));
  return order;
}

// Children left out of a stored focus order take no part in tabbing.
void S_InitFocusWgtLst(PanelPtr panel) {
  const _DataRec& stored = panel->PanelPrivate;
  if (stored.Size < 2 || !stored.Data) return;
  std::vector<WgtPtr> order = focusOrder(panel);
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    bool listed = false;
    for (WgtPtr o : order) listed = listed || o == c;
    if (c && !listed) c->WgtFlags &= static_cast<UInt16>(~(WGT_FLAGTABSTOP | WGT_FLAGGROUP));
  }
}

BoolEnum focusStep(PanelPtr panel, int direction, bool inGroup) {
  std::vector<WgtPtr> order = focusOrder(panel);
  Int n = static_cast<Int>(order.size());
  if (n == 0) return 0;
  WgtPtr current = panel->FocusWgt;
  Int start = n;  // the extra position: outside this panel
  for (Int i = 0; i < n; i++)
    if (order[static_cast<size_t>(i)] == current) start = i;
  bool currentInGroup = current && (current->WgtFlags & WGT_FLAGGROUP);
  Int pos = start;
  for (Int step = 0; step < n; step++) {
    pos = (pos + direction + n + 1) % (n + 1);
    if (pos == n) {
      if (inGroup) continue;
      // Leaving this panel: a sub-panel hands over to its parent; in a
      // window the focus is removed, and the next step starts again from
      // the first widget (or the last, going back).
      if (PANEL_Wgt(panel)->Panel) return 0;
      if (!current) continue;
      PANEL_SetFocusWgt(panel, nullptr);
      return 1;
    }
    WgtPtr c = order[static_cast<size_t>(pos)];
    if (!takesInput(c)) continue;
    if (inGroup) {
      if (!(c->WgtFlags & WGT_FLAGGROUP)) continue;
    } else {
      if (!(c->WgtFlags & WGT_FLAGTABSTOP)) continue;
      if (currentInGroup && (c->WgtFlags & WGT_FLAGGROUP)) continue;  // a tab leaves a radio group
    }
    // A panel with children passes the focus on to them; one without (a
    // scrolling widget such as a text editor) takes it itself.
    if (PANEL_IsPanel(c) && PANEL_GetNumWgts(asPanel(c)) > 0) {
      PanelPtr sub = asPanel(c);
      sub->FocusWgt = nullptr;
      if (direction > 0 ? PANEL_FocusOnNextWgt(sub) : PANEL_FocusOnPrevWgt(sub)) return 1;
      continue;
    }
    if (WGT_GainFocus(c)) return 1;
  }
  return 0;
}

KyLstPtr keysOf(ResPtr list) {
  return list && RCLAS_IsSubClassOf(list->ResClass, KYLST_Class()) ? reinterpret_cast<KyLstPtr>(list) : nullptr;
}

// The focus child gets the key first; then the panel's four key lists
// move the focus.  The lists within a group apply only while the focus is
// on a member of a group, so that an arrow key on any other widget stays
// that widget's.
void S_DefKeyCirc(PanelPtr panel) {
  WgtPtr focus = panel->FocusWgt;
  if (focus && takesInput(focus)) {
    WGT_Send(focus, WGT_NFYKEYCIRC, EVENT_GetCurEvent());
    if (WGT_IsKeyHandled()) return;
  }
  bool inGroup = focus && (focus->WgtFlags & WGT_FLAGGROUP);
  BoolEnum moved = 0;
  bool matched = true;
  if (KYLST_Match(keysOf(panel->KeysNext))) moved = PANEL_FocusOnNextWgt(panel);
  else if (KYLST_Match(keysOf(panel->KeysPrev))) moved = PANEL_FocusOnPrevWgt(panel);
  else if (inGroup && KYLST_Match(keysOf(panel->KeysNextInGroup))) moved = PANEL_FocusOnNextWgtInGroup(panel);
  else if (inGroup && KYLST_Match(keysOf(panel->KeysPrevInGroup))) moved = PANEL_FocusOnPrevWgtInGroup(panel);
  else matched = false;
  // A focus key in a window is taken even when there is nowhere to go.
  if (moved || (matched && !PANEL_Wgt(panel)->Panel)) WGT_KeyHandled(PANEL_Wgt(panel));
}

void S_DefKeyAccel(PanelPtr panel) {
  WgtPtr focus = panel->FocusWgt;
  if (focus && takesInput(focus)) {
    WGT_Send(focus, WGT_NFYKEYACCEL, EVENT_GetCurEvent());
    if (WGT_IsKeyHandled()) return;
  }
  for (Int i = PANEL_GetNumWgts(panel) - 1; i >= 0; i--) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (c == focus || !takesInput(c)) continue;
    WGT_Send(c, WGT_NFYKEYACCEL, EVENT_GetCurEvent());
    if (WGT_IsKeyHandled()) return;
  }
}

void S_DefKeyChar(PanelPtr panel) {
  WgtPtr focus = panel->FocusWgt;
  if (focus && takesInput(focus)) WGT_Send(focus, WGT_NFYKEYCHAR, EVENT_GetCurEvent());
}

// The window of a panel's children: the panel's own window, or the panel
// itself when it is a window.  A panel standing alone (a combo box made
// outside any window) has none yet.
WinPtr S_WinOfParent(WgtPtr pw) {
  if (pw->Panel) return pw->Win;
  if (RCLAS_IsSubClassOf(WGT_Res(pw)->ResClass, WIN_Class())) return reinterpret_cast<WinPtr>(pw);
  return nullptr;
}

// The window of a child is its panel's window, or the panel itself when
// that is the window.
void S_LinkChild(ResPtr child, ResPtr panel, ResPtr) {
  WgtPtr c = WGT_FromRes(child);
  WgtPtr pw = WGT_FromRes(panel);
  c->Panel = reinterpret_cast<PanelPtr>(panel);
  c->Win = S_WinOfParent(pw);
}

// Key lists the template left empty are filled with the module "Wgt"'s.
void S_PanelConstruct(ResPtr res, ResConstructPtr params) {
  if (params->Mode == RES_MODECOPY) return;
  PanelPtr panel = reinterpret_cast<PanelPtr>(res);
  ResPtr* lists[4] = {&panel->KeysNext, &panel->KeysPrev, &panel->KeysNextInGroup, &panel->KeysPrevInGroup};
  for (Int i = 0; i < 4; i++)
    if (!*lists[i]) *lists[i] = KYLST_GetDefault(i);
}

}  // namespace

RClasPtr PANEL_Class() { return sPanel; }

void PANEL_InstallClass() {
  WGT_InstallClass();
  PANEL_SetWgtLinkProc(S_LinkChild);
  KYLST_InstallClass();
  sPanel = WgtRegisterClass("Panel", "Panel", WGT_Class(), sPanelFields, static_cast<Int>(sizeof(_PanelObj)),
                            S_PanelConstruct, PanelReleaseCompoWgts, PANEL_DefNfy);
}

void PANEL_InitClass() {}

BoolEnum PANEL_IsPanel(WgtPtr wgt) { return wgt && sPanel && RCLAS_IsSubClassOf(WGT_Res(wgt)->ResClass, sPanel); }

Int PANEL_GetNumWgts(PanelPtr panel) { return panel ? RES_GetNumChildren(PANEL_Res(panel)) : 0; }

WgtPtr PANEL_GetNthWgt(PanelPtr panel, Int n) {
  return panel ? WGT_FromRes(RES_GetNthChild(PANEL_Res(panel), n)) : nullptr;
}

void PANEL_PropagateAllWgts(PanelPtr panel, Int message, ClientPtr data, BoolEnum deep) {
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!c) continue;
    WGT_Send(c, message, data);
    if (deep && PANEL_IsPanel(c)) PANEL_PropagateAllWgts(asPanel(c), message, data, deep);
  }
}

// Initialises the panel part: the widget part, then the children.
void PanelDefInit(PanelPtr panel) {
  WgtPtr pw = PANEL_Wgt(panel);
  WGT_DefInit(pw);
  S_InitFocusWgtLst(panel);
  PANEL_SubwgtsInit(panel);
  panel->LaidOutExt = pw->Box.Extent;
}

long PANEL_DefNfy(ResPtr res, Int message, ClientPtr data) {
  PanelPtr panel = reinterpret_cast<PanelPtr>(res);
  switch (message) {
    case WGT_NFYINIT:
      PanelDefInit(panel);
      return 0;
    case WGT_NFYMOUSECLICK:
      PANEL_DefMouseClick(panel);
      return 0;
    case WGT_NFYMOUSEMOVE:
      PANEL_DefMouseMove(panel);
      return 0;
    case WGT_NFYSETCURSOR:
      S_DefSetCursor(panel);
      return 0;
    case WGT_NFYREDRAW:
      S_DefRedraw(panel);
      return 0;
    case WGT_NFYKEYACCEL:
      S_DefKeyAccel(panel);
      return 0;
    case WGT_NFYKEYCIRC:
      S_DefKeyCirc(panel);
      return 0;
    case WGT_NFYKEYCHAR:
      S_DefKeyChar(panel);
      return 0;
    case WGT_NFYSIZEINIT:
      PANEL_PropagateAllWgts(panel, WGT_NFYSIZEINIT, nullptr, 0);
      return 0;
    case WGT_NFYRESIZE:
      S_Relayout(panel);
      return 0;
    case WGT_NFYEND:
      PANEL_DefEnd(panel);
      return 0;
    case WGT_NFYFOCUSLOST:
      // Losing the focus means losing it all the way down.
      if (panel->FocusWgt) {
        WgtPtr old = panel->FocusWgt;
        panel->FocusWgt = nullptr;
        WGT_Send(old, WGT_NFYFOCUSLOST);
      }
      return 0;
    default:
      return WGT_DefNfy(res, message, data);
  }
}

void PANEL_DefMouseClick(PanelPtr panel) {
  WgtPtr hit = S_PanelPropagateUserEvent(panel, WGT_NFYMOUSECLICK);
  (void)hit;
}

void PANEL_DefMouseMove(PanelPtr panel) {
  if (!PANEL_SubwgtsMouseMove(panel) && panel->MouseWgt) PANEL_SetMouseWgt(panel, nullptr);
}

WgtPtr PANEL_SubwgtsMouseMove(PanelPtr panel) {
  return panel ? S_PanelPropagateUserEvent(panel, WGT_NFYMOUSEMOVE) : nullptr;
}

// The mouse left the panel: it left the child under it too.
void PANEL_DefMouseOut(PanelPtr panel) {
  if (panel) PANEL_SetMouseWgt(panel, nullptr);
}

void PANEL_DefEnd(PanelPtr panel) {
  if (!panel) return;
  panel->MouseWgt = nullptr;
  panel->FocusWgt = nullptr;
  PanelEndCompoWgts(panel);
  RGN_Dispose(panel->FillRgn);
  panel->FillRgn = nullptr;
  RGN_Dispose(panel->SubVisRgn);
  panel->SubVisRgn = nullptr;
  WGT_DefEnd(PANEL_Wgt(panel));
}

WgtPtr PANEL_GetWgtOnLoc(PanelPtr panel, _Point16Rec loc) {
  for (Int i = PANEL_GetNumWgts(panel) - 1; i >= 0; i--) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (takesInput(c) && RECT16_Contains(c->Box, loc.X, loc.Y)) return c;
  }
  return nullptr;
}

WgtPtr PANEL_GetNamedWgt(PanelPtr panel, const char* name) {
  if (!panel || !name) return nullptr;
  if (const char* dot = std::strchr(name, '.')) {
    std::string head(name, static_cast<size_t>(dot - name));
    WgtPtr sub = PANEL_GetNamedWgt(panel, head.c_str());
    return sub && PANEL_IsPanel(sub) ? PANEL_GetNamedWgt(asPanel(sub), dot + 1) : nullptr;
  }
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (c && STR_ICmp(RES_GetName(WGT_Res(c)), name) == 0) return c;
  }
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (c && PANEL_IsPanel(c))
      if (WgtPtr found = PANEL_GetNamedWgt(asPanel(c), name)) return found;
  }
  return nullptr;
}

void PANEL_SetLabel(PanelPtr panel, const char* label) {
  if (!panel) return;
  VSTR_Set(&panel->Label, label);
  if (PANEL_Res(panel)->ResInitialized) WGT_Inval(PANEL_Wgt(panel), nullptr);
}

const char* PANEL_GetLabel(PanelPtr panel) { return panel ? VSTR_Get(panel->Label) : ""; }

void PANEL_SetFocusWgt(PanelPtr panel, WgtPtr wgt) {
  if (!panel || panel->FocusWgt == wgt) return;
  AUTOM_Touch();
  WgtPtr old = panel->FocusWgt;
  panel->FocusWgt = wgt;
  if (wgt) WGT_Send(wgt, WGT_NFYFOCUSGAINED);
  if (old) WGT_Send(old, WGT_NFYFOCUSLOST);
}

WgtPtr PANEL_GetDeepFocusWgt(PanelPtr panel) {
  WgtPtr w = panel ? panel->FocusWgt : nullptr;
  while (w && PANEL_IsPanel(w) && asPanel(w)->FocusWgt) w = asPanel(w)->FocusWgt;
  return w;
}

void PANEL_SetMouseWgt(PanelPtr panel, WgtPtr wgt) {
  if (!panel || panel->MouseWgt == wgt) return;
  WgtPtr old = panel->MouseWgt;
  panel->MouseWgt = wgt;
  if (old) WGT_Send(old, WGT_NFYMOUSEOUT);
}

void PANEL_SetFocusOrder(PanelPtr panel, const Int16* indices, Int count) {
  if (!panel || count < 0) return;
  std::vector<uint8_t> bytes;
  for (Int i = 0; i < count; i++) {
    bytes.push_back(static_cast<uint8_t>(static_cast<UInt16>(indices[i]) >> 8));
    bytes.push_back(static_cast<uint8_t>(indices[i] & 0xff));
  }
  PFLD_SetData(PANEL_Res(panel), RCLAS_FindField(sPanel, "FocusWgtLst"), bytes.data(),
               static_cast<UInt32>(bytes.size()));
  S_InitFocusWgtLst(panel);
}

BoolEnum PANEL_FocusOnNextWgt(PanelPtr panel) { return panel ? focusStep(panel, 1, false) : 0; }
BoolEnum PANEL_FocusOnPrevWgt(PanelPtr panel) { return panel ? focusStep(panel, -1, false) : 0; }
BoolEnum PANEL_FocusOnNextWgtInGroup(PanelPtr panel) { return panel ? focusStep(panel, 1, true) : 0; }
BoolEnum PANEL_FocusOnPrevWgtInGroup(PanelPtr panel) { return panel ? focusStep(panel, -1, true) : 0; }

void PANEL_AddWgtAtIndex(PanelPtr panel, WgtPtr wgt, Int index) {
  if (!panel || !wgt) return;
  AUTOM_Touch();
  Int count = PANEL_GetNumWgts(panel);
  if (index < 0 || index > count) index = count;
  for (Int i = 0; i < count; i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (c && c->Index >= index) c->Index = static_cast<Int16>(c->Index + 1);
  }
  wgt->Index = static_cast<Int16>(index);
  RES_SetParent(WGT_Res(wgt), PANEL_Res(panel));
  PANEL_BuildWgtArray(PANEL_Res(panel));
  WgtPtr pw = PANEL_Wgt(panel);
  wgt->Panel = panel;
  wgt->Win = S_WinOfParent(pw);
  if (PANEL_Res(panel)->ResInitialized) {
    if (!WGT_Res(wgt)->ResInitialized) WGT_Send(wgt, WGT_NFYINIT);
    WGT_Send(wgt, WGT_NFYSIZEINIT);
    WGT_VisRgnInvalBelow(pw);
    WGT_Inval(wgt, nullptr);
  }
}

void PANEL_AddWgt(PanelPtr panel, WgtPtr wgt) { PANEL_AddWgtAtIndex(panel, wgt, PANEL_GetNumWgts(panel)); }

void PANEL_RemoveWgt(PanelPtr panel, WgtPtr wgt) {
  if (!panel || !wgt || wgt->Panel != panel) return;
  AUTOM_Touch();
  WGT_Inval(wgt, nullptr);
  if (panel->FocusWgt == wgt) panel->FocusWgt = nullptr;
  if (panel->MouseWgt == wgt) panel->MouseWgt = nullptr;
  Int removed = wgt->Index;
  if (WGT_Res(wgt)->ResInitialized) WGT_Send(wgt, WGT_NFYEND);
  RES_SetParent(WGT_Res(wgt), nullptr);
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (c && c->Index > removed) c->Index = static_cast<Int16>(c->Index - 1);
  }
  PANEL_BuildWgtArray(PANEL_Res(panel));
  wgt->Panel = nullptr;
  wgt->Win = nullptr;
  WGT_VisRgnInvalBelow(PANEL_Wgt(panel));
}
