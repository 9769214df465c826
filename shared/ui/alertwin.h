// The alert window: the window form of displayAlertWindow (shared/alert.h).
//
// An alert is a modal window made anew from the template "alertWindow" of
// the library "shared" each time: its icon (0), a panel of three buttons
// (1) and the text (2).  It returns the number of the button pressed, 1 to
// 3, or 0 when it was closed by the window manager or not shown at all.
// Alerts do not nest: asked while one stands, the alert beeps and gives 0.
// While it stands, the message center is polled every 100 ms, so the tool
// keeps answering messages.
#ifndef OWB_SHARED_UI_ALERTWIN_H
#define OWB_SHARED_UI_ALERTWIN_H

#include "owbtypes.h"
#include "toolkit/winpub.h"

// Makes the window form the alert of this program (a program without a
// display keeps writing alerts to standard error) and lets modal windows
// keep polling the message center.  initializeGlobals calls it.
void installAlertWindow();
// Gives the alert back to standard error; cleanUpGlobals calls it.
void uninstallAlertWindow();

// The window handler itself, for setAlertHandler.
long alertWindowHandler(const char* alertText, long alertType, const char* alertTitle, const char* button1text,
                        const char* button2text, const char* button3text, Boolean beep,
                        const char* helpWindowName);

// The alert window while it stands, else null.
WinPtr ALRTW_GetWin();

// Positions of the template's children.
enum { ALRTW_ICON = 0, ALRTW_BUTTONS = 1, ALRTW_TEXT = 2 };

#endif  // OWB_SHARED_UI_ALERTWIN_H
