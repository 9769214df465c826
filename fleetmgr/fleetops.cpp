// The fleet's commands: each fills in its argument record from the fleet,
// reports it and calls the operation.
#include "fleetmgr/fleetops.h"

#include <cstdio>
#include <cstring>

#include "fleet/backup.h"
#include "fleet/fileutil.h"
#include "fleet/kilfleet.h"
#include "fleet/mkfleet.h"
#include "fleet/psfleet.h"
#include "fleet/restore.h"
#include "fleet/rmfleet.h"
#include "fleet/runfleet.h"
#include "fleetmgr/fleetmgr.h"
#include "fleetmgr/fleetreports.h"
#include "fleetmgr/registry.h"
#include "fleetmgr/toolmsgs.h"
#include "shared/alert.h"
#include "shared/errors.h"
#include "shared/log.h"
#include "shared/utils.h"

namespace {

const char* const kInstallPrefix = "$OWB/";
constexpr size_t kInstallPrefixLength = 5;

ErrorCode operationResult(OWBboolean succeeded) { return succeeded ? kNoError : kOperationFailed; }

// fleetPath taken against the project directory when it is relative.
void copyPaddedFleetPath(char* fleetDir, const char* fleetPath) {
  std::snprintf(fleetDir, sizeof(fileNameType), "%s", fleetPath);
  padWithDir(fleetDir, ThisCurrentDir, sizeof(fileNameType));
}

// Asks the Tool Manager for the project's path (GCPP) and, when the reply
// holds it, makes the project's directory the current one.  Without a
// reply in time ThisCurrentDir stands.
void adoptProjectDirectory() {
  Message* request = newMsgToToolMan(kProjectPathMessage);
  request->header.needsReply = TRUE;
  Message* reply = sendToToolMan(request);
  if (!reply) return;
  if (reply->getParamCount() == 2) {
    fileNameType projectPath;
    reply->getStringParam(1, projectPath, sizeof projectPath);
    extractPathname(projectPath, ThisCurrentDir, sizeof ThisCurrentDir);
  }
  // The reply is not needed past this point.
  delete reply;
}

void copyNameList(List& from, List& to) {
  for (long i = 0; i < from.totalElements; i++) {
    auto* name = static_cast<StringItem*>(from.get(i));
    if (name) to.include(new StringItem(name->string));
  }
}

}  // namespace

void FleetObject::makeRunFleetArgs(RunFleetArgs* args) { copyPaddedFleetPath(args->fleetDir, fleetPath); }

void FleetObject::makeKillFleetArgs(KillFleetArgs* args) { copyPaddedFleetPath(args->fleetDir, fleetPath); }

void FleetObject::makeMakeFleetArgs(MakeFleetArgs* args) {
  adoptProjectDirectory();

  // Unlike run and kill, the directory is not taken against the project.
  std::snprintf(args->fleetDir, sizeof args->fleetDir, "%s", fleetPath);
  FleetFileContent& definition = args->fleetDefn;
  const char* name = fleetFile && fleetFile->fleetName[0] ? fleetFile->fleetName : "fleet";
  std::snprintf(definition.fleetName, sizeof definition.fleetName, "%s", name);
  definition.basePort = fleetFile ? fleetFile->basePort : 0;

  for (long i = 0; i < engineList.totalElements; i++) {
    auto* engine = static_cast<EngineObject*>(engineList.get(i));
    if (!engine || !engine->engConfig) continue;
    EngineConfiguration* source = engine->engConfig;
    auto* copy = new EngineConfiguration(source->engineLabel);
    if (std::strncmp(source->enginePlaceConfig, kInstallPrefix, kInstallPrefixLength) == 0) {
      std::snprintf(copy->enginePlaceConfig, sizeof copy->enginePlaceConfig, "%s",
                    source->enginePlaceConfig + kInstallPrefixLength);
      padWithDir(copy->enginePlaceConfig, OWKInstallDir, sizeof copy->enginePlaceConfig);
    } else {
      std::snprintf(copy->enginePlaceConfig, sizeof copy->enginePlaceConfig, "%s", source->enginePlaceConfig);
    }
    copy->loadDebugger = source->loadDebugger;
    copyNameList(source->moduleConfigFiles, copy->moduleConfigFiles);
    copyNameList(source->projectConfigFiles, copy->projectConfigFiles);
    definition.engines.include(copy);
  }
}

