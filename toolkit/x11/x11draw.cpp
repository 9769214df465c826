// Drawing on Xlib (rectangles, lines) and Xft (text, anti-aliased shapes).
#include "toolkit/x11/x11priv.h"  // first: it settles the X type names

#include "toolkit/draw.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>


struct _DrawRec {
  Window win;
  _Point16Rec origin;
  RegionPtr clip;  // window coordinates; null for the whole window
};

namespace {
std::map<Window, XftDraw*> gXftDraws;

bool usable(DrawPtr d) { return d && d->win && X11().dpy && X11IsOurWin(d->win); }

XftDraw* xftDrawOf(Window win) {
  auto it = gXftDraws.find(win);
  if (it != gXftDraws.end()) return it->second;
  X11State& x = X11();
  XftDraw* xd = XftDrawCreate(x.dpy, win, x.visual, x.colormap);
  gXftDraws[win] = xd;
  return xd;
}

// Puts the context's clip on the shared GC.
void applyClip(DrawPtr d) {
  X11State& x = X11();
  if (d->clip) XSetRegion(x.dpy, x.gc, static_cast<Region>(RgnNative(d->clip)));
  else XSetClipMask(x.dpy, x.gc, None);
}

void applyXftClip(DrawPtr d, XftDraw* xd) {
  if (d->clip) XftDrawSetClip(xd, static_cast<Region>(RgnNative(d->clip)));
  else XftDrawSetClip(xd, nullptr);
}

// Sets the GC for a colour; false when the colour draws nothing.
bool setColor(ColorPtr color) {
  X11State& x = X11();
  if (!color || color->Kind == COLOR_KINDTRANSPARENT) return false;
  if (color->Kind == COLOR_KINDINVERT) {
    XSetFunction(x.dpy, x.gc, GXxor);
    XSetForeground(x.dpy, x.gc, WhitePixel(x.dpy, x.screen) ^ BlackPixel(x.dpy, x.screen));
  } else {
    XSetFunction(x.dpy, x.gc, GXcopy);
    XSetForeground(x.dpy, x.gc, X11Pixel(color));
  }
  XSetFillStyle(x.dpy, x.gc, FillSolid);
  return true;
}

bool setPen(PenPtr pen) {
  X11State& x = X11();
  if (!pen || pen->Style == PEN_STYLEINVISIBLE) return false;
  int w = pen->Width <= 1 ? 0 : pen->Width;  // 0: the fast one-pixel line
  XSetLineAttributes(x.dpy, x.gc, static_cast<unsigned>(w), pen->Style == PEN_STYLEDASH ? LineOnOffDash : LineSolid,
                     CapProjecting, JoinMiter);
  return true;
}

// Coverage (0..16) of pixel (px, py) by the ellipse with centre (cx, cy)
// and radii (rx, ry): the distance of the pixel's centre from the edge,
// measured along the mean radius, gives a smooth edge one pixel wide.
int coverage(double cx, double cy, double rx, double ry, int px, int py) {
  if (rx <= 0 || ry <= 0) return 0;
  double dx = (px + 0.5 - cx) / rx, dy = (py + 0.5 - cy) / ry;
  double rho = std::sqrt(dx * dx + dy * dy);
  double c = 0.5 - (rho - 1.0) * (rx + ry) / 2.0;
  if (c <= 0) return 0;
  if (c >= 1) return 16;
  return static_cast<int>(c * 16 + 0.5);
}

// Paints a shape given by per-pixel coverage: full runs as rectangles,
// edge pixels blended with the coverage as alpha.
template <class Cover>
void paintCoverage(DrawPtr d, const _Rect16Rec& r, ColorPtr color, Cover cover) {
  X11State& x = X11();
  XftDraw* xd = xftDrawOf(d->win);
  applyXftClip(d, xd);
  XftColor* full = X11XftColor(color);
  if (!full) return;
  int ox = d->origin.X + r.Origin.X, oy = d->origin.Y + r.Origin.Y;
  for (int py = 0; py < r.Extent.Y; py++) {
    int runStart = -1;
    for (int px = 0; px <= r.Extent.X; px++) {
      int c = px < r.Extent.X ? cover(px, py) : 0;
      if (c == 16) {
        if (runStart < 0) runStart = px;
        continue;
      }
      if (runStart >= 0) {
        XftDrawRect(xd, full, ox + runStart, oy + py, static_cast<unsigned>(px - runStart), 1);
        runStart = -1;
      }
      if (c > 0) {
        // Edge pixels are blended over what is there (Xft's own rectangle
        // fill replaces instead); Render takes premultiplied colours.
        unsigned a = static_cast<unsigned>(c) * 0xffff / 16;
        XRenderColor part;
        part.red = static_cast<unsigned short>(color->R * 257u * a / 0xffff);
        part.green = static_cast<unsigned short>(color->G * 257u * a / 0xffff);
        part.blue = static_cast<unsigned short>(color->B * 257u * a / 0xffff);
        part.alpha = static_cast<unsigned short>(a);
        XRenderFillRectangle(x.dpy, PictOpOver, XftDrawPicture(xd), &part, ox + px, oy + py, 1, 1);
      }
    }
  }
}
}  // namespace

