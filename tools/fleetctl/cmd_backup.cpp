// fleetctl backup, restore and remove.
#include <cstdio>
#include <string>

#include "fleet/backup.h"
#include "fleet/fleetpath.h"
#include "fleet/restore.h"
#include "fleet/rmfleet.h"
#include "tools/fleetctl/commands_ops.h"
#include "tools/fleetctl/fleetdir.h"
#include "shared/utils.h"

namespace fleetctl {

namespace {

const char* const kDefaultBackupTag = "backup";

// Fills the fleet directory and the tag ("backup" unless --tag is given).
// A tag must name a directory within the fleet directory.
template <typename TaggedArgs>
bool takeTaggedArgs(const ParsedArgs& args, TaggedArgs* tagged) {
  if (!takeFleetDirectory(args.operands[0], tagged->fleetDir)) return false;
  std::string tag = args.value("--tag", kDefaultBackupTag);
  if (tag.empty() || tag == "." || tag == ".." || tag.find('/') != std::string::npos) {
    std::fprintf(stderr, "fleetctl: --tag must name a directory within the fleet directory\n");
    return false;
  }
  if (tag.size() >= sizeof tagged->backupTag) {
    std::fprintf(stderr, "fleetctl: --tag is longer than %zu characters\n", sizeof tagged->backupTag - 1);
    return false;
  }
  copyIntoField(tagged->backupTag, sizeof tagged->backupTag, tag.c_str());
  return true;
}

}  // namespace

int backupCommand(const ParsedArgs& args) {
  BackupFleetArgs backupArgs;
  if (!takeTaggedArgs(args, &backupArgs)) return kExitUsage;
  return backupFleet(&backupArgs) ? kExitTrue : kExitFalse;
}

int restoreCommand(const ParsedArgs& args) {
  RestoreFleetArgs restoreArgs;
  if (!takeTaggedArgs(args, &restoreArgs)) return kExitUsage;
  return restoreFleet(&restoreArgs) ? kExitTrue : kExitFalse;
}

int removeCommand(const ParsedArgs& args) {
  fileNameType fleetDir;
  if (!takeFleetDirectory(args.operands[0], fleetDir)) return kExitUsage;
  return removeFleet(fleetDir) ? kExitTrue : kExitFalse;
}

}  // namespace fleetctl
