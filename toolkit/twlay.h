// Text layout of the text editor: the text of a gap string cut into lines
// (at line feeds, and with wrapping also at the last blank that fits the
// width), with the pixel geometry of every character boundary in one font.
//
// Contracts:
//  - The layout reads the gap string it was made with and never changes
//    it; the caller tells it of every change with TWLAY_Update (or asks
//    for TWLAY_Recompute) before it asks anything else.
//  - The text is valid UTF-8; positions are byte offsets at character
//    starts.
//  - Widths are in pixels of the font; with the display closed every
//    character is 0 wide and lines are only cut at line feeds.
//  - A tab advances to the next multiple of four blanks' width.
#ifndef OWB_TOOLKIT_TWLAY_H
#define OWB_TOOLKIT_TWLAY_H

#include <unordered_map>
#include <vector>

#include "toolkit/font.h"
#include "toolkit/gstr.h"

struct TWLayLine {
  Int32 Beg;        // first byte
  Int32 End;        // end of the visible part: the line feed, or the next line's Beg
  Int32 Width;      // pixels of [Beg, End)
  bool ParaStart;   // the line begins a paragraph (text start or after a line feed)
};

struct _TWLayRec {
  GStrPtr Text;
  FontPtr Font;
  Int32 WrapWidth;  // above 0: lines are wrapped at this width
  std::vector<TWLayLine> Lines;
  Int32 DocWidth;   // the widest line, kept up to date lazily
  bool DocWidthStale;
  int AsciiAdv[128];
  std::unordered_map<UInt32, int> Adv;
  int SpaceAdv;
};
typedef _TWLayRec* TWLayPtr;

TWLayPtr TWLAY_New(GStrPtr text, FontPtr font);
void TWLAY_Dispose(TWLayPtr lay);
// Changing the font or the wrap width lays out the whole text again.
void TWLAY_SetFont(TWLayPtr lay, FontPtr font);
void TWLAY_SetWrapWidth(TWLayPtr lay, Int32 width);
void TWLAY_Recompute(TWLayPtr lay);
// The text changed at pos: `removed` bytes went and `inserted` came in
// their place.  Only the paragraphs that hold the change are laid out
// again.
void TWLAY_Update(TWLayPtr lay, Int32 pos, Int32 removed, Int32 inserted);

Int32 TWLAY_GetNumLines(TWLayPtr lay);
const TWLayLine& TWLAY_GetLine(TWLayPtr lay, Int32 n);  // n is clamped
// The line a position is shown on: a position at the start of a wrapped
// line belongs to that line.
Int32 TWLAY_LineOfIndex(TWLayPtr lay, Int32 pos);
// x of a position in its line, from the line's start.
Int32 TWLAY_IndexX(TWLayPtr lay, Int32 pos);
// The position of a line nearest to x (pixels from the line's start).
Int32 TWLAY_IndexAtX(TWLayPtr lay, Int32 line, Int32 x);
Int32 TWLAY_GetDocWidth(TWLayPtr lay);
// Width of one character.
int TWLAY_CharAdvance(TWLayPtr lay, UInt32 cp, Int32 x);

#endif  // OWB_TOOLKIT_TWLAY_H
