// Idle cost of the Fleet Manager's main loop: fleetmgr runs on a private
// X server (Xvfb) beside a real toolman on loopback and does nothing for
// 10 s; each pass of its loop serves window events, the cursor and the
// tool messages.  Printed as counters: the CPU time it used over that
// time as a percentage of one core (target: under 1 %), its resident
// memory, and how many tool messages it could still answer right after.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/testsupport.h"
#include "tests/xvfb_support.h"

namespace {

constexpr int kIdleSeconds = 10;


pid_t start(const std::vector<std::string>& args, const std::vector<std::string>& env) {
  pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    int none = open("/dev/null", O_RDWR);
    dup2(none, 0);
    dup2(none, 1);
    dup2(none, 2);
    std::vector<char*> argv, envp;
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    for (const std::string& e : env) envp.push_back(const_cast<char*>(e.c_str()));
    envp.push_back(nullptr);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  return child;
}

// CPU time of pid, in seconds: the scheduler's nanosecond count when the
// kernel keeps it, else user plus system time in clock ticks (too coarse
// for an idle process, whose time stays under one tick).
double cpuSeconds(pid_t pid) {
  std::ifstream schedstat("/proc/" + std::to_string(pid) + "/schedstat");
  unsigned long long runNanoseconds = 0;
  if (schedstat >> runNanoseconds) return static_cast<double>(runNanoseconds) / 1e9;
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  std::getline(stat, line);
  std::istringstream fields(line.substr(line.rfind(')') + 2));
  std::string field;
  unsigned long long utime = 0, stime = 0;
  for (int i = 3; i <= 15 && fields >> field; ++i) {
    if (i == 14) utime = std::stoull(field);
    if (i == 15) stime = std::stoull(field);
  }
  return static_cast<double>(utime + stime) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

long residentKiB(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  return -1;
}

int run(const std::vector<std::string>& args, const std::vector<std::string>& env) {
  pid_t child = start(args, env);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void BM_FleetMgrIdle(benchmark::State& state) {
  const std::string build = owbtest::buildDir();
  char homeTemplate[] = "/tmp/fleetmgr_idle.XXXXXX";
  const std::string home = mkdtemp(homeTemplate);
  const std::string display = owbtest::sharedXvfb().display();
  if (display.empty()) {
    state.SkipWithError("no X server (Xvfb) for the tool");
    return;
  }
  const std::vector<std::string> env = {"HOME=" + home, "OWB=" + build + "/owb", "DISPLAY=" + display,
                                        "PATH=/usr/bin:/bin"};
  const int port = 21000 + static_cast<int>(getpid() % 4000);
  pid_t toolman = start({build + "/tools/toolman", "--port", std::to_string(port), "--quiet", "--project", home}, env);
  for (int waited = 0; waited < 250 && access((home + "/.owb/owbport").c_str(), F_OK) != 0; ++waited)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));

  pid_t tool = start({build + "/owb/bin/fleetmgr"}, env);
  std::this_thread::sleep_for(std::chrono::seconds(1));  // start-up and registration
  if (waitpid(tool, nullptr, WNOHANG) == tool) {
    state.SkipWithError("fleetmgr did not start");
    kill(toolman, SIGTERM);
    waitpid(toolman, nullptr, 0);
    std::system(("rm -rf '" + home + "'").c_str());
    return;
  }

  for (auto _ : state) {
    double before = cpuSeconds(tool);
    auto started = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(kIdleSeconds));
    double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    double used = cpuSeconds(tool) - before;
    state.SetIterationTime(wall);
    state.counters["cpu_percent_of_core"] = 100.0 * used / wall;
    state.counters["cpu_ms_in_10s"] = 1000.0 * used;
    state.counters["rss_kib"] = static_cast<double>(residentKiB(tool));
  }
  // Still answering after the idle time: toolman asks it to quit.
  int asked = run({build + "/tools/toolman", "--port", std::to_string(port), "--send", "quit FLTT"}, env);
  int status = 0;
  bool ended = false;
  for (int waited = 0; waited < 250 && !ended; ++waited) {
    ended = waitpid(tool, &status, WNOHANG) == tool;
    if (!ended) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  state.counters["quit_answered"] = asked == 0 && ended && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  if (!ended) {
    kill(tool, SIGKILL);
    waitpid(tool, nullptr, 0);
  }
  kill(toolman, SIGTERM);
  waitpid(toolman, nullptr, 0);
  std::string cleanup = "rm -rf '" + home + "'";
  if (std::system(cleanup.c_str()) != 0) state.SkipWithError("could not remove the temporary home");
}
BENCHMARK(BM_FleetMgrIdle)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace
