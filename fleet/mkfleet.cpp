// Making a fleet: definition, region configuration, engine configurations
// and port numbers.
#include "fleet/mkfleet.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "fleet/configlang.h"
#include "fleet/eng_util.h"
#include "fleet/fileutil.h"
#include "fleet/fleetpath.h"
#include "fleet/output.h"
#include "fleet/pidfile.h"

namespace {

const char* const kCannotConfigure = "Cannot Configure a Fleet";
const char* const kCouldNotReconfigure = "Could Not (Re-)Configure the Fleet";
const char* const kNewEnginePortValue = "$NEW_ENG_PORT$";

constexpr size_t kAlertTextSize = sizeof(fileNameType) + 256;

void reportFormatted(const char* title, const char* format, const char* argument) {
  char text[kAlertTextSize];
  std::snprintf(text, sizeof text, format, argument);
  reportFatalError(title, text);
}

EngineConfiguration* engineAt(FleetFileContent* content, long index) {
  return static_cast<EngineConfiguration*>(content->engines.get(index));
}

const char* stringAt(List& list, long index) {
  auto* item = static_cast<StringItem*>(list.get(index));
  return item ? item->string : "";
}

void writeStartupConfig(FILE* file, const char* fleetDir, const char* engDir, EngineConfiguration* engInfo,
                        bool isFirst) {
  const char slash = '/';
  std::fprintf(file, "LocalHostIP = \"%s\"\n", ThisHostIP);
  std::fprintf(file, "LocalHostName = \"%s\"\n\n", ThisHostName);
  std::fprintf(file, "include = %s%c%s%c%s\n", fleetDir, slash, "region", slash, "region.cfg");
  std::fprintf(file, "\n# Macros pointing to directories of special interest\n\n");
  std::fprintf(file, "OWBDirectory = \"%s\"\n", OWKInstallDir);
  std::fprintf(file, "OWBBinDirectory = \"%s%cbin\"\n", OWKInstallDir, slash);
  std::fprintf(file, "OWBLibraryDirectory = \"%s%c%s\"\n", OWKInstallDir, slash, "lib");
  std::fprintf(file, "OWBModulesDirectory = \"%s%c%s\"\n", OWKInstallDir, slash, "modules");
  std::fprintf(file, "CreationDirectory = \"%s\"\n", ThisCurrentDir);
  std::fprintf(file, "%s += \" %s%c %s%c %s%c%s%c %s%c%s%c \"\n", "AutoLoadPath", ThisCurrentDir, slash, engDir,
               slash, OWKInstallDir, slash, "lib", slash, OWKInstallDir, slash, "modules", slash);
  std::fprintf(file, "\n# Engine port numbers and modem configuration:\n\n");
  std::fprintf(file, "EngineLocation = \"%s\"\n", engInfo->engineLabel);
  std::fprintf(file, "EngineIPAddress = \"%s\"\n", ThisHostIP);
  if (isFirst) std::fprintf(file, "EnginePort(RegionPort) = $RegionPort\n");
  else std::fprintf(file, "EnginePort = %s\n", kNewEnginePortValue);
  std::fprintf(file, "@UDP_PORT(EnginePort) = $EnginePort\n");
  std::fprintf(file, "EngineTCPPort = %s\n", kNewEnginePortValue);
  std::fprintf(file, "@TCP_PORT(EngineTCPPort) = $EngineTCPPort\n");
  std::fprintf(file, "@MNI_PORT = %s\n", kNewEnginePortValue);
  std::fprintf(file, "@MOCK_PORT = %s\n", kNewEnginePortValue);
  std::fprintf(file, "@PPP = 0\n");
  std::fprintf(file, "@MODEMS = \"(answer,,)\"\n");
  std::fprintf(file, "\n# Pull in the configuration file describing the engine place:\n\n");
  std::fprintf(file, "include = %s\n", engInfo->enginePlaceConfig);
  if (engInfo->loadDebugger) std::fprintf(file, "include = %s\n", "debug.cfg");
  std::fprintf(file, "\n# Loading installed OWB module configuration files:\n\n");
  for (long i = 0; i < engInfo->moduleConfigFiles.totalElements; ++i)
    std::fprintf(file, "include = %s\n", stringAt(engInfo->moduleConfigFiles, i));
  std::fprintf(file, "\n# Loading project configuration files:\n\n");
  for (long i = 0; i < engInfo->projectConfigFiles.totalElements; ++i)
    std::fprintf(file, "include = %s\n", stringAt(engInfo->projectConfigFiles, i));
}

// Reads every engine's configuration in allocation mode, numbering ports
// from basePort, and collects the debugger ports.  False after an alert.
bool allocatePorts(const char* fleetDir, FleetFileContent* fleetDefn, List* debuggerPorts, configItem** portHead) {
  long nextPort = fleetDefn->basePort;
  for (long i = 0; i < fleetDefn->engines.totalElements; ++i) {
    EngineConfiguration* engine = engineAt(fleetDefn, i);
    if (!engine) continue;
    configItem* configOptions = nullptr;
    if (!readConfigFile(fleetDir, engine->engineLabel, &configOptions, &nextPort, portHead)) {
      freeConfigList(portHead);
      reportFatalError(kCouldNotReconfigure, "Failed to parse a configuration file");
      return false;
    }
    std::string mockPortLabel = std::string(engine->engineLabel) + "_MOCK_PORT";
    for (configItem* port = *portHead; port; port = port->next) {
      if (port->label && std::strcmp(port->label, mockPortLabel.c_str()) == 0) {
        debuggerPorts->include(new NumberItem(static_cast<int32_t>(port->value.asPort)));
        break;
      }
    }
    freeConfigList(&configOptions);
  }
  return true;
}

}  // namespace

