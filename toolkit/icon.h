// Icons: small pictures kept as resources of the class Icon and drawn at
// the screen's resolution, so that they stay sharp at any scale.
//
// An icon's Width and Height are its size in pixels at 96 dots per inch.
// Its picture is the text field Shape: commands in the icon's own
// coordinates (0,0 the top left corner, Width,Height the bottom right),
// one per line or separated by ";", painted in order:
//
//   fill #rrggbb[aa]             colour of the commands that follow
//   circle cx cy r               a disc
//   rect x y w h [r]             a rectangle, its corners rounded by r
//   poly x1 y1 x2 y2 x3 y3 ...   a polygon (even-odd rule)
//   line w x1 y1 x2 y2 ...       a line w wide through the points, round
//                                at its ends and corners
//   arc w cx cy r a0 a1          a line w wide along the circle from angle
//                                a0 to a1 (degrees, 0 at the top, growing
//                                clockwise), round at its ends
//
// Numbers may have a fraction.  An unknown command or a bad number ends
// the shape there: what came before is drawn.
#ifndef OWB_TOOLKIT_ICON_H
#define OWB_TOOLKIT_ICON_H

#include <cstdint>
#include <vector>

#include "toolkit/draw.h"
#include "toolkit/res.h"

// The picture of a shape for an icon of iconW x iconH units painted into
// pixelW x pixelH pixels: premultiplied 0xAARRGGBB, row by row.  Pure: no
// display needed.  Sizes are bounded to 1024 pixels a side.
std::vector<uint32_t> ICON_RenderShape(const char* shape, int iconW, int iconH, int pixelW, int pixelH);

// True when every command of the shape could be read.
BoolEnum ICON_ShapeIsValid(const char* shape);

// An Icon resource's size at 96 dots per inch; 0, 0 for anything else.
_Point16Rec ICON_GetSize(ResPtr icon);
// Its size in pixels at the screen's resolution.
_Point16Rec ICON_GetScreenSize(ResPtr icon);
// Draws the icon at the screen's resolution with its top left at (x, y).
// The picture is made once per size and kept with the icon.
void ICON_Draw(DrawPtr draw, ResPtr icon, int x, int y);
// True when res is of the class Icon.
BoolEnum ICON_IsIcon(ResPtr res);

#endif  // OWB_TOOLKIT_ICON_H
