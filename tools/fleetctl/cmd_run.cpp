// fleetctl run and kill: boot a fleet's processes, or stop them.
#include <signal.h>

#include "fleet/kilfleet.h"
#include "fleet/runfleet.h"
#include "tools/fleetctl/commands_ops.h"
#include "tools/fleetctl/fleetdir.h"

extern char** environ;

namespace fleetctl {

int runCommand(const ParsedArgs& args) {
  RunFleetArgs runArgs;
  if (!takeFleetDirectory(args.operands[0], runArgs.fleetDir) ||
      !takeLabelOption(args, "--process", runArgs.specificProcess, sizeof runArgs.specificProcess))
    return kExitUsage;
  runArgs.coldBoot = args.has("--cold") ? OWB_TRUE : OWB_FALSE;
  runArgs.killOld = args.has("--kill-old") ? OWB_TRUE : OWB_FALSE;
  runArgs.externalsOnly = args.has("--externals-only") ? OWB_TRUE : OWB_FALSE;
  if (!requireInstallation()) return kExitFalse;
  // As in the tool: the started children are never waited for.
  signal(SIGCHLD, SIG_IGN);
  return runFleet(&runArgs, environ) ? kExitTrue : kExitFalse;
}

int killCommand(const ParsedArgs& args) {
  KillFleetArgs killArgs;
  if (!takeFleetDirectory(args.operands[0], killArgs.fleetDir) ||
      !takeLabelOption(args, "--process", killArgs.chosenProcess, sizeof killArgs.chosenProcess))
    return kExitUsage;
  killArgs.cleanup = args.has("--cleanup") ? OWB_TRUE : OWB_FALSE;
  killArgs.externalOnly = args.has("--externals-only") ? OWB_TRUE : OWB_FALSE;
  killArgs.enginesOnly = args.has("--engines-only") ? OWB_TRUE : OWB_FALSE;
  return killFleet(&killArgs) ? kExitTrue : kExitFalse;
}

}  // namespace fleetctl
