// Engine boots and the start of external processes.
#include "fleet/eng_util.h"

#include <dirent.h>
#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fleet/configlang.h"
#include "fleet/fileutil.h"
#include "fleet/fleetpath.h"
#include "fleet/launch.h"
#include "fleet/output.h"
#include "fleet/pidfile.h"

namespace {

const char* const kEngineNotStarted = "Engine Not Started";

// Room for a formatted alert text naming a path or a command.
constexpr size_t kAlertTextSize = sizeof(fileNameType) + kExpandedCommandSize + 256;

void reportFormatted(const char* title, const char* format, const char* first, const char* second = nullptr) {
  char text[kAlertTextSize];
  std::snprintf(text, sizeof text, format, first, second);
  reportFatalError(title, text);
}

bool endsName(char c) {
  unsigned char u = static_cast<unsigned char>(c);
  return c == '\0' || std::isspace(u) || std::ispunct(u);
}

// The text a record gives to `$label` in an external's command, or false
// for a record that has none.
bool textOfRecord(const configItem* record, std::string* text) {
  switch (record->kind) {
    case configBoolean:
      *text = record->value.asBoolean ? "true" : "false";
      return true;
    case configInteger:
      *text = std::to_string(record->value.asInteger);
      return true;
    case configString:
      *text = record->value.asString ? record->value.asString : "";
      return true;
    case configEnviron:
      *text = record->value.asEnviron ? record->value.asEnviron : "";
      return true;
    case configNil:
      text->clear();
      return true;
    default:
      return false;
  }
}

// The value of name among the records before stopAt, then in the environment.
bool valueOfName(const std::string& name, configItem* configOptions, configItem* stopAt, std::string* value) {
  bool found = false;
  for (configItem* record = configOptions; record && record != stopAt; record = record->next) {
    std::string text;
    if (record->label && name == record->label && textOfRecord(record, &text)) {
      *value = text;
      found = true;
    }
  }
  if (found) return true;
  if (const char* fromEnvironment = std::getenv(name.c_str())) {
    *value = fromEnvironment;
    return true;
  }
  return false;
}

}  // namespace

OWBboolean engineHasDB(const char* fleetDir, const char* engLabel) {
  DIR* directory = opendir(pathIn(fleetDir, engLabel, "db").c_str());
  if (!directory) return OWB_FALSE;
  bool hasEntry = readdir(directory) != nullptr;
  closedir(directory);
  return hasEntry ? OWB_TRUE : OWB_FALSE;
}

OWBboolean coldBootEngine(const char* fleetDir, const char* engOptions, const char* engLabel, char** programEnv) {
  std::string dbDirectory = pathIn(fleetDir, engLabel, "db");
  if (!ensureDir(dbDirectory.c_str())) {
    reportFormatted(kEngineNotStarted, "Failed to create the engine's database directory %s", dbDirectory.c_str());
    return OWB_FALSE;
  }
  std::string bootArgument = "-b " + shellWord(pathIn(OWKInstallDir, "lib/boot.s"));
  return doBootEngine(fleetDir, engOptions, engLabel, bootArgument.c_str(), programEnv);
}

OWBboolean warmBootEngine(const char* fleetDir, const char* engOptions, const char* engLabel, char** programEnv) {
  if (!engineHasDB(fleetDir, engLabel)) {
    reportFormatted(kEngineNotStarted, "Cannot warm boot because there is no old database for engine %s", engLabel);
    return OWB_FALSE;
  }
  std::string bootArgument = shellWord(pathIn(OWKInstallDir, "lib/restart.s"));
  return doBootEngine(fleetDir, engOptions, engLabel, bootArgument.c_str(), programEnv);
}

