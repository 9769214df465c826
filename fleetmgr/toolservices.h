// The tool's preferences and help, started and ended with the tool.
//
// The preference manager and the help manager are not part of this build
// yet.  Until they are, these functions create nothing: the tool keeps no
// preferences and has no help window.
#ifndef OWB_FLEETMGR_TOOLSERVICES_H
#define OWB_FLEETMGR_TOOLSERVICES_H

// The tool's preferences, identified by FLTT.
void startToolPreferences();
void endToolPreferences();
// The help manager (no help window at start, no help file name); the
// shared globals' clean-up deletes it.
void startToolHelp();

#endif  // OWB_FLEETMGR_TOOLSERVICES_H
