// Restoring a fleet from one of its backups.
//
// The live definition, region/ and engine directories are removed and the
// backup's copied in their place; the engines of the present state go even
// when the backup does not have them.  The backup stays, so it can be
// restored again; pid and .out files are not touched.  Refused while any
// process of the fleet runs.  A failure part-way leaves the fleet part
// restored.
#ifndef OWB_FLEET_RESTORE_H
#define OWB_FLEET_RESTORE_H

#include "owbtypes.h"

struct RestoreFleetArgs {
  RestoreFleetArgs();

  fileNameType fleetDir;
  processLabelType backupTag;  // the backup's directory name within the fleet directory
};

OWBboolean restoreFleet(RestoreFleetArgs* args);

#endif  // OWB_FLEET_RESTORE_H
