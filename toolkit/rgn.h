// Regions: sets of pixels made of rectangles, used for clipping drawing and
// for collecting the parts of a window that must be redrawn.
//
// A RegionPtr is owned by whoever made it with RGN_New / RGN_NewRect and is
// freed with RGN_Dispose.  Operations that take a destination change it in
// place.  Null is accepted by the queries and stands for the empty region.
#ifndef OWB_TOOLKIT_RGN_H
#define OWB_TOOLKIT_RGN_H

#include "toolkit/geom.h"

struct _RgnRec;
typedef _RgnRec* RegionPtr;

void RGN_Init();
RegionPtr RGN_New();
RegionPtr RGN_NewRect(const _Rect16Rec& rect);
RegionPtr RGN_NewCopy(RegionPtr src);
void RGN_Dispose(RegionPtr rgn);

void RGN_SetEmpty(RegionPtr rgn);
void RGN_SetRect(RegionPtr rgn, const _Rect16Rec& rect);
void RGN_Copy(RegionPtr dst, RegionPtr src);
void RGN_UnionRect(RegionPtr dst, const _Rect16Rec& rect);
void RGN_Union(RegionPtr dst, RegionPtr other);
void RGN_Intersect(RegionPtr dst, RegionPtr other);
void RGN_IntersectRect(RegionPtr dst, const _Rect16Rec& rect);
void RGN_Subtract(RegionPtr dst, RegionPtr other);
void RGN_SubtractRect(RegionPtr dst, const _Rect16Rec& rect);
void RGN_Offset(RegionPtr rgn, int dx, int dy);

bool RGN_IsEmpty(RegionPtr rgn);
bool RGN_ContainsPoint(RegionPtr rgn, int x, int y);
// True when some pixel of the rectangle lies in the region.
bool RGN_OverlapsRect(RegionPtr rgn, const _Rect16Rec& rect);
bool RGN_Equal(RegionPtr a, RegionPtr b);
// The smallest rectangle holding the region; empty for an empty region.
_Rect16Rec RGN_QueryBounds(RegionPtr rgn);

// The display layer's own handle of the region (for the drawing code).
void* RgnNative(RegionPtr rgn);

#endif  // OWB_TOOLKIT_RGN_H
