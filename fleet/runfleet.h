// Booting a made fleet.
//
// One call serves four wishes: the whole fleet (each engine warm when it
// has a db directory, else cold), a cold boot of the whole fleet
// (coldBoot: running engines stopped if killOld allows, every engine's db
// and the region's cusIB.dat and places.dat removed first), the external
// processes alone (externalsOnly), or one named process
// (specificProcess).  Requires DISPLAY to be set, even for processes that
// run in the background.  Engines are handled in definition order; what
// was started stays up after a failure.
#ifndef OWB_FLEET_RUNFLEET_H
#define OWB_FLEET_RUNFLEET_H

#include "owbtypes.h"

struct RunFleetArgs {
  RunFleetArgs();

  fileNameType fleetDir;
  OWBboolean killOld;        // in a cold boot, stop running engines instead of refusing
  OWBboolean coldBoot;       // wipe the persistent state first
  OWBboolean externalsOnly;  // start no engines
  processLabelType specificProcess;  // when not empty, the one process wanted
};

// env is the environment handed down from main, passed on untouched.
OWBboolean runFleet(RunFleetArgs* args, char** env);

#endif  // OWB_FLEET_RUNFLEET_H
