// fleetctl run and kill: boot a fleet's processes, or stop them.
#include <signal.h>

#include "fleet/kilfleet.h"
#include "fleet/runfleet.h"
#include "tools/fleetctl/commands_ops.h"

extern char** environ;

namespace fleetctl {

int runCommand(const ParsedArgs& args) {
  RunFleetArgs runArgs;
  if (!takeFleetAndProcess(args, runArgs.fleetDir, runArgs.specificProcess)) return kExitUsage;
  runArgs.coldBoot = flagOf(args, "--cold");
  runArgs.killOld = flagOf(args, "--kill-old");
  runArgs.externalsOnly = flagOf(args, "--externals-only");
  if (!requireInstallation()) return kExitFalse;
  // As in the tool: the started children are never waited for.
  signal(SIGCHLD, SIG_IGN);
  return runFleet(&runArgs, environ) ? kExitTrue : kExitFalse;
}

int killCommand(const ParsedArgs& args) {
  KillFleetArgs killArgs;
  if (!takeFleetAndProcess(args, killArgs.fleetDir, killArgs.chosenProcess)) return kExitUsage;
  killArgs.cleanup = flagOf(args, "--cleanup");
  killArgs.externalOnly = flagOf(args, "--externals-only");
  killArgs.enginesOnly = flagOf(args, "--engines-only");
  return killFleet(&killArgs) ? kExitTrue : kExitFalse;
}

}  // namespace fleetctl
