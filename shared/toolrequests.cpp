// makeFullPath and lookupTool: the Tool Manager's search path and registry.
#include "shared/toolrequests.h"

#include <cstring>

#include "shared/log.h"
#include "shared/utils.h"

namespace {

constexpr TypeIdent kResolveMessage = OWB_TYPE("RSLV");
constexpr TypeIdent kAddSearchPathMessage = OWB_TYPE("ADGP");
constexpr TypeIdent kLookUpToolMessage = OWB_TYPE("LOOK");

FullPathChooserProc gFullPathChooser = nullptr;

// Tells the Tool Manager where the user found a file, so that it resolves
// such names by itself from now on.
void addSearchDirectory(const char* chosenFile) {
  fileNameType directory;
  extractPathname(chosenFile, directory);
  Message* message = new Message(kAddSearchPathMessage, &gToolManToolInfo);
  message->addStringParam(kParamStr255, directory);
  message->addStringParam(kParamStr255, directory);
  gMessageCenter->sendMessage(message);
}

}  // namespace

FullPathChooserProc setFullPathChooser(FullPathChooserProc chooser) {
  FullPathChooserProc previous = gFullPathChooser;
  gFullPathChooser = chooser;
  return previous;
}

char* makeFullPath(const char* partialPath, const ToolInfo* toolManager, Boolean promptForFile) {
  char* result = nullptr;
  Message* reply = nullptr;
  if (partialPath && partialPath[0] == '/') {
    result = newStringCopy(partialPath);
  } else if (partialPath && partialPath[0] != '\0' && gMessageCenter && toolManager) {
    OWB_LOG("makeFullPath: asking toolman to resolve partial path <" << partialPath << ">");
    Message* request = new Message(kResolveMessage, toolManager);
    request->header.needsReply = TRUE;
    request->addStringParam(kParamStr255, partialPath);
    reply = gMessageCenter->sendMessage(request);
    if (!reply) {
      OWB_LOG("makeFullPath: got NULL for reply");
    } else if (gMessageCenter->lastError != kNoError) {
      OWB_LOG("makeFullPath got error " << gMessageCenter->lastError);
    } else {
      ErrorCode remoteError = kNoError;
      bool resolved = false;
      fileNameType name;
      reply->getErrorParam(0, &remoteError);
      reply->getBooleanParam(1, &resolved);
      reply->getStringParam(2, name, sizeof name);
      if (remoteError == kNoError && resolved) {
        result = newStringCopy(name);
      } else if (promptForFile && gFullPathChooser) {
        fileNameType chosen;
        chosen[0] = '\0';
        if (gFullPathChooser(partialPath, chosen) && chosen[0] != '\0') {
          result = newStringCopy(chosen);
          addSearchDirectory(chosen);
        }
      }
    }
  }
  if (result) OWB_LOG("makeFullPath: resolved partial path to " << result);
  else OWB_LOG("makeFullPath: did not resolve partial path");
  delete reply;
  return result;
}

void lookupTool(TypeIdent toolType, ToolInfo* toolInfo) {
  if (!gMessageCenter || !toolInfo) return;
  Message* request = new Message(kLookUpToolMessage, &gToolManToolInfo);
  request->header.needsReply = TRUE;
  request->addIdentParam(toolType);
  Message* reply = gMessageCenter->sendMessage(request);
  ErrorCode remoteError = kNoError;
  bool found = false;
  if (!reply) {
    OWB_LOG("Didn't get back reply from tool manager");
  } else if (reply->getErrorParam(0, &remoteError), remoteError != kNoError) {
    OWB_LOG("Got back error " << remoteError << " looking up tool");
  } else if (!reply->getBooleanParam(1, &found) || !found) {
    OWB_LOG("Didn't find tool in registry");
  } else {
    reply->getToolInfoParam(2, toolInfo);
  }
  delete reply;
}
