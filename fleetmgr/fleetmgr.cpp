// The Fleet Manager's start-up, main loop, registration and message
// handlers.
#include "fleetmgr/fleetmgr.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "fleetmgr/fleetcmds.h"
#include "fleetmgr/flt_outapi.h"
#include "fleetmgr/registry.h"
#include "fleetmgr/toolkitlink.h"
#include "fleetmgr/toolmsgs.h"
#include "fleetmgr/toolservices.h"
#include "shared/globals.h"
#include "shared/ui/uiglobals.h"
#include "shared/log.h"
#include "shared/ui/resources.h"
#include "shared/utils.h"
#include "toolkit/app.h"
#include "toolkit/err.h"
#include "toolkit/event.h"
#include "toolkit/res.h"

Boolean gFinished = FALSE;
char** gGlobalEnv = nullptr;
_ResObj* gFleetMgrIcon = nullptr;

#define OWB_TOOL_TEXT(name, text) \
  const char* const name = text;  \
  const int name##Len = sizeof(text) - 1;

OWB_TOOL_TEXT(gPublisherStr, "Tarnwell Labs, Inc.")
OWB_TOOL_TEXT(gThisToolNameStr, "Fleet Manager")
OWB_TOOL_TEXT(gNewFleetCmdStr, "New Fleet")
OWB_TOOL_TEXT(gRunFleetCmdStr, "Run Fleet")
OWB_TOOL_TEXT(gFleetSettingsCmdStr, "Fleet Settings")
OWB_TOOL_TEXT(gFleetStatusCmdStr, "Fleet Status")
OWB_TOOL_TEXT(gKillFleetCmdStr, "Kill Fleet")
OWB_TOOL_TEXT(gBackupFleetCmdStr, "Backup Fleet")
OWB_TOOL_TEXT(gRestoreFleetCmdStr, "Restore Fleet")
OWB_TOOL_TEXT(gRemoveFleetCmdStr, "Delete Fleet Directory")

namespace {

constexpr int32_t kToolMaxVersion = 0;
// Above the maximum, and sent as it stands.
constexpr int32_t kToolMinVersion = 5;
const char* const kFleetFileSuffix = ".flt";
constexpr size_t kFleetFileSuffixLength = 4;
const char* const kFleetFileLabel = "fleet";
const char* const kFleetFileDescription = "Fleet definition files contain information about a fleet";

// The tool's eight commands: what the Tool Manager lists (in this order)
// and the handler a selected command goes to.
struct ToolCommand {
  const char* text;
  int length;
  int32_t requires;  // 1: acts on a selected file of workType
  TypeIdent workType;
  CallbackProcPtr handler;
};

const ToolCommand kToolCommands[] = {
    {gNewFleetCmdStr, gNewFleetCmdStrLen, 0, kWildTypeIdent, newFleetCommand},
    {gBackupFleetCmdStr, gBackupFleetCmdStrLen, 1, kFleetFileType, backupFleetCommand},
    {gFleetSettingsCmdStr, gFleetSettingsCmdStrLen, 1, kFleetFileType, fleetSettingsCommand},
    {gFleetStatusCmdStr, gFleetStatusCmdStrLen, 1, kFleetFileType, fleetStatusCommand},
    {gRemoveFleetCmdStr, gRemoveFleetCmdStrLen, 1, kFleetFileType, removeFleetCommand},
    {gKillFleetCmdStr, gKillFleetCmdStrLen, 1, kFleetFileType, killFleetCommand},
    {gRestoreFleetCmdStr, gRestoreFleetCmdStrLen, 1, kFleetFileType, restoreFleetCommand},
    {gRunFleetCmdStr, gRunFleetCmdStrLen, 1, kFleetFileType, runFleetCommand},
};

void fillToolInfo(ToolInfo* info) {
  info->toolType = kFleetToolType;
  info->canDisplaySource = FALSE;
  info->maxVersion = kToolMaxVersion;
  info->minVersion = kToolMinVersion;
  std::snprintf(info->name, sizeof info->name, "%s", gThisToolNameStr);
  std::snprintf(info->publisherInfo, sizeof info->publisherInfo, "%s", gPublisherStr);
}

bool hasFleetFileSuffix(const char* pathname) {
  size_t length = std::strlen(pathname);
  return length >= kFleetFileSuffixLength &&
         std::strcmp(pathname + length - kFleetFileSuffixLength, kFleetFileSuffix) == 0;
}

}  // namespace

// A failure of the toolkit during start-up (its libraries missing from the
// installation, no display) is reported by the toolkit and ends the
// process: nobody catches it before the loop runs.
int fleetMgrMain(int, char** argv, char** env) {
  prepareToolkitStart();
  FLEETMGR = ERR_Master();
  ERR_Init();
  APP_InitFirst();
  GW_LibInstall();
  GW_LibLoadInit();
  APP_InitLast();
  requireDisplay();
  gGlobalEnv = env;
  toolInitialize(argv[0] ? argv[0] : "fleetmgr");
  mainEventLoop();
  toolCleanup();
  GW_LibExit();
  APP_Exit();
  return 0;
}