ErrorCode FleetObject::doMakeFleetCmd(MakeFleetArgs* args) {
  MakeFleetArgs defaults;
  if (!args) {
    args = &defaults;
    std::snprintf(args->fleetDefn.engineOptions, sizeof args->fleetDefn.engineOptions, "%s",
                  kDefaultEngineOptions);
    args->fleetDefn.securityOn = OWB_FALSE;
  }
  List debuggerPorts(kStandardChunkSize, TRUE, EqualCompare);

  if (engineList.totalElements == 0) {
    displayAlertWindow("Cannot create a fleet with no engines", kAlertWarning, "Create Fleet Error", nullptr,
                       nullptr, nullptr, TRUE, nullptr);
    // A success status on purpose: the settings window closes as after a
    // good make.
    return kNoError;
  }

  makeMakeFleetArgs(args);
  printMakeFleetArgs(args);
  if (!makeFleet(args, &debuggerPorts)) return kOperationFailed;

  for (long i = 0; i < args->fleetDefn.engines.totalElements; i++) {
    auto* engine = static_cast<EngineObject*>(engineList.get(i));
    auto* port = static_cast<NumberItem*>(debuggerPorts.get(i));
    if (!engine || !port) {
      // The make gives one port per engine it numbered; an engine without
      // one keeps its old port and is not announced.
      OWB_LOG("No debugger port for engine " << i << " of " << fleetFileName);
      continue;
    }
    engine->port = port->number;
    announceEngine(engine->port);
  }
  std::fflush(stdout);

  if (!fleetExists) {
    announceFleetFile(fleetFileName);
    fleetExists = TRUE;
  }
  return kNoError;
}

ErrorCode FleetObject::doRunFleetCmd(RunFleetArgs* args) {
  RunFleetArgs defaults;  // nothing killed, warm where possible, the whole fleet
  if (!args) args = &defaults;
  makeRunFleetArgs(args);
  printRunFleetArgs(args);
  return operationResult(runFleet(args, gGlobalEnv));
}

ErrorCode FleetObject::doKillFleetCmd(KillFleetArgs* args) {
  KillFleetArgs defaults;  // no clean-up, every process
  if (!args) args = &defaults;
  makeKillFleetArgs(args);
  printKillFleetArgs(args);
  return operationResult(killFleet(args));
}

ErrorCode FleetObject::doBackupFleetCmd(BackupFleetArgs* args) {
  if (!args) return kOperationFailed;  // the caller names the backup
  return operationResult(backupFleet(args));
}

ErrorCode FleetObject::doRestoreFleetCmd(RestoreFleetArgs* args) {
  if (!args) return kOperationFailed;  // the caller names the backup
  return operationResult(restoreFleet(args));
}

ErrorCode FleetObject::doPsFleetCmd() {
  PsFleetArgs args;  // every process of the fleet
  copyPaddedFleetPath(args.fleetDir, fleetPath);
  freeFleetProcessInfo(&fleetStatus);
  return operationResult(psFleet(&args, &fleetStatus));
}

ErrorCode FleetMgr::doRemoveFleetCmd(const char* fleetFileName) {
  fileNameType directory;
  extractPathname(fleetFileName, directory, sizeof directory);
  if (!removeFleet(directory)) return kOperationFailed;

  if (FleetObject* fleet = findFleet(fleetFileName)) {
    for (long i = fleet->engineList.totalElements - 1; i >= 0; i--) {
      auto* engine = static_cast<EngineObject*>(fleet->engineList.get(i));
      if (engine) withdrawEngine(engine->port);
    }
  }
  // The name is copied first: it may be the fleet's own, which goes now.
  fileNameType removedName;
  std::snprintf(removedName, sizeof removedName, "%s", fleetFileName);
  deleteFleet(removedName);
  OWB_LOG("Remove file from Project");
  withdrawFleetFile(removedName);
  return kNoError;
}
