// Preferences and help of the tool.
#include "fleetmgr/toolservices.h"

#include "fleetmgr/toolmsgs.h"
#include "shared/prefman.h"

void startToolPreferences() { gPreferencesManager = new PrefMan(kFleetToolType); }

void endToolPreferences() {
  delete gPreferencesManager;
  gPreferencesManager = nullptr;
}

// The help manager is not in this build yet (see the header).
void startToolHelp() {}