void X11ForgetWinDraw(Window win) {
  auto it = gXftDraws.find(win);
  if (it == gXftDraws.end()) return;
  XftDrawDestroy(it->second);
  gXftDraws.erase(it);
}

void DRAW_Init() {}

DrawPtr DRAW_Begin(NatWinId win, _Point16Rec origin, RegionPtr clip) {
  return new _DrawRec{static_cast<Window>(win), origin, clip ? RGN_NewCopy(clip) : nullptr};
}

void DRAW_End(DrawPtr draw) {
  if (!draw) return;
  RGN_Dispose(draw->clip);
  delete draw;
}

void DRAW_ClipRect(DrawPtr draw, const _Rect16Rec& rect) {
  if (!draw) return;
  _Rect16Rec abs = rect;
  abs.Origin.X = static_cast<int16_t>(abs.Origin.X + draw->origin.X);
  abs.Origin.Y = static_cast<int16_t>(abs.Origin.Y + draw->origin.Y);
  if (!draw->clip) draw->clip = RGN_NewRect(abs);
  else RGN_IntersectRect(draw->clip, abs);
}

void DRAW_FillRect(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color) {
  DRAW_FillRectPatt(draw, rect, color, PATT_Solid());
}

void DRAW_FillRectPatt(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color, PattPtr patt) {
  if (!usable(draw) || RECT16_IsEmpty(rect) || !patt || patt->Kind == PATT_KINDEMPTY) return;
  X11State& x = X11();
  if (!setColor(color)) return;
  applyClip(draw);
  if (patt->Kind == PATT_KINDGRAY) {
    XSetStipple(x.dpy, x.gc, x.grayStipple);
    XSetTSOrigin(x.dpy, x.gc, 0, 0);
    XSetFillStyle(x.dpy, x.gc, FillStippled);
  }
  XFillRectangle(x.dpy, draw->win, x.gc, draw->origin.X + rect.Origin.X, draw->origin.Y + rect.Origin.Y,
                 static_cast<unsigned>(rect.Extent.X), static_cast<unsigned>(rect.Extent.Y));
  XSetFillStyle(x.dpy, x.gc, FillSolid);
}

void DRAW_FrameRect(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color, PenPtr pen) {
  if (!pen || pen->Style == PEN_STYLEINVISIBLE || RECT16_IsEmpty(rect)) return;
  int w = pen->Width;
  int rx = rect.Origin.X, ry = rect.Origin.Y, rw = rect.Extent.X, rh = rect.Extent.Y;
  if (2 * w >= rw || 2 * w >= rh) {
    DRAW_FillRect(draw, rect, color);
    return;
  }
  DRAW_FillRect(draw, RECT16_Make(rx, ry, rw, w), color);
  DRAW_FillRect(draw, RECT16_Make(rx, ry + rh - w, rw, w), color);
  DRAW_FillRect(draw, RECT16_Make(rx, ry + w, w, rh - 2 * w), color);
  DRAW_FillRect(draw, RECT16_Make(rx + rw - w, ry + w, w, rh - 2 * w), color);
}

