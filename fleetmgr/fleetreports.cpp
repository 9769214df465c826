// The reports of the run, kill and make operations.
#include "fleetmgr/fleetreports.h"

#include <cstdio>

#include "fleet/output.h"

namespace {

const char* const kReportRule = "----------------------------------------";

// "none" for an empty list, else "" followed by one line per entry.
void printNameList(List& names, const char* heading, const char* entryCategory) {
  fyiUser(heading, names.totalElements == 0 ? "none" : "", OWB_TRUE);
  for (long i = 0; i < names.totalElements; i++) {
    auto* name = static_cast<StringItem*>(names.get(i));
    if (name) fyiUser(entryCategory, name->string, OWB_TRUE);
  }
}

}  // namespace

void printKillFleetArgs(KillFleetArgs* args) {
  if (!args) return;
  fyiUser("Fleet directory", args->fleetDir, OWB_TRUE);
  fyiUser("Clean-up policy", args->cleanup ? "delete runtime output files" : "do not delete any files", OWB_TRUE);
  const char* processes = "all Wandercode engines and all external processes";
  if (args->chosenProcess[0]) processes = args->chosenProcess;
  else if (args->externalOnly) processes = "all external processes";
  else if (args->enginesOnly) processes = "all Wandercode engines";
  fyiUser("Processes to kill", processes, OWB_FALSE);
}

void printRunFleetArgs(RunFleetArgs* args) {
  if (!args) return;
  fyiUser("Fleet directory", args->fleetDir, OWB_TRUE);
  fyiUser("Engine boot type", args->coldBoot ? "cold boot engines" : "warm boot engines where possible", OWB_TRUE);
  if (args->specificProcess[0])
    fyiUser("Process to boot", args->specificProcess, OWB_TRUE);
  else
    fyiUser("Boot type", args->externalsOnly ? "externals-only" : "engines plus their external processes",
            OWB_TRUE);
  // One of these goes as the category, the other as the details.
  if (args->killOld)
    fyiUser("Running processes will be killed if needed", nullptr, OWB_FALSE);
  else
    fyiUser(nullptr, "If there are any running processes, don't try to cold-boot the fleet", OWB_FALSE);
}

void printMakeFleetArgs(MakeFleetArgs* args) {
  if (!args) return;
  FleetFileContent& definition = args->fleetDefn;
  fyiUser(kReportRule, nullptr, OWB_FALSE);
  fyiUser("Fleet directory", args->fleetDir, OWB_TRUE);
  fyiUser("Fleet name", definition.fleetName, OWB_TRUE);
  char port[32];
  std::snprintf(port, sizeof port, "%ld", definition.basePort);
  fyiUser("Base port number", port, OWB_TRUE);
  for (long i = 0; i < definition.engines.totalElements; i++) {
    auto* engine = static_cast<EngineConfiguration*>(definition.engines.get(i));
    if (!engine) continue;
    fyiUser("    Engine name", engine->engineLabel, OWB_TRUE);
    fyiUser("    Engine place configuration", engine->enginePlaceConfig, OWB_TRUE);
    fyiUser("    Load debugging support", engine->loadDebugger ? "yes" : "no", OWB_TRUE);
    printNameList(engine->moduleConfigFiles, "    Installed modules to be loaded", "        Module");
    printNameList(engine->projectConfigFiles, "    Personal projects to be loaded", "        Project");
  }
  fyiUser(kReportRule, nullptr, OWB_FALSE);
}
