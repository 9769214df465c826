// Points and rectangles of the toolkit, in 16-bit pixel coordinates.
//
// A rectangle is an origin and an extent (width, height); it covers the
// pixels origin .. origin + extent - 1.  An extent of 0 in either direction
// is an empty rectangle.
#ifndef OWB_TOOLKIT_GEOM_H
#define OWB_TOOLKIT_GEOM_H

#include <cstdint>

struct _Point16Rec {
  int16_t X;
  int16_t Y;
};

struct _Rect16Rec {
  _Point16Rec Origin;
  _Point16Rec Extent;
};

inline _Rect16Rec RECT16_Make(int x, int y, int w, int h) {
  return _Rect16Rec{{static_cast<int16_t>(x), static_cast<int16_t>(y)},
                    {static_cast<int16_t>(w), static_cast<int16_t>(h)}};
}
inline bool RECT16_IsEmpty(const _Rect16Rec& r) { return r.Extent.X <= 0 || r.Extent.Y <= 0; }
inline bool RECT16_Contains(const _Rect16Rec& r, int x, int y) {
  return x >= r.Origin.X && y >= r.Origin.Y && x < r.Origin.X + r.Extent.X && y < r.Origin.Y + r.Extent.Y;
}
inline bool RECT16_Equal(const _Rect16Rec& a, const _Rect16Rec& b) {
  return a.Origin.X == b.Origin.X && a.Origin.Y == b.Origin.Y && a.Extent.X == b.Extent.X &&
         a.Extent.Y == b.Extent.Y;
}
// The rectangle shrunk by d on every side (never below an empty extent).
inline _Rect16Rec RECT16_Inset(const _Rect16Rec& r, int d) {
  int w = r.Extent.X - 2 * d, h = r.Extent.Y - 2 * d;
  return RECT16_Make(r.Origin.X + d, r.Origin.Y + d, w < 0 ? 0 : w, h < 0 ? 0 : h);
}

#endif  // OWB_TOOLKIT_GEOM_H
