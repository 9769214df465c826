// Handlers of the messages that tools send to the Tool Manager.  Each reads
// and changes gToolManState and answers with the reply shapes the tools
// expect; a message that needs no reply gets none (the center drops it).
#include "handlers.h"

#include <cstring>

#include "commands.h"
#include "places.h"
#include "shared/log.h"
#include "state.h"

namespace {

constexpr TypeIdent kHelpViewerMessage = OWB_TYPE("HDTM");
constexpr TypeIdent kHelpItemMessage = OWB_TYPE("HMEM");
constexpr TypeIdent kDeactivateSourceMessage = OWB_TYPE("DSRC");
constexpr size_t kWindowRectSize = 8;
// Parameter 0 of a reply is the error code, so 31 places are left.
constexpr int kMaxReplyValues = kMaxMessageParams - 1;

ToolManState& state() { return gToolManState; }

void sendTo(const ToolInfo& destination, Message* message) {
  message->header.receiverInfo = destination;
  gMessageCenter->sendMessage(message);
}

ErrorCode registerToolMsg(Message* message, Message*) {
  ToolInfo info;
  if (!message->getToolInfoParam(0, &info)) return kWrongParamType;
  if (info.listenerPort == 0) info.listenerPort = message->header.senderInfo.listenerPort;
  if (!state().tools.count(info.listenerPort) && state().tools.size() >= kMaxTools) return kInsufficientMemory;
  RegisteredTool& tool = state().tools[info.listenerPort];
  tool = RegisteredTool();  // a tool registering again starts afresh
  state().changed();
  tool.info = info;
  tool.executable = textParam(message, 1);
  return kNoError;
}

ErrorCode addCommandMsg(Message* message, Message*) {
  ToolCommand command;
  command.label = textParam(message, 0);
  if (!message->getLongParam(1, &command.requires) ||
      !message->getIdentParam(2, &command.fileType))
    return kWrongParamType;
  RegisteredTool* tool = state().toolAt(message->header.senderInfo);
  if (!tool) return kInsufficientMemory;
  state().changed();
  for (ToolCommand& known : tool->commands) {
    if (known.label == command.label) {
      known = command;
      return kNoError;
    }
  }
  if (tool->commands.size() >= kMaxCommandsPerTool) return kInsufficientMemory;
  tool->commands.push_back(command);
  return kNoError;
}

ErrorCode addEngineMsg(Message* message, Message*) {
  EngineEntry engine{textParam(message, 0), 0};
  if (!message->getLongParam(1, &engine.port)) return kWrongParamType;
  for (const EngineEntry& known : state().engines)
    if (known.host == engine.host && known.port == engine.port) return kNoError;
  if (state().engines.size() >= kMaxEngines) return kInsufficientMemory;
  state().engines.push_back(engine);
  state().changed();
  return kNoError;
}

ErrorCode removeEngineMsg(Message* message, Message*) {
  std::string host = textParam(message, 0);
  int32_t port = 0;
  if (!message->getLongParam(1, &port)) return kWrongParamType;
  auto& engines = state().engines;
  for (auto it = engines.begin(); it != engines.end(); ++it) {
    if (it->host == host && it->port == port) {
      engines.erase(it);
      state().changed();
      return kNoError;
    }
  }
  return kNoError;
}

ErrorCode addFileMsg(Message* message, Message*) {
  std::string path = textParam(message, 0);
  if (path.empty()) return kWrongParamType;
  return state().addFile(path) ? kNoError : kInsufficientMemory;
}

ErrorCode removeFileMsg(Message* message, Message*) {
  state().removeFile(textParam(message, 1));
  return kNoError;
}

// The project's place is answered with a path inside it: the project file
// <directory>/<directory's name>.prj, whose directory part the asker takes.
ErrorCode currentProjectPlaceMsg(Message*, Message* reply) {
  const std::string& directory = state().projectDirectory;
  size_t slash = directory.rfind('/');
  std::string name = slash == std::string::npos ? directory : directory.substr(slash + 1);
  addTextParam(reply, kParamStr255, directory + "/" + (name.empty() ? "project" : name) + ".prj");
  return kNoError;
}

ErrorCode componentTypesMsg(Message*, Message* reply) {
  int pairs = 0;
  for (const auto& kind : state().fileKinds) {
    if (2 * (pairs + 1) > kMaxReplyValues) break;
    addTextParam(reply, kParamStr255, kind.second.label);
    reply->addIdentParam(kind.first);
    ++pairs;
  }
  return kNoError;
}

ErrorCode filesOfTypeMsg(Message* message, Message* reply) {
  TypeIdent wanted = kWildTypeIdent;
  if (!message->getIdentParam(0, &wanted)) return kWrongParamType;
  int count = 0;
  for (const auto& file : state().files) {
    if (wanted != kWildTypeIdent && file.second != wanted) continue;
    if (++count > kMaxReplyValues) break;
    addTextParam(reply, kParamStr255, file.first);
  }
  return kNoError;
}

ErrorCode getPickerDirectoryMsg(Message*, Message* reply) {
  const std::string& directory =
      state().pickerDirectory.empty() ? state().projectDirectory : state().pickerDirectory;
  addTextParam(reply, kParamStr255, directory);
  return kNoError;
}

ErrorCode setPickerDirectoryMsg(Message* message, Message*) {
  std::string directory = textParam(message, 0);
  if (!directory.empty()) state().pickerDirectory = directory;
  return kNoError;
}

ErrorCode resolvePathMsg(Message* message, Message* reply) {
  std::string full = state().resolve(textParam(message, 0));
  reply->addBooleanParam(!full.empty());
  addTextParam(reply, kParamStr255, full);
  return kNoError;
}

ErrorCode addSearchPathMsg(Message* message, Message*) {
  return state().addSearchDirectory(textParam(message, 0)) ? kNoError : kInsufficientMemory;
}

ErrorCode lookUpToolMsg(Message* message, Message* reply) {
  TypeIdent wanted = 0;
  if (!message->getIdentParam(0, &wanted)) return kWrongParamType;
  RegisteredTool* tool = state().findToolByType(wanted);
  ToolInfo info{};
  if (tool) info = tool->info;
  reply->addBooleanParam(tool != nullptr);
  reply->addToolInfoParam(info);
  return kNoError;
}

// A closed window's place is kept per window type, the latest given back
// first; a window of that type opened later takes it and its ID.
ErrorCode getWindowPlaceMsg(Message* message, Message* reply) {
  TypeIdent windowType = 0;
  if (!message->getIdentParam(0, &windowType)) return kWrongParamType;
  // Asking makes no entry: only places given back are kept.
  auto kept = state().windowPlaces.find(windowType);
  WindowPlace place;
  bool found = kept != state().windowPlaces.end() && !kept->second.empty();
  if (found) {
    place = kept->second.back();
    kept->second.pop_back();
  } else {
    place.uniqueId = state().nextWindowId++;
  }
  reply->addBooleanParam(found);
  reply->addParam(kParamData, place.rect, kWindowRectSize);
  reply->addLongParam(place.uniqueId);
  return kNoError;
}

ErrorCode updateWindowPlaceMsg(Message* message, Message*) {
  TypeIdent windowType = 0;
  WindowPlace place;
  if (!message->getIdentParam(0, &windowType) || !message->getLongParam(2, &place.uniqueId))
    return kWrongParamType;
  long length = std::min<long>(message->getParamLength(1), kWindowRectSize);
  std::memcpy(place.rect, message->getParam(1), static_cast<size_t>(length));
  auto& windowPlaces = state().windowPlaces;
  if (!windowPlaces.count(windowType) && windowPlaces.size() >= kMaxWindowTypes) return kInsufficientMemory;
  std::vector<WindowPlace>& places = windowPlaces[windowType];
  for (auto it = places.begin(); it != places.end(); ++it) {
    if (it->uniqueId == place.uniqueId) {
      places.erase(it);
      break;
    }
  }
  if (places.size() >= kMaxPlacesPerWindowType) places.erase(places.begin());
  places.push_back(place);
  if (place.uniqueId >= state().nextWindowId) state().nextWindowId = place.uniqueId + 1;
  saveWindowPlaces(windowPlacesPath(), state());
  return kNoError;
}

// One source viewer is active at a time: the one before is told to stop.
ErrorCode activateSourceMsg(Message* message, Message*) {
  int32_t sender = message->header.senderInfo.listenerPort;
  int32_t previous = state().activeSourceViewerPort;
  state().activeSourceViewerPort = sender;
  if (previous != 0 && previous != sender) {
    auto tool = state().tools.find(previous);
    ToolInfo destination{};
    destination.listenerPort = previous;
    if (tool != state().tools.end()) destination = tool->second.info;
    sendTo(destination, new Message(kDeactivateSourceMessage, nullptr));
  }
  return kNoError;
}

ErrorCode deactivateSourceMsg(Message* message, Message*) {
  if (state().activeSourceViewerPort == message->header.senderInfo.listenerPort)
    state().activeSourceViewerPort = 0;
  return kNoError;
}

ErrorCode helpDefaultsMsg(Message* message, Message*) {
  const ToolInfo asker = message->header.senderInfo;
  Message* viewer = new Message(kHelpViewerMessage, nullptr);
  addTextParam(viewer, kParamStr255, state().helpViewer);
  sendTo(asker, viewer);
  for (const auto& item : state().helpItems) {
    Message* entry = new Message(kHelpItemMessage, nullptr);
    addTextParam(entry, kParamStr255, item.first);
    addTextParam(entry, kParamStr255, item.second);
    sendTo(asker, entry);
  }
  return kNoError;
}

ErrorCode sourceToolsMsg(Message* message, Message* reply) {
  int count = 0;
  for (const auto& entry : state().tools) {
    const ToolInfo& info = entry.second.info;
    if (!info.canDisplaySource || info.listenerPort == message->header.senderInfo.listenerPort)
      continue;
    if (++count > kMaxReplyValues) break;
    reply->addToolInfoParam(info);
  }
  return kNoError;
}

// A file to show: handed on to the preferred tool when one that shows
// source is registered, otherwise only remembered (this Tool Manager has no
// source window of its own).
ErrorCode displayFileMsg(Message* message, Message*) {
  state().lastDisplayedFile = textParam(message, 0);
  TypeIdent preferred = gNilMessageParam;
  message->getIdentParam(10, &preferred);
  if (preferred == gNilMessageParam) return kNoError;
  RegisteredTool* tool = state().findToolByType(preferred);
  if (!tool || !tool->info.canDisplaySource ||
      tool->info.listenerPort == message->header.senderInfo.listenerPort)
    return kNoError;
  Message* forward = new Message(*message);
  forward->header.needsReply = FALSE;
  sendTo(tool->info, forward);
  return kNoError;
}

ErrorCode commandLineMsg(Message* message, Message* reply) {
  std::string line(message->getParam(0), static_cast<size_t>(message->getParamLength(0)));
  size_t nul = line.find('\0');
  if (nul != std::string::npos) line.resize(nul);
  std::string output;
  ErrorCode result = runCommandLine(line, &output);
  reply->addParam(kParamData, output.data(), static_cast<long>(output.size()));
  return result;
}

void registerHandler(const char (&type)[5], std::initializer_list<TypeIdent> params,
                     CallbackProcPtr callback) {
  MessageTemplate shape = makeMessageTemplate(params);
  gMessageCenter->registerMessageHandler(makeTypeIdent(type), &shape, callback);
}

}  // namespace

