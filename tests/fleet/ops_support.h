// Support for the tests that start real fleet processes: a child reaper
// that makes the test process a subreaper, a sandbox with its own HOME,
// installation and fleet directories and the operations' alerts, that kills whatever it started, and
// small helpers.
#ifndef OWB_TESTS_FLEET_OPS_SUPPORT_H
#define OWB_TESTS_FLEET_OPS_SUPPORT_H

#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

#include "fleet/fileutil.h"
#include "fleet/mkfleet.h"
#include "fleet/recording_output.h"
#include "testsupport.h"

namespace opstest {

// Makes this process the reaper of every orphan below it and reaps all
// children in a background thread, so that a stopped process does not
// linger as a zombie that signal 0 still reaches.  Exit statuses are kept
// for waitFor.
class ChildReaper {
 public:
  ChildReaper() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    thread_ = std::thread([this] { reapUntilStopped(); });
  }
  ~ChildReaper() {
    stop_ = true;
    thread_.join();
  }
  ChildReaper(const ChildReaper&) = delete;
  ChildReaper& operator=(const ChildReaper&) = delete;

  // The wait status of pid once it has ended, or -1 after timeoutSeconds.
  int waitFor(pid_t pid, double timeoutSeconds = 60.0) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
    while (std::chrono::steady_clock::now() < deadline) {
      {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = statuses_.find(pid);
        if (found != statuses_.end()) return found->second;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return -1;
  }

 private:
  void reapUntilStopped() {
    while (!stop_) {
      int status = 0;
      pid_t pid = waitpid(-1, &status, WNOHANG);
      if (pid > 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        statuses_[pid] = status;
        continue;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  std::map<pid_t, int> statuses_;
  std::thread thread_;
};

// The processes whose parent is this process, zombies left out.
inline std::vector<pid_t> childProcesses() {
  std::vector<pid_t> children;
  std::error_code error;
  for (std::filesystem::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
    pid_t pid = static_cast<pid_t>(std::atoi(entry->path().filename().c_str()));
    std::ifstream stat(entry->path() / "stat");
    std::string line;
    char state = 0;
    long parent = 0;
    if (pid > 0 && std::getline(stat, line) && line.rfind(')') != std::string::npos &&
        std::sscanf(line.c_str() + line.rfind(')') + 1, " %c %ld", &state, &parent) == 2 && parent == getpid() &&
        state != 'Z')
      children.push_back(pid);
  }
  return children;
}

// Polls until condition holds or timeoutSeconds pass.
template <typename Condition>
bool eventually(Condition condition, double timeoutSeconds = 20.0) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
  while (std::chrono::steady_clock::now() < deadline) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return condition();
}

inline bool fileExistsNow(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// A definition of the named engines, all on placeFile, into args.
inline void defineFleet(MakeFleetArgs* args, const std::string& fleetDir, std::initializer_list<const char*> labels,
                        const std::string& placeFile, long basePort) {
  std::snprintf(args->fleetDir, sizeof args->fleetDir, "%s", fleetDir.c_str());
  const char* slash = std::strrchr(fleetDir.c_str(), '/');
  std::snprintf(args->fleetDefn.fleetName, sizeof args->fleetDefn.fleetName, "%s", slash + 1);
  args->fleetDefn.basePort = basePort;
  std::snprintf(args->fleetDefn.engineOptions, sizeof args->fleetDefn.engineOptions, "-d1");
  for (const char* label : labels) {
    auto* engine = new EngineConfiguration(label);
    std::snprintf(engine->enginePlaceConfig, sizeof engine->enginePlaceConfig, "%s", placeFile.c_str());
    args->fleetDefn.engines.include(engine);
  }
}

// Arguments of a fleet operation (any of the ...FleetArgs) for fleetDir,
// with every other member at its default.
template <typename Args>
Args argsFor(const std::string& fleetDir) {
  Args args;
  std::snprintf(args.fleetDir, sizeof args.fleetDir, "%s", fleetDir.c_str());
  return args;
}

// True when port is free for both TCP and UDP on the loopback address.
inline bool portIsFree(int port) {
  for (int type : {SOCK_STREAM, SOCK_DGRAM}) {
    int descriptor = socket(AF_INET, type, 0);
    if (descriptor < 0) return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bool bound = bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    if (!bound) return false;
  }
  return true;
}

// A base port whose next count even-numbered ports are free, chosen at
// random so that tests running side by side rarely meet.
inline long freeBasePort(int count) {
  std::mt19937 random(static_cast<unsigned>(getpid()) * 7919u + static_cast<unsigned>(time(nullptr)));
  for (int attempt = 0; attempt < 200; ++attempt) {
    long base = 20000 + 2 * static_cast<long>(random() % 15000);
    bool free = true;
    for (int i = 0; i < count && free; ++i) free = portIsFree(static_cast<int>(base + 2 * i));
    if (free) return base;
  }
  return 0;
}

// Kills the process group of every pid file below directory.
inline void killPidFileGroups(const std::string& directory) {
  namespace fs = std::filesystem;
  std::error_code error, typeError;
  for (fs::recursive_directory_iterator entry(directory, fs::directory_options::skip_permission_denied, error), end;
       !error && entry != end; entry.increment(error)) {
    if (entry->path().extension() != ".pid" || !entry->is_regular_file(typeError)) continue;
    std::ifstream file(entry->path());
    long pid = 0;
    if (file >> pid && pid > 1) {
      kill(static_cast<pid_t>(-pid), SIGKILL);
      kill(static_cast<pid_t>(pid), SIGKILL);
    }
  }
}

// A test's world: a temporary directory holding HOME (whose terminal
// settings name the installation's bgterm, so that nothing needs a
// display) and the fleets; OWB at the installation the build laid out;
// DISPLAY set; short start delay and stop patience; the globals of the
// fleet operations filled in; alerts recorded in output.  At the end every process
// that a pid file names is killed with its group, and every remaining
// child too.
class FleetSandbox {
 public:
  FleetSandbox()
      : owb_("OWB", installTree()),
        home_("HOME", root_.file("home")),
        display_("DISPLAY", std::string(":0")),
        startDelay_("OWB_START_DELAY", std::string("0.2")),
        stopPatience_("OWB_STOP_PATIENCE", std::string("10")) {
    std::string settings = root_.file("home") + "/.owb";
    mkdir(root_.file("home").c_str(), 0777);
    mkdir(settings.c_str(), 0777);
    owbtest::writeWholeFile(settings + "/xterm_settings", installTree() + "/bin/bgterm\n-sb\n");
    std::snprintf(OWKInstallDir, sizeof OWKInstallDir, "%s", installTree().c_str());
    std::snprintf(ThisCurrentDir, sizeof ThisCurrentDir, "%s", root_.path().c_str());
    std::snprintf(ThisHostName, sizeof ThisHostName, "%s", "localhost");
    std::snprintf(ThisHostIP, sizeof ThisHostIP, "%s", "127.0.0.1");
  }
  ~FleetSandbox() {
    killPidFileGroups(root_.path());
    for (pid_t child : childProcesses()) kill(child, SIGKILL);
  }
  FleetSandbox(const FleetSandbox&) = delete;
  FleetSandbox& operator=(const FleetSandbox&) = delete;

  static std::string installTree() { return owbtest::installTree(); }
  const std::string& root() const { return root_.path(); }
  std::string fleetDir(const std::string& name) const { return root_.file(name); }
  std::string homeDir() const { return root_.file("home"); }

  // What the fleet operations said, while the sandbox lives.
  owbtest::RecordingOutput output;

 private:
  owbtest::TempDir root_;
  owbtest::ScopedEnv owb_, home_, display_, startDelay_, stopPatience_;
};

}  // namespace opstest

#endif  // OWB_TESTS_FLEET_OPS_SUPPORT_H
