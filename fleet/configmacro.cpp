// Macro substitution and port allocation.
#include "fleet/configmacro.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

#include "fleet/fileutil.h"
#include "fleet/output.h"

const char* const kInstallDirMacro = "OWBInstallDirectory";
const char* const kHostNameMacro = "LocalHostName";
const char* const kHostIPMacro = "LocalHostIP";

namespace {

typedef std::function<configItem*(const char*)> DefinitionLookup;

// Whether item can define a macro, and whether it displaces found, the
// definition met before it: externals and file records define nothing, and
// an `@` line does not displace a definition of another kind.
bool displaces(const configItem* item, const configItem* found) {
  if (item->kind == configExternal || item->kind == configFile || !item->label) return false;
  return !(found && item->kind == configEnviron && found->kind != configEnviron);
}

// The option that defines macroName, or null.
configItem* findDefinition(const char* macroName, configItem* listHead) {
  configItem* found = nullptr;
  for (configItem* item = listHead; item; item = item->next) {
    // The first character is compared inline: this walk runs over the
    // whole list for every macro line.
    if (!item->label || item->label[0] != macroName[0] || std::strcmp(item->label, macroName) != 0) continue;
    if (displaces(item, found)) found = item;
  }
  return found;
}

// The macro's text into *text; false after an alert when it has none.
bool macroText(const char* macroName, const DefinitionLookup& lookup, std::string* text) {
  if (strcasecmp(macroName, kInstallDirMacro) == 0) {
    *text = OWKInstallDir;
    return true;
  }
  if (strcasecmp(macroName, kHostNameMacro) == 0) {
    *text = ThisHostName;
    return true;
  }
  if (strcasecmp(macroName, kHostIPMacro) == 0) {
    *text = ThisHostIP;
    return true;
  }
  configItem* definition = lookup(macroName);
  if (!definition) {
    alertUser("Macro Not Defined", macroName);
    return false;
  }
  switch (definition->kind) {
    case configBoolean: *text = definition->value.asBoolean ? "#true" : "#false"; return true;
    case configInteger: *text = std::to_string(definition->value.asInteger); return true;
    case configString: *text = definition->value.asString; return true;
    case configEnviron: *text = definition->value.asEnviron; return true;
    case configNil: *text = "#nil"; return true;
    default: alertUser("Cannot Expand Macro", "Program bug - unknown matching option kind"); return false;
  }
}

OWBboolean substitute(char* varName, char* varValue, size_t valueSize, const DefinitionLookup& lookup) {
  char* open = std::strchr(varName, '(');
  if (!open) return OWB_TRUE;
  size_t nameLength = std::strlen(varName);
  if (varName[nameLength - 1] == ')') varName[nameLength - 1] = '\0';
  *open = '\0';
  char* macroList = open + 1;
  if (*macroList == '\0') return OWB_TRUE;
  // Only the first name of the list is taken up.
  std::string macroName(macroList, std::strcspn(macroList, ","));

  std::string expansion;
  if (!macroText(macroName.c_str(), lookup, &expansion)) return OWB_FALSE;

  char original[kConfigValueSize];
  std::snprintf(original, sizeof original, "%s", varValue);
  std::string rebuilt;
  const char* rest = original;
  for (const char* dollar = std::strchr(rest, '$'); dollar; dollar = std::strchr(dollar + 1, '$')) {
    if (std::strncmp(dollar + 1, macroName.c_str(), macroName.size()) != 0) continue;
    rebuilt.append(rest, static_cast<size_t>(dollar - rest));
    rebuilt += expansion;
    rest = dollar + 1 + macroName.size();
    dollar = rest - 1;  // substituted text is not scanned again
  }
  rebuilt += rest;
  std::snprintf(varValue, valueSize, "%s", rebuilt.c_str());
  return OWB_TRUE;
}

}  // namespace

OWBboolean doSubstitution(char* varName, char* varValue, configItem* listHead, size_t valueSize) {
  return substitute(varName, varValue, valueSize,
                    [listHead](const char* name) { return findDefinition(name, listHead); });
}

OWBboolean doSubstitution(char* varName, char* varValue, MacroIndex& index, size_t valueSize) {
  return substitute(varName, varValue, valueSize, [&index](const char* name) { return index.find(name); });
}

configItem* MacroIndex::find(const char* name) {
  if (!lastIndexed_) definitions_.reserve(1024);
  for (configItem* item = lastIndexed_ ? lastIndexed_->next : *listHead_; item; item = item->next) {
    lastIndexed_ = item;
    if (!item->label) continue;
    configItem*& slot = definitions_[std::string_view(item->label)];
    if (displaces(item, slot)) slot = item;
  }
  auto found = definitions_.find(std::string_view(name));
  return found == definitions_.end() ? nullptr : found->second;
}

OWBboolean allocateNewPort(const char* varName, char* varValue, long* nextPort, configItem** portHead,
                           size_t valueSize) {
  if (!nextPort || !portHead) return OWB_FALSE;
  configItem* port = *portHead;
  while (port && !(port->label && std::strcmp(port->label, varName) == 0)) port = port->next;
  if (!port) {
    configItem* tail = nullptr;
    port = allocConfigItem(configPort, varName, portHead, &tail);
    if (!port) return OWB_FALSE;
    port->value.asPort = *nextPort;
    // Stepped without signed overflow, whatever base the definition gave.
    *nextPort = static_cast<long>(static_cast<unsigned long>(*nextPort) + 2UL);
  }
  char note[kConfigValueSize + 32];
  std::snprintf(note, sizeof note, "%s -> %ld", varName, port->value.asPort);
  fyiUser("Allocated port", note, OWB_FALSE);
  std::snprintf(varValue, valueSize, "%ld", port->value.asPort);
  return OWB_TRUE;
}
