// The one modal alert of all tools.
//
// displayAlertWindow goes through one replaceable handler.  The default
// handler, for programs without a display, writes the title and the text to
// standard error and the log and returns 0, which is what a caller also gets
// when no alert could be shown (and what "Cancel" would mean to a question).
// A program with windows installs the window form with setAlertHandler.
#ifndef OWB_SHARED_ALERT_H
#define OWB_SHARED_ALERT_H

#include "owbtypes.h"

enum { kAlertCritical = 0, kAlertQuestion = 1, kAlertWarning = 2, kAlertInformation = 3 };

// Title used when an alert is given none, and the first button's default.
extern const char* const kDefaultAlertTitle;  // "Could not complete that operation"
extern const char* const kDefaultAlertButton;  // "Ok"

typedef long (*AlertHandler)(const char* alertText, long alertType, const char* alertTitle,
                             const char* button1text, const char* button2text,
                             const char* button3text, Boolean beep,
                             const char* helpWindowName);

// Returns the button pressed (1 to 3), or 0 when no alert was shown.  A null
// alertText shows nothing.
long displayAlertWindow(const char* alertText, long alertType, const char* alertTitle,
                        const char* button1text, const char* button2text,
                        const char* button3text, Boolean beep, const char* helpWindowName);

// Installs handler (null restores the default); returns the previous one.
AlertHandler setAlertHandler(AlertHandler handler);

// The console handler: "<title>: <text>" on standard error and in the log.
long consoleAlertHandler(const char* alertText, long alertType, const char* alertTitle,
                         const char* button1text, const char* button2text,
                         const char* button3text, Boolean beep, const char* helpWindowName);

#endif  // OWB_SHARED_ALERT_H
