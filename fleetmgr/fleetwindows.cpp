// The fleet windows, until they are built: each says through the alert
// that it is not available.
#include "fleetmgr/fleetwindows.h"

#include "shared/alert.h"
#include "toolkit/winpub.h"

const char* const kWindowNotAvailableText = "This window is not available in this version of the Fleet Manager.";

namespace {

void windowNotAvailable(const char* title) {
  displayAlertWindow(kWindowNotAvailableText, kAlertInformation, title, nullptr, nullptr, nullptr, TRUE,
                     nullptr);
}

}  // namespace

Boolean chooseFleetDirectory(char* directory, size_t size) {
  if (directory && size > 0) directory[0] = '\0';
  windowNotAvailable("New Fleet");
  return FALSE;
}

void terminateFleetWindow(WinPtr win) {
  if (!win) return;
  reinterpret_cast<ResPtr>(win)->ClientData = nullptr;
  WIN_TerminateGetStatus(win);
}

void FleetObject::createFleetStatusWindow() { windowNotAvailable("Fleet Status"); }
