// fleetctl config: an engine's startup.cfg as the fleet operations read it
// when they use (not allocate) its ports.
#include <cstdio>
#include <string>

#include "fleet/configlang.h"
#include "tools/fleetctl/commands.h"
#include "tools/fleetctl/fleetdir.h"
#include "tools/fleetctl/json.h"

namespace fleetctl {

namespace {

const char* kindName(int kind) {
  switch (kind) {
    case configBoolean: return "boolean";
    case configInteger: return "integer";
    case configString: return "string";
    case configEnviron: return "environ";
    case configExternal: return "external";
    case configNil: return "nil";
    case configFile: return "file";
    default: return "port";
  }
}

// The value in the form of a text line: an external as it was written,
// "&" or "!" before its command.
std::string textValue(const configItem* item) {
  switch (item->kind) {
    case configBoolean: return item->value.asBoolean ? "true" : "false";
    case configInteger: return std::to_string(item->value.asInteger);
    case configString: return item->value.asString;
    case configEnviron: return item->value.asEnviron;
    case configExternal:
      return std::string(item->value.asExternal.inBackground ? "& " : "! ") + item->value.asExternal.cmdLine;
    default: return "";
  }
}

std::string jsonValue(const configItem* item) {
  switch (item->kind) {
    case configBoolean: return item->value.asBoolean ? "true" : "false";
    case configInteger: return std::to_string(item->value.asInteger);
    case configString: return jsonString(item->value.asString);
    case configEnviron: return jsonString(item->value.asEnviron);
    case configExternal:
      return "{\"command\": " + jsonString(item->value.asExternal.cmdLine) +
             ", \"background\": " + (item->value.asExternal.inBackground ? "true" : "false") + "}";
    default: return "null";
  }
}

void printText(const configItem* list) {
  for (const configItem* item = list; item; item = item->next) {
    std::string line = std::string(kindName(item->kind)) + " " + (item->label ? item->label : "");
    std::string value = textValue(item);
    if (!value.empty()) line += " " + value;
    std::printf("%s\n", line.c_str());
  }
}

void printJson(const configItem* list) {
  std::printf("[");
  const char* separator = "\n";
  for (const configItem* item = list; item; item = item->next) {
    std::printf("%s  {\"kind\": %s, \"label\": %s, \"value\": %s}", separator, jsonString(kindName(item->kind)).c_str(),
                jsonStringOrNull(item->label).c_str(), jsonValue(item).c_str());
    separator = ",\n";
  }
  std::printf("\n]\n");
}

}  // namespace

int configCommand(const ParsedArgs& args) {
  fileNameType fleetDir;
  if (!takeFleetDirectory(args.operands[0], fleetDir)) return kExitUsage;
  configItem* list = nullptr;
  if (!readConfigFile(fleetDir, args.operands[1].c_str(), &list, nullptr, nullptr)) return kExitFalse;
  if (args.has("--json")) printJson(list);
  else printText(list);
  freeConfigList(&list);
  return kExitTrue;
}

}  // namespace fleetctl
