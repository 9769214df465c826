// The fleet's commands as the tool runs them: FleetObject::do...Cmd and
// FleetObject::make...Args (declared with the class in registry.h) and
// FleetMgr::doRemoveFleetCmd, defined in fleetops.cpp.  Each command fills
// in the parts of its record that come from the fleet, reports it and calls
// the operation of fleet/.  Include this header to call them: it brings the
// argument records with it.
//
// Contracts: a command returns 0, or -2000 when the operation failed (it
// has told the user why); a null record means the operation's defaults; the
// record stays the caller's.
#ifndef OWB_FLEETMGR_FLEETOPS_H
#define OWB_FLEETMGR_FLEETOPS_H

#include "fleet/backup.h"
#include "fleet/kilfleet.h"
#include "fleet/mkfleet.h"
#include "fleet/psfleet.h"
#include "fleet/restore.h"
#include "fleet/runfleet.h"
#include "fleetmgr/registry.h"

#endif  // OWB_FLEETMGR_FLEETOPS_H
