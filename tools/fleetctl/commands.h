// The functions behind fleetctl's commands, one cmd_<name>.cpp each.
#ifndef OWB_TOOLS_FLEETCTL_COMMANDS_H
#define OWB_TOOLS_FLEETCTL_COMMANDS_H

#include "tools/fleetctl/cli.h"

namespace fleetctl {

// check FLEETDIR: reads the definition and prints a summary.
int checkCommand(const ParsedArgs& args);
// config FLEETDIR ENGINE [--json]: the engine's startup.cfg as read in use mode.
int configCommand(const ParsedArgs& args);
// logs FLEETDIR LABEL [--follow] [--lines N]: the process's output file.
int logsCommand(const ParsedArgs& args);

}  // namespace fleetctl

#endif  // OWB_TOOLS_FLEETCTL_COMMANDS_H
