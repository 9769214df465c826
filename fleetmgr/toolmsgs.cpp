// Messages to the Tool Manager about fleets and engines.
#include "fleetmgr/toolmsgs.h"

#include <cstdio>

#include "fleet/fileutil.h"
#include "shared/log.h"

Message* newMsgToToolMan(TypeIdent msgType) { return new Message(msgType, &gToolManToolInfo); }

Message* sendToToolMan(Message* message) {
  if (!gMessageCenter) {
    OWB_LOG("No message center: dropped a message for the Tool Manager");
    delete message;
    return nullptr;
  }
  return gMessageCenter->sendMessage(message);
}

void announceEngine(long port) {
  // The host goes as a whole S255 block, zero-filled after the name.
  Str255 host = {};
  std::snprintf(host, sizeof host, "%s", ThisHostName);
  Message* message = newMsgToToolMan(kAddEngineMessage);
  message->addParam(kParamStr255, host, sizeof host);
  message->addLongParam(static_cast<int32_t>(port));
  sendToToolMan(message);
}

void withdrawEngine(long port) {
  Message* message = newMsgToToolMan(kRemoveEngineMessage);
  message->addStringParam(kParamStr255, ThisHostName);
  message->addLongParam(static_cast<int32_t>(port));
  sendToToolMan(message);
}

void announceFleetFile(const char* fleetFileName) {
  Message* message = newMsgToToolMan(kAddFileMessage);
  message->addStringParam(kParamStr255, fleetFileName);
  sendToToolMan(message);
}

void withdrawFleetFile(const char* fleetFileName) {
  Message* message = newMsgToToolMan(kRemoveFileMessage);
  message->addIdentParam(kFleetFileType);
  message->addStringParam(kParamStr255, fleetFileName);
  sendToToolMan(message);
}
