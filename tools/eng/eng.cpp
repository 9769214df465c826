// eng: a stand-in for the Wandercode engine in the demo installation.
//
// It is not the engine: it does what the Fleet Manager needs to see of
// one, so that fleets of the demo really boot, run, answer and stop.
//
//   eng -s DBDIR -f OPTIONS -o OUTPUT [-b] SCRIPT
//
//   -s DBDIR    the engine's database directory, relative to the engine's
//               directory (the working directory)
//   -f OPTIONS  the fleet's engine options, one word; noted, not used
//   -o OUTPUT   where to write: "-" is standard output, else a file
//   -b SCRIPT   a cold boot: the database starts afresh
//   SCRIPT      without -b, a warm boot: the saved database is resumed
//               and its boot count goes up
//
// The database is DBDIR/state, lines "boots N" and "lastBoot cold|warm".
// The script's "say TEXT" lines write TEXT to the output; other lines and
// `#` comments are passed over.  The engine listens on 127.0.0.1 at the
// ports of the environment: UDP_PORT (datagrams; each is answered with the
// status line), TCP_PORT and MOCK_PORT (the debugger; each connection gets
// the status line and is closed).  A port that is unset or 0 is not
// opened.  With OWB_DEBUG set, debug.log in the working directory records
// each answer.  SIGINT or SIGTERM ends it cleanly, with status 0.
//
// The status line: "<label> up pid=<pid> boots=<n> boot=<cold|warm>
// udp=<port> tcp=<port> debugger=<port>", where the label is the name of
// the working directory.
//
// Exit status: 0 after a signal, 1 when the database, a port or the script
// can't be used, 2 for a bad command line.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

volatile sig_atomic_t gStopRequested = 0;

void requestStop(int) { gStopRequested = 1; }

struct EngineSettings {
  std::string dbDir;
  std::string options;
  std::string output = "-";
  std::string script;
  bool coldBoot = false;
};

struct EngineState {
  long boots = 0;
  std::string lastBoot;
};

[[noreturn]] void usage(const char* problem) {
  std::fprintf(stderr, "eng: %s\nusage: eng -s DBDIR -f OPTIONS -o OUTPUT [-b] SCRIPT\n", problem);
  std::exit(2);
}

[[noreturn]] void failStart(const std::string& problem) {
  std::printf("eng: cannot start: %s\n", problem.c_str());
  std::fflush(stdout);
  std::exit(1);
}

EngineSettings parseArguments(int argc, char** argv) {
  EngineSettings settings;
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    bool takesValue = word == "-s" || word == "-f" || word == "-o" || word == "-b";
    if (takesValue && i + 1 >= argc) usage(("no value after " + word).c_str());
    if (word == "-s") settings.dbDir = argv[++i];
    else if (word == "-f") settings.options = argv[++i];
    else if (word == "-o") settings.output = argv[++i];
    else if (word == "-b") settings.script = argv[++i], settings.coldBoot = true;
    else if (!word.empty() && word[0] != '-' && settings.script.empty()) settings.script = word;
    else usage(("unexpected argument " + word).c_str());
  }
  if (settings.dbDir.empty()) usage("no database directory (-s)");
  if (settings.script.empty()) usage("no boot script");
  return settings;
}

std::string stateFileName(const EngineSettings& settings) { return settings.dbDir + "/state"; }

// A cold boot starts afresh; a warm boot reads the saved state, which a
// missing or unreadable file leaves at zero.
EngineState bootState(const EngineSettings& settings) {
  if (mkdir(settings.dbDir.c_str(), 0777) != 0 && errno != EEXIST)
    failStart("no database directory " + settings.dbDir + ": " + std::strerror(errno));
  EngineState state;
  if (!settings.coldBoot) {
    std::ifstream saved(stateFileName(settings));
    std::string key;
    while (saved >> key) {
      if (key == "boots") saved >> state.boots;
      else saved.ignore(4096, '\n');
    }
  }
  state.boots += 1;
  state.lastBoot = settings.coldBoot ? "cold" : "warm";
  return state;
}

void saveState(const EngineSettings& settings, const EngineState& state) {
  std::string fileName = stateFileName(settings);
  std::string temporaryName = fileName + ".new";
  {
    std::ofstream out(temporaryName, std::ios::trunc);
    out << "boots " << state.boots << "\nlastBoot " << state.lastBoot << "\n";
    if (!out) failStart("cannot write " + temporaryName);
  }
  if (std::rename(temporaryName.c_str(), fileName.c_str()) != 0) failStart("cannot write " + fileName);
}

