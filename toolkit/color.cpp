// Stock colours, pens and patterns.  The palette is the toolkit's one flat
// look: light neutral surfaces, 1-pixel borders and one blue accent.
#include "toolkit/color.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <map>
#include <strings.h>

namespace {

struct StockColor {
  const char* name;
  uint8_t r, g, b;
  int kind;
};

const StockColor kStock[COLOR_IDCOUNT] = {
    {"Black", 0x00, 0x00, 0x00, COLOR_KINDRGB},
    {"White", 0xff, 0xff, 0xff, COLOR_KINDRGB},
    {"Gray", 0x8a, 0x8f, 0x98, COLOR_KINDRGB},
    {"LightGray", 0xe4, 0xe6, 0xea, COLOR_KINDRGB},
    {"DarkGray", 0x4b, 0x50, 0x58, COLOR_KINDRGB},
    {"Red", 0xd0, 0x31, 0x2d, COLOR_KINDRGB},
    {"Green", 0x1f, 0x88, 0x3d, COLOR_KINDRGB},
    {"Blue", 0x1f, 0x5f, 0xd1, COLOR_KINDRGB},
    {"Yellow", 0xf2, 0xc2, 0x1b, COLOR_KINDRGB},
    {"Window", 0xf5, 0xf6, 0xf8, COLOR_KINDRGB},
    {"Face", 0xff, 0xff, 0xff, COLOR_KINDRGB},
    {"Text", 0x1f, 0x23, 0x28, COLOR_KINDRGB},
    {"DisabledText", 0xa0, 0xa5, 0xad, COLOR_KINDRGB},
    {"Border", 0xb8, 0xbe, 0xc7, COLOR_KINDRGB},
    {"Pressed", 0xd9, 0xe2, 0xf0, COLOR_KINDRGB},
    {"Accent", 0x25, 0x63, 0xeb, COLOR_KINDRGB},
    {"Selection", 0xcf, 0xdf, 0xfb, COLOR_KINDRGB},
    {"Transparent", 0, 0, 0, COLOR_KINDTRANSPARENT},
    {"Invert", 0xff, 0xff, 0xff, COLOR_KINDINVERT},
};

_ColorRec* stockTable() {
  static _ColorRec table[COLOR_IDCOUNT];
  static bool made = false;
  if (!made) {
    for (int i = 0; i < COLOR_IDCOUNT; i++) {
      table[i] = _ColorRec{kStock[i].r, kStock[i].g, kStock[i].b, kStock[i].kind, true, 0, false, nullptr};
    }
    made = true;
  }
  return table;
}

}  // namespace

ColorPtr COLOR_LoadById(int id) {
  if (id < 0 || id >= COLOR_IDCOUNT) return nullptr;
  return &stockTable()[id];
}

ColorPtr COLOR_LoadByName(const char* name) {
  if (!name) return nullptr;
  for (int i = 0; i < COLOR_IDCOUNT; i++)
    if (strcasecmp(name, kStock[i].name) == 0) return COLOR_LoadById(i);
  return nullptr;
}

ColorPtr COLOR_LoadByText(const char* description) {
  if (!description || !*description) return nullptr;
  if (description[0] != '#') return COLOR_LoadByName(description);
  if (std::strlen(description) != 7) return nullptr;
  for (int i = 1; i < 7; i++)
    if (!std::isxdigit(static_cast<unsigned char>(description[i]))) return nullptr;
  unsigned long v = std::strtoul(description + 1, nullptr, 16);
  // Kept for the program's life, past the display's own end at exit.
  static auto& kept = *new std::map<unsigned long, _ColorRec>;
  auto it = kept.find(v);
  if (it == kept.end())
    it = kept.emplace(v, _ColorRec{static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 8),
                                   static_cast<uint8_t>(v), COLOR_KINDRGB, true, 0, false, nullptr})
             .first;
  return &it->second;
}

ColorPtr COLOR_Black() { return COLOR_LoadById(COLOR_IDBLACK); }
ColorPtr COLOR_White() { return COLOR_LoadById(COLOR_IDWHITE); }
ColorPtr COLOR_Gray() { return COLOR_LoadById(COLOR_IDGRAY); }
ColorPtr COLOR_LightGray() { return COLOR_LoadById(COLOR_IDLIGHTGRAY); }
ColorPtr COLOR_DarkGray() { return COLOR_LoadById(COLOR_IDDARKGRAY); }
ColorPtr COLOR_Red() { return COLOR_LoadById(COLOR_IDRED); }
ColorPtr COLOR_Green() { return COLOR_LoadById(COLOR_IDGREEN); }
ColorPtr COLOR_Blue() { return COLOR_LoadById(COLOR_IDBLUE); }
ColorPtr COLOR_Yellow() { return COLOR_LoadById(COLOR_IDYELLOW); }
ColorPtr COLOR_Window() { return COLOR_LoadById(COLOR_IDWINDOW); }
ColorPtr COLOR_Face() { return COLOR_LoadById(COLOR_IDFACE); }
ColorPtr COLOR_Text() { return COLOR_LoadById(COLOR_IDTEXT); }
ColorPtr COLOR_DisabledText() { return COLOR_LoadById(COLOR_IDDISABLEDTEXT); }
ColorPtr COLOR_Border() { return COLOR_LoadById(COLOR_IDBORDER); }
ColorPtr COLOR_Pressed() { return COLOR_LoadById(COLOR_IDPRESSED); }
ColorPtr COLOR_Accent() { return COLOR_LoadById(COLOR_IDACCENT); }
ColorPtr COLOR_Selection() { return COLOR_LoadById(COLOR_IDSELECTION); }
ColorPtr COLOR_Transparent() { return COLOR_LoadById(COLOR_IDTRANSPARENT); }
ColorPtr COLOR_Invert() { return COLOR_LoadById(COLOR_IDINVERT); }

ColorPtr COLOR_NewRgb(uint8_t r, uint8_t g, uint8_t b) {
  return new _ColorRec{r, g, b, COLOR_KINDRGB, false, 0, false, nullptr};
}

// Defined by the display layer: frees the display's part of a colour.
void ColorNatRelease(ColorPtr color);

void COLOR_Dispose(ColorPtr color) {
  if (!color || color->Stock) return;
  ColorNatRelease(color);
  delete color;
}

bool COLOR_Equal(ColorPtr a, ColorPtr b) {
  if (a == b) return true;
  if (!a || !b) return false;
  return a->Kind == b->Kind && a->R == b->R && a->G == b->G && a->B == b->B;
}

namespace {
_PenRec gSolid{1, PEN_STYLESOLID, true};
_PenRec gInvisible{1, PEN_STYLEINVISIBLE, true};
_PenRec gDash{1, PEN_STYLEDASH, true};
_PattRec gEmpty{PATT_KINDEMPTY};
_PattRec gSolidPatt{PATT_KINDSOLID};
_PattRec gGray{PATT_KINDGRAY};
}  // namespace

PenPtr PEN_Solid() { return &gSolid; }
PenPtr PEN_Invisible() { return &gInvisible; }
PenPtr PEN_Dash() { return &gDash; }
PenPtr PEN_New(int width, int style) {
  if (width < 1) width = 1;
  if (style < PEN_STYLESOLID || style > PEN_STYLEDASH) style = PEN_STYLESOLID;
  return new _PenRec{width, style, false};
}
void PEN_Dispose(PenPtr pen) {
  if (pen && !pen->Stock) delete pen;
}

PattPtr PATT_Empty() { return &gEmpty; }
PattPtr PATT_Solid() { return &gSolidPatt; }
PattPtr PATT_Gray() { return &gGray; }
