// The settings window of a fleet (template "fleetSettings") and the engine
// place configuration dialog it opens (template "enginePlaceConfigDlg").
//
// The window edits its FleetObject (held in the window's user data) in
// place; nothing reaches the disk until its make button.  Cancel deletes
// the object and reads the definition again.  The steps of make and Cancel
// that need no window are here as functions of their own.
//
// Contracts: a fleet handed in must be registered in gFleetMgr.  After a
// rollback or a revert the old FleetObject is deleted (its windows closed)
// and only the returned one may be used.
#ifndef OWB_FLEETMGR_SETTINGS_H
#define OWB_FLEETMGR_SETTINGS_H

#include "fleetmgr/registry.h"
#include "owbtypes.h"

// The detail button's labels.
extern const char* const kMoreDetailLabel;  // "More Detail..."
extern const char* const kLessDetailLabel;  // "Less Detail..."

// Null when authority is acceptable (empty, or 34 hexadecimal digits of
// either case); otherwise the alert text that refuses it.
const char* authorityRefusal(const char* authority);

// What the settings window's make reads from its widgets.
struct FleetSettingsInput {
  const char* authority;      // the authority text, may be empty
  const char* engineOptions;  // empty means "-d1"
  bool securityOn;
};

// The settings window's make.  A refused authority is reported (title
// "Invalid authority string") and gives -1 with nothing changed.
// Otherwise the authority, options and security go to the definition and
// the fleet is made (doMakeFleetCmd).  When that fails for a fleet that is
// on disk, the fleet is read again from disk: *fleet is replaced by the
// new object (null when the definition can no longer be read), the old one
// deleted without ending its settings window, which the caller closes.
// Returns the status of the make.
ErrorCode makeFleetFromSettings(FleetObject** fleet, const FleetSettingsInput& input);

// Cancel: forgets every edit.  The fleet is deleted (its windows close);
// a fleet that was on disk is read again and registered anew, and
// returned; a fleet never made is gone (null).
FleetObject* revertFleetSettings(FleetObject* fleet);

// The engine place configuration dialog for gFleetMgr->configFile, on
// gFleetMgr->currentFleet.  Null when either is missing.
WinPtr createNewEnginePlaceConfigDialog();

#endif  // OWB_FLEETMGR_SETTINGS_H
