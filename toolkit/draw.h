// Drawing into a window of the display.
//
// A drawing context is opened on a display window with an origin (the
// widget's place in the window) and a clip region in window coordinates;
// every coordinate given to the DRAW_ calls is relative to the origin.
// Contexts nest and are cheap; each DRAW_Begin is paired with DRAW_End.
// Drawing on a closed display, or with a Transparent colour or an Invisible
// pen, does nothing.
#ifndef OWB_TOOLKIT_DRAW_H
#define OWB_TOOLKIT_DRAW_H

#include <cstdint>

#include "toolkit/color.h"
#include "toolkit/font.h"
#include "toolkit/geom.h"
#include "toolkit/rgn.h"

typedef uint32_t NatWinId;  // a display window; 0 for none

struct _DrawRec;
typedef _DrawRec* DrawPtr;

void DRAW_Init();
// clip may be null (the whole window); it is copied.
DrawPtr DRAW_Begin(NatWinId win, _Point16Rec origin, RegionPtr clip);
void DRAW_End(DrawPtr draw);
// Narrows the clip to a rectangle in the context's coordinates.
void DRAW_ClipRect(DrawPtr draw, const _Rect16Rec& rect);

void DRAW_FillRect(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color);
// Fills with a pattern: Empty fills nothing, Gray every other pixel.
void DRAW_FillRectPatt(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color, PattPtr patt);
// A frame of the pen's width inside the rectangle.
void DRAW_FrameRect(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color, PenPtr pen);
void DRAW_Line(DrawPtr draw, int x1, int y1, int x2, int y2, ColorPtr color, PenPtr pen);
void DRAW_Lines(DrawPtr draw, const _Point16Rec* points, int count, ColorPtr color, PenPtr pen);
// Ellipses in the rectangle, anti-aliased.
void DRAW_FillEllipse(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color);
void DRAW_FrameEllipse(DrawPtr draw, const _Rect16Rec& rect, ColorPtr color, PenPtr pen);
// A picture of w x h pixels, 0xAARRGGBB with the colour premultiplied by
// alpha, row by row, blended over what is there with its top left at (x, y).
void DRAW_Image(DrawPtr draw, int x, int y, int w, int h, const uint32_t* argb);
// Text of len bytes (UTF-8; -1 for up to the NUL) with its base line at y.
void DRAW_Text(DrawPtr draw, FontPtr font, ColorPtr color, int x, int y, const char* text, int len);
// The same text cut to fit width pixels from x: when it is wider, as
// many whole characters as fit with a trailing "…" are drawn.  The tap
// below sees the whole text.
void DRAW_TextCut(DrawPtr draw, FontPtr font, ColorPtr color, int x, int y, int width, const char* text, int len);
// A procedure that sees every text given to DRAW_Text, drawn or clipped
// away (the automation surface records what a list cell showed); null
// stops it.  One tap at a time.
typedef void (*DrawTextTapProc)(const char* text, int len, void* data);
void DRAW_SetTextTap(DrawTextTapProc proc, void* data);
// Width and height (ascent + descent) of a text in pixels; 0, 0 when the
// display is not open.
_Point16Rec DRAW_QueryTextExt(FontPtr font, const char* text, int len);
// Sends what was drawn to the display.
void DRAW_Flush();

#endif  // OWB_TOOLKIT_DRAW_H