void runScript(const EngineSettings& settings) {
  std::ifstream script(settings.script);
  if (!script) failStart("cannot read the boot script " + settings.script);
  std::string line;
  while (std::getline(script, line)) {
    if (line.compare(0, 4, "say ") == 0) std::printf("%s\n", line.c_str() + 4);
  }
}

long portFromEnvironment(const char* name) {
  const char* text = std::getenv(name);
  if (!text || !*text) return 0;
  char* end = nullptr;
  long port = std::strtol(text, &end, 10);
  if (*end != '\0' || port < 0 || port > 65535) failStart(std::string(name) + " is not a port: " + text);
  return port;
}

int openSocket(int type, long port) {
  int descriptor = socket(AF_INET, type | SOCK_CLOEXEC, 0);
  if (descriptor < 0) failStart(std::string("socket: ") + std::strerror(errno));
  int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
    failStart("port " + std::to_string(port) + ": " + std::strerror(errno));
  if (type == SOCK_STREAM && listen(descriptor, 16) != 0)
    failStart("listen on " + std::to_string(port) + ": " + std::strerror(errno));
  return descriptor;
}

std::string labelOfWorkingDirectory() {
  char directory[4096];
  if (!getcwd(directory, sizeof directory)) return "engine";
  const char* slash = std::strrchr(directory, '/');
  return slash && slash[1] ? slash + 1 : directory;
}

void noteInDebugLog(const std::string& text) {
  if (!std::getenv("OWB_DEBUG")) return;
  std::ofstream log("debug.log", std::ios::app);
  log << text << "\n";
}

void redirectOutput(const EngineSettings& settings) {
  if (settings.output == "-") return;
  if (!std::freopen(settings.output.c_str(), "a", stdout))
    failStart("cannot write " + settings.output + ": " + std::strerror(errno));
}

void installStopHandlers() {
  struct sigaction action {};
  action.sa_handler = requestStop;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: poll must return at once
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);
}

}  // namespace

int main(int argc, char** argv) {
  EngineSettings settings = parseArguments(argc, argv);
  redirectOutput(settings);
  installStopHandlers();

  EngineState state = bootState(settings);
  saveState(settings, state);
  std::string label = labelOfWorkingDirectory();
  std::printf("eng %s: %s boot %ld, options \"%s\", script %s\n", label.c_str(), state.lastBoot.c_str(), state.boots,
              settings.options.c_str(), settings.script.c_str());
  runScript(settings);

  long udpPort = portFromEnvironment("UDP_PORT");
  long tcpPort = portFromEnvironment("TCP_PORT");
  long debuggerPort = portFromEnvironment("MOCK_PORT");
  std::vector<pollfd> watched;
  int udpSocket = udpPort ? openSocket(SOCK_DGRAM, udpPort) : -1;
  if (udpSocket >= 0) watched.push_back({udpSocket, POLLIN, 0});
  if (tcpPort) watched.push_back({openSocket(SOCK_STREAM, tcpPort), POLLIN, 0});
  if (debuggerPort) watched.push_back({openSocket(SOCK_STREAM, debuggerPort), POLLIN, 0});

  std::string status = label + " up pid=" + std::to_string(getpid()) + " boots=" + std::to_string(state.boots) +
                       " boot=" + state.lastBoot + " udp=" + std::to_string(udpPort) +
                       " tcp=" + std::to_string(tcpPort) + " debugger=" + std::to_string(debuggerPort) + "\n";
  std::printf("eng %s: running, %s", label.c_str(), status.c_str());
  std::fflush(stdout);
  noteInDebugLog("started: " + status.substr(0, status.size() - 1));

  while (!gStopRequested) {
    int ready = poll(watched.data(), watched.size(), -1);
    if (ready < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (pollfd& entry : watched) {
      if (!(entry.revents & POLLIN)) continue;
      if (entry.fd == udpSocket) {
        char datagram[512];
        sockaddr_in sender{};
        socklen_t senderSize = sizeof sender;
        if (recvfrom(udpSocket, datagram, sizeof datagram, 0, reinterpret_cast<sockaddr*>(&sender), &senderSize) >= 0)
          sendto(udpSocket, status.data(), status.size(), 0, reinterpret_cast<sockaddr*>(&sender), senderSize);
      } else {
        int connection = accept4(entry.fd, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) continue;
        ssize_t sent = send(connection, status.data(), status.size(), MSG_NOSIGNAL);
        (void)sent;
        close(connection);
      }
      noteInDebugLog("answered a status request");
    }
  }
  std::printf("eng %s: stopping cleanly after boot %ld\n", label.c_str(), state.boots);
  std::fflush(stdout);
  for (pollfd& entry : watched) close(entry.fd);
  return 0;
}
