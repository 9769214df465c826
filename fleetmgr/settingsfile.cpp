// The engine place configuration file: folder tables, list helpers and the
// writer of the generated file.
#include "fleetmgr/settingsfile.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "fleetmgr/registry.h"
#include "shared/alert.h"

const fleetListInfo gPreBootHeadingStrs[] = {{"Pre-boot Script Files:", 0}, {"Filename", -1}};
const fleetListInfo gAutoloadHeadingStrs[] = {{"Autoload Script Files:", 0}, {"Filename", -1}};
// The label's code -2 is carried but never used.
const fleetListInfo gEnvVarHeadingStrs[] = {
    {"Environment Variables:", -2}, {"Variable Name", -3}, {"Variable Value", 0}};
const fleetListInfo gCfgOptionsHeadingStrs[] = {
    {"Configuration Options:", 0}, {"Type", -4}, {"Keyword", -4}, {"Value", 0}};
const fleetListInfo gExtProcHeadingStrs[] = {
    {"External Processes:", 0}, {"Symbolic Name", -4}, {"Command Line", 0}};

const ConfigFolder gConfigFolders[kConfigFolderCount] = {
    {gPreBootHeadingStrs, 1},
    {gAutoloadHeadingStrs, 1},
    {gEnvVarHeadingStrs, 2},
    {gCfgOptionsHeadingStrs, 3},
    {gExtProcHeadingStrs, 2},
};

List* configFolderList(EngConfigFile* configFile, int folder) {
  if (!configFile) return nullptr;
  switch (folder) {
    case kPreBootFolder: return &configFile->preBootScripts;
    case kAutoloadFolder: return &configFile->autoloadScripts;
    case kEnvVarFolder: return &configFile->envVarList;
    case kConfigOptionsFolder: return &configFile->configOptions;
    case kExtProcFolder: return &configFile->extProcsList;
    default: return nullptr;
  }
}

const char* configFolderCell(ItemPtr element, int column) {
  if (!element || column < 1) return "";
  if (auto* tuple = dynamic_cast<StringTupleItem*>(element))
    return column <= kTupleSize && tuple->strings[column - 1] ? tuple->strings[column - 1] : "";
  if (auto* item = dynamic_cast<StringItem*>(element)) return column == 1 ? item->string : "";
  return "";
}

int columnWidthFromCode(int code, int listWidth, int usedWidth) {
  int width;
  if (code < 0) width = listWidth / -code;
  else if (code > 0) width = code;
  else width = listWidth - usedWidth;
  return width < 0 ? 0 : width;
}

namespace {

StringItem* appendScript(List* list, const char* filename) {
  if (!list) return nullptr;
  auto* item = new StringItem(filename);
  list->include(item);
  return item;
}

bool startsWithOneOf(const char* text, const char* set) { return text[0] && std::strchr(set, text[0]); }

// "<prefix>"<each name, newest first, followed by a blank>"\n
void writeScriptLine(FILE* file, const char* prefix, List& scripts) {
  if (scripts.totalElements == 0) return;
  std::fputs(prefix, file);
  for (long i = scripts.totalElements - 1; i >= 0; i--)
    std::fprintf(file, "%s ", configFolderCell(scripts.get(i), 1));
  std::fputs("\"\n", file);
}

// The line of one configuration option, by its type.
void writeOption(FILE* file, StringTupleItem* option) {
  const char* type = option->strings[0];
  const char* keyword = option->strings[1];
  char* value = option->strings[2];
  if (std::strcmp(type, "Boolean") == 0) {
    char first = static_cast<char>(std::tolower(static_cast<unsigned char>(value[0])));
    if (first == 't') std::fprintf(file, "%s = #true\n", keyword);
    else if (first == 'f') std::fprintf(file, "%s = #false\n", keyword);
    else std::printf("Error in config file: value (%s) of '%s' not Boolean.\n", value, keyword);
  } else if (std::strcmp(type, "Character") == 0) {
    // An empty value would put a NUL byte in the file; it writes nothing.
    if (!value[0]) return;
    if (value[0] == '\'' || value[0] == '\\') std::fprintf(file, "%s = #c'\\%c'\n", keyword, value[0]);
    else std::fprintf(file, "%s = #c'%c'\n", keyword, value[0]);
  } else if (std::strcmp(type, "Identifier") == 0) {
    if (value[0] != '\'') std::fprintf(file, "%s = '%s\n", keyword, value);
    else std::fprintf(file, "%s = %s\n", keyword, value);
  } else if (std::strcmp(type, "Integer") == 0) {
    const char* digits = value;
    if (value[0] == '-' && value[1] && std::isspace(static_cast<unsigned char>(value[1]))) {
      digits = value + 1;
      while (*digits && std::isspace(static_cast<unsigned char>(*digits))) digits++;
      std::fprintf(file, "%s = -%s\n", keyword, digits);
    } else {
      std::fprintf(file, "%s = %s\n", keyword, value);
    }
  } else if (std::strcmp(type, "Nil") == 0) {
    std::fprintf(file, "%s = #nil\n", keyword);
  } else if (std::strcmp(type, "OctetString") == 0) {
    std::fprintf(file, "%s = #o\"%s\"\n", keyword, value);
  } else if (std::strcmp(type, "String") == 0) {
    static const char kQuoting[] = "\\'\"";
    if (!startsWithOneOf(value, kQuoting)) {
      std::fprintf(file, "%s = \"%s\"\n", keyword, value);
      return;
    }
    size_t length = std::strlen(value);
    if (!std::strchr(kQuoting, value[length - 1])) return;  // opened but not closed: no line
    // The stored value itself loses its closing character.
    char closing = value[length - 1];
    value[length - 1] = '\0';
    std::fprintf(file, "%s = \"\\%s\\%c\"\n", keyword, value, closing);
  }
  // Any other type writes nothing.
}

}  // namespace