MakeFleetArgs::MakeFleetArgs() { fleetDir[0] = '\0'; }

OWBboolean makeFleet(MakeFleetArgs* args, List* debuggerPorts) {
  debuggerPorts->removeAll();
  const char* fleetDir = args->fleetDir;
  FleetFileContent* fleetDefn = &args->fleetDefn;
  if (fleetIsRunning(fleetDir)) {
    reportFatalError("Cannot (Re-)Configure the Fleet",
                     "Some fleet processes are currently running.  You must kill them before the fleet can be "
                     "(re-)configured.");
    return OWB_FALSE;
  }
  for (long i = 0; i < fleetDefn->engines.totalElements; ++i) {
    EngineConfiguration* engine = engineAt(fleetDefn, i);
    if (!engine || std::strlen(engine->engineLabel) <= kMaxEngineNameLength) continue;
    char text[sizeof(processLabelType) + 160];
    std::snprintf(text, sizeof text,
                  "The engine name %s is too long to name the engine's files: an engine name has at most %zu "
                  "characters.",
                  engine->engineLabel, kMaxEngineNameLength);
    reportFatalError(kCannotConfigure, text);
    return OWB_FALSE;
  }
  if (!ensureDir(fleetDir)) return OWB_FALSE;
  std::string regionDir = pathIn(fleetDir, "region");
  // The obsolete engines are found from the old definition, so they go
  // before the new one is written.
  bool common = ensureDir(regionDir.c_str()) && deleteObsoleteEngines(fleetDir, fleetDefn) &&
                writeFleetDefinition(fleetDir, fleetDefn) && makeRegionConfig(regionDir.c_str(), fleetDefn);
  if (!common) {
    reportFatalError(kCannotConfigure, "Failed to set up the engine-independent configuration");
    return OWB_FALSE;
  }
  for (long i = 0; i < fleetDefn->engines.totalElements; ++i) {
    EngineConfiguration* engine = engineAt(fleetDefn, i);
    if (!engine) continue;
    std::string engDir = pathIn(fleetDir, engine->engineLabel);
    // Re-making discards the engine's persistent state with its directory.
    if (engineHasDB(fleetDir, engine->engineLabel)) removeDir(engDir.c_str());
    if (!ensureDir(engDir.c_str()) ||
        !makeMasterConfig(fleetDir, engDir.c_str(), engine, i == 0 ? OWB_TRUE : OWB_FALSE)) {
      reportFormatted(kCannotConfigure, "Failed to set up the configuration for engine %s", engine->engineLabel);
      return OWB_FALSE;
    }
  }

  configItem* portHead = nullptr;
  if (!allocatePorts(fleetDir, fleetDefn, debuggerPorts, &portHead)) return OWB_FALSE;
  if (!portHead) return OWB_TRUE;
  FILE* portsFile = std::fopen(pathIn(regionDir.c_str(), "ports.cfg").c_str(), "we");
  if (!portsFile) {
    freeConfigList(&portHead);
    reportFatalError(kCouldNotReconfigure, "Failed to open the port number configuration file");
    return OWB_FALSE;
  }
  for (configItem* port = portHead; port; port = port->next)
    std::fprintf(portsFile, "%s = %ld\n", port->label ? port->label : "", port->value.asPort);
  std::fflush(portsFile);
  std::fclose(portsFile);
  freeConfigList(&portHead);
  return OWB_TRUE;
}

