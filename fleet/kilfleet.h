// Stopping the running processes of a fleet.
//
// killFleet works from the pid files of the fleet directory, so it also
// reaches processes that the definition no longer names; the definition
// only tells engines from the rest, and a fleet without a readable
// definition can't be killed.  Stale pid files within the request are
// removed.  With cleanup, the .out files within the request go too, and
// the eng.prof and debug.log of every engine of the definition, whatever
// the request.
#ifndef OWB_FLEET_KILFLEET_H
#define OWB_FLEET_KILFLEET_H

#include "owbtypes.h"
#include "shared/list.h"

struct KillFleetArgs {
  KillFleetArgs();

  fileNameType fleetDir;
  OWBboolean cleanup;       // remove the leftovers after stopping
  OWBboolean externalOnly;  // leave engines alone
  OWBboolean enginesOnly;   // leave all but engines alone
  processLabelType chosenProcess;  // when not empty, the one label; wins over both flags
};

OWBboolean killFleet(KillFleetArgs* args);

// True when entryName lies outside the request (compared in any case):
// chosenProcess first, then externalOnly, then enginesOnly.  engList is a
// List of StringItem engine labels.
OWBboolean canIgnore(const char* entryName, KillFleetArgs* args, List* engList);

#endif  // OWB_FLEET_KILFLEET_H
