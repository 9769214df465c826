// Backing up a fleet, keeping a previous backup of the same tag safe.
#include "fleet/backup.h"

#include <strings.h>

#include <cstdio>
#include <string>

#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "fleet/fleetpath.h"
#include "fleet/output.h"
#include "fleet/pidfile.h"
#include "shared/utils.h"

namespace {

const char* const kCannotBackup = "Cannot Backup the Fleet";

// Copies the definition, region/ and each engine directory into
// backupDir.  Each engine's copy decides the result in turn, so that only
// the last engine's counts; a failed region copy or earlier engine is
// overlooked when a later engine copies.
bool copyFleetInto(const char* fleetDir, const std::string& backupDir, List& engList) {
  if (!ensureDir(backupDir.c_str())) return false;
  fileNameType fleetName;
  extractFilename(fleetDir, fleetName);
  std::string definitionName = std::string(fleetName) + ".flt";
  bool good = ensureCopy(backupDir.c_str(), fleetDir, definitionName.c_str(), kDefinitionCopyMode) != 0;
  if (good) good = copyDir(pathIn(fleetDir, "region").c_str(), pathIn(backupDir.c_str(), "region").c_str()) != 0;
  for (long i = 0; i < engList.totalElements; ++i) {
    auto* engine = static_cast<StringItem*>(engList.get(i));
    if (!engine) continue;
    good = copyDir(pathIn(fleetDir, engine->string).c_str(), pathIn(backupDir.c_str(), engine->string).c_str()) != 0;
  }
  return good;
}

// The name of a pid or output file: a label and ".pid" or ".out", in any case.
bool isProcessFileName(const char* name) {
  processLabelType label;
  return labelOfEntry(name, ".pid", label, sizeof label) || labelOfEntry(name, ".out", label, sizeof label);
}

}  // namespace

// The names are compared in any case, as engine labels are, so that no tag
// meets a part of the fleet on a file system that ignores case either.
std::string backupTagRefusal(const char* fleetDir, const char* backupTag, List& engList) {
  std::string tag = backupTag ? backupTag : "";
  if (tag.empty() || tag == "." || tag == ".." || tag.find('/') != std::string::npos)
    return "The backup tag \"" + tag + "\" must name a directory within the fleet directory.";
  std::string part;
  fileNameType fleetName;
  extractFilename(fleetDir, fleetName);
  if (strcasecmp(backupTag, "region") == 0) part = "the region directory";
  else if (strcasecmp(backupTag, (std::string(fleetName) + ".flt").c_str()) == 0) part = "the fleet's definition";
  else if (isProcessFileName(backupTag)) part = "a process's pid or output file";
  for (long i = 0; part.empty() && i < engList.totalElements; ++i) {
    auto* engine = static_cast<StringItem*>(engList.get(i));
    if (engine && strcasecmp(engine->string, backupTag) == 0) part = std::string("the engine ") + engine->string;
  }
  if (part.empty()) return std::string();
  return "The backup tag \"" + tag + "\" names " + part + ".  Choose another tag.";
}

BackupFleetArgs::BackupFleetArgs() {
  fleetDir[0] = '\0';
  backupTag[0] = '\0';
}

bool refusedWhileRunning(const char* fleetDir, const char* title) {
  if (!fleetIsRunning(fleetDir)) return false;
  reportFatalError(title, "One or more fleet processes are running.  You must stop the fleet first.");
  return true;
}

OWBboolean backupFleet(BackupFleetArgs* args) {
  const char* fleetDir = args->fleetDir;
  if (refusedWhileRunning(fleetDir, kCannotBackup)) return OWB_FALSE;
  List engList(kStandardChunkSize, TRUE, EqualCompare);
  if (!readEngineList(fleetDir, &engList)) {
    reportFatalError(kCannotBackup, "It appears that the fleet has not yet been (properly) set up..");
    return OWB_FALSE;
  }
  std::string refusal = backupTagRefusal(fleetDir, args->backupTag, engList);
  if (!refusal.empty()) {
    reportFatalError(kCannotBackup, refusal.c_str());
    return OWB_FALSE;
  }
  std::string backupDir = pathIn(fleetDir, args->backupTag);
  std::string temporaryDir = backupDir + ".tmp";
  bool oldBackup = dirExists(backupDir.c_str()) != 0;
  if (oldBackup && !moveDir(backupDir.c_str(), temporaryDir.c_str())) return OWB_FALSE;

  bool good = copyFleetInto(fleetDir, backupDir, engList);
  if (oldBackup) {
    if (good) {
      removeDir(temporaryDir.c_str());
    } else {
      removeDir(backupDir.c_str());
      if (!moveDir(temporaryDir.c_str(), backupDir.c_str())) {
        char text[sizeof(fileNameType) + 128];
        std::snprintf(text, sizeof text, "Your previous backup is now in the directory %s", temporaryDir.c_str());
        reportFatalError("Previous Backup Changed Name", text);
      }
    }
  }
  return good ? OWB_TRUE : OWB_FALSE;
}