OWBboolean makeRegionConfig(const char* regionDir, FleetFileContent* fleetDef) {
  std::string portsName = pathIn(regionDir, "ports.cfg");
  FILE* portsFile = std::fopen(portsName.c_str(), "we");
  if (!portsFile) {
    reportFormatted("Making a Fleet", "Unable to open %s", portsName.c_str());
    return OWB_FALSE;
  }
  std::fclose(portsFile);
  std::string regionName = pathIn(regionDir, "region.cfg");
  FILE* file = std::fopen(regionName.c_str(), "we");
  if (!file) {
    reportFormatted("Making a Fleet", "Unable to open %s", regionName.c_str());
    return OWB_FALSE;
  }
  std::fprintf(file, "include = %s\n", portsName.c_str());
  std::fprintf(file, "RegionIPAddress(LocalHostIP) = \"$LocalHostIP\"\n");
  std::fprintf(file, "RegionPort = $NEW_FLEET_PORT$\n");
  if (fleetDef->authorityText[0]) std::fprintf(file, "RegionAuthority = #O\"%s\"\n", fleetDef->authorityText);
  std::fprintf(file, "@SECURE = %d\n", fleetDef->securityOn ? 1 : 0);
  std::fprintf(file, "@SECDB_DIR = ../region\n");
  std::fprintf(file, "@FINDER = 1\n");
  std::fprintf(file, "@FINDER_DIR = ../region\n");
  std::fprintf(file, "@PROF_MASK = 0\n");
  std::fflush(file);
  std::fclose(file);
  return OWB_TRUE;
}

OWBboolean deleteObsoleteEngines(const char* fleetDir, FleetFileContent* newContent) {
  FleetFileContent oldContent;
  if (!readFleetDefinition(fleetDir, &oldContent)) return OWB_TRUE;
  for (long i = 0; i < oldContent.engines.totalElements; ++i) {
    EngineConfiguration* oldEngine = engineAt(&oldContent, i);
    if (!oldEngine || !oldEngine->engineLabel[0]) continue;
    bool kept = false;
    for (long j = 0; j < newContent->engines.totalElements && !kept; ++j) {
      EngineConfiguration* newEngine = engineAt(newContent, j);
      kept = newEngine && strcasecmp(newEngine->engineLabel, oldEngine->engineLabel) == 0;
    }
    if (!kept) removeDir(pathIn(fleetDir, oldEngine->engineLabel).c_str());
  }
  return OWB_TRUE;
}

OWBboolean makeMasterConfig(const char* fleetDir, const char* engDir, EngineConfiguration* engInfo,
                            OWBboolean isFirst) {
  std::string startupName = pathIn(engDir, "startup.cfg");
  FILE* file = std::fopen(startupName.c_str(), "we");
  if (!file) {
    reportFormatted("Cannot (Re-)Configure the Fleet", "Failed to open configuration file %s", startupName.c_str());
    return OWB_FALSE;
  }
  writeStartupConfig(file, fleetDir, engDir, engInfo, isFirst != 0);
  std::fflush(file);
  std::fclose(file);
  return OWB_TRUE;
}
