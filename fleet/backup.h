// Backing a fleet up into a named subdirectory of its own directory.
//
// <fleetDir>/<backupTag> receives a copy of the definition, of region/ and
// of each engine directory the definition names; pid and .out files and
// other backups are not copied.  A previous backup of the same tag waits
// in <fleetDir>/<backupTag>.tmp while the new one is made, and survives a
// failed new one, under its own name or, if it could not be moved back,
// under the .tmp name that the user is told.  Refused while any process
// of the fleet runs.
#ifndef OWB_FLEET_BACKUP_H
#define OWB_FLEET_BACKUP_H

#include "owbtypes.h"

struct BackupFleetArgs {
  BackupFleetArgs();

  fileNameType fleetDir;
  processLabelType backupTag;  // the backup's directory name within the fleet directory
};

// Backup and restore open alike: when a process of the fleet runs, the user
// is told under `title` that the fleet must be stopped first, and the
// answer is true (the operation is refused).
bool refusedWhileRunning(const char* fleetDir, const char* title);

OWBboolean backupFleet(BackupFleetArgs* args);

// The mode given to copied definition files.
constexpr int kDefinitionCopyMode = 0666;

#endif  // OWB_FLEET_BACKUP_H
