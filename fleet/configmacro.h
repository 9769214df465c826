// Macro substitution and port allocation of the configuration language.
//
// An option's key may name one macro in parentheses, `Key(Macro) = ...`;
// each `$Macro` of the value is then replaced by the macro's value.  Port
// lines, whose value is "$NEW_ENG_PORT$" or "$NEW_FLEET_PORT$", receive
// numbers from a running counter while a fleet is being made.
#ifndef OWB_FLEET_CONFIGMACRO_H
#define OWB_FLEET_CONFIGMACRO_H

#include <cstddef>
#include <string_view>
#include <unordered_map>

#include "fleet/configitem.h"
#include "owbtypes.h"

// The size of the name and value buffers handed to the functions below.
constexpr size_t kConfigValueSize = 1024;

// Macros that name the installation and the host rather than an option.
extern const char* const kInstallDirMacro;  // "OWBInstallDirectory"
extern const char* const kHostNameMacro;    // "LocalHostName"
extern const char* const kHostIPMacro;      // "LocalHostIP"

// With a `(` in varName: cuts varName to its plain label and expands the
// first macro named in the parentheses wherever `$<name>` begins in
// varValue (a prefix test: `$PortX` expands macro `Port` and keeps `X`).
// Only that first name counts; later ones are ignored.  The macro is
// looked up among listHead's options (the last one that is not an `@` line
// wins; an `@` line counts only when nothing else defines the name).  An
// undefined macro alerts "Macro Not Defined" and gives false.  varValue
// holds valueSize bytes; a longer result is truncated.
OWBboolean doSubstitution(char* varName, char* varValue, configItem* listHead,
                          size_t valueSize = kConfigValueSize);

// The definitions that doSubstitution would find by walking a list, kept
// in a table for a reader that substitutes while the list grows.  The list
// may only grow at its tail; the table catches up on each look-up, so a
// read without macros pays nothing for it.
class MacroIndex {
 public:
  explicit MacroIndex(configItem** listHead) : listHead_(listHead) {}
  // The record that defines name, or null.
  configItem* find(const char* name);

 private:
  configItem** listHead_;
  configItem* lastIndexed_ = nullptr;
  // Keyed by the records' own labels, which live as long as the list.
  std::unordered_map<std::string_view, configItem*> definitions_;
};

// doSubstitution with the definitions of index.
OWBboolean doSubstitution(char* varName, char* varValue, MacroIndex& index, size_t valueSize = kConfigValueSize);

// Finds or adds the port labelled varName in *portHead (a new one takes
// *nextPort, which then steps by 2), reports it under "Allocated port" and
// writes its number over varValue.  False, changing nothing, when nextPort
// or portHead is null: that is, when ports are being used, not allocated.
OWBboolean allocateNewPort(const char* varName, char* varValue, long* nextPort, configItem** portHead,
                           size_t valueSize = kConfigValueSize);

#endif  // OWB_FLEET_CONFIGMACRO_H