StringItem* addBootScriptFile(const char* filename) {
  return appendScript(gFleetMgr ? configFolderList(gFleetMgr->configFile, kPreBootFolder) : nullptr, filename);
}

StringItem* addAutoloadScriptFile(const char* filename) {
  return appendScript(gFleetMgr ? configFolderList(gFleetMgr->configFile, kAutoloadFolder) : nullptr, filename);
}

void writeConfigFile() {
  EngConfigFile* config = gFleetMgr ? gFleetMgr->configFile : nullptr;
  if (!config) return;
  FILE* file = std::fopen(config->filename, "w");
  if (!file) {
    char text[sizeof config->filename + 64];
    std::snprintf(text, sizeof text, "Unable to open %s for writing", config->filename);
    displayAlertWindow(text, kAlertWarning, "File error", nullptr, nullptr, nullptr, TRUE, nullptr);
    return;
  }

  // ctime's own line end leaves a blank line after the heading.
  std::time_t now = std::time(nullptr);
  const char* when = std::ctime(&now);
  std::fprintf(file, "#  Configuration file written by Fleetmgr %s\n", when ? when : "\n");

  writeScriptLine(file, "Libraries += \"", config->preBootScripts);
  if (config->engPlaceBootScript[0]) std::fprintf(file, "EngineBootScript = \"%s\"\n", config->engPlaceBootScript);
  writeScriptLine(file, "AutoLoadFiles += \"", config->autoloadScripts);

  if (config->envVarList.totalElements > 0) {
    std::fputs("\n# Environment Variables\n", file);
    for (long i = config->envVarList.totalElements - 1; i >= 0; i--) {
      auto* variable = dynamic_cast<StringTupleItem*>(config->envVarList.get(i));
      if (variable) std::fprintf(file, "@ %s = %s\n", variable->strings[0], variable->strings[1]);
    }
  }

  if (config->configOptions.totalElements > 0) {
    std::fputs("\n# Configuration options\n", file);
    for (long i = config->configOptions.totalElements - 1; i >= 0; i--) {
      auto* option = dynamic_cast<StringTupleItem*>(config->configOptions.get(i));
      if (option) writeOption(file, option);
    }
  }

  if (config->extProcsList.totalElements > 0) {
    std::fputs("\n# External processes\n", file);
    for (long i = config->extProcsList.totalElements - 1; i >= 0; i--) {
      auto* process = dynamic_cast<StringTupleItem*>(config->extProcsList.get(i));
      // A process without a command line is left out; the heading stays.
      if (process && process->strings[1][0])
        std::fprintf(file, "!%s=%s\n", process->strings[0], process->strings[1]);
    }
  }
  std::fclose(file);
  // The line on standard output about a bad Boolean comes before anything
  // the caller prints next.
  std::fflush(stdout);
}
