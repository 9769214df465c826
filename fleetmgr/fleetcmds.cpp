// The command handlers.
#include "fleetmgr/fleetcmds.h"

#include <cstdio>

#include "fleetmgr/fleetops.h"
#include "fleetmgr/fleetwindows.h"
#include "fleetmgr/registry.h"
#include "shared/alert.h"
#include "shared/errors.h"
#include "shared/utils.h"

const char* const gRemoveFleetCmdText =
    "Deleting %s will permanently delete the entire directory and all files and backups in that directory.  "
    "Are you sure you want to do this?";

namespace {

constexpr short kSelectedFileParam = 3;
constexpr long kConfirmButton = 2;

// The selected definition file of a CMDS message ("" when it has none).
void selectedFile(const Message* message, char* fileSelected) {
  fileSelected[0] = '\0';
  if (message) message->getStringParam(kSelectedFileParam, fileSelected, sizeof(fileNameType));
}

// The common opening: the selected fleet becomes current, null included;
// an unknown one is reported under the command's title.
FleetObject* selectFleet(const char* fileSelected, const char* commandTitle) {
  gFleetMgr->currentFleet = gFleetMgr->findFleet(fileSelected);
  if (!gFleetMgr->currentFleet)
    displayAlertWindow("Error finding fleet", kAlertWarning, commandTitle, nullptr, nullptr, nullptr, TRUE,
                       nullptr);
  return gFleetMgr->currentFleet;
}

}  // namespace

ErrorCode newFleetCommand(Message*, Message*) {
  fileNameType directory;
  if (!chooseFleetDirectory(directory, sizeof directory)) return kNoError;

  fileNameType fleetName, filename;
  extractFilename(directory, fleetName, sizeof fleetName);
  std::snprintf(filename, sizeof filename, "%s/%s.flt", directory, fleetName);

  FleetObject* fleet = gFleetMgr->findFleet(filename);
  if (!fleet && fileExists(filename)) {
    long answer = displayAlertWindow("A fleet with this name already exists.  Replace existing fleet?",
                                     kAlertWarning, "Replace Existing Fleet", "Cancel", "Replace", nullptr, TRUE,
                                     nullptr);
    if (answer != kConfirmButton) return kNoError;
  }
  if (fleet) gFleetMgr->currentFleet = fleet;
  else fleet = gFleetMgr->addFleet(directory, nullptr);
  // Nothing reaches the disk until the settings window's make button.
  fleet->createFleetSettingsDialog();
  return kNoError;
}

ErrorCode runFleetCommand(Message* message, Message*) {
  fileNameType fileSelected;
  selectedFile(message, fileSelected);
  if (!selectFleet(fileSelected, "Run Fleet")) return kWrongParamType;
  createRunFleetOptions();
  return kNoError;
}

ErrorCode fleetSettingsCommand(Message* message, Message*) {
  fileNameType fileSelected;
  selectedFile(message, fileSelected);
  FleetObject* fleet = selectFleet(fileSelected, "Fleet Settings");
  if (!fleet) return kWrongParamType;
  fleet->createFleetSettingsDialog();
  return kNoError;
}

ErrorCode fleetStatusCommand(Message* message, Message*) {
  fileNameType fileSelected;
  selectedFile(message, fileSelected);
  // Unlike the others, an unknown fleet is no error and leaves currentFleet.
  FleetObject* fleet = gFleetMgr->findFleet(fileSelected);
  if (!fleet) return kNoError;
  gFleetMgr->currentFleet = fleet;
  fleet->doPsFleetCmd();
  fleet->createFleetStatusWindow();
  return kNoError;
}

ErrorCode killFleetCommand(Message* message, Message*) {
  fileNameType fileSelected;
  selectedFile(message, fileSelected);
  if (!selectFleet(fileSelected, "Kill Fleet")) return kWrongParamType;
  createKillFleetOptions();
  return kNoError;
}

ErrorCode backupFleetCommand(Message* message, Message*) {
  fileNameType fileSelected;
  selectedFile(message, fileSelected);
  if (!selectFleet(fileSelected, "Backup Fleet")) return kWrongParamType;
  createBackupOptions(fileSelected);
  return kNoError;
}

ErrorCode restoreFleetCommand(Message* message, Message*) {
  fileNameType fileSelected;
  selectedFile(message, fileSelected);
  if (!selectFleet(fileSelected, "Restore Fleet")) return kWrongParamType;
  createRestoreOptions(fileSelected);
  return kNoError;
}

ErrorCode removeFleetCommand(Message* message, Message*) {
  fileNameType fileSelected, directory;
  selectedFile(message, fileSelected);
  extractPathname(fileSelected, directory, sizeof directory);

  char question[sizeof(fileNameType) + 256];
  std::snprintf(question, sizeof question, gRemoveFleetCmdText, directory);
  long answer = displayAlertWindow(question, kAlertWarning, "Delete Fleet Directory", "Cancel", "Delete", nullptr,
                                   TRUE, nullptr);
  if (answer != kConfirmButton) return kNoError;
  // A failed removal has been reported by the operation; the command is done.
  gFleetMgr->doRemoveFleetCmd(fileSelected);
  return kNoError;
}
