// Composite widgets, the stored focus order, propagation and the panel's
// box (see panelmore.h).
#include <algorithm>
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/panelmore.h"
#include "toolkit/pfld.h"

namespace {

PanelPtr asPanel(WgtPtr wgt) { return reinterpret_cast<PanelPtr>(wgt); }

bool isChild(PanelPtr panel, WgtPtr wgt) {
  return wgt && RES_GetParent(WGT_Res(wgt)) == PANEL_Res(panel) && PANEL_GetNthWgt(panel, wgt->Index) == wgt;
}

// The stored focus order as child indices.
std::vector<Int16> focusIndices(PanelPtr panel) {
  std::vector<Int16> out;
  const _DataRec& stored = panel->PanelPrivate;
  if (stored.Data)
    for (UInt32 i = 0; i + 1 < stored.Size; i += 2)
      out.push_back(static_cast<Int16>((stored.Data[i] << 8) | stored.Data[i + 1]));
  return out;
}

void setFocusIndices(PanelPtr panel, const std::vector<Int16>& order) {
  PANEL_SetFocusOrder(panel, order.data(), static_cast<Int>(order.size()));
}

}  // namespace

// --- Composite widgets ---------------------------------------------------------------------

void PANEL_AddCompoWgtAtIndex(PanelPtr panel, WgtPtr wgt, Int index) {
  if (!panel || !wgt) return;
  AUTOM_Touch();
  if (!panel->CompoWgts) panel->CompoWgts = ARRAY_New(static_cast<Int>(sizeof(WgtPtr)), 4);
  Int count = ARRAY_GetCount(panel->CompoWgts);
  if (index < 0 || index > count) index = count;
  ARRAY_InsertAt(panel->CompoWgts, index, &wgt);
  WgtPtr pw = PANEL_Wgt(panel);
  wgt->Panel = panel;
  wgt->Win = pw->Win;
  if (PANEL_Res(panel)->ResInitialized) {
    if (!WGT_Res(wgt)->ResInitialized) WGT_Send(wgt, WGT_NFYINIT);
    WGT_Send(wgt, WGT_NFYSIZEINIT);
    WGT_VisRgnInvalBelow(pw);
    WGT_Inval(wgt, nullptr);
  }
}

void PANEL_AddCompoWgt(PanelPtr panel, WgtPtr wgt) {
  PANEL_AddCompoWgtAtIndex(panel, wgt, PANEL_GetNumCompoWgts(panel));
}

void PANEL_RemoveCompoWgt(PanelPtr panel, WgtPtr wgt) {
  if (!panel || !wgt) return;
  for (Int i = 0; i < ARRAY_GetCount(panel->CompoWgts); i++) {
    if (ARRAY_GetNthPtr(panel->CompoWgts, i) != wgt) continue;
    AUTOM_Touch();
    WGT_Inval(wgt, nullptr);
    if (panel->FocusWgt == wgt) panel->FocusWgt = nullptr;
    if (panel->MouseWgt == wgt) panel->MouseWgt = nullptr;
    if (WGT_Res(wgt)->ResInitialized) WGT_Send(wgt, WGT_NFYEND);
    ARRAY_RemoveAt(panel->CompoWgts, i);
    wgt->Panel = nullptr;
    wgt->Win = nullptr;
    WGT_VisRgnInvalBelow(PANEL_Wgt(panel));
    return;
  }
}

Int PANEL_GetNumCompoWgts(PanelPtr panel) { return panel ? ARRAY_GetCount(panel->CompoWgts) : 0; }

WgtPtr PANEL_GetNthCompoWgt(PanelPtr panel, Int n) {
  return panel ? static_cast<WgtPtr>(ARRAY_GetNthPtr(panel->CompoWgts, n)) : nullptr;
}

void PanelEndCompoWgts(PanelPtr panel) {
  for (Int i = 0; i < ARRAY_GetCount(panel->CompoWgts); i++) {
    WgtPtr c = static_cast<WgtPtr>(ARRAY_GetNthPtr(panel->CompoWgts, i));
    if (c && WGT_Res(c)->ResInitialized) WGT_Send(c, WGT_NFYEND);
  }
}

void PanelReleaseCompoWgts(ResPtr res) {
  PanelPtr panel = reinterpret_cast<PanelPtr>(res);
  ArrayPtr compo = panel->CompoWgts;
  panel->CompoWgts = nullptr;
  for (Int i = 0; i < ARRAY_GetCount(compo); i++)
    if (WgtPtr c = static_cast<WgtPtr>(ARRAY_GetNthPtr(compo, i))) {
      // The panel and its window are going: a part that lives on (someone
      // else holds it) keeps no link to them.
      c->Panel = nullptr;
      c->Win = nullptr;
      if (WGT_Res(c)->ResInitialized) WGT_Send(c, WGT_NFYEND);
      RES_Release(WGT_Res(c));
    }
  ARRAY_Dispose(compo);
}

// --- Focus order ---------------------------------------------------------------------------

