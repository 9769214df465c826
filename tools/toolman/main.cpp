// toolman: a Tool Manager for the environment's tools, on the shared
// message library.  See usageText below, printed by --help.
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "dirwatch.h"
#include "handlers.h"
#include "identify.h"
#include "places.h"
#include "print.h"
#include "shared/globals.h"
#include "shared/helpdefaults.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/ui/alertwin.h"
#include "shared/ui/uiglobals.h"
#include "shared/utils.h"
#include "state.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/event.h"
#include "window.h"

namespace {

constexpr int kDefaultToolManPort = 4400;
constexpr TypeIdent kToolManType = OWB_TYPE("TMAN");
// A command sent with --send may itself wait up to 5 s for a tool's reply.
constexpr unsigned long kSendReplyTimeout = 30000;
constexpr size_t kMaxStdinLine = 64 * 1024;

volatile sig_atomic_t gEndSignal = 0;

const char* usageText() {
  return "Usage:\n"
         "  toolman [--port N] [--project DIR] [--help-viewer PROGRAM]\n"
         "          [--help-item LABEL=DOCUMENT]... [--search DIR]... [--quiet]\n"
         "          [--listen-any] [--window]\n"
         "  toolman [--port N] --send LINE [--send LINE]...\n"
         "  toolman --help\n"
         "\n"
         "The Tool Manager of the environment's tools.  It listens on port N\n"
         "(default 4400, or the first free one of the 99 above) of the loopback\n"
         "address (of every address with --listen-any), writes that port\n"
         "to $HOME/.owb/owbport, where tools look for it, and serves the tools'\n"
         "messages: REGT ADDC ADDE REME ADDF REMF GCPP GCCP GFCP GCFP SCFP RSLV\n"
         "ADGP LOOK GWIN UWIN ASRC DSRC HGDM GSAT DISF.  Every message it receives\n"
         "is printed on standard output as one line: type, sender@port, and the\n"
         "parameters decoded by type (--quiet prints none).\n"
         "\n"
         "It keeps: the registered tools and their commands, the engines\n"
         "announced, the project's files (DIR, default the current directory,\n"
         "read at start and by `rescan`, plus ADDF less REMF), window places\n"
         "given back by UWIN and handed out by GWIN, the file picker's last\n"
         "directory, and the search path of RSLV (the project, each --search DIR,\n"
         "$OWB/help where the installation keeps its help documents, then each\n"
         "ADGP directory).  HGDM is answered with HDTM (the help viewer, default\n"
         "netscape) and one HMEM per help item: the four default documents, then\n"
         "each --help-item.  The tables are bounded (128 tools of 64 commands,\n"
         "512 engines, 20000 files, 64 search directories, 32 places of each of\n"
         "64 window types); a registration past a bound is refused, and of one\n"
         "window type the oldest place goes.\n"
         "\n"
         "Window places are kept across runs in $HOME/.owb/owbplaces.\n"
         "\n"
         "--window also shows the Tool Manager's window: the project's files\n"
         "with their types (asked of the tools by IDFL), sizes and dates, the\n"
         "engines, the messages received, a menu per tool with its commands,\n"
         "the Tools menu (QUIT, SHOW, HIDE, CWIN to a tool; programs of\n"
         "$OWB/bin to start) and Help.  Closing the window ends toolman.\n"
         "\n"
         "Command lines are read from standard input; the end of standard input\n"
         "does not end toolman (use `exit`, SIGTERM or SIGHUP).  --send LINE\n"
         "hands LINE to the toolman running for this $HOME (found through\n"
         "owbport, or at --port N), prints its output and exits 0 when the\n"
         "command succeeded, 1 when it failed, 2 when no toolman answered.\n"
         "\n"
         "Environment: HOME (owbport, owblog, owbplaces), OWB_LOGLEVEL (logSome,\n"
         "logAll), OWB (the programs of $OWB/bin, the help documents of\n"
         "$OWB/help, the window's resources in $OWB/bin/resource),\n"
         "OWB_TOOLMAN_IDFL_MS (how long the window waits for an IDFL answer,\n"
         "default 500).\n"
         "\n";
}

void onEndSignal(int) { gEndSignal = 1; }

bool gQuiet = false;

void printReceived(const Message& message, void*) {
  std::string line = describeMessage(message);
  if (!gQuiet) std::cout << line << std::endl;
  if (gToolManWindow) gToolManWindow->logLine(line);
}

void startLog() {
  gToolName = newStringCopy("toolman");
  readLogSettings();
  openToolLog(true);
  OWB_LOG("");
  owbLogRaw(std::string("Initializing ") + gToolName + "\n\n");
  seedRandomNumbers();
}

void endLog() {
  delete gMessageCenter;
  gMessageCenter = nullptr;
  cleanUpGlobals();
}

std::string absoluteDirectory(const std::string& directory) {
  char resolved[PATH_MAX];
  if (!realpath(directory.c_str(), resolved)) return "";
  return resolved;
}

// Reads what standard input has, running each complete line.
void serveStandardInput(bool* open, std::string* pending) {
  struct pollfd input = {STDIN_FILENO, POLLIN, 0};
  if (!*open || ::poll(&input, 1, 0) <= 0) return;
  char buffer[4096];
  ssize_t got = read(STDIN_FILENO, buffer, sizeof buffer);
  if (got <= 0) {
    *open = false;
    return;
  }
  pending->append(buffer, static_cast<size_t>(got));
  size_t newline;
  while ((newline = pending->find('\n')) != std::string::npos) {
    std::string line = pending->substr(0, newline);
    pending->erase(0, newline + 1);
    std::string output;
    runCommandLine(line, &output);
    std::cout << output << std::flush;
  }
  if (pending->size() > kMaxStdinLine) pending->clear();  // a line without end
}

// The toolkit's libraries: ND_PATH, or $OWB/bin/resource, or the
// installation's resource folder beside this program's build folder.
void setResourcePath() {
  if (std::getenv("ND_PATH")) return;
  const char* owb = std::getenv("OWB");
  std::string dir;
  if (owb && *owb) {
    dir = std::string(owb) + "/bin/resource";
  } else {
    char self[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    std::string exe = n > 0 ? std::string(self, static_cast<size_t>(n)) : "";
    dir = exe.substr(0, exe.rfind('/') + 1) + "../owb/bin/resource";
  }
  setenv("ND_PATH", dir.c_str(), 1);
}

// Time given to IDFL questions in a turn of the window's loop.
constexpr int kIdentifyBudgetMs = 10;
// Every so often one registered tool is probed, in turn, so that the menus
// drop a tool that ended without a word.
constexpr auto kProbeInterval = std::chrono::seconds(2);

// The window's part of a turn: its events, the changes on disk, one IDFL
// question, and the programs started from the Tools menu that ended.
struct WindowSide {
  std::unique_ptr<ToolManWindow> window;
  DirectoryWatch watch;
  std::string watchedProject;
  uint64_t identifiedAt = ~uint64_t(0);
  bool identifyMore = true;
  std::chrono::steady_clock::time_point nextProbe = std::chrono::steady_clock::now() + kProbeInterval;
  int32_t lastProbed = 0;

  void probeOneTool() {
    if (std::chrono::steady_clock::now() < nextProbe) return;
    nextProbe = std::chrono::steady_clock::now() + kProbeInterval;
    auto& tools = gToolManState.tools;
    if (tools.empty()) return;
    auto next = tools.upper_bound(lastProbed);
    if (next == tools.end()) next = tools.begin();
    lastProbed = next->first;
    gMessageCenter->tickleTool(&next->second.info);
    if (gMessageCenter->lastError != kNoError) {
      std::string line = "toolman: " + toolDisplayName(next->second) + " does not answer; it is no longer registered";
      std::cout << line << std::endl;
      window->logLine(line);
      gToolManState.forgetTool(lastProbed);
    }
  }

  bool turn() {
    if (gToolManState.projectDirectory != watchedProject) {
      watchedProject = gToolManState.projectDirectory;
      watch.watch(watchedProject);
    } else if (watch.changed()) {
      gToolManState.scanProject();
      watch.watch(watchedProject);  // directories made since are watched too
    }
    if (identifyMore || identifiedAt != gToolManState.revision) {
      identifiedAt = gToolManState.revision;
      identifyMore = identifySomeFiles(kIdentifyBudgetMs);
    }
    probeOneTool();
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    return window->turn();
  }
};

// The window's loop serves messages without the center's fixed 50 ms wait:
// queued messages are handled at once, then it waits for whichever comes
// first, a connection, an X event or a line on standard input, so that a
// key the user presses is handled as soon as it arrives.
void serveMessagesAndWait(bool inputOpen) {
  while (gMessageCenter->queue->messagesAvailable(kWildTypeIdent) > 0) {
    Message* next = gMessageCenter->queue->dequeueMessage(kWildTypeIdent);
    gMessageCenter->sendMessage(gMessageCenter->dispatchMessage(next));
  }
  auto* tcp = dynamic_cast<TCPTransport*>(gMessageCenter->transport);
  int listener = tcp ? tcp->listenSocket : -1;
  struct pollfd waits[3] = {{listener, POLLIN, 0}, {DSPLY_GetConnectionFd(), POLLIN, 0},
                            {inputOpen ? STDIN_FILENO : -1, POLLIN, 0}};
  if (DSPLY_Pending() > 0) return;
  if (::poll(waits, 3, static_cast<int>(kPollWaitMicroseconds / 1000)) > 0 && (waits[0].revents & POLLIN))
    gMessageCenter->poll();  // a connection waits: taken without a wait
}

int runToolManager(int port, const std::string& projectDirectory, bool withWindow) {
  startLog();
  gMessageCenter = new MessageCenter(port);
  int listening = gMessageCenter->thisToolInfo.listenerPort;
  if (listening <= 0) {
    std::cerr << "toolman: could not listen at port " << port << " or the 99 above it\n";
    endLog();
    return 1;
  }
  std::snprintf(gMessageCenter->thisToolInfo.name, sizeof(Str31), "toolman");
  gMessageCenter->thisToolInfo.toolType = kToolManType;
  gToolManToolInfo.listenerPort = listening;
  registerToolManHandlers();
  gMessageCenter->setMessageObserver(printReceived, nullptr);
  loadWindowPlaces(windowPlacesPath(), &gToolManState);

  gToolManState.projectDirectory = projectDirectory;
  gToolManState.scanProject();
  // The installation's help documents are found by name, as the tools ask.
  if (const char* owb = std::getenv("OWB"))
    if (*owb && std::filesystem::is_directory(std::string(owb) + "/help"))
      gToolManState.addSearchDirectory(std::string(owb) + "/help");

  WindowSide side;
  if (withWindow) {
    setResourcePath();
    ERR_Init();
    GW_LibInstall();
    GW_LibLoadInit();
    std::string error = DSPLY_IsOpen() ? "" : DSPLY_GetLastError();
    if (error.empty()) {
      // The shared windows (the directory chooser, alerts) need the shared
      // library and drawing objects, found where the toolkit's are.
      std::snprintf(gResourcesDirectory, sizeof gResourcesDirectory, "%s/", std::getenv("ND_PATH"));
      ERR_TRACEIN("ToolMan");
      if (!ERR_TryRecoverFn(errTraceFrame, [] { loadSharedDrawingObjects(); }))
        error = "cannot load the shared resource library from " + std::string(gResourcesDirectory);
      else installAlertWindow();  // the window's alerts, not standard error's
    }
    if (error.empty()) side.window.reset(ToolManWindow::open(&error));
    if (!side.window) {
      std::cerr << "toolman: no window: " << error << "\n";
      endLog();
      return 1;
    }
  }
  std::cout << "toolman: listening on port " << listening << ", project " << projectDirectory
            << " (" << gToolManState.files.size() << " files)" << std::endl;

  signal(SIGTERM, onEndSignal);
  signal(SIGHUP, onEndSignal);
  bool inputOpen = true;
  std::string pending;
  while (!gToolManShouldEnd && !gEndSignal) {
    if (side.window) {
      if (!side.turn()) break;
      serveMessagesAndWait(inputOpen);
    } else {
      gMessageCenter->poll();
    }
    serveStandardInput(&inputOpen, &pending);
  }
  // Answer what is still queued (the reply to a sent `exit`, for one).
  while (gMessageCenter->queue->messagesAvailable(kWildTypeIdent) > 0) gMessageCenter->poll();
  std::cout << "toolman: ended" << std::endl;
  if (side.window) {
    side.window.reset();
    uninstallAlertWindow();
    endLog();
    GW_LibExit();
    return 0;
  }
  endLog();
  return 0;
}

int sendCommandLines(int port, const std::vector<std::string>& lines) {
  startLog();
  gMessageCenter = new MessageCenter();
  int toolManPort = port > 0 ? port : getToolManagerPort();
  gToolManToolInfo.listenerPort = toolManPort;
  int status = 0;
  if (toolManPort <= 0) {
    std::cerr << "toolman: no toolman port (no $HOME/.owb/owbport and no --port)\n";
    status = 2;
  } else if (gMessageCenter->thisToolInfo.listenerPort <= 0) {
    std::cerr << "toolman: cannot listen for the reply\n";
    status = 2;
  } else {
    gMessageCenter->tickleTool(&gToolManToolInfo);
    if (gMessageCenter->lastError != kNoError) {
      std::cerr << "toolman: no toolman answers at port " << toolManPort << "\n";
      status = 2;
    }
  }
  for (size_t i = 0; status != 2 && i < lines.size(); ++i) {
    Message* request = new Message(kCommandLineMessage, &gToolManToolInfo);
    request->header.needsReply = TRUE;
    request->header.replyTimeout = kSendReplyTimeout;
    request->addParam(kParamData, lines[i].data(), static_cast<long>(lines[i].size()));
    Message* reply = gMessageCenter->sendMessage(request);
    if (!reply) {
      std::cerr << "toolman: no reply from toolman at port " << toolManPort << "\n";
      status = 2;
      break;
    }
    ErrorCode result = kNoError;
    reply->getErrorParam(0, &result);
    if (reply->getParamCount() > 1)
      std::cout.write(reply->getParam(1), reply->getParamLength(1));
    if (result != kNoError) status = 1;
    delete reply;
  }
  std::cout << std::flush;
  endLog();
  return status;
}

bool parsePort(const char* text, int* port) {
  char* end = nullptr;
  long value = std::strtol(text, &end, 10);
  if (!end || *end || value <= 0 || value > 65535) return false;
  *port = static_cast<int>(value);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  int port = 0;
  std::string project = ".";
  bool withWindow = false;
  std::vector<std::string> sends;
  // The help menu's documents: the defaults, then each --help-item.
  gToolManState.helpViewer = kDefaultHelpViewer;
  for (const HelpDocument& d : kDefaultHelpDocuments) gToolManState.helpItems.emplace_back(d.label, d.document);
  for (int i = 1; i < argc; ++i) {
    std::string option = argv[i];
    bool hasValue = i + 1 < argc;
    if (option == "--help" || option == "-h") {
      std::cout << usageText() << commandHelpText();
      return 0;
    } else if (option == "--port" && hasValue) {
      if (!parsePort(argv[++i], &port)) {
        std::cerr << "toolman: --port needs a number from 1 to 65535\n";
        return 2;
      }
    } else if (option == "--project" && hasValue) {
      project = argv[++i];
    } else if (option == "--help-viewer" && hasValue) {
      gToolManState.helpViewer = argv[++i];
    } else if (option == "--help-item" && hasValue) {
      std::string item = argv[++i];
      size_t equals = item.find('=');
      if (equals == std::string::npos) {
        std::cerr << "toolman: --help-item needs LABEL=DOCUMENT\n";
        return 2;
      }
      gToolManState.helpItems.emplace_back(item.substr(0, equals), item.substr(equals + 1));
    } else if (option == "--search" && hasValue) {
      std::string directory = absoluteDirectory(argv[++i]);
      if (directory.empty()) {
        std::cerr << "toolman: no directory " << argv[i] << " for --search\n";
        return 2;
      }
      if (!gToolManState.addSearchDirectory(directory)) {
        std::cerr << "toolman: too many --search directories\n";
        return 2;
      }
    } else if (option == "--send" && hasValue) {
      sends.push_back(argv[++i]);
    } else if (option == "--quiet") {
      gQuiet = true;
    } else if (option == "--window") {
      withWindow = true;
    } else if (option == "--listen-any") {
      setToolManagerListensOnAnyAddress(true);
    } else {
      std::cerr << "toolman: unknown or incomplete option " << option << " (see --help)\n";
      return 2;
    }
  }
  if (!sends.empty()) return sendCommandLines(port, sends);
  std::string projectDirectory = absoluteDirectory(project);
  if (projectDirectory.empty()) {
    std::cerr << "toolman: no project directory " << project << "\n";
    return 2;
  }
  return runToolManager(port > 0 ? port : kDefaultToolManPort, projectDirectory, withWindow);
}
