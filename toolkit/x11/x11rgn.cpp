// Regions on Xlib's region arithmetic.
#include "toolkit/x11/x11priv.h"  // first: it settles the X type names

#include "toolkit/rgn.h"


struct _RgnRec {
  Region x;
};

namespace {
XRectangle toX(const _Rect16Rec& r) {
  XRectangle xr;
  xr.x = r.Origin.X;
  xr.y = r.Origin.Y;
  xr.width = static_cast<unsigned short>(r.Extent.X > 0 ? r.Extent.X : 0);
  xr.height = static_cast<unsigned short>(r.Extent.Y > 0 ? r.Extent.Y : 0);
  return xr;
}
}  // namespace

void RGN_Init() {}

RegionPtr RGN_New() { return new _RgnRec{XCreateRegion()}; }

RegionPtr RGN_NewRect(const _Rect16Rec& rect) {
  RegionPtr r = RGN_New();
  RGN_SetRect(r, rect);
  return r;
}

RegionPtr RGN_NewCopy(RegionPtr src) {
  RegionPtr r = RGN_New();
  RGN_Copy(r, src);
  return r;
}

void RGN_Dispose(RegionPtr rgn) {
  if (!rgn) return;
  XDestroyRegion(rgn->x);
  delete rgn;
}

void RGN_SetEmpty(RegionPtr rgn) {
  if (!rgn) return;
  XDestroyRegion(rgn->x);
  rgn->x = XCreateRegion();
}

void RGN_SetRect(RegionPtr rgn, const _Rect16Rec& rect) {
  RGN_SetEmpty(rgn);
  RGN_UnionRect(rgn, rect);
}

void RGN_Copy(RegionPtr dst, RegionPtr src) {
  if (!dst) return;
  RGN_SetEmpty(dst);
  if (src) XUnionRegion(src->x, dst->x, dst->x);
}

void RGN_UnionRect(RegionPtr dst, const _Rect16Rec& rect) {
  if (!dst || RECT16_IsEmpty(rect)) return;
  XRectangle xr = toX(rect);
  XUnionRectWithRegion(&xr, dst->x, dst->x);
}

void RGN_Union(RegionPtr dst, RegionPtr other) {
  if (dst && other) XUnionRegion(dst->x, other->x, dst->x);
}

void RGN_Intersect(RegionPtr dst, RegionPtr other) {
  if (!dst) return;
  if (!other) {
    RGN_SetEmpty(dst);
    return;
  }
  XIntersectRegion(dst->x, other->x, dst->x);
}

void RGN_IntersectRect(RegionPtr dst, const _Rect16Rec& rect) {
  if (!dst) return;
  RegionPtr r = RGN_NewRect(rect);
  RGN_Intersect(dst, r);
  RGN_Dispose(r);
}

void RGN_Subtract(RegionPtr dst, RegionPtr other) {
  if (dst && other) XSubtractRegion(dst->x, other->x, dst->x);
}

void RGN_SubtractRect(RegionPtr dst, const _Rect16Rec& rect) {
  if (!dst) return;
  RegionPtr r = RGN_NewRect(rect);
  RGN_Subtract(dst, r);
  RGN_Dispose(r);
}

void RGN_Offset(RegionPtr rgn, int dx, int dy) {
  if (rgn) XOffsetRegion(rgn->x, dx, dy);
}

bool RGN_IsEmpty(RegionPtr rgn) { return !rgn || XEmptyRegion(rgn->x); }

bool RGN_ContainsPoint(RegionPtr rgn, int x, int y) { return rgn && XPointInRegion(rgn->x, x, y); }

bool RGN_OverlapsRect(RegionPtr rgn, const _Rect16Rec& rect) {
  if (!rgn || RECT16_IsEmpty(rect)) return false;
  return XRectInRegion(rgn->x, rect.Origin.X, rect.Origin.Y, static_cast<unsigned>(rect.Extent.X),
                       static_cast<unsigned>(rect.Extent.Y)) != RectangleOut;
}

bool RGN_Equal(RegionPtr a, RegionPtr b) {
  if (RGN_IsEmpty(a) && RGN_IsEmpty(b)) return true;
  if (!a || !b) return false;
  return XEqualRegion(a->x, b->x);
}

_Rect16Rec RGN_QueryBounds(RegionPtr rgn) {
  if (RGN_IsEmpty(rgn)) return RECT16_Make(0, 0, 0, 0);
  XRectangle xr;
  XClipBox(rgn->x, &xr);
  return RECT16_Make(xr.x, xr.y, xr.width, xr.height);
}

void* RgnNative(RegionPtr rgn) { return rgn ? rgn->x : nullptr; }
