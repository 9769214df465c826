// The tool's preferences and help, started and ended with the tool.
//
// The help manager is not part of this build yet: until it is,
// startToolHelp creates nothing and the tool has no help window.
#ifndef OWB_FLEETMGR_TOOLSERVICES_H
#define OWB_FLEETMGR_TOOLSERVICES_H

// gPreferencesManager: the tool's preferences, identified by FLTT.
void startToolPreferences();
void endToolPreferences();
// The help manager (no help window at start, no help file name); the
// shared globals' clean-up deletes it.
void startToolHelp();

#endif  // OWB_FLEETMGR_TOOLSERVICES_H
