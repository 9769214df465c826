// Font records.  The faces themselves are opened by the display layer.
#include "toolkit/font.h"

#include <cstring>
#include <strings.h>

// Defined by the display layer.
void FontNatRelease(FontPtr font);
void FontNatOpen(FontPtr font);

namespace {
_FontRec makeFont(const char* family, int points, bool bold, bool stock) {
  _FontRec f{};
  std::strncpy(f.Family, family && *family ? family : FONT_DEFFAMILY, sizeof f.Family - 1);
  f.Points = points > 0 ? points : FONT_DEFPOINTS;
  if (f.Points > 400) f.Points = 400;
  f.Bold = bold;
  f.Stock = stock;
  return f;
}
}  // namespace

FontPtr FONT_Default() {
  static _FontRec font = makeFont(FONT_DEFFAMILY, FONT_DEFPOINTS, false, true);
  return &font;
}

FontPtr FONT_DefaultBold() {
  static _FontRec font = makeFont(FONT_DEFFAMILY, FONT_DEFPOINTS, true, true);
  return &font;
}

FontPtr FONT_New(const char* family, int points, bool bold) {
  return new _FontRec(makeFont(family, points, bold, false));
}

void FONT_Dispose(FontPtr font) {
  if (!font || font->Stock) return;
  FontNatRelease(font);
  delete font;
}

bool FONT_Equal(FontPtr a, FontPtr b) {
  if (a == b) return true;
  if (!a || !b) return false;
  return a->Points == b->Points && a->Bold == b->Bold && strcasecmp(a->Family, b->Family) == 0;
}

int FONT_GetAscent(FontPtr font) {
  if (!font) return 0;
  FontNatOpen(font);
  return font->Ascent;
}

int FONT_GetDescent(FontPtr font) {
  if (!font) return 0;
  FontNatOpen(font);
  return font->Descent;
}

int FONT_GetHeight(FontPtr font) { return FONT_GetAscent(font) + FONT_GetDescent(font); }