void toolInitialize(const char* executableName) {
  fileNameType toolName;
  extractFilename(executableName, toolName, sizeof toolName);
  initializeGlobals(toolName, 0);
  installToolOutput();

  ndLoadResourceLibary("fleetmgr", "fleetmgr.dat");
  gFleetMgr = new FleetMgr();
  gFleetMgrIcon = RES_LoadInit("shared", "fleetmgr");

  if (!setOWKInstallDir(executableName) || !setHostIP()) std::exit(1);

  startToolPreferences();
  fillToolInfo(&gMessageCenter->thisToolInfo);
  hookIntoToolManager(executableName);
  startToolHelp();

  // Engines and their processes are never waited for: their state is read
  // from pid files and process probes, and they leave no zombies.
  std::signal(SIGCHLD, SIG_IGN);
}

void hookIntoToolManager(const char* executableName) {
  OWB_LOG("Fleetmgr tool registering quit command");
  const MessageTemplate quitTemplate = makeMessageTemplate({});
  const MessageTemplate commandTemplate = makeMessageTemplate({kParamStr31, kParamStr31, kParamLong, kParamStr31});
  const MessageTemplate identifyTemplate = makeMessageTemplate({kParamStr255});
  gMessageCenter->registerMessageHandler(kQuitMessage, &quitTemplate, quitCommand);
  gMessageCenter->registerMessageHandler(kCommandSelectedMessage, &commandTemplate, handleCommandSelected);
  gMessageCenter->registerMessageHandler(kIdentifyFileMessage, &identifyTemplate, identifyFile);

  OWB_LOG("Registering Fleetmgr Tool with Tool Manager");
  Message* registration = newMsgToToolMan(kRegisterToolMessage);
  registration->addToolInfoParam(gMessageCenter->thisToolInfo);
  registration->addStringParam(kParamStr255, executableName);
  sendToToolMan(registration);

  OWB_LOG("Installing New Fleet command into Tool Manager");
  for (const ToolCommand& command : kToolCommands) {
    Message* install = newMsgToToolMan(kAddCommandMessage);
    install->addParam(kParamStr31, command.text, command.length + 1);
    install->addLongParam(command.requires);
    install->addIdentParam(command.workType);
    sendToToolMan(install);
  }
}

void mainEventLoop() {
  while (!gFinished) {
    EVENT_ProcessPending();
    EVENT_UpdateCursor();
    pollToolMessages();
    // The keep-alive found the Tool Manager gone: the tool ends with it.
    // Every other status of the transport is passed over.
    if (gMessageCenter->lastError == kTickleFailed) gFinished = TRUE;
  }
}

void toolCleanup() {
  OWB_LOG("Leaving Fleetmgr Tool");
  endToolPreferences();
  cleanUpGlobals();
  // Running engines and external processes are left as they are.
  delete gFleetMgr;
  gFleetMgr = nullptr;
}

ErrorCode quitCommand(Message*, Message*) {
  gFinished = TRUE;
  return kNoError;
}

ErrorCode handleCommandSelected(Message* message, Message* reply) {
  Str255 commandSelected;
  if (!message || !message->getParam(0) ||
      !message->getStringParam(0, commandSelected, sizeof commandSelected))
    return kNoError;
  // The texts differ, so at most one command matches.
  for (const ToolCommand& command : kToolCommands)
    if (std::strcmp(commandSelected, command.text) == 0) return command.handler(message, reply);
  return kNoError;  // not one of ours
}

ErrorCode identifyFile(Message* message, Message* reply) {
  fileNameType pathname;
  message->getStringParam(0, pathname, sizeof pathname);

  auto* content = new FleetFileContent();
  fileNameType directory;
  extractPathname(pathname, directory, sizeof directory);
  // The directory is what is read: the definition is found there by its
  // own name, whatever the file asked about.
  bool isFleetFile = hasFleetFileSuffix(pathname) && validFleetDefFile(directory, content);

  reply->addBooleanParam(isFleetFile);
  if (!isFleetFile) {
    delete content;
    return kNoError;
  }
  reply->addStringParam(kParamStr31, kFleetFileLabel);
  reply->addIdentParam(kFleetFileType);
  // Text under the type IDNT: that is what the Tool Manager reads.
  reply->addStringParam(kParamIdent, kFleetFileDescription);

  if (FleetObject* known = gFleetMgr->findFleet(pathname)) {
    for (long i = known->engineList.totalElements - 1; i >= 0; i--) {
      auto* engine = static_cast<EngineObject*>(known->engineList.get(i));
      if (engine) announceEngine(engine->port);
    }
    // The registered fleet keeps its own definition.
    delete content;
  } else {
    gFleetMgr->addFleet(directory, content);
  }
  return kNoError;
}