void DRAW_Line(DrawPtr draw, int x1, int y1, int x2, int y2, ColorPtr color, PenPtr pen) {
  _Point16Rec pts[2] = {{static_cast<int16_t>(x1), static_cast<int16_t>(y1)},
                        {static_cast<int16_t>(x2), static_cast<int16_t>(y2)}};
  DRAW_Lines(draw, pts, 2, color, pen);
}

void DRAW_Lines(DrawPtr draw, const _Point16Rec* points, int count, ColorPtr color, PenPtr pen) {
  if (!usable(draw) || !points || count < 2) return;
  X11State& x = X11();
  if (!setColor(color) || !setPen(pen)) return;
  applyClip(draw);
  std::vector<XPoint> xp(static_cast<size_t>(count));
  for (int i = 0; i < count; i++) {
    xp[i].x = static_cast<short>(points[i].X + draw->origin.X);
    xp[i].y = static_cast<short>(points[i].Y + draw->origin.Y);
  }
  XDrawLines(x.dpy, draw->win, x.gc, xp.data(), count, CoordModeOrigin);
}

void DRAW_FillEllipse(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color) {
  if (!usable(draw) || RECT16_IsEmpty(rect) || !color || color->Kind != COLOR_KINDRGB) return;
  double rx = rect.Extent.X / 2.0, ry = rect.Extent.Y / 2.0;
  paintCoverage(draw, rect, color, [&](int px, int py) { return coverage(rx, ry, rx, ry, px, py); });
}

void DRAW_FrameEllipse(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color, PenPtr pen) {
  if (!usable(draw) || RECT16_IsEmpty(rect) || !color || color->Kind != COLOR_KINDRGB) return;
  if (!pen || pen->Style == PEN_STYLEINVISIBLE) return;
  double rx = rect.Extent.X / 2.0, ry = rect.Extent.Y / 2.0, w = pen->Width;
  paintCoverage(draw, rect, color, [&](int px, int py) {
    int c = coverage(rx, ry, rx, ry, px, py) - coverage(rx, ry, rx - w, ry - w, px, py);
    return c < 0 ? 0 : c;
  });
}

namespace {
DrawTextTapProc gTextTap = nullptr;
void* gTextTapData = nullptr;
}  // namespace

void DRAW_SetTextTap(DrawTextTapProc proc, void* data) {
  gTextTap = proc;
  gTextTapData = data;
}

void DRAW_Image(DrawPtr draw, int x, int y, int w, int h, const uint32_t* argb) {
  if (!usable(draw) || !argb || w <= 0 || h <= 0 || w > 4096 || h > 4096) return;
  X11State& x11 = X11();
  XRenderPictFormat* format = XRenderFindStandardFormat(x11.dpy, PictStandardARGB32);
  if (!format) return;
  // The pixels go to a 32-bit pixmap, which Render blends over the window.
  Pixmap pixmap = XCreatePixmap(x11.dpy, draw->win, static_cast<unsigned>(w), static_cast<unsigned>(h), 32);
  GC gc = XCreateGC(x11.dpy, pixmap, 0, nullptr);
  std::vector<uint32_t> copy(argb, argb + static_cast<size_t>(w) * h);
  XImage* image = XCreateImage(x11.dpy, nullptr, 32, ZPixmap, 0, reinterpret_cast<char*>(copy.data()),
                               static_cast<unsigned>(w), static_cast<unsigned>(h), 32, w * 4);
  if (image) {
    // The pixels are 32-bit words in this machine's order; Xlib converts.
    const uint32_t probe = 1;
    image->byte_order = *reinterpret_cast<const uint8_t*>(&probe) == 1 ? LSBFirst : MSBFirst;
    XPutImage(x11.dpy, pixmap, gc, image, 0, 0, 0, 0, static_cast<unsigned>(w), static_cast<unsigned>(h));
    image->data = nullptr;  // the vector owns the pixels
    XDestroyImage(image);
    Picture source = XRenderCreatePicture(x11.dpy, pixmap, format, 0, nullptr);
    XftDraw* xd = xftDrawOf(draw->win);
    applyXftClip(draw, xd);
    XRenderComposite(x11.dpy, PictOpOver, source, None, XftDrawPicture(xd), 0, 0, 0, 0, draw->origin.X + x,
                     draw->origin.Y + y, static_cast<unsigned>(w), static_cast<unsigned>(h));
    XRenderFreePicture(x11.dpy, source);
  }
  XFreeGC(x11.dpy, gc);
  XFreePixmap(x11.dpy, pixmap);
}

