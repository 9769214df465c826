// srcview: shows a text file in a source window and follows it as it grows.
//
//   srcview [--no-follow] [--png FILE] TEXTFILE [LINE]
//
// LINE (from 1) is shown at the top; without it a followed file shows
// from its end, another from its first line.  The window follows the file unless --no-follow: what is
// appended comes into view at the bottom, and a file cut short or replaced
// is read again.  --png saves the window as a PNG file once drawn and ends.
//
// With OWB set and a Tool Manager running (its port in ~/.owb/owbport),
// srcview registers as a tool that shows source, so that a DISF naming it
// opens a file in its window; QUIT ends it.  Without one it works alone.
//
// Exit status: 0 when the window was closed, 1 when the file cannot be
// shown or there is no display, 2 for a bad command line.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "shared/log.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/toolrequests.h"
#include "shared/ui/uiglobals.h"
#include "symbols/ui/srcwindow.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/event.h"

namespace {

constexpr TypeIdent kSourceViewToolType = makeTypeIdent("SRCV");
constexpr TypeIdent kRegisterToolMessage = makeTypeIdent("REGT");
constexpr TypeIdent kQuitMessage = makeTypeIdent("QUIT");
constexpr TypeIdent kDisplayFileMessage = makeTypeIdent("DISF");

std::unique_ptr<SourceWindow> gWindow;
bool gQuit = false;
bool gConnected = false;

void usage() {
  std::fprintf(stderr, "usage: srcview [--no-follow] [--png FILE] TEXTFILE [LINE]\n");
  std::exit(2);
}

ErrorCode quitMsg(Message*, Message*) {
  gQuit = true;
  return kNoError;
}

// DISF: path, partial flag, line, percent, move flag, line to highlight,
// highlight, always show, rectangle, window id, preferred tool, data.
ErrorCode displayFileMsg(Message* message, Message*) {
  char path[256];
  bool partial = false, hilite = false;
  int32_t line = 1, hiliteLine = 0;
  message->getStringParam(0, path, sizeof path);
  message->getBooleanParam(1, &partial);
  message->getLongParam(2, &line);
  message->getLongParam(5, &hiliteLine);
  message->getBooleanParam(6, &hilite);
  std::string file = path;
  if (partial) {
    char* full = makeFullPath(path, &gToolManToolInfo, FALSE);
    if (full) file = full;
    delete[] full;
  }
  std::string error;
  if (!gWindow || gWindow->isClosed()) {
    gWindow.reset(SourceWindow::open(file.c_str(), line, true, &error));
  } else {
    gWindow->showFile(file.c_str(), line, hiliteLine, hilite, &error);
    WIN_PopToFront(gWindow->win());
  }
  if (!error.empty()) OWB_LOG("srcview cannot show " << error);
  else OWB_LOG("srcview shows " << file << " at line " << line);
  return kNoError;
}

// Registers with the Tool Manager when one runs; otherwise srcview is on
// its own.
void joinToolManager(const char* argv0) {
  const char* owb = std::getenv("OWB");
  if (!owb || !*owb || getToolManagerPort() == 0) return;
  initializeGlobals("srcview", 0);
  ToolInfo& me = gMessageCenter->thisToolInfo;
  me.toolType = kSourceViewToolType;
  me.canDisplaySource = TRUE;
  std::snprintf(me.name, sizeof me.name, "%s", "Source View");
  std::snprintf(me.publisherInfo, sizeof me.publisherInfo, "%s", "Wandercode");
  const MessageTemplate none = makeMessageTemplate({});
  const MessageTemplate display = makeMessageTemplate({kParamStr255, kParamBoolean, kParamLong, kParamShort,
                                                       kParamBoolean, kParamLong, kParamBoolean, kParamBoolean,
                                                       kParamData, kParamLong, kParamIdent, kParamLong});
  gMessageCenter->registerMessageHandler(kQuitMessage, &none, quitMsg);
  gMessageCenter->registerMessageHandler(kDisplayFileMessage, &display, displayFileMsg);
  Message* registration = new Message(kRegisterToolMessage, &gToolManToolInfo);
  registration->addToolInfoParam(me);
  registration->addStringParam(kParamStr255, argv0);
  gMessageCenter->sendMessage(registration);
  gConnected = true;
}

}  // namespace

int main(int argc, char** argv) {
  bool follow = true;
  const char* png = nullptr;
  const char* file = nullptr;
  long line = 0;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "--no-follow") follow = false;
    else if (arg == "--png" && i + 1 < argc) png = argv[++i];
    else if (arg == "--help" || arg == "-h") {
      std::printf("usage: srcview [--no-follow] [--png FILE] TEXTFILE [LINE]\n");
      return 0;
    } else if (!file) file = argv[i];
    else if (line == 0) {
      char* end = nullptr;
      line = std::strtol(argv[i], &end, 10);
      if (!*argv[i] || *end || line < 1) usage();
    } else usage();
  }
  if (!file) usage();

  APP_UseResourcesBesideProgram(argv[0]);
  ERR_Init();
  GW_LibInstall();
  GW_LibLoadInit();
  if (!DSPLY_IsOpen()) {
    std::fprintf(stderr, "srcview: %s\n", DSPLY_GetLastError());
    return 1;
  }
  std::string error;
  gWindow.reset(SourceWindow::open(file, line, follow, &error));
  if (!gWindow) {
    std::fprintf(stderr, "srcview: cannot show %s\n", error.c_str());
    return 1;
  }
  if (png) {
    int64_t deadline = DSPLY_Now() + 5000;
    while (DSPLY_Now() < deadline && !(WIN_HasFocus(gWindow->win()) && !EVENT_IsInvalPending())) {
      EVENT_ProcessPending();
      DSPLY_WaitForInput(20);
    }
    bool saved = WIN_SaveAsPng(gWindow->win(), png);
    if (!saved) std::fprintf(stderr, "srcview: %s\n", DSPLY_GetLastError());
    gWindow.reset();
    EVENT_Update();
    GW_LibExit();
    return saved ? 0 : 1;
  }
  joinToolManager(argv[0]);
  while (!gQuit && gWindow && !gWindow->isClosed()) {
    EVENT_ProcessPending();
    EVENT_UpdateCursor();
    if (gConnected) {
      gMessageCenter->poll();  // waits up to 50 ms
      if (gMessageCenter->lastError == kTickleFailed) gConnected = false;  // the Tool Manager is gone
    } else {
      DSPLY_WaitForInput(50);
    }
  }
  gWindow.reset();
  EVENT_Update();
  if (gMessageCenter) cleanUpGlobals();
  GW_LibExit();
  return 0;
}
