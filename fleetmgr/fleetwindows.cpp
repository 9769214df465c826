// The fleet windows, until they are built: each says through the alert
// that it is not available.
#include "fleetmgr/fleetwindows.h"

#include "shared/alert.h"

const char* const kWindowNotAvailableText = "This window is not available in this version of the Fleet Manager.";

namespace {

void windowNotAvailable(const char* title) {
  displayAlertWindow(kWindowNotAvailableText, kAlertInformation, title, nullptr, nullptr, nullptr, TRUE,
                     nullptr);
}

}  // namespace

void createRunFleetOptions() { windowNotAvailable("Run Fleet"); }

void createKillFleetOptions() { windowNotAvailable("Kill Fleet"); }

void createBackupOptions(const char*) { windowNotAvailable("Backup Fleet"); }

void createRestoreOptions(const char*) { windowNotAvailable("Restore Fleet"); }

Boolean chooseFleetDirectory(char* directory, size_t size) {
  if (directory && size > 0) directory[0] = '\0';
  windowNotAvailable("New Fleet");
  return FALSE;
}

// No fleet window is ever opened yet, so there is never one to end.
void terminateFleetWindow(WinPtr) {}

void FleetObject::createFleetSettingsDialog() { windowNotAvailable("Fleet Settings"); }

void FleetObject::createFleetStatusWindow() { windowNotAvailable("Fleet Status"); }
