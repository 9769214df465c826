// Killing a fleet's processes and cleaning up after them.
#include "fleet/kilfleet.h"

#include <dirent.h>
#include <strings.h>
#include <unistd.h>

#include <cstdio>

#include "fleet/fleetdef.h"
#include "fleet/fleetpath.h"
#include "fleet/output.h"
#include "fleet/pidfile.h"

namespace {

bool isEngine(const char* label, List* engList) {
  for (long i = 0; i < engList->totalElements; ++i) {
    auto* engine = static_cast<StringItem*>(engList->get(i));
    if (engine && strcasecmp(engine->string, label) == 0) return true;
  }
  return false;
}

// Stops or tidies each pid file within the request.  False, after the
// alert, for a process that could not be stopped.
bool stopRequestedProcesses(DIR* directory, KillFleetArgs* args, List* engList) {
  const char* fleetDir = args->fleetDir;
  while (struct dirent* entry = readdir(directory)) {
    processLabelType label;
    if (!labelOfEntry(entry->d_name, ".pid", label, sizeof label)) continue;
    if (canIgnore(label, args, engList)) continue;
    if (!isRunning(fleetDir, label)) {
      // Also an entry such as x.PID that isRunning looked for as x.pid.
      unlink(pathIn(fleetDir, entry->d_name).c_str());
      continue;
    }
    alertUser(kKillingProcessCategory, label);
    if (!stopProcess(fleetDir, label)) {
      char text[sizeof(processLabelType) + 64];
      std::snprintf(text, sizeof text, "The %s process could not be killed", label);
      reportFatalError("Unsafe to Continue", text);
      return false;
    }
  }
  return true;
}

void removeLeftovers(KillFleetArgs* args, List* engList) {
  const char* fleetDir = args->fleetDir;
  if (DIR* directory = opendir(fleetDir)) {
    while (struct dirent* entry = readdir(directory)) {
      processLabelType label;
      if (labelOfEntry(entry->d_name, ".out", label, sizeof label) && !canIgnore(label, args, engList))
        unlink(pathIn(fleetDir, entry->d_name).c_str());
    }
    closedir(directory);
  }
  // Every engine's profile and log go, also those outside the request.
  for (long i = 0; i < engList->totalElements; ++i) {
    auto* engine = static_cast<StringItem*>(engList->get(i));
    if (!engine) continue;
    unlink(pathIn(fleetDir, engine->string, "eng.prof").c_str());
    unlink(pathIn(fleetDir, engine->string, "debug.log").c_str());
  }
}

}  // namespace

KillFleetArgs::KillFleetArgs() : cleanup(OWB_FALSE), externalOnly(OWB_FALSE), enginesOnly(OWB_FALSE) {
  fleetDir[0] = '\0';
  chosenProcess[0] = '\0';
}

OWBboolean canIgnore(const char* entryName, KillFleetArgs* args, List* engList) {
  if (args->chosenProcess[0]) return strcasecmp(entryName, args->chosenProcess) != 0 ? OWB_TRUE : OWB_FALSE;
  if (args->externalOnly) return isEngine(entryName, engList) ? OWB_TRUE : OWB_FALSE;
  if (args->enginesOnly) return isEngine(entryName, engList) ? OWB_FALSE : OWB_TRUE;
  return OWB_FALSE;
}

OWBboolean killFleet(KillFleetArgs* args) {
  List engList(kStandardChunkSize, TRUE, EqualCompare);
  if (!readEngineList(args->fleetDir, &engList)) {
    reportFatalError("ERROR", "Cannot read the fleet's definition");
    return OWB_FALSE;
  }
  DIR* directory = opendir(args->fleetDir);
  if (directory) {
    bool stopped = stopRequestedProcesses(directory, args, &engList);
    closedir(directory);
    if (!stopped) return OWB_FALSE;
  }
  if (args->cleanup) removeLeftovers(args, &engList);
  return OWB_TRUE;
}