void PANEL_AddFocusWgtAtIndex(PanelPtr panel, WgtPtr wgt, Int index) {
  if (!panel || !isChild(panel, wgt)) return;
  std::vector<Int16> order = focusIndices(panel);
  order.erase(std::remove(order.begin(), order.end(), wgt->Index), order.end());
  if (index < 0 || index > static_cast<Int>(order.size())) index = static_cast<Int>(order.size());
  order.insert(order.begin() + index, wgt->Index);
  wgt->WgtFlags |= WGT_FLAGTABSTOP;
  setFocusIndices(panel, order);
}

void PANEL_AddFocusWgt(PanelPtr panel, WgtPtr wgt) { PANEL_AddFocusWgtAtIndex(panel, wgt, -1); }

void PANEL_RemoveFocusWgt(PanelPtr panel, WgtPtr wgt) {
  if (!panel || !isChild(panel, wgt)) return;
  std::vector<Int16> order = focusIndices(panel);
  size_t before = order.size();
  order.erase(std::remove(order.begin(), order.end(), wgt->Index), order.end());
  if (order.size() == before) return;
  // Out of the order is out of tabbing, also when the order is now empty.
  wgt->WgtFlags &= static_cast<UInt16>(~(WGT_FLAGTABSTOP | WGT_FLAGGROUP));
  setFocusIndices(panel, order);
}

void PANEL_SetKeyWgt(PanelPtr panel, WgtPtr wgt) {
  if (!panel) return;
  if (!wgt) {
    PANEL_SetFocusWgt(panel, nullptr);
    return;
  }
  // Each panel on the way up takes the one below as its focus; the chain
  // must reach this panel.
  std::vector<std::pair<PanelPtr, WgtPtr>> links;
  for (WgtPtr w = wgt; w && w != PANEL_Wgt(panel); w = PANEL_Wgt(w->Panel)) {
    if (!w->Panel) return;
    links.emplace_back(w->Panel, w);
  }
  for (auto it = links.rbegin(); it != links.rend(); ++it) PANEL_SetFocusWgt(it->first, it->second);
}

// --- Label ---------------------------------------------------------------------------------

UInt16 PANEL_GetLabelJustif(PanelPtr panel) { return panel ? panel->LabelJustif : 0; }

void PANEL_SetLabelJustif(PanelPtr panel, UInt16 justif) {
  if (!panel || panel->LabelJustif == justif) return;
  panel->LabelJustif = justif;
  if (PANEL_Res(panel)->ResInitialized) WGT_Inval(PANEL_Wgt(panel), nullptr);
}

// --- Propagation ---------------------------------------------------------------------------

void PANEL_Propagate(PanelPtr panel, Int message, ClientPtr data) {
  PANEL_PropagateAllWgts(panel, message, data, 0);
  for (Int i = 0; i < PANEL_GetNumCompoWgts(panel); i++)
    if (WgtPtr c = PANEL_GetNthCompoWgt(panel, i)) WGT_Send(c, message, data);
}

void PANEL_PropagateAccessWgts(PanelPtr panel, Int message, ClientPtr data) {
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!c || c->Disabled || c->Invisible) continue;
    WGT_Send(c, message, data);
    if (PANEL_IsPanel(c)) PANEL_PropagateAccessWgts(asPanel(c), message, data);
  }
}

WgtPtr PANEL_PropagateProtocol(PanelPtr panel, Int message, ClientPtr data) {
  for (Int i = PANEL_GetNumWgts(panel) - 1; i >= 0; i--) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (c && WGT_Send(c, message, data) != 0) return c;
  }
  return nullptr;
}

// --- Box -----------------------------------------------------------------------------------

void PANEL_SetBox(PanelPtr panel, const _Rect16Rec& box) {
  if (!panel) return;
  WgtPtr pw = PANEL_Wgt(panel);
  if (!PANEL_Res(panel)->ResInitialized) {
    pw->Box = box;
    return;
  }
  // The resize that this sends lays the children out for the new extent.
  WGT_Configure(pw, &box.Origin, &box.Extent);
}

void PANEL_SetResBox(PanelPtr panel, const _Rect16Rec& resBox) {
  if (!panel) return;
  WgtPtr pw = PANEL_Wgt(panel);
  BoolEnum shown = PANEL_Res(panel)->ResInitialized;
  if (shown) WGT_Inval(pw, nullptr);  // where it was
  WGT_SetBox(pw, resBox);  // the resource box and the box scaled from it
  if (!shown) return;
  WGT_VisRgnInvalBelow(pw);
  WGT_Send(pw, WGT_NFYRESIZE);
  WGT_Inval(pw, nullptr);
}

// --- Class defaults ------------------------------------------------------------------------

void PANEL_DefInit(PanelPtr panel) {
  if (panel) PanelDefInit(panel);
}

void PANEL_SubwgtsInit(PanelPtr panel) {
  if (!panel) return;
  WgtPtr pw = PANEL_Wgt(panel);
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!c) continue;
    c->Panel = panel;
    c->Win = pw->Win;
    if (!WGT_Res(c)->ResInitialized) WGT_Send(c, WGT_NFYINIT);
  }
  for (Int i = 0; i < PANEL_GetNumCompoWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthCompoWgt(panel, i);
    if (c && !WGT_Res(c)->ResInitialized) WGT_Send(c, WGT_NFYINIT);
  }
}
