// What each operation is about to do, reported through fyiUser before it
// runs (fleet/output.h).
#ifndef OWB_FLEETMGR_FLEETREPORTS_H
#define OWB_FLEETMGR_FLEETREPORTS_H

#include "fleet/kilfleet.h"
#include "fleet/mkfleet.h"
#include "fleet/runfleet.h"

void printRunFleetArgs(RunFleetArgs* args);
void printKillFleetArgs(KillFleetArgs* args);
void printMakeFleetArgs(MakeFleetArgs* args);

#endif  // OWB_FLEETMGR_FLEETREPORTS_H
