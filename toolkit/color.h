// Colours, pens and patterns: the drawing attributes of widgets.
//
// Stock objects (COLOR_Black(), PEN_Solid(), ...) live as long as the
// program and must not be disposed.  Objects made with COLOR_NewRgb or
// PEN_New belong to the caller.  Two special colours exist: Transparent
// draws nothing, Invert flips the pixels it covers.
#ifndef OWB_TOOLKIT_COLOR_H
#define OWB_TOOLKIT_COLOR_H

#include <cstdint>

struct _ColorRec {
  uint8_t R, G, B;
  int Kind;               // COLOR_KINDRGB, COLOR_KINDTRANSPARENT, COLOR_KINDINVERT
  bool Stock;             // lives forever
  unsigned long Pixel;    // display pixel, valid when PixelValid
  bool PixelValid;
  void* Native;           // the display layer's text colour, made on demand
};
typedef _ColorRec* ColorPtr;

enum { COLOR_KINDRGB = 0, COLOR_KINDTRANSPARENT = 1, COLOR_KINDINVERT = 2 };

// Numbers of the stock colours, for COLOR_LoadById and resources.
enum ColorIdEnum {
  COLOR_IDBLACK = 0,
  COLOR_IDWHITE,
  COLOR_IDGRAY,
  COLOR_IDLIGHTGRAY,
  COLOR_IDDARKGRAY,
  COLOR_IDRED,
  COLOR_IDGREEN,
  COLOR_IDBLUE,
  COLOR_IDYELLOW,
  COLOR_IDWINDOW,        // window background
  COLOR_IDFACE,          // face of buttons and fields
  COLOR_IDTEXT,          // ordinary text
  COLOR_IDDISABLEDTEXT,  // text of a disabled widget
  COLOR_IDBORDER,        // 1-pixel borders
  COLOR_IDPRESSED,       // face of a pressed button
  COLOR_IDACCENT,        // focus ring, default button, selection mark
  COLOR_IDSELECTION,     // background of selected items
  COLOR_IDTRANSPARENT,
  COLOR_IDINVERT,
  COLOR_IDCOUNT
};

ColorPtr COLOR_Black();
ColorPtr COLOR_White();
ColorPtr COLOR_Gray();
ColorPtr COLOR_LightGray();
ColorPtr COLOR_DarkGray();
ColorPtr COLOR_Red();
ColorPtr COLOR_Green();
ColorPtr COLOR_Blue();
ColorPtr COLOR_Yellow();
ColorPtr COLOR_Window();
ColorPtr COLOR_Face();
ColorPtr COLOR_Text();
ColorPtr COLOR_DisabledText();
ColorPtr COLOR_Border();
ColorPtr COLOR_Pressed();
ColorPtr COLOR_Accent();
ColorPtr COLOR_Selection();
ColorPtr COLOR_Transparent();
ColorPtr COLOR_Invert();
// A stock colour by number; null for a number outside the table.
ColorPtr COLOR_LoadById(int id);
// A stock colour by its name ("Black", "Accent", ..., case ignored); null if unknown.
ColorPtr COLOR_LoadByName(const char* name);
// A colour named by a template: a stock name or "#rrggbb".  Colours given
// as "#rrggbb" are kept for the program's life, one per value.  Null for
// null, "" or a text that is neither.
ColorPtr COLOR_LoadByText(const char* description);
// A colour of the caller's.
ColorPtr COLOR_NewRgb(uint8_t r, uint8_t g, uint8_t b);
// Frees a colour of the caller's; stock colours and null are ignored.
void COLOR_Dispose(ColorPtr color);
bool COLOR_Equal(ColorPtr a, ColorPtr b);

struct _PenRec {
  int Width;   // pixels, at least 1
  int Style;   // PEN_STYLESOLID, PEN_STYLEINVISIBLE, PEN_STYLEDASH
  bool Stock;
};
typedef _PenRec* PenPtr;
enum { PEN_STYLESOLID = 0, PEN_STYLEINVISIBLE = 1, PEN_STYLEDASH = 2 };

PenPtr PEN_Solid();
PenPtr PEN_Invisible();
PenPtr PEN_Dash();
PenPtr PEN_New(int width, int style);
void PEN_Dispose(PenPtr pen);

struct _PattRec {
  int Kind;  // PATT_KINDEMPTY (nothing is filled), PATT_KINDSOLID, PATT_KINDGRAY (every other pixel)
};
typedef _PattRec* PattPtr;
enum { PATT_KINDEMPTY = 0, PATT_KINDSOLID = 1, PATT_KINDGRAY = 2 };

PattPtr PATT_Empty();
PattPtr PATT_Solid();
PattPtr PATT_Gray();

#endif  // OWB_TOOLKIT_COLOR_H
