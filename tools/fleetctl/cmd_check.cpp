// fleetctl check: read a fleet definition and summarize it.
#include <cstdio>

#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "tools/fleetctl/commands.h"
#include "tools/fleetctl/fleetdir.h"

namespace fleetctl {

namespace {

const char* trueOrFalse(OWBboolean value) { return value ? "True" : "False"; }

void printStrings(const char* key, List& items) {
  for (long i = 0; i < items.totalElements; ++i)
    if (auto* item = static_cast<StringItem*>(items.get(i))) std::printf("    %s = %s\n", key, item->string);
}

// The definition as read, in the order and words of the file.
void printSummary(const std::string& path, FleetFileContent& content) {
  std::printf("Fleet %s (%s)\n", content.fleetName, path.c_str());
  std::printf("  BasePort = %ld\n", content.basePort);
  std::printf("  Authority = %s\n", content.authorityText[0] ? content.authorityText : "(none)");
  std::printf("  EngineOptions = %s\n", content.engineOptions);
  std::printf("  SecurityOn = %s\n", trueOrFalse(content.securityOn));
  std::printf("  Engines: %ld\n", content.engines.totalElements);
  for (long i = 0; i < content.engines.totalElements; ++i) {
    auto* engine = static_cast<EngineConfiguration*>(content.engines.get(i));
    if (!engine) continue;
    std::printf("  Engine %s\n", engine->engineLabel);
    std::printf("    EnginePlaceConfig = %s\n", engine->enginePlaceConfig);
    std::printf("    LoadDebugger = %s\n", trueOrFalse(engine->loadDebugger));
    printStrings("Module", engine->moduleConfigFiles);
    printStrings("Project", engine->projectConfigFiles);
  }
}

}  // namespace

int checkCommand(const ParsedArgs& args) {
  fileNameType fleetDir;
  if (!takeFleetDirectory(args.operands[0], fleetDir)) return kExitUsage;
  std::string path = definitionPath(fleetDir);
  FleetFileContent content;
  if (!readFleetDefinition(fleetDir, &content)) {
    // The reader is silent about a file it can't open.
    if (!testIfFileExists(path.c_str())) std::fprintf(stderr, "fleetctl: no fleet definition %s\n", path.c_str());
    return kExitFalse;
  }
  printSummary(path, content);
  return kExitTrue;
}

}  // namespace fleetctl