void addTextParam(Message* message, TypeIdent paramType, const std::string& text) {
  message->addParam(paramType, text.c_str(), static_cast<long>(text.size() + 1));
}

std::string textParam(const Message* message, short paramNumber) {
  fileNameType text;
  message->getStringParam(paramNumber, text, sizeof text);
  return text;
}

void registerToolManHandlers() {
  const TypeIdent S255 = kParamStr255, ST31 = kParamStr31, LONG = kParamLong,
                  SHRT = kParamShort, BOOL = kParamBoolean, IDNT = kParamIdent, DATA = kParamData;
  registerHandler("REGT", {DATA, S255}, registerToolMsg);
  registerHandler("ADDC", {ST31, LONG, IDNT}, addCommandMsg);
  registerHandler("ADDE", {S255, LONG}, addEngineMsg);
  registerHandler("REME", {S255, LONG}, removeEngineMsg);
  registerHandler("ADDF", {S255}, addFileMsg);
  registerHandler("REMF", {IDNT, S255}, removeFileMsg);
  registerHandler("GCPP", {}, currentProjectPlaceMsg);
  registerHandler("GCCP", {}, componentTypesMsg);
  registerHandler("GFCP", {IDNT}, filesOfTypeMsg);
  registerHandler("GCFP", {}, getPickerDirectoryMsg);
  registerHandler("SCFP", {S255}, setPickerDirectoryMsg);
  registerHandler("RSLV", {S255}, resolvePathMsg);
  registerHandler("ADGP", {S255, S255}, addSearchPathMsg);
  registerHandler("LOOK", {IDNT}, lookUpToolMsg);
  registerHandler("GWIN", {IDNT}, getWindowPlaceMsg);
  registerHandler("UWIN", {IDNT, DATA, LONG}, updateWindowPlaceMsg);
  registerHandler("ASRC", {}, activateSourceMsg);
  registerHandler("DSRC", {}, deactivateSourceMsg);
  registerHandler("HGDM", {}, helpDefaultsMsg);
  registerHandler("GSAT", {}, sourceToolsMsg);
  registerHandler("DISF", {S255, BOOL, LONG, SHRT, BOOL, LONG, BOOL, BOOL, DATA, LONG, IDNT, LONG},
                  displayFileMsg);
  registerHandler("TMCL", {DATA}, commandLineMsg);
}
