// Backing a fleet up into a named subdirectory of its own directory.
//
// <fleetDir>/<backupTag> receives a copy of the definition, of region/ and
// of each engine directory the definition names; pid and .out files and
// other backups are not copied.  A previous backup of the same tag waits
// in <fleetDir>/<backupTag>.tmp while the new one is made, and survives a
// failed new one, under its own name or, if it could not be moved back,
// under the .tmp name that the user is told.  Refused while any process
// of the fleet runs, and for a tag that names a part of the fleet.
#ifndef OWB_FLEET_BACKUP_H
#define OWB_FLEET_BACKUP_H

#include <string>

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

class List;

// Why backupTag cannot name a backup of the fleet in fleetDir whose engines
// are the StringItem labels of engList, as the text of an alert; empty when
// it can.  A tag must be one name within the fleet directory (not empty,
// ".", ".." or holding `/`) and name nothing of the fleet itself: no
// engine's directory, `region`, the definition file, a pid or `.out` file.
// A backup under such a name would first clear what it names.
std::string backupTagRefusal(const char* fleetDir, const char* backupTag, List& engList);

// The mode given to copied definition files.
constexpr int kDefinitionCopyMode = 0666;

#endif  // OWB_FLEET_BACKUP_H
