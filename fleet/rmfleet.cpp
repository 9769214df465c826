// Deleting a fleet.
#include "fleet/rmfleet.h"

#include <cstdio>

#include "fleet/fileutil.h"
#include "fleet/output.h"
#include "fleet/pidfile.h"

OWBboolean removeFleet(const char* fleetDir) {
  if (fleetIsRunning(fleetDir)) {
    reportFatalError("Cannot Remove the Fleet", "You must stop all fleet processes before you remove the fleet");
    return OWB_FALSE;
  }
  if (!dirExists(fleetDir)) {
    alertUser("Heads Up", "The fleet does not exist");
    return OWB_TRUE;
  }
  if (!removeDir(fleetDir)) {
    char text[sizeof(fileNameType) + 64];
    std::snprintf(text, sizeof text, "Removing the fleet directory (%s) failed", fleetDir);
    reportFatalError("Failed to Remove the Fleet", text);
    return OWB_FALSE;
  }
  return OWB_TRUE;
}
