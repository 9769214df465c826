// Scrolling areas: a panel that shows a view on a larger document and
// scrolls it with two scroll bars of its own.  The list box and the text
// editor are scrolling areas.
//
// The area is divided into a fixed heading row on top (HeadExt.Y high), a
// fixed heading column on the left (HeadExt.X wide), the corner where they
// meet, and the body (ViewBox), which shows the document from the scroll
// position on.  The headings scroll along with the body in one direction
// only: the top heading sideways, the left heading up and down.  A bar is
// shown only when the document exceeds the view in its direction (or
// always, with the ...ALWAYS flags); the bars are parts of the area, not
// its children.
//
// A subclass (or an owner's procedure) draws the document: on a redraw the
// area paints its background and sends SAREA_NFYDRAWPART once per part,
// with a drawing context already clipped to that part; it then draws the
// bars.  Document coordinates are 32-bit; the body's pixel (ViewBox.Origin)
// shows document point (ScrollX, ScrollY).
//
// A subclass passes WGT_NFYMOUSECLICK and WGT_NFYMOUSEMOVE to SAREA_DefNfy
// first (the bars and the wheel take theirs) and acts only when
// WGT_IsMouseHandled() is still false afterwards; WGT_NFYKEYCHAR it passes
// on when it does not use the key (the default scrolls).
//
// Contracts:
//  - SAREA_SetDocExt and SAREA_SetHeadExt lay the area out again and keep
//    the scroll position inside the document.
//  - SAREA_ScrollTo clamps, redraws, and tells SAREA_NFYSCROLLED when the
//    position changed; the user's bar moves, wheel turns and scroll keys end
//    there too.
#ifndef OWB_TOOLKIT_SAREA_H
#define OWB_TOOLKIT_SAREA_H

#include "toolkit/sb.h"
#include "toolkit/winpub.h"

enum ENUM_SAreaNfyEnum {
  SAREA_NFYDRAWPART = 153,  // data: _SAreaDrawRec
  SAREA_NFYSCROLLED = 154,  // the scroll position changed
  SAREA_NFYLAYOUT = 155     // the view box or the bars changed
};

enum ENUM_SAreaPartEnum {
  SAREA_PARTBODY = 0,
  SAREA_PARTTOPHEAD = 1,
  SAREA_PARTLEFTHEAD = 2,
  SAREA_PARTCORNER = 3
};

// HVFlags.
enum {
  SAREA_HSB = 1,         // a horizontal bar when the document is wider than the view
  SAREA_VSB = 2,         // a vertical bar when it is taller
  SAREA_HSBALWAYS = 4,
  SAREA_VSBALWAYS = 8,
  SAREA_BORDER = 16      // a one-pixel frame around the area
};

struct _SAreaDrawRec {
  DrawPtr Draw;     // clipped to Rect; widget coordinates
  Int Part;         // SAREA_PART...
  _Rect16Rec Rect;  // the part, in widget coordinates
};

struct _SAreaDocRec {
  Int32 X, Y;  // the scroll position: the document point at the body's origin
  Int32 W, H;  // the document's extent
};

struct _SAreaObj {
  _PanelObj Panel;
  UInt16 HVFlags;
  _Point16Rec HeadExt;  // width of the heading column, height of the heading row
  Int16 HeadSep;        // lines between headings and body (0 or 1)
  Int16 SbSep;          // gap between the body and the bars
  ResPtr SOver;         // not used by this look
  SbPtr HSb, VSb;
  _Rect16Rec ViewBox;   // the body, widget coordinates
  _Rect16Rec WorkBox;   // headings and body, inside the frame
  _SAreaDocRec DocBox;
  Int Hit;              // the part of the last click, SAREA_PART...
  Int32 Loc32X, Loc32Y; // its document point
  Int32 StepX, StepY;   // an arrow's and a wheel step's move
  _Rect16Rec AreaBox;   // where the area lies in the widget (widget
                        // coordinates); empty for the whole widget, so that
                        // a subclass may keep room beside it (a label)
};
typedef _SAreaObj* SAreaPtr;

inline WgtPtr SAREA_Wgt(SAreaPtr area) { return reinterpret_cast<WgtPtr>(area); }
inline SAreaPtr SAREA_FromWgt(WgtPtr wgt) { return reinterpret_cast<SAreaPtr>(wgt); }

RClasPtr SAREA_Class();
void SAREA_InstallClass();
void SAREA_InitClass();
SAreaPtr SAREA_Create();
long SAREA_DefNfy(ResPtr res, Int message, ClientPtr data);
BoolEnum SAREA_IsSArea(WgtPtr wgt);

void SAREA_SetDocExt(SAreaPtr area, Int32 width, Int32 height);
void SAREA_SetHeadExt(SAreaPtr area, Int width, Int height);
void SAREA_SetHVFlags(SAreaPtr area, UInt16 flags);
void SAREA_SetScrollStep(SAreaPtr area, Int32 stepX, Int32 stepY);
void SAREA_SetBgColor(SAreaPtr area, ColorPtr color);

void SAREA_ScrollTo(SAreaPtr area, Int32 x, Int32 y);
void SAREA_ScrollBy(SAreaPtr area, Int32 dx, Int32 dy);
Int32 SAREA_GetScrollX(SAreaPtr area);
Int32 SAREA_GetScrollY(SAreaPtr area);
// Scrolls as little as needed so that the document rectangle is in view
// (its top left corner wins when it is larger than the view).
void SAREA_MakeVisible(SAreaPtr area, Int32 x, Int32 y, Int32 w, Int32 h);
_Rect16Rec SAREA_GetViewBox(SAreaPtr area);
// The part of the area (SAREA_PART...) under a point, -1 for none (a bar,
// the frame).
Int SAREA_QueryPartOnLoc(SAreaPtr area, Int x, Int y);
// Lays the area out again (the bars and the view box) after a change of
// its box, its headings or its document.
void SAreaLayout(SAreaPtr area);
// Draws the bars that are shown and the square where they meet; for a
// subclass that draws the rest of the area itself.
void SAreaDrawBars(SAreaPtr area);

SbPtr SAREA_GetHSb(SAreaPtr area);
SbPtr SAREA_GetVSb(SAreaPtr area);

#endif  // OWB_TOOLKIT_SAREA_H
