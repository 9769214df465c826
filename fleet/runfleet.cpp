// Booting the engines and external processes of a fleet.
#include "fleet/runfleet.h"

#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fleet/eng_util.h"
#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "fleet/fleetpath.h"
#include "fleet/output.h"
#include "fleet/pidfile.h"

namespace {

const char* const kCannotColdBoot = "Cannot Cold Boot Engine";

constexpr size_t kAlertTextSize = 2 * sizeof(processLabelType) + 128;

void reportFormatted(const char* title, const char* format, const char* first, const char* second = nullptr) {
  char text[kAlertTextSize];
  std::snprintf(text, sizeof text, format, first, second);
  reportFatalError(title, text);
}

EngineConfiguration* engineAt(FleetFileContent& content, long index) {
  return static_cast<EngineConfiguration*>(content.engines.get(index));
}

// Stops running engines (when allowed), then removes every engine's
// database and the region files the engines keep.  False after an alert.
bool clearForColdBoot(const char* fleetDir, FleetFileContent& definition, bool killOld) {
  for (long i = 0; i < definition.engines.totalElements; ++i) {
    EngineConfiguration* engine = engineAt(definition, i);
    if (!engine || !isRunning(fleetDir, engine->engineLabel)) continue;
    if (!killOld || !stopProcess(fleetDir, engine->engineLabel)) {
      reportFormatted(kCannotColdBoot, "Engine %s is running.  You must stop all engines before cold booting.",
                      engine->engineLabel);
      return false;
    }
  }
  for (long i = 0; i < definition.engines.totalElements; ++i) {
    EngineConfiguration* engine = engineAt(definition, i);
    if (!engine || !engineHasDB(fleetDir, engine->engineLabel)) continue;
    if (!removeDir(pathIn(fleetDir, engine->engineLabel, "db").c_str())) {
      reportFormatted(kCannotColdBoot, "Unable to remove the persistence database for %s", engine->engineLabel);
      return false;
    }
  }
  unlink(pathIn(fleetDir, "region", "cusIB.dat").c_str());
  unlink(pathIn(fleetDir, "region", "places.dat").c_str());
  return true;
}

OWBboolean bootEngine(const char* fleetDir, const char* engineOptions, const char* label, char** env) {
  return engineHasDB(fleetDir, label) ? warmBootEngine(fleetDir, engineOptions, label, env)
                                      : coldBootEngine(fleetDir, engineOptions, label, env);
}

}  // namespace

RunFleetArgs::RunFleetArgs() : killOld(OWB_FALSE), coldBoot(OWB_FALSE), externalsOnly(OWB_FALSE) {
  fleetDir[0] = '\0';
  specificProcess[0] = '\0';
}

OWBboolean runFleet(RunFleetArgs* args, char** env) {
  if (!std::getenv("DISPLAY")) {
    reportFatalError("Cannot Run the Fleet",
                     "You must set the environment variable DISPLAY to identify your X terminal before starting "
                     "the fleet.");
    return OWB_FALSE;
  }
  const char* fleetDir = args->fleetDir;
  FleetFileContent definition;
  if (!readFleetDefinition(fleetDir, &definition)) {
    reportFatalError("ERROR", "Unable to read the fleet's definition");
    return OWB_FALSE;
  }
  if (args->coldBoot && !clearForColdBoot(fleetDir, definition, args->killOld != 0)) return OWB_FALSE;

  const bool specific = args->specificProcess[0] != '\0';
  for (long i = 0; i < definition.engines.totalElements; ++i) {
    EngineConfiguration* engine = engineAt(definition, i);
    if (!engine) continue;
    const char* label = engine->engineLabel;
    if (specific && strcasecmp(args->specificProcess, label) != 0) {
      // Finding nothing to start counts as success too, so the walk seldom
      // passes the first engine whose label differs.
      if (startExternalProcesses(fleetDir, label, env, args->specificProcess)) return OWB_TRUE;
      continue;
    }
    OWBboolean started;
    bool externalsWanted = !specific && args->externalsOnly;
    if (externalsWanted) started = startExternalProcesses(fleetDir, label, env, nullptr);
    else started = bootEngine(fleetDir, definition.engineOptions, label, env);
    if (!started) {
      reportFormatted(args->externalsOnly ? "Cannot Start External Processes" : "Cannot Boot Engine",
                      "%s %s did not start",
                      args->externalsOnly ? "The external processes for engine" : "Engine", label);
      return OWB_FALSE;
    }
  }
  return OWB_TRUE;
}
