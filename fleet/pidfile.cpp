// Pid files, process probes and the stopping of one process.
#include "fleet/pidfile.h"

#include <dirent.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "fleet/fileutil.h"
#include "fleet/fleetpath.h"
#include "fleet/timing.h"
#include "shared/utils.h"

namespace {

// The first line of a pid file holds a number: 80 bytes are plenty.
constexpr int kPidLineSize = 80;

bool signalReaches(pid_t target, int signalNumber) { return kill(target, signalNumber) == 0; }

}  // namespace

std::string pidFileName(const char* fleetDir, const char* processLabel) {
  return pathIn(fleetDir, processLabel) + ".pid";
}

int getProcessID(const char* fleetDir, const char* processLabel) {
  FILE* file = openRegularFile(pidFileName(fleetDir, processLabel).c_str());
  if (!file) return 0;
  char line[kPidLineSize];
  bool gotLine = readALine(line, sizeof line, file);
  std::fclose(file);
  if (!gotLine) return 0;
  int pid = std::atoi(line);
  return pid < 1 ? 0 : pid;
}

void removePidFile(const char* fleetDir, const char* processLabel) {
  unlink(pidFileName(fleetDir, processLabel).c_str());
}

bool processOrGroupExists(pid_t pid) { return signalReaches(-pid, 0) || signalReaches(pid, 0); }

OWBboolean isRunning(const char* fleetDir, const char* processLabel) {
  int pid = getProcessID(fleetDir, processLabel);
  if (pid > 0 && processOrGroupExists(pid)) return 1;
  removePidFile(fleetDir, processLabel);
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
  if (pid < 1) return OWB_TRUE;
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
  removePidFile(fleetDir, processLabel);
  return OWB_TRUE;
}
