// Resizing, copies, visible regions and focus validation of widgets (see
// wgtmore.h).
#include "toolkit/wgtarray.h"
#include "toolkit/wgtmore.h"
#include "toolkit/winpub.h"

void WGT_SelfResize(WgtPtr wgt) {
  if (!wgt) return;
  _PanelNfyWgtBoxConvtRec convt{PANEL_BOXCONVTRESTOBOX, wgt, {}, {}};
  WGT_GetResBox(wgt, &convt.In);
  WGT_ConvertResBoxToBox(wgt, convt.In, &convt.Out);
  if (wgt->Panel) WGT_Send(PANEL_Wgt(wgt->Panel), PANEL_NFYWGTBOXCONVT, &convt);
  if (RECT16_Equal(convt.Out, wgt->Box)) return;
  bool resized = convt.Out.Extent.X != wgt->Box.Extent.X || convt.Out.Extent.Y != wgt->Box.Extent.Y;
  WGT_Inval(wgt, nullptr);  // where it was
  wgt->Box = convt.Out;
  WGT_VisRgnInvalBelow(wgt);
  if (resized) WGT_Send(wgt, WGT_NFYRESIZE);
  WGT_Inval(wgt, nullptr);
}

RegionPtr WGT_ComputeVisRgn(WgtPtr wgt) {
  if (!wgt) return nullptr;
  wgt->WgtPrivate3 = 0;
  return WGT_GetVisRgn(wgt);
}

WgtPtr WGT_Copy(WgtPtr wgt, BoolEnum deep) {
  if (!wgt) return nullptr;
  ResPtr copy = RES_Clone(WGT_Res(wgt), deep);
  // The copied children know their places by their indices.
  if (deep && PANEL_IsPanel(WGT_FromRes(copy))) PANEL_BuildWgtArray(copy);
  return WGT_FromRes(copy);
}

BoolEnum WGT_IsFocusWidgetValid(WgtPtr wgt) {
  if (!wgt || !wgt->Win) return 1;
  WgtPtr focus = PANEL_GetDeepFocusWgt(WIN_Panel(wgt->Win));
  if (!focus) return 1;
  _WgtQueryValidateRec query{wgt, 1};
  WGT_Send(focus, WGT_NFYQUERYVALIDATE, &query);
  return query.Valid ? 1 : 0;
}
