// Scroll bars: a track with an arrow at each end and a thumb whose
// position runs from Min to Max; ThumbSize is the length the thumb stands
// for (a page) and Step the move of one arrow press.  A bar is vertical
// when its box is taller than wide, horizontal otherwise.
//
// The user presses a part (SB_NFYPROPOSE, whose default tracks the mouse):
// an arrow steps by Step and repeats while held, with the tracking delays
// of the event system; the body pages by ThumbSize toward the pointer and
// repeats; the thumb follows the pointer.  Every change of the position
// made by the user is told with SB_NFYTHUMBPOS, and the end of a drag of
// the thumb with SB_NFYACCEPT.  Changes made by the program (SB_SetInfo,
// SB_SetThumbPos) are told nothing.  With the focus, the arrow keys step,
// Page Up and Page Down page, Home and End go to Min and Max.
//
// A bar stands on its own in a window or is one of the two bars of a
// scrolling area (toolkit/sarea.h), which makes and places them itself.
#ifndef OWB_TOOLKIT_SB_H
#define OWB_TOOLKIT_SB_H

#include "toolkit/wgtpub.h"

enum ENUM_SbNfyEnum { SB_NFYTHUMBPOS = 150, SB_NFYPROPOSE = 151, SB_NFYACCEPT = 152 };

enum ENUM_SbPartEnum {
  SB_PARTNONE = 0,
  SB_PARTARROW1 = 1,  // up or left
  SB_PARTARROW2 = 2,  // down or right
  SB_PARTBODY1 = 3,   // the track before the thumb
  SB_PARTBODY2 = 4,   // the track after it
  SB_PARTANCHOR1 = 5, // the ends of the track: this look has none
  SB_PARTANCHOR2 = 6,
  SB_PARTTHUMB = 7
};

struct _SbInfoRec {
  Int32 Min;
  Int32 Max;
  Int32 ThumbSize;
  Int32 ThumbPos;
  Int32 Step;
};

struct _SbObj {
  _WgtObj Wgt;
  VStrPtr ThumbColor;  // colour names of the template ("" for the look's)
  VStrPtr BodyColor;
  _SbInfoRec Info;     // Min, Max, ThumbSize and Step come from the template
  // Kept by the bar.
  Int PressedPart;     // the part held down, SB_PARTNONE when none
  Int HotPart;         // the part under the pointer
};
typedef _SbObj* SbPtr;

inline WgtPtr SB_Wgt(SbPtr bar) { return reinterpret_cast<WgtPtr>(bar); }
inline SbPtr SB_FromWgt(WgtPtr wgt) { return reinterpret_cast<SbPtr>(wgt); }

RClasPtr SB_Class();
void SB_InstallClass();
void SB_InitClass();
SbPtr SB_Create();
long SB_DefNfy(ResPtr res, Int message, ClientPtr data);
BoolEnum SB_IsSb(WgtPtr wgt);

// Sets the five values.  When Min, Max and ThumbSize are what they were,
// only the position changes (if it differs) and Step is stored; otherwise
// everything is stored and the bar is laid out again.  Max below Min is
// taken as Min, a negative ThumbSize or Step as 0, and the position is
// kept between Min and Max.
void SB_SetInfo(SbPtr bar, const _SbInfoRec* info);
void SB_QueryInfo(SbPtr bar, _SbInfoRec* info);
// Moves the thumb (kept between Min and Max); nothing when it is there.
void SB_SetThumbPos(SbPtr bar, Int32 pos);
Int32 SB_GetThumbPos(SbPtr bar);
BoolEnum SB_IsVertical(SbPtr bar);

// Geometry of the look, in the bar's coordinates: the part under a point,
// and the rectangle of a part (empty for a part the bar does not show).
Int SB_QueryPart(SbPtr bar, Int x, Int y);
_Rect16Rec SB_QueryPartRect(SbPtr bar, Int part);
// The thickness of a bar at the screen's resolution.
Int SB_GetThickness();

#endif  // OWB_TOOLKIT_SB_H
