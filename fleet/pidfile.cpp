// Pid files, process probes and the stopping of one process.
#include "fleet/pidfile.h"

#include <dirent.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <limits>

#include "fleet/fileutil.h"
#include "fleet/fleetpath.h"
#include "fleet/timing.h"
#include "shared/utils.h"

namespace {

// The first line of a pid file holds a number: 80 bytes are plenty.
constexpr int kPidLineSize = 80;

// Every probe and signal goes through here.  0, 1 and -1 (and their
// negatives) would mean this process's group, init or every process the
// user may signal: such a target is never sent anything.
bool signalReaches(pid_t target, int signalNumber) {
  if (target >= -1 && target <= 1) return false;
  return kill(target, signalNumber) == 0;
}

}  // namespace

std::string pidFileName(const char* fleetDir, const char* processLabel) {
  return pathIn(fleetDir, processLabel) + ".pid";
}

// bin/run_prog writes the number in plain decimal.  Signs, blanks, trailing
// text and numbers beyond pid_t, which a plain atoi would take or wrap
// (" 1", "+1", "1abc", 4294967297), mean no process here.
pid_t processIDFromText(const char* text) {
  if (!text || !*text) return 0;
  constexpr long long kLargestPid = std::numeric_limits<pid_t>::max();
  long long value = 0;
  for (const char* p = text; *p; ++p) {
    if (*p < '0' || *p > '9') return 0;
    value = value * 10 + (*p - '0');
    if (value > kLargestPid) return 0;
  }
  return value > 1 ? static_cast<pid_t>(value) : 0;
}

int getProcessID(const char* fleetDir, const char* processLabel) {
  FILE* file = openRegularFile(pidFileName(fleetDir, processLabel).c_str());
  if (!file) return 0;
  char line[kPidLineSize];
  bool gotLine = readALine(line, sizeof line, file);
  std::fclose(file);
  return gotLine ? processIDFromText(line) : 0;
}

void removePidFile(const char* fleetDir, const char* processLabel) {
  unlink(pidFileName(fleetDir, processLabel).c_str());
}

bool processOrGroupExists(pid_t pid) { return pid > 1 && (signalReaches(-pid, 0) || signalReaches(pid, 0)); }

namespace {

// Removes the pid file only while it still holds the same process id (0
// for one naming no process): a process of the label started meanwhile has
// written its own, which must stay so that the process remains in reach.
void removePidFileNaming(const char* fleetDir, const char* processLabel, int pid) {
  if (getProcessID(fleetDir, processLabel) == pid) removePidFile(fleetDir, processLabel);
}

}  // namespace

OWBboolean isRunning(const char* fleetDir, const char* processLabel) {
  int pid = getProcessID(fleetDir, processLabel);
  if (pid > 0 && processOrGroupExists(pid)) return 1;
  removePidFileNaming(fleetDir, processLabel, pid);
  return 0;
}

OWBboolean fleetIsRunning(const char* fleetDir) {
  DIR* directory = opendir(fleetDir);
  if (!directory) return OWB_FALSE;
  OWBboolean running = OWB_FALSE;
  while (struct dirent* entry = readdir(directory)) {
    processLabelType label;
    if (!labelOfEntry(entry->d_name, ".pid", label, sizeof label)) continue;
    if (isRunning(fleetDir, label)) {
      running = OWB_TRUE;
      break;
    }
  }
  closedir(directory);
  return running;
}

OWBboolean stopProcess(const char* fleetDir, const char* processLabel) {
  int pid = getProcessID(fleetDir, processLabel);
  if (pid <= 1) return OWB_TRUE;
  if (!signalReaches(-pid, SIGINT) && !signalReaches(pid, SIGINT)) return OWB_FALSE;
  int rounds = stopPatienceRounds();
  for (int round = 0; round < rounds; ++round) {
    sleepSeconds(1.0);
    bool groupExists = signalReaches(-pid, 0);
    bool processExists = signalReaches(pid, 0);
    if (!groupExists && !processExists) break;
    signalReaches(pid, SIGINT);
    signalReaches(-pid, SIGINT);
  }
  // Only a process whose group is also still there is killed outright.
  if (signalReaches(-pid, 0) && signalReaches(pid, 0)) {
    if (!signalReaches(-pid, SIGKILL) && !signalReaches(pid, SIGKILL)) return OWB_FALSE;
  }
  removePidFileNaming(fleetDir, processLabel, pid);
  return OWB_TRUE;
}
