// The eight commands that the Tool Manager's CMDS message selects.  Each
// handler finds the fleet named by the message's parameter 3 (the full path
// of the selected .flt file), makes it gFleetMgr->currentFleet and opens
// the command's window, or runs the step at once.
//
// Results: 0 when done (also when the user cancelled), -1 when the fleet
// is not registered (after an alert "Error finding fleet" titled with the
// command).  "Fleet Status" of an unknown fleet returns 0 silently.
#ifndef OWB_FLEETMGR_FLEETCMDS_H
#define OWB_FLEETMGR_FLEETCMDS_H

#include "owbtypes.h"
#include "shared/messages.h"

ErrorCode newFleetCommand(Message* message, Message* reply);
ErrorCode runFleetCommand(Message* message, Message* reply);
ErrorCode fleetSettingsCommand(Message* message, Message* reply);
ErrorCode fleetStatusCommand(Message* message, Message* reply);
ErrorCode killFleetCommand(Message* message, Message* reply);
ErrorCode backupFleetCommand(Message* message, Message* reply);
ErrorCode restoreFleetCommand(Message* message, Message* reply);
ErrorCode removeFleetCommand(Message* message, Message* reply);

// The question of "Delete Fleet Directory", with %s for the directory.
extern const char* const gRemoveFleetCmdText;

#endif  // OWB_FLEETMGR_FLEETCMDS_H