namespace {

void drawUntapped(DrawPtr draw, FontPtr font, ColorPtr color, int x, int y, const char* text, int len) {
  if (!usable(draw) || !text || !color || color->Kind != COLOR_KINDRGB) return;
  if (len < 0) len = static_cast<int>(std::strlen(text));
  if (len == 0) return;
  XftFont* face = X11XftFont(font ? font : FONT_Default());
  XftColor* xc = X11XftColor(color);
  if (!face || !xc) return;
  XftDraw* xd = xftDrawOf(draw->win);
  applyXftClip(draw, xd);
  XftDrawStringUtf8(xd, xc, face, draw->origin.X + x, draw->origin.Y + y, reinterpret_cast<const FcChar8*>(text),
                    len);
}

}  // namespace

void DRAW_Text(DrawPtr draw, FontPtr font, ColorPtr color, int x, int y, const char* text, int len) {
  if (gTextTap && text) gTextTap(text, len, gTextTapData);
  drawUntapped(draw, font, color, x, y, text, len);
}

void DRAW_TextCut(DrawPtr draw, FontPtr font, ColorPtr color, int x, int y, int width, const char* text, int len) {
  if (!text) return;
  if (len < 0) len = static_cast<int>(std::strlen(text));
  if (gTextTap) gTextTap(text, len, gTextTapData);
  // Widths are measured in 16 bits: a text of more bytes than the width
  // has pixels, four times over, is taken not to fit without measuring.
  const size_t measurable = static_cast<size_t>(width > 0 ? width : 0) * 4 + 4;
  if (static_cast<size_t>(len) <= measurable && DRAW_QueryTextExt(font, text, len).X <= width) {
    drawUntapped(draw, font, color, x, y, text, len);
    return;
  }
  static const char kEllipsis[] = "\xE2\x80\xA6";
  const int room = width - DRAW_QueryTextExt(font, kEllipsis, -1).X;
  // The longest prefix of whole characters that leaves room for the mark:
  // the widths of the prefixes grow with their length.
  const size_t total = std::min(static_cast<size_t>(len), measurable);
  auto wholeCharacters = [&](size_t bytes) {  // back to the start of a character
    while (bytes > 0 && bytes < static_cast<size_t>(len) && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) --bytes;
    return bytes;
  };
  auto prefixWidth = [&](size_t bytes) {
    return DRAW_QueryTextExt(font, text, static_cast<int>(wholeCharacters(bytes))).X;
  };
  size_t low = 0, high = total;
  while (low < high) {
    size_t mid = low + (high - low + 1) / 2;
    if (prefixWidth(mid) <= room) low = mid;
    else high = mid - 1;
  }
  size_t fits = wholeCharacters(low);
  std::string shown(text, fits);
  shown += kEllipsis;
  drawUntapped(draw, font, color, x, y, shown.c_str(), static_cast<int>(shown.size()));
}

_Point16Rec DRAW_QueryTextExt(FontPtr font, const char* text, int len) {
  _Point16Rec ext{0, 0};
  XftFont* face = X11XftFont(font ? font : FONT_Default());
  if (!face) return ext;
  ext.Y = static_cast<int16_t>(face->ascent + face->descent);
  if (!text) return ext;
  if (len < 0) len = static_cast<int>(std::strlen(text));
  if (len == 0) return ext;
  XGlyphInfo info;
  XftTextExtentsUtf8(X11().dpy, face, reinterpret_cast<const FcChar8*>(text), len, &info);
  ext.X = info.xOff;
  return ext;
}

void DRAW_Flush() {
  if (X11().dpy) XFlush(X11().dpy);
}
