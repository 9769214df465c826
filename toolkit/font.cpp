// Font records.  The faces themselves are opened by the display layer.
#include "toolkit/font.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>
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

FontPtr FONT_LoadByText(const char* description) {
  if (!description || !*description) return nullptr;
  // Kept for the program's life, past the display's own end at exit.
  static auto& kept = *new std::map<std::string, _FontRec>;
  auto it = kept.find(description);
  if (it != kept.end()) return &it->second;
  std::istringstream in(description);
  std::vector<std::string> words;
  for (std::string w; in >> w;) words.push_back(w);
  bool bold = false;
  int points = FONT_DEFPOINTS;
  if (!words.empty() && strcasecmp(words.back().c_str(), "bold") == 0) {
    bold = true;
    words.pop_back();
  }
  if (!words.empty() && words.back().find_first_not_of("0123456789") == std::string::npos) {
    points = std::atoi(words.back().c_str());
    words.pop_back();
  }
  std::string family;
  for (const std::string& w : words) family += (family.empty() ? "" : " ") + w;
  return &kept.emplace(description, makeFont(family.c_str(), points, bold, true)).first->second;
}
