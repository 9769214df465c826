// The shared utilities that need the display.
#ifndef OWB_SHARED_UI_UIUTILS_H
#define OWB_SHARED_UI_UIUTILS_H

// Rings the display's bell; nothing without a display.
void owbBeep();

// Fits workStr into `width` pixels in the widget's font: unchanged when
// narrower than width; otherwise cut at the end and "..." appended (the
// text before "..." no wider than width less the extent of "..."); empty
// when "..." alone is wider.  reverseTruncToFit cuts the front and puts
// "..." ahead of the tail.  The result is never longer in bytes than the
// text given, so it always fits the caller's buffer, and a multi-byte
// character is never cut in two.
struct _WgtObj;
void truncToFit(_WgtObj* referenceWgt, int width, char* workStr);
void reverseTruncToFit(_WgtObj* referenceWgt, int width, char* workStr);

// Drags an outline of dragRect (window coordinates) with the mouse while
// the button that started it stays down, and gives whether the rectangle
// moved.  Called from a mouse click on the window.  Until the pointer is
// 12 pixels away from where the drag began in x or in y nothing happens;
// from then on the outline follows the pointer (drawn with the inverting
// colour, so drawing it twice erases it) and dragRect's origin is the
// start origin plus the pointer's way; its extent stays.  The outline is
// erased at the end.  A drag that never left the 12 pixels leaves
// dragRect as it was.  dragPen null means gSolidPen (the solid pen of one
// pixel).
struct _WinObj;
struct _Rect16Rec;
struct _PenRec;
bool trackGhostDrag(_WinObj* win, _Rect16Rec* dragRect, _PenRec* dragPen);

#endif  // OWB_SHARED_UI_UIUTILS_H
