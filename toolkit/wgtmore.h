// The widget base's calls for classes of their own and for layout code:
// the class defaults a new class calls for the messages it does not treat
// itself, scaling of points and boxes between resource and screen, the
// resize of a widget after its resource box or flags changed, copies, and
// focus validation.
//
// Contracts:
//  - The defaults act on the widget alone; they do not call the class's
//    own procedure again.
//  - WGT_Copy gives a new widget (reference count 1, owned by the caller)
//    with the fields and, deep, the children of the original; it is not
//    initialised and belongs to no panel.
#ifndef OWB_TOOLKIT_WGTMORE_H
#define OWB_TOOLKIT_WGTMORE_H

#include "toolkit/wgtpub.h"

// What PANEL_NFYWGTBOXCONVT asks a panel: convert In (a resource box for
// mode 2, a box for mode 3) for the widget into Out, which holds the plain
// conversion when the message is sent.
enum { PANEL_BOXCONVTRESTOBOX = 2, PANEL_BOXCONVTBOXTORES = 3 };
struct _PanelNfyWgtBoxConvtRec {
  Int Mode;
  WgtPtr Wgt;
  _Rect16Rec In;
  _Rect16Rec Out;
};

void WGT_DefRedraw(WgtPtr wgt);     // paints the background colour, if any
void WGT_DefReset(WgtPtr wgt);      // an initialised widget is ended and initialised again
void WGT_DefSetCursor(WgtPtr wgt);  // shows the widget's cursor and takes the request

void WGT_ScalePoint16(WgtPtr wgt, _Point16Rec* point);
void WGT_UnscalePoint16(WgtPtr wgt, _Point16Rec* point);
void WGT_UnscaleRect16(WgtPtr wgt, _Rect16Rec* rect);
void WGT_ConvertBoxToResBox(WgtPtr wgt, const _Rect16Rec& box, _Rect16Rec* resBox);

// The box the parent panel gives for the resource box in use
// (PANEL_NFYWGTBOXCONVT, mode 2) becomes the widget's box; a changed
// extent sends WGT_NFYRESIZE.
void WGT_SelfResize(WgtPtr wgt);

// Works the visible region out again now, and returns it (owned by the
// widget).
RegionPtr WGT_ComputeVisRgn(WgtPtr wgt);

WgtPtr WGT_Copy(WgtPtr wgt, BoolEnum deep);

// Asks the focus widget of the widget's window whether its contents are
// valid (WGT_NFYQUERYVALIDATE, with wgt as the requester); true when there
// is none or it says so.
BoolEnum WGT_IsFocusWidgetValid(WgtPtr wgt);

#endif  // OWB_TOOLKIT_WGTMORE_H
