// The windows that the fleet commands open: the settings window, the four
// option dialogs, the status window and the directory picker of "New
// Fleet".
//
// These windows are not built yet.  Until they are, each function below
// tells the user through the alert that the window is not available and
// opens nothing; the command that called it has done everything before the
// window all the same.  FleetObject::createFleetSettingsDialog and
// FleetObject::createFleetStatusWindow (registry.h) are defined with them.
#ifndef OWB_FLEETMGR_FLEETWINDOWS_H
#define OWB_FLEETMGR_FLEETWINDOWS_H

#include <cstddef>

#include "fleetmgr/registry.h"
#include "owbtypes.h"

// The option dialogs; they act on gFleetMgr->currentFleet when their
// button is pressed.  filename is the selected definition file.
void createRunFleetOptions();
void createKillFleetOptions();
void createBackupOptions(const char* filename);
void createRestoreOptions(const char* filename);

// Asks for the directory of a new fleet ("Enter a directory name for the
// fleet").  Fills directory (size bytes) and returns true when one was
// chosen, false when the user cancelled.
Boolean chooseFleetDirectory(char* directory, size_t size);

// Ends a fleet's window; null is allowed and does nothing.
void terminateFleetWindow(WinPtr win);

// The text with which the functions above say that their window is missing.
extern const char* const kWindowNotAvailableText;

#endif  // OWB_FLEETMGR_FLEETWINDOWS_H
