// fleetctl make: (re-)make a fleet from the definition on disk.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fleet/fileutil.h"
#include "fleet/fleetpath.h"
#include "fleet/mkfleet.h"
#include "tools/fleetctl/commands_ops.h"
#include "tools/fleetctl/fleetdir.h"
#include "shared/utils.h"

namespace fleetctl {

namespace {

const char* const kInstallationPrefix = "$OWB/";

void copyStrings(List& from, List& to) {
  for (long i = 0; i < from.totalElements; ++i)
    if (auto* item = static_cast<StringItem*>(from.get(i))) to.include(new StringItem(item->string));
}

// The definition as the make step hands it over: a copy whose place files
// under "$OWB/" are taken in the installation.
void fillMakeArgs(const char* fleetDir, FleetFileContent& definition, MakeFleetArgs* args) {
  copyIntoField(args->fleetDir, sizeof args->fleetDir, fleetDir);
  FleetFileContent& wanted = args->fleetDefn;
  copyIntoField(wanted.fleetName, sizeof wanted.fleetName, definition.fleetName[0] ? definition.fleetName : "fleet");
  wanted.basePort = definition.basePort;
  copyIntoField(wanted.authorityText, sizeof wanted.authorityText, definition.authorityText);
  copyIntoField(wanted.engineOptions, sizeof wanted.engineOptions, definition.engineOptions);
  wanted.securityOn = definition.securityOn;
  for (long i = 0; i < definition.engines.totalElements; ++i) {
    auto* engine = static_cast<EngineConfiguration*>(definition.engines.get(i));
    if (!engine) continue;
    auto* copy = new EngineConfiguration(engine->engineLabel);
    size_t prefixLength = std::strlen(kInstallationPrefix);
    if (std::strncmp(engine->enginePlaceConfig, kInstallationPrefix, prefixLength) == 0) {
      copyIntoField(copy->enginePlaceConfig, sizeof copy->enginePlaceConfig, engine->enginePlaceConfig + prefixLength);
      padWithDir(copy->enginePlaceConfig, OWKInstallDir, sizeof copy->enginePlaceConfig);
    } else {
      copyIntoField(copy->enginePlaceConfig, sizeof copy->enginePlaceConfig, engine->enginePlaceConfig);
    }
    copy->loadDebugger = engine->loadDebugger;
    copyStrings(engine->moduleConfigFiles, copy->moduleConfigFiles);
    copyStrings(engine->projectConfigFiles, copy->projectConfigFiles);
    wanted.engines.include(copy);
  }
}

}  // namespace

bool requireInstallation() {
  const char* owb = std::getenv("OWB");
  if (owb && *owb) return true;
  setOWKInstallDir(nullptr);  // reports that OWB is missing
  return false;
}

bool takeLabelOption(const ParsedArgs& args, const char* option, char* field, size_t size) {
  std::string text = args.value(option);
  if (text.size() >= size) {
    std::fprintf(stderr, "fleetctl: the value of %s is longer than %zu characters\n", option, size - 1);
    return false;
  }
  copyIntoField(field, size, text.c_str());
  return true;
}

bool takeFleetAndProcess(const ParsedArgs& args, fileNameType fleetDir, processLabelType process) {
  return takeFleetDirectory(args.operands[0], fleetDir) &&
         takeLabelOption(args, "--process", process, sizeof(processLabelType));
}

int makeFromDefinition(const char* fleetDir, FleetFileContent& definition) {
  MakeFleetArgs args;
  fillMakeArgs(fleetDir, definition, &args);
  List debuggerPorts(kStandardChunkSize, TRUE, EqualCompare);
  if (!makeFleet(&args, &debuggerPorts)) return kExitFalse;
  for (long i = 0; i < args.fleetDefn.engines.totalElements; ++i) {
    auto* engine = static_cast<EngineConfiguration*>(args.fleetDefn.engines.get(i));
    auto* port = static_cast<NumberItem*>(debuggerPorts.get(i));
    if (engine && port) std::printf("%s %ld\n", engine->engineLabel, static_cast<long>(port->number));
  }
  std::fflush(stdout);
  return kExitTrue;
}

int makeCommand(const ParsedArgs& args) {
  fileNameType fleetDir;
  if (!takeFleetDirectory(args.operands[0], fleetDir)) return kExitUsage;
  if (!requireInstallation()) return kExitFalse;
  FleetFileContent definition;
  if (!readFleetDefinition(fleetDir, &definition)) {
    std::string path = definitionPath(fleetDir);
    if (!testIfFileExists(path.c_str())) std::fprintf(stderr, "fleetctl: no fleet definition %s\n", path.c_str());
    return kExitFalse;
  }
  return makeFromDefinition(fleetDir, definition);
}

}  // namespace fleetctl