OWBboolean doBootEngine(const char* fleetDir, const char* engOptions, const char* engLabel, const char* bootScript,
                        char** programEnv) {
  configItem* configOptions = nullptr;
  if (!readConfigFile(fleetDir, engLabel, &configOptions, nullptr, nullptr)) return OWB_FALSE;
  if (!startExternalProcesses(fleetDir, engLabel, programEnv, nullptr)) {
    freeConfigList(&configOptions);
    reportFatalError(kEngineNotStarted, "Failed to start the external processes");
    return OWB_FALSE;
  }
  if (isRunning(fleetDir, engLabel)) {
    freeConfigList(&configOptions);
    return OWB_TRUE;
  }
  std::vector<configItem*> environment;
  for (configItem* record = configOptions; record; record = record->next)
    if (record->kind == configEnviron && static_cast<int>(environment.size()) < kMaxEngineEnvirons)
      environment.push_back(record);
  environment.push_back(nullptr);

  // The installation's paths are quoted for the shell line when they need
  // it; the engine options are the user's text and go as they stand.
  std::string command = shellWord(pathIn(OWKInstallDir, "bin/eng")) + " -s db -f " + engOptions + " -o - " + bootScript;
  std::string workingDirectory = pathIn(fleetDir, engLabel);
  OWBboolean started = runCommandWithPid(fleetDir, engLabel, command.c_str(), workingDirectory.c_str(),
                                         environment.data(), programEnv, OWB_TRUE);
  freeConfigList(&configOptions);
  if (!started) {
    reportFormatted(kEngineNotStarted, "Failed to start the engine via command %s", command.c_str());
    return OWB_FALSE;
  }
  return OWB_TRUE;
}

OWBboolean startExternalProcesses(const char* fleetDir, const char* engLabel, char** programEnv,
                                  const char* specificProcess) {
  configItem* configOptions = nullptr;
  if (!readConfigFile(fleetDir, engLabel, &configOptions, nullptr, nullptr)) return OWB_FALSE;
  OWBboolean result = startExternalsFromConfig(fleetDir, engLabel, configOptions, programEnv, specificProcess);
  freeConfigList(&configOptions);
  return result;
}

bool expandExternalCommand(const char* command, configItem* configOptions, configItem* stopAt,
                           std::string* expanded, std::string* missingName) {
  expanded->clear();
  const char* p = command;
  while (*p) {
    if (*p != '$') {
      expanded->push_back(*p++);
      continue;
    }
    const char* nameStart = ++p;
    while (!endsName(*p)) ++p;
    std::string name(nameStart, static_cast<size_t>(p - nameStart));
    std::string value;
    if (!valueOfName(name, configOptions, stopAt, &value)) {
      *missingName = "$" + name;
      return false;
    }
    *expanded += value;
  }
  if (expanded->size() > kExpandedCommandSize - 1) expanded->resize(kExpandedCommandSize - 1);
  return true;
}

std::string commandDirectory(const std::string& expandedCommand) {
  size_t wordEnd = 0;
  while (wordEnd < expandedCommand.size() && !std::isspace(static_cast<unsigned char>(expandedCommand[wordEnd])))
    ++wordEnd;
  std::string firstWord = expandedCommand.substr(0, wordEnd);
  size_t lastSlash = firstWord.rfind('/');
  return lastSlash == std::string::npos ? std::string() : firstWord.substr(0, lastSlash);
}

OWBboolean startExternalsFromConfig(const char* fleetDir, const char* /*engLabel*/, configItem* configOptions,
                                    char** programEnv, const char* specificProcess) {
  std::vector<configItem*> environment;
  for (configItem* record = configOptions; record; record = record->next) {
    if (record->kind == configEnviron) {
      environment.push_back(record);
      continue;
    }
    if (record->kind != configExternal || !record->label) continue;
    if (isRunning(fleetDir, record->label)) continue;
    if (specificProcess && strcasecmp(specificProcess, record->label) != 0) continue;

    std::string command;
    std::string missingName;
    const char* text = record->value.asExternal.cmdLine ? record->value.asExternal.cmdLine : "";
    if (!expandExternalCommand(text, configOptions, record, &command, &missingName)) {
      reportFormatted("Cannot Start External Process",
                      "No value is available for %s in the command line for external process '%s'",
                      missingName.c_str(), record->label);
      return OWB_FALSE;
    }
    std::string directory = commandDirectory(command);
    std::vector<configItem*> environmentSoFar(environment);
    environmentSoFar.push_back(nullptr);
    OWBboolean giveXterm = record->value.asExternal.inBackground ? OWB_FALSE : OWB_TRUE;
    if (!runCommandWithPid(fleetDir, record->label, command.c_str(), directory.c_str(), environmentSoFar.data(),
                           programEnv, giveXterm))
      return OWB_FALSE;
  }
  return OWB_TRUE;
}
