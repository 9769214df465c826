// Preferences and help of the tool.
#include "fleetmgr/toolservices.h"

#include "fleetmgr/toolmsgs.h"
#include "shared/ui/help.h"
#include "shared/prefman.h"

void startToolPreferences() { gPreferencesManager = new PrefMan(kFleetToolType); }

void endToolPreferences() {
  delete gPreferencesManager;
  gPreferencesManager = nullptr;
}

// Made last in the start-up, after the registration with the Tool Manager,
// so that the Tool Manager knows the tool when HGDM arrives.
void startToolHelp() { gHelpManager = new HelpManager(FALSE, nullptr); }
