// Restoring a fleet from a backup.
#include "fleet/restore.h"

#include <unistd.h>

#include <string>

#include "fleet/backup.h"
#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "fleet/fleetpath.h"
#include "fleet/output.h"
#include "fleet/pidfile.h"
#include "shared/utils.h"

namespace {

const char* const kCannotRestore = "Cannot Restore the Fleet";

const char* labelAt(List& list, long index) {
  auto* item = static_cast<StringItem*>(list.get(index));
  return item ? item->string : nullptr;
}

}  // namespace

RestoreFleetArgs::RestoreFleetArgs() {
  fleetDir[0] = '\0';
  backupTag[0] = '\0';
}

OWBboolean restoreFleet(RestoreFleetArgs* args) {
  const char* fleetDir = args->fleetDir;
  if (refusedWhileRunning(fleetDir, kCannotRestore)) return OWB_FALSE;
  std::string backupDir = pathIn(fleetDir, args->backupTag);
  List oldEngList(kStandardChunkSize, TRUE, EqualCompare);
  if (!readEngineList(fleetDir, &oldEngList)) oldEngList.removeAll();
  std::string refusal = backupTagRefusal(fleetDir, args->backupTag, oldEngList);
  if (!refusal.empty()) {
    reportFatalError(kCannotRestore, refusal.c_str());
    return OWB_FALSE;
  }

  fileNameType fleetName;
  extractFilename(fleetDir, fleetName);
  std::string definitionName = std::string(fleetName) + ".flt";
  std::string savedDefinition = pathIn(backupDir.c_str(), definitionName.c_str());
  if (!testIfFileExists(savedDefinition.c_str())) {
    reportFatalError(kCannotRestore, "The backup is clearly garbled.");
    return OWB_FALSE;
  }
  std::string liveDefinition = pathIn(fleetDir, definitionName.c_str());
  unlink(liveDefinition.c_str());
  List engList(kStandardChunkSize, TRUE, EqualCompare);
  if (!copyFile(savedDefinition.c_str(), liveDefinition.c_str(), kDefinitionCopyMode) ||
      !readEngineList(fleetDir, &engList)) {
    reportFatalError(kCannotRestore, "Unable to restore the list of engines in the fleet.");
    return OWB_FALSE;
  }
  // The restored definition may name an engine after the tag itself.
  refusal = backupTagRefusal(fleetDir, args->backupTag, engList);
  if (!refusal.empty()) {
    reportFatalError(kCannotRestore, refusal.c_str());
    return OWB_FALSE;
  }

  std::string liveRegion = pathIn(fleetDir, "region");
  bool good = removeDir(liveRegion.c_str()) && copyDir(pathIn(backupDir.c_str(), "region").c_str(), liveRegion.c_str());
  for (long i = 0; good && i < oldEngList.totalElements; ++i) {
    const char* label = labelAt(oldEngList, i);
    if (!label) continue;
    std::string engineDir = pathIn(fleetDir, label);
    if (dirExists(engineDir.c_str())) good = removeDir(engineDir.c_str()) != 0;
  }
  for (long i = 0; good && i < engList.totalElements; ++i) {
    const char* label = labelAt(engList, i);
    if (!label) continue;
    std::string engineDir = pathIn(fleetDir, label);
    if (dirExists(engineDir.c_str())) good = removeDir(engineDir.c_str()) != 0;
    if (good) good = copyDir(pathIn(backupDir.c_str(), label).c_str(), engineDir.c_str()) != 0;
  }
  return good ? OWB_TRUE : OWB_FALSE;
}
