// Fonts: anti-aliased outline fonts found by family name, with their
// metrics.  The default family is "DejaVu Sans".
//
// A font record can be made before the display is open; the display layer
// opens the face the first time the font is measured or drawn.  Sizes are
// in points and turned into pixels with the screen's dots per inch, so that
// text keeps its size on a screen scaled to 200%.
#ifndef OWB_TOOLKIT_FONT_H
#define OWB_TOOLKIT_FONT_H

struct _FontRec {
  char Family[64];
  int Points;     // size in points
  bool Bold;
  bool Stock;
  int PixelSize;  // set when opened
  int Ascent, Descent;
  void* Native;   // the display layer's face, null until opened
};
typedef _FontRec* FontPtr;

constexpr const char* FONT_DEFFAMILY = "DejaVu Sans";
constexpr int FONT_DEFPOINTS = 10;

// The toolkit's text font and its bold form.
FontPtr FONT_Default();
FontPtr FONT_DefaultBold();
// A font of the caller's; the family is cut to 63 characters.
FontPtr FONT_New(const char* family, int points, bool bold);
void FONT_Dispose(FontPtr font);
// A font named by a template, "Family [points] [bold]" (for instance
// "DejaVu Sans Mono 9" or "DejaVu Sans 12 bold"); one font is kept for the
// program's life per text.  Null for null or "".
FontPtr FONT_LoadByText(const char* description);  // stock fonts and null are ignored
bool FONT_Equal(FontPtr a, FontPtr b);
// Metrics in pixels; 0 when the display is not open.
int FONT_GetAscent(FontPtr font);
int FONT_GetDescent(FontPtr font);
int FONT_GetHeight(FontPtr font);  // ascent + descent

#endif  // OWB_TOOLKIT_FONT_H
