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

#endif  // OWB_SHARED_UI_UIUTILS_H
