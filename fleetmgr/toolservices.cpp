// Preferences and help of the tool: not in this build yet (see the header).
#include "fleetmgr/toolservices.h"

void startToolPreferences() {}

void endToolPreferences() {}

void startToolHelp() {}
