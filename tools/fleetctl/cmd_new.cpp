// fleetctl new: a new fleet with the tool's defaults, then made.
#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fleet/fileutil.h"
#include "fleet/fleetpath.h"
#include "shared/utils.h"
#include "tools/fleetctl/commands_ops.h"
#include "tools/fleetctl/fleetdir.h"

namespace fleetctl {

namespace {

const char* const kDefaultEngineLabel = "eng1";
const char* const kDefaultEngineOptions = "-d1";
const char* const kDefaultPlaceConfig = "$OWB/lib/engplace.cfg";

// The labels a definition accepts: a letter, then letters, digits and `_`.
bool isEngineLabel(const std::string& label) {
  if (label.empty() || label.size() >= sizeof(processLabelType) || !std::isalpha(static_cast<unsigned char>(label[0])))
    return false;
  for (char c : label)
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  return true;
}

bool usageError(const std::string& text) {
  std::fprintf(stderr, "fleetctl: %s\n", text.c_str());
  return false;
}

bool takeEngines(const ParsedArgs& args, FleetFileContent* definition) {
  std::vector<std::string> labels = args.values("--engine");
  if (labels.empty()) labels.push_back(kDefaultEngineLabel);
  for (size_t i = 0; i < labels.size(); ++i) {
    if (!isEngineLabel(labels[i]))
      return usageError("engine label '" + labels[i] + "' must be a letter followed by letters, digits or '_'");
    for (size_t j = 0; j < i; ++j)
      if (strcasecmp(labels[i].c_str(), labels[j].c_str()) == 0)
        return usageError("engine label '" + labels[i] + "' is given twice");
    auto* engine = new EngineConfiguration(labels[i].c_str());
    copyIntoField(engine->enginePlaceConfig, sizeof engine->enginePlaceConfig, kDefaultPlaceConfig);
    engine->loadDebugger = OWB_TRUE;
    definition->engines.include(engine);
  }
  return true;
}

bool takeBasePort(const ParsedArgs& args, FleetFileContent* definition) {
  if (!args.has("--base-port")) {
    definition->basePort = randomPort();
    return true;
  }
  std::string text = args.value("--base-port");
  char* end = nullptr;
  long port = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || port < kLowestBasePort || port > 65535)
    return usageError("--base-port must be a number from " + std::to_string(kLowestBasePort) + " to 65535");
  definition->basePort = port;
  return true;
}

bool takeAuthority(const ParsedArgs& args, const char* fleetDir, FleetFileContent* definition) {
  if (args.has("--authority") && args.has("--no-authority"))
    return usageError("--authority and --no-authority exclude each other");
  if (args.has("--no-authority")) {
    definition->authorityText[0] = '\0';
  } else if (args.has("--authority")) {
    std::string text = args.value("--authority");
    bool hex = text.size() == kAuthorityLength;
    for (char c : text) hex = hex && std::isxdigit(static_cast<unsigned char>(c));
    if (!hex) return usageError("--authority must be " + std::to_string(kAuthorityLength) + " hexadecimal digits");
    copyIntoField(definition->authorityText, sizeof definition->authorityText, text.c_str());
  } else {
    randomAuthority(fleetDir, definition->authorityText);
  }
  return true;
}

bool takeSecurity(const ParsedArgs& args, FleetFileContent* definition) {
  std::string text = args.value("--security", "off");
  if (text != "on" && text != "off") return usageError("--security must be on or off");
  definition->securityOn = text == "on" ? OWB_TRUE : OWB_FALSE;
  return true;
}

}  // namespace

int newCommand(const ParsedArgs& args) {
  fileNameType fleetDir;
  if (!takeFleetDirectory(args.operands[0], fleetDir)) return kExitUsage;
  fileNameType fleetName;
  extractFilename(fleetDir, fleetName);
  FleetFileContent definition(fleetName);
  copyIntoField(definition.engineOptions, sizeof definition.engineOptions, kDefaultEngineOptions);
  if (!takeEngines(args, &definition) || !takeBasePort(args, &definition) ||
      !takeAuthority(args, fleetDir, &definition) || !takeSecurity(args, &definition) ||
      !takeLabelOption(args, "--options", definition.engineOptions, sizeof definition.engineOptions))
    return kExitUsage;
  if (!args.has("--options"))
    copyIntoField(definition.engineOptions, sizeof definition.engineOptions, kDefaultEngineOptions);
  if (!requireInstallation()) return kExitFalse;
  std::string path = definitionPath(fleetDir);
  if (testIfFileExists(path.c_str()) && !args.has("--force")) {
    std::fprintf(stderr, "fleetctl: a fleet definition exists already at %s; --force replaces it\n", path.c_str());
    return kExitFalse;
  }
  return makeFromDefinition(fleetDir, definition);
}

}  // namespace fleetctl
