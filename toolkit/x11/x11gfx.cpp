// Colours, fonts and cursors on the X server.  Everything made here is
// remembered so that closing the display frees it and a display opened
// again starts clean.
#include "toolkit/x11/x11priv.h"  // first: it settles the X type names

#include <X11/cursorfont.h>

#include <cmath>
#include <set>


namespace {
std::set<ColorPtr> gMadeColors;
std::set<FontPtr> gOpenFonts;
std::set<CursPtr> gMadeCursors;

void releaseColor(ColorPtr color) {
  X11State& x = X11();
  if (color->Native) {
    if (x.dpy) XftColorFree(x.dpy, x.visual, x.colormap, static_cast<XftColor*>(color->Native));
    delete static_cast<XftColor*>(color->Native);
    color->Native = nullptr;
  }
  color->PixelValid = false;
}

void releaseFont(FontPtr font) {
  X11State& x = X11();
  if (font->Native && x.dpy) XftFontClose(x.dpy, static_cast<XftFont*>(font->Native));
  font->Native = nullptr;
  font->Ascent = font->Descent = font->PixelSize = 0;
}
}  // namespace

unsigned long X11Pixel(ColorPtr color) {
  X11State& x = X11();
  if (!color || !x.dpy) return 0;
  if (!color->PixelValid) {
    XColor xc{};
    xc.red = static_cast<unsigned short>(color->R * 257);
    xc.green = static_cast<unsigned short>(color->G * 257);
    xc.blue = static_cast<unsigned short>(color->B * 257);
    xc.flags = DoRed | DoGreen | DoBlue;
    // On a true-colour visual this never fails; elsewhere the nearest black
    // is better than nothing.
    color->Pixel = XAllocColor(x.dpy, x.colormap, &xc) ? xc.pixel : BlackPixel(x.dpy, x.screen);
    color->PixelValid = true;
    gMadeColors.insert(color);
  }
  return color->Pixel;
}

XftColor* X11XftColor(ColorPtr color) {
  X11State& x = X11();
  if (!color || !x.dpy) return nullptr;
  if (!color->Native) {
    XRenderColor rc{static_cast<unsigned short>(color->R * 257), static_cast<unsigned short>(color->G * 257),
                    static_cast<unsigned short>(color->B * 257), 0xffff};
    auto* xft = new XftColor{};
    if (!XftColorAllocValue(x.dpy, x.visual, x.colormap, &rc, xft)) {
      delete xft;
      return nullptr;
    }
    color->Native = xft;
    gMadeColors.insert(color);
  }
  return static_cast<XftColor*>(color->Native);
}

void ColorNatRelease(ColorPtr color) {
  if (!color) return;
  releaseColor(color);
  gMadeColors.erase(color);
}

XftFont* X11XftFont(FontPtr font) {
  X11State& x = X11();
  if (!font || !x.dpy) return nullptr;
  if (!font->Native) {
    int pixels = static_cast<int>(std::lround(font->Points * x.dpi / 72.0));
    if (pixels < 4) pixels = 4;
    XftFont* face = XftFontOpen(x.dpy, x.screen, XFT_FAMILY, XftTypeString, font->Family, XFT_PIXEL_SIZE,
                                XftTypeDouble, static_cast<double>(pixels), XFT_WEIGHT, XftTypeInteger,
                                font->Bold ? XFT_WEIGHT_BOLD : XFT_WEIGHT_MEDIUM, XFT_ANTIALIAS, XftTypeBool,
                                True, nullptr);
    if (!face) face = XftFontOpenName(x.dpy, x.screen, "sans");
    if (!face) return nullptr;
    font->Native = face;
    font->PixelSize = pixels;
    font->Ascent = face->ascent;
    font->Descent = face->descent;
    gOpenFonts.insert(font);
  }
  return static_cast<XftFont*>(font->Native);
}

void FontNatOpen(FontPtr font) { X11XftFont(font); }

void FontNatRelease(FontPtr font) {
  if (!font) return;
  releaseFont(font);
  gOpenFonts.erase(font);
}

Cursor X11Cursor(CursPtr cursor) {
  X11State& x = X11();
  if (!cursor || !x.dpy || cursor->Id == CURS_IDPARENT) return None;
  if (!cursor->Native) {
    static const unsigned kShapes[CURS_IDCOUNT] = {XC_left_ptr,         XC_xterm,          XC_crosshair,
                                                   XC_hand2,            XC_fleur,          XC_sb_h_double_arrow,
                                                   XC_sb_v_double_arrow, XC_watch,          XC_left_ptr};
    cursor->Native = XCreateFontCursor(x.dpy, kShapes[cursor->Id]);
    gMadeCursors.insert(cursor);
  }
  return cursor->Native;
}

void X11ReleaseAttributes() {
  X11State& x = X11();
  for (ColorPtr c : gMadeColors) releaseColor(c);
  gMadeColors.clear();
  for (FontPtr f : gOpenFonts) releaseFont(f);
  gOpenFonts.clear();
  for (CursPtr c : gMadeCursors) {
    if (x.dpy && c->Native) XFreeCursor(x.dpy, c->Native);
    c->Native = 0;
  }
  gMadeCursors.clear();
}
