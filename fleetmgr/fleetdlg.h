// The fleet option dialogs: run, kill, backup and restore.  Each is loaded
// from its template of the resource library "fleetmgr", closes itself when
// its button is pressed, and acts on gFleetMgr->currentFleet as it is at
// that moment, not on the fleet it was opened for; with no current fleet
// the button does nothing but close the dialog.  None is modal.
//
// Child order of the templates (the contract with resources/fleetmgr.rsrc):
//   "runFleetOptions":  0 run externals toggle, 1 kill running toggle,
//                       2 cold boot toggle, 3 process text, 4 run, 5 cancel
//   "killFleetOptions": 0 kill externals toggle, 1 kill engines toggle,
//                       2 clean-up toggle, 3 process text, 4 kill, 5 cancel
//   "backupOptions", "restoreOptions": 0 tag text, 1 do button, 2 cancel
//
// Contracts: the backup and restore dialogs own a heap copy of the
// selected file's path in the window's user data (ClientData) and free it
// when the window ends, whichever way it was closed.  The windows are
// owned by the toolkit; the tool keeps no pointer to them.
#ifndef OWB_FLEETMGR_FLEETDLG_H
#define OWB_FLEETMGR_FLEETDLG_H

#include "toolkit/res.h"

struct _WinObj;
typedef _WinObj* WinPtr;

// Each opens its dialog; filename is the selected definition file.
void createRunFleetOptions();
void createKillFleetOptions();
void createBackupOptions(const char* filename);
void createRestoreOptions(const char* filename);

// The cancel button of every dialog of the tool: closes the button's window
// on a hit, ignores focus gained and lost, passes the rest to the button's
// default procedure.
long genericCancelButtonNfy(ResPtr res, Int message, ClientPtr data);

// The window that holds res (res itself for a window); null when res is
// in none.
WinPtr windowOfWidget(ResPtr res);

// Shows a dialog with the keyboard's focus on the first widget of its tab
// order, so that it can be used without the pointer from the start.
void showWithFirstFocus(WinPtr win);

// The common window procedure of the tool's windows: the help key goes to
// the help manager under helpKey first, every other code (and a key the
// help manager does not take) to the window's default procedure.
long fleetWindowNfy(ResPtr win, Int message, ClientPtr data, const char* helpKey);

#endif  // OWB_FLEETMGR_FLEETDLG_H
