// The automation surface: with OWB_AUTOMATION=1 in the environment every
// top-level window carries the property _OWB_WIDGETS (UTF8_STRING) on its
// client window, one line per widget, so that a test driver that knows
// nothing of this code can find widgets and press them with real X events
// (docs/automation.md gives the format).
//
// A line is: path, class, x, y, width, height, state, text, separated by
// tabs and ended by a newline.  The toolkit fills in everything but the
// text, the selected state and extra lines; those come from the widget
// class's describe procedure, found up the class chain.  A class gives
// its procedure in the class table (toolkit/classes.cpp, the row's last
// entry) or, outside the toolkit, with AUTOM_SetDescribeProc.
//
// Contracts:
// - Describe procedures run only when the surface is on, from the loop
//   before it waits; they only read the widget and call AUTOM_Set... and
//   AUTOM_AddCell on the description they are given.
// - Without the surface nothing is computed and nothing is written;
//   AUTOM_CaptureBegin and AUTOM_CaptureEnd then cost a test of a flag.
#ifndef OWB_TOOLKIT_AUTOM_H
#define OWB_TOOLKIT_AUTOM_H

#include <string>

#include "toolkit/geom.h"
#include "toolkit/rclas.h"
#include "toolkit/tkbase.h"

struct _WgtObj;
typedef _WgtObj* WgtPtr;
struct _WinObj;
typedef _WinObj* WinPtr;

struct AutomDesc;
typedef void (*AutomDescribeProc)(WgtPtr wgt, AutomDesc* desc);

// On when OWB_AUTOMATION is "1" at EVENT_Init; AUTOM_SetOn changes it (a
// program or test that decides for itself).  Turning it off removes the
// properties written so far.
BoolEnum AUTOM_IsOn();
void AUTOM_SetOn(BoolEnum flag);
// Reads OWB_AUTOMATION again (EVENT_Init does this).
void AUTOM_InitFromEnv();

// The describe procedure of a class and its subclasses that have none of
// their own; null removes it.
void AUTOM_SetDescribeProc(RClasPtr cls, AutomDescribeProc proc);

// For describe procedures.  The text is copied; any bytes are allowed.
void AUTOM_SetText(AutomDesc* desc, const char* text);
void AUTOM_SetSelected(AutomDesc* desc, BoolEnum flag);
// A line for one cell of a list that is visible on screen, after the
// widget's own line: "<path>/<col>,<row>", class "Cell", the box (given in
// the widget's coordinates), state V and S when selected, and the text.
void AUTOM_AddCell(AutomDesc* desc, Int col, Int row, const _Rect16Rec& box, BoolEnum selected, const char* text);
// Any other part of a widget that a driver may want to press (a menu
// item, say): a line after the widget's own with the path "<path><suffix>"
// (a suffix such as "/3"), the class, the box in the widget's
// coordinates, the state letters as they are to appear ("V", "VE"; empty
// gives "-") and the text.  Lines come in the order they were added.
void AUTOM_AddLine(AutomDesc* desc, const char* suffix, const char* cls, const _Rect16Rec& box, const char* state,
                   const char* text);

// A widget shown in a window without being one of its children (a menu in
// the window it is shown in): described after the window's children as if
// it were the next one, so a menu's window gives "0".  Null removes it.
// The caller removes it before the widget or the window ends.  A window's
// menu bar needs no call: it is described after the window's own line,
// with the path "-/bar".
void AUTOM_SetContent(WinPtr win, WgtPtr wgt);

// Text capture while something is drawn: between the two calls every text
// given to DRAW_Text is collected, joined by one blank.  Captures do not
// nest.  With the surface off, Begin does nothing and End gives "".
void AUTOM_CaptureBegin();
std::string AUTOM_CaptureEnd();

// The description of a window as it would be written now.
std::string AUTOM_Describe(WinPtr win);
// A text as it appears in a line: "\\" "\t" "\n" for backslash, tab and
// newline, "\xHH" for each byte that is not part of valid UTF-8.
std::string AUTOM_Escape(const char* text);
// Marks the descriptions as possibly changed.  The toolkit calls it for
// every event it processes, every redraw request (WGT_Inval) and the
// changes of state that draw nothing (a closed window's label, focus,
// default button); a widget calls it for a change of what its describe
// procedure gives that neither comes from an event nor redraws.  Costs a
// store.
extern BoolEnum gAutomStale;
inline void AUTOM_Touch() { gAutomStale = 1; }
// Rewrites the property of every window whose description changed.  The
// loop calls it before it waits; it does nothing when the surface is off,
// and compares only when something was touched since the last time, or,
// as a safety net for a change nobody marked, at most every half second.
void AUTOM_Update();
// The number of property writes so far (for tests and benchmarks).
long AUTOM_GetWriteCount();

#endif  // OWB_TOOLKIT_AUTOM_H
