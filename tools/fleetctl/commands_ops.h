// The fleetctl commands over the fleet operations: new, make, run, kill,
// status, backup, restore and remove.  Each returns kExitTrue when its
// operation returned true, kExitFalse when it returned false (the
// operation has said why on standard error) and kExitUsage for a command
// line it can't use.
#ifndef OWB_TOOLS_FLEETCTL_COMMANDS_OPS_H
#define OWB_TOOLS_FLEETCTL_COMMANDS_OPS_H

#include "fleet/fleetdef.h"
#include "tools/fleetctl/cli.h"

namespace fleetctl {

int newCommand(const ParsedArgs& args);
int makeCommand(const ParsedArgs& args);
int runCommand(const ParsedArgs& args);
int killCommand(const ParsedArgs& args);
int statusCommand(const ParsedArgs& args);
int backupCommand(const ParsedArgs& args);
int restoreCommand(const ParsedArgs& args);
int removeCommand(const ParsedArgs& args);

// The make step shared by new and make, as the tool's make step does it:
// "$OWB/" at the front of a place file becomes the installation directory,
// an empty fleet name becomes "fleet", then makeFleet.  Prints "<label>
// <debugger port>" per engine that received one.
int makeFromDefinition(const char* fleetDir, FleetFileContent& definition);

// False, after the operations' own "ERROR" alert, when OWB is not set.
bool requireInstallation();

// Copies an option's text into a fixed field; false, after a message,
// when it does not fit.
bool takeLabelOption(const ParsedArgs& args, const char* option, char* field, size_t size);

// The FLEETDIR operand and the --process option of run, kill and status;
// false, after a message, when either does not fit.
bool takeFleetAndProcess(const ParsedArgs& args, fileNameType fleetDir, processLabelType process);

// OWB_TRUE when the option was given.
inline OWBboolean flagOf(const ParsedArgs& args, const char* option) {
  return args.has(option) ? OWB_TRUE : OWB_FALSE;
}

}  // namespace fleetctl

#endif  // OWB_TOOLS_FLEETCTL_COMMANDS_OPS_H
