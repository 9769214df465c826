// Deleting a fleet directory with everything in it.
#ifndef OWB_FLEET_RMFLEET_H
#define OWB_FLEET_RMFLEET_H

#include "owbtypes.h"

// Refused while any process of the fleet runs.  A fleet directory that is
// not there counts as removed (with a notice).
OWBboolean removeFleet(const char* fleetDir);

#endif  // OWB_FLEET_RMFLEET_H
