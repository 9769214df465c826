// The error window: a failure that the event loop catches is shown in a
// window (template "WinErr" of module "ErrW") that waits until the user
// continues.  Details lists the error frames; Abort ends the program after
// a confirmation.  Without the template or a display, reports go to the
// error stream only.
#ifndef OWB_TOOLKIT_ERRW_H
#define OWB_TOOLKIT_ERRW_H

#include "toolkit/err.h"
#include "toolkit/winpub.h"

// Loads the window and makes its report procedure the event loop's.
void ERRW_Init();
// The error window, or null when there is none.
WinPtr ERRW_GetWin();
// The report procedure given to EVENT_SetErrHandler.
void ERRW_Report(ErrFramePtr frame, Int severity);
// Takes the window down and gives the loop back its plain reports.
void ERRW_Exit();

#endif  // OWB_TOOLKIT_ERRW_H
