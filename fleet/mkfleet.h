// Making (and re-making) a fleet's directory tree from its definition.
//
// makeFleet writes <fleetDir>/<fleetName>.flt, region/region.cfg and an
// empty region/ports.cfg, and <engLabel>/startup.cfg for each engine; then
// it reads every engine's configuration in allocation mode, numbering the
// ports from basePort in steps of 2, and writes them to region/ports.cfg.
// An engine that has a db directory loses its whole directory first, and
// engines that the new definition no longer names are removed.  Refused
// while any process of the fleet runs.  Nothing is rolled back.
#ifndef OWB_FLEET_MKFLEET_H
#define OWB_FLEET_MKFLEET_H

#include "fleet/fleetdef.h"
#include "owbtypes.h"
#include "shared/list.h"

struct MakeFleetArgs {
  MakeFleetArgs();

  fileNameType fleetDir;     // empty on construction
  FleetFileContent fleetDefn;  // the wanted definition
};

// debuggerPorts is emptied, then receives in engine order a NumberItem for
// each engine that has a <engLabel>_MOCK_PORT port.
OWBboolean makeFleet(MakeFleetArgs* args, List* debuggerPorts);

// Empties <regionDir>/ports.cfg and writes <regionDir>/region.cfg.
OWBboolean makeRegionConfig(const char* regionDir, FleetFileContent* fleetDef);

// Removes the directory of every engine of the definition on disk that
// newContent does not name (labels compared in any case).  Always true.
OWBboolean deleteObsoleteEngines(const char* fleetDir, FleetFileContent* newContent);

// Writes <engDir>/startup.cfg for engInfo; isFirst gives it the region's port.
OWBboolean makeMasterConfig(const char* fleetDir, const char* engDir, EngineConfiguration* engInfo,
                            OWBboolean isFirst);

#endif  // OWB_FLEET_MKFLEET_H
