// The Fleet Manager tool: start-up, the one main loop, the registration
// with the Tool Manager and the three message handlers through which the
// Tool Manager drives the tool.
//
// The tool has no main window.  It registers itself (REGT) and its eight
// commands (ADDC) with the Tool Manager, then serves, on one thread, the
// window system's events and the tool messages until the Tool Manager says
// QUIT or is found gone by the keep-alive (-1402).  Ending saves nothing
// and kills nothing: engines outlive the tool.
#ifndef OWB_FLEETMGR_FLEETMGR_H
#define OWB_FLEETMGR_FLEETMGR_H

#include "owbtypes.h"
#include "shared/messages.h"

struct _ResObj;

// The loop's stop flag.
extern Boolean gFinished;
// The process environment from main, handed to the run operation.
extern char** gGlobalEnv;
// The tool's icon ("fleetmgr" of the shared resources), for the settings,
// engine place and status windows.
extern _ResObj* gFleetMgrIcon;

// The tool's identity and its command texts.  Each command text has its
// length without the terminator beside it; ADDC sends length + 1 bytes.
extern const char* const gPublisherStr;     // "Tarnwell Labs, Inc."
extern const char* const gThisToolNameStr;  // "Fleet Manager"
extern const char* const gNewFleetCmdStr;
extern const char* const gRunFleetCmdStr;
extern const char* const gFleetSettingsCmdStr;
extern const char* const gFleetStatusCmdStr;
extern const char* const gKillFleetCmdStr;
extern const char* const gBackupFleetCmdStr;
extern const char* const gRestoreFleetCmdStr;
extern const char* const gRemoveFleetCmdStr;
extern const int gPublisherStrLen, gThisToolNameStrLen, gNewFleetCmdStrLen, gRunFleetCmdStrLen,
    gFleetSettingsCmdStrLen, gFleetStatusCmdStrLen, gKillFleetCmdStrLen, gBackupFleetCmdStrLen,
    gRestoreFleetCmdStrLen, gRemoveFleetCmdStrLen;

// The whole program: toolkit start-up, toolInitialize, the loop, the
// tear-down.  Returns 0 at the end of a normal run.  Without OWB the
// process ends with status 1, without a display (or with the toolkit's
// libraries missing) with the toolkit's failure report and status.
int fleetMgrMain(int argc, char** argv, char** env);

// Everything from the shared globals to the registration.  Ends the
// process with status 1 when the installation ($OWB) or the host can't be
// found, before any message goes out.
void toolInitialize(const char* executableName);
// Registers the QUIT, CMDS and IDFL handlers, then the tool (REGT with
// executableName) and its eight commands (ADDC).
void hookIntoToolManager(const char* executableName);
// Serves events and messages until gFinished.
void mainEventLoop();
// Deletes the tool's own objects and the shared globals.
void toolCleanup();

// The message handlers.
ErrorCode quitCommand(Message* message, Message* reply);
ErrorCode handleCommandSelected(Message* message, Message* reply);
ErrorCode identifyFile(Message* message, Message* reply);

#endif  // OWB_FLEETMGR_FLEETMGR_H
