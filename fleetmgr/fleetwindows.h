// The windows that the fleet commands open: the settings window, the four
// option dialogs, the status window and the directory picker of "New
// Fleet".  The settings window and its dialogs are in settings.h and
// fleetdlg_add.h.
#ifndef OWB_FLEETMGR_FLEETWINDOWS_H
#define OWB_FLEETMGR_FLEETWINDOWS_H

#include <cstddef>

#include "fleetmgr/registry.h"
#include "owbtypes.h"

// The option dialogs (run, kill, backup, restore) are in fleetdlg.h.
#include "fleetmgr/fleetdlg.h"

// Asks for the directory of a new fleet in the file picker's directory
// chooser ("Enter a directory name for the fleet"), a modal window.  Fills
// directory (size bytes, the choice cut to fit) and returns true when one
// was chosen, false when the user cancelled.
Boolean chooseFleetDirectory(char* directory, size_t size);

// Ends a fleet's window (settings, engine place or status); null is
// allowed and does nothing.  The window's user data, its FleetObject, is
// cleared first, so that nothing the window does at its end reaches a
// fleet being deleted.
void terminateFleetWindow(WinPtr win);

// Gives win the tool's icon, gFleetMgrIcon (the settings, engine place
// and status windows carry it).  Nothing happens without the icon.
void setFleetWindowIcon(WinPtr win);


#endif  // OWB_FLEETMGR_FLEETWINDOWS_H
