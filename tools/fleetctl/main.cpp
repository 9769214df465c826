// fleetctl: the fleet operations from the command line.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <unistd.h>

#include "fleet/fileutil.h"
#include "fleet/output.h"
#include "tools/fleetctl/cli.h"

namespace {

void printUsageHint() { std::fprintf(stderr, "Try 'fleetctl --help'.\n"); }

// The start-up of the tool, without the window: current directory,
// installation (when OWB is set; the commands that need it say so) and the
// host's identity.
void setUpFleetGlobals() {
  const char* owb = std::getenv("OWB");
  if (owb && *owb) {
    setOWKInstallDir(nullptr);
  } else if (!getcwd(ThisCurrentDir, sizeof ThisCurrentDir)) {
    std::snprintf(ThisCurrentDir, sizeof ThisCurrentDir, ".");
  }
  setHostIP();
}

}  // namespace

int main(int argc, char** argv) {
  int first = 1;
  bool verbose = false;
  while (first < argc && std::strcmp(argv[first], "--verbose") == 0) {
    verbose = true;
    ++first;
  }
  if (first >= argc) {
    std::fputs(fleetctl::helpText(), stderr);
    return fleetctl::kExitUsage;
  }
  std::string name = argv[first];
  if (name == "--help" || name == "-h" || name == "help") {
    std::fputs(fleetctl::helpText(), stdout);
    return fleetctl::kExitTrue;
  }
  const fleetctl::Command* command = fleetctl::findCommand(name);
  if (!command) {
    std::fprintf(stderr, "fleetctl: unknown command '%s'\n", name.c_str());
    printUsageHint();
    return fleetctl::kExitUsage;
  }
  if (!command->run) {
    std::fprintf(stderr, "fleetctl: the '%s' command is not yet available\n", command->name);
    return fleetctl::kExitUsage;
  }
  fleetctl::ParsedArgs args;
  std::string error;
  if (!fleetctl::parseCommandLine(*command, argc, argv, first + 1, &args, &error)) {
    std::fprintf(stderr, "fleetctl: %s\n", error.c_str());
    printUsageHint();
    return fleetctl::kExitUsage;
  }
  args.verbose = args.verbose || verbose;
  useConsoleOutput(args.verbose);
  setUpFleetGlobals();
  return command->run(args);
}
