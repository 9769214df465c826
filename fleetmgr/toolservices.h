// The tool's preferences and help, started and ended with the tool.

#ifndef OWB_FLEETMGR_TOOLSERVICES_H
#define OWB_FLEETMGR_TOOLSERVICES_H

// gPreferencesManager: the tool's preferences, identified by FLTT.
void startToolPreferences();
void endToolPreferences();
// gHelpManager, a tool's help manager (it asks the Tool Manager for the
// help defaults); the shared globals' clean-up deletes it.
void startToolHelp();

#endif  // OWB_FLEETMGR_TOOLSERVICES_H
